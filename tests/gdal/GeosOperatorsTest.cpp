#include "data/GeometryOperators.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include <geos_c.h>

#include "gdal/GeosGeometry.h"
#include "numerics/SimpleRings.h"
#include "runtime/Ports.h"
#include "support/ErrorNumberOf.h"
#include "support/RandomShapes.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

constexpr double kNaN = Point::kNone;
const char* const kSquare = "POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))";
const char* const kBowTie = "POLYGON((0 0, 4 4, 4 0, 0 4, 0 0))";

bool RingsAlternateRightly(const Polygon& polygon) {
  for (int part = 0; part < polygon.PartCount(); ++part)
    if (SignedRingArea(polygon.Part(part)) == 0) return false;
  return polygon.PartCount() == 0 || SignedRingArea(polygon.Part(0)) > 0;
}

// --- Simplify

TEST(Simplify, LeavesAValidShapeToTheBit) {
  Seeded random("Simplify.LeavesAValidShapeToTheBit");
  for (int i = 0; i < 50; ++i) {
    const Geometry polygon = RandomPolygon(random, {.parts = 2, .holes = 2});
    ASSERT_TRUE(IsValid(polygon)) << AsWkt(polygon);
    ASSERT_EQ(Simplify(polygon), polygon);
    ASSERT_EQ(SimplifyPreserveFromTo(polygon), polygon);
  }
  const Geometry counterClockwise = Wkt("POLYGON((0 0, 4 0, 4 4, 0 4, 0 0))");
  EXPECT_EQ(Simplify(counterClockwise), counterClockwise);
  const Geometry withZ = Wkt("POLYGON((0 0 1, 0 4 2, 4 4 3, 0 0 1))");
  EXPECT_EQ(Simplify(withZ), withZ);
}

TEST(Simplify, LeavesEverythingButPolygonsAlone) {
  for (const char* text : {"NULL", "POINT EMPTY", "POINT(1 2)", "LINESTRING(0 0, 4 4, 4 0, 0 4)",
                           "MULTIPOINT(1 1, 1 1)", "POLYGON EMPTY", "LINESTRING(1 1, 1 1)"})
    EXPECT_EQ(Simplify(Wkt(text)), Wkt(text)) << text;
}

TEST(Simplify, CutsABowTieIntoTwoClockwiseTriangles) {
  const Polygon simple = Simplify(Wkt(kBowTie)).AsPolygon();
  EXPECT_EQ(simple.PartCount(), 2);
  EXPECT_EQ(simple.Area(), 8);
  EXPECT_GT(SignedRingArea(simple.Part(0)), 0);
  EXPECT_GT(SignedRingArea(simple.Part(1)), 0);
  EXPECT_TRUE(IsValid(simple));
}

TEST(Simplify, KeepsPolygonalPartsOnly) {
  // A square with a spike: the spike is a line.
  const Polygon simple =
      Simplify(Wkt("POLYGON((0 0, 0 4, 4 4, 4 2, 9 2, 4 2, 4 0, 0 0))")).AsPolygon();
  EXPECT_EQ(simple.Area(), 16);
  EXPECT_EQ(simple.Envelope(), (Envelope{0, 0, 4, 4}));
  EXPECT_TRUE(Simplify(Wkt("POLYGON((0 0, 4 4, 2 2, 0 0))")).IsEmpty());
}

TEST(Simplify, CountsOverlappingRingsEvenOdd) {
  const Polygon simple =
      Simplify(Wkt("MULTIPOLYGON(((0 0, 0 4, 4 4, 4 0, 0 0)), ((2 2, 2 6, 6 6, 6 2, 2 2)))"))
          .AsPolygon();
  EXPECT_EQ(simple.Area(), 16 + 16 - 2 * 4);
  EXPECT_FALSE(CoversPoint(simple, 3, 3));
}

TEST(Simplify, ClosesAnOpenRingAndDropsOneOfTooFewVertices) {
  EXPECT_EQ(Simplify(Wkt("POLYGON((0 0, 0 4, 4 4, 4 0))")).AsPolygon().Area(), 16);
  const Geometry withScrap = Wkt("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0), (1 1, 2 2, 1 1))");
  EXPECT_FALSE(IsValid(withScrap));
  EXPECT_EQ(Simplify(withScrap).AsPolygon().PartCount(), 1);
}

TEST(Simplify, OfRandomScribblesIsValidAndEvenOdd) {
  Seeded random("Simplify.OfRandomScribblesIsValidAndEvenOdd");
  for (int i = 0; i < 100; ++i) {
    Polygon scribble;
    for (int ring = 0; ring < 3; ++ring) {
      scribble.AddPart();
      for (int k = 0; k < 8; ++k) scribble.AddPoint(random.Real(0, 100), random.Real(0, 100));
    }
    scribble.Close();
    const Polygon simple = Simplify(scribble).AsPolygon();
    ASSERT_TRUE(IsValid(simple)) << AsWkt(scribble);
    ASSERT_TRUE(RingsAlternateRightly(simple));
    for (int k = 0; k < 50; ++k) {
      const double x = random.Real(0, 100), y = random.Real(0, 100);
      ASSERT_EQ(CoversPoint(simple, x, y), CoversPoint(scribble, x, y))
          << x << " " << y << " " << AsWkt(scribble);
    }
  }
}

// Simplify takes rings that are surely simple for valid without asking GEOS.
TEST(Simplify, IsNeverSureOfWhatGeosCallsInvalid) {
  Seeded random("Simplify.IsNeverSureOfWhatGeosCallsInvalid");
  int sure = 0, invalid = 0;
  for (int i = 0; i < 4000; ++i) {
    Polygon shape;
    if (random.Chance(0.5)) {
      shape = RandomPolygon(random, {.parts = static_cast<int>(random.Whole(1, 3)),
                                     .holes = static_cast<int>(random.Whole(0, 2)),
                                     .vertices = static_cast<int>(random.Whole(5, 14)),
                                     .onGrid = random.Chance(0.7),
                                     .size = random.Chance(0.5) ? 24.0 : 1000.0});
      // Parts over one another, or in one another.
      if (random.Chance(0.3)) {
        const double by = random.Real(0.2, 0.9);
        const std::int64_t from = shape.PartStart(shape.PartCount() - 1);
        for (Coord& c : shape.MutableCoords().subspan(static_cast<std::size_t>(from)))
          c = {std::round(c.x * by), std::round(c.y * by)};
      }
    } else {
      // A few points of a small grid, vertices often on edges and edges along one another; turned,
      // so that they miss by rounding.
      const double turn = random.Chance(0.5) ? 0 : random.Real(0, 6);
      for (int ring = 0; ring < random.Whole(1, 2); ++ring) {
        shape.AddPart();
        for (int k = 0; k < random.Whole(3, 6); ++k) {
          const auto x = static_cast<double>(random.Whole(0, 6) + 5 * ring);
          const auto y = static_cast<double>(random.Whole(0, 6));
          shape.AddPoint(x * std::cos(turn) - y * std::sin(turn),
                         x * std::sin(turn) + y * std::cos(turn));
        }
      }
      shape.Close();
    }
    const bool isValid = IsValid(shape);
    if (AreSurelySimple(shape)) {
      ++sure;
      ASSERT_TRUE(isValid) << AsWkt(shape);
      ASSERT_EQ(Simplify(shape), shape);
    }
    invalid += !isValid;
  }
  EXPECT_GT(sure, 1000);
  EXPECT_GT(invalid, 1000);
}

TEST(SimplifyPreserveFromTo, KeepsTheFirstVertexFirst) {
  for (const char* text :
       {kBowTie, "POLYGON((4 4, 4 0, 0 4, 0 0, 4 4))", "POLYGON((4 0, 0 4, 0 0, 4 4, 4 0))",
        "POLYGON((4 0, 0 0, 0 4, 4 4, 4 2, 9 2, 4 2, 4 0))"}) {
    const Polygon before = WktPolygon(text);
    const Polygon simple = SimplifyPreserveFromTo(before).AsPolygon();
    EXPECT_EQ(simple.Coords().front(), before.Coords().front()) << text;
    EXPECT_EQ(simple.Area(), Simplify(before).AsPolygon().Area());
    EXPECT_TRUE(IsValid(simple)) << AsWkt(simple);
  }
}

TEST(SimplifyPreserveFromTo, BringsItsOuterRingForwardWithItsHoles) {
  // Two squares side by side, the second with a hole; a scrap ring makes the whole invalid.
  const char* const text =
      "POLYGON((20 9, 29 9, 29 0, 20 0, 20 9), (22 2, 24 2, 24 4, 22 4, 22 2),"
      " (0 0, 0 9, 9 9, 9 0, 0 0), (1 1, 2 2, 1 1))";
  const Polygon simple = SimplifyPreserveFromTo(Wkt(text)).AsPolygon();
  ASSERT_EQ(simple.PartCount(), 3);
  EXPECT_EQ(simple.Coords().front(), (Coord{20, 9}));
  EXPECT_EQ(SignedRingArea(simple.Part(0)), 81);
  EXPECT_EQ(SignedRingArea(simple.Part(1)), -4);
  EXPECT_EQ(SignedRingArea(simple.Part(2)), 81);
}

// --- Intersect

TEST(Intersect, GivesThePartsOfOneDimension) {
  const Geometry a = Wkt(kSquare);
  const Geometry b = Wkt("POLYGON((2 2, 2 6, 6 6, 6 2, 2 2))");
  EXPECT_EQ(Intersect(a, b, 2).AsPolygon().Area(), 4);
  EXPECT_EQ(Intersect(a, b, 1).Type(), GeometryType::kPolyline);
  EXPECT_TRUE(Intersect(a, b, 1).IsEmpty());
  EXPECT_EQ(Intersect(a, b, 0).Type(), GeometryType::kMultipoint);
  const Geometry neighbour = Wkt("POLYGON((4 0, 4 2, 8 2, 8 0, 4 0))");
  EXPECT_EQ(Intersect(a, neighbour, 1).AsPolyline().Length(), 2);
  EXPECT_TRUE(Intersect(a, neighbour, 2).IsEmpty());
}

TEST(Intersect, IsNeverNothing) {
  for (const char* text : {"NULL", "POINT EMPTY", "LINESTRING EMPTY", "POLYGON EMPTY"}) {
    EXPECT_EQ(Intersect(Wkt(text), Wkt(kSquare), 0), Geometry(Multipoint())) << text;
    EXPECT_EQ(Intersect(Wkt(kSquare), Wkt(text), 1), Geometry(Polyline())) << text;
    EXPECT_EQ(Intersect(Wkt(text), Wkt(text), 2), Geometry(Polygon())) << text;
  }
  EXPECT_EQ(Intersect(Wkt(kSquare), Wkt("LINESTRING(9 9, 10 10)"), 1), Geometry(Polyline()));
}

TEST(Intersect, OfALineAndAPolygonInPointsMeetsTheBoundary) {
  const Geometry square = Wkt(kSquare);
  const Geometry through = Wkt("LINESTRING(-1 2, 5 2)");
  for (const Geometry& points : {Intersect(through, square, 0), Intersect(square, through, 0)}) {
    ASSERT_EQ(points.AsMultipoint().PointCount(), 2);
    EXPECT_THAT(points.AsMultipoint().Coords(),
                testing::UnorderedElementsAre(Coord{0, 2}, Coord{4, 2}));
  }
  EXPECT_EQ(Intersect(Wkt("LINESTRING(1 1, 5 1)"), square, 0).AsMultipoint().PointCount(), 1);
  EXPECT_TRUE(Intersect(Wkt("LINESTRING(1 1, 2 2)"), square, 0).IsEmpty()) << "wholly inside";
  EXPECT_EQ(AsWkt(Intersect(Wkt("LINESTRING(-1 1, 1 -1)"), square, 0)), "MULTIPOINT(0 0)");
}

TEST(Intersect, OfALineAndAPolygonInPointsSeesHoles) {
  const Geometry holed = Wkt("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (3 3, 6 3, 6 6, 3 6, 3 3))");
  const Geometry points = Intersect(Wkt("LINESTRING(-1 4, 10 4)"), holed, 0);
  EXPECT_THAT(points.AsMultipoint().Coords(),
              testing::UnorderedElementsAre(Coord{0, 4}, Coord{3, 4}, Coord{6, 4}, Coord{9, 4}));
}

TEST(Intersect, OfASharedStretchGivesNoPoint) {
  EXPECT_TRUE(Intersect(Wkt("LINESTRING(0 1, 0 3)"), Wkt(kSquare), 0).IsEmpty());
  EXPECT_TRUE(Intersect(Wkt("LINESTRING(0 0, 5 0)"), Wkt("LINESTRING(3 0, 9 0)"), 0).IsEmpty());
}

TEST(Intersect, OfTwoLinesGivesEveryCrossing) {
  const Geometry points =
      Intersect(Wkt("LINESTRING(0 0, 4 4)"), Wkt("LINESTRING(0 1, 1 0, 4 3, 3 4)"), 0);
  EXPECT_THAT(points.AsMultipoint().Coords(),
              testing::UnorderedElementsAre(Coord{0.5, 0.5}, Coord{3.5, 3.5}));
}

TEST(Intersect, CutsALineByAPolygon) {
  const Geometry lines = Intersect(Wkt(kSquare), Wkt("LINESTRING(-1 1, 5 1, 5 3, -1 3)"), 1);
  EXPECT_EQ(lines.AsPolyline().PartCount(), 2);
  EXPECT_EQ(lines.AsPolyline().Length(), 8);
}

TEST(Intersect, KeepsHolesBehindTheirOuterRings) {
  const Geometry holed = Wkt("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (3 3, 6 3, 6 6, 3 6, 3 3))");
  const Polygon cut =
      Intersect(holed, Wkt("POLYGON((1 1, 1 20, 20 20, 20 1, 1 1))"), 2).AsPolygon();
  ASSERT_EQ(cut.PartCount(), 2);
  EXPECT_EQ(SignedRingArea(cut.Part(0)), 64);
  EXPECT_EQ(SignedRingArea(cut.Part(1)), -9);
}

TEST(Intersect, RepairsCrossingRingsThatGeosCannotCut) {
  const Geometry cut = Intersect(Wkt(kBowTie), Wkt("POLYGON((-1 -1, -1 5, 5 5, 5 -1, -1 -1))"), 2);
  EXPECT_DOUBLE_EQ(cut.AsPolygon().Area(), 8);
}

TEST(Intersect, RaisesFiveForADimensionThatIsNone) {
  EXPECT_EQ(ErrorNumberOf([] { Intersect(Wkt(kSquare), Wkt(kSquare), 3); }), 5);
  EXPECT_EQ(ErrorNumberOf([] { Intersect(Wkt(kSquare), Wkt(kSquare), -1); }), 5);
}

TEST(Overlay, OfRandomPolygonsAddsUp) {
  Seeded random("Overlay.OfRandomPolygonsAddsUp");
  for (int i = 0; i < 60; ++i) {
    Geometry a = RandomPolygon(random, {.parts = 2, .holes = 2, .vertices = 20});
    Geometry b = RandomPolygon(random, {.parts = 1, .holes = 1, .vertices = 20});
    Move(b, random.Real(-500, 1500), random.Real(-500, 500));
    const double both = Intersect(a, b, 2).AsPolygon().Area();
    const double onlyA = Difference(a, b).AsPolygon().Area();
    const double either = Union(a, b).AsPolygon().Area();
    const double areaA = a.AsPolygon().Area();
    ASSERT_NEAR(both + onlyA, areaA, 1e-6 * areaA);
    ASSERT_NEAR(either, areaA + b.AsPolygon().Area() - both, 1e-6 * either);
  }
}

TEST(Overlay, WithTheEmptyGivesTheOther) {
  const Geometry square = Wkt(kSquare);
  EXPECT_EQ(Union(square, Geometry()), square);
  EXPECT_EQ(Union(Polygon(), square), square);
  EXPECT_EQ(Difference(square, Polygon()), square);
  EXPECT_TRUE(Difference(Polygon(), square).IsEmpty());
  EXPECT_TRUE(Difference(square, square).IsEmpty());
}

TEST(ConvexHull, IsAPolygonALineOrAPoint) {
  EXPECT_EQ(ConvexHull(Wkt("MULTIPOINT(0 0, 0 4, 4 4, 4 0, 2 2)")).AsPolygon().Area(), 16);
  EXPECT_EQ(ConvexHull(Wkt("MULTIPOINT(0 0, 3 4)")).AsPolyline().Length(), 5);
  EXPECT_EQ(AsWkt(ConvexHull(Wkt("MULTIPOINT(1 1, 1 1)"))), "MULTIPOINT(1 1)");
  EXPECT_EQ(ConvexHull(Geometry()), Geometry(Polygon()));
}

// --- Buffer

TEST(Buffer, OfAPointIsARegular128Gon) {
  const Polygon circle = Buffer(Wkt("POINT(10 20)"), 5);
  EXPECT_EQ(circle.PointCount(), 129);
  EXPECT_NEAR(circle.Area(), 128 * 25 * std::sin(2 * std::numbers::pi / 128) / 2, 1e-9);
  EXPECT_NEAR(circle.Envelope().xMax, 15, 1e-12);
}

TEST(Buffer, OfASegmentHasRoundEnds) {
  const Polygon buffer = Buffer(Wkt("LINESTRING(0 0, 10 0)"), 1);
  EXPECT_NEAR(buffer.Area(), 20 + 128 * std::sin(2 * std::numbers::pi / 128) / 2, 1e-9);
  EXPECT_NEAR(buffer.Envelope().xMin, -1, 1e-12);
}

TEST(Buffer, ShrinksAPolygonAndMayLeaveNothing) {
  EXPECT_EQ(Buffer(Wkt(kSquare), -1).Area(), 4);
  EXPECT_TRUE(Buffer(Wkt(kSquare), -3).IsEmpty());
  EXPECT_EQ(Buffer(Wkt(kSquare), 0).Area(), 16);
  EXPECT_TRUE(Buffer(Wkt("POINT(0 0)"), 0).IsEmpty());
  EXPECT_TRUE(Buffer(Wkt("POINT(0 0)"), -1).IsEmpty());
}

TEST(Buffer, OfNothingIsEmptyAndOfNoDistanceRaisesFive) {
  EXPECT_TRUE(Buffer(Geometry(), 1).IsEmpty());
  EXPECT_TRUE(Buffer(Polyline(), 1).IsEmpty());
  EXPECT_EQ(ErrorNumberOf([] { Buffer(Wkt("POINT(0 0)"), kNaN); }), 5);
}

// --- relations

TEST(Within, LeavesTheBoundaryOut) {
  const Geometry square = Wkt(kSquare);
  EXPECT_TRUE(Within(Wkt("POINT(1 1)"), square));
  EXPECT_FALSE(Within(Wkt("POINT(0 1)"), square));
  EXPECT_FALSE(Within(Wkt("POINT(4 4)"), square));
  EXPECT_TRUE(Within(Wkt("LINESTRING(0 0, 2 2)"), square)) << "partly on the boundary";
  EXPECT_FALSE(Within(Wkt("LINESTRING(0 0, 0 2)"), square)) << "on the boundary alone";
  EXPECT_TRUE(Within(square, square));
}

TEST(Relations, OfTheEmptyAreDisjoint) {
  for (const char* text : {"NULL", "POINT EMPTY", "LINESTRING EMPTY", "POLYGON EMPTY"}) {
    const Geometry empty = Wkt(text);
    EXPECT_FALSE(Within(empty, Wkt(kSquare)));
    EXPECT_FALSE(Contains(empty, Wkt(kSquare)));
    EXPECT_FALSE(Contains(Wkt(kSquare), empty));
    EXPECT_TRUE(Disjoint(empty, Wkt(kSquare)));
    EXPECT_TRUE(Disjoint(empty, empty));
  }
}

TEST(Relations, TouchingIsNotDisjoint) {
  EXPECT_FALSE(Disjoint(Wkt(kSquare), Wkt("POINT(4 2)")));
  EXPECT_FALSE(Disjoint(Wkt(kSquare), Wkt("LINESTRING(4 2, 9 2)")));
  EXPECT_TRUE(Disjoint(Wkt(kSquare), Wkt("LINESTRING(4.0001 2, 9 2)")));
  EXPECT_TRUE(Disjoint(Wkt("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (1 1, 8 1, 8 8, 1 8, 1 1))"),
                       Wkt("POLYGON((2 2, 2 4, 4 4, 4 2, 2 2))")))
      << "in the hole";
}

TEST(Relations, StayTheSameHoweverOftenAsked) {
  const Geometry square = Wkt(kSquare);
  const Geometry inside = Wkt("POINT(1 1)");
  const Geometry onEdge = Wkt("LINESTRING(0 0, 0 2)");
  for (int i = 0; i < 5; ++i) {
    EXPECT_TRUE(Contains(square, inside));
    EXPECT_FALSE(Contains(square, onEdge));
    EXPECT_TRUE(Intersects(onEdge, square));
    EXPECT_FALSE(Disjoint(square, onEdge));
  }
}

// --- distances

TEST(ReturnNearestPoint, OfAPolygonCountsTheWholeArea) {
  const Geometry holed = Wkt("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (3 3, 6 3, 6 6, 3 6, 3 3))");
  EXPECT_EQ(AsWkt(ReturnNearestPoint(holed, {.x = 1, .y = 2})), "POINT(1 2)");
  EXPECT_EQ(AsWkt(ReturnNearestPoint(holed, {.x = 20, .y = 4})), "POINT(9 4)");
  EXPECT_EQ(AsWkt(ReturnNearestPoint(holed, {.x = 3.5, .y = 4.5})), "POINT(3 4.5)")
      << "in the hole";
}

TEST(ReturnNearestPoint, OfLinesAndPoints) {
  EXPECT_EQ(AsWkt(ReturnNearestPoint(Wkt("LINESTRING(0 0, 10 0)"), {.x = 4, .y = 3})),
            "POINT(4 0)");
  EXPECT_EQ(AsWkt(ReturnNearestPoint(Wkt("LINESTRING(0 0, 10 0)"), {.x = 14, .y = 3})),
            "POINT(10 0)")
      << "no extension";
  EXPECT_EQ(AsWkt(ReturnNearestPoint(Wkt("POINT(7 8)"), {.x = 0, .y = 0})), "POINT(7 8)");
  EXPECT_EQ(AsWkt(ReturnNearestPoint(Wkt("MULTIPOINT(7 8, 1 1)"), {.x = 0, .y = 0})), "POINT(1 1)");
}

TEST(ReturnDistance, IsZeroInsideAndSymmetric) {
  const Geometry square = Wkt(kSquare);
  EXPECT_EQ(ReturnDistance(square, Wkt("POINT(1 1)")), 0);
  EXPECT_EQ(ReturnDistance(square, Wkt("POINT(4 4)")), 0);
  EXPECT_EQ(ReturnDistance(square, Wkt("POINT(7 8)")), 5);
  EXPECT_EQ(ReturnDistance(Wkt("POINT(7 8)"), square), 5);
  EXPECT_EQ(ReturnDistance(Wkt("POINT(0 0)"), Wkt("POINT(3 4)")), 5);
  EXPECT_EQ(ReturnDistance(square, Wkt("POLYGON((1 1, 1 2, 2 2, 1 1))")), 0) << "wholly inside";
  EXPECT_EQ(ReturnDistance(square, Wkt("LINESTRING(7 8, 7 9)")), 5);
  EXPECT_EQ(ReturnDistance(Wkt("LINESTRING(7 8, 7 9)"), square), 5);
}

TEST(ReturnDistance, AgreesWithGeosOnRandomShapes) {
  Seeded random("ReturnDistance.AgreesWithGeosOnRandomShapes");
  for (int i = 0; i < 100; ++i) {
    const Geometry polygon = RandomPolygon(random, {.parts = 2, .holes = 1});
    const Geometry point = Point{.x = random.Real(-500, 2500), .y = random.Real(-500, 1500)};
    const GeosScope geos;
    double expected = -1;
    ASSERT_EQ(GEOSDistance_r(geos.Context(), ToGeos(geos, polygon).get(), ToGeos(geos, point).get(),
                             &expected),
              1);
    ASSERT_NEAR(ReturnDistance(polygon, point), expected, 1e-9);
  }
}

TEST(Distances, FromTheEmptyRaiseNinetyOne) {
  const Geometry square = Wkt(kSquare);
  EXPECT_EQ(ErrorNumberOf([&] { ReturnNearestPoint(Geometry(), {.x = 0, .y = 0}); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { ReturnNearestPoint(Polyline(), {.x = 0, .y = 0}); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { ReturnNearestPoint(square, Point()); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { ReturnDistance(square, Polygon()); }), 91);
}

// --- what is no number, what goes on too long

TEST(Operators, SayThatACoordinateIsNotFinite) {
  Polygon broken = WktPolygon(kSquare);
  broken.SetPoint(1, {.x = kNaN, .y = 2});
  Polygon endless = WktPolygon(kSquare);
  endless.SetPoint(1, {.x = std::numeric_limits<double>::infinity(), .y = 2});
  for (const Geometry& shape : {Geometry(broken), Geometry(endless)}) {
    EXPECT_FALSE(IsValid(shape));
    for (const std::string& said :
         {ErrorTextOf([&] { Simplify(shape); }), ErrorTextOf([&] { Buffer(shape, 1); }),
          ErrorTextOf([&] { Intersect(shape, Wkt(kSquare), 2); }),
          ErrorTextOf([&] { Contains(shape, Wkt("POINT(1 1)")); }),
          ErrorTextOf([&] { ConvexHull(shape); })})
      EXPECT_EQ(said, "A coordinate of the shape is not a finite number.");
  }
}

TEST(Operators, RaiseEighteenAfterAStopRequest) {
  RequestStop();
  EXPECT_EQ(ErrorNumberOf([] { Buffer(Wkt("POINT(0 0)"), 1); }), 18);
  EXPECT_EQ(ErrorNumberOf([] { ReturnNearestPoint(Wkt(kSquare), {.x = 0, .y = 0}); }), 18);
  ClearStop();
  EXPECT_FALSE(Buffer(Wkt("POINT(0 0)"), 1).IsEmpty());
}

// A host's own interrupt callback, which asks for the stop while GEOS is at work.
int interruptChecks = 0;
void AskForAStop() {
  if (++interruptChecks == 3) RequestStop();
}

TEST(Operators, TakeAStopRequestInTheMiddleOfALongCall) {
  Seeded random("Operators.TakeAStopRequestInTheMiddleOfALongCall");
  const Geometry line = RandomLine(random, 1, 300);
  interruptChecks = 0;
  GEOSInterruptCallback* const before = GEOS_interruptRegisterCallback(AskForAStop);
  EXPECT_EQ(ErrorNumberOf([&] { Buffer(line, 10); }), 18);
  EXPECT_EQ(interruptChecks, 3) << "the call ended at the check that saw the request";
  EXPECT_EQ(GEOS_interruptRegisterCallback(before), AskForAStop) << "the host's callback is back";
  ClearStop();
  EXPECT_FALSE(Buffer(line, 10).IsEmpty()) << "the next call is not interrupted";
}

TEST(Operators, KeepTheNativeFormWithTheShape) {
  const Geometry square = Wkt(kSquare);
  EXPECT_EQ(square.AsPolygon().Native(), nullptr);
  Contains(square, Wkt("POINT(1 1)"));
  const auto kept = square.AsPolygon().Native();
  EXPECT_NE(kept, nullptr);
  const Geometry copy = square;
  Contains(copy, Wkt("POINT(2 2)"));
  EXPECT_EQ(copy.AsPolygon().Native(), kept);
  Geometry moved = square;
  Move(moved, 100, 0);
  EXPECT_FALSE(Contains(moved, Wkt("POINT(1 1)")));
  EXPECT_TRUE(Contains(moved, Wkt("POINT(101 1)")));
}

}  // namespace
}  // namespace orlinths
