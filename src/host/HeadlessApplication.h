// An application without windows: a map, a view of 1000 by 800 screen units, a status bar that
// tells whoever listens.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "data/Application.h"
#include "data/Map.h"
#include "host/Throttle.h"

namespace orlinths {

class HeadlessApplication : public IApplication,
                            private IMxDocument,
                            private IActiveView,
                            private IStatusBar {
 public:
  static constexpr int kScreenWidth = 1000;
  static constexpr int kScreenHeight = 800;

  orlinths::Map map;
  std::function<void(const std::string& text)> onStatusBar;
  /// Told at most twenty times a second, and of the last position before `Hide`.
  std::function<void(std::int64_t position, std::int64_t max, const std::string& message)>
      onProgress;

  IMxDocument* Document() override { return this; }
  IStatusBar& StatusBar() override { return *this; }
  std::string CurrentTool() const override { return currentTool_; }
  void SetCurrentTool(const std::string& caption) override { currentTool_ = caption; }
  void* FindExtension(const std::string&) override { return nullptr; }
  IActiveView& View() { return *this; }

 private:
  class Progressor : public IStepProgressor {
   public:
    explicit Progressor(HeadlessApplication& application) : application_(application) {}
    void SetMinRange(std::int64_t) override {}
    void SetMaxRange(std::int64_t max) override { max_ = max; }
    void SetMessage(const std::string& message) override { message_ = message; }
    void SetPosition(std::int64_t position) override;
    void Show() override { shown_ = true; }
    void Hide() override;

   private:
    void Tell();

    HeadlessApplication& application_;
    std::int64_t max_ = 0;
    std::string message_;
    std::int64_t position_ = 0;
    bool shown_ = false, hasNews_ = false;
    Throttle throttle_;
  };

  IMap* FocusMap() override { return &map; }
  IActiveView& ActiveView() override { return *this; }
  IStepProgressor& ProgressBar() override { return progressor_; }
  void SetMessage(const std::string& message) override;
  void Refresh() override {}
  void RefreshSelection() override {}
  /// What the screen shows: the extent that was set, else that of all layers, fitted into the
  /// screen and centred.
  Envelope Extent() const override;
  void SetExtent(const Envelope& extent) override { view_ = extent; }
  Point ToMapPoint(int x, int y) const override;

  std::string currentTool_;
  std::optional<Envelope> view_;
  Progressor progressor_{*this};
};

}  // namespace orlinths
