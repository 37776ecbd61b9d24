// The shapefile format: file headers and the records of every shape type, Z and M included.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "data/Field.h"
#include "numerics/Geometry.h"

namespace orlinths {

constexpr int kShpHeaderBytes = 100;
constexpr int kShxRecordBytes = 8;
constexpr int kShpRecordHead = 8;

/// Shape type numbers: 1 point, 3 polyline, 5 polygon, 8 multipoint; with Z 10 more, with M 20
/// more.
int ShpTypeFor(const GeometryDef& geometry);  ///< 0 for a geometry type that the format cannot hold
GeometryDef GeometryForShpType(int type);     ///< kNull for types not known here

/// What the header says about all shapes. NaN and "no data" count for nothing.
struct ShpBounds {
  static constexpr double kInf = std::numeric_limits<double>::infinity();
  double xMin = kInf, yMin = kInf, xMax = -kInf, yMax = -kInf;
  double zMin = kInf, zMax = -kInf, mMin = kInf, mMax = -kInf;

  void AddXY(double x, double y) {
    if (x < xMin) xMin = x;
    if (x > xMax) xMax = x;
    if (y < yMin) yMin = y;
    if (y > yMax) yMax = y;
  }
  void AddZ(double z) {
    if (z < zMin) zMin = z;
    if (z > zMax) zMax = z;
  }
  void AddM(double m) {
    if (m < -1e38) return;
    if (m < mMin) mMin = m;
    if (m > mMax) mMax = m;
  }
  void Add(const ShpBounds& other);
  /// What a header says where there are no shapes, or none but one at the origin.
  bool IsZero() const { return xMin == 0 && yMin == 0 && xMax == 0 && yMax == 0; }
};

struct ShpHeader {
  int type = 0;
  std::uint64_t fileBytes = kShpHeaderBytes;  ///< as the header says
  ShpBounds bounds;
};

/// `bytes` holds the file's first 100 bytes or what there is of them. A platform error, naming
/// `file`, for anything else.
ShpHeader ParseShpHeader(std::string_view bytes, const std::string& file);
std::string MakeShpHeader(const ShpHeader& header);

/// Raises a platform error where a .shp of so many bytes could not be told in its header any more.
void CheckShpSize(std::uint64_t bytes, const std::string& file);

/// Record number (from 1) and content length, as they stand before a record; and the entry of the
/// .shx.
void PutShpRecordHead(std::int64_t row, std::size_t contentBytes, char* to);
void PutShxRecord(std::uint64_t position, std::size_t contentBytes, char* to);
void ParseShxRecord(const char* bytes, std::uint64_t& position, std::size_t& contentBytes);

/// Appends the record's content for `shape` to `out` and grows `bounds`. Null and empty shapes are
/// null records. Rings are closed; outer ones are turned clockwise and holes counter-clockwise, the
/// first vertex staying first. With a Z type, `hasM` says whether shapes without measures get "no
/// data" ones. A platform error for a shape of another kind than `type`.
void EncodeShape(const Geometry& shape, int type, bool hasM, std::string& out, ShpBounds& bounds);

/// What a record holds behind its head, and for errors where it stands.
struct ShpRecord {
  ShpRecord(std::string_view bytes, std::string_view path = {}, std::int64_t number = -1)
      : content(bytes), file(path), row(number) {}
  std::string_view content, file;
  std::int64_t row;  ///< from 0
};

/// The shape of a record, without its measures unless they are wanted. A platform error for a
/// record that contradicts itself.
Geometry DecodeShape(const ShpRecord& record, bool withM = true);
/// Grows `bounds` by a record without making the shape; a null shape adds nothing. Same errors.
void AddShapeBounds(const ShpRecord& record, ShpBounds& bounds);
/// True when the record, of a Z type, holds measures too.
bool HasMeasures(const ShpRecord& record);

}  // namespace orlinths
