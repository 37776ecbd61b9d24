#include "gdal/DbfFormat.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <cpl_conv.h>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

constexpr int kHead = 32;
constexpr int kDescriptor = 32;
constexpr char kEndOfColumns = '\r';
constexpr int kMaxShort = 65535;
constexpr std::uint8_t kPlainTable = 3;  // dBASE III without memo

unsigned Byte(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}
unsigned Short(std::string_view bytes, std::size_t at) {
  return Byte(bytes, at) | Byte(bytes, at + 1) << 8;
}
std::uint32_t Long(std::string_view bytes, std::size_t at) {
  return Short(bytes, at) | static_cast<std::uint32_t>(Short(bytes, at + 2)) << 16;
}

void PutShort(std::string& bytes, std::size_t at, int v) {
  bytes[at] = static_cast<char>(v & 0xff);
  bytes[at + 1] = static_cast<char>(v >> 8 & 0xff);
}

[[noreturn]] void Damaged(const std::string& file, const std::string& what) {
  throw RuntimeError::Platform(file + ": " + what);
}

bool IsNumberType(char type) { return type == 'N' || type == 'F'; }

DbfColumn ParseColumn(std::string_view bytes) {
  DbfColumn column;
  column.descriptor = bytes;
  const std::string_view name = bytes.substr(0, 11);
  column.name = name.substr(0, name.find('\0'));
  while (!column.name.empty() && column.name.back() == ' ') column.name.pop_back();
  column.type = bytes[11];
  column.width = static_cast<int>(Byte(bytes, 16));
  column.decimals = IsNumberType(column.type) ? static_cast<int>(Byte(bytes, 17)) : 0;
  return column;
}

/// Puts the `count` characters at `text` into the right end of the column.
bool PutRight(const char* text, std::size_t count, int width, char* to) {
  const auto room = static_cast<std::size_t>(width);
  if (count > room) return false;
  std::memset(to, ' ', room - count);
  std::memcpy(to + (room - count), text, count);
  return true;
}

// A double written with a fixed point has up to 309 digits before it.
using NumberBuffer = std::array<char, 700>;

bool EncodeWhole(double number, int width, char* to) {
  NumberBuffer buffer;
  char* const begin = buffer.data();
  char* const limit = begin + buffer.size();
  const double whole = std::nearbyint(number);
  const bool small = std::abs(whole) < 9e18;
  char* const end = small ? std::to_chars(begin, limit, static_cast<std::int64_t>(whole)).ptr
                          : std::to_chars(begin, limit, whole, std::chars_format::fixed, 0).ptr;
  return PutRight(begin, static_cast<std::size_t>(end - begin), width, to);
}

bool EncodeFixed(double number, int width, int decimals, char* to) {
  NumberBuffer buffer;
  const auto put = [&](int places) {
    const char* end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                    std::chars_format::fixed, places)
                          .ptr;
    return PutRight(buffer.data(), static_cast<std::size_t>(end - buffer.data()), width, to);
  };
  for (int places = std::min(decimals, width); places > 0; --places)
    if (put(places)) return true;
  return put(0);
}

template <class Float>
bool EncodeExponent(Float number, int width, char* to) {
  NumberBuffer buffer;
  char* const begin = buffer.data();
  char* const limit = begin + buffer.size();
  if (number == 0) number = 0;  // no negative zero in a table
  auto end = std::to_chars(begin, limit, number, std::chars_format::scientific).ptr;
  if (PutRight(begin, static_cast<std::size_t>(end - begin), width, to)) return true;
  // A narrow column of another program: the plain form if it fits, else as many digits as there is
  // room for.
  end = std::to_chars(begin, limit, number).ptr;
  if (PutRight(begin, static_cast<std::size_t>(end - begin), width, to)) return true;
  for (int digits = 16; digits >= 0; --digits) {
    end = std::to_chars(begin, limit, number, std::chars_format::scientific, digits).ptr;
    if (PutRight(begin, static_cast<std::size_t>(end - begin), width, to)) return true;
  }
  return false;
}

}  // namespace

DbfLayout ParseDbfHeader(std::string_view bytes, std::uint64_t fileBytes, const std::string& file) {
  if (bytes.size() < kHead) Damaged(file, "too short for the header of a dBASE table.");
  DbfLayout layout;
  layout.head = bytes.substr(0, kHead);
  layout.records = Long(bytes, 4);
  layout.headerBytes = static_cast<int>(Short(bytes, 8));
  layout.recordBytes = static_cast<int>(Short(bytes, 10));
  layout.languageDriver = static_cast<std::uint8_t>(Byte(bytes, 29));
  if (layout.headerBytes < kHead)
    Damaged(file, "the header says it is " + ToText(layout.headerBytes) + " bytes long.");
  if (static_cast<std::uint64_t>(layout.headerBytes) > fileBytes ||
      static_cast<std::size_t>(layout.headerBytes) > bytes.size())
    Damaged(file, "cut off within its header.");
  if (layout.recordBytes < 1) Damaged(file, "its rows have no length.");
  if (layout.records > std::numeric_limits<std::int32_t>::max())
    Damaged(file, "the header says it has " + ToText(layout.records) + " rows.");

  std::size_t at = kHead;
  const auto end = static_cast<std::size_t>(layout.headerBytes);
  int offset = 1;
  while (at + kDescriptor <= end && bytes[at] != kEndOfColumns) {
    DbfColumn column = ParseColumn(bytes.substr(at, kDescriptor));
    column.offset = offset;
    offset += column.width;
    if (offset > layout.recordBytes)
      Damaged(file,
              "its columns do not fit into rows of " + ToText(layout.recordBytes) + " bytes.");
    layout.columns.push_back(std::move(column));
    at += kDescriptor;
  }
  if (at + 1 < end) layout.tail = bytes.substr(at + 1, end - at - 1);
  const auto rows = (fileBytes - end) / static_cast<std::uint64_t>(layout.recordBytes);
  if (static_cast<std::uint64_t>(layout.records) > rows)
    Damaged(file, "cut off: the header says it has " + ToText(layout.records) + " rows, but only " +
                      ToText(static_cast<std::int64_t>(rows)) + " are there.");
  return layout;
}

void LayOut(DbfLayout& layout, const std::string& file) {
  int offset = 1;
  for (DbfColumn& column : layout.columns) {
    column.offset = offset;
    offset += column.width;
  }
  const std::size_t header = kHead + layout.columns.size() * kDescriptor + 1 + layout.tail.size();
  if (offset > kMaxShort)
    throw RuntimeError::Platform(file + ": a row would be longer than 65535 bytes.");
  if (header > kMaxShort)
    throw RuntimeError::Platform(file + ": too many columns for a dBASE table.");
  layout.headerBytes = static_cast<int>(header);
  layout.recordBytes = offset;
}

std::string MakeDbfCounts(std::int64_t records, const Date& today) {
  std::string bytes(7, '\0');
  bytes[0] = static_cast<char>(std::clamp(today.Year() - 1900, 0, 255));
  bytes[1] = static_cast<char>(today.Month());
  bytes[2] = static_cast<char>(today.Day());
  PutShort(bytes, 3, static_cast<int>(records & 0xffff));
  PutShort(bytes, 5, static_cast<int>(records >> 16 & 0xffff));
  return bytes;
}

std::string MakeDbfHeader(const DbfLayout& layout, const Date& today) {
  std::string bytes = layout.head;
  if (bytes.empty()) {
    bytes.assign(kHead, '\0');
    bytes[0] = static_cast<char>(kPlainTable);
    bytes[29] = static_cast<char>(layout.languageDriver);
  }
  bytes.replace(1, 7, MakeDbfCounts(layout.records, today));
  PutShort(bytes, 8, layout.headerBytes);
  PutShort(bytes, 10, layout.recordBytes);
  for (const DbfColumn& column : layout.columns) {
    std::string descriptor = column.descriptor;
    if (descriptor.empty()) {
      descriptor.assign(kDescriptor, '\0');
      descriptor.replace(0, column.name.size(), column.name);
    }
    descriptor[11] = column.type;
    descriptor[16] = static_cast<char>(column.width);
    if (column.descriptor.empty() || IsNumberType(column.type))
      descriptor[17] = static_cast<char>(column.decimals);
    // Some programs keep the offset in the row there; others keep nothing.
    if (Long(descriptor, 12) != 0) {
      PutShort(descriptor, 12, column.offset & 0xffff);
      PutShort(descriptor, 14, 0);
    }
    bytes += descriptor;
  }
  bytes += kEndOfColumns;
  return bytes += layout.tail;
}

DbfColumn ColumnFor(const Field& field) {
  const auto refuse = [&](const std::string& why) {
    throw RuntimeError::Platform("The field " + field.name + " cannot be added: " + why);
  };
  if (field.name.empty()) throw RuntimeError::Platform("A field without a name cannot be added.");
  if (field.name.size() > kMaxDbfName) refuse("its name is longer than 10 bytes.");
  for (const char c : field.name)
    if (static_cast<unsigned char>(c) < ' ' || c == 127)
      refuse("its name holds a control character.");
  if (field.name.front() == ' ' || field.name.back() == ' ')
    refuse("its name begins or ends with a blank.");

  DbfColumn column;
  column.name = field.name;
  switch (field.type) {
    case FieldType::kSmallInteger:
      column.type = 'N', column.width = 4;
      break;
    case FieldType::kInteger:
    case FieldType::kOid:
      column.type = 'N', column.width = 11;
      break;
    case FieldType::kSingle:
      column.type = 'F', column.width = 16, column.decimals = 8;
      break;
    case FieldType::kDouble:
      column.type = 'F', column.width = 24, column.decimals = 16;
      break;
    case FieldType::kText:
      column.type = 'C', column.width = field.length <= 0 ? 50 : field.length;
      break;
    case FieldType::kDate:
      column.type = 'D', column.width = 8;
      break;
    case FieldType::kGeometry:
    case FieldType::kBlob:
      refuse("a dBASE table has no columns of its type.");
  }
  if (column.width > kMaxDbfText) refuse("a text column has at most 254 bytes.");
  return column;
}

Field FieldFor(const DbfColumn& column) {
  Field field;
  field.name = column.name;
  field.length = field.precision = column.width;
  field.scale = column.decimals;
  if (column.type == 'N' && column.decimals == 0) {
    field.type = column.width <= 4    ? FieldType::kSmallInteger
                 : column.width <= 11 ? FieldType::kInteger
                                      : FieldType::kDouble;
  } else if (column.type == 'F' && column.width <= 16) {
    field.type = FieldType::kSingle;
  } else if (IsNumberType(column.type)) {
    field.type = FieldType::kDouble;
  } else if (column.type == 'D') {
    field.type = FieldType::kDate;
  }
  return field;
}

NumberForm FormOf(const DbfColumn& column) {
  if (column.type == 'F')
    return column.width <= 16 ? NumberForm::kExponentSingle : NumberForm::kExponent;
  if (column.type != 'N') return NumberForm::kNone;
  return column.decimals == 0 ? NumberForm::kWhole : NumberForm::kFixed;
}

bool EncodeNumber(double number, NumberForm form, int width, int decimals, char* to) {
  switch (form) {
    case NumberForm::kExponent:
      return EncodeExponent(number, width, to);
    case NumberForm::kExponentSingle:
      return EncodeExponent(static_cast<float>(number), width, to);
    case NumberForm::kWhole:
      return EncodeWhole(number, width, to);
    case NumberForm::kFixed:
      return EncodeFixed(number, width, decimals, to);
    case NumberForm::kNone:
      break;
  }
  return false;
}

std::string_view DbfContent(std::string_view bytes) {
  bytes = bytes.substr(0, bytes.find('\0'));
  const auto begin = bytes.find_first_not_of(' ');
  if (begin == std::string_view::npos) return {};
  return bytes.substr(begin, bytes.find_last_not_of(' ') - begin + 1);
}

double DecodeNumber(std::string_view bytes, const DbfColumn& column) {
  const std::string_view text = DbfContent(bytes);
  if (text.empty() || text.front() == '*') return 0;
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  const auto isRead = [&](const std::from_chars_result& read) {
    return read.ec == std::errc() && read.ptr == end;
  };
  constexpr int kMost64BitDigits = 18;
  const bool isWhole = column.decimals == 0 && column.width <= kMost64BitDigits;
  std::int64_t whole = 0;
  double number = 0;
  if (isWhole && isRead(std::from_chars(begin, end, whole))) return static_cast<double>(whole);
  if (!isWhole && isRead(std::from_chars(begin, end, number))) return number;
  // Not plainly written: as far as it can be read, and as OGR reads it.
  const std::string ended(text);
  if (isWhole) return static_cast<double>(std::strtoll(ended.c_str(), nullptr, 10));
  return CPLAtof(ended.c_str());
}

void EncodeDate(const Date& date, char* to) {
  int digits = (date.Year() * 100 + date.Month()) * 100 + date.Day();
  for (int i = 7; i >= 0; --i, digits /= 10) to[i] = static_cast<char>('0' + digits % 10);
}

std::optional<Date> DecodeDate(std::string_view text) {
  if (text.size() < 8) return std::nullopt;
  const std::string_view digits = text.substr(0, 8);
  if (digits.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  return Date::Parse(digits);
}

}  // namespace orlinths
