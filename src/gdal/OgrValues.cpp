#include "gdal/OgrValues.h"

#include <cmath>
#include <limits>
#include <optional>

#include "runtime/Date.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

bool Fits32(double v) {
  return v >= std::numeric_limits<std::int32_t>::min() &&
         v <= std::numeric_limits<std::int32_t>::max();
}

bool Fits16(double v) {
  return v >= std::numeric_limits<std::int16_t>::min() &&
         v <= std::numeric_limits<std::int16_t>::max();
}

Value WholeValue(double v, bool small) {
  if (v != std::trunc(v) || !Fits32(v)) return v;
  if (small && Fits16(v)) return static_cast<std::int16_t>(v);
  return static_cast<std::int32_t>(v);
}

Value SingleValue(double v) {
  if (std::abs(v) > static_cast<double>(std::numeric_limits<float>::max()) && std::isfinite(v))
    return v;
  return static_cast<float>(v);
}

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

bool IsNameByte(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
         (c & 0x80) != 0;
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
      return WholeValue(RawNumber(feature, column), true);
    case FieldType::kInteger:
      return WholeValue(RawNumber(feature, column), false);
    case FieldType::kSingle:
      return SingleValue(RawNumber(feature, column));
    case FieldType::kDouble:
      return RawNumber(feature, column);
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
  std::string out;
  std::size_t i = 0;
  while (i < where.size()) {
    const char c = where[i];
    if (c == '\'' || c == '"') {
      // A doubled quote inside reads as an end and a new beginning, which comes to the same.
      const std::size_t end = std::min(where.find(c, i + 1), where.size() - 1);
      out += where.substr(i, end + 1 - i);
      i = end + 1;
    } else if (c == '#') {
      const std::size_t end = where.find('#', i + 1);
      const auto inner =
          end == std::string_view::npos ? std::string_view() : where.substr(i + 1, end - i - 1);
      if (const std::optional<Date> date = Date::Parse(inner)) {
        out += DateLiteral(*date, dialect);
        i = end + 1;
      } else {
        out += c;
        ++i;
      }
    } else if (IsNameByte(c)) {
      std::size_t end = i;
      while (end < where.size() && IsNameByte(where[end])) ++end;
      const std::string_view name = where.substr(i, end - i);
      if (!oidName.empty() && EqualNoCase(name, oidName)) {
        out += dialect == Dialect::kSql && !fidColumn.empty() ? "\"" + std::string(fidColumn) + "\""
                                                              : "FID";
      } else {
        out += name;
      }
      i = end;
    } else {
      out += c;
      ++i;
    }
  }
  return out;
}

}  // namespace orlinths
