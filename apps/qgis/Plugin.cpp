#include "qgis/Plugin.h"

#include <QAction>
#include <QCoreApplication>
#include <QTimer>

#include <qgisinterface.h>
#include <qgsapplication.h>
#include <qgsmapcanvas.h>
#include <qgsproject.h>

#include "component/Component.h"
#include "numerics/Random.h"
#include "qgis/CommandLocator.h"
#include "qgis/CommandSet.h"
#include "qgis/DesktopApplication.h"
#include "qgis/HistoryPanel.h"
#include "qgis/LayersOfRun.h"
#include "qgis/MapToolAdapters.h"
#include "qgis/MessageBoxes.h"
#include "qgis/Refill.h"
#include "qgis/SessionRun.h"
#include "qgis/Text.h"
#include "qgis/Toolbar.h"
#include "qgis/WindowHost.h"
#include "session/MapBuilder.h"
#include "session/SessionRecorder.h"
#include "session/Words.h"

namespace {

const QString kName = QStringLiteral("Orlinth's Analysis Tools");
const QString kDescription =
    QStringLiteral("Tools to facilitate answering ecological research questions.");
const QString kCategory = QStringLiteral("Analysis");
const QString kVersion = QStringLiteral("3.23");
const QString kIcon = QStringLiteral(":/orlinths/icons/tools.svg");
const QString kExperimental = QStringLiteral("false");

constexpr const char* kDigitiser = "clsDigitise";

}  // namespace

namespace orlinths {

Plugin::Plugin(QgisInterface* qgis)
    : QgisPlugin(kName, kDescription, kCategory, kVersion, QgisPlugin::UI), qgis_(*qgis) {}

Plugin::~Plugin() = default;

void Plugin::initGui() {
  RegisterTools();
  application_ = std::make_unique<DesktopApplication>(qgis_);
  windows_ = std::make_unique<WindowHost>(qgis_.mainWindow());
  windows_->onWorkDone = [this] { application_->Bridge().WorkDone(); };
  application_->yield = [this] { windows_->Yield(); };
  SetApplication(application_.get());
  SetDialogHost(windows_.get());
  recorder_ = std::make_unique<SessionRecorder>();
  Ports ports = windows_->MakePorts();
  ports.clock = [this] { return recorder_->IsRecording() ? recorder_->Clock() : now_(); };
  now_ = SetPorts(std::move(ports)).clock;

  commands_ = std::make_unique<CommandSet>(*application_);
  const auto clicked = [this](const CommandInfo& command) { Click(command); };
  toolbar_ = std::make_unique<Toolbar>(qgis_, clicked);
  MakeMapTools();
  locator_ = new CommandLocator(clicked);
  qgis_.registerLocatorFilter(locator_);
  MakeHistory();
  PlaySessionIfAsked();
}

void Plugin::unload() {
  if (locator_ != nullptr) qgis_.deregisterLocatorFilter(locator_);
  locator_ = nullptr;
  qgis_.removeDockWidget(history_.get());
  history_.reset();
  // No user is left with nothing in hand.
  if (qgis_.mapCanvas()->mapTool() == digitiser_.get()) qgis_.actionPan()->trigger();
  toolbar_.reset();
  digitiser_.reset();
  commands_.reset();
  SetPorts({});  // the defaults
  SetDialogHost(nullptr);
  SetApplication(nullptr);
  ForgetDialogs();
  windows_.reset();
  application_.reset();
  recorder_.reset();
}

void Plugin::Click(const CommandInfo& command) {
  application_->Bridge().Renew();
  if (*command.dialog != '\0') {
    recorder_->Begin(command, ContentsOf(application_->Bridge()), ClockNanoseconds());
    if (!isPlaying_) ResetGenerator();  // as in a new process, so that the run can be repeated
  }
  commands_->Click(command);
  if (const auto session = recorder_->End()) history_->Keep(*session, recorder_->Outcome());
  if (std::string_view(command.className) == kDigitiser) application_->TakeInHand(command.caption);
}

void Plugin::MakeHistory() {
  const QString folder = QgsApplication::qgisSettingsDirPath() + QStringLiteral("orlinths/history");
  history_ = std::make_unique<HistoryPanel>(HistoryFiles(FromQt(folder)), qgis_.mainWindow());
  history_->onRunAgain = [this](const Session& session) { RunAgain(session); };
  qgis_.addDockWidget(Qt::RightDockWidgetArea, history_.get());
  history_->hide();
  toolbar_->AddToMenu(history_->toggleViewAction());
  windows_->onStep = [this](const Dialog& dialog, const Step& step) {
    recorder_->Acted(dialog, step);
  };
  windows_->onStepDone = [this](const Dialog& dialog, const Step& step) {
    recorder_->Finished(dialog, step);
  };
  windows_->onPick = [this](const steps::Pick& pick) { recorder_->Picked(pick); };
  windows_->onAnswer = [this](const std::string& question, bool yes) {
    recorder_->Answered(question, yes);
  };
}

void Plugin::RunAgain(const Session& session) {
  const auto* click =
      session.steps.empty() ? nullptr : std::get_if<steps::Click>(&session.steps.front().what);
  if (click == nullptr) WrongCall("the session does not begin with a click of a command");
  const CommandInfo* command = FindCommand(click->className);
  if (command == nullptr) WrongCall("there is no command " + click->className);
  if (windows_->IsOpen()) return;
  const bool isComplete = HasLayersOf(session);
  windows_->onNextReady = [this, session, isComplete](Dialog& dialog) {
    const QStringList wrongs = Refill(dialog, session, *windows_, [this](const std::string& path) {
      return ShowMessageBox(path + " exists. Replace it?", kYesNo | kExclamation, "",
                            windows_->Parent()) == Reply::kYes;
    });
    if (isComplete && !wrongs.isEmpty())
      ShowMessageBox("Not everything is as it was then:\r" + FromQt(wrongs.join(QLatin1Char('\r'))),
                     kInformation, "", windows_->Parent());
  };
  Click(*command);
  windows_->onNextReady = nullptr;
}

bool Plugin::HasLayersOf(const Session& session) {
  application_->Bridge().Renew();
  const MissingLayers missing = MissingLayersOf(session, application_->Bridge());
  bool isComplete = IsEmpty(missing.gone);
  if (!isComplete)
    ShowMessageBox("Data of this run are no longer there:\r" + Listing(missing.gone) +
                       "\rThe dialog is filled in as far as it goes without them.",
                   kExclamation, "", windows_->Parent());
  if (IsEmpty(missing.onDisk)) return isComplete;
  if (ShowMessageBox("The project does not have these layers of the run:\r" +
                         Listing(missing.onDisk) + "\rAdd them?",
                     kYesNo | kExclamation, "", windows_->Parent()) == Reply::kNo)
    return false;
  AddToProject(missing.onDisk);
  return isComplete;
}

void Plugin::MakeMapTools() {
  const CommandInfo& info = *FindCommand(kDigitiser);
  auto& tool = dynamic_cast<ITool&>(commands_->Of(info));
  digitiser_ = std::make_unique<MapToolAdapter>(qgis_.mapCanvas(), tool, ToQt(info.caption));
  QAction* action = toolbar_->ActionOf(info);
  action->setCheckable(true);
  digitiser_->setAction(action);
  application_->AddMapTool(info.caption, digitiser_.get());
}

void Plugin::PlaySessionIfAsked() {
  const SessionOrder order = SessionOrder::FromEnvironment();
  if (order.sessionPaths.empty()) return;
  // Once QGIS has started; then it ends with the last session's exit status.
  QObject::connect(&qgis_, &QgisInterface::initializationCompleted, this, [this, order] {
    QTimer::singleShot(0, this, [this, order] {
      isPlaying_ = true;
      WidgetHand hand(*windows_);
      hand.onClick = [this](const CommandInfo& command) { toolbar_->ActionOf(command)->trigger(); };
      hand.map = qgis_.mapCanvas()->viewport();
      const int status = PlayInQgis(order, *application_, hand);
      // As when QGIS is left by its menu; with layers it may look for them in what it has given up.
      QgsProject::instance()->clear();
      QgsProject::instance()->setDirty(false);
      QCoreApplication::exit(status);
    });
  });
}

}  // namespace orlinths

// ---- What QGIS looks for in the library

QGISEXTERN QgisPlugin* classFactory(QgisInterface* qgis) { return new orlinths::Plugin(qgis); }
QGISEXTERN const QString* name() { return &kName; }
QGISEXTERN const QString* description() { return &kDescription; }
QGISEXTERN const QString* category() { return &kCategory; }
QGISEXTERN int type() { return QgisPlugin::UI; }
QGISEXTERN const QString* version() { return &kVersion; }
QGISEXTERN const QString* icon() { return &kIcon; }
QGISEXTERN const QString* experimental() { return &kExperimental; }
QGISEXTERN void unload(QgisPlugin* plugin) { delete plugin; }
