#include "session/ClockText.h"

#include <algorithm>
#include <cctype>

#include "runtime/Date.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kMillisecond = 1'000'000;
constexpr std::size_t kFractionDigits = 9;

}  // namespace

std::string ClockText(std::int64_t nanoseconds) {
  std::int64_t fraction = nanoseconds % kSecond;
  if (fraction < 0) fraction += kSecond;
  const std::int64_t whole = nanoseconds - fraction;
  std::string text = ToText(Date{whole / kMillisecond});
  if (text.find('T') == text.npos) text += "T00:00:00";
  const std::string digits = ToText(fraction);
  return text + '.' + std::string(kFractionDigits - digits.size(), '0') + digits;
}

std::optional<std::int64_t> ParseClock(std::string_view text) {
  std::int64_t fraction = 0;
  if (const auto point = text.find('.'); point != text.npos) {
    std::string digits(text.substr(point + 1));
    const bool onlyDigits = std::all_of(digits.begin(), digits.end(),
                                        [](unsigned char c) { return std::isdigit(c) != 0; });
    if (digits.empty() || digits.size() > kFractionDigits || !onlyDigits) return {};
    digits.resize(kFractionDigits, '0');
    fraction = static_cast<std::int64_t>(ToDouble(std::string_view(digits)));  // nine digits: exact
    text = text.substr(0, point);
    if (text.find(':') == text.npos) return {};
  }
  const auto date = Date::Parse(text);
  constexpr int kFirstYear = 1678;
  constexpr int kLastYear = 2261;
  if (!date || date->Year() < kFirstYear || date->Year() > kLastYear) return {};
  return date->milliseconds * kMillisecond + fraction;
}

}  // namespace orlinths
