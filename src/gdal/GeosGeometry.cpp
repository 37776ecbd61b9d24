#include "gdal/GeosGeometry.h"

#include <algorithm>
#include <cmath>

#include "numerics/PackedTree.h"
#include "numerics/PolygonLocator.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

/// Shapes are destroyed through a context that outlives every one of them, whatever the thread and
/// the order of clean-up.
GEOSContextHandle_t LastingContext() {
  static const GEOSContextHandle_t context = GEOS_init_r();
  return context;
}

struct ThreadContext {
  GEOSContextHandle_t handle = GEOS_init_r();
  std::string said;

  ThreadContext() {
    if (handle == nullptr) throw RuntimeError(ErrorNumber::kOutOfMemory);
    GEOSContext_setErrorMessageHandler_r(handle, Keep, this);
  }
  ~ThreadContext() { GEOS_finish_r(handle); }
  ThreadContext(const ThreadContext&) = delete;
  ThreadContext& operator=(const ThreadContext&) = delete;

  static void Keep(const char* text, void* self) {
    auto& said = static_cast<ThreadContext*>(self)->said;
    try {
      said = text;
    } catch (const std::bad_alloc&) {
      said = "bad_alloc";  // short enough to need no memory
    }
  }
};

ThreadContext& OfThisThread() {
  thread_local ThreadContext context;
  return context;
}

// GEOS knows one interrupt callback for the whole process. Ours speaks only for the threads inside
// a scope of ours, and passes each call on to whichever was there before.
thread_local int scopesHere = 0;
thread_local GEOSInterruptCallback* callbackBefore = nullptr;

void OnInterruptCheck() {
  if (callbackBefore != nullptr) callbackBefore();
  if (scopesHere > 0 && StopRequested()) GEOS_interruptRequest();
}

}  // namespace

void GeosDeleter::operator()(GEOSGeometry* shape) const noexcept {
  GEOSGeom_destroy_r(LastingContext(), shape);
}

void GeosDeleter::operator()(const GEOSPreparedGeometry* prepared) const noexcept {
  GEOSPreparedGeom_destroy_r(LastingContext(), prepared);
}

// --- GeosScope

GeosScope::GeosScope() {
  CheckStop();
  LastingContext();
  context_ = OfThisThread().handle;
  before_ = GEOS_interruptRegisterCallback(OnInterruptCheck);
  if (scopesHere++ == 0) callbackBefore = before_ == OnInterruptCheck ? nullptr : before_;
}

GeosScope::~GeosScope() {
  if (--scopesHere == 0) callbackBefore = nullptr;
  GEOS_interruptRegisterCallback(before_);
}

GeosPtr GeosScope::Own(GEOSGeometry* result) const {
  if (result == nullptr) Fail();
  return GeosPtr(result);
}

bool GeosScope::Answer(char answer) const {
  if (answer == 2) Fail();
  return answer == 1;
}

void GeosScope::Fail() const {
  CheckStop();
  const std::string& said = OfThisThread().said;
  if (said.find("bad_alloc") != std::string::npos) throw RuntimeError(ErrorNumber::kOutOfMemory);
  throw RuntimeError::Platform(said);
}

// --- plain to GEOS

namespace {

using CoordSeqPtr = std::unique_ptr<GEOSCoordSequence, decltype([](GEOSCoordSequence* sequence) {
                                      GEOSCoordSeq_destroy_r(LastingContext(), sequence);
                                    })>;

void CheckFinite(const Geometry& shape) {
  const auto isFinite = [](const Coord& c) { return std::isfinite(c.x) && std::isfinite(c.y); };
  bool allFinite = true;
  if (const Point* point = shape.As<Point>()) allFinite = isFinite({point->x, point->y});
  if (const Multipart* parts = shape.AsMultipart())
    allFinite = std::ranges::all_of(parts->Coords(), isFinite);
  if (!allFinite) throw RuntimeError::Platform("A coordinate of the shape is not a finite number.");
}

CoordSeqPtr Sequence(const GeosScope& geos, std::span<const Coord> coords) {
  static_assert(sizeof(Coord) == 2 * sizeof(double));
  CoordSeqPtr sequence(GEOSCoordSeq_copyFromBuffer_r(geos.Context(), &coords.front().x,
                                                     static_cast<unsigned>(coords.size()), 0, 0));
  if (!sequence) geos.Fail();
  return sequence;
}

GeosPtr MakePoint(const GeosScope& geos, const Coord& at) {
  return geos.Own(GEOSGeom_createPointFromXY_r(geos.Context(), at.x, at.y));
}

GeosPtr MakeLine(const GeosScope& geos, std::span<const Coord> coords) {
  return geos.Own(GEOSGeom_createLineString_r(geos.Context(), Sequence(geos, coords).release()));
}

GeosPtr MakeRing(const GeosScope& geos, std::span<const Coord> coords) {
  std::vector<Coord> closed;
  if (!(coords.front() == coords.back())) {
    closed.assign(coords.begin(), coords.end());
    closed.push_back(coords.front());
    coords = closed;
  }
  return geos.Own(GEOSGeom_createLinearRing_r(geos.Context(), Sequence(geos, coords).release()));
}

/// The calls that put shapes together own what they are given, whether they succeed or not.
std::vector<GEOSGeometry*> Release(std::vector<GeosPtr>& shapes) {
  std::vector<GEOSGeometry*> released(shapes.size());
  for (std::size_t i = 0; i < shapes.size(); ++i) released[i] = shapes[i].release();
  return released;
}

GeosPtr Collect(const GeosScope& geos, int type, std::vector<GeosPtr> shapes) {
  auto released = Release(shapes);
  return geos.Own(GEOSGeom_createCollection_r(geos.Context(), type, released.data(),
                                              static_cast<unsigned>(released.size())));
}

GeosPtr MakePolygon(const GeosScope& geos, GeosPtr shell, std::vector<GeosPtr> holes) {
  auto released = Release(holes);
  return geos.Own(GEOSGeom_createPolygon_r(geos.Context(), shell.release(), released.data(),
                                           static_cast<unsigned>(released.size())));
}

bool CanBeRing(std::span<const Coord> ring) {
  return ring.size() >= 4 || (ring.size() == 3 && !(ring.front() == ring.back()));
}

/// How the rings of a polygon lie in one another: of each ring, how many others hold it, and the
/// innermost of those.
class Nesting {
 public:
  explicit Nesting(const Multipart& rings) : rings_(rings), locator_(rings) {
    const auto count = static_cast<std::size_t>(rings.PartCount());
    boxes_.resize(count);
    for (std::size_t i = 0; i < count; ++i)
      if (CanBeRing(Ring(i)))
        for (const Coord& c : Ring(i)) boxes_[i].Add(c.x, c.y);
    const PackedTree tree(boxes_);
    holders_.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
      if (boxes_[i].IsEmpty()) continue;
      tree.Meeting(boxes_[i], [&](std::size_t j) {
        if (j != i && Holds(j, i)) holders_[i].push_back(j);
      });
    }
  }

  bool IsUsed(std::size_t ring) const { return !boxes_[ring].IsEmpty(); }
  bool IsHole(std::size_t ring) const { return holders_[ring].size() % 2 == 1; }
  /// Of a hole: the shell directly around it.
  std::size_t ShellOf(std::size_t hole) const {
    return *std::ranges::max_element(holders_[hole], {},
                                     [this](std::size_t ring) { return holders_[ring].size(); });
  }

 private:
  std::span<const Coord> Ring(std::size_t i) const { return rings_.Part(static_cast<int>(i)); }

  bool Holds(std::size_t outer, std::size_t inner) const {
    const Envelope& a = boxes_[outer];
    const Envelope& b = boxes_[inner];
    if (!(a.xMin <= b.xMin && a.yMin <= b.yMin && a.xMax >= b.xMax && a.yMax >= b.yMax))
      return false;
    // Rings may touch: the first vertex that is not on the other ring decides, then the first such
    // middle of a segment.
    const auto ring = Ring(inner);
    for (const Coord& c : ring)
      if (const Side side = Locate(outer, c.x, c.y); side != Side::kBoundary)
        return side == Side::kInside;
    for (std::size_t i = 1; i < ring.size(); ++i) {
      const Side side =
          Locate(outer, ring[i - 1].x / 2 + ring[i].x / 2, ring[i - 1].y / 2 + ring[i].y / 2);
      if (side != Side::kBoundary) return side == Side::kInside;
    }
    return outer < inner;  // the same ring twice
  }
  Side Locate(std::size_t ring, double x, double y) const {
    return locator_.LocateInRing(static_cast<int>(ring), x, y);
  }

  const Multipart& rings_;
  PolygonLocator locator_;
  std::vector<Envelope> boxes_;
  std::vector<std::vector<std::size_t>> holders_;
};

GeosPtr PolygonToGeos(const GeosScope& geos, const Polygon& polygon) {
  if (polygon.PartCount() == 1 && CanBeRing(polygon.Part(0)))
    return MakePolygon(geos, MakeRing(geos, polygon.Part(0)), {});

  const Nesting nesting(polygon);
  const auto count = static_cast<std::size_t>(polygon.PartCount());
  std::vector<std::vector<GeosPtr>> holes(count);
  for (std::size_t i = 0; i < count; ++i)
    if (nesting.IsUsed(i) && nesting.IsHole(i))
      holes[nesting.ShellOf(i)].push_back(MakeRing(geos, polygon.Part(static_cast<int>(i))));
  std::vector<GeosPtr> polygons;
  for (std::size_t i = 0; i < count; ++i)
    if (nesting.IsUsed(i) && !nesting.IsHole(i))
      polygons.push_back(MakePolygon(geos, MakeRing(geos, polygon.Part(static_cast<int>(i))),
                                     std::move(holes[i])));
  if (polygons.size() == 1) return std::move(polygons.front());
  return Collect(geos, GEOS_MULTIPOLYGON, std::move(polygons));
}

GeosPtr LineToGeos(const GeosScope& geos, const Polyline& line) {
  std::vector<GeosPtr> parts;
  for (int part = 0; part < line.PartCount(); ++part)
    if (line.Part(part).size() >= 2) parts.push_back(MakeLine(geos, line.Part(part)));
  if (parts.size() == 1) return std::move(parts.front());
  return Collect(geos, GEOS_MULTILINESTRING, std::move(parts));
}

GeosPtr PointsToGeos(const GeosScope& geos, const Multipoint& points) {
  std::vector<GeosPtr> parts;
  parts.reserve(points.Coords().size());
  for (const Coord& at : points.Coords()) parts.push_back(MakePoint(geos, at));
  return Collect(geos, GEOS_MULTIPOINT, std::move(parts));
}

}  // namespace

GeosPtr ToGeos(const GeosScope& geos, const Geometry& shape) {
  if (shape.IsEmpty()) return Collect(geos, GEOS_GEOMETRYCOLLECTION, {});
  CheckFinite(shape);
  if (const Polygon* polygon = shape.As<Polygon>()) return PolygonToGeos(geos, *polygon);
  if (const Polyline* line = shape.As<Polyline>()) return LineToGeos(geos, *line);
  if (const Multipoint* points = shape.As<Multipoint>()) return PointsToGeos(geos, *points);
  const Point& point = shape.AsPoint();
  return MakePoint(geos, {point.x, point.y});
}

// --- GEOS to plain

namespace {

std::vector<Coord> CoordsOf(const GeosScope& geos, const GEOSGeometry& simple) {
  const GEOSCoordSequence* sequence = GEOSGeom_getCoordSeq_r(geos.Context(), &simple);
  if (sequence == nullptr) geos.Fail();
  unsigned size = 0;
  geos.Check(GEOSCoordSeq_getSize_r(geos.Context(), sequence, &size));
  std::vector<Coord> coords(size);
  if (size > 0)
    geos.Check(GEOSCoordSeq_copyToBuffer_r(geos.Context(), sequence, &coords.front().x, 0, 0));
  return coords;
}

void AddRing(const GeosScope& geos, const GEOSGeometry* ring, bool isOuter, Multipart& to) {
  if (ring == nullptr) geos.Fail();
  std::vector<Coord> coords = CoordsOf(geos, *ring);
  const double area = SignedRingArea(coords);
  if (isOuter ? area < 0 : area > 0) std::ranges::reverse(coords);
  to.AddPart(coords);
}

void AddParts(const GeosScope& geos, const GEOSGeometry& shape, int dimension, Multipart& to) {
  if (geos.Answer(GEOSisEmpty_r(geos.Context(), &shape))) return;
  switch (GEOSGeomTypeId_r(geos.Context(), &shape)) {
    case GEOS_POINT:
      if (dimension == 0) {
        const Coord at = CoordsOf(geos, shape).at(0);
        to.AddPoint(at.x, at.y);
      }
      return;
    case GEOS_LINESTRING:
    case GEOS_LINEARRING:
      if (dimension == 1) to.AddPart(CoordsOf(geos, shape));
      return;
    case GEOS_POLYGON: {
      if (dimension != 2) return;
      AddRing(geos, GEOSGetExteriorRing_r(geos.Context(), &shape), true, to);
      const int holes = GEOSGetNumInteriorRings_r(geos.Context(), &shape);
      for (int i = 0; i < holes; ++i)
        AddRing(geos, GEOSGetInteriorRingN_r(geos.Context(), &shape, i), false, to);
      return;
    }
    default: {
      const int parts = GEOSGetNumGeometries_r(geos.Context(), &shape);
      for (int i = 0; i < parts; ++i)
        AddParts(geos, *GEOSGetGeometryN_r(geos.Context(), &shape, i), dimension, to);
    }
  }
}

}  // namespace

Geometry FromGeos(const GeosScope& geos, const GEOSGeometry& shape, int dimension) {
  Geometry plain = dimension == 0   ? Geometry(Multipoint())
                   : dimension == 1 ? Geometry(Polyline())
                                    : Geometry(Polygon());
  AddParts(geos, shape, dimension, *plain.AsMultipart());
  return plain;
}

// --- what is kept with a shape

std::shared_ptr<NativeShape> NativeOf(const GeosScope& geos, const Geometry& shape) {
  const Multipart* keeper = shape.AsMultipart();
  if (keeper != nullptr && keeper->Native() != nullptr) {
    // Nothing else keeps anything with shapes; it was a NativeShape, not const, when it went in.
    auto kept = std::const_pointer_cast<NativeShape>(
        std::static_pointer_cast<const NativeShape>(keeper->Native()));
    if (kept->type == shape.Type()) return kept;
  }
  auto native = std::make_shared<NativeShape>();
  native->type = shape.Type();
  native->shape = ToGeos(geos, shape);
  if (keeper != nullptr) keeper->KeepNative(native);
  return native;
}

const GEOSPreparedGeometry* PreparedNow(const GeosScope& geos, NativeShape& native) {
  if (!native.prepared) {
    native.prepared.reset(GEOSPrepare_r(geos.Context(), native.shape.get()));
    if (!native.prepared) geos.Fail();
  }
  return native.prepared.get();
}

const GEOSPreparedGeometry* PreparedOf(const GeosScope& geos, NativeShape& native) {
  constexpr int kPlainQuestions = 2;
  if (++native.questions <= kPlainQuestions && !native.prepared) return nullptr;
  return PreparedNow(geos, native);
}

}  // namespace orlinths
