#include "data/Layers.h"

#include "data/Application.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

std::string Both(const std::string& a, const std::string& b) {
  if (a.empty() || b.empty()) return a + b;
  return "(" + a + ") AND (" + b + ")";
}

}  // namespace

IFeatureLayer::IFeatureLayer(FeatureClassPtr featureClass)
    : ILayer(NotNothing(featureClass.get()).Name()),
      class_(std::move(featureClass)),
      sourcePath_(class_->Path()) {}

IFeatureLayer::IFeatureLayer(std::string name, std::string sourcePath)
    : ILayer(std::move(name)), sourcePath_(std::move(sourcePath)) {}

Envelope IFeatureLayer::Extent() const { return Valid() ? class_->Extent() : Envelope{}; }

std::string IFeatureLayer::SourcePath() const { return sourcePath_; }

GeometryType IFeatureLayer::ShapeType() const {
  return Valid() ? class_->ShapeType() : GeometryType::kNull;
}

void IFeatureLayer::SetDefinitionQuery(const std::string& where) { SetQuery(where, false); }

void IFeatureLayer::SetSourceQuery(const std::string& sourceWhere) { SetQuery(sourceWhere, true); }

void IFeatureLayer::SetQuery(const std::string& query, bool inSourceWords) {
  if (!query.empty()) {
    QueryFilter filter;
    (inSourceWords ? filter.sourceWhere : filter.where) = query;
    filter.withShape = false;
    const CursorPtr rows = FeatureClass().Search(filter);
    // Some formats parse an expression only when the first row is asked for.
    if (!inSourceWords) rows->Next();
  }
  definitionQuery_ = query;
  inSourceWords_ = inSourceWords;
  visible_.reset();
}

QueryFilter IFeatureLayer::Shown(QueryFilter filter) const {
  if (inSourceWords_)
    filter.sourceWhere = definitionQuery_;
  else
    filter.where = Both(definitionQuery_, filter.where);
  return filter;
}

const ISelectionSet& IFeatureLayer::Visible() const {
  const std::uint64_t now = FeatureClass().ChangeCount();
  if (!visible_ || visibleAt_ != now) {
    visible_ = class_->Select(Shown());
    visibleAt_ = now;
  }
  return *visible_;
}

CursorPtr IFeatureLayer::Search(const QueryFilter& filter) const {
  return FeatureClass().Search(definitionQuery_.empty() ? filter : Shown(filter));
}

CursorPtr IFeatureLayer::SearchSelected(const QueryFilter& what) const {
  return FeatureClass().SearchOids(selection_.Oids(), what);
}

void IFeatureLayer::SetSelectionSet(ISelectionSet selection) {
  std::vector<Oid> there;
  for (const Oid oid : selection.Oids())
    if (FeatureClass().HasRow(oid)) there.push_back(oid);
  selection_ = ISelectionSet(std::move(there));
}

void IFeatureLayer::AddToSelection(Oid oid) {
  if (FeatureClass().HasRow(oid)) selection_.Add(oid);
}

void IFeatureLayer::SelectFeatures(const QueryFilter& filter) {
  selection_ = FeatureClass().Select(Shown(filter));
}

void IFeatureLayer::SelectionChanged() const {
  if (gMap) gMap->SelectionChanged(*this);
}

std::vector<Oid> IFeatureLayer::Identify(double x, double y) const {
  std::vector<Oid> oids;
  Identify(x, y, oids);
  return oids;
}

void IFeatureLayer::Identify(double x, double y, std::vector<Oid>& oids) const {
  FeatureClass().FeaturesAt(x, y, oids);
  if (definitionQuery_.empty() || oids.empty()) return;
  const ISelectionSet& visible = Visible();
  std::erase_if(oids, [&](Oid oid) { return !visible.Contains(oid); });
}

IRasterLayer::IRasterLayer(RasterDatasetPtr dataset)
    : ILayer(NotNothing(dataset.get()).Name()),
      dataset_(std::move(dataset)),
      sourcePath_(dataset_->Path()) {}

IRasterLayer::IRasterLayer(std::string name, std::string sourcePath)
    : ILayer(std::move(name)), sourcePath_(std::move(sourcePath)) {}

Envelope IRasterLayer::Extent() const { return Valid() ? dataset_->Extent() : Envelope{}; }

std::string IRasterLayer::SourcePath() const { return sourcePath_; }

int IRasterLayer::BandCount() const { return Valid() ? dataset_->BandCount() : 0; }

IStandaloneTable::IStandaloneTable(TablePtr table)
    : name_(NotNothing(table.get()).Name()),
      table_(std::move(table)),
      sourcePath_(table_->Path()) {}

IStandaloneTable::IStandaloneTable(std::string name, std::string sourcePath)
    : name_(std::move(name)), sourcePath_(std::move(sourcePath)) {}

}  // namespace orlinths
