// What happens in a run, told to programs (one JSON object a line) or to people.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "data/Table.h"
#include "host/Dialog.h"
#include "runtime/Ports.h"

namespace orlinths {

/// Takes a piece of output and puts it out at once.
using Sink = std::function<void(std::string_view)>;

/// How far a work has got. The maximum of a bar that does not start at 0 counts from its minimum's
/// 0 all the same.
struct Progress {
  double value = 0;
  double max = 0;
  std::string message;
  bool operator==(const Progress&) const = default;
};

class EventWriter {
 public:
  virtual ~EventWriter() = default;
  virtual void Start(std::int64_t clock) = 0;
  /// `state` is "shown", "hidden" or "unloaded".
  virtual void DialogState(const Dialog& dialog, const char* state) = 0;
  /// `reply` is nothing for a question that nobody answers.
  virtual void Message(const std::string& text, const std::string& title, int flags,
                       std::optional<Reply> reply) = 0;
  virtual void Controls(const Dialog& dialog) = 0;
  /// What a run has put into its own dialog; as an event no different from `Controls`.
  virtual void Answer(const Dialog& dialog) = 0;
  virtual void Status(const std::string& text) = 0;
  virtual void Progressed(const Progress& progress) = 0;
  virtual void StatusBar(const std::string& text) = 0;
  virtual void LayerAdded(const std::string& name, const std::string& path) = 0;
  virtual void SelectionChanged(const std::string& layer, const std::vector<Oid>& oids) = 0;
  virtual void Shell(const std::string& target) = 0;
  virtual void End(int exit, const std::vector<std::string>& open,
                   const std::vector<std::string>& layers) = 0;
};

/// Each event is one line of valid UTF-8 JSON.
std::unique_ptr<EventWriter> MakeJsonEvents(Sink out);
/// Messages and results go to `out`; what only accompanies the work (status lines, a progress bar)
/// to `chatter`, which is empty when nobody sees it.
std::unique_ptr<EventWriter> MakePlainEvents(Sink out, Sink chatter);

}  // namespace orlinths
