#include "orlinths/CommandLine.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <utility>

#include "orlinths/Describe.h"
#include "session/MapBuilder.h"
#include "orlinths/Options.h"
#include "orlinths/RunPlan.h"
#include "session/SessionFile.h"
#include "session/SessionPlayer.h"
#include "session/UserHand.h"
#include "session/Words.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

using Command = Options::Command;

// ---- What stands on the command line of `run`

bool IsName(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '_' || c == '.';
  });
}

/// Inputs and assignments, told apart by the controls that the dialogs have.
class Arguments {
 public:
  explicit Arguments(const CommandInfo& tool) : tool_(tool) {
    if (*tool.dialog != '\0') dialog_ = NewDialog(tool.dialog);
  }

  void Take(const std::string& argument) {
    const auto sign = argument.find('=');
    const std::string name = argument.substr(0, sign);
    if (sign == argument.npos || !IsName(name) || files::FileExists(argument))
      return TakeInput("", argument, "");
    const std::string value = argument.substr(sign + 1);
    const auto point = name.find('.');
    if (dialog_ && dialog_->FindControl(name) != nullptr) {
      TakeAssignment(*dialog_, name, value);
    } else if (point != name.npos && HasDialog(name.substr(0, point))) {
      const auto other = NewDialog(name.substr(0, point));
      if (other->FindControl(name.substr(point + 1)) == nullptr)
        WrongCall(other->Name() + " has no control " + Quoted(name.substr(point + 1)) +
                  "; it has: " + Listed(ControlNames(*other)));
      TakeAssignment(*other, name.substr(point + 1), value);
    } else {
      TakeInput(name, value, NoSuchControl(name));
    }
  }

  MapContents map;
  WrittenPaths paths;
  std::vector<Assignment> assignments;

 private:
  static std::vector<std::string> ControlNames(const Dialog& dialog) {
    std::vector<std::string> names;
    for (const auto& control : dialog.Controls()) names.push_back(control->name);
    return names;
  }

  std::string NoSuchControl(const std::string& name) const {
    if (!dialog_) return std::string(tool_.className) + " has no control " + Quoted(name);
    return dialog_->Name() + " has no control " + Quoted(name) +
           " (nearest: " + Listed(Nearest(name, ControlNames(*dialog_))) + ")";
  }

  std::string Absolute(const std::string& written) {
    const std::string path = AbsolutePath(written, CurrentFolder());
    paths.Add(path, written);
    return path;
  }

  void TakeAssignment(const Dialog& dialog, const std::string& control, const std::string& value) {
    const Control& target = *dialog.FindControl(control);
    Assignment assignment{dialog.Name(), target.name, value, {}};
    // A box is filled through its picker, and a picker may be named itself.
    const bool isButton = target.Kind() == ControlKind::kButton;
    const auto* box =
        isButton ? BoxFilledBy(dialog, target) : dynamic_cast<const TextBox*>(&target);
    const bool isFilled = box != nullptr && box->picker != nullptr;
    const bool takesReference = isFilled && box->picks == Picks::kSpatialReference;
    if (isFilled && !isButton && value.empty())
      WrongCall(assignment.control + (takesReference
                                          ? " takes a spatial reference such as EPSG:4326"
                                          : " takes a path"));
    const bool takesPath = !takesReference && (isFilled || isButton) && !value.empty();
    assignment.pick = {value, takesPath ? CurrentFolder() : "", takesReference};
    if (takesPath) paths.Add(assignment.pick.Path(), value);
    assignments.push_back(std::move(assignment));
  }

  /// `orElse` says what the argument is if it is no input either.
  void TakeInput(const std::string& name, const std::string& path, const std::string& orElse) {
    LayerEntry entry;
    entry.name = name;
    entry.path = Absolute(path);
    const OpenedInput input = OpenInput(entry.path);
    if (std::holds_alternative<std::monostate>(input.data))
      WrongCall((orElse.empty() ? "" : orElse + ", and ") + path +
                " does not open: " + input.failure);
    (std::holds_alternative<TablePtr>(input.data) ? map.tables : map.layers)
        .push_back(std::move(entry));
  }

  const CommandInfo& tool_;
  std::unique_ptr<Dialog> dialog_;
};

// ---- Selections, queries and the rest of the options, on the map as it is then

std::vector<Oid> OidsOf(const IFeatureLayer& layer, const std::string& text) {
  constexpr std::string_view kWhere = "where:";
  std::vector<Oid> oids;
  if (text.starts_with(kWhere)) {
    QueryFilter filter;
    filter.where = text.substr(kWhere.size());
    filter.withShape = false;
    auto rows = layer.Search(filter);
    while (const IRow* row = rows->Next()) oids.push_back(row->OID());
    return oids;
  }
  std::string digits;
  for (const char c : text + ',') {
    if (c != ',') {
      digits += c;
      continue;
    }
    constexpr std::size_t kMostDigits = 15;
    const bool isNumber = !digits.empty() && digits.size() <= kMostDigits &&
                          std::all_of(digits.begin(), digits.end(),
                                      [](unsigned char d) { return std::isdigit(d) != 0; });
    if (!isNumber) WrongCall("--select takes OIDs separated by commas, not " + Quoted(text));
    oids.push_back(static_cast<Oid>(ToDouble(std::string_view(digits))));
    digits.clear();
  }
  return oids;
}

/// The entry that made a layer of the map: both stand in the same order, groups before what they
/// hold.
void Flatten(std::vector<LayerEntry>& entries, std::vector<LayerEntry*>& flat) {
  for (LayerEntry& entry : entries) {
    flat.push_back(&entry);
    Flatten(entry.layers, flat);
  }
}

LayerEntry& EntryOf(MapContents& contents, const IMap& map, const IFeatureLayer& layer) {
  std::vector<LayerEntry*> flat;
  Flatten(contents.layers, flat);
  const auto layers = map.Layers();
  const auto found = std::find_if(layers.begin(), layers.end(), [&](const LayerPtr& candidate) {
    return candidate.get() == &layer;
  });
  return *flat.at(static_cast<std::size_t>(found - layers.begin()));
}

/// LAYER=REST taken apart. A layer's name may hold the sign too; of two layers that fit, the longer
/// name counts.
std::pair<std::string, std::string> LayerAndRest(const IMap& map, const std::string& text) {
  std::size_t sign = text.find('=');
  for (const LayerPtr& layer : map.Layers()) {
    const std::string& name = layer->Name();
    if (name.size() > sign && text.starts_with(name + '=')) sign = name.size();
  }
  return {text.substr(0, sign), text.substr(sign + 1)};
}

/// Applies the options to the map, and keeps in `contents` what a session would say of it.
void ApplyMapOptions(const Options& options, Map& map, MapContents& contents) {
  for (const std::string& query : options.queries) {
    const auto [name, expression] = LayerAndRest(map, query);
    IFeatureLayer& layer = FeatureLayerNamed(map, name);
    const auto failure = FailureOf([&] { layer.SetDefinitionQuery(expression); });
    if (failure) WrongCall("--where " + name + ": " + failure->Description());
    EntryOf(contents, map, layer).where = expression;
  }
  for (const std::string& selection : options.selections) {
    const auto [name, text] = LayerAndRest(map, selection);
    IFeatureLayer& layer = FeatureLayerNamed(map, name);
    std::vector<Oid> oids;
    const auto failure = FailureOf([&] { oids = OidsOf(layer, text); });
    if (failure) WrongCall("--select " + name + ": " + failure->Description());
    layer.SetSelectionSet(ISelectionSet(oids));
    EntryOf(contents, map, layer).selection = layer.SelectionSet().Oids();
  }
}

// ---- run and play

/// One line, whatever the libraries' words hold.
void SayWrong(std::string line, const Output& output) {
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  output.error("orlinths: " + line + '\n');
}

/// Before anything is touched: a run that cannot be kept is not begun.
void CheckSavePath(const std::string& path) {
  if (path.empty() || files::IsWritable(path)) return;
  const std::string folder = FolderOf(path);
  const bool isFolderThere = folder.empty() || files::FolderExists(folder);
  WrongCall(path +
            " cannot be written: " + (isFolderThere ? "Permission denied" : "Path not found"));
}

/// One run, from its map to its exit status.
int PlaySteps(const Options& options, Session session, StepSource& source,
              const WrittenPaths& paths, bool mayReplace, const std::string& place,
              const Output& output) {
  CheckSavePath(options.savePath);
  PlayedApplication application;
  if (!options.spatialReference.empty()) session.map.spatialReference = options.spatialReference;
  BuildMap(session.map, application.map);
  ApplyMapOptions(options, application.map, session.map);
  if (options.clock) session.clock = options.clock;
  if (!session.clock) session.clock = ClockNanoseconds();

  const auto events = options.json
                          ? MakeJsonEvents(output.out)
                          : MakePlainEvents(output.out, options.quiet ? Sink() : output.chatter);
  Replies replies(options.answers, session.replies, options.otherAnswers);
  SessionPlayer player(application, *events, replies, source, {*session.clock, mayReplace, &paths});
  int status = player.Play();
  if (!player.Trouble().empty()) SayWrong(place + player.Trouble(), output);
  if (!options.savePath.empty()) {
    session.replies = replies.AsRules();
    session.steps = player.Taken();
    const auto failure = FailureOf([&] { WriteSession(session, options.savePath); });
    if (failure)
      SayWrong(options.savePath + " cannot be written: " + failure->Description(), output);
    if (failure && status == exit_status::kSuccess) status = exit_status::kWrongCall;
  }
  return status;
}

int RunTool(const Options& options, const Output& output) {
  const CommandInfo& tool = AvailableCommandNamed(options.className);
  Arguments arguments(tool);
  for (const std::string& argument : options.arguments) arguments.Take(argument);
  Session session;
  session.map = arguments.map;
  RunPlan plan(tool, arguments.assignments);
  return PlaySteps(options, std::move(session), plan, arguments.paths, options.overwrite, "",
                   output);
}

int PlaySession(const Options& options, const Output& output) {
  WrittenPaths paths;
  const Session session = ReadSession(options.sessionPath, paths);
  SessionSteps steps(session.steps);
  return PlaySteps(options, session, steps, paths, true, options.sessionPath + ": ", output);
}

int Tell(const std::string& text, const Output& output) {
  output.out(text);
  return exit_status::kSuccess;
}

int Carry(const Options& options, const Output& output) {
  switch (options.command) {
    case Command::kHelp:
      return Tell(HelpText(), output);
    case Command::kVersion:
      return Tell("orlinths 3.23\n", output);
    case Command::kList:
      return Tell(options.json ? ListJson().dump(1) + '\n' : ListTable(), output);
    case Command::kDescribe: {
      const CommandInfo& command = AvailableCommandNamed(options.className);
      return Tell(
          options.json ? ToLine(DescriptionJson(command)) + '\n' : DescriptionTable(command),
          output);
    }
    case Command::kClassHelp:
      return Tell(HelpPage(AvailableCommandNamed(options.className)), output);
    case Command::kRun:
      return RunTool(options, output);
    case Command::kPlay:
      return PlaySession(options, output);
  }
  return exit_status::kWrongCall;
}

}  // namespace

int RunCommandLine(const std::vector<std::string>& arguments, const Output& output) {
  int status = exit_status::kSuccess;
  const auto failure = FailureOf([&] { status = Carry(ParseOptions(arguments), output); });
  if (!failure) return status;
  SayWrong(failure->Description(), output);
  return exit_status::kWrongCall;
}

}  // namespace orlinths
