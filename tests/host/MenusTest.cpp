// The toolbar and the menus, as a host walks them.
#include <gmock/gmock.h>

#include <set>

#include "host/Commands.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct MenuCase {
  const char* className;
  const char* name;
  const char* caption;
  std::vector<std::string> items;  // a bar before the class: opens a new group
};

const MenuCase kMenus[] = {
    {"clsExtOrlinthToolbar",
     "OrlinthsToolbar",
     "Orlinth's Tools",
     {"clsExtOrlinthMenu", "clsViewExtentSet", "clsViewExtentZoom", "clsDigitise"}},
    {"clsExtOrlinthMenu",
     "OrlinthsMenu",
     "OrlinthsTools",
     {"clsExtOrlinthAT", "clsExtOrlinthAM", "clsExtOrlinthKM", "clsExtOrlinthRT",
      "clsExtOrlinthSampT", "clsExtOrlinthTT", "clsExtOrlinthVET", "clsExtOrlinthST", "|clsAbout"}},
    {"clsExtOrlinthAT",
     "O_ATMenu",
     "Analysis Tools",
     {"clsISectPnt", "clsPntsInPoly", "clsPntDistBetw", "clsPntDistMatrix", "clsEnumFeatures",
      "clsLineMetrics", "clsLineRasterStats", "clsPolyInPoly", "clsLinesInPolys"}},
    {"clsExtOrlinthAM",
     "O_AMMenu",
     "Animal Movements",
     {"clsMCP", "clsMoveParamsSimple", "clsLocsToPath", "clsPathToPnts", "clsExtOrlinthCRW"}},
    {"clsExtOrlinthCRW", "O_CRWMenu", "CRW Simulation Tools", {"clsGenWalk", "clsCRWSimRaster"}},
    {"clsExtOrlinthKM",
     "O_KTMenu",
     "Kernel Tools",
     {"clsPctVolContour", "clsBatchKernel", "clsKernel"}},
    {"clsExtOrlinthRT",
     "O_RTMenu",
     "Raster Tools",
     {"clsRClip", "clsClipRasterByPolys", "clsExtrRastEdge", "clsFastLScape", "clsThemRastSum",
      "clsZonalStats", "clsSpatReplace", "clsGridSep", "|clsGridSpread", "|clsRstTypeConv"}},
    {"clsExtOrlinthSampT",
     "O_STMenu",
     "Sampling Tools",
     {"clsRndSel", "clsRndPnt", "clsRegPnt", "clsConditionalSampling", "clsCreateVectorGrid",
      "clsSamplingShapes", "clsRndPnt3D"}},
    {"clsExtOrlinthTT",
     "O_TTMenu",
     "Table Tools",
     {"clsAddArea", "clsAddLength", "clsXYAdd", "clsUnVal", "clsSumItem", "clsDelFlds",
      "clsAddXYLineData", "|clsCSVTools"}},
    {"clsExtOrlinthVET",
     "O_VETMenu",
     "Vector Editing Tools",
     {"clsBuffer", "clsVectorRotation", "clsSnapPntsToLines", "clsISectLines"}},
    {"clsExtOrlinthST",
     "O_STMenu",
     "Specialist Tools",
     {"clsRiverSampling", "clsSpecPntRedistrib", "clsPLSSPntFinder", "clsJulianDay"}},
};

TEST(Menus, HoldTheirItemsInOrderWithTheirGroups) {
  for (const MenuCase& wanted : kMenus) {
    const auto menu = CreateMenu(ProgId(wanted.className));
    ASSERT_NE(menu, nullptr) << wanted.className;
    EXPECT_EQ(menu->Name(), wanted.name);
    EXPECT_EQ(menu->Caption(), wanted.caption);
    ASSERT_EQ(menu->ItemCount(), static_cast<int>(wanted.items.size())) << wanted.className;
    for (int i = 0; i < menu->ItemCount(); ++i) {
      std::string item = wanted.items[static_cast<std::size_t>(i)];
      const bool opensGroup = item.front() == '|';
      if (opensGroup) item.erase(0, 1);
      ItemDef def{.id = "", .group = !opensGroup};
      menu->GetItemInfo(i, def);
      EXPECT_EQ(def.id, ProgId(item));
      EXPECT_EQ(def.group, opensGroup) << item;
    }
  }
}

TEST(Menus, OutsideTheRangeSetNothingButTheClearedGroup) {
  const auto menu = CreateMenu(ProgId("clsExtOrlinthCRW"));
  for (const int position : {-1, 2, 1000}) {
    ItemDef def{.id = "untouched", .group = true};
    menu->GetItemInfo(position, def);
    EXPECT_EQ(def.id, "untouched");
    EXPECT_FALSE(def.group);
  }
}

TEST(Menus, NameOnlyWhatCanBeMade) {
  for (const MenuCase& wanted : kMenus) {
    const auto menu = CreateMenu(ProgId(wanted.className));
    for (int i = 0; i < menu->ItemCount(); ++i) {
      ItemDef def;
      menu->GetItemInfo(i, def);
      EXPECT_NE(CreateCommand(def.id) != nullptr, CreateMenu(def.id) != nullptr) << def.id;
      EXPECT_EQ(DllGetClassObject(def.id), 0);
    }
  }
}

TEST(Menus, ThatAreNoneAreNotMade) {
  EXPECT_EQ(CreateMenu(ProgId("clsMCP")), nullptr);
  EXPECT_EQ(CreateMenu("clsExtOrlinthMenu"), nullptr) << "a class is no ProgID";
  EXPECT_EQ(CreateMenu("OtherTools.clsExtOrlinthMenu"), nullptr);
  EXPECT_EQ(CreateMenu(""), nullptr);
}

TEST(CommandsInMenuOrder, GoesDepthFirstThenTheToolbarThenWhatStandsNowhere) {
  const auto places = CommandsInMenuOrder();
  ASSERT_EQ(places.size(), 56u);
  std::set<const CommandInfo*> once;
  std::vector<std::string> classes;
  for (const CommandPlace& place : places) {
    once.insert(place.command);
    classes.push_back(place.command->className);
  }
  EXPECT_EQ(once.size(), 56u);

  std::vector<std::string> wanted;
  const auto add = [&](const auto& self, const std::string& menuClass) -> void {
    for (const MenuCase& menu : kMenus) {
      if (menuClass != menu.className) continue;
      for (std::string item : menu.items) {
        if (item.front() == '|') item.erase(0, 1);
        if (item.starts_with("clsExtOrlinth"))
          self(self, item);
        else
          wanted.push_back(item);
      }
    }
  };
  add(add, "clsExtOrlinthMenu");
  for (const char* last :
       {"clsViewExtentSet", "clsViewExtentZoom", "clsDigitise", "clsSnapPolysToPnts"})
    wanted.push_back(last);
  EXPECT_EQ(classes, wanted);
}

TEST(CommandsInMenuOrder, TellsWhereACommandStands) {
  const auto placeOf = [](const std::string& className) {
    for (const CommandPlace& place : CommandsInMenuOrder())
      if (place.command->className == className) return place.menu;
    return std::vector<std::string>{"not found"};
  };
  EXPECT_THAT(placeOf("clsRndPnt"), ElementsAre("OrlinthsTools", "Sampling Tools"));
  EXPECT_THAT(placeOf("clsGenWalk"),
              ElementsAre("OrlinthsTools", "Animal Movements", "CRW Simulation Tools"));
  EXPECT_THAT(placeOf("clsAbout"), ElementsAre("OrlinthsTools"));
  EXPECT_THAT(placeOf("clsDigitise"), ElementsAre("Orlinth's Tools"));
  EXPECT_THAT(placeOf("clsSnapPolysToPnts"), IsEmpty());
}

}  // namespace
}  // namespace orlinths
