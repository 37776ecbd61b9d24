#include "numerics/LineEquation.h"

#include <gtest/gtest.h>

#include "support/CapturedMessages.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

Point At(double x, double y) { return {.x = x, .y = y}; }

TEST(GetEquationParams, NamesEveryDirection) {
  const struct {
    Point to;
    double slope, intercept;
    int direction;
  } cases[] = {
      {At(2, 3), 0, 0, 0},    // coincide
      {At(0, 1), 1, 1, 1},    // west and south
      {At(0, 3), 0, 3, 1},    // west, level
      {At(0, 7), -2, 7, 2},   // west and north
      {At(4, 4), 0.5, 2, 3},  // east and north
      {At(4, 3), 0, 3, 4},    // east, level
      {At(4, 1), -1, 5, 4},   // east and south
      {At(2, 9), 0, 0, 5},    // north
      {At(2, -9), 0, 0, 6},   // south
  };
  for (const auto& c : cases) {
    const LineEquation line = GetEquationParams(At(2, 3), c.to);
    EXPECT_EQ(line.slope, c.slope) << c.direction;
    EXPECT_EQ(line.intercept, c.intercept) << c.direction;
    EXPECT_EQ(line.direction, c.direction);
  }
}

TEST(GetEquationParams, ComparesExactly) {
  EXPECT_EQ(GetEquationParams(At(1, 1), At(1 + 0x1p-52, 1)).direction, 4);
  EXPECT_EQ(GetEquationParams(At(1, 1), At(1, 1 + 0x1p-52)).direction, 5);
  EXPECT_EQ(GetEquationParams(At(0.0, 1), At(-0.0, 1)).direction, 0);
}

TEST(GetEquationParams, TheLineRunsThroughBothPoints) {
  Seeded random("GetEquationParams.TheLineRunsThroughBothPoints");
  for (int i = 0; i < 2000; ++i) {
    const Point a = At(random.Real(-1000, 1000), random.Real(-1000, 1000));
    const Point b = At(a.x + random.Real(1, 500), random.Real(-1000, 1000));
    const LineEquation line = GetEquationParams(a, b), back = GetEquationParams(b, a);
    ASSERT_NEAR(line.slope * b.x + line.intercept, b.y, 1e-6);
    ASSERT_EQ(line.intercept, a.y - line.slope * a.x) << "from the first point";
    ASSERT_EQ(back.slope, line.slope);
  }
}

TEST(GetEquationParams, ReportsWhatIsNotFinite) {
  CapturedMessages host;
  const std::vector<Message> report{{"GetEquationParams\r6\rOverflow", 16, "Error"}};
  for (const auto& [from, to] :
       {std::pair{At(-1.7e308, 0), At(1.7e308, 5)}, std::pair{At(0, 0), At(1e-300, 1e300)},
        std::pair{At(0, 0), Point()}}) {
    host.Clear();
    const LineEquation line = GetEquationParams(from, to);
    EXPECT_EQ(host.All(), report);
    EXPECT_EQ(line.slope, 0);
    EXPECT_EQ(line.intercept, 0);
    EXPECT_EQ(line.direction, 0);
  }
  host.Clear();
  // Of this line the slope alone is finite.
  const LineEquation line = GetEquationParams(At(1e200, 0), At(1e200 * (1 + 0x1p-52), 1e300));
  EXPECT_EQ(host.All(), report);
  EXPECT_GT(line.slope, 0);
  EXPECT_EQ(line.intercept, 0);
  EXPECT_EQ(line.direction, 0);
}

}  // namespace
}  // namespace orlinths
