#include "support/Wkt.h"

#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <ostream>
#include <stdexcept>

namespace orlinths {
namespace {

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  Geometry Read() {
    const std::string_view name = Word();
    Geometry shape;
    if (name == "POINT")
      shape = ReadPoint();
    else if (name == "MULTIPOINT")
      shape = ReadParts<Multipoint>(0);
    else if (name == "LINESTRING")
      shape = ReadParts<Polyline>(0);
    else if (name == "MULTILINESTRING")
      shape = ReadParts<Polyline>(1);
    else if (name == "POLYGON")
      shape = ReadParts<Polygon>(1);
    else if (name == "MULTIPOLYGON")
      shape = ReadParts<Polygon>(2);
    else if (name != "NULL")
      Fail("an unknown name");
    SkipBlanks();
    if (!text_.empty()) Fail("more text than a shape");
    return shape;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw std::invalid_argument(what + " at \"" + std::string(text_) + "\"");
  }
  void SkipBlanks() { text_.remove_prefix(std::min(text_.find_first_not_of(" \n"), text_.size())); }
  bool Take(char c) {
    SkipBlanks();
    if (text_.empty() || text_.front() != c) return false;
    text_.remove_prefix(1);
    return true;
  }
  void Expect(char c) {
    if (!Take(c)) Fail(std::string("no ") + c);
  }
  std::string_view Word() {
    SkipBlanks();
    const auto end = std::min(text_.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), text_.size());
    const std::string_view word = text_.substr(0, end);
    text_.remove_prefix(end);
    return word;
  }
  bool TakeEmpty() {
    SkipBlanks();
    if (!text_.starts_with("EMPTY")) return false;
    text_.remove_prefix(5);
    return true;
  }
  bool TakeNumber(double& number) {
    SkipBlanks();
    const auto [end, error] = std::from_chars(text_.data(), text_.data() + text_.size(), number);
    if (error != std::errc()) return false;
    text_.remove_prefix(static_cast<std::size_t>(end - text_.data()));
    return true;
  }
  Point ReadCoords() {
    Point p;
    if (!TakeNumber(p.x) || !TakeNumber(p.y)) Fail("no number");
    if (TakeNumber(p.z)) TakeNumber(p.m);
    return p;
  }
  Point ReadPoint() {
    if (TakeEmpty()) return {};
    Expect('(');
    const Point p = ReadCoords();
    Expect(')');
    return p;
  }
  /// `depth` lists of lists above the points.
  template <class Shape>
  Shape ReadParts(int depth) {
    Shape shape;
    if (!TakeEmpty()) ReadList(shape, depth);
    return shape;
  }
  template <class Shape>
  void ReadList(Shape& shape, int depth) {
    Expect('(');
    if (depth == 0) shape.AddPart();
    do {
      if (depth > 0) {
        ReadList(shape, depth - 1);
      } else {
        const bool inBrackets = std::is_same_v<Shape, Multipoint> && Take('(');
        shape.AddPoint(ReadCoords());
        if (inBrackets) Expect(')');
      }
    } while (Take(','));
    Expect(')');
  }

  std::string_view text_;
};

void AddNumber(std::string& text, double number) {
  std::array<char, 40> digits{};
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  text.append(digits.data(), end);
}

std::string CoordsText(const Point& p, bool hasZ, bool hasM) {
  std::string text;
  AddNumber(text, p.x);
  text += ' ';
  AddNumber(text, p.y);
  if (hasZ || hasM) text += ' ', AddNumber(text, p.z);
  if (hasM) text += ' ', AddNumber(text, p.m);
  return text;
}

std::string PartText(const Multipart& shape, int part) {
  std::string text = "(";
  for (std::int64_t i = shape.PartStart(part); i < shape.PartStart(part + 1); ++i) {
    if (i > shape.PartStart(part)) text += ", ";
    text += CoordsText(shape.PointAt(i), shape.HasZ(), shape.HasM());
  }
  return text + ")";
}

std::string ListText(const Multipart& shape) {
  std::string text = "(";
  for (int part = 0; part < shape.PartCount(); ++part)
    text += (part > 0 ? ", " : "") + PartText(shape, part);
  return text + ")";
}

}  // namespace

Geometry Wkt(std::string_view text) {
  try {
    return Reader(text).Read();
  } catch (const std::invalid_argument& error) {
    ADD_FAILURE() << "Not a shape: " << text << "\n" << error.what();
    return {};
  }
}

Point WktPoint(std::string_view text) { return Wkt(text).AsPoint(); }
Polyline WktLine(std::string_view text) { return Wkt(text).AsPolyline(); }
Polygon WktPolygon(std::string_view text) { return Wkt(text).AsPolygon(); }

std::string AsWkt(const Geometry& shape) {
  if (shape.IsNull()) return "NULL";
  if (const Point* p = shape.As<Point>())
    return p->IsEmpty() ? "POINT EMPTY"
                        : "POINT(" + CoordsText(*p, !std::isnan(p->z), !std::isnan(p->m)) + ")";
  const Multipart& parts = *shape.AsMultipart();
  const std::string rest = parts.IsEmpty() ? " EMPTY" : ListText(parts);
  if (shape.As<Polygon>()) return "POLYGON" + rest;
  const std::string only = parts.PartCount() == 1 ? PartText(parts, 0) : rest;
  if (shape.As<Multipoint>()) return "MULTIPOINT" + only;
  return parts.PartCount() == 1 ? "LINESTRING" + only : "MULTILINESTRING" + rest;
}

void PrintTo(const Geometry& shape, std::ostream* out) { *out << AsWkt(shape); }
void PrintTo(const Point& point, std::ostream* out) { *out << AsWkt(point); }
void PrintTo(const Polyline& line, std::ostream* out) { *out << AsWkt(line); }
void PrintTo(const Polygon& polygon, std::ostream* out) { *out << AsWkt(polygon); }

}  // namespace orlinths
