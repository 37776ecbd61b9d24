#include "sampling/RandomPointSampler.h"

#include <cmath>
#include <string>

#include "numerics/PolygonLocator.h"
#include "numerics/Random.h"
#include "numerics/Rounding.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr std::int32_t kMostTries = 100'001;
constexpr std::int64_t kCellsHeld = 25'000'000;
constexpr std::int32_t kMostInPolygon = 1'000'000;
constexpr double kNoNoData = -1e308;  // no raster means this value

/// Where candidates are drawn.
struct Rectangle {
  double xMin, yMin, width, height;
  explicit Rectangle(const Envelope& box)
      : xMin(box.xMin), yMin(box.yMin), width(box.Width()), height(box.Height()) {}

  Coord Draw() const {
    const double x = UniformDraw() * width + xMin;
    const double y = UniformDraw() * height + yMin;
    return {x, y};
  }
};

/// Lets the host repaint and take a stop request now and then.
class Breath {
 public:
  void Take() {
    if (++candidates_ % 4096 == 0) Yield();
  }

 private:
  std::uint32_t candidates_ = 0;
};

/// Counts candidates since a point was stored: the one that was stored is the first.
class Patience {
 public:
  void Restore() { tried_ = 0; }
  bool EndsNow() { return ++tried_ >= kMostTries; }

 private:
  std::int32_t tried_ = 0;
};

void Keep(const Coord& at, PointRules& rules, PointSink& sink) {
  sink.Store(at.x, at.y);
  if (rules.spacing) rules.spacing->Add(at.x, at.y);
}

/// Repeats until `count` candidates have passed. Draws of `passes` come between those of
/// candidates.
template <class Test>
SamplingEnd SampleUntil(std::int32_t count, const Rectangle& area, PointRules& rules,
                        PointSink& sink, Test&& passes) {
  Patience patience;
  Breath breath;
  for (std::int32_t done = 0; done < count;) {
    breath.Take();
    const Coord at = area.Draw();
    if (passes(at)) {
      Keep(at, rules, sink);
      ++done;
      patience.Restore();
    }
    if (patience.EndsNow()) return SamplingEnd::kGaveUp;
  }
  return SamplingEnd::kComplete;
}

/// Neither exclusion nor weights here, and a candidate too near to another uses up its turn.
SamplingEnd SampleUnguarded(std::int32_t count, const Rectangle& area, PointRules& rules,
                            PointSink& sink) {
  Patience patience;
  Breath breath;
  for (std::int32_t done = 0; done < count; ++done) {
    breath.Take();
    const Coord at = area.Draw();
    if (rules.IsFarEnough(at.x, at.y)) {
      Keep(at, rules, sink);
      patience.Restore();
    }
    if (patience.EndsNow()) return SamplingEnd::kGaveUp;
  }
  return SamplingEnd::kComplete;
}

/// `cellAt(column, row)` gives the cell's value, NaN for NoData; the row comes with its fraction.
template <class CellAt>
SamplingEnd SampleGuarded(const IRasterProps& props, std::int32_t northEdge, bool weighted,
                          double maximum, std::int32_t count, PointRules& rules, PointSink& sink,
                          CellAt&& cellAt) {
  const Rectangle area(props.extent);
  const double cell = props.meanCellSize.x;
  const double noData = props.noDataValue.value_or(kNoNoData);
  return SampleUntil(count, area, rules, sink, [&](const Coord& at) {
    const double column = std::floor((at.x - area.xMin) / cell);
    const double row = (northEdge - at.y) / cell;
    // A row is cut off towards zero: up to a cell north of the edge still counts as the first.
    if (!(column >= 0 && column < props.width && row > -1 && row < props.height)) return false;
    const double value = cellAt(column, row);
    if (value != value || value == noData) return false;
    if (weighted && !(value > UniformDraw() * maximum)) return false;
    return rules.IsAllowed(at.x, at.y) && rules.IsFarEnough(at.x, at.y);
  });
}

Envelope ExtentOfSelected(const IFeatureLayer& polygons) {
  QueryFilter what;
  what.onlyFields.emplace();
  const CursorPtr rows = polygons.SearchSelected(what);
  Envelope extent = NotNothing(rows->Next()).Extent();
  while (const IRow* row = rows->Next()) extent.Add(row->Extent());
  return extent;
}

SamplingEnd SampleSinglePolygon(const IRow& row, const Rectangle& area, std::int32_t count,
                                PointRules& rules, PointSink& sink) {
  if (row.Shape().IsEmpty()) return SamplingEnd::kNoShape;
  const PolygonLocator polygon(row.Polygon());
  return SampleUntil(count, area, rules, sink, [&](const Coord& at) {
    return rules.IsFarEnough(at.x, at.y) && polygon.Locate(at.x, at.y) == Side::kInside &&
           rules.IsAllowed(at.x, at.y);
  });
}

/// As many points inside the polygon as wanted, or false. A point that passes at the last try is
/// stored, and it is the last.
bool SampleInside(const Polygon& polygon, std::int32_t count, PointRules& rules, PointSink& sink,
                  Breath& breath) {
  if (count <= 0) return true;
  const Rectangle area(polygon.Envelope());
  const PolygonLocator locator(polygon);
  for (std::int32_t i = 0; i < count; ++i) {
    std::int32_t tried = 0;
    bool isFound = false;
    Coord at{};
    while (!isFound && tried < kMostTries) {
      breath.Take();
      at = area.Draw();
      isFound = rules.IsFarEnough(at.x, at.y) && locator.Locate(at.x, at.y) == Side::kInside &&
                rules.IsAllowed(at.x, at.y);
      ++tried;
    }
    if (isFound) Keep(at, rules, sink);
    if (tried == kMostTries) return false;
  }
  return true;
}

/// The polygon's number of points; nothing, after a message, for one that makes no sense.
std::optional<std::int32_t> NumberOf(const IRow& row, const StratifiedDesign& design) {
  if (design.by == StratifiedDesign::By::kCount) return design.count;
  const double asked = design.by == StratifiedDesign::By::kDensity
                           ? row.Polygon().Area() * design.density
                           : row.GetDouble(design.field);
  const std::int32_t number = ToLong(RoundTo(asked, 1));
  if (number < 0) {
    MessageBox(
        "Error: negative number encountered in number of points to generate. Skipping this "
        "polygon.",
        kExclamation, "Warning");
    return std::nullopt;
  }
  if (number > kMostInPolygon) {
    MessageBox(
        "Error: attempted to generate > 1M points in a polygon (assumed error). Skipping this "
        "polygon.",
        kExclamation, "Warning");
    return std::nullopt;
  }
  return number;
}

}  // namespace

SamplingEnd SampleRaster(const IRasterBand& band, const RasterDesign& design, std::int32_t count,
                         PointRules& rules, PointSink& sink) {
  const IRasterProps& props = band.Props();
  const std::int32_t northEdge = ToLong(props.extent.yMax);
  if (!design.keepOffNoData) return SampleUnguarded(count, Rectangle(props.extent), rules, sink);
  if (count <= 0) return SamplingEnd::kComplete;

  const double maximum = design.weighted ? band.Statistics(1, 1).maximum : 0;
  const auto sample = [&](auto&& cellAt) {
    return SampleGuarded(props, northEdge, design.weighted, maximum, count, rules, sink, cellAt);
  };
  if (props.CellCount() > kCellsHeld) {
    IPixelBlock one = band.CreatePixelBlock(1, 1);
    return sample([&](double column, double row) {
      band.Read({column, row}, one);
      return one.IsNoData(0, 0, 0) ? Point::kNone : one.GetDouble(0, 0, 0);
    });
  }
  const IPixelBlock block = band.ReadAll();
  return Visit(block, 0, [&](auto plane) {
    return sample([&](double column, double row) {
      const auto v = plane.cells[static_cast<std::ptrdiff_t>(row) * plane.columns +
                                 static_cast<std::ptrdiff_t>(column)];
      return plane.isNoData(v) ? Point::kNone : static_cast<double>(v);
    });
  });
}

SamplingEnd SampleLayer(const IFeatureLayer& polygons, bool useSelected, std::int32_t count,
                        PointRules& rules, PointSink& sink) {
  const Rectangle area(useSelected ? ExtentOfSelected(polygons) : polygons.Extent());
  const ISelectionSet& selection = polygons.SelectionSet();
  const bool oneSelected = useSelected && selection.Count() == 1;
  if (oneSelected || polygons.FeatureClass().FeatureCount() == 1) {
    const CursorPtr rows =
        oneSelected ? polygons.SearchSelected() : polygons.FeatureClass().Search();
    return SampleSinglePolygon(NotNothing(rows->Next()), area, count, rules, sink);
  }
  std::vector<Oid> met;
  return SampleUntil(count, area, rules, sink, [&](const Coord& at) {
    if (!rules.IsFarEnough(at.x, at.y)) return false;
    polygons.Identify(at.x, at.y, met);
    if (met.empty() || (useSelected && !selection.Contains(met.front()))) return false;
    return rules.IsAllowed(at.x, at.y);
  });
}

SamplingEnd SampleEachPolygon(const IFeatureLayer& polygons, bool useSelected,
                              const StratifiedDesign& design, PointRules& rules, PointSink& sink) {
  QueryFilter what;
  what.onlyFields = design.fieldsRead;
  const CursorPtr rows = useSelected ? polygons.SearchSelected(what) : polygons.Search(what);
  auto end = SamplingEnd::kComplete;
  Breath breath;
  while (const IRow* row = rows->Next()) {
    const Polygon& polygon = row->Polygon();
    sink.BeginPolygon(*row);
    const std::optional<std::int32_t> number = NumberOf(*row, design);
    if (number && !SampleInside(polygon, *number, rules, sink, breath)) end = SamplingEnd::kGaveUp;
    if (rules.spacing && !design.distanceAmongAll) rules.spacing->Clear();
    sink.EndPolygon();
  }
  return end;
}

}  // namespace orlinths
