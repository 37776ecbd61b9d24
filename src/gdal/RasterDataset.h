// Raster datasets on GDAL, as the units of this folder share them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "data/Raster.h"
#include "gdal/RasterBand.h"

namespace orlinths {

/// What every raster dataset here has in common: a path, a GDAL dataset, its bands.
class GdalRasterDataset : public IRasterDataset {
 public:
  /// `path` names the dataset; `dataset` is open on it.
  GdalRasterDataset(std::string path, GdalDatasetPtr dataset);

  std::string Name() const override;
  std::string PathName() const override;
  std::string Path() const override { return path_; }
  bool Exists() const override;
  int BandCount() const override { return static_cast<int>(bands_.size()); }
  int Width() const override { return props_.width; }
  int Height() const override { return props_.height; }
  orlinths::PixelType PixelType() const override { return Band(0).Props().pixelType; }
  IRasterBand& Band(int i) const override { return GdalBand(i); }
  std::string Format() const override;
  SpatialReferencePtr SpatialReference() const override { return props_.spatialReference; }
  Envelope Extent() const override { return props_.extent; }
  void Delete() override;

 protected:
  /// Without a dataset yet.
  explicit GdalRasterDataset(std::string path) : path_(std::move(path)) {}
  GDALDatasetH Handle() const { return dataset_.get(); }
  GdalRasterBand& GdalBand(int i) const;
  /// Takes over a dataset in place of the one it has (none: closes that).
  void Hold(GdalDatasetPtr dataset, bool isNew);
  /// The dataset of this path that others have open is no more, or another one now.
  void EndOthers();

  std::string path_;

 private:
  GdalDatasetPtr dataset_;
  std::uint64_t generation_ = 0;  ///< of the path, when `dataset_` was taken over
  bool isOnDisk_ = false;         ///< under a path of its own then
  std::vector<std::unique_ptr<GdalRasterBand>> bands_;
  IRasterProps props_;  ///< of the dataset as a whole
};

/// Opens a raster by its path: a file, a grid's folder, or the folder of a grid of several bands. A
/// platform error when it does not open or is not north-up.
GdalDatasetPtr OpenRasterFile(const std::string& path);

}  // namespace orlinths
