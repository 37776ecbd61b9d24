#include "gdal/StoredRows.h"

#include <algorithm>

#include "data/ColumnValue.h"
#include "gdal/ShpFormat.h"

namespace orlinths {

StoredRows::StoredRows(const DatasetFiles& files, const DbfLayout& layout,
                       const std::optional<GeometryDef>& geometry, const std::string& encoding)
    : dbf_(files.dbf), rows_(dbf_), layout_(layout), text_(encoding) {
  for (const DbfColumn& column : layout.columns) columns_.emplace_back(column);
  if (geometry) shapes_.emplace(files, *geometry);
}

bool StoredRows::CanRead(const DbfLayout& layout) {
  return std::ranges::all_of(layout.columns, [](const DbfColumn& column) {
    constexpr std::string_view kKinds = "NFCL";
    return kKinds.find(column.type) != std::string_view::npos ||
           (column.type == 'D' && column.width == 8);
  });
}

std::string_view StoredRows::Bytes(Oid row, int column) {
  const auto count = static_cast<std::size_t>(layout_.recordBytes);
  const DbfColumn& place = columns_[static_cast<std::size_t>(column)].column;
  return rows_.At(layout_.RowPosition(row), count)
      .substr(static_cast<std::size_t>(place.offset), static_cast<std::size_t>(place.width));
}

Value StoredRows::Get(Oid row, int column, FieldType type) {
  const ColumnKind& kind = columns_[static_cast<std::size_t>(column)];
  if (kind.IsNumber()) return NumberValue(DecodeNumber(Bytes(row, column), kind.column), type);
  return ValueOfBytes(kind, Bytes(row, column), text_);
}

double StoredRows::GetDouble(Oid row, int column, FieldType type) {
  const ColumnKind& kind = columns_[static_cast<std::size_t>(column)];
  if (!kind.IsNumber() || type == FieldType::kSingle) return ToDouble(Get(row, column, type));
  return DecodeNumber(Bytes(row, column), kind.column);
}

void StoredRows::GetText(Oid row, int column, std::string& text) {
  text_.Decode(DbfContent(Bytes(row, column)), text);
}

Geometry StoredRows::GetShape(Oid row) {
  return DecodeShape(shapes_->records.At(row), shapes_->geometry.hasM);
}

}  // namespace orlinths
