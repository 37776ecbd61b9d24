// Progress on the application's status bar, for work done in a routine and not in a dialog's
// handler.
#pragma once

#include <cstdint>
#include <string>

#include "data/Application.h"

namespace orlinths {

/// Shows the progressor from its construction on, one position per `Next`, and hides itself when it
/// goes. `Next` looks for a stop request. With `show` false only the stop request is looked for.
/// Cheap enough to call per record.
class Steps {
 public:
  /// `first` is the lower end of the progressor's range.
  Steps(std::int64_t count, const std::string& message, bool show = true, std::int64_t first = 0);
  ~Steps();
  Steps(const Steps&) = delete;
  Steps& operator=(const Steps&) = delete;
  void Next();
  /// The next position is the first again: for another walk over the same records.
  void StartOver() { position_ = 0; }

 private:
  IStepProgressor* progressor_ = nullptr;
  std::int64_t position_ = 0;
};

}  // namespace orlinths
