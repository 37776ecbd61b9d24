// What the two sides of the Intersect Point Tool share: the report, the question for a field name,
// the count of points outside.
#pragma once

#include <cstdint>
#include <string>

#include "data/Table.h"

namespace orlinths {

/// The results report of one press, gathered while field lists and questions come and go, and shown
/// at its end. Lines are joined by carriage returns.
class IntersectReport {
 public:
  IntersectReport() : text_("Intersect Point Tool") {}
  void Line(const std::string& line) { text_ += '\r' + line; }
  /// A blank line and a line.
  void Section(const std::string& line) { text_ += "\r\r" + line; }
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

struct PointTally {
  std::int64_t processed = 0;
  std::int64_t outside = 0;
};

/// The last three lines of a layer or band in the report; `what` is "layer" or "band".
void TellTally(IntersectReport& report, const PointTally& tally, const std::string& layerName,
               const char* what);
/// Warns of points outside the layer; silent when there are none.
void WarnOfPointsOutside(std::int64_t outside, const std::string& layerName);

/// Asks for the name of a field that is to hold something of the layer. What the user typed, as it
/// stands; empty when the dialog was left.
std::string AskForFieldName(const std::string& layerName);
/// What stands before the first point.
std::string UpToFirstPoint(const std::string& text);

}  // namespace orlinths
