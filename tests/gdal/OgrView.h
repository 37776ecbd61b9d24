// What OGR makes of a dataset, as plain data: the independent witness of what we wrote.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orlinths {

struct OgrView {
  struct Row {
    std::int64_t fid;
    std::string wkt;                  ///< ISO WKT; empty for a null shape
    std::vector<std::string> values;  ///< numbers as `%.17g`
    bool operator==(const Row&) const = default;
  };
  std::vector<std::string> fields;  ///< "NAME:Type(width.decimals)"
  std::vector<Row> rows;
  std::string geometryType;
  std::string error;  ///< of opening or reading; empty when all went well

  std::string Value(std::size_t row, std::size_t field) const {
    return rows.at(row).values.at(field);
  }
};
OgrView ViewOf(const std::string& path);
/// Rows that OGR counts, reading none but the first and the last; -1 when one of them cannot be
/// read.
std::int64_t OgrRowCount(const std::string& path);

/// A .dbf taken apart by hand, by nothing but its published layout.
struct PlainTable {
  std::vector<std::string> names;
  std::vector<std::vector<std::string>> rows;  ///< column texts, untrimmed; deleted rows left out
  bool isWhole = false;                        ///< header and length agree
};
PlainTable PlainTableOf(const std::string& bytes);

}  // namespace orlinths
