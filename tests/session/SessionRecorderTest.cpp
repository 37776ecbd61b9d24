#include "session/SessionRecorder.h"

#include <gmock/gmock.h>

namespace orlinths {
namespace {

using ::testing::ElementsAre;

class frmTrial : public Dialog {
 public:
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
