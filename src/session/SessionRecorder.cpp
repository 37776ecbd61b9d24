#include "session/SessionRecorder.h"

#include <utility>

#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "session/UserHand.h"

namespace orlinths {
namespace {

/// A main button that only closes its dialog (About, the day of the year) runs nothing.
bool IsPressOfMainButton(const Dialog& dialog, const Step& step) {
  const auto* press = std::get_if<steps::Press>(&step.what);
  const Button* main = dialog.MainButton();
  return press != nullptr && main != nullptr && main != ExitButton(dialog) &&
         EqualNoCase(main->name, press->control);
}

}  // namespace

void SessionRecorder::Begin(const CommandInfo& command, MapContents map, std::int64_t clock) {
  session_ = {};
  session_.clock = clock;
  session_.map = std::move(map);
  session_.steps.push_back({steps::Click{command.className}, 0});
  isRecording_ = true;
  wasRun_ = false;
  mainPresses_ = 0;
  typedInto_ = nullptr;
}

void SessionRecorder::Acted(const Dialog& dialog, const Step& step) {
  if (!isRecording_) return;
  const Dialog* typedBefore = std::exchange(typedInto_, nullptr);
  if (const auto* set = std::get_if<steps::Set>(&step.what)) {
    const Control* control = dialog.FindControl(set->control);
    if (control != nullptr && control->Kind() == ControlKind::kText) typedInto_ = &dialog;
    const auto* last = std::get_if<steps::Set>(&session_.steps.back().what);
    const bool goesOn = typedInto_ != nullptr && typedBefore == &dialog && last != nullptr &&
                        last->control == set->control;
    if (goesOn) session_.steps.pop_back();
  } else if (IsPressOfMainButton(dialog, step)) {
    wasRun_ = true;
    if (mainPresses_++ == 0) reportsBefore_ = ErrorReportCount();
  }
  session_.steps.push_back(step);
}

void SessionRecorder::Picked(const steps::Pick& pick) {
  if (!isRecording_) return;
  if (auto* press = std::get_if<steps::Press>(&session_.steps.back().what)) press->pick = pick;
}

void SessionRecorder::Answered(const std::string& question, bool yes) {
  if (isRecording_) session_.replies.push_back({question, yes, true});
}

void SessionRecorder::Finished(const Dialog& dialog, const Step& step) {
  if (!isRecording_ || !IsPressOfMainButton(dialog, step)) return;
  --mainPresses_;
  if (StopRequested())
    outcome_ = RunOutcome::kStopped;
  else if (ErrorReportCount() > reportsBefore_)
    outcome_ = RunOutcome::kFailed;
  else if (dialog.EndedInSuccess() || !dialog.IsVisible())
    outcome_ = RunOutcome::kSucceeded;
  else
    outcome_ = RunOutcome::kRefused;
}

std::optional<Session> SessionRecorder::End() {
  if (!std::exchange(isRecording_, false) || !wasRun_) return {};
  return std::move(session_);
}

}  // namespace orlinths
