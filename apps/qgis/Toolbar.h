// The component's toolbar and menus, walked as a host walks them, as a toolbar and menus of QGIS.
#pragma once

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QPointer>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/Commands.h"

class QgisInterface;
class QToolBar;

namespace orlinths {

/// The picture of a command, drawn for every size of button.
QIcon IconOf(const CommandInfo& command);

class Toolbar {
 public:
  using Clicked = std::function<void(const CommandInfo&)>;
  Toolbar(QgisInterface& qgis, Clicked clicked);
  ~Toolbar();
  Toolbar(const Toolbar&) = delete;
  Toolbar& operator=(const Toolbar&) = delete;

  /// Puts an action of the plugin's own behind the component's menu.
  void AddToMenu(QAction* action);
  /// The action of a command; one for each of the 56, in a menu or not.
  QAction* ActionOf(const CommandInfo& command) const;

 private:
  void MakeActions();
  void FillToolbar();

  QgisInterface& qgis_;
  Clicked clicked_;
  std::map<std::string, QAction*> actions_;  ///< by class
  QPointer<QToolBar> toolbar_;
  QPointer<QMenu> menu_;
};

}  // namespace orlinths
