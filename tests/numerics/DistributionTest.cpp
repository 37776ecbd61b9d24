#include "numerics/Distribution.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numeric>
#include <set>
#include <vector>

#include "numerics/ArrayStats.h"
#include "numerics/Random.h"
#include "runtime/RuntimeError.h"
#include "support/CapturedMessages.h"
#include "support/ChiSquare.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using Rows = std::vector<std::array<double, 3>>;

DistributionTable TableOf(const Rows& rows) {
  DistributionTable table({0, static_cast<std::int64_t>(rows.size()) - 1}, {0, 2});
  for (std::size_t i = 0; i < rows.size(); ++i)
    for (std::size_t j = 0; j < 3; ++j)
      table(static_cast<std::int64_t>(i), static_cast<std::int64_t>(j)) = rows[i][j];
  return table;
}

Rows RowsOf(const DistributionTable& table) {
  Rows rows;
  for (std::int64_t i = 0; i <= table.First().upper; ++i)
    rows.push_back({table(i, 0), table(i, 1), table(i, 2)});
  return rows;
}

Message Report(const std::string& text) { return {text, 16, "Error"}; }

class DistributionTest : public ::testing::Test {
 protected:
  DistributionTest() { ResetGenerator(); }
  ~DistributionTest() override { ResetGenerator(); }

  bool Load(const std::string& text, const std::string& delimiter = ",") {
    WriteBytes(folder / "bins.txt", text);
    return LoadDistributionFromFile(folder / "bins.txt", delimiter, table);
  }

  CapturedMessages host;
  TempFolder folder;
  DistributionTable table;
};

// --- The file ---

TEST_F(DistributionTest, LoadsOneBinALine) {
  EXPECT_TRUE(Load("0,10,0.25\n10,20.5,1\n-180,-90,3e-2\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}, {10, 20.5, 1}, {-180, -90, 0.03}}));
  EXPECT_EQ(table.First().lower, 0);
  EXPECT_EQ(table.First().upper, 2);
  EXPECT_EQ(table.Second().lower, 0);
  EXPECT_EQ(table.Second().upper, 2);
  EXPECT_EQ(host.Text(), Texts{});
}

TEST_F(DistributionTest, TakesBothLineEndsAndALastLineWithoutOne) {
  EXPECT_TRUE(Load("0,10,0.25\r\n10,20,0.5\n20,30,1"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}, {10, 20, 0.5}, {20, 30, 1}}));
}

TEST_F(DistributionTest, TakesBlanksAroundNumbersAndIgnoresFurtherFields) {
  EXPECT_TRUE(Load(" 0 ,\t10, 0.25 ,words,7\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}}));
}

TEST_F(DistributionTest, SplitsAtAnyDelimiterWhole) {
  EXPECT_TRUE(Load("0;10;0,5\n0;10;0.5\n", ";"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.5}}));
  EXPECT_TRUE(Load("1::2::3::x\n", "::"));
  EXPECT_EQ(RowsOf(table), (Rows{{1, 2, 3}}));
}

TEST_F(DistributionTest, SkipsAHeadingOfThreeFields) {
  EXPECT_TRUE(Load("from,to,weight\n0,10,0.25\n10,20,1\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}, {10, 20, 1}}));
}

TEST_F(DistributionTest, SkipsHeadingsBetweenTheBins) {
  EXPECT_TRUE(Load("from,to,weight\nin,map,units\n0,10,0.25\nlong,steps,now\n10,20,1\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}, {10, 20, 1}}));
}

TEST_F(DistributionTest, OneFieldThatIsNoNumberSkipsTheLine) {
  EXPECT_TRUE(Load("x,10,0.25\n0,x,0.25\n0,10,x\n,10,0.25\n0,,0.25\n0,10,    \n0,10,0.25\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}}));
}

TEST_F(DistributionTest, LosesBinsOfFewerThanSixCharactersInSilence) {
  EXPECT_TRUE(Load("1,2,3\n\n1,2,34\nabc\n5,6,7"));
  EXPECT_EQ(RowsOf(table), (Rows{{1, 2, 34}}));
  EXPECT_EQ(host.Text(), Texts{});
}

TEST_F(DistributionTest, CountsCharactersAndNotBytes) {
  EXPECT_TRUE(Load("0,10,0.25\n\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\n")) << "five characters";
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}}));
  EXPECT_FALSE(Load("0,10,0.25\n\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\n")) << "six";
}

TEST_F(DistributionTest, ALastLineThatIsNoBinAddsARowOfZeros) {
  EXPECT_TRUE(Load("0,10,0.25\n10,20,1\nend,of,file\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}, {10, 20, 1}, {0, 0, 0}}));
}

TEST_F(DistributionTest, ShortLinesBehindTheLastLineThatIsNoBinDoNotMatter) {
  EXPECT_TRUE(Load("0,10,0.25\nend,of,file\nend,of,file\n\n1,2,3\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}, {0, 0, 0}}));
}

TEST_F(DistributionTest, AHeadingAloneGivesOneRowOfZeros) {
  EXPECT_TRUE(Load("from,to,weight\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 0, 0}}));
}

TEST_F(DistributionTest, AHeadingOfOneWordIsFatal) {
  table = TableOf({{1, 2, 3}});
  EXPECT_FALSE(Load("weights\n0,10,0.25\n"));
  EXPECT_EQ(host.All(),
            std::vector{Report("LoadDistributionFromFile: \r9\rSubscript out of range")});
  EXPECT_EQ(RowsOf(table), (Rows{{1, 2, 3}})) << "the caller's table stays as it was";
}

TEST_F(DistributionTest, ALastLineOfWordsIsFatal) {
  EXPECT_FALSE(Load("0,10,0.25\nend of file\n"));
  EXPECT_EQ(host.All(),
            std::vector{Report("LoadDistributionFromFile: \r9\rSubscript out of range")});
}

TEST_F(DistributionTest, TwoFieldsAreTooFew) {
  EXPECT_FALSE(Load("0,10,0.25\n10,200\n"));
  EXPECT_EQ(host.All(),
            std::vector{Report("LoadDistributionFromFile: \r9\rSubscript out of range")});
}

TEST_F(DistributionTest, AnotherDelimiterThanTheFilesIsFatal) {
  EXPECT_FALSE(Load("0;10;0.25\n"));
  EXPECT_FALSE(Load("0,10,0.25\n", ""));
  EXPECT_EQ(host.All().size(), 2u);
}

TEST_F(DistributionTest, WhatOnlyLooksLikeANumberSkipsTheLine) {
  // Quoted, with words behind, half a number, what some programs write for missing values.
  for (const char* field :
       {"\"10\"", "10 m", "1e", "--1", "1.2.3", "NaN", "nan", "NA", "-inf", "1_000"}) {
    host.Clear();
    EXPECT_TRUE(Load(std::string(field) + ",10,0.25\n0,10,0.25\n")) << field;
    EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}})) << field;
    EXPECT_EQ(host.Text(), Texts{});
  }
}

TEST_F(DistributionTest, AMarkOfUtf8InFrontOfTheFileIsNoPartOfIt) {
  EXPECT_TRUE(
      Load("\xEF\xBB\xBF"
           "0,10,0.25\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}}));
}

TEST_F(DistributionTest, ADecimalCommaMakesAFieldMore) {
  EXPECT_TRUE(Load("0,5,10,0,25\n"));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 5, 10}})) << "what lies behind the third field is ignored";
}

TEST_F(DistributionTest, BytesThatAreNoTextAreNoBins) {
  const std::string bytes("\0\1\2\377\376,\0\0,\200\n0,10,0.25\n", 20);
  EXPECT_TRUE(Load(bytes));
  EXPECT_EQ(RowsOf(table), (Rows{{0, 10, 0.25}}));
  EXPECT_FALSE(Load(std::string("\0\0\0\0\0\0\0\0", 8)));
}

TEST_F(DistributionTest, AFileWithoutALongEnoughLineFails) {
  for (const char* text : {"", "\n\n", "1,2,3\n4,5,6\n"}) {
    host.Clear();
    EXPECT_FALSE(Load(text));
    EXPECT_EQ(host.All(),
              std::vector{Report("LoadDistributionFromFile: \r9\rSubscript out of range")})
        << text;
  }
}

TEST_F(DistributionTest, AMissingOrUnreadableFileFails) {
  EXPECT_FALSE(LoadDistributionFromFile(folder / "none.txt", ",", table));
  EXPECT_FALSE(LoadDistributionFromFile(folder / "none" + "/none.txt", ",", table));
  EXPECT_FALSE(LoadDistributionFromFile(folder.Path(), ",", table));
  EXPECT_EQ(host.All(), (std::vector{Report("LoadDistributionFromFile: \r53\rFile not found"),
                                     Report("LoadDistributionFromFile: \r76\rPath not found"),
                                     Report("LoadDistributionFromFile: \r70\rPermission denied")}));
}

// --- Scaling ---

TEST_F(DistributionTest, MaximizeStretchesWeightsBelowOne) {
  const auto source = TableOf({{0, 1, 0.125}, {1, 2, 0.5}, {2, 3, 0.25}});
  const auto result = MaximizeProbabilityDistrib(source);
  ASSERT_TRUE(result.has_value());
  EXPECT_EQ(RowsOf(*result), (Rows{{0, 1, 0.25}, {1, 2, 1}, {2, 3, 0.5}}));
  EXPECT_EQ(RowsOf(source), (Rows{{0, 1, 0.125}, {1, 2, 0.5}, {2, 3, 0.25}})) << "a copy";
}

TEST_F(DistributionTest, MaximizeLeavesWeightsFromOneUp) {
  for (const double largest : {1.0, 1.5, 400.0}) {
    const Rows rows{{0, 1, 0.125}, {1, 2, largest}};
    EXPECT_EQ(RowsOf(*MaximizeProbabilityDistrib(TableOf(rows))), rows);
  }
}

TEST_F(DistributionTest, MaximizeMakesTheLargestWeightExactlyOne) {
  Seeded random("DistributionTest.MaximizeMakesTheLargestWeightExactlyOne");
  for (int i = 0; i < 200; ++i) {
    Rows rows(static_cast<std::size_t>(random.Whole(1, 30)));
    for (auto& row : rows) row = {0, 1, random.Real(1e-9, 0.9)};
    EXPECT_EQ(GetMaxArrayValue(*MaximizeProbabilityDistrib(TableOf(rows)), 2), 1);
  }
}

TEST_F(DistributionTest, MaximizeScansFromTheFirstRowAndTakesNegativeWeights) {
  EXPECT_EQ(RowsOf(*MaximizeProbabilityDistrib(TableOf({{0, 1, -4}, {1, 2, -2}}))),
            (Rows{{0, 1, 2}, {1, 2, 1}}));
}

TEST_F(DistributionTest, MaximizeFailsOnWeightsOfZero) {
  EXPECT_FALSE(MaximizeProbabilityDistrib(TableOf({{0, 1, 0}, {1, 2, 0}})).has_value());
  EXPECT_FALSE(MaximizeProbabilityDistrib(TableOf({{0, 1, -1}, {1, 2, 0}})).has_value());
  EXPECT_FALSE(MaximizeProbabilityDistrib(DistributionTable()).has_value());
  EXPECT_EQ(host.All(),
            (std::vector{Report("MaximizeProbabilityDistrib\r6\rOverflow"),
                         Report("MaximizeProbabilityDistrib\r11\rDivision by zero"),
                         Report("MaximizeProbabilityDistrib\r9\rSubscript out of range")}));
}

TEST_F(DistributionTest, ScaleToMaxDividesInPlace) {
  table = TableOf({{0, 1, 10}, {1, 2, 40}, {2, 3, 0}});
  ScaleToMax(table);
  EXPECT_EQ(RowsOf(table), (Rows{{0, 1, 0.25}, {1, 2, 1}, {2, 3, 0}}));
  table = TableOf({{0, 1, 0.25}, {1, 2, 0.5}});
  ScaleToMax(table);
  EXPECT_EQ(RowsOf(table), (Rows{{0, 1, 0.5}, {1, 2, 1}})) << "below 1 too";
}

TEST_F(DistributionTest, ScaleToMaxStartsFromMinusOne) {
  table = TableOf({{0, 1, -4}, {1, 2, -2}});
  ScaleToMax(table);
  EXPECT_EQ(RowsOf(table), (Rows{{0, 1, 4}, {1, 2, 2}}));
  table = TableOf({{0, 1, -0.5}, {1, 2, -2}});
  ScaleToMax(table);
  EXPECT_EQ(RowsOf(table), (Rows{{0, 1, 1}, {1, 2, 4}}));
}

TEST_F(DistributionTest, ScaleToMaxLeavesItsFailuresToTheCaller) {
  table = TableOf({{0, 1, 0}, {1, 2, 0}});
  EXPECT_THROW(ScaleToMax(table), RuntimeError);
  DistributionTable none;
  EXPECT_THROW(ScaleToMax(none), RuntimeError);
  EXPECT_EQ(host.Text(), Texts{});
}

// --- Draws ---

/// The steps one by one, on the same generator.
double PlainDraw(const Rows& rows) {
  for (;;) {
    const double r = UniformDraw();
    const auto& row =
        rows[static_cast<std::size_t>(std::floor(r * static_cast<double>(rows.size())))];
    const float w = UniformDraw();
    if (!(static_cast<float>(row[2]) > w)) continue;
    const double u = UniformDraw();
    return (row[1] - row[0]) * u + row[0];
  }
}

TEST_F(DistributionTest, DrawsThreeNumbersAndTwoForEachRejection) {
  Seeded random("DistributionTest.DrawsThreeNumbersAndTwoForEachRejection");
  Rows rows(17);
  for (auto& row : rows) row = {random.Real(-180, 180), random.Real(-180, 180), random.Real(0, 1)};
  table = TableOf(rows);
  SeedGenerator();
  std::vector<double> plain, fast;
  for (int i = 0; i < 3000; ++i) plain.push_back(PlainDraw(rows));
  const float after = UniformDraw();
  ResetGenerator();
  SeedGenerator();
  for (int i = 0; i < 3000; ++i) fast.push_back(DrawFromDistributionBin(table));
  EXPECT_EQ(fast, plain);
  EXPECT_EQ(UniformDraw(), after);
}

TEST_F(DistributionTest, ATableOfOneRowGivesZeroWithoutADraw) {
  table = TableOf({{5, 10, 1}});
  const float next = (SeedGenerator(), UniformDraw());
  ResetGenerator();
  SeedGenerator();
  EXPECT_EQ(DrawFromDistributionBin(table), 0.0);
  EXPECT_EQ(UniformDraw(), next);
}

TEST_F(DistributionTest, OneBinOfWeightOneAmongZerosGivesAllValues) {
  table = TableOf({{0, 1, 0}, {50, 60, 1}, {2, 3, 0}});
  std::set<double> values;
  for (int i = 0; i < 2000; ++i) {
    const double v = DrawFromDistributionBin(table);
    ASSERT_GE(v, 50);
    ASSERT_LT(v, 60);
    values.insert(v);
  }
  EXPECT_GT(values.size(), 1900u);
}

TEST_F(DistributionTest, BinsAreDrawnByWeightWhateverTheirWidth) {
  constexpr int kDraws = 200'000;
  Rows rows;
  std::vector<double> expected;
  for (int i = 0; i < 20; ++i) {
    rows.push_back({100.0 * i, 100.0 * i + (i % 2 ? 99 : 0.5), (i + 1) / 20.0});
    expected.push_back(kDraws * (i + 1) / 210.0);
  }
  table = TableOf(rows);
  std::vector<double> counts(20);
  for (int i = 0; i < kDraws; ++i)
    ++counts[static_cast<std::size_t>(DrawFromDistributionBin(table) / 100)];
  EXPECT_TRUE(FitsByChiSquare(counts, expected));
}

TEST_F(DistributionTest, ValuesAreUniformWithinABin) {
  constexpr int kDraws = 100'000;
  table = TableOf({{-40, 60, 1}, {0, 0, 0}});
  std::vector<double> counts(100), expected(100, kDraws / 100.0);
  for (int i = 0; i < kDraws; ++i)
    ++counts[static_cast<std::size_t>(DrawFromDistributionBin(table) + 40)];
  EXPECT_TRUE(FitsByChiSquare(counts, expected));
}

TEST_F(DistributionTest, AWeightAboveOneCountsAsOne) {
  constexpr int kDraws = 100'000;
  Rows rows;
  for (int i = 0; i < 12; ++i) rows.push_back({double(i), i + 1.0, i % 3 == 0 ? 1.0 : 5.0 * i});
  table = TableOf(rows);
  std::vector<double> counts(12), expected(12, kDraws / 12.0);
  for (int i = 0; i < kDraws; ++i)
    ++counts[static_cast<std::size_t>(DrawFromDistributionBin(table))];
  EXPECT_TRUE(FitsByChiSquare(counts, expected));
}

TEST_F(DistributionTest, AWeightIsComparedAsASingle) {
  std::array<float, 5> u;
  do {
    ++host.clock;
    ResetGenerator();
    SeedGenerator();
    for (float& draw : u) draw = UniformDraw();
  } while (!(u[1] > u[3]));
  ResetGenerator();
  SeedGenerator();
  // As a double the weight beats the second draw, as a single it equals it: the bin is rejected.
  const double weight = u[1] + 1e-12;
  ASSERT_GT(weight, u[1]);
  table = TableOf({{0, 100, weight}, {0, 100, weight}});
  EXPECT_EQ(DrawFromDistributionBin(table), 100.0 * u[4]);
}

TEST_F(DistributionTest, AWeightBeyondASingleIsReported) {
  table = TableOf({{7, 8, 1e39}, {1, 2, 1e39}});
  EXPECT_EQ(DrawFromDistributionBin(table), 0.0);
  EXPECT_EQ(host.All(), std::vector{Report("DrawFromDistributionBin\r6\rOverflow")});
}

TEST_F(DistributionTest, LowerBoundMayLieAboveTheUpper) {
  table = TableOf({{10, 5, 1}, {10, 5, 1}});
  for (int i = 0; i < 1000; ++i) {
    const double v = DrawFromDistributionBin(table);
    ASSERT_GT(v, 5);
    ASSERT_LE(v, 10);
  }
}

TEST_F(DistributionTest, WeightsOfZeroGoOnUntilAStopIsAsked) {
  table = TableOf({{0, 1, 0}, {1, 2, 0}});
  RequestStop();
  EXPECT_EQ(DrawFromDistributionBin(table), 0.0);
  EXPECT_EQ(host.yields, 1);
  EXPECT_EQ(host.All(),
            std::vector{Report("DrawFromDistributionBin\r18\rUser interrupt occurred")});
}

TEST_F(DistributionTest, ATableWithoutRowsIsReported) {
  EXPECT_EQ(DrawFromDistributionBin(DistributionTable()), 0.0);
  EXPECT_EQ(host.All(), std::vector{Report("DrawFromDistributionBin\r9\rSubscript out of range")});
}

TEST_F(DistributionTest, ABinWiderThanADoubleIsReported) {
  table = TableOf({{-1e308, 1e308, 1}, {-1e308, 1e308, 1}});
  EXPECT_EQ(DrawFromDistributionBin(table), 0.0);
  EXPECT_EQ(host.All(), std::vector{Report("DrawFromDistributionBin\r6\rOverflow")});
}

}  // namespace
}  // namespace orlinths
