// Minimum convex polygons: a gift-wrapping walk clockwise around a set of points, from box to box
// of its extent.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "numerics/Geometry.h"

namespace orlinths {

/// Where the hull heads for, and on which side of the current point the box with its next vertex
/// lies.
enum class Quadrant : int { kNorthEast = 1, kSouthEast = 2, kSouthWest = 3, kNorthWest = 4 };

/// The points of a walk, each with its place in the order in which a cursor delivers them. They lie
/// in a tree of boxes, and a step opens only the boxes that can hold its answer: boxes are sorted
/// out when they are first opened, and those in the middle of the points never are. O(n) to begin
/// with, 30 bytes a point.
class HullPoints {
 public:
  /// A point without coordinates (NaN) is passed over. One that lies at infinity counts in the
  /// extent, and no search finds it.
  explicit HullPoints(std::span<const Coord> points);

  const Envelope& Extent() const { return extent_; }
  /// The first point, in the order given, on the west edge of the extent.
  std::optional<Coord> FirstOnWestEdge() const;

  /// The next vertex: among the points in the box from `current` to the corner of the extent that
  /// the quadrant heads for, those at the place of `current` aside.
  /// Heading north-east or south-west, the first of the points straight above or below, if there is
  /// one. Otherwise the one with the greatest slope, of equal slopes the last. Otherwise the last
  /// of those straight above or below. Otherwise (0, 0).
  /// Bit for bit the answer of a walk over all points, in about O(log n): as a difference and a
  /// quotient are rounded they never change their order, so that the best corner of a box of points
  /// has a slope that none of them exceeds.
  Coord GetNextHullPoint(const Coord& current, Quadrant quadrant) const;

 private:
  using Place = std::uint32_t;
  struct Item {
    Coord at;
    Place place;
  };
  struct Node {
    Envelope box;
    Place first, last;                  ///< of the places of its points
    std::uint32_t begin, end;           ///< its points
    std::uint32_t left = 0, right = 0;  ///< its halves, once it has been opened
  };
  class Cells;
  struct Search;

  Node NodeOf(std::uint32_t begin, std::uint32_t end) const;
  std::uint32_t NodeOf(const Cells& cells, std::uint32_t from, std::uint32_t to) const;
  void Open(std::uint32_t index) const;
  void Halve(std::uint32_t index) const;
  Envelope BoxOf(const Coord& current, Quadrant quadrant) const;

  Envelope extent_;
  std::optional<Coord> westernmost_;  ///< of the points that are not at infinity; the first
  /// What is asked for sorts them out: no answer depends on how far that has gone.
  mutable std::vector<Item> items_;
  mutable std::vector<Node> nodes_;  ///< the root first
};

/// The polygon around the points, which stand in the order in which a cursor delivers them: one
/// ring, clockwise, from the first point on the west edge back to it. Points on an edge of the hull
/// may be vertices. Nothing after a message when no point is found on the west edge, and nothing
/// after a report: error 6 when the extent is wider or higher than any number, a platform error
/// when the walk cannot come back to its start (three points at one place, say).
std::optional<Polygon> CreateMCPPoly(std::span<const Coord> points);

}  // namespace orlinths
