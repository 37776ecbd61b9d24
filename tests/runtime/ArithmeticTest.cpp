#include "runtime/Arithmetic.h"

#include <gtest/gtest.h>

#include "runtime/ErrorOf.h"

namespace orlinths {
namespace {

using I16 = std::int16_t;
using I32 = std::int32_t;
constexpr I32 kMin32 = std::numeric_limits<I32>::min(), kMax32 = std::numeric_limits<I32>::max();
constexpr I16 kMin16 = std::numeric_limits<I16>::min(), kMax16 = std::numeric_limits<I16>::max();

TEST(Divide, ByZeroRaisesDivisionByZeroButZeroByZeroOverflow) {
  EXPECT_EQ(Divide(1, 4), 0.25);
  EXPECT_EQ(Divide(0, 4), 0);
  EXPECT_EQ(ErrorOf([] { Divide(1, 0); }), 11);
  EXPECT_EQ(ErrorOf([] { Divide(-1, -0.0); }), 11);
  EXPECT_EQ(ErrorOf([] { Divide(0, 0); }), 6);
}

TEST(Divide, OfAResultThatIsNotFiniteRaisesOverflow) {
  EXPECT_EQ(ErrorOf([] { Divide(1e300, 1e-300); }), 6);
  EXPECT_EQ(ErrorOf([] { Divide(std::numeric_limits<double>::infinity(), 2); }), 6);
  EXPECT_EQ(ErrorOf([] { Divide(std::numeric_limits<double>::quiet_NaN(), 2); }), 6);
}

TEST(CheckedArithmetic, StaysWithinItsType) {
  EXPECT_EQ(Add<I32>(kMax32 - 1, 1), kMax32);
  EXPECT_EQ(ErrorOf([] { Add<I32>(kMax32, 1); }), 6);
  EXPECT_EQ(Subtract<I32>(kMin32 + 1, 1), kMin32);
  EXPECT_EQ(ErrorOf([] { Subtract<I32>(kMin32, 1); }), 6);
  EXPECT_EQ(Multiply<I32>(-65536, 32768), kMin32);
  EXPECT_EQ(ErrorOf([] { Multiply<I32>(65536, 32768); }), 6);
  EXPECT_EQ(Add<I16>(32766, 1), kMax16);
  EXPECT_EQ(ErrorOf([] { Add<I16>(kMax16, 1); }), 6);
  EXPECT_EQ(ErrorOf([] { Subtract<I16>(kMin16, 1); }), 6);
  EXPECT_EQ(ErrorOf([] { Multiply<I16>(256, 128); }), 6);
}

TEST(DivideWhole, TruncatesTowardsZero) {
  EXPECT_EQ(DivideWhole<I32>(7, 2), 3);
  EXPECT_EQ(DivideWhole<I32>(-7, 2), -3);
  EXPECT_EQ(ErrorOf([] { DivideWhole<I32>(7, 0); }), 11);
  EXPECT_EQ(ErrorOf([] { DivideWhole<I32>(kMin32, -1); }), 6);
  EXPECT_EQ(ErrorOf([] { DivideWhole<I16>(kMin16, -1); }), 6);
}

TEST(Remainder, HasTheSignOfTheDividend) {
  EXPECT_EQ(Remainder<I32>(7, 3), 1);
  EXPECT_EQ(Remainder<I32>(-7, 3), -1);
  EXPECT_EQ(Remainder<I32>(7, -3), 1);
  EXPECT_EQ(Remainder<I32>(kMin32, -1), 0);
  EXPECT_EQ(ErrorOf([] { Remainder<I32>(7, 0); }), 11);
}

TEST(LogAndSqr, OutOfTheirDomainsRaiseInvalidCall) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Log(1), 0);
  EXPECT_EQ(Sqr(9), 3);
  EXPECT_EQ(Sqr(0), 0);
  for (const double bad : {0.0, -1.0, kNaN}) EXPECT_EQ(ErrorOf([&] { Log(bad); }), 5);
  for (const double bad : {-1e-300, kNaN}) EXPECT_EQ(ErrorOf([&] { Sqr(bad); }), 5);
}

}  // namespace
}  // namespace orlinths
