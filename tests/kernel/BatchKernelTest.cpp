#include "kernel/BatchKernel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "kernel/FixGroups.h"
#include "kernel/KernelToolTest.h"
#include "support/ErrorNumberOf.h"

namespace orlinths {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

const std::vector<Sighting> kFixes = {{1000, 2000, 1, 7},
                                      {1130, 2050, 2, 3},
                                      {1010, 2190, 0.5, 7},
                                      {1200, 2120, 1, 3},
                                      {1100, 2100, 3, 12}};
const KernelGrid kFull = {890, 1890, 10, 42, 41};

std::vector<Sighting> Of(int animal, bool weighted = false) {
  std::vector<Sighting> own;
  for (Sighting fix : kFixes) {
    if (fix.animal != animal) continue;
    if (!weighted) fix.weight = 1;
    own.push_back(fix);
  }
  return own;
}

class BatchKernelTest : public KernelToolTest {
 protected:
  Hand Ready(const std::string& layer = "fixes", const std::string& id = "ANIMAL") {
    Hand hand = host_.Open<frmBatchKernel>();
    hand.Choose("cmbPntL", layer).Choose("cmbUIDFLD", id);
    hand.Set("txtH", "100").Set("txtCellSize", "10");
    return hand.Pick("btnFolder", Path("out"));
  }
  std::vector<std::string> Rasters() const {
    std::vector<std::string> rasters;
    for (const std::string& name : OutNames())
      if (files::FolderExists(Out(name))) rasters.push_back(name);
    return rasters;
  }
  std::string RasterNames() const { return ReadBytes(Out("RASTERNAMES.txt")); }
};

// ---- The dialog

TEST_F(BatchKernelTest, DeclaresItsControlsInOrder) {
  AddFixes(kFixes);
  Open<frmBatchKernel>();
  EXPECT_EQ(dialog().caption, "Batch Fixed Kernel Density Estimator");
  EXPECT_EQ(dialog().HelpTag(), "BKDE");
  EXPECT_THAT(
      Described(),
      ElementsAre("combo cmbPntL [Point layer:]", "combo cmbUIDFLD [Unique ID field (integer):]",
                  "check chkWeights [Use weights in this field:] = no", "combo cmbWeightFld [] off",
                  "text txtH [Smoothing factor (h): ] = 1000",
                  "text txtScaling [Scaling factor:] = 1000000",
                  "option optSmall [Minimize the extent of each kernel to the extent of the input "
                  "data for that kernel] in 'Extents ' = no",
                  "option optFull [Every kernel is calculated at the full extent] in 'Extents ' = "
                  "yes",
                  "text txtOutFolder [Output folder (a new, empty folder is strongly "
                  "recommended):] =",
                  "button btnFolder [...]", "text txtCellSize [Raster cell size:] = 100",
                  "text txtR [Raster name prefix:] = kde",
                  "check chkBnds [Percent volume contours:] = no", "text txtBnds [] = 95, 90, 50",
                  "progress PBar []", "text txtStatus [] =", "button btnOK [OK]",
                  "button btnExit [Exit]", "button btnHelp [Web Help]"));
}

TEST_F(BatchKernelTest, WarnsWhenThereAreNoPoints) {
  const Hand hand = host_.Open<frmBatchKernel>();
  EXPECT_THAT(said(), ElementsAre(Message{
                          "Warning: no point layers are present in map (nothing to work with).",
                          kExclamation, "Warning"}));
  EXPECT_FALSE(hand.IsEnabled("btnOK"));
}

TEST_F(BatchKernelTest, ChecksItsInputsInOrder) {
  AddFixes(kFixes);
  Hand hand = host_.Open<frmBatchKernel>();
  hand.Set("txtH", "").Set("txtCellSize", "").Press("btnOK");
  hand.Choose("cmbPntL", "fixes").Press("btnOK").Choose("cmbUIDFLD", "ANIMAL").Press("btnOK");
  hand.Set("txtH", "100").Press("btnOK").Set("txtCellSize", "10").Press("btnOK");
  const auto error = [](const char* text) { return Message{text, kExclamation, "Error"}; };
  EXPECT_THAT(said(), ElementsAre(error("Error: input point layer has not been defined."),
                                  error("Error: unique ID field has not been defined."),
                                  error("Error: smoothing factor (h) has not been defined."),
                                  error("Error: output raster cell size has not been defined."),
                                  error("Error: output folder has not been defined.")));
  EXPECT_TRUE(hand.IsOpen());
}

TEST_F(BatchKernelTest, ASecondLayerAppendsItsIdentifierFields) {
  AddFixes(kFixes);
  OgrDataset other{.type = "Point", .columns = {{"COLLAR", "Integer", 9}, {"X", "Real", 12, 3}}};
  other.records = {{"POINT(1 2)", {"5", "1"}}};
  AddLayer("other.shp", other);
  Hand hand = Ready();
  hand.Choose("cmbPntL", "other");
  EXPECT_THAT(hand.Items("cmbUIDFLD"), ElementsAre("ANIMAL", "COLLAR"));
  EXPECT_THAT(hand.Items("cmbWeightFld"), ElementsAre("COLLAR", "X"));
  // The field of the layer before is still chosen, and is looked up in vain.
  EXPECT_EQ(hand.Text("cmbUIDFLD"), "ANIMAL");
  hand.Press("btnOK");
  EXPECT_EQ(OnlyReport(), "BatchKernel: \r9\rSubscript out of range");
  EXPECT_TRUE(hand.IsOpen());
  hand.Choose("cmbPntL", "other");
  EXPECT_THAT(hand.Items("cmbUIDFLD"), ElementsAre("ANIMAL", "COLLAR", "COLLAR"));
}

TEST_F(BatchKernelTest, APrefixKeepsNineCharacters) {
  AddFixes(kFixes);
  Hand hand = host_.Open<frmBatchKernel>();
  EXPECT_EQ(hand.Set("txtR", "abcdefghi").Text("txtR"), "abcdefghi");
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_EQ(hand.Set("txtR", "bcdefghijk").Text("txtR"), "bcdefghij");
  EXPECT_THAT(said(),
              ElementsAre(Message{"Warning: raster name prefix cannot be longer than 9 characters.",
                                  kExclamation, "Warning"}));
}

TEST_F(BatchKernelTest, ThePrefixIsCleanedAndEndsInAnUnderscore) {
  AddFixes(kFixes);
  Hand hand = Ready();
  hand.Set("txtH", "0");  // every run ends before a raster
  EXPECT_EQ(hand.Set("txtR", "").Press("btnOK").Text("txtR"), "kde_");
  EXPECT_EQ(hand.Set("txtR", "be ar.x").Press("btnOK").Text("txtR"), "bear_");
  EXPECT_EQ(hand.Set("txtR", "elk_").Press("btnOK").Text("txtR"), "elk_");
  EXPECT_EQ(hand.Set("txtR", "abcdefghi").Press("btnOK").Text("txtR"), "abcdefghi_");
  EXPECT_THAT(said(),
              Each(::testing::Field(&Message::text, "SimpleKernel2; \r11\rDivision by zero")));
}

TEST_F(BatchKernelTest, WeightsWithoutAFieldEndAtItsLookup) {
  AddFixes(kFixes);
  Ready().Check("chkWeights").Press("btnOK");
  EXPECT_EQ(OnlyReport(), "BatchKernel: \r9\rSubscript out of range");
}

// ---- Surfaces

TEST_F(BatchKernelTest, WritesOneSurfaceAnAnimalAtTheFullExtent) {
  AddFixes(kFixes);
  Hand hand = Ready();
  hand.Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"Processing complete.", kPlain, ""}));
  EXPECT_FALSE(hand.IsOpen());
  EXPECT_THAT(Rasters(), ElementsAre("kde_12", "kde_3", "kde_7"));
  EXPECT_FALSE(files::FileExists(Out("RASTERNAMES.txt")));
  for (const int animal : {3, 7, 12})
    EXPECT_EQ(GdalCells(Out("kde_" + ToText(animal))), SurfaceRows(Of(animal), kFull, 100));
  EXPECT_THAT(host_.dialogs.statuses,
              ElementsAre("Calculating...", "Writing...", "Calculating...", "Writing...",
                          "Calculating...", "Writing...", ""));
  EXPECT_EQ(host_.dialogs.progress.back(), 3);
}

TEST_F(BatchKernelTest, WritesEachSurfaceAtItsOwnExtent) {
  AddFixes(kFixes);
  Ready().Choose("optSmall").Press("btnOK");
  EXPECT_EQ(GdalCells(Out("kde_3")), SurfaceRows(Of(3), {1020, 1940, 10, 29, 29}, 100));
  EXPECT_EQ(GdalCells(Out("kde_7")), SurfaceRows(Of(7), {890, 1890, 10, 23, 41}, 100));
  // A square about the only point.
  EXPECT_EQ(GdalCells(Out("kde_12")), SurfaceRows(Of(12), {990, 1990, 10, 22, 22}, 100));
}

TEST_F(BatchKernelTest, UsesWeights) {
  AddFixes(kFixes);
  Ready().Check("chkWeights").Choose("cmbWeightFld", "W").Press("btnOK");
  for (const int animal : {3, 7, 12})
    EXPECT_EQ(GdalCells(Out("kde_" + ToText(animal))), SurfaceRows(Of(animal, true), kFull, 100));
}

TEST_F(BatchKernelTest, UsesAllFeaturesWhateverIsSelected) {
  AddFixes(kFixes)->AddToSelection(0);
  Ready().Press("btnOK");
  EXPECT_THAT(Rasters(), ElementsAre("kde_12", "kde_3", "kde_7"));
  EXPECT_EQ(GdalCells(Out("kde_7")), SurfaceRows(Of(7), kFull, 100));
}

TEST_F(BatchKernelTest, LeavesOutWhatAFilterHides) {
  auto fixes = kFixes;
  fixes.push_back({1050, 2050, 0, 7});
  AddFixes(fixes)->SetDefinitionQuery("ANIMAL <> 12 AND W <> 0");
  Ready().Press("btnOK");
  EXPECT_THAT(Rasters(), ElementsAre("kde_3", "kde_7"));
  EXPECT_EQ(GdalCells(Out("kde_7")), SurfaceRows(Of(7), kFull, 100));
}

TEST_F(BatchKernelTest, PointsOfNoAnimalAreLeftOut) {
  AddText("fixes.geojson",
          {{"4", "[1000, 2000]"}, {"null", "[1010, 2010]"}, {"4", "[1030, 2000]"}});
  Ready("fixes", "N").Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("Processing complete."));
  EXPECT_THAT(Rasters(), ElementsAre("kde_4"));
  EXPECT_EQ(GdalCells(Out("kde_4")),
            SurfaceRows({{1000, 2000}, {1030, 2000}}, {890, 1890, 10, 25, 23}, 100));
}

// ---- Names

TEST_F(BatchKernelTest, TheIdentifierMayFillFourteenCharacters) {
  AddFixes({{0, 0, 1, 1234567890}, {10, 10, 1, 1}});
  Ready().Press("btnOK");
  EXPECT_THAT(Rasters(), ElementsAre("kde_1", "kde_1234567890"));
}

TEST_F(BatchKernelTest, OneNameTooLongNumbersAll) {
  AddFixes({{0, 0, 1, -234567890}, {10, 10, 1, 4}}, "fixes.shp");
  Hand hand = Ready();
  hand.Set("txtR", "bear_").Press("btnOK");
  EXPECT_THAT(Rasters(), ElementsAre("bear_1", "bear_2"));
  EXPECT_EQ(RasterNames(),
            "Format of entries in this file:\n"
            "Raster name: Input point layer, unique ID value\n"
            "\n"
            "bear_1: fixes, -234567890\n"
            "bear_2: fixes, 4\n");
}

TEST_F(BatchKernelTest, OneNameInUseNumbersAllAndPassesOverNamesInUse) {
  AddFixes(kFixes);
  for (const char* name : {"kde_12", "kde_2"}) files::CreateFolder(Out(name));
  Ready().Press("btnOK");
  EXPECT_THAT(Rasters(), ElementsAre("kde_1", "kde_12", "kde_2", "kde_3", "kde_4"));
  EXPECT_THAT(RasterNames(), ::testing::EndsWith("\n\nkde_1: fixes, 3\nkde_3: fixes, 7\n"
                                                 "kde_4: fixes, 12\n"));
  EXPECT_EQ(GdalCells(Out("kde_4")), SurfaceRows(Of(12), kFull, 100));
}

TEST_F(BatchKernelTest, ASecondRunContinuesTheListOfNames) {
  AddFixes(kFixes);
  Ready().Press("btnOK");
  Ready().Press("btnOK");
  Ready().Press("btnOK");
  EXPECT_THAT(RasterNames(), ::testing::EndsWith("\n\n"
                                                 "kde_1: fixes, 3\nkde_2: fixes, 7\n"
                                                 "kde_4: fixes, 12\n"
                                                 "kde_5: fixes, 3\nkde_6: fixes, 7\n"
                                                 "kde_8: fixes, 12\n"));
  EXPECT_THAT(Rasters(), SizeIs(9));
}

TEST_F(BatchKernelTest, AListOfNamesThatIsThereIsKept) {
  AddFixes({{0, 0, 1, 1}});
  WriteBytes(Out("RASTERNAMES.txt"), "notes of mine\n");
  files::CreateFolder(Out("kde_1"));
  Ready().Press("btnOK");
  EXPECT_EQ(RasterNames(), "notes of mine\nkde_2: fixes, 1\n");
}

// ---- Ten thousand animals

std::vector<Sighting> Animals(int count) {
  std::vector<Sighting> fixes;
  for (int i = 0; i < count; ++i) fixes.push_back({1.0 * i, 0, 1, i});
  return fixes;
}

TEST_F(BatchKernelTest, MoreThanTenThousandAnimalsAreRefused) {
  AddFixes(Animals(10'001));
  Hand hand = Ready();
  hand.Press("btnOK");
  EXPECT_THAT(said(), ElementsAre(Message{"Error: more than 10,000 unique values encountered. See "
                                          "WebHelp for further details.",
                                          kCritical, "Error"}));
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_THAT(OutNames(), IsEmpty());
}

TEST_F(BatchKernelTest, TenThousandAnimalsPass) {
  AddFixes(Animals(10'000));
  Hand hand = Ready();
  hand.Set("txtH", "0").Press("btnOK");  // the first surface ends the run
  EXPECT_EQ(OnlyReport(), "SimpleKernel2; \r11\rDivision by zero");
}

// ---- Contours

TEST_F(BatchKernelTest, ContoursAreThoseOfAThousandBins) {
  AddFixes(kFixes);
  Ready().Check("chkBnds").Set("txtBnds", "90, 50").Press("btnOK");
  EXPECT_THAT(Contours(), ElementsAre("PVC_kde_12_50", "PVC_kde_12_90", "PVC_kde_3_50",
                                      "PVC_kde_3_90", "PVC_kde_7_50", "PVC_kde_7_90"));
  EXPECT_THAT(host_.dialogs.statuses,
              AllOf(Contains("Contours...").Times(3), Contains("Writing...").Times(3)));
  for (const int animal : {3, 7, 12}) {
    const Rows surface = GdalCells(Out("kde_" + ToText(animal)));
    double highest = 0;
    for (const auto& row : surface) highest = std::max(highest, *std::ranges::max_element(row));
    for (const int percent : {50, 90}) {
      const double level = HeightsOf("PVC_kde_" + ToText(animal) + "_" + ToText(percent)).at(0);
      EXPECT_NEAR(std::fmod(level / highest * 1000 + 0.5, 1), 0.5, 1e-6);
      const Shares shares = SharesOf(surface, level, 1000);
      EXPECT_GE(shares.from, percent / 100.0 - 1e-3);
      EXPECT_LE(shares.above, percent / 100.0 + 1e-3);
    }
  }
}

TEST_F(BatchKernelTest, AContourThatIsThereIsPassedOverWithAWarning) {
  AddFixes(kFixes);
  WriteBytes(Out("PVC_kde_7_50.shp"), "mine");
  Ready().Check("chkBnds").Set("txtBnds", "90, 50").Press("btnOK");
  EXPECT_THAT(said(),
              ElementsAre(Message{"Warning: a naming conflict was detected and this layer could "
                                  "not be created:\rPVC_kde_7 50.shp",
                                  kExclamation, "Warning"},
                          Message{"Processing complete.", kPlain, ""}));
  EXPECT_EQ(ReadBytes(Out("PVC_kde_7_50.shp")), "mine");
  EXPECT_THAT(Contours(), SizeIs(6));
  EXPECT_THAT(HeightsOf("PVC_kde_12_50"), Not(IsEmpty()));
}

// ---- Failures

TEST_F(BatchKernelTest, AFailureOnTheWayKeepsTheSurfacesBeforeIt) {
  OgrDataset data{.type = "Point", .columns = {{"ANIMAL", "Integer", 9}}};
  // In the table the broken point stands first; its animal's turn comes second.
  data.records = {
      {"", {"2"}}, {"POINT(0 0)", {"3"}}, {"POINT(10 0)", {"1"}}, {"POINT(0 9)", {"2"}}};
  AddLayer("fixes.shp", data);
  Hand hand = Ready();
  hand.Press("btnOK");
  EXPECT_EQ(OnlyReport(), "BatchKernel: \r91\rObject variable or With block variable not set");
  EXPECT_THAT(Rasters(), ElementsAre("kde_1"));
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_EQ(hand.Text("txtStatus"), "");
}

TEST_F(BatchKernelTest, ALayerWithoutPoints) {
  AddFixes({});
  Ready().Press("btnOK");
  EXPECT_EQ(OnlyReport(), "BatchKernel: \r-2147467259\rThe layer holds no points.");
  host_.messages.Clear();
  Ready().Choose("optSmall").Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("Processing complete."));
  EXPECT_THAT(OutNames(), IsEmpty());
}

TEST_F(BatchKernelTest, AFolderThatMayNotBeWrittenToIsRefused) {
  AddFixes(kFixes);
  AsUnprivileged([&] {
    Ready().Pick("btnFolder", FolderOf(Path("out"))).Press("btnOK");
    EXPECT_EQ(OnlyReport(), "BatchKernel: \r70\rPermission denied");
  });
}

TEST_F(BatchKernelTest, AStopEndsItBetweenTwoSurfaces) {
  AddFixes(kFixes);
  Hand hand = Ready();
  RequestStop();
  hand.Press("btnOK");
  ClearStop();
  EXPECT_THAT(OnlyReport(), StartsWith("BatchKernel: \r18\r"));
  EXPECT_THAT(OutNames(), IsEmpty());
}

// ---- Groups

TEST_F(BatchKernelTest, OnePassGathersWhatASearchForEachWould) {
  Seeded random("BatchKernelTest.OnePassGathersWhatASearchForEachWould");
  std::vector<Sighting> fixes;
  for (int i = 0; i < 500; ++i)
    fixes.push_back({random.Real(0, 1e6), random.Real(0, 1e6), random.Real(-1, 1),
                     static_cast<int>(random.Whole(-20, 20))});
  const auto layer = AddFixes(fixes);
  const IFeatureClass& points = layer->FeatureClass();
  std::vector<std::int32_t> ids;
  for (int id = -20; id <= 20; id += 2) ids.push_back(id);  // the odd ones are left out
  std::reverse(ids.begin(), ids.end());
  FixGroups groups(*points.Search(), points.FindField("ANIMAL"), points.FindField("W"), ids);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    QueryFilter of;
    of.where = "ANIMAL = " + ToText(ids[i]);
    const PointArray plain =
        ReadPoints(*points.Search(of), points.FeatureCount(of), points.FindField("W"));
    const FixGroups::Group group = groups.Take(i);
    EXPECT_TRUE(std::ranges::equal(group.points.Data(), plain.Data())) << ids[i];
    Envelope extent;
    for (std::int64_t k = 0; k <= plain.First().upper; ++k) extent.Add(plain(k, 0), plain(k, 1));
    EXPECT_EQ(group.extent, extent);
  }
}

}  // namespace
}  // namespace orlinths
