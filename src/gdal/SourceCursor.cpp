#include "gdal/SourceCursor.h"

#include <algorithm>
#include <utility>

#include "data/ColumnValue.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

[[noreturn]] void NoShape() { throw RuntimeError(ErrorNumber::kObjectNotSet); }

/// How many of the ascending `removed` stand before `oid`.
Oid CountBefore(Oid oid, const std::vector<Oid>& removed) {
  return std::lower_bound(removed.begin(), removed.end(), oid) - removed.begin();
}
bool IsAmong(Oid oid, const std::vector<Oid>& removed) {
  return std::binary_search(removed.begin(), removed.end(), oid);
}

}  // namespace

// --- SourceRow

void SourceRow::Become(Oid oid) {
  oid_ = oid;
  shapeKnown_ = false;
  ForgetChanges();
}

void SourceRow::ForgetChanges() {
  changeCount_ = 0;
  // The shape just stored is what the row shows from now on.
  shapeChanged_ = false;
}

void SourceRow::Renumber(const std::vector<Oid>& removed) {
  oid_ = IsAmong(oid_, removed) ? -1 : oid_ - CountBefore(oid_, removed);
}

int SourceRow::ColumnOf(int field) const {
  if (columnsOf_ != source_.SchemaVersion()) {
    const orlinths::Fields& fields = source_.Fields();
    columns_.assign(static_cast<std::size_t>(fields.FieldCount()), -1);
    for (int i = source_.FirstColumn(); i < fields.FieldCount(); ++i) {
      const auto isIt = [&](const std::string& name) { return EqualNoCase(name, fields[i].name); };
      if (!onlyFields_ || std::ranges::any_of(*onlyFields_, isIt))
        columns_[static_cast<std::size_t>(i)] = source_.FileColumn(i);
    }
    columnsOf_ = source_.SchemaVersion();
  }
  if (field < 0 || static_cast<std::size_t>(field) >= columns_.size())
    throw RuntimeError(ErrorNumber::kSubscript);
  return columns_[static_cast<std::size_t>(field)];
}

Value SourceRow::GetValue(int field) const {
  const int column = ColumnOf(field);
  for (const Change& change : Changes())
    if (change.field == field) return change.isDouble ? Value(change.number) : change.value;
  if (field == 0) return OidValue(oid_);
  if (field < source_.FirstColumn()) return {};
  Value pending;
  if (source_.PendingValue(oid_, field, pending)) return pending;
  if (column < 0) return Null{};
  return StoredValue(column, source_.Fields()[field].type);
}

int SourceRow::PlainColumnOf(int field) const {
  const int column = ColumnOf(field);
  return changeCount_ == 0 && !source_.HasPendingEdits() ? column : -1;
}

double SourceRow::GetDouble(int field) const {
  const int column = PlainColumnOf(field);
  if (column < 0) return ToDouble(GetValue(field));
  return StoredDouble(column, source_.Fields()[field].type);
}

void SourceRow::GetText(int field, std::string& text) const {
  const int column = PlainColumnOf(field);
  if (column < 0 || source_.Fields()[field].type != FieldType::kText || IsStoredNull(column)) {
    text = ToText(GetValue(field));
  } else {
    StoredText(column, text);
  }
}

bool SourceRow::IsNull(int field) const {
  const int column = PlainColumnOf(field);
  // A date that cannot be read is null, too.
  if (column < 0 || source_.Fields()[field].type > FieldType::kText)
    return GetValue(field).IsNull();
  return IsStoredNull(column);
}

SourceRow::Change& SourceRow::ChangeOf(int field) {
  ColumnOf(field);
  if (!writable_ || field < source_.FirstColumn()) RaiseNotEditable(Fields()[field]);
  for (std::size_t i = 0; i < changeCount_; ++i)
    if (changes_[i].field == field) return changes_[i];
  if (changeCount_ == changes_.size()) changes_.emplace_back();
  Change& change = changes_[changeCount_++];
  change.field = field;
  return change;
}

void SourceRow::SetValue(int field, const Value& value) {
  Change& change = ChangeOf(field);
  change.isDouble = false;
  change.value = value;
}

void SourceRow::SetDouble(int field, double value) {
  Change& change = ChangeOf(field);
  change.isDouble = true;
  change.number = value;
}

const Geometry& SourceRow::Shape() const {
  if (!source_.HasShape()) NoShape();
  if (!shapeKnown_) {
    if (const Geometry* pending = source_.PendingShape(oid_)) {
      shape_ = *pending;
    } else {
      shape_ = StoredShape();
      if (shape_.IsNull() && !source_.KnowsNull())
        shape_ = EmptyShape(source_.Geometry().geometryType);
    }
    shapeKnown_ = true;
  }
  return shape_;
}

void SourceRow::SetShape(Geometry shape) {
  if (!source_.HasShape()) NoShape();
  if (!writable_) RaiseNotEditable(Fields()[1]);
  shape_ = std::move(shape);
  shapeKnown_ = shapeChanged_ = true;
}

// --- SourceCursor

SourceCursor::SourceCursor(VectorSource& source, std::optional<std::vector<Oid>> oids,
                           bool writable)
    : source_(source), byOid_(oids.has_value()), writable_(writable) {
  if (oids) oids_ = std::move(*oids);
  source_.cursors_.push_back(this);
}

SourceCursor::~SourceCursor() {
  std::erase(source_.cursors_, this);
  if (writable_) Quietly([this] { source_.EndUpdate(); });
}

void SourceCursor::Detach(const std::vector<Oid>& removed) {
  if (removed.empty()) return;
  Current().Renumber(removed);
  // Where the row itself is gone, the one before it.
  last_ -= CountBefore(last_ + 1, removed);
  std::vector<Oid> left;
  std::size_t at = 0;
  for (std::size_t i = 0; i < oids_.size(); ++i) {
    if (IsAmong(oids_[i], removed)) continue;
    if (i < at_) ++at;
    left.push_back(oids_[i] - CountBefore(oids_[i], removed));
  }
  oids_ = std::move(left);
  at_ = at;
}

SourceRow& SourceCursor::Mine(IRow& row) {
  if (!writable_ || &row != &Current())
    throw RuntimeError::Platform("Only the current row of an update cursor can be changed.");
  return Current();
}

void SourceCursor::UpdateRow(IRow& row) {
  CheckStop();
  SourceRow& mine = Mine(row);
  if (mine.Changes().empty() && mine.ChangedShape() == nullptr) return;
  source_.StoreRow(mine);
  mine.ForgetChanges();
}

void SourceCursor::DeleteRow(IRow& row) {
  CheckStop();
  source_.DeleteRow(Mine(row).OID());
}

void SourceCursor::Flush() {
  if (writable_) source_.EndUpdate();
}

}  // namespace orlinths
