// Rounding to a decimal factor, halves upward.
#pragma once

#include <cmath>

#include "runtime/Arithmetic.h"

namespace orlinths {

/// `v` rounded to 1/factor: floor(v * factor + 0.5) / factor, so that a half goes up for either
/// sign
/// (-2.5 gives -2). Errors 6 and 11 as of `Divide`.
inline double RoundTo(double v, double factor) {
  return Divide(std::floor(v * factor + 0.5), factor);
}

}  // namespace orlinths
