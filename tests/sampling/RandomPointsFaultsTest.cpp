// Whole runs of the random points with every system call and allocation failing in its turn: the
// sampled layer stays as it is, a shapefile that is there is whole, holds points of their own
// polygons only, and all of them where nothing was reported.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "sampling/RandomPointsFixture.h"
#include "support/FaultRuns.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

class RandomPointsFaultsTest : public RandomPointsTest,
                               public ::testing::WithParamInterface<FaultKind> {};

TEST_P(RandomPointsFaultsTest, ReportsOrEndsWell) {
  AddPolygons("zones", {"POLYGON((0 0, 0 100, 100 100, 100 0, 0 0))",
                        "POLYGON((200 0, 300 100, 300 0, 200 0))"});
  const auto fillIn = [this] {
    host_.map.Clear();
    host_.AddLayer(Path("zones.shp"));
    OpenOn("zones").Choose("optPoly").Set("txtExactCnt", "3").Choose("cmbUID", "NAME");
    hand_->Check("chkMinDist").Set("txtMinDist", "10");
  };
  const FolderBytes before = BytesIn(folder_.Path());
  fillIn();
  Run();
  const std::vector<Coord> points = Points();
  const std::vector<std::string> names = Column("NAME");
  ASSERT_EQ(points.size(), 6u);
  ForEveryCall(GetParam(), [&](const auto& underFault) {
    fillIn();  // which deletes what the last run has left
    EXPECT_EQ(BytesIn(folder_.Path()), before);
    host_.addedLayers.clear();
    underFault([this] { Run(); });
    const bool isReported = TellOfFailure(Said());
    if (!isReported) {
      EXPECT_EQ(Said(), std::vector<Message>{kComplete});
    }
    EXPECT_TRUE(!IsOpen() || isReported);
    EXPECT_TRUE(host_.addedLayers.size() == 1 || isReported);

    FolderBytes after = BytesIn(folder_.Path());
    const auto made =
        std::erase_if(after, [](const auto& file) { return file.first.starts_with("out."); });
    EXPECT_EQ(after, before) << "files of others";
    EXPECT_TRUE(made == 0 || made == 5) << made << " files";
    EXPECT_TRUE(made == 5 || isReported);
    if (made > 0) {
      const OgrDataset out = ReadOgr(Path("out.shp"));
      const auto kept = std::ssize(out.records);
      ASSERT_LE(kept, 6);
      EXPECT_EQ(Points(), std::vector(points.begin(), points.begin() + kept));
      if (!out.Texts("NAME").empty()) {
        EXPECT_EQ(out.Texts("NAME"), std::vector(names.begin(), names.begin() + kept));
      }
      EXPECT_TRUE(kept == 6 || isReported);
    }
    if (HasFailure())
      for (const Message& message : Said()) ADD_FAILURE() << message.text;
  });
}

INSTANTIATE_TEST_SUITE_P(EveryCall, RandomPointsFaultsTest, ::testing::ValuesIn(kCallsOfRuns),
                         [](const auto& kind) { return NameOf(kind.param); });

}  // namespace
}  // namespace orlinths
