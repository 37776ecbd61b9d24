#include "runtime/Ports.h"

#include <atomic>
#include <chrono>
#include <ctime>
#include <utility>

#include "runtime/RuntimeError.h"

namespace orlinths {
namespace {

std::atomic<bool> stopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "RequestStop is called from signal handlers");

std::int64_t SystemClock() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&seconds, &local);
  constexpr std::int64_t kSecond = 1'000'000'000;
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now.time_since_epoch()).count() +
         local.tm_gmtoff * kSecond;
}

Ports Complete(Ports ports) {
  if (!ports.messageBox)
    ports.messageBox = [](const std::string&, int flags, const std::string&) {
      return (flags & 0xF) == kYesNo ? Reply::kNo : Reply::kOk;
    };
  if (!ports.yield) ports.yield = [] {};
  if (!ports.clock) ports.clock = SystemClock;
  if (!ports.shellOpen) ports.shellOpen = [](const std::string&) {};
  return ports;
}

Ports& Current() {
  static Ports ports = Complete({});
  return ports;
}

}  // namespace

Ports SetPorts(Ports ports) { return std::exchange(Current(), Complete(std::move(ports))); }

Reply MessageBox(const std::string& text, int flags, const std::string& title) {
  return Current().messageBox(text, flags, title);
}

bool Ask(const std::string& text, const std::string& title, int flags) {
  return MessageBox(text, flags | kYesNo, title) == Reply::kYes;
}

void ShellOpen(const std::string& target) { Current().shellOpen(target); }
std::int64_t ClockNanoseconds() { return Current().clock(); }

void Yield() {
  Current().yield();
  CheckStop();
}

void RequestStop() noexcept { stopRequested.store(true, std::memory_order_relaxed); }
void ClearStop() noexcept { stopRequested.store(false, std::memory_order_relaxed); }
bool StopRequested() noexcept { return stopRequested.load(std::memory_order_relaxed); }

void CheckStop() {
  if (StopRequested()) throw RuntimeError(ErrorNumber::kUserInterrupt);
}

}  // namespace orlinths
