// Every dialog on a small screen, in QGIS's own themes and from right to left: nothing is cut off
// or covered, everything is reached by keys and says what it is.
#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPalette>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QTimer>

#include <qgsapplication.h>

#include <algorithm>
#include <set>

#include "component/Component.h"
#include "data/Workspace.h"
#include "host/Commands.h"
#include "host/HeadlessApplication.h"
#include "host/SmallDialogs.h"
#include "qgis/DialogPlan.h"
#include "qgis/Text.h"
#include "qgis/WindowHost.h"

namespace orlinths {
namespace {

using ::testing::IsEmpty;

std::string Shown(const QWidget& widget) {
  return FromQt(QStringLiteral("%1 %2 \"%3\"")
                    .arg(QString::fromLatin1(widget.metaObject()->className()), widget.objectName(),
                         widget.accessibleName()));
}

struct Look {
  const char* name;
  const char* theme;
  Qt::LayoutDirection direction;
};

class SmallScreen : public ::testing::TestWithParam<Look> {
 protected:
  SmallScreen() : host(nullptr), hostBefore_(SetDialogHost(&host)) {
    RegisterTools();
    ForgetDialogs();
    const std::string data = std::string(ORLINTHS_SESSIONS) + "/data/";
    for (const char* file : {"nests.shp", "streams.shp", "meadows.shp"})
      application.map.Append(std::make_shared<IFeatureLayer>(OpenFeatureClassByPath(data + file)));
    application.map.Append(
        std::make_shared<IRasterLayer>(OpenRasterDataset(data, "elevation.tif")));
    application.map.AppendTable(
        std::make_shared<IStandaloneTable>(OpenTableByPath(data + "fixes.dbf")));
    applicationBefore_ = RunningApplication();
    SetApplication(&application);
    InitMapGlobals();
    Ports ports;
    ports.messageBox = [](const std::string&, int, const std::string&) { return Reply::kOk; };
    portsBefore_ = SetPorts(std::move(ports));
    host.onStep = [this](const Dialog&, const Step& step) { steps.push_back(step); };
    paletteBefore_ = QApplication::palette();
    QgsApplication::setUITheme(QString::fromLatin1(GetParam().theme));
    QApplication::setLayoutDirection(GetParam().direction);
  }
  ~SmallScreen() override {
    QApplication::setLayoutDirection(Qt::LeftToRight);
    QgsApplication::setUITheme(QStringLiteral("default"));
    QApplication::setPalette(paletteBefore_);  // QGIS itself starts anew for that
    SetPorts(portsBefore_);
    SetApplication(applicationBefore_);
    SetDialogHost(hostBefore_);
  }

  /// Shows every dialog that there is, one after the other, as its tool opens it.
  void OnEach(const std::function<void(Dialog& dialog, DialogWindow& window)>& look) {
    std::set<std::string> names;
    for (const CommandInfo& command : AllCommands())
      if (HasDialog(command.dialog)) names.insert(command.dialog);
    for (const auto& [name, maker] : SmallDialogs()) names.insert(name);
    ASSERT_GT(names.size(), 10U);
    for (const std::string& name : names) {
      SCOPED_TRACE(name);
      const auto dialog = NewDialog(name);
      bool wasSeen = false;
      QTimer::singleShot(0, &host, [&] {
        QCoreApplication::processEvents();
        DialogWindow* window = host.WindowOf(*dialog);
        if (window == nullptr) return;
        wasSeen = true;
        look(*dialog, *window);
        if (dialog->IsLoaded()) dialog->Unload();
      });
      dialog->ShowModal();
      QCoreApplication::processEvents();
      EXPECT_TRUE(wasSeen) << "the dialog has closed at once";
    }
  }

  static std::vector<QWidget*> VisibleParts(const QWidget& window) {
    std::vector<QWidget*> parts;
    for (QWidget* part : window.findChildren<QWidget*>()) {
      const bool isPart = qobject_cast<QLabel*>(part) != nullptr ||
                          qobject_cast<QAbstractButton*>(part) != nullptr ||
                          qobject_cast<QLineEdit*>(part) != nullptr ||
                          qobject_cast<QComboBox*>(part) != nullptr ||
                          qobject_cast<QListWidget*>(part) != nullptr ||
                          qobject_cast<QPlainTextEdit*>(part) != nullptr ||
                          qobject_cast<QCalendarWidget*>(part) != nullptr;
      bool isInside = false;  // of another part
      for (const QWidget* up = part->parentWidget(); up != nullptr && up != &window;
           up = up->parentWidget())
        isInside = isInside || up->inherits("QCalendarWidget") || up->inherits("QComboBox") ||
                   up->inherits("QAbstractItemView") || up->inherits("QPlainTextEdit");
      if (isPart && !isInside && part->isVisible()) parts.push_back(part);
    }
    return parts;
  }

  WindowHost host;
  HeadlessApplication application;
  std::vector<Step> steps;

 private:
  IDialogHost* hostBefore_;
  IApplication* applicationBefore_;
  QPalette paletteBefore_;
  Ports portsBefore_;
};

INSTANTIATE_TEST_SUITE_P(Looks, SmallScreen,
                         ::testing::Values(Look{"plain", "default", Qt::LeftToRight},
                                           Look{"night", "Night Mapping", Qt::LeftToRight},
                                           Look{"rightToLeft", "default", Qt::RightToLeft}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(SmallScreen, EveryDialogFits) {
  const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
  OnEach([&](Dialog& dialog, DialogWindow& window) {
    EXPECT_LE(window.frameGeometry().width(), room.width());
    EXPECT_LE(window.frameGeometry().height(), room.height());
    // Somebody may want to look at them.
    if (const QString folder = qEnvironmentVariable("ORLINTHS_PICTURES"); !folder.isEmpty())
      window.grab().save(QStringLiteral("%1/%2-%3-%4.png")
                             .arg(folder, ToQt(dialog.Name()), QString::fromLatin1(GetParam().name))
                             .arg(window.devicePixelRatioF()));
  });
}

TEST_P(SmallScreen, NothingIsCutOffOrCovered) {
  OnEach([&](Dialog&, DialogWindow& window) {
    const auto parts = VisibleParts(window);
    for (const QWidget* part : parts) {
      const auto* label = qobject_cast<const QLabel*>(part);
      QSize needed = part->minimumSizeHint();
      if (label != nullptr && label->wordWrap())
        needed = QSize(0, label->heightForWidth(label->width()));
      else if (label != nullptr || qobject_cast<const QAbstractButton*>(part) != nullptr)
        needed = part->sizeHint().boundedTo(part->maximumSize());
      // A field may be given less: its text moves in it, or ends in dots.
      if (part->minimumWidth() > 0) needed.setWidth(part->minimumWidth());
      EXPECT_GE(part->width(), needed.width()) << Shown(*part);
      EXPECT_GE(part->height(), needed.height()) << Shown(*part);
      // It lies within what it stands on: the window, a frame, or what a scroll bar moves.
      EXPECT_TRUE(part->parentWidget()->rect().contains(part->geometry())) << Shown(*part);
      for (const QWidget* other : parts) {
        if (other == part || other->parentWidget() != part->parentWidget()) continue;
        EXPECT_FALSE(other->geometry().intersects(part->geometry()))
            << Shown(*part) << " and " << Shown(*other);
      }
    }
  });
}

TEST_P(SmallScreen, EnglishWordsEndWithTheirColonsAndBrackets) {
  const auto isEnded = [](const QString& text) {
    const auto lines = text.split(QLatin1Char('\n'));
    return std::all_of(lines.begin(), lines.end(), [](const QString& line) {
      return line.isEmpty() || line.endsWith(QChar(0x200E)) == QGuiApplication::isRightToLeft();
    });
  };
  OnEach([&](Dialog& dialog, DialogWindow& window) {
    for (const auto* button : window.findChildren<QAbstractButton*>()) {
      if (dialog.FindControl(FromQt(button->objectName())) == nullptr) continue;  // a part of Qt's
      EXPECT_TRUE(isEnded(button->text())) << FromQt(button->text());
    }
    for (const auto* group : window.findChildren<QGroupBox*>())
      EXPECT_TRUE(isEnded(group->title())) << FromQt(group->title());
  });
}

TEST_P(SmallScreen, EveryFieldHasItsWordsAndANameToBeRead) {
  OnEach([&](Dialog& dialog, DialogWindow& window) {
    std::set<const QWidget*> named;
    for (const QLabel* label : window.findChildren<QLabel*>()) named.insert(label->buddy());
    for (const PlannedSection& section : PlanOf(dialog).sections)
      for (const PlannedRow& row : section.rows) {
        const bool isField =
            row.kind == PlannedRow::Kind::kField || row.kind == PlannedRow::Kind::kLists;
        if (!isField || (row.caption.empty() && row.label == nullptr)) continue;
        for (const Control* control : row.controls)
          EXPECT_TRUE(named.contains(window.Of(*control).Widget())) << control->name;
      }
    for (QWidget* part : VisibleParts(window)) {
      QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(part);
      ASSERT_NE(spoken, nullptr);
      if (qobject_cast<QLabel*>(part) != nullptr && spoken->text(QAccessible::Name).isEmpty())
        continue;  // one that has nothing to say yet
      EXPECT_NE(spoken->text(QAccessible::Name).trimmed(), QString()) << Shown(*part);
      EXPECT_NE(spoken->text(QAccessible::Name), QStringLiteral("...")) << Shown(*part);
    }
  });
}

TEST_P(SmallScreen, TabFollowsThePlan) {
  OnEach([&](Dialog& dialog, DialogWindow& window) {
    std::vector<const QWidget*> planned;
    const auto add = [&](const Control* control) {
      if (control == nullptr) return;
      const QWidget* widget = window.Of(*control).Widget();
      if (widget->isVisible() && (widget->focusPolicy() & Qt::TabFocus) != 0)
        planned.push_back(widget);
    };
    const DialogPlan plan = PlanOf(dialog);
    for (const PlannedSection& section : plan.sections)
      for (const PlannedRow& row : section.rows) {
        for (const Control* control : row.controls) add(control);
        add(row.picker);
      }
    const std::size_t fields = planned.size();
    for (const Button* button : plan.buttons) add(button);
    std::vector<const QWidget*> walked;
    QWidget* at = &window;
    do {
      at = at->nextInFocusChain();
      if (std::find(planned.begin(), planned.end(), at) != planned.end()) walked.push_back(at);
    } while (at != &window);
    ASSERT_EQ(walked.size(), planned.size());
    for (std::size_t i = 0; i < fields; ++i)
      EXPECT_EQ(walked[i], planned[i]) << Shown(*walked[i]) << " for " << Shown(*planned[i]);
  });
}

TEST_P(SmallScreen, EnterPressesTheMainButtonAndEscCloses) {
  const auto key = [](QWidget& window, int code) {
    QKeyEvent press(QEvent::KeyPress, code, Qt::NoModifier);
    QApplication::sendEvent(&window, &press);
  };
  OnEach([&](Dialog& dialog, DialogWindow& window) {
    steps.clear();
    const Button* main = dialog.MainButton();
    if (main != nullptr && main->enabled()) {
      const auto* widget = qobject_cast<QPushButton*>(window.Of(*main).Widget());
      ASSERT_NE(widget, nullptr);
      EXPECT_TRUE(widget->isDefault());
    }
    key(window, Qt::Key_Escape);
    EXPECT_FALSE(dialog.IsVisible());
    EXPECT_THAT(steps, IsEmpty());
  });
}

}  // namespace
}  // namespace orlinths
