#include "numerics/Sorting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "runtime/RuntimeError.h"
#include "support/PlainNumerics.h"
#include "support/Seeded.h"

namespace orlinths {

void PrintTo(const Value& v, std::ostream* out) { *out << ToText(v); }

namespace {

using Doubles = std::vector<double>;
using Index = std::vector<std::int32_t>;
using Values = std::vector<Value>;

template <class Body>
ErrorNumber ErrorOf(Body body) {
  try {
    body();
  } catch (const RuntimeError& error) {
    return error.Code();
  }
  return {};
}

Index Ascending(std::size_t count) {
  Index index(count);
  std::iota(index.begin(), index.end(), 0);
  return index;
}

bool KeysRise(const Doubles& keys, const Index& index, std::size_t lo, std::size_t hi) {
  for (std::size_t i = lo; i < hi; ++i)
    if (keys[static_cast<std::size_t>(index[i])] > keys[static_cast<std::size_t>(index[i + 1])])
      return false;
  return true;
}

TEST(HeapSortIndex, SortsTheIndexAndLeavesTheKeys) {
  const Doubles keys{5, -1, 3.5, 2};
  Index index = Ascending(4);
  HeapSortIndex(0, 3, keys, index);
  EXPECT_EQ(index, (Index{1, 3, 2, 0}));
}

TEST(HeapSortIndex, EqualsTheSortByExchanges) {
  Seeded random("HeapSortIndex.EqualsTheSortByExchanges");
  for (int i = 0; i < 1000; ++i) {
    const auto count = static_cast<std::size_t>(random.Whole(1, 70));
    Doubles keys(count);
    // Few different keys, so that their order among equals is put to the test.
    for (double& key : keys) key = static_cast<double>(random.Whole(0, i % 20));
    Index index = Ascending(count);
    for (std::size_t k = count; k-- > 1;)
      std::swap(index[k],
                index[static_cast<std::size_t>(random.Whole(0, static_cast<std::int64_t>(k)))]);
    const auto lo = random.Whole(0, static_cast<std::int64_t>(count) - 1);
    const auto hi = random.Whole(lo, static_cast<std::int64_t>(count) - 1);
    Index expected = index;
    plain::HeapSortIndex(lo, hi, keys, expected);
    HeapSortIndex(lo, hi, keys, index);
    ASSERT_EQ(index, expected) << "count " << count << ", lo " << lo << ", hi " << hi;
    ASSERT_TRUE(KeysRise(keys, index, static_cast<std::size_t>(lo), static_cast<std::size_t>(hi)));
  }
}

TEST(HeapSortIndex, OrderAmongEqualKeysIsThatOfTheHeap) {
  // By hand. Sinking place 1 exchanges it with 3; sinking place 0 takes the right child only if its
  // key is strictly larger, so it goes down the left side: 3 1 2 0. Removals: 1 0 2 3, then 0 2 1
  // 3, then 2 0 1 3.
  Index index = Ascending(4);
  HeapSortIndex(0, 3, Doubles{7, 7, 7, 7}, index);
  Index expected = Ascending(4);
  plain::HeapSortIndex(0, 3, Doubles{7, 7, 7, 7}, expected);
  EXPECT_EQ(index, expected);
  EXPECT_EQ(index, (Index{2, 0, 1, 3}));
}

TEST(HeapSortIndex, AllEqualKeysLeaveAPermutation) {
  for (std::size_t count = 1; count < 40; ++count) {
    Index index = Ascending(count);
    HeapSortIndex(0, static_cast<std::int64_t>(count) - 1, Doubles(count, 3.0), index);
    EXPECT_TRUE(std::is_permutation(index.begin(), index.end(), Ascending(count).begin()));
  }
}

TEST(HeapSortIndex, OneEntryOrNoneStaysAsItIs) {
  Index index{9, 9};
  HeapSortIndex(1, 1, Doubles{}, index);
  HeapSortIndex(0, -1, Doubles{}, index);
  HeapSortIndex(5, 2, Doubles{}, index);
  EXPECT_EQ(index, (Index{9, 9}));
}

TEST(HeapSortIndex, TouchesNothingOutsideItsBounds) {
  const Doubles keys{5, 4, 3, 2, 1, 0};
  Index index = Ascending(6);
  HeapSortIndex(1, 4, keys, index);
  EXPECT_EQ(index, (Index{0, 4, 3, 2, 1, 5}));
}

TEST(HeapSortIndex, RaisesSubscriptErrorsBeforeItMovesAnything) {
  const Doubles keys{3, 2, 1};
  Index index{0, 1, 2};
  EXPECT_EQ(ErrorOf([&] { HeapSortIndex(0, 3, keys, index); }), ErrorNumber::kSubscript);
  EXPECT_EQ(ErrorOf([&] { HeapSortIndex(-1, 2, keys, index); }), ErrorNumber::kSubscript);
  EXPECT_EQ(index, (Index{0, 1, 2}));
  index = {0, 1, 3};
  EXPECT_EQ(ErrorOf([&] { HeapSortIndex(0, 2, keys, index); }), ErrorNumber::kSubscript);
  index = {0, -1, 2};
  EXPECT_EQ(ErrorOf([&] { HeapSortIndex(0, 2, keys, index); }), ErrorNumber::kSubscript);
}

TEST(QuickSortValues, SortsNumbersWithinTheBounds) {
  Doubles values{9, 5, -1, 5, 2, 0};
  QuickSortValues(values, 1, 4);
  EXPECT_EQ(values, (Doubles{9, -1, 2, 5, 5, 0}));
}

TEST(QuickSortValues, SortsTwoElementsAndLeavesOne) {
  Doubles values{2, 1};
  QuickSortValues(values, 0, 1);
  EXPECT_EQ(values, (Doubles{1, 2}));
  QuickSortValues(values, 0, 1);
  EXPECT_EQ(values, (Doubles{1, 2}));
  QuickSortValues(values, 1, 1);
  EXPECT_EQ(values, (Doubles{1, 2}));
  Values mixed{"b", 1};
  QuickSortValues(mixed, 0, 1);
  EXPECT_EQ(mixed, (Values{1, "b"}));
  QuickSortValues(mixed, 0, 0);
  EXPECT_EQ(mixed, (Values{1, "b"}));
}

TEST(QuickSortValues, EqualsThePlainSortOnNumbers) {
  Seeded random("QuickSortValues.EqualsThePlainSortOnNumbers");
  for (int i = 0; i < 500; ++i) {
    Doubles values(static_cast<std::size_t>(random.Whole(1, 80)));
    for (double& v : values) v = static_cast<double>(random.Whole(-30, 30));
    const auto last = static_cast<std::int64_t>(values.size()) - 1;
    const auto lo = random.Whole(0, last), hi = random.Whole(lo, last);
    Doubles expected = values;
    plain::QuickSort(expected, lo, hi, [](double a, double b) { return a > b; });
    Values held(values.begin(), values.end());
    QuickSortValues(values, lo, hi);
    QuickSortValues(held, lo, hi);
    ASSERT_EQ(values, expected);
    ASSERT_EQ(held, Values(expected.begin(), expected.end()));
  }
}

TEST(QuickSortValues, EqualsThePlainSortOnMixedValuesOrderOfEqualsIncluded) {
  Seeded random("QuickSortValues.EqualsThePlainSortOnMixedValuesOrderOfEqualsIncluded");
  for (int i = 0; i < 500; ++i) {
    Values values(static_cast<std::size_t>(random.Whole(1, 40)));
    for (Value& v : values) {
      const auto n = static_cast<std::int32_t>(random.Whole(-4, 4));
      switch (random.Whole(0, 5)) {
        case 0:
          v = n;
          break;
        case 1:
          v = static_cast<std::int16_t>(n);
          break;
        case 2:
          v = static_cast<float>(n);
          break;
        case 3:
          v = ToText(n);
          break;
        case 4:
          v = Value();
          break;
        default:
          v = static_cast<double>(n);
      }
    }
    const auto last = static_cast<std::int64_t>(values.size()) - 1;
    Values expected = values;
    plain::QuickSort(expected, 0, last,
                     [](const Value& a, const Value& b) { return Compare(a, b) > 0; });
    QuickSortValues(values, 0, last);
    ASSERT_EQ(values, expected);
  }
}

TEST(QuickSortValues, SortsValuesOfEachNumberType) {
  Values shorts{std::int16_t{3}, std::int16_t{-1}, std::int16_t{2}};
  QuickSortValues(shorts, 0, 2);
  EXPECT_EQ(shorts, (Values{std::int16_t{-1}, std::int16_t{2}, std::int16_t{3}}));
  Values longs{3, -1, 2};
  QuickSortValues(longs, 0, 2);
  EXPECT_EQ(longs, (Values{-1, 2, 3}));
  Values singles{3.5f, -1.0f, 2.0f};
  QuickSortValues(singles, 0, 2);
  EXPECT_EQ(singles, (Values{-1.0f, 2.0f, 3.5f}));
  Values texts{"oak", "ash", "elm"};
  QuickSortValues(texts, 0, 2);
  EXPECT_EQ(texts, (Values{"ash", "elm", "oak"}));
}

TEST(QuickSortValues, NotANumberGoesLast) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Doubles values{nan, 3, nan, 1, 2};
  QuickSortValues(values, 0, 4);
  EXPECT_EQ(Doubles(values.begin(), values.begin() + 3), (Doubles{1, 2, 3}));
  EXPECT_TRUE(std::isnan(values[3]) && std::isnan(values[4]));
}

TEST(QuickSortValues, LongRunsOfMixedValuesDoNotExhaustTheStack) {
  Values values(4000, Value(7));
  values.front() = 7.0;
  QuickSortValues(values, 0, 3999);
  EXPECT_EQ(std::count(values.begin(), values.end(), Value(7)), 3999);
}

TEST(QuickSortValues, RaisesSubscriptErrorsBeforeItMovesAnything) {
  Doubles values{3, 2, 1};
  for (const auto& [lo, hi] : {std::pair{0, 3}, {-1, 2}, {0, -1}, {2, 1}})
    EXPECT_EQ(ErrorOf([&] { QuickSortValues(values, lo, hi); }), ErrorNumber::kSubscript);
  EXPECT_EQ(values, (Doubles{3, 2, 1}));
  Values none;
  EXPECT_EQ(ErrorOf([&] { QuickSortValues(none, 0, -1); }), ErrorNumber::kSubscript);
}

TEST(QuickSortValues, RaisesInvalidNull) {
  Values values{1, Null{}, 2};
  EXPECT_EQ(ErrorOf([&] { QuickSortValues(values, 0, 2); }), ErrorNumber::kInvalidNull);
}

}  // namespace
}  // namespace orlinths
