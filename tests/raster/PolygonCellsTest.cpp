#include "raster/PolygonCells.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "data/RasterAccess.h"
#include "numerics/Constants.h"
#include "raster/TextRaster.h"
#include "support/CapturedMessages.h"
#include "support/PolygonFillPlain.h"
#include "support/RandomShapes.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kGap = -9999;
using Longs = std::vector<std::int32_t>;
using Doubles = std::vector<double>;

const Rows kCells = {{1, 2, 3, 4}, {5, 6, kGap, 8}, {9, 10, 11, 12}};

/// Cells of 10 by 10 from (100, 200) to (140, 230).
class PolygonCellsTest : public ::testing::Test {
 protected:
  IRasterBand& Band(const TextRaster& raster) {
    WriteTextRaster(folder_ / "r.vrt", raster);
    dataset_ = OpenTextRaster(folder_ / "r.vrt");
    return dataset_->Band(0);
  }
  template <class Number = std::int32_t>
  std::vector<Number> Small(const IRasterBand& band, const Polygon& zone, bool keepNoData = true,
                            bool withMask = true) {
    const IPixelBlock block = band.ReadAll();
    const Mask mask = GetNoDataArr2(block);
    std::vector<Number> values(7);  // what was in it does not matter
    succeeded_ = ISectArrPolyRaster(zone, block, band.Props(), keepNoData,
                                    withMask ? &mask : nullptr, values);
    return values;
  }
  template <class Number = std::int32_t>
  std::vector<Number> Large(const IRasterBand& band, const Polygon& zone, bool keepNoData = true) {
    std::vector<Number> values(7);
    keptNoData_ = keepNoData;
    succeeded_ = ISectArrPolyLargeRaster(zone, band, band.Props(), keptNoData_, values);
    return values;
  }

  CapturedMessages messages_;
  TempFolder folder_;
  RasterDatasetPtr dataset_;
  bool succeeded_ = false, keptNoData_ = false;
};

const Polygon& MiddleColumns() {
  static const Polygon zone = WktPolygon("POLYGON((111 201, 111 229, 129 229, 129 201, 111 201))");
  return zone;
}
const Polygon& TheGap() {
  static const Polygon zone = WktPolygon("POLYGON((121 211, 121 219, 129 219, 129 211, 121 211))");
  return zone;
}
const Polygon& BetweenCentres() {
  static const Polygon zone = WktPolygon("POLYGON((121 221, 121 223, 123 223, 123 221, 121 221))");
  return zone;
}
/// Around the whole raster: every place of the fill is true, the row and the column past the raster
/// too.
const Polygon& Everything() {
  static const Polygon zone = WktPolygon("POLYGON((0 0, 0 900, 900 900, 900 0, 0 0))");
  return zone;
}

TEST_F(PolygonCellsTest, GivesTheCellsRowByRowFromTheNorthWithNoDataAsTheMarker) {
  const IRasterBand& band = Band({kCells});
  EXPECT_THAT(Small(band, MiddleColumns()), ElementsAre(2, 3, 6, kMissing, 10, 11));
  EXPECT_TRUE(succeeded_);
  EXPECT_THAT(Large(band, MiddleColumns()), ElementsAre(2, 3, 6, kMissing, 10, 11));
  EXPECT_TRUE(succeeded_ && keptNoData_);
}

TEST_F(PolygonCellsTest, LeavesNoDataOutWhenItIsNotToBeKept) {
  const IRasterBand& band = Band({kCells});
  EXPECT_THAT(Small(band, MiddleColumns(), false), ElementsAre(2, 3, 6, 10, 11));
  EXPECT_THAT(Large(band, MiddleColumns(), false), ElementsAre(2, 3, 6, 10, 11));
  EXPECT_FALSE(keptNoData_);
}

TEST_F(PolygonCellsTest, AHoleIsLeftOut) {
  const IRasterBand& band = Band({kCells});
  const Polygon zone = WktPolygon(
      "POLYGON((111 201, 111 229, 129 229, 129 201, 111 201), "
      "(114 214, 116 214, 116 216, 114 216, 114 214))");
  EXPECT_THAT(Small(band, zone), ElementsAre(2, 3, kMissing, 10, 11));
  EXPECT_THAT(Large(band, zone), ElementsAre(2, 3, kMissing, 10, 11));
}

TEST_F(PolygonCellsTest, APolygonWithoutCellsGivesOneMarker) {
  const IRasterBand& band = Band({kCells});
  EXPECT_THAT(Small(band, BetweenCentres()), ElementsAre(kMissing));
  EXPECT_THAT(Large(band, BetweenCentres()), ElementsAre(kMissing));
  EXPECT_THAT(Small(band, TheGap(), false), ElementsAre(kMissing));
  EXPECT_THAT(Large(band, TheGap(), false), ElementsAre(kMissing));
  EXPECT_TRUE(succeeded_);
}

TEST_F(PolygonCellsTest, WithoutAMaskNoDataCountsWithItsValue) {
  const IRasterBand& band = Band({kCells});
  EXPECT_THAT(Small(band, MiddleColumns(), true, false), ElementsAre(2, 3, 6, -9999, 10, 11));
}

TEST_F(PolygonCellsTest, WithoutAMaskANaNOfABandWithoutNoDataIsANull) {
  const IRasterBand& band =
      Band({.rows = {{1, 2, 3, 4}, {5, 6, kNaN, 8}}, .noData = {}, .type = "Float32"});
  EXPECT_THAT(
      Small<double>(band, WktPolygon("POLYGON((111 201, 111 219, 129 219, 129 201, 111 201))"),
                    true, false),
      IsEmpty());
  EXPECT_FALSE(succeeded_);
  EXPECT_THAT(messages_.Text(), ElementsAre("ISectArrPolyRaster: i:1\r94\rInvalid use of Null"));
}

TEST_F(PolygonCellsTest, InMemoryAPlacePastTheLastRowIsAReportedSubscript) {
  const IRasterBand& band = Band({kCells});
  // The row south of the raster is true from column 1 on.
  const Polygon zone = WktPolygon("POLYGON((111 180, 111 229, 129 229, 129 180, 111 180))");
  EXPECT_THAT(Small(band, zone), IsEmpty());
  EXPECT_FALSE(succeeded_);
  EXPECT_THAT(messages_.All(),
              ElementsAre(Message{"ISectArrPolyRaster: i:3\r9\rSubscript out of range", kCritical,
                                  "Error"}));
  messages_.Clear();
  EXPECT_THAT(Small(band, zone, true, false), IsEmpty());
  EXPECT_THAT(messages_.Text(), ElementsAre("ISectArrPolyRaster: i:3\r9\rSubscript out of range"));
}

TEST_F(PolygonCellsTest, InMemoryAPlacePastTheLastColumnIsAReportedSubscript) {
  const IRasterBand& band = Band({kCells});
  EXPECT_THAT(Small(band, Everything()), IsEmpty());
  EXPECT_THAT(messages_.Text(), ElementsAre("ISectArrPolyRaster: i:0\r9\rSubscript out of range"));
}

TEST_F(PolygonCellsTest, InMemoryAPlacePastTheEdgeThatIsFalseDoesNoHarm) {
  const IRasterBand& band = Band({kCells});
  const Polygon zone = WktPolygon("POLYGON((121 201, 121 229, 160 229, 160 201, 121 201))");
  const Mask fill = GetPolyRasterArray2(zone, band.Props());
  ASSERT_EQ(fill.First().upper, 3);
  ASSERT_EQ(fill.Second().upper, 4);
  EXPECT_THAT(Small(band, zone), ElementsAre(3, 4, kMissing, 8, 11, 12));
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(PolygonCellsTest, ByPartsPlacesPastTheEdgeAreNoData) {
  const IRasterBand& band = Band({kCells});
  EXPECT_THAT(Large(band, WktPolygon("POLYGON((111 180, 111 229, 129 229, 129 180, 111 180))")),
              ElementsAre(2, 3, 6, kMissing, 10, 11, kMissing, kMissing));
  EXPECT_THAT(Large(band, Everything(), false), ElementsAre(1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12));
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(PolygonCellsTest, ByPartsABandWithoutNoDataDropsTheFlagAndCountsEveryCell) {
  const IRasterBand& band = Band({.rows = kCells, .noData = {}});
  EXPECT_THAT(Large(band, WktPolygon("POLYGON((111 180, 111 229, 129 229, 129 180, 111 180))")),
              ElementsAre(2, 3, 6, -9999, 10, 11));
  EXPECT_FALSE(keptNoData_);
}

TEST_F(PolygonCellsTest, ByPartsNaNIsNoDataWhateverTheNoDataValue) {
  const Rows cells = {{1, 2.5, kNaN, 4}, {5, 6, -1, 8}};
  const Polygon zone = WktPolygon("POLYGON((111 201, 111 219, 129 219, 129 201, 111 201))");
  const IRasterBand& band = Band({.rows = cells, .noData = -1, .type = "Float64"});
  EXPECT_THAT(Large<double>(band, zone), ElementsAre(2.5, kMissing, 6, kMissing));
  EXPECT_THAT(Small<double>(band, zone), ElementsAre(2.5, kMissing, 6, kMissing));
  const IRasterBand& other = Band({.rows = cells, .noData = kNaN, .type = "Float64"});
  EXPECT_THAT(Large<double>(other, zone), ElementsAre(2.5, kMissing, 6, -1));
  EXPECT_THAT(Small<double>(other, zone), ElementsAre(2.5, kMissing, 6, -1));
}

TEST_F(PolygonCellsTest, ANoDataValueThatTheTypeCannotHoldMeetsNoCell) {
  const IRasterBand& band =
      Band({.rows = {{1, 2, 255, 4}, {5, 6, 0, 8}}, .noData = -9999, .type = "Byte"});
  const Polygon zone = WktPolygon("POLYGON((111 195, 111 219, 129 219, 129 195, 111 195))");
  EXPECT_THAT(Large(band, zone), ElementsAre(2, 255, 6, 0));
  EXPECT_TRUE(keptNoData_);
  EXPECT_THAT(Small(band, zone), ElementsAre(2, 255, 6, 0));
  // Past the edge it is told from every cell all the same.
  EXPECT_THAT(Large(band, WktPolygon("POLYGON((111 192, 111 209, 129 209, 129 192, 111 192))")),
              ElementsAre(6, 0, kMissing, kMissing));
}

TEST_F(PolygonCellsTest, ACellBeyond32BitsIsAnOverflow) {
  const IRasterBand& band =
      Band({.rows = {{1, 2147483520, 1}, {1, 2147483648, 1}}, .noData = {}, .type = "UInt32"});
  EXPECT_THAT(Small(band, WktPolygon("POLYGON((111 211, 111 219, 119 219, 119 211, 111 211))")),
              ElementsAre(2147483520));
  const Polygon both = WktPolygon("POLYGON((111 201, 111 219, 119 219, 119 201, 111 201))");
  EXPECT_THAT(Small(band, both), IsEmpty());
  EXPECT_THAT(Large(band, both), IsEmpty());
  EXPECT_THAT(messages_.Text(), ElementsAre("ISectArrPolyRaster: i:1\r6\rOverflow",
                                            "ISectArrPolyLargeRaster: i:1\r6\rOverflow"));
}

TEST_F(PolygonCellsTest, AFillWithoutCellsIsReportedByTheFillAndThenHere) {
  const IRasterBand& band = Band({kCells});
  const Polygon farEast = WktPolygon("POLYGON((900 201, 900 219, 910 219, 900 201))");
  EXPECT_THAT(Small(band, farEast), IsEmpty());
  EXPECT_THAT(Large(band, farEast), IsEmpty());
  EXPECT_FALSE(succeeded_);
  EXPECT_THAT(messages_.Text(),
              ElementsAre("GetPolyRasterArray2: \r9\rSubscript out of range",
                          "ISectArrPolyRaster: i:0\r9\rSubscript out of range",
                          "GetPolyRasterArray2: \r9\rSubscript out of range",
                          "ISectArrPolyLargeRaster: i:0\r9\rSubscript out of range"));
}

TEST_F(PolygonCellsTest, ByPartsEachPolygonCostsOneReadOfItsRectangle) {
  CountingBand band(Band({kCells}));
  Large(band, TheGap());
  EXPECT_EQ(band.reads, 1);
  EXPECT_EQ(band.cells, 4);  // columns 2 and 3, rows 1 and 2
}

TEST_F(PolygonCellsTest, ARasterOfOneCellIsGathered) {
  const IRasterBand& band = Band({.rows = {{7}}});
  // From west of the raster to its last edge: the one centre is inside, and the row past it is not.
  const Polygon zone = WktPolygon("POLYGON((90 200, 90 240, 140 240, 140 200, 90 200))");
  EXPECT_THAT(Large(band, zone, false), ElementsAre(7));
}

// ---- Against the plain way

/// Cell by cell, with values of mixed type, over a fill that asks GEOS about every row.
Doubles GatherPlain(const Polygon& zone, const IRasterBand& band, bool keepNoData) {
  const IPixelBlock block = band.ReadAll();
  const IRasterProps& props = band.Props();
  const Mask fill = PolygonFillPlain(zone, props);
  Doubles values;
  for (auto row = fill.First().lower; row <= fill.First().upper; ++row)
    for (auto column = fill.Second().lower; column <= fill.Second().upper; ++column) {
      if (!fill(row, column)) continue;
      const bool isThere = row < props.height && column < props.width;
      if (isThere && !block.IsNoData(0, column, row))
        values.push_back(ToDouble(block.GetVal(0, column, row)));
      else if (keepNoData)
        values.push_back(kMissing);
    }
  if (values.empty()) values.push_back(kMissing);
  return values;
}

Rows RandomCells(Seeded& random, int columns, int rows, bool whole) {
  Rows cells;
  for (int row = 0; row < rows; ++row) {
    cells.emplace_back();
    for (int column = 0; column < columns; ++column)
      cells.back().push_back(random.Chance(0.1) ? kGap
                             : whole            ? static_cast<double>(random.Whole(-50, 50))
                                                : random.Real(-50, 50));
  }
  return cells;
}

template <class Number>
void ExpectSameAsPlain(const Doubles& plain, const std::vector<Number>& values) {
  EXPECT_EQ(plain, Doubles(values.begin(), values.end()));
}

TEST_F(PolygonCellsTest, BothWaysEqualThePlainOneOnRandomZones) {
  Seeded random("PolygonCells.BothWaysEqualThePlainOneOnRandomZones");
  for (int i = 0; i < 120; ++i) {
    const bool whole = random.Chance(0.5);
    const int columns = static_cast<int>(random.Whole(1, 40));
    const int rows = static_cast<int>(random.Whole(1, 40));
    const double cell = random.Chance(0.5) ? 25 : random.Real(5, 90);
    const IRasterBand& band = Band({.rows = RandomCells(random, columns, rows, whole),
                                    .xMin = random.Real(-300, 300),
                                    .yMin = random.Real(-300, 300),
                                    .cell = {cell, cell},
                                    .type = whole ? "Int16" : "Float64"});
    for (int z = 0; z < 4; ++z) {
      const Polygon zone = RandomPolygon(random, {.parts = static_cast<int>(random.Whole(1, 2)),
                                                  .holes = static_cast<int>(random.Whole(0, 2)),
                                                  .vertices = static_cast<int>(random.Whole(5, 30)),
                                                  .size = 400});
      SCOPED_TRACE(AsWkt(zone));
      const Envelope box = zone.Envelope(), extent = band.Props().extent;
      if (!box.Intersects(extent)) continue;
      const bool keep = random.Chance(0.5);
      if (whole)
        ExpectSameAsPlain(GatherPlain(zone, band, keep), Large(band, zone, keep));
      else
        ExpectSameAsPlain(GatherPlain(zone, band, keep), Large<double>(band, zone, keep));
      if (box.xMax > extent.xMax || box.yMin < extent.yMin) continue;  // may lie past the edge
      if (whole)
        ExpectSameAsPlain(GatherPlain(zone, band, keep), Small(band, zone, keep));
      else
        ExpectSameAsPlain(GatherPlain(zone, band, keep), Small<double>(band, zone, keep));
    }
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(PolygonCellsTest, ARingOf200000VerticesIsGatheredLikeTheCircleItIs) {
  const int side = 60;
  const IRasterBand& band = Band(
      {.rows = Rows(side, std::vector<double>(side, 1)), .xMin = 0, .yMin = 0, .cell = {1, 1}});
  Polygon circle;
  std::vector<Coord> ring;
  for (int i = 0; i <= 200'000; ++i) {
    const double turn = -2 * 3.14159265358979323846 * (i % 200'000) / 200'000;
    ring.push_back({30.3 + 20.2 * std::cos(turn), 30.4 + 20.2 * std::sin(turn)});
  }
  circle.AddPart(ring);
  std::size_t inside = 0;
  for (int row = 0; row < side; ++row)
    for (int column = 0; column < side; ++column)
      inside += std::hypot(column + 0.5 - 30.3, side - row - 0.5 - 30.4) < 20.2;
  EXPECT_EQ(Small(band, circle).size(), inside);
  EXPECT_EQ(Large(band, circle).size(), inside);
}

}  // namespace
}  // namespace orlinths
