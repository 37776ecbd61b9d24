#include "qgis/ProviderTable.h"

#include <utility>

#include "data/RowBuffer.h"
#include "qgis/ProviderSource.h"
#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

/// Hands everything to the source that it shares with others of its layer.
template <class Interface>
class TableOver : public Interface {
 public:
  explicit TableOver(std::shared_ptr<ProviderSource> source) : source_(std::move(source)) {}

  std::string Name() const override { return source_->Name(); }
  std::string PathName() const override { return source_->Folder(); }
  std::string Path() const override { return source_->Path(); }
  bool Exists() const override { return source_->Exists(); }
  const orlinths::Fields& Fields() const override { return There().Fields(); }
  void AddField(const Field& field) override { There().AddField(field); }
  void DeleteField(int field) override { There().DeleteField(field); }
  std::int64_t RowCount(const QueryFilter& filter) const override { return There().Count(filter); }
  CursorPtr Search(const QueryFilter& filter) const override { return There().Search(filter); }
  CursorPtr SearchOids(const std::vector<Oid>& oids, const QueryFilter& what) const override {
    return There().SearchOids(oids, what);
  }
  CursorPtr Update(const QueryFilter& filter) override { return There().Update(filter); }
  CursorPtr Insert() override { return There().Insert(); }
  std::unique_ptr<IRow> CreateRowBuffer() override {
    There();
    return std::make_unique<RowBuffer>(
        [source = source_]() -> const orlinths::Fields& { return source->Fields(); },
        source_->HasShape());
  }
  ISelectionSet Select(const QueryFilter& filter) const override {
    return ISelectionSet(There().Select(filter));
  }
  bool HasRow(Oid oid) const override { return There().HasRow(oid); }
  std::uint64_t ChangeCount() const override { return source_->ChangeCount(); }
  /// The tools delete and rename what they make; a layer of the user's is another matter.
  void Delete() override {
    throw RuntimeError::Platform("The layer " + Name() + " is no file and cannot be deleted.");
  }
  bool CanRename() const override { return false; }
  void Rename(const std::string&) override {
    throw RuntimeError::Platform("The layer " + Name() + " is no file and cannot be renamed.");
  }

 protected:
  ProviderSource& There() const {
    source_->CheckThere();
    return *source_;
  }

 private:
  std::shared_ptr<ProviderSource> source_;
};

class ProviderClass final : public TableOver<IFeatureClass> {
 public:
  using TableOver::TableOver;
  GeometryType ShapeType() const override { return There().Geometry().geometryType; }
  std::string ShapeFieldName() const override { return There().Fields()[1].name; }
  bool HasZ() const override { return There().Geometry().hasZ; }
  bool HasM() const override { return There().Geometry().hasM; }
  SpatialReferencePtr SpatialReference() const override {
    return There().Geometry().spatialReference;
  }
  Envelope Extent() const override { return There().Extent(); }
  void FeaturesAt(double x, double y, std::vector<Oid>& oids) const override {
    There().Index().At(x, y, oids);
  }
};

}  // namespace

FeatureClassPtr OpenProviderClass(QgsVectorLayer& layer) {
  return std::make_shared<ProviderClass>(ProviderSource::Of(layer));
}

TablePtr OpenProviderTable(QgsVectorLayer& layer) {
  return std::make_shared<TableOver<ITable>>(ProviderSource::Of(layer));
}

}  // namespace orlinths
