// QGIS itself with the plugin switched on, on a screen that nobody sees.
#pragma once

#include <string>

namespace orlinths {

/// The line in a shell; -1 when it did not end by itself.
int Shell(const std::string& line);
std::string ForShell(const std::string& text);

/// A profile of a user who has switched the plugin on and is asked nothing.
void MakeProfile(const std::string& folder);

struct QgisRun {
  int status = -1;
  std::string said;
};
/// Starts QGIS with NAME=VALUE words before it, and waits for its end. Several `copies` share the
/// profile and the screen; then the status is that of the first that did not end well.
QgisRun RunQgis(const std::string& profile, const std::string& environment,
                const std::string& arguments = {}, int copies = 1);

}  // namespace orlinths
