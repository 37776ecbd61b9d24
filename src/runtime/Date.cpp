#include "runtime/Date.h"

#include <array>
#include <charconv>
#include <chrono>

namespace orlinths {
namespace {

constexpr std::int64_t kDay = 86'400'000;

std::int64_t FloorDiv(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

std::chrono::year_month_day Civil(std::int64_t milliseconds) {
  return std::chrono::sys_days(std::chrono::days(static_cast<int>(FloorDiv(milliseconds, kDay))));
}

/// Takes `digits` digits off the front of `text`.
bool TakeNumber(std::string_view& text, std::size_t digits, int& number) {
  if (text.size() < digits) return false;
  number = 0;
  for (std::size_t i = 0; i < digits; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    number = number * 10 + (text[i] - '0');
  }
  text.remove_prefix(digits);
  return true;
}

bool TakeSign(std::string_view& text, std::string_view oneOf) {
  if (text.empty() || oneOf.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

void AppendPadded(std::string& out, int number, std::size_t width) {
  const std::string digits = [&] {
    std::array<char, 12> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
    return std::string(buffer.data(), end);
  }();
  out.append(width > digits.size() ? width - digits.size() : 0, '0').append(digits);
}

}  // namespace

std::optional<Date> Date::FromCivil(int year, int month, int day, int hour, int minute, int second,
                                    int millisecond) {
  const std::chrono::year_month_day civil(std::chrono::year(year),
                                          std::chrono::month(static_cast<unsigned>(month)),
                                          std::chrono::day(static_cast<unsigned>(day)));
  if (year < 1 || year > 9999 || month < 1 || day < 1 || !civil.ok()) return std::nullopt;
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59 ||
      millisecond < 0 || millisecond > 999)
    return std::nullopt;
  const std::int64_t days = std::chrono::sys_days(civil).time_since_epoch().count();
  return Date{days * kDay + ((hour * 60LL + minute) * 60 + second) * 1000 + millisecond};
}

std::optional<Date> Date::Parse(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
  if (!TakeNumber(text, 4, year)) return std::nullopt;
  const bool separated = TakeSign(text, "-/");
  if (!TakeNumber(text, 2, month)) return std::nullopt;
  if (TakeSign(text, "-/") != separated) return std::nullopt;
  if (!TakeNumber(text, 2, day)) return std::nullopt;
  if (!text.empty()) {
    if (!TakeSign(text, "T ") || !TakeNumber(text, 2, hour) || !TakeSign(text, ":") ||
        !TakeNumber(text, 2, minute))
      return std::nullopt;
    const bool hasSeconds = TakeSign(text, ":");
    if (hasSeconds && !TakeNumber(text, 2, second)) return std::nullopt;
    if (hasSeconds && TakeSign(text, ".")) {
      int scale = 100;
      if (text.empty()) return std::nullopt;
      for (int digit = 0; TakeNumber(text, 1, digit); scale /= 10) millisecond += digit * scale;
    }
    if (!text.empty()) return std::nullopt;
  }
  return FromCivil(year, month, day, hour, minute, second, millisecond);
}

int Date::Year() const { return static_cast<int>(Civil(milliseconds).year()); }
int Date::Month() const {
  return static_cast<int>(static_cast<unsigned>(Civil(milliseconds).month()));
}
int Date::Day() const { return static_cast<int>(static_cast<unsigned>(Civil(milliseconds).day())); }

int Date::DayOfYear() const {
  const auto civil = Civil(milliseconds);
  const auto first = std::chrono::sys_days(civil.year() / 1 / 1);
  return static_cast<int>((std::chrono::sys_days(civil) - first).count()) + 1;
}

double Date::Serial() const {
  constexpr double kEpochSerial = 25569;  // 1970-01-01
  return static_cast<double>(milliseconds) / static_cast<double>(kDay) + kEpochSerial;
}

std::string ToText(const Date& date) {
  std::string out;
  AppendPadded(out, date.Year(), 4);
  out += '-';
  AppendPadded(out, date.Month(), 2);
  out += '-';
  AppendPadded(out, date.Day(), 2);
  const auto ofDay = static_cast<int>(date.milliseconds - FloorDiv(date.milliseconds, kDay) * kDay);
  if (ofDay == 0) return out;
  out += 'T';
  AppendPadded(out, ofDay / 3'600'000, 2);
  out += ':';
  AppendPadded(out, ofDay / 60'000 % 60, 2);
  out += ':';
  AppendPadded(out, ofDay / 1000 % 60, 2);
  if (ofDay % 1000 != 0) {
    out += '.';
    AppendPadded(out, ofDay % 1000, 3);
  }
  return out;
}

}  // namespace orlinths
