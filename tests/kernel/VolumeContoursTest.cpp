#include "kernel/VolumeContours.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/Cells.h"
#include "support/ErrorNumberOf.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

VolumeHistogram HistogramOf(const std::vector<double>& cells, std::int32_t topBin) {
  VolumeHistogram histogram(topBin, *std::min_element(cells.begin(), cells.end()),
                            *std::max_element(cells.begin(), cells.end()));
  histogram.Add(cells);
  return histogram;
}

/// Ten bins between 0 and 20: the cells fall into 0, 0, 1, 1, 5, 10.
TEST(VolumeHistogram, CountsAsWorkedByHand) {
  const VolumeHistogram histogram = HistogramOf({0, 1.9, 2, 3.9, 10, 20}, 10);
  EXPECT_EQ(histogram.Total(), 1 + 1 + 5 + 10);
  EXPECT_EQ(histogram.LevelAbove(10), 20);
  EXPECT_EQ(histogram.LevelAbove(10.1), 10);
  EXPECT_EQ(histogram.LevelAbove(15), 10);
  EXPECT_EQ(histogram.LevelAbove(15.1), 2);
  EXPECT_EQ(histogram.LevelAbove(17), 2);
}

TEST(VolumeHistogram, NothingLiesOneBinAboveTheMaximum) {
  const VolumeHistogram histogram = HistogramOf({4, 24}, 10);
  EXPECT_EQ(histogram.LevelAbove(0), 26);
  EXPECT_EQ(histogram.LevelAbove(-5), 26);
  EXPECT_EQ(VolumeHistogram(10, 0, 1).Total(), 0);
}

TEST(VolumeHistogram, MoreThanThereIsIsASubscriptOutOfRange) {
  const VolumeHistogram histogram = HistogramOf({0, 20}, 10);
  EXPECT_EQ(ErrorNumberOf([&] { histogram.LevelAbove(10.5); }), 9);
}

TEST(VolumeHistogram, CellsOutsideTheStoredHeightsGoToTheEndBins) {
  VolumeHistogram histogram(10, 0, 10);
  const std::vector<double> cells = {-1e-9, -5, 10.000001, 11, std::nan("")};
  histogram.Add(cells);
  EXPECT_EQ(histogram.Total(), 20);
}

TEST(VolumeHistogram, LeavesNoDataOut) {
  const IPixelBlock block = BlockOf({{0, 5, -9999}, {10, -9999, 10}}, PixelType::kFloat, -9999);
  VolumeHistogram histogram(10, 0, 10);
  histogram.Add(block, 0);
  EXPECT_EQ(histogram.Total(), 25);
  VolumeHistogram whole(10, 0, 10);
  whole.Add(BlockOf({{0, 3}, {7, 10}}, PixelType::kInt16), 0);
  EXPECT_EQ(whole.Total(), 20);
}

TEST(VolumeHistogram, ASurfaceOfOneHeightIsADivisionByZero) {
  EXPECT_EQ(ErrorNumberOf([] { VolumeHistogram(10, 3, 3); }), 11);
  EXPECT_EQ(ErrorNumberOf([] { VolumeHistogram(10, 0, 0); }), 11);
  EXPECT_EQ(ErrorNumberOf([] { VolumeHistogram(10, 0, std::numeric_limits<double>::infinity()); }),
            6);
}

/// 21,474 cells in bin 100,000 are a product within 32 bits, one more is not.
TEST(VolumeHistogram, AProductBeyond32BitsIsAnOverflow) {
  std::vector<double> cells(21'474, 1.0);
  cells.push_back(0);
  EXPECT_EQ(HistogramOf(cells, 100'000).Total(), 2'147'400'000.0);
  cells.push_back(1);
  EXPECT_EQ(ErrorNumberOf([&] { HistogramOf(cells, 100'000).Total(); }), 6);
  EXPECT_EQ(HistogramOf(cells, 1000).Total(), 21'475'000.0);
}

/// The sum passes 32 bits where no product does.
TEST(VolumeHistogram, TheSumIsNotBoundTo32Bits) {
  std::vector<double> cells(20'000, 1.0);
  cells.insert(cells.end(), 20'000, 0.99999);
  cells.push_back(0);
  EXPECT_EQ(HistogramOf(cells, 100'000).Total(), 20'000 * (100'000.0 + 99'999.0));
}

TEST(VolumeHistogram, TheBinsAboveALevelHoldTheShareWithinABin) {
  Seeded random("VolumeHistogram.TheBinsAboveALevelHoldTheShareWithinABin");
  for (const std::int32_t topBin : {10, 1000, 100'000})
    for (int trial = 0; trial < 20; ++trial) {
      const double low = random.Real(-5, 5), high = low + random.Real(0.1, 1e6);
      std::vector<double> cells = {low, high};
      for (int i = 0; i < 500; ++i)
        cells.push_back(low + (high - low) * std::pow(random.Real(0, 1), 3));
      const VolumeHistogram histogram = HistogramOf(cells, topBin);
      const double total = histogram.Total(), percent = random.Real(0.1, 100);
      const double level = histogram.LevelAbove(percent / 100 * total);
      double above = 0, aboveNext = 0;
      const double bin = std::round((level - low) / (high - low) * topBin);
      for (const double v : cells) {
        const double own = std::floor((v - low) * topBin / (high - low));
        if (own >= bin) above += own;
        if (own >= bin + 1) aboveNext += own;
      }
      EXPECT_GE(above, percent / 100 * total);
      EXPECT_LT(aboveNext, percent / 100 * total);
    }
}

TEST(ContourName, HasThePercentageAsTypedWithoutBlanks) {
  EXPECT_EQ(ContourName("kde", " 97.50 "), "PVC_kde_97.50");
  EXPECT_EQ(ContourName("kde", "9e1"), "PVC_kde_9e1");
}

}  // namespace
}  // namespace orlinths
