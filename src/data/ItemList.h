// What the list routines fill: a combo box or a list box.
#pragma once

#include <string>

namespace orlinths {

class IItemList {
 public:
  virtual ~IItemList() = default;
  /// Appends; a text that stands there already is added again.
  virtual void AddItem(const std::string& text) = 0;
};

}  // namespace orlinths
