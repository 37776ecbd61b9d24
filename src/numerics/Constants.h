// The constants of all analyses. The digits are part of the results: no longer constant may take
// their place.
#pragma once

namespace orlinths {

inline constexpr double kPi = 3.14159265358979;
inline constexpr double kTwoPi = 6.28318530717958;

/// The missing value of lists of numbers and of numeric result fields, in floats and integers
/// alike.
inline constexpr int kMissing = -999;

}  // namespace orlinths
