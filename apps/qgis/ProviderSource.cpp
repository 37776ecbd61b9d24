#include "qgis/ProviderSource.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalBlocker>

#include <qgsproject.h>
#include <qgsproviderregistry.h>

#include <algorithm>
#include <map>
#include <utility>

#include "qgis/ProviderCursor.h"
#include "qgis/ProviderShapes.h"
#include "qgis/ProviderValues.h"
#include "qgis/References.h"
#include "qgis/Text.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

/// While it stands, a layer in memory, whose filter works in the provider that holds the data,
/// shows all of them. QGIS is told nothing of it.
class WithoutFilter {
 public:
  explicit WithoutFilter(QgsVectorDataProvider& provider)
      : silence_(&provider), provider_(provider), filter_(provider.subsetString()) {
    if (!filter_.isEmpty()) provider_.setSubsetString({}, false);
  }
  ~WithoutFilter() {
    if (!filter_.isEmpty()) provider_.setSubsetString(filter_, false);
  }
  WithoutFilter(const WithoutFilter&) = delete;
  WithoutFilter& operator=(const WithoutFilter&) = delete;

 private:
  QSignalBlocker silence_;
  QgsVectorDataProvider& provider_;
  QString filter_;
};

std::map<const QgsVectorLayer*, std::weak_ptr<ProviderSource>>& Sources() {
  static std::map<const QgsVectorLayer*, std::weak_ptr<ProviderSource>> sources;
  return sources;
}

/// The file that the provider reads, if there is one.
QString FileOf(const QgsMapLayer& layer, const QString& provider) {
  const QVariantMap parts = QgsProviderRegistry::instance()->decodeUri(provider, layer.source());
  const QString path = parts.value(QStringLiteral("path")).toString();
  return QFileInfo(path).isFile() ? path : QString();
}

}  // namespace

std::string ProviderPath(const QgsMapLayer& layer) {
  return "host:" + FromQt(layer.providerType()) + '/' + FromQt(layer.name());
}

std::string FolderFor(const QgsMapLayer& layer) {
  const QString file = FileOf(layer, layer.providerType());
  if (!file.isEmpty()) return FromQt(QFileInfo(file).absolutePath());
  const QString home = QgsProject::instance()->homePath();
  return FromQt(home.isEmpty() ? QDir::homePath() : home);
}

// ---- Its life

std::shared_ptr<ProviderSource> ProviderSource::Of(QgsVectorLayer& layer) {
  std::erase_if(Sources(), [](const auto& entry) { return entry.second.expired(); });
  if (const auto known = Sources()[&layer].lock(); known && known->layer_ == &layer) {
    known->LookAnew();
    return known;
  }
  auto source = std::make_shared<ProviderSource>(layer);
  Sources()[&layer] = source;
  return source;
}

ProviderSource::ProviderSource(QgsVectorLayer& layer)
    : layer_(&layer),
      isMemory_(layer.providerType() == QStringLiteral("memory")),
      path_(ProviderPath(layer)),
      keeper_([this] { Commit(); }) {
  // What cannot be read now is told by the next call that a tool makes.
  const auto changed = [this] { Quietly([this] { LookAnew(); }); };
  QObject::connect(&layer, &QgsVectorLayer::editingStopped, &ears_, changed);
  QObject::connect(&layer, &QgsVectorLayer::updatedFields, &ears_, changed);
  QObject::connect(&layer, &QgsVectorLayer::subsetStringChanged, &ears_, changed);
  QObject::connect(&layer, &QgsMapLayer::dataChanged, &ears_, changed);
  LookAnew();
}

ProviderSource::~ProviderSource() {
  Quietly([this] {
    if (Exists()) Commit();
  });
}

void ProviderSource::LookAnew() {
  if (isWriting_ || !Exists()) return;
  if (isMemory_ || layer_->subsetString().isEmpty()) {
    whole_.reset();
  } else if (!whole_ || schemaVersion_ != wholeOf_) {
    QgsVectorLayer::LayerOptions options;
    options.loadDefaultStyle = false;
    options.skipCrsValidation = true;
    whole_ = std::make_unique<QgsVectorLayer>(layer_->source(), layer_->name(),
                                              layer_->providerType(), options);
    if (!whole_->isValid() || !whole_->dataProvider()->setSubsetString({}))
      RaiseProvider("The layer " + Name() + " cannot be read without its filter.");
    wholeOf_ = schemaVersion_;
  }
  for (ProviderCursor* cursor : cursors_) cursor->Detach();
  ReadFields();
  ShapesChanged();
  ++version_;
}

void ProviderSource::ReadFields() {
  const QgsVectorDataProvider& provider = *layer_->dataProvider();
  columns_ = provider.fields();
  hasShape_ = layer_->isSpatial();
  if (!geometry_.spatialReference || crs_ != layer_->crs()) {
    geometry_.spatialReference = ReferenceOf(layer_->crs());
    crs_ = layer_->crs();
  }
  geometry_.geometryType = PlainType(layer_->wkbType());
  geometry_.hasZ = QgsWkbTypes::hasZ(layer_->wkbType());
  geometry_.hasM = QgsWkbTypes::hasM(layer_->wkbType());

  Field oid;
  oid.name = FreeName(hasShape_ ? "FID" : "OID");
  oid.type = FieldType::kOid;
  oid.required = true;
  oid.editable = oid.isNullable = false;
  fields_ = orlinths::Fields{oid};
  if (hasShape_) {
    Field shape;
    shape.name = FreeName("Shape");
    shape.type = FieldType::kGeometry;
    shape.required = true;
    shape.geometry = geometry_;
    fields_.AddField(std::move(shape));
  }
  columnTypes_.clear();
  const QgsAttributeList keys = provider.pkAttributeIndexes();
  for (int i = 0; i < columns_.size(); ++i) {
    Field column = ToField(columns_.at(i));
    column.required = keys.contains(i);
    columnTypes_.push_back(column.type);
    fields_.AddField(std::move(column));
  }
}

/// A column of that name must be found by it, not the object id or the shape.
std::string ProviderSource::FreeName(const char* base) const {
  std::string name = base;
  for (int i = 1; columns_.lookupField(ToQt(name)) >= 0; ++i) name = base + ('_' + ToText(i));
  return name;
}

std::string ProviderSource::Name() const { return layer_ ? FromQt(layer_->name()) : std::string(); }

std::string ProviderSource::Folder() const { return layer_ ? FolderFor(*layer_) : std::string(); }

void ProviderSource::CheckThere() const {
  if (!Exists()) throw RuntimeError(ErrorNumber::kObjectNotSet);
}

void ProviderSource::RaiseProvider(const std::string& what) const {
  const QgsVectorDataProvider* provider = Edited().dataProvider();
  const QStringList said = provider != nullptr ? provider->errors() : QStringList();
  throw RuntimeError::Platform(said.isEmpty() ? what : FromQt(said.constLast().trimmed()));
}

// ---- Reading

std::unique_ptr<QgsAbstractFeatureSource> ProviderSource::Open(
    const std::string& sourceWhere) const {
  CheckThere();
  if (!sourceWhere.empty()) {
    if (ToQt(sourceWhere) != layer_->subsetString())
      throw RuntimeError::Platform("The filter of the layer " + Name() + " is another one now.");
    return std::unique_ptr<QgsAbstractFeatureSource>(layer_->dataProvider()->featureSource());
  }
  if (!isMemory_) return std::unique_ptr<QgsAbstractFeatureSource>(Provider().featureSource());
  const WithoutFilter all(Provider());
  return std::unique_ptr<QgsAbstractFeatureSource>(Provider().featureSource());
}

QgsFeatureRequest ProviderSource::Request(const QueryFilter& what) const {
  QgsFeatureRequest request;
  if (!what.withShape || !hasShape_) request.setFlags(QgsFeatureRequest::NoGeometry);
  if (what.onlyFields) {
    QgsAttributeList wanted;
    for (const std::string& name : *what.onlyFields)
      if (const int column = columns_.lookupField(ToQt(name)); column >= 0) wanted += column;
    request.setSubsetOfAttributes(wanted);
  }
  if (!what.where.empty())
    request.setFilterExpression(ToExpression(what.where, columns_, fields_[0].name));
  return request;
}

void ProviderSource::CheckReads(const QgsFeatureIterator& rows) const {
  if (!rows.isValid()) RaiseProvider("The layer " + Name() + " cannot be read.");
}

std::vector<Oid> ProviderSource::CollectOids(const QueryFilter& filter) const {
  QueryFilter what;
  what.where = filter.where;
  what.withShape = false;
  what.onlyFields.emplace();
  const auto source = Open(filter.sourceWhere);
  QgsFeatureIterator rows = source->getFeatures(Request(what));
  CheckReads(rows);
  std::vector<Oid> oids;
  QgsFeature row;
  while (rows.nextFeature(row)) {
    CheckStop();
    if (deleted_.isEmpty() || !deleted_.contains(row.id())) oids.push_back(row.id());
  }
  if (!std::ranges::is_sorted(oids)) std::ranges::sort(oids);
  return oids;
}

const std::vector<Oid>& ProviderSource::Oids() {
  if (!oids_) oids_ = CollectOids({});
  return *oids_;
}

/// Filters are evaluated on what the provider has.
void ProviderSource::Settle(const QueryFilter& filter) {
  CheckStop();
  CheckThere();
  if (!filter.where.empty() || !filter.sourceWhere.empty()) Write();
}

std::vector<Oid> ProviderSource::Select(const QueryFilter& filter) {
  Settle(filter);
  const bool isFiltered = !filter.where.empty() || !filter.sourceWhere.empty();
  if (!filter.shape) return isFiltered ? CollectOids(filter) : Oids();
  std::vector<Oid> oids = Index().Search(*filter.shape, filter.relation);
  if (!isFiltered) return oids;
  const std::vector<Oid> fitting = CollectOids(filter);
  std::vector<Oid> both;
  std::ranges::set_intersection(oids, fitting, std::back_inserter(both));
  return both;
}

std::int64_t ProviderSource::Count(const QueryFilter& filter) {
  Settle(filter);
  if (!filter.where.empty() || !filter.sourceWhere.empty() || filter.shape || !isMemory_)
    return static_cast<std::int64_t>(Select(filter).size());
  const WithoutFilter all(Provider());
  return Provider().featureCount() - deleted_.size();
}

bool ProviderSource::HasRow(Oid oid) {
  CheckThere();
  if (deleted_.contains(oid)) return false;
  // One look costs less than a list of all rows; many cost more.
  constexpr int kFewLooks = 64;
  if (!oids_ && (isMemory_ || ++looks_ < kFewLooks)) return FetchOne(oid).isValid();
  return std::ranges::binary_search(Oids(), oid);
}

QgsFeature ProviderSource::FetchOne(Oid oid) const {
  QgsFeature row;
  const auto source = Open({});
  QgsFeatureIterator rows = source->getFeatures(QgsFeatureRequest(oid));
  CheckReads(rows);
  rows.nextFeature(row);
  return row;
}

CursorPtr ProviderSource::Search(const QueryFilter& filter) {
  Settle(filter);
  if (filter.shape) return std::make_unique<ProviderCursor>(*this, Select(filter), filter, false);
  return std::make_unique<ProviderCursor>(*this, filter, false);
}

CursorPtr ProviderSource::SearchOids(const std::vector<Oid>& oids, const QueryFilter& what) {
  Settle(what);
  ISelectionSet wanted;
  for (const Oid oid : oids) wanted.Add(oid);
  if (!what.where.empty() || !what.sourceWhere.empty() || what.shape)
    wanted = wanted.Combine(ISelectionSet(Select(what)), ISelectionSet::Operation::kIntersection);
  return std::make_unique<ProviderCursor>(*this, wanted.Oids(), what, false);
}

CursorPtr ProviderSource::Update(const QueryFilter& filter) {
  CheckEdit(QgsVectorDataProvider::ChangeAttributeValues | QgsVectorDataProvider::ChangeGeometries |
            QgsVectorDataProvider::DeleteFeatures);
  Settle(filter);
  if (filter.shape) return std::make_unique<ProviderCursor>(*this, Select(filter), filter, true);
  return std::make_unique<ProviderCursor>(*this, filter, true);
}

CursorPtr ProviderSource::Insert() {
  CheckEdit(QgsVectorDataProvider::AddFeatures);
  return std::make_unique<ProviderInsertCursor>(*this);
}

Envelope ProviderSource::Extent() {
  CheckThere();
  if (!extent_) {
    Envelope extent;
    const CursorPtr rows = Search(ShapesOnly());
    while (const IRow* row = rows->Next()) extent.Add(row->Extent());
    extent_ = extent;
  }
  return *extent_;
}

const SpatialIndex& ProviderSource::Index() {
  CheckThere();
  if (!index_) {
    std::vector<SpatialIndex::Entry> entries;
    const CursorPtr rows = Search(ShapesOnly());
    while (const IRow* row = rows->Next()) entries.push_back({row->OID(), row->Shape()});
    index_ = std::make_unique<SpatialIndex>(std::move(entries));
  }
  return *index_;
}

}  // namespace orlinths
