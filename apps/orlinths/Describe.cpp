#include "orlinths/Describe.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "session/ControlText.h"
#include "session/Words.h"

namespace orlinths {
namespace {

bool HasOwnDialog(const CommandInfo& command) { return *command.dialog != '\0'; }

std::string MenuText(const std::vector<std::string>& menu) {
  std::string text;
  for (const std::string& caption : menu) text += (text.empty() ? "" : " > ") + caption;
  return text.empty() ? "(in no menu)" : text;
}

const CommandPlace& PlaceOf(const CommandInfo& command) {
  static const std::vector<CommandPlace> kPlaces = CommandsInMenuOrder();
  return *std::find_if(kPlaces.begin(), kPlaces.end(),
                       [&](const CommandPlace& place) { return place.command == &command; });
}

/// What a control could be set to in an example, if a call has to name it.
std::string ExampleArgument(const Control& control) {
  switch (control.Kind()) {
    case ControlKind::kCombo: {
      const auto& combo = static_cast<const ComboBox&>(control);
      const auto& items = combo.Items();
      if (!combo.enabled() || !combo.text().empty()) return {};
      return combo.name + "=" + (items.empty() ? "\"...\"" : Quoted(items.front()));
    }
    case ControlKind::kText: {
      const auto& box = static_cast<const TextBox&>(control);
      if (box.picker == nullptr || !box.enabled()) return {};
      return box.name + (box.picks == Picks::kSpatialReference ? "=EPSG:4326" : "=PATH");
    }
    case ControlKind::kList:
      return control.enabled() ? control.name + "=\"*\"" : "";
    default:
      return {};
  }
}

std::string ExampleCall(const CommandInfo& command, const Dialog* dialog) {
  std::string call = std::string("orlinths run ") + command.className;
  if (dialog == nullptr) return call;
  std::string arguments;
  for (const auto& control : dialog->Controls())
    if (const std::string argument = ExampleArgument(*control);
        control->visible() && !argument.empty())
      arguments += " " + argument;
  return call + (arguments.empty() ? "" : " INPUT..." + arguments);
}

}  // namespace

const CommandInfo& CommandNamed(const std::string& className) {
  if (const CommandInfo* command = FindCommand(className)) return *command;
  std::vector<std::string> classes;
  for (const CommandInfo& command : AllCommands()) classes.push_back(command.className);
  WrongCall("there is no tool " + Quoted(className) +
            "; the nearest: " + Listed(Nearest(className, classes)));
}

const CommandInfo& AvailableCommandNamed(const std::string& className) {
  const CommandInfo& command = CommandNamed(className);
  if (!IsAvailable(command)) WrongCall(std::string(command.className) + " is not available yet");
  return command;
}

Json ListJson() {
  Json list = Json::array();
  for (const CommandPlace& place : CommandsInMenuOrder()) {
    const CommandInfo& command = *place.command;
    list.push_back({{"class", command.className},
                    {"progid", ProgId(command.className)},
                    {"name", command.name},
                    {"caption", command.caption},
                    {"tooltip", command.tooltip},
                    {"message", command.message},
                    {"menu", place.menu},
                    {"dialog", command.dialog},
                    {"available", IsAvailable(command)}});
  }
  return list;
}

std::string ListTable() {
  std::string table, menu;
  for (const CommandPlace& place : CommandsInMenuOrder()) {
    if (const std::string here = MenuText(place.menu); here != menu) {
      table += (menu.empty() ? "" : "\n") + here + '\n';
      menu = here;
    }
    std::string name = place.command->className;
    constexpr std::size_t kNameWidth = 24;
    name.resize(std::max(name.size() + 1, kNameWidth), ' ');
    table += "  " + name + place.command->caption +
             (IsAvailable(*place.command) ? "" : "  (not available yet)") + '\n';
  }
  return table;
}

Json DescriptionJson(const CommandInfo& command) {
  Json json = {{"class", command.className}, {"dialog", nullptr}, {"controls", Json::array()}};
  if (!HasOwnDialog(command)) return json;
  const auto dialog = NewDialog(command.dialog);
  json["dialog"] = {
      {"name", dialog->Name()}, {"caption", dialog->caption}, {"help", dialog->HelpTag()}};
  json["controls"] = ControlsJson(*dialog, true);
  return json;
}

std::string DescriptionTable(const CommandInfo& command) {
  if (!HasOwnDialog(command))
    return std::string(command.className) + " opens no dialog: it acts on the map's view.\n";
  const auto dialog = NewDialog(command.dialog);
  return dialog->Name() + ": " + dialog->caption + "\n\n" + ControlsTable(*dialog);
}

std::string HelpPage(const CommandInfo& command) {
  const std::string caption = command.caption;
  const std::string message = command.message;
  std::string page = std::string(command.className) + ": " + caption + '\n';
  if (message != caption) page += message + '\n';
  page += "Menu: " + MenuText(PlaceOf(command).menu) + "\n\n";
  std::unique_ptr<Dialog> dialog;
  if (HasOwnDialog(command)) dialog = NewDialog(command.dialog);
  page += DescriptionTable(command);
  page += "\nExample:\n  " + ExampleCall(command, dialog.get()) + '\n';
  if (dialog)
    page +=
        "\nINPUT is a layer or table for the map. See \"orlinths --help\" for the options of a "
        "run.\n";
  return page;
}

}  // namespace orlinths
