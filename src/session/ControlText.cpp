#include "session/ControlText.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

#include "session/UserHand.h"
#include "session/Words.h"
#include "runtime/Files.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

/// A single as the shortest decimal that names it, so that 0.1 does not come out as
/// 0.100000001490116.
Json Number(float value) {
  const double number = ToDouble(std::string_view(ToText(value)));
  constexpr double kWhole = 1e9;
  if (number == std::trunc(number) && std::abs(number) < kWhole)
    return static_cast<std::int64_t>(number);
  return number;
}

struct Shown {
  Json value;  ///< null for a button
  const std::vector<std::string>* items = nullptr;
};

Shown ShownBy(const Control& control) {
  switch (control.Kind()) {
    case ControlKind::kButton:
      return {};
    case ControlKind::kText:
      return {static_cast<const TextBox&>(control).text()};
    case ControlKind::kCombo: {
      const auto& combo = static_cast<const ComboBox&>(control);
      return {combo.text(), &combo.Items()};
    }
    case ControlKind::kList: {
      const auto& list = static_cast<const ListBox&>(control);
      return {list.SelectedItems(), &list.Items()};
    }
    case ControlKind::kCheck:
      return {static_cast<const CheckBox&>(control).value()};
    case ControlKind::kOption:
      return {static_cast<const OptionButton&>(control).value()};
    case ControlKind::kLabel:
      return {control.caption()};
    case ControlKind::kProgress:
      return {Number(static_cast<const ProgressBar&>(control).Value())};
    case ControlKind::kUpDown:
      return {static_cast<const UpDown&>(control).value()};
    case ControlKind::kCalendar:
      return {ToText(static_cast<const MonthView&>(control).value())};
  }
  return {};
}

const Button* PickerOf(const Control& control) {
  if (control.Kind() != ControlKind::kText) return nullptr;
  return static_cast<const TextBox&>(control).picker;
}

std::string ValueText(const Control& control) {
  if (control.Kind() == ControlKind::kLabel) return {};  // its label says it
  const Json value = ShownBy(control).value;
  if (value.is_null()) return {};
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_string()) return value.get<std::string>();
  if (!value.is_array()) return value.dump();
  std::string text;
  for (const Json& item : value) text += (text.empty() ? "" : "|") + item.get<std::string>();
  return text;
}

std::string Remarks(const Control& control) {
  std::vector<std::string> remarks;
  if (const auto* items = ShownBy(control).items; items != nullptr && !items->empty())
    remarks.push_back("one of: " + Listed(*items));
  if (const Button* picker = PickerOf(control))
    remarks.push_back((static_cast<const TextBox&>(control).picks == Picks::kSpatialReference
                           ? "a spatial reference such as EPSG:4326, through "
                           : "a path, through ") +
                      picker->name);
  if (control.Kind() == ControlKind::kUpDown) {
    const auto& spinner = static_cast<const UpDown&>(control);
    remarks.push_back(ToText(spinner.min) + " to " + ToText(spinner.max));
  }
  if (!control.enabled()) remarks.push_back("disabled");
  if (!control.visible()) remarks.push_back("hidden");
  std::string text;
  for (const std::string& remark : remarks) text += (text.empty() ? "" : "; ") + remark;
  return text;
}

/// Columns are padded by characters, not by bytes.
std::size_t Width(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string OneLine(std::string text) {
  for (char& c : text)
    if (c == '\r' || c == '\n') c = ' ';
  return text;
}

/// A long text by its beginning.
std::string Shortened(std::string text) {
  constexpr std::size_t kMost = 60;
  if (Width(text) <= kMost) return text;
  std::size_t end = kMost - 3;
  while ((static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end) + "...";
}

}  // namespace

Json ControlsJson(const Dialog& dialog, bool withPickers) {
  Json controls = Json::array();
  for (const auto& control : dialog.Controls()) {
    Json json = {{"name", control->name},
                 {"kind", KindName(control->Kind())},
                 {"label", control->caption()}};
    Shown shown = ShownBy(*control);
    if (!shown.value.is_null()) json["value"] = std::move(shown.value);
    if (shown.items != nullptr) json["items"] = *shown.items;
    json["enabled"] = control->enabled();
    json["visible"] = control->visible();
    if (const Button* picker = PickerOf(*control); withPickers && picker != nullptr)
      json["picker"] = picker->name;
    controls.push_back(std::move(json));
  }
  controls.push_back({{"name", dialog.Name()},
                      {"kind", KindName(ControlKind::kLabel)},
                      {"label", dialog.caption},
                      {"value", dialog.caption},
                      {"enabled", dialog.IsEnabled()},
                      {"visible", dialog.IsVisible()}});
  return controls;
}

std::string ControlsTable(const Dialog& dialog) {
  constexpr std::size_t kColumns = 4;
  constexpr std::size_t kWidest = 44;
  std::vector<std::vector<std::string>> rows = {{"NAME", "KIND", "LABEL", "VALUE", ""}};
  for (const auto& control : dialog.Controls())
    rows.push_back({control->name, KindName(control->Kind()), OneLine(control->caption()),
                    Shortened(OneLine(ValueText(*control))), OneLine(Remarks(*control))});
  std::size_t widths[kColumns] = {};
  for (const auto& row : rows)
    for (std::size_t c = 0; c < kColumns; ++c)
      widths[c] = std::max(widths[c], std::min(Width(row[c]), kWidest));
  std::string table;
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t c = 0; c < kColumns; ++c) {
      const std::size_t width = Width(row[c]);
      line += row[c] + std::string(width < widths[c] ? widths[c] - width : 0, ' ') + "  ";
    }
    line += row[kColumns];
    line.erase(line.find_last_not_of(' ') + 1);
    table += line + '\n';
  }
  return table;
}

std::string ReportText(const Dialog& dialog) {
  std::set<std::string> boxLabels;
  for (const auto& control : dialog.Controls())
    if (control->Kind() == ControlKind::kText) boxLabels.insert(control->caption());
  std::string text;
  for (const auto& control : dialog.Controls()) {
    const bool isLabel = control->Kind() == ControlKind::kLabel;
    // A label beside a box is the box's own label, too.
    if (!control->visible() || (isLabel && boxLabels.contains(control->caption()))) continue;
    if (isLabel) text += WithLineBreaks(control->caption());
    if (control->Kind() == ControlKind::kText) {
      if (!control->caption().empty()) text += control->caption() + ' ';
      text += WithLineBreaks(static_cast<const TextBox&>(*control).text());
    }
    if (!text.empty() && text.back() != '\n') text += '\n';
  }
  return text;
}

std::string AnswerText(const Dialog& dialog) {
  std::string text;
  for (const auto& control : dialog.Controls()) {
    const auto* box = dynamic_cast<const TextBox*>(control.get());
    if (box == nullptr || !box->readOnly || !box->visible() || box->picker != nullptr ||
        EqualNoCase(box->name, "txtStatus"))
      continue;
    text += WithLineBreaks(box->text());
    if (!text.empty() && text.back() != '\n') text += '\n';
  }
  return text;
}

bool IsOnlyRead(const Dialog& dialog) {
  return dialog.IsReport() || dialog.MainButton() == nullptr ||
         dialog.MainButton() == ExitButton(dialog);
}

std::string WithLineBreaks(const std::string& text) {
  std::string lines;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isPair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
    if (!isPair) lines += text[i] == '\r' ? '\n' : text[i];
  }
  return lines;
}

}  // namespace orlinths
