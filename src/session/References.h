// Spatial references by the words of sessions and command lines.
#pragma once

#include <string>

#include "data/SpatialReference.h"

namespace orlinths {

/// "EPSG:32612", WKT or PROJ text; "Unknown Coordinate System" is none. A wrong call, in the words
/// of the library, for a text that is no reference.
SpatialReferencePtr ReferenceNamed(const std::string& text);
/// The shortest text that `ReferenceNamed` turns into the very same definition.
std::string WordsFor(const ISpatialReference& reference);

}  // namespace orlinths
