// One contour of a raster as a shapefile of its own.
#pragma once

#include <string>

#include "data/Table.h"

namespace orlinths {

/// A new shapefile of lines in `outputFolder`, with the fields of `ContourRaster`: the contour of
/// the raster's first band at `baseContour`, and those that stand every `interval` above it, as far
/// as the band reaches. Callers choose an interval that leaves but the one.
/// It is named `outputName`, or, when that cannot be, "contour1" or the first number that is free,
/// silently. Nothing, after a report, when something fails; what was written stays.
FeatureClassPtr ContourGrid(const std::string& outputFolder, const std::string& rasterFolder,
                            const std::string& rasterName, const std::string& outputName,
                            double interval, double baseContour);

}  // namespace orlinths
