#include "sampling/SpacedPoints.h"

#include <algorithm>

#include "numerics/PathGeometry.h"

namespace orlinths {
namespace {

constexpr std::int32_t kNone = -1;
constexpr std::size_t kFewestBuckets = 64;

// A distance computed below the minimum m means that the places differ by at most m (1 + 4 eps)
// along each axis: the subtraction, the square, the sum and the root each round once, and all are
// monotone. Below kTiny squares lose their digits or vanish, above kHuge they are infinite and
// nothing is near.
constexpr double kSlack = 1 + 0x1p-16;
constexpr double kTiny = 1e-150;
constexpr double kHuge = 1e160;

}  // namespace

SpacedPoints::SpacedPoints(double minimum)
    : minimum_(minimum),
      reach_(std::clamp(minimum * kSlack, kTiny, kHuge)),
      cellsPerUnit_(1 / (2 * reach_)),
      heads_(kFewestBuckets, kNone) {}

/// Never falls as `v` grows, whatever is lost in rounding: that is all that the search relies on.
/// What is beyond 2^62 cells shares the outermost.
std::int64_t SpacedPoints::CellOf(double v) const {
  const double cell = std::floor(v * cellsPerUnit_);
  if (!(cell > -0x1p62)) return -(std::int64_t{1} << 62);
  if (!(cell < 0x1p62)) return std::int64_t{1} << 62;
  return static_cast<std::int64_t>(cell);
}

/// Cells share buckets: a point of another cell is one more distance, never a wrong answer.
std::size_t SpacedPoints::BucketOf(std::int64_t column, std::int64_t row) const {
  const std::uint64_t mixed = static_cast<std::uint64_t>(column) * 0x9e3779b97f4a7c15u ^
                              static_cast<std::uint64_t>(row) * 0xc2b2ae3d27d4eb4fu;
  return static_cast<std::size_t>((mixed ^ mixed >> 32) & (heads_.size() - 1));
}

bool SpacedPoints::IsFarEnough(double x, double y) const {
  if (points_.empty() || !(minimum_ > 0)) return true;
  // Rounding is monotone: a point at most `reach_` to the left is not left of the rounded x -
  // reach_.
  const std::int64_t west = CellOf(x - reach_), east = CellOf(x + reach_);
  const std::int64_t south = CellOf(y - reach_), north = CellOf(y + reach_);
  for (std::int64_t row = south; row <= north; ++row) {
    for (std::int64_t column = west; column <= east; ++column) {
      for (std::int32_t at = heads_[BucketOf(column, row)]; at != kNone;
           at = next_[static_cast<std::size_t>(at)]) {
        const Coord& kept = points_[static_cast<std::size_t>(at)];
        if (DistCoords(x, y, kept.x, kept.y) < minimum_) return false;
      }
    }
  }
  return true;
}

void SpacedPoints::Chain(std::size_t point) {
  std::int32_t& head = heads_[BucketOf(CellOf(points_[point].x), CellOf(points_[point].y))];
  next_[point] = head;
  head = static_cast<std::int32_t>(point);
}

void SpacedPoints::Add(double x, double y) {
  points_.push_back({x, y});
  next_.push_back(kNone);
  if (points_.size() <= heads_.size()) return Chain(points_.size() - 1);
  heads_.assign(2 * heads_.size(), kNone);
  for (std::size_t i = 0; i < points_.size(); ++i) Chain(i);
}

void SpacedPoints::Clear() {
  // Not the whole table: it may be large from a polygon of many points, and many small ones follow.
  for (const Coord& point : points_) heads_[BucketOf(CellOf(point.x), CellOf(point.y))] = kNone;
  points_.clear();
  next_.clear();
}

}  // namespace orlinths
