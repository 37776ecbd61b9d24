#include "runtime/Value.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

template <class... Fs>
struct Overloaded : Fs... {
  using Fs::operator()...;
};
template <class... Fs>
Overloaded(Fs...) -> Overloaded<Fs...>;

[[noreturn]] void Raise(ErrorNumber number) { throw RuntimeError(number); }

/// Round half to even without regard to the floating-point environment's rounding mode.
double RoundHalfEven(double v) {
  const double below = std::floor(v);
  const double rest = v - below;
  if (rest < 0.5) return below;
  if (rest > 0.5) return below + 1;
  return std::fmod(below, 2) == 0 ? below : below + 1;
}

template <class Whole>
Whole ToWhole(double v) {
  const double rounded = RoundHalfEven(v);
  // The negation also catches NaN.
  if (!(rounded >= static_cast<double>(std::numeric_limits<Whole>::min()) &&
        rounded <= static_cast<double>(std::numeric_limits<Whole>::max())))
    Raise(ErrorNumber::kOverflow);
  return static_cast<Whole>(rounded);
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

enum class Reading { kNumber, kNoNumber, kTooLarge };

/// Of a number's text without sign, by which power of ten its first digit that is not 0 counts. A
/// text of nothing but zeros gives 0. Exponents beyond any double saturate.
std::int64_t DecimalExponent(std::string_view text) {
  constexpr std::int64_t kFar = 1'000'000'000;
  const auto mark = std::min(text.find_first_of("eE"), text.size());
  const std::string_view digits = text.substr(0, mark);
  const auto first = digits.find_first_of("123456789");
  if (first == std::string_view::npos) return 0;
  const auto point = std::min(digits.find('.'), digits.size());
  std::int64_t power = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
  if (power > 0) --power;
  if (mark == text.size()) return power;
  std::string_view exponent = text.substr(mark + 1);
  const bool negative = exponent.front() == '-';
  if (negative || exponent.front() == '+') exponent.remove_prefix(1);
  std::int64_t value = 0;
  for (const char digit : exponent) value = std::min(value * 10 + (digit - '0'), kFar);
  return power + (negative ? -value : value);
}

/// Blanks around, sign, digits with a decimal point, exponent (e, E). No hexadecimal, no "inf", no
/// "nan".
Reading ReadNumber(std::string_view text, double& number) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  const bool signedText = !text.empty() && (text.front() == '+' || text.front() == '-');
  const bool negative = signedText && text.front() == '-';
  if (signedText) text.remove_prefix(1);
  if (text.empty() || !(text.front() == '.' || (text.front() >= '0' && text.front() <= '9')))
    return Reading::kNoNumber;
  double magnitude = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), magnitude);
  if (end != text.data() + text.size() || error == std::errc::invalid_argument)
    return Reading::kNoNumber;
  if (error == std::errc::result_out_of_range) {
    // from_chars does not say which way; too small reads as 0.
    if (DecimalExponent(text) > 0) return Reading::kTooLarge;
    magnitude = 0;
  }
  number = negative ? -magnitude : magnitude;
  return Reading::kNumber;
}

/// %.{digits}g with trailing zeros gone, an upper-case E, and no negative zero.
std::string NumberText(double v, int digits) {
  if (v == 0) return "0";
  if (std::isnan(v)) return "NaN";
  if (std::isinf(v)) return v < 0 ? "-Infinity" : "Infinity";
  std::array<char, 40> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), v,
                                 std::chars_format::general, digits)
                       .ptr;
  std::string text(buffer.data(), end);
  std::replace(text.begin(), text.end(), 'e', 'E');
  return text;
}

}  // namespace

bool Value::IsNumber() const {
  return As<std::int16_t>() || As<std::int32_t>() || As<float>() || As<double>();
}

double ToDouble(std::string_view text) {
  double number = 0;
  switch (ReadNumber(text, number)) {
    case Reading::kNumber:
      return number;
    case Reading::kTooLarge:
      Raise(ErrorNumber::kOverflow);
    case Reading::kNoNumber:
      break;
  }
  Raise(ErrorNumber::kTypeMismatch);
}

double ToDouble(const Value& v) {
  return v.Visit(Overloaded{
      [](Empty) { return 0.0; },
      [](Null) -> double { Raise(ErrorNumber::kInvalidNull); },
      [](const std::string& text) { return ToDouble(std::string_view(text)); },
      [](const Date& date) { return date.Serial(); },
      [](auto number) { return static_cast<double>(number); },
  });
}

float ToSingle(const Value& v) {
  if (const float* single = v.As<float>()) return *single;
  const double wide = ToDouble(v);
  if (!(std::abs(wide) <= static_cast<double>(std::numeric_limits<float>::max())))
    Raise(ErrorNumber::kOverflow);
  return static_cast<float>(wide);
}

std::int32_t ToLong(double v) { return ToWhole<std::int32_t>(v); }
std::int16_t ToInteger(double v) { return ToWhole<std::int16_t>(v); }

std::int32_t ToLong(const Value& v) {
  if (const auto* whole = v.As<std::int32_t>()) return *whole;
  return ToLong(ToDouble(v));
}

std::int16_t ToInteger(const Value& v) {
  if (const auto* whole = v.As<std::int16_t>()) return *whole;
  return ToInteger(ToDouble(v));
}

std::string ToText(double v) { return NumberText(v, 15); }
std::string ToText(float v) { return NumberText(static_cast<double>(v), 7); }

std::string ToText(std::int64_t v) {
  std::array<char, 24> buffer;
  return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), v).ptr};
}

std::string ToText(const Value& v) {
  return v.Visit(Overloaded{
      [](Empty) { return std::string(); },
      [](Null) -> std::string { Raise(ErrorNumber::kInvalidNull); },
      [](const std::string& text) { return text; },
      [](const auto& other) { return ToText(other); },
  });
}

bool IsNumeric(std::string_view text) {
  double number = 0;
  return ReadNumber(text, number) == Reading::kNumber;
}

bool IsNumeric(const Value& v) {
  if (const std::string* text = v.As<std::string>()) return IsNumeric(std::string_view(*text));
  return v.IsEmpty() || v.IsNumber();
}

int Compare(const Value& a, const Value& b) {
  if (a.IsNull() || b.IsNull()) Raise(ErrorNumber::kInvalidNull);
  const auto sign = [](const auto& left, const auto& right) {
    return left < right ? -1 : right < left ? 1 : 0;
  };
  const std::string* textA = a.As<std::string>();
  const std::string* textB = b.As<std::string>();
  static const std::string none;
  if (textA && b.IsEmpty()) textB = &none;
  if (textB && a.IsEmpty()) textA = &none;
  // UTF-8 compared as unsigned bytes is the order of code points.
  if (textA && textB) return sign(textA->compare(*textB), 0);
  if (textA) return 1;
  if (textB) return -1;
  return sign(ToDouble(a), ToDouble(b));
}

double Int(double v) { return std::floor(v); }
double Fix(double v) { return std::trunc(v); }

}  // namespace orlinths
