#include "kernel/ContourGrid.h"

#include <algorithm>

#include "data/Contours.h"
#include "data/Raster.h"
#include "runtime/Files.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

/// Could a shapefile be called that?
bool IsFree(const std::string& folder, const std::string& name) {
  if (name.empty() || name.find('/') != std::string::npos) return false;
  return std::ranges::none_of(
      std::initializer_list<const char*>{".shp", ".shx", ".dbf", ".prj", ".cpg"},
      [&](const char* extension) { return files::FileExists(JoinPath(folder, name + extension)); });
}

std::string MadeUpName(const std::string& folder) {
  for (int number = 1;; ++number) {
    const std::string name = "contour" + ToText(number);
    if (IsFree(folder, name)) return name;
  }
}

}  // namespace

FeatureClassPtr ContourGrid(const std::string& outputFolder, const std::string& rasterFolder,
                            const std::string& rasterName, const std::string& outputName,
                            double interval, double baseContour) {
  FeatureClassPtr result;
  Trap("ContourGrid; ", [&] {
    const RasterDatasetPtr raster = OpenRasterDataset(rasterFolder, rasterName);
    const std::string name =
        IsFree(outputFolder, outputName) ? outputName : MadeUpName(outputFolder);
    result = ContourRaster(*raster, interval, baseContour, outputFolder, name);
  });
  return result;
}

}  // namespace orlinths
