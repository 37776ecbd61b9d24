// Tables and feature classes over a source: an object that several of them share, so that edits,
// the spatial index and open readers are common to all who opened the same data.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "data/RowBuffer.h"
#include "data/SpatialIndex.h"
#include "data/Table.h"

namespace orlinths {

/// Hands everything to its source, which says by `CheckThere` when its data are gone. `Source` has
/// the operations of the interface under the names used here.
template <class Source, class Interface>
class TableOver : public Interface {
 public:
  explicit TableOver(std::shared_ptr<Source> source) : source_(std::move(source)) {}

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
  void Delete() override { There().Delete(); }
  bool CanRename() const override { return There().CanRename(); }
  void Rename(const std::string& name) override { There().Rename(name); }

 protected:
  Source& There() const {
    source_->CheckThere();
    return *source_;
  }

 private:
  std::shared_ptr<Source> source_;
};

template <class Source>
class FeatureClassOver final : public TableOver<Source, IFeatureClass> {
 public:
  using TableOver<Source, IFeatureClass>::TableOver;
  GeometryType ShapeType() const override { return this->There().Geometry().geometryType; }
  std::string ShapeFieldName() const override { return this->There().Fields()[1].name; }
  bool HasZ() const override { return this->There().Geometry().hasZ; }
  bool HasM() const override { return this->There().Geometry().hasM; }
  SpatialReferencePtr SpatialReference() const override {
    return this->There().Geometry().spatialReference;
  }
  Envelope Extent() const override { return this->There().Extent(); }
  void FeaturesAt(double x, double y, std::vector<Oid>& oids) const override {
    this->There().Index().At(x, y, oids);
  }
};

}  // namespace orlinths
