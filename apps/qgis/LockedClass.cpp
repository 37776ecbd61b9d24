#include "qgis/LockedClass.h"

#include <utility>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

[[noreturn]] void Refuse() { throw RuntimeError(ErrorNumber::kPermissionDenied); }

template <class Base>
class LockedTable : public Base {
 public:
  explicit LockedTable(std::shared_ptr<Base> base) : base_(std::move(base)) {}

  std::string Name() const override { return base_->Name(); }
  std::string PathName() const override { return base_->PathName(); }
  std::string Path() const override { return base_->Path(); }
  bool Exists() const override { return base_->Exists(); }
  const orlinths::Fields& Fields() const override { return base_->Fields(); }
  std::int64_t RowCount(const QueryFilter& filter) const override {
    return base_->RowCount(filter);
  }
  CursorPtr Search(const QueryFilter& filter) const override { return base_->Search(filter); }
  CursorPtr SearchOids(const std::vector<Oid>& oids, const QueryFilter& what) const override {
    return base_->SearchOids(oids, what);
  }
  ISelectionSet Select(const QueryFilter& filter) const override { return base_->Select(filter); }
  bool HasRow(Oid oid) const override { return base_->HasRow(oid); }
  std::uint64_t ChangeCount() const override { return base_->ChangeCount(); }
  std::unique_ptr<IRow> CreateRowBuffer() override { return base_->CreateRowBuffer(); }
  bool CanRename() const override { return false; }

  void AddField(const Field&) override { Refuse(); }
  void DeleteField(int) override { Refuse(); }
  CursorPtr Update(const QueryFilter&) override { Refuse(); }
  CursorPtr Insert() override { Refuse(); }
  void Delete() override { Refuse(); }
  void Rename(const std::string&) override { Refuse(); }

 protected:
  const std::shared_ptr<Base> base_;
};

class LockedClass : public LockedTable<IFeatureClass> {
 public:
  using LockedTable::LockedTable;
  SpatialReferencePtr SpatialReference() const override { return base_->SpatialReference(); }
  Envelope Extent() const override { return base_->Extent(); }
  GeometryType ShapeType() const override { return base_->ShapeType(); }
  std::string ShapeFieldName() const override { return base_->ShapeFieldName(); }
  bool HasZ() const override { return base_->HasZ(); }
  bool HasM() const override { return base_->HasM(); }
  void FeaturesAt(double x, double y, std::vector<Oid>& oids) const override {
    base_->FeaturesAt(x, y, oids);
  }
};

}  // namespace

TablePtr Locked(TablePtr table) { return std::make_shared<LockedTable<ITable>>(std::move(table)); }
FeatureClassPtr Locked(FeatureClassPtr featureClass) {
  return std::make_shared<LockedClass>(std::move(featureClass));
}

}  // namespace orlinths
