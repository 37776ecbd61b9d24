#include "qgis/Plugin.h"

#include <QAction>
#include <QCoreApplication>
#include <QTimer>

#include <qgisinterface.h>
#include <qgsiconutils.h>
#include <qgsmapcanvas.h>
#include <qgsproject.h>

#include "component/Component.h"
#include "qgis/CommandLocator.h"
#include "qgis/CommandSet.h"
#include "qgis/DesktopApplication.h"
#include "qgis/LayerIcons.h"
#include "qgis/MapToolAdapters.h"
#include "qgis/SessionRun.h"
#include "qgis/Text.h"
#include "qgis/Toolbar.h"
#include "qgis/WindowHost.h"

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
  windows_->iconOf = LayerIconOf;
  windows_->onWorkDone = [this] { application_->Bridge().WorkDone(); };
  application_->yield = [this] { windows_->Yield(); };
  SetApplication(application_.get());
  SetDialogHost(windows_.get());
  SetPorts(windows_->MakePorts());

  commands_ = std::make_unique<CommandSet>(*application_);
  const auto clicked = [this](const CommandInfo& command) { Click(command); };
  toolbar_ = std::make_unique<Toolbar>(qgis_, clicked);
  MakeMapTools();
  locator_ = new CommandLocator(clicked);
  qgis_.registerLocatorFilter(locator_);
  PlaySessionIfAsked();
}

void Plugin::unload() {
  if (locator_ != nullptr) qgis_.deregisterLocatorFilter(locator_);
  locator_ = nullptr;
  toolbar_.reset();
  digitiser_.reset();
  commands_.reset();
  SetPorts({});
  SetDialogHost(nullptr);
  SetApplication(nullptr);
  windows_.reset();
  application_.reset();
  ForgetDialogs();
}

void Plugin::Click(const CommandInfo& command) {
  commands_->Click(command);
  if (std::string_view(command.className) == kDigitiser) application_->TakeInHand(command.caption);
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
      const int status = PlayInQgis(order, *application_, *windows_);
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
