// How new files take the place of a dataset's old ones so that a crash at any instant leaves the
// old dataset or the new one.
#pragma once

#include <string>
#include <vector>

namespace orlinths {

/// The files of one dataset, links resolved: a link stays a link, and what it leads to is replaced.
/// `shp` and `shx` are empty for a plain table.
struct DatasetFiles {
  std::string shp, shx, dbf;

  /// Path of the dataset without extension.
  std::string Base() const;
  std::vector<std::string> Main()
      const;  ///< the files that are there by definition, the table last
};

/// Where the successor of `file` is written.
std::string NewFileFor(const std::string& file);

/// The right to edit a dataset, held by one process at a time. It is a lock on the file in which
/// the new table will be written: a lock whose owner has died is free. Taking it may create that
/// file, empty; letting go of it removes the file unless it has become the table.
class EditLock {
 public:
  /// Error 70 when another process edits the dataset or nobody may write there.
  explicit EditLock(const DatasetFiles& files);
  ~EditLock();
  EditLock(const EditLock&) = delete;
  EditLock& operator=(const EditLock&) = delete;

  static bool IsHeldElsewhere(const DatasetFiles& files);

 private:
  std::string path_, journalPath_;
  int descriptor_ = -1;
};

/// Removes new files that did not come to their names; none of them while a journal still needs
/// them.
void RemoveNewFiles(const DatasetFiles& files) noexcept;
/// The new file of `file` gets its permissions, its access list and, where this user may give them,
/// its owners. A group that it cannot have gets no more rights through it than everybody.
void CopyPermissions(const std::string& file);

/// Every one of `replaced`, written and synced as `NewFileFor`, takes its name; `dropped` files go
/// (those that are not there are passed over). A single rename is all it takes for one file. For
/// more, a journal tells the next run what is left to do. On an error the old files are in place.
void ReplaceTogether(const DatasetFiles& files, const std::vector<std::string>& replaced,
                     const std::vector<std::string>& dropped);

/// Carries to its end what a killed run had decided, and removes what it had not. Nothing happens
/// while another process edits the dataset. Error 70 when there is something to carry to its end
/// and this user may not.
void Recover(const DatasetFiles& files);

}  // namespace orlinths
