#include "session/CommandLineText.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <optional>
#include <vector>

#include "host/Commands.h"
#include "runtime/Files.h"
#include "runtime/Value.h"
#include "session/ClockText.h"
#include "session/UserHand.h"

namespace orlinths {
namespace {

bool IsPlain(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
         std::string_view("_-./=,:+@%").find(c) != std::string_view::npos;
}

/// A word that a shell takes as it stands.
std::string ForShell(const std::string& word) {
  if (!word.empty() && std::all_of(word.begin(), word.end(), IsPlain)) return word;
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + '\'';
}

bool IsLayerName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '_';
  });
}

/// The words of a `run`; the session cannot be said so when a routine gives false.
class RunWords {
 public:
  bool Take(const Session& session) {
    return TakeSteps(session.steps) && TakeMap(session.map) && TakeReplies(session.replies);
  }
  std::string Text(const Session& session) const {
    std::vector<std::string> words = {"orlinths", "run", command_->className};
    words.insert(words.end(), inputs_.begin(), inputs_.end());
    words.insert(words.end(), assignments_.begin(), assignments_.end());
    words.insert(words.end(), options_.begin(), options_.end());
    if (!session.map.spatialReference.empty())
      words.insert(words.end(), {"--crs", session.map.spatialReference});
    if (session.clock) words.insert(words.end(), {"--clock", ClockText(*session.clock)});
    if (writes_) words.push_back("--overwrite");
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + ForShell(word);
    return text;
  }

 private:
  bool TakeSteps(const std::vector<Step>& steps) {
    const auto* click = steps.empty() ? nullptr : std::get_if<steps::Click>(&steps.front().what);
    if (click == nullptr) return false;
    command_ = FindCommand(click->className);
    if (command_ == nullptr || !HasDialog(command_->dialog)) return false;
    dialog_ = NewDialog(command_->dialog);
    bool isRun = false;
    for (auto step = steps.begin() + 1; step != steps.end(); ++step) {
      if (isRun) return false;  // what follows goes to a further dialog, or is a second run
      if (const auto* set = std::get_if<steps::Set>(&step->what)) {
        if (!TakeSet(*set)) return false;
      } else if (const auto* press = std::get_if<steps::Press>(&step->what)) {
        const Control* button = dialog_->FindControl(press->control);
        if (button == nullptr) return false;
        isRun = button == dialog_->MainButton();
        if (!isRun && !TakePick(*button, *press)) return false;
      } else {
        return false;
      }
    }
    return isRun;
  }

  bool TakeSet(const steps::Set& set) {
    if (dialog_->FindControl(set.control) == nullptr) return false;
    std::string value;
    if (const auto* text = std::get_if<std::string>(&set.to)) {
      value = *text;
    } else if (const auto* on = std::get_if<bool>(&set.to)) {
      value = *on ? "yes" : "no";
    } else {
      for (const std::string& item : std::get<std::vector<std::string>>(set.to)) {
        if (item.empty() || item == "*" || item.find('|') != item.npos) return false;
        value += (value.empty() ? "" : "|") + item;
      }
    }
    assignments_.push_back(set.control + '=' + value);
    return true;
  }

  bool TakePick(const Control& button, const steps::Press& press) {
    const TextBox* box = BoxFilledBy(*dialog_, button);
    if (!press.pick || !press.pick->text || box == nullptr) return false;
    const bool isReference = box->picks == Picks::kSpatialReference;
    assignments_.push_back(box->name + '=' +
                           (isReference ? *press.pick->text : press.pick->Path()));
    writes_ = writes_ || !isReference;
    return true;
  }

  bool TakeMap(const MapContents& map) {
    return std::all_of(map.layers.begin(), map.layers.end(),
                       [this](const LayerEntry& layer) { return TakeLayer(layer); }) &&
           std::all_of(map.tables.begin(), map.tables.end(),
                       [this](const LayerEntry& table) { return TakeLayer(table); });
  }

  bool TakeLayer(const LayerEntry& layer) {
    const bool isNamed = !layer.name.empty();
    if (layer.IsGroup() || (isNamed && !IsLayerName(layer.name))) return false;
    if (isNamed && dialog_->FindControl(layer.name) != nullptr) return false;
    inputs_.push_back((isNamed ? layer.name + '=' : "") + layer.path);
    if (layer.where.empty() && !layer.selection) return true;
    const std::string name = isNamed ? layer.name : StemOf(layer.path);
    if (!layer.where.empty())
      options_.insert(options_.end(), {"--where", name + '=' + layer.where});
    if (!layer.selection) return true;
    std::string oids;
    for (const Oid oid : *layer.selection) oids += (oids.empty() ? "" : ",") + ToText(oid);
    options_.insert(options_.end(), {"--select", name + '=' + oids});
    return !oids.empty();
  }

  bool TakeReplies(const std::vector<ReplyRule>& replies) {
    std::string answers;
    for (const ReplyRule& rule : replies) {
      if (!rule.once) return false;
      answers += (answers.empty() ? "" : ",") + std::string(rule.yes ? "yes" : "no");
    }
    if (!answers.empty()) options_.insert(options_.end(), {"--answer", answers});
    return true;
  }

  const CommandInfo* command_ = nullptr;
  std::unique_ptr<Dialog> dialog_;
  std::vector<std::string> inputs_, assignments_, options_;
  bool writes_ = false;
};

}  // namespace

std::string CommandLineText(const Session& session, const std::string& sessionPath) {
  RunWords run;
  if (run.Take(session)) return run.Text(session);
  return "orlinths play " + ForShell(sessionPath);
}

}  // namespace orlinths
