// Whole runs of zonal statistics with every system call and allocation failing in its turn: the
// zones and the raster stay as they are, and a table that is there holds true records, all of them
// where nothing was reported.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "gdal/RasterFixture.h"
#include "data/Raster.h"
#include "data/Workspace.h"
#include "raster/ZonalStats.h"
#include "support/FaultRuns.h"
#include "support/TempFolder.h"
#include "support/TestHost.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

/// By hand; the third zone holds no cell centre.
const std::map<std::string, std::vector<double>> kRecords = {{"ID", {1, 2, 3}},
                                                             {"PolyFID", {0, 1, 2}},
                                                             {"ZSTATS_MIN", {1, 1, -999}},
                                                             {"ZSTATS_MAX", {4, 1, -999}},
                                                             {"ZSTATS_AVG", {2.5, 1, -999}},
                                                             {"ZSTATS_SUM", {10, 1, -999}},
                                                             {"ZSTATS_CNT", {4, 1, -999}}};

class ZonalFaultsTest : public ::testing::TestWithParam<std::tuple<FaultKind, bool>> {
 protected:
  const TempFolder folder_;
};

TEST_P(ZonalFaultsTest, ReportsOrEndsWell) {
  const auto [kind, isLarge] = GetParam();
  WriteOgr(folder_ / "zones.shp",
           {.type = "Polygon",
            .columns = {{"N", "Integer", 4}},
            .records = {{"POLYGON((111 201, 111 219, 129 219, 129 201, 111 201))", {"1"}},
                        {"POLYGON((111 211, 111 219, 119 219, 119 211, 111 211))", {"2"}},
                        {"POLYGON((121 211, 121 213, 123 213, 123 211, 121 211))", {"3"}}}});
  WriteGdal(folder_ / "dem.tif", {.type = GDT_Float32,
                                  .bands = {{{0, 0, 0, 0}, {0, 1, 2, 0}, {0, 3, 4, 0}}},
                                  .noData = -9999,
                                  .transform = {100, 10, 0, 230, 0, -10}});
  const FolderBytes before = BytesIn(folder_.Path());
  ForEveryCall(kind, [&, large = isLarge](const auto& underFault) {
    TestHost host;
    host.AddLayer(folder_ / "zones.shp");
    host.map.Append(std::make_shared<IRasterLayer>(OpenRasterDataset(folder_.Path(), "dem.tif")));
    Hand hand = host.Open<frmZonalStats>();
    hand.Choose("cmbPolyL", "zones").Choose("cmbRL", "dem.tif").Check("chkSR");
    hand.Check("chkMode", large).Pick("btnOpen", folder_ / "out.dbf");
    underFault([&] { hand.Press("btnOK"); });
    const std::vector<Message>& all = host.messages.All();
    const bool isReported = TellOfFailure(all);
    if (!isReported) {
      EXPECT_THAT(all,
                  ::testing::ElementsAre(Message{"Prcocessing complete.", kInformation, "Status"}));
    }
    EXPECT_TRUE(!hand.IsOpen() || isReported);

    FolderBytes after = BytesIn(folder_.Path());
    const bool isThere = after.erase("out.dbf") == 1;
    EXPECT_EQ(after.erase("out.cpg"), isThere ? 1u : 0u);
    EXPECT_EQ(after, before);
    EXPECT_TRUE(isThere || isReported);
    if (isThere) {
      const OgrDataset table = ReadOgr(folder_ / "out.dbf");
      EXPECT_LE(table.records.size(), 3u);
      if (!isReported) {
        EXPECT_EQ(table.records.size(), 3u);
      }
      for (const auto& [column, values] : kRecords) {
        const auto found = table.Numbers(column);
        if (found.empty()) continue;
        EXPECT_EQ(found, std::vector<double>(values.begin(), values.begin() + std::ssize(found)))
            << column;
      }
    }
    fs::remove(folder_ / "out.dbf");
    fs::remove(folder_ / "out.cpg");
    if (HasFailure())
      for (const Message& message : all) ADD_FAILURE() << message.text;
  });
}

INSTANTIATE_TEST_SUITE_P(EveryCall, ZonalFaultsTest,
                         ::testing::Combine(::testing::ValuesIn(kCallsOfRuns), ::testing::Bool()),
                         [](const auto& param) {
                           return NameOf(std::get<0>(param.param)) +
                                  (std::get<1>(param.param) ? "_by_parts" : "_in_memory");
                         });

}  // namespace
}  // namespace orlinths
