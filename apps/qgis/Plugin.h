// The plugin as QGIS loads it.
#pragma once

#include <QObject>

#include <qgisplugin.h>

#include <memory>

class QgisInterface;
class QgsLocatorFilter;

namespace orlinths {

class CommandSet;
class DesktopApplication;
class MapToolAdapter;
class Toolbar;
class WindowHost;
struct CommandInfo;

class Plugin : public QObject, public QgisPlugin {
 public:
  explicit Plugin(QgisInterface* qgis);
  ~Plugin() override;
  void initGui() override;
  void unload() override;

 private:
  void Click(const CommandInfo& command);
  void MakeMapTools();
  void PlaySessionIfAsked();

  QgisInterface& qgis_;
  std::unique_ptr<DesktopApplication> application_;
  std::unique_ptr<WindowHost> windows_;
  std::unique_ptr<CommandSet> commands_;
  std::unique_ptr<MapToolAdapter> digitiser_;
  std::unique_ptr<Toolbar> toolbar_;
  QgsLocatorFilter* locator_ = nullptr;  ///< QGIS's own once registered
};

}  // namespace orlinths
