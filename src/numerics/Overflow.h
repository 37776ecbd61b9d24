// The overflow check of routines that are plain arithmetic and run too often for a trap of their
// own.
#pragma once

#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {

/// Reports error 6 under `label`, as a trap around the routine would. A coordinate of an empty
/// point is NaN, so that what is computed from it ends here too.
[[gnu::cold]] inline void ReportOverflow(const char* label) {
  Trap(label, [] { throw RuntimeError(ErrorNumber::kOverflow); });
}

}  // namespace orlinths
