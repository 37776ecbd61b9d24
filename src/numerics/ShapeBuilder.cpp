#include "numerics/ShapeBuilder.h"

#include <algorithm>
#include <span>

namespace orlinths {

ShapeBuilder::Slots ShapeBuilder::AddPart(std::size_t count, bool hasZ, bool hasM) {
  const std::size_t begin = coords_.size(), end = begin + count;
  starts_.push_back(static_cast<std::int32_t>(begin));
  coords_.resize(end);
  if (count == 0) return {nullptr, nullptr, nullptr};
  if (hasZ) z_.resize(begin, 0);
  if (hasM) m_.resize(begin, Point::kNone);
  if (hasZ || !z_.empty()) z_.resize(end, 0);
  if (hasM || !m_.empty()) m_.resize(end, Point::kNone);
  return {&coords_[begin], hasZ ? &z_[begin] : nullptr, hasM ? &m_[begin] : nullptr};
}

void ShapeBuilder::AddPoint(double x, double y, double z, double m) {
  if (starts_.empty()) starts_.push_back(0);
  const bool hasZ = !std::isnan(z), hasM = !std::isnan(m);
  if (hasZ || !z_.empty()) {
    z_.resize(coords_.size(), 0);
    z_.push_back(hasZ ? z : 0);
  }
  if (hasM || !m_.empty()) {
    m_.resize(coords_.size(), Point::kNone);
    m_.push_back(m);
  }
  coords_.push_back({x, y});
}

void ShapeBuilder::TurnRing(bool isShell) {
  const auto begin = starts_.back();
  const double area = SignedRingArea(std::span(coords_).subspan(static_cast<std::size_t>(begin)));
  if (!(isShell ? area < 0 : area > 0)) return;
  std::reverse(coords_.begin() + begin, coords_.end());
  for (std::vector<double>* ordinates : {&z_, &m_})
    if (!ordinates->empty()) std::reverse(ordinates->begin() + begin, ordinates->end());
}

Geometry ShapeBuilder::Take(GeometryType type) {
  switch (type) {
    case GeometryType::kMultipoint:
      return Take<Multipoint>();
    case GeometryType::kPolyline:
    case GeometryType::kLine:
      return Take<Polyline>();
    case GeometryType::kPolygon:
      return Take<Polygon>();
    default:
      *this = {};
      return {};
  }
}

}  // namespace orlinths
