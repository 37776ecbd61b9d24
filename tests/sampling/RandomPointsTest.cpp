// Random points in polygons: which points come out, draw by draw.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "RandomPointsFixture.h"
#include "data/FieldsAndDatasets.h"
#include "data/GeometryOperators.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

const char* const kSquare = "POLYGON((0 0, 0 100, 100 100, 100 0, 0 0))";
// A ring with a hole, two parts, and two polygons that overlap.
const char* const kLake =
    "POLYGON((500 300, 510 390, 590 395, 600 310, 500 300), (540 330, 560 330, 560 360, 540 330))";
const char* const kIslands =
    "MULTIPOLYGON(((700 0, 700 50, 760 50, 760 0, 700 0)), ((800 80, 850 160, 900 80, 800 80)))";
const char* const kLeft = "POLYGON((0 0, 0 60, 60 60, 60 0, 0 0))";
const char* const kRight = "POLYGON((30 10, 30 90, 120 90, 120 10, 30 10))";
const char* const kFar = "POLYGON((200 0, 200 40, 260 40, 260 0, 200 0))";
const char* const kBowTie = "POLYGON((0 0, 100 100, 100 0, 0 100, 0 0))";

Envelope ExtentOf(const std::vector<Polygon>& polygons) {
  Envelope extent;
  for (const Polygon& polygon : polygons) extent.Add(polygon.Envelope());
  return extent;
}

// ---- One polygon, all polygons

TEST_F(RandomPointsTest, FillsASinglePolygon) {
  for (const char* shape : {kSquare, kLake, kIslands, kBowTie}) {
    host_.map.Clear();
    host_.addedLayers.clear();
    const auto layer = AddPolygons("zones", {shape});
    OpenOn("zones").Set("txtNPnts", "700");
    Run();
    Rewind();
    PlainSampler plain;
    plain.InPolygon(Shapes(*layer)[0], layer->Extent(), 700);
    ExpectAs(plain);
    EXPECT_EQ(Points().size(), 700u);
    DeleteFile(folder_.Path(), "out");
    DeleteFile(folder_.Path(), "zones");
  }
}

TEST_F(RandomPointsTest, TheSameClockGivesTheSamePointsAndAnotherClockOthers) {
  AddPolygons("zones", {kSquare});
  std::vector<std::vector<Coord>> runs;
  for (const std::int64_t clock : {5, 5, 6}) {
    host_.map.Clear();
    host_.AddLayer(Path("zones.shp"));
    host_.messages.clock = clock;
    OpenOn("zones").Set("txtNPnts", "20");
    Run();
    runs.push_back(Points());
  }
  EXPECT_EQ(runs[0], runs[1]);
  EXPECT_NE(runs[0], runs[2]);
}

TEST_F(RandomPointsTest, FillsAllPolygons) {
  const auto layer = AddPolygons("zones", {kLeft, kFar, kLake, kRight, kIslands});
  OpenOn("zones").Set("txtNPnts", "500");
  Run();
  Rewind();
  PlainSampler plain;
  plain.InPolygons(Shapes(*layer), layer->Extent(), 500);
  ExpectAs(plain);
}

TEST_F(RandomPointsTest, FillsTheSelectedOfSeveral) {
  const auto layer = AddPolygons("zones", {kLeft, kFar, kRight, kLake});
  layer->SetSelectionSet(ISelectionSet({1, 2}));
  OpenOn("zones").Set("txtNPnts", "400").Check("chkUseSelected");
  Run();
  Rewind();
  const std::vector<Polygon> shapes = Shapes(*layer);
  PlainSampler plain;
  plain.InPolygons(shapes, ExtentOf({shapes[1], shapes[2]}), 400, std::set<std::size_t>{1, 2});
  ExpectAs(plain);
  // Where `left` lies over `right` it is identified first, and it is not selected.
  for (const Coord& at : Points()) EXPECT_FALSE(at.x < 60 && at.y < 60);
}

TEST_F(RandomPointsTest, FillsTheOneSelected) {
  const auto layer = AddPolygons("zones", {kLeft, kFar, kRight});
  layer->SetSelectionSet(ISelectionSet({2}));
  OpenOn("zones").Set("txtNPnts", "300").Check("chkUseSelected");
  Run();
  Rewind();
  const Polygon right = Shapes(*layer)[2];
  PlainSampler plain;
  plain.InPolygon(right, right.Envelope(), 300);
  ExpectAs(plain);
}

TEST_F(RandomPointsTest, ASelectionThatIsNotAskedForDoesNotCount) {
  const auto layer = AddPolygons("zones", {kLeft, kFar});
  layer->SetSelectionSet(ISelectionSet({1}));
  OpenOn("zones").Set("txtNPnts", "100");
  Run();
  Rewind();
  PlainSampler plain;
  plain.InPolygons(Shapes(*layer), layer->Extent(), 100);
  ExpectAs(plain);
}

TEST_F(RandomPointsTest, WhatTheLayersQueryHidesHoldsNoPoint) {
  const auto layer = AddPolygons("zones", {kLeft, kFar, kRight}, {"1", "2", "3"});
  layer->SetDefinitionQuery("NUM > 1");
  OpenOn("zones").Set("txtNPnts", "200");
  Run();
  Rewind();
  const std::vector<Polygon> shapes = Shapes(*layer);
  PlainSampler plain;
  plain.InPolygons({shapes[1], shapes[2]}, layer->Extent(), 200);  // the extent is the class's
  ExpectAs(plain);
}

// Two units in the last place wide: a quarter of all candidates lie on the western edge, another on
// the eastern. With one polygon a point must lie inside, with two it may lie on a boundary.
TEST_F(RandomPointsTest, ABoundaryIsInALayerAndNotInAPolygon) {
  const char* const thin =
      "POLYGON((1000000000 0, 1000000000 8, 1000000000.0000002384185791 8, "
      "1000000000.0000002384185791 0, 1000000000 0))";
  for (const bool isSingle : {true, false}) {
    host_.addedLayers.clear();
    const auto layer = isSingle ? AddPolygons("one", {thin}) : AddPolygons("two", {thin, thin});
    OpenOn(layer->Name()).Set("txtNPnts", "300");
    Run();
    Rewind();
    PlainSampler plain;
    if (isSingle)
      plain.InPolygon(Shapes(*layer)[0], layer->Extent(), 300);
    else
      plain.InPolygons(Shapes(*layer), layer->Extent(), 300);
    ExpectAs(plain);
    const auto points = Points();
    const bool isOnEdge = std::ranges::any_of(points, [](const Coord& at) { return at.x == 1e9; });
    EXPECT_EQ(isOnEdge, !isSingle);
  }
}

TEST_F(RandomPointsTest, NoPointsAreDoneAtOnce) {
  AddPolygons("zones", {kSquare, kFar});
  OpenOn("zones").Set("txtNPnts", "0");
  Run();
  Rewind();
  ExpectAs(PlainSampler{});
  EXPECT_TRUE(Points().empty());
  EXPECT_EQ(Said(), std::vector<Message>{kComplete});
}

TEST_F(RandomPointsTest, GivesUpAfter100001CandidatesAndKeepsThePoints) {
  // The corners of a wide box: of two polygons far apart no candidate meets one but by luck.
  const auto layer = AddPolygons(
      "zones", {"POLYGON((0 0, 0 1, 1 1, 1 0, 0 0))",
                "POLYGON((9000000 9000000, 9000000 9000001, 9000001 9000001, 9000000 9000000))"});
  OpenOn("zones").Set("txtNPnts", "3");
  Run();
  Rewind();
  PlainSampler plain;
  plain.InPolygons(Shapes(*layer), layer->Extent(), 3);
  ASSERT_EQ(plain.candidates, 100001);
  ExpectAs(plain);
}

TEST_F(RandomPointsTest, GivesUpAfter100000MoreOnceAPointIsStored) {
  const auto layer = AddPolygons("zones", {kSquare});
  OpenOn("zones").Set("txtNPnts", "2").Check("chkMinDist").Set("txtMinDist", "1000");
  Run();
  Rewind();
  PlainSampler plain;
  plain.minimum = 1000;
  plain.InPolygon(Shapes(*layer)[0], layer->Extent(), 2);
  ASSERT_EQ(plain.candidates, 1 + 100000);
  ExpectAs(plain);
  EXPECT_EQ(Points().size(), 1u);
}

TEST_F(RandomPointsTest, ALayerWithoutPolygonsGivesUp) {
  AddPolygons("zones", {});
  OpenOn("zones").Set("txtNPnts", "1");
  Run();
  EXPECT_EQ(Said(), std::vector<Message>{kGaveUpMessage});
  EXPECT_TRUE(Points().empty());
  EXPECT_EQ(host_.addedLayers, Texts{"out"});
}

TEST_F(RandomPointsTest, ASinglePolygonWithoutShapeEndsTheRun) {
  AddPolygons("zones", {""});
  OpenOn("zones").Set("txtNPnts", "5");
  Run();
  EXPECT_EQ(Said(), std::vector<Message>({{"Error: a geometry error has occured. Cannot continue.",
                                           kCritical, "Error"}}));
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE((**hand_).IsEnabled());
  EXPECT_FALSE((**hand_).EndedInSuccess());
  EXPECT_EQ(hand_->Text("txtStatus"), "");
  EXPECT_TRUE(host_.addedLayers.empty());
  EXPECT_TRUE(Points().empty());  // the shapefile is there
}

TEST_F(RandomPointsTest, PolygonsWithoutShapeAmongOthersHoldNoPoint) {
  const auto layer = AddPolygons("zones", {"", kLeft, "", kFar});
  OpenOn("zones").Set("txtNPnts", "150");
  Run();
  Rewind();
  PlainSampler plain;
  plain.InPolygons({Shapes(*AddPolygons("shapes", {kLeft, kFar}))}, layer->Extent(), 150);
  ExpectAs(plain);
}

// ---- Distance

TEST_F(RandomPointsTest, KeepsTheDistanceAmongAllPoints) {
  const auto layer = AddPolygons("zones", {kLeft, kFar, kRight});
  OpenOn("zones").Set("txtNPnts", "60").Check("chkMinDist").Set("txtMinDist", "8.5");
  Run();
  Rewind();
  PlainSampler plain;
  plain.minimum = 8.5;
  plain.InPolygons(Shapes(*layer), layer->Extent(), 60);
  ExpectAs(plain);
  EXPECT_FALSE(plain.gaveUp);
  EXPECT_GT(plain.candidates, 120);
}

TEST_F(RandomPointsTest, KeepsTheDistanceAmongAllPolygonsOrWithinEach) {
  for (const bool amongAll : {true, false}) {
    const auto layer = AddPolygons(amongAll ? "all" : "each", {kLeft, kRight, kLake});
    OpenOn(layer->Name()).Choose("optPoly").Set("txtExactCnt", "12").Choose("cmbUID", "NUM");
    hand_->Check("chkMinDist").Set("txtMinDist", "9");
    hand_->Choose(amongAll ? "optMinDistAll" : "optMinDistWithin");
    host_.addedLayers.clear();
    Run();
    Rewind();
    PlainSampler plain;
    plain.minimum = 9;
    plain.amongAll = amongAll;
    plain.InEach(Shapes(*layer), {12, 12, 12});
    ExpectAs(plain);
    EXPECT_EQ(Points().size(), 36u);
  }
}

// ---- Exclusion

TEST_F(RandomPointsTest, KeepsOutOfTheExcludedPolygons) {
  const auto zones = AddPolygons("zones", {kLeft, kFar, kLake});
  const auto lakes = AddPolygons("lakes", {kRight, "POLYGON((210 0, 220 50, 230 0, 210 0))"});
  lakes->SetSelectionSet(ISelectionSet({0}));  // no effect
  lakes->SetDefinitionQuery("NUM > 5");        // no effect: the class is asked, whole
  host_.messages.answers = {true};
  OpenOn("zones").Set("txtNPnts", "250").Check("chkPrevent").Choose("cmbPreventL", "lakes");
  Run();
  Rewind();
  PlainSampler plain;
  plain.excluded = Shapes(*lakes);
  plain.InPolygons(Shapes(*zones), zones->Extent(), 250);
  ExpectAs(plain);
  ASSERT_EQ(Said().size(), 2u);
  EXPECT_EQ(
      Said()[0],
      (Message{"Warning: you have specified a layer containing features in which random points\r"
               "will not be placed. If the features in this layer cover all of the space in "
               "which random points\r"
               "could be generated, this program will enter an infinite loop. Continue?",
               kYesNo, "Warning"}));
}

TEST_F(RandomPointsTest, KeepsOutOfTheExcludedPolygonsInEveryDesign) {
  const auto one = AddPolygons("one", {kLake});
  const auto lakes = AddPolygons("lakes", {"POLYGON((500 300, 600 395, 600 300, 500 300))"});
  for (const bool isStratified : {false, true}) {
    host_.messages.answers = {true};
    host_.addedLayers.clear();
    OpenOn("one").Check("chkPrevent").Choose("cmbPreventL", "lakes").Set("txtNPnts", "90");
    if (isStratified) hand_->Choose("optPoly").Set("txtExactCnt", "90").Choose("cmbUID", "FID");
    hand_->Check("chkMinDist").Set("txtMinDist", "1");
    Run();
    Rewind();
    PlainSampler plain;
    plain.minimum = 1;
    plain.excluded = Shapes(*lakes);
    if (isStratified)
      plain.InEach(Shapes(*one), {90});
    else
      plain.InPolygon(Shapes(*one)[0], one->Extent(), 90);
    ExpectAs(plain);
    EXPECT_EQ(Points().size(), 90u);
  }
}

TEST_F(RandomPointsTest, AsksAboutAnEmptyExclusionLayerToo) {
  const auto zones = AddPolygons("zones", {kSquare});
  AddPolygons("lakes", {});
  host_.messages.answers = {true};
  OpenOn("zones").Set("txtNPnts", "30").Check("chkPrevent").Choose("cmbPreventL", "lakes");
  Run();
  Rewind();
  PlainSampler plain;
  plain.InPolygon(Shapes(*zones)[0], zones->Extent(), 30);
  ExpectAs(plain);
  EXPECT_EQ(Said().size(), 2u);
}

TEST_F(RandomPointsTest, ANoLeavesTheDialogDisabledAndTheShapefileEmpty) {
  AddPolygons("zones", {kSquare});
  host_.messages.answers = {false};
  OpenOn("zones").Set("txtNPnts", "30").Check("chkPrevent").Choose("cmbPreventL", "zones");
  Run();
  EXPECT_EQ(Said().size(), 1u);
  EXPECT_TRUE(IsOpen());
  EXPECT_FALSE((**hand_).IsEnabled());
  EXPECT_FALSE((**hand_).EndedInSuccess());
  EXPECT_EQ(hand_->Text("txtStatus"), "Processing...");
  EXPECT_TRUE(host_.addedLayers.empty());
  EXPECT_TRUE(Points().empty());
}

TEST_F(RandomPointsTest, AnExcludedSpaceGivesUp) {
  AddPolygons("zones", {kSquare});
  host_.messages.answers = {true};
  OpenOn("zones").Set("txtNPnts", "3").Check("chkPrevent").Choose("cmbPreventL", "zones");
  Run();
  ASSERT_EQ(Said().size(), 2u);
  EXPECT_EQ(Said()[1], kGaveUpMessage);
  EXPECT_FALSE(IsOpen());
  EXPECT_TRUE(Points().empty());
}

// ---- Stratified designs

TEST_F(RandomPointsTest, GivesEachPolygonItsCount) {
  const auto layer = AddPolygons("zones", {kLeft, kLake, kIslands, kRight, kBowTie});
  OpenOn("zones").Choose("optPoly").Set("txtExactCnt", "40").Choose("cmbUID", "NAME");
  Run();
  Rewind();
  PlainSampler plain;
  plain.InEach(Shapes(*layer), {40, 40, 40, 40, 40});
  ExpectAs(plain);
  Texts names;
  for (const std::size_t zone : plain.zones)
    names.push_back(std::string("zone ") + static_cast<char>('a' + zone));
  EXPECT_EQ(Column("NAME"), names);
}

TEST_F(RandomPointsTest, GivesSelectedPolygonsTheirCount) {
  const auto layer = AddPolygons("zones", {kLeft, kLake, kFar});
  layer->SetSelectionSet(ISelectionSet({0, 2}));
  OpenOn("zones").Choose("optPoly").Set("txtExactCnt", "7").Choose("cmbUID", "FID");
  hand_->Check("chkUseSelected");
  Run();
  Rewind();
  const auto shapes = Shapes(*layer);
  PlainSampler plain;
  plain.InEach({shapes[0], shapes[2]}, {7, 7});
  ExpectAs(plain);
  EXPECT_EQ(Column("FIDRef"),
            (Texts{"0", "0", "0", "0", "0", "0", "0", "2", "2", "2", "2", "2", "2", "2"}));
}

TEST_F(RandomPointsTest, WhatTheLayersQueryHidesGetsNoCount) {
  const auto layer = AddPolygons("zones", {kLeft, kFar}, {"1", "2"});
  layer->SetDefinitionQuery("NUM = 2");
  OpenOn("zones").Choose("optPoly").Set("txtExactCnt", "3").Choose("cmbUID", "FID");
  Run();
  EXPECT_EQ(Column("FIDRef"), (Texts{"1", "1", "1"}));
}

// 100 map units of area each, so that densities are easy: 2.5, 2.4, 0.5 and 0.4 points.
TEST_F(RandomPointsTest, RoundsDensitiesHalvesUp) {
  const auto layer = AddPolygons(
      "zones",
      {"POLYGON((0 0, 0 10, 10 10, 10 0, 0 0))", "POLYGON((20 0, 20 9.6, 30 9.6, 30 0, 20 0))",
       "POLYGON((40 0, 40 2, 50 2, 50 0, 40 0))", "POLYGON((60 0, 60 1.6, 70 1.6, 70 0, 60 0))"});
  OpenOn("zones").Choose("optDens").Set("txtDens", "0.025").Choose("cmbUID", "FID");
  Run();
  Rewind();
  PlainSampler plain;
  plain.InEach(Shapes(*layer), {3, 2, 1, 0});
  ExpectAs(plain);
  EXPECT_EQ(Column("FIDRef"), (Texts{"0", "0", "0", "1", "1", "2"}));
}

TEST_F(RandomPointsTest, TakesNumbersFromAFieldAndSkipsSenselessOnes) {
  const auto layer = AddPolygons("zones", {kLeft, kFar, kRight, kLake, kIslands, kSquare},
                                 {"2.5", "-1", "1000001", "0", "-0.5", "1.4"});
  OpenOn("zones").Choose("optFld").Choose("cmbFld", "NUM").Choose("cmbUID", "FID");
  Run();
  Rewind();
  PlainSampler plain;
  plain.InEach(Shapes(*layer), {3, 0, 0, 0, 0, 1});
  ExpectAs(plain);
  EXPECT_EQ(
      Said(),
      std::vector<Message>(
          {{"Error: negative number encountered in number of points to generate. Skipping this "
            "polygon.",
            kExclamation, "Warning"},
           {"Error: attempted to generate > 1M points in a polygon (assumed error). Skipping "
            "this polygon.",
            kExclamation, "Warning"},
           kComplete}));
  EXPECT_EQ(Column("FIDRef"), (Texts{"0", "0", "0", "5"}));
}

TEST_F(RandomPointsTest, AMillionPointsAreAllowed) {
  AddPolygons("zones", {kLeft, kFar}, {"1000000", "1"});
  OpenOn("zones").Choose("optFld").Choose("cmbFld", "NUM").Choose("cmbUID", "FID");
  hand_->Check("chkMinDist").Set("txtMinDist", "90").Choose("optMinDistWithin");
  Run();
  EXPECT_EQ(Said(), std::vector<Message>{kGaveUpMessage});  // not skipped: tried, and given up
  EXPECT_EQ(Column("FIDRef"), (Texts{"0", "1"}));
}

TEST_F(RandomPointsTest, APolygonThatIsGivenUpKeepsItsPointsAndTheNextFollows) {
  const auto layer = AddPolygons("zones", {kLeft, kFar, kLake});
  OpenOn("zones").Choose("optPoly").Set("txtExactCnt", "3").Choose("cmbUID", "FID");
  hand_->Check("chkMinDist").Set("txtMinDist", "60").Choose("optMinDistWithin");
  Run();
  Rewind();
  PlainSampler plain;
  plain.minimum = 60;
  plain.amongAll = false;
  plain.InEach(Shapes(*layer), {3, 3, 3});
  ASSERT_TRUE(plain.gaveUp);
  ExpectAs(plain);
  Texts ids;
  for (const std::size_t zone : plain.zones) ids.push_back(ToText(static_cast<int>(zone)));
  EXPECT_EQ(Column("FIDRef"), ids);
  EXPECT_EQ(ids.back(), "2");
}

TEST_F(RandomPointsTest, APolygonWithoutShapeFailsAStratifiedRun) {
  AddPolygons("zones", {kLeft, "", kFar});
  OpenOn("zones").Choose("optPoly").Set("txtExactCnt", "2").Choose("cmbUID", "FID");
  Run();
  EXPECT_EQ(host_.Messages(),
            Texts{"GenRndPnt_OK\r91\rObject variable or With block variable not set"});
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE((**hand_).IsEnabled());
  EXPECT_EQ(Points().size(), 2u);
  EXPECT_TRUE(host_.addedLayers.empty());
}

}  // namespace
}  // namespace orlinths
