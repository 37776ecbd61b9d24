#include "gdal/OgrCursor.h"

#include <algorithm>
#include <utility>

#include <cpl_conv.h>

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

}  // namespace

// --- OgrFeatureRow

Value OgrFeatureRow::StoredValue(int column, FieldType type) const {
  return ReadValue(*feature_, column, type, Source().KnowsNull());
}

double OgrFeatureRow::StoredDouble(int column, FieldType type) const {
  return ReadDouble(*feature_, column, type, Source().KnowsNull());
}

void OgrFeatureRow::StoredText(int column, std::string& text) const {
  text = feature_->GetFieldAsString(column);
}

bool OgrFeatureRow::IsStoredNull(int column) const {
  return Source().KnowsNull() && !feature_->IsFieldSetAndNotNull(column);
}

Geometry OgrFeatureRow::StoredShape() const {
  return ToPlain(feature_->GetGeometryRef(),
                 Source().StoresRingsFlat() ? RingDirection::kAsStored : RingDirection::kByRole);
}

// --- OgrCursor

OgrCursor::OgrCursor(VectorSource& source, const QueryFilter& filter, bool writable)
    : OgrCursor(source, filter.where, std::nullopt, filter, writable) {}

OgrCursor::OgrCursor(VectorSource& source, std::vector<Oid> oids, const QueryFilter& what,
                     bool writable)
    : OgrCursor(source, {}, std::move(oids), what, writable) {}

OgrCursor::OgrCursor(VectorSource& source, std::string where, std::optional<std::vector<Oid>> oids,
                     const QueryFilter& what, bool writable)
    : SourceCursor(source, std::move(oids), writable),
      where_(std::move(where)),
      onlyFields_(what.onlyFields),
      withShape_(what.withShape && source.HasShape()),
      row_(source, what.onlyFields, writable) {
  Attach();
}

OgrCursor::~OgrCursor() {
  row_.feature_.reset();  // before the reader that made it
  for (OGRFeatureUniquePtr& feature : ahead_) feature.reset();
  // A reader that cannot be kept for the next cursor is closed.
  if (reader_) Quietly([this] { source_.GiveBack(std::move(reader_)); });
}

void OgrCursor::Attach() {
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

void OgrCursor::Detach(const std::vector<Oid>& removed) {
  ForgetAhead();
  if (reader_) source_.GiveBack(std::move(reader_));
  reader_.reset();
  SourceCursor::Detach(removed);
}

/// The rows read ahead are read again when their turn comes.
void OgrCursor::ForgetAhead() {
  if (byOid_ && aheadAt_ < aheadEnd_)
    at_ = std::max(aheadFrom_,
                   static_cast<std::size_t>(std::upper_bound(oids_.begin(), oids_.end(), last_) -
                                            oids_.begin()));
  aheadAt_ = aheadEnd_ = 0;
  aheadFailure_.clear();
  for (OGRFeatureUniquePtr& feature : ahead_) feature.reset();
}

void OgrCursor::LetGoOfRow() {
  ForgetAhead();
  letGo_ = row_.feature_ != nullptr;
  row_.feature_.reset();
}

void OgrCursor::TakeRowAgain(OGRLayer& layer) {
  if (!letGo_) return;
  letGo_ = false;
  row_.feature_.reset(layer.GetFeature(row_.OID()));
  if (row_.feature_) return;
  // It has been deleted meanwhile.
  row_.feature_.reset(OGRFeature::CreateFeature(layer.GetLayerDefn()));
  row_.feature_->SetFID(row_.OID());
}

OGRFeatureUniquePtr OgrCursor::FetchNext() {
  const RingsAsStored asStored(flatRings_);
  return OGRFeatureUniquePtr(reader_->layer->GetNextFeature());
}

OGRFeatureUniquePtr OgrCursor::Fetch() {
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
void OgrCursor::ReadRange() {
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

void OgrCursor::ReadAhead() {
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

IRow* OgrCursor::Next() {
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
    row_.feature_ = std::move(feature);
    row_.Become(last_);
    return &row_;
  }
  CheckStop();
  if (!aheadFailure_.empty()) throw RuntimeError::Platform(std::exchange(aheadFailure_, {}));
  ended_ = true;
  return nullptr;
}

// What this cursor does to its own row leaves the rows behind it as they are.

void OgrCursor::UpdateRow(IRow& row) {
  const bool upToDate = aheadOf_ == source_.ChangeCount();
  SourceCursor::UpdateRow(row);
  if (upToDate) aheadOf_ = source_.ChangeCount();
}

void OgrCursor::DeleteRow(IRow& row) {
  const bool upToDate = aheadOf_ == source_.ChangeCount();
  SourceCursor::DeleteRow(row);
  if (upToDate) aheadOf_ = source_.ChangeCount();
}

}  // namespace orlinths
