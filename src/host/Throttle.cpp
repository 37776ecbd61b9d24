#include "host/Throttle.h"

#include <chrono>

namespace orlinths {

std::int64_t Throttle::SteadyMilliseconds() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

bool Throttle::LookAtClock() {
  const std::int64_t now = clock();
  callsLeft_ = now - lastLook_ < kFrameMilliseconds ? kLongStride : 1;
  lastLook_ = now;
  if (now - lastDue_ < kIntervalMilliseconds) return false;
  lastDue_ = now;
  return true;
}

}  // namespace orlinths
