#include "gdal/TableCommit.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

constexpr std::string_view kNew = ".orlinths-new";
constexpr std::string_view kOld = ".orlinths-old";
constexpr std::string_view kJournal = ".orlinths-commit";
constexpr std::string_view kJournalHead = "orlinths commit 1";
constexpr std::string_view kReplace = "replace ";
constexpr std::string_view kDrop = "drop ";
constexpr std::string_view kEnd = "end";

std::string With(const std::string& path, std::string_view suffix) {
  return path + std::string(suffix);
}
std::string OldFileFor(const std::string& file) { return With(file, kOld); }
std::string JournalOf(const DatasetFiles& files) { return With(files.Base(), kJournal); }

void RemoveIfThere(const std::string& path) noexcept { ::unlink(path.c_str()); }

void Rename(const std::string& from, const std::string& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) files::RaiseErrno(errno, to);
}

bool IsStill(int descriptor, const std::string& path) {
  struct stat held, named;
  return ::fstat(descriptor, &held) == 0 && ::stat(path.c_str(), &named) == 0 &&
         held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

/// Opens and locks the file of that name; -1 with errno otherwise. A file that loses its name
/// meanwhile is tried anew.
int OpenLocked(const std::string& path, int flags) {
  for (;;) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC | flags, 0666);
    if (descriptor < 0) return -1;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
      const int error = errno;
      ::close(descriptor);
      errno = error;
      return -1;
    }
    if (IsStill(descriptor, path)) return descriptor;
    ::close(descriptor);
  }
}

struct Journal {
  std::vector<std::string> replaced, dropped;
};

/// A file as a line of the journal: its name in the journal's folder, the whole path elsewhere.
/// Names may hold line ends.
std::string LineFor(const std::string& file, const std::string& folder) {
  std::string line;
  for (const char c : FolderOf(file) == folder ? NameOf(file) : file) {
    if (c == '\n') {
      line += "%n";
    } else if (c == '\r') {
      line += "%r";
    } else {
      line += c;
      if (c == '%') line += c;
    }
  }
  return line;
}

std::string FileOfLine(std::string_view line, const std::string& folder) {
  std::string file;
  for (std::size_t i = 0; i < line.size(); ++i) {
    file += line[i];
    if (line[i] != '%' || ++i == line.size()) continue;
    if (line[i] == 'n') file.back() = '\n';
    if (line[i] == 'r') file.back() = '\r';
  }
  return file.starts_with('/') ? file : JoinPath(folder, file);
}

/// Nothing when there is no journal or it breaks off: then nothing had been renamed yet.
std::optional<Journal> ReadJournal(const DatasetFiles& files) {
  const std::string path = JournalOf(files);
  if (!files::FileExists(path)) return std::nullopt;
  Journal journal;
  const std::string folder = FolderOf(path);
  TextReader reader(path);
  if (reader.AtEndOfStream() || reader.ReadLine() != kJournalHead) return std::nullopt;
  while (!reader.AtEndOfStream()) {
    const std::string line = reader.ReadLine();
    if (line == kEnd) return journal;
    if (line.starts_with(kReplace))
      journal.replaced.push_back(FileOfLine(line.substr(kReplace.size()), folder));
    else if (line.starts_with(kDrop))
      journal.dropped.push_back(FileOfLine(line.substr(kDrop.size()), folder));
    else
      return std::nullopt;
  }
  return std::nullopt;
}

void WriteJournal(const DatasetFiles& files, const Journal& journal) {
  std::string text = std::string(kJournalHead) + '\n';
  const std::string folder = FolderOf(JournalOf(files));
  for (const std::string& file : journal.replaced)
    text += std::string(kReplace) + LineFor(file, folder) + '\n';
  for (const std::string& file : journal.dropped)
    text += std::string(kDrop) + LineFor(file, folder) + '\n';
  text += std::string(kEnd) + '\n';
  OutputFile out(JournalOf(files), OutputFile::Mode::kReplace, text.size());
  out.Write(text);
  out.Sync();
  out.Close();
}

/// What is left when the renames are done. Failing here harms nobody: the next run tidies up.
void FinishJournal(const DatasetFiles& files, const Journal& journal) noexcept {
  try {
    for (const std::string& file : journal.dropped) RemoveIfThere(file);
    RemoveIfThere(JournalOf(files));
    for (const std::string& file : journal.replaced) RemoveIfThere(OldFileFor(file));
  } catch (const std::bad_alloc&) {
    // They stay for the next run to remove.
  }
}

void SyncFolderIfPossible(const std::string& folder) {
  Quietly([&] { files::SyncFolder(folder); });
}

}  // namespace

std::string DatasetFiles::Base() const {
  const std::string& first = shp.empty() ? dbf : shp;
  return JoinPath(FolderOf(first), StemOf(first));
}

std::vector<std::string> DatasetFiles::Main() const {
  if (shp.empty()) return {dbf};
  return {shp, shx, dbf};
}

namespace {

/// A group that is not the one meant has no more rights than everybody.
mode_t PermissionsWithoutGroup(mode_t mode) {
  constexpr mode_t kOwner = 0700, kOthers = 0007;
  return (mode & kOwner) | (mode & kOthers) << 3 | (mode & kOthers);
}

/// False when the list cannot be had there. Where the file system has none, there is nothing to do.
bool CopyAccessList(const std::string& from, const std::string& to) {
  constexpr const char* kList = "system.posix_acl_access";
  const ssize_t size = ::getxattr(from.c_str(), kList, nullptr, 0);
  if (size < 0 && errno == ENODATA) {
    ::removexattr(to.c_str(), kList);  // what the folder hands down
    return true;
  }
  if (size < 0) return errno == ENOTSUP;
  std::vector<char> list(static_cast<std::size_t>(size));
  return ::getxattr(from.c_str(), kList, list.data(), list.size()) == size &&
         ::setxattr(to.c_str(), kList, list.data(), list.size(), 0) == 0;
}

}  // namespace

std::string NewFileFor(const std::string& file) { return With(file, kNew); }

void RemoveNewFiles(const DatasetFiles& files) noexcept {
  try {
    if (files::FileExists(JournalOf(files))) return;
    for (const std::string& file : files.Main()) RemoveIfThere(NewFileFor(file));
  } catch (const std::bad_alloc&) {
    // They stay for the next run to remove.
  }
}

void CopyPermissions(const std::string& file) {
  struct stat status;
  if (::stat(file.c_str(), &status) != 0) files::RaiseErrno(errno, file);
  const std::string successor = NewFileFor(file);
  // Only root may give files away; anyone else keeps the group if it is theirs. Otherwise the file
  // is this user's, as any other program would leave it.
  const bool keepsGroup = ::chown(successor.c_str(), status.st_uid, status.st_gid) == 0 ||
                          ::chown(successor.c_str(), static_cast<uid_t>(-1), status.st_gid) == 0;
  mode_t mode = status.st_mode & 07777;
  if (!keepsGroup || !CopyAccessList(file, successor)) mode = PermissionsWithoutGroup(mode);
  if (::chmod(successor.c_str(), mode) != 0) files::RaiseErrno(errno, successor);
}

EditLock::EditLock(const DatasetFiles& files)
    : path_(NewFileFor(files.dbf)), journalPath_(JournalOf(files)) {
  descriptor_ = OpenLocked(path_, O_CREAT);
  if (descriptor_ < 0 && errno == EWOULDBLOCK) throw RuntimeError(ErrorNumber::kPermissionDenied);
  if (descriptor_ < 0) files::RaiseErrno(errno, path_);
  // Another process may have died between its renames since this one looked: its new files are not
  // ours to overwrite.
  if (files::FileExists(journalPath_)) {
    ::close(std::exchange(descriptor_, -1));
    throw RuntimeError(ErrorNumber::kPermissionDenied);
  }
}

EditLock::~EditLock() {
  if (descriptor_ < 0) return;
  if (IsStill(descriptor_, path_) && !files::FileExists(journalPath_)) RemoveIfThere(path_);
  ::close(descriptor_);
}

bool EditLock::IsHeldElsewhere(const DatasetFiles& files) {
  const int descriptor = OpenLocked(NewFileFor(files.dbf), 0);
  if (descriptor < 0) return errno == EWOULDBLOCK;
  ::close(descriptor);
  return false;
}

void ReplaceTogether(const DatasetFiles& files, const std::vector<std::string>& replaced,
                     const std::vector<std::string>& dropped) {
  const std::string folder = FolderOf(files.Base());
  Journal journal{replaced, {}};
  for (const std::string& file : dropped)
    if (files::FileExists(file)) journal.dropped.push_back(file);
  if (replaced.size() == 1 && journal.dropped.empty()) {
    Rename(NewFileFor(replaced.front()), replaced.front());
    SyncFolderIfPossible(FolderOf(replaced.front()));
    return;
  }

  // All names are made beforehand: the way back must not fail for want of memory.
  struct Names {
    std::string file, successor, old;
  };
  std::vector<Names> all;
  for (const std::string& file : replaced)
    all.push_back({file, NewFileFor(file), OldFileFor(file)});
  const std::string journalPath = JournalOf(files);
  std::size_t done = 0;
  try {
    // Second names for the old files, to go back to if a rename fails. Where the file system has
    // none, the journal alone must do.
    for (const Names& names : all) {
      RemoveIfThere(names.old);
      if (::link(names.file.c_str(), names.old.c_str()) != 0) break;
    }
    WriteJournal(files, journal);
    files::SyncFolder(folder);
    for (; done < all.size(); ++done) Rename(all[done].successor, all[done].file);
  } catch (...) {
    const auto undo = [](const Names& names) {
      struct stat ignored;
      return ::stat(names.old.c_str(), &ignored) == 0 &&
             ::rename(names.file.c_str(), names.successor.c_str()) == 0 &&
             ::rename(names.old.c_str(), names.file.c_str()) == 0;
    };
    while (done > 0 && undo(all[done - 1])) --done;
    // If the disk does not even let the old files back, the journal stays and the next run goes
    // forward.
    if (done == 0) {
      RemoveIfThere(journalPath);
      for (const Names& names : all) RemoveIfThere(names.old);
    }
    throw;
  }
  SyncFolderIfPossible(folder);
  FinishJournal(files, journal);
  SyncFolderIfPossible(folder);
}

void Recover(const DatasetFiles& files) {
  // The table's own new file comes last: who finds another one without it finds no living owner
  // either.
  bool isClean = !files::FileExists(JournalOf(files));
  std::vector<std::string> leftovers;
  for (const std::string& file : files.Main())
    for (const std::string& leftover : {OldFileFor(file), NewFileFor(file)})
      if (files::FileExists(leftover)) {
        leftovers.push_back(leftover);
        isClean = false;
      }
  if (isClean) return;

  const std::string lockPath = NewFileFor(files.dbf);
  const int descriptor = OpenLocked(lockPath, 0);
  if (descriptor < 0 && errno != ENOENT) {
    if (errno == EWOULDBLOCK || !ReadJournal(files)) return;
    throw RuntimeError(ErrorNumber::kPermissionDenied);
  }
  const AtScopeEnd unlock([&] {
    if (descriptor >= 0) ::close(descriptor);
  });
  if (const auto journal = ReadJournal(files)) {
    for (const std::string& file : journal->replaced)
      if (files::FileExists(NewFileFor(file))) Rename(NewFileFor(file), file);
    SyncFolderIfPossible(FolderOf(files.dbf));
    FinishJournal(files, *journal);
  }
  RemoveIfThere(JournalOf(files));
  for (const std::string& leftover : leftovers) RemoveIfThere(leftover);
}

}  // namespace orlinths
