// Runs that fail: what is said, what stays on the disk, and that the input stays as it was.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <utility>

#include "movement/ConvexPolygonsTest.h"
#include "runtime/Ports.h"
#include "support/AtYield.h"
#include "support/Faults.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ConvexPolygonsFailuresTest = ConvexPolygonsTest;

const std::set<std::string> kInputAndOutput{"fixes", "out"};

/// Animal 2 was at one place all the time; animals 1 and 3 went in triangles.
std::vector<Location> OneStoodStill() {
  return {{1, {1, 1}}, {1, {1, 5}}, {1, {4, 1}}, {2, {7, 7}}, {2, {7, 7}},
          {2, {7, 7}}, {3, {1, 1}}, {3, {1, 9}}, {3, {9, 1}}};
}

// ---- Too few points

TEST_F(ConvexPolygonsFailuresTest, TooFewPointsCloseTheDialogAndLeaveTheEmptyOutput) {
  AddLayer("fixes.shp", FixesOf({{1, {4, 0}}, {1, {0, 3}}}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kTooFew));
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(Shapefiles(), kInputAndOutput);
  EXPECT_EQ(Table("out").type, "Polygon");
  EXPECT_TRUE(Table("out").records.empty());
  EXPECT_THAT(host_.addedLayers, IsEmpty());
}

TEST_F(ConvexPolygonsFailuresTest, TooFewPointsWithoutZerosAreLeftForTheUserToSee) {
  AddLayer("fixes.shp", FixesOf({{1, {0, 55}}, {7, {2, 3}}, {1, {9, 0}}, {8, {4, 5}}}));
  OpenOn("fixes");
  Tick("chkZero", true);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kTooFew));
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes", "out", "tmp_mcp"}));
  EXPECT_THAT(Wkts("tmp_mcp"), ElementsAre("POINT(2 3)", "POINT(4 5)"));
  EXPECT_TRUE(Table("out").records.empty());
}

TEST_F(ConvexPolygonsFailuresTest, ABoxThatIsStillTickedFindsNoSelectionInAnotherLayer) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()))->SetSelectionSet(ISelectionSet({0, 2, 4}));
  AddLayer("more.shp", FixesOf(ThreeAnimals()));
  OpenOn("fixes");
  Tick("chkUseSelected", true);
  Set("cmbPL", "more");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kTooFew));
  EXPECT_TRUE(Table("tmp_mcp").records.empty());
}

TEST_F(ConvexPolygonsFailuresTest, AnEmptyLayerHasTooFewPointsButNoTooSmallGroups) {
  AddLayer("fixes.shp", FixesOf({}));
  OpenOn("fixes");
  GroupBy("ANIMAL");
  Press("btnOK");
  EXPECT_THAT(TakeSaid(), ElementsAre(kComplete));
  EXPECT_THAT(Table("out").ColumnNames(), ElementsAre("Id", "ANIMAL", "AREA", "PERIM"));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(TakeSaid(), ElementsAre(kTooFew));
}

// ---- A walk that fails

TEST_F(ConvexPolygonsFailuresTest, AGroupWithoutPolygonEndsTheRunAndIsLeftForTheUserToSee) {
  AddLayer("fixes.shp", FixesOf(OneStoodStill()));
  OpenOn("fixes");
  GroupBy("ANIMAL");
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Report("CreateMCPPoly; \r" + kNoReturn), Report("MCP: H\r" + kNothing)));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(host_.dialogs.Top().Text("txtStatus"), "");
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes", "out", "tmp_uvmcp"}));
  EXPECT_THAT(Wkts("tmp_uvmcp"), ElementsAre("POINT(7 7)", "POINT(7 7)", "POINT(7 7)"));
  // The group before it stands in the output.
  EXPECT_THAT(Table("out").Numbers("ANIMAL"), ElementsAre(1));
  EXPECT_THAT(Table("out").ColumnNames(), ElementsAre("Id", "ANIMAL"));
  EXPECT_THAT(host_.addedLayers, IsEmpty());
}

TEST_F(ConvexPolygonsFailuresTest, TheCopyOfThePointsIsLeftToo) {
  AddLayer("fixes.shp", FixesOf(OneStoodStill()));
  OpenOn("fixes");
  GroupBy("ANIMAL");
  Tick("chkZero", true);
  Press("btnOK");
  EXPECT_EQ(said().size(), 2u);
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes", "out", "tmp_mcp", "tmp_uvmcp"}));
  EXPECT_EQ(Table("tmp_mcp").records.size(), 9u);
  EXPECT_THAT(Table("tmp_mcp").ColumnNames(), ElementsAre("Id", "ANIMAL"));
  EXPECT_THAT(Table("tmp_mcp").Numbers("ANIMAL"), ElementsAre(1, 1, 1, 2, 2, 2, 3, 3, 3));
  EXPECT_EQ(Table("tmp_uvmcp").records.size(), 3u);
}

TEST_F(ConvexPolygonsFailuresTest, OnePolygonThatFailsLeavesNoGroup) {
  AddLayer("fixes.shp", FixesOf({{2, {7, 7}}, {2, {7, 7}}, {2, {7, 7}}}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Report("CreateMCPPoly; \r" + kNoReturn), Report("MCP: H\r" + kNothing)));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Shapefiles(), kInputAndOutput);
  EXPECT_TRUE(Table("out").records.empty());
}

TEST_F(ConvexPolygonsFailuresTest, PointsWithoutShapesAreASpatialSelectionError) {
  OgrDataset data = FixesOf({{1, {1, 1}}, {1, {1, 5}}, {1, {4, 1}}});
  for (OgrRecord& record : data.records) record.wkt.clear();
  AddLayer("fixes.shp", data);
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"ERROR: spatial selection error.", kCritical, "ERROR"},
                                  Report("MCP: H\r" + kNothing)));
}

TEST_F(ConvexPolygonsFailuresTest, APlaceAtInfinityIsAnOverflow) {
  WriteOgr(Path("fixes.shp"), FixesOf({{1, {1, 1}}, {1, {77, 5}}, {1, {4, 1}}, {1, {4, 4}}}));
  ReplaceNumber("fixes.shp", 77, std::numeric_limits<double>::infinity());
  AddFile("fixes.shp");
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Report("CreateMCPPoly; \r6\rOverflow"), Report("MCP: H\r" + kNothing)));
}

TEST_F(ConvexPolygonsFailuresTest, ALineFromSouthToNorthIsADegeneratePolygon) {
  AddLayer("fixes.shp", FixesOf({{1, {5, 1}}, {1, {5, 2}}, {1, {5, 4}}}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Wkts("out"), ElementsAre("POLYGON((5 1, 5 2, 5 4, 5 1))"));
  EXPECT_THAT(Table("out").Numbers("AREA"), ElementsAre(0));
  EXPECT_THAT(Table("out").Numbers("PERIM"), ElementsAre(6));
}

// ---- What happens at a yield

std::vector<Location> RoundTrips() {
  std::vector<Location> fixes{{1, {1, 1}}, {1, {1, 5}}, {1, {4, 1}}};
  for (int i = 0; i < 3000; ++i)
    fixes.push_back({2, {9 + std::cos(i * 0.002), 9 + std::sin(i * 0.002)}});
  return fixes;
}

TEST_F(ConvexPolygonsFailuresTest, AStopOnTheWayAroundAGroupLeavesWhatAFailureLeaves) {
  AddLayer("fixes.shp", FixesOf(RoundTrips()));
  OpenOn("fixes");
  GroupBy("ANIMAL");
  Tick("chkZero", true);
  {
    const AtYield stop(2);  // the first is that between the groups
    Press("btnOK");
    EXPECT_TRUE(StopRequested());
  }
  EXPECT_THAT(said(), ElementsAre(Report("CreateMCPPoly; \r18\rUser interrupt occurred"),
                                  Report("MCP: H\r18\rUser interrupt occurred")));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes", "out", "tmp_mcp", "tmp_uvmcp"}));
  EXPECT_EQ(Table("tmp_uvmcp").records.size(), 3000u);
  EXPECT_EQ(Table("tmp_mcp").records.size(), 3003u);
  EXPECT_THAT(Table("out").Numbers("ANIMAL"), ElementsAre(1));
}

TEST_F(ConvexPolygonsFailuresTest, ARunKeepsToTheLayerAndTheOutputThatItBeganWith) {
  AddLayer("fixes.shp", FixesOf(RoundTrips()));
  AddLayer("tmp_uvmcp.shp", FixesOf({}));
  std::filesystem::create_directory(Path("here"));
  std::filesystem::create_directory(Path("there"));
  Open<frmMCP>();
  Set("cmbPL", "fixes");
  Pick("here/out.shp");
  GroupBy("ANIMAL");
  Tick("chkZero", true);
  {
    const AtYield choose(1, [&] {
      Pick("there/other.shp");
      Set("cmbPL", "tmp_uvmcp");
    });
    Press("btnOK");
  }
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(host_.addedLayers, ElementsAre("out"));
  EXPECT_THAT(Table("here/out").Numbers("ANIMAL"), ElementsAre(1, 2));
  EXPECT_TRUE(std::filesystem::is_empty(Path("there")));
  for (const std::string& file : files::NamesIn(Path("here")))
    EXPECT_TRUE(file.starts_with("out.")) << file;
}

TEST_F(ConvexPolygonsFailuresTest, AStopBetweenGroupsLeavesNoGroup) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  OpenOn("fixes");
  GroupBy("ANIMAL");
  {
    const AtYield stop(1);
    Press("btnOK");
  }
  EXPECT_THAT(said(), ElementsAre(Report("MCP: H\r18\rUser interrupt occurred")));
  EXPECT_EQ(Shapefiles(), kInputAndOutput);
}

// ---- Input and output

TEST_F(ConvexPolygonsFailuresTest, AShapeThatIsMissingIsReportedWhereZerosAreLookedFor) {
  OgrDataset data = FixesOf(ThreeAnimals());
  data.records[2].wkt.clear();
  AddLayer("fixes.shp", data);
  OpenOn("fixes");
  Tick("chkZero", true);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Report("MCP: F\r" + kNothing)));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes", "tmp_mcp"}));
  EXPECT_THAT(Wkts("tmp_mcp"), ElementsAre("POINT(50 50)"));  // the first has a zero
}

TEST_F(ConvexPolygonsFailuresTest, AnOutputThatHasComeUpMeanwhileIsNotReplaced) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  OpenOn("fixes");
  Tick("chkZero", true);
  WriteOgr(Path("out.shp"), FixesOf({{1, {1, 1}}}));
  const std::string before = Bytes("out");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"ERROR: file already exists. Cannot create output file.",
                                          kCritical, "File Error"}));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Bytes("out"), before);
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes", "out", "tmp_mcp"}));
}

TEST_F(ConvexPolygonsFailuresTest, APathThatIsTypedGoesNowhere) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  for (const bool copies : {false, true}) {
    Open<frmMCP>();
    Set("cmbPL", "fixes");
    Set("txtOutput", Path("typed.shp"));
    Tick("chkZero", copies);
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(Report(std::string("MCP: ") + (copies ? "B" : "G") +
                                               "\r-2147467259\rA dataset cannot be created without "
                                               "a folder and a name.")));
    EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes"}));
  }
}

TEST_F(ConvexPolygonsFailuresTest, AFolderThatCannotBeWrittenIsReported) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  const std::string before = Bytes("fixes");
  AsUnprivileged([&] {
    for (const bool copies : {false, true}) {
      OpenOn("fixes");
      Tick("chkZero", copies);
      Press("btnOK");
      EXPECT_THAT(TakeSaid(), ElementsAre(Report(std::string("MCP: ") + (copies ? "B" : "G") +
                                                 "\r70\rPermission denied")));
      EXPECT_TRUE(IsOpen());
    }
  });
  EXPECT_EQ(Shapefiles(), (std::set<std::string>{"fixes"}));
  EXPECT_EQ(Bytes("fixes"), before);
}

TEST_F(ConvexPolygonsFailuresTest, PointsCanBeReadFromWhereNothingCanBeWritten) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  const TempFolder open;
  std::filesystem::permissions(open.Path(), std::filesystem::perms::all);
  AsUnprivileged([&] {
    Open<frmMCP>();
    Set("cmbPL", "fixes");
    host_.dialogs.Top().Pick("btnFolder", open / "out.shp");
    GroupBy("ANIMAL");
    Press("btnOK");
    EXPECT_THAT(said(), ElementsAre(kComplete));
  });
  EXPECT_EQ(ReadOgr(open / "out.shp").records.size(), 2u);
}

TEST_F(ConvexPolygonsFailuresTest, AnInputUnderATemporaryNameIsNotReplaced) {
  AddLayer("tmp_mcp.shp", FixesOf(ThreeAnimals()));
  AddLayer("tmp_uvmcp.shp", FixesOf(ThreeAnimals()));
  const std::string before = Bytes("tmp_mcp") + Bytes("tmp_uvmcp");
  OpenOn("tmp_mcp");
  Tick("chkZero", true);
  Press("btnOK");
  EXPECT_THAT(TakeSaid(), ElementsAre(Report("MCP: B\r70\rPermission denied")));
  Press("btnExit");
  OpenOn("tmp_uvmcp");
  GroupBy("ANIMAL");
  Press("btnOK");
  EXPECT_THAT(TakeSaid(), ElementsAre(Report("MCP: H\r70\rPermission denied")));
  EXPECT_EQ(Bytes("tmp_mcp") + Bytes("tmp_uvmcp"), before);
}

TEST_F(ConvexPolygonsFailuresTest, AnOutputUnderATemporaryNameStaysEmpty) {
  AddLayer("fixes.shp", FixesOf(ThreeAnimals()));
  OpenOn("fixes");
  Pick("tmp_uvmcp.shp");
  GroupBy("ANIMAL");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Report("MCP: H\r70\rPermission denied")));
  EXPECT_EQ(Table("tmp_uvmcp").type, "Polygon");
}

TEST_F(ConvexPolygonsFailuresTest, AFieldNameTooLongForTheOutputIsReported) {
  OgrDataset data = FixesOf(ThreeAnimals());
  data.columns[0].name = "IDENTIFICATION";
  AddLayer("fixes.gpkg", data);
  OpenOn("fixes");
  GroupBy("IDENTIFICATION");
  Press("btnOK");
  ASSERT_EQ(said().size(), 2u);
  EXPECT_THAT(said()[0].text,
              ::testing::StartsWith("AddNewField: BName: IDENTIFICATION, Type: 1\r"));
  EXPECT_EQ(said()[1], Report("MCP: H\r9\rSubscript out of range"));
  EXPECT_TRUE(IsOpen());
}

// ---- Every call of the system failing in its turn

class ConvexPolygonsFaultsTest : public ConvexPolygonsTest,
                                 public ::testing::WithParamInterface<FaultKind> {};

TEST_P(ConvexPolygonsFaultsTest, ReportOrEndWellAndLeaveTheInputAlone) {
  std::int64_t strikes = 0;
  for (std::int64_t nth = 1;; ++nth) {
    SCOPED_TRACE("call " + std::to_string(nth));
    const std::string folder = "run" + std::to_string(nth) + "/";
    host_.map.Clear();
    AddLayer(folder + "fixes.shp", FixesOf(ThreeAnimals()));
    const std::string before = Bytes(folder + "fixes");
    Open<frmMCP>();
    Set("cmbPL", "fixes");
    Pick(folder + "out.shp");
    GroupBy("ANIMAL");
    Tick("chkZero", true);
    TakeSaid();
    bool struck = false;
    {
      const Fault fault(GetParam(), nth);
      Press("btnOK");
      struck = fault.HasStruck();
    }
    const auto all = TakeSaid();
    const bool isReported =
        std::ranges::any_of(all, [](const Message& message) { return message.flags == kCritical; });
    EXPECT_EQ(Bytes(folder + "fixes"), before);
    if (!isReported) {
      EXPECT_THAT(all, ElementsAre(kComplete));
      EXPECT_THAT(Wkts(folder + "out"), ElementsAre(kTriangleOf3));
      EXPECT_THAT(Table(folder + "out").Numbers("AREA"), ElementsAre(6));
      EXPECT_THAT(Table(folder + "out").Numbers("PERIM"), ElementsAre(12));
      for (const std::string& file : files::NamesIn(Path(folder)))
        EXPECT_FALSE(file.starts_with("tmp_")) << file;
    }
    if (HasFailure()) {
      for (const Message& message : all) ADD_FAILURE() << message.text;
      return;
    }
    if (IsOpen()) Press("btnExit");
    std::filesystem::remove_all(Path(folder));
    if (!struck) break;
    ++strikes;
  }
  EXPECT_GT(strikes, 0) << "the run makes no such call";
}

INSTANTIATE_TEST_SUITE_P(All, ConvexPolygonsFaultsTest,
                         ::testing::Values(FaultKind::kOpen, FaultKind::kWrite, FaultKind::kSync,
                                           FaultKind::kRename, FaultKind::kClose,
                                           FaultKind::kOwnAllocation),
                         [](const auto& param) {
                           return "Kind" + std::to_string(static_cast<int>(param.param));
                         });

}  // namespace
}  // namespace orlinths
