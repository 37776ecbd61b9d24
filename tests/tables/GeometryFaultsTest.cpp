// Whole runs of the three geometry tools, with every system call and allocation failing in its
// turn: what ends without a report is written to the last row, and what is reported leaves a table
// that is the old one or a new one, whole.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>

#include "support/Faults.h"
#include "tables/AddArea.h"
#include "tables/AddLength.h"
#include "tables/AddXY.h"
#include "tables/ToolTest.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

using Columns = std::map<std::string, std::vector<double>>;

struct ToolRun {
  const char* name;
  OgrDataset data;
  Columns results;  ///< by hand
};

const ToolRun kArea{
    "area",
    {.type = "Polygon",
     .reference = "EPSG:32631",
     .columns = {{"NAME", "String", 20}, {"AREA", "Integer", 4}},
     .records = {{"POLYGON((0 0, 0 100, 100 100, 100 0, 0 0))", {"Lower field", "4"}},
                 {"POLYGON((600 0, 600 40, 630 0, 600 0))", {"Corner", "7"}}}},
    {{"AREA", {10000, 600}}, {"PERIMETER", {400, 120}}}};
const ToolRun kLength{"length",
                      {.type = "Line String",
                       .reference = "EPSG:32631",
                       .columns = {{"NAME", "String", 20}, {"LENGTH", "Integer", 6}},
                       .records = {{"LINESTRING(0 0, 3 4, 3 10)", {"Mill brook", "99"}},
                                   {"LINESTRING(0 0, 5 12)", {"Ditch", "98"}}}},
                      {{"Length", {11, 13}}}};
const ToolRun kXY{"xy",
                  {.type = "Point",
                   .reference = "EPSG:32631",
                   .columns = {{"NAME", "String", 20}, {"Y", "Real", 24, 15}},
                   .records = {{"POINT(500000 1)", {"Nest", "0"}}, {"", {"Not there", "0"}}}},
                  {{"X", {500000, -999}}, {"YY", {1, -999}}}};

const char* Name(FaultKind kind) {
  switch (kind) {
    case FaultKind::kOpen:
      return "open";
    case FaultKind::kWrite:
      return "write";
    case FaultKind::kSync:
      return "sync";
    case FaultKind::kRename:
      return "rename";
    case FaultKind::kClose:
      return "close";
    case FaultKind::kOwnAllocation:
      return "allocation";
    default:
      return "other";
  }
}

class GeometryFaultsTest
    : public ToolTest,
      public ::testing::WithParamInterface<std::tuple<const ToolRun*, FaultKind>> {
 protected:
  void FillIn(const ToolRun& run) {
    if (&run == &kArea) {
      Open<frmAddArea>();
      Set("cmbPFL", "data");
    } else if (&run == &kLength) {
      Open<frmAddLength>();
      Set("cmbL", "data");
    } else {
      Open<frmAddXY>();
      Set("cmbL", "data");
      Set("txtXFldName", "X");
      Set("txtYFldName", "YY");
    }
  }

  /// The table as it is on the disk: whole, and with nothing in it that the user did not have or
  /// ask for.
  void CheckTable(const ToolRun& run, const OgrDataset& before, const OgrDataset& after,
                  bool isReported) {
    ASSERT_EQ(after.records.size(), before.records.size());
    for (std::size_t row = 0; row < before.records.size(); ++row)
      EXPECT_EQ(after.records[row].wkt, before.records[row].wkt);
    EXPECT_EQ(after.Texts("NAME"), before.Texts("NAME"));
    for (const OgrColumn& column : after.columns) {
      const auto result = run.results.find(column.name);
      const auto values = after.Numbers(column.name);
      // A column of the old table, as it was.
      if (std::ranges::count(before.columns, column) == 1 &&
          after.Texts(column.name) == before.Texts(column.name))
        continue;
      ASSERT_NE(result, run.results.end()) << column.name;
      // Results, from the first row up to where the run ended.
      bool ended = false;
      for (std::size_t row = 0; row < values.size(); ++row) {
        ended = ended || values[row] != result->second[row];
        if (ended) {
          EXPECT_EQ(values[row], 0) << column.name;
        }
      }
      EXPECT_TRUE(!ended || isReported) << column.name;
    }
    if (!isReported) {
      for (const auto& [column, values] : run.results) EXPECT_EQ(after.Numbers(column), values);
    }
  }
};

TEST_P(GeometryFaultsTest, ReportsOrEndsWell) {
  const auto& [run, kind] = GetParam();
  std::int64_t strikes = 0;
  for (std::int64_t nth = 1;; ++nth) {
    SCOPED_TRACE("call " + std::to_string(nth));
    const std::string folder = "run" + std::to_string(nth) + "/";
    host_.map.Clear();
    AddLayer(folder + "data.shp", run->data);
    const OgrDataset before = Table(folder + "data");
    const auto filesBefore = std::distance(fs::directory_iterator(Path(folder)), {});
    FillIn(*run);
    TakeSaid();
    bool struck = false;
    {
      const Fault fault(kind, nth);
      Press("btnOK");
      struck = fault.HasStruck();
    }
    const auto all = TakeSaid();
    const bool isReported =
        std::ranges::any_of(all, [](const Message& message) { return message.flags == kCritical; });
    if (!isReported) {
      ASSERT_EQ(all.size(), 1u);
      EXPECT_THAT(all[0].text, ::testing::StartsWith("Processing complete"));
    }
    CheckTable(*run, before, Table(folder + "data"), isReported);
    EXPECT_EQ(std::distance(fs::directory_iterator(Path(folder)), {}), filesBefore);
    if (HasFailure()) {
      for (const Message& message : all) ADD_FAILURE() << message.text;
      return;
    }
    fs::remove_all(Path(folder));
    if (!struck) break;
    ++strikes;
  }
  EXPECT_GT(strikes, 0) << "the run makes no such call";
}

INSTANTIATE_TEST_SUITE_P(All, GeometryFaultsTest,
                         ::testing::Combine(::testing::Values(&kArea, &kLength, &kXY),
                                            ::testing::Values(FaultKind::kOpen, FaultKind::kWrite,
                                                              FaultKind::kSync, FaultKind::kRename,
                                                              FaultKind::kClose,
                                                              FaultKind::kOwnAllocation)),
                         [](const auto& param) {
                           return std::string(std::get<0>(param.param)->name) + "_" +
                                  Name(std::get<1>(param.param));
                         });

}  // namespace
}  // namespace orlinths
