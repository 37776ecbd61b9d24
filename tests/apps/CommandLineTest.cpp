// Calls of the command line on a trial tool: options, run, list, describe, help, saved sessions.
#include "orlinths/CommandLine.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "apps/Trial.h"
#include "host/SmallDialogs.h"
#include "session/ClockText.h"
#include "orlinths/Options.h"
#include "session/Words.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class CommandLineTest : public ::testing::Test {
 protected:
  TrialRig rig;
};

TEST_F(CommandLineTest, TellsVersionAndHelp) {
  EXPECT_EQ(rig.Call({"--version"}), 0);
  EXPECT_EQ(rig.out, "orlinths 3.23\n");
  for (const auto& call : {std::vector<std::string>{"--help"}, {"run", "--help"}, {"play", "-h"}}) {
    EXPECT_EQ(rig.Call(call), 0);
    EXPECT_THAT(rig.out, HasSubstr("orlinths run CLASS [INPUT...] [NAME=VALUE...]"));
  }
}

TEST_F(CommandLineTest, AWrongCallIsOneLine) {
  const auto wrong = [&](const std::vector<std::string>& call) {
    EXPECT_EQ(rig.Call(call), 2);
    EXPECT_EQ(rig.out, "");
    EXPECT_THAT(rig.error, StartsWith("orlinths: "));
    EXPECT_EQ(std::count(rig.error.begin(), rig.error.end(), '\n'), 1) << rig.error;
    return rig.error.substr(10);
  };
  EXPECT_THAT(wrong({}), HasSubstr("--help"));
  EXPECT_THAT(wrong({"paly", "s.json"}), HasSubstr("paly"));
  EXPECT_THAT(wrong({"clsAddLength"}), HasSubstr("orlinths run clsAddLength"));
  EXPECT_EQ(wrong({"describe", "clsRndPn"}),
            "there is no tool \"clsRndPn\"; the nearest: clsRndPnt, clsRndPnt3D\n");
  EXPECT_THAT(wrong({"run"}), HasSubstr("which tool?"));
  EXPECT_THAT(wrong({"play"}), HasSubstr("which session?"));
  EXPECT_THAT(wrong({"run", "clsAddLength", "--fast"}), HasSubstr("--fast"));
  EXPECT_THAT(wrong({"run", "clsAddLength", "--yes", "--no"}), HasSubstr("--yes and --no"));
  EXPECT_THAT(wrong({"run", "clsAddLength", "--answer", "yes,maybe"}), HasSubstr("\"maybe\""));
  EXPECT_THAT(wrong({"run", "clsAddLength", "--clock", "noon"}), HasSubstr("\"noon\""));
  EXPECT_THAT(wrong({"run", "clsAddLength", "--select", "zones"}), HasSubstr("LAYER=OID"));
  EXPECT_THAT(wrong({"run", "clsAddLength", "--select", "zones=1"}),
              HasSubstr("no feature layer \"zones\""));
  EXPECT_THAT(wrong({"run", "clsAddLength", "nowhere.shp"}),
              StartsWith("nowhere.shp does not open: "));
  EXPECT_THAT(
      wrong({"run", "clsAddLength", "txtNome=x"}),
      HasSubstr("frmAddLength has no control \"txtNome\" (nearest: txtName), and x does not open"));
  EXPECT_THAT(wrong({"run", "clsAddLength", "frmGetString.txt=x"}),
              HasSubstr("frmGetString has no control \"txt\"; it has: "));
  EXPECT_THAT(wrong({"run", "clsAddLength", "--crs", "EPSG:x"}), HasSubstr("\"EPSG:x\""));
  EXPECT_THAT(wrong({"play", "nowhere.json"}), HasSubstr("nowhere.json: File not found"));
}

TEST_F(CommandLineTest, ListsTheToolsInMenuOrder) {
  EXPECT_EQ(rig.Call({"list", "--json"}), 0);
  const json list = json::parse(rig.out);
  ASSERT_EQ(list.size(), 56u);
  EXPECT_EQ(list[0].at("class"), "clsISectPnt");
  const auto found = std::find_if(list.begin(), list.end(), [](const json& entry) {
    return entry.at("class") == "clsAddLength";
  });
  ASSERT_NE(found, list.end());
  EXPECT_EQ(*found, json::parse(R"j({"class":"clsAddLength","progid":"OrlinthsTools3.clsAddLength",
      "name":"OrlinthsTools_AddLength","caption":"Add LENGTH Field To Table (arcs)",
      "tooltip":"Add LENGTH Field To Table",
      "message":"Command to add or update a length field in a arc feature layer attribute table.",
      "menu":["OrlinthsTools","Table Tools"],"dialog":"frmAddLength","available":true})j"));
  EXPECT_EQ(list.back().at("class"), "clsSnapPolysToPnts");
  EXPECT_EQ(list.back().at("menu"), json::array());
  EXPECT_EQ(list[54].at("menu"), json::parse(R"(["Orlinth's Tools"])"));
  EXPECT_EQ(list[54].at("dialog"), "");
}

TEST_F(CommandLineTest, ListsForPeople) {
  EXPECT_EQ(rig.Call({"list"}), 0);
  EXPECT_THAT(rig.out, HasSubstr("OrlinthsTools > Table Tools\n"));
  EXPECT_THAT(rig.out, HasSubstr("  clsAddLength            Add LENGTH Field To Table (arcs)\n"));
}

TEST_F(CommandLineTest, DescribesADialogAsDesigned) {
  Trial::load = [](Trial&) { FAIL() << "a description loads nothing"; };
  EXPECT_EQ(rig.Call({"describe", "CLSADDLENGTH", "--json"}), 0);
  const json description = json::parse(rig.out);
  EXPECT_EQ(description.at("class"), "clsAddLength");
  EXPECT_EQ(description.at("dialog"),
            json::parse(R"({"name":"frmAddLength","caption":"Trial","help":"ADDLENGTH"})"));
  EXPECT_EQ(description.at("controls").at(1), json::parse(R"({"name":"cmbLayer","kind":"combo",
      "label":"Layer:","value":"","items":[],"enabled":true,"visible":true})"));
  EXPECT_EQ(description.at("controls").at(3), json::parse(R"({"name":"txtOut","kind":"text",
      "label":"Output:","value":"","enabled":true,"visible":true,"picker":"btnOut"})"));
  EXPECT_EQ(description.at("controls").at(6).at("picker"), "btnProj");
  EXPECT_EQ(rig.Call({"describe", "clsAddLength"}), 0);
  EXPECT_THAT(rig.out, HasSubstr("a spatial reference such as EPSG:4326, through btnProj\n"));
}

TEST_F(CommandLineTest, DescribesAMapToolWithoutDialog) {
  EXPECT_EQ(rig.Call({"describe", "clsDigitise", "--json"}), 0);
  EXPECT_EQ(json::parse(rig.out).at("dialog"), nullptr);
}

TEST_F(CommandLineTest, ARunPrintsTheAnswerOfADialogThatStaysOpen) {
  Trial::run = [](Trial& trial) {
    trial.Say("Done.");
    trial.txtName->readOnly = true;
    trial.txtName->text = "first\r\nsecond";
    if (trial.chkExtra->value) trial.StayInSuccess();
  };
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "chkExtra=yes"}), 0);
  EXPECT_EQ(rig.out, "first\nsecond\n");
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "chkExtra=yes", "--json"}), 0);
  ASSERT_EQ(rig.Events("controls").size(), 1u);
  EXPECT_EQ(rig.Events("controls")[0].at("controls").at(2).at("value"), "first\r\nsecond");
  EXPECT_EQ(rig.events.back().at("event"), "end");

  const auto startAfresh = [] {
    ForgetDialogs();
    RegisterDialog("frmAddLength", [] { return std::make_unique<Trial>(); });
  };
  startAfresh();
  EXPECT_EQ(rig.Call({"run", "clsAddLength"}), 1) << "no success, no answer";
  EXPECT_EQ(rig.out, "");
  startAfresh();
  Trial::run = [](Trial& trial) { trial.StayInSuccess(); };
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "--json"}), 0);
  EXPECT_TRUE(rig.Events("controls").empty()) << "nothing that a run fills";
}

TEST_F(CommandLineTest, HelpsWithATool) {
  for (const auto& call :
       {std::vector<std::string>{"clsAddLength", "--help"}, {"run", "clsAddLength", "--help"}}) {
    EXPECT_EQ(rig.Call(call), 0);
    EXPECT_THAT(
        rig.out,
        StartsWith("clsAddLength: Add LENGTH Field To Table (arcs)\nCommand to add or update"));
    EXPECT_THAT(rig.out, HasSubstr("a path, through btnOut"));
    EXPECT_THAT(rig.out, HasSubstr("one of: AREA, COVER, ÄRGER"));
    EXPECT_THAT(rig.out,
                HasSubstr("  orlinths run clsAddLength INPUT... cmbLayer=\"...\" txtOut=PATH"));
  }
}

// ---- run

TEST_F(CommandLineTest, SetsControlsInOrderAndPressesTheMainButton) {
  std::string seen;
  Trial::run = [&](Trial& trial) {
    seen = trial.cmbLayer->text() + ' ' + trial.txtName->text() + ' ' +
           (trial.chkExtra->value() ? "extra" : "plain") + ' ' +
           (trial.optTwo->value() ? "two" : "one");
    for (const auto& item : trial.lstFields->SelectedItems()) seen += ' ' + item;
    trial.Close();
  };
  EXPECT_EQ(rig.Call({"run", "clsaddlength", "cmblayer=roads", "txtName=a=b c", "chkExtra=yes",
                      "optTwo=yes", "lstFields=AREA|ÄRGER", "optOne=no"}),
            0)
      << rig.error;
  EXPECT_EQ(seen, "roads a=b c extra two AREA ÄRGER");
  EXPECT_EQ(
      rig.Call({"run", "clsAddLength", "frmAddLength.lstFields=*", "lstFields=", "lstFields=*"}),
      0);
  EXPECT_THAT(seen, HasSubstr("AREA COVER ÄRGER"));
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "chkExtra=yes", "txtName=x"}), 2);
  EXPECT_EQ(rig.error, "orlinths: txtName is disabled\n");
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "lstFields=AREA|NONE"}), 2);
}

TEST_F(CommandLineTest, FillsAnOutputBoxThroughItsPicker) {
  std::vector<std::string> picked;
  Trial::run = [&](Trial& trial) {
    picked = trial.picked;
    trial.Close();
  };
  const std::string path = rig.folder + "/out.shp";
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "txtOut=" + path}), 0);
  EXPECT_THAT(picked, ElementsAre(path));
}

TEST_F(CommandLineTest, FillsABoxWithASpatialReferenceThroughItsPicker) {
  SpatialReferencePtr reference;
  Trial::run = [&](Trial& trial) {
    reference = trial.reference;
    EXPECT_EQ(trial.txtSR->text(), reference->Name());
    trial.Close();
  };
  const std::string saved = rig.folder + "/s.json";
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "txtSR=EPSG:32612", "--save", saved}), 0) << rig.error;
  EXPECT_EQ(reference->FactoryCode(), 32612);
  EXPECT_THAT(ReadBytes(saved), HasSubstr(R"({"press":"btnProj","pick":"EPSG:32612"})"));
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "btnProj=EPSG:2169"}), 0) << rig.error;
  EXPECT_EQ(reference->FactoryCode(), 2169);
  EXPECT_EQ(rig.Call({"play", saved}), 0) << rig.error;
  EXPECT_EQ(reference->FactoryCode(), 32612);
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "txtSR=nowhere"}), 2);
  EXPECT_THAT(rig.error, HasSubstr("orlinths: the spatial reference \"nowhere\": "));
  EXPECT_EQ(std::count(rig.error.begin(), rig.error.end(), '\n'), 1);
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "txtSR="}), 2);
  EXPECT_EQ(rig.error, "orlinths: txtSR takes a spatial reference such as EPSG:4326\n");
}

TEST_F(CommandLineTest, RefusesToReplaceUnlessTold) {
  bool ran = false;
  Trial::run = [&](Trial& trial) {
    ran = true;
    trial.Close();
  };
  const std::string path = rig.folder + "/out.shp";
  WriteBytes(path, "mine");
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "txtOut=" + path}), 2);
  EXPECT_EQ(rig.error, "orlinths: " + path + " exists: say --overwrite to replace it\n");
  EXPECT_FALSE(ran);
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "txtOut=" + path, "--overwrite"}), 0);
  EXPECT_TRUE(ran);
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "btnFolder=" + rig.folder}), 0);
}

TEST_F(CommandLineTest, ARefusalLeavesTheDialogOpen) {
  Trial::run = [](Trial&) { MessageBox("Error: no line layer selected.", kExclamation, "Error"); };
  EXPECT_EQ(rig.Call({"run", "clsAddLength"}), 1);
  EXPECT_EQ(rig.out, "Error: no line layer selected.\n");
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "--json"}), 1);
  EXPECT_EQ(rig.events.back().at("open"), json::parse(R"(["frmAddLength"])"));
}

TEST_F(CommandLineTest, AToolWithNothingToWorkWithHasRefused) {
  Trial::load = [](Trial& trial) {
    MessageBox("Warning: no layers.", kExclamation, "Warning");
    trial.Close();
  };
  EXPECT_EQ(rig.Call({"run", "clsAddLength"}), 1);
  Trial::load = [](Trial& trial) { trial.btnOK->enabled = false; };
  EXPECT_EQ(rig.Call({"run", "clsAddLength"}), 1);
  EXPECT_EQ(rig.error, "orlinths: frmAddLength cannot run: btnOK is disabled\n");
}

TEST_F(CommandLineTest, SetsAFurtherDialogEachTimeItOpens) {
  std::vector<std::string> answers;
  Trial::run = [&](Trial& trial) {
    for (int i = 0; i < 30; ++i) {
      gUserString.clear();
      SharedDialog("frmGetString").ShowModal();
      answers.push_back(gUserString);
    }
    trial.Close();
  };
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "frmGetString.txtUserStr=abc"}), 0);
  EXPECT_EQ(answers, std::vector<std::string>(30, "abc"));
}

TEST_F(CommandLineTest, ClosesAFurtherDialogThatRefuses) {
  std::string answer = "unset";
  Trial::run = [&](Trial& trial) {
    gUserString.clear();
    SharedDialog("frmGetString").ShowModal();
    answer = gUserString;
    trial.Close();
  };
  EXPECT_EQ(rig.Call({"run", "clsAddLength"}), 0);
  EXPECT_EQ(answer, "");
  EXPECT_EQ(rig.out, "ERROR: you must enter a string in the textbox to continue.\n");
}

TEST_F(CommandLineTest, GivesUpOnADialogThatRefusesForEver) {
  Trial::run = [](Trial&) {
    Trap("Trial: ", [] {
      gUserString.clear();
      while (gUserString.empty()) SharedDialog("frmGetString").ShowModal();
    });
  };
  EXPECT_EQ(rig.Call({"run", "clsAddLength"}), 1);
  EXPECT_THAT(rig.error, HasSubstr("frmGetString opens again and again"));
}

TEST_F(CommandLineTest, GivesUpOnADialogThatNeverLikesTheAnswer) {
  Trial::run = [](Trial&) {
    Trap("Trial: ", [] {
      do {
        gUserString.clear();
        SharedDialog("frmGetString").ShowModal();
      } while (gUserString == "taken");
    });
  };
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "frmGetString.txtUserStr=taken"}), 1);
  EXPECT_THAT(rig.error, HasSubstr("frmGetString asks the same again and again"));
}

TEST_F(CommandLineTest, PrintsAReportAndClosesIt) {
  Trial::run = [](Trial& trial) {
    auto& report = static_cast<frmResultsReport&>(SharedDialog("frmResultsReport"));
    report.Load();
    report.txtResults->text = "first\rsecond";
    report.ShowModal();
    trial.Close();
  };
  EXPECT_EQ(rig.Call({"run", "clsAddLength"}), 0);
  EXPECT_EQ(rig.out, "first\nsecond\n");
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "--json"}), 0);
  EXPECT_EQ(rig.Events("controls").at(0).at("controls").at(0).at("value"), "first\rsecond");
}

TEST_F(CommandLineTest, ShowsAndClosesADialogThatRunsNothing) {
  EXPECT_EQ(rig.Call({"run", "clsJulianDay", "monthviewJD=2026-03-01"}), 0);
  EXPECT_EQ(rig.out, "Julian Day: 60\n");
  EXPECT_EQ(rig.Call({"run", "clsAbout"}), 0);
  EXPECT_THAT(rig.out, HasSubstr("Version 3.23\n"));
}

TEST_F(CommandLineTest, RunsAMapTool) {
  EXPECT_EQ(rig.Call({"run", "clsViewExtentSet"}), 0);
  EXPECT_EQ(rig.out, "Extent Bookmarked\n");
}

TEST_F(CommandLineTest, AnswersInOrderThenTheSameForTheRest) {
  std::vector<bool> answers;
  Trial::run = [&](Trial& trial) {
    for (int i = 0; i < 4; ++i) answers.push_back(Ask("Really?", ""));
    trial.Close();
  };
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "--answer", "yes,no", "--yes"}), 0);
  EXPECT_THAT(answers, ElementsAre(true, false, true, true));
  EXPECT_THAT(rig.out, StartsWith("Really? Yes.\nReally? No.\n"));
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "--answer", "yes", "--answer", "no"}), 4);
}

TEST_F(CommandLineTest, SavesASessionThatDoesTheSame) {
  std::string seen;
  Trial::run = [&](Trial& trial) {
    seen = trial.cmbLayer->text() + trial.txtName->text() + (trial.optTwo->value() ? "2" : "1") +
           ToText(ClockNanoseconds() / 1'000'000'000) + trial.txtOut->text();
    for (const auto& item : trial.lstFields->SelectedItems()) seen += item;
    for (int i = 0; i < 3; ++i) seen += Ask("Really?", "") ? "y" : "n";
    SharedDialog("frmGetString").ShowModal();
    seen += gUserString;
    trial.Close();
  };
  std::filesystem::create_directory(rig.folder + "/sub");
  const std::string saved = rig.folder + "/sub/saved.json";
  EXPECT_EQ(
      rig.Call({"run", "clsAddLength", "cmbLayer=roads", "txtName=x \"y\"", "optTwo=yes",
                "lstFields=*", "txtOut=" + rig.folder + "/o.shp", "frmGetString.txtUserStr=abc",
                "--answer", "yes,no", "--yes", "--save", saved, "--json"}),
      0)
      << rig.error;
  const std::string first = std::exchange(seen, "");
  const std::string firstOut = rig.out;
  EXPECT_THAT(first, HasSubstr("yny"));
  EXPECT_THAT(ReadBytes(saved), HasSubstr("\"../o.shp\""));
  EXPECT_EQ(rig.Call({"play", saved, "--json", "--save", rig.folder + "/sub/again.json"}), 0)
      << rig.error;
  EXPECT_EQ(seen, first);
  EXPECT_EQ(rig.out, firstOut);
  EXPECT_EQ(ReadBytes(rig.folder + "/sub/again.json"), ReadBytes(saved));
}

TEST_F(CommandLineTest, SavesWhatWasDoneUntilAWrongStep) {
  const std::string saved = rig.folder + "/saved.json";
  EXPECT_EQ(rig.Play(R"({"steps": [{"click": "clsAddLength"}, {"set": "txtName", "to": "a"},
                                   {"set": "cmbLayer", "to": "none"}]})",
                     {"--save", saved}),
            2);
  EXPECT_THAT(ReadBytes(saved), HasSubstr("{\"set\":\"txtName\",\"to\":\"a\"}\n  ]"));
}

TEST_F(CommandLineTest, ASessionThatCannotBeSavedIsAWrongCallBeforeAnythingIsDone) {
  bool hasRun = false;
  Trial::run = [&](Trial&) { hasRun = true; };
  EXPECT_EQ(rig.Call({"run", "clsAddLength", "--save", rig.folder + "/none/s.json"}), 2);
  EXPECT_THAT(rig.error, HasSubstr("/none/s.json cannot be written: Path not found"));
  EXPECT_FALSE(hasRun);
}

TEST_F(CommandLineTest, ChattersOnlyWhereSomebodyWatches) {
  Trial::run = [](Trial& trial) {
    trial.Say("Working...");
    trial.Close();
  };
  rig.Call({"run", "clsAddLength"});
  EXPECT_THAT(rig.chatter, HasSubstr("Working..."));
  EXPECT_EQ(rig.out, "");
  rig.Call({"run", "clsAddLength", "-q"});
  EXPECT_EQ(rig.chatter, "");
  rig.Call({"run", "clsAddLength", "--json"});
  EXPECT_EQ(rig.chatter, "");
}

TEST_F(CommandLineTest, ShowsControlsToPeopleAsATable) {
  WriteBytes(rig.folder + "/s.json",
             R"({"steps": [{"click": "clsAddLength"}, {"show": "controls"}]})");
  EXPECT_EQ(rig.Call({"play", rig.folder + "/s.json"}), 0);
  EXPECT_THAT(rig.out, HasSubstr("\ncmbLayer   combo     Layer:"));
  EXPECT_THAT(rig.out, HasSubstr("one of: zones, roads"));
}

// ---- Small things

TEST(ClockText, WritesNineDigitsAndReadsUpToNine) {
  EXPECT_EQ(ClockText(0), "1970-01-01T00:00:00.000000000");
  EXPECT_EQ(ClockText(-1), "1969-12-31T23:59:59.999999999");
  EXPECT_EQ(ParseClock("1970-01-02"), 86'400'000'000'000);
  EXPECT_EQ(ParseClock("1970-01-01T00:00:01.000000001"), 1'000'000'001);
  for (const char* text :
       {"", "x", "2026-13-01", "1500-01-01", "3000-01-01", "1970-01-01.5",
        "1970-01-01T00:00:00.0000000001", "1970-01-01T00:00:00.", "1970-01-01T00:00:00.+1"})
    EXPECT_EQ(ParseClock(text), std::nullopt) << text;
}

TEST(ClockText, ReadsBackWhatItWrites) {
  Seeded random("ClockText.ReadsBackWhatItWrites");
  for (int i = 0; i < 2000; ++i) {
    const std::int64_t nanoseconds =
        random.Whole(-9'000'000'000'000'000'000, 9'000'000'000'000'000'000);
    ASSERT_EQ(ParseClock(ClockText(nanoseconds)), nanoseconds);
  }
}

TEST(Words, ListTwentyAtMost) {
  EXPECT_EQ(Listed({}), "nothing");
  EXPECT_EQ(Listed({"a", "b"}), "a, b");
  EXPECT_THAT(Listed(std::vector<std::string>(23, "x")), ::testing::EndsWith("x, x and 3 more"));
}

TEST(Words, FindTheNearest) {
  EXPECT_THAT(Nearest("clsrndpmt", {"clsAbout", "clsRndPnt3D", "clsRndPnt"}),
              ElementsAre("clsRndPnt"));
  EXPECT_THAT(Nearest("clsrnd", {"clsAbout", "clsRndPnt3D"}), ElementsAre("clsRndPnt3D"));
  EXPECT_THAT(Nearest("ac", {"ab", "zzzz", "abc"}), ElementsAre("ab", "abc"));
  EXPECT_TRUE(Nearest("x", {}).empty());
}

}  // namespace
}  // namespace orlinths
