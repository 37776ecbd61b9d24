#include "numerics/Geometry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numbers>

#include "support/ErrorNumberOf.h"
#include "support/RandomShapes.h"
#include "support/Seeded.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// --- envelopes

TEST(Envelope, IsEmptyUntilSomethingIsAdded) {
  Envelope box;
  EXPECT_TRUE(box.IsEmpty());
  EXPECT_EQ(box.Width(), 0);
  EXPECT_EQ(box.Height(), 0);
  EXPECT_FALSE(box.Contains(0, 0));
  EXPECT_FALSE(box.Intersects(Envelope{-1, -1, 1, 1}));
  box.Add(3, 4);
  EXPECT_FALSE(box.IsEmpty());
  EXPECT_TRUE(box.Contains(3, 4));
}

TEST(Envelope, TouchesAtACorner) {
  EXPECT_TRUE((Envelope{0, 0, 1, 1}.Intersects({1, 1, 2, 2})));
  EXPECT_FALSE((Envelope{0, 0, 1, 1}.Intersects({1.0000001, 1, 2, 2})));
}

TEST(Envelope, PassesOverNaNAndEmptyBoxes) {
  Envelope box{0, 0, 1, 1};
  box.Add(kNaN, kNaN);
  box.Add(Envelope{});
  EXPECT_EQ(box, (Envelope{0, 0, 1, 1}));
}

TEST(Envelope, OfAnEmptyShapeIsEmpty) {
  EXPECT_TRUE(Geometry().Envelope().IsEmpty());
  EXPECT_TRUE(Geometry(Point()).Envelope().IsEmpty());
  EXPECT_TRUE(Geometry(Polygon()).Envelope().IsEmpty());
  EXPECT_EQ(Wkt("MULTILINESTRING((0 5, 1 1), (9 2, 3 3))").Envelope(), (Envelope{0, 1, 9, 5}));
}

// --- point collections

TEST(Multipart, CountsPointsOverAllPartsTheClosingVertexIncluded) {
  const Polygon polygon = WktPolygon("POLYGON((0 0, 0 9, 9 9, 0 0), (1 3, 2 3, 1 2, 1 3))");
  EXPECT_EQ(polygon.PointCount(), 8);
  EXPECT_EQ(polygon.PartCount(), 2);
  EXPECT_EQ(polygon.PartStart(1), 4);
  EXPECT_EQ(polygon.PartStart(2), 8);
  EXPECT_EQ(polygon.PointAt(4).y, 3);
  EXPECT_THAT(polygon.Part(1), testing::SizeIs(4));
}

TEST(Multipart, RaisesNineOutsideItsPoints) {
  Polyline line = WktLine("LINESTRING(0 0, 1 1)");
  EXPECT_EQ(ErrorNumberOf([&] { line.PointAt(-1); }), 9);
  EXPECT_EQ(ErrorNumberOf([&] { line.PointAt(2); }), 9);
  EXPECT_EQ(ErrorNumberOf([&] { line.SetPoint(2, {.x = 0, .y = 0}); }), 9);
  EXPECT_EQ(ErrorNumberOf([&] { Polyline().PointAt(0); }), 9);
}

TEST(Multipart, OpensItsFirstPartByItself) {
  Polyline line;
  line.AddPoint(1, 2);
  line.AddPoint(3, 4);
  EXPECT_EQ(line.PartCount(), 1);
  line.AddPart();
  line.AddPoint(5, 6);
  EXPECT_EQ(AsWkt(line), "MULTILINESTRING((1 2, 3 4), (5 6))");
}

TEST(Multipart, KeepsZAndMFromTheFirstPointThatHasThem) {
  Polyline line;
  line.AddPoint(0, 0);
  EXPECT_FALSE(line.HasZ());
  line.AddPoint({.x = 1, .y = 1, .z = 7});
  line.AddPoint({.x = 2, .y = 2, .m = 5});
  line.AddPoint(3, 3);
  EXPECT_THAT(line.Z(), testing::ElementsAre(0, 7, 0, 0));
  EXPECT_TRUE(std::isnan(line.M()[0]));
  EXPECT_TRUE(std::isnan(line.M()[1]));
  EXPECT_EQ(line.M()[2], 5);
  EXPECT_TRUE(std::isnan(line.PointAt(3).m));
}

TEST(Multipart, KeepsZAndMOfItsVeryFirstPoint) {
  Multipoint points;
  points.AddPoint({.x = 0, .y = 0, .z = 1, .m = 2});
  EXPECT_THAT(points.Z(), testing::ElementsAre(1));
  EXPECT_THAT(points.M(), testing::ElementsAre(2));
}

TEST(Multipart, SetsAPointWithItsZ) {
  Polyline line = WktLine("LINESTRING(0 0, 1 1)");
  line.SetPoint(1, {.x = 5, .y = 6, .z = 7});
  EXPECT_EQ(AsWkt(line), "LINESTRING(0 0 0, 5 6 7)");
}

TEST(Multipart, AddsAWholePartBesideZ) {
  Polyline line = WktLine("LINESTRING(0 0 3, 1 1 4)");
  const Coord more[] = {{2, 2}, {3, 3}};
  line.AddPart(more);
  EXPECT_EQ(AsWkt(line), "MULTILINESTRING((0 0 3, 1 1 4), (2 2 0, 3 3 0))");
}

TEST(Multipart, RefusesColumnsAndPartsThatDoNotFit) {
  Polyline line;
  EXPECT_EQ(ErrorNumberOf([&] { line.Assign({{0, 0}}, {}); }), 5);
  EXPECT_EQ(ErrorNumberOf([&] { line.Assign({{0, 0}}, {1}); }), 5);
  EXPECT_EQ(ErrorNumberOf([&] { line.Assign({{0, 0}, {1, 1}}, {0, 3}); }), 5);
  EXPECT_EQ(ErrorNumberOf([&] { line.Assign({{0, 0}, {1, 1}, {2, 2}}, {0, 2, 1}); }), 5);
  EXPECT_EQ(ErrorNumberOf([&] { line.Assign({{0, 0}}, {0}, {1, 2}); }), 5);
  EXPECT_TRUE(line.IsEmpty());
  line.Assign({{0, 0}, {1, 1}}, {0}, {8, 9});
  EXPECT_EQ(AsWkt(line), "LINESTRING(0 0 8, 1 1 9)");
}

TEST(Multipart, DropsWhatWasKeptForItAtEveryChange) {
  const auto kept = std::make_shared<const int>(1);
  const Polyline line = WktLine("LINESTRING(0 0, 1 1)");
  line.KeepNative(kept);
  const std::function<void(Polyline&)> changes[] = {
      [](Polyline& l) { l.AddPart(); },
      [](Polyline& l) { l.AddPoint(2, 2); },
      [](Polyline& l) { l.AddPoint(Point{.x = 2, .y = 2}); },
      [](Polyline& l) { l.MutableCoords(); },
      [](Polyline& l) { l.SetPoint(0, {.x = 2, .y = 2}); },
      [](Polyline& l) { l.Assign({}, {}); },
      [](Polyline& l) { l.Clear(); },
      [](Polyline& l) { l.ReverseOrientation(); },
      [](Polyline& l) { l.SplitAtPoint({.x = 0.5, .y = 0.5}); },
  };
  for (const auto& change : changes) {
    Polyline copy = line;
    EXPECT_EQ(copy.Native(), kept) << "copies share it";
    change(copy);
    EXPECT_EQ(copy.Native(), nullptr);
  }
  EXPECT_EQ(line.Native(), kept);
}

TEST(Multipart, EqualsByPartsAndCoordinates) {
  EXPECT_EQ(Wkt("LINESTRING(0 0, 1 1)"), Wkt("LINESTRING(-0 0, 1 1)"));
  EXPECT_NE(Wkt("LINESTRING(0 0, 1 1)"), Wkt("MULTIPOINT(0 0, 1 1)"));
  EXPECT_NE(Wkt("MULTILINESTRING((0 0, 1 1), (2 2, 3 3))"), Wkt("LINESTRING(0 0, 1 1, 2 2, 3 3)"));
  EXPECT_NE(Wkt("LINESTRING(0 0 1, 1 1 1)"), Wkt("LINESTRING(0 0, 1 1)"));
  EXPECT_EQ(Wkt("LINESTRING(0 0 1 nan, 1 1 1 2)"), Wkt("LINESTRING(0 0 1 nan, 1 1 1 2)"));
  EXPECT_EQ(Geometry(), Geometry());
  EXPECT_EQ(Geometry(Point()), Geometry(Point()));
  EXPECT_NE(Geometry(Point()), Geometry());
}

// --- a shape of any type

TEST(Geometry, NamesItsType) {
  EXPECT_EQ(Geometry().Type(), GeometryType::kNull);
  EXPECT_EQ(Geometry(Point()).Type(), GeometryType::kPoint);
  EXPECT_EQ(Geometry(Multipoint()).Type(), GeometryType::kMultipoint);
  EXPECT_EQ(Geometry(Polyline()).Type(), GeometryType::kPolyline);
  EXPECT_EQ(Geometry(Polygon()).Type(), GeometryType::kPolygon);
}

TEST(Geometry, IsEmptyWithoutAPoint) {
  EXPECT_TRUE(Geometry().IsEmpty());
  EXPECT_TRUE(Geometry(Point()).IsEmpty());
  EXPECT_TRUE(Geometry(Polyline()).IsEmpty());
  EXPECT_FALSE(Wkt("POINT(0 0)").IsEmpty());
}

TEST(Geometry, RaisesNinetyOneForNothingAndThirteenForAnotherType) {
  EXPECT_EQ(ErrorNumberOf([] { Geometry().AsPoint(); }), 91);
  EXPECT_EQ(ErrorNumberOf([] { Geometry(Point()).AsPolygon(); }), 13);
  EXPECT_EQ(Geometry(Point()).AsMultipart(), nullptr);
}

// --- areas and lengths

TEST(Polygon, AreaIsPositiveClockwiseAndAHoleSubtracts) {
  EXPECT_EQ(WktPolygon("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))").Area(), 16);
  EXPECT_EQ(WktPolygon("POLYGON((0 0, 4 0, 4 4, 0 4, 0 0))").Area(), -16);
  const Polygon holed = WktPolygon("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0), (1 1, 3 1, 3 2, 1 2, 1 1))");
  EXPECT_EQ(holed.Area(), 14);
  EXPECT_EQ(holed.Length(), 16 + 6);
  EXPECT_EQ(Polygon().Area(), 0);
  EXPECT_EQ(Polygon().Length(), 0);
}

TEST(Polygon, AreaFarFromTheOriginLosesNothing) {
  const Polygon square =
      WktPolygon("POLYGON((5e8 5e8, 5e8 500000001, 500000001 500000001, 500000001 5e8, 5e8 5e8))");
  EXPECT_EQ(square.Area(), 1);
}

TEST(Polygon, AreaOfARegularPolygonIsTheClosedForm) {
  Polygon polygon;
  constexpr int kSides = 360;
  for (int i = 0; i <= kSides; ++i) {
    const double turn = -2 * std::numbers::pi * (i % kSides) / kSides;
    polygon.AddPoint(100 * std::cos(turn), 100 * std::sin(turn));
  }
  const double step = 2 * std::numbers::pi / kSides;
  EXPECT_NEAR(polygon.Area(), kSides * 100.0 * 100.0 * std::sin(step) / 2, 1e-9);
  EXPECT_NEAR(polygon.Length(), kSides * 2 * 100.0 * std::sin(step / 2), 1e-9);
}

TEST(Polygon, OpenRingsHaveTheAreaOfTheClosed) {
  Polygon open = WktPolygon("POLYGON((2 2, 2 6, 6 6, 6 2), (3 3, 5 3, 5 4, 3 4))");
  EXPECT_EQ(open.Area(), 14);
  open.Close();
  EXPECT_EQ(AsWkt(open), "POLYGON((2 2, 2 6, 6 6, 6 2, 2 2), (3 3, 5 3, 5 4, 3 4, 3 3))");
  EXPECT_EQ(open.Area(), 14);
  const Polygon closed = open;
  open.Close();
  EXPECT_EQ(open, closed);
}

TEST(Polygon, ClosesWithZ) {
  Polygon open = WktPolygon("POLYGON((0 0 1, 0 4 2, 4 4 3))");
  open.Close();
  EXPECT_EQ(AsWkt(open), "POLYGON((0 0 1, 0 4 2, 4 4 3, 0 0 1))");
}

TEST(Polygon, AreaTurnsItsSignWithTheDirection) {
  Seeded random("Polygon.AreaTurnsItsSignWithTheDirection");
  for (int i = 0; i < 100; ++i) {
    const Polygon polygon = RandomPolygon(random, {.parts = 2, .holes = 2, .vertices = 15});
    Polygon turned;
    for (int part = 0; part < polygon.PartCount(); ++part) {
      const auto ring = polygon.Part(part);
      const std::vector<Coord> reversed(ring.rbegin(), ring.rend());
      turned.AddPart(reversed);
    }
    ASSERT_NEAR(turned.Area(), -polygon.Area(), 1e-7) << AsWkt(polygon);
  }
}

// --- lines

TEST(Polyline, LengthLeavesTheGapBetweenPartsOut) {
  EXPECT_EQ(WktLine("MULTILINESTRING((0 0, 3 4), (100 0, 100 2))").Length(), 7);
  EXPECT_EQ(Polyline().Length(), 0);
}

TEST(Polyline, EndsAreThoseOverAllParts) {
  const Polyline line = WktLine("MULTILINESTRING((0 1 2, 3 4 5), (6 7 8, 9 10 11))");
  EXPECT_EQ(AsWkt(line.FromPoint()), "POINT(0 1 2)");
  EXPECT_EQ(AsWkt(line.ToPoint()), "POINT(9 10 11)");
  EXPECT_TRUE(Polyline().FromPoint().IsEmpty());
  EXPECT_TRUE(Polyline().ToPoint().IsEmpty());
}

TEST(Polyline, ReversesPartsAndPoints) {
  Polyline line = WktLine("MULTILINESTRING((0 0 1 5, 1 0 2 6, 2 0 3 7), (5 5 4 8, 6 6 5 9))");
  const Polyline before = line;
  line.ReverseOrientation();
  EXPECT_EQ(AsWkt(line), "MULTILINESTRING((6 6 5 9, 5 5 4 8), (2 0 3 7, 1 0 2 6, 0 0 1 5))");
  line.ReverseOrientation();
  EXPECT_EQ(line, before);
  Polyline empty;
  empty.ReverseOrientation();
  EXPECT_EQ(empty, Polyline());
}

TEST(SplitAtPoint, InsertsTheNearestPlaceOnTheLine) {
  Polyline line = WktLine("LINESTRING(0 0, 10 0, 10 10)");
  EXPECT_EQ(line.SplitAtPoint({.x = 4, .y = 3}), 1);
  EXPECT_EQ(AsWkt(line), "LINESTRING(0 0, 4 0, 10 0, 10 10)");
  EXPECT_EQ(line.SplitAtPoint({.x = 99, .y = 5}), 3);
  EXPECT_EQ(AsWkt(line), "LINESTRING(0 0, 4 0, 10 0, 10 5, 10 10)");
}

TEST(SplitAtPoint, KeepsAVertexThatIsThere) {
  Polyline line = WktLine("LINESTRING(0 0, 10 0, 10 10)");
  const Polyline before = line;
  EXPECT_EQ(line.SplitAtPoint({.x = -5, .y = -1}), 0);
  EXPECT_EQ(line.SplitAtPoint({.x = 13, .y = -2}), 1);
  EXPECT_EQ(line.SplitAtPoint({.x = 10, .y = 10}), 2);
  EXPECT_EQ(line, before);
  EXPECT_EQ(Polyline().SplitAtPoint({.x = 0, .y = 0}), -1);
}

TEST(SplitAtPoint, TakesTheFirstOfPlacesEquallyNear) {
  Polyline line = WktLine("MULTILINESTRING((0 0, 10 0), (0 2, 10 2))");
  EXPECT_EQ(line.SplitAtPoint({.x = 5, .y = 1}), 1);
  EXPECT_EQ(AsWkt(line), "MULTILINESTRING((0 0, 5 0, 10 0), (0 2, 10 2))");
}

TEST(SplitAtPoint, MakesNoNewPartAndInterpolatesZAndM) {
  Polyline line = WktLine("MULTILINESTRING((0 0 0 1, 8 0 4 3), (20 0 0 0, 20 8 8 8))");
  EXPECT_EQ(line.SplitAtPoint({.x = 2, .y = 1}), 1);
  EXPECT_EQ(line.SplitAtPoint({.x = 21, .y = 4}), 4);
  EXPECT_EQ(AsWkt(line),
            "MULTILINESTRING((0 0 0 1, 2 0 1 1.5, 8 0 4 3), (20 0 0 0, 20 4 4 4, 20 8 8 8))");
}

TEST(SplitAtPoint, RaisesFiveForAPlaceThatIsNone) {
  Polyline line = WktLine("LINESTRING(0 0, 10 0)");
  EXPECT_EQ(ErrorNumberOf([&] { line.SplitAtPoint(Point()); }), 5);
}

TEST(GetSubcurve, CutsByDistanceAlong) {
  const Polyline line = WktLine("LINESTRING(0 0, 10 0, 10 10)");
  EXPECT_EQ(AsWkt(line.GetSubcurve(4, 13)), "LINESTRING(4 0, 10 0, 10 3)");
  EXPECT_EQ(AsWkt(line.GetSubcurve(2, 3)), "LINESTRING(2 0, 3 0)");
}

TEST(GetSubcurve, ClampsAndKeepsTheWholeLineToTheBit) {
  const Polyline line = WktLine("MULTILINESTRING((0.1 0 1, 10 0.3 2), (5 5 3, 6 7 4, 8 8 5))");
  EXPECT_EQ(line.GetSubcurve(-1, 1e9), line);
  EXPECT_EQ(line.GetSubcurve(0, line.Length()), line);
}

TEST(GetSubcurve, DoublesNoVertexAtACut) {
  const Polyline line = WktLine("LINESTRING(0 0, 10 0, 20 0, 30 0)");
  EXPECT_EQ(AsWkt(line.GetSubcurve(10, 20)), "LINESTRING(10 0, 20 0)");
  EXPECT_EQ(AsWkt(line.GetSubcurve(0, 10)), "LINESTRING(0 0, 10 0)");
}

TEST(GetSubcurve, KeepsPartsAndTakesNoneOfLengthZero) {
  const Polyline line = WktLine("MULTILINESTRING((0 0, 10 0), (0 5, 10 5), (0 9, 10 9))");
  EXPECT_EQ(AsWkt(line.GetSubcurve(5, 25)),
            "MULTILINESTRING((5 0, 10 0), (0 5, 10 5), (0 9, 5 9))");
  EXPECT_EQ(AsWkt(line.GetSubcurve(10, 20)), "LINESTRING(0 5, 10 5)");
}

TEST(GetSubcurve, InterpolatesZAndM) {
  const Polyline line = WktLine("LINESTRING(0 0 0 10, 10 0 20 30)");
  EXPECT_EQ(AsWkt(line.GetSubcurve(2.5, 5)), "LINESTRING(2.5 0 5 15, 5 0 10 20)");
}

TEST(GetSubcurve, OfNoLengthIsEmpty) {
  const Polyline line = WktLine("LINESTRING(0 0, 10 0)");
  EXPECT_TRUE(line.GetSubcurve(5, 5).IsEmpty());
  EXPECT_TRUE(line.GetSubcurve(10, 11).IsEmpty());
  EXPECT_TRUE(line.GetSubcurve(-3, 0).IsEmpty());
  EXPECT_TRUE(Polyline().GetSubcurve(0, 1).IsEmpty());
}

TEST(GetSubcurve, RaisesFiveForDistancesOutOfOrder) {
  const Polyline line = WktLine("LINESTRING(0 0, 10 0)");
  EXPECT_EQ(ErrorNumberOf([&] { line.GetSubcurve(5, 4); }), 5);
  EXPECT_EQ(ErrorNumberOf([&] { line.GetSubcurve(kNaN, 4); }), 5);
  EXPECT_EQ(ErrorNumberOf([&] { line.GetSubcurve(1, kNaN); }), 5);
}

TEST(GetSubcurve, KeepsRepeatedVertices) {
  const Polyline line = WktLine("LINESTRING(0 0, 5 0, 5 0, 10 0)");
  EXPECT_EQ(AsWkt(line.GetSubcurve(1, 9)), "LINESTRING(1 0, 5 0, 5 0, 9 0)");
}

TEST(GetSubcurve, MeetsTheVertexOfASplitToTheBit) {
  Seeded random("GetSubcurve.MeetsTheVertexOfASplitToTheBit");
  for (int i = 0; i < 300; ++i) {
    Polyline line = RandomLine(random, 1, 20);
    const double whole = line.Length();
    const std::int64_t at =
        line.SplitAtPoint({.x = random.Real(0, 1000), .y = random.Real(0, 1000)});
    double along = 0;  // added up as a walk over the vertices would
    for (std::int64_t v = 1; v <= at; ++v) {
      const double dx = line.PointAt(v).x - line.PointAt(v - 1).x;
      const double dy = line.PointAt(v).y - line.PointAt(v - 1).y;
      along += std::sqrt(dx * dx + dy * dy);
    }
    const Polyline before = line.GetSubcurve(0, along);
    const Polyline after = line.GetSubcurve(along, 2 * whole);
    if (at > 0) {
      ASSERT_EQ(Geometry(before.ToPoint()), Geometry(line.PointAt(at)));
    }
    if (at < line.PointCount() - 1) {
      ASSERT_EQ(Geometry(after.FromPoint()), Geometry(line.PointAt(at)));
    }
    ASSERT_NEAR(before.Length() + after.Length(), whole, 1e-9 * whole);
    ASSERT_NEAR(line.Length(), whole, 1e-9 * whole);
  }
}

// --- transformations

TEST(Rotate, IsCounterClockwiseForPositiveAngles) {
  Geometry point = Wkt("POINT(3 1)");
  Rotate(point, {.x = 1, .y = 1}, std::numbers::pi / 2);
  EXPECT_NEAR(point.AsPoint().x, 1, 1e-15);
  EXPECT_NEAR(point.AsPoint().y, 3, 1e-15);
}

TEST(Rotate, FourQuartersAreNoTurn) {
  Seeded random("Rotate.FourQuartersAreNoTurn");
  const Geometry before = RandomPolygon(random, {.parts = 2, .holes = 1});
  Geometry shape = before;
  for (int i = 0; i < 4; ++i) Rotate(shape, {.x = 123, .y = -45}, std::numbers::pi / 2);
  for (std::int64_t i = 0; i < before.AsPolygon().PointCount(); ++i) {
    ASSERT_NEAR(shape.AsPolygon().PointAt(i).x, before.AsPolygon().PointAt(i).x, 1e-9);
    ASSERT_NEAR(shape.AsPolygon().PointAt(i).y, before.AsPolygon().PointAt(i).y, 1e-9);
  }
}

TEST(Move, ShiftsEveryPointAndKeepsZ) {
  Geometry shape = Wkt("MULTILINESTRING((0 0 9, 1 1 8), (2 2 7, 3 3 6))");
  Move(shape, 10, -1);
  EXPECT_EQ(AsWkt(shape), "MULTILINESTRING((10 -1 9, 11 0 8), (12 1 7, 13 2 6))");
}

TEST(Transformations, LeaveNothingAndTheEmptyAlone) {
  Geometry nothing;
  Geometry empty = Point();
  for (Geometry* shape : {&nothing, &empty}) {
    Rotate(*shape, {.x = 0, .y = 0}, 1);
    Move(*shape, 1, 1);
    EXPECT_TRUE(shape->IsEmpty());
  }
}

TEST(Transformations, RaiseFiveForWhatIsNoNumber) {
  Geometry shape = Wkt("POINT(1 2)");
  EXPECT_EQ(ErrorNumberOf([&] { Rotate(shape, Point(), 1); }), 5);
  EXPECT_EQ(ErrorNumberOf([&] { Rotate(shape, {.x = 0, .y = 0}, kNaN); }), 5);
  EXPECT_EQ(ErrorNumberOf([&] { Move(shape, kNaN, 0); }), 5);
  EXPECT_EQ(AsWkt(shape), "POINT(1 2)");
}

// --- shapes as text

TEST(Wkt, ComesBackAsItWas) {
  for (const char* text :
       {"NULL", "POINT EMPTY", "POINT(0.1 -2e+300)", "MULTIPOINT(1 2, 3 4)", "LINESTRING(0 0, 1 1)",
        "MULTILINESTRING((0 0, 1 1), (2 2 , 3 3))", "POLYGON((0 0, 0 1, 1 1, 0 0))",
        "POLYGON EMPTY", "LINESTRING(0 0 1, 1 1 2)", "LINESTRING(0 0 1 5, 1 1 2 6)"}) {
    const Geometry shape = Wkt(text);
    EXPECT_EQ(Wkt(AsWkt(shape)), shape) << text;
  }
  EXPECT_EQ(AsWkt(Wkt("MULTIPOLYGON(((0 0, 0 1, 1 1, 0 0)), ((5 5, 5 6, 6 6, 5 5)))")),
            "POLYGON((0 0, 0 1, 1 1, 0 0), (5 5, 5 6, 6 6, 5 5))");
}

}  // namespace
}  // namespace orlinths
