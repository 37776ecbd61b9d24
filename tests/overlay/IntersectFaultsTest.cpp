// Whole runs of the Intersect Point Tool, polygons and a raster, with every system call and
// allocation failing in its turn: the points' table is the old one or a new one, whole, and what
// was not reported is all there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "host/SmallDialogs.h"
#include "overlay/IntersectPoints.h"
#include "overlay/IntersectTest.h"
#include "support/FaultRuns.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

/// Goes through the dialogs that open on the way, and keeps nothing: what it does is not to fail.
class Going : public IDialogHost {
 public:
  Going() : before_(SetDialogHost(this)) {}
  ~Going() override { SetDialogHost(before_); }

  void RunModal(Dialog& dialog) override {
    if (auto* fields = dynamic_cast<frmFieldsList*>(&dialog))
      for (int i = 0; i < fields->lstFields->Count(); ++i)
        fields->lstFields->Select(i, i >= 3);  // behind FID, AREA and PERIMETER
    dialog.Press(*dialog.MainButton());
  }
  bool Pick(const Question&, Choice&) override { return false; }
  bool PickSpatialReference(const ReferenceQuestion&, SpatialReferencePtr&) override {
    return false;
  }

 private:
  IDialogHost* before_;
};

class IntersectFaultsTest : public IntersectTest,
                            public ::testing::WithParamInterface<FaultKind> {};

TEST_P(IntersectFaultsTest, ReportsOrEndsWell) {
  // In the first square alone, in the second, nowhere, and without a shape.
  const OgrDataset points = PointsAt({"POINT(2 3)", "POINT(18 3)", "POINT(105 195)", ""});
  OgrDataset stands = Stands();
  stands.columns.resize(4);
  for (OgrRecord& record : stands.records) record.values.resize(4);
  const ColumnsToCome columns{.numbers = {{"AGE", {80, 120, 0, 0}}, {"dem", {-7, -7, 1, 0}}},
                              .texts = {{"SPECIES", {"pine", "fir", "", ""}}}};
  ForEveryCall(GetParam(), [&](const auto& underFault) {
    fs::remove_all(Path("run"));
    host_.map.Clear();
    AddLayer("run/fixes.shp", points);
    AddLayer("run/stands.shp", stands);
    AddRaster("run/dem.tif", Small());
    const OgrDataset before = Table("run/fixes");
    const std::string standsBefore = Bytes("run/stands"), demBefore = Bytes("run/dem");
    const auto filesBefore = std::distance(fs::directory_iterator(Path("run")), {});
    Open<frmISectPnt>();
    Set("cmbInputLayer", "fixes");
    Tick("chkNoMsgs", true);
    top().Select("lstVector", {"stands"}).Select("lstRaster", {"dem.tif"});
    TakeSaid();
    {
      const Going going;
      underFault([this] { Press("btnOK"); });
    }
    const auto all = TakeSaid();
    const bool isReported = TellOfFailure(all);
    if (!isReported) {
      EXPECT_THAT(all, ::testing::IsEmpty());
    }
    ExpectEdited(before, Table("run/fixes"), columns, isReported);
    EXPECT_EQ(Bytes("run/stands"), standsBefore);
    EXPECT_EQ(Bytes("run/dem"), demBefore);
    EXPECT_EQ(std::distance(fs::directory_iterator(Path("run")), {}), filesBefore);
    if (HasFailure())
      for (const Message& message : all) ADD_FAILURE() << message.text;
  });
}

INSTANTIATE_TEST_SUITE_P(EveryCall, IntersectFaultsTest, ::testing::ValuesIn(kCallsOfRuns),
                         [](const auto& kind) { return NameOf(kind.param); });

}  // namespace
}  // namespace orlinths
