#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tables/AddAreaMeadows.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using AddAreaFailuresTest = AddAreaTest;

TEST_F(AddAreaFailuresTest, AConstantThatIsNoNumberIsReportedAndTheDialogStays) {
  for (const auto& [text, error] :
       std::vector<std::pair<std::string, std::string>>{{"abc", "13\rType mismatch"},
                                                        {"0,5", "13\rType mismatch"},
                                                        {"  ", "13\rType mismatch"},
                                                        {"1 2", "13\rType mismatch"},
                                                        {"1e400", "6\rOverflow"}}) {
    SCOPED_TRACE(text);
    const std::string name = "meadows" + std::to_string(text.size());
    AddLayer(name + ".shp", Meadows());
    const std::string before = Bytes(name);
    OpenOn(name);
    Tick("chkAreaConst", true);
    Set("txtAreaConst", text);
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(Message{"AddAreaPerim: \r" + error, kCritical, "Error"}));
    EXPECT_TRUE(IsOpen());
    EXPECT_EQ(Bytes(name), before);
    // Put right, the same dialog goes through.
    Set("txtAreaConst", "1");
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(kComplete));
  }
}

TEST_F(AddAreaFailuresTest, APerimeterConstantThatIsNoNumberLeavesTheAreaWritten) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Tick("chkPerimConst", true);
  Set("txtPerimConst", "km");
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Message{"AddAreaPerim: \r13\rType mismatch", kCritical, "Error"}));
  EXPECT_TRUE(IsOpen());
  EXPECT_THAT(Table("meadows").ColumnNames(), ElementsAre("NAME", "VISITS", "HA", "AREA"));
  EXPECT_THAT(Table("meadows").Numbers("AREA"), ElementsAre(10000, 55000, 700));
}

TEST_F(AddAreaFailuresTest, AResultBeyondAllNumbersIsAnOverflow) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Tick("chkAreaConst", true);
  Set("txtAreaConst", "1e305");
  Tick("chkPerim", false);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"TableAddArea: \r6\rOverflow", kCritical, "Error"},
                                  Message{kAreaWarning, kExclamation, "Warning"}, kComplete));
  EXPECT_FALSE(IsOpen());
}

TEST_F(AddAreaFailuresTest, ARecordWithoutShapeEndsTheRunAndKeepsWhatWasWritten) {
  OgrDataset meadows = Meadows();
  meadows.records[1].wkt.clear();
  AddLayer("meadows.shp", meadows);
  OpenOn("meadows");
  Press("btnOK");
  const std::string nothing = "91\rObject variable or With block variable not set";
  EXPECT_THAT(said(), ElementsAre(Message{"TableAddArea: \r" + nothing, kCritical, "Error"},
                                  Message{kAreaWarning, kExclamation, "Warning"},
                                  Message{"TableAddPerim: \r" + nothing, kCritical, "Error"},
                                  Message{kPerimeterWarning, kExclamation, "Warning"}, kComplete));
  EXPECT_FALSE(IsOpen());
  EXPECT_THAT(Table("meadows").Numbers("AREA"), ElementsAre(10000, 0, 0));
  EXPECT_THAT(Table("meadows").Numbers("PERIMETER"), ElementsAre(400, 0, 0));
}

TEST_F(AddAreaFailuresTest, ACoordinateThatIsNoNumberEndsTheRun) {
  OgrDataset meadows = Meadows();
  meadows.records[2].wkt = "POLYGON((600 0, 600 77, 630 0, 600 0))";
  WriteOgr(Path("meadows.shp"), meadows);
  ReplaceNumber("meadows.shp", 77, std::nan(""));
  AddFile("meadows.shp");
  OpenOn("meadows");
  Tick("chkPerim", false);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"TableAddArea: \r6\rOverflow", kCritical, "Error"},
                                  Message{kAreaWarning, kExclamation, "Warning"}, kComplete));
  EXPECT_THAT(Table("meadows").Numbers("AREA"), ElementsAre(10000, 55000, 0));
}

TEST_F(AddAreaFailuresTest, AnOnlyColumnIsNotReplaced) {
  OgrDataset meadows = Meadows();
  meadows.columns = {{"AREA", "Real", 12, 2}};
  for (OgrRecord& record : meadows.records) record.values = {"1"};
  AddLayer("meadows.shp", meadows);
  OpenOn("meadows");
  Tick("chkPerim", false);
  Press("btnOK");
  ASSERT_EQ(said().size(), 3u);
  EXPECT_THAT(said()[0].text, ::testing::StartsWith("TableAddArea: \r-2147467259\r"));
  EXPECT_EQ(said()[1].text, kAreaWarning);
  EXPECT_EQ(said()[2], kComplete);
  EXPECT_THAT(Table("meadows").Numbers("AREA"), ElementsAre(1, 1, 1));
}

TEST_F(AddAreaFailuresTest, ANameThatDbaseCannotHoldIsRefusedAndTheOtherFieldIsDone) {
  AddLayer("meadows.shp", Meadows());
  OpenOn("meadows");
  Set("txtArea", "AREAOFMEADOW");
  Press("btnOK");
  const auto all = said();
  ASSERT_GE(all.size(), 3u);
  EXPECT_THAT(all.front().text, ::testing::StartsWith("AddNewField: "));
  EXPECT_THAT(all.front().text, ::testing::HasSubstr("Name: AREAOFMEADOW, Type: 3"));
  EXPECT_EQ(all[all.size() - 2].text, kAreaWarning);
  EXPECT_EQ(all.back(), kComplete);
  EXPECT_THAT(Table("meadows").ColumnNames(), ElementsAre("NAME", "VISITS", "HA", "PERIMETER"));
}

TEST_F(AddAreaFailuresTest, TheFieldsThatTheTableNeedsAreNotReplaced) {
  for (const char* name : {"FID", "Shape"}) {
    SCOPED_TRACE(name);
    AddLayer("meadows" + std::string(name) + ".shp", Meadows());
    const std::string before = Bytes("meadows" + std::string(name));
    OpenOn("meadows" + std::string(name));
    Set("txtArea", name);
    Tick("chkPerim", false);
    Press("btnOK");
    const auto all = TakeSaid();
    ASSERT_EQ(all.size(), 3u);
    EXPECT_THAT(all[0].text, ::testing::StartsWith("TableAddArea: \r"));
    EXPECT_EQ(all[1].text, kAreaWarning);
    EXPECT_EQ(Bytes("meadows" + std::string(name)), before);
  }
}

TEST_F(AddAreaFailuresTest, AReadOnlyTableIsReportedForEachField) {
  AddLayer("meadows.shp", Meadows());
  const std::string before = Bytes("meadows");
  AsUnprivileged([&] {
    OpenOn("meadows");
    Press("btnOK");
    const auto all = said();
    ASSERT_GE(all.size(), 5u);
    EXPECT_THAT(all.front().text, ::testing::StartsWith("AddNewField: "));
    EXPECT_THAT(all.front().text, ::testing::EndsWith("\r70\rPermission denied"));
    EXPECT_THAT(TextsOf(all), ::testing::IsSupersetOf({kAreaWarning, kPerimeterWarning}));
    EXPECT_EQ(all.back(), kComplete);
    EXPECT_FALSE(IsOpen());
  });
  EXPECT_EQ(Bytes("meadows"), before);
}

TEST_F(AddAreaFailuresTest, ATableThatAnotherProcessEditsIsReportedForEachField) {
  AddLayer("meadows.shp", Meadows());
  WhileEditedElsewhere("meadows.shp", [&] {
    OpenOn("meadows");
    Press("btnOK");
  });
  const auto all = said();
  ASSERT_GE(all.size(), 5u);
  EXPECT_THAT(all.front().text, ::testing::StartsWith("AddNewField: "));
  EXPECT_THAT(all.front().text, ::testing::EndsWith("\r70\rPermission denied"));
  EXPECT_THAT(TextsOf(all), ::testing::IsSupersetOf({kAreaWarning, kPerimeterWarning}));
  EXPECT_EQ(all.back(), kComplete);
  EXPECT_THAT(Table("meadows").ColumnNames(), ElementsAre("NAME", "VISITS", "HA"));
}

TEST_F(AddAreaFailuresTest, AStopIsReportedAndTheTableStaysReadable) {
  OgrDataset many = Meadows();
  while (many.records.size() < 3000) many.records.push_back(many.records[0]);
  AddLayer("meadows.shp", many);
  OpenOn("meadows");
  StopDuring("Calculating perimeters...");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"TableAddPerim: \r18\rUser interrupt occurred", kCritical,
                                          "Error"},
                                  Message{kPerimeterWarning, kExclamation, "Warning"}, kComplete));
  const OgrDataset table = Table("meadows");
  ASSERT_EQ(table.records.size(), 3000u);
  EXPECT_EQ(table.Numbers("AREA")[2999], 10000);
}

}  // namespace
}  // namespace orlinths
