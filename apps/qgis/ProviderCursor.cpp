#include "qgis/ProviderCursor.h"

#include <algorithm>
#include <utility>

#include "data/ColumnValue.h"
#include "data/RowBuffer.h"
#include "qgis/ProviderShapes.h"
#include "qgis/ProviderValues.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

/// Rows asked for at once along a list of OIDs.
constexpr std::size_t kAhead = 4096;

[[noreturn]] void NoShape() { throw RuntimeError(ErrorNumber::kObjectNotSet); }

}  // namespace

// --- ProviderRow

void ProviderRow::Become(Oid oid) {
  oid_ = oid;
  featureOf_ = source_.SchemaVersion();
  changes_.clear();
  shapeKnown_ = shapeChanged_ = false;
}

int ProviderRow::ColumnOf(int field) const {
  const int first = source_.FirstColumn();
  if (field < 0 || field >= first + static_cast<int>(source_.ColumnTypes().size()))
    throw RuntimeError(ErrorNumber::kSubscript);
  if (featureOf_ != source_.SchemaVersion() && feature_.isValid()) {
    feature_ = source_.FetchOne(oid_);
    featureOf_ = source_.SchemaVersion();
  }
  return std::max(field - first, -1);
}

QVariant ProviderRow::Held(int column) const {
  if (source_.HasPending())
    if (const QVariant* pending = source_.PendingValue(oid_, column)) return *pending;
  return feature_.attribute(column);
}

Value ProviderRow::GetValue(int field) const {
  const int column = ColumnOf(field);
  for (const Change& change : changes_)
    if (change.field == field) return change.value;
  if (field == 0) return OidValue(oid_);
  if (column < 0) return {};
  return ToValue(Held(column), Fields()[field].type);
}

double ProviderRow::GetDouble(int field) const {
  const int column = ColumnOf(field);
  if (column >= 0 && changes_.empty()) {
    const QVariant held = Held(column);
    if (held.userType() == QMetaType::Double && !held.isNull() &&
        source_.ColumnTypes()[static_cast<std::size_t>(column)] == FieldType::kDouble)
      return *static_cast<const double*>(held.constData());
  }
  return ToDouble(GetValue(field));
}

bool ProviderRow::IsNull(int field) const {
  const int column = ColumnOf(field);
  // A date that does not exist is null, too, and so are bytes.
  if (column < 0 || !changes_.empty() || Fields()[field].type > FieldType::kText)
    return GetValue(field).IsNull();
  return Held(column).isNull();
}

void ProviderRow::SetValue(int field, const Value& value) {
  if (ColumnOf(field) < 0 || !writable_) RaiseNotEditable(Fields()[field]);
  for (Change& change : changes_)
    if (change.field == field) {
      change.value = value;
      return;
    }
  changes_.push_back({field, value});
}

const Geometry& ProviderRow::Shape() const {
  if (!source_.HasShape()) NoShape();
  if (!shapeKnown_) {
    const QgsGeometry* pending = source_.HasPending() ? source_.PendingShape(oid_) : nullptr;
    ToPlain(pending != nullptr ? *pending : feature_.geometry(), shape_);
    shapeKnown_ = true;
  }
  return shape_;
}

void ProviderRow::SetShape(Geometry shape) {
  if (!source_.HasShape()) NoShape();
  if (!writable_) RaiseNotEditable(Fields()[1]);
  shape_ = std::move(shape);
  shapeKnown_ = shapeChanged_ = true;
}

// --- ProviderCursor

ProviderCursor::ProviderCursor(ProviderSource& source, const QueryFilter& filter, bool writable)
    : source_(source),
      what_(filter),
      writable_(writable),
      isListed_(!source.WalksInOrder()),
      isStreamed_(true),
      row_(source, writable) {
  Attach();
  source_.cursors_.push_back(this);
}

ProviderCursor::ProviderCursor(ProviderSource& source, std::vector<Oid> oids,
                               const QueryFilter& what, bool writable)
    : source_(source),
      what_(what),
      writable_(writable),
      isListed_(true),
      isStreamed_(false),
      isCollected_(true),
      oids_(std::move(oids)),
      row_(source, writable) {
  // The list says which.
  what_.where.clear();
  what_.sourceWhere.clear();
  Attach();
  source_.cursors_.push_back(this);
}

ProviderCursor::~ProviderCursor() {
  std::erase(source_.cursors_, this);
  Detach();
  if (writable_) source_.WriteQuietly();
}

void ProviderCursor::Detach() {
  iterator_ = QgsFeatureIterator();
  rows_.reset();
  ahead_.clear();
  aheadAt_ = aheadEnd_ = 0;
  attached_ = false;
}

void ProviderCursor::Attach() {
  Detach();
  version_ = source_.Version();
  attached_ = true;
  rows_ = source_.Open(what_.sourceWhere);
  if (!isStreamed_) return;
  if (isListed_ && at_ > 0) {  // the provider would begin with the first row again
    isStreamed_ = false;
    return;
  }
  iterator_ = rows_->getFeatures(source_.Request(what_));
  source_.CheckReads(iterator_);
}

bool ProviderCursor::FetchStreamed() {
  while (iterator_.nextFeature(row_.feature_)) {
    const Oid oid = row_.feature_.id();
    if (isListed_) {
      if (at_ == oids_.size() || oids_[at_] != oid) break;
      ++at_;
    } else if (oid <= last_) {
      continue;
    }
    last_ = oid;
    return true;
  }
  if (!isListed_) return false;
  // Another order, or a row that has gone: from here on by the list.
  iterator_ = QgsFeatureIterator();
  isStreamed_ = false;
  return FetchListed();
}

void ProviderCursor::FetchAhead() {
  ahead_.clear();
  aheadAt_ = 0;
  const std::size_t end = aheadEnd_ = std::min(at_ + kAhead, oids_.size());
  QgsFeatureRequest request = source_.Request(what_);
  if (end == at_ + 1) {
    request.setFilterFid(oids_[at_]);
  } else {
    QgsFeatureIds ids;
    ids.reserve(static_cast<int>(end - at_));
    for (std::size_t i = at_; i < end; ++i) ids.insert(oids_[i]);
    request.setFilterFids(ids);
  }
  iterator_ = rows_->getFeatures(request);
  source_.CheckReads(iterator_);
  QgsFeature feature;
  while (iterator_.nextFeature(feature)) {
    CheckStop();
    ahead_.push_back(feature);
  }
  iterator_ = QgsFeatureIterator();
  std::ranges::sort(ahead_, {}, [](const QgsFeature& row) { return row.id(); });
}

bool ProviderCursor::FetchListed() {
  while (at_ < oids_.size()) {
    if (at_ >= aheadEnd_) FetchAhead();
    const Oid oid = oids_[at_++];
    while (aheadAt_ < ahead_.size() && ahead_[aheadAt_].id() < oid) ++aheadAt_;
    if (aheadAt_ == ahead_.size() || ahead_[aheadAt_].id() != oid) continue;
    row_.feature_ = std::move(ahead_[aheadAt_++]);
    last_ = oid;
    return true;
  }
  return false;
}

bool ProviderCursor::Fetch() { return isStreamed_ ? FetchStreamed() : FetchListed(); }

IRow* ProviderCursor::Next() {
  CheckStop();
  if (ended_) return nullptr;
  if (source_.IsGone()) throw RuntimeError(ErrorNumber::kObjectNotSet);
  if (!attached_ || version_ != source_.Version()) Attach();
  if (isListed_ && !isCollected_) oids_ = source_.CollectOids(what_);
  isCollected_ = true;
  while (Fetch()) {
    if (source_.HasPending() && source_.IsDeleted(last_)) continue;
    row_.Become(last_);
    return &row_;
  }
  ended_ = true;
  Detach();
  return nullptr;
}

ProviderRow& ProviderCursor::Mine(IRow& row) {
  if (!writable_ || &row != &row_)
    throw RuntimeError::Platform("Only the current row of an update cursor can be changed.");
  return row_;
}

void ProviderCursor::UpdateRow(IRow& row) {
  CheckStop();
  ProviderRow& mine = Mine(row);
  if (mine.changes_.empty() && !mine.shapeChanged_) return;
  // First whether all of them fit, so that a row is changed as a whole or not at all.
  std::vector<std::pair<int, QVariant>> values;
  values.reserve(mine.changes_.size());
  for (const ProviderRow::Change& change : mine.changes_) {
    const int column = mine.ColumnOf(change.field);
    values.emplace_back(column, ToVariant(change.value, source_.Columns().at(column)));
  }
  if (!values.empty()) source_.CheckEdit(QgsVectorDataProvider::ChangeAttributeValues);
  if (mine.shapeChanged_) source_.CheckEdit(QgsVectorDataProvider::ChangeGeometries);
  for (const auto& [column, value] : values) source_.ChangeValue(mine.OID(), column, value);
  if (mine.shapeChanged_) source_.ChangeShape(mine.OID(), mine.shape_);
  mine.changes_.clear();
  mine.shapeChanged_ = false;
}

void ProviderCursor::DeleteRow(IRow& row) {
  CheckStop();
  const Oid oid = Mine(row).OID();
  source_.CheckEdit(QgsVectorDataProvider::DeleteFeatures);
  source_.DeleteRow(oid);
}

void ProviderCursor::Flush() {
  if (writable_) source_.Write();
}

// --- ProviderInsertCursor

Oid ProviderInsertCursor::InsertRow(IRow& row) {
  CheckStop();
  source_.InsertRow(row);
  return -1;
}

}  // namespace orlinths
