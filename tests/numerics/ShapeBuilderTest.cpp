#include "numerics/ShapeBuilder.h"

#include <gtest/gtest.h>

#include "numerics/RingOrder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

void AddRing(ShapeBuilder& builder, std::initializer_list<Coord> ring) {
  const auto into = builder.AddPart(ring.size(), false, false);
  std::copy(ring.begin(), ring.end(), into.coords);
}

TEST(ShapeBuilder, TurnsShellsClockwiseAndHolesTheOtherWay) {
  ShapeBuilder builder;
  AddRing(builder, {{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 0}});
  builder.TurnRing(true);
  AddRing(builder, {{1, 1}, {1, 2}, {2, 2}, {1, 1}});
  builder.TurnRing(false);
  EXPECT_EQ(AsWkt(builder.Take(GeometryType::kPolygon)),
            AsWkt(Wkt("POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (1 1, 2 2, 1 2, 1 1))")));
  EXPECT_TRUE(builder.Take(GeometryType::kPolygon).IsEmpty()) << "what was taken is gone";
}

TEST(ShapeBuilder, GivesPartsWithoutZAndMBesideOthersZeroAndNone) {
  ShapeBuilder builder;
  AddRing(builder, {{0, 0}, {1, 0}});
  const auto into = builder.AddPart(2, true, true);
  for (int i = 0; i < 2; ++i) into.coords[i] = {5.0 + i, 5}, into.z[i] = 7, into.m[i] = 8 + i;
  AddRing(builder, {{2, 0}, {3, 0}});
  const Geometry shape = builder.Take<Polyline>();
  const Polyline& line = shape.AsPolyline();
  ASSERT_EQ(line.PartCount(), 3);
  EXPECT_EQ(std::vector(line.Z().begin(), line.Z().end()), (std::vector<double>{0, 0, 7, 7, 0, 0}));
  EXPECT_TRUE(std::isnan(line.M()[1]));
  EXPECT_EQ(line.M()[3], 9);
  EXPECT_TRUE(std::isnan(line.M()[5]));
}

TEST(RingOrder, AHoleBelongsToTheSmallestRingAroundIt) {
  // An island with a pond lies in the lake of the first ring; the pond comes first.
  EXPECT_EQ(ShellsOfRings(WktPolygon("POLYGON((4 4, 5 4, 5 5, 4 4), (0 0, 0 20, 20 20, 20 0, 0 0), "
                                     "(1 1, 10 1, 10 10, 1 10, 1 1), (3 3, 3 7, 7 7, 7 3, 3 3), "
                                     "(30 0, 30 1, 31 1, 30 0))")),
            (std::vector<int>{3, -1, 1, -1, -1}));
}

}  // namespace
}  // namespace orlinths
