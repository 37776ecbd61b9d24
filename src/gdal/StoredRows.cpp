#include "gdal/StoredRows.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include <cpl_conv.h>

#include "data/ColumnValue.h"
#include "gdal/ShpFormat.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

/// Columns of whole numbers that fit into 64 bits.
bool IsWhole(const DbfColumn& column) { return column.decimals == 0 && column.width < 19; }

/// A number that is not plainly written, as far as it can be read: what OGR would make of it.
double OddNumber(std::string_view text, bool isWhole) {
  const std::string ended(text);
  if (isWhole) return static_cast<double>(std::strtoll(ended.c_str(), nullptr, 10));
  return CPLAtof(ended.c_str());
}

/// Blank and starred ones are 0.
double NumberOf(std::string_view bytes, bool isWhole) {
  const std::string_view text = DbfContent(bytes);
  if (text.empty() || text.front() == '*') return 0;
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  if (isWhole) {
    std::int64_t number = 0;
    const auto read = std::from_chars(begin, end, number);
    if (read.ec == std::errc() && read.ptr == end) return static_cast<double>(number);
  } else {
    double number = 0;
    const auto read = std::from_chars(begin, end, number);
    if (read.ec == std::errc() && read.ptr == end && std::isfinite(number)) return number;
  }
  return OddNumber(text, isWhole);
}

}  // namespace

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
  const std::string_view bytes = Bytes(row, column);
  if (kind.IsNumber()) return NumberValue(NumberOf(bytes, IsWhole(kind.column)), type);
  return ValueOfBytes(kind, bytes, text_);
}

double StoredRows::GetDouble(Oid row, int column, FieldType type) {
  const ColumnKind& kind = columns_[static_cast<std::size_t>(column)];
  if (!kind.IsNumber() || type == FieldType::kSingle) return ToDouble(Get(row, column, type));
  return NumberOf(Bytes(row, column), IsWhole(kind.column));
}

void StoredRows::GetText(Oid row, int column, std::string& text) {
  text_.Decode(DbfContent(Bytes(row, column)), text);
}

Geometry StoredRows::GetShape(Oid row) {
  return DecodeShape(shapes_->records.At(row), shapes_->geometry.hasM);
}

}  // namespace orlinths
