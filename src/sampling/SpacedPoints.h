// Points that keep a minimum distance: is a place far enough from all of those kept so far?
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "numerics/Geometry.h"

namespace orlinths {

/// Gives exactly the answers of a walk over all points with `DistPoints`, to the last bit, and asks
/// only the points in the cells, twice the minimum wide, that the square around the place touches:
/// O(1) as long as the points kept do keep the distance. Up to 28 bytes a point.
class SpacedPoints {
 public:
  /// `minimum` in map units; 0 and below keep nothing apart.
  explicit SpacedPoints(double minimum);

  /// False when a point kept is nearer than the minimum; at exactly the minimum it is not.
  bool IsFarEnough(double x, double y) const;
  void Add(double x, double y);
  /// O(points).
  void Clear();
  std::size_t Count() const { return points_.size(); }

 private:
  std::int64_t CellOf(double v) const;
  std::size_t BucketOf(std::int64_t column, std::int64_t row) const;
  void Chain(std::size_t point);

  double minimum_;
  double reach_;  // half a cell: no point that matters lies further away along an axis
  double cellsPerUnit_;
  std::vector<Coord> points_;
  std::vector<std::int32_t> next_;   // of a point: the one kept before it in the same bucket
  std::vector<std::int32_t> heads_;  // of a bucket: the last point kept; a power of two of them
};

}  // namespace orlinths
