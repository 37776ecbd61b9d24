// Whole runs of the tools that list, sum and delete fields, with every system call and allocation
// failing in its turn: a result that is shown is the right one, without one there is a report, and
// the table is never harmed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/FaultRuns.h"
#include "support/ToolTest.h"
#include "tables/DeleteFields.h"
#include "tables/SumValues.h"
#include "tables/UniqueValues.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const OgrDataset kPonds{.type = "Point",
                        .reference = "EPSG:32631",
                        .columns = {{"NAME", "String", 20},
                                    {"DEPTH", "Real", 10, 2},
                                    {"YEAR", "Integer", 4},
                                    {"CHECKED", "Date"}},
                        .records = {{"POINT(1 1)", {"Teal", "1.25", "1998", "2026/04/11"}},
                                    {"POINT(2 1)", {"Long", "0.5", "2004", ""}},
                                    {"", {"Teal", "2", "2004", "2026/04/12"}}}};

class FieldToolsFaultsTest : public ToolTest, public ::testing::WithParamInterface<FaultKind> {
 protected:
  void Prepare(bool selectTwo = false) {
    fs::remove_all(Path("run"));
    host_.map.Clear();
    const auto opened = AddLayer("run/ponds.shp", kPonds);
    // Replaced, so that the run has to open it anew.
    fs::remove_all(Path("run"));
    host_.map.Clear();
    const auto layer = AddLayer("run/ponds.shp", kPonds);
    if (selectTwo) layer->SetSelectionSet(ISelectionSet({0, 2}));
    before_ = BytesIn(Path("run"));
  }
  std::string Shows(const char* box) { return dynamic_cast<TextBox&>(At(box)).text(); }

  FolderBytes before_;
};

TEST_P(FieldToolsFaultsTest, DeleteTheChosenFieldsOrNoneOrSomeOfThem) {
  ForEveryCall(GetParam(), [&](const auto& underFault) {
    Prepare();
    const OgrDataset before = Table("run/ponds");
    Open<frmDeleteFlds>();
    Set("cmbFL", "ponds");
    std::vector<std::string> lines = dynamic_cast<ListBox&>(At("lstFlds")).Items();
    ASSERT_EQ(lines.size(), 6u);
    host_.dialogs.Top().Select("lstFlds", {lines[2], lines[4]});
    TakeSaid();
    underFault([this] { Press("btnDelete"); });
    const auto all = TakeSaid();
    const bool isReported = TellOfFailure(all);
    EXPECT_TRUE(!IsOpen() || isReported);
    const OgrDataset after = Table("run/ponds");
    const std::vector<std::string> names = after.ColumnNames();
    if (isReported) {
      EXPECT_THAT(names, ::testing::AnyOf(ElementsAre("NAME", "DEPTH", "YEAR", "CHECKED"),
                                          ElementsAre("DEPTH", "YEAR", "CHECKED"),
                                          ElementsAre("DEPTH", "CHECKED")));
    } else {
      EXPECT_THAT(all, ElementsAre(Message{"Processing complete.", kPlain, ""}));
      EXPECT_THAT(names, ElementsAre("DEPTH", "CHECKED"));
    }
    for (const std::string& name : names) EXPECT_EQ(after.Texts(name), before.Texts(name)) << name;
    ASSERT_EQ(after.records.size(), before.records.size());
    for (std::size_t row = 0; row < before.records.size(); ++row)
      EXPECT_EQ(after.records[row].wkt, before.records[row].wkt);
    FolderBytes files = BytesIn(Path("run")), filesBefore = before_;
    files.erase("ponds.dbf");
    filesBefore.erase("ponds.dbf");
    EXPECT_EQ(files, filesBefore);
    if (HasFailure())
      for (const Message& message : all) ADD_FAILURE() << message.text;
  });
}

INSTANTIATE_TEST_SUITE_P(EveryCall, FieldToolsFaultsTest, ::testing::ValuesIn(kCallsOfRuns),
                         [](const auto& param) { return NameOf(param.param); });

/// Tools that only read.
class FieldReadersFaultsTest : public FieldToolsFaultsTest {};

TEST_P(FieldReadersFaultsTest, SumAllOrReport) {
  for (const bool selected : {false, true}) {
    ForEveryCall(GetParam(), [&](const auto& underFault) {
      Prepare(selected);
      Open<frmSumValues>();
      Set("cmbLayers", "ponds");
      Set("cmbFldS", "DEPTH");
      if (selected) Tick("chkUseSelected", true);
      TakeSaid();
      underFault([this] { Press("btnOK"); });
      const auto all = TakeSaid();
      const std::string sum = selected ? "3.25" : "3.75";
      if (TellOfFailure(all)) {
        EXPECT_THAT(Shows("txtResults"), ::testing::AnyOf("", sum));
      } else {
        EXPECT_THAT(all, IsEmpty());
        EXPECT_EQ(Shows("txtResults"), sum);
        EXPECT_EQ(Shows("txtSumCnt"), selected ? "2 records processed" : "3 records processed");
      }
      EXPECT_EQ(BytesIn(Path("run")), before_);
      if (HasFailure())
        for (const Message& message : all) ADD_FAILURE() << message.text;
    });
  }
}

TEST_P(FieldReadersFaultsTest, ListAllValuesOrReport) {
  for (const bool selected : {false, true}) {
    ForEveryCall(GetParam(), [&](const auto& underFault) {
      Prepare(selected);
      Open<frmUV>();
      Set("cmbLayers", "ponds");
      Set("cmbFldS", "NAME");
      if (selected) Tick("chkUseSelected", true);
      TakeSaid();
      underFault([this] { Press("btnOK"); });
      const auto all = TakeSaid();
      const std::string values = selected ? "Teal" : "Long\r\nTeal";
      if (TellOfFailure(all)) {
        EXPECT_THAT(Shows("txtResults"), ::testing::AnyOf("", values));
      } else {
        EXPECT_THAT(all, IsEmpty());
        EXPECT_EQ(Shows("txtResults"), values);
        EXPECT_EQ(Shows("txtUVCnt"), std::string("Unique value count: ") + (selected ? "1" : "2"));
      }
      EXPECT_EQ(BytesIn(Path("run")), before_);
      if (HasFailure())
        for (const Message& message : all) ADD_FAILURE() << message.text;
    });
  }
}

INSTANTIATE_TEST_SUITE_P(EveryCall, FieldReadersFaultsTest,
                         ::testing::Values(FaultKind::kOpen, FaultKind::kRead,
                                           FaultKind::kOwnAllocation),
                         [](const auto& param) { return NameOf(param.param); });

}  // namespace
}  // namespace orlinths
