// Bearings and turn angles in the plane. A bearing is in compass degrees: 0 is north (+y), 90 east
// (+x), clockwise. No spatial reference is consulted.
#pragma once

#include <optional>

#include "numerics/Geometry.h"

namespace orlinths {

/// The bearing of `to` seen from `from`, from 0 up to but not including 360; 0 for coincident
/// points. -1 after an error report (an empty point, a coordinate difference or quotient that is
/// not finite).
double BearingFromPoints(const Point& from, const Point& to);

/// The point at `distance` from (x, y) on the given bearing. A bearing below 0 or above 360 is
/// first brought one turn nearer, in the caller's variable too; one that is still outside gives the
/// point (0, 0), and that is no error. Nothing after an error report (a value that is not finite).
std::optional<Point> PntFromBearing(double x, double y, double& bearingDegrees, double distance);

/// The turn at `middle`, from 0 (straight on) to 180 (back). kMissing when `middle` coincides with
/// one of the others; 0 after an error report (an empty point).
double GetTurnAngle(const Point& previous, const Point& middle, const Point& next);

/// The same with a sign, from -180 to 180: positive to the right. A reversal has the sign of the
/// difference of the bearings, the second less the first.
double GetRLTurnAngle(const Point& previous, const Point& middle, const Point& next);

}  // namespace orlinths
