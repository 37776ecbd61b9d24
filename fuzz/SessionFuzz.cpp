// Session files of any bytes: they are read or refused with words, and what is read is written and
// read back the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "session/SessionFile.h"
#include "runtime/Trap.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orlinths;
  const std::string text(reinterpret_cast<const char*>(data), size);
  Session session;
  WrittenPaths written;
  const auto refusal = FailureOf([&] { session = ParseSession(text, "/folder", written); });
  if (refusal) {
    if (refusal->Description().empty() || refusal->Code() != ErrorNumber::kInvalidCall)
      std::abort();
    return 0;
  }
  if (!(ParseSession(SessionText(session, "/other"), "/other", written) == session)) std::abort();
  return 0;
}
