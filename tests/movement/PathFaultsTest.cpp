// Whole runs of the tools between locations and paths, with every system call and allocation
// failing in its turn: locations are never harmed, and what was written is true and, where nothing
// was reported, all there is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "movement/LocationsToPaths.h"
#include "movement/MovementParameters.h"
#include "support/FaultRuns.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Two walks; the second one's fixes stand in the wrong order of time.
const OgrDataset kFixes{
    .type = "Point",
    .reference = "EPSG:32612",
    .columns = {{"ANIMAL", "Integer", 4}, {"HOUR", "Integer", 4}, {"BEARING", "Integer", 4}},
    .records = {{"POINT(0 0)", {"7", "1", "11"}},
                {"POINT(0 3)", {"7", "2", "12"}},
                {"POINT(4 3)", {"7", "3", "13"}},
                {"POINT(20 20)", {"8", "5", "14"}},
                {"POINT(20 10)", {"8", "4", "15"}}}};

class PathFaultsTest : public ToolTest, public ::testing::WithParamInterface<FaultKind> {
 protected:
  void Prepare() {
    fs::remove_all(Path("run"));
    host_.map.Clear();
    host_.addedLayers.clear();
    AddLayer("run/fixes.shp", kFixes);
    before_ = BytesIn(Path("run"));
  }
  FolderBytes before_;
};

TEST_P(PathFaultsTest, LinesAreTrueAndAllThereOrThereIsAReport) {
  const std::vector<std::string> lines{"LINESTRING (0 0,0 3,4 3)", "LINESTRING (20 10,20 20)"};
  const std::vector<double> animals{7, 8};
  ForEveryCall(GetParam(), [&](const auto& underFault) {
    Prepare();
    Open<frmLocsToPath>();
    Set("cmbFL", "fixes");
    host_.dialogs.Top().Pick("btnFile", Path("run/lines.shp"));
    Choose("optMany");
    Set("cmbPathFld", "ANIMAL");
    Choose("optSort");
    Set("cmbSortFld", "HOUR");
    TakeSaid();
    underFault([this] { Press("btnOK"); });
    const auto all = TakeSaid();
    const bool isReported = TellOfFailure(all);
    if (!isReported) {
      EXPECT_THAT(all, ElementsAre(Message{"Processing complete.", kPlain, ""}));
      EXPECT_THAT(host_.addedLayers, ElementsAre("lines"));
    }
    FolderBytes files = BytesIn(Path("run"));
    std::vector<std::string> made;
    std::erase_if(files, [&](const auto& file) {
      const bool isOutput = file.first.starts_with("lines.");
      if (isOutput) made.push_back(file.first);
      return isOutput;
    });
    EXPECT_EQ(files, before_);
    // All files of a shapefile, or none.
    EXPECT_THAT(made, ::testing::AnyOf(IsEmpty(), ElementsAre("lines.cpg", "lines.dbf", "lines.prj",
                                                              "lines.shp", "lines.shx")));
    EXPECT_TRUE(isReported || !made.empty());
    if (!made.empty()) {
      const OgrDataset written = Table("run/lines");
      const std::size_t count = written.records.size();
      ASSERT_LE(count, lines.size());
      EXPECT_TRUE(isReported || count == lines.size());
      const auto ids = written.Numbers("ANIMAL");
      EXPECT_EQ(ids, std::vector<double>(animals.begin(), animals.begin() + std::ssize(ids)));
      for (std::size_t i = 0; i < count; ++i)
        EXPECT_EQ(MeasureOgr(written.records[i].wkt).length, MeasureOgr(lines[i]).length);
    }
    if (HasFailure())
      for (const Message& message : all) ADD_FAILURE() << message.text;
  });
}

TEST_P(PathFaultsTest, ParametersAreTrueUpToTheReport) {
  const ColumnsToCome parameters{{{"STEPLENGTH", {3, 4, -999, 10, -999}},
                                  {"TURNANGLE", {-999, 90, -999, -999, -999}},
                                  {"BEARING", {0, 90, -999, 180, -999}},
                                  {"BRGPREV", {-999, 0, 90, -999, 0}},
                                  {"NETDISP", {0, 3, 5, 0, 10}}}};
  ForEveryCall(GetParam(), [&](const auto& underFault) {
    Prepare();
    const OgrDataset before = Table("run/fixes");
    Open<frmMoveParamsSimple>();
    Set("cmbPL", "fixes");
    Set("cmbPathID", "ANIMAL");
    host_.messages.answers = {true};
    TakeSaid();
    underFault([this] { Press("btnOK"); });
    const auto all = TakeSaid();
    const bool isReported = TellOfFailure(all);
    EXPECT_TRUE(!IsOpen() || isReported);
    ExpectEdited(before, Table("run/fixes"), parameters, isReported);
    FolderBytes files = BytesIn(Path("run"));
    files["fixes.dbf"] = before_["fixes.dbf"];
    EXPECT_EQ(files, before_);
    if (HasFailure())
      for (const Message& message : all) ADD_FAILURE() << message.text;
  });
}

INSTANTIATE_TEST_SUITE_P(EveryCall, PathFaultsTest, ::testing::ValuesIn(kCallsOfRuns),
                         [](const auto& param) { return NameOf(param.param); });

}  // namespace
}  // namespace orlinths
