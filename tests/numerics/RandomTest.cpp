#include "numerics/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <set>

#include "numerics/Constants.h"
#include "numerics/Xoshiro256.h"
#include "runtime/RuntimeError.h"
#include "support/CapturedMessages.h"
#include "support/ChiSquare.h"
#include "support/PlainNumerics.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

/// Every test starts with the generator of a new process and the clock at 0.
class RandomTest : public ::testing::Test {
 protected:
  RandomTest() { ResetGenerator(); }
  ~RandomTest() override { ResetGenerator(); }

  static std::vector<float> Draws(int count) {
    std::vector<float> draws;
    while (count-- > 0) draws.push_back(UniformDraw());
    return draws;
  }
  /// How many uniform draws `body` takes from a generator seeded anew.
  template <class Body>
  static std::size_t DrawsTakenBy(Body body) {
    ResetGenerator();
    SeedGenerator();
    const std::vector<float> sequence = Draws(64);
    ResetGenerator();
    SeedGenerator();
    body();
    const std::vector<float> rest = Draws(8);
    return static_cast<std::size_t>(
        std::search(sequence.begin(), sequence.end(), rest.begin(), rest.end()) - sequence.begin());
  }

  CapturedMessages host;
};

TEST_F(RandomTest, UniformDrawIsTheUpper24BitsOfTheGenerator) {
  host.clock = 1'772'366'400'000'000'123;
  SeedGenerator();
  Xoshiro256 bits{SplitMix64(SplitMix64::Mixed(1'772'366'400'000'000'123u))};
  for (int i = 0; i < 1000; ++i) {
    const auto numerator = static_cast<double>(bits.Next() / (std::uint64_t{1} << 40));
    ASSERT_EQ(double{UniformDraw()}, numerator / 16777216);
  }
}

TEST_F(RandomTest, UniformDrawLiesBelowOneAndIsUniform) {
  constexpr int kDraws = 1'000'000, kClasses = 1000;
  std::vector<double> counts(kClasses), expected(kClasses, double{kDraws} / kClasses);
  for (int i = 0; i < kDraws; ++i) {
    const float u = UniformDraw();
    ASSERT_GE(u, 0.0f);
    ASSERT_LT(u, 1.0f);
    ++counts[static_cast<std::size_t>(u * kClasses)];
  }
  EXPECT_TRUE(FitsByChiSquare(counts, expected));
}

TEST_F(RandomTest, LowBitsOfADrawAreUniformToo) {
  constexpr int kDraws = 256'000;
  std::vector<double> counts(256), expected(256, kDraws / 256.0);
  for (int i = 0; i < kDraws; ++i)
    ++counts[static_cast<std::size_t>(UniformDraw() * 16777216.0f) % 256];
  EXPECT_TRUE(FitsByChiSquare(counts, expected));
}

TEST_F(RandomTest, SuccessiveDrawsAreIndependent) {
  constexpr int kPairs = 640'000;
  std::vector<double> counts(64 * 64), expected(64 * 64, kPairs / 4096.0);
  for (int i = 0; i < kPairs; ++i) {
    const auto first = static_cast<std::size_t>(UniformDraw() * 64);
    ++counts[first * 64 + static_cast<std::size_t>(UniformDraw() * 64)];
  }
  EXPECT_TRUE(FitsByChiSquare(counts, expected));
}

TEST_F(RandomTest, RepeatsExactlyUnderAFixedClockInANewProcess) {
  host.clock = 42;
  SeedGenerator();
  const auto first = Draws(20);
  SeedGenerator();
  const auto second = Draws(20);
  ResetGenerator();
  SeedGenerator();
  EXPECT_EQ(Draws(20), first);
  SeedGenerator();
  EXPECT_EQ(Draws(20), second);
}

TEST_F(RandomTest, TwoSeedingsInOneTickDiffer) {
  std::set<std::vector<float>> sequences;
  for (int i = 0; i < 1000; ++i) {
    SeedGenerator();
    sequences.insert(Draws(4));
  }
  EXPECT_EQ(sequences.size(), 1000u);
}

TEST_F(RandomTest, SeedingsANanosecondApartDiffer) {
  std::set<std::vector<float>> sequences;
  for (int i = 0; i < 1000; ++i) {
    host.clock = 1'772'366'400'000'000'000 + i;
    ResetGenerator();
    SeedGenerator();
    sequences.insert(Draws(4));
  }
  EXPECT_EQ(sequences.size(), 1000u);
}

TEST_F(RandomTest, DrawsBeforeTheFirstSeedingAreThoseOfAnyNewProcess) {
  const auto first = Draws(10);
  EXPECT_EQ(std::set<float>(first.begin(), first.end()).size(), 10u);
  ResetGenerator();
  EXPECT_EQ(Draws(10), first);
}

TEST_F(RandomTest, RandomNormalIsThePolarTransformOfTwoDraws) {
  const auto u = Draws(200);
  ResetGenerator();
  for (std::size_t i = 0; i < u.size(); i += 2) {
    const double radius = std::sqrt(-2 * std::log(double{u[i]}));
    ASSERT_EQ(RandomNormal(10, 3), radius * std::cos(6.28318530717958 * u[i + 1]) * 3 + 10);
  }
}

TEST_F(RandomTest, RandomNormalTakesTwoDraws) {
  EXPECT_EQ(DrawsTakenBy([] { RandomNormal(0, 1); }), 2u);
}

TEST_F(RandomTest, RandomNormalIsNormal) {
  constexpr int kDraws = 400'000;
  // Classes 0.1 wide from -3 to 3, and the two tails.
  std::vector<double> counts(62), expected(62);
  const auto below = [](double z) { return 0.5 * std::erfc(-z / std::numbers::sqrt2); };
  for (int i = 0; i < 62; ++i)
    expected[static_cast<std::size_t>(i)] =
        kDraws * ((i == 61 ? 1 : below((i - 30) / 10.0)) - (i == 0 ? 0 : below((i - 31) / 10.0)));
  for (int i = 0; i < kDraws; ++i) {
    const double z = (RandomNormal(100, 20) - 100) / 20;
    ++counts[static_cast<std::size_t>(std::clamp(std::floor(z * 10) + 31, 0.0, 61.0))];
  }
  EXPECT_TRUE(FitsByChiSquare(counts, expected));
}

TEST_F(RandomTest, RandomNormalBeyondADoubleIsAnOverflow) {
  bool overflowed = false;
  for (int i = 0; i < 100 && !overflowed; ++i) {
    try {
      EXPECT_TRUE(std::isfinite(RandomNormal(0, 1.7e308)));
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.Code(), ErrorNumber::kOverflow);
      overflowed = true;
    }
  }
  EXPECT_TRUE(overflowed);
}

TEST_F(RandomTest, FoldedNormalDrawHasTheAbsoluteValueInsideTheRoot) {
  const auto u = Draws(200);
  ResetGenerator();
  for (std::size_t i = 0; i < u.size(); i += 2) {
    const double cosine = std::abs(std::cos(6.28318530717958 * u[i + 1]));
    ASSERT_EQ(FoldedNormalDraw(), std::sqrt(cosine * (-2 * std::log(double{u[i]}))));
  }
}

TEST_F(RandomTest, FoldedNormalDrawTakesTwoDraws) {
  EXPECT_EQ(DrawsTakenBy([] { FoldedNormalDraw(); }), 2u);
}

TEST_F(RandomTest, FoldedNormalDrawHasTheMomentsOfItsFormula) {
  constexpr int kDraws = 400'000;
  double sum = 0, squares = 0;
  for (int i = 0; i < kDraws; ++i) {
    const double z = FoldedNormalDraw();
    ASSERT_GE(z, 0);
    sum += z;
    squares += z * z;
  }
  // E[z^2] = E|cos| * E[-2 ln u] = 2/pi * 2. E[z] = E[sqrt|cos|] * E[sqrt(-2 ln u)]
  //        = gamma(3/4) gamma(1/2) / (gamma(5/4) pi) * sqrt(pi/2).
  const double mean = std::tgamma(0.75) * std::sqrt(std::numbers::pi) /
                      (std::tgamma(1.25) * std::numbers::pi) * std::sqrt(std::numbers::pi / 2);
  EXPECT_NEAR(sum / kDraws, mean, 0.005);
  EXPECT_NEAR(squares / kDraws, 4 / std::numbers::pi, 0.012);
}

TEST_F(RandomTest, ConstantsHaveTheirFifteenDigits) {
  EXPECT_EQ(kPi, 3.14159265358979);
  EXPECT_EQ(kTwoPi, 6.28318530717958);
  EXPECT_EQ(kMissing, -999);
}

TEST_F(RandomTest, RandomSequenceEqualsThePoolThatMovesTogether) {
  Seeded random("RandomTest.RandomSequenceEqualsThePoolThatMovesTogether");
  for (int i = 0; i < 400; ++i) {
    const auto max = static_cast<std::int32_t>(random.Whole(1, i < 300 ? 20 : 3000));
    const auto count = static_cast<std::int32_t>(random.Whole(1, max));
    host.clock = i;
    ResetGenerator();
    const auto fast = RandomSequence(max, count);
    ResetGenerator();
    SeedGenerator();
    ASSERT_EQ(fast, plain::RandomSequence(max, count, UniformDraw)) << max << ", " << count;
  }
}

TEST_F(RandomTest, RandomSequenceDrawsDifferentNumbersAndLeavesTheRestZero) {
  const auto sequence = RandomSequence(999, 100);
  ASSERT_EQ(sequence.size(), 1000u);
  const std::set<std::int32_t> drawn(sequence.begin(), sequence.begin() + 100);
  EXPECT_EQ(drawn.size(), 100u);
  EXPECT_GE(*drawn.begin(), 0);
  EXPECT_LE(*drawn.rbegin(), 999);
  EXPECT_TRUE(std::all_of(sequence.begin() + 101, sequence.end(), [](auto v) { return v == 0; }));
}

TEST_F(RandomTest, RandomSequenceFillsTheEntryBehindTheLastDraw) {
  for (int i = 0; i < 50; ++i) {
    const auto sequence = RandomSequence(9, 4);
    std::int32_t smallestLeft = 0;
    while (std::find(sequence.begin(), sequence.begin() + 4, smallestLeft) != sequence.begin() + 4)
      ++smallestLeft;
    ASSERT_EQ(sequence[4], smallestLeft);
  }
}

TEST_F(RandomTest, RandomSequenceOfAllButOneFillsTheLastEntryWithThatOne) {
  auto sequence = RandomSequence(499, 499);
  std::sort(sequence.begin(), sequence.end());
  std::vector<std::int32_t> all(500);
  std::iota(all.begin(), all.end(), 0);
  EXPECT_EQ(sequence, all);
}

TEST_F(RandomTest, RandomSequenceOfTwoNumbers) {
  const auto sequence = RandomSequence(1, 1);
  ASSERT_EQ(sequence.size(), 2u);
  EXPECT_EQ(sequence[0] + sequence[1], 1);
}

TEST_F(RandomTest, FirstAndLastPlaceAreHalfAsLikely) {
  constexpr int kDraws = 110'000, kMax = 11;
  std::vector<double> first(kMax + 1), expected(kMax + 1, double{kDraws} / kMax);
  expected.front() = expected.back() = 0.5 * kDraws / kMax;
  for (int i = 0; i < kDraws; ++i) ++first[static_cast<std::size_t>(RandomSequence(kMax, 1)[0])];
  EXPECT_TRUE(FitsByChiSquare(first, expected));
}

TEST_F(RandomTest, EveryRandomSequenceSeedsTheGenerator) {
  host.clock = 5;
  const auto first = RandomSequence(50, 10);
  EXPECT_NE(RandomSequence(50, 10), first);
  ResetGenerator();
  Draws(3);  // draws before the call do not matter, seedings do
  EXPECT_EQ(RandomSequence(50, 10), first);
}

TEST_F(RandomTest, RandomSequenceOfTooManyIsRefusedWithAMessage) {
  const auto before = Draws(5);
  ResetGenerator();
  EXPECT_TRUE(RandomSequence(9, 11).empty());
  EXPECT_EQ(host.All(),
            (std::vector<Message>{
                {"Internal Error: invalid variables passed to random sequenser.\rMax: 9, Cnt: 11.",
                 kCritical, "Error"}}));
  EXPECT_EQ(Draws(5), before) << "refused before anything was seeded or drawn";
}

ErrorNumber ErrorOfSequence(std::int32_t max, std::int32_t count) {
  try {
    RandomSequence(max, count);
  } catch (const RuntimeError& error) {
    return error.Code();
  }
  return {};
}

TEST_F(RandomTest, RandomSequenceOfAllNumbersRunsItsPoolDown) {
  EXPECT_EQ(ErrorOfSequence(9, 10), ErrorNumber::kSubscript);
  EXPECT_EQ(ErrorOfSequence(0, 1), ErrorNumber::kSubscript);
  EXPECT_EQ(host.Text(), Texts{}) << "the caller's handler reports";
}

TEST_F(RandomTest, RandomSequenceOfNoneRunsItsPoolDown) {
  EXPECT_EQ(ErrorOfSequence(9, 0), ErrorNumber::kSubscript);
  EXPECT_EQ(ErrorOfSequence(9, -3), ErrorNumber::kSubscript);
  EXPECT_EQ(host.Text(), Texts{});
  ResetGenerator();
  SeedGenerator();
  const auto sequence = Draws(20);
  ResetGenerator();
  EXPECT_EQ(ErrorOfSequence(9, 0), ErrorNumber::kSubscript);
  EXPECT_EQ(UniformDraw(), sequence[10]) << "all ten numbers were drawn first";
}

TEST_F(RandomTest, RandomSequenceOfANegativeRangeIsASubscriptError) {
  EXPECT_EQ(ErrorOfSequence(-1, 0), ErrorNumber::kSubscript);
  EXPECT_EQ(ErrorOfSequence(-5, -5), ErrorNumber::kSubscript);
}

TEST_F(RandomTest, LongRandomSequencesYield) {
  RandomSequence(200'000, 140'000);
  EXPECT_EQ(host.yields, 2);
  RequestStop();
  EXPECT_EQ(ErrorOfSequence(200'000, 140'000), ErrorNumber::kUserInterrupt);
}

}  // namespace
}  // namespace orlinths
