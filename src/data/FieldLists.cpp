// Listing fields in controls, and making new ones.
#include "data/FieldsAndDatasets.h"
#include "runtime/Trap.h"

#include <algorithm>

namespace orlinths {
namespace {

bool Fits(FieldType type, int filter) {
  switch (filter) {
    case kAllFields:
      return true;
    case kNumericFields:
      return type < FieldType::kText;
    case kIntegerFields:
      return type < FieldType::kSingle;
    case kGroupFields:
      return type == FieldType::kSmallInteger || type == FieldType::kInteger ||
             type == FieldType::kText || type == FieldType::kOid;
    case kAttributeFields:
      return type < FieldType::kGeometry;
    case kDateFields:
      return type == FieldType::kDate;
    case kOidFields:
      return type == FieldType::kOid;
    default:
      return false;
  }
}

int AddFitting(const Fields& fields, IItemList& list, int filter) {
  int listed = 0;
  for (const Field& field : fields) {
    if (!Fits(field.type, filter)) continue;
    list.AddItem(field.name, KindOf(field.type));
    ++listed;
  }
  return listed;
}

}  // namespace

ItemKind KindOf(FieldType type) {
  switch (type) {
    case FieldType::kSmallInteger:
    case FieldType::kInteger:
    case FieldType::kOid:
      return ItemKind::kWholeField;
    case FieldType::kSingle:
    case FieldType::kDouble:
      return ItemKind::kNumberField;
    case FieldType::kText:
      return ItemKind::kTextField;
    case FieldType::kDate:
      return ItemKind::kDateField;
    case FieldType::kGeometry:
    case FieldType::kBlob:
      break;
  }
  return ItemKind::kOtherField;
}

int ListTableFields(const ITable& table, IItemList& combo, int filter) {
  AddFitting(table.Fields(), combo, filter);
  return table.Fields().FieldCount();
}

int ListFields(const IFeatureLayer& layer, IItemList& combo, int filter) {
  return ListTableFields(layer.FeatureClass(), combo, filter);
}

int ListFieldsInListBox(const IFeatureLayer& layer, IItemList& list, int filter) {
  if (filter == kDateFields || filter == kOidFields) return 0;
  return AddFitting(layer.FeatureClass().Fields(), list, filter);
}

bool FieldExists(const std::string& name, const Fields& fields) {
  return fields.FindField(name) >= 0;
}

int AddNewField(const std::string& name, ITable& table, FieldType type, std::optional<int> length,
                int precision) {
  int index = -1;
  std::string at = "A";
  const auto head = [&] {
    return "AddNewField: " + at + "Name: " + name + ", Type: " + ToText(static_cast<int>(type));
  };
  TrapWithHead(head, [&] {
    Field field;
    field.name = name;
    field.type = type;
    if (length) {
      field.length = *length;
      if (type == FieldType::kDouble) field.precision = precision;
    }
    at = "B";
    table.AddField(field);
    at = "C";
    index = table.FindField(name);
  });
  return index;
}

Field MakeField(const std::string& name, FieldType type, int length, bool required, bool editable,
                int precision) {
  Field field;
  field.name = name;
  field.type = type;
  field.length = length;
  field.required = required;
  field.editable = editable;
  if (precision != 0) field.precision = precision;
  return field;
}

int LengthToHold(const Field& source, std::size_t longestText) {
  constexpr int kDefaultText = 50;  // of a field that is added without a length
  constexpr std::size_t kLongestText = 254;
  if (source.type != FieldType::kText) return source.length;
  const int own = source.length > 0 ? source.length : kDefaultText;
  const int needed = static_cast<int>(std::min(longestText, kLongestText));
  return needed <= own ? source.length : needed;
}

Fields MakeShapeFields(GeometryType type, bool hasM, bool hasZ, SpatialReferencePtr reference) {
  Field oid;
  oid.name = "OID";
  oid.type = FieldType::kOid;
  Field shape;
  shape.name = "Shape";
  shape.isNullable = true;
  shape.type = FieldType::kGeometry;
  shape.geometry = {type, hasM, hasZ, std::move(reference)};
  return Fields{std::move(oid), std::move(shape)};
}

}  // namespace orlinths
