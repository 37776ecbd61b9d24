// Where the attribute table of an integer band comes from.
#include <string>
#include <vector>

#include <gdal.h>

#include "data/BandCells.h"
#include "data/Workspace.h"
#include "gdal/Library.h"
#include "gdal/RasterBand.h"
#include "runtime/Files.h"

namespace orlinths {
namespace {

Field Named(const char* name, FieldType type) {
  Field field;
  field.name = name;
  field.type = type;
  return field;
}

Value CellOf(GDALRasterAttributeTableH table, int row, int column) {
  switch (GDALRATGetTypeOfCol(table, column)) {
    case GFT_Integer:
      return Value(std::int32_t{GDALRATGetValueAsInt(table, row, column)});
    case GFT_Real:
      return Value(GDALRATGetValueAsDouble(table, row, column));
    default:
      return Value(GDALRATGetValueAsString(table, row, column));
  }
}

FieldType FieldTypeOf(GDALRATFieldType type) {
  return type == GFT_Integer ? FieldType::kInteger
         : type == GFT_Real  ? FieldType::kDouble
                             : FieldType::kText;
}

/// The table that the format itself keeps. One that names no values (a histogram, a list of
/// colours) is none.
std::unique_ptr<RasterAttributeTable> OwnTable(GDALRasterBandH band) {
  QuietGdal quiet;
  const GDALRasterAttributeTableH table = GDALGetDefaultRAT(band);
  if (table == nullptr || GDALRATGetRowCount(table) == 0) return nullptr;
  const int columns = GDALRATGetColumnCount(table);
  Fields fields;
  for (int i = 0; i < columns; ++i)
    fields.AddField(
        Named(GDALRATGetNameOfCol(table, i), FieldTypeOf(GDALRATGetTypeOfCol(table, i))));
  // Programs name the columns as they like, but tell what they are for.
  const auto nameByUsage = [&](const char* name, GDALRATFieldUsage usage) {
    if (fields.FindField(name) >= 0) return;
    const int i = GDALRATGetColOfUsage(table, usage);
    if (i < 0) return;
    Fields renamed;
    for (int k = 0; k < columns; ++k) {
      Field field = fields[k];
      if (k == i) field.name = name;
      renamed.AddField(std::move(field));
    }
    fields = std::move(renamed);
  };
  nameByUsage("Value", GFU_MinMax);
  nameByUsage("Count", GFU_PixelCount);
  if (fields.FindField("Value") < 0) return nullptr;
  std::vector<std::vector<Value>> rows;
  for (int row = 0; row < GDALRATGetRowCount(table); ++row) {
    std::vector<Value> values;
    for (int i = 0; i < columns; ++i) values.push_back(CellOf(table, row, i));
    rows.push_back(std::move(values));
  }
  return std::make_unique<RasterAttributeTable>(std::move(fields), std::move(rows));
}

/// `x.tif.vat.dbf` or `x.vat.dbf` beside x.tif, without its object identifiers.
std::unique_ptr<RasterAttributeTable> TableBeside(const std::string& path) {
  const std::string stem = JoinPath(FolderOf(path), StemOf(path));
  for (const std::string& name : {path + ".vat.dbf", stem + ".vat.dbf"}) {
    if (!files::FileExists(name)) continue;
    const TablePtr table = OpenTableByPath(name);
    Fields fields;
    std::vector<int> columns;
    for (int i = 0; i < table->Fields().FieldCount(); ++i) {
      if (table->Fields()[i].type == FieldType::kOid) continue;
      fields.AddField(table->Fields()[i]);
      columns.push_back(i);
    }
    std::vector<std::vector<Value>> rows;
    const CursorPtr cursor = table->Search();
    while (const IRow* row = cursor->Next()) {
      std::vector<Value> values;
      for (const int i : columns) values.push_back(row->GetValue(i));
      rows.push_back(std::move(values));
    }
    return std::make_unique<RasterAttributeTable>(std::move(fields), std::move(rows));
  }
  return nullptr;
}

}  // namespace

std::unique_ptr<RasterAttributeTable> FindAttributeTable(GDALRasterBandH handle, int band,
                                                         const std::string& path,
                                                         const IRasterBand& cells) {
  if (!cells.Props().IsInteger()) return nullptr;
  if (auto table = OwnTable(handle)) return table;
  if (band == 0)
    if (auto table = TableBeside(path)) return table;
  return CountedTable(cells);
}

}  // namespace orlinths
