// Plays a session file in QGIS: its map becomes the project, its steps go through the windows, and
// what happens is told as the command line tells it.
#pragma once

#include <string>
#include <vector>

#include "qgis/DesktopApplication.h"
#include "qgis/WidgetHand.h"

namespace orlinths {

/// How QGIS is asked to play sessions as it starts.
struct SessionOrder {
  std::vector<std::string> sessionPaths;  ///< ORLINTHS_SESSION, one or several as in PATH
  std::string eventsFolder;               ///< ORLINTHS_EVENTS: gets x.events for x.json
  std::string pictureFolder;              ///< ORLINTHS_PICTURES: gets pictures of the windows
  static SessionOrder FromEnvironment();
};

/// Plays them one after the other, each in a new project and as in a new process. Gives the exit
/// status that the command line would give for the last. Trouble is written behind the events, as a
/// line that begins with "orlinths: ".
int PlayInQgis(const SessionOrder& order, DesktopApplication& application, WidgetHand& hand);

/// Puts layers and tables of a session into the project, below what it holds.
void AddToProject(const MapContents& contents);
/// The same, and the session's spatial reference, or that of the top layer.
void FillProject(const MapContents& contents);

}  // namespace orlinths
