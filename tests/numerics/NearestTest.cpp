#include "numerics/Nearest.h"

#include <gtest/gtest.h>

#include "support/ErrorNumberOf.h"
#include "support/RandomShapes.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

TEST(NearestPlace, IsAVertexOrLiesOnASegment) {
  const Polyline line = WktLine("LINESTRING(0 0, 10 0, 10 10)");
  const PlaceOnShape beside = NearestPlace(line, {4, 3});
  EXPECT_EQ(beside.segment, 0);
  EXPECT_EQ(beside.fraction, 0.4);
  EXPECT_EQ(beside.at, (Coord{4, 0}));
  EXPECT_EQ(beside.distance, 3);
  const PlaceOnShape atVertex = NearestPlace(line, {13, -4});
  EXPECT_EQ(atVertex.segment, 0);
  EXPECT_EQ(atVertex.fraction, 1);
  EXPECT_EQ(atVertex.distance, 5);
}

TEST(NearestPlace, LeavesTheGapBetweenPartsOut) {
  const PlaceOnShape place =
      NearestPlace(WktLine("MULTILINESTRING((0 0, 1 0), (9 0, 10 0))"), {4, 0});
  EXPECT_EQ(place.at, (Coord{1, 0}));
}

TEST(NearestPlace, CountsAPartOfOnePoint) {
  Polyline line = WktLine("LINESTRING(0 0, 1 0)");
  line.AddPart();
  line.AddPoint(5, 5);
  EXPECT_EQ(NearestPlace(line, {5, 6}).at, (Coord{5, 5}));
}

TEST(NearestPlace, AmongPointsTakesTheFirstOfEquallyNear) {
  const auto points = Wkt("MULTIPOINT(0 0, 4 0, 2 2, 2 -2)").AsMultipoint();
  EXPECT_EQ(NearestPlace(points, {2, 0}).segment, 0);
  EXPECT_EQ(NearestPlace(points, {3.5, 0}).at, (Coord{4, 0}));
}

TEST(NearestPlace, RaisesFiveForNothingAndForNoPlace) {
  EXPECT_EQ(ErrorNumberOf([] { NearestPlace(Polyline(), {0, 0}); }), 5);
  const Polyline line = WktLine("LINESTRING(0 0, 1 0)");
  EXPECT_EQ(ErrorNumberOf([&] { NearestPlace(line, {Point::kNone, 0}); }), 5);
}

TEST(NearestPlace, StaysRightBeyondTheRangeOfSquares) {
  const Polyline line = WktLine("LINESTRING(1e200 0, 2e200 0)");
  const PlaceOnShape place = NearestPlace(line, {0, 0});
  EXPECT_EQ(place.at, (Coord{1e200, 0}));
  EXPECT_EQ(place.distance, 1e200);
}

TEST(NearestPlace, NoSampledPlaceIsNearer) {
  Seeded random("NearestPlace.NoSampledPlaceIsNearer");
  for (int i = 0; i < 200; ++i) {
    const Polyline line = RandomLine(random, 2, 6);
    const Coord to{random.Real(-200, 1200), random.Real(-200, 1200)};
    const PlaceOnShape place = NearestPlace(line, to);
    double sampled = std::numeric_limits<double>::infinity();
    for (int part = 0; part < 2; ++part) {
      const auto run = line.Part(part);
      for (std::size_t s = 1; s < run.size(); ++s) {
        for (int k = 0; k <= 1000; ++k) {
          const double t = k / 1000.0;
          sampled =
              std::min(sampled, std::hypot(run[s - 1].x + t * (run[s].x - run[s - 1].x) - to.x,
                                           run[s - 1].y + t * (run[s].y - run[s - 1].y) - to.y));
        }
      }
    }
    ASSERT_LE(place.distance, sampled + 1e-9);
    ASSERT_GE(place.distance, sampled - 1.0);  // a sample is at most 0.71 from the place
  }
}

}  // namespace
}  // namespace orlinths
