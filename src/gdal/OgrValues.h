// OGR fields to ours and back, their values, and filter expressions as OGR takes them.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <ogr_feature.h>

#include "data/Field.h"
#include "runtime/Value.h"

namespace orlinths {

/// Integers of 64 bits are type 1, as long numbers of a dBASE table are: a value beyond 32 bits
/// comes as a double. Lists and times of day are text, binary fields blobs.
Field ToField(const OGRFieldDefn& defn);
std::unique_ptr<OGRFieldDefn> ToOgrField(const Field& field);

/// The value of column `column` (of the feature's own definition) as a field of type `type` holds
/// it. An unset or null column gives null, or the type's default where the format knows no null (a
/// date is null there too).
Value ReadValue(const OGRFeature& feature, int column, FieldType type, bool knowsNull);
/// The same for numbers, without a `Value` in between.
double ReadDouble(const OGRFeature& feature, int column, FieldType type, bool knowsNull);

/// Converts to the column's type: error 6 or 13 when it does not fit.
void WriteValue(OGRFeature& feature, int column, const Value& value);

/// How a layer evaluates its attribute filter: OGR's own evaluator, or the database's SQL.
enum class Dialect { kOgr, kSql };

/// `where` with dates (#2020-01-31#) as the dialect compares them, and `oidName` (a name that is no
/// column) as the layer's feature id. What cannot be read is left as it is, for OGR to complain
/// about.
std::string ToOgrWhere(std::string_view where, Dialect dialect, std::string_view oidName,
                       std::string_view fidColumn);

}  // namespace orlinths
