// What the list routines fill: a combo box or a list box.
#pragma once

#include <string>

namespace orlinths {

/// What an item names, for a host that shows a picture beside it. A mere value has none, whatever
/// else bears the same name.
enum class ItemKind {
  kValue,
  kPointLayer,
  kLineLayer,
  kPolygonLayer,
  kRasterLayer,
  kOtherLayer,
  kTable,
  kWholeField,
  kNumberField,
  kTextField,
  kDateField,
  kOtherField
};

class IItemList {
 public:
  virtual ~IItemList() = default;
  /// Appends; a text that stands there already is added again.
  void AddItem(const std::string& text, ItemKind kind = ItemKind::kValue) { Append(text, kind); }

 protected:
  virtual void Append(const std::string& text, ItemKind kind) = 0;
};

}  // namespace orlinths
