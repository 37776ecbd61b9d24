#include "data/SpatialIndex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include <geos_c.h>

#include "data/GeometryOperators.h"
#include "gdal/GeosGeometry.h"
#include "runtime/Ports.h"
#include "support/ErrorNumberOf.h"
#include "support/RandomShapes.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using Oids = std::vector<Oid>;

SpatialIndex IndexOf(std::initializer_list<const char*> texts) {
  std::vector<SpatialIndex::Entry> entries;
  for (const char* text : texts) entries.push_back({static_cast<Oid>(entries.size()), Wkt(text)});
  return SpatialIndex(std::move(entries));
}

Oids At(const SpatialIndex& index, double x, double y) {
  Oids oids = {99};  // is emptied first
  index.At(x, y, oids);
  return oids;
}

TEST(SpatialIndexAt, GivesAllPolygonsInsideOrOnTheBoundaryInOrder) {
  const SpatialIndex index =
      IndexOf({"POLYGON((2 0, 2 4, 6 4, 6 0, 2 0))", "POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))",
               "POLYGON((4 0, 4 4, 8 4, 8 0, 4 0), (5 1, 7 1, 7 3, 5 3, 5 1))"});
  for (int again = 0; again < 3; ++again) {  // plain at first, then through the locator
    EXPECT_EQ(At(index, 3, 2), (Oids{0, 1}));
    EXPECT_EQ(At(index, 4, 2), (Oids{0, 1, 2}));
    EXPECT_EQ(At(index, 4, 0), (Oids{0, 1, 2}));
    EXPECT_EQ(At(index, 5.5, 2), (Oids{0})) << "in the hole of the last";
    EXPECT_EQ(At(index, 5, 2), (Oids{0, 2})) << "on the hole's edge";
    EXPECT_EQ(At(index, -1, 2), Oids{});
  }
}

TEST(SpatialIndexAt, FindsLinesAndPointsHitExactly) {
  const SpatialIndex index = IndexOf({"LINESTRING(0 0, 4 4)", "POINT(2 2)", "MULTIPOINT(1 1, 2 2)",
                                      "LINESTRING(0 2, 4 2)", "POINT(2 2.0000000000000004)"});
  EXPECT_EQ(At(index, 2, 2), (Oids{0, 1, 2, 3}));
  EXPECT_EQ(At(index, 1, 1), (Oids{0, 2}));
  EXPECT_EQ(At(index, 3, 3.0000000000000004), Oids{});
  EXPECT_EQ(At(index, 4, 4), (Oids{0}));
}

TEST(SpatialIndex, LeavesOutWhatHasNoPlace) {
  Polygon broken = WktPolygon("POLYGON((0 0, 0 4, 4 4, 0 0))");
  broken.SetPoint(1, {.x = Point::kNone, .y = 4});
  std::vector<SpatialIndex::Entry> entries;
  entries.push_back({0, Geometry()});
  entries.push_back({1, Polygon()});
  entries.push_back({2, broken});
  entries.push_back({3, Point{.x = std::numeric_limits<double>::infinity(), .y = 0}});
  entries.push_back({7, Wkt("POLYGON((0 0, 0 4, 4 4, 0 0))")});
  const SpatialIndex index(std::move(entries));
  EXPECT_EQ(index.EnvelopesMeeting({-1e9, -1e9, 1e9, 1e9}), (Oids{7}));
  EXPECT_EQ(At(index, 1, 3), (Oids{7}));
  EXPECT_EQ(index.Shape(2), nullptr);
  EXPECT_EQ(index.Shape(8), nullptr);
  ASSERT_NE(index.Shape(7), nullptr);
  EXPECT_EQ(*index.Shape(7), Wkt("POLYGON((0 0, 0 4, 4 4, 0 0))"));
}

TEST(SpatialIndex, OfNothingFindsNothing) {
  const SpatialIndex index({});
  EXPECT_EQ(At(index, 0, 0), Oids{});
  EXPECT_EQ(index.Search(Wkt("POINT(0 0)"), SpatialRelation::kIntersects), Oids{});
  EXPECT_EQ(index.EnvelopesMeeting({0, 0, 1, 1}), Oids{});
}

TEST(SpatialIndex, NoPlaceMeetsNothing) {
  const SpatialIndex index = IndexOf({"POLYGON((0 0, 0 4, 4 4, 0 0))"});
  EXPECT_EQ(At(index, Point::kNone, Point::kNone), Oids{});
  EXPECT_EQ(index.Search(Geometry(), SpatialRelation::kIntersects), Oids{});
  EXPECT_EQ(index.Search(Polygon(), SpatialRelation::kContains), Oids{});
}

TEST(SpatialIndex, MovesAsAWhole) {
  SpatialIndex index = IndexOf({"POLYGON((0 0, 0 4, 4 4, 0 0))"});
  for (int i = 0; i < 3; ++i) EXPECT_EQ(At(index, 1, 3), (Oids{0}));
  const SpatialIndex moved = std::move(index);
  EXPECT_EQ(At(moved, 1, 3), (Oids{0}));
}

TEST(SpatialIndexAt, AgreesWithGeosOnVerticesEdgesAndAnywhere) {
  Seeded random("SpatialIndexAt.AgreesWithGeosOnVerticesEdgesAndAnywhere");
  const GeosScope geos;
  for (int round = 0; round < 6; ++round) {
    // Neighbours overlap; on the grid, axis-parallel and diagonal edges are common.
    const bool onGrid = round % 2 == 1;
    std::vector<SpatialIndex::Entry> entries;
    std::vector<GeosPtr> natives;
    std::vector<Coord> vertices;
    for (int i = 0; i < 60; ++i) {
      Geometry shape = RandomPolygon(random, {.parts = static_cast<int>(random.Whole(1, 3)),
                                              .holes = static_cast<int>(random.Whole(0, 2)),
                                              .vertices = static_cast<int>(random.Whole(5, 60)),
                                              .onGrid = onGrid,
                                              .size = 40});
      Move(shape, static_cast<double>(random.Whole(0, 160)),
           static_cast<double>(random.Whole(0, 160)));
      if (!IsValid(shape)) continue;
      natives.push_back(ToGeos(geos, shape));
      vertices.push_back(shape.AsPolygon().Coords()[3]);
      entries.push_back({static_cast<Oid>(entries.size()), std::move(shape)});
    }
    const SpatialIndex index(std::move(entries));
    for (int k = 0; k < 400; ++k) {
      Coord at{random.Real(0, 200), random.Real(0, 200)};
      if (onGrid) at = {std::round(at.x), std::round(at.y)};
      const auto pick =
          static_cast<std::size_t>(random.Whole(0, static_cast<std::int64_t>(vertices.size()) - 1));
      if (k % 4 == 0) at = vertices[pick];
      if (k % 4 == 1) at.x = vertices[pick].x;
      if (k % 4 == 2) at.y = vertices[pick].y;
      const GeosPtr point = geos.Own(GEOSGeom_createPointFromXY_r(geos.Context(), at.x, at.y));
      Oids expected;
      for (std::size_t i = 0; i < natives.size(); ++i)
        if (geos.Answer(GEOSIntersects_r(geos.Context(), natives[i].get(), point.get())))
          expected.push_back(static_cast<Oid>(i));
      ASSERT_EQ(At(index, at.x, at.y), expected) << at.x << " " << at.y;
    }
  }
}

TEST(SpatialIndexSearch, IntersectsCountsTouching) {
  const SpatialIndex index =
      IndexOf({"POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))", "POLYGON((8 0, 8 4, 9 4, 9 0, 8 0))",
               "LINESTRING(3 3, 9 9)", "POINT(4 4)", "POINT(5 5)"});
  EXPECT_EQ(index.Search(Wkt("POLYGON((4 0, 4 4, 6 4, 6 0, 4 0))"), SpatialRelation::kIntersects),
            (Oids{0, 2, 3}));
  EXPECT_EQ(index.Search(Wkt("POINT(4 4)"), SpatialRelation::kIntersects), (Oids{0, 2, 3}));
}

TEST(SpatialIndexSearch, ContainsTakesNoBoundaryOnlyContact) {
  const SpatialIndex index =
      IndexOf({"POINT(0 2)", "POINT(2 2)", "LINESTRING(0 0, 0 4)", "LINESTRING(0 0, 2 2)",
               "POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))", "POLYGON((3 3, 3 5, 5 5, 5 3, 3 3))"});
  EXPECT_EQ(index.Search(Wkt("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))"), SpatialRelation::kContains),
            (Oids{1, 3, 4}));
  EXPECT_EQ(index.Search(Wkt("POINT(2 2)"), SpatialRelation::kContains), (Oids{1}));
}

TEST(SpatialIndexSearch, AgreesWithAskingEachShape) {
  Seeded random("SpatialIndexSearch.AgreesWithAskingEachShape");
  std::vector<SpatialIndex::Entry> entries;
  std::vector<Geometry> shapes;
  for (int i = 0; i < 150; ++i) {
    Geometry shape =
        RandomPolygon(random, {.holes = 1, .vertices = 14, .size = random.Real(10, 200)});
    if (i % 3 == 1) shape = RandomLine(random, 2, 4, 100);
    if (i % 3 == 2) shape = Point{.x = 0, .y = 0};
    Move(shape, random.Real(0, 800), random.Real(0, 800));
    shapes.push_back(shape);
    entries.push_back({10 * i, std::move(shape)});
  }
  const SpatialIndex index(std::move(entries));
  for (int k = 0; k < 60; ++k) {
    Geometry asked = RandomPolygon(random, {.parts = 2, .holes = 1, .size = 300});
    Move(asked, random.Real(-100, 700), random.Real(-100, 700));
    Oids meeting, within;
    for (std::size_t i = 0; i < shapes.size(); ++i) {
      if (!Disjoint(asked, shapes[i])) meeting.push_back(10 * static_cast<Oid>(i));
      if (Contains(asked, shapes[i])) within.push_back(10 * static_cast<Oid>(i));
    }
    ASSERT_EQ(index.Search(asked, SpatialRelation::kIntersects), meeting);
    ASSERT_EQ(index.Search(asked, SpatialRelation::kContains), within);
  }
}

TEST(SpatialIndex, RaisesEighteenAfterAStopRequest) {
  const SpatialIndex index = IndexOf({"POLYGON((0 0, 0 4, 4 4, 0 0))"});
  RequestStop();
  EXPECT_EQ(ErrorNumberOf([&] { At(index, 1, 3); }), 18);
  EXPECT_EQ(ErrorNumberOf([&] { index.EnvelopesMeeting({0, 0, 1, 1}); }), 18);
  EXPECT_EQ(ErrorNumberOf([&] { index.Search(Wkt("POINT(1 3)"), SpatialRelation::kContains); }),
            18);
  ClearStop();
}

}  // namespace
}  // namespace orlinths
