// What the objects that the component hands out have in common: they are counted.
#pragma once

#include <string>
#include <string_view>

namespace orlinths {

/// The component may be unloaded when none is alive.
class ComponentObject {
 public:
  ComponentObject() { ++alive_; }
  ComponentObject(const ComponentObject&) = delete;
  ComponentObject& operator=(const ComponentObject&) = delete;
  static int Alive() { return alive_; }

 protected:
  ~ComponentObject() { --alive_; }

 private:
  inline static int alive_ = 0;
};

/// The class in a ProgID of this component; empty for any other text.
std::string ClassOf(std::string_view progId);

}  // namespace orlinths
