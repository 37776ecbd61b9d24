#include "numerics/Random.h"

#include <bit>
#include <cmath>
#include <cstddef>

#include "numerics/Constants.h"
#include "numerics/Rounding.h"
#include "numerics/Xoshiro256.h"
#include "runtime/Arithmetic.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

struct Generator {
  Xoshiro256 bits{SplitMix64(0)};
  std::uint64_t seedings = 0;
};
constinit Generator generator;

double UniformDrawAboveZero() {
  float u = 0;
  while (!(u > 0)) u = UniformDraw();
  return u;
}

/// The numbers 0 to n - 1 that have not been taken yet, ascending: a Fenwick tree of counts.
class Pool {
 public:
  /// O(n).
  explicit Pool(std::int32_t n) : left_(static_cast<std::size_t>(n) + 1) {
    for (std::size_t i = 1; i < left_.size(); ++i) left_[i] = static_cast<std::int32_t>(i & -i);
  }

  /// The number at place `place` (from 0, less than the numbers left), which is removed. O(log n).
  std::int32_t Take(std::int32_t place) {
    std::size_t at = 0;
    for (std::size_t step = std::bit_floor(left_.size() - 1); step > 0; step /= 2) {
      const std::size_t next = at + step;
      if (next >= left_.size()) continue;
      if (left_[next] <= place) {
        place -= left_[next];
        at = next;
      } else {
        --left_[next];
      }
    }
    return static_cast<std::int32_t>(at);
  }

 private:
  std::vector<std::int32_t> left_;  // [i]: how many are left of the (i & -i) numbers up to i - 1
};

}  // namespace

void SeedGenerator() {
  const auto clock = static_cast<std::uint64_t>(ClockNanoseconds());
  generator.bits = Xoshiro256(SplitMix64(SplitMix64::Mixed(clock) + generator.seedings));
  ++generator.seedings;
}

void ResetGenerator() { generator = {}; }

float UniformDraw() { return static_cast<float>(generator.bits.Next() >> 40) * 0x1p-24f; }

double RandomNormal(double mean, double sd) {
  const double u1 = UniformDrawAboveZero();
  const double u2 = UniformDraw();
  const double draw = std::sqrt(-2 * std::log(u1)) * std::cos(kTwoPi * u2) * sd + mean;
  if (!std::isfinite(draw)) throw RuntimeError(ErrorNumber::kOverflow);
  return draw;
}

double FoldedNormalDraw() {
  const double u1 = UniformDrawAboveZero();
  const double u2 = UniformDraw();
  return std::sqrt(std::abs(std::cos(kTwoPi * u2)) * (-2 * std::log(u1)));
}

std::vector<std::int32_t> RandomSequence(std::int32_t max, std::int32_t count) {
  if (Subtract(count, max) >= 2) {
    MessageBox("Internal Error: invalid variables passed to random sequenser.\rMax: " +
                   ToText(max) + ", Cnt: " + ToText(count) + ".",
               kCritical, "Error");
    return {};
  }
  if (max < 0) throw RuntimeError(ErrorNumber::kSubscript);

  const std::int32_t size = Add(max, 1);
  std::vector<std::int32_t> result(static_cast<std::size_t>(size));
  SeedGenerator();
  Pool pool(size);
  std::int32_t remaining = max;
  for (std::size_t drawn = 0; drawn < result.size();) {
    const double place = RoundTo(double{UniformDraw()} * remaining, 1);
    result[drawn++] = pool.Take(static_cast<std::int32_t>(place));
    --remaining;
    if (drawn % 65536 == 0) Yield();
    if (static_cast<std::int64_t>(drawn) == count) break;
  }
  // The pool cannot shrink below one number: none may be left over for the entry at `count`.
  if (remaining < 0) throw RuntimeError(ErrorNumber::kSubscript);
  result[static_cast<std::size_t>(count)] = pool.Take(0);
  return result;
}

}  // namespace orlinths
