// A calendar date with a time of day, as tables hold it: no time zone, proleptic Gregorian calendar.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orlinths {

/// Milliseconds since 1970-01-01T00:00:00. Totally ordered; the default is that instant.
struct Date {
  std::int64_t milliseconds = 0;

  /// Nothing when the day does not exist (February 30) or the time is out of range. Years 1 to 9999.
  static std::optional<Date> FromCivil(int year, int month, int day, int hour = 0, int minute = 0,
                                       int second = 0, int millisecond = 0);
  /// Reads `YYYY-MM-DD`, `YYYY/MM/DD` or `YYYYMMDD`, optionally followed by `T` or a blank and `hh:mm[:ss[.fff]]`.
  static std::optional<Date> Parse(std::string_view text);

  int Year() const;
  int Month() const;
  int Day() const;
  int DayOfYear() const;  ///< 1 for January 1

  /// Days since 1899-12-30 with the time of day as fraction: the number a date converts to.
  double Serial() const;

  auto operator<=>(const Date&) const = default;
};

/// ISO form: `2026-03-01`, with `T12:00:00` when the time is not midnight and `.250` when it has milliseconds.
std::string ToText(const Date& date);

}  // namespace orlinths
