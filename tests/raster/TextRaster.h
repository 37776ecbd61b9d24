// Rasters written as text, which GDAL reads and none of our code writes.
#pragma once

#include <optional>
#include <string>

#include "data/Raster.h"
#include "data/Workspace.h"
#include "runtime/Files.h"
#include "runtime/Value.h"
#include "support/Cells.h"
#include "support/TempFolder.h"

namespace orlinths {

struct TextRaster {
  Rows rows;
  std::optional<double> noData = -9999;
  double xMin = 100, yMin = 200;
  CellSize cell = {10, 10};
  const char* type = "Int32";  ///< "Byte", "Int16", "UInt32", "Float32", ...
};

/// Writes a virtual raster over an ASCII grid of the same name beside it.
inline void WriteTextRaster(const std::string& path, const TextRaster& raster) {
  const std::string grid = path + ".asc";
  const auto columns = std::ssize(raster.rows.front()), rows = std::ssize(raster.rows);
  std::string text = "ncols " + ToText(columns) + "\nnrows " + ToText(rows) +
                     "\nxllcorner 0\nyllcorner 0\ncellsize 1\n";
  for (const auto& row : raster.rows) {
    for (const double v : row) {
      const std::string cell = v != v ? "nan" : ToText(v);
      text += cell + (v == std::floor(v) ? ".0 " : " ");  // a grid of floats whatever the cells are
    }
    text += '\n';
  }
  WriteBytes(grid, text);
  const double yMax = raster.yMin + static_cast<double>(rows) * raster.cell.y;
  std::string band = "<VRTRasterBand dataType=\"" + std::string(raster.type) + "\" band=\"1\">";
  if (raster.noData) band += "<NoDataValue>" + ToText(*raster.noData) + "</NoDataValue>";
  band += "<SimpleSource><SourceFilename relativeToVRT=\"0\">" + grid +
          "</SourceFilename><SourceBand>1</SourceBand></SimpleSource></VRTRasterBand>";
  WriteBytes(path, "<VRTDataset rasterXSize=\"" + ToText(columns) + "\" rasterYSize=\"" +
                       ToText(rows) + "\"><GeoTransform>" + ToText(raster.xMin) + "," +
                       ToText(raster.cell.x) + ",0," + ToText(yMax) + ",0," +
                       ToText(-raster.cell.y) + "</GeoTransform>" + band + "</VRTDataset>");
}

inline RasterDatasetPtr OpenTextRaster(const std::string& path) {
  return OpenRasterDataset(FolderOf(path), NameOf(path));
}

/// Passes everything on to another band and counts the reads.
class CountingBand : public IRasterBand {
 public:
  explicit CountingBand(IRasterBand& inner) : inner_(inner) {}
  const IRasterProps& Props() const override { return inner_.Props(); }
  void SetNoDataValue(double value) override { inner_.SetNoDataValue(value); }
  void Read(CellPosition position, IPixelBlock& block) const override {
    ++reads;
    cells += std::int64_t{block.Columns()} * block.Rows();
    inner_.Read(position, block);
  }
  void Write(CellPosition position, const IPixelBlock& block) override {
    inner_.Write(position, block);
  }
  void ComputeStatsAndHist() override { inner_.ComputeStatsAndHist(); }
  RasterStatistics Statistics(int skipX, int skipY) const override {
    return inner_.Statistics(skipX, skipY);
  }
  const RasterAttributeTable* AttributeTable() const override { return inner_.AttributeTable(); }

  mutable int reads = 0;
  mutable std::int64_t cells = 0;

 private:
  IRasterBand& inner_;
};

}  // namespace orlinths
