// Bounds-checked arrays of one to three dimensions with any lower bound; an index outside raises error 9.
// For data that the user can size. Inner loops test their bounds once and run over `Data()`.
#pragma once

#include <cstdint>
#include <limits>
#include <new>
#include <span>
#include <vector>

#include "runtime/RuntimeError.h"

namespace orlinths {

/// The inclusive bounds of one dimension. `upper` one below `lower` is an empty dimension.
struct Bounds {
  std::int64_t lower = 0;
  std::int64_t upper = -1;

  std::int64_t Count() const { return upper - lower + 1; }
  std::int64_t Offset(std::int64_t i) const {
    if (i < lower || i > upper) throw RuntimeError(ErrorNumber::kSubscript);
    return i - lower;
  }
};

namespace arrays {

/// The number of cells of all dimensions. Error 9 for a negative count, 7 for one that no memory holds.
inline std::size_t CellCount(std::initializer_list<Bounds> dimensions) {
  std::int64_t cells = 1;
  for (const Bounds& dimension : dimensions) {
    if (dimension.Count() < 0) throw RuntimeError(ErrorNumber::kSubscript);
    if (__builtin_mul_overflow(cells, dimension.Count(), &cells))
      throw RuntimeError(ErrorNumber::kOutOfMemory);
  }
  return static_cast<std::size_t>(cells);
}

template <class T>
std::vector<T> Allocate(std::initializer_list<Bounds> dimensions) {
  const std::size_t cells = CellCount(dimensions);
  if (cells > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T))
    throw RuntimeError(ErrorNumber::kOutOfMemory);
  return std::vector<T>(cells);
}

}  // namespace arrays

template <class T>
class Array1 {
 public:
  Array1() = default;
  Array1(std::int64_t lower, std::int64_t upper)
      : bounds_{lower, upper}, cells_(arrays::Allocate<T>({bounds_})) {}

  std::int64_t LBound() const { return bounds_.lower; }
  std::int64_t UBound() const { return bounds_.upper; }
  T& operator()(std::int64_t i) { return cells_[static_cast<std::size_t>(bounds_.Offset(i))]; }
  const T& operator()(std::int64_t i) const { return cells_[static_cast<std::size_t>(bounds_.Offset(i))]; }

  /// Changes the upper bound; cells within both bounds keep their values, new ones are T{}.
  void Redim(std::int64_t upper) {
    const Bounds wanted{bounds_.lower, upper};
    cells_.resize(arrays::CellCount({wanted}));
    bounds_ = wanted;
  }

  std::span<T> Data() { return cells_; }
  std::span<const T> Data() const { return cells_; }

 private:
  Bounds bounds_;
  std::vector<T> cells_;
};

/// Row-major: the last index runs fastest in `Data()`.
template <class T>
class Array2 {
 public:
  Array2() = default;
  Array2(Bounds first, Bounds second)
      : first_(first), second_(second), cells_(arrays::Allocate<T>({first, second})) {}

  const Bounds& First() const { return first_; }
  const Bounds& Second() const { return second_; }
  T& operator()(std::int64_t i, std::int64_t j) { return cells_[At(i, j)]; }
  const T& operator()(std::int64_t i, std::int64_t j) const { return cells_[At(i, j)]; }

  std::span<T> Data() { return cells_; }
  std::span<const T> Data() const { return cells_; }

 private:
  std::size_t At(std::int64_t i, std::int64_t j) const {
    return static_cast<std::size_t>(first_.Offset(i) * second_.Count() + second_.Offset(j));
  }
  Bounds first_, second_;
  std::vector<T> cells_;
};

/// Row-major: the last index runs fastest in `Data()`.
template <class T>
class Array3 {
 public:
  Array3() = default;
  Array3(Bounds first, Bounds second, Bounds third)
      : first_(first), second_(second), third_(third),
        cells_(arrays::Allocate<T>({first, second, third})) {}

  const Bounds& First() const { return first_; }
  const Bounds& Second() const { return second_; }
  const Bounds& Third() const { return third_; }
  T& operator()(std::int64_t i, std::int64_t j, std::int64_t k) { return cells_[At(i, j, k)]; }
  const T& operator()(std::int64_t i, std::int64_t j, std::int64_t k) const { return cells_[At(i, j, k)]; }

  std::span<T> Data() { return cells_; }
  std::span<const T> Data() const { return cells_; }

 private:
  std::size_t At(std::int64_t i, std::int64_t j, std::int64_t k) const {
    return static_cast<std::size_t>(
        (first_.Offset(i) * second_.Count() + second_.Offset(j)) * third_.Count() + third_.Offset(k));
  }
  Bounds first_, second_, third_;
  std::vector<T> cells_;
};

}  // namespace orlinths
