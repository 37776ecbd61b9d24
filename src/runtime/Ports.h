// What the code asks of whoever hosts it: the message box, the yield, the clock, the shell, and stop requests.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace orlinths {

/// Message box flags, as users' eyes know them: one icon, and the buttons.
enum MessageFlags : int {
  kPlain = 0,
  kYesNo = 4,
  kCritical = 16,
  kExclamation = 48,
  kInformation = 64,
};

enum class Reply : int { kOk = 1, kYes = 6, kNo = 7 };

/// A host fills these once, before any command runs; each has a harmless default.
struct Ports {
  /// Shows a message (a carriage return is a line break) and gives the button pressed.
  std::function<Reply(const std::string& text, int flags, const std::string& title)> messageBox;
  /// Lets the host repaint and take a stop request.
  std::function<void()> yield;
  /// Nanoseconds since 1970-01-01T00:00:00, local time.
  std::function<std::int64_t()> clock;
  /// Gives a path or address to the operating system's shell.
  std::function<void(const std::string& target)> shellOpen;
};

/// Replaces the ports; returns those that were there. The empty members of `ports` get the defaults: a message answered with
/// OK (No to a question), a yield that does nothing, the system clock, a shell that opens nothing.
Ports SetPorts(Ports ports);

Reply MessageBox(const std::string& text, int flags = kPlain, const std::string& title = {});
/// A question with Yes and No: true for yes.
bool Ask(const std::string& text, const std::string& title, int flags = kYesNo);
void ShellOpen(const std::string& target);
std::int64_t ClockNanoseconds();

/// Lets the host repaint; raises error 18 when a stop has been asked for. Long loops call it.
void Yield();

/// A stop request stands until `ClearStop`: every later yield and platform call raises error 18. `RequestStop` may be called
/// from a signal handler.
void RequestStop() noexcept;
void ClearStop() noexcept;
bool StopRequested() noexcept;
/// Raises error 18 when a stop has been asked for. Platform calls begin with it; costs one relaxed load.
void CheckStop();

}  // namespace orlinths
