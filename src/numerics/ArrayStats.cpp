#include "numerics/ArrayStats.h"

#include <cmath>

#include "numerics/Constants.h"
#include "runtime/Arithmetic.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

double Finite(double v) {
  if (!std::isfinite(v)) throw RuntimeError(ErrorNumber::kOverflow);
  return v;
}

template <class T>
void RequireEntries(std::span<const T> entries) {
  if (entries.empty()) throw RuntimeError(ErrorNumber::kSubscript);
}

constexpr ArrayStats kAllMissing{kMissing, kMissing, kMissing, kMissing, kMissing, kMissing};

template <class Number>
ArrayStats StatsOf(std::string_view label, std::span<const Number> values) {
  ArrayStats stats;
  Trap(label, [&] {
    RequireEntries(values);
    std::int64_t kept = 0;
    for (const Number entry : values) {
      if (entry == kMissing) continue;
      const auto v = static_cast<double>(entry);
      if (kept++ == 0) {
        stats.min = stats.max = stats.sum = v;
        continue;
      }
      if (v < stats.min) stats.min = v;
      if (v > stats.max) stats.max = v;
      stats.sum = Finite(stats.sum + v);
    }
    if (kept == 0) {
      stats = kAllMissing;
      return;
    }
    const auto n = static_cast<double>(kept);
    stats.mean = stats.sum / n;
    stats.count = ToLong(n);
    if (kept == 1) return;
    double squares = 0;
    for (const Number entry : values) {
      if (entry == kMissing) continue;
      const double deviation = static_cast<double>(entry) - stats.mean;
      squares += deviation * deviation;
    }
    stats.sd = std::sqrt((1 / (n - 1)) * Finite(squares));
  });
  return stats;
}

template <class T>
ArrayStats StatsOfAll(std::span<const T> values) {
  ArrayStats stats;
  Trap("GetArrayStats2: ", [&] {
    RequireEntries(values);
    for (const T& v : values) {
      if constexpr (std::is_arithmetic_v<T>)
        stats.sum = Finite(stats.sum + static_cast<double>(v));
      else
        stats.sum = Finite(stats.sum + ToDouble(v));
    }
    stats.count = ToLong(static_cast<double>(values.size()));
    stats.mean = stats.sum / stats.count;
  });
  return stats;
}

}  // namespace

double GetMaxArrayValue(const Array2<double>& table, std::int64_t column) {
  double result = -1E+308;
  Trap("GetMaxArrayValue: ", [&] {
    double largest = table(0, column);
    for (std::int64_t row = 1; row <= table.First().upper; ++row)
      if (table(row, column) > largest) largest = table(row, column);
    result = largest;
  });
  return result;
}

ArrayStats GetArrayStatsDbl(std::span<const double> values) {
  return StatsOf("GetArrayStatsDbl: ", values);
}
ArrayStats GetArrayStatsLng(std::span<const std::int32_t> values) {
  return StatsOf("GetArrayStatsLng: ", values);
}

ArrayStats GetArrayStats2(std::span<const double> values) { return StatsOfAll(values); }
ArrayStats GetArrayStats2(std::span<const std::int32_t> values) { return StatsOfAll(values); }
ArrayStats GetArrayStats2(std::span<const Value> values) { return StatsOfAll(values); }

ArrayStats GetArrayStatsSlider(std::span<const SliderRow> rows, const ArrayStats& previous) {
  ArrayStats stats{.sum = previous.sum, .count = previous.count};
  // Two captures: what the trap keeps of them fits where no memory is allocated. This runs per
  // cell.
  Trap("GetArrayStatsSlider: ", [&rows, &stats] {
    RequireEntries(rows);
    for (const SliderRow& row : rows) {
      if (row.leaving != kSliderMissing) {
        stats.sum -= row.leaving;
        --stats.count;
      }
      if (row.entering != kSliderMissing) {
        stats.sum += row.entering;
        ++stats.count;
      }
    }
    stats.mean = Divide(stats.sum, stats.count);
  });
  return stats;
}

}  // namespace orlinths
