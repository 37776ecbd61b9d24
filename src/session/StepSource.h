// Where a player's steps come from: a session file, or the plan of a `run`.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/Dialog.h"
#include "session/Session.h"

namespace orlinths {

/// What to do next.
struct NextAction {
  enum class Kind {
    kStep,    ///< take `step`
    kClose,   ///< close the dialog on top as its window's close box does
    kEnd,     ///< nothing is left to do
    kGiveUp,  ///< the tool will not come to an end by itself, or refuses to be run; `why` says so,
              ///< the exit status is 1
  };
  Kind kind = Kind::kEnd;
  Step step;
  std::string why;
};

class StepSource {
 public:
  virtual ~StepSource() = default;
  /// `top` is the dialog on top, nothing when none is open.
  virtual NextAction Next(Dialog* top) = 0;
  /// A dialog has been opened, and is no longer shown.
  virtual void Opened(Dialog&) {}
  virtual void Closed(Dialog&) {}
};

/// The steps of a session, in order, whatever opens.
class SessionSteps : public StepSource {
 public:
  explicit SessionSteps(std::vector<Step> steps) : steps_(std::move(steps)) {}
  NextAction Next(Dialog*) override {
    if (at_ == steps_.size()) return {};
    return {NextAction::Kind::kStep, steps_[at_++], {}};
  }

 private:
  std::vector<Step> steps_;
  std::size_t at_ = 0;
};

}  // namespace orlinths
