// The plugin as QGIS loads it.
#pragma once

#include <QObject>

#include <qgisplugin.h>

#include <cstdint>
#include <functional>
#include <memory>

class QgisInterface;
class QgsLocatorFilter;

namespace orlinths {

class CommandSet;
class DesktopApplication;
class HistoryPanel;
class MapToolAdapter;
class SessionRecorder;
class Toolbar;
class WindowHost;
struct CommandInfo;
struct Session;

class Plugin : public QObject, public QgisPlugin {
 public:
  explicit Plugin(QgisInterface* qgis);
  ~Plugin() override;
  void initGui() override;
  void unload() override;

 private:
  void Click(const CommandInfo& command);
  void MakeMapTools();
  void MakeHistory();
  void RunAgain(const Session& session);
  /// Whether the project has all layers that the run worked on. Tells which are gone, and offers to
  /// add those that the project alone does not have.
  bool HasLayersOf(const Session& session);
  void PlaySessionIfAsked();

  QgisInterface& qgis_;
  std::unique_ptr<DesktopApplication> application_;
  std::unique_ptr<WindowHost> windows_;
  std::unique_ptr<CommandSet> commands_;
  std::unique_ptr<MapToolAdapter> digitiser_;
  std::unique_ptr<Toolbar> toolbar_;
  std::function<std::int64_t()> now_;  ///< the clock on the wall
  std::unique_ptr<SessionRecorder> recorder_;
  std::unique_ptr<HistoryPanel> history_;
  bool isPlaying_ = false;
  QgsLocatorFilter* locator_ = nullptr;  ///< QGIS's own once registered
};

}  // namespace orlinths
