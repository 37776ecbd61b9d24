#include "numerics/Rounding.h"

#include <gtest/gtest.h>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

TEST(RoundTo, RoundsHalvesUpwardForEitherSign) {
  const struct {
    double v, factor, expected;
  } cases[] = {{2.5, 1, 3},
               {3.5, 1, 4},
               {-2.5, 1, -2},
               {-3.5, 1, -3},
               {2.4999, 1, 2},
               {-2.51, 1, -3},
               {0, 1, 0},
               {-0.5, 1, 0},
               {0.125, 100, 0.13},
               {-0.125, 100, -0.12},
               {1234.5678, 10, 1234.6},
               {1250, 0.01, 1300},
               {1249, 0.01, 1200},
               {7, 0.5, 8},
               {2.5, -1, 2}};
  for (const auto& c : cases) EXPECT_EQ(RoundTo(c.v, c.factor), c.expected) << c.v;
}

TEST(RoundTo, TakesTheFloorOfTheSum) {
  // The number just below a half: adding 0.5 rounds the sum up to 1.
  EXPECT_EQ(RoundTo(0.49999999999999994, 1), 1);
}

ErrorNumber ErrorOf(double v, double factor) {
  try {
    RoundTo(v, factor);
  } catch (const RuntimeError& error) {
    return error.Code();
  }
  return {};
}

TEST(RoundTo, LeavesItsFailuresToTheCaller) {
  EXPECT_EQ(ErrorOf(5, 0), ErrorNumber::kOverflow);
  EXPECT_EQ(ErrorOf(1e308, 100), ErrorNumber::kOverflow);
}

}  // namespace
}  // namespace orlinths
