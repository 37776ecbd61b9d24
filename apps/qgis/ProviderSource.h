// A layer of QGIS whose data come through a data provider: what its tables and cursors share. Edits
// are gathered and written in few calls of the provider; readers of this process see them at once.
#pragma once

#include <QObject>
#include <QPointer>

#include <qgscoordinatereferencesystem.h>
#include <qgsfeature.h>
#include <qgsfeaturerequest.h>
#include <qgsfeaturesource.h>
#include <qgsvectordataprovider.h>
#include <qgsvectorlayer.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "data/SpatialIndex.h"
#include "data/Table.h"

namespace orlinths {

class ProviderCursor;

class ProviderSource : public std::enable_shared_from_this<ProviderSource> {
 public:
  /// The source of a valid layer, the same for all who ask while one of them keeps it.
  static std::shared_ptr<ProviderSource> Of(QgsVectorLayer& layer);
  /// Use `Of`.
  explicit ProviderSource(QgsVectorLayer& layer);
  ~ProviderSource();
  ProviderSource(const ProviderSource&) = delete;
  ProviderSource& operator=(const ProviderSource&) = delete;

  std::string Name() const;
  std::string Folder() const;
  const std::string& Path() const { return path_; }
  bool Exists() const { return layer_ && layer_->isValid(); }
  /// Error 91 once the layer has been removed.
  void CheckThere() const;
  bool IsGone() const { return layer_.isNull(); }

  const orlinths::Fields& Fields() const { return fields_; }
  const QgsFields& Columns() const { return columns_; }
  /// Of the columns, without the object id and the shape.
  const std::vector<FieldType>& ColumnTypes() const { return columnTypes_; }
  const GeometryDef& Geometry() const { return geometry_; }
  bool HasShape() const { return hasShape_; }
  int FirstColumn() const { return hasShape_ ? 2 : 1; }
  std::uint64_t ChangeCount() const { return changes_; }
  std::uint64_t SchemaVersion() const { return schemaVersion_; }

  std::int64_t Count(const QueryFilter& filter);
  bool HasRow(Oid oid);
  std::vector<Oid> Select(const QueryFilter& filter);
  CursorPtr Search(const QueryFilter& filter);
  CursorPtr SearchOids(const std::vector<Oid>& oids, const QueryFilter& what);
  CursorPtr Update(const QueryFilter& filter);
  CursorPtr Insert();
  Envelope Extent();
  const SpatialIndex& Index();

  void AddField(const Field& field);
  void DeleteField(int field);
  /// The tools delete and rename what they make; a layer of the user's is another matter.
  [[noreturn]] void Delete() const;
  bool CanRename() const { return false; }
  [[noreturn]] void Rename(const std::string& name) const;
  /// Writes what is pending, and raises what failed when an earlier writing could not say so.
  void Write();
  /// The same, and QGIS shows it, also in other layers on the same table.
  void Commit();

 private:
  friend class ProviderCursor;
  friend class ProviderRow;
  friend class ProviderInsertCursor;

  // --- what cursors ask
  /// The whole class, or what the layer's own filter shows of it: a picture of the rows as they
  /// are.
  std::unique_ptr<QgsAbstractFeatureSource> Open(const std::string& sourceWhere) const;
  QgsFeatureRequest Request(const QueryFilter& what) const;
  /// False when the provider may give rows in any order.
  bool WalksInOrder() const { return isMemory_; }
  std::vector<Oid> CollectOids(const QueryFilter& filter) const;
  /// Grows when what was opened before does not show the rows as they are.
  std::uint64_t Version() const { return version_; }
  bool HasPending() const { return hasPending_; }
  bool IsDeleted(Oid oid) const { return deleted_.contains(oid); }
  const QVariant* PendingValue(Oid oid, int column) const;
  const QgsGeometry* PendingShape(Oid oid) const;
  QgsFeature FetchOne(Oid oid) const;
  [[noreturn]] void RaiseProvider(const std::string& what) const;
  void CheckReads(const QgsFeatureIterator& rows) const;

  /// Error 70 where none of that can be done: the provider, the layer or the user's open edits
  /// forbid it.
  void CheckEdit(QgsVectorDataProvider::Capabilities any);
  bool Can(QgsVectorDataProvider::Capability what) const;
  void ChangeValue(Oid oid, int column, const QVariant& value);
  void ChangeShape(Oid oid, const orlinths::Geometry& shape);
  void DeleteRow(Oid oid);
  void InsertRow(IRow& row);
  /// For the end of a cursor, which cannot report: the failure waits for the next call that can.
  void WriteQuietly();

  QgsVectorLayer& Edited() const { return whole_ ? *whole_ : *layer_; }
  QgsVectorDataProvider& Provider() const { return *Edited().dataProvider(); }
  void LookAnew();
  void ReadFields();
  const std::vector<Oid>& Oids();
  void Settle(const QueryFilter& filter);
  void ShapesChanged();
  void WritePending();
  void ChangeSchema(const std::string& failure,
                    const std::function<bool(QgsVectorDataProvider&)>& change);
  std::string FreeName(const char* base) const;

  QPointer<QgsVectorLayer> layer_;
  /// The same data without the layer's filter, where it has one that its provider keeps.
  std::unique_ptr<QgsVectorLayer> whole_;
  std::uint64_t wholeOf_ = 0;  ///< version of the columns when it was opened
  bool isMemory_;
  std::string path_;
  QObject ears_;
  EditKeeper keeper_;

  orlinths::Fields fields_;
  QgsFields columns_;
  std::vector<FieldType> columnTypes_;
  GeometryDef geometry_;
  QgsCoordinateReferenceSystem crs_;  ///< that the geometry's reference was made from
  bool hasShape_ = false;

  std::uint64_t changes_ = 0, version_ = 0, schemaVersion_ = 0;
  std::optional<std::vector<Oid>> oids_;  ///< made when they are asked for
  int looks_ = 0;                         ///< for single rows, since then
  std::unique_ptr<SpatialIndex> index_;
  std::optional<Envelope> extent_;
  std::vector<ProviderCursor*> cursors_;

  QgsChangedAttributesMap values_;
  QgsGeometryMap shapes_;
  QgsFeatureIds deleted_;
  QgsFeatureList inserted_;
  std::vector<Value> space_;
  bool hasPending_ = false;  ///< values, shapes or deletions
  bool isWriting_ = false, isChanged_ = false;
  std::optional<RuntimeError> failure_;
};

/// How layers that are no file are called in sessions and messages: "host:memory/sketch".
std::string ProviderPath(const QgsMapLayer& layer);
/// The folder that tools propose for what they make of such a layer: that of the file behind the
/// provider, else the project's, else the user's own.
std::string FolderFor(const QgsMapLayer& layer);

}  // namespace orlinths
