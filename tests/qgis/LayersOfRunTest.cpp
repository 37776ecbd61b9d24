#include "qgis/LayersOfRun.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "data/Map.h"
#include "data/Workspace.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

class MissingLayersTest : public ::testing::Test {
 protected:
  MissingLayersTest() {
    WriteBytes(folder / "nests.shp", "x");
    session.steps = {{steps::Click{"clsISectPnt"}, 0},
                     {steps::Set{"cmbInputLayer", "nests"}, 0},
                     {steps::Set{"lstRaster", std::vector<std::string>{"dem.tif"}}, 0},
                     {steps::Set{"cmbTable", "visits"}, 0}};
    const auto entry = [](const std::string& path, const char* name = "") {
      LayerEntry layer;
      layer.path = path;
      layer.name = name;
      return layer;
    };
    LayerEntry group;
    group.name = "Rasters";
    group.layers = {entry(folder / "dem.tif")};
    session.map.layers = {entry(folder / "nests.shp"), entry(folder / "roads.shp"), group};
    session.map.tables = {entry("host:memory/x", "visits")};
  }
  TempFolder folder;
  Session session;
  Map map;
};

TEST_F(MissingLayersTest, AreThoseThatTheRunNamed) {
  const MissingLayers missing = MissingLayersOf(session, map);
  EXPECT_EQ(Listing(missing.onDisk), "nests (" + folder / "nests.shp" + ")");
  EXPECT_EQ(Listing(missing.gone), "dem (" + folder / "dem.tif" + ")\rvisits (no file)");
}

TEST_F(MissingLayersTest, AreNotThoseThatHaveMovedInTheMapToo) {
  const std::string data = std::string(ORLINTHS_SESSIONS) + "/data/";
  auto nests = std::make_shared<IFeatureLayer>(OpenFeatureClassByPath(data + "nests.shp"));
  auto raster = std::make_shared<IRasterLayer>(OpenRasterDataset(data, "elevation.tif"));
  raster->SetName("dem.tif");
  auto table = std::make_shared<IStandaloneTable>(OpenTableByPath(data + "fixes.dbf"));
  table->SetName("visits");
  map.Append(nests);
  map.Append(raster);
  map.AppendTable(table);
  EXPECT_TRUE(IsEmpty(MissingLayersOf(session, map).onDisk));
  EXPECT_TRUE(IsEmpty(MissingLayersOf(session, map).gone));
}

TEST_F(MissingLayersTest, AreThoseToWhoseDataAreNotWhereTheMapSays) {
  map.Append(std::make_shared<IFeatureLayer>("nests", folder / "elsewhere.shp"));
  EXPECT_FALSE(IsEmpty(MissingLayersOf(session, map).onDisk));
}

}  // namespace
}  // namespace orlinths
