#include "numerics/PolygonLocator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/RandomShapes.h"
#include "support/Seeded.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

// --- the turn

/// Whole coordinates up to 2^30 leave every product exact in 64 bits.
int TurnSignInWholes(std::int64_t ax, std::int64_t ay, std::int64_t bx, std::int64_t by,
                     std::int64_t cx, std::int64_t cy) {
  const std::int64_t left = (ax - cx) * (by - cy);
  const std::int64_t right = (ay - cy) * (bx - cx);
  return left > right ? 1 : left < right ? -1 : 0;
}

TEST(TurnSign, IsPositiveToTheLeft) {
  EXPECT_EQ(TurnSign({0, 0}, {1, 0}, {1, 1}), 1);
  EXPECT_EQ(TurnSign({0, 0}, {1, 0}, {1, -1}), -1);
  EXPECT_EQ(TurnSign({0, 0}, {1, 1}, {3, 3}), 0);
}

TEST(TurnSign, IsExactForPointsAnUlpFromTheLine) {
  // Powers of two scale the problem to whole numbers, where the answer is known.
  constexpr double kUlp = 1.0 / (1 << 20);
  Seeded random("TurnSign.IsExactForPointsAnUlpFromTheLine");
  int flat = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::int64_t ax = random.Whole(0, 1 << 29), ay = random.Whole(0, 1 << 29);
    const std::int64_t dx = random.Whole(1, 1 << 14), dy = random.Whole(1, 1 << 14);
    const std::int64_t times = random.Whole(2, 1 << 14);
    const std::int64_t bx = ax + times * dx, by = ay + times * dy;
    const std::int64_t part = random.Whole(1, times - 1);
    const std::int64_t cx = ax + part * dx + random.Whole(-1, 1);
    const std::int64_t cy = ay + part * dy + random.Whole(-1, 1);
    const int expected = TurnSignInWholes(ax, ay, bx, by, cx, cy);
    flat += expected == 0 ? 1 : 0;
    const auto real = [](std::int64_t v) { return static_cast<double>(v) * kUlp; };
    ASSERT_EQ(TurnSign({real(ax), real(ay)}, {real(bx), real(by)}, {real(cx), real(cy)}), expected);
  }
  EXPECT_GT(flat, 1000);
}

TEST(TurnSign, SeesTheLastBitFarFromTheOrigin) {
  // The classic grid of doubles round (0.5, 0.5) against the line through (12, 12) and (24, 24):
  // the sign is that of row less column.
  const double ulp = std::ldexp(1.0, -53);
  for (int row = 0; row < 64; ++row) {
    for (int column = 0; column < 64; ++column) {
      const Coord p{0.5 + column * ulp, 0.5 + row * ulp};
      const int expected = p.y > p.x ? 1 : p.y < p.x ? -1 : 0;
      ASSERT_EQ(TurnSign({12, 12}, {24, 24}, p), expected) << row << " " << column;
    }
  }
}

// --- sides

Side LocatedBothWays(const Polygon& polygon, double x, double y) {
  const Side plain = SideOfPolygon(polygon, x, y);
  EXPECT_EQ(PolygonLocator(polygon).Locate(x, y), plain) << x << " " << y << AsWkt(polygon);
  return plain;
}

TEST(SideOfPolygon, CountsEdgesAndVerticesAsBoundary) {
  const Polygon square = WktPolygon("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))");
  for (const auto& [x, y] :
       {std::pair(0, 0), {0, 4}, {4, 4}, {4, 0}, {2, 0}, {2, 4}, {0, 2}, {4, 2}})
    EXPECT_EQ(LocatedBothWays(square, x, y), Side::kBoundary) << x << " " << y;
  EXPECT_EQ(LocatedBothWays(square, 2, 2), Side::kInside);
  for (const auto& [x, y] : {std::pair(-1, 0), {5, 0}, {-1, 4}, {5, 4}, {2, -1}, {2, 5}, {-1, 2}})
    EXPECT_EQ(LocatedBothWays(square, x, y), Side::kOutside) << x << " " << y;
}

TEST(SideOfPolygon, DecidesADiagonalToTheLastBit) {
  const Polygon triangle = WktPolygon("POLYGON((0 0, 1 1, 1 0, 0 0))");
  for (const double at : {0.1, 0.3, 1.0 / 3, 0.7}) {
    EXPECT_EQ(LocatedBothWays(triangle, at, at), Side::kBoundary);
    EXPECT_EQ(LocatedBothWays(triangle, std::nextafter(at, 2), at), Side::kInside);
    EXPECT_EQ(LocatedBothWays(triangle, at, std::nextafter(at, 2)), Side::kOutside);
  }
}

TEST(SideOfPolygon, HolesAreOutsideWhateverTheirDirection) {
  for (const char* hole : {"(1 1, 3 1, 3 3, 1 3, 1 1)", "(1 1, 1 3, 3 3, 3 1, 1 1)"}) {
    const Polygon polygon =
        WktPolygon("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0), " + std::string(hole) + ")");
    EXPECT_EQ(LocatedBothWays(polygon, 2, 2), Side::kOutside);
    EXPECT_EQ(LocatedBothWays(polygon, 1, 2), Side::kBoundary);
    EXPECT_EQ(LocatedBothWays(polygon, 0.5, 2), Side::kInside);
  }
}

TEST(SideOfPolygon, CountsCrossingRingsEvenOdd) {
  const Polygon overlapping =
      WktPolygon("MULTIPOLYGON(((0 0, 0 4, 4 4, 4 0, 0 0)), ((2 2, 2 6, 6 6, 6 2, 2 2)))");
  EXPECT_EQ(LocatedBothWays(overlapping, 3, 3), Side::kOutside);
  EXPECT_EQ(LocatedBothWays(overlapping, 1, 1), Side::kInside);
  EXPECT_EQ(LocatedBothWays(overlapping, 5, 5), Side::kInside);
}

TEST(SideOfPolygon, TakesOpenRingsAsClosed) {
  const Polygon open = WktPolygon("POLYGON((0 0, 0 4, 4 4, 4 0))");
  EXPECT_EQ(LocatedBothWays(open, 2, 2), Side::kInside);
  EXPECT_EQ(LocatedBothWays(open, 2, 0), Side::kBoundary);
}

TEST(SideOfPolygon, AnswersForDegenerateShapes) {
  EXPECT_EQ(LocatedBothWays(Polygon(), 0, 0), Side::kOutside);
  EXPECT_EQ(LocatedBothWays(WktPolygon("POLYGON((1 1))"), 1, 1), Side::kBoundary);
  EXPECT_EQ(LocatedBothWays(WktPolygon("POLYGON((0 0, 4 4, 0 0))"), 2, 2), Side::kBoundary);
  EXPECT_EQ(LocatedBothWays(WktPolygon("POLYGON((0 0, 4 4, 0 0))"), 2, 1), Side::kOutside);
  Polygon withEmptyRing = WktPolygon("POLYGON((0 0, 0 4, 4 4, 0 0))");
  withEmptyRing.AddPart();
  EXPECT_EQ(LocatedBothWays(withEmptyRing, 1, 2), Side::kInside);
}

TEST(SideOfPolygon, IsOutsideForWhatIsNoPlace) {
  const double nan = Point::kNone;
  const double inf = std::numeric_limits<double>::infinity();
  const Polygon square = WktPolygon("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))");
  for (const auto& [x, y] :
       {std::pair(nan, nan), {nan, 2.0}, {2.0, nan}, {inf, 2.0}, {-inf, 2.0}, {2.0, inf}})
    EXPECT_EQ(LocatedBothWays(square, x, y), Side::kOutside) << x << " " << y;
}

TEST(PolygonLocator, AgreesWithThePlainWayOnVerticesEdgesAndAnywhere) {
  Seeded random("PolygonLocator.AgreesWithThePlainWayOnVerticesEdgesAndAnywhere");
  for (int i = 0; i < 150; ++i) {
    const bool onGrid = random.Chance(0.5);
    const Polygon polygon =
        RandomPolygon(random, {.parts = static_cast<int>(random.Whole(1, 12)),
                               .holes = static_cast<int>(random.Whole(0, 3)),
                               .vertices = static_cast<int>(random.Whole(5, 200)),
                               .onGrid = onGrid,
                               .size = onGrid ? 30.0 : 1000.0});
    const PolygonLocator locator(polygon);
    const Envelope box = polygon.Envelope();
    for (int k = 0; k < 200; ++k) {
      double x = random.Real(box.xMin - 5, box.xMax + 5);
      double y = random.Real(box.yMin - 5, box.yMax + 5);
      const Point vertex = polygon.PointAt(random.Whole(0, polygon.PointCount() - 1));
      if (onGrid) x = std::round(x), y = std::round(y);
      if (k % 4 == 1) x = vertex.x, y = vertex.y;
      if (k % 4 == 2) x = vertex.x;  // the ray runs through vertices
      if (k % 4 == 3) y = vertex.y;
      ASSERT_EQ(locator.Locate(x, y), SideOfPolygon(polygon, x, y))
          << x << " " << y << " " << AsWkt(polygon);
    }
  }
}

TEST(PolygonLocator, LocatesInOneRingAlone) {
  const Polygon polygon =
      WktPolygon("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (1 1, 4 1, 4 4, 1 4, 1 1))");
  const PolygonLocator locator(polygon);
  EXPECT_EQ(locator.LocateInRing(0, 2, 2), Side::kInside);
  EXPECT_EQ(locator.LocateInRing(1, 2, 2), Side::kInside);
  EXPECT_EQ(locator.LocateInRing(1, 5, 5), Side::kOutside);
  EXPECT_EQ(locator.LocateInRing(1, 1, 2), Side::kBoundary);
}

TEST(PolygonLocator, CutsACombAnywhere) {
  // Teeth all as high as the whole: every one is crossed, and the runs to the right are judged by
  // their ends alone.
  Polygon comb;
  constexpr int kTeeth = 999;
  comb.AddPoint(0, -1);
  for (int i = 0; i < kTeeth; ++i) {
    comb.AddPoint(2 * i, 0);
    comb.AddPoint(2 * i + 1, 10);
  }
  comb.AddPoint(2 * kTeeth, 0);
  comb.AddPoint(2 * kTeeth, -1);
  comb.Close();
  const PolygonLocator locator(comb);
  for (int i = 0; i < kTeeth; ++i) {
    ASSERT_EQ(locator.Locate(2 * i + 1, 5), Side::kInside);
    ASSERT_EQ(locator.Locate(2 * i + 0.5, 5), Side::kBoundary);
    ASSERT_EQ(locator.Locate(2 * i, 5), Side::kOutside);
    ASSERT_EQ(locator.Locate(2 * i + 1, 10), Side::kBoundary);
  }
}

}  // namespace
}  // namespace orlinths
