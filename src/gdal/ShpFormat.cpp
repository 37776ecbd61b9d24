#include "gdal/ShpFormat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "numerics/RingOrder.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

// The format's whole numbers in headers are big-endian, everything else is little-endian, as this
// code's hosts are.
static_assert(std::endian::native == std::endian::little);

constexpr std::int32_t kFileCode = 9994;
constexpr std::int32_t kVersion = 1000;
constexpr double kNoMeasure = -std::numeric_limits<double>::max();
constexpr std::uint64_t kMaxBytes = 2 * 0x7fffffffull;

constexpr int kPoint = 1, kPolyline = 3, kPolygon = 5, kMultipoint = 8;
constexpr int kMultipatch = 31;

bool IsZ(int type) { return type > 10 && type < 20; }
bool IsM(int type) { return type > 20 && type < 30; }
int Plain(int type) { return type % 10; }
bool IsKnown(int type) {
  const int plain = Plain(type);
  return type > 0 && type < 30 &&
         (plain == kPoint || plain == kPolyline || plain == kPolygon || plain == kMultipoint);
}

std::uint32_t Swapped(std::uint32_t v) { return __builtin_bswap32(v); }
void PutBig(std::uint32_t v, char* to) {
  v = Swapped(v);
  std::memcpy(to, &v, 4);
}
std::uint32_t Big(const char* from) {
  std::uint32_t v;
  std::memcpy(&v, from, 4);
  return Swapped(v);
}
template <class T>
T Little(const char* from) {
  T v;
  std::memcpy(&v, from, sizeof v);
  return v;
}
template <class T>
void PutLittle(T v, char* to) {
  std::memcpy(to, &v, sizeof v);
}

/// Writes little-endian values one behind the other into space that is there.
class Pen {
 public:
  explicit Pen(char* at) : at_(at) {}
  template <class T>
  void Put(T v) {
    PutLittle(v, at_);
    at_ += sizeof v;
  }
  void Put(const void* bytes, std::size_t count) {
    if (count > 0) std::memcpy(at_, bytes, count);
    at_ += count;
  }

 private:
  char* at_;
};

std::pair<double, double> RangeToWrite(double min, double max) {
  return min <= max ? std::pair(min, max) : std::pair(0.0, 0.0);
}

double MeasureToWrite(double m) { return std::isnan(m) ? kNoMeasure : m; }
double MeasureRead(double m) { return m < -1e38 ? Point::kNone : m; }
double ZToWrite(double z) { return std::isnan(z) ? 0.0 : z; }

void AppendNull(std::string& out) { out.append(4, '\0'); }

[[noreturn]] void WrongKind() {
  throw RuntimeError::Platform("The shape is of another type than its feature class.");
}

void EncodePoint(const Point& p, int type, std::string& out, ShpBounds& bounds) {
  std::array<char, 36> bytes;
  Pen pen(bytes.data());
  pen.Put(std::int32_t{type});
  pen.Put(p.x);
  pen.Put(p.y);
  std::size_t size = 20;
  bounds.AddXY(p.x, p.y);
  if (IsZ(type)) {
    pen.Put(ZToWrite(p.z));
    bounds.AddZ(ZToWrite(p.z));
    size += 8;
  }
  if (type > 10) {
    pen.Put(MeasureToWrite(p.m));
    bounds.AddM(MeasureToWrite(p.m));
    size += 8;
  }
  out.append(bytes.data(), size);
}

/// The points of a multipart shape in the order of the file.
struct Laid {
  std::span<const Coord> coords;
  std::span<const double> z, m;
  std::vector<std::int32_t> starts;
  std::vector<Coord> ownCoords;
  std::vector<double> ownZ, ownM;
};

Laid LaidAsStored(const Multipart& shape) {
  Laid laid{shape.Coords(), shape.Z(), shape.M(), {}, {}, {}, {}};
  for (int part = 0; part < shape.PartCount(); ++part)
    if (!shape.Part(part).empty())
      laid.starts.push_back(static_cast<std::int32_t>(shape.PartStart(part)));
  return laid;
}

bool IsClosed(std::span<const Coord> ring) {
  return ring.size() > 1 && ring.front() == ring.back();
}

Laid LaidAsRings(const Polygon& polygon) {
  const std::vector<bool> isHole = HoleFlags(polygon);
  const int parts = polygon.PartCount();
  std::vector<bool> turned(isHole.size());
  bool asStored = true;
  for (int i = 0; i < parts; ++i) {
    const auto ring = polygon.Part(i);
    const double area = SignedRingArea(ring);
    const auto at = static_cast<std::size_t>(i);
    turned[at] = isHole[at] ? area > 0 : area < 0;
    asStored = asStored && !turned[at] && (ring.empty() || IsClosed(ring));
  }
  if (asStored) return LaidAsStored(polygon);

  Laid laid;
  const auto copy = [&](auto from, auto& to, std::size_t begin, std::size_t count, bool turn,
                        bool close) {
    if (from.empty()) return;
    const auto ring = from.subspan(begin, count);
    if (!turn) {
      to.insert(to.end(), ring.begin(), ring.end());
      if (close) to.push_back(ring.front());
      return;
    }
    // The first vertex stays first.
    to.push_back(ring.front());
    const auto last = close ? ring.rend() : ring.rend() - 1;
    to.insert(to.end(), close ? ring.rbegin() : ring.rbegin() + 1, last);
    if (!close) to.push_back(ring.back());
  };
  for (int i = 0; i < parts; ++i) {
    const auto ring = polygon.Part(i);
    if (ring.empty()) continue;
    const auto begin = static_cast<std::size_t>(polygon.PartStart(i));
    const bool close = !IsClosed(ring);
    const bool turn = turned[static_cast<std::size_t>(i)];
    laid.starts.push_back(static_cast<std::int32_t>(laid.ownCoords.size()));
    copy(polygon.Coords(), laid.ownCoords, begin, ring.size(), turn, close);
    copy(polygon.Z(), laid.ownZ, begin, ring.size(), turn, close);
    copy(polygon.M(), laid.ownM, begin, ring.size(), turn, close);
  }
  laid.coords = laid.ownCoords;
  laid.z = laid.ownZ;
  laid.m = laid.ownM;
  return laid;
}

void EncodeMultipart(const Laid& laid, int type, bool hasM, std::string& out, ShpBounds& bounds) {
  const bool isMultipoint = Plain(type) == kMultipoint;
  const std::size_t points = laid.coords.size();
  const bool writeZ = IsZ(type);
  const bool writeM = IsM(type) || (writeZ && (hasM || !laid.m.empty()));
  const std::size_t size = 4 + 32 + (isMultipoint ? 4 : 8 + 4 * laid.starts.size()) + 16 * points +
                           (writeZ ? 16 + 8 * points : 0) + (writeM ? 16 + 8 * points : 0);
  CheckShpSize(size, "A shape");
  const std::size_t at = out.size();
  out.resize(at + size);
  Pen pen(out.data() + at);

  ShpBounds own;
  for (const Coord& p : laid.coords) own.AddXY(p.x, p.y);
  const auto [xMin, xMax] = RangeToWrite(own.xMin, own.xMax);
  const auto [yMin, yMax] = RangeToWrite(own.yMin, own.yMax);
  pen.Put(std::int32_t{type});
  for (const double side : {xMin, yMin, xMax, yMax}) pen.Put(side);
  if (!isMultipoint) pen.Put(static_cast<std::int32_t>(laid.starts.size()));
  pen.Put(static_cast<std::int32_t>(points));
  if (!isMultipoint) pen.Put(laid.starts.data(), 4 * laid.starts.size());
  pen.Put(laid.coords.data(), 16 * points);
  if (writeZ) {
    for (const double z : laid.z) own.AddZ(ZToWrite(z));
    if (laid.z.empty()) own.AddZ(0);
    const auto [min, max] = RangeToWrite(own.zMin, own.zMax);
    pen.Put(min);
    pen.Put(max);
    for (std::size_t i = 0; i < points; ++i) pen.Put(laid.z.empty() ? 0.0 : ZToWrite(laid.z[i]));
  }
  if (writeM) {
    for (const double m : laid.m) own.AddM(MeasureToWrite(m));
    const auto [min, max] = RangeToWrite(own.mMin, own.mMax);
    pen.Put(min);
    pen.Put(max);
    for (std::size_t i = 0; i < points; ++i)
      pen.Put(laid.m.empty() ? kNoMeasure : MeasureToWrite(laid.m[i]));
  }
  bounds.Add(own);
}

/// Where things lie in a record's content; every position is inside it.
struct Anatomy {
  int type = 0;
  std::size_t parts = 0, points = 1;
  std::size_t partsAt = 0, coordsAt = 4;
  std::size_t zAt = 0, mAt = 0;  ///< 0: there are none
};

[[noreturn]] void BadRecord(const ShpRecord& record) {
  if (record.row < 0)
    throw RuntimeError::Platform("A shape's record contradicts itself: the shapefile is damaged.");
  throw RuntimeError::Platform(std::string(record.file) + ": the shape of row " +
                               ToText(record.row) + " contradicts itself: the file is damaged.");
}

Anatomy Dissect(const ShpRecord& record) {
  const std::string_view content = record.content;
  if (content.size() < 4) BadRecord(record);
  Anatomy a;
  a.type = Little<std::int32_t>(content.data());
  if (a.type == 0) return a;
  if (!IsKnown(a.type)) BadRecord(record);
  std::size_t at = 4;
  if (Plain(a.type) == kPoint) {
    at += 16;
    if (IsZ(a.type)) a.zAt = at, at += 8;
    // Some programs leave the measure of a point with Z out.
    if (IsM(a.type) || (IsZ(a.type) && content.size() >= at + 8)) a.mAt = at, at += 8;
    if (at > content.size()) BadRecord(record);
    return a;
  }
  at += 32;
  const bool isMultipoint = Plain(a.type) == kMultipoint;
  if (content.size() < at + (isMultipoint ? 4 : 8)) BadRecord(record);
  const auto count = [&] {
    const auto n = Little<std::int32_t>(content.data() + at);
    at += 4;
    if (n < 0) BadRecord(record);
    return static_cast<std::size_t>(n);
  };
  if (!isMultipoint) a.parts = count();
  a.points = count();
  a.partsAt = at;
  at += 4 * a.parts;
  a.coordsAt = at;
  at += 16 * a.points;
  if (at > content.size()) BadRecord(record);
  if (IsZ(a.type)) {
    a.zAt = at + 16;
    at += 16 + 8 * a.points;
  }
  if (IsM(a.type) || IsZ(a.type)) {
    // Measures are optional, even with the type that is named after them.
    if (content.size() >= at + 16 + 8 * a.points) {
      a.mAt = at + 16;
      at += 16 + 8 * a.points;
    }
  }
  if (at > content.size()) BadRecord(record);
  return a;
}

template <class Shape>
Geometry DecodeMultipart(const ShpRecord& record, const Anatomy& a) {
  const std::string_view content = record.content;
  if (a.points == 0) return Shape();
  std::vector<Coord> coords(a.points);
  std::memcpy(coords.data(), content.data() + a.coordsAt, 16 * a.points);
  std::vector<std::int32_t> starts(a.parts);
  if (a.parts > 0) std::memcpy(starts.data(), content.data() + a.partsAt, 4 * a.parts);
  if (Plain(a.type) == kMultipoint) starts.push_back(0);
  // Every point is of one part, and no part is without points.
  std::int32_t before = -1;
  for (const std::int32_t start : starts) {
    if (start <= before || static_cast<std::size_t>(start) >= a.points) BadRecord(record);
    before = start;
  }
  if (starts.empty() || starts.front() != 0) BadRecord(record);
  const auto numbers = [&](std::size_t at) {
    std::vector<double> v(at == 0 ? 0 : a.points);
    if (!v.empty()) std::memcpy(v.data(), content.data() + at, 8 * v.size());
    return v;
  };
  std::vector<double> m = numbers(a.mAt);
  for (double& v : m) v = MeasureRead(v);
  Shape shape;
  shape.Assign(std::move(coords), std::move(starts), numbers(a.zAt), std::move(m));
  return shape;
}

}  // namespace

int ShpTypeFor(const GeometryDef& geometry) {
  const int extra = geometry.hasZ ? 10 : geometry.hasM ? 20 : 0;
  switch (geometry.geometryType) {
    case GeometryType::kPoint:
      return kPoint + extra;
    case GeometryType::kMultipoint:
      return kMultipoint + extra;
    case GeometryType::kPolyline:
    case GeometryType::kLine:
      return kPolyline + extra;
    case GeometryType::kPolygon:
      return kPolygon + extra;
    case GeometryType::kNull:
      break;
  }
  return 0;
}

GeometryDef GeometryForShpType(int type) {
  GeometryDef geometry;
  if (!IsKnown(type)) return geometry;
  geometry.hasZ = IsZ(type);
  geometry.hasM = IsM(type);
  switch (Plain(type)) {
    case kPoint:
      geometry.geometryType = GeometryType::kPoint;
      break;
    case kMultipoint:
      geometry.geometryType = GeometryType::kMultipoint;
      break;
    case kPolyline:
      geometry.geometryType = GeometryType::kPolyline;
      break;
    default:
      geometry.geometryType = GeometryType::kPolygon;
  }
  return geometry;
}

void ShpBounds::Add(const ShpBounds& other) {
  xMin = std::min(xMin, other.xMin), xMax = std::max(xMax, other.xMax);
  yMin = std::min(yMin, other.yMin), yMax = std::max(yMax, other.yMax);
  zMin = std::min(zMin, other.zMin), zMax = std::max(zMax, other.zMax);
  mMin = std::min(mMin, other.mMin), mMax = std::max(mMax, other.mMax);
}

ShpHeader ParseShpHeader(std::string_view bytes, const std::string& file) {
  if (bytes.size() < kShpHeaderBytes)
    throw RuntimeError::Platform(file + ": too short for the header of a shapefile.");
  if (Big(bytes.data()) != static_cast<std::uint32_t>(kFileCode))
    throw RuntimeError::Platform(file + ": not a shapefile.");
  ShpHeader header;
  header.fileBytes = 2 * static_cast<std::uint64_t>(Big(bytes.data() + 24));
  header.type = Little<std::int32_t>(bytes.data() + 32);
  if (header.type != 0 && !IsKnown(header.type) && header.type != kMultipatch)
    throw RuntimeError::Platform(file + ": unknown shape type " + ToText(header.type) + ".");
  if (header.fileBytes < kShpHeaderBytes)
    throw RuntimeError::Platform(file + ": the header says the file is " +
                                 ToText(static_cast<std::int64_t>(header.fileBytes)) +
                                 " bytes long.");
  const auto at = [&](std::size_t i) { return Little<double>(bytes.data() + 36 + 8 * i); };
  header.bounds = {at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7)};
  return header;
}

std::string MakeShpHeader(const ShpHeader& header) {
  std::string bytes(kShpHeaderBytes, '\0');
  PutBig(kFileCode, bytes.data());
  PutBig(static_cast<std::uint32_t>(header.fileBytes / 2), bytes.data() + 24);
  PutLittle(kVersion, bytes.data() + 28);
  PutLittle(std::int32_t{header.type}, bytes.data() + 32);
  const ShpBounds& b = header.bounds;
  const auto [xMin, xMax] = RangeToWrite(b.xMin, b.xMax);
  const auto [yMin, yMax] = RangeToWrite(b.yMin, b.yMax);
  const auto [zMin, zMax] = RangeToWrite(b.zMin, b.zMax);
  const auto [mMin, mMax] = RangeToWrite(b.mMin, b.mMax);
  Pen pen(bytes.data() + 36);
  for (const double side : {xMin, yMin, xMax, yMax, zMin, zMax, mMin, mMax}) pen.Put(side);
  return bytes;
}

void CheckShpSize(std::uint64_t bytes, const std::string& file) {
  if (bytes > kMaxBytes)
    throw RuntimeError::Platform(file + ": larger than a shapefile can be (4 GB).");
}

void PutShpRecordHead(std::int64_t row, std::size_t contentBytes, char* to) {
  PutBig(static_cast<std::uint32_t>(row + 1), to);
  PutBig(static_cast<std::uint32_t>(contentBytes / 2), to + 4);
}

void PutShxRecord(std::uint64_t position, std::size_t contentBytes, char* to) {
  PutBig(static_cast<std::uint32_t>(position / 2), to);
  PutBig(static_cast<std::uint32_t>(contentBytes / 2), to + 4);
}

void ParseShxRecord(const char* bytes, std::uint64_t& position, std::size_t& contentBytes) {
  position = 2 * static_cast<std::uint64_t>(Big(bytes));
  contentBytes = 2 * static_cast<std::size_t>(Big(bytes + 4));
}

void EncodeShape(const Geometry& shape, int type, bool hasM, std::string& out, ShpBounds& bounds) {
  if (shape.IsEmpty()) return AppendNull(out);
  switch (Plain(type)) {
    case kPoint:
      if (const Point* p = shape.As<Point>()) return EncodePoint(*p, type, out, bounds);
      break;
    case kMultipoint:
      if (const auto* points = shape.As<Multipoint>())
        return EncodeMultipart(LaidAsStored(*points), type, hasM, out, bounds);
      break;
    case kPolyline:
      if (const auto* line = shape.As<Polyline>())
        return EncodeMultipart(LaidAsStored(*line), type, hasM, out, bounds);
      break;
    case kPolygon:
      if (const auto* polygon = shape.As<Polygon>())
        return EncodeMultipart(LaidAsRings(*polygon), type, hasM, out, bounds);
      break;
    default:
      break;
  }
  WrongKind();
}

Geometry DecodeShape(const ShpRecord& record, bool withM) {
  Anatomy a = Dissect(record);
  if (!withM) a.mAt = 0;
  const auto number = [&](std::size_t at) { return Little<double>(record.content.data() + at); };
  switch (Plain(a.type)) {
    case 0:
      return {};
    case kPoint: {
      Point p{number(4), number(12)};
      if (std::isnan(p.y)) return Point{};  // half a place is none
      if (a.zAt != 0) p.z = number(a.zAt);
      if (a.mAt != 0) p.m = MeasureRead(number(a.mAt));
      return p;
    }
    case kMultipoint:
      return DecodeMultipart<Multipoint>(record, a);
    case kPolyline:
      return DecodeMultipart<Polyline>(record, a);
    default:
      return DecodeMultipart<Polygon>(record, a);
  }
}

void AddShapeBounds(const ShpRecord& record, ShpBounds& bounds) {
  const Anatomy a = Dissect(record);
  if (a.type == 0) return;
  const auto number = [&](std::size_t at) { return Little<double>(record.content.data() + at); };
  for (std::size_t i = 0; i < a.points; ++i)
    bounds.AddXY(number(a.coordsAt + 16 * i), number(a.coordsAt + 16 * i + 8));
  for (std::size_t i = 0; a.zAt != 0 && i < a.points; ++i) bounds.AddZ(number(a.zAt + 8 * i));
  for (std::size_t i = 0; a.mAt != 0 && i < a.points; ++i) bounds.AddM(number(a.mAt + 8 * i));
}

bool HasMeasures(const ShpRecord& record) {
  const Anatomy a = Dissect(record);
  if (!IsZ(a.type) || a.mAt == 0) return false;
  for (std::size_t i = 0; i < a.points; ++i)
    if (!std::isnan(MeasureRead(Little<double>(record.content.data() + a.mAt + 8 * i))))
      return true;
  return false;
}

}  // namespace orlinths
