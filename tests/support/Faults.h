// Makes system calls and allocations of this process fail, or the process die, at a chosen one.
// Link `test_faults` into the test program: its definitions of open, read, write, fsync, rename,
// close, of the same on streams, and of operator new stand before the C library's, also for the
// libraries used.
#pragma once

#include <cstdint>

namespace orlinths {

enum class FaultKind {
  kOpen,   ///< open, fopen
  kRead,   ///< read, pread, fread
  kWrite,  ///< write, pwrite, fwrite, ftruncate
  kSync,
  kRename,
  kClose,  ///< close, fclose: the file is closed and the call reports a failure
  kAllocation,
  kOwnAllocation,  ///< made by the program's own code, not by a library that would not survive it
  kAnyCall,        ///< any system call above that is no reading, and unlink and link
};

enum class FaultAction {
  kFail,  ///< the call fails once: open EACCES, write ENOSPC, others EIO; an allocation throws
  kFailFromOn,  ///< this call and all later ones of its kind fail
  kDieBefore,   ///< SIGKILL instead of the call
  kDieHalfway,  ///< SIGKILL after half the bytes of a write; after any other call
};

/// From construction to destruction the `nth` call of that kind (from 1) meets its fault. One at a
/// time.
class Fault {
 public:
  Fault(FaultKind kind, std::int64_t nth, FaultAction action = FaultAction::kFail);
  ~Fault();
  Fault(const Fault&) = delete;
  Fault& operator=(const Fault&) = delete;

  /// True once the call has come.
  bool HasStruck() const;
  /// Calls of the kind so far.
  std::int64_t Calls() const;
};

}  // namespace orlinths
