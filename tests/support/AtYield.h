// What a user does while a run is on.
#pragma once

#include <functional>
#include <utility>

#include "runtime/Ports.h"

namespace orlinths {

/// Does something at the n-th yield from now on; a stop, if nothing else.
class AtYield {
 public:
  explicit AtYield(int nth, std::function<void()> act = RequestStop) {
    Ports ports = SetPorts({});
    before_ = ports;
    ports.yield = [left = nth, act = std::move(act)]() mutable {
      if (--left == 0) act();
    };
    SetPorts(ports);
  }
  ~AtYield() {
    ClearStop();
    SetPorts(before_);
  }
  AtYield(const AtYield&) = delete;
  AtYield& operator=(const AtYield&) = delete;

 private:
  Ports before_;
};

}  // namespace orlinths
