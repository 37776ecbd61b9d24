#include "qgis/MapBridge.h"

#include <qgslayertree.h>
#include <qgslayertreelayer.h>
#include <qgsproject.h>
#include <qgsvectorlayer.h>

#include <algorithm>
#include <utility>

#include "data/SpatialReference.h"
#include "qgis/LayerBridge.h"
#include "qgis/References.h"
#include "qgis/Text.h"
#include "runtime/Trap.h"
#include "session/MapBuilder.h"

namespace orlinths {
namespace {

/// The reference of the data themselves; nothing for a layer without.
SpatialReferencePtr OwnReference(const ILayer& layer) {
  if (!layer.Valid()) return nullptr;
  if (const auto* features = dynamic_cast<const IFeatureLayer*>(&layer))
    return features->FeatureClass().SpatialReference();
  if (const auto* raster = dynamic_cast<const IRasterLayer*>(&layer))
    return raster->Dataset().SpatialReference();
  return nullptr;
}

}  // namespace

MapBridge::MapBridge(QgsProject& project) : project_(project), reload_(project) {}

void MapBridge::Build() const {
  if (!std::exchange(isStale_, false)) return;
  layers_.clear();
  tables_.clear();
  pairs_.clear();
  const QStringList before = std::exchange(leftOut_, {});
  BuildGroup(*project_.layerTreeRoot(), layers_);
  reload_.Remember();
  if (onLeftOut && leftOut_ != before) onLeftOut(leftOut_);
}

void MapBridge::BuildGroup(const QgsLayerTreeGroup& group, std::vector<LayerPtr>& layers) const {
  for (QgsLayerTreeNode* node : group.children()) {
    if (QgsLayerTree::isGroup(node)) {
      const QgsLayerTreeGroup* inner = QgsLayerTree::toGroup(node);
      auto made = std::make_shared<IGroupLayer>(FromQt(inner->name()));
      BuildGroup(*inner, made->layers);
      layers.push_back(std::move(made));
      continue;
    }
    QgsMapLayer* layer = QgsLayerTree::toLayer(node)->layer();
    if (layer == nullptr) continue;
    BridgedLayer bridged = Bridge(*layer);
    if (auto* made = std::get_if<LayerPtr>(&bridged.layer)) {
      pairs_.push_back({*made, layer});
      layers.push_back(std::move(*made));
    } else if (auto* table = std::get_if<StandaloneTablePtr>(&bridged.layer)) {
      tables_.push_back(std::move(*table));
    } else {
      leftOut_ += layer->name() + QStringLiteral(": ") + ToQt(bridged.whyLeftOut);
    }
  }
}

const std::vector<LayerPtr>& MapBridge::TopLayers() const {
  Build();
  return layers_;
}

const std::vector<StandaloneTablePtr>& MapBridge::StandaloneTables() const {
  Build();
  return tables_;
}

void MapBridge::AddLayer(LayerPtr layer) {
  Build();
  const ILayer& added = NotNothing(layer.get());
  if (auto made = ToQgis(added)) {
    QgsMapLayer* inProject = project_.addMapLayer(made.release(), false);
    project_.layerTreeRoot()->insertLayer(0, inProject);
    pairs_.push_back({layer, inProject});
    reload_.Remember(*inProject);
  }
  layers_.insert(layers_.begin(), std::move(layer));
  if (const auto* features = dynamic_cast<const IFeatureLayer*>(&added)) PushSelection(*features);
  if (onLayerAdded) onLayerAdded(added);
}

void MapBridge::AddTable(StandaloneTablePtr table) {
  Build();
  if (auto made = ToQgis(NotNothing(table.get()))) {
    QgsMapLayer* inProject = project_.addMapLayer(made.release(), false);
    project_.layerTreeRoot()->addLayer(inProject);
    reload_.Remember(*inProject);
  }
  tables_.push_back(std::move(table));
}

SpatialReferencePtr MapBridge::SpatialReference() const {
  Build();
  const QgsCoordinateReferenceSystem crs = project_.crs();
  for (const LayerPtr& layer : Layers()) {
    SpatialReferencePtr own = OwnReference(*layer);
    if (!own) continue;
    const auto pair = std::find_if(pairs_.begin(), pairs_.end(),
                                   [&](const Pair& known) { return known.layer == layer; });
    // The layer's own definition is the more faithful one where both say the same.
    const bool isProjects = pair != pairs_.end() && pair->qgis && pair->qgis->crs() == crs;
    if (!crs.isValid() || isProjects) return own;
    break;
  }
  return ReferenceOf(crs);
}

void MapBridge::PushSelection(const IFeatureLayer& layer) const {
  const auto pair = std::find_if(pairs_.begin(), pairs_.end(),
                                 [&](const Pair& known) { return known.layer.get() == &layer; });
  if (pair == pairs_.end()) return;
  auto* vector = qobject_cast<QgsVectorLayer*>(pair->qgis.data());
  if (vector == nullptr) return;
  QgsFeatureIds ids;
  for (const Oid oid : layer.SelectionSet().Oids()) ids.insert(oid);
  if (ids != vector->selectedFeatureIds()) vector->selectByIds(ids);
}

void MapBridge::SelectionChanged(const IFeatureLayer& layer) {
  PushSelection(layer);
  if (onSelectionChanged) onSelectionChanged(layer);
}

void MapBridge::Select(const std::string& name, const std::vector<Oid>& oids) {
  IFeatureLayer& layer = FeatureLayerNamed(*this, name);
  layer.SetSelectionSet(ISelectionSet(oids));
  PushSelection(layer);
}

}  // namespace orlinths
