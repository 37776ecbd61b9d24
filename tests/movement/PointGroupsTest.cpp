#include "movement/PointGroups.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "movement/Fixes.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;

class PointGroupsTest : public ToolTest {};

TEST_F(PointGroupsTest, HoldEachValueOnceAscendingAndThePointsInTheirOrder) {
  const auto layer = AddLayer(
      "fixes.shp", FixesOf({{12, {1, 1}}, {-3, {2, 2}}, {12, {0, 0}}, {4, {5, 5}}, {-3, {1, 9}}}));
  const auto groups = PointGroups::ByValue(layer->FeatureClass(), 2);
  ASSERT_EQ(groups.Count(), 3u);
  EXPECT_EQ(ToLong(groups.ValueOf(0)), -3);
  EXPECT_EQ(ToLong(groups.ValueOf(1)), 4);
  EXPECT_EQ(ToLong(groups.ValueOf(2)), 12);
  EXPECT_THAT(groups.PlacesOf(0), ElementsAre(Coord{2, 2}, Coord{1, 9}));
  EXPECT_THAT(groups.PlacesOf(1), ElementsAre(Coord{5, 5}));
  EXPECT_THAT(groups.PlacesOf(2), ElementsAre(Coord{1, 1}, Coord{0, 0}));
  EXPECT_THAT(groups.RecordsOf(0), ElementsAre(1, 4));
  EXPECT_THAT(groups.RecordsOf(2), ElementsAre(0, 2));
  EXPECT_EQ(groups.RecordCount(), 5u);
}

TEST_F(PointGroupsTest, ARecordWithoutShapeHasNoPlace) {
  OgrDataset data = FixesOf({{1, {1, 1}}, {1, {2, 2}}});
  data.records[0].wkt.clear();
  const auto layer = AddLayer("fixes.shp", data);
  for (const auto& groups : {PointGroups::ByValue(layer->FeatureClass(), 2),
                             PointGroups::Whole(layer->FeatureClass())}) {
    ASSERT_EQ(groups.Count(), 1u);
    ASSERT_EQ(groups.PlacesOf(0).size(), 2u);
    EXPECT_TRUE(std::isnan(groups.PlacesOf(0)[0].x));
    EXPECT_EQ(groups.PlacesOf(0)[1], (Coord{2, 2}));
  }
}

TEST_F(PointGroupsTest, ARecordWithoutValueIsInNone) {
  OgrDataset data = FixesOf({{1, {1, 1}}, {1, {2, 2}}, {1, {3, 3}}});
  data.records[1].values.clear();
  const auto layer = AddLayer("fixes.gpkg", data);
  IFeatureClass& points = layer->FeatureClass();
  const auto groups = PointGroups::ByValue(points, points.FindField("ANIMAL"));
  ASSERT_EQ(groups.Count(), 1u);
  EXPECT_THAT(groups.PlacesOf(0), ElementsAre(Coord{1, 1}, Coord{3, 3}));
  EXPECT_THAT(groups.RecordsOf(0), ElementsAre(0, 2));
  EXPECT_EQ(groups.RecordCount(), 3u);
}

TEST_F(PointGroupsTest, OfAnEmptyClassAreNone) {
  const auto layer = AddLayer("fixes.shp", FixesOf({}));
  EXPECT_EQ(PointGroups::ByValue(layer->FeatureClass(), 2).Count(), 0u);
  EXPECT_EQ(PointGroups::Whole(layer->FeatureClass()).PlacesOf(0).size(), 0u);
}

TEST_F(PointGroupsTest, AgreeWithOneFilteredSearchForEachValue) {
  Seeded random("PointGroupsTest.AgreeWithOneFilteredSearchForEachValue");
  std::vector<Location> fixes;
  for (int i = 0; i < 2000; ++i)
    fixes.push_back({static_cast<int>(random.Whole(0, 30)) * (random.Chance(0.5) ? 1 : 7),
                     {random.Real(0, 100), random.Real(0, 100)}});
  const auto layer = AddLayer("fixes.shp", FixesOf(fixes));
  IFeatureClass& points = layer->FeatureClass();
  const auto groups = PointGroups::ByValue(points, points.FindField("ANIMAL"));
  for (std::size_t i = 0; i < groups.Count(); ++i) {
    QueryFilter filter;
    filter.where = "ANIMAL = " + ToText(groups.ValueOf(i));
    std::vector<Coord> expected;
    const auto rows = points.Search(filter);
    while (const IFeature* row = rows->Next()) expected.push_back({row->Point().x, row->Point().y});
    EXPECT_THAT(groups.PlacesOf(i), ::testing::ElementsAreArray(expected));
  }
}

}  // namespace
}  // namespace orlinths
