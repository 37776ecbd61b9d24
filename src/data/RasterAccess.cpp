#include "data/RasterAccess.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>

#include "data/Raster.h"
#include "data/Workspace.h"
#include "runtime/Arithmetic.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

constexpr double kOutside = -999;
constexpr double kBinaryNoData = -9999;

/// The cell under a coordinate, or nothing where the coordinate routines count it as outside: the
/// last column and row too.
std::optional<Cell> ReadableCell(const IRasterProps& props, double x, double y) {
  const Cell cell = props.CellAt(x, y);
  if (cell.column < 0 || cell.column >= props.width - 1 || cell.row < 0 ||
      cell.row >= props.height - 1)
    return std::nullopt;
  return cell;
}

IPixelBlock ReadCell(const IRasterBand& band, Cell cell) {
  IPixelBlock block = band.CreatePixelBlock(1, 1);
  band.Read({static_cast<double>(cell.column), static_cast<double>(cell.row)}, block);
  return block;
}

/// Rows `first`.. of the mask from the rows of a block.
void MarkNoData(const IPixelBlock& block, int first, Mask& mask) {
  Visit(block, 0, [&]<class T>(Plane<T> plane) {
    for (int row = 0; row < plane.rows; ++row) {
      const auto cells = plane.Row(row);
      const auto marks = RowOf(mask, first + row);
      std::transform(cells.begin(), cells.end(), marks.begin(),
                     [plane](T v) { return static_cast<std::uint8_t>(plane.isNoData(v)); });
    }
  });
}

Mask NoDataIn(const IPixelBlock& block) {
  Mask mask({0, block.Rows() - 1}, {0, block.Columns() - 1});
  MarkNoData(block, 0, mask);
  return mask;
}

Mask MaskOf(const IRasterProps& props) { return Mask({0, props.height - 1}, {0, props.width - 1}); }

/// How far `value` lies past the cell edge before it, in map units; `value` and `edge` as one axis
/// has them.
double PastEdge(double distance, double cell) {
  const double q = Divide(distance, cell);
  return (q - Int(q)) * cell;
}

/// A file of plain bytes, read from front to back.
class BinaryFile {
 public:
  explicit BinaryFile(const std::string& path)
      : path_(path), descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) files::RaiseErrno(errno, path);
  }
  ~BinaryFile() { ::close(descriptor_); }
  BinaryFile(const BinaryFile&) = delete;
  BinaryFile& operator=(const BinaryFile&) = delete;

  /// Reads up to `count` bytes; fewer only at the end of the file.
  std::size_t Read(char* to, std::size_t count) {
    std::size_t got = 0;
    while (got < count) {
      CheckStop();
      const ssize_t step = ::read(descriptor_, to + got, std::min(count - got, kStep));
      if (step < 0 && errno == EINTR) continue;
      if (step < 0) files::RaiseErrno(errno, path_);
      if (step == 0) break;
      got += static_cast<std::size_t>(step);
    }
    return got;
  }

 private:
  static constexpr std::size_t kStep = std::size_t{16} << 20;
  std::string path_;
  int descriptor_;
};

NewRaster OneBand(PixelType type, const std::string& name, const std::string& format,
                  const Point& origin, double cellSize, std::int64_t columns, std::int64_t rows,
                  const SpatialReferencePtr& reference) {
  return {.name = name,
          .format = format,
          .origin = {origin.x, origin.y},
          .columns = columns,
          .rows = rows,
          .cellSize = {cellSize, cellSize},
          .bandCount = 1,
          .pixelType = type,
          .spatialReference = reference};
}

/// Fills the raster from a file of its cells, row by row.
bool WriteFromBinary(std::string_view label, const std::string& binaryPath, const NewRaster& raster,
                     const std::string& workspace) {
  static_assert(std::endian::native == std::endian::little, "the files hold little-endian cells");
  return Trap(label, [&] {
    BinaryFile file(binaryPath);
    const RasterDatasetPtr dataset = CreateRasterDataset(workspace, raster);
    IRasterBand& band = dataset->Band(0);
    band.SetNoDataValue(kBinaryNoData);
    IPixelBlock block(raster.columns, raster.rows, raster.pixelType, kBinaryNoData);
    Edit(block, 0, [&]<class T>(EditablePlane<T> plane) {
      const std::size_t cells =
          static_cast<std::size_t>(plane.columns) * static_cast<std::size_t>(plane.rows);
      file.Read(reinterpret_cast<char*>(plane.cells), cells * sizeof(T));
    });
    band.Write({0, 0}, block);
    band.ComputeStatsAndHist();
    dataset->Close();
  });
}

}  // namespace

Cell IRasterProps::CellAt(double x, double y) const {
  return {ToLong(Int(Divide(x - extent.xMin, meanCellSize.x))),
          ToLong(Int(Divide(extent.yMax - y, meanCellSize.y)))};
}

const Value& RasterAttributeTable::GetValue(std::int64_t row, int field) const {
  if (row < 0 || row >= RowCount() || field < 0 || field >= fields_.FieldCount())
    throw RuntimeError(ErrorNumber::kSubscript);
  return rows_[static_cast<std::size_t>(row)][static_cast<std::size_t>(field)];
}

std::string OpenRasterWorkspace(const std::string& folder) {
  if (folder.empty()) throw RuntimeError::Platform("No folder was named for the raster.");
  if (!IsWorkspace(folder)) throw RuntimeError::Platform("The folder cannot be opened: " + folder);
  return folder;
}

Point GetCellCentrePoint(const IRasterProps& props, std::int64_t column, std::int64_t row) {
  Point centre;
  Trap("GetCellCentrePoint: ", [&] {
    const auto [cellX, cellY] = props.meanCellSize;
    centre.PutCoords(props.extent.xMin + cellX * 0.5 + static_cast<double>(column) * cellX,
                     props.extent.yMax - cellY * 0.5 - static_cast<double>(row) * cellY);
  });
  return centre;
}

std::int32_t GetLongRasterValueFromCoord(const IRasterBand& band, double x, double y) {
  std::int32_t result = 0;
  Trap("GetLongRasterValueFromCoord: ", [&] {
    const auto cell = ReadableCell(band.Props(), x, y);
    const auto outside = static_cast<std::int32_t>(kOutside);
    if (!cell) {
      result = outside;
      return;
    }
    const IPixelBlock block = ReadCell(band, *cell);
    if (block.IsNoData(0, 0, 0)) {
      result = outside;
      return;
    }
    const std::int32_t value = ToLong(block.GetVal(0, 0, 0));
    // Both sides are whole numbers here, so that a floating NoData value meets the cells that round
    // to the same.
    const auto noData = band.Props().noDataValue;
    const bool isNoData =
        noData && Holds<std::int32_t>(std::nearbyint(*noData)) && value == ToLong(*noData);
    result = isNoData ? outside : value;
  });
  return result;
}

double GetDblRasterValueFromCoord(const IRasterBand& band, double x, double y) {
  double result = 0;
  Trap("GetDblRasterValueFromCoord: ", [&] {
    const auto cell = ReadableCell(band.Props(), x, y);
    if (!cell) {
      result = kOutside;
      return;
    }
    const IPixelBlock block = ReadCell(band, *cell);
    result = block.IsNoData(0, 0, 0) ? kOutside : block.GetDouble(0, 0, 0);
  });
  return result;
}

Envelope SnapEnvToRast(const IRasterProps& props, const Envelope& envelope) {
  Envelope snapped;
  Trap("SnapEnvToRast; sErr: ", [&] {
    const double c = props.meanCellSize.x;
    const Envelope& raster = props.extent;
    Envelope result;
    result.xMin = envelope.xMin < raster.xMin
                      ? raster.xMin
                      : envelope.xMin - PastEdge(envelope.xMin - raster.xMin, c);
    result.yMin = envelope.yMin < raster.yMin
                      ? raster.yMin
                      : envelope.yMin - PastEdge(envelope.yMin - raster.yMin, c);
    result.xMax = envelope.xMax <= raster.xMax
                      ? envelope.xMax + PastEdge(raster.xMax - envelope.xMax, c)
                      : raster.xMax;
    result.yMax = envelope.yMax <= raster.yMax
                      ? envelope.yMax + PastEdge(raster.yMax - envelope.yMax, c)
                      : raster.yMax;
    snapped = result;
  });
  return snapped;
}

Mask GetNoDataArr(const IRasterBand& band) {
  Mask mask;
  Trap("GetNoDataArr: ", [&] {
    const IRasterProps& props = band.Props();
    Mask made = MaskOf(props);
    const int step = std::clamp(4'000'000 / std::max(1, props.width), 1, props.height);
    for (int first = 0; first < props.height; first += step) {
      IPixelBlock strip = band.CreatePixelBlock(props.width, std::min(step, props.height - first));
      band.Read({0, static_cast<double>(first)}, strip);
      MarkNoData(strip, first, made);
    }
    mask = std::move(made);
  });
  return mask;
}

Mask GetNoDataArr2(const IRasterBand& band) {
  Mask mask;
  Trap("GetNoDataArr2: ", [&] { mask = NoDataIn(band.ReadAll()); });
  return mask;
}

Mask GetNoDataArr2(const IPixelBlock& block) {
  Mask mask;
  Trap("GetNoDataArr2: ", [&] { mask = NoDataIn(block); });
  return mask;
}

Array2<std::int32_t> GetSliderArr(const Mask& mask) {
  Array2<std::int32_t> result;
  Trap("GetSliderArr: ", [&] {
    const Bounds rows = mask.First(), columns = mask.Second();
    Array2<std::int32_t> table(rows, {0, 1});
    if (rows.Count() > 0 && columns.Count() < 1) throw RuntimeError(ErrorNumber::kSubscript);
    for (std::int64_t i = rows.lower; i <= rows.upper; ++i) {
      const auto row = RowOf(mask, i);
      for (std::size_t j = 1; j < row.size(); ++j) {
        const auto before =
            static_cast<std::int32_t>(columns.lower + static_cast<std::int64_t>(j) - 1);
        if (!row[j - 1] && row[j]) table(i, 0) = before;
        if (row[j - 1] && !row[j]) table(i, 1) = before;
      }
      // The lower bound of the rows stands for that of the columns: right for a square window of
      // symmetric ranges, the only one in use.
      if (row.front()) table(i, 0) = static_cast<std::int32_t>(rows.lower - 1);
      if (row.back()) table(i, 1) = static_cast<std::int32_t>(columns.upper);
    }
    result = std::move(table);
  });
  return result;
}

std::optional<std::vector<std::int32_t>> GetUniqueRasterValues(const IRasterLayer& layer) {
  std::optional<std::vector<std::int32_t>> values;
  Trap("GetUniqueRasterValues: ", [&] {
    const RasterAttributeTable* table = layer.Dataset().Band(0).AttributeTable();
    if (table == nullptr) return;
    const int field = table->FindField("Value");
    std::vector<std::int32_t> made(static_cast<std::size_t>(table->RowCount()));
    for (std::int64_t row = 0; row < table->RowCount(); ++row)
      made[static_cast<std::size_t>(row)] = ToLong(table->GetValue(row, field));
    values = std::move(made);
  });
  return values;
}

bool WriteLongRasterFromBinary(const std::string& binaryPath, const std::string& rasterName,
                               const std::string& workspace, const std::string& format,
                               const Point& origin, double cellSize, std::int64_t columns,
                               std::int64_t rows, const SpatialReferencePtr& reference) {
  return WriteFromBinary(
      "WriteLongRasterFromBinary: ", binaryPath,
      OneBand(PixelType::kInt32, rasterName, format, origin, cellSize, columns, rows, reference),
      workspace);
}

bool WriteDoubleRasterFromBinary(const std::string& binaryPath, const std::string& rasterName,
                                 const std::string& workspace, const std::string& format,
                                 const Point& origin, double cellSize, std::int64_t columns,
                                 std::int64_t rows, const SpatialReferencePtr& reference) {
  return WriteFromBinary(
      "WriteDoubleRasterFromBinary: ", binaryPath,
      OneBand(PixelType::kDouble, rasterName, format, origin, cellSize, columns, rows, reference),
      workspace);
}

}  // namespace orlinths
