#include "gdal/ColumnValues.h"

#include <array>
#include <cmath>

#include "data/ColumnValue.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

[[noreturn]] void TooLarge(const std::string& value, const DbfColumn& column) {
  throw RuntimeError::Platform("The value " + value + " is too large for the field " + column.name +
                               ".");
}

bool FitsColumn(const ColumnKind& kind, double number) {
  std::array<char, 256> space;
  return EncodeNumber(number, kind.form, kind.column.width, kind.column.decimals, space.data());
}

double WholeFor(const ColumnKind& kind, double number, bool& needsWidening) {
  const double whole = std::nearbyint(number);  // halves to even
  if (kind.type == FieldType::kSmallInteger && kind.column.width == kSmallWidth) {
    const std::int16_t small = ToInteger(whole);
    if (small < -999 || small > 9999) needsWidening = true;
    return small;
  }
  if (!FitsColumn(kind, whole)) TooLarge(ToText(number), kind.column);
  return whole;
}

}  // namespace

double NumberFor(const ColumnKind& kind, double number, bool& needsWidening) {
  if (!std::isfinite(number)) throw RuntimeError(ErrorNumber::kOverflow);
  constexpr int kAnyDouble = 24, kAnySingle = 16;
  switch (kind.form) {
    case NumberForm::kWhole:
      return WholeFor(kind, number, needsWidening);
    case NumberForm::kExponent:
      if (kind.column.width >= kAnyDouble) return number;
      break;
    case NumberForm::kExponentSingle:
      number = static_cast<double>(ToSingle(Value(number)));
      if (kind.column.width == kAnySingle) return number;
      break;
    case NumberForm::kFixed:
      break;
    case NumberForm::kNone:
      throw RuntimeError(ErrorNumber::kTypeMismatch);
  }
  if (!FitsColumn(kind, number)) TooLarge(ToText(number), kind.column);
  return number;
}

double NumberFor(const ColumnKind& kind, const Value& value, bool& needsWidening) {
  if (value.IsNull() || value.IsEmpty()) return 0;
  if (kind.form == NumberForm::kExponentSingle)
    return NumberFor(kind, static_cast<double>(ToSingle(value)), needsWidening);
  return NumberFor(kind, ToDouble(value), needsWidening);
}

std::string BytesFor(const ColumnKind& kind, const Value& value, const DbfText& text) {
  const DbfColumn& column = kind.column;
  const auto width = static_cast<std::size_t>(column.width);
  std::string bytes;
  if (column.type == 'D') {
    if (width < 8)
      throw RuntimeError::Platform("The field " + column.name + " has no room for a date.");
    if (!value.IsNull() && !value.IsEmpty()) {
      bytes.resize(8);
      EncodeDate(ToDate(value), bytes.data());
    }
  } else if (column.type == 'C' || column.type == 'L') {
    if (!value.IsNull()) bytes = text.Encode(ToText(value));
    if (bytes.find('\0') != std::string::npos)
      throw RuntimeError::Platform("A text for the field " + column.name + " holds a zero byte.");
    if (bytes.size() > width)
      throw RuntimeError::Platform("The text \"" + ToText(value) + "\" is too long for the field " +
                                   column.name + " (" + ToText(column.width) + " bytes).");
  } else {
    throw RuntimeError::Platform("The field " + column.name +
                                 " is of a type that cannot be written.");
  }
  bytes.resize(width, ' ');
  return bytes;
}

Value ValueOfBytes(const ColumnKind& kind, std::string_view bytes, const DbfText& text) {
  if (kind.IsNumber()) return NumberValue(DecodeNumber(bytes, kind.column), kind.type);
  if (kind.column.type == 'D') {
    const auto date = DecodeDate(bytes);
    return date ? Value(*date) : Value(Null{});
  }
  return text.Decode(DbfContent(bytes));
}

}  // namespace orlinths
