#include "qgis/References.h"

#include <qgscoordinatereferencesystem.h>

#include "qgis/Text.h"
#include "runtime/Trap.h"
#include "session/References.h"

namespace orlinths {

SpatialReferencePtr ReferenceOf(const QgsCoordinateReferenceSystem& crs) {
  SpatialReferencePtr reference = UnknownCoordinateSystem();
  if (!crs.isValid()) return reference;
  // A code of the user's own is known to QGIS alone.
  const auto wkt = [&] { return FromQt(crs.toWkt(QgsCoordinateReferenceSystem::WKT1_GDAL)); };
  const bool isNamed = !crs.authid().isEmpty() &&
                       Quietly([&] { reference = SpatialReferenceFromText(FromQt(crs.authid())); });
  if (!isNamed) reference = SpatialReferenceFromText(wkt());
  return reference;
}

QgsCoordinateReferenceSystem CrsOf(const ISpatialReference& reference) {
  QgsCoordinateReferenceSystem crs;
  if (!reference.IsUnknown()) crs.createFromUserInput(ToQt(WordsFor(reference)));
  return crs;
}

}  // namespace orlinths
