// The ground of the convex polygons' tests: points in a map, the dialog, and what stands in the
// output's folder.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "movement/ConvexPolygons.h"
#include "movement/Fixes.h"
#include "runtime/Files.h"
#include "support/ToolTest.h"

namespace orlinths {

class ConvexPolygonsTest : public ToolTest {
 protected:
  inline static const Message kComplete{"Processing complete.", kInformation, "Status"};
  inline static const Message kTooFew{
      "ERROR: less than 3 points in input layer (no polygon possible).", kCritical, "Input Error"};
  inline static const std::string kNothing = "91\rObject variable or With block variable not set";
  inline static const std::string kNoReturn =
      "-2147467259\rThe walk around the points does not come back to its start.";

  static Message Report(const std::string& text) { return {text, kCritical, "Error"}; }

  void OpenOn(const std::string& layer) {
    Open<frmMCP>();
    Set("cmbPL", layer);
    Pick("out.shp");
  }
  void Pick(const std::string& file) { host_.dialogs.Top().Pick("btnFolder", Path(file)); }
  void GroupBy(const std::string& field) {
    Tick("chkMany", true);
    Set("cmbUV", field);
  }
  /// Base names of the shapefiles in the folder.
  std::set<std::string> Shapefiles() const {
    std::set<std::string> names;
    for (const std::string& file : files::NamesIn(FolderOf(Path("x"))))
      if (file.ends_with(".shp")) names.insert(StemOf(file));
    return names;
  }
  /// Files of whatever kind that bear a temporary name.
  std::vector<std::string> TemporaryFiles() const {
    std::vector<std::string> found;
    for (const std::string& file : files::NamesIn(FolderOf(Path("x"))))
      if (file.starts_with("tmp_")) found.push_back(file);
    return found;
  }
  /// What GDAL reads, numbers in their shortest form.
  std::vector<std::string> Wkts(const std::string& name) const {
    std::vector<std::string> wkts;
    for (const OgrRecord& record : Table(name).records) wkts.push_back(AsWkt(Wkt(record.wkt)));
    return wkts;
  }
};

/// Animal 1 has two fixes, animal 2 five, of which one lies inside, animal 3 three.
inline std::vector<Location> ThreeAnimals() {
  return {{2, {0, 0}},   {1, {50, 50}}, {2, {0, 10}},    {3, {100, 100}}, {2, {4, 5}},
          {2, {10, 10}}, {1, {60, 60}}, {3, {100, 104}}, {2, {10, 0}},    {3, {103, 100}}};
}
inline constexpr const char* kSquareOf2 = "POLYGON((0 0, 0 10, 10 10, 10 0, 0 0))";
inline constexpr const char* kTriangleOf3 = "POLYGON((100 100, 100 104, 103 100, 100 100))";

}  // namespace orlinths
