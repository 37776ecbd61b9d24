// A field that holds one measure of every shape of a class: area, perimeter, and what other tools
// bring.
#pragma once

#include <string>

#include "data/Table.h"

namespace orlinths {

/// A measure of a shape, and how its routine speaks of itself.
struct ShapeMeasure {
  const char* label;     ///< heads the error report
  const char* progress;  ///< stands on the status bar
  /// In the units of the class. Error 91 for an empty shape, 13 for one of another type.
  double (*of)(const IFeature& feature);
};

/// Writes `measure` times `constant` of every feature of the class into a new double field `name`.
/// An existing field of that name goes first, whatever its type, so that the field always ends up
/// last; selections and definition queries do not count. True when every row was written. Otherwise
/// the failure has been reported, and rows before it keep what was written: error 91 for an empty
/// shape, 6 for a result that is not finite, what the platform says for the rest. One pass,
/// O(vertices).
bool ReplaceByMeasure(IFeatureClass& shapes, const std::string& name, const ShapeMeasure& measure,
                      double constant, bool showProgress);

/// Replaces the field `name` by a new one with the area of every polygon, in squared map units
/// times `constant`. Signed: clockwise rings count positive, so holes subtract. True when every row
/// was written; see `ReplaceByMeasure` for failures and cost.
bool TableAddArea(IFeatureClass& polygons, const std::string& name, double constant,
                  bool showProgress);
/// The same with the length of all rings, holes included, in map units times `constant`.
bool TableAddPerim(IFeatureClass& polygons, const std::string& name, double constant,
                   bool showProgress);

/// What a tool says when its routine has failed, `problem` being the first line.
void WarnOfProblem(const std::string& problem);

}  // namespace orlinths
