#include "host/Commands.h"
#include "host/ComponentObject.h"
#include "runtime/Files.h"

#include <algorithm>

namespace orlinths {
namespace {

struct Item {
  const char* className;
  bool group = false;
};
struct Menu {
  const char* className;
  const char* name;
  const char* caption;
  std::vector<Item> items;
};

// The toolbar first, then the top menu and its sub-menus. `true` opens a new group.
const std::vector<Menu>& Menus() {
  static const std::vector<Menu> menus = {
      {kToolbarClass,
       "OrlinthsToolbar",
       "Orlinth's Tools",
       {{"clsExtOrlinthMenu"}, {"clsViewExtentSet"}, {"clsViewExtentZoom"}, {"clsDigitise"}}},
      {"clsExtOrlinthMenu",
       "OrlinthsMenu",
       "OrlinthsTools",
       {{"clsExtOrlinthAT"},
        {"clsExtOrlinthAM"},
        {"clsExtOrlinthKM"},
        {"clsExtOrlinthRT"},
        {"clsExtOrlinthSampT"},
        {"clsExtOrlinthTT"},
        {"clsExtOrlinthVET"},
        {"clsExtOrlinthST"},
        {"clsAbout", true}}},
      {"clsExtOrlinthAT",
       "O_ATMenu",
       "Analysis Tools",
       {{"clsISectPnt"},
        {"clsPntsInPoly"},
        {"clsPntDistBetw"},
        {"clsPntDistMatrix"},
        {"clsEnumFeatures"},
        {"clsLineMetrics"},
        {"clsLineRasterStats"},
        {"clsPolyInPoly"},
        {"clsLinesInPolys"}}},
      {"clsExtOrlinthAM",
       "O_AMMenu",
       "Animal Movements",
       {{"clsMCP"},
        {"clsMoveParamsSimple"},
        {"clsLocsToPath"},
        {"clsPathToPnts"},
        {"clsExtOrlinthCRW"}}},
      {"clsExtOrlinthCRW",
       "O_CRWMenu",
       "CRW Simulation Tools",
       {{"clsGenWalk"}, {"clsCRWSimRaster"}}},
      {"clsExtOrlinthKM",
       "O_KTMenu",
       "Kernel Tools",
       {{"clsPctVolContour"}, {"clsBatchKernel"}, {"clsKernel"}}},
      {"clsExtOrlinthRT",
       "O_RTMenu",
       "Raster Tools",
       {{"clsRClip"},
        {"clsClipRasterByPolys"},
        {"clsExtrRastEdge"},
        {"clsFastLScape"},
        {"clsThemRastSum"},
        {"clsZonalStats"},
        {"clsSpatReplace"},
        {"clsGridSep"},
        {"clsGridSpread", true},
        {"clsRstTypeConv", true}}},
      {"clsExtOrlinthSampT",
       "O_STMenu",
       "Sampling Tools",
       {{"clsRndSel"},
        {"clsRndPnt"},
        {"clsRegPnt"},
        {"clsConditionalSampling"},
        {"clsCreateVectorGrid"},
        {"clsSamplingShapes"},
        {"clsRndPnt3D"}}},
      {"clsExtOrlinthTT",
       "O_TTMenu",
       "Table Tools",
       {{"clsAddArea"},
        {"clsAddLength"},
        {"clsXYAdd"},
        {"clsUnVal"},
        {"clsSumItem"},
        {"clsDelFlds"},
        {"clsAddXYLineData"},
        {"clsCSVTools", true}}},
      {"clsExtOrlinthVET",
       "O_VETMenu",
       "Vector Editing Tools",
       {{"clsBuffer"}, {"clsVectorRotation"}, {"clsSnapPntsToLines"}, {"clsISectLines"}}},
      {"clsExtOrlinthST",
       "O_STMenu",
       "Specialist Tools",
       {{"clsRiverSampling"}, {"clsSpecPntRedistrib"}, {"clsPLSSPntFinder"}, {"clsJulianDay"}}},
  };
  return menus;
}

const Menu* FindMenu(std::string_view className) {
  const auto& all = Menus();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Menu& menu) {
    return EqualNoCase(menu.className, className);
  });
  return found == all.end() ? nullptr : &*found;
}

class MenuDef : public IMenuDef, private ComponentObject {
 public:
  explicit MenuDef(const Menu& menu) : menu_(menu) {}
  int ItemCount() const override { return static_cast<int>(menu_.items.size()); }
  void GetItemInfo(int position, ItemDef& item) const override {
    item.group = false;
    if (position < 0 || position >= ItemCount()) return;
    const Item& wanted = menu_.items[static_cast<std::size_t>(position)];
    item.id = ProgId(wanted.className);
    item.group = wanted.group;
  }
  std::string Name() const override { return menu_.name; }
  std::string Caption() const override { return menu_.caption; }

 private:
  const Menu& menu_;
};

/// Adds the commands of `menu` and of the menus in it, depth first.
void AddPlaces(const Menu& menu, std::vector<std::string> path, std::vector<CommandPlace>& places) {
  path.push_back(menu.caption);
  for (const Item& item : menu.items) {
    if (const Menu* below = FindMenu(item.className))
      AddPlaces(*below, path, places);
    else
      places.push_back({FindCommand(item.className), path});
  }
}

}  // namespace

std::unique_ptr<IMenuDef> CreateMenu(const std::string& progId) {
  const Menu* menu = FindMenu(ClassOf(progId));
  return menu == nullptr ? nullptr : std::make_unique<MenuDef>(*menu);
}

std::vector<CommandPlace> CommandsInMenuOrder() {
  const Menu& toolbar = Menus().front();
  std::vector<CommandPlace> places;
  for (const Item& item : toolbar.items)
    if (const Menu* menu = FindMenu(item.className)) AddPlaces(*menu, {}, places);
  for (const Item& item : toolbar.items)
    if (const CommandInfo* command = FindCommand(item.className))
      places.push_back({command, {toolbar.caption}});
  for (const CommandInfo& command : AllCommands()) {
    const bool isPlaced = std::any_of(places.begin(), places.end(), [&](const CommandPlace& place) {
      return place.command == &command;
    });
    if (!isPlaced) places.push_back({&command, {}});
  }
  return places;
}

}  // namespace orlinths
