// The table of a shapefile over the source of the shapefile itself: the same pending edits, the
// same rows under the same object ids, without the shapes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "data/Field.h"
#include "data/Table.h"
#include "gdal/VectorSource.h"

namespace orlinths {

/// What `TableOver` asks of a source. Fields are `OID`, then the columns. A deleted row takes its
/// shape with it, an inserted one has a null shape, and the files of the table come and go with
/// those of the shapes alone.
class ShapelessSource {
 public:
  /// `whole` is the source of the shapefile, `path` that of its .dbf.
  ShapelessSource(SourcePtr whole, const std::string& path);

  std::string Path() const;
  std::string Name() const;
  std::string Folder() const;
  bool Exists() const;
  void CheckThere() const { whole_->CheckThere(); }

  bool HasShape() const { return false; }
  /// Stays where it is; what it holds is as of the last call, of this or of one that changes it.
  const orlinths::Fields& Fields() const;
  std::uint64_t ChangeCount() const { return whole_->ChangeCount(); }
  bool HasRow(Oid oid) const { return whole_->HasRow(oid); }

  std::int64_t Count(const QueryFilter& filter) const;
  std::vector<Oid> Select(const QueryFilter& filter) const;
  CursorPtr Search(const QueryFilter& filter) const;
  CursorPtr SearchOids(const std::vector<Oid>& oids, const QueryFilter& what) const;
  CursorPtr Update(const QueryFilter& filter);
  CursorPtr Insert();

  void AddField(const Field& field);
  void DeleteField(int field);
  bool CanRename() const { return false; }
  /// A platform error: neither is possible without the shapes.
  [[noreturn]] void Delete() const { RefuseWithoutShapes("deleted"); }
  [[noreturn]] void Rename(const std::string&) const { RefuseWithoutShapes("renamed"); }

 private:
  /// The same rows and columns, in the words of the shapefile. Error 91 for a condition on shapes.
  QueryFilter OfWhole(const QueryFilter& filter) const;
  std::string WhereOfWhole(const std::string& where) const;
  CursorPtr Over(CursorPtr rows) const;
  [[noreturn]] void RefuseWithoutShapes(const char* done) const;

  SourcePtr whole_;
  std::string wholePath_, path_;  ///< when it was opened
  mutable orlinths::Fields fields_;
  mutable std::uint64_t fieldsOf_ = ~std::uint64_t{0};  ///< version of the shapefile's fields
};

}  // namespace orlinths
