// Icons for lists that name layers.
#pragma once

#include <QIcon>

#include <string>

#include "qgis/MapBridge.h"

namespace orlinths {

/// The icon of the layer that the tools know by this name; empty when there is none.
QIcon LayerIconOf(const MapBridge& map, const std::string& name);

}  // namespace orlinths
