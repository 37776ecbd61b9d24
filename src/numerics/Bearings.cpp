#include "numerics/Bearings.h"

#include <cmath>

#include "numerics/Constants.h"
#include "numerics/Overflow.h"

namespace orlinths {
namespace {

bool Coincide(const Point& a, const Point& b) { return a.x == b.x && a.y == b.y; }
bool HasNoPlace(const Point& p) { return std::isnan(p.x) || std::isnan(p.y); }

/// `turn` of the second bearing less the first, if there are two.
template <class Turn>
double TurnAt(const char* label, const Point& a, const Point& b, const Point& c, Turn turn) {
  if (HasNoPlace(a) || HasNoPlace(b) || HasNoPlace(c)) {
    ReportOverflow(label);
    return 0;
  }
  if (Coincide(a, b) || Coincide(b, c)) return kMissing;
  const double first = BearingFromPoints(a, b);
  return turn(BearingFromPoints(b, c) - first);
}

}  // namespace

double BearingFromPoints(const Point& from, const Point& to) {
  const double dx = to.x - from.x;
  const double dy = to.y - from.y;
  if (!std::isfinite(dx) || !std::isfinite(dy)) {
    ReportOverflow("BearingFromPoints: ");
    return -1;
  }
  if (dx == 0) return to.y >= from.y ? 0 : 180;
  if (dy == 0) return to.x < from.x ? 270 : 90;

  // Within a quadrant the angle grows from the axis that stands before it in the order of the
  // clock.
  const bool fromMeridian = (dx > 0) == (dy > 0);
  const double quotient = std::abs(fromMeridian ? dx / dy : dy / dx);
  if (!std::isfinite(quotient)) {
    ReportOverflow("BearingFromPoints: ");
    return -1;
  }
  const double angle = std::atan(quotient) * 180 / kPi;
  if (dx > 0) return dy > 0 ? angle : angle + 90;
  if (dy < 0) return angle + 180;
  // A hair west of north, the short pi lifts the sum to 360 or the next number above it.
  return angle + 270 < 360 ? angle + 270 : 0;
}

std::optional<Point> PntFromBearing(double x, double y, double& bearingDegrees, double distance) {
  if (bearingDegrees < 0)
    bearingDegrees += 360;
  else if (bearingDegrees > 360)
    bearingDegrees -= 360;

  const double b = bearingDegrees;
  const double r = b * kPi / 180;
  double newX = 0;
  double newY = 0;
  // The last bits of the four forms differ from those of a single one, and are kept.
  if (b >= 0 && b <= 90) {
    newX = x + std::sin(r) * distance;
    newY = y + std::cos(r) * distance;
  } else if (b > 90 && b <= 180) {
    newX = x + std::sin(kPi - r) * distance;
    newY = y - std::cos(kPi - r) * distance;
  } else if (b > 180 && b <= 270) {
    newX = x - std::sin(r - kPi) * distance;
    newY = y - std::cos(r - kPi) * distance;
  } else if (b > 270 && b <= 360) {
    newX = x - std::sin(kTwoPi - r) * distance;
    newY = y + std::cos(kTwoPi - r) * distance;
  }
  if (!std::isfinite(r) || !std::isfinite(newX) || !std::isfinite(newY)) {
    ReportOverflow("PntFromBearing: ");
    return std::nullopt;
  }
  return Point{.x = newX, .y = newY};
}

double GetTurnAngle(const Point& previous, const Point& middle, const Point& next) {
  return TurnAt("GetTurnAngle: ", previous, middle, next, [](double difference) {
    const double turn = std::abs(difference);
    return turn > 180 ? 180 - (turn - 180) : turn;
  });
}

double GetRLTurnAngle(const Point& previous, const Point& middle, const Point& next) {
  return TurnAt("GetRLTurnAngle: ", previous, middle, next, [](double difference) {
    if (difference > 180) return difference - 360;
    return difference < -180 ? difference + 360 : difference;
  });
}

}  // namespace orlinths
