#include "gdal/EsriWkt.h"

#include <cpl_conv.h>
#include <ogr_spatialref.h>

#include <memory>

#include "gdal/Library.h"

namespace orlinths {

std::string EsriWkt(const ISpatialReference& reference) {
  if (reference.IsUnknown()) return "";
  EnsureGdal();
  const QuietGdal quiet;
  OGRSpatialReference srs;
  const std::string wkt = reference.Wkt();
  const char* const options[] = {"FORMAT=WKT1_ESRI", nullptr};
  char* text = nullptr;
  const bool done = srs.importFromWkt(wkt.c_str()) == OGRERR_NONE &&
                    srs.exportToWkt(&text, options) == OGRERR_NONE && text != nullptr;
  const GdalText owner(text);
  if (!done) RaiseGdal("The spatial reference " + reference.Name() + " cannot be written.");
  return text;
}

}  // namespace orlinths
