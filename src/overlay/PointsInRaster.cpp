#include "overlay/PointsInRaster.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "host/Steps.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

// ---- Before the points are walked

/// Asks when the references of points and raster are not known to be the same.
bool MayMix(const IFeatureClass& points, const IRasterDataset& raster) {
  const SpatialReferencePtr a = points.SpatialReference(), b = raster.SpatialReference();
  if (a->IsUnknown() || b->IsUnknown())
    return Ask(
        "WARNING: unable to evaluate spatial references because one or both layers do not have "
        "the spatial reference defined. Would you like to ignore the projections and proceed with "
        "processing anyway?",
        "Warning");
  if (a->FactoryCode() != b->FactoryCode())
    return Ask(
        "WARNING: different spatial references (projections) detected. This tool does not perform "
        "on-the-fly reprojection, so it is important "
        "that you ensure the projections of the raster and point data match. In some cases the "
        "difference in projections is trivial (e.g. UTM WGS84 vs UTM NAD83) "
        "and you can legitimately ignore the projection difference. Would you like to ignore the "
        "projection difference and proceed with processing?",
        "Warning");
  return true;
}

std::string BandFieldName(const std::string& base, int band, int bandCount) {
  return bandCount < 2 ? base : base + "_b" + ToText(band + 1);
}

bool Clashes(const std::string& base, int bandCount, const Fields& fields) {
  if (base.empty()) return true;
  for (int band = 0; band < bandCount; ++band)
    if (FieldExists(BandFieldName(base, band, bandCount), fields)) return true;
  return false;
}

std::string BaseName(const IFeatureClass& points, const std::string& layerName, int bandCount,
                     const std::string& wanted) {
  const std::string made = wanted.empty() ? CleanFileName(layerName).substr(0, 7) : wanted;
  if (!Clashes(made, bandCount, points.Fields())) return made;
  while (true) {
    const std::string typed = AskForFieldName(layerName);
    // The cleaned text is tested, the text as typed is used.
    if (!Clashes(CleanFileName(typed), bandCount, points.Fields())) return UpToFirstPoint(typed);
  }
}

// ---- Cells

/// Single cells of a band that is not held in memory. A cell is read alone; a second one out of the
/// same stretch of its row brings the stretch, so that points that lie together share a read and
/// points that do not cost no more than their own cell.
class ScatteredCells {
 public:
  explicit ScatteredCells(const IRasterBand& band)
      : band_(band), noData_(band.Props().noDataValue.value_or(kNothing)) {}

  double At(int column, int row) {
    const int first = column - column % kColumns;
    Stretch& stretch = stretches_[static_cast<std::size_t>(row % kStretches)];
    if (stretch.row != row || stretch.first != first) {
      stretch.row = row, stretch.first = first, stretch.isRead = false;
      double cell;
      Read(column, row, 1, &cell);
      return cell;
    }
    if (!stretch.isRead) {
      Read(first, row, std::min(kColumns, band_.Props().width - first), stretch.cells.data());
      stretch.isRead = true;
    }
    return stretch.cells[static_cast<std::size_t>(column - first)];
  }

 private:
  // No longer than the blocks of common formats are wide: one block of the file serves a stretch.
  static constexpr int kColumns = 128;
  static constexpr int kStretches = 64;
  struct Stretch {
    int first = -1, row = -1;
    bool isRead = false;
    std::array<double, kColumns> cells;
  };

  void Read(int column, int row, int count, double* cells) const {
    IPixelBlock block = band_.CreatePixelBlock(count, 1);
    band_.Read({static_cast<double>(column), static_cast<double>(row)}, block);
    Visit(block, 0, [&]<class T>(Plane<T> plane) {
      std::ranges::transform(plane.Row(0), cells, [&](T v) {
        return plane.isNoData(v) ? noData_ : static_cast<double>(v);
      });
    });
  }

  const IRasterBand& band_;
  double noData_;
  std::vector<Stretch> stretches_ = std::vector<Stretch>(kStretches);
};

/// Writes `valueAt(column, row)` of the cell under each point; NaN is nothing to write.
template <class ValueAt>
PointTally FillField(IFeatureClass& points, int field, const IRasterProps& props, Steps& steps,
                     const ValueAt& valueAt) {
  const double xMin = props.extent.xMin, yMax = props.extent.yMax, cell = props.meanCellSize.x;
  const bool isInteger = props.IsInteger();
  const double outside = props.noDataValue.value_or(kNothing);

  PointTally tally;
  const auto rows = points.Update(ShapesOnly());
  while (IFeature* feature = rows->Next()) {
    ++tally.processed;
    steps.Next();
    if (feature->Shape().IsEmpty()) continue;
    const Point& point = feature->Point();
    // Compared as doubles: a point at the end of the world is outside, and no overflow.
    const double column = std::floor((point.x - xMin) / cell);
    const double row = std::floor((yMax - point.y) / cell);
    const bool isInside = column >= 0 && column < props.width && row >= 0 && row < props.height;
    if (!isInside) ++tally.outside;
    const double value =
        isInside ? valueAt(static_cast<int>(column), static_cast<int>(row)) : outside;
    if (std::isnan(value)) continue;
    feature->SetDouble(field, isInteger ? static_cast<double>(ToLong(value)) : value);
    rows->UpdateRow(*feature);
  }
  rows->Flush();
  return tally;
}

PointTally FillFromBand(IFeatureClass& points, int field, const IRasterBand& band, bool lowMemory,
                        Steps& steps) {
  const IRasterProps& props = band.Props();
  if (lowMemory) {
    ScatteredCells cells(band);
    return FillField(points, field, props, steps,
                     [&](int column, int row) { return cells.At(column, row); });
  }
  const IPixelBlock block = band.ReadAll();
  const double noData = props.noDataValue.value_or(kNothing);
  return Visit(block, 0, [&]<class T>(Plane<T> plane) {
    return FillField(points, field, props, steps, [&](int column, int row) {
      const T v = plane.Row(row)[static_cast<std::size_t>(column)];
      return plane.isNoData(v) ? noData : static_cast<double>(v);
    });
  });
}

/// Index of the new field; -1 when the table takes it and does not have it afterwards.
int AddBandField(IFeatureClass& points, const std::string& name, bool isInteger,
                 IntersectReport& report) {
  points.AddField(
      MakeField(name, isInteger ? FieldType::kInteger : FieldType::kDouble, 16, false, true, 0));
  report.Line("Added field " + name);
  const int field = points.FindField(name);
  if (field < 0)
    MessageBox(
        "Error: unable to add fields to point layer. This layer may be in use by another "
        "application.",
        kCritical, "Error");
  return field;
}

}  // namespace

bool ISectPntRaster(IFeatureClass& points, const IRasterLayer& layer, const RasterIntersection& how,
                    IntersectReport& report) {
  bool allFinished = false;
  Trap("ISectPntRaster: ", [&] {
    const IRasterDataset& raster = layer.Dataset();
    const std::string& name = layer.Name();
    const int bandCount = raster.BandCount();
    const bool lowMemory =
        how.lowMemory || std::int64_t{raster.Width()} * raster.Height() > kWholeBandCells;
    if (!how.ignoreProjections && !MayMix(points, raster)) return;
    const std::string base = BaseName(points, name, bandCount, how.fieldName);

    Steps steps(points.FeatureCount(), "Processing points (" + name + ")...", true, 1);
    report.Section("Raster intersect layer: " + name);
    report.Line(ToText(bandCount) + " band(s) detected");

    int finished = 0;
    bool allOutside = false;
    PointTally tally;
    for (int i = 0; i < bandCount; ++i) {
      const IRasterBand& band = raster.Band(i);
      report.Line("BAND " + ToText(i + 1));
      const int field =
          AddBandField(points, BandFieldName(base, i, bandCount), band.Props().IsInteger(), report);
      if (field < 0) return;
      steps.StartOver();
      tally = FillFromBand(points, field, band, lowMemory, steps);
      ++finished;
      TellTally(report, tally, name, "band");
      if (tally.outside == tally.processed) allOutside = true;
    }

    if (!how.suppressWarnings) WarnOfPointsOutside(tally.outside, name);  // of the last band alone
    allFinished = finished == layer.BandCount();
    if (!allFinished)
      MessageBox(
          "ERROR: A problem occurred during the intersection of one or more bands in the raster "
          "layer: " +
              name +
              ".\rIt is recommended that you check the attribute table of the point layer for "
              "errors.",
          kExclamation, "Warning");
    if (allOutside) {
      report.Line("WARNING! POSSIBLE COORDINATE SYSTEM ERROR DETECTED.");
      report.Line(
          "It is possible that not all of your data is in the same coordinate system. This tool "
          "does not currently support on-the-fly projection. It is recommended that you check the "
          "projection definitions of your layers, and discard any results from this tool based on "
          "layers with different projections.");
    }
  });
  return allFinished;
}

}  // namespace orlinths
