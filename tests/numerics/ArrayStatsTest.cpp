#include "numerics/ArrayStats.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "numerics/Constants.h"
#include "support/CapturedMessages.h"
#include "support/Seeded.h"

namespace orlinths {

void PrintTo(const ArrayStats& s, std::ostream* out) {
  *out << "{mean " << s.mean << ", sd " << s.sd << ", min " << s.min << ", max " << s.max
       << ", sum " << s.sum << ", count " << s.count << "}";
}

namespace {

using Doubles = std::vector<double>;
using Longs = std::vector<std::int32_t>;
using Values = std::vector<Value>;

constexpr ArrayStats kAllMissing{-999, -999, -999, -999, -999, -999};

Message Report(const std::string& text) { return {text, 16, "Error"}; }

// --- GetMaxArrayValue ---

TEST(GetMaxArrayValue, FindsTheLargestOfOneColumn) {
  Array2<double> table({0, 2}, {0, 2});
  const double cells[3][3] = {{1, -5, 0.25}, {9, -3, 0.75}, {4, -4, 0.5}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) table(i, j) = cells[i][j];
  EXPECT_EQ(GetMaxArrayValue(table, 0), 9);
  EXPECT_EQ(GetMaxArrayValue(table, 1), -3);
  EXPECT_EQ(GetMaxArrayValue(table, 2), 0.75);
}

TEST(GetMaxArrayValue, OfOneRowIsThatRow) {
  Array2<double> table({0, 0}, {0, 2});
  table(0, 2) = -7;
  EXPECT_EQ(GetMaxArrayValue(table, 2), -7);
}

TEST(GetMaxArrayValue, ReportsAWrongColumnAndATableWithoutRows) {
  CapturedMessages host;
  EXPECT_EQ(GetMaxArrayValue(Array2<double>({0, 2}, {0, 2}), 3), -1E+308);
  EXPECT_EQ(GetMaxArrayValue(Array2<double>({0, 2}, {0, 2}), -1), -1E+308);
  EXPECT_EQ(GetMaxArrayValue(Array2<double>(), 0), -1E+308);
  EXPECT_EQ(host.All(), std::vector(3, Report("GetMaxArrayValue: \r9\rSubscript out of range")));
}

// --- GetArrayStatsDbl, GetArrayStatsLng ---

TEST(GetArrayStats, OfAHandWorkedList) {
  // Mean 5, squared deviations 9 1 1 1 0 0 4 16 = 32, 32 / 7.
  const ArrayStats expected{5, std::sqrt((1.0 / 7) * 32), 2, 9, 40, 8};
  EXPECT_EQ(GetArrayStatsDbl(Doubles{2, 4, 4, 4, 5, 5, 7, 9}), expected);
  EXPECT_EQ(GetArrayStatsLng(Longs{2, 4, 4, 4, 5, 5, 7, 9}), expected);
}

TEST(GetArrayStats, FormsTheReciprocalFirst) {
  // Mean 5, squared deviations 4 4 25 1. A third is rounded before it meets the total.
  const double sd = GetArrayStatsDbl(Doubles{7, 7, 0, 6}).sd;
  EXPECT_EQ(sd, std::sqrt((1.0 / 3) * 34));
  EXPECT_NE(sd, std::sqrt(34.0 / 3));
}

TEST(GetArrayStats, PassesOverMissingEntries) {
  const ArrayStats expected{2, 1, 1, 3, 6, 3};
  EXPECT_EQ(GetArrayStatsDbl(Doubles{-999, 1, -999, 2, 3, -999}), expected);
  EXPECT_EQ(GetArrayStatsLng(Longs{-999, 1, -999, 2, 3, -999}), expected);
}

TEST(GetArrayStats, OnlyExactlyTheMarkerIsMissing) {
  const double beside = std::nextafter(-999.0, 0);
  EXPECT_EQ(GetArrayStatsDbl(Doubles{-999, beside, -1000}).count, 2);
  EXPECT_EQ(GetArrayStatsLng(Longs{-998, -999, -1000}).sum, -1998);
}

TEST(GetArrayStats, WithNothingLeftHasTheMarkerEverywhere) {
  EXPECT_EQ(GetArrayStatsDbl(Doubles{-999}), kAllMissing);
  EXPECT_EQ(GetArrayStatsDbl(Doubles{-999, -999, -999}), kAllMissing);
  EXPECT_EQ(GetArrayStatsLng(Longs{-999}), kAllMissing);
  EXPECT_EQ(GetArrayStatsLng(Longs{-999, -999}), kAllMissing);
}

TEST(GetArrayStats, OfOneUsableValueHasNoDeviation) {
  CapturedMessages host;
  const ArrayStats expected{7, 0, 7, 7, 7, 1};
  EXPECT_EQ(GetArrayStatsDbl(Doubles{7}), expected);
  EXPECT_EQ(GetArrayStatsDbl(Doubles{-999, 7, -999}), expected);
  EXPECT_EQ(GetArrayStatsLng(Longs{-999, 7}), expected);
  EXPECT_EQ(host.Text(), Texts{});
}

TEST(GetArrayStats, OfLongsWorksInDoubles) {
  const std::int32_t most = std::numeric_limits<std::int32_t>::max();
  const std::int32_t least = std::numeric_limits<std::int32_t>::min();
  const ArrayStats stats = GetArrayStatsLng(Longs{most, most, least});
  EXPECT_EQ(stats.sum, 2147483647.0 + 2147483647.0 - 2147483648.0);
  EXPECT_EQ(stats.max, 2147483647.0);
  EXPECT_EQ(stats.min, -2147483648.0);
  EXPECT_NEAR(stats.sd, 4294967295 / std::sqrt(3.0), 1e-3);
}

/// A copy of what is kept first, then one job at a time over it.
ArrayStats PlainStats(const Doubles& entries) {
  Doubles kept;
  for (const double v : entries)
    if (v != -999) kept.push_back(v);
  if (kept.empty()) return kAllMissing;
  ArrayStats stats{.min = kept[0], .max = kept[0]};
  for (const double v : kept) {
    stats.sum += v;
    stats.min = std::min(stats.min, v);
    stats.max = std::max(stats.max, v);
  }
  const auto n = static_cast<double>(kept.size());
  stats.count = static_cast<std::int32_t>(kept.size());
  stats.mean = stats.sum / n;
  double total = 0;
  for (const double v : kept) total += (v - stats.mean) * (v - stats.mean);
  if (kept.size() > 1) stats.sd = std::sqrt(1 / (n - 1) * total);
  return stats;
}

TEST(GetArrayStats, EqualsThePlainWayBitForBit) {
  Seeded random("GetArrayStats.EqualsThePlainWayBitForBit");
  for (int i = 0; i < 500; ++i) {
    Doubles doubles(static_cast<std::size_t>(random.Whole(1, 60)));
    Longs longs(doubles.size());
    for (std::size_t k = 0; k < doubles.size(); ++k) {
      doubles[k] = random.Chance(0.3) ? -999 : random.Real(-1e6, 1e6);
      longs[k] = random.Chance(0.3) ? -999 : static_cast<std::int32_t>(random.Whole(-1000, -990));
    }
    ASSERT_EQ(GetArrayStatsDbl(doubles), PlainStats(doubles));
    ASSERT_EQ(GetArrayStatsLng(longs), PlainStats(Doubles(longs.begin(), longs.end())));
  }
}

TEST(GetArrayStats, ReportsAListThatWasNeverAllocated) {
  CapturedMessages host;
  EXPECT_EQ(GetArrayStatsDbl({}), ArrayStats{});
  EXPECT_EQ(GetArrayStatsLng({}), ArrayStats{});
  EXPECT_EQ(GetArrayStats2(Doubles{}), ArrayStats{});
  EXPECT_EQ(host.All(), (std::vector{Report("GetArrayStatsDbl: \r9\rSubscript out of range"),
                                     Report("GetArrayStatsLng: \r9\rSubscript out of range"),
                                     Report("GetArrayStats2: \r9\rSubscript out of range")}));
}

TEST(GetArrayStats, KeepsTheFieldsSetBeforeAnOverflow) {
  CapturedMessages host;
  EXPECT_EQ(GetArrayStatsDbl(Doubles{1e308, 0.5e308, -2, 1.5e308, 3}),
            (ArrayStats{.min = -2, .max = 1.5e308, .sum = 1e308 + 0.5e308}));
  const ArrayStats wide = GetArrayStatsDbl(Doubles{-1e200, 1e200});
  EXPECT_EQ(wide, (ArrayStats{0, 0, -1e200, 1e200, 0, 2}));
  EXPECT_EQ(host.All(), std::vector(2, Report("GetArrayStatsDbl: \r6\rOverflow")));
}

// --- GetArrayStats2 ---

TEST(GetArrayStats2, TakesEveryEntryAndLeavesTheRestZero) {
  const ArrayStats expected{-331, 0, 0, 0, -993, 3};
  EXPECT_EQ(GetArrayStats2(Doubles{-999, 2, 4}), expected);
  EXPECT_EQ(GetArrayStats2(Longs{-999, 2, 4}), expected);
  EXPECT_EQ(GetArrayStats2(Values{-999, 2.0, "4"}), expected);
}

TEST(GetArrayStats2, AnEmptyEntryCountsAsZero) {
  EXPECT_EQ(GetArrayStats2(Values{Value()}), (ArrayStats{.count = 1}));
}

TEST(GetArrayStats2, ReportsWhatIsNoNumber) {
  CapturedMessages host;
  EXPECT_EQ(GetArrayStats2(Values{1, 2, "oak", 3}), (ArrayStats{.sum = 3}));
  EXPECT_EQ(GetArrayStats2(Values{1, Null{}}), (ArrayStats{.sum = 1}));
  EXPECT_EQ(host.All(), (std::vector{Report("GetArrayStats2: \r13\rType mismatch"),
                                     Report("GetArrayStats2: \r94\rInvalid use of Null")}));
}

// --- GetArrayStatsSlider ---

using Window = std::vector<SliderRow>;

TEST(GetArrayStatsSlider, TakesOneColumnOutAndOneIn) {
  const ArrayStats previous{.mean = 5, .sd = 1, .min = 2, .max = 9, .sum = 20, .count = 4};
  EXPECT_EQ(GetArrayStatsSlider(Window{{3, 10}, {255, 4}, {7, 255}}, previous),
            (ArrayStats{.mean = 6, .sum = 24, .count = 4}));
}

TEST(GetArrayStatsSlider, KeepsSumAndCountWhereNothingCounts) {
  const ArrayStats previous{.sum = 20, .count = 4};
  EXPECT_EQ(GetArrayStatsSlider(Window{{255, 255}, {255, 255}}, previous),
            (ArrayStats{.mean = 5, .sum = 20, .count = 4}));
}

TEST(GetArrayStatsSlider, OnlyExactlyTheMarkerIsPassedOver) {
  const double beside = std::nextafter(255.0, 0);
  EXPECT_EQ(GetArrayStatsSlider(Window{{beside, 255}, {255, -999}}, {.sum = 510, .count = 2}).count,
            2);
}

TEST(GetArrayStatsSlider, EqualsARereadOfTheWindow) {
  Seeded random("GetArrayStatsSlider.EqualsARereadOfTheWindow");
  constexpr std::size_t kRows = 9, kColumns = 200, kWide = 5;
  std::vector<Doubles> cells(kRows, Doubles(kColumns));
  for (auto& row : cells)
    for (double& cell : row)
      cell = random.Chance(0.2) ? 255 : static_cast<double>(random.Whole(0, 254));
  const auto reread = [&](std::size_t first) {
    Doubles values;
    for (const auto& row : cells)
      for (std::size_t j = first; j < first + kWide; ++j)
        if (row[j] != 255) values.push_back(row[j]);
    return GetArrayStats2(values);
  };
  ArrayStats rolling = reread(0);
  for (std::size_t first = 1; first + kWide <= kColumns; ++first) {
    Window window;
    for (const auto& row : cells) window.push_back({row[first - 1], row[first + kWide - 1]});
    rolling = GetArrayStatsSlider(window, rolling);
    ASSERT_EQ(rolling, reread(first)) << "whole numbers do not drift";
  }
}

TEST(GetArrayStatsSlider, ReportsAWindowWithNothingLeft) {
  CapturedMessages host;
  EXPECT_EQ(GetArrayStatsSlider(Window{{5, 255}}, {.mean = 3, .sum = 7, .count = 1}),
            (ArrayStats{.sum = 2, .count = 0}));
  EXPECT_EQ(GetArrayStatsSlider(Window{{5, 255}}, {.sum = 5, .count = 1}),
            (ArrayStats{.sum = 0, .count = 0}));
  EXPECT_EQ(GetArrayStatsSlider({}, {.mean = 3, .sum = 7, .count = 1}),
            (ArrayStats{.sum = 7, .count = 1}));
  EXPECT_EQ(host.All(), (std::vector{Report("GetArrayStatsSlider: \r11\rDivision by zero"),
                                     Report("GetArrayStatsSlider: \r6\rOverflow"),
                                     Report("GetArrayStatsSlider: \r9\rSubscript out of range")}));
}

}  // namespace
}  // namespace orlinths
