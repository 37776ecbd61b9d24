// Random points in the extent of a raster.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "RandomPointsFixture.h"
#include "data/FieldsAndDatasets.h"
#include "numerics/Random.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
using Band = PlainSampler::Band;

const Band kSlope{{{-9, 1, 2, 3}, {4, -9, 5, 6}, {7, 8, -9, 9}}, {1000, 500, 1040, 530}, 10, -9.0};

class RandomPointsRasterTest : public RandomPointsTest {
 protected:
  struct Design {
    bool keepOffNoData = true, weighted = false;
    std::optional<double> minimum{};
  };
  /// Runs the tool on a layer of the map and the plain sampler on the cells, and compares.
  PlainSampler RunBoth(const std::string& layer, const Band& band, int count, Design design) {
    OpenOn(layer, true).Set("txtNPnts", ToText(count));
    if (design.weighted) hand_->Check("chkWeighted");
    hand_->Check("chkPreventNoData", design.keepOffNoData);
    if (design.minimum) hand_->Check("chkMinDist").Set("txtMinDist", ToText(*design.minimum));
    host_.addedLayers.clear();
    Run();
    Rewind();
    PlainSampler plain;
    plain.minimum = design.minimum;
    plain.InRaster(band, count, design.keepOffNoData, design.weighted);
    ExpectAs(plain);
    return plain;
  }
};

TEST_F(RandomPointsRasterTest, FillsTheExtent) {
  AddRaster("dem.tif", kSlope);
  const PlainSampler plain = RunBoth("dem.tif", kSlope, 400, {.keepOffNoData = false});
  EXPECT_EQ(plain.points.size(), 400u);
  EXPECT_EQ(ReadOgr(Path("out.shp")).ColumnNames(), Texts{"Id"});
}

TEST_F(RandomPointsRasterTest, KeepsOffNoData) {
  AddRaster("dem.tif", kSlope);
  RunBoth("dem.tif", kSlope, 400, {});
  for (const Coord& at : Points()) EXPECT_FALSE(at.x < 1010 && at.y > 520) << at.x << ' ' << at.y;
}

TEST_F(RandomPointsRasterTest, FollowsTheValuesAsWeights) {
  AddRaster("dem.tif", kSlope);
  RunBoth("dem.tif", kSlope, 1000, {.weighted = true});
}

TEST_F(RandomPointsRasterTest, KeepsTheDistanceAfterTheWeights) {
  AddRaster("dem.tif", kSlope);
  RunBoth("dem.tif", kSlope, 20, {.weighted = true, .minimum = 3.5});
}

TEST_F(RandomPointsRasterTest, AllKindsOfCellsReadAlike) {
  const Band whole{{{0, 1, 2}, {3, 4, 5}}, {0, 0, 3, 2}, 1, 0.0};
  for (const PixelType type : {PixelType::kUInt8, PixelType::kInt16, PixelType::kUInt16,
                               PixelType::kUInt32, PixelType::kInt32, PixelType::kFloat}) {
    host_.map.Clear();
    AddRaster("dem.tif", whole, type);
    RunBoth("dem.tif", whole, 200, {.weighted = true});
    DeleteFile(folder_.Path(), "dem.tif");
  }
}

TEST_F(RandomPointsRasterTest, CellsThatAreNoNumberHoldNoPoint) {
  Band band = kSlope;
  band.noData.reset();
  band.cells = {{kNan, 1, 2, 3}, {4, kNan, 5, 6}, {7, 8, -1e308, 9}};
  AddRaster("dem.tif", band);
  RunBoth("dem.tif", band, 300, {});
  RunBoth("dem.tif", band, 300, {.weighted = true});
}

TEST_F(RandomPointsRasterTest, WithoutNoDataEveryCellHoldsPoints) {
  Band band = kSlope;
  band.noData.reset();
  AddRaster("dem.tif", band);
  RunBoth("dem.tif", band, 300, {});
}

TEST_F(RandomPointsRasterTest, OneCellIsEnough) {
  const Band band{{{7}}, {5, 5, 15, 15}, 10, -9.0};
  AddRaster("dem.tif", band);
  RunBoth("dem.tif", band, 50, {.weighted = true});
  const Band empty{{{-9}}, {5, 5, 15, 15}, 10, -9.0};
  AddRaster("empty.tif", empty);
  EXPECT_TRUE(RunBoth("empty.tif", empty, 1, {}).gaveUp);
}

// Rows count from the northern edge as a whole number: 530.5 becomes 530 and 531.5 becomes 532, so
// that values are looked up half a unit too far north or south, and the last or first part of a row
// falls on the next cell or beyond the band.
TEST_F(RandomPointsRasterTest, TheNorthernEdgeIsRoundedHalvesToEven) {
  for (const double shift : {0.5, 1.5, 0.2, 0.8}) {
    Band band = kSlope;
    band.cells = {{1, -9, 3, 4}, {-9, 6, 7, -9}, {9, 10, -9, 12}};
    band.cell = 2;
    band.extent = {1000, 524 + shift, 1008, 530 + shift};
    host_.map.Clear();
    AddRaster("dem.tif", band);
    RunBoth("dem.tif", band, 500, {.weighted = true});
    DeleteFile(folder_.Path(), "dem.tif");
  }
}

TEST_F(RandomPointsRasterTest, TheWidthOfACellServesBothAxes) {
  Band band = kSlope;
  band.cell = 10;
  band.extent = {1000, 500, 1040, 560};  // rows of 20, counted as rows of 10
  AddRaster("dem.tif", band, PixelType::kDouble, 20);
  RunBoth("dem.tif", band, 300, {});
  for (const Coord& at : Points()) EXPECT_GT(at.y, 530);
}

TEST_F(RandomPointsRasterTest, NoWeightNoPoint) {
  const Band band{{{0, 0}, {0, 0}}, {0, 0, 2, 2}, 1, -9.0};
  AddRaster("dem.tif", band);
  const PlainSampler plain = RunBoth("dem.tif", band, 5, {.weighted = true});
  EXPECT_TRUE(plain.points.empty());
  EXPECT_EQ(plain.candidates, 100001);
}

TEST_F(RandomPointsRasterTest, UnguardedNothingButTheDistanceCounts) {
  AddRaster("dem.tif", kSlope);
  AddPolygons("lakes", {"POLYGON((0 0, 0 9999, 9999 9999, 9999 0, 0 0))"});
  host_.messages.answers = {true};
  OpenOn("dem.tif", true).Set("txtNPnts", "300").Check("chkWeighted");
  hand_->Check("chkPreventNoData", false).Check("chkPrevent").Choose("cmbPreventL", "lakes");
  hand_->Check("chkMinDist").Set("txtMinDist", "4");
  Run();
  Rewind();
  PlainSampler plain;
  plain.minimum = 4;
  plain.InRaster(kSlope, 300, false, false);
  ExpectAs(plain);
  EXPECT_EQ(plain.candidates, 300);
  EXPECT_LT(plain.points.size(), 100u);  // fewer than asked for, and no warning
  EXPECT_EQ(Said().size(), 2u);
  EXPECT_EQ(Said()[0].flags, kYesNo);
  EXPECT_EQ(Said()[1], kComplete);
}

TEST_F(RandomPointsRasterTest, UnguardedItGivesUpAtTheLimitToo) {
  AddRaster("dem.tif", kSlope);
  const PlainSampler plain =
      RunBoth("dem.tif", kSlope, 200000, {.keepOffNoData = false, .minimum = 500.0});
  EXPECT_TRUE(plain.gaveUp);
  EXPECT_EQ(plain.candidates, 100001);
}

TEST_F(RandomPointsRasterTest, KeepsOutOfTheExcludedPolygonsWhenGuarded) {
  AddRaster("dem.tif", kSlope);
  const auto lakes = AddPolygons("lakes", {"POLYGON((1005 500, 1005 530, 1033 512, 1005 500))"});
  host_.messages.answers = {true};
  OpenOn("dem.tif", true).Set("txtNPnts", "100").Check("chkWeighted").Check("chkPrevent");
  hand_->Choose("cmbPreventL", "lakes").Check("chkMinDist").Set("txtMinDist", "0.5");
  Run();
  Rewind();
  PlainSampler plain;
  plain.minimum = 0.5;
  plain.excluded = Shapes(*lakes);
  plain.InRaster(kSlope, 100, true, true);
  ExpectAs(plain);
}

TEST_F(RandomPointsRasterTest, NoPointsAreDoneAtOnce) {
  AddRaster("dem.tif", kSlope);
  EXPECT_EQ(RunBoth("dem.tif", kSlope, 0, {.weighted = true}).candidates, 0);
}

// 30,000,000 cells are read one by one, with the values of the small raster that they are made
// from.
TEST_F(RandomPointsRasterTest, ABandTooLargeToHoldReadsAlike) {
  AddRaster("dem.tif", kSlope);
  WriteBytes(Path("large.vrt"), R"(<VRTDataset rasterXSize="8000" rasterYSize="3750">
  <GeoTransform>1000, 0.005, 0, 518.75, 0, -0.005</GeoTransform>
  <VRTRasterBand dataType="Float64" band="1"><NoDataValue>-9</NoDataValue><SimpleSource>
    <SourceFilename relativeToVRT="1">dem.tif</SourceFilename><SourceBand>1</SourceBand>
    <SrcRect xOff="0" yOff="0" xSize="4" ySize="3"/>
    <DstRect xOff="0" yOff="0" xSize="8000" ySize="3750"/>
  </SimpleSource></VRTRasterBand></VRTDataset>)");
  AddRasterFile("large.vrt");
  // 500 to 518.75 north, cells of 0.005, edge rounded to 519: the same as cells of 2000 by 1250.
  OpenOn("large.vrt", true).Set("txtNPnts", "300").Check("chkWeighted");
  Run();
  Rewind();
  const std::vector<Coord> points = Points();
  std::vector<Coord> expected;
  while (expected.size() < 300) {
    const double x = static_cast<double>(UniformDraw()) * 40.0 + 1000;
    const double y = static_cast<double>(UniformDraw()) * 18.75 + 500;
    const double row = std::trunc((519 - y) / 0.005);
    if (row >= 3750) continue;
    const double v = kSlope.cells[static_cast<std::size_t>(row / 1250)]
                                 [static_cast<std::size_t>(std::floor((x - 1000) / 0.005) / 2000)];
    if (v == -9) continue;
    if (v > static_cast<double>(UniformDraw()) * 9) expected.push_back({x, y});
  }
  EXPECT_EQ(points, expected);
  EXPECT_EQ(Said(), std::vector<Message>{kComplete});
}

TEST_F(RandomPointsRasterTest, TheFolderIsTheRasters) {
  AddRaster("dem.tif", kSlope);
  Open().Choose("cmbLayers", "dem.tif").Set("txtOutput", "x").Set("txtNPnts", "1");
  Run();
  EXPECT_EQ(Points("rndpnt").size(), 1u);
}

TEST_F(RandomPointsRasterTest, ANorthernEdgeBeyond32BitsOverflows) {
  const Band band{{{1}}, {0, 3e9, 10, 3e9 + 10}, 10, -9.0};
  AddRaster("dem.tif", band);
  OpenOn("dem.tif", true).Set("txtNPnts", "1");
  Run();
  EXPECT_EQ(host_.Messages(), Texts{"GenRndPnt_OK\r6\rOverflow"});
  EXPECT_TRUE((**hand_).IsEnabled());
}

TEST_F(RandomPointsRasterTest, ANegativeNumberIsNoNumberOfPoints) {
  AddRaster("dem.tif", kSlope);
  OpenOn("dem.tif", true).Set("txtNPnts", "-5");
  Run();
  EXPECT_EQ(host_.Messages(), Texts{"GenRndPnt_OK\r5\rInvalid procedure call or argument"});
}

// A rotated raster is an invalid layer; as the first of the map it empties every list.
TEST_F(RandomPointsRasterTest, ARotatedRasterCannotBeUsed) {
  WriteBytes(Path("turned.pgm"), std::string("P5 2 2 255\n") + "\1\2\3\4");
  WriteBytes(Path("turned.wld"), "7\n7\n7\n-7\n100\n200\n");
  EXPECT_THROW(AddRasterFile("turned.pgm"), RuntimeError);
  AddRaster("dem.tif", kSlope);
  host_.map.Append(std::make_shared<IRasterLayer>("turned.pgm", Path("turned.pgm")));
  Open().Choose("cmbLayers", "turned.pgm");
  EXPECT_EQ(host_.Messages(),
            Texts{"cmbLayers_Click: \r91\rObject variable or With block variable not set"});
}

}  // namespace
}  // namespace orlinths
