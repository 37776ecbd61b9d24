#include "session/UserHand.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "session/Words.h"
#include "runtime/Files.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

/// The value as one text; nothing for on, off and lists.
const std::string* AsText(const SetValue& to) { return std::get_if<std::string>(&to); }

std::optional<bool> AsFlag(const SetValue& to) {
  if (const bool* flag = std::get_if<bool>(&to)) return *flag;
  if (const std::string* text = AsText(to)) return YesOrNo(*text);
  return {};
}

std::string LacksItem(const Control& control, const std::string& item,
                      const std::vector<std::string>& items) {
  return control.name + " has no item " + Quoted(item) + "; it has: " + Listed(items);
}

std::string SetText(TextBox& box, const SetValue& to) {
  const std::string* text = AsText(to);
  if (text == nullptr) return box.name + " takes a text";
  if (box.readOnly)
    return box.name + " is read only" +
           (box.picker == nullptr ? "" : ": it is filled through " + box.picker->name);
  box.UserSetText(*text);
  return {};
}

std::string SetCombo(ComboBox& combo, const SetValue& to) {
  const std::string* item = AsText(to);
  if (item == nullptr) return combo.name + " takes one of its items: " + Listed(combo.Items());
  return combo.UserChoose(*item) ? "" : LacksItem(combo, *item, combo.Items());
}

std::string SetList(ListBox& list, const SetValue& to) {
  std::vector<std::string> wanted;
  if (const auto* items = std::get_if<std::vector<std::string>>(&to))
    wanted = *items;
  else if (const std::string* item = AsText(to))
    wanted = {*item};
  else
    return list.name + " takes items: " + Listed(list.Items());
  if (list.UserSelect(wanted)) return {};
  std::vector<std::string> left = list.Items();
  for (const std::string& item : wanted) {
    const auto found = std::find(left.begin(), left.end(), item);
    if (found == left.end()) return LacksItem(list, item, list.Items());
    left.erase(found);
  }
  return list.name + " takes one item";
}

std::string SetOption(OptionButton& option, const SetValue& to) {
  const auto on = AsFlag(to);
  if (!on) return option.name + " takes yes";
  if (!*on && option.value())
    return option.name + " is the chosen option: choose another one instead of clearing it";
  if (*on) option.UserChoose();
  return {};
}

std::string SetCheck(CheckBox& box, const SetValue& to) {
  const auto on = AsFlag(to);
  if (!on) return box.name + " takes yes or no";
  box.UserSet(*on);
  return {};
}

std::string SetSpinner(UpDown& spinner, const SetValue& to) {
  const std::string range = spinner.name + " takes a whole number from " + ToText(spinner.min) +
                            " to " + ToText(spinner.max);
  const std::string* text = AsText(to);
  if (text == nullptr || !IsNumeric(std::string_view(*text))) return range;
  const double number = ToDouble(std::string_view(*text));
  const bool isWhole = number == Int(number) && number >= std::numeric_limits<int>::min() &&
                       number <= std::numeric_limits<int>::max();
  return isWhole && spinner.UserSet(static_cast<int>(number)) ? "" : range;
}

std::string SetCalendar(MonthView& calendar, const SetValue& to) {
  const std::string* text = AsText(to);
  const auto date = text == nullptr ? std::nullopt : Date::Parse(*text);
  if (!date) return calendar.name + " takes a date such as 2026-03-01";
  calendar.UserPick(*date);
  return {};
}

}  // namespace

Control* ReachableControl(const Dialog& dialog, const std::string& name, std::string& wrong) {
  Control* control = dialog.FindControl(name);
  if (control == nullptr) {
    std::vector<std::string> names;
    for (const auto& known : dialog.Controls()) names.push_back(known->name);
    wrong = dialog.Name() + " has no control " + Quoted(name) + "; it has: " + Listed(names);
  } else if (!dialog.IsEnabled()) {
    wrong = dialog.Name() + " is disabled";
  } else if (!control->visible()) {
    wrong = control->name + " is not visible";
  } else if (!control->enabled()) {
    wrong = control->name + " is disabled";
  }
  return wrong.empty() ? control : nullptr;
}

std::string SetByHand(const Dialog& dialog, const std::string& name, const SetValue& to) {
  std::string wrong;
  Control* control = ReachableControl(dialog, name, wrong);
  if (control == nullptr) return wrong;
  switch (control->Kind()) {
    case ControlKind::kText:
      return SetText(static_cast<TextBox&>(*control), to);
    case ControlKind::kCombo:
      return SetCombo(static_cast<ComboBox&>(*control), to);
    case ControlKind::kList:
      return SetList(static_cast<ListBox&>(*control), to);
    case ControlKind::kCheck:
      return SetCheck(static_cast<CheckBox&>(*control), to);
    case ControlKind::kOption:
      return SetOption(static_cast<OptionButton&>(*control), to);
    case ControlKind::kUpDown:
      return SetSpinner(static_cast<UpDown&>(*control), to);
    case ControlKind::kCalendar:
      return SetCalendar(static_cast<MonthView&>(*control), to);
    case ControlKind::kButton:
      return control->name + " is a button: press it";
    case ControlKind::kLabel:
    case ControlKind::kProgress:
      break;
  }
  return control->name + " only shows something: it cannot be set";
}

Button* ExitButton(const Dialog& dialog) {
  for (const char* name : {"btnExit", "cmdExit"})
    if (auto* button = dynamic_cast<Button*>(dialog.FindControl(name))) return button;
  return nullptr;
}

const TextBox* BoxFilledBy(const Dialog& dialog, const Control& button) {
  for (const auto& control : dialog.Controls()) {
    const auto* box = dynamic_cast<const TextBox*>(control.get());
    if (box != nullptr && box->picker == &button) return box;
  }
  return nullptr;
}

std::optional<bool> YesOrNo(const std::string& word) {
  const std::string plain = LowerCase(word);
  if (plain == "yes" || plain == "true" || plain == "1") return true;
  if (plain == "no" || plain == "false" || plain == "0") return false;
  return {};
}

}  // namespace orlinths
