#include "qgis/TwinLayers.h"

#include <QStringList>
#include <QVariantMap>

#include <qgsproject.h>
#include <qgsproviderregistry.h>
#include <qgsvectordataprovider.h>
#include <qgsvectorlayer.h>

#include "qgis/KeptSelection.h"

namespace orlinths {
namespace {

/// A provider that does not look at its columns again while it lives (SpatiaLite's) is made anew.
bool KnowsColumnsOf(const QgsVectorLayer& twin, const QgsVectorLayer& changed) {
  return twin.dataProvider()->fields().names() == changed.dataProvider()->fields().names();
}

void ReadAnew(QgsVectorLayer& twin, const QgsVectorLayer& changed) {
  const KeptSelection selection(twin);
  twin.dataProvider()->reloadData();
  if (!KnowsColumnsOf(twin, changed))
    twin.setDataSource(twin.source(), twin.name(), twin.providerType());
  twin.updateFields();
  twin.updateExtents();
  twin.triggerRepaint();
}

}  // namespace

QString TableBehind(const QgsVectorLayer& layer) {
  const QVariantMap parts =
      QgsProviderRegistry::instance()->decodeUri(layer.providerType(), layer.source());
  QStringList names{layer.providerType()};
  for (const char* part :
       {"path", "service", "host", "port", "dbname", "schema", "table", "layerName"})
    names += parts.value(QString::fromLatin1(part)).toString();
  const bool isNamed = !names.constLast().isEmpty() || !names.at(names.size() - 2).isEmpty();
  return isNamed ? names.join(QLatin1Char('\n')) : QString();
}

void ShowInTwins(const QgsVectorLayer& changed) {
  const QString table = TableBehind(changed);
  if (table.isEmpty()) return;
  for (QgsMapLayer* layer : QgsProject::instance()->mapLayers()) {
    auto* twin = qobject_cast<QgsVectorLayer*>(layer);
    if (twin == nullptr || twin == &changed || !twin->isValid() || twin->isEditable()) continue;
    if (TableBehind(*twin) == table) ReadAnew(*twin, changed);
  }
}

}  // namespace orlinths
