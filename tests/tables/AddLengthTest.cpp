#include "tables/AddLength.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Seeded.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;

const Message kComplete{"Processing complete", kInformation, "Status"};
const Message kWarning{
    "Warning: a problem was encountered while processing this request.\r"
    "Please check that the dataset is not in use by another application and try again.",
    kExclamation, "Warning"};

/// 5 + 6 m; two parts of 13 and 12 m.
OgrDataset Streams() {
  return {.type = "Line String",
          .reference = "EPSG:32631",
          .columns = {{"LENGTH", "Integer", 6}, {"NAME", "String", 20}, {"FLOW", "Real", 12, 4}},
          .records = {
              {"LINESTRING(0 0, 3 4, 3 10)", {"99", "Mill brook", "1.5"}},
              {"MULTILINESTRING((100 0, 105 12), (110 12, 110 0))", {"98", "Old ditch", "2.5"}}}};
}

class AddLengthTest : public ToolTest {
 protected:
  void OpenOn(const std::string& layer) {
    Open<frmAddLength>();
    Set("cmbL", layer);
  }
};

// ---- The dialog

TEST_F(AddLengthTest, DeclaresItsControlsInOrder) {
  AddLayer("streams.shp", Streams());
  Open<frmAddLength>();
  EXPECT_EQ(dialog().caption, "Add/Update Length Field");
  EXPECT_EQ(dialog().HelpTag(), "ADDLENGTH");
  EXPECT_THAT(
      Described(),
      ElementsAre("combo cmbL [Line feature layer:]", "option optNew [Add new field(s)] = yes",
                  "option optUpdate [Update existing field(s)] = no",
                  "text txtLength [New field name:] = LENGTH",
                  "combo cmbLength [Update field:] off",
                  "check chkLengthConst [Convert length units (multiply by this constant):] = no",
                  "text txtLengthConst [] = 0.001 off", "button btnOK [OK]",
                  "button btnExit [Exit]", "button btnHelp [Web Help]"));
}

TEST_F(AddLengthTest, TheConstantsBoxIsWhiteOnAndOff) {
  AddLayer("streams.shp", Streams());
  Open<frmAddLength>();
  EXPECT_FALSE(At("txtLengthConst").enabled);
  EXPECT_EQ(At("txtLengthConst").backColour(), BackColour::kWindow);
  Tick("chkLengthConst", true);
  EXPECT_TRUE(At("txtLengthConst").enabled);
  EXPECT_EQ(At("txtLengthConst").backColour(), BackColour::kWindow);
  Tick("chkLengthConst", false);
  EXPECT_FALSE(At("txtLengthConst").enabled);
  EXPECT_EQ(At("txtLengthConst").backColour(), BackColour::kWindow);
}

TEST_F(AddLengthTest, TheOptionDecidesBetweenNameAndField) {
  AddLayer("streams.shp", Streams());
  Open<frmAddLength>();
  EXPECT_TRUE(Shown("txtLength"));
  EXPECT_FALSE(Shown("cmbLength"));
  Choose("optUpdate");
  EXPECT_FALSE(Shown("txtLength"));
  EXPECT_TRUE(Shown("cmbLength"));
  Choose("optNew");
  EXPECT_TRUE(Shown("txtLength"));
  EXPECT_FALSE(Shown("cmbLength"));
}

TEST_F(AddLengthTest, WarnsOfAMapWithoutLinesAndTurnsOkOff) {
  AddLayer("woods.shp", {.type = "Polygon", .columns = {{"ID", "Integer", 4}}});
  Open<frmAddLength>();
  EXPECT_THAT(said(), ElementsAre(Message{
                          "Warning: no arc (line) layers present in map (nothing to work with).",
                          kExclamation, "Warning"}));
  EXPECT_FALSE(At("btnOK").enabled);
  EXPECT_TRUE(IsOpen());
}

TEST_F(AddLengthTest, ALayersNumbersFillTheFieldList) {
  AddLayer("streams.shp", Streams());
  AddLayer("woods.shp", {.type = "Polygon", .columns = {{"ID", "Integer", 4}}});
  Open<frmAddLength>();
  EXPECT_THAT(Combo("cmbL").Items(), ElementsAre("streams"));
  EXPECT_EQ(Combo("cmbL").text(), "");
  Set("cmbL", "streams");
  EXPECT_THAT(Combo("cmbLength").Items(), ElementsAre("LENGTH", "FLOW"));
  Set("cmbL", "streams");
  EXPECT_THAT(Combo("cmbLength").Items(), ElementsAre("LENGTH", "FLOW"));
}

TEST_F(AddLengthTest, HelpOpensItsPage) {
  AddLayer("streams.shp", Streams());
  Open<frmAddLength>();
  Press("btnHelp");
  ASSERT_EQ(ShellTargets().size(), 1u);
  EXPECT_THAT(ShellTargets()[0], ::testing::EndsWith("otools/addlength.php"));
}

// ---- Checks, in their order

TEST_F(AddLengthTest, ChecksItsEntriesFromTopToBottom) {
  AddLayer("streams.shp", Streams());
  const std::string before = Bytes("streams");
  Open<frmAddLength>();
  Tick("chkLengthConst", true);
  Set("txtLengthConst", "");
  Set("txtLength", "");
  const auto refused = [&](const std::string& text) {
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(Message{text, kExclamation, "Error"}));
    EXPECT_TRUE(IsOpen());
  };
  refused("Error: no line layer selected.");
  Set("cmbL", "streams");
  refused("Error: no new length field name provided.");
  Choose("optUpdate");
  refused("Error: no update length field selected.");
  Set("cmbLength", "FLOW");
  refused("Error: no length constant (multiplier) provided.");
  EXPECT_EQ(Bytes("streams"), before);
}

// ---- Runs

TEST_F(AddLengthTest, ReplacesTheLengthFieldAndMovesItToTheEnd) {
  AddLayer("streams.shp", Streams());
  OpenOn("streams");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_FALSE(IsOpen());
  const OgrDataset table = Table("streams");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "FLOW", "Length"));
  EXPECT_EQ(table.columns[2].type, "Real");
  EXPECT_THAT(table.Numbers("Length"), ElementsAre(11, 25));
  EXPECT_EQ(table.Texts("NAME"), Streams().Texts("NAME"));
  EXPECT_EQ(table.Numbers("FLOW"), Streams().Numbers("FLOW"));
}

TEST_F(AddLengthTest, TheNameAndTheConstantHaveNoEffect) {
  OgrDataset streams = Streams();
  streams.columns[0].name = "OLD";
  AddLayer("streams.shp", streams);
  OpenOn("streams");
  Set("txtLength", "MYLEN");
  Tick("chkLengthConst", true);
  Set("txtLengthConst", "0.001");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("streams").ColumnNames(), ElementsAre("OLD", "NAME", "FLOW", "Length"));
  EXPECT_THAT(Table("streams").Numbers("Length"), ElementsAre(11, 25));
}

TEST_F(AddLengthTest, AConstantThatIsNoNumberIsNeverRead) {
  AddLayer("streams.shp", Streams());
  OpenOn("streams");
  Tick("chkLengthConst", true);
  Set("txtLengthConst", "abc");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("streams").Numbers("Length"), ElementsAre(11, 25));
}

TEST_F(AddLengthTest, TheFieldToUpdateStaysAsItIs) {
  AddLayer("streams.shp", Streams());
  OpenOn("streams");
  Choose("optUpdate");
  Set("cmbLength", "FLOW");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Table("streams").Numbers("FLOW"), ElementsAre(1.5, 2.5));
  EXPECT_THAT(Table("streams").Numbers("Length"), ElementsAre(11, 25));
}

TEST_F(AddLengthTest, ASelectionAndADefinitionQueryDoNotCount) {
  const auto layer = AddLayer("streams.shp", Streams());
  layer->SetDefinitionQuery("FLOW > 2");
  layer->AddToSelection(1);
  OpenOn("streams");
  Press("btnOK");
  EXPECT_THAT(Table("streams").Numbers("Length"), ElementsAre(11, 25));
}

TEST_F(AddLengthTest, AnEmptyTableGetsItsFieldWithoutProgress) {
  OgrDataset empty = Streams();
  empty.records.clear();
  AddLayer("streams.shp", empty);
  OpenOn("streams");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_TRUE(Progress().empty());
  EXPECT_THAT(Table("streams").ColumnNames(), ElementsAre("NAME", "FLOW", "Length"));
}

TEST_F(AddLengthTest, TellsItsProgressOnTheStatusBar) {
  AddLayer("streams.shp", Streams());
  OpenOn("streams");
  Press("btnOK");
  EXPECT_THAT(LastProgressOf("Calculating length field..."), ElementsAre(2, 2));
}

TEST_F(AddLengthTest, AGeoPackageIsEditedToo) {
  AddLayer("streams.gpkg", Streams());
  OpenOn("streams");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = ReadOgr(Path("streams.gpkg"));
  EXPECT_THAT(table.ColumnNames(), ElementsAre("NAME", "FLOW", "Length"));
  EXPECT_THAT(table.Numbers("Length"), ElementsAre(11, 25));
  EXPECT_EQ(table.Numbers("FLOW"), Streams().Numbers("FLOW"));
  EXPECT_EQ(table.Texts("NAME"), Streams().Texts("NAME"));
}

// ---- What goes wrong

TEST_F(AddLengthTest, ARecordWithoutShapeEndsTheRunAndKeepsWhatWasWritten) {
  OgrDataset streams = Streams();
  streams.records[1].wkt.clear();
  AddLayer("streams.shp", streams);
  OpenOn("streams");
  Press("btnOK");
  EXPECT_THAT(
      said(),
      ElementsAre(Message{"TableAddLength: \r91\rObject variable or With block variable not set",
                          kCritical, "Error"},
                  kWarning));
  EXPECT_FALSE(IsOpen());  // closes even so
  EXPECT_THAT(Table("streams").ColumnNames(), ElementsAre("NAME", "FLOW", "Length"));
  EXPECT_THAT(Table("streams").Numbers("Length"), ElementsAre(11, 0));
}

TEST_F(AddLengthTest, AReadOnlyTableIsReported) {
  AddLayer("streams.shp", Streams());
  const std::string before = Bytes("streams");
  AsUnprivileged([&] {
    OpenOn("streams");
    Press("btnOK");
    EXPECT_THAT(said(),
                ElementsAre(Message{"TableAddLength: \r70\rPermission denied", kCritical, "Error"},
                            kWarning));
    EXPECT_FALSE(IsOpen());
  });
  EXPECT_EQ(Bytes("streams"), before);
}

TEST_F(AddLengthTest, AStopIsReportedAndTheTableStaysReadable) {
  OgrDataset many = Streams();
  while (many.records.size() < 3000) many.records.push_back(many.records[0]);
  AddLayer("streams.shp", many);
  OpenOn("streams");
  StopDuring("Calculating length field...");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"TableAddLength: \r18\rUser interrupt occurred",
                                          kCritical, "Error"},
                                  kWarning));
  EXPECT_EQ(Table("streams").records.size(), 3000u);
}

// ---- The routine alone

TEST_F(AddLengthTest, TheRoutineAnswersWhetherItReachedItsEnd) {
  const auto layer = AddLayer("streams.shp", Streams());
  EXPECT_TRUE(TableAddLength(layer->FeatureClass(), false));
  EXPECT_TRUE(Progress().empty());
  EXPECT_THAT(Table("streams").Numbers("Length"), ElementsAre(11, 25));
  const auto points = AddLayer(
      "points.shp",
      {.type = "Point", .columns = {{"ID", "Integer", 4}}, .records = {{"POINT(1 1)", {"1"}}}});
  EXPECT_FALSE(TableAddLength(points->FeatureClass(), false));
  EXPECT_THAT(said(),
              ElementsAre(Message{"TableAddLength: \r13\rType mismatch", kCritical, "Error"}));
}

TEST_F(AddLengthTest, AgreesWithGdalOnAnyLines) {
  Seeded random("AddLengthTest.AgreesWithGdalOnAnyLines");
  OgrDataset walks{.type = "Line String", .columns = {{"ID", "Integer", 6}}, .records = {}};
  for (int i = 0; i < 200; ++i) walks.records.push_back({WalkWkt(random), {"1"}});
  AddLayer("walks.shp", walks);
  OpenOn("walks");
  Press("btnOK");
  ASSERT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = Table("walks");
  const auto lengths = table.Numbers("Length");
  for (std::size_t i = 0; i < 200; ++i) {
    const double gdal = MeasureOgr(table.records[i].wkt).length;
    ASSERT_NEAR(lengths[i], gdal, 1e-12 * gdal) << table.records[i].wkt;
  }
}

}  // namespace
}  // namespace orlinths
