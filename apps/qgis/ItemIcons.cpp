#include "qgis/ItemIcons.h"

#include <qgsfields.h>
#include <qgsiconutils.h>

namespace orlinths {

QIcon IconOf(ItemKind kind) {
  switch (kind) {
    case ItemKind::kPointLayer:
      return QgsIconUtils::iconPoint();
    case ItemKind::kLineLayer:
      return QgsIconUtils::iconLine();
    case ItemKind::kPolygonLayer:
      return QgsIconUtils::iconPolygon();
    case ItemKind::kRasterLayer:
      return QgsIconUtils::iconRaster();
    case ItemKind::kOtherLayer:
      return QgsIconUtils::iconDefaultLayer();
    case ItemKind::kTable:
      return QgsIconUtils::iconTable();
    case ItemKind::kWholeField:
      return QgsFields::iconForFieldType(QVariant::Int);
    case ItemKind::kNumberField:
      return QgsFields::iconForFieldType(QVariant::Double);
    case ItemKind::kTextField:
      return QgsFields::iconForFieldType(QVariant::String);
    case ItemKind::kDateField:
      return QgsFields::iconForFieldType(QVariant::Date);
    case ItemKind::kValue:
    case ItemKind::kOtherField:
      break;
  }
  return {};
}

}  // namespace orlinths
