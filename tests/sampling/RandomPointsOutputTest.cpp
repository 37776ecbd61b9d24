// What random points leave behind: fields, files, layers and messages.
#include <gtest/gtest.h>

#include "RandomPointsFixture.h"
#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "runtime/Files.h"
#include "support/AtYield.h"

namespace orlinths {
namespace {

const char* const kSquare = "POLYGON((0 0, 0 100, 100 100, 100 0, 0 0))";
const char* const kLeft = "POLYGON((0 0, 0 60, 60 60, 60 0, 0 0))";
const char* const kFar = "POLYGON((200 0, 200 40, 260 40, 260 0, 200 0))";

class RandomPointsOutputTest : public RandomPointsTest {};

TEST_F(RandomPointsOutputTest, WithoutStrataThereIsNoFieldButTheDefaultOne) {
  AddPolygons("zones", {kSquare});
  OpenOn("zones").Set("txtNPnts", "4");
  Run();
  EXPECT_EQ(ReadOgr(Path("out.shp")).ColumnNames(), Texts{"Id"});
  EXPECT_EQ(ReadOgr(Path("out.shp")).type, "Point");
  EXPECT_EQ(OpenFeatureClass(folder_.Path(), "out")->SpatialReference()->FactoryCode(), 32631);
}

TEST_F(RandomPointsOutputTest, TheIdFieldIsTheSourcesOwnButForObjectIds) {
  const auto copy = [&](const OgrColumn& column, const std::string& value) {
    host_.map.Clear();
    DeleteFile(folder_.Path(), "zones");
    DeleteFile(folder_.Path(), "out");
    WriteOgr(Path("zones.shp"), {"Polygon", "", {column}, {{kSquare, {value}}}});
    host_.AddLayer(Path("zones.shp"));
    OpenOn("zones").Choose("optPoly").Set("txtExactCnt", "1").Choose("cmbUID", column.name);
    Run();
    EXPECT_EQ(Said(), std::vector<Message>{kComplete});
    const OgrDataset out = ReadOgr(Path("out.shp"));
    EXPECT_EQ(out.columns.size(), 1u + (out.columns.front().name == "Id"));
    return std::make_pair(out.columns.back(), out.records.at(0).values.back());
  };
  EXPECT_EQ(copy({"PLOT", "String", 17}, "north"),
            (std::make_pair(OgrColumn{"PLOT", "String", 17, 0}, std::string("north"))));
  EXPECT_EQ(copy({"id", "Integer", 6}, "42").first.name, "idRef");
  EXPECT_EQ(copy({"Id", "String", 6}, "42").first.type, "Integer64");
  EXPECT_EQ(copy({"ID", "Integer", 6}, "42"),
            (std::make_pair(OgrColumn{"IDRef", "Integer64", 11, 0}, std::string("42"))));
  EXPECT_EQ(copy({"DAY", "Date"}, "2026/02/03").second, "2026/02/03");
  EXPECT_EQ(copy({"HA", "Real", 20, 6}, "0.125").second, "0.125");
  EXPECT_EQ(copy({"N", "Integer", 4}, "-12").second, "-12");
}

TEST_F(RandomPointsOutputTest, WritesWhereLayerOrPickerSaidLast) {
  AddPolygons("zones", {kSquare});
  files::CreateFolder(Path("sub"));
  Open().Choose("cmbLayers", "zones").Pick("btnFolder", Path("sub/my points.2.shp"));
  hand_->Set("txtNPnts", "1");
  Run();
  EXPECT_TRUE(files::FileExists(Path("sub/mypoints.shp")));  // cleaned
  EXPECT_EQ(host_.addedLayers, Texts{"mypoints"});
  Open().Pick("btnFolder", Path("sub/next.shp")).Choose("cmbLayers", "zones").Set("txtNPnts", "1");
  Run();
  EXPECT_TRUE(files::FileExists(Path("next.shp")));
  EXPECT_FALSE(files::FileExists(Path("sub/next.shp")));
}

TEST_F(RandomPointsOutputTest, ATypedPathCountsForNothingAndTheNameIsKept) {
  AddPolygons("zones", {kSquare});
  Open().Choose("cmbLayers", "zones").Set("txtOutput", "/nowhere/x.shp").Set("txtNPnts", "1");
  Run();
  EXPECT_EQ(Said(), std::vector<Message>{kComplete});
  EXPECT_EQ(Points("rndpnt").size(), 1u);
  // Once more with the same dialog: folder and name are those of the last run.
  (**hand_).ShowModal();
  EXPECT_EQ(hand_->Text("txtOutput"), "");
  hand_->Pick("btnFolder", Path("out.shp"));
  hand_->Choose("cmbLayers", "zones").Set("txtNPnts", "1");
  Run();
  (**hand_).ShowModal();
  hand_->Choose("cmbLayers", "zones").Set("txtOutput", "x").Set("txtNPnts", "1");
  Run();
  ASSERT_EQ(Said().size(), 2u);
  EXPECT_EQ(Said()[0], (Message{"ERROR: file already exists. Cannot create output file.", kCritical,
                                "File Error"}));
}

TEST_F(RandomPointsOutputTest, AnOutputThatExistsIsNoticedBeforeTheIdField) {
  AddPolygons("zones", {kSquare});
  OpenOn("zones").Choose("optPoly").Set("txtExactCnt", "1").Choose("cmbUID", "FID");
  WriteBytes(Path("out.shp"), "there");
  Run();
  EXPECT_EQ(
      Said(),
      std::vector<Message>(
          {{"ERROR: file already exists. Cannot create output file.", kCritical, "File Error"},
           {"ERROR: unable to create shapefile. Please check the folder name, folder "
            "permissions,\rnew shapefile name and try again.",
            kCritical, "Error"}}));
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE((**hand_).IsEnabled());
  EXPECT_EQ(hand_->Text("txtStatus"), "");
  EXPECT_FALSE((**hand_).EndedInSuccess());
  EXPECT_EQ(ReadBytes(Path("out.shp")), "there");
}

TEST_F(RandomPointsOutputTest, AnEmptyNameIsAPlatformError) {
  AddPolygons("zones", {kSquare});
  Open().Choose("cmbLayers", "zones").Pick("btnFolder", Path("....shp")).Set("txtNPnts", "1");
  Run();
  ASSERT_EQ(Said().size(), 1u);
  EXPECT_TRUE(Said()[0].text.starts_with("GenRndPnt_OK\r-2147467259\r")) << Said()[0].text;
  EXPECT_TRUE((**hand_).IsEnabled());
}

TEST_F(RandomPointsOutputTest, FlushesEvery500Points) {
  AddPolygons("zones", {kSquare});
  OpenOn("zones").Set("txtNPnts", "5000");
  // The table's count of records, bytes 4 to 7 of its file, as it stands at the first yield.
  std::vector<int> seen;
  Ports ports = SetPorts({});
  const auto before = ports;
  ports.yield = [&] {
    const std::string table = ReadBytes(Path("out.dbf"));
    seen.push_back(static_cast<unsigned char>(table[4]) +
                   256 * static_cast<unsigned char>(table[5]));
  };
  SetPorts(ports);
  Run();
  SetPorts(before);
  EXPECT_EQ(seen, std::vector<int>{4000});
  EXPECT_EQ(Points().size(), 5000u);
}

TEST_F(RandomPointsOutputTest, ALayerThatLeavesTheMapMeanwhileIsSampledToTheEnd) {
  AddPolygons("zones", {kSquare});
  OpenOn("zones").Set("txtNPnts", "9000");
  bool isGone = false;
  {
    const AtYield takeAway(1, [&] {
      host_.map.Clear();
      isGone = true;
    });
    Run();
  }
  EXPECT_TRUE(isGone);
  EXPECT_EQ(host_.Messages(), Texts{"Processing complete"});
  EXPECT_EQ(Points().size(), 9000u);
}

TEST_F(RandomPointsOutputTest, AStopKeepsWhatIsWrittenAndTheDialog) {
  AddPolygons("zones", {kSquare});
  OpenOn("zones").Set("txtNPnts", "90000");
  Ports ports = SetPorts({});
  const auto before = ports;
  ports.yield = [] { RequestStop(); };
  SetPorts(ports);
  Run();
  ClearStop();
  SetPorts(before);
  EXPECT_EQ(host_.Messages(), Texts{"GenRndPnt_OK\r18\rUser interrupt occurred"});
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE((**hand_).IsEnabled());
  EXPECT_EQ(hand_->Text("txtStatus"), "");
  EXPECT_EQ(Points().size(), 4095u);
  EXPECT_TRUE(host_.addedLayers.empty());
}

TEST_F(RandomPointsOutputTest, ShowsItsProgress) {
  AddPolygons("zones", {kSquare, kFar}, {"3", "4"});
  OpenOn("zones").Set("txtNPnts", "50");
  Run();
  EXPECT_EQ(host_.dialogs.progress.back(), 50);
  EXPECT_EQ(host_.dialogs.statuses, Texts{"Processing..."});
  host_.dialogs.progress.clear();
  OpenOn("zones").Choose("optPoly").Set("txtExactCnt", "9").Choose("cmbUID", "FID");
  Run();
  EXPECT_EQ(host_.dialogs.progress.back(), 18);
  host_.dialogs.progress.clear();
  host_.map.Clear();
  host_.AddLayer(Path("zones.shp"));
  OpenOn("zones").Choose("optFld").Choose("cmbFld", "NUM").Choose("cmbUID", "FID");
  Run();
  EXPECT_EQ(host_.dialogs.progress.back(), 2);
}

// ---- Numbers that are none

TEST_F(RandomPointsOutputTest, TextThatIsNoNumberFailsInItsConversion) {
  struct Case {
    const char *option, *box, *text, *report;
    bool isCreated;
  };
  const char* const kMismatch = "GenRndPnt_OK\r13\rType mismatch";
  const char* const kOverflow = "GenRndPnt_OK\r6\rOverflow";
  const char* const kInvalid = "GenRndPnt_OK\r5\rInvalid procedure call or argument";
  for (const Case& c : std::vector<Case>{{"optTotal", "txtNPnts", "ten", kMismatch, false},
                                         {"optTotal", "txtNPnts", "3000000000", kOverflow, false},
                                         {"optTotal", "txtNPnts", "-1", kInvalid, false},
                                         {"optTotal", "txtMinDist", "far", kMismatch, false},
                                         {"optPoly", "txtExactCnt", "ten", kMismatch, true},
                                         {"optPoly", "txtExactCnt", "-1", kInvalid, true},
                                         {"optPoly", "txtExactCnt", "2000000000", kOverflow, true},
                                         {"optDens", "txtDens", "dense", kMismatch, true},
                                         {"optDens", "txtDens", "1e12", kOverflow, true}}) {
    host_.map.Clear();
    AddPolygons("zones", {kLeft, kFar});
    OpenOn("zones");
    if (std::string(c.option) != "optTotal")
      hand_->Choose(c.option).Choose("cmbUID", "FID");
    else
      hand_->Set("txtNPnts", "3");
    if (std::string(c.box) == "txtMinDist") hand_->Check("chkMinDist");
    hand_->Set(c.box, c.text);
    Run();
    EXPECT_EQ(Said(), std::vector<Message>({{c.report, kCritical, "Error"}})) << c.box << c.text;
    EXPECT_TRUE(IsOpen());
    EXPECT_TRUE((**hand_).IsEnabled());
    EXPECT_EQ(hand_->Text("txtStatus"), "");
    EXPECT_EQ(files::FileExists(Path("out.shp")), c.isCreated) << c.box << c.text;
    EXPECT_TRUE(host_.addedLayers.empty());
    DeleteFile(folder_.Path(), "out");
    DeleteFile(folder_.Path(), "zones");
  }
}

TEST_F(RandomPointsOutputTest, AWholeNumberRoundsHalvesToEven) {
  AddPolygons("zones", {kSquare});
  OpenOn("zones").Set("txtNPnts", "2.5");
  Run();
  EXPECT_EQ(Points().size(), 2u);
}

TEST_F(RandomPointsOutputTest, AnExclusionLayerThatIsNotChosenFails) {
  AddPolygons("zones", {kSquare});
  OpenOn("zones").Set("txtNPnts", "2").Check("chkPrevent");
  Run();
  EXPECT_EQ(host_.Messages(),
            Texts{"GenRndPnt_OK\r91\rObject variable or With block variable not set"});
}

}  // namespace
}  // namespace orlinths
