// Tables, feature classes, their rows, cursors and filters: what the tools ask of a data source, whatever its format.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "data/Field.h"
#include "numerics/Geometry.h"
#include "runtime/Value.h"

namespace orlinths {

using Oid = std::int64_t;

enum class SpatialRelation : int {
  kIntersects = 1,
  kContains = 8,  ///< the filter's shape contains the feature; boundary-only contact does not count
};

/// Which rows, and what of them. A default filter gives every row, whole.
struct QueryFilter {
  std::string where;                ///< `name op value` with AND/OR/NOT, text in single quotes, dates as #...#; empty: all
  std::string sourceWhere;          ///< a condition besides, in the words of the source itself; see `IFeatureLayer`
  std::optional<Geometry> shape;    ///< a spatial condition besides
  SpatialRelation relation = SpatialRelation::kIntersects;
  /// What the caller will read. Fields not named here may answer as empty; leaving out what is not needed makes reading
  /// faster. `onlyFields` unset: all fields.
  std::optional<std::vector<std::string>> onlyFields;
  bool withShape = true;
};

/// For a walk that reads nothing of a row but its shape.
QueryFilter ShapesOnly();

/// One row. A row of a class with geometry has a shape; on a plain table every question about it raises error 91.
/// Field indexes are those of the table's `Fields()`; an index outside raises error 9.
class IRow {
 public:
  virtual ~IRow() = default;
  virtual Oid OID() const = 0;
  virtual const orlinths::Fields& Fields() const = 0;

  virtual Value GetValue(int field) const = 0;
  /// Converts to the field's type when the row is stored; a value that does not fit is an error then.
  virtual void SetValue(int field, const Value& value) = 0;
  /// The same without a `Value`, for inner loops. Null and text follow the rules of `ToDouble` and `ToText`.
  virtual double GetDouble(int field) const { return ToDouble(GetValue(field)); }
  virtual void GetText(int field, std::string& text) const { text = ToText(GetValue(field)); }
  virtual bool IsNull(int field) const { return GetValue(field).IsNull(); }
  virtual void SetDouble(int field, double value) { SetValue(field, Value(value)); }

  virtual const Geometry& Shape() const = 0;   ///< null and empty shapes are `IsEmpty`
  virtual void SetShape(Geometry shape) = 0;
  Geometry ShapeCopy() const { return Shape(); }
  Envelope Extent() const { return Shape().Envelope(); }
  /// The shape as its type; error 91 for an empty one, 13 for another type.
  const orlinths::Point& Point() const;
  const Polyline& Line() const;
  const orlinths::Polygon& Polygon() const;
};
using IFeature = IRow;

/// Walks rows in OID order. Made by a table; must not outlive it. A row is good until the next call of `Next`.
class ICursor {
 public:
  virtual ~ICursor() = default;
  virtual IRow* Next() = 0;  ///< nothing at the end
  /// Of update cursors. The row must be the current one. Every platform call looks for a stop request.
  virtual void UpdateRow(IRow& row);
  virtual void DeleteRow(IRow& row);
  /// Of insert cursors: gives the new row's OID, or -1 where the source gives it only when the row is written.
  virtual Oid InsertRow(IRow& row);
  /// Makes what was updated or inserted durable and readable by others. The destructor does the same but cannot report:
  /// call `Flush` or `Close` where a failure must be seen.
  virtual void Flush() {}
};
using IFeatureCursor = ICursor;
using CursorPtr = std::unique_ptr<ICursor>;

/// A set of OIDs in ascending order. `Add` in ascending order costs O(1); what is added out of order is sorted in at the next
/// question.
class ISelectionSet {
 public:
  ISelectionSet() = default;
  explicit ISelectionSet(std::vector<Oid> oids);

  std::int64_t Count() const { return static_cast<std::int64_t>(Oids().size()); }
  bool Contains(Oid oid) const;
  void Add(Oid oid);
  void Clear() { oids_.clear(), settled_ = 0; }
  const std::vector<Oid>& Oids() const {
    Settle();
    return oids_;
  }

  enum class Operation { kUnion, kIntersection, kDifference, kSymmetricDifference };
  ISelectionSet Combine(const ISelectionSet& other, Operation operation) const;
  bool operator==(const ISelectionSet& other) const { return Oids() == other.Oids(); }

 private:
  void Settle() const;
  mutable std::vector<Oid> oids_;
  mutable std::size_t settled_ = 0;  ///< so many from the front are ascending, each once
};

/// Anything with a place on earth.
class IGeoDataset {
 public:
  virtual ~IGeoDataset() = default;
  virtual SpatialReferencePtr SpatialReference() const = 0;  ///< never null
  virtual Envelope Extent() const = 0;
};

/// A table without or with geometry. Schema edits and row updates are gathered and written in one pass (see the platform's
/// cursors); readers in this process see them at once. A table that cannot be written answers edits with error 70.
class ITable {
 public:
  virtual ~ITable() = default;

  virtual std::string Name() const = 0;      ///< of the dataset, without folder and extension
  virtual std::string PathName() const = 0;  ///< folder of its workspace, no trailing separator
  virtual std::string Path() const = 0;      ///< full path that opens it again
  /// False once the dataset has been deleted or overwritten in this process, or its file has gone:
  /// every other question but the three above then raises an error.
  virtual bool Exists() const = 0;
  virtual bool HasShape() const { return false; }

  virtual const orlinths::Fields& Fields() const = 0;
  int FindField(std::string_view name) const { return Fields().FindField(name); }
  virtual void AddField(const Field& field) = 0;
  virtual void DeleteField(int field) = 0;

  virtual std::int64_t RowCount(const QueryFilter& filter = {}) const = 0;
  virtual CursorPtr Search(const QueryFilter& filter = {}) const = 0;
  /// Rows of the given OIDs, in ascending order; OIDs that do not exist are passed over.
  virtual CursorPtr SearchOids(const std::vector<Oid>& oids, const QueryFilter& what = {}) const = 0;
  /// The whole table or what the filter gives; selections and definition queries of layers do not apply.
  virtual CursorPtr Update(const QueryFilter& filter = {}) = 0;
  virtual CursorPtr Insert() = 0;
  /// An empty row to fill and insert; keeps its values between insertions.
  virtual std::unique_ptr<IRow> CreateRowBuffer() = 0;
  virtual ISelectionSet Select(const QueryFilter& filter = {}) const = 0;
  /// True for an OID that the table holds.
  virtual bool HasRow(Oid oid) const = 0;
  /// Grows with every edit, pending or written: what was derived from the rows before is then out of date.
  virtual std::uint64_t ChangeCount() const = 0;

  /// Removes the dataset with all its files from the disk. The object answers nothing afterwards.
  virtual void Delete() = 0;
  virtual bool CanRename() const = 0;
  virtual void Rename(const std::string& name) = 0;
};

class IFeatureClass : public ITable, public IGeoDataset {
 public:
  bool HasShape() const override { return true; }
  virtual GeometryType ShapeType() const = 0;
  virtual std::string ShapeFieldName() const { return "Shape"; }
  virtual bool HasZ() const = 0;
  virtual bool HasM() const = 0;
  std::int64_t FeatureCount(const QueryFilter& filter = {}) const { return RowCount(filter); }
  std::unique_ptr<IFeature> CreateFeatureBuffer() { return CreateRowBuffer(); }

  /// OIDs of all polygons that contain the point or have it on their boundary, ascending; lines and points within no distance
  /// of it count only where they meet it exactly. From the class's index, built at the first question and dropped on change.
  virtual void FeaturesAt(double x, double y, std::vector<Oid>& oids) const = 0;
};

using TablePtr = std::shared_ptr<ITable>;
using FeatureClassPtr = std::shared_ptr<IFeatureClass>;

/// Writes the pending edits of all tables of this process: what a host calls when a tool's run ends. Every table is tried; the
/// first failure is raised then.
void CommitAllEdits();

/// Whoever gathers edits takes part in `CommitAllEdits` for as long as one of these lives.
class EditKeeper {
 public:
  explicit EditKeeper(std::function<void()> commit);
  ~EditKeeper();
  EditKeeper(const EditKeeper&) = delete;
  EditKeeper& operator=(const EditKeeper&) = delete;

 private:
  friend void CommitAllEdits();
  std::function<void()> commit_;
};

/// Values of one field over the rows of a cursor: ascending, each once, nulls left out. O(n log n), and O(n) where
/// there are but a few thousand.
std::vector<Value> UniqueValues(ICursor& rows, int field);

/// OIDs of all rows sorted ascending by the given fields, first field first; stable; text compares by code point, null before
/// everything. With `among`, only those rows. A platform error for a field that is not there, a geometry or a blob.
std::vector<Oid> SortedOids(const ITable& table, const std::vector<std::string>& fields,
                            const ISelectionSet* among = nullptr);

}  // namespace orlinths
