// Runs the command line's program, or a routine, in a process of its own, and keeps what it says
// and how it ends.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace orlinths {

struct Ended {
  int status = -1;  ///< exit status; minus the signal for a process that one has killed
  std::string out, error;
};

/// Under what a process runs, and how it is disturbed.
struct Circumstances {
  /// As a user with no rights of its own, for whom permission bits count.
  bool isUnprivileged = false;
  /// No file may grow beyond that: the full disk that needs no rights to make.
  std::optional<std::uint64_t> mostFileBytes{};
  /// SIGKILL so many seconds after the start.
  std::optional<double> killedAfter{};
  /// SIGINT, so many times, as soon as the output holds `sign`.
  std::string sign{};
  int interrupts = 0;
};

/// The program, in `folder`.
Ended RunProgram(const std::vector<std::string>& arguments, const std::string& folder,
                 const Circumstances& circumstances = {});
/// A routine whose result is the exit status; its standard streams are caught.
Ended RunRoutine(const std::function<int()>& routine, const Circumstances& circumstances = {});

}  // namespace orlinths
