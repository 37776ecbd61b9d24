#include "numerics/Frequency.h"

#include <algorithm>
#include <cmath>

#include "runtime/Arithmetic.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

constexpr const char* kLabel = "GetFreqDistribArr: ";

using Counts = std::vector<std::int64_t>;

/// How often each of `sorted` (ascending, each once, not empty) occurs in `values`, by search.
template <class Number>
Counts CountBySearch(std::span<const Number> values, const std::vector<Number>& sorted) {
  Counts counts(sorted.size());
  for (const Number v : values) {
    const auto at = std::lower_bound(sorted.begin(), sorted.end(), v);
    if (at != sorted.end() && *at == v) ++counts[static_cast<std::size_t>(at - sorted.begin())];
  }
  return counts;
}

/// The same through a table of all numbers from the first class to the last, where it is short
/// beside the list: class codes mostly lie close together.
Counts Occurrences(std::span<const std::int32_t> values, const std::vector<std::int32_t>& sorted) {
  const std::int64_t first = sorted.front();
  const auto width = static_cast<std::uint64_t>(sorted.back() - first + 1);
  if (width > values.size() + 64) return CountBySearch(values, sorted);
  Counts table(width), counts;
  for (const std::int32_t v : values) {
    const auto place = static_cast<std::uint64_t>(v - first);  // of a value below: beyond the table
    if (place < width) ++table[place];
  }
  for (const std::int32_t c : sorted) counts.push_back(table[static_cast<std::size_t>(c - first)]);
  return counts;
}

Counts Occurrences(std::span<const double> values, const std::vector<double>& sorted) {
  return CountBySearch(values, sorted);
}

template <class Number>
FrequencyTable CountNumbers(std::span<const Number> values, std::span<const Number> classes) {
  FrequencyTable table;
  Trap(kLabel, [&] {
    FrequencyTable lines;
    lines.reserve(classes.size());
    // A class that is not finite ends here, before anything is sorted.
    for (const Number c : classes) lines.push_back({ToLong(static_cast<double>(c)), 0});
    std::vector<Number> sorted(classes.begin(), classes.end());
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    const Counts counts = sorted.empty() ? Counts() : Occurrences(values, sorted);
    for (std::size_t i = 0; i < classes.size(); ++i) {
      const auto at = std::lower_bound(sorted.begin(), sorted.end(), classes[i]);
      const std::int64_t count = counts[static_cast<std::size_t>(at - sorted.begin())];
      lines[i].count = ToLong(static_cast<double>(count));
    }
    table = std::move(lines);
  });
  return table;
}

}  // namespace

FrequencyTable GetFreqDistribArr(std::span<const std::int32_t> values,
                                 std::span<const std::int32_t> classes) {
  return CountNumbers(values, classes);
}

FrequencyTable GetFreqDistribArr(std::span<const double> values, std::span<const double> classes) {
  return CountNumbers(values, classes);
}

FrequencyTable GetFreqDistribArr(std::span<const Value> values, std::span<const Value> classes) {
  FrequencyTable table;
  Trap(kLabel, [&] {
    FrequencyTable lines;
    for (const Value& c : classes) {
      Frequency line{ToLong(c), 0};
      for (const Value& v : values)
        if (Compare(v, c) == 0) line.count = Add(line.count, 1);
      lines.push_back(line);
    }
    table = std::move(lines);
  });
  return table;
}

}  // namespace orlinths
