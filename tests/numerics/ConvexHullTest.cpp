#include "numerics/ConvexHull.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "runtime/Ports.h"
#include "runtime/Value.h"
#include "support/CapturedMessages.h"
#include "support/ConvexHullPlain.h"
#include "support/Seeded.h"

namespace orlinths {

void PrintTo(const Coord& c, std::ostream* out) {
  *out << '(' << ToText(c.x) << ' ' << ToText(c.y) << ')';
}

namespace {

using ::testing::ElementsAre;
using Coords = std::vector<Coord>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class ConvexHull : public ::testing::Test {
 protected:
  /// The vertices, or nothing where there is no polygon.
  Coords Around(const Coords& points) {
    const auto polygon = CreateMCPPoly(points);
    if (!polygon) return {};
    EXPECT_EQ(polygon->PartCount(), 1);
    return {polygon->Coords().begin(), polygon->Coords().end()};
  }

  CapturedMessages messages_;
};

// ---- The walk, by hand

TEST_F(ConvexHull, ATriangleRunsClockwiseFromTheWestAndEndsWhereItBegan) {
  EXPECT_THAT(Around({{4, 0}, {0, 1}, {2, 5}}),
              ElementsAre(Coord{0, 1}, Coord{2, 5}, Coord{4, 0}, Coord{0, 1}));
}

TEST_F(ConvexHull, TurnsFromBoxToBoxAroundARoundSet) {
  EXPECT_THAT(
      Around({{5, 5}, {9, 7}, {0, 4}, {7, 9}, {4, 0}, {3, 9}, {9, 3}, {1, 1}, {1, 8}, {6, 4}}),
      ElementsAre(Coord{0, 4}, Coord{1, 8}, Coord{3, 9}, Coord{7, 9}, Coord{9, 7}, Coord{9, 3},
                  Coord{4, 0}, Coord{1, 1}, Coord{0, 4}));
}

TEST_F(ConvexHull, AtACornerOfTheExtentSkipsABox) {
  // Every corner of the square is the end of one way and of the next.
  EXPECT_THAT(Around({{0, 0}, {0, 3}, {3, 3}, {3, 0}}),
              ElementsAre(Coord{0, 0}, Coord{0, 3}, Coord{3, 3}, Coord{3, 0}, Coord{0, 0}));
  // From the north-west corner the walk heads south-east at once.
  EXPECT_THAT(Around({{0, 3}, {0, 0}, {3, 3}, {3, 0}}),
              ElementsAre(Coord{0, 3}, Coord{3, 3}, Coord{3, 0}, Coord{0, 0}, Coord{0, 3}));
}

TEST_F(ConvexHull, StartsAtTheFirstPointOfTheWestEdgeAndClosesThere) {
  // The start is neither the highest nor the lowest of the west edge.
  EXPECT_THAT(Around({{0, 2}, {0, 3}, {0, 1}, {4, 2}}),
              ElementsAre(Coord{0, 2}, Coord{0, 3}, Coord{4, 2}, Coord{0, 1}, Coord{0, 2}));
  EXPECT_THAT(Around({{4, 2}, {0, 1}, {0, 3}, {0, 2}}),
              ElementsAre(Coord{0, 1}, Coord{0, 3}, Coord{4, 2}, Coord{0, 1}));
}

TEST_F(ConvexHull, OfEqualSlopesTheLastPointWinsNearOrFar) {
  // (1, 1) lies on the edge from (0, 0) to (2, 2): the last of the two is taken first.
  EXPECT_THAT(Around({{0, 0}, {1, 1}, {2, 2}, {3, 0}}),
              ElementsAre(Coord{0, 0}, Coord{2, 2}, Coord{3, 0}, Coord{0, 0}));
  EXPECT_THAT(Around({{0, 0}, {2, 2}, {1, 1}, {3, 0}}),
              ElementsAre(Coord{0, 0}, Coord{1, 1}, Coord{2, 2}, Coord{3, 0}, Coord{0, 0}));
}

TEST_F(ConvexHull, HeadingNorthEastTheFirstPointStraightAboveIsTakenAtOnce) {
  EXPECT_THAT(Around({{0, 0}, {0, 2}, {0, 1}, {0, 3}, {2, 1}}),
              ElementsAre(Coord{0, 0}, Coord{0, 2}, Coord{0, 3}, Coord{2, 1}, Coord{0, 0}));
  EXPECT_THAT(Around({{0, 0}, {0, 1}, {0, 3}, {0, 2}, {2, 1}}),
              ElementsAre(Coord{0, 0}, Coord{0, 1}, Coord{0, 3}, Coord{2, 1}, Coord{0, 0}));
}

TEST_F(ConvexHull, HeadingSouthWestTheFirstPointStraightBelowIsTakenAtOnce) {
  EXPECT_THAT(
      Around({{0, 2}, {4, 4}, {4, 2}, {4, 1}, {4, 3}, {4, 0}}),
      ElementsAre(Coord{0, 2}, Coord{4, 4}, Coord{4, 2}, Coord{4, 1}, Coord{4, 0}, Coord{0, 2}));
}

TEST_F(ConvexHull, HeadingSouthEastTheLastPointStraightBelowIsTakenForWantOfASlope) {
  const HullPoints points(Coords{{0, 9}, {5, 5}, {5, 1}, {5, 3}, {4, 0}});
  EXPECT_EQ(points.GetNextHullPoint({5, 5}, Quadrant::kSouthEast), (Coord{5, 3}));
}

TEST_F(ConvexHull, HeadingNorthWestTheLastPointStraightAboveIsTakenForWantOfASlope) {
  const HullPoints points(Coords{{3, 2}, {3, 9}, {3, 4}, {7, 2}});
  EXPECT_EQ(points.GetNextHullPoint({3, 2}, Quadrant::kNorthWest), (Coord{3, 4}));
  // A slope goes before it.
  const HullPoints more(Coords{{3, 2}, {3, 9}, {3, 4}, {7, 2}, {0, 9}});
  EXPECT_EQ(more.GetNextHullPoint({3, 2}, Quadrant::kNorthWest), (Coord{0, 9}));
}

TEST_F(ConvexHull, ABoxWithNothingElseGivesTheOrigin) {
  const HullPoints points(Coords{{3, 2}, {3, 2}, {7, 1}});
  EXPECT_EQ(points.GetNextHullPoint({3, 2}, Quadrant::kNorthEast), (Coord{0, 0}));
  EXPECT_EQ(HullPoints(Coords{}).GetNextHullPoint({3, 2}, Quadrant::kSouthWest), (Coord{0, 0}));
}

// ---- Sets without breadth

TEST_F(ConvexHull, ALineFromNorthToSouthIsWalkedUpAndDown) {
  EXPECT_THAT(Around({{5, 1}, {5, 2}, {5, 3}}),
              ElementsAre(Coord{5, 1}, Coord{5, 2}, Coord{5, 3}, Coord{5, 1}));
  EXPECT_THAT(Around({{5, 2}, {5, 1}, {5, 3}}),  // closes before it has been to the south
              ElementsAre(Coord{5, 2}, Coord{5, 3}, Coord{5, 2}));
  EXPECT_THAT(Around({{5, 3}, {5, 1}, {5, 2}}),
              ElementsAre(Coord{5, 3}, Coord{5, 2}, Coord{5, 1}, Coord{5, 3}));
}

TEST_F(ConvexHull, ALineFromWestToEastIsWalkedThereAndBack) {
  EXPECT_THAT(Around({{1, 5}, {2, 5}, {3, 5}}),
              ElementsAre(Coord{1, 5}, Coord{3, 5}, Coord{2, 5}, Coord{1, 5}));
  EXPECT_THAT(Around({{3, 5}, {2, 5}, {1, 5}}),
              ElementsAre(Coord{1, 5}, Coord{2, 5}, Coord{3, 5}, Coord{1, 5}));
}

TEST_F(ConvexHull, TwoPointsAreWalkedThereAndBack) {
  EXPECT_THAT(Around({{1, 5}, {3, 8}}), ElementsAre(Coord{1, 5}, Coord{3, 8}, Coord{1, 5}));
}

TEST_F(ConvexHull, RepeatedPlacesDoNotBreakTheWalk) {
  EXPECT_THAT(Around({{4, 0}, {0, 1}, {0, 1}, {2, 5}, {4, 0}, {2, 5}, {0, 1}}),
              ElementsAre(Coord{0, 1}, Coord{2, 5}, Coord{4, 0}, Coord{0, 1}));
}

// ---- Walks that cannot end, and points that are none

constexpr const char* kNoReturn =
    "CreateMCPPoly; \r-2147467259\rThe walk around the points does not come back to its start.";

TEST_F(ConvexHull, PointsAtOnePlaceHaveNoPolygonAndTheWalkEnds) {
  EXPECT_EQ(CreateMCPPoly(Coords{{5, 5}, {5, 5}, {5, 5}}), std::nullopt);
  EXPECT_THAT(messages_.All(), ElementsAre(Message{kNoReturn, kCritical, "Error"}));
}

TEST_F(ConvexHull, PointsAtOnePlaceFromWhichTheOriginLeadsBackGoThroughIt) {
  EXPECT_THAT(Around({{0, 0}, {0, 0}, {0, 0}}), ElementsAre(Coord{0, 0}, Coord{0, 0}));
  EXPECT_THAT(Around({{5, -5}, {5, -5}, {5, -5}}),
              ElementsAre(Coord{5, -5}, Coord{0, 0}, Coord{5, -5}));
  EXPECT_TRUE(messages_.All().empty());
}

/// Seen from the south-east, the two points of the west edge have one slope once it is rounded, and
/// the last one wins: the walk comes up beyond its start and passes it by for ever.
Coords PassedBy() {
  const double y = 1.52, above = std::nextafter(y, 2);
  return {{0, y}, {0, above}, {1.5, 0}, {1, 3}};
}

TEST_F(ConvexHull, AWalkThatPassesItsStartByIsReported) {
  const Coords points = PassedBy();
  ASSERT_EQ(-(points[0].y / 1.5), -(points[1].y / 1.5)) << "no longer what it was made for";
  EXPECT_EQ(HullPlain(points), std::nullopt);
  EXPECT_EQ(CreateMCPPoly(points), std::nullopt);
  EXPECT_THAT(messages_.All(), ElementsAre(Message{kNoReturn, kCritical, "Error"}));
}

TEST_F(ConvexHull, PointsWithoutCoordinatesArePassedOver) {
  const double nan = Point::kNone;
  EXPECT_THAT(Around({{nan, nan}, {4, 0}, {-1, nan}, {0, 1}, {nan, 9}, {2, 5}}),
              ElementsAre(Coord{0, 1}, Coord{2, 5}, Coord{4, 0}, Coord{0, 1}));
  EXPECT_TRUE(messages_.All().empty());
}

TEST_F(ConvexHull, NothingOnTheWestEdgeIsASpatialSelectionError) {
  const Message message{"ERROR: spatial selection error.", kCritical, "ERROR"};
  for (const Coords& points :
       {Coords{}, Coords{{Point::kNone, Point::kNone}}, Coords{{-kInfinity, 0}, {1, 1}, {2, 0}}}) {
    EXPECT_EQ(CreateMCPPoly(points), std::nullopt);
    EXPECT_THAT(messages_.All(), ElementsAre(message));
    messages_.Clear();
  }
}

TEST_F(ConvexHull, AnExtentBeyondAllNumbersIsAnOverflow) {
  for (const Coords& points :
       {Coords{{0, 0}, {1, 1}, {kInfinity, 0}}, Coords{{0, 0}, {1, 1}, {2, kInfinity}},
        Coords{{-1e308, 0}, {0, 1}, {1e308, 0}}, Coords{{0, -1e308}, {0, 1e308}, {1, 0}}}) {
    EXPECT_EQ(CreateMCPPoly(points), std::nullopt);
    EXPECT_THAT(messages_.All(),
                ElementsAre(Message{"CreateMCPPoly; \r6\rOverflow", kCritical, "Error"}));
    messages_.Clear();
  }
}

TEST_F(ConvexHull, AStopRequestEndsTheWalk) {
  RequestStop();
  EXPECT_EQ(CreateMCPPoly(Coords{{4, 0}, {0, 1}, {2, 5}}), std::nullopt);
  ClearStop();
  EXPECT_THAT(messages_.All(), ElementsAre(Message{"CreateMCPPoly; \r18\rUser interrupt occurred",
                                                   kCritical, "Error"}));
}

TEST_F(ConvexHull, ALongWalkYields) {
  Coords circle;
  for (int i = 0; i < 5000; ++i)
    circle.push_back({1000 * std::cos(i * 0.001256637), 1000 * std::sin(i * 0.001256637)});
  EXPECT_EQ(Around(circle).size(), 5001u);
  EXPECT_GE(messages_.yields, 4);
}

// ---- Against the walk over all points, bit for bit

void ExpectAsPlain(const Coords& points) {
  const auto expected = HullPlain(points);
  const auto polygon = CreateMCPPoly(points);
  ASSERT_EQ(polygon.has_value(), expected.has_value()) << ::testing::PrintToString(points);
  if (!expected) return;
  const Coords got(polygon->Coords().begin(), polygon->Coords().end());
  ASSERT_EQ(got, *expected) << ::testing::PrintToString(points);
}

TEST_F(ConvexHull, EqualsTheWalkOverAllPoints) {
  Seeded random("ConvexHull.EqualsTheWalkOverAllPoints");
  for (int i = 0; i < 400; ++i) {
    const auto count = random.Whole(1, i % 20 == 0 ? 3000 : 200);
    const double size = std::pow(10, random.Real(-3, 7));
    const double x = random.Real(-1e6, 1e6), y = random.Real(-1e6, 1e6);
    Coords points;
    for (int p = 0; p < count; ++p)
      points.push_back({x + random.Real(0, size), y + random.Real(0, size)});
    ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(points));
  }
}

TEST_F(ConvexHull, EqualsTheWalkOverAllPointsOfAGrid) {
  // Few different coordinates: ties, columns, rows, repeated places, sets without breadth.
  Seeded random("ConvexHull.EqualsTheWalkOverAllPointsOfAGrid");
  for (int i = 0; i < 2000; ++i) {
    const auto count = random.Whole(1, i % 50 == 0 ? 1000 : 60);
    const auto columns = random.Whole(0, 12), rows = random.Whole(0, 12);
    const auto west = random.Whole(-8, 2), south = random.Whole(-8, 2);
    const double unit = random.Chance(0.5) ? 1 : 0.1;
    Coords points;
    for (int p = 0; p < count; ++p)
      points.push_back({static_cast<double>(west + random.Whole(0, columns)) * unit,
                        static_cast<double>(south + random.Whole(0, rows)) * unit});
    ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(points));
  }
}

TEST_F(ConvexHull, EqualsTheWalkOverAllPointsWhereEveryOneIsAVertex) {
  Seeded random("ConvexHull.EqualsTheWalkOverAllPointsWhereEveryOneIsAVertex");
  for (int i = 0; i < 60; ++i) {
    Coords points;
    const double radius = std::pow(10, random.Real(-2, 6));
    for (auto p = random.Whole(3, 700); p > 0; --p) {
      const double turn = random.Real(0, 6.28318530717958);
      points.push_back({radius * std::cos(turn), radius * std::sin(turn)});
    }
    ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(points));
  }
}

TEST_F(ConvexHull, EqualsTheWalkOverAllPointsWhereRoundingDecides) {
  // A few last places apart, far from the origin: differences and quotients collapse into each
  // other.
  Seeded random("ConvexHull.EqualsTheWalkOverAllPointsWhereRoundingDecides");
  int endless = 0;
  for (int i = 0; i < 4000; ++i) {
    const double x = random.Real(0.5, 2), y = random.Real(0.5, 2);
    const double far = random.Chance(0.5) ? 0 : std::pow(10, random.Real(0, 17));
    const double step = std::pow(2, -52 + static_cast<double>(random.Whole(0, 3)));
    Coords points;
    for (auto p = random.Whole(3, 80); p > 0; --p) {
      Coord c{x + step * static_cast<double>(random.Whole(0, 6)),
              y + step * static_cast<double>(random.Whole(0, 6))};
      if (random.Chance(0.2)) c.x += random.Chance(0.5) ? far : 1;
      if (random.Chance(0.2)) c.y -= random.Chance(0.5) ? far : 1;
      points.push_back(c);
    }
    ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(points));
    if (!HullPlain(points)) ++endless;
  }
  EXPECT_GT(endless, 0) << "no walk without an end was met";
}

TEST_F(ConvexHull, EqualsTheWalkOverAllPointsWithQuotientsBeyondNumbers) {
  Seeded random("ConvexHull.EqualsTheWalkOverAllPointsWithQuotientsBeyondNumbers");
  for (int i = 0; i < 500; ++i) {
    Coords points;
    for (auto p = random.Whole(3, 80); p > 0; --p) {
      const double size = random.Chance(0.5) ? 1e-310 : random.Chance(0.5) ? 1e300 : 1;
      points.push_back({size * static_cast<double>(random.Whole(-3, 3)),
                        1e6 * static_cast<double>(random.Whole(-3, 3))});
    }
    ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(points));
  }
}

TEST_F(ConvexHull, EqualsTheWalkOverAllPointsOfATallColumn) {
  // A thousand points one above the other, in ascending, descending and random order.
  Seeded random("ConvexHull.EqualsTheWalkOverAllPointsOfATallColumn");
  for (int i = 0; i < 12; ++i) {
    Coords points;
    for (int p = 0; p < 1000; ++p) {
      const double y = i % 3 == 0 ? p : i % 3 == 1 ? 1000 - p : random.Real(0, 1000);
      points.push_back({i < 6 ? 7 : random.Chance(0.9) ? 7 : random.Real(0, 14), y});
    }
    ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(points));
  }
}

/// Thousands of points that crowd: nests a few last places wide, heaps at one place, columns and
/// rows, a few far away, in any mixture and unit.
Coords Crowds(Seeded& random) {
  const double unit = std::pow(10, random.Real(-300, 300));
  Coords points;
  for (auto crowds = random.Whole(1, 5); crowds > 0; --crowds) {
    const double x = random.Real(-1, 1), y = random.Real(-1, 1);
    const double broad = std::pow(10, random.Real(-17, 0)),
                 high = std::pow(10, random.Real(-17, 0));
    const auto kind = random.Whole(0, 5);
    for (auto p = random.Whole(1, 6000); p > 0; --p) {
      const double dx = random.Real(-1, 1), dy = random.Real(-1, 1);
      switch (kind) {
        case 0:
          points.push_back({x, y});
          break;
        case 1:
          points.push_back({x, y + high * dy});
          break;
        case 2:
          points.push_back({x + broad * dx, y});
          break;
        case 3:
          points.push_back({x + std::round(8 * dx), y + std::round(8 * dy)});
          break;
        case 4:
          points.push_back({x + broad * dx, y + broad * dx});
          break;
        default:
          points.push_back({x + broad * dx, y + high * dy});
          break;
      }
    }
  }
  for (auto p = random.Whole(0, 4); p > 0; --p)
    points.push_back({random.Real(-1, 1) * std::pow(10, random.Real(0, 7)),
                      random.Real(-1, 1) * std::pow(10, random.Real(0, 7))});
  for (Coord& c : points) c = {c.x * unit, c.y * unit};
  for (std::size_t i = points.size(); i > 1; --i)
    std::swap(points[i - 1],
              points[static_cast<std::size_t>(random.Whole(0, std::ssize(points) - 1))]);
  return points;
}

TEST_F(ConvexHull, EqualsTheWalkOverAllPointsThatCrowd) {
  Seeded random("ConvexHull.EqualsTheWalkOverAllPointsThatCrowd");
  for (int i = 0; i < 60; ++i) ASSERT_NO_FATAL_FAILURE(ExpectAsPlain(Crowds(random)));
}

TEST_F(ConvexHull, EveryStepOfManyAmongCrowdsIsThatOfAWalkOverAllPoints) {
  // One set asked again and again, from anywhere: what was sorted out for one question serves the
  // next.
  Seeded random("ConvexHull.EveryStepOfManyAmongCrowdsIsThatOfAWalkOverAllPoints");
  for (int i = 0; i < 12; ++i) {
    const Coords points = Crowds(random);
    const HullPoints all(points);
    for (int step = 0; step < 200; ++step) {
      const Coord from = points[static_cast<std::size_t>(random.Whole(0, std::ssize(points) - 1))];
      const auto quadrant = static_cast<int>(random.Whole(1, 4));
      ASSERT_EQ(all.GetNextHullPoint(from, static_cast<Quadrant>(quadrant)),
                NextHullPointPlain(points, all.Extent(), from, quadrant));
    }
  }
}

TEST_F(ConvexHull, EveryStepFromAnywhereIsThatOfAWalkOverAllPoints) {
  Seeded random("ConvexHull.EveryStepFromAnywhereIsThatOfAWalkOverAllPoints");
  for (int i = 0; i < 200; ++i) {
    Coords points;
    for (auto p = random.Whole(0, 300); p > 0; --p)
      points.push_back(
          {static_cast<double>(random.Whole(-20, 20)), static_cast<double>(random.Whole(-20, 20))});
    const HullPoints all(points);
    for (int step = 0; step < 50; ++step) {
      const Coord from =
          !points.empty() && random.Chance(0.5)
              ? points[static_cast<std::size_t>(random.Whole(0, std::ssize(points) - 1))]
              : Coord{static_cast<double>(random.Whole(-25, 25)),
                      static_cast<double>(random.Whole(-25, 25))};
      const auto quadrant = static_cast<int>(random.Whole(1, 4));
      ASSERT_EQ(all.GetNextHullPoint(from, static_cast<Quadrant>(quadrant)),
                NextHullPointPlain(points, all.Extent(), from, quadrant))
          << ::testing::PrintToString(points) << " from " << ::testing::PrintToString(from)
          << " heading " << quadrant;
    }
  }
}

}  // namespace
}  // namespace orlinths
