#include "kernel/ContourGrid.h"

#include "data/Contours.h"
#include "data/Raster.h"
#include "runtime/Files.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

std::string FreeName(const std::string& folder) {
  for (int number = 1;; ++number) {
    const std::string name = "contour" + ToText(number);
    const auto isTaken = [&](const char* extension) {
      return files::FileExists(JoinPath(folder, name + extension));
    };
    if (!isTaken(".shp") && !isTaken(".shx") && !isTaken(".dbf")) return name;
  }
}

}  // namespace

FeatureClassPtr ContourGrid(const std::string& outputFolder, const std::string& rasterFolder,
                            const std::string& rasterName, const std::string& outputName,
                            double interval, double baseContour) {
  FeatureClassPtr result;
  Trap("ContourGrid; ", [&] {
    const RasterDatasetPtr raster = OpenRasterDataset(rasterFolder, rasterName);
    const FeatureClassPtr contour =
        ContourRaster(*raster, interval, baseContour, outputFolder, FreeName(outputFolder));
    if (contour->CanRename()) Quietly([&] { contour->Rename(outputName); });
    result = contour;
  });
  return result;
}

}  // namespace orlinths
