// Icons for lists that name layers.
#pragma once

#include <QIcon>

#include <string>

namespace orlinths {

/// The icon of the project's layer that the tools know by this name; empty when there is none.
QIcon LayerIconOf(const std::string& name);

}  // namespace orlinths
