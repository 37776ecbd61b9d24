#include "qgis/Toolbar.h"

#include <QMainWindow>
#include <QMenuBar>
#include <QToolBar>
#include <QToolButton>

#include <qgisinterface.h>

#include <utility>

#include "host/ComponentObject.h"
#include "qgis/CommandMenus.h"
#include "qgis/Text.h"

namespace orlinths {

QIcon IconOf(const CommandInfo& command) {
  return QIcon(QStringLiteral(":/orlinths/icons/") + ToQt(command.className) +
               QStringLiteral(".svg"));
}

Toolbar::Toolbar(QgisInterface& qgis, Clicked clicked) : qgis_(qgis), clicked_(std::move(clicked)) {
  MakeActions();
  FillToolbar();
}

Toolbar::~Toolbar() {
  for (const auto& [name, action] : actions_) qgis_.unregisterMainWindowAction(action);
  delete menu_.data();
  delete toolbar_.data();
  for (const auto& [name, action] : actions_) delete action;
}

void Toolbar::MakeActions() {
  for (const CommandInfo& command : AllCommands()) {
    auto* action = new QAction(IconOf(command), ToQtCaption(command.caption), qgis_.mainWindow());
    action->setObjectName(ToQt(ProgId(command.className)));
    action->setStatusTip(ToQt(command.message));
    QObject::connect(action, &QAction::triggered, action, [this, &command] { clicked_(command); });
    qgis_.registerMainWindowAction(action, QString());  // shortcuts are the user's to give
    action->setToolTip(ToQt(command.tooltip));          // afterwards: QGIS cuts what is in brackets
    actions_[command.className] = action;
  }
}

QAction* Toolbar::ActionOf(const CommandInfo& command) const {
  return actions_.at(command.className);
}

void Toolbar::AddToMenu(QAction* action) {
  if (!menu_) return;
  menu_->addSeparator();
  menu_->addAction(action);
}

void Toolbar::FillToolbar() {
  const auto definition = CreateMenu(ProgId(kToolbarClass));
  toolbar_ = qgis_.addToolBar(ToQt(definition->Caption()));
  toolbar_->setObjectName(ToQt(definition->Name()));
  for (int i = 0; i < definition->ItemCount(); ++i) {
    ItemDef item;
    definition->GetItemInfo(i, item);
    if (item.group) toolbar_->addSeparator();
    if (const CommandInfo* command = FindCommand(ClassOf(item.id))) {
      toolbar_->addAction(ActionOf(*command));
      continue;
    }
    menu_ = MakeCommandMenu(
        item.id, [this](const CommandInfo& info) { return ActionOf(info); }, qgis_.mainWindow());
    auto* button = new QToolButton(toolbar_);
    button->setObjectName(menu_->objectName() + QStringLiteral("Button"));
    button->setMenu(menu_);
    button->setPopupMode(QToolButton::InstantPopup);
    button->setIcon(QIcon(QStringLiteral(":/orlinths/icons/tools.svg")));
    button->setText(menu_->title());
    button->setToolTip(menu_->title());
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    toolbar_->addWidget(button);
  }
  // The same tree once more where people look for menus.
  if (menu_ && qgis_.firstRightStandardMenu() != nullptr)
    if (auto* window = qobject_cast<QMainWindow*>(qgis_.mainWindow()))
      window->menuBar()->insertMenu(qgis_.firstRightStandardMenu()->menuAction(), menu_);
}

}  // namespace orlinths
