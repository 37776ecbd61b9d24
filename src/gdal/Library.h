// The road into GDAL and OGR: one-time set-up, and their failures as run-time errors in their own
// words.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace orlinths {

/// Registers the drivers, once per process. Every unit calls it before its first call into GDAL.
void EnsureGdal();

/// Raises what GDAL said last in this thread as a platform error: error 18 instead when a stop has
/// been asked for, error 7 when GDAL ran out of memory. `what` (a sentence) stands in where GDAL
/// said nothing.
[[noreturn]] void RaiseGdal(const std::string& what);

/// A text that GDAL has allocated, freed with the scope, also when memory runs out in it.
struct FreeGdalText {
  void operator()(char* text) const noexcept;
};
using GdalText = std::unique_ptr<char, FreeGdalText>;

/// While it stands, what GDAL says in this thread is kept here instead of going to the error
/// stream, and GDAL's last error starts out clear. Scopes may nest; a handler of the host is back
/// in place afterwards. `RaiseGdal` belongs inside.
class QuietGdal {
 public:
  QuietGdal();
  ~QuietGdal();
  QuietGdal(const QuietGdal&) = delete;
  QuietGdal& operator=(const QuietGdal&) = delete;

  /// Failures and warnings, in order.
  const std::vector<std::string>& Failures() const { return failures_; }
  const std::vector<std::string>& Warnings() const { return warnings_; }
  /// Raises the first failure kept since this scope began, if there is one.
  void RaiseIfFailed() const;

 private:
  static void Keep(int severity, int number, const char* text) noexcept;
  std::vector<std::string> failures_, warnings_;
};

}  // namespace orlinths
