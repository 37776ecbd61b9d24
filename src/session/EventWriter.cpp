#include "session/EventWriter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "session/ClockText.h"
#include "session/ControlText.h"
#include "session/Json.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr const char* kVersion = "3.23";
constexpr double kExactWhole = 9007199254740992.0;

Json Number(double value) {
  if (value == std::trunc(value) && std::abs(value) < kExactWhole)
    return static_cast<std::int64_t>(value);
  return value;
}

const char* ReplyName(Reply reply) {
  switch (reply) {
    case Reply::kOk:
      return "ok";
    case Reply::kYes:
      return "yes";
    case Reply::kNo:
      return "no";
  }
  return "";
}

class JsonEvents : public EventWriter {
 public:
  explicit JsonEvents(Sink out) : out_(std::move(out)) {}

  void Start(std::int64_t clock) override {
    Write({{"event", "start"}, {"clock", ClockText(clock)}, {"version", kVersion}});
  }
  void DialogState(const Dialog& dialog, const char* state) override {
    Write({{"event", "dialog"},
           {"name", dialog.Name()},
           {"caption", dialog.caption},
           {"state", state}});
  }
  void Message(const std::string& text, const std::string& title, int flags,
               std::optional<Reply> reply) override {
    Json json = {{"event", "message"}, {"text", text}, {"title", title}, {"flags", flags}};
    json["reply"] = reply ? Json(ReplyName(*reply)) : Json();
    Write(json);
  }
  void Controls(const Dialog& dialog) override {
    Write({{"event", "controls"},
           {"dialog", dialog.Name()},
           {"controls", ControlsJson(dialog, false)}});
  }
  void Answer(const Dialog& dialog) override { Controls(dialog); }
  void Status(const std::string& text) override { Write({{"event", "status"}, {"text", text}}); }
  void Progressed(const Progress& progress) override {
    Write({{"event", "progress"},
           {"value", Number(progress.value)},
           {"max", Number(progress.max)},
           {"message", progress.message}});
  }
  void StatusBar(const std::string& text) override {
    Write({{"event", "statusbar"}, {"text", text}});
  }
  void LayerAdded(const std::string& name, const std::string& path) override {
    Write({{"event", "layer"}, {"name", name}, {"path", path}});
  }
  void SelectionChanged(const std::string& layer, const std::vector<Oid>& oids) override {
    Write({{"event", "selection"}, {"layer", layer}, {"oids", oids}});
  }
  void Shell(const std::string& target) override {
    Write({{"event", "shell"}, {"target", target}});
  }
  void End(int exit, const std::vector<std::string>& open,
           const std::vector<std::string>& layers) override {
    Write({{"event", "end"}, {"exit", exit}, {"open", open}, {"layers", layers}});
  }

 private:
  void Write(const Json& event) { out_(ToLine(event) + '\n'); }

  Sink out_;
};

class PlainEvents : public EventWriter {
 public:
  PlainEvents(Sink out, Sink chatter) : out_(std::move(out)), chatter_(std::move(chatter)) {}

  void Start(std::int64_t) override {}
  void DialogState(const Dialog&, const char*) override {}
  void Message(const std::string& text, const std::string&, int,
               std::optional<Reply> reply) override {
    std::string line = WithLineBreaks(text);
    if (reply == Reply::kYes) line += " Yes.";
    if (reply == Reply::kNo) line += " No.";
    Say(line);
  }
  void Controls(const Dialog& dialog) override {
    Say(IsOnlyRead(dialog) ? ReportText(dialog) : ControlsTable(dialog));
  }
  void Answer(const Dialog& dialog) override { Say(AnswerText(dialog)); }
  void Status(const std::string& text) override { Chat(text); }
  void Progressed(const Progress& progress) override {
    constexpr double kCells = 40;
    const double share =
        progress.max > 0 ? std::clamp(progress.value / progress.max, 0.0, 1.0) : 0.0;
    const auto done = static_cast<std::size_t>(std::floor(share * kCells));
    const auto percent = static_cast<std::int64_t>(std::floor(share * 100));
    Chat('[' + std::string(done, '#') + std::string(static_cast<std::size_t>(kCells) - done, '.') +
         "] " + ToText(percent) + "% " + progress.message);
  }
  void StatusBar(const std::string& text) override { Say(text); }
  void LayerAdded(const std::string& name, const std::string& path) override {
    Say("Added to the map: " + name + (path.empty() ? "" : " (" + path + ")"));
  }
  void SelectionChanged(const std::string& layer, const std::vector<Oid>& oids) override {
    Say("Selected in " + layer + ": " + ToText(static_cast<std::int64_t>(oids.size())));
  }
  void Shell(const std::string& target) override { Say("See " + target); }
  void End(int, const std::vector<std::string>&, const std::vector<std::string>&) override {
    Wipe();
  }

 private:
  void Say(std::string text) {
    Wipe();
    if (text.empty() || text.back() != '\n') text += '\n';
    out_(text);
  }
  /// One line that the next one replaces.
  void Chat(std::string text) {
    if (!chatter_) return;
    constexpr std::size_t kScreenWidth = 79;
    if (const auto end = text.find_first_of("\r\n"); end != text.npos) text.resize(end);
    if (text.size() > kScreenWidth) text.resize(kScreenWidth);
    chatter_("\r\x1b[K" + text);
    isLineOpen_ = true;
  }
  void Wipe() {
    if (std::exchange(isLineOpen_, false)) chatter_("\r\x1b[K");
  }

  Sink out_;
  Sink chatter_;
  bool isLineOpen_ = false;
};

}  // namespace

std::unique_ptr<EventWriter> MakeJsonEvents(Sink out) {
  return std::make_unique<JsonEvents>(std::move(out));
}
std::unique_ptr<EventWriter> MakePlainEvents(Sink out, Sink chatter) {
  return std::make_unique<PlainEvents>(std::move(out), std::move(chatter));
}

}  // namespace orlinths
