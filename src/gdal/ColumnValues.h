// Values on their way into table columns: conversion, and the refusal of what does not fit.
#pragma once

#include <string>

#include "data/Field.h"
#include "gdal/DbfFormat.h"
#include "gdal/DbfText.h"
#include "runtime/Value.h"

namespace orlinths {

/// A small integer column is 4 wide as long as that is enough, then 6.
constexpr int kSmallWidth = 4;
constexpr int kWideSmallWidth = 6;

/// A column as values meet it.
struct ColumnKind {
  explicit ColumnKind(const DbfColumn& c) : column(c), form(FormOf(c)), type(FieldFor(c).type) {}
  DbfColumn column;
  NumberForm form;
  FieldType type;

  bool IsNumber() const { return form != NumberForm::kNone; }
};

/// The number as the column will hold it: rounded to a whole number or a single where the column is
/// one. `needsWidening` is set when it is a small integer that needs the wider column. Null and
/// empty are 0. Errors: those of the conversion (6 for what is not finite), a platform error for a
/// number too large for the column.
double NumberFor(const ColumnKind& kind, double number, bool& needsWidening);
double NumberFor(const ColumnKind& kind, const Value& value, bool& needsWidening);

/// The column's bytes, all of them, for a value of a text or date column. Null and empty are blank.
/// A platform error for a text that is too long, has characters the encoding lacks or a zero byte,
/// and for columns of a type that is not written here; 13 for a text that is no date.
std::string BytesFor(const ColumnKind& kind, const Value& value, const DbfText& text);

/// What the column's bytes read as.
Value ValueOfBytes(const ColumnKind& kind, std::string_view bytes, const DbfText& text);

}  // namespace orlinths
