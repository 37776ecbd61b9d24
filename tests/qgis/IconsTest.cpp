// Every command has a picture of its own, and the plugin carries it.
#include <gtest/gtest.h>

#include <QIcon>
#include <QImage>

#include <set>

#include "host/Commands.h"
#include "qgis/Text.h"
#include "runtime/Files.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

const std::string kIcons = ORLINTHS_ICONS;

TEST(Icons, EveryCommandHasOneOfItsOwn) {
  const std::string carried = ReadBytes(FolderOf(kIcons) + "/Icons.qrc");
  std::set<std::string> pictures;
  for (const CommandInfo& command : AllCommands()) {
    SCOPED_TRACE(command.className);
    const std::string file = std::string(command.className) + ".svg";
    const QImage image = QIcon(ToQt(kIcons + '/' + file)).pixmap(24, 24).toImage();
    ASSERT_FALSE(image.isNull());
    bool isDrawn = false;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x) isDrawn = isDrawn || qAlpha(image.pixel(x, y)) > 0;
    EXPECT_TRUE(isDrawn);
    EXPECT_TRUE(pictures.insert(ReadBytes(kIcons + '/' + file)).second) << "same as another";
    EXPECT_NE(carried.find("<file>icons/" + file + "</file>"), std::string::npos);
  }
}

}  // namespace
}  // namespace orlinths
