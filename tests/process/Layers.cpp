#include "process/Layers.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "runtime/Value.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

constexpr const char* kZone = "EPSG:32631";

OgrDataset LayerOf(const char* type) {
  return {.type = type, .reference = kZone, .columns = {{"NR", "Integer", 9}}};
}

std::string Pair(int x, int y) { return ToText(x) + ' ' + ToText(y); }

}  // namespace

OgrDataset Points(int count) {
  OgrDataset points = LayerOf("Point");
  for (int i = 0; i < count; ++i)
    points.records.push_back({"POINT(" + Pair(i, 2 * i) + ")", {ToText(i)}});
  return points;
}

OgrDataset Squares(int count) {
  OgrDataset squares = LayerOf("Polygon");
  for (int i = 0; i < count; ++i) {
    const int side = i + 1;
    squares.records.push_back({"POLYGON((0 0, " + Pair(0, side) + ", " + Pair(side, side) + ", " +
                                   Pair(side, 0) + ", 0 0))",
                               {ToText(i)}});
  }
  return squares;
}

OgrDataset Lines(int count) {
  OgrDataset lines = LayerOf("Line String");
  for (int i = 1; i <= count; ++i)
    lines.records.push_back({"LINESTRING(0 0, " + Pair(3 * i, 4 * i) + ")", {ToText(i)}});
  return lines;
}

Files FilesIn(const std::string& folder) {
  Files files;
  for (const auto& entry : fs::directory_iterator(folder))
    if (entry.is_regular_file()) files[entry.path().filename()] = ReadBytes(entry.path());
  return files;
}

std::string NamesOf(const Files& files) {
  std::string names;
  for (const auto& [name, bytes] : files) names += (names.empty() ? "" : " ") + name;
  return names;
}

void Restore(const std::string& folder, const Files& files) {
  Restore(folder, files, FilesIn(folder));
}

void Restore(const std::string& folder, const Files& files, const Files& there) {
  for (const auto& [name, bytes] : there)
    if (!files.contains(name)) fs::remove(folder + "/" + name);
  for (const auto& [name, bytes] : files)
    if (const auto old = there.find(name); old == there.end() || old->second != bytes)
      WriteBytes(folder + "/" + name, bytes);
}

void OpenToAll(const std::string& folder) { fs::permissions(folder, fs::perms::all); }

std::vector<std::string> operator+(std::vector<std::string> call,
                                   const std::vector<std::string>& more) {
  call.insert(call.end(), more.begin(), more.end());
  return call;
}

std::vector<std::string> AddXYCall(const std::string& input, const std::string& layer) {
  return {"run", "clsXYAdd", input, "cmbL=" + layer, "txtXFldName=XX", "txtYFldName=YY"};
}

std::vector<std::string> AddAreaCall(const std::string& input, const std::string& layer) {
  return {"run", "clsAddArea", input, "cmbPFL=" + layer};
}

std::string WithoutProgress(const std::string& events) {
  std::string kept;
  for (std::size_t at = 0; at < events.size();) {
    const std::size_t end = std::min(events.find('\n', at), events.size() - 1) + 1;
    const std::string line = events.substr(at, end - at);
    if (line.find("\"event\":\"progress\"") == std::string::npos) kept += line;
    at = end;
  }
  return kept;
}

std::int64_t WrongPlaces(const OgrDataset& points) {
  const auto x = points.Numbers("XX"), y = points.Numbers("YY");
  if (x.size() != points.records.size()) return static_cast<std::int64_t>(points.records.size());
  std::int64_t wrong = 0;
  for (std::size_t i = 0; i < x.size(); ++i)
    if (x[i] != static_cast<double>(i) || y[i] != 2.0 * static_cast<double>(i)) ++wrong;
  return wrong;
}

std::int64_t WrongAreas(const OgrDataset& squares) {
  const auto area = squares.Numbers("AREA"), perimeter = squares.Numbers("PERIMETER");
  if (area.size() != squares.records.size())
    return static_cast<std::int64_t>(squares.records.size());
  std::int64_t wrong = 0;
  for (std::size_t i = 0; i < area.size(); ++i) {
    const double side = static_cast<double>(i) + 1;
    // A GeoPackage written by GDAL holds its rings the other way round.
    if (std::abs(area[i]) != side * side || perimeter[i] != 4 * side) ++wrong;
  }
  return wrong;
}

}  // namespace orlinths
