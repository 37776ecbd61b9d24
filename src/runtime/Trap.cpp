#include "runtime/Trap.h"

#include <new>
#include <optional>
#include <stdexcept>

#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

int reportCount = 0;

}  // namespace

std::optional<RuntimeError> FailureOf(const std::function<void()>& body) {
  try {
    body();
    return std::nullopt;
  } catch (const RuntimeError& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return RuntimeError(ErrorNumber::kOutOfMemory);
  } catch (const std::length_error&) {  // a container asked for more than any memory holds
    return RuntimeError(ErrorNumber::kOutOfMemory);
  } catch (const std::exception& error) {
    return RuntimeError::Platform(error.what());
  }
}

void ReportError(const std::string& head, int number, const std::string& description) {
  ++reportCount;
  MessageBox(head + '\r' + ToText(number) + '\r' + description, kCritical, "Error");
}

int ErrorReportCount() { return reportCount; }

bool TrapWithHead(const std::function<std::string()>& head, const std::function<void()>& body) {
  const auto failure = FailureOf(body);
  if (failure) ReportError(head(), failure->Number(), failure->Description());
  return !failure;
}

bool Trap(std::string_view label, const std::string& letter, const std::function<void()>& body) {
  return TrapWithHead([&] { return std::string(label) + letter; }, body);
}

bool Trap(std::string_view label, const std::function<void()>& body) {
  return TrapWithHead([&] { return std::string(label); }, body);
}

bool Quietly(const std::function<void()>& body) { return !FailureOf(body); }

}  // namespace orlinths
