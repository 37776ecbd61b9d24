#include <gdal_rat.h>
#include <gtest/gtest.h>

#include "RasterFixture.h"
#include "data/Raster.h"
#include "data/Workspace.h"

namespace orlinths {
namespace {

class RasterAttributesTest : public ::testing::Test {
 protected:
  const RasterAttributeTable* Table(const GdalRaster& raster, const std::string& name = "r.tif") {
    WriteGdal(folder_ / name, raster);
    raster_ = OpenRasterDataset(folder_.Path(), name);
    return raster_->Band(0).AttributeTable();
  }
  /// Rows of values and counts.
  static Rows Counts(const RasterAttributeTable& table) {
    Rows rows;
    for (std::int64_t row = 0; row < table.RowCount(); ++row)
      rows.push_back({ToDouble(table.GetValue(row, table.FindField("Value"))),
                      ToDouble(table.GetValue(row, table.FindField("Count")))});
    return rows;
  }
  /// A dBASE table of values and counts.
  void WriteVat(const std::string& name, const Rows& rows) {
    Field value, count;
    value.name = "VALUE", value.type = FieldType::kInteger;
    count.name = "COUNT", count.type = FieldType::kInteger;
    const TablePtr table = CreateTable(folder_.Path(), name, {value, count});
    const CursorPtr cursor = table->Insert();
    const auto row = table->CreateRowBuffer();
    for (const auto& numbers : rows) {
      row->SetDouble(table->FindField("VALUE"), numbers[0]);
      row->SetDouble(table->FindField("COUNT"), numbers[1]);
      cursor->InsertRow(*row);
    }
    cursor->Flush();
  }
  TempFolder folder_;
  RasterDatasetPtr raster_;
};

const std::vector<Rows> kCells = {{{5, 2, 5}, {9, 2, 5}}};

TEST_F(RasterAttributesTest, CountsTheValuesOfABandWithoutATable) {
  const RasterAttributeTable* table = Table({.bands = kCells, .noData = 9});
  ASSERT_NE(table, nullptr);
  EXPECT_TRUE(raster_->Band(0).HasTable());
  EXPECT_EQ(table->Fields()[0].name, "Value");
  EXPECT_EQ(table->Fields()[1].name, "Count");
  EXPECT_EQ(Counts(*table), (Rows{{2, 2}, {5, 3}}));
  EXPECT_EQ(raster_->Band(0).AttributeTable(), table);  // made once
}

TEST_F(RasterAttributesTest, CountsEveryIntegerType) {
  for (const GDALDataType type : {GDT_Int16, GDT_UInt16, GDT_Int32, GDT_UInt32})
    EXPECT_EQ(Counts(*Table({.type = type, .bands = kCells})), (Rows{{2, 2}, {5, 3}, {9, 1}}));
  EXPECT_EQ(Counts(*Table({.type = GDT_UInt32, .bands = {{{4294967295.0, 1}}}})),
            (Rows{{1, 1}, {4294967295.0, 1}}));
  EXPECT_EQ(raster_->Band(0).AttributeTable()->Fields()[0].type, FieldType::kDouble);
  EXPECT_EQ(Counts(*Table({.type = GDT_Int32, .bands = {{{-5, 5, -5}}}})), (Rows{{-5, 2}, {5, 1}}));
}

TEST_F(RasterAttributesTest, HasNoTableForAFloatingBand) {
  for (const GDALDataType type : {GDT_Float32, GDT_Float64}) {
    EXPECT_EQ(Table({.type = type, .bands = kCells}), nullptr);
    EXPECT_FALSE(raster_->Band(0).HasTable());
  }
  WriteVat("f.tif.vat.dbf", {{1, 1}});
  EXPECT_EQ(Table({.type = GDT_Float32, .bands = kCells}, "f.tif"), nullptr);
}

TEST_F(RasterAttributesTest, HasNoTableForMoreValuesThanItMayHave) {
  Rows rows(257, std::vector<double>(256));
  for (std::size_t i = 0; i < 257 * 256; ++i)
    rows[i / 256][i % 256] = static_cast<double>(std::min<std::size_t>(i, 65535));
  EXPECT_EQ(Table({.type = GDT_Int32, .bands = {rows}})->RowCount(), 65536);
  rows.back().back() = 65536;
  EXPECT_EQ(Table({.type = GDT_Int32, .bands = {rows}}), nullptr);
  EXPECT_FALSE(raster_->Band(0).HasTable());
}

TEST_F(RasterAttributesTest, HasAnEmptyTableWithoutValues) {
  EXPECT_EQ(Table({.bands = {{{9, 9}}}, .noData = 9})->RowCount(), 0);
}

TEST_F(RasterAttributesTest, TakesTheTableBesideTheFile) {
  WriteVat("r.tif.vat.dbf", {{7, 70}, {1, 10}});
  EXPECT_EQ(Counts(*Table({.bands = kCells})), (Rows{{7, 70}, {1, 10}}));
  EXPECT_EQ(raster_->Band(0).AttributeTable()->Fields().FieldCount(),
            2);  // without object identifiers
  WriteVat("s.vat.dbf", {{8, 80}});
  EXPECT_EQ(Counts(*Table({.bands = kCells}, "s.tif")), (Rows{{8, 80}}));
}

TEST_F(RasterAttributesTest, TakesItForTheFirstBandAlone) {
  WriteVat("r.tif.vat.dbf", {{7, 70}});
  Table({.bands = {kCells[0], kCells[0]}});
  EXPECT_EQ(Counts(*raster_->Band(1).AttributeTable()), (Rows{{2, 2}, {5, 3}, {9, 1}}));
}

TEST_F(RasterAttributesTest, TakesTheTableThatTheFormatKeeps) {
  const auto keep = [](GDALDataset& dataset) {
    GDALDefaultRasterAttributeTable table;
    table.CreateColumn("CLASS", GFT_String, GFU_Name);
    table.CreateColumn("code", GFT_Integer, GFU_MinMax);
    table.CreateColumn("cells", GFT_Real, GFU_PixelCount);
    table.SetRowCount(2);
    for (int row = 0; row < 2; ++row) {
      table.SetValue(row, 0, row == 0 ? "forest" : "lake");
      table.SetValue(row, 1, 30 + row);
      table.SetValue(row, 2, 300.0 + row);
    }
    dataset.GetRasterBand(1)->SetDefaultRAT(&table);
  };
  const RasterAttributeTable* table = Table({.bands = kCells, .finish = keep});
  EXPECT_EQ(Counts(*table), (Rows{{30, 300}, {31, 301}}));
  EXPECT_EQ(ToText(table->GetValue(1, table->FindField("class"))), "lake");
}

TEST_F(RasterAttributesTest, CountsWhereTheKeptTableNamesNoValues) {
  // IMAGINE keeps histograms as tables.
  const auto histogram = [](GDALDataset& dataset) {
    std::vector<GUIntBig> counts(256, 1);
    dataset.GetRasterBand(1)->SetDefaultHistogram(-0.5, 255.5, 256, counts.data());
  };
  EXPECT_EQ(Counts(*Table({.driver = "HFA", .bands = kCells, .finish = histogram}, "r.img")),
            (Rows{{2, 2}, {5, 3}, {9, 1}}));
}

TEST_F(RasterAttributesTest, RaisesNineOutsideTheTable) {
  const RasterAttributeTable* table = Table({.bands = kCells});
  EXPECT_EQ(ErrorFrom([&] { table->GetValue(3, 0); }), 9);
  EXPECT_EQ(ErrorFrom([&] { table->GetValue(-1, 0); }), 9);
  EXPECT_EQ(ErrorFrom([&] { table->GetValue(0, 2); }), 9);
  EXPECT_EQ(ErrorFrom([&] { table->GetValue(0, -1); }), 9);
}

}  // namespace
}  // namespace orlinths
