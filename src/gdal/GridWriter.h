// Writes Arc/Info binary grids: a folder of big-endian .adf files. The format's facts are those
// that its readers have published (see "Arc/Info Binary Grid Format" among GDAL's driver pages);
// the tables of a folder's grids are listed in a folder `info` beside them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "runtime/Files.h"

namespace orlinths {

struct GridGeometry {
  std::int64_t columns = 0, rows = 0;
  double xMin = 0, yMin = 0;  ///< lower-left corner
  double cellX = 1, cellY = 1;
  std::string esriWkt;  ///< text for prj.adf; empty for none
};

/// One grid, written from north to south. Rows are taken as 32-bit integers or as 32-bit floats,
/// all rows of one kind.
class GridWriter {
 public:
  /// What stands for NoData in a grid. NaN counts as NoData too.
  static constexpr std::int32_t kIntegerNoData = -2147483647;
  static constexpr float kFloatNoData = -3.40282346638528859811704183484516925440e+38F;
  static constexpr int kTileColumns = 256, kTileRows = 4;
  /// A grid of more different values gets no value attribute table.
  static constexpr std::size_t kMostValues = 65536;

  enum class Kind { kInteger, kFloat };

  /// A platform error for a size that the format cannot hold whatever the cells are. The file of
  /// cells ends below 4 GB; floats take all their room, of integers it turns out while they are
  /// written.
  static void CheckSize(std::int64_t columns, std::int64_t rows, Kind kind);
  /// True when a tile of `bytes` that begins at `position` ends where readers still find it.
  static bool TileFits(std::uint64_t position, std::size_t bytes);

  /// `folder` must exist and be empty. A platform error, before anything is written, for what
  /// `CheckSize` refuses.
  GridWriter(std::string folder, const GridGeometry& geometry, Kind kind);

  /// The next row, `columns` long. Error 5 for a wrong length, the wrong kind or a row too many.
  /// O(columns).
  void AddRow(std::span<const std::int32_t> row);
  void AddRow(std::span<const float> row);
  /// Writes what is left: the index, statistics, bounds, projection, table. Error 5 when rows are
  /// missing.
  void Finish();

  /// Records of the value attribute table that was written; 0 for none.
  std::int64_t TableRows() const { return tableRows_; }

 private:
  void EndRow();
  void WriteTiles();
  void WriteIntegerTile(std::int64_t tile);
  void WriteFloatTile(std::int64_t tile);
  void WriteTile(std::span<const unsigned char> bytes);
  void Count(std::span<const std::int32_t> row);
  void AddToStatistics(std::int64_t n, double mean, double squares, double min, double max);
  template <class T>
  void RowStatistics(std::span<const T> row, T noData);
  void WriteSmallFiles();
  void WriteTable();

  std::string folder_;
  GridGeometry geometry_;
  Kind kind_;
  std::int64_t tilesPerRow_, tilesPerColumn_;
  OutputFile cells_;
  std::vector<std::uint32_t> index_;       ///< offset and size of each tile, in 2-byte words
  std::vector<std::int32_t> integerRows_;  ///< the rows of the tiles at hand, padded with NoData
  std::vector<float> floatRows_;
  std::vector<unsigned char> bytes_;
  std::int64_t rowsDone_ = 0;
  std::int64_t count_ = 0;
  double mean_ = 0, squares_ = 0, min_ = 0, max_ = 0;
  std::unordered_map<std::int32_t, std::int64_t> counts_;
  bool counting_ = true;
  std::int64_t tableRows_ = 0;
};

/// Lists the grid's value attribute table in the folder `info` beside the grid's folder, where
/// readers look for it. A listing under that name is replaced. Does nothing for names too long for
/// a listing. What fails leaves the folder as it was.
void ListGridTable(const std::string& workspace, const std::string& grid, std::int64_t rows);
/// Takes all tables of the grid out of the listing (other programs list its statistics and bounds
/// too); the folder `info` goes with its last listing. Nothing listed is no error.
void UnlistGridTables(const std::string& workspace, const std::string& grid);

}  // namespace orlinths
