#include "gdal/GridWriter.h"

#include <gdal_rat.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>

#include "RasterFixture.h"
#include "runtime/Value.h"
#include "support/CapturedMessages.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

constexpr std::int32_t kNo = GridWriter::kIntegerNoData;
constexpr float kNoFloat = GridWriter::kFloatNoData;
constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

class GridWriterTest : public ::testing::Test {
 protected:
  template <class T>
  std::string Write(const std::vector<std::vector<T>>& rows, const std::string& wkt = {}) {
    const std::string path = folder_ / "g" + ToText(made_++);
    std::filesystem::create_directory(path);
    GridWriter writer(
        path, {std::ssize(rows.front()), std::ssize(rows), 500, 4000, 30, 20, wkt},
        std::is_same_v<T, float> ? GridWriter::Kind::kFloat : GridWriter::Kind::kInteger);
    for (const auto& row : rows) writer.AddRow(std::span<const T>(row));
    writer.Finish();
    tableRows_ = writer.TableRows();
    return path;
  }

  /// What GDAL reads as value, its NoData as ours.
  std::vector<std::vector<std::int32_t>> Integers(const std::string& path) {
    const GDALDatasetUniquePtr dataset(OpenGdal(path));
    const double noData = dataset->GetRasterBand(1)->GetNoDataValue();
    std::vector<std::vector<std::int32_t>> rows;
    for (const auto& row : GdalCells(path)) {
      rows.emplace_back();
      for (const double v : row)
        rows.back().push_back(v == noData ? kNo : static_cast<std::int32_t>(v));
    }
    return rows;
  }

  void ExpectBack(const std::vector<std::vector<std::int32_t>>& rows) {
    ASSERT_EQ(Integers(Write(rows)), rows) << rows.front().size() << " x " << rows.size();
  }
  /// Bit for bit.
  void ExpectFloatsBack(const std::vector<std::vector<float>>& rows) {
    const std::string path = Write(rows);
    const GDALDatasetUniquePtr dataset(OpenGdal(path));
    ASSERT_EQ(dataset->GetRasterBand(1)->GetRasterDataType(), GDT_Float32);
    for (std::size_t row = 0; row < rows.size(); ++row) {
      std::vector<float> cells(rows[row].size());
      const int columns = static_cast<int>(cells.size());
      ASSERT_EQ(dataset->GetRasterBand(1)->RasterIO(GF_Read, 0, static_cast<int>(row), columns, 1,
                                                    cells.data(), columns, 1, GDT_Float32, 0, 0),
                CE_None);
      for (std::size_t column = 0; column < cells.size(); ++column)
        ASSERT_EQ(std::bit_cast<std::uint32_t>(cells[column]),
                  std::bit_cast<std::uint32_t>(rows[row][column]))
            << column << ' ' << row;
    }
  }

  TempFolder folder_;
  int made_ = 0;
  std::int64_t tableRows_ = 0;
};

std::vector<std::vector<std::int32_t>> RandomIntegers(Seeded& random, std::int64_t columns,
                                                      std::int64_t rows, std::int64_t low,
                                                      std::int64_t high, double noData) {
  std::vector<std::vector<std::int32_t>> cells(static_cast<std::size_t>(rows));
  for (auto& row : cells)
    for (std::int64_t c = 0; c < columns; ++c) {
      const auto v = static_cast<std::int32_t>(random.Whole(low, high));
      row.push_back(random.Chance(noData) ? kNo : v == kNo ? v + 1 : v);
    }
  return cells;
}

TEST_F(GridWriterTest, IsReadBackAtEverySizeAroundATile) {
  Seeded random("GridWriter.EverySizeAroundATile");
  for (const std::int64_t columns : {1, 2, 255, 256, 257, 511, 512, 513})
    for (const std::int64_t rows : {1, 3, 4, 5, 8, 9})
      ASSERT_NO_FATAL_FAILURE(
          ExpectBack(RandomIntegers(random, columns, rows, -70000, 70000, 0.1)));
}

TEST_F(GridWriterTest, IsReadBackWithEverySortOfTile) {
  Seeded random("GridWriter.EverySortOfTile");
  struct Range {
    std::int64_t low, high;
  };
  for (const Range& range :
       {Range{7, 7}, Range{0, 1}, Range{0, 254}, Range{0, 255}, Range{0, 256}, Range{-100, 155},
        Range{-100, 156}, Range{-32768, 32767}, Range{-32767, 32767}, Range{0, 65535},
        Range{0, 65536}, Range{100000, 100255}, Range{-2000000000, -1999999990},
        Range{kHighest - 300, kHighest}, Range{kLowest, kLowest + 300}, Range{kLowest, kHighest}})
    for (const double noData : {0.0, 0.2})
      ASSERT_NO_FATAL_FAILURE(
          ExpectBack(RandomIntegers(random, 300, 9, range.low, range.high, noData)))
          << range.low << ".." << range.high;
}

TEST_F(GridWriterTest, IsReadBackAtTheEndsOfItsRange) {
  ExpectBack({{kLowest, kHighest, 0, kLowest + 2, kNo}});
  ExpectBack({{kLowest}});
  ExpectBack({{kHighest}});
}

TEST_F(GridWriterTest, IsReadBackWithoutAnyValue) {
  const std::vector<std::vector<std::int32_t>> none(5, std::vector<std::int32_t>(7, kNo));
  ExpectBack(none);
  EXPECT_EQ(tableRows_, 0);
  const std::string path =
      Write(std::vector<std::vector<float>>(5, std::vector<float>(7, kNoFloat)));
  for (const auto& row : GdalCells(path))
    for (const double v : row) EXPECT_EQ(v, double{kNoFloat});
}

TEST_F(GridWriterTest, KeepsEveryBitOfAFloat) {
  using Limits = std::numeric_limits<float>;
  ExpectFloatsBack(
      {{0.0F, -0.0F, Limits::min(), Limits::denorm_min(), Limits::max(), Limits::infinity()},
       {-Limits::infinity(), 0.1F, -1e-30F, 1e30F, kNoFloat, Limits::epsilon()}});
  Seeded random("GridWriter.KeepsEveryBitOfAFloat");
  for (const std::int64_t columns : {1, 255, 256, 257})
    for (const std::int64_t rows : {1, 4, 5}) {
      std::vector<std::vector<float>> cells(static_cast<std::size_t>(rows));
      for (auto& row : cells)
        for (std::int64_t c = 0; c < columns; ++c)
          row.push_back(static_cast<float>(random.Real(-1e6, 1e6)));
      ASSERT_NO_FATAL_FAILURE(ExpectFloatsBack(cells));
    }
}

TEST_F(GridWriterTest, StoresNaNAsNoData) {
  const std::string path = Write<float>({{1, std::nanf(""), 3}});
  EXPECT_EQ(GdalCells(path), (Rows{{1, double{kNoFloat}, 3}}));
}

TEST_F(GridWriterTest, TellsItsPlaceAndItsCellSizes) {
  const GDALDatasetUniquePtr dataset(
      OpenGdal(Write(std::vector<std::vector<std::int32_t>>{{1, 2, 3}, {4, 5, 6}})));
  double t[6];
  ASSERT_EQ(dataset->GetGeoTransform(t), CE_None);
  EXPECT_EQ(t[0], 500);
  EXPECT_EQ(t[1], 30);
  EXPECT_EQ(t[3], 4000 + 2 * 20);
  EXPECT_EQ(t[5], -20);
  EXPECT_EQ(dataset->GetRasterXSize(), 3);
  EXPECT_EQ(dataset->GetRasterYSize(), 2);
}

TEST_F(GridWriterTest, HasTheProjectionThatItIsGiven) {
  OGRSpatialReference reference;
  reference.importFromEPSG(32612);
  char* text = nullptr;
  const char* const options[] = {"FORMAT=WKT1_ESRI", nullptr};
  reference.exportToWkt(&text, options);
  const GDALDatasetUniquePtr dataset(
      OpenGdal(Write(std::vector<std::vector<std::int32_t>>{{1}}, text)));
  CPLFree(text);
  ASSERT_NE(dataset->GetSpatialRef(), nullptr);
  EXPECT_EQ(dataset->GetSpatialRef()->GetUTMZone(), 12);
  EXPECT_EQ(std::string(dataset->GetSpatialRef()->GetAttrValue("DATUM")), "WGS_1984");
}

TEST_F(GridWriterTest, KeepsStatistics) {
  const GDALDatasetUniquePtr dataset(
      OpenGdal(Write(std::vector<std::vector<std::int32_t>>{{2, 4, kNo}, {4, 4, 5}, {5, 7, 9}})));
  GDALRasterBand& band = *dataset->GetRasterBand(1);
  EXPECT_EQ(band.GetMinimum(), 2);
  EXPECT_EQ(band.GetMaximum(), 9);
  const std::string bytes = ReadBytes(std::string(dataset->GetDescription()) + "/sta.adf");
  ASSERT_EQ(bytes.size(), 32U);
  const auto number = [&](std::size_t i) {
    std::uint64_t bits = 0;
    for (std::size_t k = 0; k < 8; ++k)
      bits = bits << 8 | static_cast<unsigned char>(bytes[i * 8 + k]);
    return std::bit_cast<double>(bits);
  };
  EXPECT_DOUBLE_EQ(number(2), 5);  // 40 over 8 cells
  EXPECT_DOUBLE_EQ(number(3), 2);  // their squares from 5 add up to 32
}

TEST_F(GridWriterTest, HasATableThatGdalFinds) {
  const std::string path =
      Write(std::vector<std::vector<std::int32_t>>{{5, -3, 5}, {kNo, 70000, 5}});
  ASSERT_EQ(tableRows_, 3);
  ListGridTable(folder_.Path(), NameOf(path), tableRows_);
  const GDALDatasetUniquePtr dataset(OpenGdal(path));
  const GDALRasterAttributeTable* table = dataset->GetRasterBand(1)->GetDefaultRAT();
  ASSERT_NE(table, nullptr);
  ASSERT_EQ(table->GetColumnCount(), 2);
  EXPECT_EQ(table->GetUsageOfCol(0), GFU_MinMax);
  EXPECT_EQ(table->GetUsageOfCol(1), GFU_PixelCount);
  ASSERT_EQ(table->GetRowCount(), 3);
  std::map<int, int> counts;
  for (int row = 0; row < 3; ++row)
    counts[table->GetValueAsInt(row, 0)] = table->GetValueAsInt(row, 1);
  EXPECT_EQ(counts, (std::map<int, int>{{-3, 1}, {5, 3}, {70000, 1}}));
  EXPECT_EQ(table->GetValueAsInt(0, 0), -3);
}

TEST_F(GridWriterTest, ListsManyTablesInOneFolder) {
  std::vector<std::string> paths;
  for (std::int32_t i = 0; i < 5; ++i) {
    paths.push_back(Write(std::vector<std::vector<std::int32_t>>{{i}}));
    ListGridTable(folder_.Path(), NameOf(paths.back()), 1);
  }
  // One goes, one is listed anew, and another takes the free place.
  UnlistGridTables(folder_.Path(), NameOf(paths[1]));
  ListGridTable(folder_.Path(), NameOf(paths[3]), 1);
  paths.push_back(Write(std::vector<std::vector<std::int32_t>>{{5}}));
  ListGridTable(folder_.Path(), NameOf(paths[5]), 1);
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const GDALDatasetUniquePtr dataset(OpenGdal(paths[i]));
    const GDALRasterAttributeTable* table = dataset->GetRasterBand(1)->GetDefaultRAT();
    if (i == 1) {
      EXPECT_EQ(table, nullptr);
    } else {
      ASSERT_NE(table, nullptr) << i;
      EXPECT_EQ(table->GetValueAsInt(0, 0), static_cast<int>(i));
    }
  }
  for (const std::string& path : paths) UnlistGridTables(folder_.Path(), NameOf(path));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "info"));
}

TEST_F(GridWriterTest, KeepsTheListingsOfOthers) {
  std::filesystem::create_directory(folder_ / "info");
  const std::string foreign =
      "OTHER.VAT" + std::string(23, ' ') + "ARC0000 " + std::string(340, '\1');
  WriteBytes(folder_ / "info/arc.dir", foreign);
  WriteBytes(folder_ / "info/arc0000.dat", "theirs");
  ListGridTable(folder_.Path(), "ours", 1);
  UnlistGridTables(folder_.Path(), "ours");
  EXPECT_EQ(ReadBytes(folder_ / "info/arc.dir"), foreign);
  EXPECT_EQ(ReadBytes(folder_ / "info/arc0000.dat"), "theirs");
}

TEST_F(GridWriterTest, HasNoTableForMoreValuesThanItMayHave) {
  std::vector<std::vector<std::int32_t>> cells(257, std::vector<std::int32_t>(256));
  for (std::int32_t i = 0; i < 257 * 256; ++i)
    cells[static_cast<std::size_t>(i / 256)][static_cast<std::size_t>(i % 256)] =
        std::min(i, 65535);
  Write(cells);
  EXPECT_EQ(tableRows_, 65536);
  cells.back().back() = 65536;
  const std::string path = Write(cells);
  EXPECT_EQ(tableRows_, 0);
  EXPECT_FALSE(std::filesystem::exists(path + "/vat.adf"));
}

TEST_F(GridWriterTest, RefusesRowsThatDoNotFit) {
  std::filesystem::create_directory(folder_ / "x");
  GridWriter writer(folder_ / "x", {2, 1, 0, 0, 1, 1, {}}, GridWriter::Kind::kInteger);
  const std::vector<std::int32_t> two(2), three(3);
  const std::vector<float> floats(2);
  EXPECT_EQ(ErrorFrom([&] { writer.Finish(); }), 5);
  EXPECT_EQ(ErrorFrom([&] { writer.AddRow(std::span<const std::int32_t>(three)); }), 5);
  EXPECT_EQ(ErrorFrom([&] { writer.AddRow(std::span<const float>(floats)); }), 5);
  writer.AddRow(std::span<const std::int32_t>(two));
  EXPECT_EQ(ErrorFrom([&] { writer.AddRow(std::span<const std::int32_t>(two)); }), 5);
}

TEST_F(GridWriterTest, RefusesSizesBeyondTheFormat) {
  std::filesystem::create_directory(folder_ / "x");
  const auto open = [&](std::int64_t columns, std::int64_t rows) {
    return ErrorFrom([&] {
      GridWriter(folder_ / "x", {columns, rows, 0, 0, 1, 1, {}}, GridWriter::Kind::kInteger);
    });
  };
  EXPECT_EQ(open(0, 1), -2147467259);
  EXPECT_EQ(open(1, 0), -2147467259);
  EXPECT_EQ(open(std::int64_t{1} << 31, 1), -2147467259);
  EXPECT_EQ(open(2000000000, 2000000000), -2147467259);
  EXPECT_EQ(open(std::numeric_limits<std::int64_t>::max(), 1), -2147467259);
  EXPECT_EQ(open(1, std::numeric_limits<std::int64_t>::max()), -2147467259);
  EXPECT_TRUE(std::filesystem::is_empty(folder_ / "x")) << "before anything is written";
}

TEST_F(GridWriterTest, FloatsEndBelow4GB) {
  const auto check = [](std::int64_t columns, std::int64_t rows, GridWriter::Kind kind) {
    return ErrorFrom([&] { GridWriter::CheckSize(columns, rows, kind); });
  };
  const auto floats = GridWriter::Kind::kFloat, integers = GridWriter::Kind::kInteger;
  // A header of 100 bytes, then tiles of 256 by 4 cells of 4 bytes, each behind its size of 2:
  // 1,048,064 of them end at 4,294,966,372, one more at 4,294,970,470, beyond 2 (2^31 - 1).
  constexpr std::int64_t kTiles = 1'048'064;
  static_assert(100 + kTiles * 4098 <= 4'294'967'294 && 100 + (kTiles + 1) * 4098 > 4'294'967'294);
  EXPECT_EQ(check(256, 4 * kTiles, floats), 0);
  EXPECT_EQ(check(256, 4 * kTiles + 1, floats), -2147467259);
  EXPECT_EQ(check(256 * kTiles, 4, floats), 0);
  EXPECT_EQ(check(256 * kTiles + 1, 4, floats), -2147467259);
  EXPECT_EQ(check(1000, 4 * (kTiles / 4), floats), 0) << "a row of tiles is as long as its tiles";
  EXPECT_EQ(check(1000, 4 * (kTiles / 4) + 1, floats), -2147467259);
  // Integers may be less: constant tiles take 8 bytes. Their index has its own end.
  EXPECT_EQ(check(256, 4 * kTiles + 1, integers), 0);
  EXPECT_EQ(check(256, 4 * std::int64_t{134'217'727}, integers), 0);
  EXPECT_EQ(check(256, 4 * std::int64_t{134'217'727} + 1, integers), -2147467259);
}

TEST_F(GridWriterTest, TilesEndBelow4GB) {
  constexpr std::uint64_t kEnd = 4'294'967'294;
  EXPECT_TRUE(GridWriter::TileFits(100, 4096));
  EXPECT_TRUE(GridWriter::TileFits(kEnd - 4098, 4096));
  EXPECT_FALSE(GridWriter::TileFits(kEnd - 4096, 4096));
  EXPECT_TRUE(GridWriter::TileFits(kEnd - 8, 6));
  EXPECT_FALSE(GridWriter::TileFits(kEnd - 6, 6));
  EXPECT_FALSE(GridWriter::TileFits(std::uint64_t{1} << 33, 6)) << "more than 32 bits";
}

TEST_F(GridWriterTest, ReadersFindTheLastTileThatFits) {
  // The only tile of a grid moved to the end of a file that is a hole of 4 GB before it.
  const std::vector<std::vector<float>> rows = {{1.5F, -2.25F, 7}};
  const std::string path = Write(rows);
  const std::string cells = ReadBytes(path + "/w001001.adf");
  constexpr std::uint64_t kPlace = 4'294'967'294 - 4098;
  ASSERT_TRUE(GridWriter::TileFits(kPlace, 4096));
  std::filesystem::resize_file(path + "/w001001.adf", kPlace);
  std::ofstream(path + "/w001001.adf", std::ios::app | std::ios::binary) << cells.substr(100);
  std::string index = ReadBytes(path + "/w001001x.adf");
  for (int i = 0; i < 4; ++i)
    index[static_cast<std::size_t>(100 + i)] = static_cast<char>(kPlace / 2 >> (24 - 8 * i) & 255);
  WriteBytes(path + "/w001001x.adf", index);
  EXPECT_EQ(GdalCells(path), (Rows{{1.5, -2.25, 7}}));
}

TEST_F(GridWriterTest, StopsOnRequest) {
  CapturedMessages messages;
  RequestStop();
  EXPECT_EQ(ErrorFrom([&] { Write(std::vector<std::vector<std::int32_t>>(4, {1})); }), 18);
}

}  // namespace
}  // namespace orlinths
