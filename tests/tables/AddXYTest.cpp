#include "tables/AddXY.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "data/FakeData.h"
#include "support/Seeded.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

using ::testing::DoubleEq;
using ::testing::DoubleNear;
using ::testing::ElementsAre;

const Message kComplete{"Processing complete.", kInformation, "Status"};
const Message kWarning{
    "Warning: a problem was encountered while processing this request.\r"
    "Please check that the dataset is not in use by another application and try again.",
    kExclamation, "Warning"};

OgrDataset PointsOf(const std::string& reference, const Texts& wkts) {
  OgrDataset points{.type = "Point",
                    .reference = reference,
                    .columns = {{"NAME", "String", 20},
                                {"N", "Integer", 4},
                                {"X1", "Real", 12, 4},
                                {"Y1", "Real", 12, 4}},
                    .records = {}};
  for (const std::string& wkt : wkts)
    points.records.push_back({wkt, {"p" + std::to_string(points.records.size()), "1", "0", "0"}});
  return points;
}

/// In UTM zone 31 (central meridian 3 E, scale 0.9996): on the meridian X is 500000 and Y 0.9996 of
/// the meridian's arc, which is 0 to the equator and 4984944.3780 m to 45 N; 0 E on the equator is
/// 166021.443 m east, the zone's published western edge.
OgrDataset Nests() {
  return PointsOf("EPSG:4326", {"POINT(3 0)", "POINT(3 45)", "POINT(0 51.5)", "", "POINT(0 0)"});
}

/// A class that takes a field and does not have it afterwards.
struct ForgetfulClass : FakeClass {
  ForgetfulClass() : FakeClass("forgetful", GeometryType::kPoint) {
    rows = 1;
    reference = UnknownCoordinateSystem();
  }
  void AddField(const Field&) override {}
};

class AddXYTest : public ToolTest {
 protected:
  void OpenOn(const std::string& layer, const std::string& x = "X", const std::string& y = "Y") {
    Open<frmAddXY>();
    Set("cmbL", layer);
    Set("txtXFldName", x);
    Set("txtYFldName", y);
  }
  void ExpectUtm(const OgrDataset& table, const std::string& x, const std::string& y) {
    EXPECT_THAT(table.Numbers(x),
                ElementsAre(DoubleNear(500000, 1e-6), DoubleNear(500000, 1e-6), DoubleEq(0),
                            DoubleEq(-999), DoubleNear(166021.443, 1e-3)));
    EXPECT_THAT(table.Numbers(y),
                ElementsAre(DoubleNear(0, 1e-6), DoubleNear(4984944.3780 * 0.9996, 1e-3),
                            DoubleEq(51.5), DoubleEq(-999), DoubleNear(0, 1e-6)));
  }
};

// ---- The dialog

TEST_F(AddXYTest, DeclaresItsControlsInOrder) {
  AddLayer("nests.shp", Nests());
  SetMapReference("EPSG:32631");
  Open<frmAddXY>();
  EXPECT_EQ(dialog().caption, "Add/Update X, Y Fields");
  EXPECT_EQ(dialog().HelpTag(), "ADDXY");
  EXPECT_THAT(
      Described(),
      ElementsAre(
          "combo cmbL [Point layer:] in 'Input '",
          "option optNew [Add new fields:] in 'Input ' = yes",
          "text txtXFldName [X Field:] in 'Input ' =", "text txtYFldName [Y Field:] in 'Input ' =",
          "option optUpdate [Update existing fields:] in 'Input ' = no",
          "combo cmbXFld [X Field:] in 'Input ' off", "combo cmbYFld [Y Field:] in 'Input ' off",
          "option optFrame [Use the same Coordinate System as the data frame:] in "
          "'Projection ' = yes",
          "label lblSRDF [WGS 84 / UTM zone 31N] in 'Projection '",
          "option optData [Use the same Coordinate System as this layer's source data:] in "
          "'Projection ' = no",
          "label lblSR [] in 'Projection '", "button btnOK [OK]", "button btnExit [Exit]",
          "button btnHelp [Web Help]"));
}

TEST_F(AddXYTest, TheOptionDecidesBetweenNamesAndFields) {
  AddLayer("nests.shp", Nests());
  Open<frmAddXY>();
  for (const bool update : {false, true, false}) {
    Choose(update ? "optUpdate" : "optNew");
    EXPECT_EQ(Shown("txtXFldName"), !update);
    EXPECT_EQ(Shown("txtYFldName"), !update);
    EXPECT_EQ(Shown("cmbXFld"), update);
    EXPECT_EQ(Shown("cmbYFld"), update);
  }
}

TEST_F(AddXYTest, WarnsOfAMapWithoutPointsAndTurnsOkOff) {
  AddLayer("many.shp", {.type = "Multi Point", .columns = {{"ID", "Integer", 4}}});
  Open<frmAddXY>();
  EXPECT_THAT(said(),
              ElementsAre(Message{"Warning: no point layers present in map (nothing to work with).",
                                  kExclamation, "Warning"}));
  EXPECT_FALSE(At("btnOK").enabled);
  EXPECT_TRUE(IsOpen());
}

TEST_F(AddXYTest, ShowsTheReferencesOfMapAndLayer) {
  const auto nests = AddLayer("nests.shp", Nests());
  AddLayer("fixes.shp", PointsOf("", {"POINT(1 2)"}));
  SetMapReference("EPSG:32631");
  Open<frmAddXY>();
  EXPECT_EQ(At("lblSRDF").caption(), "WGS 84 / UTM zone 31N");
  EXPECT_TRUE(At("lblSRDF").visible);
  EXPECT_EQ(At("lblSR").caption(), "");
  Set("cmbL", "nests");
  EXPECT_EQ(At("lblSR").caption(), nests->FeatureClass().SpatialReference()->Name());
  EXPECT_THAT(At("lblSR").caption(), ::testing::HasSubstr("WGS"));
  EXPECT_THAT(Combo("cmbXFld").Items(), ElementsAre("N", "X1", "Y1"));
  EXPECT_THAT(Combo("cmbYFld").Items(), ElementsAre("N", "X1", "Y1"));
  Set("cmbL", "fixes");
  EXPECT_EQ(At("lblSR").caption(), "Unknown Coordinate System");
  EXPECT_THAT(Combo("cmbXFld").Items(), ElementsAre("N", "X1", "Y1"));
}

TEST_F(AddXYTest, AMapWithoutReferenceLeavesOnlyTheLayersOwn) {
  AddLayer("fixes.shp", PointsOf("", {"POINT(1 2)"}));
  Open<frmAddXY>();
  EXPECT_FALSE(At("optFrame").enabled);
  EXPECT_FALSE(IsChosen("optFrame"));
  EXPECT_TRUE(IsChosen("optData"));
  EXPECT_FALSE(At("lblSRDF").visible);
  EXPECT_TRUE(IsChosen("optNew"));  // the frame above has its own choice
}

TEST_F(AddXYTest, HelpOpensItsPage) {
  AddLayer("nests.shp", Nests());
  Open<frmAddXY>();
  Press("btnHelp");
  ASSERT_EQ(ShellTargets().size(), 1u);
  EXPECT_THAT(ShellTargets()[0], ::testing::EndsWith("otools/addxy.php"));
}

// ---- Checks, in their order

TEST_F(AddXYTest, ChecksItsEntriesFromTopToBottom) {
  AddLayer("nests.shp", Nests());
  const std::string before = Bytes("nests");
  Open<frmAddXY>();
  const auto refused = [&](const std::string& text) {
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(Message{text, kExclamation, "Error"}));
    EXPECT_TRUE(IsOpen());
  };
  refused("ERROR: no point layer defined.");
  Set("cmbL", "nests");
  refused("ERROR: no new X field name defined.");
  Set("txtXFldName", "name");
  refused("ERROR: no new Y field name defined.");
  Set("txtYFldName", "Y1");
  refused(
      "ERROR: an X field called name already exists. Please type a new name or switch to the "
      "update option.");
  Set("txtXFldName", "X");
  refused(
      "ERROR: a Y field called Y1 already exists. Please type a new name or switch to the update "
      "option.");
  Choose("optUpdate");
  refused("ERROR: no X field name selected for update.");
  Set("cmbXFld", "X1");
  refused("ERROR: no Y field name selected for update.");
  EXPECT_EQ(Bytes("nests"), before);
}

// ---- Runs

TEST_F(AddXYTest, WritesTheMapsCoordinatesInNewFields) {
  AddLayer("nests.shp", Nests());
  SetMapReference("EPSG:32631");
  const OgrDataset before = Table("nests");
  OpenOn("nests", "UTM_X", "UTM_Y");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_FALSE(IsOpen());
  const OgrDataset table = Table("nests");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "N", "X1", "Y1", "UTM_X", "UTM_Y"));
  EXPECT_EQ(table.columns[4].type, "Real");
  ExpectUtm(table, "UTM_X", "UTM_Y");
  EXPECT_EQ(table.Texts("NAME"), Nests().Texts("NAME"));
  // The points themselves stay where they are.
  for (std::size_t i = 0; i < before.records.size(); ++i)
    EXPECT_EQ(table.records[i].wkt, before.records[i].wkt);
}

TEST_F(AddXYTest, TheProjectionOptionsGiveTheSameResult) {
  AddLayer("nests.shp", Nests());
  SetMapReference("EPSG:32631");
  OpenOn("nests");
  Choose("optData");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  ExpectUtm(Table("nests"), "X", "Y");
}

TEST_F(AddXYTest, ExistingFieldsAreOverwrittenWhereTheyStand) {
  AddLayer("nests.shp", Nests());
  SetMapReference("EPSG:32631");
  Open<frmAddXY>();
  Set("cmbL", "nests");
  Choose("optUpdate");
  Set("cmbXFld", "Y1");
  Set("cmbYFld", "X1");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = Table("nests");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "N", "X1", "Y1"));
  EXPECT_EQ(table.columns[2], Nests().columns[2]);
  // Four decimals are what these columns hold.
  EXPECT_THAT(table.Numbers("Y1"), ElementsAre(500000, 500000, 0, -999, 166021.4431));
  EXPECT_THAT(table.Numbers("X1"), ElementsAre(0, 4982950.4002, 51.5, -999, 0));
}

TEST_F(AddXYTest, WholeNumberFieldsTakeRoundedCoordinates) {
  AddLayer("fixes.shp", PointsOf("", {"POINT(2.5 -7.5)", "POINT(3.5 0.4)", ""}));
  Open<frmAddXY>();
  Set("cmbL", "fixes");
  Choose("optUpdate");
  Set("cmbXFld", "N");
  Set("cmbYFld", "Y1");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("fixes").Numbers("N"), ElementsAre(2, 4, -999));  // halves to even
  EXPECT_THAT(Table("fixes").Numbers("Y1"), ElementsAre(-7.5, 0.4, -999));
}

TEST_F(AddXYTest, WithoutReferencesTheCoordinatesAreWrittenToTheLastBit) {
  AddLayer("fixes.shp",
           PointsOf("", {"POINT(0.1 0.2)", "POINT(123456.789012345 -7e-300)", "POINT(0 5)"}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("fixes").Numbers("X"), ElementsAre(0.1, 123456.789012345, 0));
  EXPECT_THAT(Table("fixes").Numbers("Y"), ElementsAre(0.2, -7e-300, 5));
}

TEST_F(AddXYTest, ALayerWithoutReferenceIsNotProjected) {
  AddLayer("fixes.shp", PointsOf("", {"POINT(3 45)"}));
  SetMapReference("EPSG:32631");
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(Table("fixes").Numbers("X"), ElementsAre(3));
  EXPECT_THAT(Table("fixes").Numbers("Y"), ElementsAre(45));
}

TEST_F(AddXYTest, ASelectionAndADefinitionQueryDoNotCount) {
  const auto layer = AddLayer("fixes.shp", PointsOf("", {"POINT(1 2)", "POINT(3 4)"}));
  layer->SetDefinitionQuery("NAME = 'p0'");
  layer->AddToSelection(0);
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(Table("fixes").Numbers("X"), ElementsAre(1, 3));
}

TEST_F(AddXYTest, OneNameForBothHoldsY) {
  AddLayer("fixes.shp", PointsOf("", {"POINT(1 2)"}));
  OpenOn("fixes", "XY", "xy");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "N", "X1", "Y1", "XY"));
  EXPECT_THAT(Table("fixes").Numbers("XY"), ElementsAre(2));
}

TEST_F(AddXYTest, AnEmptyTableGetsItsFieldsWithoutProgress) {
  AddLayer("fixes.shp", PointsOf("", {}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_TRUE(Progress().empty());
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "N", "X1", "Y1", "X", "Y"));
}

TEST_F(AddXYTest, TellsItsProgressOnTheStatusBar) {
  AddLayer("nests.shp", Nests());
  OpenOn("nests");
  Press("btnOK");
  EXPECT_THAT(LastProgressOf("Calculating XY locations..."), ElementsAre(5, 5));
}

TEST_F(AddXYTest, AGeoPackageIsEditedToo) {
  AddLayer("nests.gpkg", Nests());
  SetMapReference("EPSG:32631");
  OpenOn("nests");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = ReadOgr(Path("nests.gpkg"));
  ExpectUtm(table, "X", "Y");
  EXPECT_EQ(table.Texts("NAME"), Nests().Texts("NAME"));
}

TEST_F(AddXYTest, AMapFollowsItsFirstLayer) {
  const auto first = AddLayer("first.shp", PointsOf("EPSG:32631", {"POINT(500000 0)"}));
  AddLayer("nests.shp", Nests());
  OpenOn("nests");
  EXPECT_EQ(At("lblSRDF").caption(), first->FeatureClass().SpatialReference()->Name());
  Press("btnOK");
  ExpectUtm(Table("nests"), "X", "Y");
}

// ---- What goes wrong

TEST_F(AddXYTest, ANameThatDbaseCannotHoldIsReported) {
  AddLayer("fixes.shp", PointsOf("", {"POINT(1 2)"}));
  const std::string before = Bytes("fixes");
  OpenOn("fixes", "EASTINGOFFIX", "Y");
  Press("btnOK");
  ASSERT_EQ(said().size(), 2u);
  EXPECT_THAT(said()[0].text, ::testing::StartsWith("TableAddXY: A\r"));
  EXPECT_EQ(said()[1], kWarning);
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(Bytes("fixes"), before);
}

TEST_F(AddXYTest, APointThatCannotBeProjectedEndsTheRunAndKeepsWhatWasWritten) {
  AddLayer("nests.shp", PointsOf("EPSG:4326", {"POINT(3 45)", "POINT(3 1e9)", "POINT(3 0)"}));
  SetMapReference("EPSG:32631");
  OpenOn("nests");
  Press("btnOK");
  ASSERT_EQ(said().size(), 2u);
  EXPECT_THAT(said()[0].text, ::testing::StartsWith("TableAddXY: C\r-2147467259\r"));
  EXPECT_EQ(said()[1], kWarning);
  EXPECT_THAT(Table("nests").Numbers("X"), ElementsAre(DoubleNear(500000, 1e-6), 0, 0));
}

TEST_F(AddXYTest, APointWithACoordinateThatIsNoNumberIsAnEmptyOne) {
  WriteOgr(Path("fixes.shp"), PointsOf("", {"POINT(1 2)", "POINT(77 4)", "POINT(5 77)"}));
  // The second point's X and the third one's Y.
  ReplaceNumber("fixes.shp", 77, std::nan(""));
  AddFile("fixes.shp");
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("fixes").Numbers("X"), ElementsAre(1, -999, -999));
  EXPECT_THAT(Table("fixes").Numbers("Y"), ElementsAre(2, -999, -999));
}

TEST_F(AddXYTest, AReadOnlyTableIsReported) {
  AddLayer("fixes.shp", PointsOf("", {"POINT(1 2)"}));
  const std::string before = Bytes("fixes");
  AsUnprivileged([&] {
    OpenOn("fixes");
    Press("btnOK");
    EXPECT_THAT(
        said(),
        ElementsAre(Message{"TableAddXY: A\r70\rPermission denied", kCritical, "Error"}, kWarning));
  });
  EXPECT_EQ(Bytes("fixes"), before);
}

TEST_F(AddXYTest, AStopIsReportedAndTheTableStaysReadable) {
  AddLayer("fixes.shp", PointsOf("", Texts(3000, "POINT(1 2)")));
  OpenOn("fixes");
  StopDuring("Calculating XY locations...");
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Message{"TableAddXY: C\r18\rUser interrupt occurred", kCritical, "Error"},
                          kWarning));
  EXPECT_EQ(Table("fixes").records.size(), 3000u);
}

// ---- The routine alone

TEST_F(AddXYTest, WithoutProgressAnXOfZeroIsProjectedToo) {
  const auto layer = AddLayer("nests.shp", Nests());
  const auto utm = SpatialReferenceFromText("EPSG:32631");
  const OgrDataset before = Table("nests");
  EXPECT_TRUE(TableAddXY(layer->FeatureClass(), "X", "Y", false, true, utm));
  EXPECT_TRUE(Progress().empty());
  const OgrDataset table = Table("nests");
  // The Greenwich line at 51.5 N by PROJ's own program.
  EXPECT_THAT(table.Numbers("X")[2], DoubleNear(291783.127824021, 1e-6));
  EXPECT_THAT(table.Numbers("Y")[2], DoubleNear(5709696.98357332, 1e-6));
  EXPECT_EQ(table.Numbers("X")[3], -999);
  EXPECT_EQ(table.Numbers("Y")[3], -999);
  EXPECT_EQ(table.records[2].wkt, before.records[2].wkt);
}

TEST_F(AddXYTest, WithoutProjectingTheCoordinatesAreTheLayersOwn) {
  const auto layer = AddLayer("nests.shp", Nests());
  const auto utm = SpatialReferenceFromText("EPSG:32631");
  for (const bool progress : {true, false}) {
    EXPECT_TRUE(TableAddXY(layer->FeatureClass(), "X", "Y", progress, false, utm));
    EXPECT_THAT(Table("nests").Numbers("X"), ElementsAre(3, 3, 0, -999, 0));
    EXPECT_THAT(Table("nests").Numbers("Y"), ElementsAre(0, 45, 51.5, -999, 0));
  }
}

TEST_F(AddXYTest, ItsReportTellsWhichLoopFailed) {
  const auto layer = AddLayer("nests.shp", PointsOf("EPSG:4326", {"POINT(3 45)"}));
  EXPECT_FALSE(TableAddXY(layer->FeatureClass(), "X", "Y", true, true, nullptr));
  EXPECT_FALSE(TableAddXY(layer->FeatureClass(), "X", "Y", false, true, nullptr));
  const std::string nothing = "\r91\rObject variable or With block variable not set";
  EXPECT_THAT(said(), ElementsAre(Message{"TableAddXY: C" + nothing, kCritical, "Error"},
                                  Message{"TableAddXY: D" + nothing, kCritical, "Error"}));
}

TEST_F(AddXYTest, ATextFieldTakesTheNumbersAsText) {
  const auto layer = AddLayer("fixes.shp", PointsOf("", {"POINT(1.5 2)", ""}));
  EXPECT_TRUE(TableAddXY(layer->FeatureClass(), "NAME", "Y", false, false, nullptr));
  EXPECT_THAT(Table("fixes").Texts("NAME"), ElementsAre("1.5", "-999"));
}

TEST_F(AddXYTest, AnswersWhenAFieldIsNotThereAfterAdding) {
  ForgetfulClass points;
  EXPECT_FALSE(TableAddXY(points, "X", "Y", true, true, UnknownCoordinateSystem()));
  EXPECT_THAT(said(),
              ElementsAre(Message{
                  "An error was encountered while adding/locating the specified X/Y field(s).\r"
                  "The layer may be in use by another application.",
                  kCritical, "Error"}));
}

TEST_F(AddXYTest, AgreesWithGdalOnAnyPlaces) {
  Seeded random("AddXYTest.AgreesWithGdalOnAnyPlaces");
  Texts wkts;
  for (int i = 0; i < 300; ++i)
    wkts.push_back("POINT(" + ToText(random.Real(1, 5)) + " " + ToText(random.Real(-70, 70)) + ")");
  AddLayer("places.shp", PointsOf("EPSG:4326", wkts));
  SetMapReference("EPSG:32631");
  OpenOn("places");
  Press("btnOK");
  ASSERT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = Table("places");
  const auto x = table.Numbers("X"), y = table.Numbers("Y");
  for (std::size_t i = 0; i < wkts.size(); ++i) {
    const auto [gdalX, gdalY] = ProjectOgr(table.records[i].wkt, "EPSG:4326", "EPSG:32631");
    ASSERT_NEAR(x[i], gdalX, 1e-6) << wkts[i];
    ASSERT_NEAR(y[i], gdalY, 1e-6) << wkts[i];
  }
}

}  // namespace
}  // namespace orlinths
