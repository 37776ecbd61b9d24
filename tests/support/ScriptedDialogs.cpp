#include "support/ScriptedDialogs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "runtime/Files.h"
#include "runtime/Trap.h"

namespace orlinths {

// ---- Hand

template <class T>
T& Hand::Find(const std::string& name) const {
  Control* control = dialog_->FindControl(name);
  if (control == nullptr) throw std::logic_error(dialog_->Name() + " has no control " + name);
  auto* wanted = dynamic_cast<T*>(control);
  if (wanted == nullptr)
    throw std::logic_error(name + " is a " + KindName(control->Kind()) + " and cannot be used so");
  return *wanted;
}

template <class T>
T& Hand::Reach(const std::string& name) const {
  T& control = Find<T>(name);
  if (!control.IsReachable())
    throw std::logic_error(dialog_->Name() + "." + name + " is out of reach");
  return control;
}

Hand& Hand::Set(const std::string& box, const std::string& text) {
  auto& control = Reach<TextBox>(box);
  if (control.readOnly) throw std::logic_error(box + " is read only");
  control.UserSetText(text);
  return *this;
}

Hand& Hand::Set(const std::string& upDown, int value) {
  if (!Reach<UpDown>(upDown).UserSet(value)) throw std::logic_error(upDown + " is at its bounds");
  return *this;
}

Hand& Hand::Choose(const std::string& combo, const std::string& item) {
  if (!Reach<ComboBox>(combo).UserChoose(item))
    throw std::logic_error(combo + " does not hold \"" + item + "\"");
  return *this;
}

Hand& Hand::Choose(const std::string& option) {
  Reach<OptionButton>(option).UserChoose();
  return *this;
}

Hand& Hand::Check(const std::string& box, bool on) {
  Reach<CheckBox>(box).UserSet(on);
  return *this;
}

Hand& Hand::Select(const std::string& list, const std::vector<std::string>& items) {
  if (!Reach<ListBox>(list).UserSelect(items)) throw std::logic_error(list + " cannot select that");
  return *this;
}

Hand& Hand::PickDate(const std::string& calendar, Date date) {
  Reach<MonthView>(calendar).UserPick(date);
  return *this;
}

Hand& Hand::Press(const std::string& button) {
  ++host_->presses_;
  const AtScopeEnd over([this] { --host_->presses_; });
  dialog_->Press(Reach<Button>(button));
  return *this;
}

Hand& Hand::Pick(const std::string& button, const std::string& path) {
  host_->picks.push_back(IDialogHost::Choice{FolderOf(path), NameOf(path),
                                             files::FileExists(path) || files::FolderExists(path)});
  return Press(button);
}

Hand& Hand::CancelPick(const std::string& button) {
  host_->picks.push_back(std::nullopt);
  return Press(button);
}

std::string Hand::Text(const std::string& control) const {
  Control& found = Find<Control>(control);
  if (auto* box = dynamic_cast<TextBox*>(&found)) return box->text;
  if (auto* combo = dynamic_cast<ComboBox*>(&found)) return combo->text;
  return found.caption;
}

bool Hand::IsChecked(const std::string& control) const {
  Control& found = Find<Control>(control);
  if (auto* option = dynamic_cast<OptionButton*>(&found)) return option->value;
  return Find<CheckBox>(control).value;
}

bool Hand::IsEnabled(const std::string& control) const { return Find<Control>(control).enabled; }
bool Hand::IsVisible(const std::string& control) const { return Find<Control>(control).visible; }

std::vector<std::string> Hand::Items(const std::string& list) const {
  Control& found = Find<Control>(list);
  if (auto* combo = dynamic_cast<ComboBox*>(&found)) return combo->Items();
  return Find<ListBox>(list).Items();
}

Hand& Hand::PickReference(const std::string& button, SpatialReferencePtr reference) {
  host_->references.push_back(std::move(reference));
  return Press(button);
}

Hand& Hand::CancelReference(const std::string& button) { return PickReference(button, nullptr); }

// ---- ScriptedDialogs

ScriptedDialogs::ScriptedDialogs() : before_(SetDialogHost(this)) {}

ScriptedDialogs::~ScriptedDialogs() {
  for (const Script& script : scripts_) ADD_FAILURE() << script.dialogName << " was never opened";
  if (!picks.empty()) ADD_FAILURE() << picks.size() << " file choices were never asked for";
  if (!references.empty())
    ADD_FAILURE() << references.size() << " spatial references were never asked for";
  SetDialogHost(before_);
}

void ScriptedDialogs::WhenOpened(const std::string& dialogName, std::function<void(Hand)> script) {
  scripts_.push_back({dialogName, std::move(script)});
}

Hand ScriptedDialogs::Top() {
  if (open_.empty()) throw std::logic_error("no dialog is open");
  return Hand(*this, *open_.back());
}

void ScriptedDialogs::RunModal(Dialog& dialog) {
  const bool hasScript = !scripts_.empty() && scripts_.front().dialogName == dialog.Name();
  if (!hasScript && presses_ == 0) return;
  if (hasScript) {
    const Script script = std::move(scripts_.front());
    scripts_.pop_front();
    script.run(Hand(*this, dialog));
  }
  if (dialog.IsVisible()) {
    ADD_FAILURE() << dialog.Name()
                  << (hasScript ? " was left open" : " opened, and nobody waits for it");
    dialog.Unload();
  }
}

void ScriptedDialogs::DialogShown(Dialog& dialog) {
  events.push_back("shown " + dialog.Name());
  open_.push_back(&dialog);
}

void ScriptedDialogs::DialogHidden(Dialog& dialog) {
  events.push_back("hidden " + dialog.Name());
  std::erase(open_, &dialog);
}

void ScriptedDialogs::DialogUnloaded(Dialog& dialog) {
  events.push_back("unloaded " + dialog.Name());
  std::erase(open_, &dialog);
}

void ScriptedDialogs::ControlChanged(Control& control) {
  changes.push_back(control.name);
  if (auto* bar = dynamic_cast<ProgressBar*>(&control)) progress.push_back(bar->Value());
  if (control.name == "txtStatus") statuses.push_back(static_cast<TextBox&>(control).text);
}

bool ScriptedDialogs::Pick(const Question& question, Choice& choice) {
  questions.push_back(question);
  if (picks.empty()) {
    ADD_FAILURE() << '"' << question.title << "\" was asked for without an answer";
    return false;
  }
  const std::optional<Choice> answer = std::move(picks.front());
  picks.pop_front();
  if (answer) choice = *answer;
  return answer.has_value();
}

bool ScriptedDialogs::PickSpatialReference(const ReferenceQuestion& question,
                                           SpatialReferencePtr& reference) {
  referenceQuestions.push_back(question);
  startReferences.push_back(reference);
  if (references.empty()) {
    ADD_FAILURE() << '"' << question.title << "\" was asked for without an answer";
    return false;
  }
  const SpatialReferencePtr answer = std::move(references.front());
  references.pop_front();
  if (answer) reference = answer;
  return answer != nullptr;
}

}  // namespace orlinths
