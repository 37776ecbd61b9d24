#include "gdal/OgrValues.h"

#include <cmath>
#include <optional>

#include "data/ColumnValue.h"
#include "data/WhereText.h"
#include "runtime/Date.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

Value DefaultOf(FieldType type) {
  switch (type) {
    case FieldType::kSmallInteger:
      return std::int16_t{0};
    case FieldType::kInteger:
      return std::int32_t{0};
    case FieldType::kSingle:
      return 0.0F;
    case FieldType::kDouble:
      return 0.0;
    case FieldType::kText:
      return "";
    default:
      return Null{};
  }
}

double RawNumber(const OGRFeature& feature, int column) {
  const OGRField* raw = feature.GetRawFieldRef(column);
  switch (feature.GetFieldDefnRef(column)->GetType()) {
    case OFTReal:
      return raw->Real;
    case OFTInteger:
      return raw->Integer;
    case OFTInteger64:
      return static_cast<double>(raw->Integer64);
    default:
      return feature.GetFieldAsDouble(column);
  }
}

Value ReadDate(const OGRFeature& feature, int column) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, zone = 0;
  float seconds = 0;
  if (!feature.GetFieldAsDateTime(column, &year, &month, &day, &hour, &minute, &seconds, &zone))
    return Null{};
  const int milliseconds = static_cast<int>(std::lround(seconds * 1000));
  const std::optional<Date> date =
      Date::FromCivil(year, month, day, hour, minute, milliseconds / 1000, milliseconds % 1000);
  return date ? Value(*date) : Value(Null{});
}

std::string DateLiteral(const Date& date, Dialect dialect) {
  std::string text = ToText(date);
  if (dialect == Dialect::kOgr) {
    text[4] = text[7] = '/';
    if (text.size() > 10) text[10] = ' ';
  }
  return "'" + text + "'";
}

}  // namespace

Field ToField(const OGRFieldDefn& defn) {
  Field field;
  field.name = defn.GetNameRef();
  field.length = field.precision = defn.GetWidth();
  field.scale = defn.GetPrecision();
  field.isNullable = defn.IsNullable();
  const OGRFieldSubType subType = defn.GetSubType();
  switch (defn.GetType()) {
    case OFTInteger:
      field.type = subType == OFSTInt16 || subType == OFSTBoolean ? FieldType::kSmallInteger
                                                                  : FieldType::kInteger;
      break;
    case OFTInteger64:
      field.type = FieldType::kInteger;
      break;
    case OFTReal:
      field.type = subType == OFSTFloat32 ? FieldType::kSingle : FieldType::kDouble;
      break;
    case OFTDate:
    case OFTDateTime:
      field.type = FieldType::kDate;
      break;
    case OFTBinary:
      field.type = FieldType::kBlob;
      break;
    default:
      field.type = FieldType::kText;
      break;
  }
  return field;
}

std::unique_ptr<OGRFieldDefn> ToOgrField(const Field& field) {
  auto made = std::make_unique<OGRFieldDefn>(field.name.c_str(), OFTString);
  OGRFieldDefn& defn = *made;
  switch (field.type) {
    case FieldType::kSmallInteger:
      defn.SetType(OFTInteger);
      defn.SetSubType(OFSTInt16);
      break;
    case FieldType::kInteger:
    case FieldType::kOid:
      defn.SetType(OFTInteger);
      break;
    case FieldType::kSingle:
      defn.SetType(OFTReal);
      defn.SetSubType(OFSTFloat32);
      break;
    case FieldType::kDouble:
      defn.SetType(OFTReal);
      break;
    case FieldType::kDate:
      defn.SetType(OFTDateTime);
      break;
    case FieldType::kBlob:
      defn.SetType(OFTBinary);
      break;
    case FieldType::kGeometry:
      throw RuntimeError::Platform("A second geometry field cannot be added: " + field.name + ".");
    case FieldType::kText:
      defn.SetWidth(field.length > 0 ? field.length : 50);
      break;
  }
  return made;
}

Value ReadValue(const OGRFeature& feature, int column, FieldType type, bool knowsNull) {
  if (!feature.IsFieldSetAndNotNull(column)) return knowsNull ? Value(Null{}) : DefaultOf(type);
  switch (type) {
    case FieldType::kSmallInteger:
    case FieldType::kInteger:
    case FieldType::kSingle:
    case FieldType::kDouble:
      return NumberValue(RawNumber(feature, column), type);
    case FieldType::kDate:
      return ReadDate(feature, column);
    case FieldType::kText:
      return feature.GetFieldAsString(column);
    default:
      return Null{};
  }
}

double ReadDouble(const OGRFeature& feature, int column, FieldType type, bool knowsNull) {
  if (feature.IsFieldSetAndNotNull(column)) {
    if (type == FieldType::kDouble || type == FieldType::kInteger ||
        type == FieldType::kSmallInteger)
      return RawNumber(feature, column);
  }
  return ToDouble(ReadValue(feature, column, type, knowsNull));
}

void WriteValue(OGRFeature& feature, int column, const Value& value) {
  if (value.IsEmpty() || value.IsNull()) {
    feature.SetFieldNull(column);
    return;
  }
  const OGRFieldDefn& defn = *feature.GetFieldDefnRef(column);
  switch (defn.GetType()) {
    case OFTInteger:
      feature.SetField(column,
                       defn.GetSubType() == OFSTInt16 ? int{ToInteger(value)} : ToLong(value));
      break;
    case OFTInteger64: {
      const double whole = std::nearbyint(ToDouble(value));
      if (!(std::abs(whole) < 0x1p63)) throw RuntimeError(ErrorNumber::kOverflow);
      feature.SetField(column, static_cast<GIntBig>(whole));
      break;
    }
    case OFTReal:
      feature.SetField(
          column, defn.GetSubType() == OFSTFloat32 ? double{ToSingle(value)} : ToDouble(value));
      break;
    case OFTDate:
    case OFTDateTime: {
      std::optional<Date> date;
      if (const Date* held = value.As<Date>()) date = *held;
      if (const std::string* text = value.As<std::string>()) date = Date::Parse(*text);
      if (!date) throw RuntimeError(ErrorNumber::kTypeMismatch);
      const std::int64_t ofDay = ((date->milliseconds % 86400000) + 86400000) % 86400000;
      feature.SetField(column, date->Year(), date->Month(), date->Day(),
                       static_cast<int>(ofDay / 3600000), static_cast<int>(ofDay / 60000 % 60),
                       static_cast<float>(ofDay % 60000) / 1000.0F, 0);
      break;
    }
    default:
      feature.SetField(column, ToText(value).c_str());
      break;
  }
}

std::string ToOgrWhere(std::string_view where, Dialect dialect, std::string_view oidName,
                       std::string_view fidColumn) {
  return RewriteWhere(
      where, [&](const Date& date) { return DateLiteral(date, dialect); },
      [&](std::string_view name) {
        if (oidName.empty() || !EqualNoCase(name, oidName)) return std::string(name);
        return dialect == Dialect::kSql && !fidColumn.empty() ? "\"" + std::string(fidColumn) + "\""
                                                              : std::string("FID");
      });
}

}  // namespace orlinths
