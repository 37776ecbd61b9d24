#include "numerics/PathGeometry.h"

#include <gtest/gtest.h>

#include "runtime/RuntimeError.h"
#include "support/CapturedMessages.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

Point At(double x, double y) { return {.x = x, .y = y}; }

TEST(Distances, AreEuclidean) {
  EXPECT_EQ(DistPoints(At(1, 2), At(4, 6)), 5);
  EXPECT_EQ(DistPoints(At(4, 6), At(1, 2)), 5);
  EXPECT_EQ(DistCoords(-1, -1, 4, 11), 13);
  EXPECT_EQ(DistCoords(7, 7, 7, 7), 0);
  EXPECT_TRUE(std::isnan(DistPoints(At(1, 2), Point())));
}

TEST(GetPntAlongPath, GoesTowardEachQuadrant) {
  // A 3-4-5 triangle around (10, 20).
  for (const double sx : {-1.0, 1.0})
    for (const double sy : {-1.0, 1.0}) {
      const Point p = NotNothing(GetPntAlongPath(At(10, 20), At(10 + sx * 30, 20 + sy * 40), 5));
      EXPECT_NEAR(p.x, 10 + sx * 3, 1e-12);
      EXPECT_NEAR(p.y, 20 + sy * 4, 1e-12);
    }
}

TEST(GetPntAlongPath, TakesEachCasesOwnForm) {
  const double a = std::atan(2.0 / 7.0), d = 3.7;
  const struct {
    Point toward;
    double x, y;
  } cases[] = {{At(7, 2), 0.5 + std::cos(a) * d, 0.25 + std::sin(a) * d},
               {At(7, -2), 0.5 + std::cos(a) * d, 0.25 - std::sin(a) * d},
               {At(-7, 2), 0.5 - std::cos(a) * d, 0.25 + std::sin(a) * d},
               {At(-7, -2), 0.5 - std::cos(a) * d, 0.25 - std::sin(a) * d}};
  for (const auto& c : cases) {
    const Point p =
        NotNothing(GetPntAlongPath(At(0.5, 0.25), At(0.5 + c.toward.x, 0.25 + c.toward.y), d));
    EXPECT_EQ(p.x, c.x);
    EXPECT_EQ(p.y, c.y);
    EXPECT_TRUE(std::isnan(p.z) && std::isnan(p.m));
  }
}

TEST(GetPntAlongPath, IsExactAlongTheAxes) {
  const auto expect = [](const Point& toward, double x, double y) {
    const Point p = NotNothing(GetPntAlongPath(At(1, 2), toward, 3));
    EXPECT_EQ(p.x, x);
    EXPECT_EQ(p.y, y);
  };
  expect(At(1, 9), 1, 5);
  expect(At(1, -9), 1, -1);
  expect(At(9, 2), 4, 2);
  expect(At(-9, 2), -2, 2);
}

TEST(GetPntAlongPath, IsDueNorthOfCoincidentPoints) {
  const Point p = NotNothing(GetPntAlongPath(At(1, 2), At(1, 2), 3));
  EXPECT_EQ(p.x, 1);
  EXPECT_EQ(p.y, 5);
}

TEST(GetPntAlongPath, PassesBeyondTheSecondPoint) {
  const Point p = NotNothing(GetPntAlongPath(At(0, 0), At(3, 4), 50));
  EXPECT_NEAR(p.x, 30, 1e-12);
  EXPECT_NEAR(p.y, 40, 1e-12);
}

TEST(GetPntAlongPath, LiesOnTheRayAtItsDistance) {
  Seeded random("GetPntAlongPath.LiesOnTheRayAtItsDistance");
  for (int i = 0; i < 20000; ++i) {
    const Point p = At(random.Real(-1000, 1000), random.Real(-1000, 1000));
    const Point q = At(random.Real(-1000, 1000), random.Real(-1000, 1000));
    const double d = random.Real(0, 3000), length = DistPoints(p, q);
    const Point at = NotNothing(GetPntAlongPath(p, q, d));
    ASSERT_NEAR(at.x, p.x + (q.x - p.x) / length * d, 1e-8);
    ASSERT_NEAR(at.y, p.y + (q.y - p.y) / length * d, 1e-8);
  }
}

TEST(GetPntAlongPath, ReportsWhatIsNotFinite) {
  CapturedMessages host;
  EXPECT_FALSE(GetPntAlongPath(At(-1e308, 0), At(1e308, 0), 1).has_value());
  EXPECT_FALSE(GetPntAlongPath(At(0, 0), At(1e-300, 1e300), 1).has_value());
  EXPECT_FALSE(GetPntAlongPath(At(1.7e308, 0), At(1.75e308, 0), 1.7e308).has_value());
  EXPECT_FALSE(GetPntAlongPath(Point(), At(0, 0), 1).has_value());
  EXPECT_FALSE(GetPntAlongPath(At(0, 0), Point(), 1).has_value());
  EXPECT_EQ(host.All(), std::vector<Message>(5, {"GetPntAlongPath: \r6\rOverflow", 16, "Error"}));
}

}  // namespace
}  // namespace orlinths
