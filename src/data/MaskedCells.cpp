#include "data/MaskedCells.h"

#include <algorithm>
#include <string>

#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

/// Whole numbers of up to 32 bits are themselves; all others are converted as a 32-bit integer is.
template <class T>
double AsWhole(T v) {
  if constexpr (std::is_floating_point_v<T> || std::is_same_v<T, std::uint32_t>) {
    return ToLong(static_cast<double>(v));
  } else {
    return v;
  }
}

}  // namespace

void GatherMaskedCells(const Mask& mask, const IPixelBlock& block, const IRasterProps& props,
                       const Mask* except, std::vector<double>& cells, std::int64_t& row) {
  cells.clear();
  const bool isInteger = props.IsInteger();
  const std::optional<double> noData = block.NoDataValue();
  const std::int64_t first = mask.Second().lower;
  const std::size_t columns = static_cast<std::size_t>(mask.Second().Count());
  Visit(block, 0, [&]<class T>(Plane<T> plane) {
    const auto valueOf = [&](T v) {
      if (!plane.isNoData(v)) return isInteger ? AsWhole(v) : static_cast<double>(v);
      if (!noData) throw RuntimeError(ErrorNumber::kInvalidNull);
      return isInteger ? AsWhole(*noData) : *noData;
    };
    for (row = mask.First().lower; row <= mask.First().upper; ++row) {
      const auto taken = RowOf(mask, row);
      for (std::size_t i = 0; i < columns; ++i) {
        if (!taken[i]) continue;
        const std::int64_t column = first + static_cast<std::int64_t>(i);
        if (except != nullptr && (*except)(row, column)) continue;
        if (row < 0 || row >= plane.rows || column < 0 || column >= plane.columns)
          throw RuntimeError(ErrorNumber::kSubscript);
        cells.push_back(
            valueOf(plane.Row(static_cast<int>(row))[static_cast<std::size_t>(column)]));
      }
    }
  });
}

std::vector<Value> ISectArrRaster(const Mask& mask, const IPixelBlock& block,
                                  const IRasterProps& props, const Mask* except) {
  std::vector<Value> values;
  std::int64_t row = 0;
  TrapWithHead([&] { return "ISectArrRaster:  i:" + ToText(row); },
               [&] {
                 std::vector<double> cells;
                 GatherMaskedCells(mask, block, props, except, cells, row);
                 values.reserve(std::max<std::size_t>(cells.size(), 1));
                 for (const double cell : cells) {
                   if (props.IsInteger()) {
                     values.emplace_back(static_cast<std::int32_t>(cell));
                   } else {
                     values.emplace_back(cell);
                   }
                 }
                 if (cells.empty()) values.emplace_back();
               });
  return values;
}

}  // namespace orlinths
