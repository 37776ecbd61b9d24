#include "numerics/Sorting.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>
#include <vector>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

template <class T>
std::span<T> Range(std::span<T> entries, std::int64_t lo, std::int64_t hi) {
  if (lo < 0 || hi < lo || hi >= static_cast<std::int64_t>(entries.size()))
    throw RuntimeError(ErrorNumber::kSubscript);
  return entries.subspan(static_cast<std::size_t>(lo), static_cast<std::size_t>(hi - lo + 1));
}

/// Sinks the entry at `at` into the heap of places `at` to `last`, the root being place 0. Equal
/// keys do not stop it: it goes on below them.
void SiftDownIndex(std::size_t at, std::size_t last, std::span<const double> keys,
                   std::span<std::int32_t> index) {
  const std::int32_t sinking = index[at];
  const double key = keys[static_cast<std::size_t>(sinking)];
  const auto keyAt = [&](std::size_t i) { return keys[static_cast<std::size_t>(index[i])]; };
  for (;;) {
    std::size_t child = 2 * at + 1;
    if (child > last) break;
    if (child < last && keyAt(child + 1) > keyAt(child)) ++child;
    if (key > keyAt(child)) break;
    index[at] = index[child];
    at = child;
  }
  index[at] = sinking;
}

/// Sorts `values` if all of them are of type `Number`; otherwise leaves them.
template <class Number>
bool SortIfAllAre(std::span<Value> values) {
  std::vector<Number> numbers;
  numbers.reserve(values.size());
  for (const Value& v : values) {
    const Number* number = v.As<Number>();
    if (number == nullptr) return false;
    numbers.push_back(*number);
  }
  // NaN has no place in an order.
  if constexpr (std::is_floating_point_v<Number>)
    if (std::any_of(numbers.begin(), numbers.end(), [](Number n) { return std::isnan(n); }))
      return false;
  std::sort(numbers.begin(), numbers.end());
  std::copy(numbers.begin(), numbers.end(), values.begin());
  return true;
}

/// The smaller half by recursion, the larger by the loop: the stack stays O(log n) deep.
void QuickSortMixed(std::span<Value> values) {
  const auto above = [](const Value& a, const Value& b) { return Compare(a, b) > 0; };
  while (values.size() > 1) {
    if (values.size() == 2 && above(values[0], values[1])) std::swap(values[0], values[1]);
    std::swap(values[(values.size() - 1) / 2], values[0]);
    const Value& pivot = values[0];
    std::size_t i = 1, j = values.size() - 1;
    do {
      while (i < j && !above(values[i], pivot)) ++i;
      while (above(values[j], pivot)) --j;
      if (i < j) std::swap(values[i], values[j]);
    } while (i < j);
    std::swap(values[0], values[j]);
    auto smaller = values.first(j), larger = values.subspan(j + 1);
    if (smaller.size() > larger.size()) std::swap(smaller, larger);
    QuickSortMixed(smaller);
    values = larger;
  }
}

}  // namespace

void HeapSortIndex(std::int64_t lo, std::int64_t hi, std::span<const double> keys,
                   std::span<std::int32_t> index) {
  if (lo >= hi) return;
  const auto heap = Range(index, lo, hi);
  for (const std::int32_t i : heap)
    if (i < 0 || static_cast<std::size_t>(i) >= keys.size())
      throw RuntimeError(ErrorNumber::kSubscript);
  const std::size_t last = heap.size() - 1;
  for (std::size_t i = last / 2 + 1; i-- > 0;) SiftDownIndex(i, last, keys, heap);
  for (std::size_t i = last; i > 0; --i) {
    std::swap(heap[0], heap[i]);
    SiftDownIndex(0, i - 1, keys, heap);
  }
}

void QuickSortValues(std::span<double> values, std::int64_t lo, std::int64_t hi) {
  const auto range = Range(values, lo, hi);
  std::sort(range.begin(), range.end(),
            [](double a, double b) { return a < b || (std::isnan(b) && !std::isnan(a)); });
}

void QuickSortValues(std::span<Value> values, std::int64_t lo, std::int64_t hi) {
  const auto range = Range(values, lo, hi);
  const bool done = SortIfAllAre<double>(range) || SortIfAllAre<std::int32_t>(range) ||
                    SortIfAllAre<float>(range) || SortIfAllAre<std::int16_t>(range);
  if (!done) QuickSortMixed(range);
}

}  // namespace orlinths
