// Rasters for tests made by GDAL itself, and what GDAL reads from ours.
#pragma once

#include <gdal_priv.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/Cells.h"
#include "support/TempFolder.h"

namespace orlinths {

struct GdalRaster {
  std::string driver = "GTiff";
  GDALDataType type = GDT_Byte;
  std::vector<Rows> bands = {};
  std::optional<double> noData = std::nullopt;
  std::vector<double> transform = {100, 10, 0, 200, 0, -10};  ///< empty for none
  int epsg = 0;
  std::vector<std::string> options = {};
  std::function<void(GDALDataset&)> finish = {};  ///< before the dataset is closed
};
void WriteGdal(const std::string& path, const GdalRaster& raster);

/// The cells of a band (from 1) as doubles.
Rows GdalCells(const std::string& path, int band = 1);
GDALDataset* OpenGdal(const std::string& path);

}  // namespace orlinths
