#include "host/Controls.h"

#include <algorithm>
#include <utility>

#include "host/Dialog.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {

const char* KindName(ControlKind kind) {
  switch (kind) {
    case ControlKind::kButton:
      return "button";
    case ControlKind::kText:
      return "text";
    case ControlKind::kCombo:
      return "combo";
    case ControlKind::kList:
      return "list";
    case ControlKind::kCheck:
      return "check";
    case ControlKind::kOption:
      return "option";
    case ControlKind::kLabel:
      return "label";
    case ControlKind::kProgress:
      return "progress";
    case ControlKind::kUpDown:
      return "updown";
    case ControlKind::kCalendar:
      return "calendar";
  }
  return "";
}

// ---- Control

Control::Control(orlinths::Dialog& dialog, std::string controlName, std::string controlCaption,
                 State state)
    : name(std::move(controlName)),
      caption(*this, std::move(controlCaption)),
      enabled(*this, state != State::kDisabled),
      visible(*this, state != State::kHidden),
      backColour(*this, state == State::kDisabled ? BackColour::kButtonFace : BackColour::kWindow),
      dialog_(dialog),
      design_{} {}

void Control::Enable(bool on) {
  enabled = on;
  backColour = on ? BackColour::kWindow : BackColour::kButtonFace;
}

bool Control::IsReachable() const {
  return enabled() && visible() && dialog_.IsEnabled() && dialog_.IsVisible();
}

void Control::Focus() {
  if (IDialogHost* host = DialogHostIfAny()) host->ControlFocused(*this);
}

void Control::Changed() {
  if (!dialog_.IsLoaded()) return;
  if (IDialogHost* host = DialogHostIfAny()) host->ControlChanged(*this);
}

void Control::KeepDesign() { design_ = {caption(), enabled(), visible(), backColour()}; }

void Control::RestoreDesign() {
  caption = design_.caption;
  enabled = design_.enabled;
  visible = design_.visible;
  backColour = design_.backColour;
}

void Control::Fire(const std::function<void()>& handler, const char* event) {
  // The label is made when it is needed: making it beforehand could fail, outside any trap.
  if (handler) TrapWithHead([&] { return name + '_' + event + ": "; }, handler);
}

// ---- TextBox

TextBox::TextBox(orlinths::Dialog& dialog, std::string controlName, std::string label,
                 std::string content, State state)
    : Control(dialog, std::move(controlName), std::move(label), state),
      text(*this, std::move(content)) {}

void TextBox::UserSetText(const std::string& newText) {
  if (newText == text()) return;
  text = newText;
  Fire(OnChange, "Change");
}

void TextBox::KeepDesign() {
  Control::KeepDesign();
  designText_ = text();
}

void TextBox::RestoreDesign() {
  Control::RestoreDesign();
  text = designText_;
}

// ---- ComboBox

ComboBox::ComboBox(orlinths::Dialog& dialog, std::string controlName, std::string label,
                   State state)
    : Control(dialog, std::move(controlName), std::move(label), state), text(*this, "") {}

void ComboBox::Append(const std::string& item, ItemKind kind) {
  items_.push_back(item);
  kinds_.push_back(kind);
  Changed();
}

void ComboBox::Clear() {
  items_.clear();
  kinds_.clear();
  text = std::string();
  Changed();
}

int ComboBox::ListIndex() const {
  const auto found = std::find(items_.begin(), items_.end(), text());
  return found == items_.end() ? -1 : static_cast<int>(found - items_.begin());
}

bool ComboBox::UserChoose(const std::string& item) {
  if (std::find(items_.begin(), items_.end(), item) == items_.end()) return false;
  text = item;
  Fire(OnClick, "Click");
  return true;
}

void ComboBox::KeepDesign() {
  Control::KeepDesign();
  designItems_ = items_;
  designKinds_ = kinds_;
  designText_ = text();
}

void ComboBox::RestoreDesign() {
  Control::RestoreDesign();
  items_ = designItems_;
  kinds_ = designKinds_;
  text = designText_;
}

// ---- ListBox

ListBox::ListBox(orlinths::Dialog& dialog, std::string controlName, std::string label, State state)
    : Control(dialog, std::move(controlName), std::move(label), state) {}

void ListBox::Append(const std::string& item, ItemKind kind) {
  items_.push_back(item);
  kinds_.push_back(kind);
  selected_.push_back(false);
  Changed();
}

void ListBox::RemoveItem(int index) {
  if (index < 0 || index >= Count()) throw RuntimeError(ErrorNumber::kSubscript);
  items_.erase(items_.begin() + index);
  kinds_.erase(kinds_.begin() + index);
  selected_.erase(selected_.begin() + index);
  Changed();
}

void ListBox::Clear() {
  items_.clear();
  kinds_.clear();
  selected_.clear();
  Changed();
}

bool ListBox::IsSelected(int index) const {
  if (index < 0 || index >= Count()) throw RuntimeError(ErrorNumber::kSubscript);
  return selected_[static_cast<std::size_t>(index)];
}

void ListBox::Select(int index, bool on) {
  if (IsSelected(index) == on) return;
  if (on && !multiSelect) selected_.assign(selected_.size(), false);
  selected_[static_cast<std::size_t>(index)] = on;
  Changed();
}

std::vector<std::string> ListBox::SelectedItems() const {
  std::vector<std::string> chosen;
  for (std::size_t i = 0; i < items_.size(); ++i)
    if (selected_[i]) chosen.push_back(items_[i]);
  return chosen;
}

int ListBox::SelectedCount() const {
  return static_cast<int>(std::count(selected_.begin(), selected_.end(), true));
}

bool ListBox::UserSelect(const std::vector<std::string>& items) {
  if (!multiSelect && items.size() > 1) return false;
  std::vector<bool> wanted(items_.size(), false);
  for (const std::string& item : items) {
    std::size_t at = 0;
    while (at < items_.size() && (wanted[at] || items_[at] != item)) ++at;
    if (at == items_.size()) return false;
    wanted[at] = true;
  }
  selected_ = std::move(wanted);
  Changed();
  Fire(OnClick, "Click");
  return true;
}

void ListBox::KeepDesign() {
  Control::KeepDesign();
  designItems_ = items_;
  designKinds_ = kinds_;
  designSelected_ = selected_;
}

void ListBox::RestoreDesign() {
  Control::RestoreDesign();
  items_ = designItems_;
  kinds_ = designKinds_;
  selected_ = designSelected_;
}

// ---- CheckBox

CheckBox::CheckBox(orlinths::Dialog& dialog, std::string controlName, std::string label,
                   Check check, State state)
    : Control(dialog, std::move(controlName), std::move(label), state),
      value(*this, check == Checked) {}

void CheckBox::UserSet(bool on) {
  if (value() == on) return;
  value = on;
  Fire(OnClick, "Click");
}

void CheckBox::KeepDesign() {
  Control::KeepDesign();
  designValue_ = value();
}

void CheckBox::RestoreDesign() {
  Control::RestoreDesign();
  value = designValue_;
}

// ---- OptionButton

OptionButton::OptionButton(orlinths::Dialog& dialog, std::string controlName, std::string label,
                           Check check, State state)
    : Control(dialog, std::move(controlName), std::move(label), state),
      value(*this, check == Checked) {}

bool OptionButton::SharesGroupWith(const OptionButton& other) const {
  return group.empty() && other.group.empty() ? frame == other.frame : group == other.group;
}

void OptionButton::Changed() {
  Control::Changed();
  if (!value()) return;
  for (const auto& control : Dialog().Controls()) {
    auto* option = dynamic_cast<OptionButton*>(control.get());
    if (option != nullptr && option != this && SharesGroupWith(*option)) option->value = false;
  }
}

void OptionButton::UserChoose() {
  if (value()) return;
  Choose();
  Fire(OnClick, "Click");
}

void OptionButton::KeepDesign() {
  Control::KeepDesign();
  designValue_ = value();
}

void OptionButton::RestoreDesign() {
  value = designValue_;
  Control::RestoreDesign();
}

// ---- ProgressBar

ProgressBar::ProgressBar(orlinths::Dialog& dialog, std::string controlName)
    : Control(dialog, std::move(controlName), "") {}

void ProgressBar::SetValue(double value) {
  value_ = static_cast<float>(value);
  if (throttle_.Due() || value_ >= max) Changed();
}

void ProgressBar::KeepDesign() {
  Control::KeepDesign();
  designMin_ = min;
  designMax_ = max;
}

void ProgressBar::RestoreDesign() {
  Control::RestoreDesign();
  min = designMin_;
  max = designMax_;
  value_ = min;
  throttle_.Restart();
}

// ---- UpDown

UpDown::UpDown(orlinths::Dialog& dialog, std::string controlName, int least, int greatest,
               int start)
    : Control(dialog, std::move(controlName), ""),
      min(least),
      max(greatest),
      value(*this, start),
      design_{},
      written_(start) {}

void UpDown::Changed() {
  if (value() != written_) {
    written_ = std::clamp(value(), min, max);
    value = written_;
    if (buddy != nullptr) buddy->text = ToText(written_);
  }
  Control::Changed();
}

bool UpDown::UserSet(int newValue) {
  if (newValue < min || newValue > max) return false;
  if (newValue == value()) return true;
  value = newValue;
  if (buddy != nullptr && buddy->OnChange) Fire(buddy->OnChange, "Change");
  Fire(OnChange, "Change");
  return true;
}

void UpDown::KeepDesign() {
  Control::KeepDesign();
  design_ = {min, max, value()};
}

void UpDown::RestoreDesign() {
  min = design_.min;
  max = design_.max;
  written_ = design_.value;  // the box goes back to its own design
  value = design_.value;
  Control::RestoreDesign();
}

// ---- MonthView

MonthView::MonthView(orlinths::Dialog& dialog, std::string controlName)
    : Control(dialog, std::move(controlName), ""), value(*this, Date{}) {}

void MonthView::UserPick(Date date) {
  value = date;
  Fire(OnDateClick, "DateClick");
}

}  // namespace orlinths
