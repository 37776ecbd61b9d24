// The clock of a run as text: local time to the nanosecond, as session files and the start event
// write it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orlinths {

/// "2026-03-01T12:00:00.000000000", always with nine digits behind the point.
std::string ClockText(std::int64_t nanoseconds);
/// Nanoseconds since 1970-01-01T00:00:00 of a date, or a date and time with up to nine digits of a
/// second. Nothing for a text that is no date or lies outside the years 1678 to 2261, which 64 bits
/// of nanoseconds can hold.
std::optional<std::int64_t> ParseClock(std::string_view text);

}  // namespace orlinths
