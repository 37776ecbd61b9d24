// Raster datasets: opening, creating and deleting them, and their bands.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "data/PixelType.h"
#include "data/RasterBand.h"
#include "data/Table.h"
#include "runtime/RuntimeError.h"

namespace orlinths {

class IRasterDataset : public IGeoDataset {
 public:
  virtual std::string Name() const = 0;  ///< file name with extension; a GRID by its folder's name
  virtual std::string PathName() const = 0;  ///< folder of its workspace
  virtual std::string Path() const = 0;
  /// False once the dataset has been deleted or overwritten in this process, or its file has gone.
  virtual bool Exists() const = 0;
  virtual int BandCount() const = 0;
  virtual int Width() const = 0;
  virtual int Height() const = 0;
  /// Of the first band; error 9 for a dataset without bands.
  virtual orlinths::PixelType PixelType() const = 0;
  /// From 0; error 9 outside, and for every band of a dataset that knows none. Good as long as the
  /// dataset, and of a new dataset until it is closed.
  virtual IRasterBand& Band(int /*i*/) const { throw RuntimeError(ErrorNumber::kSubscript); }
  /// Ends the writing of a new dataset, which takes its name now, when it is whole. A new dataset
  /// that goes without it leaves nothing behind. Afterwards, and always for an opened one: does
  /// nothing, and the dataset can be read.
  virtual void Close() {}
  /// "GRID", "IMAGINE Image" or "TIFF"; for other formats the library's name.
  virtual std::string Format() const { return {}; }
  /// Removes the dataset with all its files.
  virtual void Delete() = 0;
};
using RasterDatasetPtr = std::shared_ptr<IRasterDataset>;

/// The raster of that name in the folder. A platform error when it does not open, is rotated or is
/// not there.
RasterDatasetPtr OpenRasterDataset(const std::string& folder, const std::string& name);

/// A raster to be made. `origin` is the lower-left corner.
struct NewRaster {
  std::string name;
  std::string format;  ///< "GRID", "IMAGINE Image" or "TIFF"
  Coord origin{0, 0};
  std::int64_t columns = 0, rows = 0;
  CellSize cellSize;
  int bandCount = 1;
  orlinths::PixelType pixelType = PixelType::kUInt8;
  SpatialReferencePtr spatialReference;  ///< null counts as unknown
};
/// Nothing stands under the name before `Close`. A platform error for an empty folder or name, a
/// name that exists, an unknown format, complex cells, and sizes that no raster has. A "GRID" holds
/// 32-bit integers or 32-bit floats, whatever integer or floating type was asked for.
RasterDatasetPtr CreateRasterDataset(const std::string& folder, const NewRaster& raster);

}  // namespace orlinths
