// What is selected in a layer stays so while its data are read anew.
#pragma once

#include <QPointer>

#include <qgsvectorlayer.h>

namespace orlinths {

/// QGIS forgets the selection when a provider reads its data anew. This brings it back at the
/// scope's end, as far as the rows are still there; a layer that has gone meanwhile is let go.
class KeptSelection {
 public:
  explicit KeptSelection(QgsVectorLayer& layer)
      : layer_(&layer), selected_(layer.selectedFeatureIds()) {}
  ~KeptSelection();
  KeptSelection(const KeptSelection&) = delete;
  KeptSelection& operator=(const KeptSelection&) = delete;

 private:
  QPointer<QgsVectorLayer> layer_;
  const QgsFeatureIds selected_;
};

}  // namespace orlinths
