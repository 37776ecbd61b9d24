// Division and whole-number arithmetic whose failures are run-time errors. For what the user can make fail, not for inner loops.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "runtime/RuntimeError.h"

namespace orlinths {

/// a / b. Error 11 when b is 0, but 6 for 0/0; 6 when the result is not finite.
inline double Divide(double a, double b) {
  if (b == 0) throw RuntimeError(a == 0 ? ErrorNumber::kOverflow : ErrorNumber::kDivisionByZero);
  const double quotient = a / b;
  if (!std::isfinite(quotient)) throw RuntimeError(ErrorNumber::kOverflow);
  return quotient;
}

/// Sum, difference and product within `Whole` (16 or 32 bits); error 6 outside it.
template <class Whole>
Whole Add(Whole a, Whole b) {
  Whole result;
  if (__builtin_add_overflow(a, b, &result)) throw RuntimeError(ErrorNumber::kOverflow);
  return result;
}
template <class Whole>
Whole Subtract(Whole a, Whole b) {
  Whole result;
  if (__builtin_sub_overflow(a, b, &result)) throw RuntimeError(ErrorNumber::kOverflow);
  return result;
}
template <class Whole>
Whole Multiply(Whole a, Whole b) {
  Whole result;
  if (__builtin_mul_overflow(a, b, &result)) throw RuntimeError(ErrorNumber::kOverflow);
  return result;
}

/// Whole quotient truncated towards zero, and its remainder with the sign of `a`. Error 11 when b is 0, 6 for min / -1.
template <class Whole>
Whole DivideWhole(Whole a, Whole b) {
  if (b == 0) throw RuntimeError(ErrorNumber::kDivisionByZero);
  if (b == -1 && a == std::numeric_limits<Whole>::min()) throw RuntimeError(ErrorNumber::kOverflow);
  return static_cast<Whole>(a / b);
}
template <class Whole>
Whole Remainder(Whole a, Whole b) {
  if (b == 0) throw RuntimeError(ErrorNumber::kDivisionByZero);
  if (b == -1) return 0;
  return static_cast<Whole>(a % b);
}

/// Natural logarithm and square root; error 5 out of their domains (0 and below; below 0; NaN for both).
inline double Log(double v) {
  if (!(v > 0)) throw RuntimeError(ErrorNumber::kInvalidCall);
  return std::log(v);
}
inline double Sqr(double v) {
  if (!(v >= 0)) throw RuntimeError(ErrorNumber::kInvalidCall);
  return std::sqrt(v);
}

}  // namespace orlinths
