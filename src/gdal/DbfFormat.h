// The dBASE table format: header and column layout, numbers and dates as column text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "data/Field.h"
#include "runtime/Date.h"
#include "runtime/Value.h"

namespace orlinths {

constexpr int kMaxDbfName = 10;
constexpr int kMaxDbfText = 254;

struct DbfColumn {
  std::string name;  ///< in the table's encoding
  char type = 'C';
  int width = 0;
  int decimals = 0;
  int offset = 1;          ///< in the record, whose first byte is the deletion mark
  std::string descriptor;  ///< the 32 bytes it was read from; empty for a new column
};

struct DbfLayout {
  std::vector<DbfColumn> columns;
  std::int64_t records = 0;
  int headerBytes = 0;
  int recordBytes = 1;
  std::uint8_t languageDriver = 0;
  std::string head;  ///< the header's first 32 bytes as read; empty for a new table
  std::string tail;  ///< what some programs keep between the columns' end mark and the rows

  std::uint64_t RowPosition(std::int64_t row) const {
    return static_cast<std::uint64_t>(headerBytes) +
           static_cast<std::uint64_t>(row) * static_cast<std::uint64_t>(recordBytes);
  }
};

/// Reads a header of a file of `fileBytes` bytes; `bytes` holds its beginning, at least the whole
/// header or the whole file. `file` is named in errors: a platform error says what is wrong with a
/// header that contradicts itself or the file's length.
DbfLayout ParseDbfHeader(std::string_view bytes, std::uint64_t fileBytes, const std::string& file);

/// Sets every column's offset, and the lengths of header and record. A platform error when the
/// format cannot hold them.
void LayOut(DbfLayout& layout, const std::string& file);

/// The header of a table that is laid out, dated `today`. What was read from another header and is
/// not understood stays.
std::string MakeDbfHeader(const DbfLayout& layout, const Date& today);
/// Bytes 1 to 7 of the header, which change with every append: date and number of records.
std::string MakeDbfCounts(std::int64_t records, const Date& today);

/// The column for a new field. A platform error for a name or type that dBASE cannot hold.
DbfColumn ColumnFor(const Field& field);
/// The field that a column reads as.
Field FieldFor(const DbfColumn& column);

/// How a number column writes its numbers.
enum class NumberForm {
  kNone,            ///< no number column, or one whose binary form is not written here
  kWhole,           ///< digits alone
  kFixed,           ///< as many decimals as the column says and the number leaves room for
  kExponent,        ///< the shortest text that reads back as the same double, if the column is wide
                    ///< enough
  kExponentSingle,  ///< the same for a single
};
NumberForm FormOf(const DbfColumn& column);

/// Writes a finite number into the column's `width` bytes at `to`, right-aligned. False, with `to`
/// undefined, when it is too large for the column. No allocation.
bool EncodeNumber(double number, NumberForm form, int width, int decimals, char* to);
/// What stands in a column's bytes, without the blanks around it.
std::string_view DbfContent(std::string_view bytes);

/// The number that stands in a column's bytes; 0 for blank, starred and unreadable ones. In columns
/// of whole numbers what follows the digits counts for nothing.
double DecodeNumber(std::string_view bytes, const DbfColumn& column);

/// Eight digits; and back, where anything that is no date is nothing.
void EncodeDate(const Date& date, char* to);
std::optional<Date> DecodeDate(std::string_view text);

}  // namespace orlinths
