// The numeric routines as one would first write them: slow, plain, and what the fast ones must
// equal.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace orlinths::plain {

/// Numbers drawn from a pool that is moved together after each draw. `draw` gives uniform numbers.
template <class Draw>
std::vector<std::int32_t> RandomSequence(std::int32_t max, std::int32_t count, Draw draw) {
  std::vector<std::int32_t> pool, result(static_cast<std::size_t>(max) + 1);
  for (std::int32_t i = 0; i <= max; ++i) pool.push_back(i);
  std::size_t drawn = 0;
  while (static_cast<std::int64_t>(drawn) < count) {
    const double r = draw();
    const double place = std::floor(r * static_cast<double>(pool.size() - 1) + 0.5);
    const auto at = pool.begin() + static_cast<std::ptrdiff_t>(place);
    result[drawn++] = *at;
    pool.erase(at);
  }
  result[drawn] = pool.front();
  return result;
}

/// How often each class occurs: one pass of the values per class.
template <class T>
std::vector<std::pair<std::int32_t, std::int32_t>> Frequencies(std::span<const T> values,
                                                               std::span<const T> classes) {
  std::vector<std::pair<std::int32_t, std::int32_t>> lines;
  for (const T& c : classes) {
    std::int32_t count = 0;
    for (const T& v : values)
      if (v == c) ++count;
    lines.emplace_back(static_cast<std::int32_t>(c), count);
  }
  return lines;
}

/// The heap sort of an index in the numbering of its places, by exchanges.
inline void SiftDownIndex(std::int64_t i, std::int64_t lo, std::int64_t hi,
                          std::span<const double> keys, std::span<std::int32_t> index) {
  const auto key = [&](std::int64_t at) {
    return keys[static_cast<std::size_t>(index[static_cast<std::size_t>(at)])];
  };
  for (;;) {
    std::int64_t child = 2 * i - (lo - 1);
    if (child > hi) return;
    if (child < hi && key(child + 1) > key(child)) child = child + 1;
    if (key(i) > key(child)) return;
    std::swap(index[static_cast<std::size_t>(i)], index[static_cast<std::size_t>(child)]);
    i = child;
  }
}
inline void HeapSortIndex(std::int64_t lo, std::int64_t hi, std::span<const double> keys,
                          std::span<std::int32_t> index) {
  for (std::int64_t i = (lo + hi) / 2; i >= lo; --i) SiftDownIndex(i, lo, hi, keys, index);
  for (std::int64_t i = hi; i >= lo + 1; --i) {
    std::swap(index[static_cast<std::size_t>(lo)], index[static_cast<std::size_t>(i)]);
    SiftDownIndex(lo, lo, i - 1, keys, index);
  }
}

/// The quick sort with the middle entry as pivot, by recursion; `above(a, b)` says a > b.
template <class T, class Above>
void QuickSort(std::vector<T>& a, std::int64_t lo, std::int64_t hi, Above above) {
  const auto at = [&](std::int64_t i) -> T& { return a.at(static_cast<std::size_t>(i)); };
  if (hi - lo == 1 && above(at(lo), at(hi))) std::swap(at(lo), at(hi));
  const std::int64_t mid = (lo + hi) / 2;
  const T pivot = at(mid);
  at(mid) = at(lo);
  at(lo) = pivot;
  std::int64_t i = lo + 1, j = hi;
  do {
    while (i < j && !above(at(i), pivot)) ++i;
    while (above(at(j), pivot)) --j;
    if (i < j) std::swap(at(i), at(j));
  } while (i < j);
  at(lo) = at(j);
  at(j) = pivot;
  if (lo < j - 1) QuickSort(a, lo, j - 1, above);
  if (j + 1 < hi) QuickSort(a, j + 1, hi, above);
}

}  // namespace orlinths::plain
