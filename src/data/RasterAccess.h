// The common ground of the raster tools: cells and coordinates, envelopes on a raster's grid,
// masks, the polygon scan fill, and rasters written from binary intermediate files. Each routine
// reports its failures under its own label and then gives what an unfinished routine gives: an
// empty array, an empty envelope, 0, false.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "data/Layers.h"
#include "data/Mask.h"
#include "data/RasterBand.h"
#include "runtime/Arrays.h"

namespace orlinths {

/// The folder as a raster workspace. A platform error for an empty path or a folder that is not
/// there.
std::string OpenRasterWorkspace(const std::string& folder);

Point GetCellCentrePoint(const IRasterProps& props, std::int64_t column, std::int64_t row);

/// The cell under a coordinate, or -999 where it is NoData or lies outside; the last column and the
/// last row count as outside, deliberately. One read of one cell, no cache.
std::int32_t GetLongRasterValueFromCoord(const IRasterBand& band, double x, double y);
double GetDblRasterValueFromCoord(const IRasterBand& band, double x, double y);

/// The envelope grown to the cell edges around it and cut back to the raster. The X size of the
/// cells serves both axes.
Envelope SnapEnvToRast(const IRasterProps& props, const Envelope& envelope);

/// True at each NoData cell, (0 to Height-1, 0 to Width-1). Both give the same; the first scans the
/// band by strips of rows, the second holds it whole.
Mask GetNoDataArr(const IRasterBand& band);
Mask GetNoDataArr2(const IRasterBand& band);
/// The same of a band that is held already: `block` is the whole band.
Mask GetNoDataArr2(const IPixelBlock& block);

/// The row-span table of a window, (R0..R1, 0..1): the index just before the first true cell of the
/// row, and that of the last one. A row with several runs reports the last of each kind, an empty
/// one 0 and 0.
Array2<std::int32_t> GetSliderArr(const Mask& mask);

/// Which cells have their centre inside the polygon, (rowMin..rowMax, colMin..colMax): its envelope
/// in cells, cut to 0 and to Height and Width, so that one row and one column may lie past the
/// raster. Filled row by row between the places where the row's centre line meets the boundary; the
/// X size of the cells serves both axes. O(edges + crossings log crossings + cells).
Mask GetPolyRasterArray2(const Polygon& polygon, const IRasterProps& props);

/// The column "Value" of the attribute table of band 0; no array when there is no table.
std::optional<std::vector<std::int32_t>> GetUniqueRasterValues(const IRasterLayer& layer);

/// A single-band raster of 32-bit integers (64-bit floats) with NoData -9999 from a headerless file
/// of cells in raster order. What a short file does not reach stays 0. True when it is written.
bool WriteLongRasterFromBinary(const std::string& binaryPath, const std::string& rasterName,
                               const std::string& workspace, const std::string& format,
                               const Point& origin, double cellSize, std::int64_t columns,
                               std::int64_t rows, const SpatialReferencePtr& reference);
bool WriteDoubleRasterFromBinary(const std::string& binaryPath, const std::string& rasterName,
                                 const std::string& workspace, const std::string& format,
                                 const Point& origin, double cellSize, std::int64_t columns,
                                 std::int64_t rows, const SpatialReferencePtr& reference);

}  // namespace orlinths
