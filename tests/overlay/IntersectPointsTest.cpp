#include "overlay/IntersectPoints.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/ItemList.h"
#include "data/FakeData.h"
#include "overlay/IntersectTest.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* kManyPointsQuestion =
    "Warning: for large number of points it is likely to be faster to use a spatial join rather "
    "than this\r"
    "intersect tool. (Right click on the point layer, Joins and Relates, Joins...). Would you like"
    "\rto proceed anyway? (if you select No this tool will move on to the raster layers).";

class IntersectPointsTest : public IntersectTest {
 protected:
  void OpenOn(const std::string& points, const Texts& polygons, const Texts& rasters) {
    Open<frmISectPnt>();
    Set("cmbInputLayer", points);
    top().Select("lstVector", polygons).Select("lstRaster", rasters);
  }
};

// ---- The dialog

TEST_F(IntersectPointsTest, DeclaresItsControlsInOrder) {
  AddLayer("fixes.shp", PointsAt({"POINT(1 1)"}));
  AddLayer("stands.shp", Stands());
  Open<frmISectPnt>();
  EXPECT_EQ(dialog().caption, "Intersect Point Tool");
  EXPECT_EQ(dialog().HelpTag(), "ISECTPNT");
  EXPECT_THAT(
      Described(),
      ElementsAre("combo cmbInputLayer [Point file to intersect:]",
                  "list lstVector [POLYGON] in 'Select layers to intersect with:'",
                  "list lstRaster [RASTER] in 'Select layers to intersect with:'",
                  "check chkSR [Ignore all spatial reference (projection) differences] = no",
                  "check chkLowMem [Force low memory (RAM) processing] = no",
                  "check chkNoMsgs [Suppress warnings (report at end)] = no",
                  "text txtProgress [] =", "button btnOK [OK]", "button btnExit [Exit]",
                  "button btnHelp [Web Help]"));
  EXPECT_TRUE(dynamic_cast<TextBox&>(At("txtProgress")).readOnly);
  EXPECT_TRUE(dynamic_cast<ListBox&>(At("lstVector")).multiSelect);
  EXPECT_TRUE(dynamic_cast<ListBox&>(At("lstRaster")).multiSelect);
}

TEST_F(IntersectPointsTest, ListsPointPolygonAndRasterLayers) {
  AddLayer("fixes.shp", PointsAt({"POINT(1 1)"}));
  AddLayer("many.shp", {.type = "Multi Point", .columns = {{"ID", "Integer", 4}}});
  AddLayer("stands.shp", Stands());
  AddRaster("dem.tif", Small());
  Open<frmISectPnt>();
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_THAT(top().Items("cmbInputLayer"), ElementsAre("fixes"));
  EXPECT_EQ(top().Text("cmbInputLayer"), "");
  EXPECT_THAT(top().Items("lstVector"), ElementsAre("stands"));
  EXPECT_THAT(top().Items("lstRaster"), ElementsAre("dem.tif"));
}

const Message kNoPoints{"Warning: no point layers present in the map (nothing to work with).",
                        kExclamation, "Warning"};
const Message kNoLayers{
    "Warning: no polygon or raster layers present in the map (nothing to work with).", kExclamation,
    "Warning"};

TEST_F(IntersectPointsTest, WarnsOfAMapWithoutPoints) {
  AddLayer("stands.shp", Stands());
  Open<frmISectPnt>();
  EXPECT_THAT(said(), ElementsAre(kNoPoints));
  EXPECT_FALSE(At("btnOK").enabled);
  EXPECT_TRUE(IsOpen());
}

TEST_F(IntersectPointsTest, WarnsOfAMapWithNothingToIntersectWith) {
  AddLayer("fixes.shp", PointsAt({"POINT(1 1)"}));
  Open<frmISectPnt>();
  EXPECT_THAT(said(), ElementsAre(kNoLayers));
  EXPECT_FALSE(At("btnOK").enabled);
}

TEST_F(IntersectPointsTest, WarnsOfBothOnAnEmptyMap) {
  Open<frmISectPnt>();
  EXPECT_THAT(said(), ElementsAre(kNoPoints, kNoLayers));
  EXPECT_FALSE(At("btnOK").enabled);
}

TEST_F(IntersectPointsTest, OneSortOfLayersIsEnough) {
  AddLayer("fixes.shp", PointsAt({"POINT(1 1)"}));
  AddRaster("dem.tif", Small());
  Open<frmISectPnt>();
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_TRUE(At("btnOK").enabled);
}

TEST_F(IntersectPointsTest, HelpOpensItsPage) {
  AddLayer("fixes.shp", PointsAt({"POINT(1 1)"}));
  AddLayer("stands.shp", Stands());
  Open<frmISectPnt>();
  Press("btnHelp");
  ASSERT_EQ(ShellTargets().size(), 1u);
  EXPECT_THAT(ShellTargets()[0], ::testing::EndsWith("otools/isect.php"));
}

// ---- The press

TEST_F(IntersectPointsTest, NeedsAPointLayer) {
  AddLayer("fixes.shp", PointsAt({"POINT(1 1)"}));
  AddLayer("stands.shp", Stands());
  Open<frmISectPnt>();
  top().Select("lstVector", {"stands"});
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Message{"Error: no point layer selected.", kExclamation, "Error"}));
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE(dialog().IsEnabled());
  EXPECT_FALSE(dialog().EndedInSuccess());
}

TEST_F(IntersectPointsTest, PolygonsComeFirstThenRastersThenTheReport) {
  AddLayer("fixes.shp", PointsAt({"POINT(105 195)", "POINT(2 3)"}));
  AddLayer("stands.shp", Stands());
  AddRaster("dem.tif", Small());
  OpenOn("fixes", {"stands"}, {"dem.tif"});
  bool wasEnabled = true;
  std::string progress;
  host_.dialogs.WhenOpened("frmFieldsList", [&](Hand hand) {
    EXPECT_EQ(hand.Text("lblLayerName"), "stands");
    EXPECT_THAT(hand.Items("lstFields"),
                ElementsAre("FID", "AREA", "PERIMETER", "SPECIES", "AGE", "FELLED"));
    EXPECT_FALSE(hand.IsChecked("chkAllFields"));
    wasEnabled = dialog().IsEnabled();
    progress = dynamic_cast<TextBox&>(At("txtProgress")).text;
    hand.Select("lstFields", {"SPECIES", "AREA"}).Press("btnOK");
  });
  ReadReport();
  Press("btnOK");
  EXPECT_FALSE(wasEnabled);
  EXPECT_EQ(progress, "Processing layer: stands");
  EXPECT_EQ(report_,
            "Intersect Point Tool"
            "\r"
            "\rPolygon intersect layer: stands"
            "\rAdded field stand_AREA"
            "\rAdded field SPECIES"
            "\r2 points processed"
            "\r1 points detected that fell outside the bounds of stands"
            "\rProcessing of layer completed successfully"
            "\r"
            "\rRaster intersect layer: dem.tif"
            "\r1 band(s) detected"
            "\rBAND 1"
            "\rAdded field dem"
            "\r2 points processed"
            "\r1 points detected that fell outside the bounds of dem.tif"
            "\rProcessing of band completed successfully");
  EXPECT_THAT(
      said(),
      ElementsAre(
          Message{"WARNING: 1 points were detected that fell outside the bounds of stands\r"
                  "Care should be taken when using the data attached to the point layer.",
                  kExclamation, "Warning"},
          Message{"WARNING: 1 points were detected that fell outside the bounds of dem.tif\r"
                  "Care should be taken when using the data attached to the point layer.",
                  kExclamation, "Warning"}));
  EXPECT_THAT(host_.dialogs.events,
              ElementsAre("shown frmISectPnt", "shown frmFieldsList", "hidden frmFieldsList",
                          "unloaded frmFieldsList", "shown frmResultsReport",
                          "unloaded frmResultsReport", "unloaded frmISectPnt"));
  EXPECT_FALSE(IsOpen());
  EXPECT_TRUE(dialog().EndedInSuccess());
  const OgrDataset table = Table("fixes");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "stand_AREA", "SPECIES", "dem"));
  EXPECT_THAT(table.Numbers("stand_AREA"), ElementsAre(0, 100));
  EXPECT_THAT(table.Texts("SPECIES"), ElementsAre("", "pine"));
  EXPECT_THAT(table.Numbers("dem"), ElementsAre(1, -7));
  EXPECT_THAT(LastProgressOf("Processing points (stands)..."), ElementsAre(2, 2));
  EXPECT_THAT(LastProgressOf("Processing points (dem.tif)..."), ElementsAre(2, 2));
}

TEST_F(IntersectPointsTest, WithNothingSelectedTheReportHasItsTitleAlone) {
  AddLayer("fixes.shp", PointsAt({"POINT(1 1)"}));
  AddLayer("stands.shp", Stands());
  const std::string before = Bytes("fixes");
  OpenOn("fixes", {}, {});
  ReadReport();
  Press("btnOK");
  EXPECT_EQ(report_, "Intersect Point Tool");
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(Bytes("fixes"), before);
}

TEST_F(IntersectPointsTest, SuppressedWarningsLeaveTheCountsInTheReport) {
  AddLayer("fixes.shp", PointsAt({"POINT(105 195)", "POINT(2 3)"}));
  AddLayer("stands.shp", Stands());
  AddRaster("dem.tif", Small());
  OpenOn("fixes", {"stands"}, {"dem.tif"});
  Tick("chkNoMsgs", true);
  ChooseAllFields();
  ReadReport();
  Press("btnOK");
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_THAT(report_, HasSubstr("\r1 points detected that fell outside the bounds of stands"));
  EXPECT_THAT(report_, HasSubstr("\r1 points detected that fell outside the bounds of dem.tif"));
}

TEST_F(IntersectPointsTest, AllFieldsGivesEveryFieldButTheShape) {
  AddLayer("fixes.shp", PointsAt({"POINT(12 3)"}));
  AddLayer("Forest_stands.shp", Stands());
  OpenOn("fixes", {"Forest_stands"}, {});
  ChooseAllFields();
  ReadReport();
  Press("btnOK");
  EXPECT_THAT(said(), IsEmpty());
  const OgrDataset table = Table("fixes");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "Forest_FID", "Fores_AREA", "Forest_PER",
                                               "SPECIES", "AGE", "FELLED"));
  EXPECT_THAT(table.records[0].values,
              ElementsAre("p0", "1", "100.5", "41", "fir", "120", "2021/10/31"));
}

TEST_F(IntersectPointsTest, ALayerWithNoFieldsChosenIsSkippedUnderThePointsName) {
  AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  AddLayer("stands.shp", Stands());
  AddLayer("others.shp", Stands());
  OpenOn("fixes", {"stands", "others"}, {});
  ChooseFields({});
  ChooseFields({"AGE"});
  ReadReport();
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{
                          "ERROR: no fields were selected for layer fixes. Skipping to next layer.",
                          kCritical, "Error"}));
  EXPECT_THAT(report_, StartsWith("Intersect Point Tool\r\rPolygon intersect layer: others\r"));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "AGE"));
}

TEST_F(IntersectPointsTest, AFieldListThatIsClosedChoosesNothing) {
  AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  AddLayer("stands.shp", Stands());
  OpenOn("fixes", {"stands"}, {});
  host_.dialogs.WhenOpened("frmFieldsList", [](Hand hand) {
    hand.Check("chkAllFields");
    hand->Unload();
  });
  ReadReport();
  Press("btnOK");
  EXPECT_THAT(
      TextsOf(said()),
      ElementsAre("ERROR: no fields were selected for layer fixes. Skipping to next layer."));
}

TEST_F(IntersectPointsTest, AQuestionForANameComesWhileTheFieldListIsHidden) {
  AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  AddLayer("stands.shp", Stands());
  for (int run = 0; run < 2; ++run) {
    OpenOn("fixes", {"stands"}, {});
    ChooseFields({"AGE"});
    if (run == 1) AnswerName("AGE2");
    ReadReport();
    host_.dialogs.events.clear();
    Press("btnOK");
  }
  EXPECT_THAT(
      host_.dialogs.events,
      ElementsAre("shown frmFieldsList", "hidden frmFieldsList", "shown frmGetString",
                  "unloaded frmGetString", "unloaded frmFieldsList", "shown frmResultsReport",
                  "unloaded frmResultsReport", "unloaded frmISectPnt"));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "AGE", "AGE2"));
  EXPECT_THAT(Table("fixes").Numbers("AGE2"), ElementsAre(80));
}

// ---- Many points

class ManyPointsTest : public IntersectPointsTest {
 protected:
  void OpenOn(int points) {
    AddLayer("fixes.shp", PointsOn(std::vector<Coord>(static_cast<std::size_t>(points), {2, 3})));
    AddLayer("stands.shp", Stands());
    AddLayer("others.shp", Stands());
    AddRaster("dem.tif", Small());
    IntersectPointsTest::OpenOn("fixes", {"stands", "others"}, {"dem.tif"});
    Tick("chkNoMsgs", true);
    ReadReport();
  }
};

TEST_F(ManyPointsTest, FiveThousandAreNoMatter) {
  ChooseFields({"AGE"});
  ChooseFields({"SPECIES"});
  OpenOn(5000);
  Press("btnOK");
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(ManyPointsTest, OneMoreIsAskedAboutOnceUntilYes) {
  ChooseFields({"AGE"});
  ChooseFields({"SPECIES"});
  OpenOn(5001);
  host_.messages.answers = {true};
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{kManyPointsQuestion, kYesNo, "Processing time"}));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "AGE", "SPECIES", "dem"));
}

TEST_F(ManyPointsTest, ANoGoesOnToTheRasters) {
  OpenOn(5001);
  host_.messages.answers = {false};
  Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre(kManyPointsQuestion));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "dem"));
  EXPECT_THAT(report_, Not(HasSubstr("Polygon")));
  EXPECT_FALSE(IsOpen());
}

TEST_F(ManyPointsTest, EveryPressAsksAnew) {
  for (int press = 0; press < 2; ++press) {
    if (press == 0) {
      OpenOn(5001);
    } else {
      IntersectPointsTest::OpenOn("fixes", {"stands"}, {});
      ReadReport();
    }
    host_.messages.answers.push_back(false);
    Press("btnOK");
  }
  EXPECT_THAT(TextsOf(said()), ElementsAre(kManyPointsQuestion, kManyPointsQuestion));
}

// ---- Failures

TEST_F(IntersectPointsTest, AFailingLayerDoesNotStopThePress) {
  AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  AddRaster("dem.tif", Small());
  host_.map.Append(std::make_shared<IRasterLayer>("gone.tif", Path("gone.tif")));
  OpenOn("fixes", {}, {"gone.tif", "dem.tif"});
  ReadReport();
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Message{"ISectPntRaster: \r91\rObject variable or With block variable "
                                  "not set",
                                  kCritical, "Error"},
                          Message{"An error occured during the intersection of gone.tif and fixes."
                                  "\rProceeding to next layer.",
                                  kExclamation, "Warning"}));
  EXPECT_THAT(Table("fixes").Numbers("dem"), ElementsAre(1));
  EXPECT_FALSE(IsOpen());
}

TEST_F(IntersectPointsTest, AFailingPolygonLayerDoesNotStopThePressEither) {
  AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  OgrDataset wordy = Stands();
  wordy.columns[3].name = "age_in_years";  // too long for dBASE
  AddLayer("wordy.gpkg", wordy);
  AddLayer("stands.shp", Stands());
  OpenOn("fixes", {"wordy", "stands"}, {});
  ChooseAllFields();
  ChooseFields({"AGE"});
  ReadReport();
  Press("btnOK");
  ASSERT_EQ(said().size(), 1u);
  EXPECT_THAT(said()[0].text, StartsWith("ISectPntPoly: \r-2147467259\r"));
  EXPECT_THAT(Table("fixes").ColumnNames(),
              ElementsAre("NAME", "wordy_FID", "wordy_AREA", "wordy_PER", "SPECIES", "AGE"));
  EXPECT_THAT(Table("fixes").Numbers("AGE"), ElementsAre(80));
  EXPECT_FALSE(IsOpen());
}

TEST_F(IntersectPointsTest, ALayerWithoutFieldsIsLeftAlone) {
  AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  host_.map.Append(FakeLayer("bare", GeometryType::kPolygon));
  OpenOn("fixes", {"bare"}, {});
  ReadReport();
  Press("btnOK");
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_EQ(report_, "Intersect Point Tool");
}

TEST_F(IntersectPointsTest, AnInvalidRasterIsListed) {
  AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  host_.map.Append(std::make_shared<IRasterLayer>("gone.tif", Path("gone.tif")));
  Open<frmISectPnt>();
  EXPECT_THAT(top().Items("lstRaster"), ElementsAre("gone.tif"));
}

TEST_F(IntersectPointsTest, ARasterAndAPolygonLayerOfOneNameFailByThemselves) {
  AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  AddLayer("stands.shp", Stands());
  AddRaster("dem.tif", Small())->SetName("stands");
  AddRaster("dem2.tif", Small());
  OpenOn("fixes", {}, {"stands", "dem2.tif"});
  ReadReport();
  Press("btnOK");
  EXPECT_THAT(TextsOf(said()),
              ElementsAre("ISectPnt: \r13\rType mismatch",
                          "An error occured during the intersection of stands and fixes.\r"
                          "Proceeding to next layer."));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "dem2"));
}

TEST_F(IntersectPointsTest, ARefusedProjectionGoesOnWithTheNextLayer) {
  AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  GdalRaster other = Small();
  other.epsg = 32613;
  AddRaster("other.tif", other);
  AddRaster("dem.tif", Small());
  OpenOn("fixes", {}, {"other.tif", "dem.tif"});
  ReadReport();
  host_.messages.answers = {false};
  Press("btnOK");
  ASSERT_EQ(said().size(), 2u);
  EXPECT_THAT(said()[0].text, StartsWith("WARNING: different spatial references"));
  EXPECT_THAT(said()[1].text, StartsWith("An error occured during the intersection of other.tif"));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "dem"));
  EXPECT_THAT(report_, Not(HasSubstr("other.tif")));
}

TEST_F(IntersectPointsTest, ProjectionsCanBeIgnored) {
  AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  GdalRaster other = Small();
  other.epsg = 32613;
  AddRaster("other.tif", other);
  OpenOn("fixes", {}, {"other.tif"});
  Tick("chkSR", true);
  ReadReport();
  Press("btnOK");
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_THAT(Table("fixes").Numbers("other"), ElementsAre(1));
}

TEST_F(IntersectPointsTest, LowMemoryGivesTheSameTable) {
  for (const bool low : {false, true}) {
    const std::string fixes = low ? "low" : "whole";
    AddLayer(fixes + ".shp", PointsAt({"POINT(105 195)", "POINT(125 181)", "POINT(0 0)"}));
    if (!low) AddRaster("dem.tif", Small());
    OpenOn(fixes, {}, {"dem.tif"});
    Tick("chkLowMem", low);
    ReadReport();
    Press("btnOK");
    EXPECT_THAT(Table(fixes).Numbers("dem"), ElementsAre(1, 6, -7));
  }
}

TEST_F(IntersectPointsTest, AStopEndsThePressWithoutReport) {
  AddLayer("fixes.shp", PointsAt({"POINT(105 195)", "POINT(1 1)", "POINT(2 2)"}));
  AddLayer("stands.shp", Stands());
  AddRaster("dem.tif", Small());
  OpenOn("fixes", {"stands"}, {"dem.tif"});
  ChooseFields({"AGE"});
  const AtScopeEnd clear([] { ClearStop(); });
  host_.application.onProgress = [](std::int64_t, std::int64_t, const std::string&) {
    RequestStop();
  };
  Press("btnOK");
  ASSERT_FALSE(said().empty());
  EXPECT_EQ(said()[0],
            (Message{"ISectPntPoly: \r18\rUser interrupt occurred", kCritical, "Error"}));
  for (const Message& message : said())
    EXPECT_THAT(message.text, Not(HasSubstr("Proceeding to next layer")));
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE(dialog().IsEnabled());
  EXPECT_EQ(top().Text("txtProgress"), "");
  EXPECT_FALSE(dialog().EndedInSuccess());
}

TEST_F(IntersectPointsTest, ATableThatCannotBeWrittenIsReportedLayerByLayer) {
  AddLayer("fixes.shp", PointsAt({"POINT(105 195)"}));
  AddLayer("stands.shp", Stands());
  AddRaster("dem.tif", Small());
  AsUnprivileged([&] {
    OpenOn("fixes", {"stands"}, {"dem.tif"});
    ChooseFields({"AGE"});
    ReadReport();
    Press("btnOK");
    EXPECT_THAT(TextsOf(said()),
                ElementsAre("ISectPntPoly: \r70\rPermission denied",
                            "ISectPntRaster: \r70\rPermission denied",
                            "An error occured during the intersection of dem.tif and fixes.\r"
                            "Proceeding to next layer."));
  });
}

}  // namespace
}  // namespace orlinths
