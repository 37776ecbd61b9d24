// The one exception type: a number that users meet in error reports, and a description.
#pragma once

#include <exception>
#include <optional>
#include <string>
#include <utility>

namespace orlinths {

/// The numbers of run-time errors, each with one fixed description (see `Describe`).
enum class ErrorNumber : int {
  kInvalidCall = 5,          ///< log or root out of its domain, an argument that has no meaning
  kOverflow = 6,             ///< a result outside 16 or 32 bits, or not finite; 0/0
  kOutOfMemory = 7,
  kSubscript = 9,            ///< an index outside its array, block or list
  kDivisionByZero = 11,
  kTypeMismatch = 13,        ///< text that is no number
  kUserInterrupt = 18,       ///< a stop asked of the host, seen at a yield or a platform call
  kFileNotFound = 53,
  kDiskFull = 61,
  kPastEndOfFile = 62,
  kPermissionDenied = 70,
  kPathNotFound = 76,
  kObjectNotSet = 91,        ///< a call on nothing
  kInvalidNull = 94,         ///< null in a conversion
  kPlatform = -2147467259,   ///< a failed platform operation; the description is the library's own
};

/// The standard description of `number`; empty for kPlatform, whose description the library gives.
const char* Describe(ErrorNumber number);

class RuntimeError : public std::exception {
 public:
  explicit RuntimeError(ErrorNumber number) : RuntimeError(number, Describe(number)) {}
  RuntimeError(ErrorNumber number, std::string description)
      : number_(number), description_(std::move(description)) {}

  /// A failed platform operation, in the library's own words.
  static RuntimeError Platform(std::string description) {
    return {ErrorNumber::kPlatform, std::move(description)};
  }

  int Number() const { return static_cast<int>(number_); }
  ErrorNumber Code() const { return number_; }
  const std::string& Description() const { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  ErrorNumber number_;
  std::string description_;
};

/// Raises error 91 when `object` is nothing, otherwise returns it.
template <class T>
T& NotNothing(T* object) {
  if (object == nullptr) throw RuntimeError(ErrorNumber::kObjectNotSet);
  return *object;
}
template <class T>
T NotNothing(std::optional<T> object) {
  return std::move(NotNothing(object ? &*object : nullptr));
}

}  // namespace orlinths
