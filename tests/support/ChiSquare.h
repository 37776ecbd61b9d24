// Pearson's test of counts against expected ones.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace orlinths {

/// Whether counts fit the expected ones: the statistic lies within the one-in-a-million quantiles
/// on both sides (Wilson and Hilferty 1931), so that a fit too good to be chance fails as well. Use
/// from some ten classes on, each expected to hold ten or more.
inline ::testing::AssertionResult FitsByChiSquare(const std::vector<double>& observed,
                                                  const std::vector<double>& expected) {
  double statistic = 0;
  for (std::size_t i = 0; i < observed.size(); ++i)
    statistic += (observed[i] - expected[i]) * (observed[i] - expected[i]) / expected[i];
  const double freedom = static_cast<double>(observed.size()) - 1;
  const auto quantile = [&](double z) {
    const double v = 2 / (9 * freedom);
    return freedom * std::pow(std::max(0.0, 1 - v + z * std::sqrt(v)), 3);
  };
  constexpr double kOneInAMillion = 4.7534;
  const double least = quantile(-kOneInAMillion), most = quantile(kOneInAMillion);
  if (statistic >= least && statistic <= most) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "chi-square " << statistic << " outside " << least << " .. " << most;
}

}  // namespace orlinths
