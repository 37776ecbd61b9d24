// Sorting of an index by its keys, and of values in place.
#pragma once

#include <cstdint>
#include <span>

#include "runtime/Value.h"

namespace orlinths {

/// Reorders `index` from `lo` to `hi` so that the keys it points at rise; the keys do not move. A
/// heap sort whose order among equal keys is fixed: the same keys and index always give the same
/// result, though not a stable one. With lo >= hi nothing happens. Error 9, before anything moves,
/// when `index` lacks the places or one of its entries is no index of `keys`. O(n log n).
void HeapSortIndex(std::int64_t lo, std::int64_t hi, std::span<const double> keys,
                   std::span<std::int32_t> index);

/// Sorts the entries from `lo` to `hi` ascending. Error 9, before anything moves, when they are not
/// all there or hi < lo. O(n log n) for numbers; NaN goes last.
void QuickSortValues(std::span<double> values, std::int64_t lo, std::int64_t hi);

/// The same for values of mixed type, in the order of `Compare`; error 94 on a null. Values of one
/// number type sort like numbers. Where types mix, equal values (1 and 1.0, empty and 0) can be
/// told apart, and a quick sort with the middle entry as pivot fixes their order: O(n log n) on the
/// whole, quadratic when most are equal.
void QuickSortValues(std::span<Value> values, std::int64_t lo, std::int64_t hi);

}  // namespace orlinths
