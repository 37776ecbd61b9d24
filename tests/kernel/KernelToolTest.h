// The ground of the kernel tools' tests: fixes in a folder, an output folder beside them, and what
// GDAL sees in the results.
#pragma once

#include <gdal_priv.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gdal/RasterFixture.h"
#include "kernel/KernelSurface.h"
#include "runtime/Files.h"
#include "runtime/Value.h"
#include "support/KernelPlain.h"
#include "support/ToolTest.h"

namespace orlinths {

struct Sighting {
  double x, y, weight = 1;
  int animal = 1;
};

class KernelToolTest : public ToolTest {
 protected:
  KernelToolTest() { files::CreateFolder(Path("out")); }

  /// A layer with the columns ANIMAL, W and NOTE.
  std::shared_ptr<IFeatureLayer> AddFixes(const std::vector<Sighting>& fixes,
                                          const std::string& file = "fixes.shp",
                                          const std::string& reference = "EPSG:32612");
  /// A GeoJSON layer with one column of whole numbers, N, as they are written, nulls too, for each
  /// place "[x, y]".
  void AddText(const std::string& file,
               const std::vector<std::pair<std::string, std::string>>& numbersAndPlaces);
  std::string Out(const std::string& name) const { return JoinPath(Path("out"), name); }
  std::vector<std::string> OutNames() const { return files::NamesIn(Path("out")); }
  /// The shapefiles of the output folder, without extension.
  std::vector<std::string> Contours() const;
  /// The heights of a contour's lines, as GDAL reads them.
  std::vector<double> HeightsOf(const std::string& contour) const {
    return ReadOgr(Out(contour + ".shp")).Numbers("CONTOUR");
  }
  std::string OnlyReport() {
    EXPECT_EQ(said().size(), 1U);
    return said().empty() ? "" : said().back().text;
  }
};

/// The surface that the formula gives, cell by cell, as rows of floats from the north.
Rows SurfaceRows(const std::vector<Sighting>& fixes, const KernelGrid& grid, double h,
                 double scaling = 1e6);
/// The share of a surface's volume, measured by bins, in the cells of bins from `level` on, and in
/// those of the bins above it.
struct Shares {
  double from, above;
};
Shares SharesOf(const Rows& surface, double level, int topBin);

}  // namespace orlinths
