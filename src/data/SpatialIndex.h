// Which shapes of a class a point or a shape meets: a packed R-tree over envelopes, an exact test
// behind it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "data/Table.h"
#include "numerics/Geometry.h"

namespace orlinths {

/// Owns the shapes it was built from. Not changed after it is built; questions may prepare what
/// they need and keep it.
class SpatialIndex {
 public:
  struct Entry {
    Oid oid;
    Geometry shape;
  };
  /// Takes the entries in OID order; null and empty shapes and shapes with non-finite coordinates
  /// are left out. O(n log n).
  explicit SpatialIndex(std::vector<Entry> entries);
  ~SpatialIndex();
  SpatialIndex(SpatialIndex&&) noexcept;
  SpatialIndex& operator=(SpatialIndex&&) noexcept;

  /// OIDs, ascending, of the shapes that the point meets: polygons that hold it inside or on their
  /// boundary, lines and points that pass through it exactly. `oids` is emptied first. O(log n +
  /// candidates * log vertices) once a polygon has been asked a few times.
  void At(double x, double y, std::vector<Oid>& oids) const;
  /// OIDs, ascending, of the shapes in the given relation to `shape`.
  std::vector<Oid> Search(const Geometry& shape, SpatialRelation relation) const;
  /// OIDs, ascending, whose envelopes meet `box`.
  std::vector<Oid> EnvelopesMeeting(const Envelope& box) const;
  /// Nothing for an OID that is not in the index.
  const Geometry* Shape(Oid oid) const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace orlinths
