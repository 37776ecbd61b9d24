// QGIS as the application that the tools run in: project, canvas, status bar, current tool.
#pragma once

#include <QPointer>

#include <cstdint>
#include <map>
#include <string>

#include "data/Application.h"
#include "host/Throttle.h"
#include "qgis/MapBridge.h"
#include "session/Stage.h"

class QgisInterface;
class QgsMapTool;
class QProgressBar;
class QLabel;

namespace orlinths {

class DesktopApplication : public IApplication,
                           public IPlayedApplication,
                           private IMxDocument,
                           private IActiveView,
                           private IStatusBar {
 public:
  explicit DesktopApplication(QgisInterface& qgis);
  ~DesktopApplication() override;

  /// The map tool of that caption can be put into the user's hand.
  void AddMapTool(const std::string& caption, QgsMapTool* tool);
  MapBridge& Bridge() { return map_; }
  /// Shows all layers in a view of 1000 by 800 units, as the view of a map without a window is.
  void ShowWhole();
  /// Work that shows its progress lets the host repaint.
  std::function<void()> yield;

  // What tools ask.
  IMxDocument* Document() override { return this; }
  IStatusBar& StatusBar() override { return *this; }
  std::string CurrentTool() const override;
  void SetCurrentTool(const std::string& caption) override;
  void* FindExtension(const std::string&) override { return nullptr; }

  // What a player asks.
  IApplication& Application() override { return *this; }
  IMap& PlayedMap() override { return map_; }
  void Listen(ApplicationListener listener) override;
  bool TookToolChoice() override;
  void TakeInHand(const std::string& caption) override;
  void Select(const std::string& layer, const std::vector<Oid>& oids) override;

 private:
  class Progressor : public IStepProgressor {
   public:
    explicit Progressor(DesktopApplication& application) : application_(application) {}
    void SetMinRange(std::int64_t) override {}
    void SetMaxRange(std::int64_t max) override { max_ = max; }
    void SetMessage(const std::string& message) override { message_ = message; }
    void SetPosition(std::int64_t position) override;
    void Show() override { isShown_ = true; }
    void Hide() override;

   private:
    void Tell();
    DesktopApplication& application_;
    std::int64_t max_ = 0, position_ = 0;
    std::string message_;
    bool isShown_ = false, hasNews_ = false;
    Throttle throttle_;
  };

  IMap* FocusMap() override { return &map_; }
  IActiveView& ActiveView() override { return *this; }
  IStepProgressor& ProgressBar() override { return progressor_; }
  void SetMessage(const std::string& message) override;
  void Refresh() override;
  void RefreshSelection() override {}  // QGIS repaints a selection by itself
  Envelope Extent() const override;
  void SetExtent(const Envelope& extent) override;
  Point ToMapPoint(int x, int y) const override;

  void ShowProgress(std::int64_t position, std::int64_t max, const std::string& message);
  void HideProgress();
  QgsMapTool* ToolOf(const std::string& caption) const;

  QgisInterface& qgis_;
  MapBridge map_;
  Progressor progressor_{*this};
  ApplicationListener listener_;
  std::map<std::string, QPointer<QgsMapTool>> tools_;
  bool toolChosen_ = false;
  QPointer<QProgressBar> bar_;
};

}  // namespace orlinths
