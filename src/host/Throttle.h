// Thins out calls that come once per record to what a display can show.
#pragma once

#include <cstdint>

namespace orlinths {

/// Answers `Due()` with true at most 20 times a second. Costs a decrement and a compare where
/// records are quick: the clock is looked at every 16th call then, and at every call where 64 of
/// them take longer than a display's frame.
class Throttle {
 public:
  static constexpr std::int64_t kIntervalMilliseconds = 50;

  bool Due() { return --callsLeft_ <= 0 && LookAtClock(); }
  /// The next call is due.
  void Restart() { *this = Throttle(); }

  /// A clock that never goes back, milliseconds. Tests put their own here.
  using Clock = std::int64_t (*)();
  static std::int64_t SteadyMilliseconds();
  inline static Clock clock = &SteadyMilliseconds;

 private:
  static constexpr int kLongStride = 16;
  static constexpr std::int64_t kFrameMilliseconds = 16;
  static constexpr std::int64_t kNever = INT64_MIN / 2;

  bool LookAtClock();

  std::int64_t lastDue_ = kNever, lastLook_ = kNever;
  int callsLeft_ = 0;
};

}  // namespace orlinths
