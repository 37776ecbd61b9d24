#include "qgis/CommandMenus.h"

#include "host/ComponentObject.h"
#include "qgis/Text.h"

namespace orlinths {

QMenu* MakeCommandMenu(const std::string& progId, const ActionOf& actionOf, QWidget* parent) {
  const auto definition = CreateMenu(progId);
  auto* menu = new QMenu(ToQtCaption(definition->Caption()), parent);
  menu->setObjectName(ToQt(progId));
  menu->setToolTipsVisible(true);
  for (int i = 0; i < definition->ItemCount(); ++i) {
    ItemDef item;
    definition->GetItemInfo(i, item);
    if (item.group) menu->addSeparator();
    if (const CommandInfo* command = FindCommand(ClassOf(item.id)))
      menu->addAction(actionOf(*command));
    else
      menu->addMenu(MakeCommandMenu(item.id, actionOf, menu));
  }
  return menu;
}

}  // namespace orlinths
