// Appends rows to a shapefile or dBASE table, front to back, through buffers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "gdal/DbfFormat.h"
#include "gdal/ShpFormat.h"
#include "gdal/TableCommit.h"
#include "runtime/Files.h"

namespace orlinths {

/// The headers are patched when what they announce is written, the table's count first and the .shx
/// last: a process killed in between leaves the old rows readable. Nothing is synced; an appended
/// row is as durable as any file that was just written.
class ShapefileWriter {
 public:
  /// Opens the files for writing behind their last row; `layout` and `shp` are their headers as
  /// read (no `shp` for a plain table; `fileBytes` is where the next record goes). What lies behind
  /// the last row is cut off.
  ShapefileWriter(const DatasetFiles& files, const DbfLayout& layout,
                  const std::optional<ShpHeader>& shp, bool hasM);
  /// Writes what is buffered; cannot report.
  ~ShapefileWriter();

  /// `record` is a whole row of the table. Nothing is written when the shape is refused.
  void Append(const Geometry* shape, std::string_view record);
  /// Everything appended is in the files and told in their headers.
  void Flush();
  void Close();

  /// A write failed: nothing can be appended any more, and what the headers tell of is all there
  /// is.
  bool IsBroken() const { return isBroken_; }
  std::int64_t Rows() const { return rows_; }
  /// Rows that the headers tell of.
  std::int64_t FlushedRows() const { return flushedRows_; }
  const std::optional<ShpHeader>& Shp() const { return header_; }

 private:
  struct Shapes {
    OutputFile shp, shx;
  };
  OutputFile dbf_;
  std::optional<Shapes> shapes_;
  std::optional<ShpHeader> header_;
  std::string shpPath_;
  bool hasM_;
  std::int64_t rows_, flushedRows_;
  bool isBroken_ =
      false;  // a write broke off: what the buffers hold no longer fits to what the files hold
  std::string content_;
};

}  // namespace orlinths
