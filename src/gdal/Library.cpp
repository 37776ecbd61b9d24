#include "gdal/Library.h"

#include <mutex>

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>

#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {

void EnsureGdal() {
  static std::once_flag once;
  std::call_once(once, [] { GDALAllRegister(); });
}

void RaiseGdal(const std::string& what) {
  CheckStop();
  if (CPLGetLastErrorNo() == CPLE_OutOfMemory) throw RuntimeError(ErrorNumber::kOutOfMemory);
  const std::string said = CPLGetLastErrorMsg();
  throw RuntimeError::Platform(said.empty() ? what : said);
}

void FreeGdalText::operator()(char* text) const noexcept { CPLFree(text); }

QuietGdal::QuietGdal() {
  CPLPushErrorHandlerEx(
      [](CPLErr severity, CPLErrorNum number, const char* text) { Keep(severity, number, text); },
      this);
  CPLErrorReset();
}

QuietGdal::~QuietGdal() { CPLPopErrorHandler(); }

void QuietGdal::Keep(int severity, int /*number*/, const char* text) noexcept {
  auto& scope = *static_cast<QuietGdal*>(CPLGetErrorHandlerUserData());
  try {
    if (severity == CE_Warning) scope.warnings_.emplace_back(text);
    if (severity == CE_Failure) scope.failures_.emplace_back(text);
  } catch (const std::bad_alloc&) {
    // GDAL's own record of its last error remains.
  }
}

void QuietGdal::RaiseIfFailed() const {
  CheckStop();
  if (!failures_.empty()) throw RuntimeError::Platform(failures_.front());
}

}  // namespace orlinths
