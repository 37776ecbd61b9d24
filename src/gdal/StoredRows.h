// The rows of a shapefile or dBASE table as its files hold them, pending edits aside.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "data/Table.h"
#include "gdal/ColumnValues.h"
#include "gdal/DbfFormat.h"
#include "gdal/DbfText.h"
#include "gdal/ShapefileRecords.h"
#include "gdal/TableCommit.h"
#include "numerics/Geometry.h"
#include "runtime/Files.h"

namespace orlinths {

/// What is asked for is taken from the bytes of its row, read in blocks of up to 1 MB; what is not
/// asked for is not read. Rows count from 0, columns are the file's own. Errors: the files' own,
/// and a platform error for a damaged record.
///
/// OGR allocates a feature, its fields, its texts and its geometry for every row; on a million
/// points with two columns that is most of the time that a walk takes.
class StoredRows {
 public:
  /// Opens the files; `geometry` and those of the .shp and .shx only where there are shapes.
  StoredRows(const DatasetFiles& files, const DbfLayout& layout,
             const std::optional<GeometryDef>& geometry, const std::string& encoding);

  /// True where every column is of a kind that is read here.
  static bool CanRead(const DbfLayout& layout);

  Value Get(Oid row, int column, FieldType type);
  /// Of a column of numbers, or whatever else `ToDouble` takes.
  double GetDouble(Oid row, int column, FieldType type);
  void GetText(Oid row, int column, std::string& text);
  /// Null for a null shape.
  Geometry GetShape(Oid row);

 private:
  struct Shapes {
    Shapes(const DatasetFiles& files, const GeometryDef& def)
        : shp(files.shp), shx(files.shx), records(shp, shx), geometry(def) {}
    InputFile shp, shx;
    ShapefileRecords records;
    GeometryDef geometry;
  };

  std::string_view Bytes(Oid row, int column);

  InputFile dbf_;
  FileWindow rows_;
  DbfLayout layout_;
  std::vector<ColumnKind> columns_;
  DbfText text_;
  std::optional<Shapes> shapes_;
};

}  // namespace orlinths
