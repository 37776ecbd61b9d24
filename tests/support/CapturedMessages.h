// Fills the ports of runtime for a test: keeps every message, answers questions from a list, fixes
// the clock.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "runtime/Ports.h"

namespace orlinths {

struct Message {
  std::string text;
  int flags = 0;
  std::string title;
  bool operator==(const Message&) const = default;
};
void PrintTo(const Message& message, std::ostream* out);
using Texts = std::vector<std::string>;

class CapturedMessages {
 public:
  CapturedMessages();
  ~CapturedMessages();
  CapturedMessages(const CapturedMessages&) = delete;
  CapturedMessages& operator=(const CapturedMessages&) = delete;

  const std::vector<Message>& All() const { return all_; }
  Texts Text() const;
  void Clear() { all_.clear(); }

  std::vector<bool> answers;  ///< to questions, in order; a question beyond the last is answered No
  std::int64_t clock = 0;     ///< nanoseconds
  std::vector<std::string> shellTargets;
  int yields = 0;

 private:
  Ports before_;
  std::vector<Message> all_;
};

}  // namespace orlinths
