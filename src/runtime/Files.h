// Files as the tools use them: text streams, and an output file that can be made durable before it
// takes its name. Every failure is a run-time error: 53 no such file, 76 no such folder, 70
// refused, 61 disk full, 62 read past the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orlinths {

/// Folder and name joined with the host's separator; an empty folder or name is left out with its
/// separator.
std::string JoinPath(std::string_view folder, std::string_view name);
/// What stands before the last separator (without it), and what stands behind.
std::string FolderOf(std::string_view path);
std::string NameOf(std::string_view path);
/// `NameOf` without the last point and what follows it.
std::string StemOf(std::string_view path);
/// ASCII letters to lower case; everything else as it is.
std::string LowerCase(std::string_view text);
bool EqualNoCase(std::string_view a, std::string_view b);

namespace files {

bool FileExists(const std::string& path);  ///< a regular file (or a link to one)
bool FolderExists(const std::string& path);
void DeleteFile(const std::string& path);    ///< error 53 when it is not there
void CreateFolder(const std::string& path);  ///< one level; an existing one is error 70
/// True when a file in `folder` can be created and `path` itself, if it exists, be replaced by this
/// user.
bool IsWritable(const std::string& path);
/// Names (not paths) in a folder, ascending by byte.
std::vector<std::string> NamesIn(const std::string& folder);

/// Renames within one folder, replacing `to` in one step, and syncs the folder as far as it lets
/// itself be synced. An error says that nothing was renamed.
void ReplaceFile(const std::string& from, const std::string& to);
/// Makes earlier creations, renames and removals in `folder` durable.
void SyncFolder(const std::string& folder);

[[noreturn]] void RaiseErrno(int errorNumber, const std::string& path);

}  // namespace files

/// A file that is written from front to back through a buffer, with single jumps back to patch a
/// header. Moves, does not copy. A file whose `Close` was not reached is removed again when the
/// object goes: what fails leaves nothing behind.
class OutputFile {
 public:
  enum class Mode { kCreateNew, kReplace, kUpdate };
  /// kCreateNew: error 70 when the file exists. kReplace: truncates. kUpdate: an existing file,
  /// position at its end, and never removed when the object goes.
  OutputFile(std::string path, Mode mode, std::size_t bufferBytes = 1 << 20);
  OutputFile(OutputFile&& other) noexcept;
  OutputFile& operator=(OutputFile&&) = delete;
  ~OutputFile();

  const std::string& Path() const { return path_; }
  std::uint64_t Position() const { return flushed_ + used_; }

  void Write(const void* bytes, std::size_t count) {
    if (count <= capacity_ - used_) {
      Append(bytes, count);
    } else {
      WriteSlow(bytes, count);
    }
  }
  void Write(std::string_view text) { Write(text.data(), text.size()); }
  /// Space for `count` bytes (at most the buffer's size) at the position, which moves behind them:
  /// the caller fills it.
  char* Reserve(std::size_t count);

  /// Overwrites bytes at `position`, which lie before the present end; the write position does not
  /// change.
  void Patch(std::uint64_t position, const void* bytes, std::size_t count);
  void Flush();
  /// Cuts the file at `length` and goes on writing there.
  void TruncateTo(std::uint64_t length);
  /// Flushes and syncs to the disk.
  void Sync();
  /// Flushes and closes; the file stays. Errors of delayed writing surface here.
  void Close();
  bool IsOpen() const { return descriptor_ >= 0; }

 private:
  void Append(const void* bytes, std::size_t count);
  void WriteSlow(const void* bytes, std::size_t count);
  void WriteFully(const char* bytes, std::size_t count);

  std::string path_;
  int descriptor_ = -1;
  bool removeUnlessClosed_ = true;
  std::size_t capacity_;
  std::unique_ptr<char[]> buffer_;
  std::size_t used_ = 0;
  std::uint64_t flushed_ = 0;
};

/// A file that is read at any position. Moves, does not copy.
class InputFile {
 public:
  explicit InputFile(std::string path);
  InputFile(InputFile&& other) noexcept;
  InputFile& operator=(InputFile&& other) noexcept;
  ~InputFile();

  const std::string& Path() const { return path_; }
  std::uint64_t Size() const;
  /// Tells this very state of the file from any other: grows stale when the file is replaced or
  /// written to.
  std::string Stamp() const;
  /// Reads up to `count` bytes from `position` on; gives how many there were before the file's end.
  std::size_t ReadUpTo(std::uint64_t position, void* to, std::size_t count) const;
  /// Reads `count` bytes from `position` on; error 62 when the file ends before.
  void Read(std::uint64_t position, void* to, std::size_t count) const;

 private:
  std::string path_;
  int descriptor_ = -1;
};

/// Writes a UTF-8 text file line by line. A text file whose `Close` was not reached keeps what was
/// written to it.
class TextWriter {
 public:
  enum class Start { kAnew, kAtEnd };
  /// kAnew: creates or replaces the file. kAtEnd: goes on behind what an existing file holds; error
  /// 53 without one.
  explicit TextWriter(const std::string& path, Start start = Start::kAnew);
  ~TextWriter();
  void Write(std::string_view text) { file_.Write(text); }
  void WriteLine(std::string_view text = {});
  void WriteBlankLines(int count);
  void Close() { file_.Close(); }

 private:
  OutputFile file_;
};

/// Reads a text file line by line; lines end in LF or CRLF, the last one may lack its end. A UTF-8
/// byte order mark is passed over.
class TextReader {
 public:
  explicit TextReader(const std::string& path);
  TextReader(TextReader&&) noexcept;
  ~TextReader();
  bool AtEndOfStream();
  std::string ReadLine();  ///< error 62 at the end
  void Close();

 private:
  bool Fill();

  std::string path_;
  int descriptor_ = -1;
  std::vector<char> buffer_;
  std::size_t at_ = 0, filled_ = 0;
};

}  // namespace orlinths
