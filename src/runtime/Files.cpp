#include "runtime/Files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {

std::string JoinPath(std::string_view folder, std::string_view name) {
  std::string path(folder);
  if (path.empty() || name.empty()) return path.append(name);
  if (path.back() != '/') path += '/';
  return path.append(name);
}

std::string FolderOf(std::string_view path) {
  const auto slash = path.rfind('/');
  if (slash == std::string_view::npos) return "";
  return std::string(path.substr(0, slash == 0 ? 1 : slash));
}

std::string NameOf(std::string_view path) {
  const auto slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string StemOf(std::string_view path) {
  std::string name = NameOf(path);
  const auto point = name.rfind('.');
  if (point != std::string::npos && point != 0) name.resize(point);
  return name;
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return lower;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && LowerCase(a) == LowerCase(b);
}

namespace files {
namespace {

bool Stat(const std::string& path, mode_t kind) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == kind;
}

std::string FolderToOpen(const std::string& folder) { return folder.empty() ? "." : folder; }

}  // namespace

[[noreturn]] void RaiseErrno(int errorNumber, const std::string& path) {
  switch (errorNumber) {
    case ENOENT: {
      const std::string folder = FolderOf(path);
      const bool folderMissing = !folder.empty() && !FolderExists(folder);
      throw RuntimeError(folderMissing ? ErrorNumber::kPathNotFound : ErrorNumber::kFileNotFound);
    }
    case ENOTDIR:
      throw RuntimeError(ErrorNumber::kPathNotFound);
    case EACCES:
    case EPERM:
    case EROFS:
    case EBUSY:
    case ETXTBSY:
    case EEXIST:
    case EISDIR:
      throw RuntimeError(ErrorNumber::kPermissionDenied);
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      throw RuntimeError(ErrorNumber::kDiskFull);
    case ENOMEM:
      throw RuntimeError(ErrorNumber::kOutOfMemory);
    default:
      throw RuntimeError::Platform(path + ": " + std::strerror(errorNumber));
  }
}

bool FileExists(const std::string& path) { return Stat(path, S_IFREG); }
bool FolderExists(const std::string& path) { return Stat(path, S_IFDIR); }

void DeleteFile(const std::string& path) {
  if (::unlink(path.c_str()) != 0) RaiseErrno(errno, path);
}

void CreateFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0777) != 0) RaiseErrno(errno, path);
}

bool IsWritable(const std::string& path) {
  const auto mayWrite = [](const std::string& what, int mode) {
    return ::faccessat(AT_FDCWD, what.c_str(), mode, AT_EACCESS) == 0;
  };
  if (!mayWrite(FolderToOpen(FolderOf(path)), W_OK | X_OK)) return false;
  return mayWrite(path, W_OK) || errno == ENOENT;
}

std::vector<std::string> NamesIn(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(FolderToOpen(folder).c_str()),
                                                    ::closedir);
  if (!listing) RaiseErrno(errno, JoinPath(folder, "."));
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(listing.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void SyncFolder(const std::string& folder) {
  const int descriptor = ::open(FolderToOpen(folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) RaiseErrno(errno, folder);
  const int result = ::fsync(descriptor);
  const int error = errno;
  ::close(descriptor);
  // Some file systems cannot sync a folder and say EINVAL: there is nothing more to be had from
  // them.
  if (result != 0 && error != EINVAL) RaiseErrno(error, folder);
}

void ReplaceFile(const std::string& from, const std::string& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) RaiseErrno(errno, to);
  // It has happened: a folder that cannot be synced must not make callers believe otherwise.
  Quietly([&] { SyncFolder(FolderOf(to)); });
}

}  // namespace files

OutputFile::OutputFile(std::string path, Mode mode, std::size_t bufferBytes)
    : path_(std::move(path)),
      removeUnlessClosed_(mode != Mode::kUpdate),
      capacity_(bufferBytes),
      buffer_(std::make_unique_for_overwrite<char[]>(bufferBytes)) {
  const int flags = mode == Mode::kCreateNew ? O_CREAT | O_EXCL
                    : mode == Mode::kReplace ? O_CREAT | O_TRUNC
                                             : 0;
  descriptor_ = ::open(path_.c_str(), O_RDWR | O_CLOEXEC | flags, 0666);
  if (descriptor_ < 0) files::RaiseErrno(errno, path_);
  if (mode == Mode::kUpdate) {
    const off_t end = ::lseek(descriptor_, 0, SEEK_END);
    flushed_ = end < 0 ? 0 : static_cast<std::uint64_t>(end);
  }
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : path_(std::move(other.path_)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      removeUnlessClosed_(other.removeUnlessClosed_),
      capacity_(other.capacity_),
      buffer_(std::move(other.buffer_)),
      used_(std::exchange(other.used_, 0)),
      flushed_(other.flushed_) {}

OutputFile::~OutputFile() {
  if (descriptor_ < 0) return;
  ::close(descriptor_);
  if (removeUnlessClosed_) ::unlink(path_.c_str());
}

void OutputFile::Append(const void* bytes, std::size_t count) {
  std::memcpy(buffer_.get() + used_, bytes, count);
  used_ += count;
}

void OutputFile::WriteSlow(const void* bytes, std::size_t count) {
  Flush();
  if (count < capacity_) {
    Append(bytes, count);
  } else {
    WriteFully(static_cast<const char*>(bytes), count);
    flushed_ += count;
  }
}

char* OutputFile::Reserve(std::size_t count) {
  if (count > capacity_ - used_) Flush();
  if (count > capacity_) throw RuntimeError(ErrorNumber::kSubscript);
  char* space = buffer_.get() + used_;
  used_ += count;
  return space;
}

void OutputFile::WriteFully(const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t written = ::write(descriptor_, bytes, count);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) files::RaiseErrno(errno, path_);
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
}

void OutputFile::Flush() {
  WriteFully(buffer_.get(), used_);
  flushed_ += used_;
  used_ = 0;
}

void OutputFile::Patch(std::uint64_t position, const void* bytes, std::size_t count) {
  Flush();
  auto from = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = ::pwrite(descriptor_, from, count, static_cast<off_t>(position));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) files::RaiseErrno(errno, path_);
    from += written;
    position += static_cast<std::uint64_t>(written);
    count -= static_cast<std::size_t>(written);
  }
}

void OutputFile::TruncateTo(std::uint64_t length) {
  Flush();
  const auto end = static_cast<off_t>(length);
  if (::ftruncate(descriptor_, end) != 0 || ::lseek(descriptor_, end, SEEK_SET) < 0)
    files::RaiseErrno(errno, path_);
  flushed_ = length;
}

void OutputFile::Sync() {
  Flush();
  if (::fsync(descriptor_) != 0) files::RaiseErrno(errno, path_);
}

void OutputFile::Close() {
  Flush();
  if (::close(std::exchange(descriptor_, -1)) != 0) {
    const int error = errno;
    if (removeUnlessClosed_) ::unlink(path_.c_str());
    files::RaiseErrno(error, path_);
  }
}

InputFile::InputFile(std::string path) : path_(std::move(path)) {
  descriptor_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor_ < 0) files::RaiseErrno(errno, path_);
}

InputFile::InputFile(InputFile&& other) noexcept
    : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)) {}

InputFile& InputFile::operator=(InputFile&& other) noexcept {
  std::swap(path_, other.path_);
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

InputFile::~InputFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::uint64_t InputFile::Size() const {
  struct stat status;
  if (::fstat(descriptor_, &status) != 0) files::RaiseErrno(errno, path_);
  return static_cast<std::uint64_t>(status.st_size);
}

std::string InputFile::Stamp() const {
  struct stat status;
  if (::fstat(descriptor_, &status) != 0) files::RaiseErrno(errno, path_);
  std::string stamp;
  for (const auto part :
       {static_cast<std::int64_t>(status.st_dev), static_cast<std::int64_t>(status.st_ino),
        static_cast<std::int64_t>(status.st_size), static_cast<std::int64_t>(status.st_mtim.tv_sec),
        static_cast<std::int64_t>(status.st_mtim.tv_nsec)})
    stamp += ToText(part) + ' ';
  return stamp;
}

std::size_t InputFile::ReadUpTo(std::uint64_t position, void* to, std::size_t count) const {
  auto* into = static_cast<char*>(to);
  std::size_t got = 0;
  while (got < count) {
    const ssize_t n =
        ::pread(descriptor_, into + got, count - got, static_cast<off_t>(position + got));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) files::RaiseErrno(errno, path_);
    if (n == 0) break;
    got += static_cast<std::size_t>(n);
  }
  return got;
}

void InputFile::Read(std::uint64_t position, void* to, std::size_t count) const {
  if (ReadUpTo(position, to, count) != count) throw RuntimeError(ErrorNumber::kPastEndOfFile);
}

TextWriter::TextWriter(const std::string& path, Start start)
    : file_(path, start == Start::kAnew ? OutputFile::Mode::kReplace : OutputFile::Mode::kUpdate) {}

TextWriter::~TextWriter() {
  if (!file_.IsOpen()) return;
  try {
    file_.Close();
  } catch (const RuntimeError&) {
    // The run is failing already and has its report; what could be written is there.
  }
}

void TextWriter::WriteLine(std::string_view text) {
  file_.Write(text);
  file_.Write("\n");
}

void TextWriter::WriteBlankLines(int count) {
  for (int i = 0; i < count; ++i) file_.Write("\n");
}

TextReader::TextReader(const std::string& path) : path_(path), buffer_(1 << 16) {
  descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor_ < 0) files::RaiseErrno(errno, path);
  if (Fill() && filled_ >= 3 && std::memcmp(buffer_.data(), "\xEF\xBB\xBF", 3) == 0) at_ = 3;
}

TextReader::TextReader(TextReader&& other) noexcept
    : path_(std::move(other.path_)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      buffer_(std::move(other.buffer_)),
      at_(other.at_),
      filled_(other.filled_) {}

TextReader::~TextReader() { Close(); }

void TextReader::Close() {
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

bool TextReader::Fill() {
  for (;;) {
    const ssize_t got = descriptor_ < 0 ? 0 : ::read(descriptor_, buffer_.data(), buffer_.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) files::RaiseErrno(errno, path_);
    at_ = 0;
    filled_ = static_cast<std::size_t>(got);
    return got > 0;
  }
}

bool TextReader::AtEndOfStream() { return at_ == filled_ && !Fill(); }

std::string TextReader::ReadLine() {
  if (AtEndOfStream()) throw RuntimeError(ErrorNumber::kPastEndOfFile);
  std::string line;
  while (at_ < filled_ || Fill()) {
    const char* begin = buffer_.data() + at_;
    const auto* end = static_cast<const char*>(std::memchr(begin, '\n', filled_ - at_));
    if (end != nullptr) {
      line.append(begin, end);
      at_ += static_cast<std::size_t>(end - begin) + 1;
      break;
    }
    line.append(begin, filled_ - at_);
    at_ = filled_;
  }
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

}  // namespace orlinths
