// What a fault strikes, and what it leaves alone.
#include "support/Faults.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include "ShapefileFixture.h"
#include "gdal/Library.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

/// Opens a shapefile and reads a row, by the library alone. Allocations of its own, hundreds of
/// them, are not the program's, whatever templates both have.
bool ReadsARow(const char* path) {
  GDALDatasetH dataset = GDALOpenEx(path, GDAL_OF_VECTOR, nullptr, nullptr, nullptr);
  OGRFeatureH row = OGR_L_GetNextFeature(GDALDatasetGetLayer(dataset, 0));
  const bool isThere = row != nullptr;
  OGR_F_Destroy(row);
  GDALClose(dataset);
  return isThere;
}

TEST(Faults, OfOurOwnAllocationsLeaveTheLibrariesAlone) {
  const TempFolder folder;
  const std::string path = folder / "p.shp";
  MakePoints(path, 3);
  EnsureGdal();
  const Fault fault(FaultKind::kOwnAllocation, 1, FaultAction::kFailFromOn);
  const bool isRead = ReadsARow(path.c_str());
  EXPECT_EQ(fault.Calls(), 0);
  EXPECT_TRUE(isRead);
}

TEST(Faults, OfOurOwnAllocationsStrikeTheFirst) {
  const Fault fault(FaultKind::kOwnAllocation, 1);
  bool threw = false;
  try {
    std::make_unique<char[]>(100);
  } catch (const std::bad_alloc&) {
    threw = true;
  }
  EXPECT_TRUE(threw);
  EXPECT_TRUE(fault.HasStruck());
}

}  // namespace
}  // namespace orlinths
