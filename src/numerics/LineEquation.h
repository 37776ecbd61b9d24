// The line through two points, with the direction from the one to the other.
#pragma once

#include <cstdint>

#include "numerics/Geometry.h"

namespace orlinths {

/// y = slope * x + intercept; both are 0 for a vertical line and for no line at all.
struct LineEquation {
  double slope = 0;
  double intercept = 0;
  /// 0 the points coincide, 1 west and south or level, 2 west and north, 3 east and north, 4 east
  /// and south or level, 5 straight north, 6 straight south.
  std::int16_t direction = 0;
};

/// The line from `pnt1` to `pnt2`; coordinates are compared exactly. After an error report (the
/// slope or intercept is not finite) the record has the fields set so far, and direction 0.
LineEquation GetEquationParams(const Point& pnt1, const Point& pnt2);

}  // namespace orlinths
