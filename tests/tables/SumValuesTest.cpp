#include "tables/SumValues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/ErrorNumberOf.h"
#include "support/Seeded.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

OgrDataset Plots() {
  return {.type = "Point",
          .columns = {{"NAME", "String", 20},
                      {"TREES", "Integer", 6},
                      {"VOLUME", "Real", 12, 4},
                      {"VISIT", "Date"}},
          .records = {{"POINT(1 1)", {"north", "14", "1.5", "2026/04/11"}},
                      {"POINT(2 1)", {"ridge", "3", "-0.25", "2026/04/12"}},
                      {"POINT(3 1)", {"south", "25", "2.125", ""}}}};
}

class SumValuesTest : public ToolTest {
 protected:
  void OpenOn(const std::string& layer, const std::string& field) {
    Open<frmSumValues>();
    Set("cmbLayers", layer);
    Set("cmbFldS", field);
  }
  std::string Text(const std::string& box) { return dynamic_cast<TextBox&>(At(box)).text; }
  void ExpectNoResult() {
    for (const char* box : {"txtResults", "txtSumCnt"}) {
      EXPECT_EQ(Text(box), "");
      EXPECT_FALSE(Shown(box));
    }
  }
};

// ---- The dialog

TEST_F(SumValuesTest, DeclaresItsControlsInOrder) {
  AddLayer("plots.shp", Plots());
  Open<frmSumValues>();
  EXPECT_EQ(dialog().caption, "Sum values");
  EXPECT_EQ(dialog().HelpTag(), "SUMVALUES");
  EXPECT_THAT(
      Described(),
      ElementsAre("combo cmbLayers [Select a layer:] in 'Input '",
                  "combo cmbFldS [Select a field:] in 'Input ' off",
                  "check chkUseSelected [Use selected features only] in 'Input ' = no off",
                  "text txtResults [] in 'Result ' = off", "text txtSumCnt [] in 'Result ' = off",
                  "button btnOK [Sum]", "button btnExit [Exit]", "button btnHelp [Web Help]"));
}

TEST_F(SumValuesTest, AMapWithoutFeaturesClosesItAtOnce) {
  Open<frmSumValues>();
  EXPECT_THAT(said(), ElementsAre(Message{
                          "ERROR: no feature layers present in map. (Nothing to work with.)",
                          kCritical, "Error"}));
  EXPECT_FALSE(IsOpen());
}

TEST_F(SumValuesTest, ListsNumbersOnly) {
  AddLayer("plots.shp", Plots());
  Open<frmSumValues>();
  EXPECT_EQ(At("cmbFldS").backColour(), BackColour::kWorkspace);
  Set("cmbLayers", "plots");
  EXPECT_THAT(Combo("cmbFldS").Items(), ElementsAre("TREES", "VOLUME"));
  EXPECT_TRUE(Shown("cmbFldS"));
  EXPECT_FALSE(Shown("chkUseSelected"));
}

TEST_F(SumValuesTest, HelpOpensItsPage) {
  AddLayer("plots.shp", Plots());
  Open<frmSumValues>();
  Press("btnHelp");
  EXPECT_THAT(ShellTargets(), ElementsAre(::testing::EndsWith("otools/sumvalues.php")));
}

TEST_F(SumValuesTest, ARefusalLeavesItUsable) {
  AddLayer("plots.shp", Plots());
  Open<frmSumValues>();
  const auto refused = [&] {
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(Message{"ERROR: a layer and a field must be specified.",
                                                kCritical, "Error"}));
    EXPECT_TRUE(dialog().IsEnabled());
    EXPECT_FALSE(dialog().EndedInSuccess());
  };
  refused();
  Set("cmbLayers", "plots");
  refused();
  Set("cmbFldS", "TREES");
  Press("btnOK");
  EXPECT_EQ(Text("txtResults"), "42");
}

// ---- Sums

TEST_F(SumValuesTest, ShowsSumAndCountAndStaysOpen) {
  AddLayer("plots.shp", Plots());
  OpenOn("plots", "TREES");
  Press("btnOK");
  EXPECT_EQ(Text("txtResults"), "42");
  EXPECT_EQ(Text("txtSumCnt"), "3 records processed");
  EXPECT_TRUE(Shown("txtResults"));
  EXPECT_TRUE(Shown("txtSumCnt"));
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE(dialog().IsEnabled());
  EXPECT_TRUE(dialog().EndedInSuccess());
  EXPECT_THAT(said(), IsEmpty());
  Set("cmbFldS", "VOLUME");
  ExpectNoResult();
  Press("btnOK");
  EXPECT_EQ(Text("txtResults"), "3.375");
}

TEST_F(SumValuesTest, ASelectionCountsOnlyWithItsBoxTicked) {
  AddLayer("plots.shp", Plots())->SetSelectionSet(ISelectionSet({0, 2}));
  OpenOn("plots", "TREES");
  Press("btnOK");
  EXPECT_EQ(Text("txtSumCnt"), "3 records processed");
  Tick("chkUseSelected", true);
  ExpectNoResult();
  Press("btnOK");
  EXPECT_EQ(Text("txtResults"), "39");
  EXPECT_EQ(Text("txtSumCnt"), "2 records processed");
}

TEST_F(SumValuesTest, ADefinitionQueryCounts) {
  AddLayer("plots.shp", Plots())->SetDefinitionQuery("TREES > 10");
  OpenOn("plots", "VOLUME");
  Press("btnOK");
  EXPECT_EQ(Text("txtResults"), "3.625");
  EXPECT_EQ(Text("txtSumCnt"), "2 records processed");
}

TEST_F(SumValuesTest, AnEmptyTableSumsToNothing) {
  OgrDataset empty = Plots();
  empty.records.clear();
  AddLayer("plots.shp", empty);
  OpenOn("plots", "TREES");
  Press("btnOK");
  EXPECT_EQ(Text("txtResults"), "0");
  EXPECT_EQ(Text("txtSumCnt"), "0 records processed");
  EXPECT_TRUE(dialog().IsEnabled());
}

TEST_F(SumValuesTest, WholeNumbersBeyond32BitsAddUpToo) {
  AddLayer("big.gpkg", {.type = "Point",
                        .columns = {{"N", "Integer64"}},
                        .records = {{"POINT(0 0)", {"3000000000"}},
                                    {"POINT(0 0)", {"2000000000"}},
                                    {"POINT(0 0)", {"-1"}}}});
  OpenOn("big", "N");
  Press("btnOK");
  EXPECT_EQ(Text("txtResults"), "4999999999");
}

TEST_F(SumValuesTest, AddsInTheOrderOfTheRows) {
  Seeded random("SumValuesTest.AddsInTheOrderOfTheRows");
  OgrDataset many{.type = "Point", .columns = {{"X", "Real", 24, 15}}, .records = {}};
  for (int i = 0; i < 5000; ++i)
    many.records.push_back({"POINT(0 0)", {ToText(random.Real(-1e6, 1e6))}});
  const auto layer = AddLayer("many.shp", many);
  double plain = 0;
  for (const double x : Table("many").Numbers("X")) plain += x;
  const FieldSum sum = SumOf(*layer->FeatureClass().Search(), 2);
  EXPECT_EQ(sum.sum, plain);
  EXPECT_EQ(sum.records, 5000);
}

// ---- What goes wrong

TEST_F(SumValuesTest, ANullIsReportedAndLeavesTheDialogOutOfUse) {
  AddLayer("plots.gpkg",
           {.type = "Point",
            .columns = {{"N", "Integer"}},
            .records = {{"POINT(0 0)", {"1"}}, {"POINT(0 0)", {}}, {"POINT(0 0)", {"2"}}}});
  OpenOn("plots", "N");
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Message{"SumValues: \r94\rInvalid use of Null", kCritical, "Error"}));
  EXPECT_EQ(Text("txtResults"), "");
  EXPECT_TRUE(IsOpen());
  EXPECT_FALSE(dialog().IsEnabled());
  EXPECT_FALSE(dialog().EndedInSuccess());
}

TEST_F(SumValuesTest, ASumBeyondADoubleIsReported) {
  const auto layer = AddLayer("huge.gpkg", {.type = "Point",
                                            .columns = {{"X", "Real"}},
                                            .records = {{"POINT(0 0)", {"1e308"}},
                                                        {"POINT(0 0)", {"1e308"}},
                                                        {"POINT(0 0)", {"-1e308"}}}});
  EXPECT_EQ(ErrorNumberOf([&] { SumOf(*layer->FeatureClass().Search(), 2); }), 6);
  OpenOn("huge", "X");
  Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("SumValues: \r6\rOverflow"));
  EXPECT_FALSE(dialog().IsEnabled());
}

}  // namespace
}  // namespace orlinths
