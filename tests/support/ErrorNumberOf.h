// The number of the run-time error that a piece of code raises.
#pragma once

#include <string>
#include <utility>

#include "runtime/RuntimeError.h"

namespace orlinths {

/// 0 when `body` raises nothing.
template <class Body>
int ErrorNumberOf(Body&& body) {
  try {
    std::forward<Body>(body)();
  } catch (const RuntimeError& error) {
    return error.Number();
  }
  return 0;
}

/// The description; empty when `body` raises nothing.
template <class Body>
std::string ErrorTextOf(Body&& body) {
  try {
    std::forward<Body>(body)();
  } catch (const RuntimeError& error) {
    return error.Description();
  }
  return {};
}

}  // namespace orlinths
