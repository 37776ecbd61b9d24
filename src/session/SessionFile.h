// Session files: reading with errors that help, and writing.
#pragma once

#include <string>

#include "session/Session.h"
#include "session/WrittenPaths.h"

namespace orlinths {

/// The session that a file's text holds; relative paths in it start at `folder`, an absolute path.
/// What is no session is a wrong call that names the place ("line 3, column 14", "step 3", "layer
/// 2") and what is expected there. `written` gets the paths.
Session ParseSession(const std::string& text, const std::string& folder, WrittenPaths& written);
/// The same, of a file; the wrong call begins with the file's name as given.
Session ReadSession(const std::string& path, WrittenPaths& written);

/// The text that reads back as `session`, with paths relative to `folder`.
std::string SessionText(const Session& session, const std::string& folder);
/// Writes it in one piece. A run-time error when the file cannot be written; what was there stays
/// then.
void WriteSession(const Session& session, const std::string& path);

}  // namespace orlinths
