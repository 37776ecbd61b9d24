// How often each of a list of classes occurs in a list of values.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "runtime/Value.h"

namespace orlinths {

struct Frequency {
  std::int32_t value = 0;
  std::int32_t count = 0;
  bool operator==(const Frequency&) const = default;
};
/// One line a class, in the order of the classes.
using FrequencyTable = std::vector<Frequency>;

/// For each class its value as a 32-bit integer (halves to even) and the number of entries of
/// `values` equal to the class itself; a class that stands twice is counted in both its lines.
/// Values of no class are not counted. An empty table after an error report: a class that is no
/// 32-bit integer, a null. Empty lists give lines with count 0, or none.
///
/// Numbers: O((values + classes) log classes), without the logarithm for integers whose classes lie
/// close together. Mixed values are compared as such, each with each:
/// an empty value equals 0 and "", a text never equals a number.
FrequencyTable GetFreqDistribArr(std::span<const std::int32_t> values,
                                 std::span<const std::int32_t> classes);
FrequencyTable GetFreqDistribArr(std::span<const double> values, std::span<const double> classes);
FrequencyTable GetFreqDistribArr(std::span<const Value> values, std::span<const Value> classes);

}  // namespace orlinths
