// The last runs, each a session file in a folder of the user's profile.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "session/SessionRecorder.h"

namespace orlinths {

class HistoryFiles {
 public:
  static constexpr std::size_t kMost = 200;
  explicit HistoryFiles(std::string folder) : folder_(std::move(folder)) {}

  /// Keeps a run, and lets the oldest go where there are too many. A run-time error when it cannot
  /// be written.
  void Keep(const Session& session, RunOutcome outcome);
  /// Paths of the files, the newest first; behind them those that a wrong clock has put into the
  /// future.
  std::vector<std::string> Newest() const;

 private:
  std::string folder_;
};

/// What a kept run was, read from its file's name.
struct KeptRun {
  std::string when;       ///< "2026-03-01 12:00:00"
  std::string className;  ///< "clsRndPnt"
  std::optional<RunOutcome> outcome;
};
KeptRun KeptRunOf(const std::string& path);

}  // namespace orlinths
