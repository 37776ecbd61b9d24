// The layers that a kept run worked on, looked for in the map of today.
#pragma once

#include <string>

#include "data/Application.h"
#include "session/Session.h"

namespace orlinths {

/// Layers and tables that the run's steps name and that the map does not have now.
struct MissingLayers {
  MapContents onDisk;  ///< their data are where they were: they can be added
  MapContents gone;    ///< no longer, or they never were files
};
/// A layer counts as there when a valid one of its name is, wherever its data have gone.
MissingLayers MissingLayersOf(const Session& session, const IMap& map);

bool IsEmpty(const MapContents& contents);
/// "nests (/data/nests.shp)", one a line.
std::string Listing(const MapContents& contents);

}  // namespace orlinths
