// What the command line tells about the tools: the list, a dialog's description, a tool's help
// page.
#pragma once

#include <string>

#include "host/Commands.h"
#include "session/Json.h"

namespace orlinths {

/// The command of that class, in any case; a wrong call that names the nearest ones when there is
/// none.
const CommandInfo& CommandNamed(const std::string& className);
/// The same for one that a click opens; a wrong call for one that is not there yet.
const CommandInfo& AvailableCommandNamed(const std::string& className);

/// The 56 commands in menu order.
Json ListJson();
std::string ListTable();

/// The dialog as it is designed, before any load.
Json DescriptionJson(const CommandInfo& command);
std::string DescriptionTable(const CommandInfo& command);

/// What the tool does, its controls, and a line that calls it.
std::string HelpPage(const CommandInfo& command);

}  // namespace orlinths
