// A vector dataset as the tables and cursors of this process share it: one object per dataset,
// however often it is opened, so that edits, the spatial index and open readers are common to all.
// Formats differ in how they are edited; reading is OGR's for all but plain shapefiles.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include "data/Field.h"
#include "data/Table.h"
#include "gdal/OgrValues.h"
#include "data/SpatialIndex.h"

namespace orlinths {

class SourceCursor;
class SourceRow;

/// An open dataset and its layer. An OGR layer has one read position, so every cursor that walks a
/// layer has a reader of its own.
struct Reader {
  GDALDatasetUniquePtr dataset;
  OGRLayer* layer = nullptr;
  std::uint64_t version = 0;  ///< of the files, when it was opened
  bool shared = false;        ///< the one that is edited through: all cursors use it at once
};
using ReaderPtr = std::shared_ptr<Reader>;

class VectorSource : public std::enable_shared_from_this<VectorSource> {
 public:
  VectorSource(std::string path, std::string name)
      : path_(std::move(path)), name_(std::move(name)) {}
  virtual ~VectorSource();
  VectorSource(const VectorSource&) = delete;
  VectorSource& operator=(const VectorSource&) = delete;

  /// The source that is open under `key`, or nothing.
  static std::shared_ptr<VectorSource> Find(const std::string& key);
  /// Another source under `key` ends with it.
  static void Register(const std::string& key, const std::shared_ptr<VectorSource>& source);
  static void Forget(const std::string& key);
  /// What is open under `key` is gone: its dataset has been overwritten.
  static void End(const std::string& key);
  static void CommitAll();

  const std::string& Path() const { return path_; }
  const std::string& Name() const { return name_; }
  std::string Folder() const;
  bool Exists() const { return !gone_ && HasFiles(); }
  /// Error 91 once the dataset has been deleted through this object, or overwritten.
  void CheckThere() const;
  /// A platform error when it cannot be read.
  void CheckOpens() const { GiveBack(Lease()); }

  virtual const orlinths::Fields& Fields() const = 0;
  virtual GeometryDef Geometry() const = 0;
  bool HasShape() const { return hasShape_; }
  /// Index of the first column: behind the object id and, where there is one, the shape.
  int FirstColumn() const { return hasShape_ ? 2 : 1; }
  std::uint64_t ChangeCount() const { return changes_ + FileVersion(); }
  std::uint64_t SchemaVersion() const { return schemaVersion_ + FileVersion(); }

  virtual std::int64_t RowCount() const = 0;
  virtual bool HasRow(Oid oid) const = 0;
  Envelope Extent();

  std::int64_t Count(const QueryFilter& filter);
  std::vector<Oid> Select(const QueryFilter& filter);
  CursorPtr Search(const QueryFilter& filter);
  CursorPtr SearchOids(const std::vector<Oid>& oids, const QueryFilter& what);
  CursorPtr Update(const QueryFilter& filter);
  virtual CursorPtr Insert() = 0;
  /// For rows that are their columns alone: the shapes are null where there are any.
  virtual CursorPtr InsertWithoutShapes() { return Insert(); }
  const SpatialIndex& Index();

  virtual void AddField(const Field& field) = 0;
  virtual void DeleteField(int field) = 0;
  virtual bool HasPendingEdits() const = 0;
  /// Writes what is pending; readers that were open before go on in the new files.
  virtual void Commit() = 0;
  virtual void Delete() = 0;
  virtual bool CanRename() const { return false; }
  virtual void Rename(const std::string& name);

 protected:
  friend class SourceCursor;
  friend class SourceRow;
  friend class OgrCursor;
  friend class OgrFeatureRow;

  // --- what a cursor asks
  /// False when there is no file, or folder, any more.
  virtual bool HasFiles() const = 0;
  virtual std::uint64_t FileVersion() const = 0;
  virtual ReaderPtr OpenReader() const = 0;
  /// A reader for one cursor; it comes back to the pool when the cursor lets go of it.
  virtual ReaderPtr Lease() const;
  void GiveBack(ReaderPtr reader) const;
  /// Column of the reader's layer that holds `field`, or -1 for one that is not in the file.
  virtual int FileColumn(int field) const { return field - FirstColumn(); }
  virtual bool KnowsNull() const { return true; }
  virtual bool IsDeleted(Oid) const { return false; }
  virtual bool PendingValue(Oid, int /*field*/, Value&) const { return false; }
  virtual const orlinths::Geometry* PendingShape(Oid) const { return nullptr; }
  /// True when OGR gives the rows in ascending order of their OIDs.
  virtual bool WalksInOrder() = 0;
  /// True when rows are to be fetched one by one although all are asked for: a reader shared by
  /// several cursors.
  virtual bool SharesReader() const { return false; }
  /// True when a shared reader finds the rows from one object id to another as fast as it finds
  /// one.
  virtual bool ReadsRanges() const { return false; }
  /// True when the rows' rings would be sorted into polygons by OGR, which costs and changes their
  /// order.
  virtual bool StoresRingsFlat() const { return false; }
  virtual orlinths::Dialect Dialect() const { return orlinths::Dialect::kOgr; }
  /// Name of the column that holds the object id in the layer's SQL; empty where there is none.
  virtual std::string FidColumn() const { return {}; }

  /// A cursor over all rows that the filter's expression gives; and one along ascending `oids`.
  virtual CursorPtr Walk(const QueryFilter& filter, bool writable);
  virtual CursorPtr WalkAlong(std::vector<Oid> oids, const QueryFilter& what, bool writable);

  virtual void BeginUpdate() = 0;
  virtual void StoreRow(SourceRow& row) = 0;
  virtual void DeleteRow(Oid oid) = 0;
  /// At the release of an update cursor.
  virtual void EndUpdate() {}

  /// Before an expression is evaluated, which OGR does on what stands in the files.
  virtual void BeginFilter() {}

  /// Sets (or, for an empty expression, clears) a reader's attribute filter; a platform error when
  /// it does not parse. Gives the expression as OGR got it.
  std::string SetWhere(Reader& reader, const std::string& where) const;
  /// OIDs, ascending, of the rows that the expression gives.
  std::vector<Oid> CollectOids(const std::string& where) const;

  void Changed() const { ++changes_; }
  void ShapesChanged() const { ++changes_, index_.reset(); }
  void SchemaChanged() { ++changes_, ++schemaVersion_; }
  /// Every open cursor gives its reader back; it takes a new one with its next row.
  void DetachCursors(const std::vector<Oid>& removed = {}) const;
  /// Every open cursor frees the features that it holds; and takes its current row again, as it is
  /// now.
  void LetGoOfRows() const;
  void TakeRowsAgain() const;
  void DropReaders() const { pool_.clear(); }
  void SetHasShape(bool has) { hasShape_ = has; }
  void SetGone();
  bool IsGone() const { return gone_; }
  void SetPath(std::string path, std::string name) {
    path_ = std::move(path), name_ = std::move(name);
  }

 private:
  std::string path_, name_;
  bool hasShape_ = false, gone_ = false;
  mutable std::uint64_t changes_ = 0;
  std::uint64_t schemaVersion_ = 0;
  mutable std::vector<ReaderPtr> pool_;
  mutable std::unique_ptr<SpatialIndex> index_;
  std::uint64_t indexOf_ = 0;  ///< version of the files that the index was made from
  mutable std::vector<SourceCursor*> cursors_;
};

using SourcePtr = std::shared_ptr<VectorSource>;

/// The shapefile or dBASE table at a path, and any other dataset that OGR opens (`layer` empty: its
/// first).
SourcePtr OpenShapefileSource(const std::string& path);
/// The shapefile whose table the .dbf at the path is. Nothing where the table stands alone, and
/// where the shapefile is damaged: does not open, or has other numbers of shapes and of rows.
SourcePtr OpenShapefileOfTable(const std::string& dbf);
SourcePtr CreateShapefileSource(const std::string& path, const GeometryDef& geometry,
                                const Fields& fields);
SourcePtr CreateDbfSource(const std::string& path, const Fields& fields);
SourcePtr OpenOgrSource(const std::string& path, const std::string& layer);

/// For an expression that names the object id by `oidName`, which the evaluator knows only by the
/// name that `column` has too.
[[noreturn]] void RaiseTwoMeanings(const std::string& where, const std::string& oidName,
                                   const std::string& column);

/// A full path without dots, links as they are: what users are shown. And one spelling for all ways
/// to reach a file.
std::string FullPath(const std::string& path);
std::string CanonicalPath(const std::string& path);

}  // namespace orlinths
