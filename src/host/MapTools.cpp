#include "host/MapTools.h"

#include "host/CommandObject.h"
#include "host/SmallDialogs.h"
#include "runtime/Trap.h"

namespace orlinths {

Envelope gViewBookmark;
bool gViewBookmarkSet = false;

namespace {

/// Keeps nothing of its host.
class MapTool : public CommandObject, public ITool {
 public:
  using CommandObject::CommandObject;
  void OnCreate(IApplication*) override {}
  std::string Cursor() const override { return "picCursor"; }

 protected:
  /// Gives the user the tool back that was in hand before the click; the host's zoom tool when that
  /// was this one.
  void GiveBack(const std::string& toolInHand) const {
    gApp->SetCurrentTool(toolInHand == Caption() ? kZoomInTool : toolInHand);
  }
};

class ViewExtentSet : public MapTool {
 public:
  using MapTool::MapTool;
  void OnClick() override {
    Trap("SetViewExt(A): ", [&] {
      InitMapGlobals();
      const std::string toolInHand = gApp->CurrentTool();
      gViewBookmark = gMxDoc->ActiveView().Extent();
      gViewBookmarkSet = true;
      GiveBack(toolInHand);
      gApp->StatusBar().SetMessage("Extent Bookmarked");
    });
  }
};

class ViewExtentZoom : public MapTool {
 public:
  using MapTool::MapTool;
  // The globals are there: the bookmark's command has filled them.
  void OnClick() override {
    if (!gViewBookmarkSet) return;
    Trap("ZoomViewExt(A): ", [&] {
      const std::string toolInHand = NotNothing(gApp).CurrentTool();
      IActiveView& view = NotNothing(gMxDoc).ActiveView();
      view.SetExtent(gViewBookmark);
      view.Refresh();
      GiveBack(toolInHand);
      gApp->StatusBar().SetMessage("Zoomed To Bookmarked Extent");
    });
  }
};

class Digitise : public MapTool {
 public:
  using MapTool::MapTool;
  void OnClick() override { InitMapGlobals(); }
  void OnMouseDown(int button, int, int x, int y) override {
    if (gDigXY == nullptr || button != 1) return;
    gDigPoint = NotNothing(gMxDoc).ActiveView().ToMapPoint(x, y);
    gDigXY->ProcessDigitisedPoint();
  }
};

}  // namespace

std::unique_ptr<ICommand> CreateMapTool(const CommandInfo& info) {
  const std::string_view name = info.className;
  if (name == "clsViewExtentSet") return std::make_unique<ViewExtentSet>(info);
  if (name == "clsViewExtentZoom") return std::make_unique<ViewExtentZoom>(info);
  if (name == "clsDigitise") return std::make_unique<Digitise>(info);
  return nullptr;
}

}  // namespace orlinths
