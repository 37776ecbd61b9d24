// The text of a .prj file, and of a grid's prj.adf.
#pragma once

#include <string>

#include "data/SpatialReference.h"

namespace orlinths {

/// WKT as shapefiles and grids keep it; empty for the unknown reference. A platform error for one that this
/// form of WKT cannot say.
std::string EsriWkt(const ISpatialReference& reference);

}  // namespace orlinths
