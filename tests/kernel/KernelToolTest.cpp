#include "kernel/KernelToolTest.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orlinths {

std::shared_ptr<IFeatureLayer> KernelToolTest::AddFixes(const std::vector<Sighting>& fixes,
                                                        const std::string& file,
                                                        const std::string& reference) {
  OgrDataset data{
      .type = "Point",
      .reference = reference,
      .columns = {{"ANIMAL", "Integer", 10}, {"W", "Real", 24, 15}, {"NOTE", "String", 8}}};
  for (const Sighting& fix : fixes)
    data.records.push_back({"POINT(" + ToText(fix.x) + " " + ToText(fix.y) + ")",
                            {ToText(fix.animal), ToText(fix.weight), "x"}});
  return AddLayer(file, data);
}

void KernelToolTest::AddText(
    const std::string& file,
    const std::vector<std::pair<std::string, std::string>>& numbersAndPlaces) {
  std::string features;
  for (const auto& [number, place] : numbersAndPlaces)
    features += (features.empty() ? "" : ",\n") +
                ("{\"type\":\"Feature\",\"properties\":{\"N\":" + number +
                 "},\"geometry\":{\"type\":\"Point\",\"coordinates\":" + place + "}}");
  WriteBytes(Path(file), "{\"type\":\"FeatureCollection\",\"features\":[" + features + "]}");
  AddFile(file);
}

std::vector<std::string> KernelToolTest::Contours() const {
  std::vector<std::string> contours;
  for (const std::string& name : OutNames())
    if (name.ends_with(".shp")) contours.push_back(StemOf(name));
  return contours;
}

Rows SurfaceRows(const std::vector<Sighting>& fixes, const KernelGrid& grid, double h,
                 double scaling) {
  PointArray points({0, std::ssize(fixes) - 1}, {0, 2});
  for (std::int64_t i = 0; i < std::ssize(fixes); ++i) {
    const Sighting& fix = fixes[static_cast<std::size_t>(i)];
    points(i, 0) = fix.x, points(i, 1) = fix.y, points(i, 2) = fix.weight;
  }
  const DensityGrid surface = SimpleKernel2Plain(points, h, grid.cellSize, grid.originX,
                                                 grid.originY, grid.columns, grid.rows, scaling);
  Rows rows;
  for (int row = 0; row < grid.rows; ++row) {
    rows.emplace_back();
    for (int column = 0; column < grid.columns; ++column)
      rows.back().push_back(static_cast<double>(static_cast<float>(surface(column, row))));
  }
  return rows;
}

Shares SharesOf(const Rows& surface, double level, int topBin) {
  double low = std::numeric_limits<double>::infinity(), high = -low;
  for (const auto& row : surface)
    for (const double v : row) low = std::min(low, v), high = std::max(high, v);
  const double levelBin = std::round((level - low) / (high - low) * topBin);
  double total = 0;
  Shares shares{0, 0};
  for (const auto& row : surface)
    for (const double v : row) {
      const double bin = std::floor((v - low) * topBin / (high - low));
      total += bin;
      if (bin >= levelBin) shares.from += bin;
      if (bin >= levelBin + 1) shares.above += bin;
    }
  return {shares.from / total, shares.above / total};
}

}  // namespace orlinths
