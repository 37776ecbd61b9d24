#include "sampling/SpacedPoints.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "numerics/PathGeometry.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

bool IsFarEnoughPlain(const std::vector<Coord>& kept, double minimum, const Coord& at) {
  for (const Coord& point : kept)
    if (DistPoints({point.x, point.y}, {at.x, at.y}) < minimum) return false;
  return true;
}

/// Offers candidates to both and keeps those that pass; gives how many did.
std::size_t ExpectSameAsPlain(double minimum, const std::vector<Coord>& candidates) {
  SpacedPoints spaced(minimum);
  std::vector<Coord> kept;
  for (const Coord& at : candidates) {
    const bool isFar = IsFarEnoughPlain(kept, minimum, at);
    EXPECT_EQ(spaced.IsFarEnough(at.x, at.y), isFar)
        << minimum << " at " << at.x << ' ' << at.y << " among " << kept.size();
    if (!isFar) continue;
    kept.push_back(at);
    spaced.Add(at.x, at.y);
  }
  EXPECT_EQ(spaced.Count(), kept.size());
  return kept.size();
}

TEST(SpacedPoints, AtExactlyTheMinimumAPointIsFarEnough) {
  SpacedPoints five(5);
  five.Add(100, 200);
  EXPECT_TRUE(five.IsFarEnough(103, 204));  // 3, 4, 5
  EXPECT_TRUE(five.IsFarEnough(95, 200));
  EXPECT_FALSE(five.IsFarEnough(std::nextafter(95.0, 100.0), 200));
  SpacedPoints more(std::nextafter(5.0, 6.0));
  more.Add(100, 200);
  EXPECT_FALSE(more.IsFarEnough(103, 204));
}

TEST(SpacedPoints, NothingIsTooNearToNothing) {
  EXPECT_TRUE(SpacedPoints(1e300).IsFarEnough(0, 0));
}

TEST(SpacedPoints, AMinimumOfZeroOrLessKeepsNothingApart) {
  for (const double minimum : {0.0, -0.0, -3.0}) {
    SpacedPoints spaced(minimum);
    spaced.Add(1, 1);
    EXPECT_TRUE(spaced.IsFarEnough(1, 1)) << minimum;
  }
}

TEST(SpacedPoints, ForgetsWhatWasCleared) {
  SpacedPoints spaced(10);
  for (int i = 0; i < 500; ++i) spaced.Add(i * 20, 0);
  spaced.Clear();
  EXPECT_EQ(spaced.Count(), 0u);
  for (int i = 0; i < 500; ++i) EXPECT_TRUE(spaced.IsFarEnough(i * 20, 0));
  spaced.Add(40, 0);
  EXPECT_FALSE(spaced.IsFarEnough(41, 0));
  EXPECT_TRUE(spaced.IsFarEnough(20, 0));
}

TEST(SpacedPoints, AnswersAsTheWalkOverAllPointsDoes) {
  Seeded random("SpacedPoints.AnswersAsTheWalkOverAllPointsDoes");
  for (int run = 0; run < 60; ++run) {
    const double size = std::pow(10, random.Real(-3, 7));
    const double west = random.Real(-1, 1) * size * std::pow(10, random.Real(0, 6));
    const double minimum = size * std::pow(10, random.Real(-4, 0.5));
    std::vector<Coord> candidates;
    for (int i = 0; i < 600; ++i)
      candidates.push_back({west + random.Real(0, size), west / 3 + random.Real(0, size)});
    ExpectSameAsPlain(minimum, candidates);
  }
}

// Many candidates at exactly the minimum from points kept, and one unit in the last place beside
// it.
TEST(SpacedPoints, AnswersAsTheWalkOnAGridOfTheMinimum) {
  Seeded random("SpacedPoints.AnswersAsTheWalkOnAGridOfTheMinimum");
  for (const double minimum : {0.1, 1.0, 1.0 / 3, 25.7, 1e6}) {
    for (const double west : {0.0, 5e5, -123456.789, 1e15}) {
      std::vector<Coord> candidates;
      for (int i = 0; i < 800; ++i) {
        Coord at{west + static_cast<double>(random.Whole(-12, 12)) * minimum,
                 static_cast<double>(random.Whole(-12, 12)) * minimum};
        if (random.Chance(0.3)) at.x = std::nextafter(at.x, random.Chance(0.5) ? -1e300 : 1e300);
        if (random.Chance(0.3)) at.y = std::nextafter(at.y, random.Chance(0.5) ? -1e300 : 1e300);
        candidates.push_back(at);
      }
      EXPECT_GT(ExpectSameAsPlain(minimum, candidates), 1u);
    }
  }
}

// Squares that vanish, squares that overflow, cells beyond whole numbers, places that are none.
TEST(SpacedPoints, AnswersAsTheWalkAtTheEndsOfTheRange) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<double> places = {0,        5e-324,   -5e-324, 1e-170,    3e-162, 2e-154,
                                      1e-150,   1e-10,    1,       1 + 1e-15, 1e10,   1e16,
                                      1e16 + 2, 1e150,    1e154,   2e154,     1e160,  1e300,
                                      1.7e308,  -1.7e308, kInf,    -kInf,     kNan};
  for (const double minimum : {5e-324, 1e-200, 1e-165, 1e-158, 1e-150, 1e-12, 1.0, 1e20, 1e153,
                               1.3e154, 1e155, 1e300, 1.7e308}) {
    std::vector<Coord> candidates;
    for (const double x : places)
      for (const double y : places) candidates.push_back({x, y});
    ExpectSameAsPlain(minimum, candidates);
  }
}

}  // namespace
}  // namespace orlinths
