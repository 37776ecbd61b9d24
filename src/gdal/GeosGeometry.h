// Plain geometry to GEOS and back, and the scope in which GEOS may be called.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <geos_c.h>

#include "numerics/Geometry.h"

namespace orlinths {

struct GeosDeleter {
  void operator()(GEOSGeometry* shape) const noexcept;
  void operator()(const GEOSPreparedGeometry* prepared) const noexcept;
};
using GeosPtr = std::unique_ptr<GEOSGeometry, GeosDeleter>;
using PreparedPtr = std::unique_ptr<const GEOSPreparedGeometry, GeosDeleter>;

/// Calls into GEOS happen while one of these stands. A stop request asked meanwhile ends a long
/// call; failures become platform errors in GEOS's words. Cheap; scopes may nest. Raises error 18
/// at once when a stop has been asked for.
class GeosScope {
 public:
  GeosScope();
  ~GeosScope();
  GeosScope(const GeosScope&) = delete;
  GeosScope& operator=(const GeosScope&) = delete;

  /// This thread's context, for the `_r` calls.
  GEOSContextHandle_t Context() const { return context_; }
  /// Takes over what a call returned; raises when it is nothing.
  GeosPtr Own(GEOSGeometry* result) const;
  /// The answer of a predicate: 0, 1, or 2 for a failure.
  bool Answer(char answer) const;
  /// For calls that return 0 on failure.
  void Check(int done) const {
    if (done == 0) Fail();
  }
  [[noreturn]] void Fail() const;

 private:
  GEOSContextHandle_t context_;
  GEOSInterruptCallback* before_;
};

/// A GEOS geometry for `shape`, two-dimensional. A polygon's rings become shells and holes by how
/// they lie in one another (a ring inside an odd number of others is a hole), whatever their
/// direction; open rings are closed. Left out is what GEOS cannot hold: rings of fewer than four
/// vertices, line parts of fewer than two. Null and empty shapes give an empty collection. A
/// coordinate that is not finite raises a platform error. O(n log n).
GeosPtr ToGeos(const GeosScope& geos, const Geometry& shape);

/// The parts of `shape` that have the dimension asked for, in GEOS's order: 0 a Multipoint, 1 a
/// Polyline, 2 a Polygon with its outer rings clockwise, each followed by its holes.
Geometry FromGeos(const GeosScope& geos, const GEOSGeometry& shape, int dimension);

/// What is kept with a plain shape (`Multipart::Native`) once GEOS has been asked about it.
struct NativeShape {
  GeometryType type = GeometryType::kNull;
  GeosPtr shape;
  // Filled when first needed. `prepared` refers to `shape`: it is declared after it, so that it
  // goes first.
  PreparedPtr prepared;
  int questions = 0;
  std::optional<bool> isValid;
};

/// The native form of a shape, made now or found kept with it (a point cannot keep one). Not for
/// two threads with one shape.
std::shared_ptr<NativeShape> NativeOf(const GeosScope& geos, const Geometry& shape);

/// For questions asked again and again of one shape: nothing at the first two, the prepared
/// geometry from the third on.
const GEOSPreparedGeometry* PreparedOf(const GeosScope& geos, NativeShape& native);
/// The prepared geometry, made now if need be.
const GEOSPreparedGeometry* PreparedNow(const GeosScope& geos, NativeShape& native);

}  // namespace orlinths
