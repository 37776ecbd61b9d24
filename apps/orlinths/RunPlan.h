// The plan of a `run`: open the tool, set its controls, press its main button; the same for what
// opens meanwhile.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/Commands.h"
#include "session/StepSource.h"

namespace orlinths {

/// NAME=VALUE, for the tool's own dialog or, as DIALOG.NAME=VALUE, for another one.
struct Assignment {
  std::string dialog;
  std::string control;
  std::string value;
  steps::Pick pick;  ///< the value as the answer of a choice, for a control that opens one
};

/// The step that carries out an assignment on a dialog as it is now: a text or choice is set, a box
/// with a picker is filled through it, a list gets items separated by `|` (`*` for all), a button
/// is pressed.
Step StepFor(const Dialog& dialog, const Assignment& assignment);

class RunPlan : public StepSource {
 public:
  RunPlan(const CommandInfo& command, std::vector<Assignment> assignments);
  NextAction Next(Dialog* top) override;
  void Opened(Dialog& dialog) override;
  void Closed(Dialog& dialog) override;

 private:
  enum class Stage { kAssign, kPress, kPressed, kAnswered, kLeave };
  /// One opening of a dialog.
  struct Opening {
    Dialog* dialog;
    std::vector<Assignment> assignments;
    std::size_t next = 0;
    Stage stage = Stage::kAssign;
  };
  NextAction NextOf(Opening& opening);
  NextAction PressMain(Opening& opening);
  NextAction AfterThePress(Opening& opening);

  const CommandInfo& command_;
  std::vector<Assignment> assignments_;
  std::vector<Opening> openings_;
  bool clicked_ = false;
  bool toolOpened_ = false;
  /// Questions of further dialogs: how often each was asked in the very same words.
  std::map<std::string, int> asked_;
  std::map<std::string, int> refusals_;  ///< of further dialogs, one opening after the other
};

}  // namespace orlinths
