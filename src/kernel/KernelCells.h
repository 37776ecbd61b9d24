// The innermost loop of the kernel density: one column of cells under the kernel of one point.
#pragma once

#include <cstdint>

namespace orlinths {

/// What of the formula is the same for all cells under one point.
class KernelTerms {
 public:
  /// `numerator` is scaling * 3 * weight, `denominator` h * h * pi; `h` is not 0.
  KernelTerms(double h, double numerator, double denominator, double pointCount);

  double h, numerator, denominator, pointCount;
  /// The three divisors are fit for division by multiplication: see the .cpp.
  bool dividesByProducts;
};

/// Adds to each of `count` cells density / pointCount, where density is
/// (1 - (d / h)^2)^2 * numerator / denominator, taken from left to right, for
/// d = sqrt(rowSquares[i] + columnSquare) below h, and 0 elsewhere. The same bits on every
/// processor: every operation is rounded by itself, whatever the width of the vectors.
void AddKernelColumn(double* cells, const double* rowSquares, std::int64_t count,
                     double columnSquare, const KernelTerms& terms);

}  // namespace orlinths
