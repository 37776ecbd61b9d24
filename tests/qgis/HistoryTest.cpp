#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>
#include <QTreeWidget>

#include <thread>

#include "component/Component.h"
#include "host/Commands.h"
#include "qgis/HistoryPanel.h"
#include "qgis/Text.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "session/SessionFile.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr std::int64_t kSecond = 1'000'000'000;

Session RunAt(std::int64_t clock, const char* className = "clsRndPnt") {
  Session session;
  session.clock = clock;
  session.steps = {{steps::Click{className}, 0}, {steps::Press{"btnOK", {}}, 0}};
  return session;
}

TEST(HistoryFiles, GivesTheNewestFirstAndWhatTheyWere) {
  const TempFolder folder;
  HistoryFiles history(folder / "a/b");
  EXPECT_THAT(history.Newest(), IsEmpty());
  history.Keep(RunAt(3600 * kSecond, "clsKernel"), RunOutcome::kFailed);
  history.Keep(RunAt(7200 * kSecond), RunOutcome::kSucceeded);
  const auto paths = history.Newest();
  ASSERT_EQ(paths.size(), 2U);
  EXPECT_EQ(KeptRunOf(paths[0]).when, "1970-01-01 02:00:00");
  EXPECT_EQ(KeptRunOf(paths[0]).className, "clsRndPnt");
  EXPECT_EQ(KeptRunOf(paths[0]).outcome, RunOutcome::kSucceeded);
  EXPECT_EQ(KeptRunOf(paths[1]).className, "clsKernel");
  EXPECT_EQ(KeptRunOf(paths[1]).outcome, RunOutcome::kFailed);
  WrittenPaths written;
  EXPECT_EQ(ReadSession(paths[1], written), RunAt(3600 * kSecond, "clsKernel"));
}

TEST(HistoryFiles, KeepsTwoRunsOfOneTick) {
  const TempFolder folder;
  HistoryFiles history(folder.Path());
  for (int i = 0; i < 3; ++i) history.Keep(RunAt(kSecond), RunOutcome::kStopped);
  const auto paths = history.Newest();
  ASSERT_EQ(paths.size(), 3U);
  for (const std::string& path : paths) {
    EXPECT_EQ(KeptRunOf(path).className, "clsRndPnt");
    EXPECT_EQ(KeptRunOf(path).outcome, RunOutcome::kStopped);
  }
}

TEST(HistoryFiles, LetsTheOldestGo) {
  const TempFolder folder;
  HistoryFiles history(folder.Path());
  const auto most = static_cast<std::int64_t>(HistoryFiles::kMost);
  for (std::int64_t i = 0; i < most + 3; ++i)
    history.Keep(RunAt(i * kSecond), RunOutcome::kSucceeded);
  const auto paths = history.Newest();
  ASSERT_EQ(paths.size(), HistoryFiles::kMost);
  EXPECT_EQ(KeptRunOf(paths.back()).when, "1970-01-01 00:00:03");
}

TEST(HistoryFiles, RunsOfAClockThatWasWrongGoFirst) {
  const TempFolder folder;
  HistoryFiles history(folder.Path());
  constexpr std::int64_t kYear = 366 * 86400 * kSecond;
  const std::int64_t future = ClockNanoseconds() + kYear;
  const auto most = static_cast<std::int64_t>(HistoryFiles::kMost);
  for (std::int64_t i = 0; i < most; ++i)
    history.Keep(RunAt(future + i, "clsKernel"), RunOutcome::kSucceeded);
  history.Keep(RunAt(kSecond), RunOutcome::kSucceeded);
  history.Keep(RunAt(2 * kSecond), RunOutcome::kSucceeded);
  const auto paths = history.Newest();
  ASSERT_EQ(paths.size(), HistoryFiles::kMost);
  EXPECT_EQ(KeptRunOf(paths[0]).when, "1970-01-01 00:00:02");
  EXPECT_EQ(KeptRunOf(paths[1]).when, "1970-01-01 00:00:01");
  EXPECT_EQ(KeptRunOf(paths[2]).className, "clsKernel");
}

TEST(HistoryFiles, OneThatCannotGoKeepsNoOther) {
  const TempFolder folder;
  HistoryFiles history(folder.Path());
  files::CreateFolder(folder / "1969 is no file.json");
  WriteBytes(folder / "1969.json", "{");
  for (std::int64_t i = 0; i < static_cast<std::int64_t>(HistoryFiles::kMost); ++i)
    history.Keep(RunAt(i * kSecond), RunOutcome::kSucceeded);
  EXPECT_FALSE(files::FileExists(folder / "1969.json"));
  EXPECT_TRUE(files::FolderExists(folder / "1969 is no file.json"));
}

TEST(HistoryFiles, TwoWindowsNeverTakeOneName) {
  const TempFolder folder;
  constexpr int kRuns = 60;
  std::vector<std::thread> windows;
  for (int window = 0; window < 2; ++window)
    windows.emplace_back([&] {
      HistoryFiles history(folder.Path());
      for (int i = 0; i < kRuns; ++i) history.Keep(RunAt(i * kSecond), RunOutcome::kSucceeded);
    });
  for (std::thread& window : windows) window.join();
  const auto paths = HistoryFiles(folder.Path()).Newest();
  EXPECT_EQ(paths.size(), 2U * kRuns);
  for (const std::string& path : paths) {
    WrittenPaths written;
    EXPECT_EQ(ReadSession(path, written).steps.size(), 2U) << path;
  }
}

TEST(HistoryFiles, AFolderThatCannotBeIsAnError) {
  const TempFolder folder;
  WriteBytes(folder / "taken", "");
  HistoryFiles history(folder / "taken");
  EXPECT_THROW(history.Keep(RunAt(kSecond), RunOutcome::kSucceeded), RuntimeError);
  EXPECT_THAT(history.Newest(), IsEmpty());
}

TEST(HistoryPanel, ShowsWhatItCanAndNeverGetsInTheWay) {
  const TempFolder folder;
  WriteBytes(folder / "taken", "");
  HistoryPanel nowhere(HistoryFiles(folder / "taken"), nullptr);
  nowhere.Keep(RunAt(kSecond), RunOutcome::kSucceeded);
  EXPECT_EQ(nowhere.findChild<QTreeWidget*>()->topLevelItemCount(), 0);

  WriteBytes(folder / "2026-03-01T12-00-00.000000000 clsKernel succeeded.json", "{ cut off");
  HistoryPanel panel(HistoryFiles(folder.Path()), nullptr);
  auto* list = panel.findChild<QTreeWidget*>();
  ASSERT_EQ(list->topLevelItemCount(), 1);
  list->setCurrentItem(list->topLevelItem(0));
  QString said;
  QTimer::singleShot(0, &panel, [&] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    said = box->text();
    box->close();
  });
  panel.onRunAgain = [](const Session&) { FAIL() << "nothing to run"; };
  panel.findChild<QPushButton*>(QStringLiteral("again"))->click();
  EXPECT_FALSE(said.isEmpty());
  panel.Keep(RunAt(kSecond), RunOutcome::kSucceeded);
  EXPECT_EQ(list->topLevelItemCount(), 2);
}

TEST(HistoryFiles, ReadNamesThatSayLess) {
  EXPECT_EQ(KeptRunOf("/h/2026-03-01T12-00-00.000000001 clsKernel.json").className, "clsKernel");
  EXPECT_EQ(KeptRunOf("/h/2026-03-01T12-00-00.000000001 clsKernel.json").outcome, std::nullopt);
  EXPECT_EQ(KeptRunOf("/h/mine.json").when, "mine");
  EXPECT_EQ(KeptRunOf("/h/mine.json").className, "");
}

TEST(HistoryPanel, ShowsRunsAndCopiesTheCommandLine) {
  RegisterTools();
  const TempFolder folder;
  HistoryPanel panel(HistoryFiles(folder.Path()), nullptr);
  auto* list = panel.findChild<QTreeWidget*>();
  auto* copy = panel.findChild<QPushButton*>(QStringLiteral("copy"));
  ASSERT_NE(copy, nullptr);
  EXPECT_FALSE(copy->isEnabled());
  panel.Keep(RunAt(kSecond), RunOutcome::kRefused);
  ASSERT_EQ(list->topLevelItemCount(), 1);
  QTreeWidgetItem* run = list->topLevelItem(0);
  EXPECT_EQ(run->text(0), QStringLiteral("Generate Random Points"));
  EXPECT_EQ(run->text(2), QStringLiteral("Not accepted"));
  EXPECT_THAT(FromQt(run->toolTip(1)),
              StartsWith("Generate Random Points\n" + folder / "1970-01-01T00-00-01"));
  list->setCurrentItem(run);
  EXPECT_TRUE(copy->isEnabled());
  copy->click();
  EXPECT_EQ(QApplication::clipboard()->text(),
            QStringLiteral("orlinths run clsRndPnt --clock 1970-01-01T00:00:01.000000000"));
  std::vector<Session> again;
  panel.onRunAgain = [&](const Session& session) { again.push_back(session); };
  panel.findChild<QPushButton*>(QStringLiteral("again"))->click();
  EXPECT_THAT(again, ElementsAre(RunAt(kSecond)));
}

TEST(HistoryPanel, ShowsTimeAndOutcomeAlsoWhereItIsNarrow) {
  RegisterTools();
  const TempFolder folder;
  HistoryPanel panel(HistoryFiles(folder.Path()), nullptr);
  panel.Keep(RunAt(kSecond, "clsAddArea"), RunOutcome::kRefused);
  panel.resize(panel.minimumSizeHint());
  panel.show();
  const auto* list = panel.findChild<QTreeWidget*>();
  EXPECT_EQ(list->horizontalScrollBar()->maximum(), 0);
  const QModelIndex last = list->model()->index(0, 2);
  EXPECT_GE(list->visualRect(last).width(), list->sizeHintForIndex(last).width());
}

TEST(HistoryPanel, TellsTheTimeAsItsUserDoes) {
  const TempFolder folder;
  HistoryPanel panel(HistoryFiles(folder.Path()), nullptr);
  WriteBytes(folder / "mine.json", "{}");
  const QLocale before;
  for (const auto& [language, told] :
       {std::pair("de_DE", "01.01.70 13:00"), std::pair("en_GB", "01/01/1970 13:00"),
        std::pair("en_US", "1/1/70 1:00 PM")}) {
    QLocale::setDefault(QLocale(QString::fromLatin1(language)));
    panel.Keep(RunAt(13 * 3600 * kSecond), RunOutcome::kSucceeded);
    auto* list = panel.findChild<QTreeWidget*>();
    const int last = list->topLevelItemCount() - 1;
    EXPECT_EQ(FromQt(list->topLevelItem(0)->text(1)), told);
    EXPECT_EQ(FromQt(list->topLevelItem(last)->text(1)), "mine");  // a file of another name
  }
  QLocale::setDefault(before);
}

TEST(HistoryPanel, SaysWhichLayerIsNoFileAndCanRunAgainAllTheSame) {
  RegisterTools();
  const TempFolder folder;
  HistoryPanel panel(HistoryFiles(folder.Path()), nullptr);
  Session session = RunAt(kSecond);
  LayerEntry sketch;
  sketch.name = "sketch";
  sketch.path = "host:memory/sketch";
  session.map.layers = {sketch};
  panel.Keep(session, RunOutcome::kSucceeded);
  auto* list = panel.findChild<QTreeWidget*>();
  list->setCurrentItem(list->topLevelItem(0));
  QApplication::clipboard()->setText(QStringLiteral("as it was"));
  for (const char* button : {"copy", "save"}) {
    QString told;
    QTimer::singleShot(0, &panel, [&] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      ASSERT_NE(box, nullptr);
      told = box->text();
      box->accept();
    });
    panel.findChild<QPushButton*>(QString::fromLatin1(button))->click();
    EXPECT_THAT(FromQt(told), HasSubstr("the layer \"sketch\" is no file"));
  }
  EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("as it was"));
  std::vector<Session> again;
  panel.onRunAgain = [&](const Session& run) { again.push_back(run); };
  panel.findChild<QPushButton*>(QStringLiteral("again"))->click();
  EXPECT_THAT(again, ElementsAre(session));
}

}  // namespace
}  // namespace orlinths
