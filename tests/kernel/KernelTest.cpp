#include "kernel/Kernel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "runtime/Ports.h"
#include "support/CapturedMessages.h"
#include "support/KernelPlain.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

struct Sighting {
  double x, y, weight = 1;
};

PointArray Points(const std::vector<Sighting>& fixes) {
  PointArray points({0, std::ssize(fixes) - 1}, {0, 2});
  for (std::int64_t i = 0; i < std::ssize(fixes); ++i) {
    const Sighting& fix = fixes[static_cast<std::size_t>(i)];
    points(i, 0) = fix.x;
    points(i, 1) = fix.y;
    points(i, 2) = fix.weight;
  }
  return points;
}

/// The grid of the estimators over the fixes.
struct Frame {
  double originX, originY, cellSize;
  std::int32_t columns, rows;
};

Frame FrameOver(const std::vector<Sighting>& fixes, double h, double cell) {
  double xMin = fixes[0].x, xMax = xMin, yMin = fixes[0].y, yMax = yMin;
  for (const Sighting& fix : fixes) {
    xMin = std::min(xMin, fix.x), xMax = std::max(xMax, fix.x);
    yMin = std::min(yMin, fix.y), yMax = std::max(yMax, fix.y);
  }
  return {xMin - (cell + h), yMin - (cell + h), cell,
          static_cast<std::int32_t>(std::floor((2 * h + (xMax - xMin) + 2 * cell) / cell)),
          static_cast<std::int32_t>(std::floor((2 * h + (yMax - yMin) + 2 * cell) / cell))};
}

DensityGrid Estimate(const std::vector<Sighting>& fixes, double h, const Frame& frame,
                     double scaling = 1) {
  const auto grid = SimpleKernel2(Points(fixes), h, frame.cellSize, frame.originX, frame.originY,
                                  frame.columns, frame.rows, scaling);
  EXPECT_TRUE(grid.has_value());
  return grid.value_or(DensityGrid());
}

DensityGrid EstimatePlain(const std::vector<Sighting>& fixes, double h, const Frame& frame,
                          double scaling = 1) {
  return SimpleKernel2Plain(Points(fixes), h, frame.cellSize, frame.originX, frame.originY,
                            frame.columns, frame.rows, scaling);
}

bool SameBits(const DensityGrid& a, const DensityGrid& b) {
  return a.First().lower == b.First().lower && a.First().upper == b.First().upper &&
         a.Second().lower == b.Second().lower && a.Second().upper == b.Second().upper &&
         (a.Data().empty() ||
          std::memcmp(a.Data().data(), b.Data().data(), a.Data().size_bytes()) == 0);
}

double Sum(const DensityGrid& grid) {
  double sum = 0;
  for (const double v : grid.Data()) sum += v;
  return sum;
}

// ---- By hand

/// h = 5, cells of 2, one point in the middle of the cell (3, 3) of seven by seven. pi h^2 is
/// 78.53981..., so that the middle holds 3 / 78.53981633974475; two cells away d / h is 4/5, and
/// (1 - 16/25)^2 is (9/25)^2.
TEST(SimpleKernel2, IsTheFormulaOnAGridWorkedByHand) {
  const Frame frame{0, 0, 2, 7, 7};
  const DensityGrid grid = Estimate({{7, 7}}, 5, frame);
  const double middle = 3 / (25 * 3.14159265358979);
  EXPECT_DOUBLE_EQ(grid(3, 3), middle);
  EXPECT_NEAR(grid(3, 3), 0.0381971863420549, 1e-15);
  for (const auto& [column, row] : {std::pair(5, 3), {1, 3}, {3, 1}, {3, 5}})
    EXPECT_DOUBLE_EQ(grid(column, row), middle * (9.0 / 25) * (9.0 / 25)) << column << ' ' << row;
  // One cell away d / h is 2/5; at the corner d^2 is 8.
  EXPECT_DOUBLE_EQ(grid(2, 3), middle * (21.0 / 25) * (21.0 / 25));
  EXPECT_DOUBLE_EQ(grid(2, 2), middle * (17.0 / 25) * (17.0 / 25));
  // Beyond h: three cells away, and two and two (d^2 is 32).
  for (const auto& [column, row] : {std::pair(0, 3), {6, 3}, {3, 0}, {3, 6}, {1, 1}, {5, 5}})
    EXPECT_EQ(grid(column, row), 0) << column << ' ' << row;
}

TEST(SimpleKernel2, ColumnsGrowEastAndRowsSouth) {
  const DensityGrid grid = Estimate({{101, 209}}, 1.5, {100, 200, 2, 4, 5});
  EXPECT_GT(grid(0, 0), 0);
  EXPECT_EQ(grid.First().upper, 3);
  EXPECT_EQ(grid.Second().upper, 4);
  EXPECT_EQ(Sum(grid), grid(0, 0));
}

/// 3-4-5: the centre of the cell (3, 4) from the point's own is exactly 5 away.
TEST(SimpleKernel2, ACellAtExactlyHGetsNothing) {
  const Frame frame{-0.5, -0.5, 1, 9, 9};
  const DensityGrid at = Estimate({{0, 0}}, 5, frame);
  EXPECT_GT(at(3, 5), 0);
  EXPECT_EQ(at(3, 4), 0);
  EXPECT_EQ(at(4, 5), 0);
  EXPECT_EQ(at(5, 8), 0);
  EXPECT_GT(Estimate({{0, 0}}, 5.001, frame)(3, 4), 0);
}

TEST(SimpleKernel2, DividesByTheNumberOfPointsNotByTheirWeights) {
  const Frame frame{0, 0, 2, 7, 7};
  const double alone = Estimate({{7, 7}}, 5, frame)(3, 3);
  EXPECT_EQ(Estimate({{7, 7}, {7, 7}}, 5, frame)(3, 3), alone);
  EXPECT_EQ(Estimate({{7, 7, 2}}, 5, frame)(3, 3), 2 * alone);
  EXPECT_EQ(Estimate({{7, 7, 2}, {7, 7, 2}}, 5, frame)(3, 3), 2 * alone);
  EXPECT_EQ(Estimate({{7, 7, 1}, {7, 7, 0}}, 5, frame)(3, 3), alone / 2);
  EXPECT_EQ(Estimate({{7, 7, 1}, {9e5, 9e5, 0}}, 5, frame)(3, 3), alone / 2);
  EXPECT_EQ(Estimate({{7, 7, 1}, {7, 7, -1}}, 5, frame)(3, 3), 0);
  EXPECT_DOUBLE_EQ(Estimate({{7, 7, -3}}, 5, frame)(3, 3), -3 * alone);
  EXPECT_DOUBLE_EQ(Estimate({{7, 7}}, 5, frame, 1e6)(3, 3), 3e6 / (25 * 3.14159265358979));
  EXPECT_EQ(Sum(Estimate({}, 5, frame)), 0);
}

// ---- Against itself and against calculus

/// The sum over cells is the midpoint rule. The second derivatives of the kernel are at most
/// 24 / (pi h^4), so that a square of side c is off by at most c^4 / 24 times twice that, and the
/// disc's pi h^2 / c^2 squares by no more than 2 (c / h)^2 of the whole.
TEST(SimpleKernel2, HoldsOneForEachPointOverThePlane) {
  Seeded random("SimpleKernel2.HoldsOneForEachPointOverThePlane");
  for (const double cells : {3.0, 10.0, 47.3}) {
    std::vector<Sighting> fixes;
    double weights = 0;
    for (int i = 0; i < 20; ++i) {
      fixes.push_back({random.Real(5e5, 5.01e5), random.Real(4e6, 4.001e6), random.Real(0, 4)});
      weights += fixes.back().weight;
    }
    const double cell = 20, h = cells * cell;
    const double volume = Sum(Estimate(fixes, h, FrameOver(fixes, h, cell), 1e6)) * cell * cell;
    const double expected = weights / 20 * 1e6;
    EXPECT_NEAR(volume / expected, 1, 2 / (cells * cells)) << cells;
  }
}

TEST(SimpleKernel2, LosesWhatLiesOffTheGrid) {
  // A point on the corner of the grid keeps a quarter of its kernel.
  const Frame frame{0, 0, 1, 60, 60};
  EXPECT_NEAR(Sum(Estimate({{0, 0}}, 40, frame)), 0.25, 0.25 * 2 / 1600);
  EXPECT_EQ(Sum(Estimate({{1000, 30}, {-1000, 30}, {30, 1000}, {30, -1000}}, 40, frame)), 0);
}

TEST(SimpleKernel2, IsTheSameOnAllSidesOfAPointInAMiddle) {
  const DensityGrid grid = Estimate({{8.5, 8.5}}, 8, {0, 0, 1, 17, 17});
  for (int column = 0; column < 17; ++column)
    for (int row = 0; row < 17; ++row) {
      EXPECT_EQ(grid(column, row), grid(16 - column, row));
      EXPECT_EQ(grid(column, row), grid(column, 16 - row));
      EXPECT_EQ(grid(column, row), grid(row, column));
    }
}

// ---- Against the plain way, to the last bit

TEST(SimpleKernel2, HasTheBitsOfTheFormulaTakenCellByCell) {
  Seeded random("SimpleKernel2.HasTheBitsOfTheFormulaTakenCellByCell");
  for (int trial = 0; trial < 60; ++trial) {
    const double cell = random.Chance(0.5) ? random.Real(0.01, 40) : 10;
    const double h = cell * (random.Chance(0.2) ? random.Real(0.01, 1) : random.Real(1, 25));
    const double spread = cell * random.Real(1, 90);
    const double scaling = random.Chance(0.5) ? 1e6 : random.Real(-5, 5);
    std::vector<Sighting> fixes;
    for (auto n = random.Whole(1, 60); n > 0; --n)
      fixes.push_back({5e5 + random.Real(0, spread), 4.2e6 + random.Real(0, spread),
                       random.Chance(0.5) ? 1 : random.Real(-1, 3)});
    Frame frame = FrameOver(fixes, h, cell);
    if (random.Chance(0.3)) {  // a grid that cuts the kernels
      frame.originX += spread / 3;
      frame.originY += spread / 3;
      frame.columns = static_cast<std::int32_t>(random.Whole(1, 50));
      frame.rows = static_cast<std::int32_t>(random.Whole(1, 50));
    }
    ASSERT_TRUE(
        SameBits(Estimate(fixes, h, frame, scaling), EstimatePlain(fixes, h, frame, scaling)))
        << "trial " << trial;
  }
}

/// Wider than a strip of columns in memory, so that kernels lie across their borders.
TEST(SimpleKernel2, HasTheSameBitsAcrossItsStrips) {
  Seeded random("SimpleKernel2.HasTheSameBitsAcrossItsStrips");
  for (const auto& [columns, rows] : {std::pair(1500, 400), {70, 9000}, {4000, 1}, {1, 4000}}) {
    std::vector<Sighting> fixes;
    for (int i = 0; i < 300; ++i)
      fixes.push_back({random.Real(-20, columns + 20), random.Real(-20, rows + 20), 1});
    const Frame frame{0, 0, 1, columns, rows};
    ASSERT_TRUE(SameBits(Estimate(fixes, 33, frame), EstimatePlain(fixes, 33, frame)));
  }
}

/// Where a product would lose bits at the ends of the range, and for weights that are no numbers.
TEST(SimpleKernel2, HasTheSameBitsForNumbersOfAnySize) {
  const double inf = std::numeric_limits<double>::infinity();
  for (const double size : {1e-150, 1e-60, 1e-20, 1.0, 1e20, 1e60, 1e150})
    for (const double weight : {1e-320, 1e-300, 1e-95, 1.0, 1e95, 1e290, inf, std::nan("")}) {
      const std::vector<Sighting> fixes = {{3.3 * size, 4.1 * size, weight},
                                           {7 * size, 6 * size, weight / 3}};
      const Frame frame{0, 0, size, 11, 11};
      for (const double cells : {0.9, 2.5, 4.0})
        ASSERT_TRUE(SameBits(Estimate(fixes, cells * size, frame, 0.7),
                             EstimatePlain(fixes, cells * size, frame, 0.7)))
            << size << ' ' << weight << ' ' << cells;
    }
}

// ---- One point

TEST(SimpleKernelPntComponent, HasTheBoundsOfTheKernelsReach) {
  const auto part = SimpleKernelPntComponent(10.5, 20.5, 1, 2, 1, 0, 0, 1, 99, 99);
  ASSERT_TRUE(part);
  EXPECT_EQ(part->First().lower, 8);
  EXPECT_EQ(part->First().upper, 12);
  EXPECT_EQ(part->Second().lower, 99 - 22);
  EXPECT_EQ(part->Second().upper, 99 - 18);
  EXPECT_DOUBLE_EQ((*part)(10, 79), 3 / (4 * 3.14159265358979));
}

TEST(SimpleKernelPntComponent, IsClampedToTheGrid) {
  const auto part = SimpleKernelPntComponent(0.5, 9.5, 1, 3, 1, 0, 0, 1, 9, 9);
  ASSERT_TRUE(part);
  EXPECT_EQ(part->First().lower, 0);
  EXPECT_EQ(part->First().upper, 3);
  EXPECT_EQ(part->Second().lower, 0);
  EXPECT_EQ(part->Second().upper, 3);
  for (const auto& [x, y] : {std::pair(-50, 5), {50, 5}, {5, -50}, {5, 50}}) {
    const auto none = SimpleKernelPntComponent(x, y, 1, 3, 1, 0, 0, 1, 9, 9);
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->Data().empty()) << x << ' ' << y;
  }
}

TEST(SimpleKernelPntComponent, HasTheBitsOfTheFormula) {
  Seeded random("SimpleKernelPntComponent.HasTheBitsOfTheFormula");
  for (int i = 0; i < 200; ++i) {
    const double x = random.Real(-5, 105), y = random.Real(-5, 65), h = random.Real(0.1, 20);
    const auto part = SimpleKernelPntComponent(x, y, 1.7, h, 1, 0, 0, 1e6, 99, 59);
    ASSERT_TRUE(part);
    ASSERT_TRUE(SameBits(*part, SimpleKernelPntComponentPlain(x, y, 1.7, h, 1, 0, 0, 1e6, 99, 59)));
  }
}

// ---- Failures

class KernelFailures : public ::testing::Test {
 protected:
  /// The one report of a kernel that cannot be.
  std::string ReportOf(double h, double cellSize, std::int32_t columns, std::int32_t rows,
                       Sighting fix = {5, 5}) {
    messages_.Clear();
    EXPECT_FALSE(SimpleKernel2(Points({fix}), h, cellSize, 0, 0, columns, rows, 1));
    EXPECT_EQ(messages_.All().size(), 1U);
    if (messages_.All().empty()) return "";
    EXPECT_EQ(messages_.All().back().flags, kCritical);
    EXPECT_EQ(messages_.All().back().title, "Error");
    return messages_.All().back().text;
  }
  CapturedMessages messages_;
};

TEST_F(KernelFailures, ARadiusOf0IsADivisionByZero) {
  EXPECT_EQ(ReportOf(0, 1, 10, 10), "SimpleKernel2; \r11\rDivision by zero");
  messages_.Clear();
  EXPECT_FALSE(SimpleKernelPntComponent(5, 5, 1, 0, 1, 0, 0, 1, 9, 9));
  EXPECT_THAT(messages_.Text(), ElementsAre("SimpleKernelPntComponent; \r11\rDivision by zero"));
}

TEST_F(KernelFailures, ACellSizeOf0IsADivisionByZero) {
  EXPECT_EQ(ReportOf(1, 0, 10, 10), "SimpleKernel2; \r11\rDivision by zero");
}

TEST_F(KernelFailures, ANegativeRadiusReachesNoCell) {
  EXPECT_EQ(Sum(Estimate({{5, 5}}, -3, {0, 0, 1, 10, 10})), 0);
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(KernelFailures, AGridWithoutCellsIsASubscriptOutOfRange) {
  EXPECT_EQ(ReportOf(1, 1, 0, 10), "SimpleKernel2; \r9\rSubscript out of range");
  EXPECT_EQ(ReportOf(1, 1, 10, -3), "SimpleKernel2; \r9\rSubscript out of range");
}

TEST_F(KernelFailures, AGridThatMemoryCannotHoldSaysHowManyCellsItHas) {
  EXPECT_EQ(ReportOf(1, 1, 2'000'000'000, 1'000'000),
            "SimpleKernel2; \r7\rOut of memory: a grid of 2000000000 columns and 1000000 rows has "
            "2000000000000000 cells. Use larger cells.");
}

TEST_F(KernelFailures, AKernelBeyond32BitCellsIsAnOverflow) {
  EXPECT_EQ(ReportOf(1, 1, 10, 10, {1e12, 5}), "SimpleKernel2; \r6\rOverflow");
  EXPECT_EQ(ReportOf(1, 1, 10, 10, {5, -1e12}), "SimpleKernel2; \r6\rOverflow");
  EXPECT_EQ(ReportOf(1e12, 1, 10, 10), "SimpleKernel2; \r6\rOverflow");
  EXPECT_EQ(ReportOf(1, 1, 10, 10, {std::nan(""), 5}), "SimpleKernel2; \r6\rOverflow");
}

TEST_F(KernelFailures, ALongSumYieldsAndTakesAStopRequest) {
  const std::vector<Sighting> fixes(40, Sighting{500, 500});
  Estimate(fixes, 490, {0, 0, 1, 1000, 1000});
  EXPECT_GE(messages_.yields, 1);
  RequestStop();
  EXPECT_FALSE(SimpleKernel2(Points(fixes), 490, 1, 0, 0, 1000, 1000, 1));
  ClearStop();
  EXPECT_THAT(messages_.Text(), ElementsAre(StartsWith("SimpleKernel2; \r18\r")));
}

}  // namespace
}  // namespace orlinths
