#include "gdal/GeosGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "data/GeometryOperators.h"
#include "support/ErrorNumberOf.h"
#include "support/RandomShapes.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

/// Shape as GEOS writes it, whole numbers without decimals.
std::string GeosText(const Geometry& shape) {
  const GeosScope geos;
  const GeosPtr native = ToGeos(geos, shape);
  GEOSWKTWriter* writer = GEOSWKTWriter_create_r(geos.Context());
  GEOSWKTWriter_setTrim_r(geos.Context(), writer, 1);
  char* text = GEOSWKTWriter_write_r(geos.Context(), writer, native.get());
  const std::string result = text;
  GEOSFree_r(geos.Context(), text);
  GEOSWKTWriter_destroy_r(geos.Context(), writer);
  return result;
}

TEST(ToGeos, TakesEachTypeOver) {
  EXPECT_EQ(GeosText(Wkt("POINT(1 2)")), "POINT (1 2)");
  EXPECT_EQ(GeosText(Wkt("MULTIPOINT(1 2, 3 4)")), "MULTIPOINT (1 2, 3 4)");
  EXPECT_EQ(GeosText(Wkt("LINESTRING(1 2, 3 4)")), "LINESTRING (1 2, 3 4)");
  EXPECT_EQ(GeosText(Wkt("MULTILINESTRING((1 2, 3 4), (5 6, 7 8))")),
            "MULTILINESTRING ((1 2, 3 4), (5 6, 7 8))");
  EXPECT_EQ(GeosText(Wkt("POLYGON((0 0, 0 4, 4 4, 0 0))")), "POLYGON ((0 0, 0 4, 4 4, 0 0))");
  EXPECT_EQ(GeosText(Geometry()), "GEOMETRYCOLLECTION EMPTY");
  EXPECT_EQ(GeosText(Point()), "GEOMETRYCOLLECTION EMPTY");
}

TEST(ToGeos, LeavesOutPartsThatAreNoLines) {
  Polyline line = WktLine("LINESTRING(1 2, 3 4)");
  line.AddPart();
  line.AddPoint(9, 9);
  EXPECT_EQ(GeosText(line), "LINESTRING (1 2, 3 4)");
}

TEST(ToGeos, GivesHolesToTheirShellsWhateverOrderAndDirection) {
  // Two shells, a hole in each, an island in the second hole; holes first, shells
  // counter-clockwise.
  EXPECT_EQ(GeosText(Wkt("POLYGON((1 1, 1 3, 3 3, 3 1, 1 1), (21 1, 21 8, 28 8, 28 1, 21 1),"
                         " (0 0, 9 0, 9 9, 0 9, 0 0), (20 0, 29 0, 29 9, 20 9, 20 0),"
                         " (23 3, 24 3, 24 4, 23 4, 23 3))")),
            "MULTIPOLYGON (((0 0, 9 0, 9 9, 0 9, 0 0), (1 1, 1 3, 3 3, 3 1, 1 1)),"
            " ((20 0, 29 0, 29 9, 20 9, 20 0), (21 1, 21 8, 28 8, 28 1, 21 1)),"
            " ((23 3, 24 3, 24 4, 23 4, 23 3)))");
}

TEST(ToGeos, HolesMayTouchTheirShell) {
  const Geometry touching = Wkt("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (0 0, 4 1, 4 4, 1 4, 0 0))");
  EXPECT_TRUE(IsValid(touching));
  // Every vertex of the hole on the shell: the middles of its edges decide.
  const Geometry inscribed = Wkt("POLYGON((0 0, 0 4, 4 4, 4 0, 2 0, 0 0), (0 4, 4 4, 2 0, 0 4))");
  const GeosScope geos;
  const GeosPtr native = ToGeos(geos, inscribed);
  EXPECT_EQ(GEOSGeomTypeId_r(geos.Context(), native.get()), GEOS_POLYGON);
  EXPECT_EQ(GEOSGetNumInteriorRings_r(geos.Context(), native.get()), 1);
}

TEST(ToGeos, CountsCounterClockwiseRingsSideBySideAsShells) {
  EXPECT_TRUE(IsValid(Wkt("POLYGON((0 0, 4 0, 4 4, 0 0), (10 0, 14 0, 14 4, 10 0))")));
}

TEST(ToGeos, ComesBackEqualOnRandomPolygons) {
  Seeded random("ToGeos.ComesBackEqualOnRandomPolygons");
  for (int i = 0; i < 100; ++i) {
    const Polygon polygon = RandomPolygon(random, {.parts = static_cast<int>(random.Whole(1, 5)),
                                                   .holes = static_cast<int>(random.Whole(0, 4))});
    const GeosScope geos;
    ASSERT_EQ(FromGeos(geos, *ToGeos(geos, polygon), 2), Geometry(polygon)) << AsWkt(polygon);
  }
}

TEST(ToGeos, SortsThousandsOfHolesIntoOneShell) {
  Polygon lattice;
  constexpr int kSide = 70;
  const auto square = [&](double x, double y, double side) {
    const Coord ring[] = {{x, y}, {x + side, y}, {x + side, y + side}, {x, y + side}, {x, y}};
    lattice.AddPart(ring);
  };
  for (int i = 0; i < kSide * kSide; ++i) square(2 * (i % kSide) + 1, 2 * (i / kSide) + 1, 1);
  square(0, 0, 2 * kSide + 1);
  const GeosScope geos;
  const GeosPtr native = ToGeos(geos, lattice);
  EXPECT_EQ(GEOSGetNumInteriorRings_r(geos.Context(), native.get()), kSide * kSide);
}

TEST(FromGeos, PicksTheDimensionOutOfACollection) {
  const GeosScope geos;
  GEOSWKTReader* reader = GEOSWKTReader_create_r(geos.Context());
  const GeosPtr mixed = geos.Own(GEOSWKTReader_read_r(
      geos.Context(), reader,
      "GEOMETRYCOLLECTION(POINT(1 2), LINESTRING(0 0, 1 1), POLYGON((0 0, 4 0, 4 4, 0 0)),"
      " GEOMETRYCOLLECTION(POINT(3 4), POINT EMPTY))"));
  GEOSWKTReader_destroy_r(geos.Context(), reader);
  EXPECT_EQ(AsWkt(FromGeos(geos, *mixed, 0)), "MULTIPOINT(1 2, 3 4)");
  EXPECT_EQ(AsWkt(FromGeos(geos, *mixed, 1)), "LINESTRING(0 0, 1 1)");
  EXPECT_EQ(AsWkt(FromGeos(geos, *mixed, 2)), "POLYGON((0 0, 4 4, 4 0, 0 0))") << "clockwise";
}

TEST(GeosScope, RaisesInTheWordsOfGeos) {
  const GeosScope geos;
  GEOSWKTReader* reader = GEOSWKTReader_create_r(geos.Context());
  const auto read = [&] { geos.Own(GEOSWKTReader_read_r(geos.Context(), reader, "NONSENSE(1)")); };
  EXPECT_EQ(ErrorNumberOf(read), static_cast<int>(ErrorNumber::kPlatform));
  EXPECT_NE(ErrorTextOf(read).find("NONSENSE"), std::string::npos) << ErrorTextOf(read);
  GEOSWKTReader_destroy_r(geos.Context(), reader);
}

TEST(GeosScope, ShapesOutliveTheThreadThatMadeThem) {
  Geometry square = Wkt("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))");
  std::thread([&] {
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(Contains(square, Wkt("POINT(1 1)")));
  }).join();
  EXPECT_TRUE(Contains(square, Wkt("POINT(1 1)")));
  square = Geometry();
}

TEST(NativeOf, OfAnotherTypeIsMadeAnew) {
  const Polygon polygon = WktPolygon("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0))");
  Contains(polygon, Wkt("POINT(1 1)"));
  Polyline line;
  static_cast<Multipart&>(line) = polygon;
  EXPECT_FALSE(Contains(line, Wkt("POINT(1 1)")));
  EXPECT_EQ(ReturnDistance(line, Wkt("LINESTRING(1 1, 1 2)")), 1);
}

}  // namespace
}  // namespace orlinths
