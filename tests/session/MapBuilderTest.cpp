#include "session/MapBuilder.h"

#include <gmock/gmock.h>

#include "data/SpatialReference.h"

namespace orlinths {
namespace {

const std::string kData = std::string(ORLINTHS_SESSIONS) + "/data/";

TEST(ContentsOf, IsWhatTheMapWasBuiltFrom) {
  MapContents contents;
  contents.spatialReference = "EPSG:32631";
  LayerEntry meadows;
  meadows.name = "wet meadows";
  meadows.path = kData + "meadows.shp";
  meadows.where = "FID > 0";
  meadows.selection = {{1, 2}};
  LayerEntry nests, dem, heights, gone, group;
  nests.path = kData + "nests.shp";
  dem.path = kData + "elevation.tif";
  heights.name = "heights";
  heights.path = kData + "elevation.asc";
  gone.path = kData + "gone.shp";
  group.name = "Rasters";
  group.layers = {dem, heights};
  contents.layers = {meadows, group, gone, nests};
  LayerEntry table;
  table.path = kData + "nests.dbf";
  contents.tables = {table};
  Map map;
  BuildMap(contents, map);
  const MapContents read = ContentsOf(map);
  EXPECT_EQ(read.spatialReference, contents.spatialReference);
  ASSERT_EQ(read.layers.size(), contents.layers.size());
  for (std::size_t i = 0; i < read.layers.size(); ++i) {
    EXPECT_EQ(read.layers[i].path, contents.layers[i].path);
    EXPECT_EQ(read.layers[i], contents.layers[i]) << i;
  }
  EXPECT_EQ(read.tables, contents.tables);
}

TEST(ContentsOf, LeavesOutAReferenceWithoutCode) {
  Map map;
  map.SetSpatialReference(UnknownCoordinateSystem());
  EXPECT_EQ(ContentsOf(map), MapContents{});
}

}  // namespace
}  // namespace orlinths
