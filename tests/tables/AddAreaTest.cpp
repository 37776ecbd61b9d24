#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/MeasureField.h"
#include "support/Seeded.h"
#include "tables/AddAreaMeadows.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;

// ---- The dialog

TEST_F(AddAreaTest, DeclaresItsControlsInOrder) {
  AddLayer("meadows.shp", Meadows());
  Open<frmAddArea>();
  EXPECT_EQ(dialog().caption, "Add/Update Area & Perimeter Field");
  EXPECT_EQ(dialog().HelpTag(), "ADDAREA");
  EXPECT_THAT(Described(),
              ElementsAre("combo cmbPFL [Polygon feature layer:] in 'Input '",
                          "option optNew [Add new field(s)] in 'Input ' = yes",
                          "option optUpdate [Update existing field(s)] in 'Input ' = no",
                          "check chkArea [AREA] in 'Options ' = yes",
                          "text txtArea [New field name:] in 'Options ' = AREA",
                          "combo cmbArea [Update field:] in 'Options ' off",
                          "check chkAreaConst [Convert area units (multiply by this constant):] in "
                          "'Options ' = no",
                          "text txtAreaConst [] in 'Options ' = 0.000001 off",
                          "check chkPerim [PERIMETER] in 'Options ' = yes",
                          "text txtPerim [New field name:] in 'Options ' = PERIMETER",
                          "combo cmbPerim [Update field:] in 'Options ' off",
                          "check chkPerimConst [Convert perimeter units (multiply by this "
                          "constant):] in 'Options ' = no",
                          "text txtPerimConst [] in 'Options ' = 0.001 off", "button btnOK [OK]",
                          "button btnExit [Exit]", "button btnHelp [Web Help]"));
}

TEST_F(AddAreaTest, WarnsOfAMapWithoutPolygonsAndTurnsOkOff) {
  AddLayer("streams.shp", {.type = "Line String", .columns = {{"ID", "Integer", 4}}});
  Open<frmAddArea>();
  EXPECT_THAT(said(), ElementsAre(Message{
                          "Warning: no polygon layers present in map (nothing to work with).",
                          kExclamation, "Warning"}));
  EXPECT_FALSE(At("btnOK").enabled);
  EXPECT_TRUE(At("btnExit").enabled);
  EXPECT_TRUE(IsOpen());
}

TEST_F(AddAreaTest, OffersThePolygonLayersAndChoosesNone) {
  AddLayer("meadows.shp", Meadows());
  AddLayer("streams.shp", {.type = "Line String", .columns = {{"ID", "Integer", 4}}});
  AddLayer("woods.shp", {.type = "Polygon", .columns = {{"ID", "Integer", 4}}});
  Open<frmAddArea>();
  EXPECT_THAT(Combo("cmbPFL").Items(), ElementsAre("meadows", "woods"));
  EXPECT_EQ(Combo("cmbPFL").text(), "");
  EXPECT_TRUE(said().empty());
}

TEST_F(AddAreaTest, ALayersNumbersFillBothFieldLists) {
  AddLayer("meadows.shp", Meadows());
  AddLayer("woods.shp", {.type = "Polygon", .columns = {{"AGE", "Integer", 4}}});
  OpenOn("meadows");
  EXPECT_THAT(Combo("cmbArea").Items(), ElementsAre("VISITS", "HA"));
  EXPECT_THAT(Combo("cmbPerim").Items(), ElementsAre("VISITS", "HA"));
  Choose("optUpdate");
  Set("cmbArea", "HA");
  Set("cmbPFL", "woods");
  EXPECT_THAT(Combo("cmbArea").Items(), ElementsAre("AGE"));
  EXPECT_THAT(Combo("cmbPerim").Items(), ElementsAre("AGE"));
  EXPECT_EQ(Combo("cmbArea").text(), "");
}

TEST_F(AddAreaTest, ChoosingTheSameLayerAgainForgetsTheFields) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Choose("optUpdate");
  Set("cmbPerim", "HA");
  Set("cmbPFL", "meadows");
  EXPECT_THAT(Combo("cmbPerim").Items(), ElementsAre("VISITS", "HA"));
  EXPECT_EQ(Combo("cmbPerim").text(), "");
}

TEST_F(AddAreaTest, AControlIsOnWhileItHasAMeaning) {
  AddLayer("meadows.shp", Meadows());
  for (const bool area : {true, false})
    for (const bool perim : {true, false})
      for (const bool update : {true, false})
        for (const bool convert : {true, false}) {
          Open<frmAddArea>();
          Tick("chkAreaConst", convert);
          Tick("chkPerimConst", convert);
          Tick("chkArea", area);
          Tick("chkPerim", perim);
          if (update) Choose("optUpdate");
          const std::string state =
              Texts{"no area, ", "area, "}[area] + Texts{"no perimeter, ", "perimeter, "}[perim] +
              Texts{"new, ", "update, "}[update] + Texts{"as it is", "converted"}[convert];
          SCOPED_TRACE(state);
          EXPECT_EQ(Shown("txtArea"), area && !update);
          EXPECT_EQ(Shown("cmbArea"), area && update);
          EXPECT_EQ(Shown("chkAreaConst"), area);
          EXPECT_EQ(Shown("txtAreaConst"), area && convert);
          EXPECT_EQ(Shown("txtPerim"), perim && !update);
          EXPECT_EQ(Shown("cmbPerim"), perim && update);
          EXPECT_EQ(Shown("chkPerimConst"), perim);
          EXPECT_EQ(Shown("txtPerimConst"), perim && convert);
          // What always stays on.
          for (const char* name : {"cmbPFL", "optNew", "optUpdate", "chkArea", "chkPerim"})
            EXPECT_TRUE(Shown(name)) << name;
          // And back again.
          Choose("optNew");
          EXPECT_EQ(Shown("txtArea"), area);
          EXPECT_FALSE(Shown("cmbArea"));
          if (!area) {
            Tick("chkArea", true);
            EXPECT_TRUE(Shown("txtArea"));
            EXPECT_EQ(Shown("txtAreaConst"), convert);
          }
          Press("btnExit");
        }
}

TEST_F(AddAreaTest, AConstantsBoxFollowsItsCheckBox) {
  AddLayer("meadows.shp", Meadows());
  Open<frmAddArea>();
  Tick("chkAreaConst", true);
  EXPECT_TRUE(Shown("txtAreaConst"));
  EXPECT_FALSE(Shown("txtPerimConst"));
  Tick("chkPerimConst", true);
  EXPECT_TRUE(Shown("txtPerimConst"));
  Tick("chkAreaConst", false);
  EXPECT_FALSE(Shown("txtAreaConst"));
  EXPECT_TRUE(Shown("txtPerimConst"));
}

TEST_F(AddAreaTest, ExitClosesAndHelpOpensItsPage) {
  AddLayer("meadows.shp", Meadows());
  const std::string before = Bytes("meadows");
  OpenOn("meadows");
  Press("btnHelp");
  ASSERT_EQ(ShellTargets().size(), 1u);
  EXPECT_THAT(ShellTargets()[0], ::testing::EndsWith("otools/addarea.php"));
  Press("btnExit");
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(Bytes("meadows"), before);
  EXPECT_TRUE(said().empty());
}

// ---- Checks, in their order

TEST_F(AddAreaTest, ChecksItsEntriesFromTopToBottom) {
  AddLayer("meadows.shp", Meadows());
  const std::string before = Bytes("meadows");
  Open<frmAddArea>();
  // Everything is wrong; each message's cause is then put right.
  Tick("chkAreaConst", true);
  Tick("chkPerimConst", true);
  for (const char* box : {"txtArea", "txtPerim", "txtAreaConst", "txtPerimConst"}) Set(box, "");
  const auto refused = [&](const std::string& text) {
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(Message{text, kExclamation, "Error"}));
    EXPECT_TRUE(IsOpen());
  };
  refused("Error: no polygon layer selected.");
  Set("cmbPFL", "meadows");
  refused("Error: no new area field name provided.");
  Set("txtArea", "A");
  refused("Error: no new perimeter field name provided.");
  Choose("optUpdate");
  refused("Error: no update area field selected.");
  Set("cmbArea", "HA");
  refused("Error: no update perimeter field selected.");
  Set("cmbPerim", "VISITS");
  refused("Error: no area constant (multiplier) provided.");
  Set("txtAreaConst", "1");
  refused("Error: no perimeter constant (multiplier) provided.");
  EXPECT_EQ(Bytes("meadows"), before);
}

TEST_F(AddAreaTest, DoesNotMissTheNameOfAMeasureThatIsOff) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Set("txtArea", "");
  Tick("chkArea", false);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("meadows").ColumnNames(), ElementsAre("NAME", "VISITS", "HA", "PERIMETER"));
}

TEST_F(AddAreaTest, MissesTheConstantOfAMeasureThatIsOff) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Tick("chkAreaConst", true);
  Set("txtAreaConst", "");
  Tick("chkArea", false);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"Error: no area constant (multiplier) provided.",
                                          kExclamation, "Error"}));
}

// ---- Runs

TEST_F(AddAreaTest, WritesAreaAndPerimeterBehindTheOtherColumns) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_FALSE(IsOpen());
  const OgrDataset table = Table("meadows");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "VISITS", "HA", "AREA", "PERIMETER"));
  EXPECT_THAT(table.Numbers("AREA"), ElementsAre(10000, 55000, 700));
  EXPECT_THAT(table.Numbers("PERIMETER"), ElementsAre(400, 1300, 160));
  EXPECT_EQ(table.columns[3].type, "Real");
  // The rest of the table is what it was.
  EXPECT_EQ(table.Texts("NAME"), Meadows().Texts("NAME"));
  EXPECT_EQ(table.Numbers("VISITS"), Meadows().Numbers("VISITS"));
  EXPECT_EQ(table.Numbers("HA"), Meadows().Numbers("HA"));
}

TEST_F(AddAreaTest, MultipliesByItsConstants) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Tick("chkAreaConst", true);
  Set("txtAreaConst", "0.5");
  Tick("chkPerimConst", true);
  Set("txtPerimConst", " 2 ");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("meadows").Numbers("AREA"), ElementsAre(5000, 27500, 350));
  EXPECT_THAT(Table("meadows").Numbers("PERIMETER"), ElementsAre(800, 2600, 320));
}

TEST_F(AddAreaTest, AConstantCountsOnlyWhileItsBoxIsTicked) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Tick("chkAreaConst", true);
  Set("txtAreaConst", "no number");
  Tick("chkAreaConst", false);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("meadows").Numbers("AREA"), ElementsAre(10000, 55000, 700));
}

TEST_F(AddAreaTest, WritesOnlyWhatIsTicked) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Tick("chkPerim", false);
  Set("txtArea", "SIZE");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("meadows").ColumnNames(), ElementsAre("NAME", "VISITS", "HA", "SIZE"));
}

TEST_F(AddAreaTest, WithBothBoxesClearNothingChanges) {
  AddLayer("meadows.shp", Meadows());
  const std::string before = Bytes("meadows");
  OpenOn("meadows");
  Tick("chkArea", false);
  Tick("chkPerim", false);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(Bytes("meadows"), before);
}

TEST_F(AddAreaTest, AnUpdateReplacesTheFieldAndMovesItToTheEnd) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Choose("optUpdate");
  Set("cmbArea", "VISITS");
  Set("cmbPerim", "HA");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = Table("meadows");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "VISITS", "HA"));
  EXPECT_EQ(table.columns[1].type, "Real");
  EXPECT_THAT(table.Numbers("VISITS"), ElementsAre(10000, 55000, 700));
  EXPECT_THAT(table.Numbers("HA"), ElementsAre(400, 1300, 160));
}

TEST_F(AddAreaTest, ANewNameThatIsThereIsReplacedWhateverItsTypeAndCase) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Tick("chkPerim", false);
  Set("txtArea", "name");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = Table("meadows");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("VISITS", "HA", "name"));
  EXPECT_THAT(table.Numbers("name"), ElementsAre(10000, 55000, 700));
}

TEST_F(AddAreaTest, OneNameForBothHoldsThePerimeter) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Set("txtPerim", "Area");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("meadows").ColumnNames(), ElementsAre("NAME", "VISITS", "HA", "Area"));
  EXPECT_THAT(Table("meadows").Numbers("Area"), ElementsAre(400, 1300, 160));
}

TEST_F(AddAreaTest, ASelectionAndADefinitionQueryDoNotCount) {
  const auto layer = AddLayer("meadows.shp", Meadows());
  layer->SetDefinitionQuery("VISITS > 3");
  layer->AddToSelection(1);
  OpenOn("meadows");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("meadows").Numbers("AREA"), ElementsAre(10000, 55000, 700));
}

TEST_F(AddAreaTest, TheFirstLayerOfANameIsTheOneThatCounts) {
  AddLayer("a/meadows.shp", Meadows());
  AddLayer("b/meadows.shp", Meadows());
  OpenOn("meadows");
  EXPECT_THAT(Combo("cmbPFL").Items(), ElementsAre("meadows", "meadows"));
  Press("btnOK");
  EXPECT_EQ(Table("a/meadows").columns.size(), 5u);
  EXPECT_EQ(Table("b/meadows").columns.size(), 3u);
}

TEST_F(AddAreaTest, AnEmptyTableGetsItsFieldsWithoutProgress) {
  OgrDataset empty = Meadows();
  empty.records.clear();
  AddLayer("meadows.shp", empty);
  OpenOn("meadows");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_TRUE(Progress().empty());
  EXPECT_THAT(Table("meadows").ColumnNames(),
              ElementsAre("NAME", "VISITS", "HA", "AREA", "PERIMETER"));
}

TEST_F(AddAreaTest, TellsItsProgressOnTheStatusBar) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Press("btnOK");
  EXPECT_THAT(LastProgressOf("Calculating areas..."), ElementsAre(3, 3));
  EXPECT_THAT(LastProgressOf("Calculating perimeters..."), ElementsAre(3, 3));
}

TEST_F(AddAreaTest, OpenedAgainItStartsFromItsDesign) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Set("txtArea", "SIZE");
  Choose("optUpdate");
  Tick("chkArea", false);
  Tick("chkPerim", false);
  Press("btnOK");
  ASSERT_FALSE(IsOpen());
  OpenAgain();
  EXPECT_EQ(Combo("cmbPFL").text(), "");
  EXPECT_THAT(Combo("cmbPFL").Items(), ElementsAre("meadows"));
  EXPECT_EQ(Described()[4], "text txtArea [New field name:] in 'Options ' = AREA");
  EXPECT_TRUE(Shown("txtArea"));
  TakeSaid();
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Message{"Error: no polygon layer selected.", kExclamation, "Error"}));
}

TEST_F(AddAreaTest, AGeoPackageIsEditedToo) {
  OgrDataset meadows = Meadows();
  AddLayer("meadows.gpkg", meadows);
  OpenOn("meadows");
  Choose("optUpdate");
  Set("cmbArea", "HA");
  Set("cmbPerim", "VISITS");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = ReadOgr(Path("meadows.gpkg"));
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "HA", "VISITS"));
  EXPECT_THAT(table.Numbers("HA"), ElementsAre(10000, 55000, 700));
  EXPECT_THAT(table.Numbers("VISITS"), ElementsAre(400, 1300, 160));
  EXPECT_EQ(table.Texts("NAME"), meadows.Texts("NAME"));
}

TEST_F(AddAreaTest, AnAreaIsPositiveHoweverAFormatDrawsItsRings) {
  OgrDataset meadows = Meadows();
  meadows.records = {
      {"POLYGON((0 0, 100 0, 100 100, 0 100, 0 0))", {"Drawn the other way", "1", "1"}},
      {"POLYGON((0 0, 100 0, 100 100, 0 100, 0 0),(10 10, 20 10, 20 20, 10 20, 10 10))",
       {"Hole and edge the same way", "1", "1"}}};
  AddLayer("drawn.gpkg", meadows);
  AddLayer("turned.shp", meadows);
  for (const char* layer : {"drawn", "turned"}) {
    OpenOn(layer);
    Press("btnOK");
  }
  EXPECT_THAT(ReadOgr(Path("drawn.gpkg")).Numbers("AREA"), ElementsAre(10000, 9900));
  EXPECT_THAT(Table("turned").Numbers("AREA"), ElementsAre(10000, 9900));
}

// ---- The routines alone

TEST_F(AddAreaTest, TheRoutinesAnswerWhetherTheyReachedTheirEnd) {
  const auto layer = AddLayer("meadows.shp", Meadows());
  IFeatureClass& meadows = layer->FeatureClass();
  EXPECT_TRUE(TableAddArea(meadows, "A", 0.25, false));
  EXPECT_TRUE(TableAddPerim(meadows, "P", 4, false));
  EXPECT_TRUE(Progress().empty());
  EXPECT_THAT(Table("meadows").Numbers("A"), ElementsAre(2500, 13750, 175));
  EXPECT_THAT(Table("meadows").Numbers("P"), ElementsAre(1600, 5200, 640));
  const auto streams = AddLayer("streams.shp", {.type = "Line String",
                                                .columns = {{"ID", "Integer", 4}},
                                                .records = {{"LINESTRING(0 0, 1 1)", {"1"}}}});
  EXPECT_FALSE(TableAddArea(streams->FeatureClass(), "A", 1, false));
  EXPECT_THAT(said(),
              ElementsAre(Message{"TableAddArea: \r13\rType mismatch", kCritical, "Error"}));
}

TEST_F(AddAreaTest, AFieldOfAnyTypeBecomesADoubleOfSixteen) {
  const auto layer = AddLayer("meadows.gpkg", Meadows());
  IFeatureClass& meadows = layer->FeatureClass();
  EXPECT_TRUE(TableAddArea(meadows, "NAME", 1, false));
  const int at = meadows.FindField("NAME");
  EXPECT_EQ(at, meadows.Fields().FieldCount() - 1);
  EXPECT_EQ(meadows.Fields()[at].type, FieldType::kDouble);
}

TEST_F(AddAreaTest, AgreesWithGdalOnAnyPolygons) {
  Seeded random("AddAreaTest.AgreesWithGdalOnAnyPolygons");
  OgrDataset stars{.type = "Polygon", .columns = {{"ID", "Integer", 6}}, .records = {}};
  for (int i = 0; i < 200; ++i) stars.records.push_back({StarWkt(random), {"1"}});
  AddLayer("stars.shp", stars);
  OpenOn("stars");
  Press("btnOK");
  ASSERT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = Table("stars");
  const auto area = table.Numbers("AREA"), perimeter = table.Numbers("PERIMETER");
  for (std::size_t i = 0; i < 200; ++i) {
    const OgrMeasure gdal = MeasureOgr(table.records[i].wkt);
    ASSERT_NEAR(area[i], gdal.area, 1e-9 * gdal.area) << table.records[i].wkt;
    ASSERT_NEAR(perimeter[i], gdal.length, 1e-12 * gdal.length) << table.records[i].wkt;
  }
}

}  // namespace
}  // namespace orlinths
