// A band of a raster on GDAL.
#pragma once

#include <memory>

#include <gdal.h>

#include "data/BandCells.h"
#include "data/RasterBand.h"

namespace orlinths {

struct CloseGdalDataset {
  void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
};
using GdalDatasetPtr = std::unique_ptr<void, CloseGdalDataset>;

/// What GDAL says of a band. A platform error for a raster that is not north-up, in which case the
/// message says so.
IRasterProps PropsOf(GDALDatasetH dataset, int band, const SpatialReferencePtr& reference);

class GdalRasterBand : public IRasterBand {
 public:
  /// `band` is from 0. `path` is the dataset's, where tables beside it are looked for. `isNew`:
  /// cells may be written.
  GdalRasterBand(GDALDatasetH dataset, int band, std::string path,
                 const SpatialReferencePtr& reference, bool isNew = false);

  const IRasterProps& Props() const override { return props_; }
  void SetNoDataValue(double value) override;
  void Read(CellPosition position, IPixelBlock& block) const override;
  void Write(CellPosition position, const IPixelBlock& block) override;
  void ComputeStatsAndHist() override;
  RasterStatistics Statistics(int skipX, int skipY) const override;
  const RasterAttributeTable* AttributeTable() const override;

  /// Where NoData cells go when no NoData value has been set; the library is not told of it.
  void SetFallbackNoData(double value) { props_.noDataValue = value; }

 private:
  template <class T>
  void Transfer(GDALRWFlag direction, const CellWindow& window, T* cells,
                std::int64_t stride) const;
  void ReadMask(const CellWindow& window, std::vector<std::uint8_t>& mask) const;
  void ReadSameType(const CellWindow& window, IPixelBlock& block) const;
  void KeepHistogram(const RasterStatistics& statistics);

  GDALRasterBandH band_;
  std::string path_;
  IRasterProps props_;
  int bandIndex_;
  bool isNew_;
  bool hasMask_;
  mutable bool tableSought_ = false;
  mutable std::unique_ptr<RasterAttributeTable> table_;
};

/// The table of an integer band: the dataset's own, one in a dBASE file beside it, or the band's
/// values counted. Nothing where there is none; see the platform's rasters.
std::unique_ptr<RasterAttributeTable> FindAttributeTable(GDALRasterBandH handle, int band,
                                                         const std::string& path,
                                                         const IRasterBand& cells);

}  // namespace orlinths
