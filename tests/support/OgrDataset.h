// Vector datasets made and read with GDAL alone, so that what our own readers and writers do is
// seen through another's eyes.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace orlinths {

struct OgrColumn {
  std::string name;
  std::string type;  ///< as GDAL tells it: "Integer", "Integer64", "Real", "String", "Date"
  int width = 0;
  int precision = 0;
  bool operator==(const OgrColumn&) const = default;
};

struct OgrRecord {
  std::string wkt;                    ///< empty: no shape
  std::vector<std::string> values{};  ///< one a column; numbers with a point
};

/// What a dataset's only layer holds. `type` is a WKT type: "Point", "Line String", "Polygon", ...
struct OgrDataset {
  std::string type;
  std::string reference{};  ///< "EPSG:n" or empty; not filled by `ReadOgr`
  std::vector<OgrColumn> columns{};
  std::vector<OgrRecord> records{};

  std::vector<std::string> ColumnNames() const;
  /// A column of numbers, record by record; a name that is not there gives nothing.
  std::vector<double> Numbers(const std::string& column) const;
  std::vector<std::string> Texts(const std::string& column) const;
};

/// Writes a new dataset; the format follows the path's ending (.shp, .gpkg, .geojson).
void WriteOgr(const std::string& path, const OgrDataset& dataset);
OgrDataset ReadOgr(const std::string& path);

/// What GDAL says of a shape. `length` of a polygon is that of all its rings.
struct OgrMeasure {
  double area, length;
};
OgrMeasure MeasureOgr(const std::string& wkt);
/// Where GDAL projects a point.
std::pair<double, double> ProjectOgr(const std::string& wkt, const std::string& from,
                                     const std::string& to);

}  // namespace orlinths
