#include "numerics/SimpleRings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "numerics/Constants.h"
#include "support/RandomShapes.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

bool IsSure(std::string_view wkt) { return AreSurelySimple(WktPolygon(wkt)); }

TEST(SimpleRings, AreSureOfTheShapesOfMaps) {
  for (const char* wkt : {
           "POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))", "POLYGON((0 0, 4 0, 4 4, 0 4, 0 0))",
           "POLYGON((0 0, 2 9, 4 0, 0 0))",
           "POLYGON((0 0, 0 2, 0 4, 4 4, 4 2, 4 0, 2 0, 0 0))",  // vertices along straight edges
           "POLYGON((0 0, 1 1, 2 2, 6 0, 0 0))",
           "POLYGON((0 0, 0 9, 9 9, 9 8, 1 8, 1 1, 9 1, 9 0, 0 0))",         // a C
           "POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (2 2, 4 2, 4 4, 2 4, 2 2))",  // a hole
           "MULTIPOLYGON(((0 0, 0 4, 4 4, 0 0)), ((5 0, 5 4, 9 4, 5 0)))",   // two parts
           "MULTIPOLYGON(((0 0, 0 9, 9 9, 9 0, 0 0), (1 1, 8 1, 8 8, 1 8, 1 1)),"
           "((3 3, 3 6, 6 6, 6 3, 3 3)))",  // an island in a lake
       })
    EXPECT_TRUE(IsSure(wkt)) << wkt;
}

TEST(SimpleRings, AreNotSureWhereRingsMeet) {
  for (const char* wkt : {
           "POLYGON((0 0, 4 4, 4 0, 0 4, 0 0))",                         // a bow tie
           "POLYGON((0 0, 0 4, 4 4, 4 2, 9 2, 4 2, 4 0, 0 0))",          // a spike
           "POLYGON((0 0, 8 0, 4 0, 4 4, 0 0))",                         // one along its base
           "POLYGON((0 0, 4 4, 2 2, 0 0))",                              // no area
           "POLYGON((0 0, 0 4, 2 0, 4 4, 4 0, 0 0))",                    // a vertex on an edge
           "POLYGON((0 0, 2 2, 0 4, 4 4, 2 2, 4 0, 0 0))",               // a vertex twice
           "POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (0 2, 4 2, 4 4, 0 2))",   // a hole that touches
           "POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (2 2, 12 2, 4 4, 2 2))",  // one that crosses
           "MULTIPOLYGON(((0 0, 0 4, 4 4, 4 0, 0 0)), ((4 0, 4 4, 8 4, 4 0)))",  // an edge shared
           "MULTIPOLYGON(((0 0, 0 4, 4 4, 0 0)), ((0 0, 0 4, 4 4, 0 0)))",       // the same twice
       })
    EXPECT_FALSE(IsSure(wkt)) << wkt;
}

TEST(SimpleRings, AreNotSureOfRingsThatAreNotWhole) {
  EXPECT_FALSE(AreSurelySimple(Polygon()));
  EXPECT_FALSE(IsSure("POLYGON((0 0, 0 4, 4 4, 4 0))")) << "open";
  EXPECT_FALSE(IsSure("POLYGON((0 0, 4 4, 0 0))")) << "too short";
  EXPECT_FALSE(IsSure("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (2 2, 4 4, 2 2))")) << "one too short";
  EXPECT_FALSE(IsSure("POLYGON((0 0, 0 4, 0 4, 4 4, 4 0, 0 0))")) << "a vertex repeated";
  for (const double odd : {Point::kNone, std::numeric_limits<double>::infinity()}) {
    Polygon square = WktPolygon("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))");
    square.SetPoint(2, {.x = odd, .y = 4});
    EXPECT_FALSE(AreSurelySimple(square)) << odd;
    square.SetPoint(2, {.x = 4, .y = odd});
    EXPECT_FALSE(AreSurelySimple(square)) << odd;
  }
}

TEST(SimpleRings, AreNotSureAHairsBreadthFromAnEdge) {
  // The vertex (0.5, y) over the edge from (0, 0) to (1, 1/3): whether it lies on, above or below
  // is beyond plain doubles within an ulp or two, and certain a little further off.
  const double third = 1.0 / 3;
  const auto withVertexAt = [&](double y) {
    Polygon ring;
    ring.AddPart(std::vector<Coord>{{0, 0}, {0, 2}, {0.5, y}, {1, 2}, {1, third}, {0, 0}});
    return AreSurelySimple(ring);
  };
  double y = third / 2;
  EXPECT_FALSE(withVertexAt(y));
  EXPECT_FALSE(withVertexAt(std::nextafter(y, 1)));
  EXPECT_FALSE(withVertexAt(std::nextafter(y, 0)));
  EXPECT_TRUE(withVertexAt(y + 1e-14));
  EXPECT_FALSE(withVertexAt(y - 1e-14)) << "crosses";
}

TEST(SimpleRings, AreNotSureAtTheEndsOfTheRange) {
  const auto square = [](double side) {
    Polygon ring;
    // Leaning, so that no two edges are told apart by their boxes alone.
    ring.AddPart(std::vector<Coord>{
        {0, 0}, {side / 4, side}, {side / 2, side / 2}, {side, side * 0.75}, {0, 0}});
    return AreSurelySimple(ring);
  };
  EXPECT_TRUE(square(1));
  EXPECT_FALSE(square(1e-160)) << "products underflow";
  EXPECT_FALSE(square(1e200)) << "products overflow";
}

TEST(SimpleRings, AreSureOfRandomStarsWithHoles) {
  Seeded random("SimpleRings.AreSureOfRandomStarsWithHoles");
  for (int i = 0; i < 200; ++i) {
    const Polygon stars =
        RandomPolygon(random, {.parts = static_cast<int>(random.Whole(1, 3)),
                               .holes = static_cast<int>(random.Whole(0, 3)),
                               .vertices = static_cast<int>(random.Whole(5, 60))});
    ASSERT_TRUE(AreSurelySimple(stars)) << AsWkt(stars);
  }
}

TEST(SimpleRings, LeaveTooManyPairsToOthers) {
  Polygon circle;
  circle.AddPart();
  const int vertices = 100'000;
  for (int i = 0; i <= vertices; ++i) {
    const double turn = -2 * kPi * (i % vertices) / vertices;
    circle.AddPoint(1000 * std::cos(turn), 1000 * std::sin(turn));
  }
  EXPECT_TRUE(AreSurelySimple(circle));
  // All teeth of a comb stand over one another along x.
  const auto comb = [](int teeth) {
    Polygon ring;
    ring.AddPart();
    ring.AddPoint(-0.5, -1);
    for (int i = 0; i < teeth; ++i)
      for (const auto& [x, y] : {std::pair(0, 0), {100, 0}, {100, 1}, {0, 1}})
        ring.AddPoint(x, 2 * i + y);
    ring.AddPoint(-1, 2 * teeth);
    ring.AddPoint(-1, -1);
    ring.AddPoint(-0.5, -1);
    return ring;
  };
  EXPECT_TRUE(AreSurelySimple(comb(20)));
  EXPECT_FALSE(AreSurelySimple(comb(2000)));
}

}  // namespace
}  // namespace orlinths
