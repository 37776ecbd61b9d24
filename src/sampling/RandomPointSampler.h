// Random points by rejection: in the extent of a raster, in the polygons of a layer, in one polygon
// after the other. A uniform candidate in a rectangle, x drawn before y, goes through a chain of
// tests, and the chain differs by design.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "data/Layers.h"
#include "data/RasterBand.h"
#include "data/Table.h"
#include "sampling/SpacedPoints.h"

namespace orlinths {

/// What points must keep over a whole run, whatever the design.
struct PointRules {
  std::optional<SpacedPoints> spacing{};  ///< the points so far; nothing without a minimum distance
  const IFeatureClass* excluded = nullptr;  ///< its polygons and their boundaries hold no point
  std::vector<Oid> found{};                 ///< room for the answers of an index

  bool IsFarEnough(double x, double y) const { return !spacing || spacing->IsFarEnough(x, y); }
  bool IsAllowed(double x, double y) {
    if (excluded == nullptr) return true;
    excluded->FeaturesAt(x, y, found);
    return found.empty();
  }
};

/// Takes the points that have passed. Called per point, not per candidate.
class PointSink {
 public:
  virtual ~PointSink() = default;
  virtual void Store(double x, double y) = 0;
  /// A polygon of a stratified design: its points come next; it has had all its points.
  virtual void BeginPolygon(const IRow& /*polygon*/) {}
  virtual void EndPolygon() {}
};

enum class SamplingEnd {
  kComplete,
  kGaveUp,   ///< a part of the run ended at 100,001 candidates tried
  kNoShape,  ///< the one polygon to sample has no shape; nothing was sampled
};

struct RasterDesign {
  bool keepOffNoData = false;
  bool weighted = false;  ///< by cell value over the band's maximum; only with `keepOffNoData`
};

/// `count` points in the extent of a band. Kept off NoData, a candidate beyond the band is rejected
/// like NoData, and the row counts from the northern edge rounded to a whole number, halves to even
/// (error 6 beyond 32 bits); the X size of the cells serves both axes. Not kept off NoData, there
/// is no test but the distance, and a candidate that fails it counts as one of the `count`.
///
/// A band of up to 25,000,000 cells is read once, a larger one a cell at a time.
SamplingEnd SampleRaster(const IRasterBand& band, const RasterDesign& design, std::int32_t count,
                         PointRules& rules, PointSink& sink);

/// `count` points in all polygons of a layer, or in the selected ones. With a single polygon (the
/// class has but one, or one is selected) a point must lie inside it; with several it must meet
/// one, boundaries included, and of several that it meets only the first one's selection counts.
SamplingEnd SampleLayer(const IFeatureLayer& polygons, bool useSelected, std::int32_t count,
                        PointRules& rules, PointSink& sink);

/// How many points a polygon gets.
struct StratifiedDesign {
  enum class By { kCount, kDensity, kField };
  By by = By::kCount;
  std::int32_t count = 0;
  double density = 0;            ///< points per square map unit
  int field = -1;                ///< of numbers of points
  bool distanceAmongAll = true;  ///< else the minimum distance holds within each polygon alone
  std::vector<std::string> fieldsRead{};  ///< what the design and the sink read of a polygon
};

/// Points inside each polygon of the layer, or each selected one. A number below 0 or above a
/// million by density or field gets a message, and the polygon none. A polygon that is given up
/// keeps the points it has, and the next one follows. Error 91 for a polygon without shape.
SamplingEnd SampleEachPolygon(const IFeatureLayer& polygons, bool useSelected,
                              const StratifiedDesign& design, PointRules& rules, PointSink& sink);

}  // namespace orlinths
