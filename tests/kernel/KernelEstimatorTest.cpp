#include "kernel/KernelEstimator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "kernel/KernelToolTest.h"

namespace orlinths {
namespace {

using ::testing::Contains;
using ::testing::DoubleEq;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

const std::vector<Sighting> kFixes = {
    {1000, 2000, 1}, {1130, 2050, 2}, {1010, 2190, 0.5}, {1200, 2120, 1}};

class KernelEstimatorTest : public KernelToolTest {
 protected:
  /// Everything set for a small surface: h 100, cells of 10.
  Hand Ready() {
    Hand hand = host_.Open<frmKernel>();
    hand.Choose("cmbPntL", "fixes").Set("txtH", "100").Set("txtCellSize", "10");
    return hand.Pick("btnFolder", Path("out"));
  }
  Hand ReadyWithContours(const std::string& percentages) {
    Hand hand = Ready();
    return hand.Check("chkBnds").Set("txtBnds", percentages);
  }
};

/// 20 cells a side and 1 for each margin, over 200 by 190: (2 * 100 + 200 + 2 * 10) / 10 columns.
const KernelGrid kGrid = {890, 1890, 10, 42, 41};

// ---- The dialog

TEST_F(KernelEstimatorTest, DeclaresItsControlsInOrder) {
  AddFixes(kFixes);
  Open<frmKernel>();
  EXPECT_EQ(dialog().caption, "Fixed Kernel Density Estimator");
  EXPECT_EQ(dialog().HelpTag(), "KDE");
  EXPECT_THAT(
      Described(),
      ElementsAre("combo cmbPntL [Point layer:]",
                  "check chkUseSelected [Use selected features only] = no off",
                  "check chkWeights [Use weights in this field:] = no", "combo cmbWeightFld [] off",
                  "text txtH [Smoothing factor (h): ] = 1000",
                  "text txtScaling [Scaling factor:] = 1000000",
                  "text txtOutFolder [Output folder (a new, empty folder is strongly "
                  "recommended):] =",
                  "button btnFolder [...]", "text txtCellSize [Raster cell size:] = 100",
                  "text txtR [Raster name:] = kde", "check chkBnds [Percent volume contours:] = no",
                  "text txtBnds [] = 95, 90, 50", "text txtStatus [] =", "button btnOK [OK]",
                  "button btnExit [Exit]", "button btnHelp [Web Help]"));
}

TEST_F(KernelEstimatorTest, WarnsWhenThereAreNoPoints) {
  const Hand hand = host_.Open<frmKernel>();
  EXPECT_THAT(said(), ElementsAre(Message{
                          "Warning: no point layers are present in map (nothing to work with).",
                          kExclamation, "Warning"}));
  EXPECT_FALSE(hand.IsEnabled("btnOK"));
  EXPECT_TRUE(hand.IsOpen());
}

TEST_F(KernelEstimatorTest, ALayerBringsItsNumericFieldsAndItsSelection) {
  AddFixes(kFixes);
  AddFixes(kFixes, "others.shp")->AddToSelection(2);
  Hand hand = host_.Open<frmKernel>();
  EXPECT_FALSE(hand.Choose("cmbPntL", "fixes").IsEnabled("chkUseSelected"));
  EXPECT_THAT(hand.Items("cmbWeightFld"), ElementsAre("ANIMAL", "W"));
  EXPECT_TRUE(hand.Choose("cmbPntL", "others").IsEnabled("chkUseSelected"));
  EXPECT_THAT(hand.Items("cmbWeightFld"), ElementsAre("ANIMAL", "W"));
  hand.Check("chkUseSelected").Check("chkWeights").Choose("cmbWeightFld", "W");
  // Another choice, even of the same layer, starts anew.
  hand.Choose("cmbPntL", "others");
  EXPECT_FALSE(hand.IsChecked("chkUseSelected"));
  EXPECT_TRUE(hand.IsEnabled("chkUseSelected"));
  EXPECT_EQ(hand.Text("cmbWeightFld"), "");
  hand.Check("chkUseSelected").Choose("cmbPntL", "fixes");
  EXPECT_FALSE(hand.IsChecked("chkUseSelected"));
  EXPECT_FALSE(hand.IsEnabled("chkUseSelected"));
}

TEST_F(KernelEstimatorTest, WeightsAreChosenWhileTheirBoxIsTicked) {
  AddFixes(kFixes);
  Open<frmKernel>();
  EXPECT_FALSE(Shown("cmbWeightFld"));
  Tick("chkWeights", true);
  EXPECT_TRUE(Shown("cmbWeightFld"));
  Tick("chkWeights", false);
  EXPECT_FALSE(Shown("cmbWeightFld"));
}

TEST_F(KernelEstimatorTest, ARasterNameKeepsFourteenCharacters) {
  AddFixes(kFixes);
  Hand hand = host_.Open<frmKernel>();
  EXPECT_EQ(hand.Set("txtR", "abcdefghijklmn").Text("txtR"), "abcdefghijklmn");
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_EQ(hand.Set("txtR", "bcdefghijklmnop").Text("txtR"), "bcdefghijklmno");
  EXPECT_THAT(said(),
              ElementsAre(Message{"Warning: raster name cannot be longer than 14 characters.",
                                  kExclamation, "Warning"}));
  EXPECT_EQ(hand.Set("txtR", "Höhlenbären-Ost").Text("txtR"), "Höhlenbären-Os");
}

TEST_F(KernelEstimatorTest, ChecksItsInputsInOrder) {
  AddFixes(kFixes);
  Hand hand = host_.Open<frmKernel>();
  hand.Set("txtH", "").Set("txtCellSize", "").Press("btnOK");
  hand.Choose("cmbPntL", "fixes").Press("btnOK");
  hand.Set("txtH", "100").Press("btnOK").Set("txtCellSize", "10").Press("btnOK");
  files::CreateFolder(Out("kde"));
  hand.Pick("btnFolder", Path("out")).Press("btnOK");
  EXPECT_EQ(host_.dialogs.questions.back().title, "Select output folder...");
  EXPECT_EQ(hand.Text("txtOutFolder"), Path("out"));
  const auto error = [](const char* text) { return Message{text, kExclamation, "Error"}; };
  EXPECT_THAT(said(),
              ElementsAre(error("Error: input point layer has not been defined."),
                          error("Error: smoothing factor (h) has not been defined."),
                          error("Error: output raster cell size has not been defined."),
                          error("Error: output folder has not been defined."),
                          error("Error: a name conflict has been found. Please define a new, "
                                "unique raster name.")));
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_THAT(host_.dialogs.statuses, IsEmpty());
}

TEST_F(KernelEstimatorTest, WeightsWithoutAFieldEndAtItsLookup) {
  AddFixes(kFixes);
  Hand hand = Ready();
  hand.Check("chkWeights").Press("btnOK");
  EXPECT_EQ(OnlyReport(), "Kernel: \r9\rSubscript out of range");
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_THAT(OutNames(), IsEmpty());
}

TEST_F(KernelEstimatorTest, TheNameIsCleanedAndPutBack) {
  AddFixes(kFixes);
  Hand hand = Ready();
  for (const char* name : {"kde", "bear_2"}) files::CreateFolder(Out(name));
  EXPECT_EQ(hand.Set("txtR", "be ar_2.1.x").Press("btnOK").Text("txtR"), "bear_2");
  EXPECT_EQ(hand.Set("txtR", "!?").Press("btnOK").Text("txtR"), "kde");
  EXPECT_EQ(hand.Set("txtR", "").Press("btnOK").Text("txtR"), "kde");
  EXPECT_THAT(said(), SizeIs(3));
}

TEST_F(KernelEstimatorTest, AFolderThatWasTypedIsForDisplay) {
  AddFixes(kFixes);
  Hand hand = host_.Open<frmKernel>();
  hand.Choose("cmbPntL", "fixes").Set("txtCellSize", "10").Set("txtH", "100");
  hand.Set("txtOutFolder", Path("out")).Press("btnOK");
  EXPECT_THAT(OnlyReport(), StartsWith("Kernel: \r-2147467259\r"));
  EXPECT_THAT(OutNames(), IsEmpty());
  EXPECT_TRUE(hand.IsOpen());
}

// ---- The surface

TEST_F(KernelEstimatorTest, WritesTheSurfaceAsAGridThatGdalReads) {
  AddFixes(kFixes);
  Hand hand = Ready();
  hand.Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"Processing complete.", kPlain, ""}));
  EXPECT_FALSE(hand.IsOpen());
  EXPECT_THAT(host_.dialogs.statuses,
              ElementsAre("Calculating kernel...", "Writing raster output...", ""));
  EXPECT_THAT(OutNames(), Contains("kde"));
  EXPECT_THAT(Contours(), IsEmpty());
  std::vector<Sighting> unweighted = kFixes;
  for (Sighting& fix : unweighted) fix.weight = 1;
  const Rows expected = SurfaceRows(unweighted, kGrid, 100);
  EXPECT_EQ(GdalCells(Out("kde")), expected);
  EXPECT_EQ(expected[0][0], 0);

  GDALDataset* dataset = OpenGdal(Out("kde"));
  EXPECT_STREQ(dataset->GetDriverName(), "AIG");
  double transform[6];
  dataset->GetGeoTransform(transform);
  EXPECT_THAT(transform, ElementsAre(890, 10, 0, 1890 + 410, 0, -10));
  EXPECT_THAT(dataset->GetProjectionRef(), HasSubstr("UTM"));
  // The library reads the ends of a grid's statistics alone.
  double highest = 0;
  for (const auto& row : expected) highest = std::max(highest, *std::ranges::max_element(row));
  EXPECT_EQ(dataset->GetRasterBand(1)->GetMinimum(), 0);
  EXPECT_EQ(dataset->GetRasterBand(1)->GetMaximum(), highest);
  GDALClose(dataset);
}

TEST_F(KernelEstimatorTest, AGridsCellsOf0AreNotNoData) {
  AddFixes(kFixes);
  Ready().Press("btnOK");
  const RasterDatasetPtr raster = OpenRasterDataset(Path("out"), "kde");
  EXPECT_EQ(raster->Band(0).Statistics().count, 42 * 41);
  EXPECT_FALSE(raster->Band(0).ReadAll().IsNoData(0, 0, 0));
}

TEST_F(KernelEstimatorTest, UsesWeightsAndScaling) {
  AddFixes(kFixes);
  Hand hand = Ready();
  hand.Check("chkWeights").Choose("cmbWeightFld", "W").Set("txtScaling", "-2.5e3");
  hand.Press("btnOK");
  EXPECT_EQ(GdalCells(Out("kde")), SurfaceRows(kFixes, kGrid, 100, -2500));
}

TEST_F(KernelEstimatorTest, ASelectionKeepsTheWholeExtentAndCountsItself) {
  const auto layer = AddFixes(kFixes);
  layer->AddToSelection(3);
  layer->AddToSelection(1);
  Hand hand = Ready();
  hand.Check("chkUseSelected").Press("btnOK");
  EXPECT_EQ(GdalCells(Out("kde")), SurfaceRows({{1130, 2050}, {1200, 2120}}, kGrid, 100));
}

TEST_F(KernelEstimatorTest, WhatAFilterHidesIsNeitherReadNorCounted) {
  const auto layer = AddFixes({{1000, 2000, 1, 1}, {1200, 2190, 1, 2}, {1100, 2100, 1, 2}});
  layer->SetDefinitionQuery("ANIMAL = 2");
  Hand hand = Ready();
  hand.Press("btnOK");
  EXPECT_EQ(GdalCells(Out("kde")),
            SurfaceRows({{1200, 2190}, {1100, 2100}}, kGrid, 100));
}

TEST_F(KernelEstimatorTest, ASinglePointHasASquareAboutIt) {
  AddFixes({{500, 500}});
  Ready().Press("btnOK");
  const Rows cells = GdalCells(Out("kde"));
  EXPECT_EQ(cells.size(), 22U);
  EXPECT_EQ(cells, SurfaceRows({{500, 500}}, {390, 390, 10, 22, 22}, 100));
}

/// Higher than a strip of rows in memory.
TEST_F(KernelEstimatorTest, WritesASurfaceOfManyStrips) {
  AddFixes({{0, 0}, {16'000, 20'000}});
  Hand hand = Ready();
  hand.Set("txtH", "300").Press("btnOK");
  const KernelGrid grid = {-310, -310, 10, 1662, 2062};
  EXPECT_EQ(GdalCells(Out("kde")), SurfaceRows({{0, 0}, {16'000, 20'000}}, grid, 300));
}

// ---- Contours

TEST_F(KernelEstimatorTest, ContoursEncloseTheirShareOfTheVolume) {
  AddFixes(kFixes);
  ReadyWithContours("95, 90,50 ,12.5").Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"Processing complete.", kPlain, ""}));
  EXPECT_THAT(host_.dialogs.statuses,
              ElementsAre("Calculating kernel...", "Writing raster output...",
                          "Calculating percent volume contours...", ""));
  EXPECT_THAT(Contours(), ElementsAre("PVC_kde_12.5", "PVC_kde_50", "PVC_kde_90", "PVC_kde_95"));
  const Rows surface = GdalCells(Out("kde"));
  for (const std::string percent : {"95", "90", "50", "12.5"}) {
    SCOPED_TRACE(percent);
    const std::vector<double> heights = HeightsOf("PVC_kde_" + percent);
    ASSERT_FALSE(heights.empty());
    EXPECT_THAT(heights, Each(heights[0]));
    // The histogram is that of the doubles: a cell at a bin's edge may lie beyond it as a float.
    const Shares shares = SharesOf(surface, heights[0], 100'000);
    EXPECT_GE(shares.from, ToDouble(percent) / 100 - 1e-4);
    EXPECT_LE(shares.above, ToDouble(percent) / 100 + 1e-4);
  }
  EXPECT_LT(HeightsOf("PVC_kde_95")[0], HeightsOf("PVC_kde_50")[0]);
}

TEST_F(KernelEstimatorTest, APercentageWithAPointNamesAllItsFiles) {
  AddFixes(kFixes);
  ReadyWithContours("97.5").Press("btnOK");
  for (const char* extension : {".shp", ".shx", ".dbf", ".prj"})
    EXPECT_TRUE(files::FileExists(Out(std::string("PVC_kde_97.5") + extension))) << extension;
  EXPECT_THAT(OutNames(), Not(Contains(StartsWith("contour"))));
}

TEST_F(KernelEstimatorTest, AContourWhoseNameIsTakenKeepsItsOwnSilently) {
  AddFixes(kFixes);
  WriteBytes(Out("PVC_kde_50.shp"), "mine");
  WriteBytes(Out("contour1.shp"), "mine too");
  ReadyWithContours("50,90").Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"Processing complete.", kPlain, ""}));
  EXPECT_EQ(ReadBytes(Out("PVC_kde_50.shp")), "mine");
  EXPECT_EQ(ReadBytes(Out("contour1.shp")), "mine too");
  EXPECT_THAT(HeightsOf("contour2"), Not(IsEmpty()));
  EXPECT_THAT(HeightsOf("PVC_kde_90"), Not(IsEmpty()));
}

TEST_F(KernelEstimatorTest, NothingIsAboveTheContourOf0AndAllAboveThatOf100) {
  AddFixes(kFixes);
  ReadyWithContours("0,100").Press("btnOK");
  EXPECT_THAT(HeightsOf("PVC_kde_0"), IsEmpty());
  const std::vector<double> heights = HeightsOf("PVC_kde_100");
  ASSERT_FALSE(heights.empty());
  EXPECT_GT(heights[0], 0);
  EXPECT_EQ(SharesOf(GdalCells(Out("kde")), heights[0], 100'000).from, 1);
}

TEST_F(KernelEstimatorTest, AnEmptyListOfPercentagesHasNoContours) {
  AddFixes(kFixes);
  ReadyWithContours("").Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("Processing complete."));
  EXPECT_THAT(Contours(), IsEmpty());
}

TEST_F(KernelEstimatorTest, AnEntryThatIsNoNumberEndsTheRunAtItsTurn) {
  for (const char* entries : {"50,", "50,half,90", "50, ,90"}) {
    SCOPED_TRACE(entries);
    host_.map.Clear();
    AddFixes(kFixes, "fixes" + ToText(static_cast<int>(said().size())) + ".shp")->SetName("fixes");
    Hand hand = ReadyWithContours(entries);
    const std::string name = "kde" + ToText(static_cast<int>(said().size()));
    hand.Set("txtR", name).Press("btnOK");
    EXPECT_EQ(said().back().text, "Kernel: \r13\rType mismatch");
    EXPECT_TRUE(hand.IsOpen());
    EXPECT_EQ(hand.Text("txtStatus"), "");
    EXPECT_THAT(Contours(), Contains("PVC_" + name + "_50"));
    EXPECT_THAT(Contours(), Not(Contains("PVC_" + name + "_90")));
    hand.Press("btnExit");
  }
}

TEST_F(KernelEstimatorTest, MoreThanAllIsASubscriptOutOfRange) {
  AddFixes(kFixes);
  ReadyWithContours("100.1").Press("btnOK");
  EXPECT_EQ(OnlyReport(), "Kernel: \r9\rSubscript out of range");
}

TEST_F(KernelEstimatorTest, ASurfaceOfOneHeightHasNoContours) {
  AddFixes({{0, 0, 0}, {100, 100, 0}});
  Hand hand = ReadyWithContours("95,50");
  hand.Check("chkWeights").Choose("cmbWeightFld", "W").Press("btnOK");
  EXPECT_EQ(OnlyReport(), "Kernel: \r11\rDivision by zero");
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_EQ(hand.Text("txtStatus"), "");
  EXPECT_TRUE(files::FolderExists(Out("kde")));
  EXPECT_THAT(Contours(), IsEmpty());
}

TEST_F(KernelEstimatorTest, ASurfaceWithNegativeCellsHasOneContourAPercentage) {
  AddFixes({{0, 0, 1}, {400, 0, -3}});
  Hand hand = ReadyWithContours("99,10");
  hand.Check("chkWeights").Choose("cmbWeightFld", "W").Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("Processing complete."));
  for (const char* contour : {"PVC_kde_99", "PVC_kde_10"}) {
    const std::vector<double> heights = HeightsOf(contour);
    ASSERT_FALSE(heights.empty()) << contour;
    EXPECT_THAT(heights, Each(heights[0]));
  }
  // Cells of 0 hold three quarters of the bins: the level is that of the plain, or below it.
  EXPECT_LE(HeightsOf("PVC_kde_99")[0], 0);
}

// ---- Failures

TEST_F(KernelEstimatorTest, NumbersThatCannotBeEndInTheReport) {
  AddFixes(kFixes);
  struct Case {
    const char *box, *text, *report;
  };
  const Case cases[] = {
      {"txtH", "wide", "Kernel: \r13\rType mismatch"},
      {"txtCellSize", "1,5", "Kernel: \r13\rType mismatch"},
      {"txtScaling", "", "Kernel: \r13\rType mismatch"},
      {"txtH", "0", "SimpleKernel2; \r11\rDivision by zero"},
      {"txtCellSize", "0", "Kernel: \r11\rDivision by zero"},
      {"txtCellSize", "-10", "SimpleKernel2; \r9\rSubscript out of range"},
      {"txtH", "-1000", "SimpleKernel2; \r9\rSubscript out of range"},
      {"txtCellSize", "0.0001",
       "SimpleKernel2; \r7\rOut of memory: a grid of 4000002 columns and 3900002 rows has "
       "15600015800004 cells. Use larger cells."},
      {"txtCellSize", "1e-9",
       "Kernel: \r6\rOverflow: the grid would be 400000000001 cells wide or high. Use larger "
       "cells."},
      {"txtH", "1e308", "Kernel: \r6\rOverflow"},
      {"txtScaling", "1e99", "Kernel: \r6\rOverflow"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.box) + " = " + c.text);
    host_.messages.Clear();
    Hand hand = Ready();
    hand.Set(c.box, c.text).Press("btnOK");
    EXPECT_EQ(OnlyReport(), c.report);
    EXPECT_TRUE(hand.IsOpen());
    EXPECT_EQ(hand.Text("txtStatus"), "");
    EXPECT_THAT(OutNames(), IsEmpty());
    hand.Press("btnExit");
  }
}

TEST_F(KernelEstimatorTest, ALayerWithoutPointsSaysSo) {
  AddFixes({});
  Hand hand = Ready();
  hand.Press("btnOK");
  EXPECT_EQ(OnlyReport(), "Kernel: \r-2147467259\rThe layer holds no points.");
  EXPECT_TRUE(hand.IsOpen());
}

TEST_F(KernelEstimatorTest, APointWithoutShapeEndsTheRun) {
  OgrDataset data{.type = "Point", .columns = {{"W", "Real", 24, 15}}};
  data.records = {{"POINT(1 2)", {"1"}}, {"", {"1"}}};
  AddLayer("fixes.shp", data);
  Ready().Press("btnOK");
  EXPECT_EQ(OnlyReport(), "Kernel: \r91\rObject variable or With block variable not set");
  EXPECT_THAT(OutNames(), IsEmpty());
}

TEST_F(KernelEstimatorTest, AWeightThatIsNullEndsTheRun) {
  AddText("fixes.geojson", {{"1", "[1, 2]"}, {"null", "[3, 4]"}});
  Hand hand = Ready();
  hand.Check("chkWeights").Choose("cmbWeightFld", "N").Press("btnOK");
  EXPECT_EQ(OnlyReport(), "Kernel: \r94\rInvalid use of Null");
  EXPECT_THAT(OutNames(), IsEmpty());
}

TEST_F(KernelEstimatorTest, AFolderThatMayNotBeWrittenToIsRefused) {
  AddFixes(kFixes);
  AsUnprivileged([&] {
    Hand hand = Ready();
    hand.Pick("btnFolder", FolderOf(Path("out"))).Press("btnOK");
    EXPECT_EQ(OnlyReport(), "Kernel: \r70\rPermission denied");
    EXPECT_TRUE(hand.IsOpen());
    EXPECT_EQ(hand.Text("txtStatus"), "");
  });
}

TEST_F(KernelEstimatorTest, AFileOfTheRastersNameIsLeftAlone) {
  AddFixes(kFixes);
  WriteBytes(Out("kde"), "mine");
  Ready().Press("btnOK");
  EXPECT_THAT(OnlyReport(), StartsWith("Kernel: \r-2147467259\r"));
  EXPECT_EQ(ReadBytes(Out("kde")), "mine");
  EXPECT_THAT(OutNames(), ElementsAre("kde"));
}

}  // namespace
}  // namespace orlinths
