#include "movement/LocationsToPaths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <limits>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "support/AtYield.h"
#include "support/ErrorNumberOf.h"
#include "support/Faults.h"
#include "support/Seeded.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const Message kComplete{"Processing complete.", kPlain, ""};
constexpr const char* kNoObject =
    "LocsToPath: \r91\rObject variable or With block variable not set";

/// Two animals, of which the first comes back after the second, and a third one with one location.
OgrDataset Fixes() {
  return {.type = "Point",
          .reference = "EPSG:32612",
          .columns = {{"ANIMAL", "String", 12},
                      {"ID", "Integer", 6},
                      {"HOUR", "Integer", 4},
                      {"MASS", "Real", 10, 2},
                      {"DAY", "Date"}},
          .records = {{"POINT(0 0)", {"fox", "7", "3", "4.5", "2026/04/11"}},
                      {"POINT(3 4)", {"fox", "7", "1", "4.5", "2026/04/11"}},
                      {"POINT(3 4)", {"fox", "7", "2", "4.5", "2026/04/12"}},
                      {"POINT(10 0)", {"cub", "8", "2", "1.5", "2026/04/12"}},
                      {"POINT(10 5)", {"cub", "8", "1", "1.5", "2026/04/12"}},
                      {"POINT(9 9)", {"fox", "7", "4", "4.5", "2026/04/12"}},
                      {"POINT(8 9)", {"fox", "7", "4", "4.5", "2026/04/13"}},
                      {"POINT(20 20)", {"hare", "9", "1", "3.25", "2026/04/14"}}}};
}

class LocationsToPathsTest : public ToolTest {
 protected:
  void OpenOn(const std::string& layer) {
    Open<frmLocsToPath>();
    Set("cmbFL", layer);
    PickOutput();
  }
  /// A new shapefile in a folder of its own: the map may still show the last one.
  void PickOutput() {
    output_ = "out" + ToText(++outputs_) + "/paths";
    PickOutput(output_ + ".shp");
  }
  void PickOutput(const std::string& file) {
    std::filesystem::create_directories(FolderOf(Path(file)));
    host_.dialogs.Top().Pick("btnFile", Path(file));
  }
  void ChooseMany(const std::string& field) {
    Choose("optMany");
    Set("cmbPathFld", field);
  }
  void ChooseSort(const std::string& field) {
    Choose("optSort");
    Set("cmbSortFld", field);
  }
  void ExpectComplete() {
    Press("btnOK");
    EXPECT_THAT(said(), ElementsAre(kComplete));
    EXPECT_FALSE(IsOpen());
  }
  std::string Output() const { return Path(output_ + ".shp"); }
  OgrDataset Paths() const { return ReadOgr(Output()); }
  /// The lines as "x y, x y", in order.
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    const FeatureClassPtr paths = OpenFeatureClassByPath(Output());
    const CursorPtr rows = paths->Search();
    while (const IRow* row = rows->Next()) {
      std::string text;
      EXPECT_EQ(row->Line().PartCount(), 1);
      for (const Coord& c : row->Line().Coords())
        text += (text.empty() ? "" : ", ") + ToText(c.x) + " " + ToText(c.y);
      lines.push_back(text);
    }
    return lines;
  }

  std::string output_;
  int outputs_ = 0;
};

// ---- The dialog

TEST_F(LocationsToPathsTest, DeclaresItsControlsInOrder) {
  AddLayer("fixes.shp", Fixes());
  Open<frmLocsToPath>();
  EXPECT_EQ(dialog().caption, "Convert Locations To Paths");
  EXPECT_EQ(dialog().HelpTag(), "LOCSTOPATH");
  EXPECT_THAT(
      Described(),
      ElementsAre(
          "combo cmbFL [Point locations layer:]",
          "option optOne [Create a single output path (one line)] = yes",
          "option optMany [Create multiple output paths (many lines) using the following field to "
          "distinguish between different paths:] = no",
          "combo cmbPathFld []",
          "check chkSep [Make each segment a separate line (default is one line per path).] = no",
          "option optSorted [The data are already sorted chronologically within each output path] "
          "= yes",
          "option optSort [The data need to be sorted using this field:] = no",
          "combo cmbSortFld []", "text txtOutFile [Output shapefile:] =", "button btnFile [...]",
          "progress ProgressBar1 []", "text txtStatus [] =", "button btnOK [OK]",
          "button btnExit [Exit]", "button btnHelp [Web Help]"));
}

TEST_F(LocationsToPathsTest, ItsOptionsArePairsAndTurnNothingOff) {
  AddLayer("fixes.shp", Fixes());
  Open<frmLocsToPath>();
  Choose("optMany");
  EXPECT_FALSE(IsChosen("optOne"));
  EXPECT_TRUE(IsChosen("optSorted"));
  Choose("optSort");
  EXPECT_TRUE(IsChosen("optMany"));
  EXPECT_FALSE(IsChosen("optSorted"));
  Choose("optOne");
  EXPECT_TRUE(IsChosen("optSort"));
  for (const char* name : {"cmbPathFld", "cmbSortFld", "chkSep"}) EXPECT_TRUE(Shown(name));
}

TEST_F(LocationsToPathsTest, WarnsOfAMapWithoutPointsAndTurnsOkOff) {
  AddLayer("zones.shp", {.type = "Polygon", .columns = {{"ID", "Integer", 4}}});
  Open<frmLocsToPath>();
  EXPECT_THAT(said(),
              ElementsAre(Message{"Warning: no point layers present in map (nothing to work with).",
                                  kExclamation, "Warning"}));
  EXPECT_FALSE(At("btnOK").enabled);
  EXPECT_TRUE(IsOpen());
}

TEST_F(LocationsToPathsTest, ALayersFieldsFillBothLists) {
  AddLayer("fixes.shp", Fixes());
  Open<frmLocsToPath>();
  for (int again = 0; again < 2; ++again) {
    Set("cmbFL", "fixes");
    for (const char* list : {"cmbPathFld", "cmbSortFld"}) {
      EXPECT_THAT(Combo(list).Items(),
                  ElementsAre("FID", "Shape", "ANIMAL", "ID", "HOUR", "MASS", "DAY"));
      EXPECT_EQ(Combo(list).text(), "");
      Set(list, "HOUR");
    }
  }
}

TEST_F(LocationsToPathsTest, HelpOpensItsPage) {
  AddLayer("fixes.shp", Fixes());
  Open<frmLocsToPath>();
  Press("btnHelp");
  EXPECT_THAT(ShellTargets(), ElementsAre(::testing::EndsWith("otools/locstopath.php")));
}

TEST_F(LocationsToPathsTest, ThePickerCutsTheExtensionDeletesAndStartsWhereItWasLast) {
  AddLayer("fixes.shp", Fixes());
  WriteOgr(Path("old.shp"), Fixes());
  Open<frmLocsToPath>();
  host_.dialogs.Top().Pick("btnFile", Path("old.shp"));
  EXPECT_EQ(Bytes("old"), "") << "gone at once";
  EXPECT_EQ(dynamic_cast<TextBox&>(At("txtOutFile")).text(), Path("old.shp"));
  host_.dialogs.Top().Pick("btnFile", Path("new"));
  EXPECT_EQ(dynamic_cast<TextBox&>(At("txtOutFile")).text(), Path("new.shp"));
  host_.dialogs.Top().CancelPick("btnFile");
  EXPECT_EQ(dynamic_cast<TextBox&>(At("txtOutFile")).text(), Path("new.shp"));
  ASSERT_EQ(host_.dialogs.questions.size(), 3u);
  EXPECT_EQ(host_.dialogs.questions[0].title, "Save Movement Path As...");
  EXPECT_EQ(host_.dialogs.questions[0].startFolder, "");
  EXPECT_EQ(host_.dialogs.questions[1].startFolder, FolderOf(Path("old.shp")));
  EXPECT_EQ(host_.dialogs.questions[1].filter, IDialogHost::Filter::kShapefiles);
}

// ---- Checks, in their order

TEST_F(LocationsToPathsTest, ChecksItsEntriesInOrder) {
  AddLayer("fixes.shp", Fixes());
  Open<frmLocsToPath>();
  Choose("optMany");
  Choose("optSort");
  const auto refused = [&](const std::string& text) {
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(Message{text, kExclamation, "Error"}));
    EXPECT_TRUE(IsOpen());
  };
  refused("A valid output shapefile must be provided.");
  PickOutput();
  refused("A valid input layer has not been identified.");
  Set("cmbFL", "fixes");
  refused("A field that distinguished between the multiple paths must be identified.");
  Set("cmbPathFld", "ANIMAL");
  refused("A sort field must be identified.");
  EXPECT_FALSE(files::FileExists(Output()));
}

// ---- The four ways

TEST_F(LocationsToPathsTest, OneLineForAllPoints) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("0 0, 3 4, 3 4, 10 0, 10 5, 9 9, 8 9, 20 20"));
  EXPECT_THAT(Paths().ColumnNames(), ElementsAre("Id"));
  EXPECT_EQ(OpenFeatureClassByPath(Output())->SpatialReference()->FactoryCode(), 32612);
  EXPECT_THAT(host_.addedLayers, ElementsAre("paths"));
}

TEST_F(LocationsToPathsTest, OneLineForEveryStep) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  Tick("chkSep", true);
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("0 0, 3 4", "3 4, 3 4", "3 4, 10 0", "10 0, 10 5", "10 5, 9 9",
                                   "9 9, 8 9", "8 9, 20 20"));
}

TEST_F(LocationsToPathsTest, OneLineForEachPathAsItStands) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  ChooseMany("ANIMAL");
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("0 0, 3 4, 3 4", "10 0, 10 5", "9 9, 8 9"));
  EXPECT_THAT(Paths().Texts("ANIMAL"), ElementsAre("fox", "cub", "fox"));
}

TEST_F(LocationsToPathsTest, OneLineForEveryStepWithinAPath) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  ChooseMany("ANIMAL");
  Tick("chkSep", true);
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("0 0, 3 4", "3 4, 3 4", "10 0, 10 5", "9 9, 8 9"));
  EXPECT_THAT(Paths().Texts("ANIMAL"), ElementsAre("fox", "fox", "cub", "fox"));
}

TEST_F(LocationsToPathsTest, SortsByAFieldAndKeepsTiesAsTheyStand) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  ChooseSort("HOUR");
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("3 4, 10 5, 20 20, 3 4, 10 0, 0 0, 9 9, 8 9"));
}

TEST_F(LocationsToPathsTest, SortsTextByCodePoint) {
  AddLayer("fixes.shp", {.type = "Point",
                         .columns = {{"AT", "String", 9}},
                         .records = {{"POINT(1 0)", {"b"}},
                                     {"POINT(2 0)", {"10"}},
                                     {"POINT(3 0)", {"ä"}},
                                     {"POINT(4 0)", {"9"}},
                                     {"POINT(5 0)", {"B"}}}});
  OpenOn("fixes");
  ChooseSort("AT");
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("2 0, 4 0, 5 0, 1 0, 3 0"));
}

TEST_F(LocationsToPathsTest, SortsDates) {
  OgrDataset fixes = Fixes();
  std::reverse(fixes.records.begin(), fixes.records.end());
  AddLayer("fixes.shp", fixes);
  OpenOn("fixes");
  ChooseMany("ANIMAL");
  ChooseSort("DAY");
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("3 4, 0 0, 9 9", "10 5, 10 0", "3 4, 8 9"));
}

TEST_F(LocationsToPathsTest, SortedPathsAreThoseOfRunsInTheSortedOrder) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  ChooseMany("ID");
  ChooseSort("ID");
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("0 0, 3 4, 3 4, 9 9, 8 9", "10 0, 10 5"));
  EXPECT_THAT(Paths().Numbers("RefID"), ElementsAre(7, 8));
}

TEST_F(LocationsToPathsTest, ASortedPathCanBeCutIntoSteps) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  ChooseMany("ANIMAL");
  ChooseSort("ANIMAL");
  Tick("chkSep", true);
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("10 0, 10 5", "0 0, 3 4", "3 4, 3 4", "3 4, 9 9", "9 9, 8 9"));
  EXPECT_THAT(Paths().Texts("ANIMAL"), ElementsAre("cub", "fox", "fox", "fox", "fox"));
}

TEST_F(LocationsToPathsTest, FieldsOfOptionsThatAreOffAreIgnored) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  Set("cmbPathFld", "ANIMAL");
  Set("cmbSortFld", "HOUR");
  ExpectComplete();
  EXPECT_THAT(Lines(), ElementsAre("0 0, 3 4, 3 4, 10 0, 10 5, 9 9, 8 9, 20 20"));
}

TEST_F(LocationsToPathsTest, SelectionAndDefinitionQueryDoNotCount) {
  for (const bool sorts : {false, true}) {
    const auto layer = AddLayer(sorts ? "b.shp" : "a.shp", Fixes());
    layer->SetDefinitionQuery("ANIMAL = 'cub'");
    layer->AddToSelection(3);
    OpenOn(sorts ? "b" : "a");
    if (sorts) ChooseSort("HOUR");
    ExpectComplete();
    ASSERT_EQ(Lines().size(), 1u);
    EXPECT_EQ(std::ranges::count(Lines()[0], ','), 7);
    TakeSaid();
  }
}

TEST_F(LocationsToPathsTest, PathsOfOneLocationLeaveNothingSilently) {
  OgrDataset fixes = Fixes();
  AddLayer("fixes.shp", fixes);
  for (const bool steps : {false, true}) {
    OpenOn("fixes");
    ChooseMany("FID");
    Tick("chkSep", steps);
    ExpectComplete();
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Paths().ColumnNames(), ElementsAre("Id", "RefFID"));
    TakeSaid();
  }
  EXPECT_THAT(host_.addedLayers, ElementsAre("paths", "paths"));
}

TEST_F(LocationsToPathsTest, ASinglePointMakesNoLine) {
  OgrDataset one = Fixes();
  one.records.resize(1);
  AddLayer("one.shp", one);
  for (const bool steps : {false, true}) {
    OpenOn("one");
    Tick("chkSep", steps);
    ExpectComplete();
    EXPECT_THAT(Lines(), IsEmpty());
    TakeSaid();
  }
}

TEST_F(LocationsToPathsTest, ShowsItsProgress) {
  OgrDataset many = Fixes();
  while (many.records.size() < 2500) many.records.push_back(many.records[0]);
  AddLayer("fixes.shp", many);
  OpenOn("fixes");
  ExpectComplete();
  EXPECT_THAT(host_.dialogs.statuses, ElementsAre("Processing points...", ""));
  EXPECT_EQ(host_.dialogs.progress.back(), 2500);
}

// ---- The field for the path

TEST_F(LocationsToPathsTest, TheFieldIsLikeThePointsOwn) {
  AddLayer("fixes.shp", Fixes());
  const auto fieldFor = [&](const std::string& name) {
    OpenOn("fixes");
    ChooseMany(name);
    ExpectComplete();
    TakeSaid();
    const Fields fields = OpenFeatureClassByPath(Output())->Fields();
    return fields[fields.FieldCount() - 1];
  };
  Field field = fieldFor("ANIMAL");
  EXPECT_EQ(field.name, "ANIMAL");
  EXPECT_EQ(field.type, FieldType::kText);
  EXPECT_EQ(field.length, 12);
  field = fieldFor("HOUR");
  EXPECT_EQ(field.name, "HOUR");
  EXPECT_EQ(field.type, FieldType::kSmallInteger);
  field = fieldFor("MASS");
  EXPECT_EQ(field.name, "MASS");
  EXPECT_EQ(field.type, FieldType::kDouble);
  EXPECT_THAT(Paths().Numbers("MASS"), ElementsAre(4.5, 1.5, 4.5));
  field = fieldFor("DAY");
  EXPECT_EQ(field.name, "DAY");
  EXPECT_EQ(field.type, FieldType::kDate);
  EXPECT_THAT(Paths().Texts("DAY"), ElementsAre("2026/04/11", "2026/04/12"));
  EXPECT_THAT(Lines(), ElementsAre("0 0, 3 4", "3 4, 10 0, 10 5, 9 9"));
}

TEST_F(LocationsToPathsTest, AnIdentifiersNameGetsRefBeforeItWhateverItsTypeAndCase) {
  for (const char* name : {"ID", "Id", "oid", "fId"}) {
    OgrDataset fixes = Fixes();
    fixes.columns[1] = {name, "Real", 10, 2};
    const std::string layer = std::string("with_") + name;
    AddLayer(layer + ".shp", fixes);
    OpenOn(layer);
    ChooseMany(name);
    ExpectComplete();
    TakeSaid();
    const Fields fields = OpenFeatureClassByPath(Output())->Fields();
    ASSERT_EQ(fields.FieldCount(), 4);
    EXPECT_EQ(fields[3].name, std::string("Ref") + name);
    EXPECT_EQ(fields[3].type, FieldType::kInteger);
  }
}

TEST_F(LocationsToPathsTest, LongNumbersAndTextKeepTheirValue) {
  AddLayer("fixes.gpkg", {.type = "Point",
                          .columns = {{"TAG", "Integer64"}, {"NAME", "String", 60}},
                          .records = {{"POINT(0 0)", {"2147483647", std::string(60, 'a')}},
                                      {"POINT(1 0)", {"2147483647", std::string(60, 'a')}},
                                      {"POINT(2 0)", {"-1", std::string(59, 'a') + "b"}},
                                      {"POINT(3 0)", {"-1", std::string(59, 'a') + "b"}}}});
  OpenOn("fixes");
  ChooseMany("TAG");
  ExpectComplete();
  EXPECT_THAT(Paths().Numbers("TAG"), ElementsAre(2147483647, -1));
  TakeSaid();
  OpenOn("fixes");
  ChooseMany("NAME");
  ExpectComplete();
  EXPECT_THAT(Paths().Texts("NAME"), ElementsAre(std::string(60, 'a'), std::string(59, 'a') + "b"));
}

TEST_F(LocationsToPathsTest, LocationsWithoutIdentifierAreOfNoPath) {
  AddLayer("fixes.gpkg", {.type = "Point",
                          .columns = {{"ANIMAL", "String"}},
                          .records = {{"POINT(0 0)", {}},
                                      {"POINT(1 0)", {}},
                                      {"POINT(2 0)", {"fox"}},
                                      {"POINT(3 0)", {"fox"}},
                                      {"POINT(4 0)", {}},
                                      {"POINT(5 0)", {""}},
                                      {"POINT(6 0)", {""}}}});
  for (const bool steps : {false, true}) {
    OpenOn("fixes");
    ChooseMany("ANIMAL");
    Tick("chkSep", steps);
    ExpectComplete();
    EXPECT_THAT(Lines(), ElementsAre("2 0, 3 0", "5 0, 6 0"));
    EXPECT_THAT(Paths().Texts("ANIMAL"), ElementsAre("fox", ""));
    TakeSaid();
  }
}

// ---- Against a plain grouping

TEST_F(LocationsToPathsTest, HoldsEveryLocationOfAPathInOrder) {
  Seeded random("LocationsToPathsTest.HoldsEveryLocationOfAPathInOrder");
  for (int round = 0; round < 20; ++round) {
    OgrDataset fixes{.type = "Point",
                     .columns = {{"ANIMAL", "Integer", 6}, {"TIME", "Real", 24, 15}},
                     .records = {}};
    struct Fix {
      int animal;
      double time;
      std::string place;
    };
    std::vector<Fix> plain;
    for (auto left = random.Whole(0, 80); left > 0; --left) {
      const Fix fix{static_cast<int>(random.Whole(1, 4)), static_cast<double>(random.Whole(0, 30)),
                    ToText(random.Whole(0, 50)) + " " + ToText(random.Whole(0, 50))};
      plain.push_back(fix);
      fixes.records.push_back({"POINT(" + fix.place + ")", {ToText(fix.animal), ToText(fix.time)}});
    }
    const bool sorts = random.Chance(0.5), steps = random.Chance(0.5);
    if (plain.empty() && steps) continue;
    if (sorts) std::ranges::stable_sort(plain, {}, &Fix::time);
    std::vector<std::string> expected;
    for (std::size_t i = 0; i < plain.size(); ++i) {
      const bool goesOn = i > 0 && plain[i].animal == plain[i - 1].animal;
      const bool begins = i == 0 || !goesOn;
      if (steps) {
        if (goesOn) expected.push_back(plain[i - 1].place + ", " + plain[i].place);
      } else if (begins) {
        expected.push_back(plain[i].place);
      } else {
        expected.back() += ", " + plain[i].place;
      }
    }
    std::erase_if(expected, [](const std::string& l) { return l.find(',') == l.npos; });

    const std::string name = "fixes" + ToText(round);
    AddLayer(name + ".shp", fixes);
    OpenOn(name);
    ChooseMany("ANIMAL");
    if (sorts) ChooseSort("TIME");
    Tick("chkSep", steps);
    ExpectComplete();
    TakeSaid();
    ASSERT_EQ(Lines(), expected) << "sorts " << sorts << ", steps " << steps;
  }
}

// ---- What goes wrong

TEST_F(LocationsToPathsTest, AnEmptyLayerGivesNoLineButNoFirstPointForSteps) {
  OgrDataset empty = Fixes();
  empty.records.clear();
  AddLayer("empty.shp", empty);
  for (const bool many : {false, true}) {
    for (const bool sorts : {false, true}) {
      OpenOn("empty");
      if (many) ChooseMany("ANIMAL");
      if (sorts) ChooseSort("HOUR");
      ExpectComplete();
      EXPECT_THAT(Lines(), IsEmpty());
      TakeSaid();

      OpenOn("empty");
      if (many) ChooseMany("ANIMAL");
      if (sorts) ChooseSort("HOUR");
      Tick("chkSep", true);
      Press("btnOK");
      EXPECT_THAT(TextsOf(TakeSaid()), ElementsAre(kNoObject));
      EXPECT_TRUE(IsOpen());
      EXPECT_THAT(Lines(), IsEmpty());
    }
  }
}

TEST_F(LocationsToPathsTest, AnOutputThatIsThereStaysAndIsReported) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  WriteOgr(Output(), Fixes());  // since it was chosen
  const std::string before = Bytes(output_);
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"ERROR: file already exists. Cannot create output file.",
                                          kCritical, "File Error"},
                                  Message{kNoObject, kCritical, "Error"}));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Bytes(output_), before);
}

TEST_F(LocationsToPathsTest, APathTypedInLeadsNowhere) {
  AddLayer("fixes.shp", Fixes());
  Open<frmLocsToPath>();
  Set("cmbFL", "fixes");
  Set("txtOutFile", Path("typed.shp"));
  Press("btnOK");
  ASSERT_EQ(said().size(), 1u);
  EXPECT_THAT(said()[0].text, StartsWith("LocsToPath: \r-2147467259\r"));
  EXPECT_TRUE(IsOpen());
  EXPECT_FALSE(files::FileExists(Path("typed.shp")));
}

TEST_F(LocationsToPathsTest, AFolderThatCannotBeWrittenIsReported) {
  AddLayer("fixes.shp", Fixes());
  AsUnprivileged([&] {
    Open<frmLocsToPath>();
    Set("cmbFL", "fixes");
    host_.dialogs.Top().Pick("btnFile", Path("paths.shp"));
    Press("btnOK");
    EXPECT_THAT(TextsOf(said()), ElementsAre("LocsToPath: \r70\rPermission denied"));
    EXPECT_TRUE(IsOpen());
  });
}

TEST_F(LocationsToPathsTest, APointWithoutShapeIsReportedAndKeepsTheLinesBefore) {
  OgrDataset fixes = Fixes();
  fixes.records[4].wkt.clear();
  AddLayer("fixes.shp", fixes);
  for (const bool sorts : {false, true}) {
    OpenOn("fixes");
    ChooseMany("ANIMAL");
    if (sorts) ChooseSort("DAY");
    Press("btnOK");
    EXPECT_THAT(TextsOf(TakeSaid()), ElementsAre(kNoObject));
    EXPECT_TRUE(IsOpen());
    EXPECT_EQ(dynamic_cast<TextBox&>(At("txtStatus")).text(), "");
    EXPECT_THAT(Lines(), ElementsAre("0 0, 3 4, 3 4"));
  }
  EXPECT_THAT(host_.addedLayers, IsEmpty());
}

TEST_F(LocationsToPathsTest, ACoordinateThatIsNoFiniteNumberIsReported) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double none = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    double old, by;
    const char* report;
  };
  OgrDataset fixes = Fixes();
  fixes.records[4].wkt = "POINT(1234567 7654321)";
  int number = 0;
  for (const Case& broken :
       {Case{1234567, infinity, "LocsToPath: \r6\rOverflow"},
        Case{7654321, -infinity, "LocsToPath: \r6\rOverflow"}, Case{7654321, none, kNoObject}}) {
    const std::string name = "fixes" + ToText(++number);
    WriteOgr(Path(name + ".shp"), fixes);
    ReplaceNumber(name + ".shp", broken.old, broken.by);
    AddFile(name + ".shp");
    for (const bool sorts : {false, true}) {
      OpenOn(name);
      ChooseMany("ANIMAL");
      if (sorts) ChooseSort("DAY");
      Press("btnOK");
      EXPECT_THAT(TextsOf(TakeSaid()), ElementsAre(broken.report));
      EXPECT_THAT(Lines(), ElementsAre("0 0, 3 4, 3 4"));
    }
  }
}

TEST_F(LocationsToPathsTest, AFieldThatLinesCannotHaveIsReportedOnce) {
  AddLayer("fixes.gpkg", {.type = "Point",
                          .columns = {{"individual_id", "String"}},
                          .records = {{"POINT(0 0)", {"a"}}, {"POINT(1 0)", {"a"}}}});
  for (const char* field : {"individual_id", "Shape"}) {
    OpenOn("fixes");
    ChooseMany(field);
    Press("btnOK");
    ASSERT_EQ(said().size(), 1u);
    EXPECT_THAT(TakeSaid()[0].text, StartsWith(std::string("AddNewField: BName: ") + field));
    EXPECT_TRUE(IsOpen());
  }
}

TEST_F(LocationsToPathsTest, ThereIsNoOrderByShape) {
  AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  ChooseSort("Shape");
  Press("btnOK");
  EXPECT_THAT(TextsOf(said()),
              ElementsAre("LocsToPath: \r-2147467259\rThe field Shape holds nothing that could be "
                          "compared or sorted."));
  EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LocationsToPathsTest, APathFieldThatHasGoneIsTold) {
  const auto layer = AddLayer("fixes.shp", Fixes());
  OpenOn("fixes");
  ChooseMany("ANIMAL");
  layer->FeatureClass().DeleteField(layer->FeatureClass().FindField("ANIMAL"));
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"Error: could not locate the unique path ID field.",
                                          kExclamation, "Error"}));
  EXPECT_TRUE(IsOpen());
  EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LocationsToPathsTest, AnIdentifierTooLongForItsFieldKeepsTheLinesBefore) {
  AddLayer("fixes.gpkg", {.type = "Point",
                          .columns = {{"NAME", "String"}},
                          .records = {{"POINT(0 0)", {"a"}},
                                      {"POINT(1 0)", {"a"}},
                                      {"POINT(2 0)", {std::string(51, 'b')}},
                                      {"POINT(3 0)", {std::string(51, 'b')}}}});
  OpenOn("fixes");
  ChooseMany("NAME");
  Press("btnOK");
  ASSERT_EQ(said().size(), 1u);
  EXPECT_THAT(said()[0].text, StartsWith("LocsToPath: \r-2147467259\rThe text \"bbb"));
  EXPECT_THAT(Lines(), ElementsAre("0 0, 1 0"));
}

TEST_F(LocationsToPathsTest, AFullDiskIsReportedAndNothingIsAddedToTheMap) {
  OgrDataset many = Fixes();
  while (many.records.size() < 20000) many.records.push_back(many.records[many.records.size() % 8]);
  AddLayer("fixes.shp", many);
  OpenOn("fixes");
  Tick("chkSep", true);
  {
    const Fault full(FaultKind::kWrite, 12, FaultAction::kFailFromOn);
    Press("btnOK");
    EXPECT_TRUE(full.HasStruck());
  }
  EXPECT_THAT(TextsOf(said()), ElementsAre("LocsToPath: \r61\rDisk full"));
  EXPECT_THAT(host_.addedLayers, IsEmpty());
  EXPECT_TRUE(IsOpen());
}

TEST_F(LocationsToPathsTest, AMapThatChangesInTheMiddleChangesNothing) {
  OgrDataset many = Fixes();
  while (many.records.size() < 5000) many.records.push_back(many.records[many.records.size() % 8]);
  AddLayer("fixes.shp", many);
  AddLayer("others.shp", Fixes());
  OpenOn("fixes");
  const std::string chosen = Output();
  bool isChanged = false;
  {
    const AtYield change(2, [&] {
      Set("cmbFL", "others");
      PickOutput();
      host_.map.Clear();
      isChanged = true;
    });
    ExpectComplete();
  }
  EXPECT_TRUE(isChanged);
  EXPECT_THAT(host_.addedLayers, ElementsAre("paths"));
  EXPECT_EQ(OpenFeatureClassByPath(chosen)->RowCount(), 1);
  EXPECT_FALSE(files::FileExists(Output()));
}

TEST_F(LocationsToPathsTest, AStopIsReportedAndKeepsTheLinesBefore) {
  OgrDataset many = Fixes();
  while (many.records.size() < 5000) many.records.push_back(many.records[many.records.size() % 8]);
  const auto layer = AddLayer("fixes.shp", many);
  SpatialReferencePtr reference;
  const auto lines = CreateShapefile(FolderOf(Path("x")), "lines", GeometryType::kPolyline, false,
                                     false, reference, false);
  const auto stop = [](std::int64_t done) {
    if (done >= 2000) RequestStop();
  };
  EXPECT_EQ(ErrorNumberOf(
                [&] { WritePaths(layer->FeatureClass(), {.lineAStep = true}, *lines, -1, stop); }),
            18);
  ClearStop();
  EXPECT_EQ(lines->RowCount(), 2046);
}

}  // namespace
}  // namespace orlinths
