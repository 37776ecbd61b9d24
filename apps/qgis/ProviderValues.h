// Fields and values of QGIS's data providers to ours and back, and filters in QGIS's words.
#pragma once

#include <QString>
#include <QVariant>

#include <qgsvectordataprovider.h>

#include <string>

#include "data/Field.h"
#include "runtime/Value.h"

namespace orlinths {

/// Integers of 64 bits are type 1: a value beyond 32 bits comes as a double. Times of day, lists
/// and maps are text, binary columns blobs.
Field ToField(const QgsField& field);
/// A column for `field` as the provider has them; a platform error for a type that it does not
/// know.
QgsField ToQgisField(const Field& field, const QgsVectorDataProvider& provider);

/// What a column of type `type` shows. Nothing there is null.
Value ToValue(const QVariant& held, FieldType type);
/// Converts to the column's type: error 6 or 13 when it does not fit, a platform error for a text
/// that is too long and for a column that cannot be written.
QVariant ToVariant(const Value& value, const QgsField& field);

/// `where` (names, operators, text in single quotes, dates as #...#) as an expression of QGIS.
/// `oidName` stands for the feature's id. A platform error when it does not parse or names no
/// column.
QString ToExpression(const std::string& where, const QgsFields& fields, const std::string& oidName);

}  // namespace orlinths
