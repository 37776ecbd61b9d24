// The values of one column over many rows, to be compared and sorted.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "data/Table.h"

namespace orlinths {

/// Held as the column's type asks for, decided once: numbers as doubles, texts as texts, and only
/// what is neither as a `Value`. Rows go by the order in which they were added, from 0.
class KeyColumn {
 public:
  /// A platform error for a field that is not there, a geometry or a blob, which have no order.
  KeyColumn(const ITable& table, const std::string& name);

  void Add(const IRow& row);
  /// Forgets all rows but the last one, which is row 0 then.
  void KeepLast();
  std::size_t Size() const { return isNull_.size(); }

  bool IsNull(std::size_t row) const { return isNull_[row]; }
  /// Equality of mixed values: null equals nothing, itself neither, and so does a number that is
  /// none.
  bool AreEqual(std::size_t a, std::size_t b) const;
  /// Total order, -1, 0 or 1: null, then numbers that are none, then `Compare`.
  int Order(std::size_t a, std::size_t b) const;
  /// A number comes as a double.
  Value At(std::size_t row) const;

  /// All rows, ascending; those that are equal stay in the order in which they were added.
  std::vector<std::size_t> Sorted() const;

 private:
  enum class Kind { kNumber, kText, kOther };
  int field_;
  Kind kind_;
  std::vector<bool> isNull_;
  /// One of these has an entry a row, whatever it holds where the row is null.
  std::vector<double> numbers_;
  std::vector<std::string> texts_;
  std::vector<Value> others_;
};

}  // namespace orlinths
