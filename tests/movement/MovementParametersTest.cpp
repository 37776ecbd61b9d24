#include "movement/MovementParameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "data/FieldsAndDatasets.h"
#include "movement/Fixes.h"
#include "numerics/Constants.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using ::testing::DoubleNear;
using ::testing::ElementsAre;

const Texts kParameters{"STEPLENGTH", "TURNANGLE", "BEARING", "BRGPREV", "NETDISP"};
const Message kComplete{"Prcocessing complete.", kInformation, "Status"};
const Message kFailed{
    "Error: an error was encountered processing the movement parameters. Please check your data "
    "for null geometry records and write permissions.",
    kCritical, "Error"};

Message Report(const std::string& text) {
  return {"TableAddSLTABRGNSD: \r" + text, kCritical, "Error"};
}

Message AsksAbout(const std::string& name) {
  return {"Warning: field " + name + " already exists. Do you wish to overwrite this field?",
          kYesNo, "Warning"};
}

Message KeepsField(const std::string& name) {
  return {"Field not deleted. Please define a new field and copy the data from the existing " +
              name + " field if you wish to retain it. Then re-run this program.",
          kExclamation, "Warning"};
}

class MoveParamsTest : public ToolTest {
 protected:
  void OpenOn(const std::string& layer, const std::string& pathId = "ANIMAL") {
    Open<frmMoveParamsSimple>();
    Set("cmbPL", layer);
    Set("cmbPathID", pathId);
  }
  void RunOn(const std::vector<Location>& fixes) {
    AddLayer("fixes.shp", FixesOf(fixes));
    OpenOn("fixes");
    Press("btnOK");
  }
  std::vector<double> Of(const std::string& parameter) { return Table("fixes").Numbers(parameter); }
};

// ---- The dialog

TEST_F(MoveParamsTest, DeclaresItsControlsInOrder) {
  AddLayer("fixes.shp", FixesOf({{1, {0, 0}}}));
  Open<frmMoveParamsSimple>();
  EXPECT_EQ(dialog().caption, "Calculate Movement Path Parameters (Simple)");
  EXPECT_EQ(dialog().HelpTag(), "MOVEPARAMSSIMPLE");
  EXPECT_THAT(
      Described(),
      ElementsAre("combo cmbPL [Point (path) layer:]", "combo cmbPathID [Unique path ID field: ]",
                  "label Label2 [Records must be pre-sorted by path ID, then date and time. "
                  "See WebHelp for more details.]",
                  "text txtStatus [] =", "button btnOK [OK]", "button btnExit [Exit]",
                  "button btnHelp [Web Help]"));
}

TEST_F(MoveParamsTest, SaysThatAMapHasNoPointsAndTurnsOkOff) {
  AddLayer("range.shp", {.type = "Polygon", .columns = {{"ID", "Integer", 4}}});
  Open<frmMoveParamsSimple>();
  EXPECT_THAT(said(), ElementsAre(Message{"Error: no point (path) layers are present in the map. "
                                          "(Nothing to work with).",
                                          kExclamation, "Error"}));
  EXPECT_FALSE(At("btnOK").enabled);
  EXPECT_TRUE(IsOpen());
}

TEST_F(MoveParamsTest, OffersThePointLayersAndTheNumbersOfTheChosenOne) {
  AddLayer("fixes.shp", FixesOf({{1, {0, 0}}}));
  AddLayer("range.shp", {.type = "Polygon", .columns = {{"ID", "Integer", 4}}});
  AddLayer("nests.shp", {.type = "Point", .columns = {{"NEST", "Real", 12, 3}, {"D", "Date"}}});
  Open<frmMoveParamsSimple>();
  EXPECT_THAT(Combo("cmbPL").Items(), ElementsAre("fixes", "nests"));
  EXPECT_EQ(Combo("cmbPL").text(), "");
  EXPECT_TRUE(Combo("cmbPathID").Items().empty());
  Set("cmbPL", "fixes");
  EXPECT_THAT(Combo("cmbPathID").Items(), ElementsAre("ANIMAL"));
  Set("cmbPathID", "ANIMAL");
  Set("cmbPL", "nests");
  EXPECT_THAT(Combo("cmbPathID").Items(), ElementsAre("NEST"));
  EXPECT_EQ(Combo("cmbPathID").text(), "");
}

TEST_F(MoveParamsTest, AsksForTheLayerThenForTheField) {
  AddLayer("fixes.shp", FixesOf({{1, {0, 0}}}));
  const std::string before = Bytes("fixes");
  Open<frmMoveParamsSimple>();
  Press("btnOK");
  EXPECT_THAT(TakeSaid(),
              ElementsAre(Message{"Error: no point (path) layer defined.", kExclamation, "Error"}));
  Set("cmbPL", "fixes");
  Press("btnOK");
  EXPECT_THAT(TakeSaid(),
              ElementsAre(Message{"Error: no path ID field defined.", kExclamation, "Error"}));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Bytes("fixes"), before);
}

TEST_F(MoveParamsTest, ExitClosesAndHelpOpensItsPage) {
  AddLayer("fixes.shp", FixesOf({{1, {0, 0}}}));
  Open<frmMoveParamsSimple>();
  Press("btnHelp");
  ASSERT_EQ(ShellTargets().size(), 1u);
  EXPECT_THAT(ShellTargets()[0], ::testing::EndsWith("otools/moveparamssimple.php"));
  Press("btnExit");
  EXPECT_FALSE(IsOpen());
}

// ---- Values, by hand

TEST_F(MoveParamsTest, WritesTheParametersOfTwoPaths) {
  RunOn({{7, {0, 0}},  // north, then east, then back west
         {7, {0, 3}},
         {7, {4, 3}},
         {7, {1, 3}},
         {9, {100, 100}},  // a new path, south
         {9, {100, 95}}});
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_FALSE(IsOpen());
  const OgrDataset table = Table("fixes");
  EXPECT_THAT(table.ColumnNames(), ElementsAre("ANIMAL", "NAME", "STEPLENGTH", "TURNANGLE",
                                               "BEARING", "BRGPREV", "NETDISP"));
  for (std::size_t i = 2; i < table.columns.size(); ++i) EXPECT_EQ(table.columns[i].type, "Real");
  EXPECT_THAT(Of("STEPLENGTH"), ElementsAre(3, 4, 3, -999, 5, -999));
  EXPECT_THAT(Of("BEARING"), ElementsAre(0, 90, 270, -999, 180, -999));
  EXPECT_THAT(Of("TURNANGLE"), ElementsAre(-999, 90, 180, -999, -999, -999));
  // The last record of all is left alone, though the last of another path has its bearing.
  EXPECT_THAT(Of("BRGPREV"), ElementsAre(-999, 0, 90, 270, -999, 0));
  EXPECT_THAT(Of("NETDISP"), ElementsAre(0, 3, 5, std::sqrt(10), 0, 5));
}

TEST_F(MoveParamsTest, TurnsToTheLeftAreNegative) {
  RunOn({{1, {0, 0}}, {1, {3, 0}}, {1, {3, 5}}, {1, {0, 5}}, {1, {0, 9}}});
  EXPECT_THAT(Of("TURNANGLE"), ElementsAre(-999, -90, -90, 90, -999));
}

TEST_F(MoveParamsTest, OfTwoPointsTheSecondHasItsDisplacementAlone) {
  RunOn({{1, {0, 0}}, {1, {3, 4}}});
  EXPECT_THAT(Of("STEPLENGTH"), ElementsAre(5, -999));
  EXPECT_THAT(Of("TURNANGLE"), ElementsAre(-999, -999));
  EXPECT_THAT(Of("BEARING"), ElementsAre(DoubleNear(36.86989764584402, 1e-12), -999));
  EXPECT_THAT(Of("BRGPREV"), ElementsAre(-999, 0));
  EXPECT_THAT(Of("NETDISP"), ElementsAre(0, 5));
}

TEST_F(MoveParamsTest, PathsOfOnePointHaveNothingButADisplacementOfNone) {
  RunOn({{1, {10, 10}}, {2, {20, 20}}, {3, {30, 30}}, {3, {30, 31}}, {4, {0, 0}}});
  EXPECT_THAT(Of("NETDISP"), ElementsAre(0, 0, 0, 1, 0));
  EXPECT_THAT(Of("STEPLENGTH"), ElementsAre(-999, -999, 1, -999, -999));
  EXPECT_THAT(Of("TURNANGLE"), ElementsAre(-999, -999, -999, -999, -999));
  EXPECT_THAT(Of("BEARING"), ElementsAre(-999, -999, 0, -999, -999));
  EXPECT_THAT(Of("BRGPREV"), ElementsAre(-999, 0, -999, 0, 0));  // not written: on 1 and on 4
}

TEST_F(MoveParamsTest, ARepeatedLocationHasNoTurnOnEitherSide) {
  RunOn({{1, {0, 0}}, {1, {5, 0}}, {1, {5, 0}}, {1, {5, 2}}, {1, {5, 7}}});
  EXPECT_THAT(Of("STEPLENGTH"), ElementsAre(5, 0, 2, 5, -999));
  EXPECT_THAT(Of("BEARING"), ElementsAre(90, 0, 0, 0, -999));
  EXPECT_THAT(Of("TURNANGLE"), ElementsAre(-999, -999, -999, 0, -999));
  EXPECT_THAT(Of("BRGPREV"), ElementsAre(-999, 90, 0, 0, 0));
}

TEST_F(MoveParamsTest, RecordsAreNotSorted) {
  // Animal 1 comes back after animal 2: a third path.
  RunOn({{1, {0, 0}}, {1, {0, 1}}, {2, {5, 5}}, {1, {0, 3}}, {1, {0, 7}}});
  EXPECT_THAT(Of("NETDISP"), ElementsAre(0, 1, 0, 0, 4));
  EXPECT_THAT(Of("STEPLENGTH"), ElementsAre(1, -999, -999, 4, -999));
  EXPECT_THAT(Of("BRGPREV"), ElementsAre(-999, 0, 0, -999, 0));
}

TEST_F(MoveParamsTest, TheWholeTableCountsWhateverIsSelectedOrFiltered) {
  const auto layer = AddLayer("fixes.shp", FixesOf({{1, {0, 0}}, {1, {0, 2}}, {1, {0, 5}}}));
  layer->SetDefinitionQuery("NAME = 'f1'");
  layer->SetSelectionSet(ISelectionSet({1}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_THAT(Of("STEPLENGTH"), ElementsAre(2, 3, -999));
}

TEST_F(MoveParamsTest, AnEmptyLayerGetsTheFieldsAndNothingElse) {
  RunOn({});
  EXPECT_THAT(said(), ElementsAre(kComplete));
  EXPECT_EQ(Table("fixes").columns.size(), 7u);
}

TEST_F(MoveParamsTest, TellsItsProgressOnTheStatusBar) {
  std::vector<Location> fixes;
  for (int i = 0; i < 10; ++i) fixes.push_back({1, {i * 1.0, 0}});
  RunOn(fixes);
  EXPECT_THAT(LastProgressOf("Calculating parameters..."), ElementsAre(9, 10));
}

TEST_F(MoveParamsTest, AFieldThatIsNotWrittenStaysNullWhereTheFormatKnowsNull) {
  AddLayer("fixes.gpkg", FixesOf({{1, {0, 0}}, {2, {0, 2}}, {2, {0, 5}}}));
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(kComplete));
  const OgrDataset table = ReadOgr(Path("fixes.gpkg"));
  EXPECT_THAT(table.Texts("BRGPREV"), ElementsAre("-999", "-999", ""));
  EXPECT_THAT(table.Texts("STEPLENGTH"), ElementsAre("-999", "3", "-999"));
}

// ---- Against vectors

struct Vector {
  double x, y;
  double Length() const { return std::hypot(x, y); }
};

TEST_F(MoveParamsTest, AgreesWithVectorAlgebraOnRandomWalks) {
  Seeded random("MoveParamsTest.AgreesWithVectorAlgebraOnRandomWalks");
  std::vector<Location> fixes;
  for (int animal = 1; animal <= 40; ++animal) {
    Coord at{random.Real(3e5, 7e5), random.Real(7e6, 8e6)};
    for (auto step = random.Whole(1, 60); step > 0; --step) {
      fixes.push_back({animal, at});
      at.x += random.Real(-800, 800);
      at.y += random.Real(-800, 800);
    }
  }
  RunOn(fixes);
  ASSERT_THAT(said(), ElementsAre(kComplete));
  const auto steps = Of("STEPLENGTH"), turns = Of("TURNANGLE"), bearings = Of("BEARING"),
             previous = Of("BRGPREV"), displacements = Of("NETDISP");
  const auto between = [&](std::size_t i, std::size_t j) {
    return Vector{fixes[j].at.x - fixes[i].at.x, fixes[j].at.y - fixes[i].at.y};
  };
  const auto compass = [](const Vector& v) {
    const double degrees = std::atan2(v.x, v.y) * 180 / M_PI;
    return degrees < 0 ? degrees + 360 : degrees;
  };
  std::size_t start = 0;
  for (std::size_t i = 0; i < fixes.size(); ++i) {
    const bool isFirst = i == 0 || fixes[i - 1].animal != fixes[i].animal;
    const bool isLast = i + 1 == fixes.size() || fixes[i + 1].animal != fixes[i].animal;
    if (isFirst) start = i;
    EXPECT_NEAR(displacements[i], between(start, i).Length(), 1e-8);
    EXPECT_NEAR(steps[i], isLast ? -999 : between(i, i + 1).Length(), 1e-8);
    EXPECT_NEAR(bearings[i], isLast ? -999 : compass(between(i, i + 1)), 1e-8);
    if (!isFirst && i + 1 < fixes.size()) {
      EXPECT_NEAR(previous[i], compass(between(i - 1, i)), 1e-8);
    }
    double turn = -999;
    if (!isFirst && !isLast) {
      const Vector a = between(i - 1, i), b = between(i, i + 1);
      turn = std::atan2(a.y * b.x - a.x * b.y, a.x * b.x + a.y * b.y) * 180 / M_PI;
    }
    EXPECT_NEAR(turns[i], turn, 1e-8) << i;
  }
}

// ---- Fields that are there

OgrDataset FixesWith(const Texts& more) {
  OgrDataset data = FixesOf({{1, {0, 0}}, {1, {0, 2}}, {1, {0, 5}}});
  for (const std::string& name : more) {
    data.columns.push_back({name, "Integer", 4});
    for (OgrRecord& record : data.records) record.values.push_back("44");
  }
  return data;
}

TEST_F(MoveParamsTest, AsksForEachFieldThatIsThereAndReplacesItAtTheEnd) {
  AddLayer("fixes.shp", FixesWith({"NETDISP", "Bearing", "AGE"}));
  OpenOn("fixes");
  host_.messages.answers = {true, true};
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(AsksAbout("BEARING"), AsksAbout("NETDISP"), kComplete));
  EXPECT_THAT(Table("fixes").ColumnNames(),
              ElementsAre("ANIMAL", "NAME", "AGE", "STEPLENGTH", "TURNANGLE", "BEARING", "BRGPREV",
                          "NETDISP"));
  EXPECT_THAT(Of("NETDISP"), ElementsAre(0, 2, 5));
  EXPECT_THAT(Of("AGE"), ElementsAre(44, 44, 44));
}

TEST_F(MoveParamsTest, ANoStopsTheRunAndTheFieldsBeforeItAreGone) {
  AddLayer("fixes.shp", FixesWith(kParameters));
  OpenOn("fixes");
  host_.messages.answers = {true, true, false};
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(AsksAbout("STEPLENGTH"), AsksAbout("TURNANGLE"),
                                  AsksAbout("BEARING"), KeepsField("BEARING")));
  EXPECT_TRUE(IsOpen());
  EXPECT_THAT(Table("fixes").ColumnNames(),
              ElementsAre("ANIMAL", "NAME", "BEARING", "BRGPREV", "NETDISP"));
  EXPECT_THAT(Of("BEARING"), ElementsAre(44, 44, 44));
}

TEST_F(MoveParamsTest, ANoToTheFirstLeavesTheTableAsItWas) {
  AddLayer("fixes.shp", FixesWith(kParameters));
  const std::string before = Bytes("fixes");
  OpenOn("fixes");
  host_.messages.answers = {false};
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(AsksAbout("STEPLENGTH"), KeepsField("STEPLENGTH")));
  EXPECT_EQ(Bytes("fixes"), before);
}

TEST_F(MoveParamsTest, EveryRefusalNamesItsFieldButOne) {
  for (const std::string& name : kParameters) {
    SCOPED_TRACE(name);
    AddLayer(name + ".shp", FixesWith({name}));
    OpenOn(name);
    host_.messages.answers = {false};
    Press("btnOK");
    EXPECT_THAT(TakeSaid(),
                ElementsAre(AsksAbout(name), KeepsField(name == "NETDISP" ? "NETSQDISP" : name)));
    Press("btnExit");
  }
}

TEST_F(MoveParamsTest, AFieldDeletedBeforeThePathIdDoesNotShiftIt) {
  OgrDataset data = FixesOf({{1, {0, 0}}, {2, {0, 2}}, {2, {0, 5}}});
  data.columns = {
      {"STEPLENGTH", "Integer", 4}, {"TURNANGLE", "Integer", 4}, {"ANIMAL", "Integer", 4}};
  for (OgrRecord& record : data.records) record.values = {"8", "8", record.values[0]};
  AddLayer("fixes.shp", data);
  OpenOn("fixes");
  host_.messages.answers = {true, true};
  Press("btnOK");
  EXPECT_EQ(said().back(), kComplete);
  EXPECT_THAT(Of("STEPLENGTH"), ElementsAre(-999, 3, -999));
}

TEST_F(MoveParamsTest, AnOverwrittenFieldIsNoPathId) {
  AddLayer("fixes.shp", FixesWith({"NETDISP"}));
  OpenOn("fixes", "NETDISP");
  host_.messages.answers = {true};
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(AsksAbout("NETDISP"), Report("9\rSubscript out of range"), kFailed));
  EXPECT_TRUE(IsOpen());
}

// ---- Bad data

TEST_F(MoveParamsTest, OnePointIsReportedAndTheFieldsStay) {
  RunOn({{1, {0, 0}}});
  EXPECT_THAT(said(), ElementsAre(Report("9\rSubscript out of range"), kFailed));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Table("fixes").columns.size(), 7u);
  EXPECT_THAT(Of("NETDISP"), ElementsAre(0));
}

TEST_F(MoveParamsTest, ARecordWithoutShapeIsReportedBeforeAnythingIsWritten) {
  OgrDataset data = FixesOf({{1, {0, 0}}, {1, {0, 2}}, {1, {0, 5}}});
  data.records[2].wkt.clear();
  AddLayer("fixes.shp", data);
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Report("91\rObject variable or With block variable not set"), kFailed));
  EXPECT_TRUE(IsOpen());
  for (const std::string& name : kParameters) EXPECT_THAT(Of(name), ElementsAre(0, 0, 0));
}

TEST_F(MoveParamsTest, ACoordinateThatIsNotFiniteEndsTheRunAndKeepsWhatWasWritten) {
  for (const double bad : {std::numeric_limits<double>::infinity(), -1e300}) {
    SCOPED_TRACE(bad);
    const std::string name = "fixes" + std::to_string(host_.map.LayerCount());
    WriteOgr(Path(name + ".shp"), FixesOf({{1, {0, 0}}, {1, {0, 2}}, {2, {1, 77}}, {2, {1, 8}}}));
    ReplaceNumber(name + ".shp", 77, bad);
    AddFile(name + ".shp");
    OpenOn(name);
    Press("btnOK");
    EXPECT_THAT(TakeSaid(), ElementsAre(Report("6\rOverflow"), kFailed));
    Press("btnExit");
    EXPECT_THAT(Table(name).Numbers("STEPLENGTH"), ElementsAre(2, -999, 0, 0));
    EXPECT_THAT(Table(name).Numbers("NETDISP"), ElementsAre(0, 2, 0, 0));
  }
}

TEST_F(MoveParamsTest, ACoordinateThatIsNoNumberIsNoShape) {
  WriteOgr(Path("fixes.shp"), FixesOf({{1, {0, 0}}, {1, {0, 77}}}));
  ReplaceNumber("fixes.shp", 77, std::nan(""));
  AddFile("fixes.shp");
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Report("91\rObject variable or With block variable not set"), kFailed));
}

TEST_F(MoveParamsTest, IdentifiersAreRoundedToWholeNumbersHalvesToEven) {
  OgrDataset data = FixesOf({{0, {0, 0}}, {0, {0, 1}}, {0, {0, 3}}, {0, {0, 6}}});
  data.columns[0] = {"ANIMAL", "Real", 10, 2};
  const Texts identifiers{"1.5", "2.5", "2.51", "3.4"};
  for (std::size_t i = 0; i < 4; ++i) data.records[i].values[0] = identifiers[i];
  AddLayer("fixes.shp", data);
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(Of("STEPLENGTH"), ElementsAre(1, -999, 3, -999));
}

TEST_F(MoveParamsTest, AnIdentifierBeyond32BitsIsAnOverflow) {
  OgrDataset data = FixesOf({{0, {0, 0}}, {0, {0, 1}}});
  data.columns[0] = {"ANIMAL", "Real", 14, 1};
  for (OgrRecord& record : data.records) record.values[0] = "2147483648";
  AddLayer("fixes.shp", data);
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Report("6\rOverflow"), kFailed));
}

TEST_F(MoveParamsTest, ANullIdentifierIsReported) {
  OgrDataset data = FixesOf({{1, {0, 0}}, {1, {0, 1}}});
  data.records[1].values.clear();
  AddLayer("fixes.gpkg", data);
  OpenOn("fixes");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Report("94\rInvalid use of Null"), kFailed));
}

TEST_F(MoveParamsTest, AReadOnlyTableIsReportedAtTheFirstField) {
  AddLayer("fixes.shp", FixesOf({{1, {0, 0}}, {1, {0, 2}}}));
  const std::string before = Bytes("fixes");
  AsUnprivileged([&] {
    OpenOn("fixes");
    Press("btnOK");
    ASSERT_EQ(said().size(), 2u);
    EXPECT_EQ(said()[0].text, "AddNewField: BName: STEPLENGTH, Type: 3\r70\rPermission denied");
    EXPECT_EQ(said()[1], (Message{"Error. Could not add STEPLENGTH field to table. The layer may "
                                  "be locked.",
                                  kCritical, "Error"}));
    EXPECT_TRUE(IsOpen());
  });
  EXPECT_EQ(Bytes("fixes"), before);
}

const Message kNotDeleted{
    "Error: could not delete field STEPLENGTH. You may not currently have the permissions needed "
    "to edit this data.",
    kCritical, "Error"};

TEST_F(MoveParamsTest, AFieldThatCannotBeDeletedIsReported) {
  AddLayer("fixes.shp", FixesWith({"STEPLENGTH"}));
  const std::string before = Bytes("fixes");
  AsUnprivileged([&] {
    OpenOn("fixes");
    host_.messages.answers = {true};
    Press("btnOK");
    EXPECT_THAT(said(), ElementsAre(AsksAbout("STEPLENGTH"),
                                    Message{"MoveParamsSimple: \r70\rPermission denied", kCritical,
                                            "Error"},
                                    kNotDeleted));
    EXPECT_TRUE(IsOpen());
  });
  EXPECT_EQ(Bytes("fixes"), before);
}

TEST_F(MoveParamsTest, TheOnlyColumnIsNotDeleted) {
  OgrDataset data = FixesOf({{1, {0, 0}}, {1, {0, 2}}});
  data.columns = {{"STEPLENGTH", "Integer", 4}};
  for (OgrRecord& record : data.records) record.values = {"3"};
  AddLayer("fixes.shp", data);
  OpenOn("fixes", "STEPLENGTH");
  host_.messages.answers = {true};
  Press("btnOK");
  ASSERT_EQ(said().size(), 3u);
  EXPECT_THAT(said()[1].text, ::testing::StartsWith("MoveParamsSimple: \r-2147467259\r"));
  EXPECT_EQ(said()[2], kNotDeleted);
  EXPECT_THAT(Of("STEPLENGTH"), ElementsAre(3, 3));
}

TEST_F(MoveParamsTest, AStopIsReportedAndKeepsWhatWasWritten) {
  std::vector<Location> fixes;
  for (int i = 0; i < 3000; ++i) fixes.push_back({1, {0, i * 1.0}});
  AddLayer("fixes.shp", FixesOf(fixes));
  OpenOn("fixes");
  StopDuring("Calculating parameters...");
  Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Report("18\rUser interrupt occurred"), kFailed));
  const auto displacements = Of("NETDISP");
  ASSERT_EQ(displacements.size(), 3000u);
  EXPECT_EQ(displacements[1999], 1999);
  EXPECT_EQ(displacements[2000], 0);
  EXPECT_EQ(displacements[2999], 0);
}

// ---- The routine alone

TEST_F(MoveParamsTest, IdentifiersMayBeTextThatReadsAsANumber) {
  AddLayer("fixes.shp", FixesOf({{1, {0, 0}}, {1, {0, 2}}, {1, {0, 5}}}));
  OgrDataset data = FixesOf({{1, {0, 0}}, {1, {0, 2}}, {1, {0, 5}}});
  const Texts names{"4", " 4.2", "5"};
  for (std::size_t i = 0; i < 3; ++i) data.records[i].values[1] = names[i];
  IFeatureClass& points = AddLayer("named.shp", data)->FeatureClass();
  MovementFields fields{};
  for (int* field :
       {&fields.stepLength, &fields.turnAngle, &fields.bearing, &fields.brgPrev, &fields.netDisp})
    *field = AddNewField("P" + std::to_string(field - &fields.stepLength), points,
                         FieldType::kDouble, 16, 0);
  EXPECT_TRUE(TableAddSLTABRGNSD(points, points.FindField("NAME"), fields));
  EXPECT_THAT(Table("named").Numbers("P0"), ElementsAre(2, -999, -999));
  EXPECT_TRUE(said().empty());
}

TEST_F(MoveParamsTest, AnIdentifierThatIsNoNumberIsReported) {
  IFeatureClass& points =
      AddLayer("fixes.shp", FixesOf({{1, {0, 0}}, {1, {0, 2}}}))->FeatureClass();
  EXPECT_FALSE(TableAddSLTABRGNSD(points, points.FindField("NAME"), {2, 2, 2, 2, 2}));
  EXPECT_THAT(said(), ElementsAre(Report("13\rType mismatch")));
}

}  // namespace
}  // namespace orlinths
