#include "session/SessionFile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <system_error>
#include <utility>

#include "host/Commands.h"
#include "session/ClockText.h"
#include "session/Json.h"
#include "session/UserHand.h"
#include "session/Words.h"
#include "runtime/Files.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

std::string Ordinal(const char* what, std::size_t index) {
  return std::string(what) + ' ' + ToText(static_cast<std::int64_t>(index + 1));
}

/// One object of the file: its members are taken by name, and a member that nobody took is wrong.
class Members {
 public:
  Members(const Json& object, std::string place, std::string expected)
      : object_(object), place_(std::move(place)), expected_(std::move(expected)) {
    if (!object.is_object()) Wrong("must be an object with " + expected_);
  }

  bool Has(const char* name) const { return object_.contains(name); }
  /// The member, or nothing when it is not there.
  const Json* Take(const char* name) {
    taken_.push_back(name);
    const auto found = object_.find(name);
    return found == object_.end() ? nullptr : &*found;
  }
  const Json& Need(const char* name) {
    const Json* member = Take(name);
    if (member == nullptr) Wrong(Quoted(name) + " is missing");
    return *member;
  }

  std::string Text(const char* name) {
    const Json* member = Take(name);
    return member == nullptr ? std::string() : TextOf(*member, name);
  }
  std::string NeedText(const char* name) {
    const std::string text = TextOf(Need(name), name);
    if (text.empty()) Wrong(Quoted(name) + " must not be empty");
    return text;
  }
  std::int64_t Whole(const char* name, std::int64_t otherwise, std::int64_t low,
                     std::int64_t high) {
    const Json* member = Take(name);
    return member == nullptr ? otherwise : WholeOf(*member, name, low, high);
  }
  /// An array; an empty one when the member is not there.
  const Json& Array(const char* name) {
    static const Json kNone = Json::array();
    const Json* member = Take(name);
    if (member == nullptr) return kNone;
    if (!member->is_array()) Wrong(Quoted(name) + " must be an array");
    return *member;
  }
  std::vector<Oid> Oids(const char* name) {
    std::vector<Oid> oids;
    for (const Json& oid : Array(name))
      oids.push_back(WholeOf(oid, name, 0, std::numeric_limits<Oid>::max()));
    return oids;
  }

  std::string TextOf(const Json& member, const char* name) const {
    if (!member.is_string()) Wrong(Quoted(name) + " must be a text");
    return member.get<std::string>();
  }
  void NothingElse() const {
    for (const auto& [name, value] : object_.items())
      if (name != "comment" && std::find(taken_.begin(), taken_.end(), name) == taken_.end())
        Wrong("does not know " + Quoted(name) + "; it has " + expected_);
  }
  [[noreturn]] void Wrong(const std::string& what) const { WrongCall(place_ + ": " + what); }

 private:
  std::int64_t WholeOf(const Json& member, const char* name, std::int64_t low,
                       std::int64_t high) const {
    bool isWhole = member.is_number_integer();
    if (member.is_number_unsigned())
      isWhole = member.get<std::uint64_t>() <= static_cast<std::uint64_t>(high);
    if (!isWhole || member.get<std::int64_t>() < low || member.get<std::int64_t>() > high)
      Wrong(Quoted(name) + " must be a whole number" +
            (low == 0 ? std::string(" from 0 on") : " of 32 bits"));
    return member.get<std::int64_t>();
  }

  const Json& object_;
  std::string place_;
  std::string expected_;
  std::vector<std::string> taken_;
};

/// Where a file's paths start, and how they were written.
struct Paths {
  const std::string& folder;
  WrittenPaths& written;
};

std::string TakePath(Members& members, const char* name, const Paths& paths) {
  const std::string path = members.NeedText(name);
  if (path.find('\0') != path.npos) members.Wrong(Quoted(name) + " is no path");
  const std::string absolute = AbsolutePath(path, paths.folder);
  paths.written.Add(absolute, path);
  return absolute;
}

std::vector<LayerEntry> ReadLayers(const Json& entries, const std::string& place,
                                   const Paths& paths);

std::string TakeLayerPath(Members& members, const Paths& paths) {
  const std::string path = members.NeedText("path");
  return IsHostPath(path) ? path : TakePath(members, "path", paths);
}

LayerEntry ReadLayer(const Json& json, const std::string& place, const Paths& paths) {
  if (json.is_object() && json.contains("group")) {
    Members members(json, place, "\"group\" and \"layers\"");
    LayerEntry group;
    group.name = members.TextOf(members.Need("group"), "group");
    group.layers = ReadLayers(members.Array("layers"), place + ", layer", paths);
    members.NothingElse();
    return group;
  }
  Members members(json, place, "\"path\", \"name\", \"where\" and \"selection\"");
  LayerEntry layer;
  layer.path = TakeLayerPath(members, paths);
  layer.name = members.Text("name");
  layer.where = members.Text("where");
  if (members.Has("selection")) layer.selection = members.Oids("selection");
  members.NothingElse();
  return layer;
}

std::vector<LayerEntry> ReadLayers(const Json& entries, const std::string& place,
                                   const Paths& paths) {
  std::vector<LayerEntry> layers;
  for (std::size_t i = 0; i < entries.size(); ++i)
    layers.push_back(ReadLayer(entries[i], Ordinal(place.c_str(), i), paths));
  return layers;
}

MapContents ReadMap(const Json& json, const Paths& paths) {
  Members members(json, "map", "\"spatialReference\", \"layers\" and \"tables\"");
  MapContents map;
  map.spatialReference = members.Text("spatialReference");
  map.layers = ReadLayers(members.Array("layers"), "layer", paths);
  const Json& tables = members.Array("tables");
  for (std::size_t i = 0; i < tables.size(); ++i) {
    Members table(tables[i], Ordinal("table", i), "\"path\" and \"name\"");
    LayerEntry entry;
    entry.path = TakeLayerPath(table, paths);
    entry.name = table.Text("name");
    table.NothingElse();
    map.tables.push_back(std::move(entry));
  }
  members.NothingElse();
  return map;
}

ReplyRule ReadReply(const Json& json, std::size_t index) {
  Members members(json, Ordinal("reply", index), "\"text\" and \"reply\"");
  ReplyRule rule;
  rule.pattern = members.TextOf(members.Need("text"), "text");
  const std::string reply = members.TextOf(members.Need("reply"), "reply");
  if (reply != "yes" && reply != "no") members.Wrong("\"reply\" must be \"yes\" or \"no\"");
  rule.yes = reply == "yes";
  if (const Json* once = members.Take("once")) {
    if (!once->is_boolean()) members.Wrong("\"once\" must be true or false");
    rule.once = once->get<bool>();
  }
  members.NothingElse();
  return rule;
}

SetValue ReadValue(const Json& json, const Members& members) {
  const auto scalar = [&](const Json& value) -> std::string {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number_unsigned() || value.is_number_integer()) {
      const double number = value.get<double>();
      constexpr double kExact = 9007199254740992.0;
      if (std::abs(number) <= kExact) return ToText(value.get<std::int64_t>());
      return ToText(number);
    }
    if (value.is_number()) return ToText(value.get<double>());
    members.Wrong("\"to\" must be a text, a number, true, false or an array of texts");
  };
  if (json.is_boolean()) return json.get<bool>();
  if (!json.is_array()) return scalar(json);
  std::vector<std::string> items;
  for (const Json& item : json) items.push_back(scalar(item));
  return items;
}

steps::Mouse ReadMouse(Members& members) {
  static const std::vector<std::pair<std::string, steps::MouseAction>> kActions = {
      {"down", steps::MouseAction::kDown},
      {"move", steps::MouseAction::kMove},
      {"up", steps::MouseAction::kUp},
      {"double", steps::MouseAction::kDouble}};
  constexpr std::int64_t kLow = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t kHigh = std::numeric_limits<std::int32_t>::max();
  const std::string action = members.NeedText("mouse");
  steps::Mouse mouse;
  const auto found = std::find_if(kActions.begin(), kActions.end(),
                                  [&](const auto& known) { return known.first == action; });
  if (found == kActions.end())
    members.Wrong("\"mouse\" must be \"down\", \"move\", \"up\" or \"double\"");
  mouse.action = found->second;
  mouse.button = static_cast<int>(members.Whole("button", 1, kLow, kHigh));
  mouse.shift = static_cast<int>(members.Whole("shift", 0, kLow, kHigh));
  members.Need("x");
  members.Need("y");
  mouse.x = static_cast<int>(members.Whole("x", 0, kLow, kHigh));
  mouse.y = static_cast<int>(members.Whole("y", 0, kLow, kHigh));
  return mouse;
}

/// Steps in their order. What the choices of the clicked tool's dialog give is known from its
/// controls: a spatial reference is not taken for a path.
class StepReader {
 public:
  explicit StepReader(const Paths& paths) : paths_(paths) {}
  Step Read(const Json& json, std::size_t index);

 private:
  void Clicked(const std::string& className) {
    const CommandInfo* command = FindCommand(className);
    const bool hasDialog = command != nullptr && HasDialog(command->dialog);
    dialog_ = hasDialog ? NewDialog(command->dialog) : nullptr;
  }
  steps::Pick ReadPick(Members& members, const std::string& button) const {
    if (members.Need("pick").is_null()) return {};
    const Control* control = dialog_ ? dialog_->FindControl(button) : nullptr;
    const TextBox* box = control != nullptr ? BoxFilledBy(*dialog_, *control) : nullptr;
    steps::Pick pick{members.NeedText("pick"), paths_.folder,
                     box != nullptr && box->picks == Picks::kSpatialReference};
    if (!pick.isReference) TakePath(members, "pick", paths_);
    return pick;
  }

  const Paths& paths_;
  std::unique_ptr<Dialog> dialog_;
};

Step StepReader::Read(const Json& json, std::size_t index) {
  Members members(json, Ordinal("step", index),
                  "one of \"click\", \"set\", \"press\", \"show\", \"select\" and \"mouse\"");
  Step step;
  step.number = static_cast<int>(index + 1);
  if (members.Has("click")) {
    step.what = steps::Click{members.NeedText("click")};
    Clicked(std::get<steps::Click>(step.what).className);
  } else if (members.Has("set")) {
    const std::string control = members.NeedText("set");
    step.what = steps::Set{control, ReadValue(members.Need("to"), members)};
  } else if (members.Has("press")) {
    steps::Press press{members.NeedText("press"), {}};
    if (members.Has("pick")) press.pick = ReadPick(members, press.control);
    step.what = std::move(press);
  } else if (members.Has("show")) {
    if (members.NeedText("show") != "controls") members.Wrong("\"show\" must be \"controls\"");
    step.what = steps::Show{};
  } else if (members.Has("select")) {
    const std::string layer = members.NeedText("select");
    members.Need("oids");
    step.what = steps::Select{layer, members.Oids("oids")};
  } else if (members.Has("mouse")) {
    step.what = ReadMouse(members);
  } else {
    members.Wrong(
        "must have one of \"click\", \"set\", \"press\", \"show\", \"select\" and \"mouse\"");
  }
  members.NothingElse();
  return step;
}

/// Writing: the members in the order of the documentation, and those left out that say nothing.
Json LayerJson(const LayerEntry& layer, const std::string& folder) {
  Json json = Json::object();
  if (layer.IsGroup()) {
    json["group"] = layer.name;
    json["layers"] = Json::array();
    for (const LayerEntry& inner : layer.layers) json["layers"].push_back(LayerJson(inner, folder));
    return json;
  }
  if (!layer.name.empty()) json["name"] = layer.name;
  json["path"] = IsHostPath(layer.path) ? layer.path : RelativePath(layer.path, folder);
  if (!layer.where.empty()) json["where"] = layer.where;
  if (layer.selection) json["selection"] = *layer.selection;
  return json;
}

Json MapJson(const MapContents& map, const std::string& folder) {
  Json json = Json::object();
  if (!map.spatialReference.empty()) json["spatialReference"] = map.spatialReference;
  json["layers"] = Json::array();
  for (const LayerEntry& layer : map.layers) json["layers"].push_back(LayerJson(layer, folder));
  if (!map.tables.empty()) {
    json["tables"] = Json::array();
    for (const LayerEntry& table : map.tables) json["tables"].push_back(LayerJson(table, folder));
  }
  return json;
}

struct StepWriter {
  const std::string& folder;

  Json operator()(const steps::Click& click) const { return {{"click", click.className}}; }
  Json operator()(const steps::Set& set) const {
    Json json = {{"set", set.control}};
    std::visit([&](const auto& to) { json["to"] = to; }, set.to);
    return json;
  }
  Json operator()(const steps::Press& press) const {
    Json json = {{"press", press.control}};
    if (!press.pick) return json;
    const steps::Pick& pick = *press.pick;
    if (!pick.text)
      json["pick"] = nullptr;
    else
      json["pick"] = pick.isReference ? *pick.text : RelativePath(pick.Path(), folder);
    return json;
  }
  Json operator()(const steps::Show&) const { return {{"show", "controls"}}; }
  Json operator()(const steps::Select& select) const {
    return {{"select", select.layer}, {"oids", select.oids}};
  }
  Json operator()(const steps::Mouse& mouse) const {
    static const char* const kActions[] = {"down", "move", "up", "double"};
    Json json = {{"mouse", kActions[static_cast<int>(mouse.action)]}, {"button", mouse.button}};
    if (mouse.shift != 0) json["shift"] = mouse.shift;
    json["x"] = mouse.x;
    json["y"] = mouse.y;
    return json;
  }
};

/// "name": [ ... ] with one element a line.
std::string Block(const std::string& name, const std::vector<std::string>& elements) {
  std::string text = "  " + Quoted(name) + ": [";
  for (std::size_t i = 0; i < elements.size(); ++i)
    text += (i == 0 ? "\n    " : ",\n    ") + elements[i];
  return text + (elements.empty() ? "]" : "\n  ]");
}

}  // namespace

Session ParseSession(const std::string& text, const std::string& folder, WrittenPaths& written) {
  const Paths paths{folder, written};
  const Json json = ParseJson(text);
  Members members(json, "session", "\"clock\", \"map\", \"replies\" and \"steps\"");
  Session session;
  if (members.Has("clock")) {
    const std::string clock = members.NeedText("clock");
    session.clock = ParseClock(clock);
    if (!session.clock)
      members.Wrong("the clock " + Quoted(clock) + " is no time such as 2026-03-01T12:00:00");
  }
  if (const Json* map = members.Take("map")) session.map = ReadMap(*map, paths);
  const Json& replies = members.Array("replies");
  for (std::size_t i = 0; i < replies.size(); ++i)
    session.replies.push_back(ReadReply(replies[i], i));
  const Json& stepList = members.Array("steps");
  StepReader reader(paths);
  for (std::size_t i = 0; i < stepList.size(); ++i)
    session.steps.push_back(reader.Read(stepList[i], i));
  members.NothingElse();
  return session;
}

Session ReadSession(const std::string& path, WrittenPaths& written) {
  Session session;
  const auto failure = FailureOf([&] {
    TextReader reader(path);
    std::string text;
    while (!reader.AtEndOfStream()) text += reader.ReadLine() + '\n';
    session = ParseSession(text, FolderOf(AbsolutePath(path, CurrentFolder())), written);
  });
  if (failure) WrongCall(path + ": " + failure->Description());
  return session;
}

std::string SessionText(const Session& session, const std::string& folder) {
  std::vector<std::string> replies, stepLines;
  for (const ReplyRule& rule : session.replies) {
    Json json = {{"text", rule.pattern}, {"reply", rule.yes ? "yes" : "no"}};
    if (rule.once) json["once"] = true;
    replies.push_back(ToLine(json));
  }
  for (const Step& step : session.steps)
    stepLines.push_back(ToLine(std::visit(StepWriter{folder}, step.what)));
  std::string text = "{\n";
  if (session.clock) text += "  \"clock\": " + Quoted(ClockText(*session.clock)) + ",\n";
  text += "  \"map\": " + ToLine(MapJson(session.map, folder)) + ",\n";
  if (!replies.empty()) text += Block("replies", replies) + ",\n";
  return text + Block("steps", stepLines) + "\n}\n";
}

void WriteSession(const Session& session, const std::string& path) {
  const std::string absolute = AbsolutePath(path, CurrentFolder());
  // A link stays a link: what it leads to is replaced.
  std::error_code isNotThere;
  const std::filesystem::path real = std::filesystem::canonical(absolute, isNotThere);
  const std::string target = isNotThere ? absolute : real.string();
  const std::string beside = target + ".new";
  OutputFile file(beside, OutputFile::Mode::kReplace);
  file.Write(SessionText(session, FolderOf(absolute)));
  file.Sync();
  file.Close();
  const auto failure = FailureOf([&] { files::ReplaceFile(beside, target); });
  if (!failure) return;
  Quietly([&] { files::DeleteFile(beside); });
  throw *failure;
}

}  // namespace orlinths
