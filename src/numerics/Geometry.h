// Plain geometry: points, envelopes, polylines and polygons with contiguous coordinates, owned by
// value. Planar, map units.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <utility>
#include <variant>
#include <vector>

#include "runtime/RuntimeError.h"

namespace orlinths {

/// The codes that layers and dialogs use.
enum class GeometryType : int {
  kNull = 0,
  kPoint = 1,
  kMultipoint = 2,
  kPolyline = 3,
  kPolygon = 4,
  kLine = 13,
};

/// An empty point has NaN as x. z and m are NaN where the point has none.
struct Point {
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  double x = kNone;
  double y = kNone;
  double z = kNone;
  double m = kNone;

  bool IsEmpty() const { return std::isnan(x); }
  void PutCoords(double newX, double newY) { x = newX, y = newY; }
};

/// Closed box. The default is empty: it contains nothing and grows by `Add`.
struct Envelope {
  double xMin = std::numeric_limits<double>::infinity();
  double yMin = std::numeric_limits<double>::infinity();
  double xMax = -std::numeric_limits<double>::infinity();
  double yMax = -std::numeric_limits<double>::infinity();

  bool IsEmpty() const { return !(xMin <= xMax && yMin <= yMax); }
  double Width() const { return IsEmpty() ? 0 : xMax - xMin; }
  double Height() const { return IsEmpty() ? 0 : yMax - yMin; }
  /// NaN coordinates are passed over.
  void Add(double x, double y) {
    if (x < xMin) xMin = x;
    if (x > xMax) xMax = x;
    if (y < yMin) yMin = y;
    if (y > yMax) yMax = y;
  }
  void Add(const Envelope& other) {
    if (other.IsEmpty()) return;
    Add(other.xMin, other.yMin);
    Add(other.xMax, other.yMax);
  }
  bool Contains(double x, double y) const {
    return x >= xMin && x <= xMax && y >= yMin && y <= yMax;
  }
  bool Intersects(const Envelope& o) const {
    return !IsEmpty() && !o.IsEmpty() && xMin <= o.xMax && o.xMin <= xMax && yMin <= o.yMax &&
           o.yMin <= yMax;
  }
  bool operator==(const Envelope&) const = default;
};

struct Coord {
  double x, y;
  bool operator==(const Coord&) const = default;
};

/// A point collection in parts: the ground of multipoints (one part), polylines (paths) and
/// polygons (rings, the closing vertex counted). Coordinates of all parts lie in one array. z and m
/// are there for all points or for none.
class Multipart {
 public:
  bool IsEmpty() const { return coords_.empty(); }
  std::int64_t PointCount() const { return static_cast<std::int64_t>(coords_.size()); }
  int PartCount() const { return static_cast<int>(starts_.size()); }
  bool HasZ() const { return !z_.empty(); }
  bool HasM() const { return !m_.empty(); }

  /// The i-th point over all parts, from 0; error 9 outside.
  Point PointAt(std::int64_t i) const;
  std::span<const Coord> Coords() const { return coords_; }
  std::span<const double> Z() const { return z_; }
  std::span<const double> M() const { return m_; }
  /// Index of the first point of a part; `PartStart(PartCount())` is the number of points.
  std::int64_t PartStart(int part) const {
    return part == PartCount() ? PointCount() : starts_[static_cast<std::size_t>(part)];
  }
  std::span<const Coord> Part(int part) const {
    const auto begin = static_cast<std::size_t>(PartStart(part));
    return std::span(coords_).subspan(begin, static_cast<std::size_t>(PartStart(part + 1)) - begin);
  }
  orlinths::Envelope Envelope() const;

  /// Opens a new part; points go to the last one. `AddPoint` on an empty shape opens the first. A
  /// point's z and m are kept from the first point on that has them (earlier ones get 0 and NaN).
  void AddPart();
  void AddPoint(const Point& p);
  void AddPoint(double x, double y);
  void AddPart(std::span<const Coord> coords);
  void Reserve(std::int64_t points, int parts);
  void Clear();
  /// Replaces everything at once. `starts` are ascending from 0, one per part; z and m are empty or
  /// as long as `coords`. Error 5 when they do not fit.
  void Assign(std::vector<Coord> coords, std::vector<std::int32_t> starts,
              std::vector<double> z = {}, std::vector<double> m = {});
  /// In-place work on the coordinates (shift, rotate, snap): whatever was kept for the shape is
  /// dropped.
  std::span<Coord> MutableCoords();
  void SetPoint(std::int64_t i, const Point& p);

  /// What a library made of this shape, kept with it. Copies share it; every change drops it.
  const std::shared_ptr<const void>& Native() const { return native_; }
  void KeepNative(std::shared_ptr<const void> native) const { native_ = std::move(native); }

  /// Same parts and coordinates; -0 equals 0, NaN z and m equal each other.
  friend bool operator==(const Multipart& a, const Multipart& b);

 protected:
  void Changed() { native_.reset(); }

  std::vector<Coord> coords_;
  std::vector<std::int32_t> starts_;
  std::vector<double> z_, m_;
  mutable std::shared_ptr<const void> native_;
};

class Multipoint : public Multipart {};

class Polyline : public Multipart {
 public:
  double Length() const;  ///< of all parts
  /// First and last point over all parts; an empty point for an empty line.
  Point FromPoint() const;
  Point ToPoint() const;
  /// Order of the parts and of the points within each turned round.
  void ReverseOrientation();
  /// Inserts a vertex at the place on the line nearest to `p` (an existing vertex there is kept as
  /// it is, no second one). Gives the index of that vertex over all points, or -1 for an empty
  /// line. O(points).
  std::int64_t SplitAtPoint(const Point& p);
  /// The piece between two distances along the line, both clamped to 0 .. Length(). Parts that lie
  /// inside keep their parts. A piece of no length is empty, as is the piece of an empty line. Error
  /// 5 when from > to. O(points).
  Polyline GetSubcurve(double from, double to) const;
};

class Polygon : public Multipart {
 public:
  /// Signed: clockwise rings count positive, so a hole subtracts.
  double Area() const;
  double Length() const;  ///< of all rings, holes included
  /// Closes every ring that is not closed by repeating its first point.
  void Close();
};

/// A shape of any type; monostate is no shape at all (null).
class Geometry {
 public:
  Geometry() = default;
  Geometry(Point p) : shape_(p) {}
  Geometry(Multipoint s) : shape_(std::move(s)) {}
  Geometry(Polyline s) : shape_(std::move(s)) {}
  Geometry(Polygon s) : shape_(std::move(s)) {}

  GeometryType Type() const;
  bool IsNull() const { return std::holds_alternative<std::monostate>(shape_); }
  bool IsEmpty() const;  ///< true for null too
  orlinths::Envelope Envelope() const;

  /// The held shape; error 91 for no shape at all, 13 for one of another type.
  const Point& AsPoint() const { return Get<Point>(); }
  const Multipoint& AsMultipoint() const { return Get<Multipoint>(); }
  const Polyline& AsPolyline() const { return Get<Polyline>(); }
  const Polygon& AsPolygon() const { return Get<Polygon>(); }
  template <class T>
  const T* As() const {
    return std::get_if<T>(&shape_);
  }
  template <class T>
  T* As() {
    return std::get_if<T>(&shape_);
  }
  /// The point collection of a multipoint, polyline or polygon; nothing for a point or null.
  const Multipart* AsMultipart() const;
  Multipart* AsMultipart();

  bool operator==(const Geometry& other) const;

 private:
  template <class T>
  const T& Get() const {
    if (IsNull()) throw RuntimeError(ErrorNumber::kObjectNotSet);
    const T* held = std::get_if<T>(&shape_);
    if (held == nullptr) throw RuntimeError(ErrorNumber::kTypeMismatch);
    return *held;
  }
  std::variant<std::monostate, Point, Multipoint, Polyline, Polygon> shape_;
};

/// An empty shape of that type; a null geometry for kNull.
Geometry EmptyShape(GeometryType type);

/// Counter-clockwise for positive angles (radians), about `origin`; and a shift. In place, all
/// points; an empty shape stays empty. Error 5 for an origin, angle or shift that is not finite.
void Rotate(Geometry& shape, const Point& origin, double angleRadians);
void Move(Geometry& shape, double dx, double dy);

/// Signed area of one ring by the shoelace sum about its first vertex; clockwise is positive.
/// Closed or not.
double SignedRingArea(std::span<const Coord> ring);

}  // namespace orlinths
