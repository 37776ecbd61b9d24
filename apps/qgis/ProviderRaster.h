// Rasters of QGIS that have cells and are no file that GDAL opens (a coverage of a server, a raster
// in a database, a virtual one): read through QGIS's data provider, in large blocks.
#pragma once

#include <string>

#include "data/Raster.h"

class QgsRasterLayer;

namespace orlinths {

/// Why the tools cannot use a valid raster layer; empty for one that has a size and cells.
std::string WhyNoCells(const QgsRasterLayer& layer);

/// The raster of a valid layer that has cells, to read. NoData is what QGIS takes for it.
RasterDatasetPtr OpenProviderRaster(QgsRasterLayer& layer);

}  // namespace orlinths
