#include "session/MapBuilder.h"

#include <gmock/gmock.h>

#include "data/SpatialReference.h"
#include "runtime/Trap.h"

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

TEST(BuildMap, SaysWhichLayerIsNoFile) {
  LayerEntry group, sketch;
  sketch.path = "host:memory/my/sketch";
  group.name = "Drawn";
  group.layers = {sketch};
  MapContents contents;
  contents.layers = {group};
  Map map;
  const auto failure = FailureOf([&] { BuildMap(contents, map); });
  ASSERT_TRUE(failure);
  EXPECT_EQ(
      failure->Description(),
      "the layer \"my/sketch\" is no file (host:memory/my/sketch): save it to one, and do the "
      "run on that file again");
  EXPECT_EQ(map.LayerCount(), 0);
  contents = {};
  contents.tables = {sketch};
  EXPECT_TRUE(FailureOf([&] { CheckAllAreFiles(contents); }));
}

TEST(ContentsOf, LeavesOutAReferenceWithoutCode) {
  Map map;
  map.SetSpatialReference(UnknownCoordinateSystem());
  EXPECT_EQ(ContentsOf(map), MapContents{});
}

}  // namespace
}  // namespace orlinths
