#include "RasterFixture.h"

#include <ogr_spatialref.h>

#include <stdexcept>

namespace orlinths {

void WriteGdal(const std::string& path, const GdalRaster& raster) {
  GDALAllRegister();
  char** options = nullptr;
  for (const std::string& option : raster.options) options = CSLAddString(options, option.c_str());
  const auto rows = static_cast<int>(raster.bands.front().size());
  const auto columns = static_cast<int>(raster.bands.front().front().size());
  GDALDatasetUniquePtr dataset(GetGDALDriverManager()
                                   ->GetDriverByName(raster.driver.c_str())
                                   ->Create(path.c_str(), columns, rows,
                                            static_cast<int>(raster.bands.size()), raster.type,
                                            options));
  CSLDestroy(options);
  if (!dataset) throw std::runtime_error("cannot create " + path);
  std::vector<double> transform = raster.transform;
  if (!transform.empty()) dataset->SetGeoTransform(transform.data());
  if (raster.epsg != 0) {
    OGRSpatialReference reference;
    reference.importFromEPSG(raster.epsg);
    dataset->SetSpatialRef(&reference);
  }
  for (int band = 1; band <= dataset->GetRasterCount(); ++band) {
    GDALRasterBand& target = *dataset->GetRasterBand(band);
    if (raster.noData) target.SetNoDataValue(*raster.noData);
    for (int row = 0; row < rows; ++row) {
      std::vector<double> cells =
          raster.bands[static_cast<std::size_t>(band - 1)][static_cast<std::size_t>(row)];
      if (target.RasterIO(GF_Write, 0, row, columns, 1, cells.data(), columns, 1, GDT_Float64, 0,
                          0) != CE_None)
        throw std::runtime_error("cannot write " + path);
    }
  }
  if (raster.finish) raster.finish(*dataset);
}

GDALDataset* OpenGdal(const std::string& path) {
  GDALAllRegister();
  GDALDataset* dataset = GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_VERBOSE_ERROR);
  if (dataset == nullptr) throw std::runtime_error("cannot open " + path);
  return dataset;
}

Rows GdalCells(const std::string& path, int band) {
  const GDALDatasetUniquePtr dataset(OpenGdal(path));
  const int columns = dataset->GetRasterXSize();
  Rows rows;
  for (int row = 0; row < dataset->GetRasterYSize(); ++row) {
    rows.emplace_back(static_cast<std::size_t>(columns));
    if (dataset->GetRasterBand(band)->RasterIO(GF_Read, 0, row, columns, 1, rows.back().data(),
                                               columns, 1, GDT_Float64, 0, 0) != CE_None)
      throw std::runtime_error("cannot read " + path);
  }
  return rows;
}

}  // namespace orlinths
