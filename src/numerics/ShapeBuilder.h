// Gathers the parts of one shape from whatever library holds it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "numerics/Geometry.h"

namespace orlinths {

class ShapeBuilder {
 public:
  /// Where the coordinates of a new part go; z and m are nothing for a part without.
  struct Slots {
    Coord* coords;
    double* z;
    double* m;
  };
  /// Opens a part of `count` points, good until the next call. Parts without z or m beside others
  /// with get 0 and NaN.
  Slots AddPart(std::size_t count, bool hasZ, bool hasM);
  /// A point of the one part of a multipoint; z and m are NaN where it has none.
  void AddPoint(double x, double y, double z, double m);
  /// Turns the last part round where it does not run as a shell (clockwise) or a hole does.
  void TurnRing(bool isShell);

  /// The shape; the builder is empty afterwards.
  template <class T>
  Geometry Take() {
    T shape;
    if (!coords_.empty())
      shape.Assign(std::move(coords_), std::move(starts_), std::move(z_), std::move(m_));
    *this = {};
    return shape;
  }
  /// As the type: a multipoint, a polyline or a polygon; null for the others.
  Geometry Take(GeometryType type);

 private:
  std::vector<Coord> coords_;
  std::vector<std::int32_t> starts_;
  std::vector<double> z_, m_;
};

}  // namespace orlinths
