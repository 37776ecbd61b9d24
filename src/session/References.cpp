#include "session/References.h"

#include "runtime/Trap.h"
#include "runtime/Value.h"
#include "session/Words.h"

namespace orlinths {

SpatialReferencePtr ReferenceNamed(const std::string& text) {
  SpatialReferencePtr reference = UnknownCoordinateSystem();
  if (text == reference->Name()) return reference;
  const auto failure = FailureOf([&] { reference = SpatialReferenceFromText(text); });
  if (failure) WrongCall("the spatial reference " + Quoted(text) + ": " + failure->Description());
  return reference;
}

std::string WordsFor(const ISpatialReference& reference) {
  if (reference.IsUnknown()) return reference.Name();
  const std::string wkt = reference.Wkt();
  const int code = reference.FactoryCode();
  if (code == 0) return wkt;
  // A file's own definition may match a code and still differ in its words.
  const std::string byCode = "EPSG:" + ToText(static_cast<std::int64_t>(code));
  bool isSame = false;
  Quietly([&] { isSame = SpatialReferenceFromText(byCode)->Wkt() == wkt; });
  return isSame ? byCode : wkt;
}

}  // namespace orlinths
