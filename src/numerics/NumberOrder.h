// Numbers in order as whole numbers, which compare faster and without exceptions.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace orlinths {

/// A whole number for each place in the order: those of two numbers compare as the numbers do, 0
/// and -0 being one, and what is no number comes before all of them. Never 0.
inline std::uint64_t PlaceOf(double number) {
  if (std::isnan(number)) return 1;
  constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;
  const auto bits = std::bit_cast<std::uint64_t>(number + 0.0);
  return bits & kSignBit ? ~bits : bits | kSignBit;
}

}  // namespace orlinths
