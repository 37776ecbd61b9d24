#include "qgis/CommandMenus.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>

#include "qgis/Text.h"

namespace orlinths {
namespace {

class CommandMenusTest : public ::testing::Test {
 protected:
  QAction* ActionOf(const CommandInfo& command) {
    auto& action = actions_[command.className];
    if (!action) {
      action = std::make_unique<QAction>(ToQtCaption(command.caption));
      action->setObjectName(ToQt(command.className));
    }
    return action.get();
  }
  std::unique_ptr<QMenu> Make(const char* className) {
    return std::unique_ptr<QMenu>(MakeCommandMenu(
        ProgId(className), [this](const CommandInfo& info) { return ActionOf(info); }, nullptr));
  }

 private:
  std::map<std::string, std::unique_ptr<QAction>> actions_;
};

/// "path / path: class" for every command of the tree, depth first.
void Walk(const QMenu& menu, const std::string& path, std::vector<std::string>& lines) {
  for (const QAction* action : menu.actions()) {
    const QMenu* inner = action->menu();
    if (inner != nullptr)
      Walk(*inner, path + '/' + FromQt(inner->title()), lines);
    else if (!action->isSeparator())
      lines.push_back(path + ": " + FromQt(action->objectName()));
  }
}

TEST_F(CommandMenusTest, HoldEveryCommandOfTheTreeInItsPlace) {
  const auto menu = Make("clsExtOrlinthMenu");
  std::vector<std::string> made, expected;
  Walk(*menu, "/" + FromQt(menu->title()), made);
  for (const CommandPlace& place : CommandsInMenuOrder()) {
    if (place.menu.empty() || place.menu.front() != "OrlinthsTools") continue;
    std::string line;
    for (const std::string& caption : place.menu) line += '/' + caption;
    expected.push_back(line + ": " + place.command->className);
  }
  EXPECT_EQ(made.size(), 52U);
  EXPECT_EQ(made, expected);
}

TEST_F(CommandMenusTest, ANewGroupIsASeparator) {
  const auto raster = Make("clsExtOrlinthRT");
  std::vector<int> separators;
  for (int i = 0; i < raster->actions().size(); ++i)
    if (raster->actions().at(i)->isSeparator()) separators.push_back(i);
  EXPECT_THAT(separators, ::testing::ElementsAre(8, 10));
  const auto analysis = Make("clsExtOrlinthAT");
  EXPECT_EQ(analysis->actions().size(), 9);
}

}  // namespace
}  // namespace orlinths
