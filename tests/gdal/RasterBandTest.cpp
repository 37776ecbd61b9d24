#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "RasterFixture.h"
#include "data/Raster.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Value.h"
#include "support/CapturedMessages.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kPlatform = -2147467259;

class RasterBandTest : public ::testing::Test {
 protected:
  RasterDatasetPtr Open(const GdalRaster& raster, const std::string& name = "r.tif") {
    WriteGdal(folder_ / name, raster);
    return OpenRasterDataset(folder_.Path(), name);
  }
  /// The cells of a block read from a position.
  static IPixelBlock ReadAt(const IRasterBand& band, double column, double row, int columns,
                            int rows) {
    IPixelBlock block = band.CreatePixelBlock(columns, rows);
    band.Read({column, row}, block);
    return block;
  }
  TempFolder folder_;
};

/// "." for NoData, else the cell.
std::vector<std::vector<std::string>> Told(const IPixelBlock& block) {
  std::vector<std::vector<std::string>> rows;
  for (int row = 0; row < block.Rows(); ++row) {
    rows.emplace_back();
    for (int column = 0; column < block.Columns(); ++column)
      rows.back().push_back(
          block.IsNoData(0, column, row) ? "." : ToText(block.GetDouble(0, column, row)));
  }
  return rows;
}
using Table = std::vector<std::vector<std::string>>;

const std::vector<Rows> kSmall = {{{1, 2, 3}, {4, 5, 6}}};

TEST_F(RasterBandTest, TellsItsGeometry) {
  const auto raster =
      Open({.bands = kSmall, .noData = 6, .transform = {100, 10, 0, 200, 0, -20}, .epsg = 32612});
  const IRasterProps& props = raster->Band(0).Props();
  EXPECT_EQ(props.width, 3);
  EXPECT_EQ(props.height, 2);
  EXPECT_EQ(props.CellCount(), 6);
  EXPECT_EQ(props.pixelType, PixelType::kUInt8);
  EXPECT_TRUE(props.IsInteger());
  EXPECT_EQ(props.noDataValue, 6);
  EXPECT_EQ(props.meanCellSize.x, 10);
  EXPECT_EQ(props.meanCellSize.y, 20);
  EXPECT_EQ(props.extent, (Envelope{100, 160, 130, 200}));
  EXPECT_EQ(props.spatialReference->FactoryCode(), 32612);
  EXPECT_EQ(raster->Extent(), props.extent);
  EXPECT_EQ(raster->Name(), "r.tif");
  EXPECT_EQ(raster->PathName(), folder_.Path());
  EXPECT_EQ(raster->Format(), "TIFF");
}

TEST_F(RasterBandTest, HasNoNoDataValueWhereTheBandHasNone) {
  EXPECT_EQ(Open({.bands = kSmall})->Band(0).Props().noDataValue, std::nullopt);
}

TEST_F(RasterBandTest, LiesInTheFirstQuadrantWithoutAPlace) {
  const auto raster = Open({.bands = kSmall, .transform = {}});
  EXPECT_EQ(raster->Extent(), (Envelope{0, 0, 3, 2}));
  EXPECT_TRUE(raster->SpatialReference()->IsUnknown());
}

TEST_F(RasterBandTest, IsRefusedWhenItIsNotNorthUp) {
  const auto messageOf = [&](const std::vector<double>& transform) {
    WriteGdal(folder_ / "x.tif", {.bands = kSmall, .transform = transform});
    try {
      OpenRasterDataset(folder_.Path(), "x.tif");
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.Number(), kPlatform);
      return error.Description();
    }
    return std::string();
  };
  EXPECT_NE(messageOf({100, 10, 1, 200, 1, -10}).find("rotated"), std::string::npos);
  EXPECT_NE(messageOf({100, 10, 0, 200, 1, -10}).find("rotated"), std::string::npos);
  EXPECT_NE(messageOf({100, 10, 0, 200, 0, 10}).find("north-up"), std::string::npos);
  EXPECT_NE(messageOf({100, -10, 0, 200, 0, -10}).find("north-up"), std::string::npos);
}

TEST_F(RasterBandTest, IsRefusedWhenItDoesNotOpen) {
  WriteBytes(folder_ / "junk.tif", "no raster at all");
  EXPECT_EQ(ErrorFrom([&] { OpenRasterDataset(folder_.Path(), "junk.tif"); }), kPlatform);
  EXPECT_EQ(ErrorFrom([&] { OpenRasterDataset(folder_.Path(), "none.tif"); }), kPlatform);
  EXPECT_EQ(ErrorFrom([&] { OpenRasterDataset(folder_.Path(), ""); }), kPlatform);
  EXPECT_EQ(ErrorFrom([&] { OpenRasterDataset("", "r.tif"); }), kPlatform);
}

TEST_F(RasterBandTest, RaisesAPlatformErrorForATruncatedFile) {
  Rows rows(400, std::vector<double>(400));
  Seeded random("RasterBand.Truncated");
  for (auto& row : rows)
    for (double& cell : row) cell = static_cast<double>(random.Whole(0, 255));
  Open({.bands = {rows}});
  const std::string bytes = ReadBytes(folder_ / "r.tif");
  WriteBytes(folder_ / "r.tif", bytes.substr(0, bytes.size() / 2));
  EXPECT_EQ(ErrorFrom([&] { OpenRasterDataset(folder_.Path(), "r.tif")->Band(0).ReadAll(); }),
            kPlatform);
}

TEST_F(RasterBandTest, HasNoBandBeyondItsLast) {
  const auto raster = Open({.bands = {kSmall[0], kSmall[0]}});
  EXPECT_EQ(raster->BandCount(), 2);
  EXPECT_EQ(ErrorFrom([&] { raster->Band(2); }), 9);
  EXPECT_EQ(ErrorFrom([&] { raster->Band(-1); }), 9);
}

TEST_F(RasterBandTest, HasNoTypeWithoutBands) {
  // A container of two rasters is none itself.
  WriteGdal(folder_ / "two.gpkg",
            {.driver = "GPKG", .bands = kSmall, .options = {"RASTER_TABLE=a"}});
  WriteGdal(
      folder_ / "two.gpkg",
      {.driver = "GPKG", .bands = kSmall, .options = {"RASTER_TABLE=b", "APPEND_SUBDATASET=YES"}});
  const auto raster = OpenRasterDataset(folder_.Path(), "two.gpkg");
  EXPECT_EQ(raster->BandCount(), 0);
  EXPECT_EQ(ErrorFrom([&] { raster->PixelType(); }), 9);
  EXPECT_EQ(ErrorFrom([&] { raster->Band(0); }), 9);
}

TEST_F(RasterBandTest, KnowsEveryPixelType) {
  struct Case {
    GDALDataType type;
    std::vector<std::string> options;
    PixelType pixelType, plane;
    std::vector<double> cells;
  };
  const double big = 9007199254740992.0;
  const std::vector<Case> cases = {
      {GDT_Byte, {"NBITS=1"}, PixelType::k1Bit, PixelType::k1Bit, {0, 1}},
      {GDT_Byte, {"NBITS=2"}, PixelType::k2Bit, PixelType::k2Bit, {0, 3}},
      {GDT_Byte, {"NBITS=4"}, PixelType::k4Bit, PixelType::k4Bit, {0, 15}},
      {GDT_Byte, {}, PixelType::kUInt8, PixelType::kUInt8, {0, 255}},
      {GDT_UInt16, {}, PixelType::kUInt16, PixelType::kUInt16, {0, 65535}},
      {GDT_Int16, {}, PixelType::kInt16, PixelType::kInt16, {-32768, 32767}},
      {GDT_UInt32, {}, PixelType::kUInt32, PixelType::kUInt32, {0, 4294967295.0}},
      {GDT_Int32, {}, PixelType::kInt32, PixelType::kInt32, {-2147483648.0, 2147483647}},
      {GDT_Int64, {}, PixelType::kDouble, PixelType::kDouble, {-big, big}},
      {GDT_UInt64, {}, PixelType::kDouble, PixelType::kDouble, {0, big}},
      {GDT_Float32, {}, PixelType::kFloat, PixelType::kFloat, {-0.5, 1e30F}},
      {GDT_Float64, {}, PixelType::kDouble, PixelType::kDouble, {-0.1, 1e300}},
      {GDT_CInt16, {}, PixelType::kComplex, PixelType::kComplex, {-3, 4}},
      {GDT_CInt32, {}, PixelType::kComplex, PixelType::kComplex, {-3, 4}},
      {GDT_CFloat32, {}, PixelType::kComplex, PixelType::kComplex, {-3, 0.5}},
      {GDT_CFloat64, {}, PixelType::kDoubleComplex, PixelType::kDoubleComplex, {-3, 0.1}}};
  for (const Case& c : cases) {
    const auto raster = Open({.type = c.type, .bands = {{c.cells}}, .options = c.options});
    EXPECT_EQ(raster->PixelType(), c.pixelType) << GDALGetDataTypeName(c.type);
    EXPECT_EQ(raster->Band(0).Props().IsInteger(), static_cast<int>(c.pixelType) < 9);
    const IPixelBlock block = raster->Band(0).ReadAll();
    EXPECT_EQ(block.Type(), c.plane);
    EXPECT_EQ(RowsOf(block), Rows{c.cells}) << GDALGetDataTypeName(c.type);
  }
}

TEST_F(RasterBandTest, ReadsSignedBytes) {
  const auto raster = Open({.bands = {{{0, 127, 128, 255}}}, .options = {"PIXELTYPE=SIGNEDBYTE"}});
  EXPECT_EQ(raster->PixelType(), PixelType::kInt8);
  EXPECT_EQ(RowsOf(raster->Band(0).ReadAll()), (Rows{{0, 127, -128, -1}}));
}

TEST_F(RasterBandTest, TruncatesAPositionTowardsZero) {
  const auto raster = Open({.bands = kSmall, .noData = 0});
  const IRasterBand& band = raster->Band(0);
  EXPECT_EQ(Told(ReadAt(band, 1.9, 1.9, 1, 1)), (Table{{"5"}}));
  EXPECT_EQ(Told(ReadAt(band, -0.9, -0.9, 1, 1)), (Table{{"1"}}));
  EXPECT_EQ(Told(ReadAt(band, -1, 0, 1, 1)), (Table{{"."}}));
  EXPECT_EQ(ErrorFrom([&] { ReadAt(band, kNaN, 0, 1, 1); }), 6);
}

TEST_F(RasterBandTest, CountsCellsPastTheEdgeAsNoData) {
  const auto raster = Open({.bands = kSmall, .noData = 0});
  const IRasterBand& band = raster->Band(0);
  EXPECT_EQ(Told(ReadAt(band, 1, 1, 3, 2)), (Table{{"5", "6", "."}, {".", ".", "."}}));
  EXPECT_EQ(Told(ReadAt(band, -1, -1, 3, 2)), (Table{{".", ".", "."}, {".", "1", "2"}}));
  EXPECT_EQ(Told(ReadAt(band, -1, -1, 5, 4)), (Table{{".", ".", ".", ".", "."},
                                                     {".", "1", "2", "3", "."},
                                                     {".", "4", "5", "6", "."},
                                                     {".", ".", ".", ".", "."}}));
  for (const auto& [column, row] :
       {std::pair{3.0, 0.0}, {0.0, 2.0}, {-9.0, 0.0}, {0.0, -9.0}, {1e300, 0.0}, {-1e300, 1e300}})
    EXPECT_EQ(Told(ReadAt(band, column, row, 2, 1)), (Table{{".", "."}}));
  EXPECT_EQ(ToDouble(ReadAt(band, 3, 0, 1, 1).GetVal(0, 0, 0)), 0);
}

TEST_F(RasterBandTest, NeverTakesThemForValuesWithoutANoDataValue) {
  for (const GDALDataType type :
       {GDT_Byte, GDT_UInt16, GDT_Int16, GDT_UInt32, GDT_Int32, GDT_Float32, GDT_Float64}) {
    const auto raster = Open({.type = type, .bands = {{{0, 1}, {2, 3}}}});
    const IPixelBlock block = ReadAt(raster->Band(0), 1, 1, 2, 2);
    EXPECT_EQ(Told(block), (Table{{"3", "."}, {".", "."}})) << GDALGetDataTypeName(type);
    EXPECT_TRUE(block.GetVal(0, 1, 1).IsNull());
    EXPECT_EQ(block.NoDataValue(), std::nullopt);
  }
}

TEST_F(RasterBandTest, NeverTakesThemForValuesWithAValueTheTypeCannotHold) {
  const auto raster = Open({.bands = {{{0, 1}, {2, 241}}}, .noData = -9999});
  ASSERT_EQ(raster->Band(0).Props().noDataValue, -9999);
  const IPixelBlock block = ReadAt(raster->Band(0), 1, 1, 2, 1);
  EXPECT_EQ(Told(block), (Table{{"241", "."}}));
  EXPECT_EQ(ToDouble(block.GetVal(0, 1, 0)), -9999);
  // Within the raster nothing is wider than the band.
  EXPECT_EQ(raster->Band(0).ReadAll().Type(), PixelType::kUInt8);
}

TEST_F(RasterBandTest, ReadsABlockAgainAfterItWasWidened) {
  const auto raster = Open({.bands = kSmall});
  IPixelBlock block = raster->Band(0).CreatePixelBlock(2, 1);
  raster->Band(0).Read({2, 0}, block);
  EXPECT_EQ(Told(block), (Table{{"3", "."}}));
  raster->Band(0).Read({0, 1}, block);
  EXPECT_EQ(Told(block), (Table{{"4", "5"}}));
  raster->Band(0).Read({9, 1}, block);
  EXPECT_EQ(Told(block), (Table{{".", "."}}));
}

TEST_F(RasterBandTest, CountsNaNAsNoDataWhateverTheValue) {
  for (const GDALDataType type : {GDT_Float32, GDT_Float64}) {
    EXPECT_EQ(Told(Open({.type = type, .bands = {{{1, kNaN, -9999}}}, .noData = -9999})
                       ->Band(0)
                       .ReadAll()),
              (Table{{"1", ".", "."}}));
    EXPECT_EQ(Told(Open({.type = type, .bands = {{{1, kNaN, -9999}}}})->Band(0).ReadAll()),
              (Table{{"1", ".", "-9999"}}));
    EXPECT_EQ(
        Told(
            Open({.type = type, .bands = {{{1, kNaN, -9999}}}, .noData = kNaN})->Band(0).ReadAll()),
        (Table{{"1", ".", "-9999"}}));
  }
  // Such a cell gives the band's value.
  const auto raster = Open({.type = GDT_Float32, .bands = {{{kNaN}}}, .noData = -9999});
  EXPECT_EQ(raster->Band(0).ReadAll().GetVal(0, 0, 0), Value(-9999.0F));
}

TEST_F(RasterBandTest, ComparesSingleCellsWithASingleValue) {
  // The decimal text of a NoData value of single cells has too few digits for a double, or one too
  // many.
  for (const double noData : {-3.4e38, -3.4028234663852886e+38, 0.1}) {
    const auto raster =
        Open({.type = GDT_Float32, .bands = {{{1, static_cast<float>(noData)}}}, .noData = noData});
    EXPECT_EQ(raster->Band(0).Props().noDataValue, double{static_cast<float>(noData)});
    EXPECT_EQ(Told(raster->Band(0).ReadAll()), (Table{{"1", "."}}));
  }
}

TEST_F(RasterBandTest, ReadsMaskedCellsAsNoData) {
  const auto mask = [](GDALDataset& dataset) {
    dataset.CreateMaskBand(GMF_PER_DATASET);
    std::vector<std::uint8_t> cells = {255, 0, 255, 255, 255, 0};
    ASSERT_EQ(dataset.GetRasterBand(1)->GetMaskBand()->RasterIO(GF_Write, 0, 0, 3, 2, cells.data(),
                                                                3, 2, GDT_Byte, 0, 0),
              CE_None);
  };
  const auto raster = Open({.bands = kSmall, .finish = mask});
  const IPixelBlock block = raster->Band(0).ReadAll();
  EXPECT_EQ(Told(block), (Table{{"1", ".", "3"}, {"4", "5", "."}}));
  EXPECT_TRUE(block.GetVal(0, 1, 0).IsNull());
  EXPECT_EQ(raster->Band(0).Statistics().maximum, 5);
}

TEST_F(RasterBandTest, ConvertsIntoABlockOfAnotherType) {
  const auto raster =
      Open({.type = GDT_Float32, .bands = {{{0.5, 1.5, -7.4, kNaN, -1.5}}}, .noData = -1.5});
  IPixelBlock block = raster->Band(0).CreatePixelBlock(5, 1);
  block.SetPixelType(0, PixelType::kInt32);
  raster->Band(0).Read({0, 0}, block);
  // The NoData value has no room among whole numbers.
  EXPECT_EQ(Told(block), (Table{{"0", "2", "-7", ".", "."}}));
  EXPECT_EQ(ToDouble(block.GetVal(0, 4, 0)), -1.5);

  const auto wide = Open({.type = GDT_Float64, .bands = {{{3e9, 1}}}});
  IPixelBlock narrow = wide->Band(0).CreatePixelBlock(2, 1);
  narrow.SetPixelType(0, PixelType::kInt32);
  EXPECT_EQ(ErrorFrom([&] { wide->Band(0).Read({0, 0}, narrow); }), 6);

  const auto bytes = Open({.bands = kSmall, .noData = 2});
  IPixelBlock longs = bytes->Band(0).CreatePixelBlock(3, 2);
  longs.SetPixelType(0, PixelType::kInt32);
  bytes->Band(0).Read({1, 0}, longs);
  EXPECT_EQ(longs.Type(), PixelType::kInt32);
  EXPECT_EQ(Told(longs), (Table{{".", "3", "."}, {"5", "6", "."}}));
}

TEST_F(RasterBandTest, ReadsWhatGdalReadsOnAnyWindow) {
  Seeded random("RasterBand.ReadsWhatGdalReadsOnAnyWindow");
  Rows rows(37, std::vector<double>(53));
  for (auto& row : rows)
    for (double& cell : row) cell = static_cast<double>(random.Whole(-500, 500));
  const auto raster = Open({.type = GDT_Int16,
                            .bands = {rows},
                            .options = {"TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=16"}});
  for (int i = 0; i < 200; ++i) {
    const std::int64_t column = random.Whole(-5, 55), row = random.Whole(-5, 40);
    const std::int64_t columns = random.Whole(1, 60), height = random.Whole(1, 45);
    const IPixelBlock block =
        ReadAt(raster->Band(0), static_cast<double>(column), static_cast<double>(row),
               static_cast<int>(columns), static_cast<int>(height));
    for (std::int64_t y = 0; y < height; ++y)
      for (std::int64_t x = 0; x < columns; ++x) {
        const std::int64_t c = column + x, r = row + y;
        const bool inside = c >= 0 && c < 53 && r >= 0 && r < 37;
        ASSERT_EQ(block.IsNoData(0, x, y), !inside);
        if (inside) {
          ASSERT_EQ(block.GetDouble(0, x, y),
                    rows[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)]);
        }
      }
  }
}

TEST_F(RasterBandTest, HasExactStatistics) {
  const auto raster = Open(
      {.type = GDT_Int16, .bands = {{{2, 4, -1, 4}, {4, 5, 5, 7}, {9, -1, -1, -1}}}, .noData = -1});
  const RasterStatistics all = raster->Band(0).Statistics();
  EXPECT_EQ(all.minimum, 2);
  EXPECT_EQ(all.maximum, 9);
  EXPECT_DOUBLE_EQ(all.mean, 5);
  EXPECT_DOUBLE_EQ(all.standardDeviation, 2);
  EXPECT_EQ(all.count, 8);
  // Every second column and row: 2, NoData, 9, NoData.
  const RasterStatistics some = raster->Band(0).Statistics(2, 2);
  EXPECT_EQ(some.count, 2);
  EXPECT_EQ(some.minimum, 2);
  EXPECT_EQ(some.maximum, 9);
  EXPECT_DOUBLE_EQ(some.mean, 5.5);
  EXPECT_EQ(ErrorFrom([&] { raster->Band(0).Statistics(0, 1); }), 5);
  EXPECT_EQ(ErrorFrom([&] { raster->Band(0).Statistics(1, 0); }), 5);
}

TEST_F(RasterBandTest, RecalculatesStatisticsWhateverIsStored) {
  const auto raster = Open({.bands = kSmall, .finish = [](GDALDataset& dataset) {
                              dataset.GetRasterBand(1)->SetStatistics(-100, 900, 3, 4);
                            }});
  EXPECT_EQ(raster->Band(0).Statistics().maximum, 6);
}

TEST_F(RasterBandTest, HasZerosForStatisticsWithoutValues) {
  const auto raster = Open({.bands = {{{7, 7}, {7, 7}}}, .noData = 7});
  const RasterStatistics none = raster->Band(0).Statistics();
  EXPECT_EQ(none.minimum, 0);
  EXPECT_EQ(none.maximum, 0);
  EXPECT_EQ(none.mean, 0);
  EXPECT_EQ(none.standardDeviation, 0);
  EXPECT_EQ(none.count, 0);
}

TEST_F(RasterBandTest, CannotBeWrittenWhenItWasOpened) {
  const auto raster = Open({.bands = kSmall});
  EXPECT_EQ(ErrorFrom([&] {
              raster->Band(0).Write({0, 0}, IPixelBlock(1, 1, PixelType::kUInt8));
            }),
            kPlatform);
  EXPECT_EQ(ErrorFrom([&] { raster->Band(0).SetNoDataValue(1); }), kPlatform);
  EXPECT_EQ(GdalCells(folder_ / "r.tif"), kSmall[0]);
}

TEST_F(RasterBandTest, StopsOnRequest) {
  CapturedMessages messages;
  const auto raster = Open({.bands = kSmall});
  RequestStop();
  EXPECT_EQ(ErrorFrom([&] { raster->Band(0).ReadAll(); }), 18);
  EXPECT_EQ(ErrorFrom([&] { raster->Band(0).Statistics(); }), 18);
  EXPECT_EQ(ErrorFrom([&] { raster->Band(0).AttributeTable(); }), 18);
  EXPECT_EQ(ErrorFrom([&] { OpenRasterDataset(folder_.Path(), "r.tif"); }), 18);
}

TEST_F(RasterBandTest, IsDeletedWithItsCompanions) {
  const auto raster = Open({.bands = kSmall});
  for (const char* name : {"r.tif.aux.xml", "r.tif.vat.dbf", "r.vat.dbf"})
    WriteBytes(folder_ / name, std::string_view(name).ends_with("xml") ? "<PAMDataset/>" : "x");
  WriteBytes(folder_ / "other.tif", "x");
  raster->Delete();
  for (const char* name : {"r.tif", "r.tif.aux.xml", "r.tif.vat.dbf", "r.vat.dbf"})
    EXPECT_FALSE(files::FileExists(folder_ / name)) << name;
  EXPECT_TRUE(files::FileExists(folder_ / "other.tif"));
}

}  // namespace
}  // namespace orlinths
