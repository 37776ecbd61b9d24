#include "gdal/ShpFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "OgrFixture.h"
#include "OgrView.h"
#include "ShapefileFixture.h"
#include "numerics/RingOrder.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "support/RandomShapes.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
constexpr int kPlatform = static_cast<int>(ErrorNumber::kPlatform);

Geometry RoundTrip(const Geometry& shape, int type, bool hasM = false) {
  std::string content;
  ShpBounds bounds;
  EncodeShape(shape, type, hasM, content, bounds);
  ShpBounds again;
  AddShapeBounds({content}, again);
  EXPECT_EQ(bounds.xMin, again.xMin);
  EXPECT_EQ(bounds.yMax, again.yMax);
  EXPECT_EQ(bounds.zMax, again.zMax);
  EXPECT_EQ(bounds.mMin, again.mMin);
  return DecodeShape({content});
}

TEST(ShpFormat, EveryShapeTypeComesBackAsItWent) {
  struct Case {
    const char* wkt;
    int type;
  };
  for (const Case& c :
       {Case{"POINT(1.5 -2)", 1}, Case{"POINT(1 2 3 4)", 11}, Case{"MULTIPOINT(1 2, 3 4)", 8},
        Case{"LINESTRING(0 0, 1 1, 2 0)", 3}, Case{"MULTILINESTRING((0 0, 1 1), (2 2, 3 3))", 3},
        Case{"LINESTRING(0 0 5, 1 1 6)", 13}, Case{"LINESTRING(0 0 5 7, 1 1 6 8)", 13},
        Case{"POLYGON((0 0, 0 4, 4 4, 0 0))", 5},
        Case{"POLYGON((0 0 1, 0 4 2, 4 4 3, 0 0 1))", 15}}) {
    const Geometry shape = Wkt(c.wkt);
    EXPECT_EQ(AsWkt(RoundTrip(shape, c.type)), AsWkt(shape)) << c.wkt;
  }
}

TEST(ShpFormat, NullAndEmptyShapesAreNullRecords) {
  for (const Geometry& shape : {Geometry{}, Geometry(Point{}), Geometry(Polygon{})}) {
    std::string content;
    ShpBounds bounds;
    EncodeShape(shape, 5, false, content, bounds);
    EXPECT_EQ(content, std::string(4, '\0'));
    EXPECT_TRUE(DecodeShape({content}).IsNull());
    EXPECT_GT(bounds.xMin, bounds.xMax);
  }
}

TEST(ShpFormat, AShapeOfAnotherTypeIsRefused) {
  EXPECT_EQ(ErrorOf([] { RoundTrip(Wkt("POINT(0 0)"), 5); }), kPlatform);
  EXPECT_EQ(ErrorOf([] { RoundTrip(Wkt("LINESTRING(0 0, 1 1)"), 5); }), kPlatform);
}

TEST(ShpFormat, RingsAreClosedAndTurnedByNesting) {
  // A counter-clockwise square with a clockwise hole in which lies a counter-clockwise island.
  const Geometry wrong = Wkt(
      "POLYGON((0 0, 9 0, 9 9, 0 9, 0 0), (1 1, 1 8, 8 8, 8 1, 1 1), (3 3, 5 3, 5 5, 3 5, 3 3))");
  EXPECT_EQ(AsWkt(RoundTrip(wrong, 5)), AsWkt(Wkt("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (1 1, 8 1, 8 "
                                                  "8, 1 8, 1 1), (3 3, 3 5, 5 5, 5 3, 3 3))")));
  Polygon open;
  for (const Point p : {Point{0, 0}, Point{2, 0}, Point{2, 2}}) open.AddPoint(p);
  EXPECT_EQ(AsWkt(RoundTrip(open, 5)), AsWkt(Wkt("POLYGON((0 0, 2 2, 2 0, 0 0))")));
}

TEST(RingOrder, TellsTouchingHolesAndNeighboursApart) {
  // The hole touches its ring in a vertex; the neighbour shares an edge with it; the hole of the
  // third comes before its ring.
  EXPECT_THAT(HoleFlags(WktPolygon("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (0 0, 5 2, 2 5, 0 0))")),
              ElementsAre(false, true));
  EXPECT_THAT(
      HoleFlags(WktPolygon("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (9 0, 9 9, 18 9, 18 0, 9 0))")),
      ElementsAre(false, false));
  EXPECT_THAT(HoleFlags(WktPolygon("POLYGON((2 2, 4 2, 4 4, 2 2), (0 0, 0 9, 9 9, 9 0, 0 0))")),
              ElementsAre(true, false));
  // All vertices of the diamond lie on the square: its edges' middles tell.
  EXPECT_THAT(
      HoleFlags(WktPolygon("POLYGON((0 0, 0 4, 4 4, 4 0, 0 0), (2 0, 4 2, 2 4, 0 2, 2 0))")),
      ElementsAre(false, true));
}

TEST(RingOrder, RandomPolygonsTurnedAnyWayAreWrittenAsTheyWere) {
  Seeded random("RingOrder.RandomPolygons");
  for (int i = 0; i < 200; ++i) {
    const Polygon right = RandomPolygon(random, {.parts = 4, .holes = 2, .vertices = 12});
    Polygon turned;
    for (int part = 0; part < right.PartCount(); ++part) {
      std::vector<Coord> ring(right.Part(part).begin(), right.Part(part).end());
      if (random.Chance(0.5)) std::reverse(ring.begin(), ring.end());
      turned.AddPart(ring);
    }
    ASSERT_EQ(AsWkt(RoundTrip(turned, 5)), AsWkt(right));
  }
}

TEST(ShpFormat, RecordsThatContradictThemselvesAreErrors) {
  std::string content;
  ShpBounds bounds;
  EncodeShape(Wkt("MULTILINESTRING((0 0, 1 1), (2 2, 3 3))"), 3, false, content, bounds);
  for (std::size_t length = 0; length < content.size(); ++length)
    EXPECT_EQ(ErrorOf([&] { DecodeShape({content.substr(0, length)}); }), kPlatform) << length;
  for (const auto& [at, v] :
       {std::pair{0, 99}, {36, -1}, {39, 127}, {40, 100}, {43, -1}, {44, 1}, {48, 5}, {51, -1}}) {
    std::string bad = content;
    bad[static_cast<std::size_t>(at)] = static_cast<char>(v);
    EXPECT_EQ(ErrorOf([&] { DecodeShape({bad}); }), kPlatform) << at;
  }
}

TEST(ShpFormat, OgrReadsEveryTypeWithZAndM) {
  struct Case {
    GeometryDef def;
    const char* wkt;
    const char* read;
  };
  const auto def = GeometryOf;
  using enum GeometryType;
  const TempFolder folder;
  int number = 0;
  for (const Case& c : std::vector<Case>{
           {def(kPoint, true, true), "POINT(1 2 3 4)", "POINT ZM (1 2 3 4)"},
           {def(kPoint, true, false), "POINT(1 2 3)", "POINT Z (1 2 3)"},
           {def(kMultipoint, false, false), "MULTIPOINT(1 2, 3 4)", "MULTIPOINT ((1 2),(3 4))"},
           {def(kMultipoint, true, true), "MULTIPOINT(1 2 5 6, 3 4 7 8)",
            "MULTIPOINT ZM ((1 2 5 6),(3 4 7 8))"},
           {def(kPolyline, true, false), "LINESTRING(0 0 5, 1 1 6)", "LINESTRING Z (0 0 5,1 1 6)"},
           {def(kPolyline, true, true), "LINESTRING(0 0 5 7, 1 1 6 8)",
            "LINESTRING ZM (0 0 5 7,1 1 6 8)"},
           {def(kPolygon, true, true), "POLYGON((0 0 1 5, 0 4 2 6, 4 4 3 7, 0 0 1 5))",
            "POLYGON ZM ((0 0 1 5,0 4 2 6,4 4 3 7,0 0 1 5))"},
           {def(kPolygon, false, false), "POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (1 1, 2 1, 2 2, 1 1))",
            "POLYGON ((0 0,0 9,9 9,9 0,0 0),(1 1,2 1,2 2,1 1))"}}) {
    const std::string path = folder / ("s" + ToText(++number) + ".shp");
    const auto store = ShapefileStore::CreateShapefile(path, c.def, {});
    const Geometry shape = Wkt(c.wkt);
    store->Append(&shape, {Value(1)});
    store->Append(nullptr, {Value(2)});
    store->Commit();
    const OgrView view = ViewOf(path);
    EXPECT_EQ(view.error, "") << c.wkt;
    ASSERT_EQ(view.rows.size(), 2u);
    EXPECT_EQ(view.rows[0].wkt, c.read);
    EXPECT_EQ(view.rows[1].wkt, "");
    const auto again = ShapefileStore::At(path)->Geometry();
    EXPECT_EQ(again.hasZ, c.def.hasZ);
    EXPECT_EQ(again.geometryType, c.def.geometryType);
  }
}

TEST(ShpFormat, HeadersHoldTheBoundsWithoutNaNAndTheLength) {
  const TempFolder folder;
  const std::string path = folder / "p.shp";
  const auto store = ShapefileStore::CreateShapefile(path, GeometryOf(GeometryType::kPolyline), {});
  EXPECT_EQ(ParseShpHeader(ReadBytes(path), "p").bounds.xMax, 0);
  Polyline line;
  line.AddPoint(1, 2);
  line.AddPoint(5, std::nan(""));
  line.AddPoint(3, -4);
  const Geometry shape(line);
  store->Append(&shape, {Value(1)});
  store->Commit();
  const std::string bytes = ReadBytes(path);
  const ShpHeader header = ParseShpHeader(bytes, "p");
  EXPECT_EQ(header.fileBytes, bytes.size());
  EXPECT_EQ(header.bounds.xMin, 1);
  EXPECT_EQ(header.bounds.xMax, 5);
  EXPECT_EQ(header.bounds.yMin, -4);
  EXPECT_EQ(header.bounds.yMax, 2);
}

TEST(ShpFormat, FilesEndAtFourGigabytes) {
  EXPECT_EQ(ErrorOf([] { CheckShpSize(0xfffffffe, "p"); }), 0);
  EXPECT_EQ(ErrorOf([] { CheckShpSize(0x100000000, "p"); }), kPlatform);
}

}  // namespace
}  // namespace orlinths
