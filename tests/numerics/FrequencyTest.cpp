#include "numerics/Frequency.h"

#include <gtest/gtest.h>

#include <limits>

#include "runtime/RuntimeError.h"
#include "support/CapturedMessages.h"
#include "support/PlainNumerics.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using Longs = std::vector<std::int32_t>;
using Doubles = std::vector<double>;
using Values = std::vector<Value>;

TEST(GetFreqDistribArr, CountsEachClassInTheOrderOfTheClasses) {
  const Longs values{3, 1, 3, 7, 3, 1, 99}, classes{7, 1, 3, 4};
  EXPECT_EQ(GetFreqDistribArr(values, classes), (FrequencyTable{{7, 1}, {1, 2}, {3, 3}, {4, 0}}));
}

TEST(GetFreqDistribArr, CountsAClassThatStandsTwiceInBothLines) {
  const Longs values{3, 1, 3}, classes{3, 1, 3};
  EXPECT_EQ(GetFreqDistribArr(values, classes), (FrequencyTable{{3, 2}, {1, 1}, {3, 2}}));
  const Values mixed{3, 1, 3};
  EXPECT_EQ(GetFreqDistribArr(mixed, mixed), (FrequencyTable{{3, 2}, {1, 1}, {3, 2}}));
}

TEST(GetFreqDistribArr, ComparesWithTheClassItselfAndRoundsItForTheLine) {
  const Doubles values{2, 2.5, 2.5, 3, 3.5, -0.0}, classes{2.5, 3.5, 2, 0};
  EXPECT_EQ(GetFreqDistribArr(values, classes), (FrequencyTable{{2, 2}, {4, 1}, {2, 1}, {0, 1}}));
}

TEST(GetFreqDistribArr, EqualsOnePassOfTheValuesPerClass) {
  Seeded random("GetFreqDistribArr.EqualsOnePassOfTheValuesPerClass");
  for (int i = 0; i < 300; ++i) {
    Longs values(static_cast<std::size_t>(random.Whole(0, 200)));
    Longs classes(static_cast<std::size_t>(random.Whole(0, 30)));
    // Classes close together and far apart.
    const auto step = static_cast<std::int32_t>(random.Whole(0, 1) * 90'000'000 + 1);
    for (auto& v : values) v = step * static_cast<std::int32_t>(random.Whole(-20, 20));
    for (auto& c : classes) c = step * static_cast<std::int32_t>(random.Whole(-23, 23));
    FrequencyTable expected;
    for (const auto& [value, count] : plain::Frequencies<std::int32_t>(values, classes))
      expected.push_back({value, count});
    ASSERT_EQ(GetFreqDistribArr(values, classes), expected);
    ASSERT_EQ(GetFreqDistribArr(Doubles(values.begin(), values.end()),
                                Doubles(classes.begin(), classes.end())),
              expected);
    ASSERT_EQ(GetFreqDistribArr(Values(values.begin(), values.end()),
                                Values(classes.begin(), classes.end())),
              expected);
  }
}

TEST(GetFreqDistribArr, PassesOverValuesOnEitherSideOfTheClasses) {
  const std::int32_t most = std::numeric_limits<std::int32_t>::max(), least = -most - 1;
  const Longs values{least, -1, 0, 1, 2, 3, most};
  EXPECT_EQ(GetFreqDistribArr(values, Longs{0, 2}), (FrequencyTable{{0, 1}, {2, 1}}));
  EXPECT_EQ(GetFreqDistribArr(values, Longs{most, least}), (FrequencyTable{{most, 1}, {least, 1}}));
}

TEST(GetFreqDistribArr, ComparesMixedValues) {
  const Values values{1, 1.0, "1", Value(), std::int16_t{1}, 1.0f, "", "a"};
  EXPECT_EQ(GetFreqDistribArr(values, Values{1, 0, "1"}), (FrequencyTable{{1, 4}, {0, 1}, {1, 1}}));
}

TEST(GetFreqDistribArr, HasNoLinesWithoutClassesAndZerosWithoutValues) {
  EXPECT_EQ(GetFreqDistribArr(Longs{1, 2}, Longs{}), FrequencyTable{});
  EXPECT_EQ(GetFreqDistribArr(Longs{}, Longs{1, 2}), (FrequencyTable{{1, 0}, {2, 0}}));
}

TEST(GetFreqDistribArr, ReportsAClassThatIsNoLong) {
  CapturedMessages host;
  EXPECT_EQ(GetFreqDistribArr(Doubles{1}, Doubles{1, 3e9}), FrequencyTable{});
  EXPECT_EQ(GetFreqDistribArr(Doubles{1}, Doubles{std::numeric_limits<double>::quiet_NaN()}),
            FrequencyTable{});
  EXPECT_EQ(GetFreqDistribArr(Values{1}, Values{"oak"}), FrequencyTable{});
  EXPECT_EQ(GetFreqDistribArr(Values{1, Null{}}, Values{1}), FrequencyTable{});
  EXPECT_EQ(host.All(),
            (std::vector<Message>{{"GetFreqDistribArr: \r6\rOverflow", 16, "Error"},
                                  {"GetFreqDistribArr: \r6\rOverflow", 16, "Error"},
                                  {"GetFreqDistribArr: \r13\rType mismatch", 16, "Error"},
                                  {"GetFreqDistribArr: \r94\rInvalid use of Null", 16, "Error"}}));
}

}  // namespace
}  // namespace orlinths
