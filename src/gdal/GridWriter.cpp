#include "gdal/GridWriter.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "gdal/BigEndian.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

constexpr std::size_t kHeaderBytes = 100;  // of the cell file and of its index
constexpr int kTileCells = GridWriter::kTileColumns * GridWriter::kTileRows;

/// How a tile of integers is stored.
enum TileType : std::uint8_t {
  kConstant = 0x00,  // every cell is the minimum
  kRaw8 = 0x08,      // bytes, to be added to the minimum
  kRaw16 = 0x10,
  kRaw32 = 0x20,
};

std::vector<unsigned char> FileHeader(std::uint64_t fileBytes) {
  std::vector<unsigned char> header;
  BigEndianBytes out(header);
  out.Put32(0x0000270A);
  out.Put32(0xFFFFFC14);
  out.PutZeros(16);
  out.Put32(static_cast<std::uint32_t>(fileBytes / 2));
  out.PutZeros(kHeaderBytes - header.size());
  return header;
}

void WriteWhole(const std::string& path, const std::vector<unsigned char>& bytes) {
  OutputFile file(path, OutputFile::Mode::kCreateNew, 1 << 16);
  file.Write(bytes.data(), bytes.size());
  file.Close();
}

bool IsNoData(std::int32_t v, std::int32_t noData) { return v == noData; }
bool IsNoData(float v, float noData) { return v != v || v == noData; }

std::int64_t TilesFor(std::int64_t cells, int tile) { return (cells + tile - 1) / tile; }

constexpr std::size_t kTileSizeBytes = 2;  // before each tile

/// The same geometry.
const GridGeometry& Checked(const GridGeometry& geometry, GridWriter::Kind kind) {
  GridWriter::CheckSize(geometry.columns, geometry.rows, kind);
  return geometry;
}

}  // namespace

void GridWriter::CheckSize(std::int64_t columns, std::int64_t rows, Kind kind) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  constexpr std::int64_t kMostTiles = kMost / 16;  // 8 bytes each in an index of half the 2 GB
  if (columns < 1 || rows < 1 || columns > kMost || rows > kMost ||
      TilesFor(columns, kTileColumns) * TilesFor(rows, kTileRows) > kMostTiles)
    throw RuntimeError::Platform("A grid cannot have that many columns and rows.");
  constexpr std::uint64_t kTileBytes = kTileCells * sizeof(float);
  const auto before =
      static_cast<std::uint64_t>(TilesFor(columns, kTileColumns) * TilesFor(rows, kTileRows) - 1);
  if (kind == Kind::kFloat &&
      !TileFits(kHeaderBytes + before * (kTileSizeBytes + kTileBytes), kTileBytes))
    throw RuntimeError::Platform("The raster is too large for a grid, which ends below 4 GB.");
}

/// Places are told in words of 2 bytes, in 31 bits.
bool GridWriter::TileFits(std::uint64_t position, std::size_t bytes) {
  constexpr std::uint64_t kMostWords = std::numeric_limits<std::int32_t>::max();
  return (position + kTileSizeBytes + bytes) / 2 <= kMostWords;
}

GridWriter::GridWriter(std::string folder, const GridGeometry& geometry, Kind kind)
    : folder_(std::move(folder)),
      geometry_(Checked(geometry, kind)),
      kind_(kind),
      tilesPerRow_(TilesFor(geometry.columns, kTileColumns)),
      tilesPerColumn_(TilesFor(geometry.rows, kTileRows)),
      cells_(JoinPath(folder_, "w001001.adf"), OutputFile::Mode::kCreateNew) {
  const auto band = static_cast<std::size_t>(tilesPerRow_ * kTileCells);
  if (kind == Kind::kInteger) {
    integerRows_.assign(band, kIntegerNoData);
  } else {
    floatRows_.assign(band, kFloatNoData);
  }
  const auto header = FileHeader(0);
  cells_.Write(header.data(), header.size());
}

void GridWriter::AddRow(std::span<const std::int32_t> row) {
  if (kind_ != Kind::kInteger || std::ssize(row) != geometry_.columns ||
      rowsDone_ == geometry_.rows)
    throw RuntimeError(ErrorNumber::kInvalidCall);
  const std::int64_t at = rowsDone_ % kTileRows * tilesPerRow_ * kTileColumns;
  std::copy(row.begin(), row.end(), integerRows_.begin() + at);
  RowStatistics(row, kIntegerNoData);
  if (counting_) Count(row);
  EndRow();
}

void GridWriter::AddRow(std::span<const float> row) {
  if (kind_ != Kind::kFloat || std::ssize(row) != geometry_.columns || rowsDone_ == geometry_.rows)
    throw RuntimeError(ErrorNumber::kInvalidCall);
  const std::int64_t at = rowsDone_ % kTileRows * tilesPerRow_ * kTileColumns;
  std::transform(row.begin(), row.end(), floatRows_.begin() + at,
                 [](float v) { return v != v ? kFloatNoData : v; });
  RowStatistics(row, kFloatNoData);
  EndRow();
}

void GridWriter::EndRow() {
  ++rowsDone_;
  if (rowsDone_ % kTileRows == 0 || rowsDone_ == geometry_.rows) WriteTiles();
}

void GridWriter::WriteTiles() {
  CheckStop();
  for (std::int64_t tile = 0; tile < tilesPerRow_; ++tile) {
    if (kind_ == Kind::kInteger) {
      WriteIntegerTile(tile);
    } else {
      WriteFloatTile(tile);
    }
  }
  std::fill(integerRows_.begin(), integerRows_.end(), kIntegerNoData);
  std::fill(floatRows_.begin(), floatRows_.end(), kFloatNoData);
}

void GridWriter::WriteIntegerTile(std::int64_t tile) {
  const std::int64_t stride = tilesPerRow_ * kTileColumns;
  const auto rowOf = [&](int row) {
    return std::span<const std::int32_t>(integerRows_)
        .subspan(static_cast<std::size_t>(row * stride + tile * kTileColumns), kTileColumns);
  };
  std::int32_t min = std::numeric_limits<std::int32_t>::max();
  std::int32_t max = std::numeric_limits<std::int32_t>::min();
  for (int row = 0; row < kTileRows; ++row)
    for (const std::int32_t v : rowOf(row)) min = std::min(min, v), max = std::max(max, v);
  const std::int64_t range = std::int64_t{max} - min;
  const TileType type = range == 0       ? kConstant
                        : range <= 255   ? kRaw8
                        : range <= 65535 ? kRaw16
                                         : kRaw32;
  if (type == kRaw32) min = 0;  // nothing to gain, and no sum that could overflow

  bytes_.clear();
  BigEndianBytes out(bytes_);
  out.Put8(type);
  out.Put8(4);  // bytes of the minimum
  out.PutInt(min);
  for (int row = 0; row < kTileRows && type != kConstant; ++row) {
    for (const std::int32_t v : rowOf(row)) {
      const auto above = static_cast<std::uint32_t>(std::int64_t{v} - min);
      if (type == kRaw8) {
        out.Put8(static_cast<std::uint8_t>(above));
      } else if (type == kRaw16) {
        out.Put16(static_cast<std::uint16_t>(above));
      } else {
        out.Put32(above);
      }
    }
  }
  WriteTile(bytes_);
}

void GridWriter::WriteFloatTile(std::int64_t tile) {
  const std::int64_t stride = tilesPerRow_ * kTileColumns;
  bytes_.clear();
  BigEndianBytes out(bytes_);
  for (int row = 0; row < kTileRows; ++row)
    for (int column = 0; column < kTileColumns; ++column)
      out.PutFloat(
          floatRows_[static_cast<std::size_t>(row * stride + tile * kTileColumns + column)]);
  WriteTile(bytes_);
}

/// A tile is its size in words, then its bytes; their number is even in every type.
void GridWriter::WriteTile(std::span<const unsigned char> bytes) {
  const auto words = static_cast<std::uint32_t>(bytes.size() / 2);
  if (!TileFits(cells_.Position(), bytes.size()))
    throw RuntimeError::Platform("The raster is too large for a grid, which ends below 4 GB.");
  index_.push_back(static_cast<std::uint32_t>(cells_.Position() / 2));
  index_.push_back(words);
  const unsigned char size[] = {static_cast<unsigned char>(words >> 8),
                                static_cast<unsigned char>(words & 0xFF)};
  cells_.Write(size, sizeof size);
  cells_.Write(bytes.data(), bytes.size());
}

void GridWriter::Count(std::span<const std::int32_t> row) {
  for (std::size_t i = 0; i < row.size();) {
    const std::int32_t value = row[i];
    std::size_t end = i + 1;
    while (end < row.size() && row[end] == value) ++end;
    if (value != kIntegerNoData) counts_[value] += static_cast<std::int64_t>(end - i);
    i = end;
  }
  if (counts_.size() > kMostValues) {
    counting_ = false;
    counts_.clear();
  }
}

template <class T>
void GridWriter::RowStatistics(std::span<const T> row, T noData) {
  std::int64_t n = 0;
  double sum = 0, min = 0, max = 0;
  for (const T cell : row) {
    if (IsNoData(cell, noData)) continue;
    const double v = static_cast<double>(cell);
    if (n == 0) min = max = v;
    min = std::min(min, v);
    max = std::max(max, v);
    sum += v;
    ++n;
  }
  if (n == 0) return;
  const double mean = sum / static_cast<double>(n);
  double squares = 0;
  for (const T cell : row)
    if (!IsNoData(cell, noData))
      squares += (static_cast<double>(cell) - mean) * (static_cast<double>(cell) - mean);
  AddToStatistics(n, mean, squares, min, max);
}

/// Joins two samples by their sizes, means and sums of squares (Chan, Golub and LeVeque 1983).
void GridWriter::AddToStatistics(std::int64_t n, double mean, double squares, double min,
                                 double max) {
  if (count_ == 0) min_ = min, max_ = max;
  min_ = std::min(min_, min);
  max_ = std::max(max_, max);
  const double total = static_cast<double>(count_ + n);
  const double apart = mean - mean_;
  squares_ +=
      squares + apart * apart * static_cast<double>(count_) * static_cast<double>(n) / total;
  mean_ += apart * static_cast<double>(n) / total;
  count_ += n;
}

void GridWriter::Finish() {
  if (rowsDone_ != geometry_.rows) throw RuntimeError(ErrorNumber::kInvalidCall);
  const auto header = FileHeader(cells_.Position());
  cells_.Patch(0, header.data(), header.size());
  cells_.Close();

  std::vector<unsigned char> index = FileHeader(kHeaderBytes + index_.size() * 4);
  BigEndianBytes out(index);
  for (const std::uint32_t word : index_) out.Put32(word);
  WriteWhole(JoinPath(folder_, "w001001x.adf"), index);
  WriteSmallFiles();
  WriteTable();
}

void GridWriter::WriteSmallFiles() {
  const GridGeometry& g = geometry_;
  const double xMax = g.xMin + static_cast<double>(g.columns) * g.cellX;
  const double yMax = g.yMin + static_cast<double>(g.rows) * g.cellY;
  const double tiledWidth = static_cast<double>(tilesPerRow_ * kTileColumns) * g.cellX;
  const double tiledHeight = static_cast<double>(tilesPerColumn_ * kTileRows) * g.cellY;

  std::vector<unsigned char> header;
  BigEndianBytes out(header);
  out.PutText("GRID1.2", 8, '\0');
  out.PutZeros(8);
  out.PutInt(kind_ == Kind::kInteger ? 1 : 2);
  out.PutInt(kind_ == Kind::kInteger ? 0 : 1);  // integer tiles are compressed, float tiles are not
  out.PutZeros(256 - header.size());
  out.PutDouble(g.cellX);
  out.PutDouble(g.cellY);
  out.PutDouble(g.xMin - tiledWidth / 2);
  out.PutDouble(yMax - 3 * tiledHeight / 2);
  out.PutInt(tilesPerRow_);
  out.PutInt(tilesPerColumn_);
  out.PutInt(kTileColumns);
  out.PutInt(1);
  out.PutInt(kTileRows);
  WriteWhole(JoinPath(folder_, "hdr.adf"), header);

  std::vector<unsigned char> bounds;
  BigEndianBytes outBounds(bounds);
  for (const double v : {g.xMin, g.yMin, xMax, yMax}) outBounds.PutDouble(v);
  WriteWhole(JoinPath(folder_, "dblbnd.adf"), bounds);

  std::vector<unsigned char> statistics;
  BigEndianBytes outStatistics(statistics);
  const double deviation = count_ == 0 ? 0 : std::sqrt(squares_ / static_cast<double>(count_));
  for (const double v : {min_, max_, mean_, deviation}) outStatistics.PutDouble(v);
  WriteWhole(JoinPath(folder_, "sta.adf"), statistics);

  if (!g.esriWkt.empty()) {
    const std::string text = g.esriWkt + "\n";
    WriteWhole(JoinPath(folder_, "prj.adf"), {text.begin(), text.end()});
  }
}

/// The value attribute table: value and count, 32-bit integers, ascending by value.
void GridWriter::WriteTable() {
  if (kind_ != Kind::kInteger || !counting_ || counts_.empty()) return;
  std::vector<std::pair<std::int32_t, std::int64_t>> rows(counts_.begin(), counts_.end());
  std::sort(rows.begin(), rows.end());
  std::vector<unsigned char> table;
  BigEndianBytes out(table);
  for (const auto& [value, count] : rows) {
    if (count > std::numeric_limits<std::int32_t>::max()) return;
    out.PutInt(value);
    out.PutInt(count);
  }
  WriteWhole(JoinPath(folder_, "vat.adf"), table);
  tableRows_ = std::ssize(rows);
}

}  // namespace orlinths
