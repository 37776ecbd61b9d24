#include "data/MapAccess.h"

#include <algorithm>

#include "runtime/Trap.h"

namespace orlinths {
namespace {

GeometryType ShapeTypeOf(const ILayer& layer) {
  const auto* features = dynamic_cast<const IFeatureLayer*>(&layer);
  return features ? features->ShapeType() : GeometryType::kNull;
}

bool IsLine(GeometryType type) {
  return type == GeometryType::kPolyline || type == GeometryType::kLine;
}

bool IsFeatureLayer(const ILayer& layer) {
  return dynamic_cast<const IFeatureLayer*>(&layer) != nullptr;
}

/// A host may offer a table as a layer too. The map's own stand-alone tables are no layers and have
/// a list of their own.
bool IsTable(const ILayer& layer) {
  return dynamic_cast<const IStandaloneTable*>(&layer) != nullptr;
}

/// The dataset behind a raster layer that opens, or nothing.
const IRasterDataset* RasterOf(const ILayer& layer) {
  const auto* raster = dynamic_cast<const IRasterLayer*>(&layer);
  return raster && raster->Valid() ? &raster->Dataset() : nullptr;
}

bool IsIntegerRaster(const ILayer& layer) {
  const IRasterDataset* raster = RasterOf(layer);
  return raster && raster->BandCount() > 0 && IsInteger(raster->PixelType());
}

ItemKind KindOf(const ILayer& layer) {
  if (dynamic_cast<const IRasterLayer*>(&layer) != nullptr) return ItemKind::kRasterLayer;
  if (IsTable(layer)) return ItemKind::kTable;
  switch (ShapeTypeOf(layer)) {
    case GeometryType::kPoint:
    case GeometryType::kMultipoint:
      return ItemKind::kPointLayer;
    case GeometryType::kPolyline:
    case GeometryType::kLine:
      return ItemKind::kLineLayer;
    case GeometryType::kPolygon:
      return ItemKind::kPolygonLayer;
    case GeometryType::kNull:
      break;
  }
  return ItemKind::kOtherLayer;
}

/// Kinds 1 to 8, the same in both lists but for the multipoint layers.
bool Belongs(const ILayer& layer, int kind) {
  switch (kind) {
    case kAnyLayer:
      return true;
    case kFeatureLayer:
      return IsFeatureLayer(layer);
    case kPointLayer:
      return ShapeTypeOf(layer) == GeometryType::kPoint;
    case kLineLayer:
      return IsLine(ShapeTypeOf(layer));
    case kPolygonLayer:
      return ShapeTypeOf(layer) == GeometryType::kPolygon;
    case kRasterLayer:
      return dynamic_cast<const IRasterLayer*>(&layer) != nullptr;
    case kGisRasterLayer:
      return layer.Name().ends_with(".gis") && IsIntegerRaster(layer) &&
             RasterOf(layer)->BandCount() == 1;
    case kIntegerRasterLayer:
      return IsIntegerRaster(layer);
    default:
      return false;
  }
}

bool BelongsInCombo(const ILayer& layer, int kind) {
  switch (kind) {
    case kStandaloneTable:
      return IsTable(layer);
    case kPolygonLayerWithOneSelected: {
      const auto* features = dynamic_cast<const IFeatureLayer*>(&layer);
      return features && features->ShapeType() == GeometryType::kPolygon &&
             features->SelectionSet().Count() == 1;
    }
    case kTableOrFeatureLayer:
      return IsTable(layer) || IsFeatureLayer(layer);
    default:
      return Belongs(layer, kind);
  }
}

bool BelongsInListBox(const ILayer& layer, int kind) {
  return Belongs(layer, kind) ||
         (kind == kPointLayer && ShapeTypeOf(layer) == GeometryType::kMultipoint);
}

/// All layers of the map, none when the first of them is broken: deliberately, whatever stands
/// below it.
std::vector<LayerPtr> ListableLayers() {
  if (NotNothing(gMap).LayerCount() == 0) return {};
  std::vector<LayerPtr> layers = gMap->Layers();
  if (layers.empty() || !layers.front()->Valid()) layers.clear();
  return layers;
}

}  // namespace

int ListLayers(int kind, IItemList& combo) {
  int count = 0;
  std::string at = "A";
  Trap("ListLayers: ", at, [&] {
    const std::vector<LayerPtr> layers = ListableLayers();
    at = "B";
    for (const LayerPtr& layer : layers) {
      if (!BelongsInCombo(*layer, kind)) continue;
      combo.AddItem(layer->Name(), KindOf(*layer));
      ++count;
    }
  });
  return count;
}

int ListLayersInListBox(int kind, IItemList& list) {
  int count = 0;
  for (const LayerPtr& layer : ListableLayers()) {
    if (!BelongsInListBox(*layer, kind)) continue;
    list.AddItem(layer->Name(), KindOf(*layer));
    ++count;
  }
  return count;
}

int ListSATables(IItemList& combo) {
  int count = 0;
  std::string at = "A";
  Trap("ListSATables: ", at, [&] {
    const std::vector<StandaloneTablePtr>& tables = NotNothing(gMap).StandaloneTables();
    at = "B";
    count = static_cast<int>(tables.size());
    at = "C";
    for (const StandaloneTablePtr& table : tables)
      if (table->Valid()) combo.AddItem(table->Name(), ItemKind::kTable);
  });
  return count;
}

LayerPtr GetLayerByName(const std::string& name) {
  for (LayerPtr& layer : NotNothing(gMap).Layers())
    if (layer->Name() == name) return std::move(layer);
  throw RuntimeError(ErrorNumber::kObjectNotSet);
}

std::shared_ptr<IFeatureLayer> GetFeatureLayerByName(const std::string& name) {
  auto layer = std::dynamic_pointer_cast<IFeatureLayer>(GetLayerByName(name));
  if (!layer) throw RuntimeError(ErrorNumber::kTypeMismatch);
  return layer;
}

std::shared_ptr<IRasterLayer> GetRasterLayerByName(const std::string& name) {
  auto layer = std::dynamic_pointer_cast<IRasterLayer>(GetLayerByName(name));
  if (!layer) throw RuntimeError(ErrorNumber::kTypeMismatch);
  return layer;
}

StandaloneTablePtr GetTableByName(const std::string& name) {
  const std::vector<StandaloneTablePtr>& tables = NotNothing(gMap).StandaloneTables();
  const auto found = std::find_if(tables.begin(), tables.end(),
                                  [&](const StandaloneTablePtr& t) { return t->Name() == name; });
  return found == tables.end() ? nullptr : *found;
}

int CheckSpatialReferenceSame(const IGeoDataset* a, const IGeoDataset* b) {
  int result = 0;
  Trap("CheckSpatialReferenceSame: ", [&] {
    if (a == nullptr || b == nullptr) return;
    const int codeA = a->SpatialReference()->FactoryCode();
    const int codeB = b->SpatialReference()->FactoryCode();
    // By code alone: two references without one are undefined even when they are the same.
    result = codeA == 0 || codeB == 0 ? -1 : codeA == codeB ? 1 : 0;
  });
  return result;
}

void AddLayerToMap(const FeatureClassPtr& output, const std::string& name) {
  const auto layer = std::make_shared<IFeatureLayer>(output);
  if (!name.empty()) layer->SetName(name);
  NotNothing(gMap).AddLayer(layer);
  NotNothing(gMxDoc).ActiveView().Refresh();
}

}  // namespace orlinths
