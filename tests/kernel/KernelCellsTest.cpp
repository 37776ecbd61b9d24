#include "kernel/KernelCells.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "support/Seeded.h"

namespace orlinths {
namespace {

/// A divisor of any size that is divided by products, now and then with the last bits all set, none
/// set, or one apart from a power of two: where quotients come nearest to a tie.
double Divisor(Seeded& random) {
  const double size = std::ldexp(random.Real(1, 2), static_cast<int>(random.Whole(-90, 90)));
  const double power = std::exp2(std::floor(std::log2(size)));
  switch (random.Whole(0, 5)) {
    case 0:
      return power;
    case 1:
      return std::nextafter(power, 0);
    case 2:
      return std::nextafter(power, 2 * power);
    default:
      return size;
  }
}

TEST(AddKernelColumn, GivesTheBitsOfDivisionsWithoutDividing) {
  Seeded random("AddKernelColumn.GivesTheBitsOfDivisionsWithoutDividing");
  constexpr int kCells = 131;
  for (int trial = 0; trial < 20'000; ++trial) {
    const double h = Divisor(random), denominator = Divisor(random);
    const double numerator = Divisor(random) * (random.Chance(0.5) ? 1 : -1);
    const double points = std::floor(random.Chance(0.5) ? std::exp2(random.Real(0, 31)) : 20'001);
    const KernelTerms terms(h, numerator, denominator, points);
    std::vector<double> squares(kCells), cells(kCells), plain(kCells);
    for (double& square : squares) square = std::pow(h * random.Real(0, 1.1), 2);
    const double columnSquare = random.Chance(0.5) ? 0 : std::pow(h * random.Real(0, 0.5), 2);
    const auto count = random.Whole(1, kCells);
    AddKernelColumn(cells.data(), squares.data(), count, columnSquare, terms);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      const double d = std::sqrt(squares[i] + columnSquare);
      const double rest = 1 - (d / h) * (d / h);
      plain[i] += (d < h ? rest * rest * numerator / denominator : 0) / points;
    }
    ASSERT_EQ(std::memcmp(cells.data(), plain.data(), kCells * sizeof(double)), 0)
        << "trial " << trial << ": h " << h << ", " << numerator << " / " << denominator << " / "
        << points;
  }
}

TEST(KernelTerms, NumbersAtTheEndsOfTheRangeAreDivided) {
  const KernelTerms tame(1000, 3e6, 3e6, 20'000);
  for (const KernelTerms& terms :
       {KernelTerms(1e-31, 1, 1, 1), KernelTerms(1e31, 1, 1, 1), KernelTerms(1, 1e-91, 1, 1),
        KernelTerms(1, 1e91, 1, 1), KernelTerms(1, 1, 1e-91, 1), KernelTerms(1, 1, 1e91, 1),
        KernelTerms(1, std::nan(""), 1, 1), KernelTerms(1, HUGE_VAL, 1, 1)})
    EXPECT_FALSE(terms.dividesByProducts);
  // The same on every processor but for the speed: with no fused products there are divisions.
  EXPECT_EQ(tame.dividesByProducts, KernelTerms(1, 0, 1, 1).dividesByProducts);
}

}  // namespace
}  // namespace orlinths
