// Whole runs of the three geometry tools, with every system call and allocation failing in its
// turn: what ends without a report is written to the last row, and what is reported leaves a table
// that is the old one or a new one, whole.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/FaultRuns.h"
#include "tables/AddArea.h"
#include "tables/AddLength.h"
#include "tables/AddXY.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

struct ToolRun {
  const char* name;
  OgrDataset data;
  ColumnsToCome results;
};

const ToolRun kArea{
    "area",
    {.type = "Polygon",
     .reference = "EPSG:32631",
     .columns = {{"NAME", "String", 20}, {"AREA", "Integer", 4}},
     .records = {{"POLYGON((0 0, 0 100, 100 100, 100 0, 0 0))", {"Lower field", "4"}},
                 {"POLYGON((600 0, 600 40, 630 0, 600 0))", {"Corner", "7"}}}},
    {{{"AREA", {10000, 600}}, {"PERIMETER", {400, 120}}}}};
const ToolRun kLength{"length",
                      {.type = "Line String",
                       .reference = "EPSG:32631",
                       .columns = {{"NAME", "String", 20}, {"LENGTH", "Integer", 6}},
                       .records = {{"LINESTRING(0 0, 3 4, 3 10)", {"Mill brook", "99"}},
                                   {"LINESTRING(0 0, 5 12)", {"Ditch", "98"}}}},
                      {{{"Length", {11, 13}}}}};
const ToolRun kXY{"xy",
                  {.type = "Point",
                   .reference = "EPSG:32631",
                   .columns = {{"NAME", "String", 20}, {"Y", "Real", 24, 15}},
                   .records = {{"POINT(500000 1)", {"Nest", "0"}}, {"", {"Not there", "0"}}}},
                  {{{"X", {500000, -999}}, {"YY", {1, -999}}}}};

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
};

TEST_P(GeometryFaultsTest, ReportsOrEndsWell) {
  const ToolRun& run = *std::get<0>(GetParam());
  ForEveryCall(std::get<1>(GetParam()), [&](const auto& underFault) {
    fs::remove_all(Path("run"));
    host_.map.Clear();
    AddLayer("run/data.shp", run.data);
    const OgrDataset before = Table("run/data");
    const auto filesBefore = std::distance(fs::directory_iterator(Path("run")), {});
    FillIn(run);
    TakeSaid();
    underFault([this] { Press("btnOK"); });
    const auto all = TakeSaid();
    const bool isReported = TellOfFailure(all);
    if (!isReported) {
      ASSERT_EQ(all.size(), 1u);
      EXPECT_THAT(all[0].text, ::testing::StartsWith("Processing complete"));
    }
    ExpectEdited(before, Table("run/data"), run.results, isReported);
    EXPECT_EQ(std::distance(fs::directory_iterator(Path("run")), {}), filesBefore);
    if (HasFailure())
      for (const Message& message : all) ADD_FAILURE() << message.text;
  });
}

INSTANTIATE_TEST_SUITE_P(All, GeometryFaultsTest,
                         ::testing::Combine(::testing::Values(&kArea, &kLength, &kXY),
                                            ::testing::ValuesIn(kCallsOfRuns)),
                         [](const auto& param) {
                           return std::string(std::get<0>(param.param)->name) + "_" +
                                  NameOf(std::get<1>(param.param));
                         });

}  // namespace
}  // namespace orlinths
