// The layers and stand-alone tables of the map: listing them in controls, finding them by name, putting results in.
// Every routine reads `gMap`.
#pragma once

#include <cstdint>
#include <string>

#include "data/Application.h"
#include "data/ItemList.h"

namespace orlinths {

/// Which layers a list takes.
enum LayerKind : int {
  kAnyLayer = 1,
  kFeatureLayer = 2,
  kPointLayer = 3,
  kLineLayer = 4,
  kPolygonLayer = 5,
  kRasterLayer = 6,
  kGisRasterLayer = 7,      ///< name ends in ".gis", one band, integer
  kIntegerRasterLayer = 8,
  kStandaloneTable = 9,
  kPolygonLayerWithOneSelected = 10,
  kTableOrFeatureLayer = 11,
};

/// Adds the names of the map's layers of that kind, in drawing order, and gives how many. The caller clears first. A kind outside
/// the list adds nothing. An invalid first layer empties every list, deliberately.
int ListLayers(int kind, IItemList& combo);
/// The same with kinds 1 to 8, multipoint layers among the points, and no error report of its own.
int ListLayersInListBox(int kind, IItemList& list);
/// Adds the names of the valid stand-alone tables; gives how many tables the map has.
int ListSATables(IItemList& combo);

/// The first layer of exactly that name; error 91 when there is none.
LayerPtr GetLayerByName(const std::string& name);
/// The same, as a feature or raster layer; error 13 when it is of another sort.
std::shared_ptr<IFeatureLayer> GetFeatureLayerByName(const std::string& name);
std::shared_ptr<IRasterLayer> GetRasterLayerByName(const std::string& name);
/// The first stand-alone table of exactly that name, or nothing.
StandaloneTablePtr GetTableByName(const std::string& name);

/// Puts a layer on top of the map and refreshes the view; an empty name leaves the class's.
void AddLayerToMap(const FeatureClassPtr& output, const std::string& name = {});

}  // namespace orlinths
