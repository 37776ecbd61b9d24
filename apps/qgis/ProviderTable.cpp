#include "qgis/ProviderTable.h"

#include "data/TableOver.h"
#include "qgis/ProviderSource.h"

namespace orlinths {

FeatureClassPtr OpenProviderClass(QgsVectorLayer& layer) {
  return std::make_shared<FeatureClassOver<ProviderSource>>(ProviderSource::Of(layer));
}

TablePtr OpenProviderTable(QgsVectorLayer& layer) {
  return std::make_shared<TableOver<ProviderSource, ITable>>(ProviderSource::Of(layer));
}

}  // namespace orlinths
