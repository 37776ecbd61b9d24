// An empty row to fill and insert, and what a row of any kind holds for its table's columns.
#pragma once

#include <functional>
#include <vector>

#include "data/Table.h"

namespace orlinths {

class RowBuffer final : public IRow {
 public:
  /// `fields` gives the table's fields as they are when it is asked, and keeps alive what it needs
  /// for that.
  RowBuffer(std::function<const orlinths::Fields&()> fields, bool hasShape);
  Oid OID() const override { return -1; }
  const orlinths::Fields& Fields() const override { return fields_(); }
  Value GetValue(int field) const override;
  void SetValue(int field, const Value& value) override;
  const Geometry& Shape() const override;
  void SetShape(Geometry shape) override;
  /// From the first column on, one for each of the table's columns.
  const std::vector<Value>& Values();

 private:
  int FirstColumn() const { return hasShape_ ? 2 : 1; }
  std::size_t Slot(int field) const;
  std::function<const orlinths::Fields&()> fields_;
  bool hasShape_;
  Geometry shape_;
  mutable std::vector<Value> values_;
};

/// The values of any row, in the order of the columns from the first on.
const std::vector<Value>& ValuesOf(IRow& row, int firstColumn, std::vector<Value>& space);

[[noreturn]] void RaiseNotEditable(const Field& field);

}  // namespace orlinths
