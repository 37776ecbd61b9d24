// One pass over an old table or shapefile into a new one, with all pending edits.
#pragma once

#include <string>
#include <vector>

#include "gdal/DbfFormat.h"
#include "gdal/PendingEdits.h"
#include "gdal/ShpFormat.h"
#include "runtime/Files.h"

namespace orlinths {

/// Where a column of the new table gets its values.
struct ColumnSource {
  int oldColumn = -1;                  ///< -1: a new column, that starts at its default
  const ColumnEdits* edits = nullptr;  ///< may be absent
};

/// A row's default: blank text, numbers 0, dates blank, not deleted.
std::string DefaultRecord(const DbfLayout& layout);

/// Writes the new table: header, rows, end mark. `sources` has one entry per column of `layout`,
/// whose `records` is set to what is written. With `dropped`, its rows and those marked as deleted
/// in the old table are left out. Reads and writes blocks of about 1 MB.
void RewriteTable(const InputFile& old, const DbfLayout& oldLayout, DbfLayout& layout,
                  const std::vector<ColumnSource>& sources, const RowSet* dropped,
                  const Date& today, OutputFile& out);

/// Writes the new .shp and .shx: rows of `edits` with their new shape, the others as they are,
/// without those of `dropped` (may be absent). Gives the new .shp's header. Error: a platform error
/// naming the .shp where the old index or a record is damaged.
ShpHeader RewriteShapes(const InputFile& shp, const InputFile& shx, std::int64_t records, int type,
                        bool hasM, const ShapeEdits& edits, const RowSet* dropped,
                        OutputFile& newShp, OutputFile& newShx);

/// The bounds of all shapes, from the shapes themselves. Same error.
ShpBounds BoundsOfShapes(const InputFile& shp, const InputFile& shx, std::int64_t records);

}  // namespace orlinths
