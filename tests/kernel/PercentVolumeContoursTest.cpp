#include "kernel/PercentVolumeContours.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "kernel/ContourGrid.h"
#include "kernel/KernelToolTest.h"

namespace orlinths {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// A hill of 30 by 20 cells, its highest cell at the middle.
Rows Hill(double lift = 0) {
  Rows rows;
  for (int row = 0; row < 20; ++row) {
    rows.emplace_back();
    for (int column = 0; column < 30; ++column)
      rows.back().push_back(
          lift + 100 * std::exp(-std::pow((column - 15) / 6.0, 2) - std::pow((row - 10) / 4.0, 2)));
  }
  return rows;
}

Rows AsFloats(Rows rows) {
  for (auto& row : rows)
    for (double& v : row) v = static_cast<double>(static_cast<float>(v));
  return rows;
}

class PercentVolumeContoursTest : public KernelToolTest {
 protected:
  std::shared_ptr<IRasterLayer> AddRaster(const Rows& rows, const std::string& name = "dem.tif",
                                          std::optional<double> noData = std::nullopt) {
    WriteGdal(Path(name), {.type = GDT_Float32, .bands = {rows}, .noData = noData});
    const auto layer =
        std::make_shared<IRasterLayer>(OpenRasterDataset(FolderOf(Path(name)), name));
    host_.map.Append(layer);
    return layer;
  }
  Hand Ready(const std::string& layer = "dem.tif") {
    Hand hand = host_.Open<frmPctVolContour>();
    return hand.Choose("cmbL", layer).Pick("btnFolder", Path("out"));
  }
};

TEST_F(PercentVolumeContoursTest, DeclaresItsControlsInOrder) {
  AddRaster(Hill());
  Open<frmPctVolContour>();
  EXPECT_EQ(dialog().caption, "Percent Volume Contours");
  EXPECT_EQ(dialog().HelpTag(), "PCTVOLCONTOUR");
  EXPECT_THAT(Described(),
              ElementsAre("combo cmbL [Raster layer:]",
                          "text txtBnds [Percent volume contours:] = 95, 90, 50",
                          "text txtOutFolder [Output folder (a new, empty folder is strongly "
                          "recommended):] =",
                          "button btnFolder [...]", "text txtStatus [] =", "button btnOK [OK]",
                          "button btnExit [Exit]", "button btnHelp [Web Help]"));
}

TEST_F(PercentVolumeContoursTest, WarnsWhenThereAreNoRasters) {
  AddFixes({{1, 2}});
  const Hand hand = host_.Open<frmPctVolContour>();
  EXPECT_THAT(said(), ElementsAre(Message{
                          "Warning: no raster layers are present in map (nothing to work with).",
                          kExclamation, "Warning"}));
  EXPECT_FALSE(hand.IsEnabled("btnOK"));
  EXPECT_TRUE(hand.IsOpen());
}

TEST_F(PercentVolumeContoursTest, ChecksItsInputsInOrder) {
  AddRaster(Hill());
  Hand hand = host_.Open<frmPctVolContour>();
  hand.Set("txtBnds", "").Press("btnOK").Choose("cmbL", "dem.tif").Press("btnOK");
  hand.Set("txtBnds", "50").Press("btnOK");
  const auto error = [](const char* text) { return Message{text, kExclamation, "Error"}; };
  EXPECT_THAT(said(), ElementsAre(error("Error: input raster layer has not been defined."),
                                  error("Error: precent volume contours have not been defined."),
                                  error("Error: output folder has not been defined.")));
  EXPECT_TRUE(hand.IsOpen());
}

TEST_F(PercentVolumeContoursTest, EachPercentageHasAShapefileOfItsContour) {
  AddRaster(Hill());
  Hand hand = Ready();
  hand.Set("txtBnds", "95, 97.5 ,50").Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"Processing complete.", kPlain, ""}));
  EXPECT_FALSE(hand.IsOpen());
  EXPECT_THAT(host_.dialogs.statuses, ElementsAre("Calculating percent volume contours...", ""));
  EXPECT_THAT(Contours(), ElementsAre("PVC_dem.tif_50", "PVC_dem.tif_95", "PVC_dem.tif_97.5"));
  for (const char* extension : {".shx", ".dbf"})
    EXPECT_TRUE(files::FileExists(Out("PVC_dem.tif_97.5") + extension)) << extension;
  const Rows surface = AsFloats(Hill());
  for (const std::string percent : {"95", "97.5", "50"}) {
    const std::vector<double> heights = HeightsOf("PVC_dem.tif_" + percent);
    ASSERT_THAT(heights, SizeIs(1)) << percent;
    const Shares shares = SharesOf(surface, heights[0], 1000);
    EXPECT_GE(shares.from, ToDouble(percent) / 100);
    EXPECT_LT(shares.above, ToDouble(percent) / 100);
  }
}

TEST_F(PercentVolumeContoursTest, AGridResolvesByItsName) {
  DensityGrid surface({0, 9}, {0, 9});
  for (std::int64_t i = 0; i < 10; ++i) surface(i, 5) = static_cast<double>(i);
  WriteSurface(Path("out"), "kde", surface, {0, 0, 10, 10, 10}, nullptr);
  host_.map.Append(std::make_shared<IRasterLayer>(OpenRasterDataset(Path("out"), "kde")));
  Hand hand = Ready("kde");
  hand.Set("txtBnds", "50").Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("Processing complete."));
  EXPECT_THAT(Contours(), ElementsAre("PVC_kde_50"));
}

/// Bins of 0.01 above 1: the cell of 11 holds 1000, the one of 6 holds 500, and 67 % of 1500 need
/// both. Were -9999 a value, all others would lie in the top bin.
TEST_F(PercentVolumeContoursTest, NoDataIsLeftOut) {
  AddRaster({{-9999, 1, 1}, {-9999, 1, 11}, {1, 1, 6}}, "dem.tif", -9999);
  Ready().Set("txtBnds", "67").Press("btnOK");
  const std::vector<double> heights = HeightsOf("PVC_dem.tif_67");
  EXPECT_THAT(heights, Not(IsEmpty()));
  EXPECT_THAT(heights, Each(6));
}

TEST_F(PercentVolumeContoursTest, ARasterOfOneHeightIsADivisionByZero) {
  AddRaster({{3, 3}, {3, 3}});
  Hand hand = Ready();
  hand.Press("btnOK");
  EXPECT_EQ(OnlyReport(), "PctVolContour: \r11\rDivision by zero");
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_EQ(hand.Text("txtStatus"), "");
  EXPECT_THAT(OutNames(), IsEmpty());
}

TEST_F(PercentVolumeContoursTest, ALayerThatIsNotNamedLikeItsDatasetDoesNotResolve) {
  AddRaster(Hill())->SetName("dem");
  Hand hand = Ready("dem");
  hand.Press("btnOK");
  EXPECT_THAT(OnlyReport(), StartsWith("ContourGrid; \r-2147467259\r"));
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_EQ(hand.Text("txtStatus"), "");
  EXPECT_THAT(OutNames(), IsEmpty());
}

TEST_F(PercentVolumeContoursTest, OutputsThatAreThereAreLeftAloneSilently) {
  AddRaster(Hill());
  Ready().Press("btnOK");
  const std::string before = ReadBytes(Out("PVC_dem.tif_90.shp"));
  Ready().Set("txtBnds", "90,50").Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("Processing complete.", "Processing complete."));
  EXPECT_EQ(ReadBytes(Out("PVC_dem.tif_90.shp")), before);
  EXPECT_EQ(HeightsOf("contour1"), HeightsOf("PVC_dem.tif_90"));
  EXPECT_EQ(HeightsOf("contour2"), HeightsOf("PVC_dem.tif_50"));
}

TEST_F(PercentVolumeContoursTest, ARasterBelow0HasOneContourAPercentage) {
  for (const double lift : {-20.0, -1000.0}) {
    const std::string name = "dem" + ToText(static_cast<int>(-lift)) + ".tif";
    AddRaster(Hill(lift), name);
    Ready(name).Set("txtBnds", "95,20").Press("btnOK");
    for (const std::string percent : {"95", "20"}) {
      const std::vector<double> heights = HeightsOf("PVC_" + name + "_" + percent);
      EXPECT_THAT(heights, SizeIs(1));
      const Shares shares = SharesOf(AsFloats(Hill(lift)), heights.at(0), 1000);
      EXPECT_GE(shares.from, ToDouble(percent) / 100);
      EXPECT_LT(shares.above, ToDouble(percent) / 100);
    }
  }
}

TEST_F(PercentVolumeContoursTest, EntriesThatAreNoShareEndTheRunAtTheirTurn) {
  AddRaster(Hill());
  for (const auto& [entries, report] : {std::pair("50,x", "PctVolContour: \r13\rType mismatch"),
                                        {"40,,30", "PctVolContour: \r13\rType mismatch"},
                                        {"101", "PctVolContour: \r9\rSubscript out of range"}}) {
    host_.messages.Clear();
    Hand hand = Ready();
    hand.Set("txtBnds", entries).Press("btnOK");
    EXPECT_EQ(OnlyReport(), report);
    EXPECT_TRUE(hand.IsOpen());
    hand.Press("btnExit");
  }
  EXPECT_THAT(Contours(), ElementsAre("PVC_dem.tif_40", "PVC_dem.tif_50"));
}

TEST_F(PercentVolumeContoursTest, AFolderThatMayNotBeWrittenToIsRefused) {
  AddRaster(Hill());
  AsUnprivileged([&] {
    Hand hand = Ready();
    hand.Pick("btnFolder", FolderOf(Path("out"))).Press("btnOK");
    EXPECT_EQ(OnlyReport(), "ContourGrid; \r70\rPermission denied");
    EXPECT_TRUE(hand.IsOpen());
  });
}

// ---- One contour

TEST_F(PercentVolumeContoursTest, ContourGridGivesAClassOfOneLevel) {
  AddRaster(Hill());
  const FeatureClassPtr lines =
      ContourGrid(Path("out"), FolderOf(Path("dem.tif")), "dem.tif", "half", 100, 50);
  ASSERT_TRUE(lines);
  EXPECT_EQ(lines->Name(), "half");
  EXPECT_EQ(lines->ShapeType(), GeometryType::kPolyline);
  EXPECT_EQ(lines->FeatureCount(), 1);
  EXPECT_THAT(HeightsOf("half"), ElementsAre(50));
  EXPECT_THAT(Contours(), ElementsAre("half"));
}

TEST_F(PercentVolumeContoursTest, ContourGridMakesUpANameWhereTheGivenOneCannotBe) {
  AddRaster(Hill());
  WriteBytes(Out("half.dbf"), "mine");
  for (const char* name : {"half", "a/b", ""})
    EXPECT_TRUE(ContourGrid(Path("out"), FolderOf(Path("dem.tif")), "dem.tif", name, 100, 50));
  EXPECT_THAT(Contours(), ElementsAre("contour1", "contour2", "contour3"));
  EXPECT_EQ(ReadBytes(Out("half.dbf")), "mine");
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(PercentVolumeContoursTest, ContourGridReportsWhatItCannotDo) {
  EXPECT_EQ(ContourGrid(Path("out"), Path("none"), "dem.tif", "half", 100, 50), nullptr);
  EXPECT_THAT(OnlyReport(), StartsWith("ContourGrid; \r-2147467259\r"));
  host_.messages.Clear();
  AddRaster(Hill());
  EXPECT_EQ(ContourGrid(Path("out"), FolderOf(Path("dem.tif")), "dem.tif", "half", 0, 50), nullptr);
  EXPECT_THAT(OnlyReport(), StartsWith("ContourGrid; \r5\r"));
}

}  // namespace
}  // namespace orlinths
