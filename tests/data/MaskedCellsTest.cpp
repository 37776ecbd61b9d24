#include "data/MaskedCells.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "support/CapturedMessages.h"
#include "support/Cells.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Value Whole(std::int32_t v) { return Value(v); }

IRasterProps Typed(PixelType type) {
  IRasterProps props = PropsWith(3, 2);
  props.pixelType = type;
  return props;
}

class MaskedCells : public ::testing::Test {
 protected:
  std::vector<Value> Gather(const Mask& mask, const IPixelBlock& block, PixelType type,
                            const Mask* except = nullptr) {
    return ISectArrRaster(mask, block, Typed(type), except);
  }
  Texts Said() { return messages_.Text(); }
  const IPixelBlock block_ = BlockOf({{1, 2, 3}, {4, 5, 6}}, PixelType::kInt32);
  CapturedMessages messages_;
};

TEST_F(MaskedCells, RowsComeFirstThenColumns) {
  EXPECT_THAT(Gather(MaskFrom({"011", "101"}), block_, PixelType::kInt32),
              ElementsAre(Whole(2), Whole(3), Whole(4), Whole(6)));
}

TEST_F(MaskedCells, ASecondMaskTakesCellsAway) {
  const Mask except = MaskFrom({"010", "101"});
  EXPECT_THAT(Gather(MaskFrom({"111", "110"}), block_, PixelType::kInt32, &except),
              ElementsAre(Whole(1), Whole(3), Whole(5)));
}

TEST_F(MaskedCells, BoundsOfTheMaskNameTheCells) {
  EXPECT_THAT(Gather(MaskFrom({"11"}, 1, 1), block_, PixelType::kInt32),
              ElementsAre(Whole(5), Whole(6)));
}

TEST_F(MaskedCells, NothingTakenIsOneEmptyValue) {
  const Mask all = MaskFrom({"111", "111"});
  EXPECT_THAT(Gather(MaskFrom({"000", "000"}), block_, PixelType::kInt32), ElementsAre(Value()));
  EXPECT_THAT(Gather(all, block_, PixelType::kInt32, &all), ElementsAre(Value()));
  EXPECT_THAT(Gather(Mask(), block_, PixelType::kInt32), ElementsAre(Value()));
  EXPECT_THAT(Said(), IsEmpty());
}

TEST_F(MaskedCells, TheRastersTypeDecidesOnTheValues) {
  const IPixelBlock parts = BlockOf({{0.5, 1.5, 2.5}}, PixelType::kDouble);
  const Mask all = MaskFrom({"111"});
  EXPECT_THAT(Gather(all, parts, PixelType::kDouble),
              ElementsAre(Value(0.5), Value(1.5), Value(2.5)));
  EXPECT_THAT(Gather(all, parts, PixelType::kInt32),  // halves to even
              ElementsAre(Whole(0), Whole(2), Whole(2)));
  EXPECT_THAT(Gather(all, BlockOf({{200, 0, 1}}, PixelType::kUInt8), PixelType::kFloat),
              ElementsAre(Value(200.0), Value(0.0), Value(1.0)));
}

TEST_F(MaskedCells, ANoDataCellGivesTheNoDataValue) {
  EXPECT_THAT(
      Gather(MaskFrom({"11"}), BlockOf({{7, -9}}, PixelType::kInt16, -9), PixelType::kInt16),
      ElementsAre(Whole(7), Whole(-9)));
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(
      Gather(MaskFrom({"11"}), BlockOf({{7, nan}}, PixelType::kDouble, -9), PixelType::kDouble),
      ElementsAre(Value(7.0), Value(-9.0)));
}

TEST_F(MaskedCells, FailuresNameTheRowAndGiveNothing) {
  // Beyond the block: in its last row but one, and only where a cell is taken there.
  EXPECT_THAT(Gather(MaskFrom({"1111", "0000"}), block_, PixelType::kInt32), IsEmpty());
  EXPECT_THAT(Gather(MaskFrom({"000", "000", "001"}), block_, PixelType::kInt32), IsEmpty());
  EXPECT_THAT(Gather(MaskFrom({"1"}, -1, 0), block_, PixelType::kInt32), IsEmpty());
  EXPECT_THAT(Gather(MaskFrom({"000", "000", "000"}), block_, PixelType::kInt32),
              ElementsAre(Value()));
  const Mask smaller = MaskFrom({"000"});
  EXPECT_THAT(Gather(MaskFrom({"111", "111"}), block_, PixelType::kInt32, &smaller), IsEmpty());
  EXPECT_THAT(Gather(MaskFrom({"01", "10"}),
                     BlockOf({{1, 2}, {4294967295.0, 3}}, PixelType::kUInt32), PixelType::kUInt32),
              IsEmpty());
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(Gather(MaskFrom({"1"}), BlockOf({{nan}}, PixelType::kDouble), PixelType::kDouble),
              IsEmpty());
  EXPECT_THAT(Said(), ElementsAre("ISectArrRaster:  i:0\r9\rSubscript out of range",
                                  "ISectArrRaster:  i:2\r9\rSubscript out of range",
                                  "ISectArrRaster:  i:-1\r9\rSubscript out of range",
                                  "ISectArrRaster:  i:1\r9\rSubscript out of range",
                                  "ISectArrRaster:  i:1\r6\rOverflow",
                                  "ISectArrRaster:  i:0\r94\rInvalid use of Null"));
}

TEST_F(MaskedCells, EqualsOneGetValACell) {
  Seeded random("MaskedCells.EqualsOneGetValACell");
  for (int run = 0; run < 200; ++run) {
    const auto columns = static_cast<std::size_t>(random.Whole(1, 9));
    const auto rows = static_cast<std::size_t>(random.Whole(1, 9));
    Rows cells(rows, std::vector<double>(columns));
    std::vector<std::string> one(rows, std::string(columns, '0')), two = one;
    for (std::size_t row = 0; row < rows; ++row)
      for (std::size_t column = 0; column < columns; ++column) {
        cells[row][column] = static_cast<double>(random.Whole(0, 9));
        if (random.Chance(0.5)) one[row][column] = '1';
        if (random.Chance(0.3)) two[row][column] = '1';
      }
    const IPixelBlock block = BlockOf(cells, PixelType::kUInt8, 3);
    const Mask mask = MaskFrom(one), except = MaskFrom(two);
    std::vector<Value> expected;
    for (std::size_t row = 0; row < rows; ++row)
      for (std::size_t column = 0; column < columns; ++column)
        if (one[row][column] == '1' && two[row][column] == '0')
          expected.push_back(Whole(ToLong(
              block.GetVal(0, static_cast<std::int64_t>(column), static_cast<std::int64_t>(row)))));
    if (expected.empty()) expected.emplace_back();
    ASSERT_EQ(Gather(mask, block, PixelType::kUInt8, &except), expected);
  }
}

}  // namespace
}  // namespace orlinths
