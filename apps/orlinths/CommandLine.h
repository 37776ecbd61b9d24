// The command line as a routine: what main calls, and what tests call instead.
#pragma once

#include <string>
#include <vector>

#include "session/EventWriter.h"

namespace orlinths {

/// Where a call's words go. `chatter` is empty when nobody watches.
struct Output {
  Sink out;
  Sink error;
  Sink chatter;
};

/// Carries out one call; `arguments` without the program's name. Gives the exit status. The tools
/// must be registered.
int RunCommandLine(const std::vector<std::string>& arguments, const Output& output);

}  // namespace orlinths
