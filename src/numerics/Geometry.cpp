#include "numerics/Geometry.h"

#include <algorithm>

namespace orlinths {
namespace {

constexpr double kZOfNone = 0;
constexpr double kMOfNone = Point::kNone;

bool SameOrBothNaN(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

bool SameValues(const std::vector<double>& a, const std::vector<double>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), SameOrBothNaN);
}

bool SamePoint(const Point& a, const Point& b) {
  return SameOrBothNaN(a.x, b.x) && SameOrBothNaN(a.y, b.y) && SameOrBothNaN(a.z, b.z) &&
         SameOrBothNaN(a.m, b.m);
}

double Distance(const Coord& a, const Coord& b) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  return std::sqrt(dx * dx + dy * dy);
}

double RunLength(std::span<const Coord> run) {
  double length = 0;
  for (std::size_t i = 1; i < run.size(); ++i) length += Distance(run[i - 1], run[i]);
  return length;
}

std::int64_t CheckedIndex(std::int64_t i, std::int64_t count) {
  if (i < 0 || i >= count) throw RuntimeError(ErrorNumber::kSubscript);
  return i;
}

}  // namespace

// --- Multipart

Point Multipart::PointAt(std::int64_t i) const {
  const auto at = static_cast<std::size_t>(CheckedIndex(i, PointCount()));
  return {.x = coords_[at].x,
          .y = coords_[at].y,
          .z = HasZ() ? z_[at] : Point::kNone,
          .m = HasM() ? m_[at] : Point::kNone};
}

orlinths::Envelope Multipart::Envelope() const {
  orlinths::Envelope box;
  for (const Coord& c : coords_) box.Add(c.x, c.y);
  return box;
}

void Multipart::AddPart() {
  Changed();
  starts_.push_back(static_cast<std::int32_t>(coords_.size()));
}

void Multipart::AddPoint(const Point& p) {
  if (starts_.empty()) AddPart();
  Changed();
  if (!HasZ() && !std::isnan(p.z)) z_.assign(coords_.size(), kZOfNone);
  if (!HasM() && !std::isnan(p.m)) m_.assign(coords_.size(), kMOfNone);
  // The columns are as yet empty when the first point of all brings z or m.
  const bool withZ = HasZ() || !std::isnan(p.z);
  const bool withM = HasM() || !std::isnan(p.m);
  if (withZ) z_.push_back(std::isnan(p.z) ? kZOfNone : p.z);
  if (withM) m_.push_back(p.m);
  coords_.push_back({p.x, p.y});
}

void Multipart::AddPoint(double x, double y) {
  if (starts_.empty()) AddPart();
  Changed();
  if (HasZ()) z_.push_back(kZOfNone);
  if (HasM()) m_.push_back(kMOfNone);
  coords_.push_back({x, y});
}

void Multipart::AddPart(std::span<const Coord> coords) {
  AddPart();
  coords_.insert(coords_.end(), coords.begin(), coords.end());
  if (HasZ()) z_.resize(coords_.size(), kZOfNone);
  if (HasM()) m_.resize(coords_.size(), kMOfNone);
}

void Multipart::Reserve(std::int64_t points, int parts) {
  coords_.reserve(static_cast<std::size_t>(points));
  starts_.reserve(static_cast<std::size_t>(parts));
}

void Multipart::Clear() {
  Changed();
  coords_.clear();
  starts_.clear();
  z_.clear();
  m_.clear();
}

void Multipart::Assign(std::vector<Coord> coords, std::vector<std::int32_t> starts,
                       std::vector<double> z, std::vector<double> m) {
  const bool startsFit = starts.empty()
                             ? coords.empty()
                             : starts.front() == 0 && std::ranges::is_sorted(starts) &&
                                   static_cast<std::size_t>(starts.back()) <= coords.size();
  const bool columnsFit =
      (z.empty() || z.size() == coords.size()) && (m.empty() || m.size() == coords.size());
  if (!startsFit || !columnsFit) throw RuntimeError(ErrorNumber::kInvalidCall);
  Changed();
  coords_ = std::move(coords);
  starts_ = std::move(starts);
  z_ = std::move(z);
  m_ = std::move(m);
}

std::span<Coord> Multipart::MutableCoords() {
  Changed();
  return coords_;
}

void Multipart::SetPoint(std::int64_t i, const Point& p) {
  const auto at = static_cast<std::size_t>(CheckedIndex(i, PointCount()));
  Changed();
  if (!HasZ() && !std::isnan(p.z)) z_.assign(coords_.size(), kZOfNone);
  if (!HasM() && !std::isnan(p.m)) m_.assign(coords_.size(), kMOfNone);
  coords_[at] = {p.x, p.y};
  if (HasZ()) z_[at] = std::isnan(p.z) ? kZOfNone : p.z;
  if (HasM()) m_[at] = p.m;
}

bool operator==(const Multipart& a, const Multipart& b) {
  return a.starts_ == b.starts_ && a.coords_ == b.coords_ && SameValues(a.z_, b.z_) &&
         SameValues(a.m_, b.m_);
}

// --- Polygon

double SignedRingArea(std::span<const Coord> ring) {
  if (ring.empty()) return 0;
  const Coord origin = ring.front();
  double twice = 0;
  for (std::size_t i = 1; i < ring.size(); ++i) {
    const double x1 = ring[i - 1].x - origin.x;
    const double y1 = ring[i - 1].y - origin.y;
    const double x2 = ring[i].x - origin.x;
    const double y2 = ring[i].y - origin.y;
    twice += x2 * y1 - x1 * y2;
  }
  return twice / 2;
}

double Polygon::Area() const {
  double area = 0;
  for (int part = 0; part < PartCount(); ++part) area += SignedRingArea(Part(part));
  return area;
}

double Polygon::Length() const {
  double length = 0;
  for (int part = 0; part < PartCount(); ++part) length += RunLength(Part(part));
  return length;
}

void Polygon::Close() {
  const auto isOpen = [this](int part) {
    const auto ring = Part(part);
    return !ring.empty() && !(ring.front() == ring.back());
  };
  int open = 0;
  for (int part = 0; part < PartCount(); ++part) open += isOpen(part) ? 1 : 0;
  if (open == 0) return;

  Polygon closed;
  closed.Reserve(PointCount() + open, PartCount());
  for (int part = 0; part < PartCount(); ++part) {
    closed.AddPart();
    const std::int64_t begin = PartStart(part);
    const std::int64_t end = PartStart(part + 1);
    for (std::int64_t i = begin; i < end; ++i) closed.AddPoint(PointAt(i));
    if (isOpen(part)) closed.AddPoint(PointAt(begin));
  }
  *this = std::move(closed);
}

// --- Polyline

double Polyline::Length() const {
  double length = 0;
  for (int part = 0; part < PartCount(); ++part) length += RunLength(Part(part));
  return length;
}

Point Polyline::FromPoint() const { return IsEmpty() ? Point{} : PointAt(0); }
Point Polyline::ToPoint() const { return IsEmpty() ? Point{} : PointAt(PointCount() - 1); }

void Polyline::ReverseOrientation() {
  Changed();
  std::vector<std::int32_t> starts;
  starts.reserve(starts_.size());
  for (int part = PartCount(); part > 0; --part)
    starts.push_back(static_cast<std::int32_t>(PointCount() - PartStart(part)));
  starts_ = std::move(starts);
  std::ranges::reverse(coords_);
  std::ranges::reverse(z_);
  std::ranges::reverse(m_);
}

// --- Geometry

GeometryType Geometry::Type() const {
  constexpr GeometryType kTypes[] = {GeometryType::kNull, GeometryType::kPoint,
                                     GeometryType::kMultipoint, GeometryType::kPolyline,
                                     GeometryType::kPolygon};
  return kTypes[shape_.index()];
}

bool Geometry::IsEmpty() const {
  if (const Point* point = As<Point>()) return point->IsEmpty();
  const Multipart* shape = AsMultipart();
  return shape == nullptr || shape->IsEmpty();
}

orlinths::Envelope Geometry::Envelope() const {
  orlinths::Envelope box;
  if (const Point* point = As<Point>()) {
    if (!point->IsEmpty()) box.Add(point->x, point->y);
  } else if (const Multipart* shape = AsMultipart()) {
    box = shape->Envelope();
  }
  return box;
}

const Multipart* Geometry::AsMultipart() const {
  return std::visit(
      []<class T>(const T& held) -> const Multipart* {
        if constexpr (std::is_base_of_v<Multipart, T>) return &held;
        return nullptr;
      },
      shape_);
}

Multipart* Geometry::AsMultipart() {
  return const_cast<Multipart*>(std::as_const(*this).AsMultipart());
}

bool Geometry::operator==(const Geometry& other) const {
  if (shape_.index() != other.shape_.index()) return false;
  if (const Point* point = As<Point>()) return SamePoint(*point, *other.As<Point>());
  return IsNull() || *AsMultipart() == *other.AsMultipart();
}

// --- transformations

namespace {

template <class Change>
void ForEachCoord(Geometry& shape, Change change) {
  if (Point* point = shape.As<Point>()) {
    Coord at{point->x, point->y};
    change(at);
    point->PutCoords(at.x, at.y);
  } else if (Multipart* parts = shape.AsMultipart()) {
    for (Coord& at : parts->MutableCoords()) change(at);
  }
}

}  // namespace

Geometry EmptyShape(GeometryType type) {
  switch (type) {
    case GeometryType::kPoint:
      return Point();
    case GeometryType::kMultipoint:
      return Multipoint();
    case GeometryType::kPolyline:
    case GeometryType::kLine:
      return Polyline();
    case GeometryType::kPolygon:
      return Polygon();
    default:
      return {};
  }
}

void Rotate(Geometry& shape, const Point& origin, double angleRadians) {
  if (!std::isfinite(origin.x) || !std::isfinite(origin.y) || !std::isfinite(angleRadians))
    throw RuntimeError(ErrorNumber::kInvalidCall);
  const double cosine = std::cos(angleRadians);
  const double sine = std::sin(angleRadians);
  ForEachCoord(shape, [&](Coord& at) {
    const double dx = at.x - origin.x;
    const double dy = at.y - origin.y;
    at = {origin.x + (dx * cosine - dy * sine), origin.y + (dx * sine + dy * cosine)};
  });
}

void Move(Geometry& shape, double dx, double dy) {
  if (!std::isfinite(dx) || !std::isfinite(dy)) throw RuntimeError(ErrorNumber::kInvalidCall);
  ForEachCoord(shape, [&](Coord& at) { at = {at.x + dx, at.y + dy}; });
}

}  // namespace orlinths
