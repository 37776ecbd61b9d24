// Whole runs of the batch estimator with every system call and allocation failing in its turn: the
// points stay as they are, a raster that is there is whole, and nothing is missing that was not
// reported.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "kernel/BatchKernel.h"
#include "kernel/KernelToolTest.h"
#include "support/FaultRuns.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

class KernelFaultsTest : public KernelToolTest, public ::testing::WithParamInterface<FaultKind> {};

TEST_P(KernelFaultsTest, ReportsOrEndsWell) {
  const std::vector<Sighting> fixes[] = {{{0, 0, 1, 1}, {50, 20, 1, 1}}, {{40, 70, 1, 2}}};
  const bool isAlone = GetParam() == FaultKind::kOwnAllocation;  // there are thousands of these
  const KernelGrid grid = {-30, -30, 10, 11, isAlone ? 8 : 13};
  if (isAlone)
    AddFixes(fixes[0]);
  else
    AddFixes({fixes[0][0], fixes[1][0], fixes[0][1]});
  const int animals = isAlone ? 1 : 2;
  const FolderBytes before = BytesIn(FolderOf(Path("fixes.shp")));
  const Rows surfaces[] = {SurfaceRows(fixes[0], grid, 20), SurfaceRows(fixes[1], grid, 20)};
  ForEveryCall(GetParam(), [&](const auto& underFault) {
    fs::remove_all(Path("out"));
    fs::create_directory(Path("out"));
    fs::create_directory(Out("kde_2"));  // with two animals, numbers the rasters
    Hand hand = host_.Open<frmBatchKernel>();
    hand.Choose("cmbPntL", "fixes").Choose("cmbUIDFLD", "ANIMAL").Set("txtH", "20");
    hand.Set("txtCellSize", "10").Check("chkBnds").Set("txtBnds", "50");
    hand.Pick("btnFolder", Path("out"));
    TakeSaid();
    underFault([&] { hand.Press("btnOK"); });
    const auto all = TakeSaid();
    const bool isReported = TellOfFailure(all);
    if (!isReported) {
      EXPECT_THAT(TextsOf(all), ::testing::ElementsAre("Processing complete."));
    }
    EXPECT_TRUE(!hand.IsOpen() || isReported);
    if (hand.IsOpen()) hand.Press("btnExit");

    EXPECT_EQ(BytesIn(FolderOf(Path("fixes.shp"))), before);
    int rasters = 0;
    for (const int number : {1, 3}) {
      const std::string name = "kde_" + ToText(number);
      if (!files::FolderExists(Out(name))) continue;
      EXPECT_EQ(GdalCells(Out(name)), surfaces[rasters++]) << name;
    }
    EXPECT_TRUE(rasters == animals || isReported);
    EXPECT_TRUE(std::ssize(Contours()) == animals || isReported);
    for (const std::string& name : OutNames())
      EXPECT_TRUE(name.starts_with("kde_") || name.starts_with("PVC_kde_") ||
                  name == "RASTERNAMES.txt")
          << name;
    if (HasFailure())
      for (const Message& message : all) ADD_FAILURE() << message.text;
  });
}

INSTANTIATE_TEST_SUITE_P(EveryCall, KernelFaultsTest, ::testing::ValuesIn(kCallsOfRuns),
                         [](const auto& kind) { return NameOf(kind.param); });

}  // namespace
}  // namespace orlinths
