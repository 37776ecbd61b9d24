#include "data/ColumnValue.h"

#include <cmath>
#include <limits>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

template <class T>
bool Fits(double v) {
  return v >= std::numeric_limits<T>::min() && v <= std::numeric_limits<T>::max();
}

}  // namespace

Value NumberValue(double number, FieldType type) {
  switch (type) {
    case FieldType::kSmallInteger:
    case FieldType::kInteger:
      if (number != std::trunc(number) || !Fits<std::int32_t>(number)) return number;
      if (type == FieldType::kSmallInteger && Fits<std::int16_t>(number))
        return static_cast<std::int16_t>(number);
      return static_cast<std::int32_t>(number);
    case FieldType::kSingle:
      if (std::isfinite(number) && std::abs(number) > double{std::numeric_limits<float>::max()})
        return number;
      return static_cast<float>(number);
    default:
      return number;
  }
}

Value OidValue(Oid oid) {
  const auto narrow = static_cast<std::int32_t>(oid);
  if (narrow == oid) return narrow;
  return static_cast<double>(oid);
}

Date ToDate(const Value& value) {
  if (const Date* date = value.As<Date>()) return *date;
  if (const std::string* text = value.As<std::string>()) {
    const auto date = Date::Parse(*text);
    if (!date) throw RuntimeError(ErrorNumber::kTypeMismatch);
    return *date;
  }
  constexpr double kEpochSerial = 25569, kDayMilliseconds = 86'400'000;
  const double milliseconds = std::nearbyint((ToDouble(value) - kEpochSerial) * kDayMilliseconds);
  const double first = static_cast<double>(Date::FromCivil(1, 1, 1)->milliseconds);
  const double last =
      static_cast<double>(Date::FromCivil(9999, 12, 31, 23, 59, 59, 999)->milliseconds);
  if (!(milliseconds >= first && milliseconds <= last)) throw RuntimeError(ErrorNumber::kOverflow);
  return Date{static_cast<std::int64_t>(milliseconds)};
}

}  // namespace orlinths
