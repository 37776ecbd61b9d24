// Summary statistics of lists of numbers, and their update as a window moves on.
#pragma once

#include <cstdint>
#include <span>

#include "runtime/Arrays.h"
#include "runtime/Value.h"

namespace orlinths {

/// What every routine here returns. After an error report it has the fields set so far.
struct ArrayStats {
  double mean = 0;
  double sd = 0;  ///< of a sample: divisor n - 1
  double min = 0;
  double max = 0;
  double sum = 0;
  std::int32_t count = 0;
  bool operator==(const ArrayStats&) const = default;
};

/// The largest value of a column of a table whose rows count from 0; -1E+308 after an error report
/// (no rows, no such column).
double GetMaxArrayValue(const Array2<double>& table, std::int64_t column);

/// Statistics of the entries that are not exactly kMissing; when none is left every field is
/// kMissing, the count included. The standard deviation of a single entry is 0. Error report: an
/// empty list, a sum or deviation that is not finite. O(n), two passes.
ArrayStats GetArrayStatsDbl(std::span<const double> values);
ArrayStats GetArrayStatsLng(std::span<const std::int32_t> values);

/// Mean, sum and count alone, of all entries: there is no missing value here. An empty entry of a
/// mixed list counts as 0. Error report: an empty list, a text that is no number, a null.
ArrayStats GetArrayStats2(std::span<const double> values);
ArrayStats GetArrayStats2(std::span<const std::int32_t> values);
ArrayStats GetArrayStats2(std::span<const Value> values);

/// One row of a moving window: the cell it leaves behind and the one it takes in.
struct SliderRow {
  double leaving = 0;
  double entering = 0;
};
/// The value of a cell that does not count. A byte raster's own 255 is passed over as well.
inline constexpr double kSliderMissing = 255;

/// Mean, sum and count of a window that moves by one column of cells, from those before the move.
/// Error report: no rows, nothing left to count (sum and count are set then). O(rows).
ArrayStats GetArrayStatsSlider(std::span<const SliderRow> rows, const ArrayStats& previous);

}  // namespace orlinths
