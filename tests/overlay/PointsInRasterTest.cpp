#include "overlay/PointsInRaster.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>

#include "data/ItemList.h"
#include "data/FakeData.h"
#include "data/FieldsAndDatasets.h"
#include "overlay/IntersectTest.h"
#include "runtime/Files.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

constexpr const char* kMissingReference =
    "WARNING: unable to evaluate spatial references because one or both layers do not have the "
    "spatial reference defined. Would you like to ignore the projections and proceed with "
    "processing anyway?";
constexpr const char* kOtherReference =
    "WARNING: different spatial references (projections) detected. This tool does not perform "
    "on-the-fly reprojection, so it is important that you ensure the projections of the raster and "
    "point data match. In some cases the difference in projections is trivial (e.g. UTM WGS84 vs "
    "UTM NAD83) and you can legitimately ignore the projection difference. Would you like to "
    "ignore the projection difference and proceed with processing?";
constexpr const char* kNameQuestion =
    "A valid field name could not be automatically generated, or the field already exists. Please "
    "supply a name for the field to hold the attributes for layer: ";

class PointsInRasterTest : public IntersectTest {
 protected:
  PointsInRasterTest() { InitMapGlobals(); }

  bool Intersect(const std::shared_ptr<IFeatureLayer>& points,
                 const std::shared_ptr<IRasterLayer>& raster, const RasterIntersection& how = {}) {
    IntersectReport report;
    const bool result = ISectPntRaster(points->FeatureClass(), *raster, how, report);
    reportText_ = report.Text();
    CommitAllEdits();
    return result;
  }
  /// The field of the raster `r` under each point, as GDAL reads it from a GeoPackage (which tells
  /// null from 0), in both modes.
  Texts Under(const GdalRaster& raster, const OgrDataset& points,
              const std::string& ending = ".gpkg") {
    Texts found[2];
    for (const bool low : {false, true}) {
      const std::string name = "run" + ToText(++runs_);
      const auto fixes = AddLayer(name + ending, points);
      const auto layer = AddRaster(name + ".tif", raster);
      layer->SetName("r");
      EXPECT_TRUE(Intersect(fixes, layer, {.ignoreProjections = true, .lowMemory = low}));
      found[low] = ReadOgr(Path(name + ending)).Texts("r");
    }
    EXPECT_EQ(found[0], found[1]);
    return found[0];
  }

  std::string reportText_;
  int runs_ = 0;
};

// ---- Cells

TEST_F(PointsInRasterTest, NorthAndWestEdgesAreInsideSouthAndEastEdgesOutside) {
  const OgrDataset points =
      PointsAt({"POINT(100 200)",          // the north-western corner
                "POINT(100 185)",          // the west edge
                "POINT(115 200)",          // the north edge
                "POINT(110 190)",          // where four cells meet: the south-eastern one
                "POINT(129.999 180.001)",  // just inside
                "POINT(130 195)",          // the east edge
                "POINT(115 180)",          // the south edge
                "POINT(100 180)", "POINT(130 200)", "POINT(130 180)", "POINT(99.999 195)",
                "POINT(105 200.001)", "POINT(1e300 195)", "POINT(105 -1e300)"});
  EXPECT_THAT(Under(Small(), points), ElementsAre("1", "4", "2", "5", "6", "-7", "-7", "-7", "-7",
                                                  "-7", "-7", "-7", "-7", "-7"));
  EXPECT_THAT(said(), ElementsAre(Message{"WARNING: 9 points were detected that fell outside the "
                                          "bounds of r\rCare should be taken when using the data "
                                          "attached to the point layer.",
                                          kExclamation, "Warning"},
                                  said()[0]));
}

TEST_F(PointsInRasterTest, OneCellIsARasterToo) {
  const GdalRaster one{.type = GDT_Float64, .bands = {{{2.5}}}, .noData = -1};
  EXPECT_THAT(Under(one, PointsAt({"POINT(105 195)", "POINT(105 205)"})), ElementsAre("2.5", "-1"));
}

TEST_F(PointsInRasterTest, TheWidthOfCellsServesTheirHeightToo) {
  GdalRaster tall = Small();
  tall.transform = {100, 10, 0, 200, 0, -20};
  // 15 below the top edge is still in the first row of 20, and counts as the second of 10; 35 below
  // is in the second row, and counts as outside.
  EXPECT_THAT(Under(tall, PointsAt({"POINT(105 195)", "POINT(105 185)", "POINT(105 165)"})),
              ElementsAre("1", "4", "-7"));
}

TEST_F(PointsInRasterTest, ANoDataCellGivesTheNoDataValueAndIsNotOutside) {
  GdalRaster raster = Small();
  raster.noData = 6;
  EXPECT_THAT(Under(raster, PointsAt({"POINT(125 185)"})), ElementsAre("6"));
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_THAT(reportText_, HasSubstr("\r0 points detected that fell outside the bounds of r"));
}

TEST_F(PointsInRasterTest, WithoutNoDataValueAPointOutsideLeavesTheFieldAsItWas) {
  GdalRaster raster = Small();
  raster.noData.reset();
  EXPECT_THAT(Under(raster, PointsAt({"POINT(105 195)", "POINT(0 0)"})), ElementsAre("1", ""));
  EXPECT_THAT(reportText_, HasSubstr("\r1 points detected that fell outside the bounds of r"));
}

TEST_F(PointsInRasterTest, AnEmptyShapeWritesNothingAndIsNotOutside) {
  EXPECT_THAT(Under(Small(), PointsAt({"POINT(105 195)", ""})), ElementsAre("1", ""));
  EXPECT_THAT(reportText_, HasSubstr("\r2 points processed"
                                     "\r0 points detected that fell outside the bounds of r"));
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(PointsInRasterTest, NaNCellsCountAsNoData) {
  GdalRaster raster{.type = GDT_Float32, .bands = {{{1.5, kNaN}}}, .noData = -9999};
  const OgrDataset points = PointsAt({"POINT(105 195)", "POINT(115 195)", "POINT(0 0)"});
  EXPECT_THAT(Under(raster, points), ElementsAre("1.5", "-9999", "-9999"));
  raster.noData = kNaN;
  EXPECT_THAT(Under(raster, points), ElementsAre("1.5", "", ""));
  raster.noData.reset();
  EXPECT_THAT(Under(raster, points), ElementsAre("1.5", "", ""));
}

TEST_F(PointsInRasterTest, MaskedCellsCountAsNoData) {
  GdalRaster raster{.bands = {{{1, 2}}}, .finish = [](GDALDataset& dataset) {
                      CPLSetThreadLocalConfigOption("GDAL_TIFF_INTERNAL_MASK", "YES");
                      dataset.CreateMaskBand(GMF_PER_DATASET);
                      std::uint8_t mask[2] = {255, 0};
                      ASSERT_EQ(dataset.GetRasterBand(1)->GetMaskBand()->RasterIO(
                                    GF_Write, 0, 0, 2, 1, mask, 2, 1, GDT_Byte, 0, 0),
                                CE_None);
                    }};
  EXPECT_THAT(Under(raster, PointsAt({"POINT(105 195)", "POINT(115 195)"})), ElementsAre("1", ""));
}

TEST_F(PointsInRasterTest, SinglesAreWidenedAndNotRounded) {
  const GdalRaster raster{.type = GDT_Float32, .bands = {{{0.1}}}, .noData = -1};
  const Texts found = Under(raster, PointsAt({"POINT(105 195)"}));
  EXPECT_EQ(ToDouble(found[0]), static_cast<double>(0.1f));
}

TEST_F(PointsInRasterTest, IntegerBandsMakeIntegerFieldsAndFloatingOnesDoubles) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  GdalRaster floating = Small();
  floating.type = GDT_Float32;
  EXPECT_TRUE(Intersect(fixes, AddRaster("whole.tif", Small())));
  EXPECT_TRUE(Intersect(fixes, AddRaster("parts.tif", floating)));
  const Fields& fields = fixes->FeatureClass().Fields();
  EXPECT_EQ(fields[fields.FindField("whole")].type, FieldType::kInteger);
  EXPECT_EQ(fields[fields.FindField("parts")].type, FieldType::kDouble);
}

TEST_F(PointsInRasterTest, ANumberBeyond32BitsIsAnOverflow) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)", "POINT(115 195)"}));
  const auto raster =
      AddRaster("r.tif", {.type = GDT_UInt32, .bands = {{{7, 4294967295.0}}}, .epsg = 32612});
  EXPECT_FALSE(Intersect(fixes, raster));
  EXPECT_THAT(said(), ElementsAre(Message{"ISectPntRaster: \r6\rOverflow", kCritical, "Error"}));
  EXPECT_THAT(Table("fixes").Numbers("r"), ElementsAre(7, 0));  // as far as it went
}

TEST_F(PointsInRasterTest, TheModesAgreeWithGdalOnAnyRaster) {
  Seeded random("PointsInRasterTest.TheModesAgreeWithGdalOnAnyRaster");
  const GDALDataType types[] = {GDT_Byte,  GDT_UInt16,  GDT_Int16,  GDT_UInt32,
                                GDT_Int32, GDT_Float32, GDT_Float64};
  for (int i = 0; i < 40; ++i) {
    // Around the lengths of what low-memory mode reads at once.
    const auto columns =
        static_cast<std::size_t>(random.Chance(0.5) ? random.Whole(1, 5) : random.Whole(120, 300));
    const auto rows =
        static_cast<std::size_t>(random.Chance(0.5) ? random.Whole(1, 5) : random.Whole(60, 140));
    GdalRaster raster{
        .type = types[random.Whole(0, 6)],
        .bands = {Rows(rows, std::vector<double>(columns))},
        .noData = 3,
        .transform = {random.Real(-1e5, 1e5), 2.5, 0, random.Real(-1e5, 1e5), 0, -2.5}};
    for (auto& row : raster.bands[0])
      for (double& cell : row) cell = static_cast<double>(random.Whole(0, 100));
    std::vector<Coord> places;
    std::vector<std::string> expected;
    const double x = raster.transform[0], y = raster.transform[3];
    for (int point = 0; point < 200; ++point) {
      const double across = random.Real(-1, static_cast<double>(columns) + 1);
      const double down = random.Real(-1, static_cast<double>(rows) + 1);
      places.push_back({x + across * 2.5, y - down * 2.5});
      const bool isInside = across >= 0 && down >= 0 && across < static_cast<double>(columns) &&
                            down < static_cast<double>(rows);
      const double cell =
          isInside
              ? raster.bands[0][static_cast<std::size_t>(down)][static_cast<std::size_t>(across)]
              : 3;
      expected.push_back(ToText(cell));
    }
    ASSERT_THAT(Under(raster, PointsOn(places), ".shp"), ElementsAreArray(expected));
    host_.messages.Clear();
  }
}

// ---- Names

TEST_F(PointsInRasterTest, TheFieldBearsSevenCharactersOfTheCleanedName) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  const auto raster = AddRaster("dem.tif", Small());
  raster->SetName("El.e");
  EXPECT_TRUE(Intersect(fixes, raster));
  raster->SetName("Elevation_model.tif");
  EXPECT_TRUE(Intersect(fixes, raster));
  raster->SetName("wood & water");
  EXPECT_TRUE(Intersect(fixes, raster));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "El", "Elevati", "woodwat"));
}

TEST_F(PointsInRasterTest, AGivenNameStandsInPlaceOfTheLayers) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  EXPECT_TRUE(Intersect(fixes, AddRaster("dem.tif", Small()), {.fieldName = "my height"}));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "my height"));
  EXPECT_THAT(reportText_, HasSubstr("\rAdded field my height"));
}

TEST_F(PointsInRasterTest, ATakenNameIsAskedForUntilNothingClashes) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  const auto raster = AddRaster("name.tif", Small());  // NAME is there
  host_.dialogs.WhenOpened("frmGetString", [](Hand hand) {
    EXPECT_EQ(hand.Text("lblExplanation"), std::string(kNameQuestion) + "name.tif.");
    hand.Set("txtUserStr", "Name").Press("btnOK");
  });
  AnswerName("");       // left without an answer
  AnswerName(".name");  // nothing before the point
  AnswerName("na$me");  // cleaned: name
  AnswerName("height");
  EXPECT_TRUE(Intersect(fixes, raster));
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "height"));
}

TEST_F(PointsInRasterTest, ALayerWhoseNameCleansToNothingIsAskedAbout) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  const auto raster = AddRaster("r.tif", Small());
  raster->SetName("(&)");
  AnswerName("height");
  EXPECT_TRUE(Intersect(fixes, raster));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "height"));
}

TEST_F(PointsInRasterTest, TheCleanedTextIsTestedAndTheTypedTextUsed) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  const auto raster = AddRaster("name.tif", Small());
  AnswerName("my name.tif");
  EXPECT_TRUE(Intersect(fixes, raster));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "my name"));
  // "myname" is free, "my name" is not: the table refuses it.
  AnswerName("my name");
  EXPECT_FALSE(Intersect(fixes, raster));
  ASSERT_EQ(said().size(), 1u);
  EXPECT_THAT(said()[0].text, ::testing::StartsWith("ISectPntRaster: \r-2147467259\r"));
  EXPECT_THAT(said()[0].text, HasSubstr("my name"));
}

TEST_F(PointsInRasterTest, AllNamesOfSeveralBandsMustBeFree) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  fixes->FeatureClass().AddField(MakeField("two_b2", FieldType::kInteger, 16, false, true));
  fixes->FeatureClass().AddField(MakeField("three", FieldType::kInteger, 16, false, true));
  const auto raster = AddRaster("two.tif", {.bands = {{{1}}, {{2}}}, .noData = 0, .epsg = 32612});
  AnswerName("two");
  AnswerName("three");  // a field of that very name is no matter
  EXPECT_TRUE(Intersect(fixes, raster));
  EXPECT_THAT(Table("fixes").ColumnNames(),
              ElementsAre("NAME", "two_b2", "three", "three_b1", "three_b2"));
  EXPECT_THAT(Table("fixes").Numbers("three_b1"), ElementsAre(1));
  EXPECT_THAT(Table("fixes").Numbers("three_b2"), ElementsAre(2));
}

// ---- Bands and counts

TEST_F(PointsInRasterTest, EveryBandHasItsFieldAndItsCounts) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)", "POINT(0 0)"}));
  const auto raster =
      AddRaster("Elevation.tif", {.bands = {{{1}}, {{2}}, {{3}}}, .noData = 9, .epsg = 32612});
  EXPECT_TRUE(Intersect(fixes, raster));
  const OgrDataset table = Table("fixes");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "Elevati_b1", "Elevati_b2", "Elevati_b3"));
  EXPECT_THAT(table.Numbers("Elevati_b1"), ElementsAre(1, 9));
  EXPECT_THAT(table.Numbers("Elevati_b3"), ElementsAre(3, 9));
  const std::string counts =
      "\r2 points processed"
      "\r1 points detected that fell outside the bounds of Elevation.tif"
      "\rProcessing of band completed successfully";
  EXPECT_EQ(reportText_,
            "Intersect Point Tool\r\rRaster intersect layer: Elevation.tif\r3 band(s) detected"
            "\rBAND 1\rAdded field Elevati_b1" +
                counts + "\rBAND 2\rAdded field Elevati_b2" + counts +
                "\rBAND 3\rAdded field Elevati_b3" + counts);
  ASSERT_EQ(said().size(), 1u);  // the last band's count, once
  EXPECT_THAT(said()[0].text, ::testing::StartsWith("WARNING: 1 points"));
  EXPECT_THAT(LastProgressOf("Processing points (Elevation.tif)..."), ElementsAre(2, 2));
}

/// A status bar that keeps what it is told.
class WatchedApplication : public IApplication, private IStatusBar, private IStepProgressor {
 public:
  IMxDocument* Document() override { return nullptr; }
  IStatusBar& StatusBar() override { return *this; }
  std::string CurrentTool() const override { return {}; }
  void SetCurrentTool(const std::string&) override {}
  void* FindExtension(const std::string&) override { return nullptr; }
  Texts told;

 private:
  IStepProgressor& ProgressBar() override { return *this; }
  void SetMessage(const std::string& message) override { told.push_back(message); }
  void SetMinRange(std::int64_t min) override { told.push_back("from " + ToText(min)); }
  void SetMaxRange(std::int64_t max) override { told.push_back("to " + ToText(max)); }
  void SetPosition(std::int64_t position) override { told.push_back(ToText(position)); }
  void Show() override {}
  void Hide() override { told.push_back("hidden"); }
};

TEST_F(PointsInRasterTest, ProgressGoesFromOneToTheCountForEachBand) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)", ""}));
  const auto raster = AddRaster("two.tif", {.bands = {{{1}}, {{2}}}, .noData = 0, .epsg = 32612});
  WatchedApplication application;
  gApp = &application;
  EXPECT_TRUE(Intersect(fixes, raster));
  gApp = &host_.application;
  EXPECT_THAT(application.told, ElementsAre("from 1", "to 2", "Processing points (two.tif)...", "1",
                                            "2", "1", "2", "hidden"));
}

constexpr const char* kAllOutside =
    "\rWARNING! POSSIBLE COORDINATE SYSTEM ERROR DETECTED."
    "\rIt is possible that not all of your data is in the same coordinate system. This tool does "
    "not currently support on-the-fly projection. It is recommended that you check the projection "
    "definitions of your layers, and discard any results from this tool based on layers with "
    "different projections.";

TEST_F(PointsInRasterTest, AllPointsOutsideIsASignOfAnotherCoordinateSystem) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(0 0)", "POINT(1 1)"}));
  EXPECT_TRUE(Intersect(fixes, AddRaster("dem.tif", Small()), {.suppressWarnings = true}));
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_THAT(reportText_,
              ::testing::EndsWith(std::string("\rProcessing of band completed successfully") +
                                  kAllOutside));
}

TEST_F(PointsInRasterTest, AnEmptyShapeKeepsTheSignAway) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(0 0)", ""}));
  EXPECT_TRUE(Intersect(fixes, AddRaster("dem.tif", Small()), {.suppressWarnings = true}));
  EXPECT_THAT(reportText_, Not(HasSubstr("POSSIBLE")));
}

TEST_F(PointsInRasterTest, ATableWithoutPointsHasAllOfThemOutside) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({}));
  EXPECT_TRUE(Intersect(fixes, AddRaster("dem.tif", Small())));
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_THAT(reportText_, ::testing::EndsWith(kAllOutside));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "dem"));
}

TEST_F(PointsInRasterTest, ASelectionAndADefinitionQueryDoNotCount) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)", "POINT(115 195)"}));
  fixes->SetDefinitionQuery("NAME = 'p0'");
  fixes->AddToSelection(0);
  EXPECT_TRUE(Intersect(fixes, AddRaster("dem.tif", Small())));
  EXPECT_THAT(Table("fixes").Numbers("dem"), ElementsAre(1, 2));
}

// ---- References

TEST_F(PointsInRasterTest, EqualReferencesAreNoQuestion) {
  EXPECT_TRUE(Intersect(AddLayer("fixes.shp", PointsAt({"POINT(105 195)"})),
                        AddRaster("dem.tif", Small())));
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(PointsInRasterTest, AMissingReferenceIsAQuestion) {
  GdalRaster nowhere = Small();
  nowhere.epsg = 0;
  const auto here = AddLayer("here.shp", PointsAt({"POINT(105 195)"}));
  const auto there = AddLayer("there.shp", PointsAt({"POINT(105 195)"}, ""));
  const auto a = AddRaster("a.tif", Small()), b = AddRaster("b.tif", nowhere);
  host_.messages.answers = {false, true, true};
  EXPECT_FALSE(Intersect(there, a));
  EXPECT_TRUE(Intersect(here, b));
  EXPECT_TRUE(Intersect(there, b));
  const Message question{kMissingReference, kYesNo, "Warning"};
  EXPECT_THAT(said(), ElementsAre(question, question, question));
  EXPECT_THAT(Table("there").ColumnNames(), ElementsAre("NAME", "b"));
  EXPECT_THAT(Table("here").ColumnNames(), ElementsAre("NAME", "b"));
}

TEST_F(PointsInRasterTest, AnotherReferenceIsAQuestion) {
  GdalRaster other = Small();
  other.epsg = 32613;
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  const auto raster = AddRaster("other.tif", other);
  host_.messages.answers = {false, true};
  EXPECT_FALSE(Intersect(fixes, raster));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME"));
  EXPECT_EQ(reportText_, "Intersect Point Tool");
  EXPECT_TRUE(Intersect(fixes, raster));
  const Message question{kOtherReference, kYesNo, "Warning"};
  EXPECT_THAT(said(), ElementsAre(question, question));
  EXPECT_THAT(Table("fixes").Numbers("other"), ElementsAre(1));
}

// ---- Bad input

TEST_F(PointsInRasterTest, ARotatedRasterIsAnInvalidLayer) {
  GdalRaster rotated = Small();
  rotated.transform = {100, 10, 1, 200, 1, -10};
  WriteGdal(Path("rotated.tif"), rotated);
  EXPECT_THROW(OpenRasterDataset(FolderOf(Path("rotated.tif")), "rotated.tif"), RuntimeError);
  const auto layer = std::make_shared<IRasterLayer>("rotated.tif", Path("rotated.tif"));
  EXPECT_FALSE(Intersect(AddLayer("fixes.shp", PointsAt({"POINT(105 195)"})), layer));
  EXPECT_THAT(TextsOf(said()), ElementsAre("ISectPntRaster: \r91\rObject variable or With block "
                                           "variable not set"));
}

TEST_F(PointsInRasterTest, ATruncatedRasterKeepsItsFieldAndIsReported) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  WriteGdal(Path("cut.tif"), Small());
  std::filesystem::resize_file(Path("cut.tif"), std::filesystem::file_size(Path("cut.tif")) - 6);
  const auto layer =
      std::make_shared<IRasterLayer>(OpenRasterDataset(FolderOf(Path("cut.tif")), "cut.tif"));
  for (const bool low : {false, true}) {
    layer->SetName(low ? "low" : "whole");
    EXPECT_FALSE(Intersect(fixes, layer, {.ignoreProjections = true, .lowMemory = low}));
    const auto all = TakeSaid();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_THAT(all[0].text, StartsWith("ISectPntRaster: \r-2147467259\r" + Path("cut.tif")));
  }
  EXPECT_THAT(Table("fixes").Texts("whole"), ElementsAre("0"));
  EXPECT_THAT(Table("fixes").Texts("low"), ElementsAre("0"));
}

TEST_F(PointsInRasterTest, ANoDataValueThatTheTypeCannotHoldIsWhatLiesOutside) {
  GdalRaster raster = Small();
  raster.type = GDT_Byte;
  raster.noData = -9999;
  EXPECT_THAT(Under(raster, PointsAt({"POINT(105 195)", "POINT(0 0)"})), ElementsAre("1", "-9999"));
}

/// A raster that says how many bands it has, each time anew.
struct CountingRaster : FakeRaster {
  explicit CountingRaster(std::vector<int> counts)
      : FakeRaster("made_up", PixelType::kUInt8, 0), counts(std::move(counts)) {}
  int BandCount() const override { return counts[std::min(asked++, counts.size() - 1)]; }
  std::vector<int> counts;
  mutable std::size_t asked = 0;
};

TEST_F(PointsInRasterTest, ARasterWithoutBandsAddsNothing) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  const auto layer =
      std::make_shared<IRasterLayer>(std::make_shared<CountingRaster>(std::vector{0}));
  EXPECT_TRUE(Intersect(fixes, layer, {.ignoreProjections = true}));
  EXPECT_EQ(reportText_,
            "Intersect Point Tool\r\rRaster intersect layer: made_up\r0 band(s) "
            "detected");
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME"));
}

TEST_F(PointsInRasterTest, BandsThatWereNotReachedAreAProblemEvenIfSuppressed) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  const auto layer =
      std::make_shared<IRasterLayer>(std::make_shared<CountingRaster>(std::vector{0, 1}));
  EXPECT_FALSE(Intersect(fixes, layer, {.suppressWarnings = true, .ignoreProjections = true}));
  EXPECT_THAT(said(), ElementsAre(Message{
                          "ERROR: A problem occurred during the intersection of one or more bands "
                          "in the raster layer: made_up.\rIt is recommended that you check the "
                          "attribute table of the point layer for errors.",
                          kExclamation, "Warning"}));
}

TEST_F(PointsInRasterTest, AFieldThatIsNotThereAfterwardsIsAnError) {
  struct Forgetful : FakeClass {
    Forgetful() : FakeClass("fixes", GeometryType::kPoint) {}
    void AddField(const Field&) override {}
  } points;
  IntersectReport report;
  EXPECT_FALSE(
      ISectPntRaster(points, *AddRaster("dem.tif", Small()), {.ignoreProjections = true}, report));
  EXPECT_THAT(said(), ElementsAre(Message{"Error: unable to add fields to point layer. This layer "
                                          "may be in use by another application.",
                                          kCritical, "Error"}));
}

/// A raster of one band that remembers how large the blocks were that were read; a cell's value is
/// its column.
class WatchedRaster : public FakeRaster, public IRasterBand {
 public:
  WatchedRaster(int width, int height) : FakeRaster("watched", PixelType::kUInt16, 1) {
    props_.width = width, props_.height = height;
    props_.pixelType = orlinths::PixelType::kUInt16;
    props_.meanCellSize = {1, 1};
    props_.extent = {0, 0, static_cast<double>(width), static_cast<double>(height)};
  }
  int Width() const override { return props_.width; }
  int Height() const override { return props_.height; }
  IRasterBand& Band(int) const override { return const_cast<WatchedRaster&>(*this); }
  const IRasterProps& Props() const override { return props_; }
  void Read(CellPosition position, IPixelBlock& block) const override {
    sizes.push_back(std::int64_t{block.Columns()} * block.Rows());
    Edit(block, 0, [&]<class T>(EditablePlane<T> plane) {
      for (int row = 0; row < plane.rows; ++row)
        for (int column = 0; column < plane.columns; ++column)
          plane.Row(row)[static_cast<std::size_t>(column)] =
              static_cast<T>(position.column + column);
    });
  }
  void SetNoDataValue(double) override {}
  void Write(CellPosition, const IPixelBlock&) override {}
  void ComputeStatsAndHist() override {}
  RasterStatistics Statistics(int, int) const override { return {}; }
  const RasterAttributeTable* AttributeTable() const override { return nullptr; }
  mutable std::vector<std::int64_t> sizes;

 private:
  IRasterProps props_;
};

TEST_F(PointsInRasterTest, ABandThatCannotBeReadKeepsItsFieldAndSaysSo) {
  struct BrokenRaster : WatchedRaster {
    BrokenRaster() : WatchedRaster(3, 2) {}
    void Read(CellPosition, IPixelBlock&) const override {
      throw RuntimeError::Platform("The disk is gone.");
    }
  };
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(1 1)"}));
  const auto layer = std::make_shared<IRasterLayer>(std::make_shared<BrokenRaster>());
  for (const bool low : {false, true}) {
    layer->SetName(low ? "low" : "whole");
    EXPECT_FALSE(Intersect(fixes, layer, {.ignoreProjections = true, .lowMemory = low}));
    EXPECT_THAT(TakeSaid(), ElementsAre(Message{"ISectPntRaster: \r-2147467259\rThe disk is gone.",
                                                kCritical, "Error"}));
  }
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "whole", "low"));
}

TEST_F(PointsInRasterTest, LargeRastersAreReadInLowMemoryMode) {
  const auto sizes = [&](int width, int height, bool low) {
    const auto raster = std::make_shared<WatchedRaster>(width, height);
    const auto layer = std::make_shared<IRasterLayer>(raster);
    layer->SetName("f" + ToText(++runs_));
    const auto fixes = AddLayer(layer->Name() + ".shp",
                                PointsOn({{width - 0.5, 0.5}, {width - 0.5, 0.25}, {130.5, 1.5}}));
    EXPECT_TRUE(Intersect(fixes, layer, {.ignoreProjections = true, .lowMemory = low}));
    EXPECT_THAT(Table(layer->Name()).Numbers(layer->Name()),
                ElementsAre(width - 1, width - 1, 130));
    return raster->sizes;
  };
  EXPECT_THAT(sizes(5000, 5000, false), ElementsAre(25'000'000));
  // The second point lies in the cell of the first, which brings the stretch of its row; the third
  // lies alone.
  EXPECT_THAT(sizes(25'001, 1000, false), ElementsAre(1, 41, 1));
  EXPECT_THAT(sizes(200, 10, true), ElementsAre(1, 72, 1));
}

}  // namespace
}  // namespace orlinths
