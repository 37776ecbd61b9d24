// Zonal statistics of rasters and zones as they come: rotated, cut off, without bands, at every
// edge; and of folders that take no table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>

#include "data/FakeData.h"
#include "data/Raster.h"
#include "data/Workspace.h"
#include "gdal/RasterFixture.h"
#include "raster/ZonalStats.h"
#include "runtime/Files.h"
#include "runtime/Value.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;
using Numbers = std::vector<double>;

/// Cells of 10 by 10 from (100, 200) to (140, 230).
GdalRaster Heights() {
  return {.type = GDT_Float32,
          .bands = {{{1, 2, 3, 4}, {5, 6, -9999, 8}, {9, 10, 11, 12}}},
          .noData = -9999,
          .transform = {100, 10, 0, 230, 0, -10}};
}
const char* const kMiddle = "POLYGON((111 201, 111 229, 129 229, 129 201, 111 201))";

class ZonalInputsTest : public ToolTest {
 protected:
  void AddZones(const std::vector<std::string>& shapes) {
    OgrDataset zones{.type = "Polygon", .columns = {{"N", "Integer", 4}}, .records = {}};
    for (const std::string& wkt : shapes) zones.records.push_back({wkt, {"1"}});
    AddLayer("zones.shp", zones);
  }
  void AddRaster(const GdalRaster& raster = Heights(), std::uintmax_t bytesMissing = 0) {
    WriteGdal(Path("dem.tif"), raster);
    std::filesystem::resize_file(Path("dem.tif"),
                                 std::filesystem::file_size(Path("dem.tif")) - bytesMissing);
    host_.map.Append(
        std::make_shared<IRasterLayer>(OpenRasterDataset(FolderOf(Path("dem.tif")), "dem.tif")));
  }
  /// Everything set; Yes to every question.
  void FillIn(bool large, const std::string& table = "out.dbf") {
    Open<frmZonalStats>();
    Set("cmbPolyL", host_.map.TopLayers().front()->Name());
    Set("cmbRL", host_.map.TopLayers().back()->Name());
    Tick("chkSR", true);
    Tick("chkMode", large);
    host_.dialogs.Top().Pick("btnOpen", Path(table));
    host_.messages.answers = {true};
    TakeSaid();
  }
  /// Sum and number of the cells of each zone.
  void ExpectSums(bool large, const Numbers& sums, const Numbers& counts) {
    FillIn(large);
    Press("btnOK");
    EXPECT_EQ(said().back().text, "Prcocessing complete.");
    const OgrDataset out = ReadOgr(Path("out.dbf"));
    EXPECT_EQ(out.Numbers("ZSTATS_SUM"), sums) << (large ? "by parts" : "in memory");
    EXPECT_EQ(out.Numbers("ZSTATS_CNT"), counts) << (large ? "by parts" : "in memory");
  }
  bool HasOutput() const { return files::FileExists(Path("out.dbf")); }
};

// ---- Rasters

TEST_F(ZonalInputsTest, ARotatedRasterCannotBeChosen) {
  GdalRaster rotated = Heights();
  rotated.transform = {100, 10, 1, 230, 1, -10};
  AddZones({kMiddle});
  WriteGdal(Path("turned.tif"), rotated);
  host_.map.Append(std::make_shared<IRasterLayer>("turned.tif", Path("turned.tif")));
  Open<frmZonalStats>();
  Set("cmbRL", "turned.tif");
  EXPECT_THAT(TextsOf(said()),
              ElementsAre("cmbRL_Click: \r91\rObject variable or With block variable not set"));
}

TEST_F(ZonalInputsTest, ARasterWithoutBandsIsReported) {
  struct NoBands : FakeRaster {
    NoBands() : FakeRaster("empty", orlinths::PixelType::kUInt8, 0) {}
    Envelope Extent() const override { return {100, 200, 140, 230}; }
  };
  AddZones({kMiddle});
  host_.map.Append(std::make_shared<IRasterLayer>(std::make_shared<NoBands>()));
  FillIn(false);
  Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("ZonalStats: \r9\rSubscript out of range"));
  EXPECT_FALSE(HasOutput());
}

TEST_F(ZonalInputsTest, ATruncatedRasterIsReported) {
  AddZones({kMiddle});
  AddRaster(Heights(), 20);
  FillIn(false);
  Press("btnOK");
  ASSERT_EQ(said().size(), 1u);
  EXPECT_THAT(said()[0].text, StartsWith("ZonalStats: \r-2147467259\r" + Path("dem.tif")));
  EXPECT_TRUE(IsOpen());
  EXPECT_FALSE(HasOutput());
  FillIn(true);
  Press("btnOK");
  ASSERT_EQ(said().size(), 2u);
  EXPECT_THAT(said()[0].text,
              StartsWith("ISectArrPolyLargeRaster: i:0\r-2147467259\r" + Path("dem.tif")));
  EXPECT_EQ(said()[1].text, "ZonalStats: \r9\rSubscript out of range");
}

TEST_F(ZonalInputsTest, NaNIsNoDataAsTheBandsValueAndBesideIt) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  AddZones({kMiddle});
  GdalRaster raster = Heights();
  raster.bands[0][1][2] = kNaN;
  for (const double noData : {kNaN, 10.0}) {
    raster.noData = noData;
    host_.map.Clear();
    AddFile("zones.shp");
    AddRaster(raster);
    for (const bool large : {false, true})
      ExpectSums(large, {noData == 10 ? 22.0 : 32.0}, {noData == 10 ? 4.0 : 5.0});
  }
}

TEST_F(ZonalInputsTest, ANoDataValueThatTheTypeCannotHoldLeavesEveryCellAValue) {
  AddZones({kMiddle});
  AddRaster({.type = GDT_Byte,
             .bands = {{{1, 2, 3, 4}, {5, 6, 0, 8}, {9, 10, 11, 12}}},
             .noData = -9999,
             .transform = {100, 10, 0, 230, 0, -10}});
  for (const bool large : {false, true}) ExpectSums(large, {32}, {6});
}

TEST_F(ZonalInputsTest, TheWidthOfCellsServesTheirHeightToo) {
  // Rows of 20 counted as rows of 10: of the places 255 and 245 the second lies in the first row,
  // and counts as the second.
  GdalRaster tall = Heights();
  tall.transform = {100, 10, 0, 260, 0, -20};
  AddZones({"POLYGON((111 241, 111 259, 129 259, 129 241, 111 241))"});
  AddRaster(tall);
  for (const bool large : {false, true}) ExpectSums(large, {2 + 3 + 6}, {3});
}

// ---- Zones

TEST_F(ZonalInputsTest, ZonesAcrossTheEdgesTakeWhatLiesOnTheRaster) {
  const std::string north = "POLYGON((111 221, 111 250, 129 250, 129 221, 111 221))",
                    west = "POLYGON((90 201, 90 229, 109 229, 109 201, 90 201))",
                    northWest = "POLYGON((90 221, 90 250, 119 250, 119 221, 90 221))",
                    east = "POLYGON((131 201, 131 229, 160 229, 160 201, 131 201))",
                    south = "POLYGON((111 190, 111 209, 129 209, 129 190, 111 190))",
                    southEast = "POLYGON((121 190, 121 209, 160 209, 160 190, 121 190))",
                    all = "POLYGON((50 150, 50 280, 200 280, 200 150, 50 150))";
  AddZones({north, west, northWest, east});
  AddRaster();
  for (const bool large : {false, true}) ExpectSums(large, {5, 15, 3, 24}, {2, 3, 2, 3});
  host_.map.Clear();
  AddZones({north, west, northWest, east, south, southEast, all});
  AddRaster();
  // In memory a zone past the last row ends the run.
  ExpectSums(true, {5, 15, 3, 24, 21, 23, 71}, {2, 3, 2, 3, 2, 2, 11});
}

TEST_F(ZonalInputsTest, PartsCountTogetherAndHolesDoNot) {
  AddZones(
      {"MULTIPOLYGON(((101 221, 101 229, 109 229, 109 221, 101 221)),"
       " ((131 201, 131 229, 139 229, 139 201, 131 201),"
       "  (132 211, 138 211, 138 219, 132 219, 132 211)))",
       "", "MULTIPOLYGON EMPTY"});
  AddRaster();
  for (const bool large : {false, true}) ExpectSums(large, {1 + 4 + 12}, {3});
}

TEST_F(ZonalInputsTest, AZoneOf200000VerticesIsTheCircleThatItIs) {
  const int side = 60, vertices = 200'000;
  std::string circle = "POLYGON((";
  for (int i = 0; i <= vertices; ++i) {
    const double turn = -2 * 3.14159265358979323846 * (i % vertices) / vertices;
    circle += (i == 0 ? "" : ", ") + ToText(30.3 + 20.2 * std::cos(turn)) + " " +
              ToText(30.4 + 20.2 * std::sin(turn));
  }
  AddZones({circle + "))"});
  AddRaster({.type = GDT_Int16,
             .bands = {Rows(side, std::vector<double>(side, 2))},
             .transform = {0, 1, 0, side, 0, -1}});
  double inside = 0;
  for (int row = 0; row < side; ++row)
    for (int column = 0; column < side; ++column)
      inside += std::hypot(column + 0.5 - 30.3, side - row - 0.5 - 30.4) < 20.2;
  for (const bool large : {false, true}) ExpectSums(large, {2 * inside}, {inside});
}

TEST_F(ZonalInputsTest, ALayerWithoutAFieldFidIsReported) {
  struct FromADatabase : FakeClass {
    explicit FromADatabase(FeatureClassPtr made)
        : FakeClass("zones", GeometryType::kPolygon), inner(std::move(made)) {
      for (const Field& field : inner->Fields()) {
        fields.AddField(field);
        if (field.name == "FID") fields.Remove(fields.FieldCount() - 1);
      }
    }
    CursorPtr Search(const QueryFilter& filter) const override { return inner->Search(filter); }
    Envelope Extent() const override { return inner->Extent(); }
    FeatureClassPtr inner;
  };
  AddZones({kMiddle});
  const auto database =
      std::make_shared<FromADatabase>(OpenFeatureClass(FolderOf(Path("zones.shp")), "zones"));
  host_.map.Clear();
  host_.map.Append(std::make_shared<IFeatureLayer>(database));
  AddRaster();
  FillIn(false);
  Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("ZonalStats: \r9\rSubscript out of range"));
  EXPECT_TRUE(IsOpen());
}

// ---- Where the table goes

TEST_F(ZonalInputsTest, AFolderThatCannotBeWrittenIsAnError) {
  AddZones({kMiddle});
  AddRaster();
  AsUnprivileged([&] {
    FillIn(false);
    Press("btnOK");
    ASSERT_EQ(said().size(), 2u);
    EXPECT_THAT(said()[0].text, StartsWith("createDBF\r70\rPermission denied"));
    EXPECT_EQ(said()[1],
              (Message{"Error: could not create output DBF file.", kExclamation, "Error"}));
    EXPECT_TRUE(IsOpen());
    EXPECT_FALSE(HasOutput());
  });
}

TEST_F(ZonalInputsTest, AFolderThatIsNotThereIsAnError) {
  AddZones({kMiddle});
  AddRaster();
  FillIn(false, "gone/out.dbf");
  Press("btnOK");
  EXPECT_THAT(
      said(),
      ElementsAre(Message{"Error: folder does not exist: " + Path("gone") + ". Cannot create DBF.",
                          kCritical, "Error"},
                  Message{"Error: could not create output DBF file.", kExclamation, "Error"}));
  EXPECT_TRUE(IsOpen());
}

}  // namespace
}  // namespace orlinths
