#include "gdal/VectorSource.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <optional>

#include "gdal/Library.h"
#include "gdal/OgrCursor.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

/// Readers kept open for the next cursor. A tool walks one class with another inside; more at once
/// are rare.
constexpr std::size_t kIdleReaders = 3;

std::map<std::string, std::weak_ptr<VectorSource>>& OpenSources() {
  static std::map<std::string, std::weak_ptr<VectorSource>> sources;
  static const EditKeeper keeper(VectorSource::CommitAll);
  return sources;
}

bool IsFinite(const Envelope& e) {
  return std::isfinite(e.xMin) && std::isfinite(e.yMin) && std::isfinite(e.xMax) &&
         std::isfinite(e.yMax);
}

/// A file has no words of its own beside the platform's.
void CheckWords(const QueryFilter& filter) {
  if (!filter.sourceWhere.empty())
    throw RuntimeError::Platform("The expression cannot be read: " + filter.sourceWhere);
}

}  // namespace

std::string FullPath(const std::string& path) {
  std::error_code failure;
  const std::filesystem::path full = std::filesystem::absolute(path, failure);
  return failure ? path : full.lexically_normal().string();
}

std::string CanonicalPath(const std::string& path) {
  std::error_code failure;
  const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, failure);
  return failure ? path : canonical.string();
}

void RaiseTwoMeanings(const std::string& where, const std::string& oidName,
                      const std::string& column) {
  throw RuntimeError::Platform("The expression cannot be read: " + where + ": " + oidName +
                               " cannot be told from the column " + column + ".");
}

VectorSource::~VectorSource() = default;

std::shared_ptr<VectorSource> VectorSource::Find(const std::string& key) {
  const auto found = OpenSources().find(key);
  if (found == OpenSources().end()) return nullptr;
  std::shared_ptr<VectorSource> source = found->second.lock();
  if (!source || source->gone_) {
    OpenSources().erase(found);
    return nullptr;
  }
  return source;
}

void VectorSource::Register(const std::string& key, const std::shared_ptr<VectorSource>& source) {
  if (Find(key) != source) End(key);
  OpenSources()[key] = source;
}

void VectorSource::End(const std::string& key) {
  if (const auto source = Find(key)) source->SetGone();
}

void VectorSource::Forget(const std::string& key) { OpenSources().erase(key); }

void VectorSource::CommitAll() {
  std::vector<std::shared_ptr<VectorSource>> sources;
  std::erase_if(OpenSources(), [](const auto& entry) { return entry.second.expired(); });
  for (const auto& [key, weak] : OpenSources())
    if (auto source = weak.lock()) sources.push_back(std::move(source));
  std::optional<RuntimeError> first;
  for (const auto& source : sources) {
    if (source->gone_ || !source->HasPendingEdits()) continue;
    try {
      source->Commit();
    } catch (const RuntimeError& failure) {
      if (!first) first = failure;
    }
  }
  if (first) throw RuntimeError(*first);
}

std::string VectorSource::Folder() const { return FolderOf(path_); }

void VectorSource::CheckThere() const {
  if (gone_) throw RuntimeError(ErrorNumber::kObjectNotSet);
}

void VectorSource::SetGone() {
  gone_ = true;
  DetachCursors();
  DropReaders();
  ShapesChanged();
}

void VectorSource::Rename(const std::string&) {
  throw RuntimeError::Platform("The dataset " + name_ + " cannot be renamed.");
}

ReaderPtr VectorSource::Lease() const {
  while (!pool_.empty()) {
    ReaderPtr reader = std::move(pool_.back());
    pool_.pop_back();
    if (reader->version == FileVersion()) return reader;
  }
  ReaderPtr reader = OpenReader();
  reader->version = FileVersion();
  return reader;
}

void VectorSource::GiveBack(ReaderPtr reader) const {
  if (gone_ || reader->shared || reader->version != FileVersion() || pool_.size() >= kIdleReaders)
    return;
  const QuietGdal quiet;
  reader->layer->ResetReading();
  pool_.push_back(std::move(reader));
}

void VectorSource::DetachCursors(const std::vector<Oid>& removed) const {
  for (SourceCursor* cursor : cursors_) cursor->Detach(removed);
}

void VectorSource::LetGoOfRows() const {
  for (SourceCursor* cursor : cursors_) cursor->LetGoOfRow();
}

void VectorSource::TakeRowsAgain() const {
  const ReaderPtr reader = Lease();
  for (SourceCursor* cursor : cursors_) cursor->TakeRowAgain(*reader->layer);
  GiveBack(reader);
}

std::string VectorSource::SetWhere(Reader& reader, const std::string& where) const {
  const QuietGdal quiet;
  if (where.empty()) {
    reader.layer->SetAttributeFilter(nullptr);
    return {};
  }
  const std::string& oidName = Fields()[0].name;
  OGRFeatureDefn& defn = *reader.layer->GetLayerDefn();
  const bool oidIsColumn = defn.GetFieldIndex(oidName.c_str()) >= 0;
  std::string text = ToOgrWhere(where, Dialect(), oidIsColumn ? "" : oidName, FidColumn());
  const int column = defn.GetFieldIndex("FID");
  if (column >= 0 && !oidIsColumn && Dialect() == orlinths::Dialect::kOgr &&
      text != ToOgrWhere(where, Dialect(), "", FidColumn()))
    RaiseTwoMeanings(where, oidName, defn.GetFieldDefn(column)->GetNameRef());
  if (reader.layer->SetAttributeFilter(text.c_str()) != OGRERR_NONE) {
    reader.layer->SetAttributeFilter(nullptr);
    RaiseGdal("The expression cannot be read: " + where);
  }
  return text;
}

std::vector<Oid> VectorSource::CollectOids(const std::string& where) const {
  const QuietGdal quiet;
  ReaderPtr reader = Lease();
  OGRLayer& layer = *reader->layer;
  SetWhere(*reader, where);
  // What the filter does not name need not be read. A shared reader is put back as it was, if it
  // answers in one go.
  const bool mayIgnore = !SharesReader() || ReadsRanges();
  if (mayIgnore) {
    CPLStringList ignored;
    ignored.AddString("OGR_GEOMETRY");
    if (where.empty())
      for (int i = 0; i < layer.GetLayerDefn()->GetFieldCount(); ++i)
        ignored.AddString(layer.GetLayerDefn()->GetFieldDefn(i)->GetNameRef());
    layer.SetIgnoredFields(const_cast<const char**>(ignored.List()));
  }
  layer.ResetReading();
  std::vector<Oid> oids;
  const bool pending = HasPendingEdits();
  while (const OGRFeatureUniquePtr feature{layer.GetNextFeature()}) {
    CheckStop();
    const Oid oid = feature->GetFID();
    if (!pending || !IsDeleted(oid)) oids.push_back(oid);
  }
  layer.SetAttributeFilter(nullptr);
  if (mayIgnore && SharesReader()) layer.SetIgnoredFields(nullptr);
  layer.ResetReading();
  GiveBack(std::move(reader));
  quiet.RaiseIfFailed();
  if (!std::is_sorted(oids.begin(), oids.end())) std::sort(oids.begin(), oids.end());
  return oids;
}

std::vector<Oid> VectorSource::Select(const QueryFilter& filter) {
  CheckStop();
  CheckThere();
  CheckWords(filter);
  if (!filter.where.empty()) BeginFilter();
  if (!filter.shape) return CollectOids(filter.where);
  std::vector<Oid> oids = Index().Search(*filter.shape, filter.relation);
  if (filter.where.empty()) return oids;
  const std::vector<Oid> fitting = CollectOids(filter.where);
  std::vector<Oid> both;
  std::set_intersection(oids.begin(), oids.end(), fitting.begin(), fitting.end(),
                        std::back_inserter(both));
  return both;
}

std::int64_t VectorSource::Count(const QueryFilter& filter) {
  CheckStop();
  CheckThere();
  if (filter.where.empty() && filter.sourceWhere.empty() && !filter.shape) return RowCount();
  return static_cast<std::int64_t>(Select(filter).size());
}

CursorPtr VectorSource::Walk(const QueryFilter& filter, bool writable) {
  return std::make_unique<OgrCursor>(*this, filter, writable);
}

CursorPtr VectorSource::WalkAlong(std::vector<Oid> oids, const QueryFilter& what, bool writable) {
  return std::make_unique<OgrCursor>(*this, std::move(oids), what, writable);
}

CursorPtr VectorSource::Search(const QueryFilter& filter) {
  CheckStop();
  CheckThere();
  CheckWords(filter);
  if (filter.shape || !WalksInOrder()) return WalkAlong(Select(filter), filter, false);
  if (!filter.where.empty()) BeginFilter();
  return Walk(filter, false);
}

CursorPtr VectorSource::SearchOids(const std::vector<Oid>& oids, const QueryFilter& what) {
  CheckStop();
  CheckThere();
  const ISelectionSet wanted = [&] {
    ISelectionSet set;
    for (const Oid oid : oids) set.Add(oid);
    if (what.where.empty() && what.sourceWhere.empty() && !what.shape) return set;
    return set.Combine(ISelectionSet(Select(what)), ISelectionSet::Operation::kIntersection);
  }();
  return WalkAlong(wanted.Oids(), what, false);
}

CursorPtr VectorSource::Update(const QueryFilter& filter) {
  CheckStop();
  CheckThere();
  CheckWords(filter);
  BeginUpdate();
  if (filter.shape || !WalksInOrder()) return WalkAlong(Select(filter), filter, true);
  if (!filter.where.empty()) BeginFilter();
  return Walk(filter, true);
}

Envelope VectorSource::Extent() {
  CheckThere();
  if (!hasShape_ || RowCount() == 0) return {};
  if (!HasPendingEdits()) {
    const QuietGdal quiet;
    ReaderPtr reader = Lease();
    OGREnvelope box;
    const bool known = reader->layer->GetExtent(&box, TRUE) == OGRERR_NONE;
    GiveBack(std::move(reader));
    const Envelope extent{box.MinX, box.MinY, box.MaxX, box.MaxY};
    if (known && IsFinite(extent)) return extent;
  }
  Envelope extent;
  QueryFilter filter;
  filter.onlyFields.emplace();
  const CursorPtr rows = Search(filter);
  while (const IRow* row = rows->Next()) extent.Add(row->Extent());
  return extent;
}

const SpatialIndex& VectorSource::Index() {
  CheckThere();
  if (!index_ || indexOf_ != FileVersion()) {
    std::vector<SpatialIndex::Entry> entries;
    QueryFilter filter;
    filter.onlyFields.emplace();
    const CursorPtr rows = Search(filter);
    while (const IRow* row = rows->Next()) entries.push_back({row->OID(), row->Shape()});
    index_ = std::make_unique<SpatialIndex>(std::move(entries));
    indexOf_ = FileVersion();
  }
  return *index_;
}

}  // namespace orlinths
