#include "data/PixelBlock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/Cells.h"

namespace orlinths {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(PixelBlock, IsIndexedByColumnThenRow) {
  const IPixelBlock block = BlockOf({{1, 2, 3}, {4, 5, 6}});
  EXPECT_EQ(block.Columns(), 3);
  EXPECT_EQ(block.Rows(), 2);
  EXPECT_EQ(block.GetVal(0, 2, 0), Value(std::int32_t{3}));
  EXPECT_EQ(block.GetVal(0, 0, 1), Value(std::int32_t{4}));
}

TEST(PixelBlock, BeginsWithZeros) {
  EXPECT_EQ(RowsOf(IPixelBlock(2, 2, PixelType::kFloat)), (Rows{{0, 0}, {0, 0}}));
}

TEST(PixelBlock, RaisesNineOutside) {
  IPixelBlock block(3, 2, PixelType::kUInt8);
  for (const auto& [column, row] : {std::pair{-1, 0}, {3, 0}, {0, -1}, {0, 2}}) {
    EXPECT_EQ(ErrorFrom([&] { block.GetVal(0, column, row); }), 9);
    EXPECT_EQ(ErrorFrom([&] { block.GetDouble(0, column, row); }), 9);
    EXPECT_EQ(ErrorFrom([&] { block.IsNoData(0, column, row); }), 9);
    EXPECT_EQ(ErrorFrom([&] { block.SetVal(0, column, row, 1); }), 9);
  }
  EXPECT_EQ(ErrorFrom([&] { block.GetVal(1, 0, 0); }), 9);
  EXPECT_EQ(ErrorFrom([&] { Visit(block, 1, [](auto) {}); }), 9);
}

TEST(PixelBlock, NeedsAColumnARowAndABand) {
  EXPECT_EQ(ErrorFrom([] { IPixelBlock(0, 1, PixelType::kUInt8); }), 5);
  EXPECT_EQ(ErrorFrom([] { IPixelBlock(1, 0, PixelType::kUInt8); }), 5);
  EXPECT_EQ(ErrorFrom([] { IPixelBlock(1, 1, PixelType::kUInt8, std::nullopt, 0); }), 5);
}

TEST(PixelBlock, RaisesSevenWhenNoMemoryHoldsIt) {
  EXPECT_EQ(ErrorFrom([] { IPixelBlock(std::int64_t{1} << 40, 1, PixelType::kUInt8); }), 7);
  EXPECT_EQ(ErrorFrom([] { IPixelBlock(2147483647, 2147483647, PixelType::kUInt8); }), 7);
}

TEST(PixelBlock, GivesCellsInTheTypesOfTheirPlane) {
  const auto cell = [](PixelType type, double v) { return BlockOf({{v}}, type).GetVal(0, 0, 0); };
  EXPECT_EQ(cell(PixelType::k1Bit, 1), Value(std::int16_t{1}));
  EXPECT_EQ(cell(PixelType::kUInt8, 255), Value(std::int16_t{255}));
  EXPECT_EQ(cell(PixelType::kInt8, -128), Value(std::int16_t{-128}));
  EXPECT_EQ(cell(PixelType::kInt16, -32768), Value(std::int16_t{-32768}));
  EXPECT_EQ(cell(PixelType::kUInt16, 65535), Value(std::int32_t{65535}));
  EXPECT_EQ(cell(PixelType::kInt32, -2147483648.0), Value(std::int32_t{-2147483647 - 1}));
  EXPECT_EQ(cell(PixelType::kUInt32, 4294967295.0), Value(4294967295.0));
  EXPECT_EQ(cell(PixelType::kFloat, 0.1), Value(0.1F));
  EXPECT_EQ(cell(PixelType::kDouble, 0.1), Value(0.1));
  EXPECT_EQ(cell(PixelType::kDoubleComplex, 0.1), Value(0.1));
}

TEST(PixelBlock, RoundsHalvesToEvenAndRefusesWhatDoesNotFit) {
  IPixelBlock block(1, 1, PixelType::kUInt8);
  for (const auto& [value, cell] : {std::pair{2.5, 2.0}, {3.5, 4.0}, {254.5, 254.0}, {-0.5, 0.0}}) {
    block.SetVal(0, 0, 0, value);
    EXPECT_EQ(block.GetDouble(0, 0, 0), cell) << value;
  }
  for (const double value : {256.0, 255.5, -1.0, -0.51, kNaN, 1e300})
    EXPECT_EQ(ErrorFrom([&] { block.SetVal(0, 0, 0, value); }), 6) << value;
  IPixelBlock single(1, 1, PixelType::kFloat);
  EXPECT_EQ(ErrorFrom([&] { single.SetVal(0, 0, 0, 1e39); }), 6);
  EXPECT_EQ(ErrorFrom([&] { single.SetVal(0, 0, 0, kNaN); }), 0);
  EXPECT_TRUE(single.IsNoData(0, 0, 0));
}

TEST(PixelBlock, TellsNoDataByTheBandsValue) {
  const IPixelBlock block = BlockOf({{1, -9999, 3}}, PixelType::kInt32, -9999);
  EXPECT_FALSE(block.IsNoData(0, 0, 0));
  EXPECT_TRUE(block.IsNoData(0, 1, 0));
  EXPECT_EQ(block.GetVal(0, 1, 0), Value(std::int32_t{-9999}));
  EXPECT_EQ(block.NoDataValue(), -9999);
}

TEST(PixelBlock, CountsNaNAsNoDataWhateverTheValue) {
  const IPixelBlock with = BlockOf({{kNaN, -9999, 0}}, PixelType::kFloat, -9999);
  EXPECT_TRUE(with.IsNoData(0, 0, 0));
  EXPECT_TRUE(with.IsNoData(0, 1, 0));
  EXPECT_FALSE(with.IsNoData(0, 2, 0));
  EXPECT_EQ(with.GetDouble(0, 0, 0), -9999);
  EXPECT_EQ(ToDouble(with.GetVal(0, 0, 0)), -9999);
  const IPixelBlock without = BlockOf({{kNaN, 0}}, PixelType::kDouble);
  EXPECT_TRUE(without.IsNoData(0, 0, 0));
  EXPECT_TRUE(without.GetVal(0, 0, 0).IsNull());
  EXPECT_TRUE(std::isnan(without.GetDouble(0, 0, 0)));
  const IPixelBlock itself = BlockOf({{kNaN, 0}}, PixelType::kDouble, kNaN);
  EXPECT_TRUE(itself.IsNoData(0, 0, 0));
  EXPECT_FALSE(itself.IsNoData(0, 1, 0));
}

TEST(PixelBlock, HasNoNoDataCellForAValueItsTypeCannotHold) {
  for (const double noData : {-9999.0, 256.0, 254.5, 1e300, kNaN}) {
    const IPixelBlock block = BlockOf({{0, 241, 254, 255}}, PixelType::kUInt8, noData);
    for (int column = 0; column < 4; ++column) EXPECT_FALSE(block.IsNoData(0, column, 0)) << noData;
  }
}

TEST(PixelBlock, WidensOnlyWhereNoDataHasNoRoom) {
  struct Case {
    PixelType type;
    std::optional<double> noData;
    PixelType wider;
  };
  for (const Case& c : {Case{PixelType::kUInt8, 255.0, PixelType::kUInt8},
                        Case{PixelType::kUInt8, -9999.0, PixelType::kInt32},
                        Case{PixelType::kUInt8, std::nullopt, PixelType::kInt32},
                        Case{PixelType::kUInt8, 254.5, PixelType::kDouble},
                        Case{PixelType::kInt16, 32768.0, PixelType::kInt32},
                        Case{PixelType::kInt32, std::nullopt, PixelType::kDouble},
                        Case{PixelType::kUInt32, -1.0, PixelType::kDouble},
                        Case{PixelType::kFloat, std::nullopt, PixelType::kFloat},
                        Case{PixelType::kFloat, 1e300, PixelType::kDouble},
                        Case{PixelType::kDouble, std::nullopt, PixelType::kDouble}}) {
    IPixelBlock block = BlockOf({{1, 2}}, c.type, c.noData);
    block.MakeRoomForNoData(0);
    EXPECT_EQ(block.Type(), c.wider) << static_cast<int>(c.type);
    EXPECT_EQ(RowsOf(block), (Rows{{1, 2}}));
    EXPECT_FALSE(block.IsNoData(0, 0, 0));
    Edit(block, 0, [](auto plane) { plane.cells[0] = plane.noData; });
    EXPECT_TRUE(block.IsNoData(0, 0, 0));
    EXPECT_FALSE(block.IsNoData(0, 1, 0));
    if (c.noData) {
      EXPECT_EQ(ToDouble(block.GetVal(0, 0, 0)), *c.noData);
    } else {
      EXPECT_TRUE(block.GetVal(0, 0, 0).IsNull());
    }
  }
}

TEST(PixelBlock, ChangesItsTypeOnRequest) {
  IPixelBlock block = BlockOf({{1, 2}}, PixelType::kUInt8, 300);
  block.SetPixelType(0, PixelType::kInt16);
  EXPECT_EQ(block.Type(), PixelType::kInt16);
  EXPECT_EQ(RowsOf(block), (Rows{{0, 0}}));
  block.SetVal(0, 1, 0, 300);
  EXPECT_TRUE(block.IsNoData(0, 1, 0));
}

TEST(PixelBlock, HasAPlaneForEachBand) {
  IPixelBlock block(1, 1, PixelType::kInt16, std::nullopt, 3);
  block.SetVal(2, 0, 0, 7);
  EXPECT_EQ(block.BandCount(), 3);
  EXPECT_EQ(block.GetDouble(0, 0, 0), 0);
  EXPECT_EQ(block.GetDouble(2, 0, 0), 7);
}

TEST(PixelBlock, HandsTypedRowsToALoop) {
  const IPixelBlock block = BlockOf({{1, 2}, {9, 4}}, PixelType::kInt16, 9);
  const double sum = Visit(block, 0, []<class T>(Plane<T> plane) {
    double total = 0;
    for (int row = 0; row < plane.rows; ++row)
      for (const T v : plane.Row(row))
        if (!plane.isNoData(v)) total += static_cast<double>(v);
    return total;
  });
  EXPECT_EQ(sum, 7);
}

}  // namespace
}  // namespace orlinths
