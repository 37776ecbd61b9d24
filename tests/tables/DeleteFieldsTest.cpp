#include "tables/DeleteFields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/FieldsAndDatasets.h"
#include "support/Faults.h"
#include "support/Seeded.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const Message kComplete{"Processing complete.", kPlain, ""};
const Message kNotThisOne{
    "Warning: as a safety precaution this tool will not delete OID or Geometry fields.\r"
    "Proceeding to the next selected field...",
    kExclamation, "Warning"};

OgrDataset Ponds() {
  return {.type = "Point",
          .columns = {{"NAME", "String", 20},
                      {"DEPTH", "Real", 10, 2},
                      {"YEAR", "Integer", 4},
                      {"CHECKED", "Date"}},
          .records = {{"POINT(1 1)", {"Teal", "1.25", "1998", "2026/04/11"}},
                      {"POINT(2 1)", {"Long", "0.5", "2004", ""}}}};
}

class DeleteFieldsTest : public ToolTest {
 protected:
  void OpenOn(const std::string& layer) {
    Open<frmDeleteFlds>();
    Set("cmbFL", layer);
  }
  const std::vector<std::string>& Lines() { return dynamic_cast<ListBox&>(At("lstFlds")).Items(); }
  /// Selects the lines of these fields.
  void SelectFields(const std::vector<std::string>& names) {
    std::vector<std::string> lines;
    for (const std::string& name : names)
      for (const std::string& line : Lines())
        if (line.starts_with(name + "  (")) lines.push_back(line);
    ASSERT_EQ(lines.size(), names.size());
    host_.dialogs.Top().Select("lstFlds", lines);
  }
};

// ---- The dialog

TEST_F(DeleteFieldsTest, DeclaresItsControlsInOrder) {
  AddLayer("ponds.shp", Ponds());
  Open<frmDeleteFlds>();
  EXPECT_EQ(dialog().caption, "Delete Fields");
  EXPECT_EQ(dialog().HelpTag(), "DELETEFLDS");
  EXPECT_EQ(dialog().MainButton()->name, "btnDelete");
  EXPECT_THAT(
      Described(),
      ElementsAre("combo cmbFL [Feature layer / table:] in 'Input '",
                  "list lstFlds [Select fields to delete, then press the Delete button:] in "
                  "'Fields '",
                  "text txtStatus [] =", "progress PBar []", "button btnDelete [Delete]",
                  "button btnExit [Exit]", "button btnHelp [Web Help]"));
}

TEST_F(DeleteFieldsTest, WarnsOfAMapWithoutFeaturesAndTurnsDeleteOff) {
  Open<frmDeleteFlds>();
  EXPECT_THAT(said(), ElementsAre(Message{
                          "Warning: no feature layers present in map (nothing to work with).",
                          kExclamation, "Warning"}));
  EXPECT_FALSE(At("btnDelete").enabled);
  EXPECT_TRUE(IsOpen());
}

TEST_F(DeleteFieldsTest, ListsEveryFieldWithTypeLengthAndPrecision) {
  AddLayer("ponds.shp", Ponds());
  AddLayer("notes.gpkg", {.type = "Point", .columns = {{"NOTE", "String", 30}}});
  OpenOn("ponds");
  EXPECT_THAT(Lines(), ElementsAre("FID  (OID, 0, 0)", "Shape  (GEOMETRY, 0, 0)",
                                   "NAME  (STRING, 20, 20)", "DEPTH  (DOUBLE, 10, 10)",
                                   "YEAR  (SMALL INTEGER, 4, 4)", "CHECKED  (DATE, 8, 8)"));
  Set("cmbFL", "notes");
  EXPECT_THAT(Lines(),
              ElementsAre("FID  (OID, 0, 0)", "Shape  (GEOMETRY, 0, 0)", "NOTE  (STRING, 30, 30)"));
}

TEST(FieldLinesTest, ATypeWithoutAWordTakesThatOfTheFieldBefore) {
  Fields fields;
  for (int type = 0; type <= 8; ++type)
    fields.AddField(
        MakeField("F" + ToText(type), static_cast<FieldType>(type), 16, false, true, type));
  fields.AddField(MakeField("GUID", static_cast<FieldType>(11), 38, false, true));
  fields.AddField(MakeField("N", FieldType::kInteger, 9, false, true));
  fields.AddField(MakeField("XML", static_cast<FieldType>(12), 0, false, true));
  EXPECT_THAT(
      FieldLines(fields),
      ElementsAre("F0  (SMALL INTEGER, 16, 0)", "F1  (INTEGER, 16, 1)", "F2  (SINGLE, 16, 2)",
                  "F3  (DOUBLE, 16, 3)", "F4  (STRING, 16, 4)", "F5  (DATE, 16, 5)",
                  "F6  (OID, 16, 6)", "F7  (GEOMETRY, 16, 7)", "F8  (BLOB, 16, 8)",
                  "GUID  (BLOB, 38, 0)", "N  (INTEGER, 9, 0)", "XML  (INTEGER, 0, 0)"));
  EXPECT_THAT(FieldLines({}), IsEmpty());
}

TEST_F(DeleteFieldsTest, HelpOpensItsPage) {
  AddLayer("ponds.shp", Ponds());
  Open<frmDeleteFlds>();
  Press("btnHelp");
  EXPECT_THAT(ShellTargets(), ElementsAre(::testing::EndsWith("otools/delflds.php")));
}

TEST_F(DeleteFieldsTest, AsksForALayer) {
  AddLayer("ponds.shp", Ponds());
  Open<frmDeleteFlds>();
  Press("btnDelete");
  EXPECT_THAT(said(), ElementsAre(Message{"Error: no feature / table layer selected.", kExclamation,
                                          "Error"}));
  EXPECT_TRUE(IsOpen());
}

// ---- Runs

TEST_F(DeleteFieldsTest, DeletesTheChosenFieldsAndLeavesTheRestAsItWas) {
  AddLayer("ponds.shp", Ponds());
  OpenOn("ponds");
  SelectFields({"DEPTH", "CHECKED"});
  Press("btnDelete");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_FALSE(IsOpen());
  EXPECT_TRUE(dialog().EndedInSuccess());
  const OgrDataset table = Table("ponds");
  EXPECT_THAT(table.columns,
              ElementsAre(OgrColumn{"NAME", "String", 20, 0}, OgrColumn{"YEAR", "Integer", 4, 0}));
  EXPECT_EQ(table.Texts("NAME"), Ponds().Texts("NAME"));
  EXPECT_EQ(table.Numbers("YEAR"), Ponds().Numbers("YEAR"));
  EXPECT_EQ(table.records[1].wkt, "POINT (2.0 1.0)");
}

TEST_F(DeleteFieldsTest, WithNothingChosenItIsCompleteAtOnce) {
  AddLayer("ponds.shp", Ponds());
  const std::string before = Bytes("ponds");
  OpenOn("ponds");
  Press("btnDelete");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(Bytes("ponds"), before);
}

TEST_F(DeleteFieldsTest, WarnsOfObjectIdAndShapeAndGoesOnWithTheNext) {
  AddLayer("ponds.shp", Ponds());
  OpenOn("ponds");
  SelectFields({"FID", "Shape", "YEAR"});
  Press("btnDelete");
  EXPECT_THAT(said(), ElementsAre(kNotThisOne, kNotThisOne, kComplete));
  EXPECT_THAT(Table("ponds").ColumnNames(), ElementsAre("NAME", "DEPTH", "CHECKED"));
}

TEST_F(DeleteFieldsTest, ShowsItsProgress) {
  AddLayer("ponds.shp", Ponds());
  OpenOn("ponds");
  SelectFields({"FID", "NAME", "YEAR"});
  Press("btnDelete");
  EXPECT_THAT(host_.dialogs.statuses, ::testing::Contains("Processing..."));
  EXPECT_EQ(host_.dialogs.progress.back(), 3);
}

TEST_F(DeleteFieldsTest, WritesOneNewTableHoweverManyFieldsGo) {
  OgrDataset wide{.type = "Point", .columns = {}, .records = {{"POINT(0 0)", {}}}};
  std::vector<std::string> even, odd;
  for (int i = 0; i < 20; ++i) {
    wide.columns.push_back({"C" + ToText(i), "Integer", 6});
    wide.records[0].values.push_back(ToText(i));
    (i % 2 == 0 ? even : odd).push_back(wide.columns.back().name);
  }
  AddLayer("wide.shp", wide);
  OpenOn("wide");
  SelectFields(even);
  const Fault counted(FaultKind::kRename, 1'000'000);
  Press("btnDelete");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_EQ(counted.Calls(), 1);
  EXPECT_THAT(Table("wide").ColumnNames(), ElementsAreArray(odd));
  for (const std::string& name : odd)
    EXPECT_THAT(Table("wide").Texts(name), ElementsAre(name.substr(1)));
}

TEST_F(DeleteFieldsTest, AGeoPackageLosesItsFieldsToo) {
  AddLayer("ponds.gpkg", Ponds());
  OpenOn("ponds");
  SelectFields({"NAME", "YEAR"});
  Press("btnDelete");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = ReadOgr(Path("ponds.gpkg"));
  EXPECT_THAT(table.ColumnNames(), ElementsAre("DEPTH", "CHECKED"));
  EXPECT_EQ(table.Numbers("DEPTH"), Ponds().Numbers("DEPTH"));
}

// ---- What goes wrong

TEST_F(DeleteFieldsTest, TheLastFieldIsRefusedAndTheOthersStayDeleted) {
  AddLayer("ponds.shp", Ponds());
  OpenOn("ponds");
  SelectFields({"NAME", "DEPTH", "YEAR", "CHECKED"});
  Press("btnDelete");
  ASSERT_EQ(said().size(), 1u);
  EXPECT_THAT(said()[0].text, StartsWith("DeleteFields: C\r-2147467259\r"));
  EXPECT_THAT(said()[0].text, ::testing::HasSubstr("CHECKED"));
  EXPECT_EQ(said()[0].title, "Error");
  EXPECT_TRUE(IsOpen());
  EXPECT_FALSE(dialog().EndedInSuccess());
  EXPECT_EQ(dynamic_cast<TextBox&>(At("txtStatus")).text(), "");
  EXPECT_THAT(Table("ponds").ColumnNames(), ElementsAre("CHECKED"));
}

TEST_F(DeleteFieldsTest, AFieldThatIsGoneIsReportedAndTheRestStays) {
  const auto layer = AddLayer("ponds.shp", Ponds());
  OpenOn("ponds");
  SelectFields({"NAME", "DEPTH", "YEAR"});
  layer->FeatureClass().DeleteField(layer->FeatureClass().FindField("DEPTH"));
  Press("btnDelete");
  EXPECT_THAT(TextsOf(said()), ElementsAre("DeleteFields: C\r9\rSubscript out of range"));
  EXPECT_THAT(Table("ponds").ColumnNames(), ElementsAre("YEAR", "CHECKED"));
}

TEST_F(DeleteFieldsTest, AReadOnlyTableIsReportedAndStays) {
  AddLayer("ponds.shp", Ponds());
  const std::string before = Bytes("ponds");
  AsUnprivileged([&] {
    OpenOn("ponds");
    SelectFields({"NAME"});
    Press("btnDelete");
    EXPECT_THAT(said(),
                ElementsAre(Message{"DeleteFields: C\r70\rPermission denied", kCritical, "Error"}));
    EXPECT_TRUE(IsOpen());
  });
  EXPECT_EQ(Bytes("ponds"), before);
}

TEST_F(DeleteFieldsTest, ATableThatAnotherProgramEditsIsReportedAndStays) {
  AddLayer("ponds.shp", Ponds());
  WhileEditedElsewhere("ponds.shp", [&] {
    OpenOn("ponds");
    SelectFields({"NAME"});
    Press("btnDelete");
    EXPECT_THAT(TextsOf(said()), ElementsAre("DeleteFields: C\r70\rPermission denied"));
  });
  EXPECT_THAT(Table("ponds").ColumnNames(), ElementsAre("NAME", "DEPTH", "YEAR", "CHECKED"));
}

TEST_F(DeleteFieldsTest, AFullDiskIsReportedBeforeAnythingIsCalledComplete) {
  AddLayer("ponds.shp", Ponds());
  const std::string before = Bytes("ponds");
  OpenOn("ponds");
  SelectFields({"NAME", "YEAR"});
  {
    const Fault full(FaultKind::kWrite, 1, FaultAction::kFailFromOn);
    Press("btnDelete");
    EXPECT_TRUE(full.HasStruck());
  }
  EXPECT_THAT(TextsOf(said()), ElementsAre("DeleteFields: D\r61\rDisk full"));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Bytes("ponds"), before);
}

TEST_F(DeleteFieldsTest, KeepsEveryBitOfWhatStays) {
  Seeded random("DeleteFieldsTest.KeepsEveryBitOfWhatStays");
  OgrDataset many{.type = "Point",
                  .columns = {{"A", "Real", 24, 15}, {"B", "String", 9}, {"C", "Real", 24, 15}},
                  .records = {}};
  for (int i = 0; i < 2000; ++i)
    many.records.push_back(
        {"POINT(0 0)",
         {ToText(random.Real(-1e6, 1e6)), "b" + ToText(i), ToText(random.Real(-1e6, 1e6))}});
  AddLayer("many.shp", many);
  const OgrDataset before = Table("many");
  OpenOn("many");
  SelectFields({"B"});
  Press("btnDelete");
  const OgrDataset after = Table("many");
  EXPECT_THAT(after.ColumnNames(), ElementsAre("A", "C"));
  EXPECT_EQ(after.Texts("A"), before.Texts("A"));
  EXPECT_EQ(after.Texts("C"), before.Texts("C"));
}

}  // namespace
}  // namespace orlinths
