// Rows and cursors over a shapefile or dBASE table, read from the bytes of its files.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gdal/ShapefileStore.h"
#include "gdal/SourceCursor.h"
#include "gdal/StoredRows.h"

namespace orlinths {

class ShapefileCursor;

class ShapefileRow final : public SourceRow {
 public:
  ShapefileRow(VectorSource& source, ShapefileCursor& cursor, const QueryFilter& what,
               bool writable)
      : SourceRow(source, what.onlyFields, writable), cursor_(cursor), withShape_(what.withShape) {}

 private:
  friend class ShapefileCursor;
  Value StoredValue(int column, FieldType type) const override;
  double StoredDouble(int column, FieldType type) const override;
  void StoredText(int column, std::string& text) const override;
  bool IsStoredNull(int) const override { return false; }
  Geometry StoredShape() const override;

  ShapefileCursor& cursor_;
  bool withShape_;
};

class ShapefileCursor final : public SourceCursor {
 public:
  /// All rows, or those of ascending `oids`; ones that do not exist are passed over.
  ShapefileCursor(VectorSource& source, const ShapefileStore& store,
                  std::optional<std::vector<Oid>> oids, const QueryFilter& what, bool writable);

  IRow* Next() override;
  void Detach(const std::vector<Oid>& removed) override;

 private:
  friend class ShapefileRow;
  SourceRow& Current() override { return row_; }
  /// The files as they are now. Error 91 where the current row is gone from them.
  StoredRows& Rows();
  Oid NextOid();

  const ShapefileStore& store_;
  std::unique_ptr<StoredRows> rows_;
  std::uint64_t rowsOf_ = 0;  ///< version of the files that they were opened at
  ShapefileRow row_;
};

}  // namespace orlinths
