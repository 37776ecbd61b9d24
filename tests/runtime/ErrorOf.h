// The number of the run-time error that a piece of code raises.
#pragma once

#include <functional>

#include "runtime/RuntimeError.h"

namespace orlinths {

/// 0 when it raises none.
inline int ErrorOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const RuntimeError& error) {
    return error.Number();
  }
  return 0;
}

}  // namespace orlinths
