#include "session/Session.h"

#include "session/WrittenPaths.h"

namespace orlinths::steps {

std::string Pick::Path() const { return AbsolutePath(text.value_or(""), folder); }

bool Pick::operator==(const Pick& other) const {
  if (isReference != other.isReference || text.has_value() != other.text.has_value()) return false;
  return isReference || !text ? text == other.text : Path() == other.Path();
}

}  // namespace orlinths::steps
