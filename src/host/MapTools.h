// The toolbar's commands that act on the map view: two that bookmark an extent, one that digitises
// coordinates.
#pragma once

#include <memory>

#include "host/Commands.h"

namespace orlinths {

/// The bookmarked extent of the view, and whether there is one.
extern Envelope gViewBookmark;
extern bool gViewBookmarkSet;

/// The command object of `clsViewExtentSet`, `clsViewExtentZoom` or `clsDigitise`, which is an
/// `ITool` too; nothing for any other class.
std::unique_ptr<ICommand> CreateMapTool(const CommandInfo& info);

}  // namespace orlinths
