#include "qgis/KeptSelection.h"

#include <qgsfeatureiterator.h>
#include <qgsfeaturerequest.h>

namespace orlinths {

KeptSelection::~KeptSelection() {
  if (!layer_ || !layer_->isValid() || layer_->selectedFeatureIds() == selected_) return;
  QgsFeatureRequest request(selected_);
  request.setFlags(QgsFeatureRequest::NoGeometry).setNoAttributes();
  QgsFeatureIds there;
  QgsFeature row;
  for (QgsFeatureIterator rows = layer_->getFeatures(request); rows.nextFeature(row);)
    there.insert(row.id());
  layer_->selectByIds(there);
}

}  // namespace orlinths
