// Random points in layers as they come, and folders that take no shapefile.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>

#include "data/FakeData.h"
#include "data/Raster.h"
#include "gdal/RasterFixture.h"
#include "runtime/Files.h"
#include "runtime/Value.h"
#include "sampling/RandomPoints.h"
#include "support/Wkt.h"
#include "support/ToolTest.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

const OgrDataset kMeadow{.type = "Polygon",
                         .columns = {{"NAME", "String", 10}},
                         .records = {{"POLYGON((0 0, 0 100, 100 100, 100 0, 0 0))", {"meadow"}}}};
const Message kNotCreated{
    "ERROR: unable to create shapefile. Please check the folder name, folder permissions,\r"
    "new shapefile name and try again.",
    kCritical, "Error"};

class RandomPointsInputsTest : public ToolTest {
 protected:
  void AddRaster(const GdalRaster& raster, std::uintmax_t bytesMissing = 0) {
    WriteGdal(Path("dem.tif"), raster);
    std::filesystem::resize_file(Path("dem.tif"),
                                 std::filesystem::file_size(Path("dem.tif")) - bytesMissing);
    host_.map.Append(
        std::make_shared<IRasterLayer>(OpenRasterDataset(FolderOf(Path("dem.tif")), "dem.tif")));
  }
  void FillIn(const std::string& layer, const std::string& output = "out.shp") {
    Open<frmRandomPoints>();
    Set("cmbLayers", layer);
    host_.dialogs.Top().Pick("btnFolder", Path(output));
    TakeSaid();
  }
};

// ---- Where the points go

TEST_F(RandomPointsInputsTest, AFolderThatCannotBeWrittenIsAnError) {
  AddLayer("meadow.shp", kMeadow);
  AsUnprivileged([&] {
    FillIn("meadow");
    Set("txtNPnts", "5");
    Press("btnOK");
    ASSERT_EQ(said().size(), 1u);
    EXPECT_THAT(said()[0].text, StartsWith("GenRndPnt_OK\r70\rPermission denied"));
    EXPECT_TRUE(IsOpen());
    EXPECT_TRUE(dialog().IsEnabled());
    EXPECT_FALSE(files::FileExists(Path("out.shp")));
    EXPECT_EQ(host_.addedLayers, Texts{});
  });
}

TEST_F(RandomPointsInputsTest, AFolderThatIsNotThereIsAnError) {
  AddLayer("meadow.shp", kMeadow);
  FillIn("meadow", "gone/out.shp");
  Set("txtNPnts", "5");
  Press("btnOK");
  ASSERT_EQ(said().size(), 1u);
  EXPECT_THAT(said()[0].text, StartsWith("GenRndPnt_OK\r76\rPath not found"));
  EXPECT_TRUE(IsOpen());
}

// ---- Rasters

TEST_F(RandomPointsInputsTest, ARasterWithoutBandsIsReported) {
  struct NoBands : FakeRaster {
    NoBands() : FakeRaster("empty", orlinths::PixelType::kUInt8, 0) {}
    SpatialReferencePtr SpatialReference() const override { return UnknownCoordinateSystem(); }
  };
  host_.map.Append(std::make_shared<IRasterLayer>(std::make_shared<NoBands>()));
  FillIn("empty");
  Set("txtNPnts", "5");
  Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("GenRndPnt_OK\r9\rSubscript out of range"));
  EXPECT_TRUE(IsOpen());
}

TEST_F(RandomPointsInputsTest, ATruncatedRasterIsReported) {
  AddRaster({.type = GDT_Float32, .bands = {{{1, 2}, {3, 4}}}, .noData = -1}, 12);
  for (const bool weighted : {false, true}) {
    FillIn("dem.tif");
    Set("txtNPnts", "5");
    Tick("chkPreventNoData", true);
    Tick("chkWeighted", weighted);
    Press("btnOK");
    ASSERT_EQ(said().size(), 1u);
    EXPECT_THAT(said()[0].text, StartsWith("GenRndPnt_OK\r-2147467259\r" + Path("dem.tif")));
    EXPECT_TRUE(IsOpen());
    EXPECT_EQ(host_.addedLayers, Texts{});
  }
}

TEST_F(RandomPointsInputsTest, ANoDataValueThatTheTypeCannotHoldKeepsNoPointOff) {
  AddRaster({.type = GDT_Byte, .bands = {{{0, 255}, {7, 0}}}, .noData = -9999});
  FillIn("dem.tif");
  Set("txtNPnts", "200");
  Tick("chkPreventNoData", true);
  Press("btnOK");
  EXPECT_EQ(said().back().text, "Processing complete");
  int quarters[4] = {};
  for (const OgrRecord& record : Table("out").records) {
    const Point at = WktPoint(record.wkt);
    ++quarters[(at.x >= 110) + 2 * (at.y < 190)];
  }
  for (const int count : quarters) EXPECT_GT(count, 25);
}

// ---- Polygons

TEST_F(RandomPointsInputsTest, APolygonOf200000VerticesIsTheRingThatItIs) {
  // A ring between two circles, so that the hole counts too.
  const int vertices = 100'000;
  const auto circle = [&](double radius, int direction) {
    std::string ring = "(";
    for (int i = 0; i <= vertices; ++i) {
      const double turn = direction * 2 * 3.14159265358979323846 * (i % vertices) / vertices;
      ring += (i == 0 ? "" : ", ") + ToText(radius * std::cos(turn)) + " " +
              ToText(radius * std::sin(turn));
    }
    return ring + ")";
  };
  OgrDataset ring = kMeadow;
  ring.records[0].wkt = "POLYGON(" + circle(100, -1) + ", " + circle(60, 1) + ")";
  AddLayer("ring.shp", ring);
  for (const char* const design : {"optTotal", "optPoly"}) {
    FillIn("ring");
    Choose(design);
    Set(design == std::string("optPoly") ? "txtExactCnt" : "txtNPnts", "300");
    if (design == std::string("optPoly")) Set("cmbUID", "NAME");
    Press("btnOK");
    EXPECT_EQ(said().back().text, "Processing complete");
    const auto records = Table("out").records;
    EXPECT_EQ(records.size(), 300u);
    for (const OgrRecord& record : records) {
      const Point at = WktPoint(record.wkt);
      const double radius = std::hypot(at.x, at.y);
      EXPECT_TRUE(radius > 60 - 1e-6 && radius < 100) << record.wkt;
    }
  }
}

}  // namespace
}  // namespace orlinths
