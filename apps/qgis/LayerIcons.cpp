#include "qgis/LayerIcons.h"

#include <qgsiconutils.h>
#include <qgsmaplayer.h>
#include <qgsproject.h>

#include "qgis/LayerBridge.h"
#include "qgis/Text.h"
#include "runtime/Files.h"

namespace orlinths {

QIcon LayerIconOf(const std::string& name) {
  const auto layers = QgsProject::instance()->mapLayers();
  for (const QgsMapLayer* layer : layers) {
    // A raster goes by its file's name where QGIS leaves the extension out.
    const bool isNamed = FromQt(layer->name()) == name || NameOf(FileBehind(*layer)) == name;
    if (isNamed) return QgsIconUtils::iconForLayer(layer);
  }
  return {};
}

}  // namespace orlinths
