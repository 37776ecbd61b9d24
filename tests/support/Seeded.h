// Random numbers for property tests: seeded by name, the seed told when the test fails.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

namespace orlinths {

class Seeded {
 public:
  /// The seed is a hash of the name, so that a test draws the same numbers on every machine.
  explicit Seeded(const std::string& name);

  /// Uniform in [low, high).
  double Real(double low, double high);
  /// Uniform in [low, high], both ends included.
  std::int64_t Whole(std::int64_t low, std::int64_t high);
  bool Chance(double probability) { return Real(0, 1) < probability; }

 private:
  std::mt19937_64 engine_;
  ::testing::ScopedTrace trace_;
};

}  // namespace orlinths
