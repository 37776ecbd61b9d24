#include "numerics/PathGeometry.h"

#include "numerics/Overflow.h"

namespace orlinths {

std::optional<Point> GetPntAlongPath(const Point& start, const Point& toward, double distance) {
  double east = 0;
  double north = distance;
  double quotient = 0;
  if (start.x != toward.x) {
    const double dx = toward.x - start.x;
    const double dy = toward.y - start.y;
    quotient = std::isfinite(dx) ? std::abs(dy) / std::abs(dx) : dx;
    const double angle = std::atan(quotient);
    east = std::cos(angle) * distance;
    if (toward.x < start.x) east = -east;
    north = std::sin(angle) * distance;
  }
  if (start.y > toward.y) north = -north;

  const Point place{.x = start.x + east, .y = start.y + north};
  if (!std::isfinite(quotient) || !std::isfinite(place.x) || !std::isfinite(place.y)) {
    ReportOverflow("GetPntAlongPath: ");
    return std::nullopt;
  }
  return place;
}

}  // namespace orlinths
