#include "kernel/KernelCells.h"

#include <cmath>

// This file is compiled for loops of wide vectors, and with square roots that tell no one of their
// domain: see CMakeLists.txt.
#if defined(__x86_64__)
#define ORLINTHS_WIDE(...) __attribute__((target_clones(__VA_ARGS__)))
#else
#define ORLINTHS_WIDE(...)
#endif

namespace orlinths {
namespace {

/// Three divisions a cell would take most of the time, and processors that divide slowly multiply
/// fast. With the reciprocal rounded to nearest, two steps that each add the exact remainder give
/// the quotient rounded to nearest, the very bits of a division: after the first step the quotient
/// is off by less than one unit in the last place, and then the second one rounds correctly
/// (Markstein 1990). The remainders are exact only in a fused multiplication and addition.
inline double Quotient(double dividend, double divisor, double reciprocal) {
  double quotient = dividend * reciprocal;
  quotient = __builtin_fma(__builtin_fma(-divisor, quotient, dividend), reciprocal, quotient);
  return __builtin_fma(__builtin_fma(-divisor, quotient, dividend), reciprocal, quotient);
}

ORLINTHS_WIDE("default", "fma", "avx512f")
void AddByProducts(double* __restrict cells, const double* __restrict rowSquares,
                   std::int64_t count, double columnSquare, double h, double numerator,
                   double denominator, double pointCount) {
  const double ofH = 1 / h, ofDenominator = 1 / denominator, ofCount = 1 / pointCount;
  for (std::int64_t i = 0; i < count; ++i) {
    const double d = __builtin_sqrt(rowSquares[i] + columnSquare);
    const double share = Quotient(d, h, ofH);
    const double rest = 1 - share * share;
    const double density = Quotient(rest * rest * numerator, denominator, ofDenominator);
    cells[i] += Quotient(d < h ? density : 0, pointCount, ofCount);
  }
}

ORLINTHS_WIDE("default", "avx2", "avx512f")
void AddByDivisions(double* __restrict cells, const double* __restrict rowSquares,
                    std::int64_t count, double columnSquare, double h, double numerator,
                    double denominator, double pointCount) {
  for (std::int64_t i = 0; i < count; ++i) {
    const double d = __builtin_sqrt(rowSquares[i] + columnSquare);
    const double share = d / h;
    const double rest = 1 - share * share;
    const double density = rest * rest * numerator / denominator;
    cells[i] += (d < h ? density : 0) / pointCount;
  }
}

bool HasFusedMultiplyAdd() {
#if defined(__x86_64__)
  static const bool has = __builtin_cpu_supports("fma");
  return has;
#else
  return false;
#endif
}

/// Far enough from the ends of the range that no remainder is lost below it.
bool IsTame(double v) { return std::fabs(v) > 0x1p-300 && std::fabs(v) < 0x1p300; }

}  // namespace

KernelTerms::KernelTerms(double smoothing, double above, double below, double points)
    : h(smoothing),
      numerator(above),
      denominator(below),
      pointCount(points),
      dividesByProducts(HasFusedMultiplyAdd() && h > 0x1p-100 && h < 0x1p100 &&
                        (numerator == 0 || IsTame(numerator)) && IsTame(denominator) &&
                        points < 0x1p52) {}

void AddKernelColumn(double* cells, const double* rowSquares, std::int64_t count,
                     double columnSquare, const KernelTerms& terms) {
  const auto add = terms.dividesByProducts ? AddByProducts : AddByDivisions;
  add(cells, rowSquares, count, columnSquare, terms.h, terms.numerator, terms.denominator,
      terms.pointCount);
}

}  // namespace orlinths
