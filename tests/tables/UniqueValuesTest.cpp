#include "tables/UniqueValues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "support/Seeded.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

OgrDataset Nests() {
  return {.type = "Point",
          .columns = {{"SPECIES", "String", 20},
                      {"EGGS", "Integer", 4},
                      {"MASS", "Real", 12, 3},
                      {"FOUND", "Date"}},
          .records = {{"POINT(1 1)", {"lark", "4", "2.5", "2026/04/11"}},
                      {"POINT(2 1)", {"", "10", "10", "2025/04/11"}},
                      {"POINT(3 1)", {"Wren", "9", "0.125", "2026/04/11"}},
                      {"POINT(4 1)", {"lark", "4", "2.5", ""}}}};
}

class UniqueValuesTest : public ToolTest {
 protected:
  void OpenOn(const std::string& layer, const std::string& field) {
    Open<frmUV>();
    Set("cmbLayers", layer);
    Set("cmbFldS", field);
  }
  std::string Count() { return dynamic_cast<TextBox&>(At("txtUVCnt")).text; }
  std::string Listing() { return dynamic_cast<TextBox&>(At("txtResults")).text; }
  /// Both boxes empty and off.
  void ExpectNoResult() {
    EXPECT_EQ(Count(), "");
    EXPECT_EQ(Listing(), "");
    EXPECT_FALSE(Shown("txtUVCnt"));
    EXPECT_FALSE(Shown("txtResults"));
  }
};

// ---- The dialog

TEST_F(UniqueValuesTest, DeclaresItsControlsInOrder) {
  AddLayer("nests.shp", Nests());
  Open<frmUV>();
  EXPECT_EQ(dialog().caption, "List Unique Values");
  EXPECT_EQ(dialog().HelpTag(), "UV");
  EXPECT_THAT(
      Described(),
      ElementsAre("combo cmbLayers [Select a layer:] in 'Input '",
                  "combo cmbFldS [Select a field:] in 'Input ' off",
                  "check chkUseSelected [List values for selected records only] in 'Input ' = no "
                  "off",
                  "text txtUVCnt [] in 'Result ' = off", "text txtResults [] in 'Result ' = off",
                  "button btnOK [OK]", "button btnExit [Exit]", "button btnHelp [Web Help]"));
  EXPECT_TRUE(dynamic_cast<TextBox&>(At("txtResults")).multiLine);
  EXPECT_FALSE(dynamic_cast<TextBox&>(At("txtUVCnt")).multiLine);
}

TEST_F(UniqueValuesTest, AMapWithoutFeaturesClosesItAtOnce) {
  Open<frmUV>();
  EXPECT_THAT(said(), ElementsAre(Message{
                          "ERROR: no feature layers present in map. (Nothing to work with.)",
                          kCritical, "Error"}));
  EXPECT_FALSE(IsOpen());
}

TEST_F(UniqueValuesTest, TheFieldListIsDarkUntilALayerIsChosen) {
  AddLayer("nests.shp", Nests());
  Open<frmUV>();
  EXPECT_EQ(At("cmbFldS").backColour(), BackColour::kWorkspace);
  EXPECT_FALSE(At("cmbFldS").enabled);
  Set("cmbLayers", "nests");
  EXPECT_EQ(At("cmbFldS").backColour(), BackColour::kWindow);
  EXPECT_TRUE(At("cmbFldS").enabled);
}

TEST_F(UniqueValuesTest, ListsEveryFieldButGeometry) {
  AddLayer("nests.shp", Nests());
  Open<frmUV>();
  Set("cmbLayers", "nests");
  EXPECT_THAT(Combo("cmbFldS").Items(), ElementsAre("FID", "SPECIES", "EGGS", "MASS", "FOUND"));
  Set("cmbFldS", "MASS");
  Set("cmbLayers", "nests");
  EXPECT_THAT(Combo("cmbFldS").Items(), ElementsAre("FID", "SPECIES", "EGGS", "MASS", "FOUND"));
  EXPECT_EQ(Combo("cmbFldS").text(), "") << "the choice is lost with the layer's";
}

TEST_F(UniqueValuesTest, TheBoxForSelectedRecordsFollowsTheLayersSelection) {
  AddLayer("nests.shp", Nests())->AddToSelection(2);
  AddLayer("others.shp", Nests());
  Open<frmUV>();
  Set("cmbLayers", "nests");
  EXPECT_TRUE(Shown("chkUseSelected"));
  Tick("chkUseSelected", true);
  Set("cmbLayers", "others");
  EXPECT_FALSE(Shown("chkUseSelected"));
  EXPECT_FALSE(dynamic_cast<CheckBox&>(At("chkUseSelected")).value);
  Set("cmbLayers", "nests");
  EXPECT_TRUE(Shown("chkUseSelected"));
  EXPECT_FALSE(dynamic_cast<CheckBox&>(At("chkUseSelected")).value);
}

TEST_F(UniqueValuesTest, HelpOpensItsPage) {
  AddLayer("nests.shp", Nests());
  Open<frmUV>();
  Press("btnHelp");
  ASSERT_EQ(ShellTargets().size(), 1u);
  EXPECT_THAT(ShellTargets()[0], ::testing::EndsWith("otools/uv.php"));
}

// ---- Lists

TEST_F(UniqueValuesTest, ListsTextByCodePointAndStaysOpen) {
  AddLayer("nests.shp", Nests());
  OpenOn("nests", "SPECIES");
  Press("btnOK");
  EXPECT_EQ(Count(), "Unique value count: 3");
  EXPECT_EQ(Listing(), "<BLANK>\r\nWren\r\nlark");
  EXPECT_TRUE(Shown("txtResults"));
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE(dialog().IsEnabled());
  EXPECT_TRUE(dialog().EndedInSuccess());
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(UniqueValuesTest, ListsNumbersByValueAndDatesWithoutNulls) {
  AddLayer("nests.shp", Nests());
  OpenOn("nests", "EGGS");
  Press("btnOK");
  EXPECT_EQ(Listing(), "4\r\n9\r\n10");
  Set("cmbFldS", "MASS");
  Press("btnOK");
  EXPECT_EQ(Listing(), "0.125\r\n2.5\r\n10");
  Set("cmbFldS", "FOUND");
  Press("btnOK");
  EXPECT_EQ(Count(), "Unique value count: 2");
  EXPECT_EQ(Listing(), "2025-04-11\r\n2026-04-11");
  Set("cmbFldS", "FID");
  Press("btnOK");
  EXPECT_EQ(Listing(), "0\r\n1\r\n2\r\n3");
}

TEST_F(UniqueValuesTest, TellsAnEmptyTextFromASingleBlankAndBothFromNull) {
  AddLayer("notes.gpkg", {.type = "Point",
                          .columns = {{"NOTE", "String"}},
                          .records = {{"POINT(1 1)", {" "}},
                                      {"POINT(2 1)", {"  "}},
                                      {"POINT(3 1)", {""}},
                                      {"POINT(4 1)", {}},
                                      {"POINT(5 1)", {"a"}},
                                      {"POINT(6 1)", {" "}}}});
  OpenOn("notes", "NOTE");
  Press("btnOK");
  EXPECT_EQ(Count(), "Unique value count: 4");
  EXPECT_EQ(Listing(), "<BLANK>\r\n<SPACE>\r\n  \r\na");
}

TEST_F(UniqueValuesTest, ASelectionCountsOnlyWithItsBoxTicked) {
  const auto layer = AddLayer("nests.shp", Nests());
  layer->SetSelectionSet(ISelectionSet({0, 3}));
  OpenOn("nests", "SPECIES");
  Press("btnOK");
  EXPECT_EQ(Count(), "Unique value count: 3");
  Tick("chkUseSelected", true);
  ExpectNoResult();
  Press("btnOK");
  EXPECT_EQ(Count(), "Unique value count: 1");
  EXPECT_EQ(Listing(), "lark");
}

TEST_F(UniqueValuesTest, ADefinitionQueryCounts) {
  AddLayer("nests.shp", Nests())->SetDefinitionQuery("EGGS < 10");
  OpenOn("nests", "SPECIES");
  Press("btnOK");
  EXPECT_EQ(Listing(), "Wren\r\nlark");
}

TEST_F(UniqueValuesTest, AResultNeverStandsBesideOtherInputs) {
  AddLayer("nests.shp", Nests())->AddToSelection(0);
  OpenOn("nests", "SPECIES");
  const auto ask = [&] {
    Press("btnOK");
    EXPECT_NE(Listing(), "");
  };
  ask();
  Set("cmbFldS", "EGGS");
  ExpectNoResult();
  ask();
  Tick("chkUseSelected", true);
  ExpectNoResult();
  ask();
  Tick("chkUseSelected", false);
  ExpectNoResult();
  ask();
  Set("cmbLayers", "nests");
  ExpectNoResult();
}

TEST_F(UniqueValuesTest, AgreesWithASetOnManyTexts) {
  Seeded random("UniqueValuesTest.AgreesWithASetOnManyTexts");
  OgrDataset many{.type = "Point", .columns = {{"CODE", "String", 4}}, .records = {}};
  std::set<std::string> codes;
  for (int i = 0; i < 3000; ++i) {
    const std::string code = "c" + ToText(static_cast<int>(random.Whole(0, 500)));
    codes.insert(code);
    many.records.push_back({"POINT(0 0)", {code}});
  }
  AddLayer("many.shp", many);
  OpenOn("many", "CODE");
  Press("btnOK");
  std::string expected;
  for (const std::string& code : codes) expected += (expected.empty() ? "" : "\r\n") + code;
  EXPECT_EQ(Listing(), expected);
  EXPECT_EQ(Count(), "Unique value count: " + ToText(std::ssize(codes)));
}

TEST_F(UniqueValuesTest, TheListingOfNothingIsEmpty) {
  EXPECT_EQ(ListingOf({}), "");
  EXPECT_EQ(ListingOf({Value("")}), "<BLANK>");
  EXPECT_EQ(ListingOf({Value(0.1F), Value(1e15), Value("<BLANK>")}), "0.1\r\n1E+15\r\n<BLANK>");
}

// ---- What leaves it out of use

TEST_F(UniqueValuesTest, ARefusalLeavesTheDialogOutOfUse) {
  AddLayer("nests.shp", Nests());
  for (const char* chosen : {"", "nests"}) {
    Open<frmUV>();
    if (*chosen != '\0') Set("cmbLayers", chosen);
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(Message{"ERROR: you must specify a layer and a field.",
                                                kCritical, "Error"}));
    EXPECT_TRUE(IsOpen());
    EXPECT_FALSE(dialog().IsEnabled());
    EXPECT_FALSE(dialog().EndedInSuccess());
  }
}

TEST_F(UniqueValuesTest, AFieldWithoutValuesLeavesTheDialogOutOfUseWithItsAnswer) {
  AddLayer("notes.gpkg", {.type = "Point",
                          .columns = {{"NOTE", "String"}},
                          .records = {{"POINT(1 1)", {}}, {"POINT(2 1)", {}}}});
  OpenOn("notes", "NOTE");
  Press("btnOK");
  EXPECT_EQ(Count(), "Unique value count: 0");
  EXPECT_EQ(Listing(), "No values were present in the field.");
  EXPECT_FALSE(Shown("txtResults"));
  EXPECT_TRUE(IsOpen());
  EXPECT_FALSE(dialog().IsEnabled());
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(UniqueValuesTest, SoDoesAnEmptyTable) {
  OgrDataset empty = Nests();
  empty.records.clear();
  AddLayer("nests.shp", empty);
  OpenOn("nests", "EGGS");
  Press("btnOK");
  EXPECT_EQ(Listing(), "No values were present in the field.");
  EXPECT_FALSE(dialog().IsEnabled());
}

TEST_F(UniqueValuesTest, AFailureIsReportedAndLeavesTheDialogOutOfUse) {
  const auto layer = AddLayer("nests.shp", Nests());
  OpenOn("nests", "EGGS");
  layer->FeatureClass().Delete();
  Press("btnOK");
  ASSERT_EQ(said().size(), 1u);
  EXPECT_THAT(said()[0].text, ::testing::StartsWith("ListUniqueValues: \r"));
  EXPECT_FALSE(dialog().IsEnabled());
  EXPECT_FALSE(dialog().EndedInSuccess());
}

TEST_F(UniqueValuesTest, IsFreshWhenItIsOpenedAgain) {
  AddLayer("nests.shp", Nests());
  Open<frmUV>();
  Press("btnOK");
  EXPECT_FALSE(dialog().IsEnabled());
  dialog().Unload();
  OpenAgain();
  EXPECT_TRUE(dialog().IsEnabled());
  ExpectNoResult();
  Set("cmbLayers", "nests");
  Set("cmbFldS", "EGGS");
  Press("btnOK");
  EXPECT_EQ(Listing(), "4\r\n9\r\n10");
}

}  // namespace
}  // namespace orlinths
