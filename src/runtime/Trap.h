// The one place where a run-time error becomes the shared error report.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "runtime/RuntimeError.h"

namespace orlinths {

/// Shows the shared error report: `head` (label and progress letter), number and description on lines of their own, with
/// the title "Error" and the critical icon.
void ReportError(const std::string& head, int number, const std::string& description);

/// How many error reports this process has shown.
int ErrorReportCount();

/// Runs `body`. True when it reached its end; otherwise the failure has been reported with `label` and the letter as it
/// stands then, and the result is false. Error 7 stands for a failed allocation; any other exception of a library is a
/// platform failure in its own words.
bool Trap(std::string_view label, const std::string& letter, const std::function<void()>& body);
/// The same for a routine without progress letters.
bool Trap(std::string_view label, const std::function<void()>& body);
/// The same for a routine whose report has a head of its own, formed when it fails.
bool TrapWithHead(const std::function<std::string()>& head, const std::function<void()>& body);

/// Runs `body` and swallows its failure without a report: true when it reached its end. For the few routines whose rule
/// is to fail in silence.
bool Quietly(const std::function<void()>& body);

/// The failure of `body` as `Trap` would report it, without a report; nothing when it reached its end. For hosts, which
/// have their own way of telling the user.
std::optional<RuntimeError> FailureOf(const std::function<void()>& body);

/// Runs `action` when the scope ends, however it ends. The action must not throw.
class AtScopeEnd {
 public:
  explicit AtScopeEnd(std::function<void()> action) : action_(std::move(action)) {}
  ~AtScopeEnd() { action_(); }
  AtScopeEnd(const AtScopeEnd&) = delete;
  AtScopeEnd& operator=(const AtScopeEnd&) = delete;

 private:
  std::function<void()> action_;
};

}  // namespace orlinths
