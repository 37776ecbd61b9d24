// The running host as tools see it: application, document, map, view, status bar; and the globals that lead to them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "data/Layers.h"

namespace orlinths {

/// The application's own progress display, for work done outside a dialog's handler.
class IStepProgressor {
 public:
  virtual ~IStepProgressor() = default;
  virtual void SetMinRange(std::int64_t min) = 0;
  virtual void SetMaxRange(std::int64_t max) = 0;
  virtual void SetMessage(const std::string& message) = 0;
  /// May be called per record: the host repaints at most 20 times a second.
  virtual void SetPosition(std::int64_t position) = 0;
  virtual void Show() = 0;
  virtual void Hide() = 0;
};

class IStatusBar {
 public:
  virtual ~IStatusBar() = default;
  virtual IStepProgressor& ProgressBar() = 0;
  virtual void SetMessage(const std::string& message) = 0;  ///< of the first pane
};

class IActiveView {
 public:
  virtual ~IActiveView() = default;
  virtual void Refresh() = 0;
  /// Repaints the selection.
  virtual void RefreshSelection() = 0;
  virtual Envelope Extent() const = 0;
  virtual void SetExtent(const Envelope& extent) = 0;
  /// From units of the screen (x right, y down) to map units.
  virtual Point ToMapPoint(int x, int y) const = 0;
};

class IMap {
 public:
  virtual ~IMap() = default;
  /// The layers at the top of the tree, top first; groups hold the rest.
  virtual const std::vector<LayerPtr>& TopLayers() const = 0;
  virtual const std::vector<StandaloneTablePtr>& StandaloneTables() const = 0;
  int LayerCount() const { return static_cast<int>(TopLayers().size()); }
  /// All layers in drawing order, top first, depth first into groups; a group stands before its layers.
  std::vector<LayerPtr> Layers() const;
  /// Puts a layer on top.
  virtual void AddLayer(LayerPtr layer) = 0;
  virtual void AddTable(StandaloneTablePtr table) = 0;
  virtual SpatialReferencePtr SpatialReference() const = 0;  ///< its first layer's until set; never null
  /// Called by a layer of the map whose selection a tool has changed.
  virtual void SelectionChanged(const IFeatureLayer& layer) = 0;
};

class IMxDocument {
 public:
  virtual ~IMxDocument() = default;
  virtual IMap* FocusMap() = 0;
  virtual IActiveView& ActiveView() = 0;
};

class IApplication {
 public:
  virtual ~IApplication() = default;
  virtual IMxDocument* Document() = 0;
  virtual IStatusBar& StatusBar() = 0;
  /// Caption of the tool in the user's hand; empty for none of ours.
  virtual std::string CurrentTool() const = 0;
  /// Makes the tool of that caption current; an empty caption or `kZoomInTool` the host's own zoom tool.
  virtual void SetCurrentTool(const std::string& caption) = 0;
  /// The extension registered under a ProgID; nothing for an ordinary command.
  virtual void* FindExtension(const std::string& progId) = 0;
};
inline constexpr const char* kZoomInTool = "esriArcMapUI.ZoomInTool";

/// The running application, its document and the map that had the focus at the last click: the only road to the map. Filled at
/// each click; nothing before the first.
extern IApplication* gApp;
extern IMxDocument* gMxDoc;
extern IMap* gMap;

}  // namespace orlinths
