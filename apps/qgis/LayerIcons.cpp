#include "qgis/LayerIcons.h"

#include <qgsiconutils.h>
#include <qgsmaplayer.h>

namespace orlinths {

QIcon LayerIconOf(const MapBridge& map, const std::string& name) {
  const QgsMapLayer* layer = map.LayerNamed(name);
  return layer != nullptr ? QgsIconUtils::iconForLayer(layer) : QIcon();
}

}  // namespace orlinths
