// What has been updated in a table and is not yet written, kept small: typed pages of rows, made
// when a row in them is first touched.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "data/Table.h"
#include "numerics/Geometry.h"

namespace orlinths {

/// Pending values of one column: numbers as doubles, everything else as the column's own bytes.
class ColumnEdits {
 public:
  static constexpr std::int64_t kPageRows = 4096;

  /// For numbers.
  ColumnEdits() = default;
  /// For a column of so many bytes.
  explicit ColumnEdits(int textBytes)
      : holdsText_(true), textBytes_(static_cast<std::size_t>(textBytes)) {}

  bool IsTouched(Oid row) const {
    const Page* page = PageAt(row);
    return page != nullptr && page->touched[Within(row)];
  }
  /// Of a touched row.
  double Number(Oid row) const { return PageAt(row)->numbers[Within(row)]; }
  std::string_view Text(Oid row) const {
    return {PageAt(row)->text.get() + Within(row) * textBytes_, textBytes_};
  }
  bool HoldsText() const { return holdsText_; }

  void SetNumber(Oid row, double number) {
    Page& page = Touch(row);
    page.numbers[Within(row)] = number;
  }
  /// `bytes` fills the column.
  void SetText(Oid row, std::string_view bytes) {
    Page& page = Touch(row);
    std::memcpy(page.text.get() + Within(row) * textBytes_, bytes.data(), textBytes_);
  }

 private:
  struct Page {
    std::bitset<kPageRows> touched;
    std::unique_ptr<double[]> numbers;
    std::unique_ptr<char[]> text;
  };

  static std::size_t Within(Oid row) { return static_cast<std::size_t>(row % kPageRows); }
  const Page* PageAt(Oid row) const {
    const auto page = static_cast<std::size_t>(row / kPageRows);
    return page < pages_.size() ? pages_[page].get() : nullptr;
  }
  Page& Touch(Oid row) {
    const auto at = static_cast<std::size_t>(row / kPageRows);
    if (at >= pages_.size() || pages_[at] == nullptr) MakePage(at);
    Page& page = *pages_[at];
    page.touched[Within(row)] = true;
    return page;
  }
  void MakePage(std::size_t at);

  bool holdsText_ = false;
  std::size_t textBytes_ = 0;
  std::vector<std::unique_ptr<Page>> pages_;
};

/// A set of rows, a bit each.
class RowSet {
 public:
  bool Contains(Oid row) const {
    const auto word = static_cast<std::size_t>(row / 64);
    return word < bits_.size() && (bits_[word] >> (row % 64) & 1) != 0;
  }
  void Add(Oid row) {
    const auto word = static_cast<std::size_t>(row / 64);
    if (word >= bits_.size()) bits_.resize(word + 1);
    if (!Contains(row)) ++count_;
    bits_[word] |= std::uint64_t{1} << (row % 64);
  }
  std::int64_t Count() const { return count_; }
  bool IsEmpty() const { return count_ == 0; }

 private:
  std::vector<std::uint64_t> bits_;
  std::int64_t count_ = 0;
};

using ShapeEdits = std::unordered_map<Oid, Geometry>;

}  // namespace orlinths
