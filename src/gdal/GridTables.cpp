// The listing of grids' tables in the folder `info`: arc.dir has a record of 380 bytes for each
// table, which names two files, the path of the table's data (arcNNNN.dat) and its columns
// (arcNNNN.nit).
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "gdal/BigEndian.h"
#include "gdal/GridWriter.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kRecordBytes = 380;
constexpr std::size_t kNameBytes = 32, kFileBytes = 8;
constexpr std::size_t kDataPathBytes = 80;

using Bytes = std::vector<unsigned char>;

std::string TableName(const std::string& grid, const std::string& table = "VAT") {
  std::string name = grid + "." + table;
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
  const InputFile in(path);
  Bytes bytes(in.Size() / kRecordBytes * kRecordBytes);
  in.Read(0, bytes.data(), bytes.size());
  return bytes;
}

void Replace(const std::string& path, const Bytes& bytes) {
  const std::string beside = path + ".new";
  bool isInPlace = false;
  const AtScopeEnd remove([&] {
    if (!isInPlace) ::unlink(beside.c_str());
  });
  OutputFile file(beside, OutputFile::Mode::kReplace, 1 << 16);
  file.Write(bytes.data(), bytes.size());
  file.Sync();
  file.Close();
  files::ReplaceFile(beside, path);
  isInPlace = true;
}

/// One process at a time changes what a folder lists. Where the file system has no locks, nobody
/// waits.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : descriptor_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    while (descriptor_ >= 0 && ::flock(descriptor_, LOCK_EX) != 0 && errno == EINTR) {
    }
  }
  ~FolderLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int descriptor_;
};

/// Position of the table's record, or the end of the directory.
std::size_t FindRecord(const Bytes& directory, const std::string& table) {
  std::size_t at = 0;
  while (at < directory.size() && !EqualNoCase(TextAt(directory, at, kNameBytes), table))
    at += kRecordBytes;
  return at;
}

/// The name of a record's files; empty where it is no plain name, but a path that leads elsewhere.
std::string FileAt(const Bytes& directory, std::size_t at) {
  const std::string name = TextAt(directory, at + kNameBytes, kFileBytes);
  const bool isPlain = std::ranges::all_of(name, [](unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
  });
  return isPlain ? name : "";
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
  const std::string path = JoinPath(info, "arc.dir");
  std::string made;  // the files of a listing that does not come about go again
  bool isNew = false, isListed = false;
  const AtScopeEnd undo([&] {
    if (isListed) return;
    for (const char* end : {".dat", ".nit"})
      if (!made.empty()) Quietly([&] { files::DeleteFile(made + end); });
    if (isNew) ::rmdir(info.c_str());
  });
  if (!files::FolderExists(info)) {
    files::CreateFolder(info);
    isNew = true;
  }
  const FolderLock lock(info);
  Bytes directory = ReadDirectory(path);
  const std::size_t at = FindRecord(directory, table);
  const std::string ownFile = at < directory.size() ? FileAt(directory, at) : "";
  const std::string file = ownFile.empty() ? FreeFileName(directory) : ownFile;
  const std::string stem = JoinPath(info, LowerCase(file));
  if (ownFile.empty()) made = stem;

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
  isListed = true;
}

void UnlistGridTables(const std::string& workspace, const std::string& grid) {
  const std::string info = JoinPath(workspace, "info");
  if (!files::FolderExists(info)) return;
  const FolderLock lock(info);
  const std::string path = JoinPath(info, "arc.dir");
  const Bytes directory = ReadDirectory(path);
  const std::string start = TableName(grid, "");
  Bytes left;
  std::vector<std::string> stems;
  for (std::size_t at = 0; at < directory.size(); at += kRecordBytes) {
    const std::string table = TextAt(directory, at, kNameBytes);
    if (!EqualNoCase(table.substr(0, start.size()), start)) {
      const auto record = directory.begin() + static_cast<std::ptrdiff_t>(at);
      left.insert(left.end(), record, record + static_cast<std::ptrdiff_t>(kRecordBytes));
    } else if (const std::string file = FileAt(directory, at); !file.empty()) {
      stems.push_back(JoinPath(info, LowerCase(file)));
    }
  }
  if (left.size() == directory.size()) return;
  if (left.empty()) {
    files::DeleteFile(path);
  } else {
    Replace(path, left);
  }
  std::error_code ignored;  // a listing may have lost its files
  for (const std::string& stem : stems) {
    fs::remove(stem + ".dat", ignored);
    fs::remove(stem + ".nit", ignored);
  }
  if (fs::is_empty(info, ignored)) fs::remove(info, ignored);
}

}  // namespace orlinths
