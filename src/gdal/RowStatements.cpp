#include "gdal/RowStatements.h"

#include <algorithm>

#include <sqlite3.h>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

[[noreturn]] void RaiseDatabase(sqlite3& connection) {
  throw RuntimeError::Platform(std::string("The row cannot be updated: ") +
                               sqlite3_errmsg(&connection));
}

bool IsPlain(OGRFieldType type) {
  return type == OFTInteger || type == OFTInteger64 || type == OFTReal || type == OFTString;
}

/// Texts are not copied: the feature outlives the step.
int Bind(sqlite3_stmt* statement, int place, const OGRFeature& feature, int column) {
  if (!feature.IsFieldSetAndNotNull(column)) return sqlite3_bind_null(statement, place);
  const OGRField& raw = *feature.GetRawFieldRef(column);
  switch (feature.GetFieldDefnRef(column)->GetType()) {
    case OFTInteger:
      return sqlite3_bind_int(statement, place, raw.Integer);
    case OFTInteger64:
      return sqlite3_bind_int64(statement, place, raw.Integer64);
    case OFTReal:
      return sqlite3_bind_double(statement, place, raw.Real);
    default:
      return sqlite3_bind_text(statement, place, raw.String, -1, SQLITE_STATIC);
  }
}

}  // namespace

std::string SqlName(std::string_view name) {
  std::string quoted = "\"";
  for (const char c : name) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

void RowStatements::Finalize::operator()(sqlite3_stmt* statement) const noexcept {
  sqlite3_finalize(statement);
}

std::unique_ptr<RowStatements> RowStatements::For(GDALDataset& dataset, OGRLayer& layer) {
  const bool isPackage = std::string_view(dataset.GetDriverName()) == "GPKG";
  void* const connection = isPackage ? dataset.GetInternalHandle("SQLITE_HANDLE") : nullptr;
  if (connection == nullptr || std::string_view(layer.GetFIDColumn()).empty()) return nullptr;
  return std::unique_ptr<RowStatements>(
      new RowStatements(*static_cast<sqlite3*>(connection), layer));
}

sqlite3_stmt& RowStatements::StatementFor(std::span<const int> columns) {
  if (!statements_.empty() && std::ranges::equal(columns, lastColumns_)) return *last_;
  // A tool writes its columns in a few combinations; past that, something else is going on.
  constexpr std::size_t kMost = 32;
  if (statements_.size() == kMost) statements_.clear();
  lastColumns_.assign(columns.begin(), columns.end());
  Statement& statement = statements_[lastColumns_];
  if (!statement) {
    std::string text = "UPDATE " + SqlName(layer_.GetName()) + " SET ";
    for (const int column : columns) {
      if (column != columns.front()) text += ", ";
      text += SqlName(layer_.GetLayerDefn()->GetFieldDefn(column)->GetNameRef()) + " = ?";
    }
    text += " WHERE " + SqlName(layer_.GetFIDColumn()) + " = ?";
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(&connection_, text.c_str(), -1, &prepared, nullptr) != SQLITE_OK) {
      statements_.erase(lastColumns_);
      RaiseDatabase(connection_);
    }
    statement.reset(prepared);
  }
  last_ = statement.get();
  return *last_;
}

bool RowStatements::Write(const OGRFeature& feature, std::span<const int> columns) {
  for (const int column : columns)
    if (!IsPlain(feature.GetFieldDefnRef(column)->GetType())) return false;
  sqlite3_stmt* const statement = &StatementFor(columns);
  int place = 0, failed = SQLITE_OK;
  for (const int column : columns) failed |= Bind(statement, ++place, feature, column);
  failed |= sqlite3_bind_int64(statement, ++place, feature.GetFID());
  if (failed != SQLITE_OK) RaiseDatabase(connection_);
  const int stepped = sqlite3_step(statement);
  const bool isThere = sqlite3_changes(&connection_) == 1;
  // Gives the step's failure once more, and the database's words for it stay.
  if (sqlite3_reset(statement) != SQLITE_OK || stepped != SQLITE_DONE) RaiseDatabase(connection_);
  if (!isThere) throw RuntimeError::Platform("The row cannot be updated: it is not there.");
  return true;
}

}  // namespace orlinths
