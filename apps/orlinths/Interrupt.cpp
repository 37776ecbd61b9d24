#include "orlinths/Interrupt.h"

#include <csignal>

#include <unistd.h>

#include "session/SessionPlayer.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

volatile std::sig_atomic_t interrupts = 0;

extern "C" void OnInterrupt(int) {
  constexpr int kInsists = 3;
  interrupts = interrupts + 1;
  if (interrupts >= kInsists) _exit(exit_status::kStopped);
  RequestStop();
}

}  // namespace

void CatchInterrupts() { std::signal(SIGINT, OnInterrupt); }

}  // namespace orlinths
