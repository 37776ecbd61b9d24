// A map that is no more than its contents: for hosts without one of their own.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "data/Application.h"

namespace orlinths {

class Map : public IMap {
 public:
  const std::vector<LayerPtr>& TopLayers() const override { return layers_; }
  const std::vector<StandaloneTablePtr>& StandaloneTables() const override { return tables_; }
  void AddLayer(LayerPtr layer) override;
  void AddTable(StandaloneTablePtr table) override;
  SpatialReferencePtr SpatialReference() const override;
  void SelectionChanged(const IFeatureLayer& layer) override;

  /// Filling a map before a run: below what is there, and without telling anybody.
  void Append(LayerPtr layer) { layers_.push_back(std::move(layer)); }
  void AppendTable(StandaloneTablePtr table) { tables_.push_back(std::move(table)); }
  void SetSpatialReference(SpatialReferencePtr reference) { reference_ = std::move(reference); }
  void Clear();

  std::function<void(const ILayer&)> onLayerAdded;
  std::function<void(const IFeatureLayer&)> onSelectionChanged;

 private:
  std::vector<LayerPtr> layers_;
  std::vector<StandaloneTablePtr> tables_;
  mutable SpatialReferencePtr reference_;  ///< once asked for, or set
};

}  // namespace orlinths
