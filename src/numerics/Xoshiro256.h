// The bits under the uniform generator: xoshiro256++, and SplitMix64 to fill its state from a seed.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace orlinths {

/// SplitMix64 (Steele, Lea and Flood 2014). Any seed will do; every state is used once in 2^64
/// draws.
class SplitMix64 {
 public:
  explicit constexpr SplitMix64(std::uint64_t seed) : state_(seed) {}

  constexpr std::uint64_t Next() { return Mixed(state_ += 0x9e3779b97f4a7c15); }

  /// A bijection of 64 bits in which every bit of `z` reaches every bit of the result.
  static constexpr std::uint64_t Mixed(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
  }

 private:
  std::uint64_t state_;
};

/// xoshiro256++ (Blackman and Vigna 2021): period 2^256 - 1, all 64 bits of a draw good. The state
/// must not be all zero.
class Xoshiro256 {
 public:
  using State = std::array<std::uint64_t, 4>;
  explicit constexpr Xoshiro256(const State& state) : s_(state) {}
  /// The state is four draws of a SplitMix64, which are never all zero.
  explicit constexpr Xoshiro256(SplitMix64 words)
      : s_{words.Next(), words.Next(), words.Next(), words.Next()} {}

  constexpr std::uint64_t Next() {
    const std::uint64_t result = std::rotl(s_[0] + s_[3], 23) + s_[0];
    const std::uint64_t shifted = s_[1] << 17;
    s_[2] ^= s_[0];
    s_[3] ^= s_[1];
    s_[1] ^= s_[2];
    s_[0] ^= s_[3];
    s_[2] ^= shifted;
    s_[3] = std::rotl(s_[3], 45);
    return result;
  }

 private:
  State s_;
};

}  // namespace orlinths
