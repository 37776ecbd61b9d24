#include "numerics/NumberOrder.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/Seeded.h"

namespace orlinths {
namespace {

using Limits = std::numeric_limits<double>;

TEST(PlaceOf, FollowsTheNumbers) {
  const double ascending[] = {
      -Limits::infinity(),  Limits::lowest(), -1.5, -1,  -Limits::min(), -Limits::denorm_min(), 0,
      Limits::denorm_min(), Limits::min(),    1,    1.5, Limits::max(),  Limits::infinity()};
  for (const double a : ascending)
    for (const double b : ascending) EXPECT_EQ(PlaceOf(a) < PlaceOf(b), a < b) << a << ' ' << b;
  EXPECT_EQ(PlaceOf(0.0), PlaceOf(-0.0));
}

TEST(PlaceOf, WhatIsNoNumberComesFirstAndIsOne) {
  EXPECT_LT(PlaceOf(Limits::quiet_NaN()), PlaceOf(-Limits::infinity()));
  EXPECT_EQ(PlaceOf(Limits::quiet_NaN()), PlaceOf(-Limits::quiet_NaN()));
  EXPECT_GT(PlaceOf(Limits::quiet_NaN()), 0U);
}

TEST(PlaceOf, FollowsRandomNumbers) {
  Seeded random("PlaceOf.FollowsRandomNumbers");
  for (int i = 0; i < 10'000; ++i) {
    const double a = random.Real(-1, 1) * std::pow(10, random.Real(-300, 300));
    const double b = random.Chance(0.2) ? a : random.Real(-1, 1);
    ASSERT_EQ(PlaceOf(a) < PlaceOf(b), a < b);
    ASSERT_EQ(PlaceOf(a) == PlaceOf(b), a == b);
  }
}

}  // namespace
}  // namespace orlinths
