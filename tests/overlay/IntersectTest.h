// The ground of the Intersect Point Tool's tests: points, polygons and rasters made by GDAL in a
// map without windows.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "gdal/RasterFixture.h"
#include "support/ToolTest.h"

namespace orlinths {

inline constexpr const char* kUtm = "EPSG:32612";

class IntersectTest : public ToolTest {
 protected:
  /// One point a text; an empty text is a record without a shape.
  static OgrDataset PointsAt(const Texts& wkts, const std::string& reference = kUtm);
  static OgrDataset PointsOn(const std::vector<Coord>& places);
  /// Two squares of 10 that share the edge x = 10, and a third one over both of them.
  static OgrDataset Stands();
  std::shared_ptr<IRasterLayer> AddRaster(const std::string& file, const GdalRaster& raster);
  /// Columns 100, 110, 120 to 130 and rows 200, 190 to 180 hold 1, 2, 3 and 4, 5, 6.
  static GdalRaster Small();

  Hand top() { return host_.dialogs.Top(); }
  /// The next field list: these fields, or all.
  void ChooseFields(const Texts& fields);
  void ChooseAllFields();
  /// The next question for a field name is answered so; an empty text leaves the dialog.
  void AnswerName(const std::string& text);
  /// The report at the end is read and closed.
  void ReadReport();
  std::string report_;
};

}  // namespace orlinths
