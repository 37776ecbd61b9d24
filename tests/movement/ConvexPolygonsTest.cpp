#include "movement/ConvexPolygonsTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/FieldsAndDatasets.h"
#include "data/GeometryOperators.h"
#include "support/ConvexHullPlain.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// ---- The dialog

TEST_F(ConvexPolygonsTest, DeclaresItsControlsInOrder) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  Open<frmMCP>();
  EXPECT_EQ(dialog().caption, "Create Minimum Convex Polygons");
  EXPECT_EQ(dialog().HelpTag(), "MCP");
  EXPECT_THAT(
      Described(),
      ElementsAre(
          "combo cmbPL [Point locations layer:]",
          "check chkUseSelected [Use selected features only] = no off",
          "check chkMany [Create a different MCP for each unique value in this field:] = no",
          "combo cmbUV [] off",
          "check chkZero [Check for coordinates of value \"0\" and omit them from the MCP's "
          "(common in GPS collar data)] = no",
          "text txtOutput [MCP polygon shapefile to create:] =", "button btnFolder [...]",
          "progress PBar []", "text txtStatus [] =", "button btnOK [OK]", "button btnExit [Exit]",
          "button btnHelp [Web Help]"));
}

TEST_F(ConvexPolygonsTest, WarnsOfAMapWithoutPointsAndTurnsOkOff) {
  AddLayer("range.shp", {.type = "Polygon", .columns = {{"ID", "Integer", 4}}});
  Open<frmMCP>();
  EXPECT_THAT(said(),
              ElementsAre(Message{"Warning: no point layers present in map (nothing to work with).",
                                  kExclamation, "Warning"}));
  EXPECT_FALSE(At("btnOK").enabled);
  EXPECT_TRUE(IsOpen());
}

TEST_F(ConvexPolygonsTest, OffersPointLayersAndTheFieldsThatIdentifyAGroup) {
  OgrDataset data = FixesOf(ThreeAnimals());
  data.columns.push_back({"SPEED", "Real", 12, 3});
  data.columns.push_back({"SEEN", "Date"});
  AddLayer("fixes.shp", data);
  AddLayer("nests.shp", {.type = "Point", .columns = {{"NEST", "Integer", 4}}});
  AddLayer("range.shp", {.type = "Polygon", .columns = {{"ID", "Integer", 4}}});
  Open<frmMCP>();
  EXPECT_THAT(Combo("cmbPL").Items(), ElementsAre("fixes", "nests"));
  EXPECT_EQ(Combo("cmbPL").text(), "");
  Set("cmbPL", "fixes");
  EXPECT_THAT(Combo("cmbUV").Items(), ElementsAre("FID", "ANIMAL", "NAME"));
  GroupBy("NAME");
  Set("cmbPL", "nests");
  EXPECT_THAT(Combo("cmbUV").Items(), ElementsAre("FID", "NEST"));
  EXPECT_EQ(Combo("cmbUV").text(), "");
}

TEST_F(ConvexPolygonsTest, TheFieldIsOnWhileTheBoxIs) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  OpenOn("fixes");
  EXPECT_FALSE(Shown("cmbUV"));
  Tick("chkMany", true);
  EXPECT_TRUE(Shown("cmbUV"));
  Tick("chkMany", false);
  EXPECT_FALSE(Shown("cmbUV"));
  Tick("chkMany", true);
  Press("btnExit");
  OpenAgain();
  EXPECT_FALSE(Shown("cmbUV"));
}

TEST_F(ConvexPolygonsTest, TheSelectionIsOfferedWhileTheLayerHasOne) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()))->SetSelectionSet(ISelectionSet({1}));
  AddLayer("nests.shp", FixesOf(ThreeAnimals()));
  Open<frmMCP>();
  EXPECT_FALSE(At("chkUseSelected").enabled);
  Set("cmbPL", "fixes");
  EXPECT_TRUE(At("chkUseSelected").enabled);
  Set("cmbPL", "nests");
  EXPECT_FALSE(At("chkUseSelected").enabled);
}

TEST_F(ConvexPolygonsTest, AsksForTheLayerThenTheFieldThenTheOutput) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  Open<frmMCP>();
  const auto refusal = [&] {
    Press("btnOK");
    const auto all = TakeSaid();
    EXPECT_EQ(all.size(), 1u);
    EXPECT_EQ(all.front().flags, kExclamation);
    EXPECT_EQ(all.front().title, "ERROR");
    return all.front().text;
  };
  Tick("chkMany", true);
  EXPECT_EQ(refusal(), "ERROR: no input layer selected.");
  Set("cmbPL", "fixes");
  EXPECT_EQ(refusal(), "ERROR: no unique value field selected.");
  Set("cmbUV", "ANIMAL");
  EXPECT_EQ(refusal(), "ERROR: no output name defined.");
  Set("cmbUV", "ANIMAL");
  Tick("chkMany", false);
  EXPECT_EQ(refusal(), "ERROR: no output name defined.");
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes"}));
}

TEST_F(ConvexPolygonsTest, ThePickerShowsThePathAndDeletesWhatIsThere) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  WriteOgr(Path("old.shp"), FixesOf(ThreeAnimals()));
  OpenOn("fixes");
  EXPECT_EQ(host_.dialogs.questions.back().title, "Save MCP Shapefile As...");
  EXPECT_EQ(At("txtOutput").name, "txtOutput");
  EXPECT_EQ(host_.dialogs.Top().Text("txtOutput"), Path("out.shp"));
  Pick("old.shp");
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes"}));
}

TEST_F(ConvexPolygonsTest, ExitClosesAndHelpOpensItsPage) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  Open<frmMCP>();
  Press("btnHelp");
  ASSERT_EQ(ShellTargets().size(), 1u);
  EXPECT_THAT(ShellTargets()[0], ::testing::EndsWith("otools/createmcp.php"));
  Press("btnExit");
  EXPECT_FALSE(IsOpen());
}

// ---- One polygon

TEST_F(ConvexPolygonsTest, MakesOnePolygonOfAllPoints) {
  AddLayer("fixes.shp", FixesOf({{1, {4, 0}}, {1, {0, 3}}, {2, {1, 2}}, {1, {0, 0}}}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_FALSE(IsOpen());
  EXPECT_THAT(host_.addedLayers, ElementsAre("out"));
  const OgrDataset out = Table("out");
  EXPECT_THAT(out.ColumnNames(), ElementsAre("Id", "AREA", "PERIM"));
  EXPECT_EQ(out.columns[1].type, "Real");
  ASSERT_EQ(out.records.size(), 1u);
  EXPECT_EQ(Wkts("out")[0], "POLYGON((0 3, 4 0, 0 0, 0 3))");
  EXPECT_THAT(out.Numbers("AREA"), ElementsAre(6));
  EXPECT_THAT(out.Numbers("PERIM"), ElementsAre(12));
  EXPECT_EQ(OpenShapefile(FolderOf(Path("x")), "out")->SpatialReference()->FactoryCode(), 32736);
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes", "out"}));
  EXPECT_THAT(host_.dialogs.statuses, ::testing::Contains("Processing..."));
}

TEST_F(ConvexPolygonsTest, WithoutABoxTheWholeClassCounts) {
  const auto layer =
      AddLayer("fixes.shp", FixesOf({{1, {4, 0}}, {1, {0, 3}}, {2, {1, 2}}, {1, {0, 0}}}));
  layer->SetDefinitionQuery("ANIMAL = 2");
  layer->SetSelectionSet(ISelectionSet({2}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(Wkts("out"), ElementsAre("POLYGON((0 3, 4 0, 0 0, 0 3))"));
}

TEST_F(ConvexPolygonsTest, TheSelectionAlone) {
  const auto layer = AddLayer(
      "fixes.shp", FixesOf({{1, {4, 0}}, {1, {0, 3}}, {2, {1, 2}}, {1, {0, 0}}, {3, {9, 9}}}));
  layer->SetSelectionSet(ISelectionSet({0, 2, 3}));
  OpenOn("fixes");
  Tick("chkUseSelected", true);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Wkts("out"), ElementsAre("POLYGON((0 0, 1 2, 4 0, 0 0))"));
  EXPECT_THAT(TemporaryFiles(), IsEmpty());
}

TEST_F(ConvexPolygonsTest, APointWithACoordinateOfZeroIsOmitted) {
  const auto layer = AddLayer("fixes.shp", FixesOf({{1, {0, 55}},
                                                    {1, {1, 1}},
                                                    {2, {33, 0}},
                                                    {1, {1, 4}},
                                                    {1, {5, 1}},
                                                    {1, {0, 0}},
                                                    {3, {-70, 1}}}));
  layer->SetDefinitionQuery("ANIMAL < 3");  // counts where the layer is read
  OpenOn("fixes");
  Tick("chkZero", true);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Wkts("out"), ElementsAre("POLYGON((1 1, 1 4, 5 1, 1 1))"));
  EXPECT_THAT(Table("out").Numbers("AREA"), ElementsAre(6));
  EXPECT_THAT(TemporaryFiles(), IsEmpty());
}

TEST_F(ConvexPolygonsTest, WithoutTheBoxZerosCount) {
  AddLayer("fixes.shp", FixesOf({{1, {0, 55}}, {1, {1, 1}}, {1, {5, 1}}}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(Wkts("out"), ElementsAre("POLYGON((0 55, 5 1, 1 1, 0 55))"));
}

TEST_F(ConvexPolygonsTest, ARecordWithoutShapeCountsAndIsNoVertex) {
  OgrDataset data = FixesOf({{1, {4, 0}}, {1, {0, 3}}, {1, {0, 0}}});
  data.records[2].wkt.clear();
  AddLayer("fixes.shp", data);
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Wkts("out"), ElementsAre("POLYGON((0 3, 4 0, 0 3))"));
  EXPECT_THAT(Table("out").Numbers("AREA"), ElementsAre(0));
  EXPECT_THAT(Table("out").Numbers("PERIM"), ElementsAre(10));
}

// ---- A polygon a group

TEST_F(ConvexPolygonsTest, MakesAPolygonOfEachGroupAndPassesOverPairs) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  OpenOn("fixes");
  GroupBy("ANIMAL");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_FALSE(IsOpen());
  const OgrDataset out = Table("out");
  EXPECT_THAT(out.ColumnNames(), ElementsAre("Id", "ANIMAL", "AREA", "PERIM"));
  EXPECT_EQ(out.columns[1], (OgrColumn{"ANIMAL", "Integer64", 11, 0}));
  EXPECT_THAT(Wkts("out"), ElementsAre(kSquareOf2, kTriangleOf3));
  EXPECT_THAT(out.Numbers("ANIMAL"), ElementsAre(2, 3));
  EXPECT_THAT(out.Numbers("AREA"), ElementsAre(100, 6));
  EXPECT_THAT(out.Numbers("PERIM"), ElementsAre(40, 12));
  EXPECT_THAT(host_.dialogs.statuses,
              ::testing::IsSupersetOf({"Processing...", "Creating MCP's...  (100%)"}));
  EXPECT_EQ(host_.dialogs.progress.front(), 0);
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes", "out"}));
}

TEST_F(ConvexPolygonsTest, TextsAreTakenAsTheyAre) {
  const std::vector<Location> triangle{{1, {0, 0}}, {1, {0, 4}}, {1, {3, 0}}};
  OgrDataset data = FixesOf({});
  for (const std::string name : {"o'neill", "O'Neill", "\"Ö\"", ""})
    for (const Location& fix : triangle)
      data.records.push_back({AsWkt(Point{.x = fix.at.x, .y = fix.at.y}), {"1", name}});
  AddLayer("fixes.shp", data);
  OpenOn("fixes");
  GroupBy("NAME");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("out").Texts("NAME"), ElementsAre("", "\"Ö\"", "O'Neill", "o'neill"));
  EXPECT_EQ(Table("out").columns[1], (OgrColumn{"NAME", "String", 12, 0}));
}

TEST_F(ConvexPolygonsTest, ALongTextFindsRoomWhereItsOwnTableSetsNoLength) {
  const std::string longName(120, 'x');
  OgrDataset data = FixesOf({{1, {1, 1}}, {1, {1, 4}}, {1, {3, 1}}});
  data.columns[1].width = 0;
  for (OgrRecord& record : data.records) record.values[1] = longName;
  AddLayer("fixes.gpkg", data);
  for (const bool copies : {false, true}) {
    OpenOn("fixes");
    GroupBy("NAME");
    Tick("chkZero", copies);
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(kComplete));
    EXPECT_THAT(Table("out").Texts("NAME"), ElementsAre(longName));
    host_.map.Clear();
    AddFile("fixes.gpkg");
  }
}

TEST_F(ConvexPolygonsTest, AFieldThatIsCalledLikeTheOutputsOwnIsCarriedAlong) {
  OgrDataset data = FixesOf(ThreeAnimals());
  data.columns[0].name = "ID";
  AddLayer("fixes.shp", data);
  OpenOn("fixes");
  GroupBy("ID");
  Tick("chkZero", true);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("out").ColumnNames(), ElementsAre("ID", "AREA", "PERIM"));
  EXPECT_THAT(Table("out").Numbers("ID"), ElementsAre(3));  // of 2 two points have no zero
}

TEST_F(ConvexPolygonsTest, GroupsOfTheSelectionWithoutZeros) {
  OgrDataset data = FixesOf(ThreeAnimals());
  const auto layer = AddLayer("fixes.shp", data);
  std::vector<Oid> selected;
  for (Oid oid = 0; oid < 9; ++oid) selected.push_back(oid);  // one of animal 3 is not
  layer->SetSelectionSet(ISelectionSet(selected));
  OpenOn("fixes");
  GroupBy("ANIMAL");
  Tick("chkUseSelected", true);
  Tick("chkZero", true);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_TRUE(Table("out").records.empty()) << "of animal 2 two points have no zero";
  EXPECT_THAT(TemporaryFiles(), IsEmpty());
}

TEST_F(ConvexPolygonsTest, TheObjectIdMakesNoGroups) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  OpenOn("fixes");
  GroupBy("FID");
  Press("btnOK");
  ASSERT_EQ(said().size(), 2u);
  EXPECT_THAT(said()[0].text, ::testing::StartsWith("AddNewField: BName: FID, Type: 6\r"));
  EXPECT_EQ(said()[1], kComplete);
  EXPECT_TRUE(Table("out").records.empty());
}

TEST_F(ConvexPolygonsTest, TheObjectIdCannotBeCopiedForGroupsEither) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  OpenOn("fixes");
  GroupBy("FID");
  Tick("chkZero", true);
  Press("btnOK");
  ASSERT_EQ(said().size(), 2u);
  EXPECT_THAT(said()[0].text, ::testing::StartsWith("AddNewField: BName: FID, Type: 6\r"));
  EXPECT_THAT(said()[1].text, ::testing::StartsWith("MCP: F\r9\r"));
  EXPECT_TRUE(IsOpen());
}

TEST_F(ConvexPolygonsTest, WhatAFailedRunHasLeftGoesWithTheNextThatEndsWell) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  for (const char* name : {"tmp_mcp.shp", "tmp_uvmcp.shp"})
    WriteOgr(Path(name), FixesOf(ThreeAnimals()));
  WriteBytes(Path("tmp_mcp.shp.xml"), "<metadata/>");
  WriteBytes(Path("tmp_uvmcp.sbn"), "index");
  OpenOn("fixes");
  GroupBy("ANIMAL");
  Tick("chkZero", true);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(TemporaryFiles(), IsEmpty());
}

TEST_F(ConvexPolygonsTest, WithoutABoxAndWithoutAGroupNobodyTouchesTheTemporaryNames) {
  AddLayer("fixes.shp", FixesOf({{1, {4, 0}}, {1, {0, 3}}, {1, {0, 0}}}));
  for (const char* name : {"tmp_mcp.shp", "tmp_uvmcp.shp"})
    WriteOgr(Path(name), FixesOf(ThreeAnimals()));
  const std::string before = Bytes("tmp_mcp") + Bytes("tmp_uvmcp");
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_EQ(Bytes("tmp_mcp") + Bytes("tmp_uvmcp"), before);
}

// ---- Against others

TEST_F(ConvexPolygonsTest, EveryGroupHasThePolygonOfAWalkOverItsPoints) {
  Seeded random("ConvexPolygonsTest.EveryGroupHasThePolygonOfAWalkOverItsPoints");
  std::vector<Location> fixes;
  for (int i = 0; i < 3000; ++i)
    fixes.push_back({static_cast<int>(random.Whole(1, 25)),
                     {random.Real(3e5, 3.1e5), random.Real(7e6, 7.1e6)}});
  AddLayer("fixes.shp", FixesOf(fixes));
  OpenOn("fixes");
  GroupBy("ANIMAL");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  const auto rows = OpenShapefile(FolderOf(Path("x")), "out")->Search();
  for (int animal = 1; animal <= 25; ++animal) {
    std::vector<Coord> points;
    for (const Location& fix : fixes)
      if (fix.animal == animal) points.push_back(fix.at);
    const IFeature* row = rows->Next();
    ASSERT_NE(row, nullptr);
    EXPECT_THAT(row->Polygon().Coords(), ::testing::ElementsAreArray(*HullPlain(points)));
  }
  EXPECT_EQ(rows->Next(), nullptr);
}

TEST_F(ConvexPolygonsTest, HasTheVerticesAndTheMeasuresOfTheConvexHullOfGeos) {
  Seeded random("ConvexPolygonsTest.HasTheVerticesAndTheMeasuresOfTheConvexHullOfGeos");
  for (int i = 0; i < 20; ++i) {
    std::vector<Location> fixes;
    Multipoint all;
    for (auto n = random.Whole(3, 400); n > 0; --n) {
      fixes.push_back({1, {random.Real(3e5, 3.1e5), random.Real(7e6, 7.02e6)}});
      all.AddPoint(fixes.back().at.x, fixes.back().at.y);
    }
    host_.map.Clear();
    const std::string folder = "run" + std::to_string(i) + "/";
    AddLayer(folder + "fixes.shp", FixesOf(fixes));
    Open<frmMCP>();
    Set("cmbPL", "fixes");
    Pick(folder + "out.shp");
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(kComplete));
    const Polygon hull = ConvexHull(all).AsPolygon();
    const auto rows = OpenShapefile(Path("run" + std::to_string(i)), "out")->Search();
    const Polygon polygon = rows->Next()->Polygon();
    EXPECT_THAT(
        std::vector<Coord>(polygon.Coords().begin() + 1, polygon.Coords().end()),
        ::testing::UnorderedElementsAreArray(hull.Coords().begin() + 1, hull.Coords().end()));
    const OgrMeasure measure = MeasureOgr(AsWkt(hull));
    EXPECT_NEAR(Table(folder + "out").Numbers("AREA").at(0), measure.area, 1e-9 * measure.area);
    EXPECT_NEAR(Table(folder + "out").Numbers("PERIM").at(0), measure.length,
                1e-12 * measure.length);
  }
}

}  // namespace
}  // namespace orlinths
