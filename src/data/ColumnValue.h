// How a table's columns show what they hold, whatever the format.
#pragma once

#include "data/Field.h"
#include "data/Table.h"
#include "runtime/Value.h"

namespace orlinths {

/// A number as a field of type 0 to 3 gives it: whole numbers in 16 or 32 bits as far as they fit,
/// singles as singles; what does not fit is a double.
Value NumberValue(double number, FieldType type);

/// An object id: 32 bits where it fits.
Value OidValue(Oid oid);

/// What a date column stores for a value: a date, a text that reads as one, a serial number. Error
/// 13 for other text, 6 outside the years 1 to 9999.
Date ToDate(const Value& value);

}  // namespace orlinths
