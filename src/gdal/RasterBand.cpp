#include "gdal/RasterBand.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "data/BandCells.h"
#include "gdal/Library.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

/// Pixel type of the band as tools know it.
PixelType PixelTypeOf(GDALRasterBandH band) {
  const char* bits = GDALGetMetadataItem(band, "NBITS", "IMAGE_STRUCTURE");
  const char* kind = GDALGetMetadataItem(band, "PIXELTYPE", "IMAGE_STRUCTURE");
  switch (GDALGetRasterDataType(band)) {
    case GDT_Byte:
      if (kind != nullptr && std::strcmp(kind, "SIGNEDBYTE") == 0) return PixelType::kInt8;
      if (bits != nullptr && std::strcmp(bits, "1") == 0) return PixelType::k1Bit;
      if (bits != nullptr && std::strcmp(bits, "2") == 0) return PixelType::k2Bit;
      if (bits != nullptr && std::strcmp(bits, "4") == 0) return PixelType::k4Bit;
      return PixelType::kUInt8;
    case GDT_UInt16:
      return PixelType::kUInt16;
    case GDT_Int16:
      return PixelType::kInt16;
    case GDT_UInt32:
      return PixelType::kUInt32;
    case GDT_Int32:
      return PixelType::kInt32;
    case GDT_Float32:
      return PixelType::kFloat;
    case GDT_CInt16:
    case GDT_CInt32:
    case GDT_CFloat32:
      return PixelType::kComplex;
    case GDT_CFloat64:
      return PixelType::kDoubleComplex;
    default:
      return PixelType::kDouble;
  }
}

/// The NoData value as a cell holds it: 64-bit ones as the double that they read as, single ones
/// rounded as the cells are.
std::optional<double> NoDataOf(GDALRasterBandH band) {
  int has = 0;
  double value = 0;
  switch (GDALGetRasterDataType(band)) {
    case GDT_Int64:
      value = static_cast<double>(GDALGetRasterNoDataValueAsInt64(band, &has));
      break;
    case GDT_UInt64:
      value = static_cast<double>(GDALGetRasterNoDataValueAsUInt64(band, &has));
      break;
    case GDT_Float32:
      value = GDALGetRasterNoDataValue(band, &has);
      if (Holds<float>(value)) value = static_cast<float>(value);
      break;
    default:
      value = GDALGetRasterNoDataValue(band, &has);
  }
  return has ? std::optional(value) : std::nullopt;
}

/// The type under which GDAL moves cells of a plane of T. Signed bytes travel as bytes.
template <class T>
constexpr GDALDataType TransferType() {
  if constexpr (sizeof(T) == 1)
    return GDT_Byte;
  else if constexpr (std::is_same_v<T, std::uint16_t>)
    return GDT_UInt16;
  else if constexpr (std::is_same_v<T, std::int16_t>)
    return GDT_Int16;
  else if constexpr (std::is_same_v<T, std::uint32_t>)
    return GDT_UInt32;
  else if constexpr (std::is_same_v<T, std::int32_t>)
    return GDT_Int32;
  else if constexpr (std::is_same_v<T, float>)
    return GDT_Float32;
  else
    return GDT_Float64;
}

/// What a NoData cell of the plane holds; error 6 where it has no value for that.
template <class T>
T NoDataCell(const EditablePlane<T>& plane) {
  if (plane.hasNoData) return plane.noData;
  if constexpr (std::is_floating_point_v<T>) return std::numeric_limits<T>::quiet_NaN();
  throw RuntimeError(ErrorNumber::kOverflow);
}

}  // namespace

IRasterProps PropsOf(GDALDatasetH dataset, int band, const SpatialReferencePtr& reference) {
  IRasterProps props;
  props.width = GDALGetRasterXSize(dataset);
  props.height = GDALGetRasterYSize(dataset);
  double t[6];
  // A raster without a place on earth lies in the first quadrant, with cells of size 1.
  if (GDALGetGeoTransform(dataset, t) != CE_None) {
    t[0] = 0, t[1] = 1, t[2] = 0;
    t[3] = props.height, t[4] = 0, t[5] = -1;
  }
  if (t[2] != 0 || t[4] != 0)
    throw RuntimeError::Platform("The raster is rotated; only north-up rasters can be used.");
  if (!(t[1] > 0 && t[5] < 0))
    throw RuntimeError::Platform("The raster is not north-up; only north-up rasters can be used.");
  props.meanCellSize = {t[1], -t[5]};
  props.extent = {t[0], t[3] + props.height * t[5], t[0] + props.width * t[1], t[3]};
  props.spatialReference = reference;
  if (GDALRasterBandH handle = GDALGetRasterBand(dataset, band + 1)) {
    props.pixelType = PixelTypeOf(handle);
    props.noDataValue = NoDataOf(handle);
  }
  return props;
}

GdalRasterBand::GdalRasterBand(GDALDatasetH dataset, int band, std::string path,
                               const SpatialReferencePtr& reference, bool isNew)
    : band_(GDALGetRasterBand(dataset, band + 1)),
      path_(std::move(path)),
      props_(PropsOf(dataset, band, reference)),
      bandIndex_(band),
      isNew_(isNew),
      hasMask_((GDALGetMaskFlags(band_) & GMF_PER_DATASET) != 0) {}

void GdalRasterBand::SetNoDataValue(double value) {
  CheckStop();
  if (!isNew_) throw RuntimeError::Platform("The raster is open for reading: " + path_);
  const IPixelBlock cell(1, 1, props_.pixelType);
  const double asCell = Visit(cell, 0, [&]<class T>(Plane<T>) {
    if (!Holds<T>(value)) throw RuntimeError(ErrorNumber::kOverflow);
    return static_cast<double>(static_cast<T>(value));
  });
  QuietGdal quiet;
  if (GDALSetRasterNoDataValue(band_, asCell) != CE_None)
    RaiseGdal("The NoData value could not be set.");
  props_.noDataValue = asCell;
}

/// Moves the window's cells; `cells` is the place of its first cell, `stride` the cells from one
/// row to the next.
template <class T>
void GdalRasterBand::Transfer(GDALRWFlag direction, const CellWindow& window, T* cells,
                              std::int64_t stride) const {
  QuietGdal quiet;
  // Steps of whole blocks of the file, so that no block is unpacked twice.
  int blockColumns = 0, blockRows = 0;
  GDALGetBlockSize(band_, &blockColumns, &blockRows);
  const std::int64_t wanted = std::max<std::int64_t>(kCellsPerStep / window.columns, 1);
  const std::int64_t step = std::max<std::int64_t>(wanted / blockRows, 1) * blockRows;
  for (std::int64_t row = 0; row < window.rows;) {
    CheckStop();
    const std::int64_t toEdge = step - (window.row + row) % blockRows;
    const int rows = static_cast<int>(std::min<std::int64_t>(toEdge, window.rows - row));
    if (GDALRasterIOEx(band_, direction, window.column, window.row + static_cast<int>(row),
                       window.columns, rows, cells + row * stride, window.columns, rows,
                       TransferType<T>(), sizeof(T), stride * static_cast<GSpacing>(sizeof(T)),
                       nullptr) != CE_None)
      RaiseGdal(direction == GF_Read ? "The raster could not be read: " + path_
                                     : "The raster could not be written: " + path_);
    row += rows;
  }
}

void GdalRasterBand::ReadMask(const CellWindow& window, std::vector<std::uint8_t>& mask) const {
  QuietGdal quiet;
  mask.resize(static_cast<std::size_t>(window.columns) * static_cast<std::size_t>(window.rows));
  if (GDALRasterIO(GDALGetMaskBand(band_), GF_Read, window.column, window.row, window.columns,
                   window.rows, mask.data(), window.columns, window.rows, GDT_Byte, 0,
                   0) != CE_None)
    RaiseGdal("The raster's mask could not be read: " + path_);
}

void GdalRasterBand::Read(CellPosition position, IPixelBlock& block) const {
  CheckStop();
  const CellWindow window = WindowOf(props_, position, block);
  block.SetNoDataValue(0, props_.noDataValue);
  if (window.IsEmpty() || PlaneType(block.Type()) == PlaneType(props_.pixelType)) {
    ReadSameType(window, block);
  } else {
    IPixelBlock own = CreatePixelBlock(window.columns, window.rows);
    Read({static_cast<double>(window.column), static_cast<double>(window.row)}, own);
    PutCells(own, window, block);
  }
}

void GdalRasterBand::ReadSameType(const CellWindow& window, IPixelBlock& block) const {
  std::vector<std::uint8_t> mask;
  bool hasNaN = false;
  if (!window.IsEmpty()) {
    Edit(block, 0, [&]<class T>(EditablePlane<T> plane) {
      Transfer(GF_Read, window, plane.Row(window.blockRow).data() + window.blockColumn,
               plane.columns);
      if constexpr (std::is_floating_point_v<T>) {
        for (int row = window.blockRow; props_.noDataValue && row < window.blockRow + window.rows;
             ++row)
          for (const T v : plane.Row(row)) hasNaN = hasNaN || v != v;
      }
    });
    if (hasMask_) ReadMask(window, mask);
  }
  const bool hasMasked = std::find(mask.begin(), mask.end(), 0) != mask.end();
  const bool pastEdge = !window.Fills(block);
  if (!hasNaN && !hasMasked && !pastEdge) return;

  block.MakeRoomForNoData(0);
  Edit(block, 0, [&]<class T>(EditablePlane<T> plane) {
    for (int row = 0; row < plane.rows; ++row) {
      const auto cells = plane.Row(row);
      for (int column = 0; column < plane.columns; ++column) {
        T& cell = cells[static_cast<std::size_t>(column)];
        const bool isThere =
            window.Has(column, row) &&
            (mask.empty() || mask[static_cast<std::size_t>(row - window.blockRow) *
                                      static_cast<std::size_t>(window.columns) +
                                  static_cast<std::size_t>(column - window.blockColumn)] != 0);
        if (!isThere || cell != cell) cell = plane.noData;
      }
    }
  });
}

void GdalRasterBand::Write(CellPosition position, const IPixelBlock& block) {
  CheckStop();
  if (!isNew_) throw RuntimeError::Platform("The raster is open for reading: " + path_);
  const CellWindow window = WindowOf(props_, position, block);
  if (window.IsEmpty()) return;
  const int step =
      static_cast<int>(std::clamp<std::int64_t>(kCellsPerStep / window.columns, 1, window.rows));
  // Whole numbers of the band's own type go as they are; everything else is translated by strips.
  // NoData that only a widened plane could say, and NaN, become the band's.
  const bool hasOwnMarker = !block.NoDataValue();
  const bool asItIs =
      PlaneType(block.Type()) == PlaneType(props_.pixelType) && props_.IsInteger() &&
      !(hasOwnMarker && Visit(block, 0, [](auto plane) { return plane.hasNoData; }));
  if (asItIs) {
    Visit(block, 0, [&]<class T>(Plane<T> plane) {
      // GDAL takes one kind of pointer for both directions.
      T* cells = const_cast<T*>(plane.Row(window.blockRow).data()) + window.blockColumn;
      Transfer(GF_Write, window, cells, plane.columns);
    });
    return;
  }
  for (int first = 0; first < window.rows; first += step) {
    const int rows = std::min(step, window.rows - first);
    IPixelBlock strip = CreatePixelBlock(window.columns, rows);
    Edit(strip, 0, [&]<class To>(EditablePlane<To> to) {
      Visit(block, 0, [&]<class From>(Plane<From> from) {
        const bool marks = hasOwnMarker && from.hasNoData;
        for (int row = 0; row < rows; ++row) {
          To* cell = to.Row(row).data();
          const auto cells = from.Row(window.blockRow + first + row)
                                 .subspan(static_cast<std::size_t>(window.blockColumn),
                                          static_cast<std::size_t>(window.columns));
          for (const From v : cells)
            *cell++ = v != v || (marks && v == from.noData) ? NoDataCell(to)
                                                            : ToCell<To>(static_cast<double>(v));
        }
      });
      Transfer(GF_Write, CellWindow{window.column, window.row + first, 0, 0, window.columns, rows},
               to.cells, to.columns);
    });
  }
}

RasterStatistics GdalRasterBand::Statistics(int skipX, int skipY) const {
  return StatisticsOf(*this, skipX, skipY);
}

void GdalRasterBand::ComputeStatsAndHist() {
  const RasterStatistics statistics = Statistics(1, 1);
  if (statistics.count == 0) return;  // nothing that could be kept
  QuietGdal quiet;
  if (GDALSetRasterStatistics(band_, statistics.minimum, statistics.maximum, statistics.mean,
                              statistics.standardDeviation) != CE_None)
    RaiseGdal("The statistics could not be kept: " + path_);
  if (std::isfinite(statistics.minimum) && std::isfinite(statistics.maximum))
    KeepHistogram(statistics);
}

/// 256 classes; the lowest and the highest have the minimum and the maximum at their centres. Bytes
/// have a class each.
void GdalRasterBand::KeepHistogram(const RasterStatistics& statistics) {
  constexpr int kClasses = 256;
  double low = -0.5, high = kClasses - 0.5;
  if (static_cast<int>(props_.pixelType) > static_cast<int>(PixelType::kUInt8)) {
    const double half = (statistics.maximum - statistics.minimum) / (2 * (kClasses - 1));
    low = statistics.minimum - (half > 0 ? half : 0.5);
    high = statistics.maximum + (half > 0 ? half : 0.5);
  }
  const double scale = kClasses / (high - low);
  if (!std::isfinite(scale)) return;
  std::vector<GUIntBig> counts(kClasses);
  ForStrips(*this, [&]<class T>(Plane<T> plane, int) {
    for (int row = 0; row < plane.rows; ++row)
      for (const T v : plane.Row(row)) {
        if (plane.isNoData(v)) continue;
        const double bin = std::floor((static_cast<double>(v) - low) * scale);
        ++counts[static_cast<std::size_t>(std::clamp(bin, 0.0, kClasses - 1.0))];
      }
  });
  QuietGdal quiet;
  if (GDALSetDefaultHistogramEx(band_, low, high, kClasses, counts.data()) != CE_None)
    RaiseGdal("The histogram could not be kept: " + path_);
}

const RasterAttributeTable* GdalRasterBand::AttributeTable() const {
  CheckStop();
  if (!tableSought_) {
    table_ = FindAttributeTable(band_, bandIndex_, path_, *this);
    tableSought_ = true;
  }
  return table_.get();
}

}  // namespace orlinths
