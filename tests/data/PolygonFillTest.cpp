#include <gtest/gtest.h>

#include <limits>

#include "data/RasterAccess.h"
#include "support/CapturedMessages.h"
#include "support/Cells.h"
#include "support/PolygonFillPlain.h"
#include "support/RandomShapes.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using Drawing = std::vector<std::string>;

Drawing Filled(const char* wkt, const IRasterProps& props) {
  return Drawn(GetPolyRasterArray2(WktPolygon(wkt), props));
}

void ExpectPlain(const Polygon& polygon, const IRasterProps& props) {
  const Mask fast = GetPolyRasterArray2(polygon, props);
  const Mask plain = PolygonFillPlain(polygon, props);
  ASSERT_EQ(fast.First().lower, plain.First().lower);
  ASSERT_EQ(fast.First().upper, plain.First().upper);
  ASSERT_EQ(fast.Second().lower, plain.Second().lower);
  ASSERT_EQ(fast.Second().upper, plain.Second().upper);
  ASSERT_EQ(Drawn(fast), Drawn(plain)) << AsWkt(Geometry(polygon));
}

// 10 x 10 cells of size 1 from (0, 0): centres have whole coordinates and a half.
const IRasterProps kTen = PropsWith(10, 10);

TEST(PolygonFill, TakesTheCellsWithTheirCentreInside) {
  // Its far sides lie on cell edges, which belong to the cells behind them; the array has one row
  // and one column more.
  EXPECT_EQ(Filled("POLYGON((2 2, 2 5, 5 5, 5 2, 2 2))", kTen),
            (Drawing{"11100", "11100", "11100", "00000", "00000"}));
}

TEST(PolygonFill, SpansTheEnvelopeInCells) {
  const Mask mask = GetPolyRasterArray2(
      WktPolygon("POLYGON((2.2 3.7, 2.2 6.2, 4.9 6.2, 4.9 3.7, 2.2 3.7))"), kTen);
  EXPECT_EQ(mask.Second().lower, 2);
  EXPECT_EQ(mask.Second().upper, 5);
  EXPECT_EQ(mask.First().lower, 3);
  EXPECT_EQ(mask.First().upper, 7);
}

TEST(PolygonFill, MayReachOneRowAndOneColumnPastTheRaster) {
  const Mask mask =
      GetPolyRasterArray2(WktPolygon("POLYGON((8 -5, 8 3, 15 3, 15 -5, 8 -5))"), kTen);
  EXPECT_EQ(mask.Second().upper, 10);
  EXPECT_EQ(mask.First().upper, 10);
  EXPECT_EQ(Drawn(mask), (Drawing{"110", "110", "110", "110"}));
}

TEST(PolygonFill, LeavesHolesOut) {
  EXPECT_EQ(Filled("POLYGON((2 2, 2 7, 7 7, 7 2, 2 2), (4 4, 5 4, 5 5, 4 5, 4 4))", kTen),
            (Drawing{"1111100", "1111100", "1101100", "1111100", "1111100", "0000000", "0000000"}));
}

TEST(PolygonFill, TestsTheStartOfRowsThatBeginInside) {
  // The polygon lies round the whole raster: no line meets its boundary.
  EXPECT_EQ(Filled("POLYGON((-5 -5, -5 15, 15 15, 15 -5, -5 -5))", kTen),
            Drawing(11, std::string(11, '1')));
  // Its western half: each line begins inside and meets the boundary once.
  EXPECT_EQ(Filled("POLYGON((-5 -5, -5 15, 4.6 15, 4.6 -5, -5 -5))", kTen), Drawing(11, "111110"));
}

TEST(PolygonFill, LeavesARowEmptyThatMeetsNothing) {
  EXPECT_EQ(Filled("MULTIPOLYGON(((2 6, 2 8, 4 8, 4 6, 2 6)), ((2 2, 2 5, 4 5, 4 2, 2 2)))", kTen),
            (Drawing{"1100", "1100", "0000", "1100", "1100", "1100", "0000", "0000"}));
}

TEST(PolygonFill, KeepsTheStateOfTheFirstCentreWhenTheBoundaryLiesWestOfIt) {
  // The left boundary lies in the western half of column 0. The start state is that of the centre,
  // inside, and the crossing west of it then turns the row over.
  EXPECT_EQ(Filled("POLYGON((0.25 2, 0.25 4, 3 4, 3 2, 0.25 2))", kTen)[0], "00011");
  // In the eastern half the centre is outside, and the row is right.
  EXPECT_EQ(Filled("POLYGON((0.75 2, 0.75 4, 3 4, 3 2, 0.75 2))", kTen)[0], "01100");
  // Beyond the raster the line does not meet it.
  EXPECT_EQ(Filled("POLYGON((-0.25 2, -0.25 4, 3 4, 3 2, -0.25 2))", kTen)[0], "11100");
}

TEST(PolygonFill, TreatsACentreOnACrossingByTheTestThatMeetsIt) {
  // The boundaries run through the centres of columns 2 and 5. The first test is strict: a centre
  // on the crossing is not past it.
  EXPECT_EQ(Filled("POLYGON((2.5 2, 2.5 4, 5.5 4, 5.5 2, 2.5 2))", kTen)[0], "01110");
  // Here the second crossing is met by the test inside the loop, where equality changes the state:
  // the first lies between two centres, the second on the next of them.
  EXPECT_EQ(Filled("POLYGON((2.25 2, 2.25 4, 2.5 4, 2.5 2, 2.25 2))", kTen)[0], "00");
}

TEST(PolygonFill, PassesOverBoundaryAlongTheLine) {
  // The top runs along the centre line of row 5: a line in common, but no points.
  EXPECT_EQ(Filled("POLYGON((2 2, 2 4.5, 5 4.5, 5 2, 2 2))", kTen),
            (Drawing{"00000", "11100", "11100", "00000", "00000"}));
}

TEST(PolygonFill, CountsAVertexOnTheLineOnce) {
  // The tip touches the line of row 4: one point, and the row is inside behind it.
  EXPECT_EQ(Filled("POLYGON((2 2, 3.25 5.5, 5 2, 2 2))", kTen)[0], "01111");
}

TEST(PolygonFill, EndsARowBehindTheLastEntry) {
  // The raster's own edge stands behind the crossings; past it nothing is left.
  EXPECT_EQ(Filled("POLYGON((8 2, 8 4, 9.25 4, 9.25 2, 8 2))", kTen)[0], "100");
  EXPECT_EQ(Filled("POLYGON((8 2, 8 4, 15 4, 15 2, 8 2))", kTen)[0], "110");
}

TEST(PolygonFill, UsesTheXSizeOfCellsOnBothAxes) {
  const IRasterProps oblong = PropsWith(10, 5, 0, 0, {1, 2});
  const Mask mask = GetPolyRasterArray2(WktPolygon("POLYGON((2 6, 2 9, 5 9, 5 6, 2 6))"), oblong);
  EXPECT_EQ(mask.First().lower, 1);
  EXPECT_EQ(mask.First().upper, 5);
  EXPECT_EQ(Drawn(mask), (Drawing{"11100", "11100", "11100", "00000", "00000"}));
}

TEST(PolygonFill, ReportsAPolygonBeyondTheRaster) {
  CapturedMessages messages;
  for (const char* wkt :
       {"POLYGON((-9 2, -9 4, -7 4, -7 2, -9 2))", "POLYGON((20 2, 20 4, 22 4, 22 2, 20 2))",
        "POLYGON((2 20, 2 22, 4 22, 4 20, 2 20))", "POLYGON((2 -9, 2 -7, 4 -7, 4 -9, 2 -9))"}) {
    messages.Clear();
    const Mask mask = GetPolyRasterArray2(WktPolygon(wkt), kTen);
    EXPECT_EQ(mask.First().Count(), 0);
    EXPECT_EQ(messages.Text(), (Texts{"GetPolyRasterArray2: \r9\rSubscript out of range"})) << wkt;
  }
}

TEST(PolygonFill, ReportsWhatHasNoPlace) {
  CapturedMessages messages;
  GetPolyRasterArray2(Polygon(), kTen);
  EXPECT_EQ(messages.Text(), (Texts{"GetPolyRasterArray2: \r6\rOverflow"}));
  messages.Clear();
  Polygon broken = WktPolygon("POLYGON((2 2, 2 4, 4 4, 4 2, 2 2))");
  broken.MutableCoords()[2].y = std::numeric_limits<double>::quiet_NaN();
  GetPolyRasterArray2(broken, kTen);
  EXPECT_EQ(messages.Text(), (Texts{"GetPolyRasterArray2: \r6\rOverflow"}));
  messages.Clear();
  GetPolyRasterArray2(WktPolygon("POLYGON((2 2, 2 4, 4 4, 4 2, 2 2))"),
                      PropsWith(10, 10, 0, 0, {0, 0}));
  EXPECT_EQ(messages.Text(), (Texts{"GetPolyRasterArray2: \r11\rDivision by zero"}));
}

TEST(PolygonFill, StopsOnRequest) {
  CapturedMessages messages;
  RequestStop();
  GetPolyRasterArray2(WktPolygon("POLYGON((2 2, 2 4, 4 4, 4 2, 2 2))"), kTen);
  EXPECT_EQ(messages.Text(), (Texts{"GetPolyRasterArray2: \r18\rUser interrupt occurred"}));
}

TEST(PolygonFill, EqualsOneGeosCutPerRow) {
  Seeded random("PolygonFill.EqualsOneGeosCutPerRow");
  int drawn = 0;
  while (drawn < 150) {
    const Polygon polygon =
        RandomPolygon(random, {.parts = static_cast<int>(random.Whole(1, 3)),
                               .holes = static_cast<int>(random.Whole(0, 2)),
                               .vertices = static_cast<int>(random.Whole(5, 40))});
    const Envelope box = polygon.Envelope();
    const double cell = random.Real(5, 120);
    const int columns = static_cast<int>(random.Whole(1, 40));
    const int rows = static_cast<int>(random.Whole(1, 40));
    // Somewhere over the polygon, now and then only over a corner of it.
    const double x = random.Real(box.xMin - columns * cell / 2, box.xMax);
    const double y = random.Real(box.yMin - rows * cell / 2, box.yMax);
    const IRasterProps props = PropsWith(columns, rows, x, y, {cell, cell});
    if (!props.extent.Intersects(box)) continue;
    ASSERT_NO_FATAL_FAILURE(ExpectPlain(polygon, props));
    ++drawn;
  }
}

TEST(PolygonFill, EqualsItWithBoundariesThroughCentresAndAlongEdges) {
  Seeded random("PolygonFill.EqualsItWithBoundariesThroughCentresAndAlongEdges");
  int drawn = 0;
  while (drawn < 200) {
    // Whole coordinates against cells whose centres and edges have whole coordinates too.
    const Polygon polygon =
        RandomPolygon(random, {.parts = static_cast<int>(random.Whole(1, 2)),
                               .holes = static_cast<int>(random.Whole(0, 1)),
                               .vertices = static_cast<int>(random.Whole(5, 10)),
                               .onGrid = true,
                               .size = 24});
    if (!IsValid(Geometry(polygon))) continue;
    const double cell = random.Chance(0.5) ? 2 : 1;
    const double shift = cell == 1 ? 0.5 : static_cast<double>(random.Whole(0, 1));
    const IRasterProps props =
        PropsWith(static_cast<int>(random.Whole(3, 30)), static_cast<int>(random.Whole(3, 30)),
                  shift + static_cast<double>(random.Whole(-4, 12)),
                  shift + static_cast<double>(random.Whole(-4, 12)), {cell, cell});
    if (!props.extent.Intersects(polygon.Envelope())) continue;
    ASSERT_NO_FATAL_FAILURE(ExpectPlain(polygon, props));
    ++drawn;
  }
}

TEST(PolygonFill, EqualsItAtEveryEdgeOfTheRaster) {
  // A square moved over the whole raster by quarters of a cell, edges and centres included.
  const IRasterProps props = PropsWith(4, 3, 10, 20);
  for (int right = -3; right <= 14; ++right) {
    for (int up = -3; up <= 11; ++up) {
      const double x = 10 + right * 0.25, y = 20 + up * 0.25;
      Polygon square;
      for (const auto& [dx, dy] :
           {std::pair{0.0, 0.0}, {0.0, 1.5}, {1.5, 1.5}, {1.5, 0.0}, {0.0, 0.0}})
        square.AddPoint(x + dx, y + dy);
      ASSERT_NO_FATAL_FAILURE(ExpectPlain(square, props)) << right << ' ' << up;
    }
  }
}

}  // namespace
}  // namespace orlinths
