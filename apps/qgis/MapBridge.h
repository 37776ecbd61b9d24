// The project's layer tree as the platform's map.
#pragma once

#include <QPointer>
#include <QStringList>

#include <functional>
#include <vector>

#include "data/Application.h"
#include "qgis/LayerReload.h"

class QgsLayerTreeGroup;
class QgsMapLayer;
class QgsProject;

namespace orlinths {

class MapBridge : public IMap {
 public:
  explicit MapBridge(QgsProject& project);

  /// The next question about the map looks at the project anew. What was given out before stays
  /// good for whoever holds it.
  void Renew() { isStale_ = true; }
  /// The work of a tool is over: layers whose files have changed are read anew.
  void WorkDone() { reload_.ReloadChanged(); }
  /// Selects rows as the user does.
  void Select(const std::string& layer, const std::vector<Oid>& oids);

  const std::vector<LayerPtr>& TopLayers() const override;
  const std::vector<StandaloneTablePtr>& StandaloneTables() const override;
  void AddLayer(LayerPtr layer) override;
  void AddTable(StandaloneTablePtr table) override;
  SpatialReferencePtr SpatialReference() const override;
  void SelectionChanged(const IFeatureLayer& layer) override;

  std::function<void(const ILayer&)> onLayerAdded;
  std::function<void(const IFeatureLayer&)> onSelectionChanged;
  /// Layers of the project that the tools cannot use, each with the reason; told when they change.
  std::function<void(const QStringList&)> onLeftOut;

 private:
  struct Pair {
    LayerPtr layer;
    QPointer<QgsMapLayer> qgis;
  };
  void Build() const;
  void BuildGroup(const QgsLayerTreeGroup& group, std::vector<LayerPtr>& layers) const;
  void PushSelection(const IFeatureLayer& layer) const;

  QgsProject& project_;
  mutable bool isStale_ = true;
  mutable std::vector<LayerPtr> layers_;
  mutable std::vector<StandaloneTablePtr> tables_;
  mutable std::vector<Pair> pairs_;
  mutable QStringList leftOut_;
  mutable LayerReload reload_;
};

}  // namespace orlinths
