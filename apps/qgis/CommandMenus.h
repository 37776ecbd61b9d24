// The component's menus as menus of Qt.
#pragma once

#include <QMenu>

#include <functional>
#include <string>

#include "host/Commands.h"

namespace orlinths {

using ActionOf = std::function<QAction*(const CommandInfo&)>;

/// The menu of a ProgID with its sub-menus, walked as a host walks them: a new group is a
/// separator.
QMenu* MakeCommandMenu(const std::string& progId, const ActionOf& actionOf, QWidget* parent);

}  // namespace orlinths
