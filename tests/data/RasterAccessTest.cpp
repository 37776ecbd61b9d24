#include "data/RasterAccess.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "data/Raster.h"
#include "runtime/Files.h"
#include "support/CapturedMessages.h"
#include "support/Cells.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kPlatform = -2147467259;

class RasterAccessTest : public ::testing::Test {
 protected:
  /// Cells of size 10 from (100, 200).
  RasterDatasetPtr Raster(const Rows& rows, PixelType type = PixelType::kInt32,
                          std::optional<double> noData = std::nullopt) {
    NewRaster raster;
    raster.name = "r" + ToText(made_++) + ".tif";
    raster.format = "TIFF";
    raster.origin = {100, 200};
    raster.columns = std::ssize(rows.front());
    raster.rows = std::ssize(rows);
    raster.cellSize = {10, 10};
    raster.pixelType = type;
    const RasterDatasetPtr dataset = CreateRasterDataset(folder_.Path(), raster);
    if (noData) dataset->Band(0).SetNoDataValue(*noData);
    dataset->Band(0).Write({0, 0}, BlockOf(rows, type));
    dataset->Close();
    return dataset;
  }
  TempFolder folder_;
  CapturedMessages messages_;
  int made_ = 0;
};

TEST(RasterProps, FindsTheCellUnderACoordinate) {
  const IRasterProps props = PropsWith(4, 3, 100, 200, {10, 20});  // to (140, 260)
  EXPECT_EQ(props.CellAt(100, 260), (Cell{0, 0}));  // on the western and the northern edge
  EXPECT_EQ(props.CellAt(109.99, 240.01), (Cell{0, 0}));
  EXPECT_EQ(props.CellAt(110, 240), (Cell{1, 1}));
  EXPECT_EQ(props.CellAt(140, 200), (Cell{4, 3}));  // the far edges lie outside
  EXPECT_EQ(props.CellAt(99.99, 260.01), (Cell{-1, -1}));
  EXPECT_EQ(ErrorFrom([&] { props.CellAt(1e300, 0); }), 6);
  EXPECT_EQ(ErrorFrom([&] { props.CellAt(0, kNaN); }), 6);
}

TEST(GetCellCentrePoint, GivesTheCentre) {
  const IRasterProps props = PropsWith(4, 3, 100, 200, {10, 20});
  const Point centre = GetCellCentrePoint(props, 2, 1);
  EXPECT_EQ(centre.x, 125);
  EXPECT_EQ(centre.y, 230);
}

TEST_F(RasterAccessTest, ReadsTheCellUnderACoordinate) {
  const auto raster = Raster({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, PixelType::kInt32, 5);
  const IRasterBand& band = raster->Band(0);
  EXPECT_EQ(GetLongRasterValueFromCoord(band, 100, 230), 1);  // the north-western corner
  EXPECT_EQ(GetLongRasterValueFromCoord(band, 115, 225), 2);
  EXPECT_EQ(GetDblRasterValueFromCoord(band, 105, 215), 4);
  // NoData.
  EXPECT_EQ(GetLongRasterValueFromCoord(band, 115, 215), -999);
  EXPECT_EQ(GetDblRasterValueFromCoord(band, 115, 215), -999);
  // Outside, to which the last column and the last row belong.
  for (const auto& [x, y] : {std::pair{125.0, 225.0},
                             {105.0, 205.0},
                             {99.0, 225.0},
                             {105.0, 231.0},
                             {131.0, 225.0},
                             {105.0, 199.0}}) {
    EXPECT_EQ(GetLongRasterValueFromCoord(band, x, y), -999) << x << ' ' << y;
    EXPECT_EQ(GetDblRasterValueFromCoord(band, x, y), -999) << x << ' ' << y;
  }
  EXPECT_EQ(messages_.Text(), Texts{});
}

TEST_F(RasterAccessTest, RoundsToALongAndComparesAsLongs) {
  const auto raster = Raster({{2.5, 3.5, 7.4, 0}, {3e9, 0, 0, 0}}, PixelType::kDouble, 6.6);
  const IRasterBand& band = raster->Band(0);
  EXPECT_EQ(GetLongRasterValueFromCoord(band, 105, 215), 2);
  EXPECT_EQ(GetLongRasterValueFromCoord(band, 115, 215), 4);
  // 7.4 and the NoData value 6.6 are the same long.
  EXPECT_EQ(GetLongRasterValueFromCoord(band, 125, 215), -999);
  EXPECT_EQ(GetDblRasterValueFromCoord(band, 125, 215), 7.4);
}

TEST_F(RasterAccessTest, ReportsWhatNoLongHolds) {
  const auto raster = Raster({{3e9, 0}, {0, 0}}, PixelType::kDouble);
  EXPECT_EQ(GetLongRasterValueFromCoord(raster->Band(0), 105, 215), 0);
  EXPECT_EQ(messages_.Text(), (Texts{"GetLongRasterValueFromCoord: \r6\rOverflow"}));
  messages_.Clear();
  EXPECT_EQ(GetDblRasterValueFromCoord(raster->Band(0), kNaN, 215), 0);
  EXPECT_EQ(messages_.Text(), (Texts{"GetDblRasterValueFromCoord: \r6\rOverflow"}));
}

TEST_F(RasterAccessTest, GivesMissingForNaNCells) {
  const auto raster = Raster({{kNaN, 1}, {1, 1}}, PixelType::kFloat);
  EXPECT_EQ(GetDblRasterValueFromCoord(raster->Band(0), 105, 215), -999);
  EXPECT_EQ(GetLongRasterValueFromCoord(raster->Band(0), 105, 215), -999);
}

TEST(SnapEnvToRast, GrowsToTheCellEdgesAround) {
  const IRasterProps props = PropsWith(10, 10, 100, 200, {10, 10});
  EXPECT_EQ(SnapEnvToRast(props, {113, 217, 128, 239}), (Envelope{110, 210, 130, 240}));
  // On edges it stays where it is.
  EXPECT_EQ(SnapEnvToRast(props, {110, 210, 130, 240}), (Envelope{110, 210, 130, 240}));
}

TEST(SnapEnvToRast, CutsBackToTheRaster) {
  const IRasterProps props = PropsWith(10, 10, 100, 200, {10, 10});
  EXPECT_EQ(SnapEnvToRast(props, {13, 17, 1280, 2390}), props.extent);
  EXPECT_EQ(SnapEnvToRast(props, {13, 217, 128, 2390}), (Envelope{100, 210, 130, 300}));
}

TEST(SnapEnvToRast, UsesTheXSizeOnBothAxes) {
  const IRasterProps props = PropsWith(10, 10, 0, 0, {8, 25});
  EXPECT_EQ(SnapEnvToRast(props, {1, 12, 2, 237}), (Envelope{0, 8, 8, 242}));
}

TEST(SnapEnvToRast, EqualsFloorAndCeilingOnRandomEnvelopes) {
  Seeded random("SnapEnvToRast.EqualsFloorAndCeiling");
  const IRasterProps props = PropsWith(64, 64, -32, -32, {1, 1});
  for (int i = 0; i < 500; ++i) {
    const double x = random.Real(-40, 30), y = random.Real(-40, 30);
    const Envelope box{x, y, x + random.Real(0, 9), y + random.Real(0, 9)};
    if (!props.extent.Intersects(box)) continue;
    const Envelope snapped = SnapEnvToRast(props, box);
    EXPECT_NEAR(snapped.xMin, std::max(-32.0, std::floor(box.xMin)), 1e-9);
    EXPECT_NEAR(snapped.yMin, std::max(-32.0, std::floor(box.yMin)), 1e-9);
    EXPECT_NEAR(snapped.xMax, std::min(32.0, std::ceil(box.xMax)), 1e-9);
    EXPECT_NEAR(snapped.yMax, std::min(32.0, std::ceil(box.yMax)), 1e-9);
  }
}

TEST(SnapEnvToRast, ReportsUnderALabelOfItsOwn) {
  CapturedMessages messages;
  EXPECT_TRUE(SnapEnvToRast(PropsWith(10, 10, 0, 0, {0, 0}), {1, 1, 2, 2}).IsEmpty());
  EXPECT_EQ(messages.Text(), (Texts{"SnapEnvToRast; sErr: \r11\rDivision by zero"}));
}

TEST_F(RasterAccessTest, MasksNoDataBothWays) {
  struct Case {
    Rows rows;
    PixelType type;
    std::optional<double> noData;
    std::vector<std::string> drawn;
  };
  for (const Case& c :
       {Case{{{1, 0, 255}, {255, 7, 0}}, PixelType::kUInt8, 255, {"001", "100"}},
        Case{{{1, 0, 255}, {255, 7, 0}}, PixelType::kUInt8, std::nullopt, {"000", "000"}},
        Case{{{-1, 0, 5}}, PixelType::kInt16, -1, {"100"}},
        Case{{{-9999, 0, 5}}, PixelType::kInt32, -9999, {"100"}},
        Case{{{65535, 0, 5}}, PixelType::kUInt16, 65535, {"100"}},
        Case{{{4294967295.0, 0, 5}}, PixelType::kUInt32, 4294967295.0, {"100"}},
        Case{{{0.1F, kNaN, 5}}, PixelType::kFloat, 0.1, {"110"}},
        Case{{{0.1, kNaN, 5}}, PixelType::kDouble, 0.1, {"110"}},
        Case{{{0.1, kNaN, 5}}, PixelType::kDouble, std::nullopt, {"010"}},
        Case{{{0.1, kNaN, 5}}, PixelType::kDouble, kNaN, {"010"}},
        Case{{{3}}, PixelType::kInt16, 3, {"1"}}}) {
    const auto raster = Raster(c.rows, c.type, c.noData);
    EXPECT_EQ(Drawn(GetNoDataArr(raster->Band(0))), c.drawn) << static_cast<int>(c.type);
    EXPECT_EQ(Drawn(GetNoDataArr2(raster->Band(0))), c.drawn) << static_cast<int>(c.type);
  }
  EXPECT_EQ(messages_.Text(), Texts{});
}

TEST_F(RasterAccessTest, IndexesMasksByRowThenColumn) {
  const auto raster = Raster({{1, 9, 1}, {1, 1, 1}}, PixelType::kInt16, 9);
  const Mask mask = GetNoDataArr(raster->Band(0));
  EXPECT_EQ(mask.First().upper, 1);
  EXPECT_EQ(mask.Second().upper, 2);
  EXPECT_TRUE(mask(0, 1));
  EXPECT_EQ(ErrorFrom([&] { mask(2, 1); }), 9);
  EXPECT_EQ(ErrorFrom([&] { mask(1, 3); }), 9);
}

TEST_F(RasterAccessTest, MasksRastersOfManyStripsBothWays) {
  Seeded random("RasterAccess.MasksRastersOfManyStrips");
  Rows rows(2100, std::vector<double>(2100));  // more cells than one strip
  for (auto& row : rows)
    for (double& cell : row) cell = static_cast<double>(random.Whole(0, 3));
  const auto raster = Raster(rows, PixelType::kUInt8, 2);
  const Mask one = GetNoDataArr(raster->Band(0)), two = GetNoDataArr2(raster->Band(0));
  for (std::size_t r = 0; r < rows.size(); ++r)
    for (std::size_t c = 0; c < rows.size(); ++c) {
      ASSERT_EQ(one.Data()[r * 2100 + c], rows[r][c] == 2);
      ASSERT_EQ(two.Data()[r * 2100 + c], rows[r][c] == 2);
    }
}

TEST_F(RasterAccessTest, ReportsAStopUnderTheLabelOfTheMask) {
  const auto raster = Raster({{1}});
  RequestStop();
  EXPECT_EQ(GetNoDataArr(raster->Band(0)).First().Count(), 0);
  EXPECT_EQ(GetNoDataArr2(raster->Band(0)).First().Count(), 0);
  EXPECT_EQ(messages_.Text(), (Texts{"GetNoDataArr: \r18\rUser interrupt occurred",
                                     "GetNoDataArr2: \r18\rUser interrupt occurred"}));
}

using Spans = std::vector<std::pair<std::int32_t, std::int32_t>>;
Spans SpansOf(const Mask& mask) {
  const auto table = GetSliderArr(mask);
  Spans spans;
  for (std::int64_t i = table.First().lower; i <= table.First().upper; ++i)
    spans.emplace_back(table(i, 0), table(i, 1));
  return spans;
}

TEST(GetSliderArr, TellsWhereEachRowBeginsAndEnds) {
  EXPECT_EQ(SpansOf(MaskFrom({"00100", "01110", "11111", "01110", "00100"}, -2, -2)),
            (Spans{{-1, 0}, {-2, 1}, {-3, 2}, {-2, 1}, {-1, 0}}));
}

TEST(GetSliderArr, HasZerosForAnEmptyRow) {
  EXPECT_EQ(SpansOf(MaskFrom({"000", "010", "000"}, -1, -1)), (Spans{{0, 0}, {-1, 0}, {0, 0}}));
}

TEST(GetSliderArr, ReportsTheLastRunOfARow) {
  EXPECT_EQ(SpansOf(MaskFrom({"0101100", "0000000"})), (Spans{{2, 4}, {0, 0}}));
}

TEST(GetSliderArr, TakesTheLowerBoundOfTheRowsForThatOfTheColumns) {
  EXPECT_EQ(SpansOf(MaskFrom({"100"}, 7, 3)), (Spans{{6, 3}}));
  EXPECT_EQ(SpansOf(MaskFrom({"001"}, 7, 3)), (Spans{{4, 5}}));
  EXPECT_EQ(SpansOf(MaskFrom({"1"}, 0, 0)), (Spans{{-1, 0}}));
}

TEST(GetSliderArr, ReportsAMaskWithoutColumns) {
  CapturedMessages messages;
  GetSliderArr(Mask({0, 2}, {0, -1}));
  EXPECT_EQ(messages.Text(), (Texts{"GetSliderArr: \r9\rSubscript out of range"}));
}

TEST_F(RasterAccessTest, GivesTheValuesOfTheAttributeTable) {
  const IRasterLayer layer(Raster({{5, -3, 5}, {9, 70000, 5}}, PixelType::kInt32, 9));
  EXPECT_EQ(GetUniqueRasterValues(layer), (std::vector<std::int32_t>{-3, 5, 70000}));
}

TEST_F(RasterAccessTest, GivesNoValuesWithoutATable) {
  EXPECT_EQ(GetUniqueRasterValues(IRasterLayer(Raster({{5}}, PixelType::kFloat))), std::nullopt);
  EXPECT_EQ(messages_.Text(), Texts{});
}

TEST_F(RasterAccessTest, ReportsATableWithoutValues) {
  const auto raster = Raster({{5}}, PixelType::kUInt8);
  // A dBASE table with one numeric column, "Other", and one record.
  std::string dbf("\x03\x7e\x01\x01\x01\0\0\0\x41\0\x05\0", 12);
  dbf.resize(32, '\0');
  dbf += std::string("Other\0\0\0\0\0\0N\0\0\0\0\x04\0", 18);
  dbf.resize(64, '\0');
  dbf += "\r    1\x1a";
  WriteBytes(folder_ / (raster->Name() + ".vat.dbf"), dbf);
  EXPECT_EQ(GetUniqueRasterValues(IRasterLayer(raster)), std::nullopt);
  EXPECT_EQ(messages_.Text(), (Texts{"GetUniqueRasterValues: \r9\rSubscript out of range"}));
}

TEST_F(RasterAccessTest, ReportsAnInvalidLayer) {
  EXPECT_EQ(GetUniqueRasterValues(IRasterLayer("gone", "gone.tif")), std::nullopt);
  EXPECT_EQ(messages_.All().size(), 1U);
}

template <class T>
std::string Bytes(const std::vector<T>& cells) {
  std::string bytes(cells.size() * sizeof(T), '\0');
  std::memcpy(bytes.data(), cells.data(), bytes.size());
  return bytes;
}

TEST_F(RasterAccessTest, WritesRastersFromBinaryFiles) {
  WriteBytes(folder_ / "long.dat", Bytes<std::int32_t>({1, -9999, 3, 70000, 5, -6}));
  WriteBytes(folder_ / "double.dat", Bytes<double>({1.5, -9999, 3, 1e100, 5, -6}));
  const auto reference = SpatialReferenceFromText("EPSG:32612");
  for (const auto& [format, name] :
       {std::pair{"IMAGINE Image", "l.img"}, {"TIFF", "l.tif"}, {"GRID", "l"}}) {
    EXPECT_TRUE(WriteLongRasterFromBinary(folder_ / "long.dat", name, folder_.Path(), format,
                                          {500, 4000}, 30, 3, 2, reference));
    const auto raster = OpenRasterDataset(folder_.Path(), name);
    EXPECT_EQ(raster->PixelType(), PixelType::kInt32);
    EXPECT_EQ(raster->Extent(), (Envelope{500, 4000, 590, 4060}));
    EXPECT_EQ(raster->SpatialReference()->FactoryCode(), 32612);
    const IPixelBlock block = raster->Band(0).ReadAll();
    EXPECT_EQ(block.GetDouble(0, 0, 0), 1);
    EXPECT_TRUE(block.IsNoData(0, 1, 0));
    EXPECT_EQ(block.GetDouble(0, 0, 1), 70000);
    EXPECT_EQ(block.GetDouble(0, 2, 1), -6);
  }
  for (const auto& [format, name] : {std::pair{"IMAGINE Image", "d.img"}, {"TIFF", "d.tif"}}) {
    EXPECT_TRUE(WriteDoubleRasterFromBinary(folder_ / "double.dat", name, folder_.Path(), format,
                                            {500, 4000}, 30, 3, 2, reference));
    const auto raster = OpenRasterDataset(folder_.Path(), name);
    EXPECT_EQ(raster->PixelType(), PixelType::kDouble);
    EXPECT_EQ(raster->Band(0).Props().noDataValue, -9999);
    EXPECT_EQ(RowsOf(raster->Band(0).ReadAll()), (Rows{{1.5, -9999, 3}, {1e100, 5, -6}}));
  }
  EXPECT_EQ(messages_.Text(), Texts{});
}

TEST_F(RasterAccessTest, TakesAShortBinaryFileAsItIs) {
  WriteBytes(folder_ / "short.dat", Bytes<std::int32_t>({1, 2, 3, 4}));
  EXPECT_TRUE(WriteLongRasterFromBinary(folder_ / "short.dat", "s.tif", folder_.Path(), "TIFF",
                                        {0, 0}, 1, 3, 2, nullptr));
  EXPECT_EQ(RowsOf(OpenRasterDataset(folder_.Path(), "s.tif")->Band(0).ReadAll()),
            (Rows{{1, 2, 3}, {4, 0, 0}}));
  WriteBytes(folder_ / "empty.dat", "");
  EXPECT_TRUE(WriteDoubleRasterFromBinary(folder_ / "empty.dat", "e.tif", folder_.Path(), "TIFF",
                                          {0, 0}, 1, 2, 1, nullptr));
  EXPECT_EQ(RowsOf(OpenRasterDataset(folder_.Path(), "e.tif")->Band(0).ReadAll()), (Rows{{0, 0}}));
  // What a longer one has behind its end is passed over.
  EXPECT_TRUE(WriteLongRasterFromBinary(folder_ / "short.dat", "t.tif", folder_.Path(), "TIFF",
                                        {0, 0}, 1, 1, 2, nullptr));
  EXPECT_EQ(RowsOf(OpenRasterDataset(folder_.Path(), "t.tif")->Band(0).ReadAll()),
            (Rows{{1}, {2}}));
}

TEST_F(RasterAccessTest, ReportsAndLeavesNothingWhereABinaryRasterFails) {
  EXPECT_FALSE(WriteLongRasterFromBinary(folder_ / "none.dat", "l.tif", folder_.Path(), "TIFF",
                                         {0, 0}, 1, 3, 2, nullptr));
  EXPECT_EQ(messages_.Text(), (Texts{"WriteLongRasterFromBinary: \r53\rFile not found"}));
  messages_.Clear();
  WriteBytes(folder_ / "d.dat", "");
  EXPECT_FALSE(WriteDoubleRasterFromBinary(folder_ / "d.dat", "", folder_.Path(), "TIFF", {0, 0}, 1,
                                           3, 2, nullptr));
  ASSERT_EQ(messages_.All().size(), 1U);
  EXPECT_EQ(messages_.Text()[0].substr(0, 29 + 12), "WriteDoubleRasterFromBinary: \r-2147467259");
  EXPECT_EQ(files::NamesIn(folder_.Path()), (Texts{"d.dat"}));
}

TEST_F(RasterAccessTest, OpensFoldersAsWorkspaces) {
  EXPECT_EQ(OpenRasterWorkspace(folder_.Path()), folder_.Path());
  EXPECT_EQ(ErrorFrom([&] { OpenRasterWorkspace(folder_ / "none"); }), kPlatform);
  EXPECT_EQ(ErrorFrom([&] { OpenRasterWorkspace(""); }), kPlatform);
}

}  // namespace
}  // namespace orlinths
