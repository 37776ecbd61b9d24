#include "data/Contours.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "runtime/Arithmetic.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

constexpr double kMostLevels = 100'000;

/// A side of a square of cell centres, by number: two for each cell, the one to its eastern and the
/// one to its southern neighbour.
using Side = std::int64_t;

/// One straight piece of a contour, from side to side, the higher ground on its right.
struct Piece {
  Side from, to;
};

class Tracer {
 public:
  Tracer(const IPixelBlock& block, int band, double level)
      : block_(block), band_(band), level_(level), columns_(block.Columns()) {}

  std::vector<std::vector<Coord>> Run();

 private:
  template <class T>
  void CutSquares(const Plane<T>& plane);
  void CutSquare(Side northWest, const double (&corner)[4]);
  Coord PlaceOn(Side side) const;
  std::vector<Coord> Follow(std::size_t first);

  const IPixelBlock& block_;
  int band_;
  double level_;
  std::int64_t columns_;
  std::vector<Piece> pieces_;
  std::vector<bool> used_;
  std::unordered_map<Side, std::size_t> startingAt_;  ///< of each side, the piece that leaves it
};

/// The corners are those of the square: north-west, north-east, south-east, south-west.
void Tracer::CutSquare(Side cell, const double (&corner)[4]) {
  const bool above[] = {corner[0] >= level_, corner[1] >= level_, corner[2] >= level_,
                        corner[3] >= level_};
  // Sides in the order of the corners that they start from, clockwise: north, east, south, west.
  const Side sides[] = {2 * cell, 2 * (cell + 1) + 1, 2 * (cell + columns_), 2 * cell + 1};
  // Going round clockwise, the contour comes in through the side on which the ground falls below
  // the level and leaves through the one on which it rises above it: then the higher ground is on
  // its right.
  int in[2], out[2], ins = 0, outs = 0;
  for (int i = 0; i < 4; ++i) {
    if (above[i] == above[(i + 1) % 4]) continue;
    if (above[i]) {
      in[ins++] = i;
    } else {
      out[outs++] = i;
    }
  }
  if (ins == 0) return;
  if (ins == 1) {
    pieces_.push_back({sides[in[0]], sides[out[0]]});
    return;
  }
  // A saddle. With the middle above, the high corners are joined and each piece cuts off a low one;
  // a low corner lies between the side where the ground falls to it and the next one.
  const bool joinsHigh = (corner[0] + corner[1] + corner[2] + corner[3]) / 4 >= level_;
  for (int i = 0; i < 2; ++i) {
    const int next = (in[i] + 1) % 4, before = (in[i] + 3) % 4;
    pieces_.push_back({sides[in[i]], sides[joinsHigh ? next : before]});
  }
}

template <class T>
void Tracer::CutSquares(const Plane<T>& plane) {
  for (int row = 0; row + 1 < plane.rows; ++row) {
    if (row % 256 == 0) CheckStop();
    const auto north = plane.Row(row), south = plane.Row(row + 1);
    for (std::size_t column = 0; column + 1 < north.size(); ++column) {
      const T nw = north[column], ne = north[column + 1];
      const T se = south[column + 1], sw = south[column];
      if (plane.isNoData(nw) || plane.isNoData(ne) || plane.isNoData(se) || plane.isNoData(sw))
        continue;
      const double corners[] = {static_cast<double>(nw), static_cast<double>(ne),
                                static_cast<double>(se), static_cast<double>(sw)};
      CutSquare(row * columns_ + static_cast<Side>(column), corners);
    }
  }
}

/// Where the height is met between the two cells of a side.
Coord Tracer::PlaceOn(Side side) const {
  const std::int64_t column = side / 2 % columns_, row = side / 2 / columns_;
  const bool goesSouth = side % 2 != 0;
  const double a = block_.GetDouble(band_, column, row);
  const double b = block_.GetDouble(band_, column + !goesSouth, row + goesSouth);
  double share = (level_ - a) / (b - a);
  if (!(share >= 0 && share <= 1)) share = 0.5;  // between infinities
  const double x = static_cast<double>(column), y = static_cast<double>(row);
  return goesSouth ? Coord{x, y + share} : Coord{x + share, y};
}

/// The whole line that begins with a piece.
std::vector<Coord> Tracer::Follow(std::size_t first) {
  std::vector<Coord> line{PlaceOn(pieces_[first].from)};
  for (std::size_t piece = first; !used_[piece];) {
    used_[piece] = true;
    const Coord next = PlaceOn(pieces_[piece].to);
    if (!(next == line.back()))
      line.push_back(next);  // a line through a cell's centre meets it from both sides
    const auto after = startingAt_.find(pieces_[piece].to);
    if (after == startingAt_.end()) break;
    piece = after->second;
  }
  return line;
}

std::vector<std::vector<Coord>> Tracer::Run() {
  Visit(block_, band_, [&](const auto& plane) { CutSquares(plane); });
  used_.assign(pieces_.size(), false);
  std::unordered_map<Side, bool> ends;
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    startingAt_[pieces_[i].from] = i;
    ends[pieces_[i].to] = true;
  }
  std::vector<std::vector<Coord>> lines;
  const auto take = [&](std::size_t piece) {
    if (used_[piece]) return;
    auto line = Follow(piece);
    if (line.size() > 1) lines.push_back(std::move(line));
  };
  for (std::size_t i = 0; i < pieces_.size(); ++i)
    if (!ends.contains(pieces_[i].from)) take(i);
  for (std::size_t i = 0; i < pieces_.size(); ++i) take(i);
  return lines;
}

/// base + k * interval from the base up, within the two heights, ascending.
std::vector<double> LevelsBetween(double low, double high, double interval, double base) {
  const double first = std::max(std::ceil((low - base) / interval), 0.0);
  const double last = std::floor((high - base) / interval);
  if (!std::isfinite(first) || !std::isfinite(last) || last - first > kMostLevels)
    throw RuntimeError::Platform("The contour interval is too small for the raster's heights.");
  std::vector<double> levels;
  for (double k = first; k <= last; ++k) levels.push_back(base + k * interval);
  return levels;
}

Polyline OnTheGround(const std::vector<Coord>& line, const IRasterProps& props) {
  Polyline shape;
  for (const Coord& at : line)
    shape.AddPoint(props.extent.xMin + (at.x + 0.5) * props.meanCellSize.x,
                   props.extent.yMax - (at.y + 0.5) * props.meanCellSize.y);
  return shape;
}

}  // namespace

std::vector<std::vector<Coord>> ContourLines(const IPixelBlock& block, int band, double level) {
  return Tracer(block, band, level).Run();
}

FeatureClassPtr ContourRaster(const IRasterDataset& raster, double interval, double base,
                              const std::string& outputFolder, const std::string& outputName) {
  if (!(interval > 0) || !std::isfinite(interval) || !std::isfinite(base))
    throw RuntimeError(ErrorNumber::kInvalidCall);
  const IRasterBand& band = raster.Band(0);
  const IPixelBlock block = band.ReadAll();
  const RasterStatistics heights = band.Statistics();
  std::vector<double> levels;
  if (heights.count > 0) levels = LevelsBetween(heights.minimum, heights.maximum, interval, base);

  Fields fields = MakeShapeFields(GeometryType::kPolyline, false, false, raster.SpatialReference());
  fields.AddField(MakeField("ID", FieldType::kInteger, 9, false, true));
  fields.AddField(MakeField("CONTOUR", FieldType::kDouble, 16, false, true));
  const FeatureClassPtr lines = CreateFeatureClass(outputFolder, outputName, fields);
  const int idField = lines->FindField("ID"), heightField = lines->FindField("CONTOUR");
  const CursorPtr rows = lines->Insert();
  const auto row = lines->CreateFeatureBuffer();
  std::int32_t id = 1;
  for (const double level : levels) {
    for (const auto& line : ContourLines(block, 0, level)) {
      row->SetShape(OnTheGround(line, band.Props()));
      row->SetValue(idField, Value(id++));
      row->SetDouble(heightField, level);
      rows->InsertRow(*row);
    }
  }
  rows->Flush();
  return lines;
}

}  // namespace orlinths
