// The listing of grids' tables in the folder `info`: arc.dir has a record of 380 bytes for each
// table, which names two files, the path of the table's data (arcNNNN.dat) and its columns
// (arcNNNN.nit).
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gdal/BigEndian.h"
#include "gdal/GridWriter.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kRecordBytes = 380;
constexpr std::size_t kNameBytes = 32, kFileBytes = 8;
constexpr std::size_t kDataPathBytes = 80;

using Bytes = std::vector<unsigned char>;

std::string TableName(const std::string& grid) {
  std::string name = grid + ".VAT";
  for (char& c : name)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return name;
}

std::string TextAt(const Bytes& bytes, std::size_t at, std::size_t width) {
  std::string text(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                   bytes.begin() + static_cast<std::ptrdiff_t>(at + width));
  return text.substr(0, text.find_last_not_of(std::string(" \0", 2)) + 1);
}

Bytes ReadDirectory(const std::string& path) {
  if (!files::FileExists(path)) return {};
  std::ifstream in(path, std::ios::binary);
  Bytes bytes{std::istreambuf_iterator<char>(in), {}};
  bytes.resize(bytes.size() / kRecordBytes * kRecordBytes);
  return bytes;
}

void Replace(const std::string& path, const Bytes& bytes) {
  const std::string beside = path + ".new";
  OutputFile file(beside, OutputFile::Mode::kReplace, 1 << 16);
  file.Write(bytes.data(), bytes.size());
  file.Close();
  files::ReplaceFile(beside, path);
}

/// Position of the table's record, or the end of the directory.
std::size_t FindRecord(const Bytes& directory, const std::string& table) {
  std::size_t at = 0;
  while (at < directory.size() && !EqualNoCase(TextAt(directory, at, kNameBytes), table))
    at += kRecordBytes;
  return at;
}

/// "ARC0007" for 7.
std::string FileNameOf(int number) {
  const std::string digits = ToText(number);
  return "ARC" + std::string(digits.size() < 4 ? 4 - digits.size() : 0, '0') + digits;
}

/// A name that no record uses.
std::string FreeFileName(const Bytes& directory) {
  for (int number = 0;; ++number) {
    const std::string name = FileNameOf(number);
    bool used = false;
    for (std::size_t at = 0; at < directory.size(); at += kRecordBytes)
      used = used || EqualNoCase(TextAt(directory, at + kNameBytes, kFileBytes), name);
    if (!used) return name;
  }
}

Bytes Record(const std::string& table, const std::string& file, std::int64_t rows) {
  Bytes record;
  BigEndianBytes out(record);
  out.PutText(table, kNameBytes);
  out.PutText(file, kFileBytes);
  out.Put16(2);  // columns
  out.Put16(8);  // bytes of a row
  out.PutZeros(18);
  out.Put16(0);  // not deleted
  out.PutInt(rows);
  out.PutZeros(10);
  out.PutText("XX", 2);  // the data lie outside this folder
  out.PutZeros(kRecordBytes - record.size());
  return record;
}

void PutColumn(BigEndianBytes& out, const std::string& name, std::uint16_t number,
               std::uint16_t offset) {
  constexpr std::uint16_t kMinusOne = 0xFFFF;
  out.PutText(name, 16);
  out.Put16(4);  // bytes
  out.Put16(kMinusOne);
  out.Put16(offset);
  out.Put16(4);
  out.Put16(kMinusOne);
  out.Put16(16);  // width and decimals in print
  out.Put16(kMinusOne);
  out.Put16(5);  // a binary integer
  out.Put16(0);
  for (int i = 0; i < 3; ++i) out.Put16(kMinusOne);
  out.Put16(0);
  out.PutText("", 16);
  out.PutZeros(56);
  out.Put16(number);
  out.PutZeros(28);
}

}  // namespace

void ListGridTable(const std::string& workspace, const std::string& grid, std::int64_t rows) {
  const std::string table = TableName(grid);
  const std::string dataPath = "../" + grid + "/vat.adf";
  if (table.size() > kNameBytes || dataPath.size() > kDataPathBytes) return;
  const std::string info = JoinPath(workspace, "info");
  if (!files::FolderExists(info)) files::CreateFolder(info);
  const std::string path = JoinPath(info, "arc.dir");
  Bytes directory = ReadDirectory(path);
  const std::size_t at = FindRecord(directory, table);
  const std::string file = at < directory.size() ? TextAt(directory, at + kNameBytes, kFileBytes)
                                                 : FreeFileName(directory);
  const std::string stem = JoinPath(info, LowerCase(file));

  Bytes data;
  BigEndianBytes(data).PutText(dataPath, kDataPathBytes);
  Replace(stem + ".dat", data);
  Bytes columns;
  BigEndianBytes out(columns);
  PutColumn(out, "VALUE", 1, 1);
  PutColumn(out, "COUNT", 2, 5);
  Replace(stem + ".nit", columns);

  const Bytes record = Record(table, file, rows);
  directory.resize(std::max(directory.size(), at + kRecordBytes));
  std::copy(record.begin(), record.end(), directory.begin() + static_cast<std::ptrdiff_t>(at));
  Replace(path, directory);
}

void UnlistGridTable(const std::string& workspace, const std::string& grid) {
  const std::string info = JoinPath(workspace, "info");
  const std::string path = JoinPath(info, "arc.dir");
  Bytes directory = ReadDirectory(path);
  const std::size_t at = FindRecord(directory, TableName(grid));
  if (at >= directory.size()) return;
  const std::string stem =
      JoinPath(info, LowerCase(TextAt(directory, at + kNameBytes, kFileBytes)));
  directory.erase(directory.begin() + static_cast<std::ptrdiff_t>(at),
                  directory.begin() + static_cast<std::ptrdiff_t>(at + kRecordBytes));
  std::error_code ignored;  // a listing may have lost its files
  if (directory.empty()) {
    files::DeleteFile(path);
  } else {
    Replace(path, directory);
  }
  fs::remove(stem + ".dat", ignored);
  fs::remove(stem + ".nit", ignored);
  if (fs::is_empty(info, ignored)) fs::remove(info, ignored);
}

}  // namespace orlinths
