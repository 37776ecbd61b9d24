// A shapefile or dBASE table on disk together with its pending edits. One object per dataset in
// this process, shared by every table, cursor and layer open on it, so that a reader sees at once
// what another has updated. Commit writes all pending edits in one pass into new files beside the
// old ones, which replace them by rename: a crash at any instant leaves the old table or the new
// one.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "data/Field.h"
#include "data/Table.h"
#include "numerics/Geometry.h"
#include "runtime/Value.h"

namespace orlinths {

class StoredRows;

class ShapefileStore {
 public:
  virtual ~ShapefileStore() = default;

  /// The store of the dataset at `path` (x.shp or x.dbf), the same object for every spelling of the
  /// path. Cleans up, or carries to its end, what a killed run left beside the table. Errors: 53/76
  /// not there, 70 refused, a platform error for a damaged file.
  static std::shared_ptr<ShapefileStore> At(const std::string& path);
  /// A new, empty dataset (`x.shp` with .shx, .dbf, .cpg and, with a reference, .prj; or `x.dbf`
  /// with .cpg). `fields` without object id and geometry. With none, the column `Id` (integer).
  /// Existing files are an error.
  static std::shared_ptr<ShapefileStore> CreateShapefile(const std::string& path,
                                                         const GeometryDef& geometry,
                                                         const Fields& fields);
  static std::shared_ptr<ShapefileStore> CreateDbf(const std::string& path, const Fields& fields);

  /// The .shp whose table the .dbf at `path` is, by their names alone; nothing where none lies
  /// beside it.
  static std::optional<std::string> ShapefileOf(const std::string& path);

  virtual const std::string& Path() const = 0;  ///< of the .shp, or of the .dbf for a table
  virtual bool HasShape() const = 0;
  virtual GeometryDef Geometry() const = 0;  ///< without its reference when read from disk

  /// `FID`, `Shape` (or `OID`), then the columns, as they are with all pending edits.
  virtual const orlinths::Fields& Fields() const = 0;
  /// Records with all pending insertions; deleted ones keep their place until the commit.
  virtual std::int64_t RecordCount() const = 0;
  virtual bool IsDeleted(Oid oid) const = 0;
  /// The first row from `from` (0 or more) on that stands in the files and is not deleted; -1 where
  /// there is none.
  virtual Oid NextRow(Oid from) const = 0;

  /// Error 70 when the dataset cannot be written by this user or another process is editing it.
  virtual void CheckWritable() const = 0;
  /// A platform error for a shapefile without a table, or with another number of rows than of
  /// shapes.
  virtual void CheckUndamaged() const = 0;

  // --- pending edits; `field` is an index of Fields(). All raise errors at once: a value that does
  // not fit its column, field 0 or 1, a name that is taken or that dBASE cannot hold, deleting a
  // required field or the last column.
  virtual void AddField(const Field& field) = 0;
  virtual void DeleteField(int field) = 0;
  virtual void SetValue(Oid oid, int field, const Value& value) = 0;
  virtual void SetDouble(Oid oid, int field, double value) = 0;
  virtual void SetShape(Oid oid, const orlinths::Geometry& shape) = 0;
  virtual void DeleteRow(Oid oid) = 0;

  // --- what a reader must know: everything else comes from the file.
  /// False for what is left to OGR: shapes without a table, another number of them than of rows,
  /// shape types or columns that are not known here.
  virtual bool CanReadRows() const = 0;
  /// The files as they are, for one walk.
  virtual std::unique_ptr<StoredRows> OpenRows() const = 0;
  virtual bool HasPendingEdits() const = 0;
  /// Columns of the table's file as it stands on disk; nothing for a shapefile without a table.
  virtual std::optional<int> FileColumnCount() const = 0;
  /// That of its texts, as iconv names it; empty where nothing tells.
  virtual const std::string& Encoding() const = 0;
  /// Position of a column among the file's own columns (from 0), or -1 for one added since.
  virtual int FileColumn(int field) const = 0;
  /// The pending value, or false when the file's value stands. A column added and not yet filled
  /// has its default.
  virtual bool PendingValue(Oid oid, int field, Value& value) const = 0;
  virtual const orlinths::Geometry* PendingShape(
      Oid oid) const = 0;  ///< nothing: the file's shape stands

  // --- insertion: rows are appended through a buffer. `values` in the order of Fields() from the
  // first column on.
  virtual Oid Append(const orlinths::Geometry* shape, const std::vector<Value>& values) = 0;
  /// What was appended becomes readable by others.
  virtual void FlushAppended() = 0;
  /// The same, and the dataset is free for others to edit until the next row is appended.
  virtual void FinishAppending() = 0;

  /// Writes all pending edits. On failure the files are as they were, the edits are dropped, and
  /// the error is raised.
  virtual void Commit() = 0;
  /// Drops all pending edits.
  virtual void Abandon() = 0;
  /// Grows with every change of the files on disk: a reader that was opened before must open anew.
  virtual std::uint64_t FileVersion() const = 0;

  /// Removes all files of the dataset (known companions too: .prj .cpg .qix .sbn .sbx .idm .ind
  /// .qpj .shp.xml ...).
  virtual void Delete() = 0;
  virtual void Rename(const std::string& name) = 0;
};

}  // namespace orlinths
