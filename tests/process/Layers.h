// Layers for runs of the program: made with GDAL, known by heart.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "support/OgrDataset.h"
#include "support/Process.h"

namespace orlinths {

/// Points (i, 2 i) of row i from 0, in UTM zone 31N, with a column NR of integers.
OgrDataset Points(int count);
/// Squares of side i + 1, with a column NR of integers.
OgrDataset Squares(int count);
/// Lines from (0, 0) to (3 i, 4 i) for i from 1.
OgrDataset Lines(int count);

/// Names and bytes of a folder's files.
using Files = std::map<std::string, std::string>;
Files FilesIn(const std::string& folder);
/// The names, separated by blanks.
std::string NamesOf(const Files& files);
/// Makes the folder hold these files and no others. What is in it already, `there`, is not written
/// again.
void Restore(const std::string& folder, const Files& files);
void Restore(const std::string& folder, const Files& files, const Files& there);
/// Lets everybody in: a test's folder is its owner's alone otherwise.
void OpenToAll(const std::string& folder);

/// The arguments that put a column of coordinates, or of areas, into the only layer's table.
std::vector<std::string> AddXYCall(const std::string& input, const std::string& layer);
std::vector<std::string> AddAreaCall(const std::string& input, const std::string& layer);
std::vector<std::string> operator+(std::vector<std::string> call,
                                   const std::vector<std::string>& more);

/// Output without progress, which comes by the clock on the wall.
std::string WithoutProgress(const std::string& events);

/// Rows whose XX and YY are not (i, 2 i), and whose AREA and PERIMETER are not the square's; all of
/// them when the columns are not there.
std::int64_t WrongPlaces(const OgrDataset& points);
std::int64_t WrongAreas(const OgrDataset& squares);

}  // namespace orlinths
