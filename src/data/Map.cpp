#include "data/Map.h"

#include "data/SpatialReference.h"

namespace orlinths {
namespace {

void AppendDepthFirst(const std::vector<LayerPtr>& from, std::vector<LayerPtr>& to) {
  for (const LayerPtr& layer : from) {
    to.push_back(layer);
    if (const auto* group = dynamic_cast<const IGroupLayer*>(layer.get()))
      AppendDepthFirst(group->layers, to);
  }
}

/// Nothing for groups and for layers whose source cannot be opened.
const IGeoDataset* DatasetOf(const ILayer& layer) {
  if (!layer.Valid()) return nullptr;
  if (const auto* features = dynamic_cast<const IFeatureLayer*>(&layer))
    return features->FeatureClassPointer().get();
  if (const auto* raster = dynamic_cast<const IRasterLayer*>(&layer))
    return raster->DatasetPointer().get();
  return nullptr;
}

}  // namespace

std::vector<LayerPtr> IMap::Layers() const {
  std::vector<LayerPtr> all;
  AppendDepthFirst(TopLayers(), all);
  return all;
}

void Map::AddLayer(LayerPtr layer) {
  SpatialReference();  // what the map has so far stays, whatever comes on top of it
  const ILayer& added = NotNothing(layer.get());
  layers_.insert(layers_.begin(), std::move(layer));
  if (onLayerAdded) onLayerAdded(added);
}

void Map::AddTable(StandaloneTablePtr table) { tables_.push_back(std::move(table)); }

SpatialReferencePtr Map::SpatialReference() const {
  if (reference_) return reference_;
  for (const LayerPtr& layer : Layers()) {
    if (const IGeoDataset* dataset = DatasetOf(*layer)) {
      reference_ = dataset->SpatialReference();
      return reference_;
    }
  }
  return UnknownCoordinateSystem();
}

void Map::SelectionChanged(const IFeatureLayer& layer) {
  if (onSelectionChanged) onSelectionChanged(layer);
}

void Map::Clear() {
  layers_.clear();
  tables_.clear();
  reference_.reset();
}

}  // namespace orlinths
