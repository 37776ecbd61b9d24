// Empirical distributions of step lengths and turn angles: their text file, their scaling, and the
// draw from them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "runtime/Arrays.h"

namespace orlinths {

/// Rows from 0, one a bin, in any order; columns 0 lower bound, 1 upper bound, 2 weight. Step
/// lengths are in map units, turn angles in degrees. Nothing is assumed of how the bounds relate.
using DistributionTable = Array2<double>;

/// Reads a text file of one bin a line into `table`: lower bound, upper bound, weight, separated by
/// `delimiter`; further fields are ignored. Lines of fewer than 6 characters have no effect. Of the
/// longer ones, those whose first three fields are all numeric become rows; if the last of them is
/// not such a line, the table ends with a row of zeros.
///
/// False, after the error report and with `table` as it was, when the file cannot be read, when a
/// line of 6 or more characters has fewer than three fields, and when there is no such line.
bool LoadDistributionFromFile(const std::string& fileName, std::string_view delimiter,
                              DistributionTable& table);

/// A copy of `table`, its weights divided by the largest one if that is below 1. Nothing after an
/// error report: the largest weight is 0, or the table has no rows.
std::optional<DistributionTable> MaximizeProbabilityDistrib(const DistributionTable& table);

/// Divides the weights by the largest one, or by -1 if all are below that. Errors of `Divide` when
/// the largest weight is 0; 9 for a table without rows.
void ScaleToMax(DistributionTable& table);

/// A draw by rejection: every bin is equally likely to be proposed and accepted with its weight as
/// probability (always from 1 up); the value is uniform within the accepted bin. 0, without a draw,
/// for a table of one row whatever its bounds, and after an error report.
///
/// Takes three uniform draws and two more for each bin rejected. Weights that are all 0 or below go
/// on until a stop is asked for; it yields.
double DrawFromDistributionBin(const DistributionTable& table);

}  // namespace orlinths
