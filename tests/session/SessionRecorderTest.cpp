#include "session/SessionRecorder.h"

#include <gmock/gmock.h>

#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "session/SessionFile.h"
#include "support/TestHost.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class frmTrial : public Dialog {
 public:
  using Dialog::Succeeded;
  frmTrial() : Dialog("frmTrial", "Trial") {
    Add<TextBox>("txtName", "Name:");
    Add<CheckBox>("chkExtra", "Extra");
    Add<Button>("btnFile", "...");
    AddOkButton();
  }
};

const CommandInfo& Command() { return *FindCommand("clsRndPnt"); }

Step Set(const char* control, SetValue to) { return {steps::Set{control, std::move(to)}, 0}; }
Step Press(const char* control) { return {steps::Press{control, {}}, 0}; }

TEST(SessionRecorder, KeepsClockMapRepliesAndSteps) {
  frmTrial dialog;
  SessionRecorder recorder;
  MapContents map;
  map.spatialReference = "EPSG:2169";
  recorder.Begin(Command(), map, 42);
  EXPECT_EQ(recorder.Clock(), 42);
  recorder.Acted(dialog, Set("chkExtra", true));
  recorder.Acted(dialog, Press("btnFile"));
  recorder.Picked({"/tmp/out.shp"});
  recorder.Acted(dialog, Press("btnOK"));
  recorder.Answered("Replace?", true);
  const auto session = recorder.End();
  ASSERT_TRUE(session);
  EXPECT_EQ(session->clock, 42);
  EXPECT_EQ(session->map, map);
  EXPECT_THAT(session->replies, ElementsAre(ReplyRule{"Replace?", true, true}));
  EXPECT_THAT(
      session->steps,
      ElementsAre(Step{steps::Click{"clsRndPnt"}, 0}, Set("chkExtra", true),
                  Step{steps::Press{"btnFile", steps::Pick{"/tmp/out.shp"}}, 0}, Press("btnOK")));
}

TEST(SessionRecorder, TakesWhatIsTypedIntoABoxAsAWhole) {
  frmTrial dialog;
  SessionRecorder recorder;
  recorder.Begin(Command(), {}, 0);
  for (const char* text : {"o", "oa", "oak"}) recorder.Acted(dialog, Set("txtName", text));
  recorder.Acted(dialog, Set("chkExtra", true));
  recorder.Acted(dialog, Set("chkExtra", false));
  recorder.Acted(dialog, Set("txtName", "oaks"));
  recorder.Acted(dialog, Press("btnOK"));
  EXPECT_THAT(
      recorder.End()->steps,
      ElementsAre(Step{steps::Click{"clsRndPnt"}, 0}, Set("txtName", "oak"), Set("chkExtra", true),
                  Set("chkExtra", false), Set("txtName", "oaks"), Press("btnOK")));
}

TEST(SessionRecorder, KeepsAChosenReferenceToTheLetter) {
  frmTrial dialog;
  SessionRecorder recorder;
  recorder.Begin(Command(), {}, 0);
  recorder.Acted(dialog, Press("btnFile"));
  recorder.Picked({"EPSG:32612", "", true});
  recorder.Acted(dialog, Press("btnOK"));
  EXPECT_THAT(SessionText(*recorder.End(), "/home"),
              HasSubstr(R"({"press":"btnFile","pick":"EPSG:32612"})"));
}

TEST(SessionRecorder, KeepsACancelledChoice) {
  frmTrial dialog;
  SessionRecorder recorder;
  recorder.Begin(Command(), {}, 0);
  recorder.Acted(dialog, Press("btnFile"));
  recorder.Picked({});
  recorder.Acted(dialog, Press("btnOK"));
  EXPECT_THAT(recorder.End()->steps,
              ElementsAre(Step{steps::Click{"clsRndPnt"}, 0},
                          Step{steps::Press{"btnFile", steps::Pick{}}, 0}, Press("btnOK")));
}

/// Presses the main button as a window does, and gives how the run ended.
class RunOutcomeTest : public ::testing::Test {
 protected:
  RunOutcomeTest() {
    host.Open<frmTrial>();
    recorder.Begin(Command(), {}, 0);
  }
  ~RunOutcomeTest() override { ClearStop(); }
  frmTrial& Trial() { return host.Last<frmTrial>(); }
  void PressOk(std::function<void()> handler) {
    Button* button = Trial().MainButton();
    button->OnClick = std::move(handler);
    recorder.Acted(Trial(), Press("btnOK"));
    Trial().Press(*button);
    recorder.Finished(Trial(), Press("btnOK"));
  }
  RunOutcome Outcome() {
    EXPECT_TRUE(recorder.End());
    return recorder.Outcome();
  }

  TestHost host;
  SessionRecorder recorder;
};

TEST_F(RunOutcomeTest, IsSuccessWhereTheToolSaysSo) {
  PressOk([this] { Trial().Succeeded(); });
  EXPECT_EQ(Outcome(), RunOutcome::kSucceeded);
}

TEST_F(RunOutcomeTest, IsSuccessWhereTheDialogCloses) {
  PressOk([this] { Trial().Unload(); });
  EXPECT_EQ(Outcome(), RunOutcome::kSucceeded);
}

TEST_F(RunOutcomeTest, IsARefusalWhereTheDialogStaysOpen) {
  PressOk([] {});
  EXPECT_EQ(Outcome(), RunOutcome::kRefused);
}

TEST_F(RunOutcomeTest, IsAFailureWhereAReportWasShown) {
  PressOk([this] {
    ReportError("Trial: ", 6, "Overflow");
    Trial().Unload();
  });
  EXPECT_EQ(Outcome(), RunOutcome::kFailed);
}

TEST_F(RunOutcomeTest, IsAStopWhereTheUserAskedForOne) {
  PressOk([] {
    RequestStop();
    ReportError("Trial: ", 18, "User interrupt occurred");
  });
  EXPECT_EQ(Outcome(), RunOutcome::kStopped);
}

TEST_F(RunOutcomeTest, IsThatOfTheLastPress) {
  PressOk([] { ReportError("Trial: ", 6, "Overflow"); });
  PressOk([this] { Trial().Succeeded(); });
  EXPECT_EQ(Outcome(), RunOutcome::kSucceeded);
}

TEST_F(RunOutcomeTest, CountsWhatADialogInBetweenReported) {
  frmTrial inner;
  PressOk([&] {
    ReportError("Trial: ", 6, "Overflow");
    recorder.Acted(inner, Press("btnOK"));
    recorder.Finished(inner, Press("btnOK"));
    Trial().Unload();
  });
  EXPECT_EQ(Outcome(), RunOutcome::kFailed);
}

TEST(SessionRecorder, AMainButtonThatOnlyClosesRunsNothing) {
  class frmNotes : public Dialog {
   public:
    frmNotes() : Dialog("frmNotes", "Notes") { exit_ = AddExitButton(); }
    Button* MainButton() const override { return exit_; }

   private:
    Button* exit_;
  } dialog;
  SessionRecorder recorder;
  recorder.Begin(Command(), {}, 0);
  recorder.Acted(dialog, Press("btnExit"));
  recorder.Finished(dialog, Press("btnExit"));
  EXPECT_FALSE(recorder.End());
}

TEST(SessionRecorder, GivesNothingWhereNothingWasRun) {
  frmTrial dialog;
  SessionRecorder recorder;
  EXPECT_FALSE(recorder.End());
  recorder.Begin(Command(), {}, 0);
  recorder.Acted(dialog, Set("chkExtra", true));
  EXPECT_FALSE(recorder.End());
  recorder.Acted(dialog, Press("btnOK"));
  EXPECT_FALSE(recorder.IsRecording());
  EXPECT_FALSE(recorder.End());
}

}  // namespace
}  // namespace orlinths
