#include "runtime/RuntimeError.h"

namespace orlinths {

const char* Describe(ErrorNumber number) {
  switch (number) {
    case ErrorNumber::kInvalidCall: return "Invalid procedure call or argument";
    case ErrorNumber::kOverflow: return "Overflow";
    case ErrorNumber::kOutOfMemory: return "Out of memory";
    case ErrorNumber::kSubscript: return "Subscript out of range";
    case ErrorNumber::kDivisionByZero: return "Division by zero";
    case ErrorNumber::kTypeMismatch: return "Type mismatch";
    case ErrorNumber::kUserInterrupt: return "User interrupt occurred";
    case ErrorNumber::kFileNotFound: return "File not found";
    case ErrorNumber::kDiskFull: return "Disk full";
    case ErrorNumber::kPastEndOfFile: return "Input past end of file";
    case ErrorNumber::kPermissionDenied: return "Permission denied";
    case ErrorNumber::kPathNotFound: return "Path not found";
    case ErrorNumber::kObjectNotSet: return "Object variable or With block variable not set";
    case ErrorNumber::kInvalidNull: return "Invalid use of Null";
    case ErrorNumber::kPlatform: break;
  }
  return "";
}

}  // namespace orlinths
