// Layers and stand-alone tables as a map holds them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "data/Raster.h"
#include "data/Table.h"

namespace orlinths {

class ILayer {
 public:
  virtual ~ILayer() = default;
  const std::string& Name() const { return name_; }
  void SetName(std::string name) { name_ = std::move(name); }
  /// False for a layer whose source could not be opened, or has been deleted or overwritten since.
  virtual bool Valid() const = 0;
  virtual Envelope Extent() const { return {}; }
  /// Path of its source; empty for a group.
  virtual std::string SourcePath() const { return {}; }

 protected:
  explicit ILayer(std::string name) : name_(std::move(name)) {}

 private:
  std::string name_;
};
using LayerPtr = std::shared_ptr<ILayer>;

/// A layer of features: a class, a definition query and a selection.
class IFeatureLayer : public ILayer {
 public:
  /// Named after the class until named otherwise.
  explicit IFeatureLayer(FeatureClassPtr featureClass);
  /// A layer whose source could not be opened.
  IFeatureLayer(std::string name, std::string sourcePath);

  bool Valid() const override { return class_ && class_->Exists(); }
  orlinths::Envelope Extent() const override;
  std::string SourcePath() const override;

  /// Error 91 for an invalid layer.
  IFeatureClass& FeatureClass() const { return NotNothing(class_.get()); }
  const FeatureClassPtr& FeatureClassPointer() const { return class_; }
  GeometryType ShapeType() const;  ///< kNull for an invalid layer

  /// Throws a platform error, and keeps the old query, when the expression does not parse.
  void SetDefinitionQuery(const std::string& where);
  /// A host whose sources filter in words of their own (a database's SQL) gives the query in those: it is evaluated by the
  /// source as `QueryFilter::sourceWhere`.
  void SetSourceQuery(const std::string& sourceWhere);
  const std::string& DefinitionQuery() const { return definitionQuery_; }
  /// `filter` with the definition query in force: what `Search` gives, and what of the class counts as the layer's.
  QueryFilter Shown(QueryFilter filter = {}) const;

  /// Keeps the definition query in force, `filter` besides.
  CursorPtr Search(const QueryFilter& filter = {}) const;
  /// Rows of the selection, in OID order.
  CursorPtr SearchSelected(const QueryFilter& what = {}) const;

  const ISelectionSet& SelectionSet() const { return selection_; }
  /// Both ignore OIDs that do not exist. The change is announced by `SelectionChanged`.
  void SetSelectionSet(ISelectionSet selection);
  void AddToSelection(Oid oid);
  void ClearSelection() { selection_.Clear(); }
  /// Replaces the selection by the rows that the filter gives, definition query respected.
  void SelectFeatures(const QueryFilter& filter);
  /// Tells the host that the selection has changed.
  void SelectionChanged() const;

  /// All features of the layer that the point meets, ascending, definition query respected.
  std::vector<Oid> Identify(double x, double y) const;
  /// The same into a list that is emptied first, for loops: allocates nothing once it is long enough.
  void Identify(double x, double y, std::vector<Oid>& oids) const;

 private:
  FeatureClassPtr class_;
  std::string sourcePath_;
  std::string definitionQuery_;
  bool inSourceWords_ = false;  ///< the definition query
  const ISelectionSet& Visible() const;
  void SetQuery(const std::string& query, bool inSourceWords);

  /// Which OIDs the definition query gives, made when first needed, and the class's count of changes then.
  mutable std::optional<ISelectionSet> visible_;
  mutable std::uint64_t visibleAt_ = 0;
  ISelectionSet selection_;
};

class IRasterLayer : public ILayer {
 public:
  explicit IRasterLayer(RasterDatasetPtr dataset);
  IRasterLayer(std::string name, std::string sourcePath);

  bool Valid() const override { return dataset_ && dataset_->Exists(); }
  orlinths::Envelope Extent() const override;
  std::string SourcePath() const override;
  IRasterDataset& Dataset() const { return NotNothing(dataset_.get()); }
  const RasterDatasetPtr& DatasetPointer() const { return dataset_; }
  int BandCount() const;  ///< 0 for an invalid layer

 private:
  RasterDatasetPtr dataset_;
  std::string sourcePath_;
};

/// A group; its layers top first.
class IGroupLayer : public ILayer {
 public:
  explicit IGroupLayer(std::string name) : ILayer(std::move(name)) {}
  bool Valid() const override { return true; }
  std::vector<LayerPtr> layers;
};

class IStandaloneTable {
 public:
  /// Named after the table's file without extension until named otherwise.
  explicit IStandaloneTable(TablePtr table);
  IStandaloneTable(std::string name, std::string sourcePath);
  const std::string& Name() const { return name_; }
  void SetName(std::string name) { name_ = std::move(name); }
  bool Valid() const { return table_ && table_->Exists(); }
  ITable& Table() const { return NotNothing(table_.get()); }
  const std::string& SourcePath() const { return sourcePath_; }

 private:
  std::string name_;
  TablePtr table_;
  std::string sourcePath_;
};
using StandaloneTablePtr = std::shared_ptr<IStandaloneTable>;

}  // namespace orlinths
