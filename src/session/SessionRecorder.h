// Records what a user does as a session that plays it again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/Commands.h"
#include "host/Dialog.h"
#include "session/Session.h"

namespace orlinths {

/// How the last press of the main button ended; what it calls success, failure and refusal is what
/// the command line's exit status does.
enum class RunOutcome {
  kSucceeded,
  kRefused,  ///< the dialog stayed open for its user to mend something
  kFailed,   ///< an error report was shown
  kStopped,  ///< by its user
};

/// From the click of a command until its last dialog has closed.
class SessionRecorder {
 public:
  /// A command is clicked on a map as it is now. The clock is to stand still at `clock` for the
  /// tool until it is done, or its random draws cannot be repeated.
  void Begin(const CommandInfo& command, MapContents map, std::int64_t clock);
  bool IsRecording() const { return isRecording_; }
  std::int64_t Clock() const { return *session_.clock; }

  /// The user acts in a dialog. What is typed into a box counts as a whole.
  void Acted(const Dialog& dialog, const Step& step);
  /// The file dialog of the press at work gives this.
  void Picked(const steps::Pick& pick);
  void Answered(const std::string& question, bool yes);
  /// What the user did in the dialog last is over. To be told before a wish to stop is forgotten.
  void Finished(const Dialog& dialog, const Step& step);

  /// Ends the recording. Nothing when no main button has been pressed: nothing was run.
  std::optional<Session> End();
  /// Of the run whose recording has ended.
  RunOutcome Outcome() const { return outcome_; }

 private:
  bool isRecording_ = false, wasRun_ = false;
  RunOutcome outcome_ = RunOutcome::kSucceeded;
  int mainPresses_ = 0;    ///< that are at work
  int reportsBefore_ = 0;  ///< the outermost of them
  Session session_;
  const Dialog* typedInto_ = nullptr;  ///< the dialog of the last step, if it typed into a box
};

}  // namespace orlinths
