// The columns of a table.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "data/SpatialReference.h"
#include "numerics/Geometry.h"

namespace orlinths {

/// The codes that field lists and error reports use.
enum class FieldType : int {
  kSmallInteger = 0,
  kInteger = 1,
  kSingle = 2,
  kDouble = 3,
  kText = 4,
  kDate = 5,
  kOid = 6,
  kGeometry = 7,
  kBlob = 8,
};

/// What a geometry column holds.
struct GeometryDef {
  GeometryType geometryType = GeometryType::kNull;
  bool hasM = false;
  bool hasZ = false;
  SpatialReferencePtr spatialReference = nullptr;
};

struct Field {
  std::string name;
  FieldType type = FieldType::kText;
  int length = 0;     ///< text: characters, 0 for the default of 50; numbers: display only when adding, column width when read
  int precision = 0;
  int scale = 0;
  bool required = false;
  bool editable = true;
  bool isNullable = true;
  GeometryDef geometry = {};  ///< of a field of type 7 alone
};

class Fields {
 public:
  Fields() = default;
  Fields(std::initializer_list<Field> fields) : fields_(fields) {}
  int FieldCount() const { return static_cast<int>(fields_.size()); }
  const Field& At(int i) const;  ///< error 9 outside
  const Field& operator[](int i) const { return At(i); }
  /// Index, or -1; ASCII case does not count.
  int FindField(std::string_view name) const;
  void AddField(Field field) { fields_.push_back(std::move(field)); }
  void Remove(int i);
  auto begin() const { return fields_.begin(); }
  auto end() const { return fields_.end(); }

 private:
  std::vector<Field> fields_;
};

}  // namespace orlinths
