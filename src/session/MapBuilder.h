// Puts the layers and tables of a session into a map.
#pragma once

#include <string>
#include <variant>

#include "data/Map.h"
#include "session/Session.h"

namespace orlinths {

/// What a path turns out to hold, and which words the libraries had for it when it holds nothing
/// that they can open.
struct OpenedInput {
  std::variant<std::monostate, FeatureClassPtr, RasterDatasetPtr, TablePtr> data;
  std::string failure;
};
/// Opens features, a raster or a table, in the order that the path suggests. `path` is absolute.
OpenedInput OpenInput(const std::string& path);

/// A wrong call when a layer of the map is no file, which only the program that has it can open.
void CheckAllAreFiles(const MapContents& contents);

/// Appends the contents below what the map holds. What does not open becomes an invalid layer or
/// table, as in a map whose data has moved; what is no file is a wrong call. A definition query or
/// spatial reference that does not parse, and a selection on a raster, are wrong calls.
void BuildMap(const MapContents& contents, Map& map);

/// What `BuildMap` would make the map of as it is now: groups, names, filters, selections, tables,
/// and the map's reference where its code is known.
MapContents ContentsOf(const IMap& map);

/// The first feature layer of that name; a wrong call, with the names that there are, when there is
/// none.
IFeatureLayer& FeatureLayerNamed(const IMap& map, const std::string& name);

}  // namespace orlinths
