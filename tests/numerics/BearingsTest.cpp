#include "numerics/Bearings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "numerics/Constants.h"
#include "numerics/PathGeometry.h"
#include "runtime/RuntimeError.h"
#include "support/CapturedMessages.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

Point At(double x, double y) { return {.x = x, .y = y}; }

/// Unit step on a bearing, by vector algebra.
Point StepFrom(const Point& p, double bearingDegrees, double length = 1) {
  const double r = bearingDegrees * std::numbers::pi / 180;
  return At(p.x + std::sin(r) * length, p.y + std::cos(r) * length);
}

/// Bearing by the two-argument arctangent, 0 up to 360.
double VectorBearing(const Point& from, const Point& to) {
  const double degrees = std::atan2(to.x - from.x, to.y - from.y) * 180 / std::numbers::pi;
  return degrees < 0 ? degrees + 360 : degrees;
}

/// Distance of two angles on the circle.
double Apart(double a, double b) { return std::abs(std::remainder(a - b, 360)); }

std::vector<Message> Overflow(const std::string& label, std::size_t times = 1) {
  return std::vector<Message>(times, {label + "\r6\rOverflow", 16, "Error"});
}

// --- BearingFromPoints ---

TEST(BearingFromPoints, IsExactOnTheAxes) {
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(0, 0)), 0);
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(0, 5)), 0);
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(0, -5)), 180);
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(5, 0)), 90);
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(-5, 0)), 270);
}

TEST(BearingFromPoints, OfTheDiagonals) {
  EXPECT_NEAR(BearingFromPoints(At(0, 0), At(1, 1)), 45, 1e-9);
  EXPECT_NEAR(BearingFromPoints(At(0, 0), At(1, -1)), 135, 1e-9);
  EXPECT_NEAR(BearingFromPoints(At(0, 0), At(-1, -1)), 225, 1e-9);
  EXPECT_NEAR(BearingFromPoints(At(0, 0), At(-1, 1)), 315, 1e-9);
}

TEST(BearingFromPoints, TakesEachQuadrantsOwnForm) {
  const double pi = 3.14159265358979;
  const double steep = std::atan(3.0 / 7.0) * 180 / pi, flat = std::atan(7.0 / 3.0) * 180 / pi;
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(3, 7)), steep);
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(3, -7)), flat + 90);
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(-3, -7)), steep + 180);
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(-3, 7)), flat + 270);
}

TEST(BearingFromPoints, TestsTheAxesExactly) {
  const double hair = 0x1p-40;
  EXPECT_GT(BearingFromPoints(At(0, 0), At(hair, 1)), 0);
  EXPECT_LT(BearingFromPoints(At(0, 0), At(1, hair)), 90);
  EXPECT_GT(BearingFromPoints(At(0, 0), At(1, -hair)), 90);
  EXPECT_LT(BearingFromPoints(At(0, 0), At(-hair, 1)), 360);
}

TEST(BearingFromPoints, StaysBelow360AHairWestOfNorth) {
  // atan(1e15) * 180 / 3.14159265358979 + 270 is the number above 360.
  for (const double dx : {1e-13, 1e-14, 1e-15, 1e-16, 1e-30, 1e-300}) {
    const double bearing = BearingFromPoints(At(0, 0), At(-dx, 1));
    EXPECT_GE(bearing, 0) << dx;
    EXPECT_LT(bearing, 360) << dx;
    EXPECT_LT(Apart(bearing, 0), 1e-10) << dx;
  }
}

TEST(BearingFromPoints, AgreesWithVectorAlgebra) {
  Seeded random("BearingFromPoints.AgreesWithVectorAlgebra");
  for (int i = 0; i < 20000; ++i) {
    const Point from = At(random.Real(-1e6, 1e6), random.Real(-1e6, 1e6));
    const Point to = At(random.Real(-1e6, 1e6), random.Real(-1e6, 1e6));
    const double bearing = BearingFromPoints(from, to);
    ASSERT_GE(bearing, 0);
    ASSERT_LT(bearing, 360);
    ASSERT_LT(Apart(bearing, VectorBearing(from, to)), 1e-9);
  }
}

TEST(BearingFromPoints, ReportsAnOverflow) {
  CapturedMessages host;
  EXPECT_EQ(BearingFromPoints(At(-1e308, 0), At(1e308, 0)), -1);
  EXPECT_EQ(BearingFromPoints(At(0, 0), At(1e300, 1e-300)), -1) << "the quotient";
  EXPECT_EQ(BearingFromPoints(Point(), At(0, 0)), -1);
  EXPECT_EQ(host.All(), Overflow("BearingFromPoints: ", 3));
}

// --- PntFromBearing ---

TEST(PntFromBearing, TakesEachQuadrantsOwnForm) {
  const double pi = 3.14159265358979, twoPi = 6.28318530717958;
  const double x = 1234.5, y = -77.25, d = 31.7;
  for (double b = 0; b <= 360; b += 0.5) {
    const double r = b * pi / 180;
    Point expected;
    if (b <= 90)
      expected = At(x + std::sin(r) * d, y + std::cos(r) * d);
    else if (b <= 180)
      expected = At(x + std::sin(pi - r) * d, y - std::cos(pi - r) * d);
    else if (b <= 270)
      expected = At(x - std::sin(r - pi) * d, y - std::cos(r - pi) * d);
    else
      expected = At(x - std::sin(twoPi - r) * d, y + std::cos(twoPi - r) * d);
    double bearing = b;
    const Point p = NotNothing(PntFromBearing(x, y, bearing, d));
    ASSERT_EQ(p.x, expected.x) << b;
    ASSERT_EQ(p.y, expected.y) << b;
    ASSERT_EQ(bearing, b);
  }
}

TEST(PntFromBearing, TheFormsDifferFromOneForAllInTheLastBits) {
  int different = 0;
  for (double b = 91; b < 360; b += 1) {
    double bearing = b;
    const Point p = NotNothing(PntFromBearing(0, 0, bearing, 1));
    if (p.x != std::sin(b * kPi / 180)) ++different;
  }
  EXPECT_GT(different, 100);
}

TEST(PntFromBearing, NormalisesTheCallersBearingByOneTurn) {
  double bearing = -30;
  const Point p = NotNothing(PntFromBearing(10, 20, bearing, 2));
  EXPECT_EQ(bearing, 330);
  EXPECT_NEAR(p.x, 9, 1e-9);
  EXPECT_NEAR(p.y, 20 + std::sqrt(3.0), 1e-9);

  bearing = 450;
  const Point east = NotNothing(PntFromBearing(10, 20, bearing, 2));
  EXPECT_EQ(bearing, 90);
  EXPECT_NEAR(east.x, 12, 1e-9);
  EXPECT_NEAR(east.y, 20, 1e-9);
}

TEST(PntFromBearing, Exactly360Stays) {
  double bearing = 360;
  const Point p = NotNothing(PntFromBearing(10, 20, bearing, 2));
  EXPECT_EQ(bearing, 360);
  EXPECT_NEAR(p.x, 10, 1e-9);
  EXPECT_NEAR(p.y, 22, 1e-9);
}

TEST(PntFromBearing, MoreThanOneTurnOutGivesTheOrigin) {
  CapturedMessages host;
  const std::pair<double, double> cases[] = {
      {-400, -40}, {800, 440}, {-360.5, -0.5}, {720.5, 360.5}};
  for (const auto& [given, left] : cases) {
    double bearing = given;
    const Point p = NotNothing(PntFromBearing(10, 20, bearing, 2));
    EXPECT_EQ(p.x, 0);
    EXPECT_EQ(p.y, 0);
    EXPECT_EQ(bearing, left);
  }
  EXPECT_EQ(host.Text(), Texts{});
}

TEST(PntFromBearing, IsUndoneByBearingAndDistance) {
  Seeded random("PntFromBearing.IsUndoneByBearingAndDistance");
  for (int i = 0; i < 20000; ++i) {
    const Point start = At(random.Real(-1000, 1000), random.Real(-1000, 1000));
    const double given = random.Real(-360, 720), distance = random.Real(1, 1000);
    double bearing = given;
    const Point p = NotNothing(PntFromBearing(start.x, start.y, bearing, distance));
    ASSERT_LT(Apart(BearingFromPoints(start, p), given), 1e-9);
    ASSERT_NEAR(DistPoints(start, p), distance, 1e-9);
    ASSERT_TRUE(std::isnan(p.z) && std::isnan(p.m));
  }
}

TEST(PntFromBearing, ReportsAnOverflow) {
  CapturedMessages host;
  double bearing = 45;
  EXPECT_FALSE(PntFromBearing(1.7e308, 0, bearing, 1.7e308).has_value());
  bearing = 1e308;
  EXPECT_FALSE(PntFromBearing(0, 0, bearing, 1).has_value());
  bearing = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(PntFromBearing(0, 0, bearing, 1).has_value());
  EXPECT_EQ(host.All(), Overflow("PntFromBearing: ", 3));
}

TEST(PntFromBearing, NothingIsAnErrorWhereItIsUsed) {
  CapturedMessages host;
  double bearing = 1e308;
  try {
    NotNothing(PntFromBearing(0, 0, bearing, 1));
    FAIL();
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.Code(), ErrorNumber::kObjectNotSet);
  }
}

// --- Turn angles ---

struct Turn {
  double first, second, turn, signedTurn;
};

TEST(TurnAngles, OfTwoBearings) {
  const Turn turns[] = {{0, 0, 0, 0},        {77, 77, 0, 0},       {350, 10, 20, 20},
                        {10, 350, 20, -20},  {0, 90, 90, 90},      {90, 0, 90, -90},
                        {45, 224, 179, 179}, {224, 45, 179, -179}, {10, 200, 170, -170},
                        {200, 10, 170, 170}, {300, 60, 120, 120},  {60, 300, 120, -120}};
  for (const Turn& t : turns) {
    const Point a = At(100, -50), b = StepFrom(a, t.first), c = StepFrom(b, t.second, 3);
    EXPECT_NEAR(GetTurnAngle(a, b, c), t.turn, 1e-9) << t.first << " to " << t.second;
    EXPECT_NEAR(GetRLTurnAngle(a, b, c), t.signedTurn, 1e-9) << t.first << " to " << t.second;
  }
}

TEST(TurnAngles, AReversalKeepsTheSignOfItsDifference) {
  const Point o = At(0, 0);
  EXPECT_EQ(GetRLTurnAngle(o, At(0, 5), o), 180) << "180 - 0";
  EXPECT_EQ(GetRLTurnAngle(o, At(0, -5), o), -180) << "0 - 180";
  EXPECT_EQ(GetRLTurnAngle(o, At(5, 0), o), 180) << "270 - 90";
  EXPECT_EQ(GetRLTurnAngle(o, At(-5, 0), o), -180) << "90 - 270";
  for (const Point& p : {At(0, 5), At(0, -5), At(5, 0), At(-5, 0)})
    EXPECT_EQ(GetTurnAngle(o, p, o), 180);
}

TEST(TurnAngles, AStraightRunIsExactlyZero) {
  EXPECT_EQ(GetTurnAngle(At(0, 0), At(3, 4), At(6, 8)), 0);
  EXPECT_EQ(GetRLTurnAngle(At(0, 0), At(3, 4), At(6, 8)), 0);
}

TEST(TurnAngles, ARepeatedPointHasNone) {
  CapturedMessages host;
  const Point far = At(1e308, 0), p = At(-1e308, 0);
  // A bearing between these two would be reported as an overflow: none is asked for.
  for (auto* routine : {&GetTurnAngle, &GetRLTurnAngle}) {
    EXPECT_EQ(routine(p, p, far), -999);
    EXPECT_EQ(routine(far, p, p), -999);
    EXPECT_EQ(routine(p, p, p), -999);
  }
  EXPECT_EQ(host.Text(), Texts{});
  EXPECT_NE(GetTurnAngle(At(1, 1), At(1, 1 + 0x1p-52), At(2, 2)), -999) << "compared exactly";
  EXPECT_EQ(GetTurnAngle(At(0, 0), At(0, 1), At(0, 0)), 180) << "first and last may coincide";
}

TEST(TurnAngles, AgreeWithVectorAlgebra) {
  Seeded random("TurnAngles.AgreeWithVectorAlgebra");
  for (int i = 0; i < 20000; ++i) {
    const Point a = At(random.Real(-1000, 1000), random.Real(-1000, 1000));
    const Point b = At(random.Real(-1000, 1000), random.Real(-1000, 1000));
    const Point c = At(random.Real(-1000, 1000), random.Real(-1000, 1000));
    const double ux = b.x - a.x, uy = b.y - a.y, vx = c.x - b.x, vy = c.y - b.y;
    const double left = std::atan2(ux * vy - uy * vx, ux * vx + uy * vy) * 180 / std::numbers::pi;
    ASSERT_LT(Apart(GetRLTurnAngle(a, b, c), -left), 1e-9);
    ASSERT_NEAR(GetTurnAngle(a, b, c), std::abs(left), 1e-9);
    ASSERT_NEAR(std::abs(GetRLTurnAngle(a, b, c)), GetTurnAngle(a, b, c), 1e-12);
  }
}

TEST(TurnAngles, ReportAnEmptyPoint) {
  CapturedMessages host;
  EXPECT_EQ(GetTurnAngle(At(0, 0), Point(), At(1, 1)), 0);
  EXPECT_EQ(host.All(), Overflow("GetTurnAngle: "));
  host.Clear();
  EXPECT_EQ(GetRLTurnAngle(At(0, 0), At(0, 0), Point()), 0);
  EXPECT_EQ(host.All(), Overflow("GetRLTurnAngle: "));
}

TEST(TurnAngles, GoOnWithTheBearingThatAReportLeft) {
  CapturedMessages host;
  // The first bearing fails and is -1, the second is 90.
  EXPECT_EQ(GetRLTurnAngle(At(-1e308, 0), At(1e308, 0), At(1.5e308, 0)), 91);
  EXPECT_EQ(host.All(), Overflow("BearingFromPoints: "));
}

}  // namespace
}  // namespace orlinths
