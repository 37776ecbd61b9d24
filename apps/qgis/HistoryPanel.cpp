#include "qgis/HistoryPanel.h"

#include <QApplication>
#include <QClipboard>
#include <QDateTime>
#include <QGridLayout>
#include <QHeaderView>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QTreeWidget>

#include "host/Commands.h"
#include "qgis/FilePickers.h"
#include "qgis/Text.h"
#include "qgis/Toolbar.h"
#include "runtime/Files.h"
#include "runtime/Trap.h"
#include "session/CommandLineText.h"
#include "session/MapBuilder.h"
#include "session/SessionFile.h"

namespace orlinths {
namespace {

constexpr int kPathRole = Qt::UserRole;
enum Column { kTool, kTime, kOutcome, kColumns };

QString Said(std::optional<RunOutcome> outcome) {
  if (!outcome) return {};
  switch (*outcome) {
    case RunOutcome::kSucceeded:
      return QStringLiteral("Done");
    case RunOutcome::kRefused:
      return QStringLiteral("Not accepted");
    case RunOutcome::kFailed:
      return QStringLiteral("Failed");
    case RunOutcome::kStopped:
      return QStringLiteral("Stopped");
  }
  return {};
}

/// In the way of the user's language and settings.
QString Told(const std::string& when) {
  const auto time = QDateTime::fromString(ToQt(when), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
  return time.isValid() ? QLocale().toString(time, QLocale::ShortFormat) : ToQt(when);
}

QTreeWidgetItem* ItemFor(const std::string& path) {
  const KeptRun run = KeptRunOf(path);
  const CommandInfo* command = FindCommand(run.className);
  auto* item = new QTreeWidgetItem;
  item->setText(kTool,
                EndedLeftToRight(ToQt(command == nullptr ? run.className : command->caption)));
  if (command != nullptr) item->setIcon(kTool, IconOf(*command));
  item->setText(kTime, Told(run.when));
  item->setText(kOutcome, Said(run.outcome));
  item->setData(kTool, kPathRole, ToQt(path));
  const QString tip = item->text(kTool) + QLatin1Char('\n') + ToQt(path);
  for (int column = 0; column < kColumns; ++column) item->setToolTip(column, tip);
  return item;
}

}  // namespace

HistoryPanel::HistoryPanel(HistoryFiles files, QWidget* parent)
    : QDockWidget(QStringLiteral("Orlinth's Tools: History"), parent), files_(std::move(files)) {
  setObjectName(QStringLiteral("OrlinthsHistory"));
  auto* content = new QWidget(this);
  auto* grid = new QGridLayout(content);
  list_ = new QTreeWidget(content);
  list_->setObjectName(QStringLiteral("runs"));
  list_->setHeaderLabels(
      {QStringLiteral("Tool"), QStringLiteral("Time"), QStringLiteral("Outcome")});
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  // In a narrow panel the tool's words give way: its icon says the same.
  list_->header()->setStretchLastSection(false);
  list_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  list_->header()->setSectionResizeMode(kTool, QHeaderView::Stretch);
  grid->addWidget(list_, 0, 0, 1, 3);
  int column = 0;
  const auto add = [&](const char* name, const QString& text, const QString& tip,
                       void (HistoryPanel::*use)()) {
    auto* button = new QPushButton(EndedLeftToRight(text), content);
    button->setObjectName(QString::fromLatin1(name));
    button->setToolTip(tip);
    button->setEnabled(false);
    connect(button, &QPushButton::clicked, this, use);
    connect(list_, &QTreeWidget::itemSelectionChanged, button,
            [this, button] { button->setEnabled(!list_->selectedItems().isEmpty()); });
    grid->addWidget(button, 1, column++);
  };
  add("again", QStringLiteral("Run again"),
      QStringLiteral("Opens the dialog filled in as it was for this run"), &HistoryPanel::RunAgain);
  add("save", QStringLiteral("Save as session..."),
      QStringLiteral("Keeps the run as a session file that the command line can play"),
      &HistoryPanel::SaveAs);
  add("copy", QStringLiteral("Copy command line"),
      QStringLiteral("Copies the command that does the same in a terminal"),
      &HistoryPanel::CopyCommandLine);
  connect(list_, &QTreeWidget::itemDoubleClicked, this, &HistoryPanel::RunAgain);
  setWidget(content);
  ShowRuns();
}

void HistoryPanel::Keep(const Session& session, RunOutcome outcome) {
  // A history that cannot be written must not spoil the run that it tells of.
  Quietly([&] { files_.Keep(session, outcome); });
  ShowRuns();
}

void HistoryPanel::ShowRuns() {
  list_->clear();
  // Nor must one that cannot be read keep QGIS from starting.
  Quietly([this] {
    for (const std::string& path : files_.Newest()) list_->addTopLevelItem(ItemFor(path));
  });
}

std::string HistoryPanel::Chosen() const {
  const auto items = list_->selectedItems();
  return items.isEmpty() ? std::string()
                         : FromQt(items.constFirst()->data(kTool, kPathRole).toString());
}

void HistoryPanel::WithChosen(
    const std::function<void(const Session&, const std::string& path)>& use) {
  const std::string path = Chosen();
  if (path.empty()) return;
  const auto failure = FailureOf([&] {
    WrittenPaths written;
    use(ReadSession(path, written), path);
  });
  if (failure) QMessageBox::warning(this, windowTitle(), ToQtLines(failure->Description()));
}

void HistoryPanel::RunAgain() {
  WithChosen([this](const Session& session, const std::string&) {
    if (onRunAgain) onRunAgain(session);
  });
}

void HistoryPanel::SaveAs() {
  WithChosen([this](const Session& session, const std::string& path) {
    CheckAllAreFiles(session.map);
    const QString proposed = QStringLiteral("%1.json").arg(ToQt(KeptRunOf(path).className));
    const QString chosen = AskForSession(QStringLiteral("Save as session"), proposed, this);
    if (!chosen.isEmpty()) WriteSession(session, FromQt(chosen));
  });
}

void HistoryPanel::CopyCommandLine() {
  WithChosen([](const Session& session, const std::string& path) {
    CheckAllAreFiles(session.map);
    QApplication::clipboard()->setText(ToQt(CommandLineText(session, path)));
  });
}

}  // namespace orlinths
