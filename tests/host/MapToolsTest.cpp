#include "host/MapTools.h"

#include <gmock/gmock.h>

#include "host/SmallDialogs.h"
#include "support/TestHost.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct MapToolsTest : ::testing::Test {
  MapToolsTest() {
    gViewBookmark = {};
    gViewBookmarkSet = false;
    gDigPoint = {};
  }
  static void Click(const std::string& className) { CreateCommand(ProgId(className))->OnClick(); }
  static void Mouse(int button, int x, int y) {
    const auto command = CreateCommand(ProgId("clsDigitise"));
    dynamic_cast<ITool&>(*command).OnMouseDown(button, 0, x, y);
  }
  TestHost host;
  const Envelope first{.xMin = 0, .yMin = 0, .xMax = 10, .yMax = 8};
  const Envelope second{.xMin = 100, .yMin = 100, .xMax = 110, .yMax = 108};
};

TEST_F(MapToolsTest, ABookmarkIsTakenAndGoneTo) {
  host.application.View().SetExtent(first);
  Click("clsViewExtentSet");
  EXPECT_TRUE(gViewBookmarkSet);
  EXPECT_EQ(gViewBookmark, first);
  host.application.View().SetExtent(second);
  Click("clsViewExtentZoom");
  EXPECT_EQ(host.application.View().Extent(), first);
  EXPECT_THAT(host.statusBar, ElementsAre("Extent Bookmarked", "Zoomed To Bookmarked Extent"));
  EXPECT_THAT(host.messages.All(), IsEmpty());
}

TEST_F(MapToolsTest, AnotherToolStaysInTheUsersHand) {
  host.application.SetCurrentTool("Get Coordinates Tool");
  Click("clsViewExtentSet");
  EXPECT_EQ(host.application.CurrentTool(), "Get Coordinates Tool");
  Click("clsViewExtentZoom");
  EXPECT_EQ(host.application.CurrentTool(), "Get Coordinates Tool");
  host.application.SetCurrentTool("Zoom To View Extent Bookmark");
  Click("clsViewExtentSet");
  EXPECT_EQ(host.application.CurrentTool(), "Zoom To View Extent Bookmark") << "not this one's own";
}

TEST_F(MapToolsTest, TheirOwnToolGivesWayToTheHostsZoomTool) {
  host.application.SetCurrentTool("Set View Extent Bookmark");
  Click("clsViewExtentSet");
  EXPECT_EQ(host.application.CurrentTool(), "esriArcMapUI.ZoomInTool");
  host.application.SetCurrentTool("Zoom To View Extent Bookmark");
  Click("clsViewExtentZoom");
  EXPECT_EQ(host.application.CurrentTool(), "esriArcMapUI.ZoomInTool");
}

TEST_F(MapToolsTest, ZoomingBeforeAnyBookmarkDoesNothing) {
  host.application.SetCurrentTool("Zoom To View Extent Bookmark");
  Click("clsViewExtentZoom");
  EXPECT_EQ(gApp, nullptr) << "it does not fill the globals";
  EXPECT_EQ(host.application.CurrentTool(), "Zoom To View Extent Bookmark");
  EXPECT_THAT(host.statusBar, IsEmpty());
  EXPECT_THAT(host.messages.All(), IsEmpty());
}

TEST_F(MapToolsTest, ReportUnderTheirLabels) {
  SetApplication(nullptr);
  Click("clsViewExtentSet");
  EXPECT_FALSE(gViewBookmarkSet);
  gViewBookmarkSet = true;
  Click("clsViewExtentZoom");
  const std::string rest = "\r91\rObject variable or With block variable not set";
  EXPECT_EQ(host.Messages(), (Texts{"SetViewExt(A): " + rest, "ZoomViewExt(A): " + rest}));
}

TEST_F(MapToolsTest, AClickOnTheMapShowsItsCoordinates) {
  host.application.View().SetExtent({.xMin = 500000, .yMin = 0, .xMax = 501000, .yMax = 800});
  Click("clsDigitise");
  Mouse(1, 640, 380);
  EXPECT_EQ(gDigPoint.x, 500640);
  EXPECT_EQ(gDigPoint.y, 420) << "screen rows go down";
  Hand dialog = host.dialogs.Top();
  EXPECT_EQ(dialog->Name(), "frmDigXY");
  EXPECT_EQ(dialog.Text("txtCoords"), "500640, 420");
  dialog.Press("cmdExit");
  EXPECT_FALSE(dialog->IsLoaded());
  host.application.View().SetExtent({.xMin = 0, .yMin = 0, .xMax = 1, .yMax = 0.8});
  Mouse(1, 1, 0);
  EXPECT_EQ(host.dialogs.Top().Text("txtCoords"), "0.001, 0.8");
}

TEST_F(MapToolsTest, OtherButtonsAndClicksBeforeTheGlobalsChangeNothing) {
  Mouse(1, 10, 10);
  EXPECT_TRUE(gDigPoint.IsEmpty());
  EXPECT_EQ(gDigXY, nullptr);
  Click("clsDigitise");
  ASSERT_NE(gDigXY, nullptr);
  Mouse(2, 10, 10);
  EXPECT_TRUE(gDigPoint.IsEmpty());
  EXPECT_FALSE(gDigXY->IsVisible());
}

TEST_F(MapToolsTest, HaveTheCursorAndNothingElseToDo) {
  for (const char* className : {"clsViewExtentSet", "clsViewExtentZoom", "clsDigitise"}) {
    const auto command = CreateCommand(ProgId(className));
    auto& tool = dynamic_cast<ITool&>(*command);
    EXPECT_EQ(tool.Cursor(), "picCursor");
    tool.OnMouseMove(1, 0, 1, 1);
    tool.OnMouseUp(1, 0, 1, 1);
    tool.OnKeyDown(13, 0);
    tool.OnKeyUp(13, 0);
    tool.OnDblClick();
    tool.Refresh(0);
    EXPECT_FALSE(tool.OnContextMenu(1, 1));
    EXPECT_TRUE(tool.Deactivate());
  }
  EXPECT_EQ(gApp, nullptr);
}

}  // namespace
}  // namespace orlinths
