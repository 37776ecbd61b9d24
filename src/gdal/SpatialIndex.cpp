#include "data/SpatialIndex.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "gdal/GeosGeometry.h"
#include "numerics/PackedTree.h"
#include "numerics/PolygonLocator.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

bool IsFinite(const Geometry& shape) {
  if (const Point* point = shape.As<Point>())
    return std::isfinite(point->x) && std::isfinite(point->y);
  return std::ranges::all_of(shape.AsMultipart()->Coords(), [](const Coord& c) {
    return std::isfinite(c.x) && std::isfinite(c.y);
  });
}

bool IsOnLine(const Polyline& line, const Coord& p) {
  for (int part = 0; part < line.PartCount(); ++part) {
    const auto run = line.Part(part);
    for (std::size_t i = 1; i < run.size(); ++i) {
      const Coord& a = run[i - 1];
      const Coord& b = run[i];
      if (std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) && std::min(a.y, b.y) <= p.y &&
          p.y <= std::max(a.y, b.y) && TurnSign(a, b, p) == 0)
        return true;
    }
  }
  return false;
}

}  // namespace

struct SpatialIndex::Parts {
  std::vector<Entry> entries;
  std::vector<Envelope> boxes;
  PackedTree tree;
  /// Of polygons: made at the second question, since one question costs as much as building it.
  struct Asked {
    bool once = false;
    std::optional<PolygonLocator> locator;
  };
  std::vector<Asked> asked;

  bool Meets(std::size_t i, const Coord& p) {
    const Geometry& shape = entries[i].shape;
    if (const Polygon* polygon = shape.As<Polygon>()) {
      Asked& state = asked[i];
      if (!state.locator) {
        if (!std::exchange(state.once, true))
          return SideOfPolygon(*polygon, p.x, p.y) != Side::kOutside;
        state.locator.emplace(*polygon);
      }
      return state.locator->Locate(p.x, p.y) != Side::kOutside;
    }
    if (const Polyline* line = shape.As<Polyline>()) return IsOnLine(*line, p);
    if (const Multipoint* points = shape.As<Multipoint>())
      return std::ranges::find(points->Coords(), p) != points->Coords().end();
    return true;  // a point whose box holds the place is at the place
  }

  std::vector<Oid> Sorted(std::vector<std::uint32_t> places) const {
    std::ranges::sort(places);
    std::vector<Oid> oids;
    oids.reserve(places.size());
    for (const std::uint32_t place : places) oids.push_back(entries[place].oid);
    return oids;
  }
};

SpatialIndex::SpatialIndex(std::vector<Entry> entries) : parts_(std::make_unique<Parts>()) {
  std::erase_if(entries,
                [](const Entry& entry) { return entry.shape.IsEmpty() || !IsFinite(entry.shape); });
  parts_->boxes.reserve(entries.size());
  for (const Entry& entry : entries) parts_->boxes.push_back(entry.shape.Envelope());
  parts_->tree = PackedTree(parts_->boxes);
  parts_->asked.resize(entries.size());
  parts_->entries = std::move(entries);
}

SpatialIndex::~SpatialIndex() = default;
SpatialIndex::SpatialIndex(SpatialIndex&&) noexcept = default;
SpatialIndex& SpatialIndex::operator=(SpatialIndex&&) noexcept = default;

void SpatialIndex::At(double x, double y, std::vector<Oid>& oids) const {
  CheckStop();
  oids.clear();
  parts_->tree.Meeting({x, y, x, y}, [&](std::size_t i) {
    if (parts_->Meets(i, {x, y})) oids.push_back(parts_->entries[i].oid);
  });
  std::ranges::sort(oids);
}

std::vector<Oid> SpatialIndex::EnvelopesMeeting(const Envelope& box) const {
  CheckStop();
  std::vector<std::uint32_t> places;
  parts_->tree.Meeting(box,
                       [&](std::size_t i) { places.push_back(static_cast<std::uint32_t>(i)); });
  return parts_->Sorted(std::move(places));
}

std::vector<Oid> SpatialIndex::Search(const Geometry& shape, SpatialRelation relation) const {
  CheckStop();
  std::vector<Oid> found;
  if (shape.IsEmpty()) return found;
  if (const Point* point = shape.As<Point>();
      point != nullptr && relation == SpatialRelation::kIntersects) {
    At(point->x, point->y, found);
    return found;
  }

  const Envelope box = shape.Envelope();
  std::vector<std::uint32_t> places;
  parts_->tree.Meeting(box, [&](std::size_t i) {
    const Envelope& other = parts_->boxes[i];
    const bool isInBox = other.xMin >= box.xMin && other.xMax <= box.xMax &&
                         other.yMin >= box.yMin && other.yMax <= box.yMax;
    if (relation == SpatialRelation::kIntersects || isInBox)
      places.push_back(static_cast<std::uint32_t>(i));
  });
  std::ranges::sort(places);
  if (places.empty()) return found;

  const GeosScope geos;
  const auto native = NativeOf(geos, shape);
  const GEOSPreparedGeometry* asked = PreparedNow(geos, *native);
  for (const std::uint32_t place : places) {
    CheckStop();
    const Entry& entry = parts_->entries[place];
    const auto other = NativeOf(geos, entry.shape);
    const char answer = relation == SpatialRelation::kContains
                            ? GEOSPreparedContains_r(geos.Context(), asked, other->shape.get())
                            : GEOSPreparedIntersects_r(geos.Context(), asked, other->shape.get());
    if (geos.Answer(answer)) found.push_back(entry.oid);
  }
  return found;
}

const Geometry* SpatialIndex::Shape(Oid oid) const {
  const auto found = std::ranges::lower_bound(parts_->entries, oid, {}, &Entry::oid);
  return found != parts_->entries.end() && found->oid == oid ? &found->shape : nullptr;
}

}  // namespace orlinths
