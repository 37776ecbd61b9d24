#include "data/Field.h"

#include "runtime/Files.h"

namespace orlinths {

const Field& Fields::At(int i) const {
  if (i < 0 || i >= FieldCount()) throw RuntimeError(ErrorNumber::kSubscript);
  return fields_[static_cast<std::size_t>(i)];
}

int Fields::FindField(std::string_view name) const {
  for (int i = 0; i < FieldCount(); ++i)
    if (EqualNoCase(fields_[static_cast<std::size_t>(i)].name, name)) return i;
  return -1;
}

void Fields::Remove(int i) {
  At(i);
  fields_.erase(fields_.begin() + i);
}

}  // namespace orlinths
