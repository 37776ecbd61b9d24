// Commands are found in QGIS's own locator: by their words, by their class, and all of them behind
// the prefix.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include <qgslocator.h>
#include <qgslocatorcontext.h>

#include <set>
#include <string>
#include <vector>

#include "qgis/CommandLocator.h"
#include "qgis/Text.h"

namespace orlinths {
namespace {

class CommandLocatorTest : public ::testing::Test {
 protected:
  CommandLocatorTest() {
    locator_.registerFilter(
        new CommandLocator([this](const CommandInfo& command) { clicked = command.className; }));
    QObject::connect(&locator_, &QgsLocator::foundResult, &locator_,
                     [this](const QgsLocatorResult& result) { results.push_back(result); });
  }

  /// Classes of what QGIS finds for a text that a user types.
  std::set<std::string> Find(const char* text) {
    results.clear();
    locator_.fetchResults(QString::fromUtf8(text), QgsLocatorContext());
    while (locator_.isRunning()) QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    std::set<std::string> classes;
    for (const QgsLocatorResult& result : results)
      classes.insert(FromQt(result.userData.toString()));
    return classes;
  }

  std::vector<QgsLocatorResult> results;
  std::string clicked;

 private:
  QgsLocator locator_;
};

TEST_F(CommandLocatorTest, FindsACommandByItsWordsWithAndWithoutThePrefix) {
  EXPECT_TRUE(Find("movement par").contains("clsMoveParamsSimple"));
  EXPECT_TRUE(Find("orl movement par").contains("clsMoveParamsSimple"));
  EXPECT_FALSE(Find("orl movement par").contains("clsKernel"));
}

TEST_F(CommandLocatorTest, FindsEveryCommandByItsClass) {
  for (const CommandInfo& command : AllCommands())
    EXPECT_TRUE(Find(command.className).contains(command.className)) << command.className;
}

TEST_F(CommandLocatorTest, GivesAllCommandsForThePrefixAlone) {
  EXPECT_EQ(Find("orl ").size(), AllCommands().size());
}

TEST_F(CommandLocatorTest, RunsTheCommandThatIsChosenAndSaysNothingTwice) {
  ASSERT_TRUE(Find("clsKernel").contains("clsKernel"));
  for (const QgsLocatorResult& result : results) {
    EXPECT_NE(result.description.toLower(), result.displayString.toLower());
    if (result.userData.toString() == QStringLiteral("clsKernel"))
      result.filter->triggerResult(result);
  }
  EXPECT_EQ(clicked, "clsKernel");
}

}  // namespace
}  // namespace orlinths
