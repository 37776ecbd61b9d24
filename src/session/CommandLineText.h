// A session as the command line that does the same.
#pragma once

#include <string>

#include "session/Session.h"

namespace orlinths {

/// `orlinths run ...` for a session that opens one dialog, sets its controls and presses its main
/// button once, on a map that a `run` can be given; otherwise `orlinths play` with the session's
/// file. Words are quoted as a shell reads them.
std::string CommandLineText(const Session& session, const std::string& sessionPath);

}  // namespace orlinths
