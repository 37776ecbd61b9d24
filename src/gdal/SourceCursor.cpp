#include "gdal/SourceCursor.h"

#include <algorithm>
#include <utility>

#include <cpl_conv.h>

#include "data/ColumnValue.h"
#include "gdal/Library.h"
#include "gdal/OgrShapes.h"
#include "gdal/RowStatements.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

/// While it stands, OGR leaves the rings of a polygon as they are stored. Set around single calls
/// only, since a host in the same thread may read polygons too.
class RingsAsStored {
 public:
  explicit RingsAsStored(bool wanted) : set_(wanted) {
    if (set_) CPLSetThreadLocalConfigOption(kOption, "SKIP");
  }
  ~RingsAsStored() {
    if (set_) CPLSetThreadLocalConfigOption(kOption, nullptr);
  }
  RingsAsStored(const RingsAsStored&) = delete;
  RingsAsStored& operator=(const RingsAsStored&) = delete;

 private:
  static constexpr const char* kOption = "OGR_ORGANIZE_POLYGONS";
  bool set_;
};

/// Tells the layer what will not be read. Columns of the filter stay: some drivers evaluate it on
/// the row as read.
void IgnoreFields(OGRLayer& layer, const std::optional<std::vector<std::string>>& only,
                  bool withShape, const std::string& where) {
  CPLStringList ignored;
  if (only) {
    bool mayIgnore = true;
    CPLStringList used;
    if (!where.empty()) {
      OGRFeatureQuery query;
      mayIgnore = query.Compile(layer.GetLayerDefn(), where.c_str()) == OGRERR_NONE;
      if (mayIgnore) used.Assign(query.GetUsedFields(), TRUE);
    }
    OGRFeatureDefn* defn = layer.GetLayerDefn();
    for (int i = 0; mayIgnore && i < defn->GetFieldCount(); ++i) {
      const char* name = defn->GetFieldDefn(i)->GetNameRef();
      const bool wanted = std::ranges::any_of(
          *only, [&](const std::string& field) { return EqualNoCase(field, name); });
      if (!wanted && used.FindString(name) < 0) ignored.AddString(name);
    }
  }
  if (!withShape) ignored.AddString("OGR_GEOMETRY");
  layer.SetIgnoredFields(const_cast<const char**>(ignored.List()));
}

/// Rows are read ahead no further than to so many bytes of their shapes.
constexpr std::size_t kEnoughAhead = 1 << 20;

std::size_t ShapeBytes(const OGRFeature& feature) {
  const OGRGeometry* shape = feature.GetGeometryRef();
  return shape != nullptr ? shape->WkbSize() : 0;
}

[[noreturn]] void NoShape() { throw RuntimeError(ErrorNumber::kObjectNotSet); }

}  // namespace

// --- SourceRow

void SourceRow::Become(OGRFeatureUniquePtr feature) {
  feature_ = std::move(feature);
  oid_ = feature_->GetFID();
  shapeKnown_ = false;
  ForgetChanges();
}

void SourceRow::ForgetChanges() {
  changes_.clear();
  // The shape just stored is what the row shows from now on.
  shapeChanged_ = false;
}

int SourceRow::ColumnOf(int field) const {
  if (columnsOf_ != source_.SchemaVersion()) {
    const int count = source_.Fields().FieldCount();
    columns_.assign(static_cast<std::size_t>(count), -1);
    for (int i = source_.FirstColumn(); i < count; ++i)
      columns_[static_cast<std::size_t>(i)] = source_.FileColumn(i);
    columnsOf_ = source_.SchemaVersion();
  }
  if (field < 0 || static_cast<std::size_t>(field) >= columns_.size())
    throw RuntimeError(ErrorNumber::kSubscript);
  return columns_[static_cast<std::size_t>(field)];
}

Value SourceRow::GetValue(int field) const {
  const int column = ColumnOf(field);
  for (const Change& change : changes_)
    if (change.field == field) return change.isDouble ? Value(change.number) : change.value;
  if (field == 0) return OidValue(oid_);
  if (field < source_.FirstColumn()) return {};
  Value pending;
  if (source_.PendingValue(oid_, field, pending)) return pending;
  if (column < 0) return Null{};
  return ReadValue(*feature_, column, source_.Fields()[field].type, source_.KnowsNull());
}

int SourceRow::PlainColumnOf(int field) const {
  const int column = ColumnOf(field);
  return changes_.empty() && !source_.HasPendingEdits() ? column : -1;
}

double SourceRow::GetDouble(int field) const {
  const int column = PlainColumnOf(field);
  if (column < 0) return ToDouble(GetValue(field));
  return ReadDouble(*feature_, column, source_.Fields()[field].type, source_.KnowsNull());
}

void SourceRow::GetText(int field, std::string& text) const {
  const int column = PlainColumnOf(field);
  if (column < 0 || source_.Fields()[field].type != FieldType::kText ||
      !feature_->IsFieldSetAndNotNull(column)) {
    text = ToText(GetValue(field));
  } else {
    text = feature_->GetFieldAsString(column);
  }
}

bool SourceRow::IsNull(int field) const {
  const int column = PlainColumnOf(field);
  // A date that cannot be read is null, too.
  if (column < 0 || source_.Fields()[field].type > FieldType::kText)
    return GetValue(field).IsNull();
  return source_.KnowsNull() && !feature_->IsFieldSetAndNotNull(column);
}

SourceRow::Change& SourceRow::ChangeOf(int field) {
  ColumnOf(field);
  if (!writable_ || field < source_.FirstColumn()) RaiseNotEditable(Fields()[field]);
  for (Change& change : changes_)
    if (change.field == field) return change;
  return changes_.emplace_back(Change{field, false, 0, {}});
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
      shape_ =
          ToPlain(feature_->GetGeometryRef(),
                  source_.StoresRingsFlat() ? RingDirection::kAsStored : RingDirection::kByRole);
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

SourceCursor::SourceCursor(VectorSource& source, const QueryFilter& filter, bool writable)
    : source_(source),
      where_(filter.where),
      onlyFields_(filter.onlyFields),
      withShape_(filter.withShape && source.HasShape()),
      writable_(writable),
      byOid_(false),
      row_(source, writable) {
  Attach();
  source_.cursors_.push_back(this);
}

SourceCursor::SourceCursor(VectorSource& source, std::vector<Oid> oids, const QueryFilter& what,
                           bool writable)
    : source_(source),
      onlyFields_(what.onlyFields),
      withShape_(what.withShape && source.HasShape()),
      writable_(writable),
      byOid_(true),
      oids_(std::move(oids)),
      row_(source, writable) {
  Attach();
  source_.cursors_.push_back(this);
}

SourceCursor::~SourceCursor() {
  std::erase(source_.cursors_, this);
  row_.feature_.reset();  // before the reader that made it
  for (OGRFeatureUniquePtr& feature : ahead_) feature.reset();
  // A reader that cannot be kept for the next cursor is closed.
  if (reader_) Quietly([this] { source_.GiveBack(std::move(reader_)); });
  if (writable_) Quietly([this] { source_.EndUpdate(); });
}

void SourceCursor::Attach() {
  const QuietGdal quiet;
  aheadAt_ = aheadEnd_ = 0;
  aheadFailure_.clear();
  reader_ = source_.Lease();
  OGRLayer& layer = *reader_->layer;
  flatRings_ = withShape_ && source_.StoresRingsFlat();
  if (source_.SharesReader()) {
    // One reader for all: no read position, no filter and no ignored columns of this cursor's own.
    if (!byOid_) {
      oids_ = source_.CollectOids(where_);
      at_ = static_cast<std::size_t>(std::upper_bound(oids_.begin(), oids_.end(), last_) -
                                     oids_.begin());
      byOid_ = true;
    }
    randomRead_ = true;
    return;
  }
  const std::string where = source_.SetWhere(*reader_, byOid_ ? std::string() : where_);
  IgnoreFields(layer, onlyFields_, withShape_, where);
  randomRead_ = layer.TestCapability(OLCRandomRead) != 0;
  layer.ResetReading();
  if (!byOid_ && where.empty() && last_ >= 0 && layer.TestCapability(OLCFastSetNextByIndex))
    layer.SetNextByIndex(last_ + 1);
}

void SourceCursor::Detach(const std::vector<Oid>& removed) {
  ForgetAhead();
  if (reader_) source_.GiveBack(std::move(reader_));
  reader_.reset();
  if (removed.empty()) return;
  const auto before = [&](Oid oid) {
    return std::lower_bound(removed.begin(), removed.end(), oid) - removed.begin();
  };
  last_ -= std::upper_bound(removed.begin(), removed.end(), last_) - removed.begin();
  std::vector<Oid> left;
  std::size_t at = 0;
  for (std::size_t i = 0; i < oids_.size(); ++i) {
    if (std::binary_search(removed.begin(), removed.end(), oids_[i])) continue;
    if (i < at_) ++at;
    left.push_back(oids_[i] - before(oids_[i]));
  }
  oids_ = std::move(left);
  at_ = at;
}

/// The rows read ahead are read again when their turn comes.
void SourceCursor::ForgetAhead() {
  if (byOid_ && aheadAt_ < aheadEnd_)
    at_ = std::max(aheadFrom_,
                   static_cast<std::size_t>(std::upper_bound(oids_.begin(), oids_.end(), last_) -
                                            oids_.begin()));
  aheadAt_ = aheadEnd_ = 0;
  aheadFailure_.clear();
  for (OGRFeatureUniquePtr& feature : ahead_) feature.reset();
}

void SourceCursor::LetGoOfRow() {
  ForgetAhead();
  letGo_ = row_.feature_ != nullptr;
  row_.feature_.reset();
}

void SourceCursor::TakeRowAgain(OGRLayer& layer) {
  if (!letGo_) return;
  letGo_ = false;
  row_.feature_.reset(layer.GetFeature(row_.oid_));
  if (row_.feature_) return;
  // It has been deleted meanwhile.
  row_.feature_.reset(OGRFeature::CreateFeature(layer.GetLayerDefn()));
  row_.feature_->SetFID(row_.oid_);
}

OGRFeatureUniquePtr SourceCursor::FetchNext() {
  const RingsAsStored asStored(flatRings_);
  return OGRFeatureUniquePtr(reader_->layer->GetNextFeature());
}

OGRFeatureUniquePtr SourceCursor::Fetch() {
  if (!byOid_) {
    while (OGRFeatureUniquePtr feature = FetchNext())
      if (feature->GetFID() > last_) return feature;
    return nullptr;
  }
  if (randomRead_) {
    while (at_ < oids_.size()) {
      const RingsAsStored asStored(flatRings_);
      // A feature that is not there is no failure here, though OGR says something about it.
      if (!source_.HasRow(oids_[at_])) {
        ++at_;
        continue;
      }
      const Oid oid = oids_[at_++];
      OGRFeatureUniquePtr feature(reader_->layer->GetFeature(oid));
      if (!feature)
        RaiseGdal("The row " + ToText(oid) + " of " + source_.Path() + " cannot be read.");
      return feature;
    }
    return nullptr;
  }
  while (at_ < oids_.size()) {
    OGRFeatureUniquePtr feature = FetchNext();
    if (!feature) return nullptr;
    const Oid oid = feature->GetFID();
    while (at_ < oids_.size() && oids_[at_] < oid) ++at_;
    if (at_ < oids_.size() && oids_[at_] == oid) {
      ++at_;
      return feature;
    }
  }
  return nullptr;
}

/// Along a list of OIDs, of a database that is being edited: one question for a run of the list
/// that leaves few rows out. It asks for no more than what the cursor's caller reads, since the
/// reader is put back as it was.
void SourceCursor::ReadRange() {
  OGRLayer& layer = *reader_->layer;
  while (at_ < oids_.size() && aheadEnd_ == 0) {
    const auto from = oids_.begin() + static_cast<std::ptrdiff_t>(at_);
    std::size_t wanted = std::min(mostAhead_, oids_.size() - at_);
    constexpr std::size_t kMostRowsForOne = 4;
    while (wanted > 1 &&
           static_cast<std::size_t>(from[wanted - 1] - *from) > kMostRowsForOne * wanted)
      wanted /= 2;
    const auto to = from + static_cast<std::ptrdiff_t>(wanted);
    const std::string where =
        SqlName(source_.FidColumn()) + " BETWEEN " + ToText(*from) + " AND " + ToText(*(to - 1));
    aheadFrom_ = at_;
    layer.SetAttributeFilter(where.c_str());
    IgnoreFields(layer, onlyFields_, withShape_, {});
    layer.ResetReading();
    at_ += wanted;
    std::size_t bytes = 0;
    while (OGRFeatureUniquePtr feature = FetchNext()) {
      const auto place = std::lower_bound(from, to, feature->GetFID());
      if (place == to || *place != feature->GetFID()) continue;
      bytes += ShapeBytes(*feature);
      ahead_[aheadEnd_++] = std::move(feature);
      if (bytes < kEnoughAhead) continue;
      at_ = static_cast<std::size_t>(place - oids_.begin()) + 1;
      break;
    }
    layer.SetAttributeFilter(nullptr);
    layer.SetIgnoredFields(nullptr);
  }
  mostAhead_ = std::min(2 * mostAhead_, ahead_.size());
}

void SourceCursor::ReadAhead() {
  const QuietGdal quiet;
  aheadAt_ = aheadEnd_ = 0;
  aheadOf_ = source_.ChangeCount();
  if (byOid_ && source_.ReadsRanges()) {
    ReadRange();
    if (!quiet.Failures().empty()) aheadFailure_ = quiet.Failures().front();
    return;
  }
  // Along a list of OIDs the place in the list stands for the row, so one at a time.
  const std::size_t wanted = byOid_ ? 1 : ahead_.size();
  std::size_t bytes = 0;
  while (aheadEnd_ < wanted && bytes < kEnoughAhead && quiet.Failures().empty()) {
    OGRFeatureUniquePtr feature = Fetch();
    if (!feature || !quiet.Failures().empty()) break;
    bytes += ShapeBytes(*feature);
    ahead_[aheadEnd_++] = std::move(feature);
  }
  if (!quiet.Failures().empty()) aheadFailure_ = quiet.Failures().front();
}

IRow* SourceCursor::Next() {
  CheckStop();
  if (ended_) return nullptr;
  source_.CheckThere();
  if (!reader_ || reader_->version != source_.FileVersion()) {
    if (reader_) source_.GiveBack(std::move(reader_));
    Attach();
  }
  const bool pending = source_.HasPendingEdits();
  if (aheadAt_ < aheadEnd_ && byOid_ && aheadOf_ != source_.ChangeCount()) {
    ForgetAhead();
    mostAhead_ = 1;
  }
  while (true) {
    if (aheadAt_ == aheadEnd_) {
      if (aheadFailure_.empty()) ReadAhead();
      if (aheadAt_ == aheadEnd_) break;
    }
    OGRFeatureUniquePtr feature = std::move(ahead_[aheadAt_++]);
    last_ = feature->GetFID();
    if (pending && source_.IsDeleted(last_)) continue;
    row_.Become(std::move(feature));
    return &row_;
  }
  CheckStop();
  if (!aheadFailure_.empty()) throw RuntimeError::Platform(std::exchange(aheadFailure_, {}));
  ended_ = true;
  return nullptr;
}

SourceRow& SourceCursor::Mine(IRow& row) {
  if (!writable_ || &row != &row_)
    throw RuntimeError::Platform("Only the current row of an update cursor can be changed.");
  return row_;
}

void SourceCursor::UpdateRow(IRow& row) {
  CheckStop();
  SourceRow& mine = Mine(row);
  if (mine.Changes().empty() && mine.ChangedShape() == nullptr) return;
  // What this cursor does to its own row leaves the rows behind it as they are.
  const bool upToDate = aheadOf_ == source_.ChangeCount();
  source_.StoreRow(mine);
  if (upToDate) aheadOf_ = source_.ChangeCount();
  mine.ForgetChanges();
}

void SourceCursor::DeleteRow(IRow& row) {
  CheckStop();
  const bool upToDate = aheadOf_ == source_.ChangeCount();
  source_.DeleteRow(Mine(row).OID());
  if (upToDate) aheadOf_ = source_.ChangeCount();
}

void SourceCursor::Flush() {
  if (writable_) source_.EndUpdate();
}

}  // namespace orlinths
