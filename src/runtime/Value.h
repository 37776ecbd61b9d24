// A value of mixed type, as table cells and dialog entries hold it, with its conversions, comparison and text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "runtime/Date.h"

namespace orlinths {

struct Empty {
  bool operator==(const Empty&) const = default;
};
struct Null {
  bool operator==(const Null&) const = default;
};

/// Empty, null, a 16-bit or 32-bit integer, a single, a double, text (UTF-8) or a date. Owns what it holds.
class Value {
 public:
  Value() = default;
  Value(Null) : held_(Null{}) {}
  Value(std::int16_t v) : held_(v) {}
  Value(std::int32_t v) : held_(v) {}
  Value(float v) : held_(v) {}
  Value(double v) : held_(v) {}
  Value(std::string v) : held_(std::move(v)) {}
  Value(std::string_view v) : held_(std::string(v)) {}
  Value(const char* v) : held_(std::string(v)) {}
  Value(Date v) : held_(v) {}
  Value(bool) = delete;  // flags are 16-bit integers with true as -1: say Flag(b)

  bool IsEmpty() const { return std::holds_alternative<Empty>(held_); }
  bool IsNull() const { return std::holds_alternative<Null>(held_); }
  bool IsText() const { return std::holds_alternative<std::string>(held_); }
  bool IsDate() const { return std::holds_alternative<Date>(held_); }
  /// One of the four number types; text that reads as a number is not one.
  bool IsNumber() const;

  /// The held alternative, or nothing.
  template <class T>
  const T* As() const { return std::get_if<T>(&held_); }
  template <class Visitor>
  decltype(auto) Visit(Visitor&& visitor) const { return std::visit(visitor, held_); }

  /// Same type and same content, bit for bit but for 0 and -0. For equality of mixed types see `Compare`.
  bool operator==(const Value&) const = default;

 private:
  std::variant<Empty, Null, std::int16_t, std::int32_t, float, double, std::string, Date> held_;
};

/// A 16-bit boolean: true is -1.
inline Value Flag(bool b) { return Value(static_cast<std::int16_t>(b ? -1 : 0)); }

/// Conversions. Empty converts to 0; null raises error 94; text that is no number raises 13 (see `IsNumeric` for what is
/// one); a result out of range or not finite raises 6. Whole numbers are rounded halves to even. A date is its serial number.
double ToDouble(const Value& v);
float ToSingle(const Value& v);
std::int32_t ToLong(const Value& v);
std::int16_t ToInteger(const Value& v);
double ToDouble(std::string_view text);
inline double ToDouble(const std::string& text) { return ToDouble(std::string_view(text)); }
inline double ToDouble(const char* text) { return ToDouble(std::string_view(text)); }

/// The same for a double: rounded halves to even, error 6 outside the type.
std::int32_t ToLong(double v);
std::int16_t ToInteger(double v);

/// Text of a value. A number has at most 15 significant digits (7 for a single), shortest form, point as decimal mark, in
/// every locale; below 1E-4 and from 1E+15 on (1E+07 for a single) it has an exponent of two digits or more. Empty gives an empty text; null raises error 94.
std::string ToText(const Value& v);
std::string ToText(double v);
std::string ToText(float v);
std::string ToText(std::int64_t v);
inline std::string ToText(int v) { return ToText(static_cast<std::int64_t>(v)); }
inline std::string ToText(std::int16_t v) { return ToText(static_cast<std::int64_t>(v)); }

/// True for the number types, for empty, and for text with blanks around, sign, decimal point, exponent. False for
/// empty text, null, dates, and text whose number is beyond a double.
bool IsNumeric(const Value& v);
bool IsNumeric(std::string_view text);
inline bool IsNumeric(const std::string& text) { return IsNumeric(std::string_view(text)); }
inline bool IsNumeric(const char* text) { return IsNumeric(std::string_view(text)); }

/// Order of mixed values: -1, 0 or 1. Numbers by value, text by code point, a number before a text, dates among numbers by
/// serial number. Empty counts as 0 against numbers and as empty text against text. Null raises error 94.
int Compare(const Value& a, const Value& b);

/// `Int`: the greatest whole number not above v. `Fix`: truncation towards zero.
double Int(double v);
double Fix(double v);

}  // namespace orlinths
