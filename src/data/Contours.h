// Contour lines of a raster.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "data/PixelBlock.h"
#include "data/Raster.h"
#include "data/Table.h"
#include "numerics/Geometry.h"

namespace orlinths {

/// The lines on which a surface has the height `level`. The surface joins the centres of the cells:
/// within a square of four cell centres that all have values the line runs straight between the
/// places on the square's sides where the height is met; in a saddle the mean of the four decides
/// which corners belong together. A cell of just that height counts as above it. Lines have the
/// higher ground on their right; open lines come first, from north to south, then closed ones.
/// Coordinates are cells: (0, 0) is the centre of the first cell, x columns east, y rows south.
/// O(cells).
std::vector<std::vector<Coord>> ContourLines(const IPixelBlock& block, int band, double level);

/// A new shapefile of lines with the fields `ID` (from 1) and `CONTOUR` (the height), with the
/// contours of band 0 at `base` and every `interval` above it, as far as they fall between the
/// band's minimum and maximum, from low to high. None is no error: the shapefile is then empty.
/// Error 5 unless the interval is above 0; a platform error for more than 100,000 levels and where
/// the shapefile cannot be made.
FeatureClassPtr ContourRaster(const IRasterDataset& raster, double interval, double base,
                              const std::string& outputFolder, const std::string& outputName);

}  // namespace orlinths
