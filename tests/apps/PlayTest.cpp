// Sessions played on a trial tool: steps, events, exit statuses.
#include <gmock/gmock.h>

#include <filesystem>

#include "apps/Trial.h"
#include "host/SmallDialogs.h"
#include "runtime/Arithmetic.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class PlayTest : public ::testing::Test {
 protected:
  /// A session of these steps, behind the click that opens the trial.
  std::string Steps(const std::string& steps, const std::string& more = "") {
    return "{" + more + R"("steps": [{"click": "clsAddLength"})" + (steps.empty() ? "" : ", ") +
           steps + "]}";
  }
  int Exit() const { return rig.events.back().at("exit"); }

  TrialRig rig;
};

// ---- Events

TEST_F(PlayTest, TellsTheWholeRunInOrder) {
  Trial::run = [](Trial& trial) {
    trial.Say("Working...");
    MessageBox("Processing complete", kInformation, "Status");
    trial.Close();
  };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})", R"("clock": "2026-03-01T12:00:00", )")), 0);
  EXPECT_EQ(rig.out,
            R"({"event":"start","clock":"2026-03-01T12:00:00.000000000","version":"3.23"}
{"event":"dialog","name":"frmAddLength","caption":"Trial","state":"shown"}
{"event":"status","text":"Working..."}
{"event":"message","text":"Processing complete","title":"Status","flags":64,"reply":"ok"}
{"event":"dialog","name":"frmAddLength","caption":"Trial","state":"unloaded"}
{"event":"end","exit":0,"open":[],"layers":[]}
)");
  EXPECT_EQ(rig.error, "");
}

TEST_F(PlayTest, ShowsControlsWithTheirValues) {
  rig.Play(Steps(R"({"set": "cmbLayer", "to": "roads"}, {"set": "lstFields", "to": ["COVER"]},
                     {"set": "spnCount", "to": 5}, {"set": "calDay", "to": "2026-03-01"},
                     {"show": "controls"})"));
  const json shown = rig.Events("controls").at(0);
  EXPECT_EQ(shown.at("dialog"), "frmAddLength");
  std::map<std::string, json> byName;
  for (const auto& control : shown.at("controls")) byName[control.at("name")] = control;
  EXPECT_EQ(byName["cmbLayer"], json::parse(R"({"name":"cmbLayer","kind":"combo","label":"Layer:",
      "value":"roads","items":["zones","roads"],"enabled":true,"visible":true})"));
  EXPECT_EQ(byName["lstFields"].at("value"), json::parse(R"(["COVER"])"));
  EXPECT_EQ(byName["lstFields"].at("items"), json::parse(R"(["AREA","COVER","ÄRGER"])"));
  EXPECT_EQ(byName["chkExtra"].at("value"), false);
  EXPECT_EQ(byName["optOne"].at("value"), true);
  EXPECT_EQ(byName["spnCount"].at("value"), 5);
  EXPECT_EQ(byName["PBar"].at("value"), 0);
  EXPECT_EQ(byName["calDay"].at("value"), "2026-03-01");
  EXPECT_EQ(byName["lblHint"].at("value"), "Try everything:");
  EXPECT_FALSE(byName["btnOK"].contains("value"));
  EXPECT_EQ(byName["chkHidden"].at("visible"), false);
  EXPECT_EQ(byName["frmAddLength"].at("enabled"), true);
  const std::vector<std::string> kinds = {"label",    "combo",  "text",   "text",   "button",
                                          "button",   "text",   "button", "list",   "check",
                                          "check",    "option", "option", "updown", "calendar",
                                          "progress", "text",   "button", "button", "label"};
  std::vector<std::string> found;
  for (const auto& control : shown.at("controls")) found.push_back(control.at("kind"));
  EXPECT_EQ(found, kinds);
}

TEST_F(PlayTest, TellsProgressAndItsLastPosition) {
  Trial::run = [](Trial& trial) {
    trial.Say("Counting...");
    trial.PBar->max = 200;
    for (int i = 1; i <= 150; ++i) trial.PBar->SetValue(i);
  };
  rig.Play(Steps(R"({"press": "btnOK"})"));
  const auto progress = rig.Events("progress");
  ASSERT_FALSE(progress.empty());
  EXPECT_LT(progress.size(), 20u);
  EXPECT_EQ(progress.back(),
            json::parse(R"({"event":"progress","value":150,"max":200,"message":"Counting..."})"));
}

TEST_F(PlayTest, KeepsEveryTextValidUtf8) {
  Trial::run = [](Trial&) { MessageBox("bad \xff\xfe byte\rnext", kPlain); };
  rig.Play(Steps(R"({"press": "btnOK"})"));
  ASSERT_EQ(rig.Events("message").size(), 1u);
  EXPECT_EQ(rig.Messages()[0], "bad \xEF\xBF\xBD\xEF\xBF\xBD byte\rnext");
}

TEST_F(PlayTest, TellsTheStatusBarAndAHelpPage) {
  EXPECT_EQ(rig.Play(R"({"steps": [{"click": "clsViewExtentSet"}, {"click": "clsAbout"},
                                   {"press": "btnWebsite"}, {"press": "btnExit"}]})"),
            0);
  EXPECT_EQ(rig.Events("statusbar").at(0).at("text"), "Extent Bookmarked");
  EXPECT_THAT(rig.Events("shell").at(0).at("target").get<std::string>(), HasSubstr("otools/"));
}

TEST_F(PlayTest, NamesTheDialogsThatStayOpenAtTheEnd) {
  EXPECT_EQ(rig.Play(Steps("")), 0);
  EXPECT_EQ(rig.events.back().at("open"), json::parse(R"(["frmAddLength"])"));
  EXPECT_THAT(rig.EventNames(), ElementsAre("start", "dialog", "end"));
}

// ---- Exit statuses

TEST_F(PlayTest, ADialogThatStaysOpenWithoutSuccessIsARefusal) {
  Trial::run = [](Trial&) { MessageBox("Error: no name.", kExclamation, "Error"); };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})")), 1);
  EXPECT_EQ(Exit(), 1);
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"}, {"press": "btnExit"})")), 1);
}

TEST_F(PlayTest, ADialogThatStaysOpenInSuccessIsNone) {
  Trial::run = [](Trial& trial) { trial.StayInSuccess(); };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})")), 0);
}

TEST_F(PlayTest, TheLastPressDecides) {
  Trial::run = [](Trial& trial) {
    if (trial.chkExtra->value) trial.Close();
  };
  EXPECT_EQ(
      rig.Play(Steps(R"({"press": "btnOK"}, {"set": "chkExtra", "to": true}, {"press": "btnOK"})")),
      0);
  Trial::run = [](Trial& trial) {
    if (!trial.chkExtra->value) trial.StayInSuccess();
  };
  EXPECT_EQ(
      rig.Play(Steps(R"({"press": "btnOK"}, {"set": "chkExtra", "to": true}, {"press": "btnOK"})")),
      1);
}

TEST_F(PlayTest, AnErrorReportOutlastsASuccess) {
  Trial::run = [](Trial& trial) {
    Trap("Trial: ", [] { throw RuntimeError(ErrorNumber::kDivisionByZero); });
    trial.Close();
  };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})")), 3);
  EXPECT_THAT(rig.Messages(), ElementsAre("Trial: \r11\rDivision by zero"));
}

TEST_F(PlayTest, AnErrorReportOutlastsAWrongStep) {
  Trial::run = [](Trial&) { Trap("Trial: ", [] { throw RuntimeError(ErrorNumber::kOverflow); }); };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"}, {"press": "btnNone"})")), 3);
  EXPECT_THAT(rig.error, HasSubstr("step 3: frmAddLength has no control \"btnNone\""));
}

TEST_F(PlayTest, AFailureThatAHandlerLetsOutIsReported) {
  Trial::run = [](Trial&) { throw RuntimeError(ErrorNumber::kSubscript); };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})")), 3);
  EXPECT_EQ(rig.Messages().size(), 1u);
}

TEST_F(PlayTest, AFailingLoadComesBackToTheHost) {
  Trial::load = [](Trial&) { throw RuntimeError(ErrorNumber::kObjectNotSet); };
  EXPECT_EQ(rig.Play(Steps("")), 3);
  EXPECT_THAT(rig.Messages().at(0), HasSubstr("\r91\r"));
}

TEST_F(PlayTest, ALoadThatClosesTheDialogLeavesNothingForTheSteps) {
  Trial::load = [](Trial& trial) {
    MessageBox("Nothing to work with.", kExclamation, "Warning");
    trial.Close();
  };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})")), 2);
  EXPECT_THAT(rig.error, HasSubstr("step 2: no dialog is open to press a button of"));
  EXPECT_EQ(rig.Play(Steps("")), 0);
}

// ---- Replies

TEST_F(PlayTest, AnswersQuestionsByPattern) {
  Trial::run = [](Trial& trial) {
    if (Ask("The file x already exists.\rReplace?", "File Error")) trial.Close();
  };
  const std::string rules = R"("replies": [{"text": "*already exists*", "reply": "yes"}], )";
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})", rules)), 0);
  EXPECT_EQ(rig.Events("message").at(0).at("reply"), "yes");
  EXPECT_EQ(rig.Events("message").at(0).at("flags"), 4);
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})", rules), {"--answer", "no"}), 1);
  EXPECT_EQ(rig.Events("message").at(0).at("reply"), "no");
}

TEST_F(PlayTest, AQuestionWithoutReplyEndsTheRunAtOnce) {
  bool wentOn = false;
  Trial::run = [&](Trial& trial) {
    Trap("Trial: ", [&] {
      const bool yes = Ask("Go on?", "Question");
      EXPECT_FALSE(yes);
      MessageBox("not told");
      Yield();
      wentOn = true;
    });
    trial.Say("not told");
  };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"}, {"press": "btnExit"})")), 4);
  EXPECT_FALSE(wentOn);
  EXPECT_THAT(rig.EventNames(), ElementsAre("start", "dialog", "message", "end"));
  EXPECT_EQ(rig.Events("message").at(0).at("reply"), nullptr);
  EXPECT_EQ(rig.events.back().at("open"), json::parse(R"(["frmAddLength"])"));
  EXPECT_THAT(rig.error, HasSubstr("no reply is left for the question \"Go on?\""));
  EXPECT_FALSE(StopRequested());
}

TEST_F(PlayTest, AToolThatAsksForEverIsEndedToo) {
  Trial::run = [](Trial&) {
    while (!Ask("Really?", "")) {
    }
  };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})")), 4);
}

// ---- Stops

TEST_F(PlayTest, AStopTakesTheRoadOfAFailureAndEndsTheRun) {
  Trial::run = [](Trial& trial) {
    Trap("Trial: ", [] {
      RequestStop();
      Yield();
    });
    trial.Say("");
  };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"}, {"press": "btnOK"})")), 130);
  EXPECT_THAT(rig.Messages(), ElementsAre("Trial: \r18\rUser interrupt occurred"));
  EXPECT_FALSE(StopRequested());
}

TEST_F(PlayTest, AStopIsNeverAQuestionWithoutReply) {
  Trial::run = [](Trial&) {
    RequestStop();
    EXPECT_FALSE(Ask("Go on?", ""));
  };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})")), 130);
}

// ---- Wrong steps

TEST_F(PlayTest, RefusesWhatAHandCouldNotDo) {
  const auto wrong = [&](const std::string& step) {
    EXPECT_EQ(rig.Play(Steps(step)), 2) << step;
    EXPECT_EQ(rig.error.find("orlinths: " + rig.folder + "/s.json: step 2: "), 0u) << rig.error;
    EXPECT_EQ(std::count(rig.error.begin(), rig.error.end(), '\n'), 1);
    return rig.error.substr(rig.error.find("step 2: ") + 8);
  };
  EXPECT_EQ(wrong(R"({"set": "cmbLayer", "to": "zone"})"),
            "cmbLayer has no item \"zone\"; it has: zones, roads\n");
  EXPECT_EQ(wrong(R"({"set": "lstFields", "to": ["AREA", "AREA"]})"),
            "lstFields has no item \"AREA\"; it has: AREA, COVER, ÄRGER\n");
  EXPECT_THAT(wrong(R"({"set": "txtNome", "to": "a"})"),
              HasSubstr("frmAddLength has no control \"txtNome\""));
  EXPECT_EQ(wrong(R"({"set": "chkHidden", "to": true})"), "chkHidden is not visible\n");
  EXPECT_EQ(wrong(R"({"set": "chkExtra", "to": "perhaps"})"), "chkExtra takes yes or no\n");
  EXPECT_EQ(wrong(R"({"set": "optOne", "to": false})"),
            "optOne is the chosen option: choose another one instead of clearing it\n");
  EXPECT_EQ(wrong(R"({"set": "spnCount", "to": 10})"),
            "spnCount takes a whole number from 1 to 9\n");
  EXPECT_EQ(wrong(R"({"set": "spnCount", "to": 2.5})"),
            "spnCount takes a whole number from 1 to 9\n");
  EXPECT_EQ(wrong(R"({"set": "calDay", "to": "2026-02-30"})"),
            "calDay takes a date such as 2026-03-01\n");
  EXPECT_EQ(wrong(R"({"set": "txtStatus", "to": "x"})"), "txtStatus is read only\n");
  EXPECT_EQ(wrong(R"({"set": "txtName", "to": ["x"]})"), "txtName takes a text\n");
  EXPECT_EQ(wrong(R"({"set": "lblHint", "to": "x"})"),
            "lblHint only shows something: it cannot be set\n");
  EXPECT_EQ(wrong(R"({"set": "btnOK", "to": "x"})"), "btnOK is a button: press it\n");
  EXPECT_EQ(wrong(R"({"press": "txtName"})"), "txtName is no button\n");
  EXPECT_EQ(wrong(R"({"press": "btnOut"})"),
            "btnOut opens a file dialog: the step needs a \"pick\"\n");
  EXPECT_THAT(wrong(R"({"press": "btnFolder"})"), HasSubstr("the step has no \"pick\" for it"));
  EXPECT_THAT(wrong(R"({"press": "btnFolder", "pick": "none"})"),
              HasSubstr("there is no folder /"));
  EXPECT_THAT(wrong(R"({"click": "clsAddLen"})"),
              HasSubstr("there is no command clsAddLen; the nearest: clsAddLength"));
  EXPECT_EQ(wrong(R"({"click": "clsAddLength"})"), "frmAddLength is open already\n");
  EXPECT_THAT(wrong(R"({"select": "zones", "oids": []})"),
              HasSubstr("the map has no feature layer \"zones\"; it has: nothing"));
}

TEST_F(PlayTest, RefusesADisabledControlAndADisabledDialog) {
  EXPECT_EQ(rig.Play(Steps(R"({"set": "chkExtra", "to": true}, {"set": "txtName", "to": "x"})")),
            2);
  EXPECT_THAT(rig.error, HasSubstr("step 3: txtName is disabled"));
  Trial::run = [](Trial& trial) { trial.SetEnabled(false); };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"}, {"press": "btnExit"})")), 2);
  EXPECT_THAT(rig.error, HasSubstr("step 3: frmAddLength is disabled"));
}

TEST_F(PlayTest, FindsControlsAndClassesWithoutRegardToCase) {
  EXPECT_EQ(rig.Play(R"({"steps": [{"click": "CLSaddlength"}, {"press": "BTNok"}]})"), 0);
}

TEST_F(PlayTest, RefusesStepsThatNoDialogCanTake) {
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"}, {"press": "btnExit"})")), 2);
  EXPECT_THAT(rig.error, HasSubstr("step 3: no dialog is open"));
  EXPECT_EQ(rig.Play(R"({"steps": [{"show": "controls"}]})"), 2);
  EXPECT_THAT(rig.EventNames(), ElementsAre("start", "end"));
}

TEST_F(PlayTest, ADamagedFileIsToldBeforeAnyEvent) {
  EXPECT_EQ(rig.Play("{\"steps\": [}"), 2);
  EXPECT_EQ(rig.out, "");
  EXPECT_THAT(rig.error, HasSubstr("s.json: line 1, column 12: "));
}

TEST_F(PlayTest, AClickOnAToolThatIsNotThereYetDoesWhatAClickDoes) {
  // Whatever tools this program holds, these dialogs are registered by nobody here.
  EXPECT_EQ(rig.Play(R"({"steps": [{"click": "clsAddArea"}]})"), 0);
  EXPECT_EQ(rig.Messages().size(), 1u);
  EXPECT_EQ(rig.Call({"describe", "clsAddArea"}), 2);
  EXPECT_EQ(rig.Call({"run", "clsAddArea"}), 2);
  EXPECT_EQ(rig.error, "orlinths: clsAddArea is not available yet\n");
}

// ---- File dialogs

TEST_F(PlayTest, GivesTheChosenPathAndWhetherItReplaces) {
  std::vector<std::string> picked;
  Trial::run = [&](Trial& trial) { picked = trial.picked; };
  std::filesystem::create_directory(rig.folder + "/out");
  WriteBytes(rig.folder + "/out/b.shp", "");
  rig.Play(
      Steps(R"({"press": "btnOut", "pick": "out/a.shp"}, {"press": "btnOut", "pick": "out/b.shp"},
                    {"press": "btnOut", "pick": "out/b"}, {"press": "btnOut", "pick": null},
                    {"press": "btnFolder", "pick": "out"}, {"press": "btnOK"})"));
  const std::string out = rig.folder + "/out";
  EXPECT_THAT(picked,
              ElementsAre(out + "/a.shp", out + "/b.shp replacing", out + "/b replacing", out));
}

TEST_F(PlayTest, GivesTheChosenSpatialReference) {
  std::vector<std::string> names;
  Trial::run = [&](Trial& trial) {
    names.push_back(trial.txtSR->text);
    if (names.size() == 4) trial.Close();
  };
  EXPECT_EQ(rig.Play(Steps(
                R"({"press": "btnProj", "pick": "EPSG:32612"}, {"press": "btnOK"},
                   {"press": "btnProj", "pick": null}, {"press": "btnOK"},
                   {"press": "btnProj", "pick": "+proj=longlat +datum=WGS84"}, {"press": "btnOK"},
                   {"press": "btnProj", "pick": "Unknown Coordinate System"}, {"press": "btnOK"})")),
            0)
      << rig.error;
  ASSERT_EQ(names.size(), 4u);
  EXPECT_EQ(names[0], "WGS 84 / UTM zone 12N");
  EXPECT_EQ(names[1], names[0]) << "cancelled";
  EXPECT_NE(names[2], names[0]);
  EXPECT_EQ(names[3], "Unknown Coordinate System");
}

TEST_F(PlayTest, ATextThatIsNoSpatialReferenceIsAScriptError) {
  Trial::run = [](Trial&) { FAIL() << "the run went on"; };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnProj", "pick": "EPSG:99999999"}, {"press": "btnOK"})")),
            2);
  EXPECT_THAT(rig.error, HasSubstr("step 2: the spatial reference \"EPSG:99999999\": "));
  EXPECT_EQ(std::count(rig.error.begin(), rig.error.end(), '\n'), 1);
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnProj"})")), 2);
  EXPECT_THAT(rig.error, HasSubstr("btnProj opens a choice of spatial references: the step needs "
                                   "a \"pick\""));
}

TEST_F(PlayTest, AChosenReferenceIsSavedAsItWasSaid) {
  Trial::run = [](Trial& trial) { trial.Close(); };
  const std::string saved = rig.folder + "/saved/s.json";
  std::filesystem::create_directory(rig.folder + "/saved");
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnProj", "pick": "EPSG:32612"}, {"press": "btnOK"})"),
                     {"--save", saved}),
            0);
  EXPECT_THAT(ReadBytes(saved), HasSubstr(R"({"press":"btnProj","pick":"EPSG:32612"})"));
}

// ---- Further dialogs

TEST_F(PlayTest, StepsGoToADialogThatOpensDuringAPress) {
  std::string answer;
  Trial::run = [&](Trial& trial) {
    gUserString.clear();
    SharedDialog("frmGetString").ShowModal();
    answer = gUserString;
    trial.Close();
  };
  EXPECT_EQ(rig.Play(Steps(
                R"({"press": "btnOK"}, {"set": "txtUserStr", "to": "abc"}, {"show": "controls"},
                               {"press": "btnOK"})")),
            0);
  EXPECT_EQ(answer, "abc");
  EXPECT_EQ(rig.Events("controls").at(0).at("dialog"), "frmGetString");
}

TEST_F(PlayTest, ASessionThatEndsInsideAPressStopsTheTool) {
  Trial::run = [](Trial&) {
    Trap("Trial: ", [] {
      gUserString.clear();
      while (gUserString.empty()) SharedDialog("frmGetString").ShowModal();
    });
  };
  EXPECT_EQ(rig.Play(Steps(R"({"press": "btnOK"})")), 1);
  EXPECT_EQ(rig.events.back().at("open"), json::parse(R"(["frmAddLength", "frmGetString"])"));
  EXPECT_THAT(rig.Messages(), IsEmpty());
}

TEST_F(PlayTest, AClickMayOpenAToolOverAnother) {
  EXPECT_EQ(
      rig.Play(Steps(R"({"click": "clsJulianDay"}, {"press": "btnExit"}, {"press": "btnOK"})")), 0);
}

// ---- The map's view

TEST_F(PlayTest, AMouseStepReachesTheToolInTheUsersHand) {
  EXPECT_EQ(rig.Play(R"({"steps": [{"mouse": "down", "x": 1, "y": 1}, {"click": "clsDigitise"},
      {"mouse": "down", "button": 2, "x": 10, "y": 20}, {"mouse": "move", "x": 11, "y": 20},
      {"mouse": "down", "button": 1, "x": 10, "y": 20}, {"mouse": "down", "x": 500, "y": 20},
      {"show": "controls"}, {"press": "cmdExit"}]})"),
            0);
  // No layers: one map unit to a unit of the screen, 1000 by 800.
  ASSERT_EQ(rig.Events("controls").size(), 1u);
  EXPECT_EQ(rig.Events("controls")[0].at("controls").at(1).at("value"), "10, 780");
}

TEST_F(PlayTest, ABookmarkGivesTheToolBack) {
  EXPECT_EQ(rig.Play(R"({"steps": [{"click": "clsDigitise"}, {"click": "clsViewExtentSet"},
      {"mouse": "down", "x": 0, "y": 800}, {"press": "cmdExit"}]})"),
            0);
  EXPECT_EQ(rig.Events("dialog").size(), 2u);
}

// ---- The clock

TEST_F(PlayTest, TheClockStandsStill) {
  std::int64_t first = 0, second = 0;
  Trial::run = [&](Trial& trial) {
    first = ClockNanoseconds();
    second = ClockNanoseconds();
    trial.Close();
  };
  rig.Play(Steps(R"({"press": "btnOK"})"), {"--clock", "2026-03-01T12:00:00.5"});
  EXPECT_EQ(first, 1772366400LL * 1'000'000'000 + 500'000'000);
  rig.Play(Steps(R"({"press": "btnOK"})"));
  EXPECT_EQ(first, second);
  EXPECT_NE(first, 0);
}

}  // namespace
}  // namespace orlinths
