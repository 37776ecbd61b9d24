#include <gtest/gtest.h>

#include <array>
#include <gdal_priv.h>

#include "data/Raster.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

class RasterDatasetTest : public ::testing::Test {
 protected:
  RasterDatasetTest() { GDALAllRegister(); }
  void Write(const std::string& name, GDALDataType type,
             std::array<double, 6> transform = {10, 2, 0, 50, 0, -3}, int bands = 1,
             const char* option = nullptr) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    const char* options[] = {option, nullptr};
    const GDALDatasetUniquePtr made(
        driver->Create((folder / name).c_str(), 4, 5, bands, type, const_cast<char**>(options)));
    ASSERT_NE(made, nullptr);
    made->SetGeoTransform(transform.data());
  }
  TempFolder folder;
};

TEST_F(RasterDatasetTest, SaysWhatARasterIs) {
  Write("dem.tif", GDT_Float32, {10, 2, 0, 50, 0, -3}, 2);
  const RasterDatasetPtr raster = OpenRasterDataset(folder.Path(), "dem.tif");
  EXPECT_EQ(raster->Name(), "dem.tif");
  EXPECT_EQ(raster->PathName(), folder.Path());
  EXPECT_EQ(raster->Path(), folder / "dem.tif");
  EXPECT_EQ(raster->BandCount(), 2);
  EXPECT_EQ(raster->Width(), 4);
  EXPECT_EQ(raster->Height(), 5);
  EXPECT_EQ(raster->Extent(), (Envelope{10, 35, 18, 50}));
  EXPECT_TRUE(raster->SpatialReference()->IsUnknown());
}

TEST_F(RasterDatasetTest, KnowsThePixelTypes) {
  const std::vector<std::tuple<GDALDataType, const char*, int>> cases = {
      {GDT_Byte, "NBITS=1", 0},
      {GDT_Byte, "NBITS=2", 1},
      {GDT_Byte, "NBITS=4", 2},
      {GDT_Byte, nullptr, 3},
      {GDT_Byte, "PIXELTYPE=SIGNEDBYTE", 4},
      {GDT_UInt16, nullptr, 5},
      {GDT_Int16, nullptr, 6},
      {GDT_UInt32, nullptr, 7},
      {GDT_Int32, nullptr, 8},
      {GDT_Float32, nullptr, 9},
      {GDT_Float64, nullptr, 10},
      {GDT_CFloat32, nullptr, 11},
      {GDT_CFloat64, nullptr, 12},
      {GDT_Int64, nullptr, 10},
  };
  for (const auto& [type, option, code] : cases) {
    const std::string name = "t" + std::to_string(code) + std::to_string(type) + ".tif";
    Write(name, type, {0, 1, 0, 5, 0, -1}, 1, option);
    EXPECT_EQ(static_cast<int>(OpenRasterDataset(folder.Path(), name)->PixelType()), code) << type;
  }
}

TEST_F(RasterDatasetTest, RefusesWhatIsRotatedOrNotThere) {
  Write("turned.tif", GDT_Byte, {0, 1, 0.5, 0, 0.5, -1});
  const auto failureOf = [&](const std::string& in, const std::string& name) -> std::string {
    try {
      OpenRasterDataset(in, name);
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.Number(), -2147467259);
      return error.Description();
    }
    return {};
  };
  EXPECT_NE(failureOf(folder.Path(), "turned.tif").find("rotated"), std::string::npos);
  EXPECT_NE(failureOf(folder.Path(), "none.tif"), "");
  EXPECT_NE(failureOf("", "none.tif"), "");
  EXPECT_NE(failureOf(folder.Path(), ""), "");
}

TEST_F(RasterDatasetTest, DeletesAllItsFiles) {
  Write("dem.tif", GDT_Byte);
  WriteBytes(folder / "dem.tif.aux.xml", "<PAMDataset></PAMDataset>");
  WriteBytes(folder / "other.txt", "x");
  OpenRasterDataset(folder.Path(), "dem.tif")->Delete();
  EXPECT_EQ(files::NamesIn(folder.Path()), (std::vector<std::string>{"other.txt"}));
}

}  // namespace
}  // namespace orlinths
