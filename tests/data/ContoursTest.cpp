#include "data/Contours.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>

#include "data/Workspace.h"
#include "support/Cells.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {

void PrintTo(const Coord& at, std::ostream* out) { *out << '(' << at.x << ' ' << at.y << ')'; }

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
using Line = std::vector<Coord>;
using Lines = std::vector<Line>;

Lines At(const Rows& rows, double level) {
  return ContourLines(BlockOf(rows, PixelType::kDouble), 0, level);
}

TEST(ContourLines, RunsStraightBetweenTheSidesOfASquare) {
  // With the high ground in the west the line runs south, which has it on the right.
  EXPECT_EQ(At({{4, 0}, {4, 0}}, 1), (Lines{{{0.75, 0}, {0.75, 1}}}));
  EXPECT_EQ(At({{0, 4}, {0, 4}}, 1), (Lines{{{0.25, 1}, {0.25, 0}}}));
}

TEST(ContourLines, ClosesRoundAPeak) {
  const Lines lines = At({{0, 0, 0}, {0, 4, 0}, {0, 0, 0}}, 2);
  ASSERT_EQ(lines.size(), 1U);
  const Line& ring = lines.front();
  ASSERT_EQ(ring.size(), 5U);
  EXPECT_EQ(ring.front(), ring.back());
  EXPECT_EQ(std::set<double>({ring[0].x, ring[1].x, ring[2].x, ring[3].x}),
            (std::set<double>{0.5, 1, 1.5}));
}

TEST(ContourLines, JoinsTheCornersOfASaddleByItsMiddle) {
  // The mean is 2.5: at 2 the high corners are joined, at 3 the low ones.
  const Lines low = At({{5, 0}, {0, 5}}, 2), high = At({{5, 0}, {0, 5}}, 3);
  ASSERT_EQ(low.size(), 2U);
  ASSERT_EQ(high.size(), 2U);
  // From the north side to the east side: cuts off the low north-eastern corner.
  EXPECT_EQ(low[0], (Line{{0.6, 0}, {1, 0.4}}));
  // From the north side to the west side: cuts off the high north-western corner.
  EXPECT_EQ(high[0], (Line{{0.4, 0}, {0, 0.4}}));
}

TEST(ContourLines, LeavesNoDataOut) {
  EXPECT_EQ(At({{4, kNaN}, {4, 0}}, 1), Lines{});
  // Of two squares the one with a NoData corner has no line.
  EXPECT_EQ(At({{4, 0}, {4, 0}, {kNaN, 0}}, 1), (Lines{{{0.75, 0}, {0.75, 1}}}));
  EXPECT_EQ(ContourLines(BlockOf({{4, 9}, {4, 0}}, PixelType::kUInt8, 9), 0, 1), Lines{});
}

TEST(ContourLines, StaysWithinTheOuterCentres) {
  const Lines lines = At({{4, 0, 0}, {4, 0, 0}, {4, 0, 0}}, 1);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].front(), (Coord{0.75, 0}));
  EXPECT_EQ(lines[0].back(), (Coord{0.75, 2}));
}

TEST(ContourLines, HasNoneAboveOrBelowAllCells) {
  EXPECT_TRUE(At({{1, 2}, {3, 4}}, 5).empty());
  EXPECT_TRUE(At({{1, 2}, {3, 4}}, 1).empty());  // a cell of the height counts as above it
  EXPECT_TRUE(At({{3, 3}, {3, 3}}, 3).empty());
  EXPECT_TRUE(At({{3}}, 3).empty());
}

TEST(ContourLines, MeetsACentreOfThatHeightOnce) {
  // The line passes through the centres of the middle column.
  EXPECT_EQ(At({{4, 2, 0}, {4, 2, 0}}, 2), (Lines{{{1, 0}, {1, 1}}}));
  // A peak of just that height has a line of no length, which is none.
  EXPECT_TRUE(At({{0, 0, 0}, {0, 4, 0}, {0, 0, 0}}, 4).empty());
}

TEST(ContourLines, PutsOpenLinesBeforeClosedOnes) {
  const Lines lines = At({{0, 0, 0, 0, 9}, {0, 9, 0, 0, 9}, {0, 0, 0, 0, 9}}, 4.5);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_FALSE(lines[0].front() == lines[0].back());
  EXPECT_TRUE(lines[1].front() == lines[1].back());
}

/// Sides of squares without NoData that have one end above the level and one below.
std::size_t SidesMet(const Rows& rows, double level) {
  const std::size_t height = rows.size(), width = rows.front().size();
  const auto isWhole = [&](std::size_t r, std::size_t c) {
    return r + 1 < height && c + 1 < width &&
           !std::isnan(rows[r][c] + rows[r + 1][c] + rows[r][c + 1] + rows[r + 1][c + 1]);
  };
  std::size_t sides = 0;
  for (std::size_t r = 0; r < height; ++r)
    for (std::size_t c = 0; c < width; ++c) {
      const bool east = isWhole(r, c) || (r > 0 && isWhole(r - 1, c));
      const bool south = isWhole(r, c) || (c > 0 && isWhole(r, c - 1));
      const bool above = rows[r][c] >= level;
      if (east && c + 1 < width && above != (rows[r][c + 1] >= level)) ++sides;
      if (south && r + 1 < height && above != (rows[r + 1][c] >= level)) ++sides;
    }
  return sides;
}

/// The two cells of the side that a place of a line lies on.
std::pair<Coord, Coord> CellsAt(const Coord& at) {
  const Coord first{std::floor(at.x), std::floor(at.y)};
  return {first, at.y == first.y ? Coord{first.x + 1, first.y} : Coord{first.x, first.y + 1}};
}

TEST(ContourLines, IsAtItsHeightEverywhereWithTheHigherGroundOnTheRight) {
  Seeded random("ContourLines.IsAtItsHeight");
  for (int i = 0; i < 60; ++i) {
    Rows rows(static_cast<std::size_t>(random.Whole(2, 14)));
    const std::int64_t columns = random.Whole(2, 14);
    for (auto& row : rows)
      for (std::int64_t c = 0; c < columns; ++c)
        row.push_back(random.Chance(0.05) ? kNaN : random.Real(0, 10));
    const auto at = [&](const Coord& cell) {
      return rows[static_cast<std::size_t>(cell.y)][static_cast<std::size_t>(cell.x)];
    };
    const double level = random.Real(0, 10);
    std::size_t places = 0;
    for (const Line& line : At(rows, level)) {
      places += line.size() - (line.front() == line.back() ? 1 : 0);
      for (std::size_t k = 0; k < line.size(); ++k) {
        const auto [a, b] = CellsAt(line[k]);
        const double share = std::max(line[k].x - a.x, line[k].y - a.y);
        ASSERT_NEAR(at(a) + share * (at(b) - at(a)), level, 1e-9);
        if (k + 1 == line.size()) continue;
        // y runs south: a positive cross product is a turn to the right.
        const Coord high = at(a) >= level ? a : b;
        const Coord way{line[k + 1].x - line[k].x, line[k + 1].y - line[k].y};
        ASSERT_GE(way.x * (high.y - line[k].y) - way.y * (high.x - line[k].x), -1e-12);
      }
    }
    ASSERT_EQ(places, SidesMet(rows, level));
  }
}

class ContourRasterTest : public ::testing::Test {
 protected:
  RasterDatasetPtr Raster(const Rows& rows) {
    const RasterDatasetPtr dataset =
        CreateRasterDataset(folder_.Path(), {"r.tif",
                                             "TIFF",
                                             {100, 200},
                                             std::ssize(rows.front()),
                                             std::ssize(rows),
                                             {10, 10},
                                             1,
                                             PixelType::kFloat,
                                             SpatialReferenceFromText("EPSG:32612")});
    dataset->Band(0).SetNoDataValue(-1);
    dataset->Band(0).Write({0, 0}, BlockOf(rows, PixelType::kFloat));
    dataset->Close();
    return dataset;
  }
  TempFolder folder_;
};

TEST_F(ContourRasterTest, MakesOneShapefileWithIdAndHeight) {
  ContourRaster(*Raster({{4, 0, 0}, {4, 0, 0}}), 4, 1, folder_.Path(), "c");
  const FeatureClassPtr lines = OpenFeatureClass(folder_.Path(), "c");
  ASSERT_EQ(lines->FeatureCount(), 1);
  EXPECT_EQ(lines->ShapeType(), GeometryType::kPolyline);
  EXPECT_EQ(lines->SpatialReference()->FactoryCode(), 32612);
  const CursorPtr rows = lines->Search();
  const IRow* row = rows->Next();
  EXPECT_EQ(row->GetDouble(lines->FindField("ID")), 1);
  EXPECT_EQ(row->GetDouble(lines->FindField("CONTOUR")), 1);
  // Centres of the first column lie at x = 105, rows at y = 215 and 205.
  EXPECT_EQ(row->Line().FromPoint().x, 112.5);
  EXPECT_EQ(row->Line().FromPoint().y, 215);
  EXPECT_EQ(row->Line().ToPoint().y, 205);
}

TEST_F(ContourRasterTest, GoesUpFromTheBaseByTheInterval) {
  const FeatureClassPtr lines = ContourRaster(*Raster({{8, 0}, {8, 0}}), 3, 1, folder_.Path(), "c");
  std::vector<double> heights;
  const CursorPtr rows = lines->Search();
  while (const IRow* row = rows->Next())
    heights.push_back(row->GetDouble(lines->FindField("CONTOUR")));
  EXPECT_EQ(heights, (std::vector<double>{1, 4, 7}));
}

TEST_F(ContourRasterTest, DrawsNothingForABaseAboveTheRaster) {
  EXPECT_EQ(
      ContourRaster(*Raster({{8, 0}, {8, 0}}), 8, 8.00008, folder_.Path(), "c")->FeatureCount(), 0);
}

TEST_F(ContourRasterTest, DrawsNothingForARasterWithoutValues) {
  EXPECT_EQ(ContourRaster(*Raster({{-1, -1}, {-1, -1}}), 8, 0, folder_.Path(), "c")->FeatureCount(),
            0);
}

TEST_F(ContourRasterTest, RefusesAnIntervalThatIsNone) {
  const RasterDatasetPtr raster = Raster({{8, 0}, {8, 0}});
  for (const double interval : {0.0, -1.0, kNaN, std::numeric_limits<double>::infinity()})
    EXPECT_EQ(ErrorFrom([&] { ContourRaster(*raster, interval, 1, folder_.Path(), "c"); }), 5);
  EXPECT_EQ(ErrorFrom([&] { ContourRaster(*raster, 1e-9, 1, folder_.Path(), "c"); }), -2147467259);
}

TEST_F(ContourRasterTest, RefusesATakenName) {
  const RasterDatasetPtr raster = Raster({{8, 0}, {8, 0}});
  ContourRaster(*raster, 8, 1, folder_.Path(), "c");
  EXPECT_EQ(ErrorFrom([&] { ContourRaster(*raster, 8, 1, folder_.Path(), "c"); }), -2147467259);
}

}  // namespace
}  // namespace orlinths
