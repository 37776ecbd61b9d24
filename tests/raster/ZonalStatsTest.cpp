#include "raster/ZonalStats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "data/FieldsAndDatasets.h"
#include "raster/TextRaster.h"
#include "runtime/Files.h"
#include "support/AtYield.h"
#include "support/OgrDataset.h"
#include "support/TempFolder.h"
#include "support/TestHost.h"

namespace orlinths {
namespace {

using ::testing::Contains;
using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Numbers = std::vector<double>;

const Rows kCells = {{1, 2, 3, 4}, {5, 6, -9999, 8}, {9, 10, 11, 12}};

const char* const kMiddleColumns = "POLYGON((111 201, 111 229, 129 229, 129 201, 111 201))";
const char* const kOneCell = "POLYGON((111 221, 111 229, 119 229, 119 221, 111 221))";
const char* const kTwoCells = "POLYGON((111 221, 111 229, 129 229, 129 221, 111 221))";
const char* const kGap = "POLYGON((121 211, 121 219, 129 219, 129 211, 121 211))";
/// Their envelopes' centres lie in the cells of 3 and, in the last row, of 11.
const char* const kBetweenCentres = "POLYGON((121 221, 121 223, 123 223, 123 221, 121 221))";
const char* const kBetweenInLastRow = "POLYGON((121 201, 121 203, 123 203, 123 201, 121 201))";
const char* const kPastTheSouth = "POLYGON((111 180, 111 229, 129 229, 129 180, 111 180))";
const char* const kBeyond[] = {"POLYGON((200 201, 200 209, 210 209, 200 201))",
                               "POLYGON((50 201, 50 209, 60 209, 50 201))",
                               "POLYGON((111 300, 111 310, 119 310, 111 300))",
                               "POLYGON((111 100, 111 110, 119 110, 111 100))"};

/// Zones over cells of 10 by 10 from (100, 200) to (140, 230).
class ZonalStatsTest : public ::testing::Test {
 protected:
  std::shared_ptr<IFeatureLayer> AddZones(const std::vector<std::string>& shapes,
                                          const std::string& reference = {}) {
    OgrDataset zones{.type = "Polygon", .reference = reference, .columns = {{"N", "Integer", 4}}};
    for (const std::string& wkt : shapes) zones.records.push_back({wkt, {"1"}});
    WriteOgr(folder_ / "zones.shp", zones);
    return host_.AddLayer(folder_ / "zones.shp");
  }
  void AddRaster(const TextRaster& raster = {kCells}) {
    WriteTextRaster(folder_ / "dem.vrt", raster);
    AddRasterFile("dem.vrt");
  }
  void AddRasterFile(const std::string& name) {
    host_.map.Append(std::make_shared<IRasterLayer>(OpenTextRaster(folder_ / name)));
  }
  void AddEmptyRaster(const std::string& name, const std::string& columns,
                      const std::string& rows) {
    WriteBytes(folder_ / name, "<VRTDataset rasterXSize=\"" + columns + "\" rasterYSize=\"" + rows +
                                   "\"><GeoTransform>0,1,0,0,0,-1</GeoTransform>"
                                   "<VRTRasterBand dataType=\"Byte\" band=\"1\"/></VRTDataset>");
    AddRasterFile(name);
  }
  /// Everything set for a run that asks nothing about references.
  Hand Ready() {
    Hand hand = host_.Open<frmZonalStats>();
    hand.Choose("cmbPolyL", "zones").Choose("cmbRL", "dem.vrt").Check("chkSR");
    hand.Pick("btnOpen", folder_ / "out.dbf");
    return hand;
  }
  OgrDataset Output() const { return ReadOgr(folder_ / "out.dbf"); }
  Numbers Column(const std::string& name) const { return Output().Numbers(name); }

  TestHost host_;
  TempFolder folder_;
};

// ---- The dialog

TEST_F(ZonalStatsTest, DeclaresItsControlsInOrder) {
  AddZones({kOneCell});
  AddRaster();
  const Hand hand = host_.Open<frmZonalStats>();
  EXPECT_EQ(hand->caption, "Zonal Statistics ++");
  EXPECT_EQ(hand->HelpTag(), "ZONALSTATS");
  Texts shown;
  for (const auto& control : hand->Controls())
    shown.push_back(control->name + ": " + control->caption() + (control->enabled() ? "" : " off"));
  EXPECT_THAT(
      shown,
      ElementsAre(
          "cmbPolyL: Zonal polygon layer:", "chkUseSelected: Use selected features only off",
          "cmbRL: Raster layer:",
          "chkMode: Large Raster Mode (slower, but processes large dimension rasters)",
          "chkSR: Ignore all spatial reference (projection) differences", "txtNote: ",
          "chkOverlap: Include a record in the output table for polygons that do not overlap the "
          "raster at all (all fields coded as Nodata: -999)",
          "chkSmall: For very small polygons that do not contain the center of a raster cell, "
          "assign the value of the cell containing the polygon centroid (see Web Help).",
          "txtOutFile: Output table (dbf):", "btnOpen: ...", "PBar: ", "txtStatus: ", "btnOK: OK",
          "btnExit: Exit", "btnHelp: Web Help"));
}

TEST_F(ZonalStatsTest, SaysWhenThereAreNoPolygonsOrNoRasters) {
  const Hand first = host_.Open<frmZonalStats>();
  EXPECT_FALSE(first.IsEnabled("btnOK"));
  AddZones({kOneCell});
  const Hand second = host_.Open<frmZonalStats>();
  EXPECT_FALSE(second.IsEnabled("btnOK"));
  EXPECT_THAT(
      host_.messages.All(),
      ElementsAre(
          Message{"Error: no polygon layers in map. Nothing to work with.", kExclamation, "Error"},
          Message{"Error: no raster layers in map. Nothing to work with.", kExclamation, "Error"}));
}

TEST_F(ZonalStatsTest, OffersTheSelectionOnlyOfALayerThatHasOne) {
  const auto zones = AddZones({kOneCell, kTwoCells});
  AddRaster();
  Hand hand = host_.Open<frmZonalStats>();
  EXPECT_FALSE(hand.Choose("cmbPolyL", "zones").IsEnabled("chkUseSelected"));
  zones->AddToSelection(1);
  EXPECT_TRUE(hand.Choose("cmbPolyL", "zones").IsEnabled("chkUseSelected"));
}

TEST_F(ZonalStatsTest, ARasterOfMoreThan25MillionCellsIsLarge) {
  AddZones({kOneCell});
  AddEmptyRaster("most.vrt", "5000", "5000");
  AddEmptyRaster("more.vrt", "25000001", "1");
  Hand hand = host_.Open<frmZonalStats>();
  hand.Choose("cmbRL", "more.vrt");
  EXPECT_EQ(hand.Text("txtNote"), "LARGE RASTER DETECTED");
  EXPECT_TRUE(hand.IsChecked("chkMode"));
  hand.Choose("cmbRL", "most.vrt");
  EXPECT_EQ(hand.Text("txtNote"), "LARGE RASTER MODE OPTIONAL");
  EXPECT_FALSE(hand.IsChecked("chkMode"));
  EXPECT_TRUE(hand.IsEnabled("chkMode"));
}

TEST_F(ZonalStatsTest, ComparesTheReferencesAndAsksUnlessTheyAreTheSame) {
  AddZones({kOneCell}, "EPSG:32612");
  AddRaster();
  Hand hand = host_.Open<frmZonalStats>();
  hand.Choose("cmbPolyL", "zones").Choose("cmbRL", "dem.vrt");
  EXPECT_EQ(hand.Text("txtNote"),
            "LARGE RASTER MODE OPTIONAL\rSPATIAL REFERENCE IN ONE OR MORE LAYERS UNDEFINED");
  hand.Pick("btnOpen", folder_ / "out.dbf").Press("btnOK");
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_THAT(
      host_.messages.All(),
      ElementsAre(Message{
          "Warning: the spatial reference (projection) of the raster and polygon layer must be "
          "identical. This is either not true, or cannot be verified because the projection is "
          "undefined for one or both layers. Do you wish to proceed?",
          kYesNo, "Warning"}));
  host_.messages.Clear();
  host_.messages.answers = {true};
  hand.Press("btnOK");
  EXPECT_FALSE(hand.IsOpen());
  EXPECT_EQ(host_.Messages().back(), "Prcocessing complete.");
}

TEST_F(ZonalStatsTest, TellsSameReferencesFromDifferentOnes) {
  AddZones({kOneCell}, "EPSG:32612");
  const auto addWith = [&](const std::string& name, const std::string& epsg) {
    WriteBytes(folder_ / name, "<VRTDataset rasterXSize=\"4\" rasterYSize=\"3\"><SRS>" + epsg +
                                   "</SRS><GeoTransform>100,10,0,230,0,-10</GeoTransform>"
                                   "<VRTRasterBand dataType=\"Byte\" band=\"1\"/></VRTDataset>");
    AddRasterFile(name);
  };
  addWith("same.vrt", "EPSG:32612");
  addWith("other.vrt", "EPSG:32613");
  Hand hand = host_.Open<frmZonalStats>();
  hand.Choose("cmbRL", "other.vrt").Choose("cmbPolyL", "zones");
  EXPECT_EQ(hand.Text("txtNote"),
            "LARGE RASTER MODE OPTIONAL\rSPATIAL REFERENCES ARE NOT THE SAME");
  hand.Choose("cmbRL", "same.vrt");
  EXPECT_EQ(hand.Text("txtNote"), "LARGE RASTER MODE OPTIONAL\rSPATIAL REFERENCES ARE THE SAME");
  hand.Pick("btnOpen", folder_ / "out.dbf").Press("btnOK");
  EXPECT_THAT(host_.Messages(), ElementsAre("Prcocessing complete."));
}

TEST_F(ZonalStatsTest, ChecksItsInputsInOrder) {
  AddZones({kBeyond[0]});
  AddRaster();
  Hand hand = host_.Open<frmZonalStats>();
  hand.Press("btnOK").Choose("cmbPolyL", "zones").Press("btnOK");
  hand.Choose("cmbRL", "dem.vrt").Press("btnOK");
  hand.Pick("btnOpen", folder_ / "out.dbf").Check("chkSR").Press("btnOK");
  EXPECT_THAT(
      host_.messages.All(),
      ElementsAre(
          Message{"Error: no polygon layer defined.", kExclamation, "Error"},
          Message{"Error: no raster layer defined.", kExclamation, "Error"},
          Message{"Error: no output DBF defined.", kExclamation, "Error"},
          Message{
              "Error: the polygon and raster layer extents do not overlap. Cannot continue. Please "
              "check that the projections are identical (see Web Help for further details).",
              kExclamation, "Cannot process"}));
  EXPECT_TRUE(hand.IsOpen());
}

TEST_F(ZonalStatsTest, WarnsOfALayerThatReachesBeyondTheRasterOnAnySide) {
  for (const char* beyond : kBeyond) {
    SCOPED_TRACE(beyond);
    host_.map.Clear();
    host_.messages.Clear();
    AddZones({kOneCell, beyond});
    AddRaster();
    Hand hand = Ready();
    hand.Press("btnOK");
    EXPECT_THAT(
        host_.messages.All(),
        ElementsAre(Message{
            "Warning: the polygon layer extends beyond the limits of the raster layer.\r\r"
            "If you proceed, polygons that cross the boundary of the raster layer will have "
            "partial\rsummaries (i.e. for the portion of the polygon that overlaps the raster "
            "layer).\r\rWould you like to proceed?",
            kYesNo, "Warning"}));
    EXPECT_TRUE(hand.IsOpen());
    EXPECT_EQ(hand.Text("txtStatus"), "");
    hand.Press("btnExit");
  }
}

TEST_F(ZonalStatsTest, AnOutputThatWasTypedGoesNowhere) {
  AddZones({kOneCell});
  AddRaster();
  Hand hand = host_.Open<frmZonalStats>();
  hand.Choose("cmbPolyL", "zones").Choose("cmbRL", "dem.vrt").Check("chkSR");
  hand.Set("txtOutFile", folder_ / "typed.dbf").Press("btnOK");
  EXPECT_EQ(host_.messages.All().back(),
            (Message{"Error: could not create output DBF file.", kExclamation, "Error"}));
  EXPECT_TRUE(hand.IsOpen());
}

TEST_F(ZonalStatsTest, ASuccessfulRunTellsItsStatesAndCloses) {
  AddZones({kOneCell, kTwoCells});
  AddRaster();
  Hand hand = Ready();
  hand.Press("btnOK");
  EXPECT_THAT(host_.messages.All(),
              ElementsAre(Message{"Prcocessing complete.", kInformation, "Status"}));
  EXPECT_THAT(host_.dialogs.statuses, ElementsAre("Initializing...", "Processing...", ""));
  EXPECT_EQ(host_.dialogs.progress.back(), 2);
  EXPECT_EQ(host_.messages.yields, 2);
  EXPECT_FALSE(hand.IsOpen());
}

// ---- The table

TEST_F(ZonalStatsTest, WritesARecordForEachZone) {
  AddZones({kMiddleColumns, kOneCell, kTwoCells, kGap, kBetweenCentres});
  for (const bool large : {false, true}) {
    AddRaster();
    Ready().Check("chkMode", large).Press("btnOK");
    const OgrDataset out = Output();
    EXPECT_THAT(out.ColumnNames(),
                ElementsAre("ID", "PolyFID", "ZSTATS_MIN", "ZSTATS_MAX", "ZSTATS_AVG", "ZSTATS_STD",
                            "ZSTATS_SUM", "ZSTATS_CNT"));
    EXPECT_EQ(out.Numbers("ID"), (Numbers{1, 2, 3, 4, 5}));
    EXPECT_EQ(out.Numbers("PolyFID"), (Numbers{0, 1, 2, 3, 4}));
    EXPECT_EQ(out.Numbers("ZSTATS_MIN"), (Numbers{2, 2, 2, -999, -999}));
    EXPECT_EQ(out.Numbers("ZSTATS_MAX"), (Numbers{11, 2, 3, -999, -999}));
    EXPECT_EQ(out.Numbers("ZSTATS_AVG"), (Numbers{6.4, 2, 2.5, -999, -999}));
    // (19.36 + 11.56 + 0.16 + 12.96 + 21.16) / 4, and (0.25 + 0.25) / 1
    EXPECT_THAT(out.Numbers("ZSTATS_STD"),
                ElementsAre(DoubleNear(std::sqrt(16.3), 1e-14), 0, std::sqrt(0.5), -999, -999));
    EXPECT_EQ(out.Numbers("ZSTATS_SUM"), (Numbers{32, 2, 5, -999, -999}));
    EXPECT_EQ(out.Numbers("ZSTATS_CNT"), (Numbers{5, 1, 2, -999, -999}));
    host_.map.Clear();
    host_.AddLayer(folder_ / "zones.shp");
  }
}

TEST_F(ZonalStatsTest, ASmallZoneTakesTheCellUnderTheCentreOfItsEnvelope) {
  AddZones({kBetweenCentres, kBetweenInLastRow, kGap});
  for (const char* type : {"Int32", "Float32"}) {
    host_.map.Clear();
    host_.AddLayer(folder_ / "zones.shp");
    AddRaster({.rows = kCells, .type = type});
    Ready().Check("chkSmall").Press("btnOK");
    // The last row counts as outside there; -999 is written as it stands, with a count of 1.
    for (const char* field : {"ZSTATS_MIN", "ZSTATS_MAX", "ZSTATS_AVG", "ZSTATS_SUM"})
      EXPECT_EQ(Column(field), (Numbers{3, -999, -999})) << field;
    EXPECT_EQ(Column("ZSTATS_STD"), (Numbers{0, 0, 0}));
    EXPECT_EQ(Column("ZSTATS_CNT"), (Numbers{1, 1, 1}));
  }
}

TEST_F(ZonalStatsTest, ZonesBeyondTheRasterGetARecordOnlyWhenAsked) {
  AddZones({kBeyond[0], kBeyond[1], kOneCell, kBeyond[2], kBeyond[3], "", kOneCell});
  AddRaster();
  host_.messages.answers = {true, true};
  Ready().Press("btnOK");
  EXPECT_EQ(Column("ID"), (Numbers{3, 7}));
  EXPECT_EQ(Column("PolyFID"), (Numbers{2, 6}));
  Ready().Check("chkOverlap").Press("btnOK");
  EXPECT_EQ(Column("ID"), (Numbers{1, 2, 3, 4, 5, 6, 7}));
  for (const char* field :
       {"ZSTATS_MIN", "ZSTATS_MAX", "ZSTATS_AVG", "ZSTATS_STD", "ZSTATS_SUM", "ZSTATS_CNT"})
    EXPECT_EQ(Column(field)[0], -999) << field;
  EXPECT_EQ(Column("ZSTATS_CNT"), (Numbers{-999, -999, 1, -999, -999, -999, 1}));
}

TEST_F(ZonalStatsTest, AZoneThatIsNotValidIsRepairedFirst) {
  // A bow tie over the cells of 2 and 3, and the cell of 2 with a spike far to the east, which
  // would change the state of the row's scan for good.
  AddZones({"POLYGON((111 221, 129 228, 129 221, 111 228, 111 221))",
            "POLYGON((111 221, 111 229, 119 229, 119 222, 138 228, 119 222, 119 221, 111 221))"});
  AddRaster();
  Ready().Press("btnOK");
  EXPECT_EQ(Column("ZSTATS_SUM"), (Numbers{5, 2}));
  EXPECT_EQ(Column("ZSTATS_CNT"), (Numbers{2, 1}));
}

TEST_F(ZonalStatsTest, OnlyTheSelectionIsReadWhenTicked) {
  const auto zones = AddZones({kMiddleColumns, kOneCell, kTwoCells});
  zones->AddToSelection(2);
  zones->AddToSelection(1);
  AddRaster();
  Ready().Check("chkUseSelected").Press("btnOK");
  EXPECT_EQ(Column("ID"), (Numbers{1, 2}));
  EXPECT_EQ(Column("PolyFID"), (Numbers{1, 2}));
  EXPECT_EQ(host_.dialogs.progress.back(), 2);
}

TEST_F(ZonalStatsTest, TheDefinitionQueryStaysInForce) {
  AddZones({kMiddleColumns, kOneCell, kTwoCells})->SetDefinitionQuery("FID > 0");
  AddRaster();
  Ready().Press("btnOK");
  EXPECT_EQ(Column("PolyFID"), (Numbers{1, 2}));
}

TEST_F(ZonalStatsTest, AConstantRasterHasNoDeviation) {
  AddZones({kMiddleColumns});
  AddRaster({.rows = Rows(3, std::vector<double>(4, 0.5)), .noData = {}, .type = "Float32"});
  Ready().Press("btnOK");
  EXPECT_EQ(Column("ZSTATS_AVG"), Numbers{0.5});
  EXPECT_EQ(Column("ZSTATS_STD"), Numbers{0});
  EXPECT_EQ(Column("ZSTATS_CNT"), Numbers{6});
}

// ---- Failures

TEST_F(ZonalStatsTest, AZonePastTheLastRowFailsInMemoryAndNotByParts) {
  AddZones({kOneCell, kPastTheSouth, kTwoCells});
  AddRaster();
  host_.messages.answers = {true, true};
  Hand hand = Ready();
  hand.Press("btnOK");
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_EQ(hand.Text("txtStatus"), "");
  const Texts said = host_.Messages();
  ASSERT_EQ(said.size(), 3U);
  EXPECT_EQ(said[1], "ISectArrPolyRaster: i:3\r9\rSubscript out of range");
  EXPECT_EQ(said[2], "ZonalStats: \r9\rSubscript out of range");
  EXPECT_EQ(Column("ID"), Numbers{1});  // what was written stays
  hand.Pick("btnOpen", folder_ / "out.dbf").Check("chkMode").Press("btnOK");
  EXPECT_EQ(Column("ID"), (Numbers{1, 2, 3}));
  EXPECT_EQ(Column("ZSTATS_CNT"), (Numbers{1, 5, 2}));
}

TEST_F(ZonalStatsTest, AGeoPackagesZonesGoByItsFeatureIds) {
  WriteOgr(folder_ / "zones.gpkg", {.type = "Polygon",
                                    .columns = {{"N", "Integer", 4}},
                                    .records = {{kOneCell, {"1"}}, {kTwoCells, {"2"}}}});
  host_.AddLayer(folder_ / "zones.gpkg");
  AddRaster();
  Ready().Press("btnOK");
  EXPECT_EQ(Column("PolyFID"), (Numbers{1, 2}));
  EXPECT_EQ(Column("ZSTATS_CNT"), (Numbers{1, 2}));
}

TEST_F(ZonalStatsTest, RecordsAreFlushedEveryThousand) {
  const auto zones = AddZones(std::vector<std::string>(1002, kOneCell));
  AddRaster();
  std::optional<Fields> fields;
  const TablePtr table = createDBF("out.dbf", folder_.Path(), false, fields);
  const RasterDatasetPtr raster = OpenTextRaster(folder_ / "dem.vrt");
  ZoneCells cells(raster->Band(0), false);
  std::int64_t announced = 0;
  std::size_t readable = 0;
  WriteZonalStats(
      *zones, cells, {}, *table, [&](std::int64_t count) { announced = count; },
      [&](std::int64_t done) {
        if (done == 1001) readable = Output().records.size();
      });
  EXPECT_EQ(announced, 1002);
  EXPECT_EQ(readable, 1000U);
  EXPECT_EQ(Output().records.size(), 1002U);
}

TEST_F(ZonalStatsTest, TheBandIsReadOnceInMemoryAndOnceAZoneByParts) {
  const auto zones = AddZones({kMiddleColumns, kOneCell, kTwoCells});
  AddRaster();
  const RasterDatasetPtr raster = OpenTextRaster(folder_ / "dem.vrt");
  for (const bool large : {false, true}) {
    CountingBand band(raster->Band(0));
    std::optional<Fields> fields;
    const TablePtr table =
        createDBF(large ? "large.dbf" : "small.dbf", folder_.Path(), false, fields);
    ZoneCells cells(band, large);
    WriteZonalStats(
        *zones, cells, {}, *table, [](std::int64_t) {}, [](std::int64_t) {});
    EXPECT_EQ(band.reads, large ? 3 : 1);
  }
}

// ---- What the user does meanwhile

TEST_F(ZonalStatsTest, KeepsToWhatItBeganWithWhateverHappensToTheMap) {
  for (const bool large : {false, true}) {
    AddZones({kOneCell, kTwoCells});
    AddRaster();
    WriteTextRaster(folder_ / "other.vrt", {Rows{{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}});
    AddRasterFile("other.vrt");
    WriteOgr(folder_ / "single.shp",
             {.type = "Polygon", .columns = {{"N", "Integer", 4}}, .records = {{kGap, {"1"}}}});
    host_.AddLayer(folder_ / "single.shp");
    Hand hand = Ready();
    hand.Check("chkMode", large);
    bool isChanged = false;
    {
      const AtYield change(1, [&] {
        hand.Choose("cmbPolyL", "single").Choose("cmbRL", "other.vrt");
        hand.Pick("btnOpen", folder_ / "elsewhere.dbf");
        host_.map.Clear();
        isChanged = true;
      });
      hand.Press("btnOK");
    }
    EXPECT_TRUE(isChanged);
    EXPECT_THAT(Column("ZSTATS_SUM"), ElementsAre(2, 5));
    EXPECT_FALSE(files::FileExists(folder_ / "elsewhere.dbf"));
    for (const char* end : {"out.dbf", "out.cpg"}) files::DeleteFile(folder_ / end);
  }
}

}  // namespace
}  // namespace orlinths
