#include "numerics/LineEquation.h"

#include <cmath>

#include "numerics/Overflow.h"

namespace orlinths {
namespace {

std::int16_t DirectionOf(const Point& from, const Point& to) {
  if (from.x > to.x) return from.y >= to.y ? 1 : 2;
  if (from.x < to.x) return from.y < to.y ? 3 : 4;
  if (to.y > from.y) return 5;
  return to.y < from.y ? 6 : 0;
}

}  // namespace

LineEquation GetEquationParams(const Point& pnt1, const Point& pnt2) {
  LineEquation line;
  const double dx = pnt2.x - pnt1.x;
  if (pnt1.x != pnt2.x) {
    const double slope = (pnt2.y - pnt1.y) / dx;
    // An infinite dx would give a slope of 0.
    if (std::isfinite(dx) && std::isfinite(slope)) line.slope = slope;
    const double intercept = pnt1.y - slope * pnt1.x;
    if (!std::isfinite(dx) || !std::isfinite(intercept)) {
      ReportOverflow("GetEquationParams");
      return line;
    }
    line.intercept = intercept;
  }
  line.direction = DirectionOf(pnt1, pnt2);
  return line;
}

}  // namespace orlinths
