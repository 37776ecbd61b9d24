#include "orlinths/RunPlan.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "session/ControlText.h"
#include "session/UserHand.h"
#include "runtime/Files.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

/// A dialog that refuses its main button this often in a row, opening after opening, will refuse
/// for ever.
constexpr int kMostRefusals = 20;

/// A dialog that comes back this often in the very same words does not like the answer, which is
/// the same each time.
constexpr int kMostRepeats = 100;

/// All that a dialog says of what it wants.
std::string WordsOf(const Dialog& dialog) {
  std::string words = dialog.Name();
  for (const auto& control : dialog.Controls())
    if (control->Kind() == ControlKind::kLabel) words += '\n' + control->caption();
  return words;
}

NextAction Do(decltype(Step::what) what) {
  return {NextAction::Kind::kStep, Step{std::move(what)}, {}};
}

NextAction GiveUp(std::string why) { return {NextAction::Kind::kGiveUp, {}, std::move(why)}; }

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  if (text.empty()) return parts;
  parts.emplace_back();
  for (const char c : text) {
    if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

Step PressStep(const Button& button, const Assignment& assignment, bool withPick) {
  steps::Press press{button.name, {}};
  if (withPick) press.pick = assignment.pick;
  return Step{press};
}

}  // namespace

Step StepFor(const Dialog& dialog, const Assignment& assignment) {
  const Control* control = dialog.FindControl(assignment.control);
  if (const auto* box = dynamic_cast<const TextBox*>(control);
      box != nullptr && box->picker != nullptr)
    return PressStep(*box->picker, assignment, true);
  if (const auto* button = dynamic_cast<const Button*>(control))
    return PressStep(*button, assignment, !YesOrNo(assignment.value).has_value());
  steps::Set set{control == nullptr ? assignment.control : control->name, assignment.value};
  if (const auto* list = dynamic_cast<const ListBox*>(control))
    set.to = assignment.value == "*" ? list->Items() : Split(assignment.value, '|');
  if (control != nullptr &&
      (control->Kind() == ControlKind::kCheck || control->Kind() == ControlKind::kOption))
    if (const auto on = YesOrNo(assignment.value)) set.to = *on;
  return Step{set};
}

RunPlan::RunPlan(const CommandInfo& command, std::vector<Assignment> assignments)
    : command_(command), assignments_(std::move(assignments)) {}

void RunPlan::Opened(Dialog& dialog) {
  Opening opening{&dialog, {}};
  std::copy_if(assignments_.begin(), assignments_.end(), std::back_inserter(opening.assignments),
               [&](const Assignment& a) { return EqualNoCase(a.dialog, dialog.Name()); });
  openings_.push_back(std::move(opening));
  toolOpened_ = true;
}

void RunPlan::Closed(Dialog& dialog) {
  if (openings_.back().stage == Stage::kPressed) refusals_.erase(dialog.Name());
  openings_.pop_back();
}

NextAction RunPlan::Next(Dialog*) {
  if (!openings_.empty()) return NextOf(openings_.back());
  if (!std::exchange(clicked_, true)) return Do(steps::Click{command_.className});
  // A tool that found nothing to work with has said so and closed before it was seen.
  const bool hasDialog = *command_.dialog != '\0';
  if (hasDialog && !toolOpened_)
    return GiveUp(std::string(command_.dialog) +
                  " did not open: the tool has nothing to work with");
  return {};
}

NextAction RunPlan::NextOf(Opening& opening) {
  switch (opening.stage) {
    case Stage::kAssign:
      if (opening.next < opening.assignments.size())
        return {NextAction::Kind::kStep,
                StepFor(*opening.dialog, opening.assignments[opening.next++]),
                {}};
      opening.stage = Stage::kPress;
      if (openings_.size() > 1 && ++asked_[WordsOf(*opening.dialog)] > kMostRepeats)
        return GiveUp(opening.dialog->Name() +
                      " asks the same again and again: give it another answer with " +
                      opening.dialog->Name() + ".NAME=VALUE");
      if (IsOnlyRead(*opening.dialog)) return Do(steps::Show{});
      return PressMain(opening);
    case Stage::kPress:
      return PressMain(opening);
    case Stage::kPressed:
      return AfterThePress(opening);
    case Stage::kAnswered:
      return {};
    case Stage::kLeave:
      return {NextAction::Kind::kClose, {}, {}};
  }
  return {};
}

NextAction RunPlan::PressMain(Opening& opening) {
  const Dialog& dialog = *opening.dialog;
  opening.stage = Stage::kPressed;
  const Button* button = dialog.MainButton();
  if (button == nullptr) return AfterThePress(opening);
  if (!button->IsReachable() && openings_.size() == 1)
    return GiveUp(dialog.Name() + " cannot run: " + button->name + " is disabled");
  if (!button->IsReachable()) return AfterThePress(opening);
  return Do(steps::Press{button->name, {}});
}

NextAction RunPlan::AfterThePress(Opening& opening) {
  const Dialog& dialog = *opening.dialog;
  const bool hasMain = dialog.MainButton() != nullptr;
  const bool isTool = openings_.size() == 1;
  if (isTool && hasMain) {  // the tool's dialog stays as the press has left it
    opening.stage = Stage::kAnswered;
    if (dialog.EndedInSuccess() && !AnswerText(dialog).empty())
      return Do(steps::Show{.onlyAnswer = true});
    return {};
  }
  if (!isTool && hasMain && !dialog.EndedInSuccess() && ++refusals_[dialog.Name()] >= kMostRefusals)
    return GiveUp(dialog.Name() + " opens again and again, and its " + dialog.MainButton()->name +
                  " never closes it: set its controls with " + dialog.Name() + ".NAME=VALUE");
  opening.stage = Stage::kLeave;
  const Button* exit = ExitButton(dialog);
  if (exit == nullptr || !exit->IsReachable()) return {NextAction::Kind::kClose, {}, {}};
  return Do(steps::Press{exit->name, {}});
}

}  // namespace orlinths
