// Whole runs of a tool, each with another of its calls failing: what every one must leave behind.
// Link `test_fault_runs`.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "support/CapturedMessages.h"
#include "support/Faults.h"
#include "support/OgrDataset.h"

namespace orlinths {

/// The kinds of calls whose failure a run has to survive.
inline constexpr FaultKind kCallsOfRuns[] = {
    FaultKind::kOpen,   FaultKind::kRead,  FaultKind::kWrite,        FaultKind::kSync,
    FaultKind::kRename, FaultKind::kClose, FaultKind::kOwnAllocation};
std::string NameOf(FaultKind kind);

/// Calls `run(underFault)` again and again. It prepares, hands what is to fail to
/// `underFault(press)`, and looks at what is left: the first time the first call of that kind
/// fails, then the second, until a press makes no more such calls. Ends at the test's first
/// failure.
template <class Run>
void ForEveryCall(FaultKind kind, const Run& run) {
  std::int64_t strikes = 0;
  for (bool struck = true; struck; strikes += struck) {
    SCOPED_TRACE("call " + std::to_string(strikes + 1));
    run([&](const auto& press) {
      const Fault fault(kind, strikes + 1);
      press();
      struck = fault.HasStruck();
    });
    if (::testing::Test::HasFailure()) return;
  }
  EXPECT_GT(strikes, 0) << "the run makes no such call";
}

/// Every file of a folder.
using FolderBytes = std::map<std::string, std::string>;
FolderBytes BytesIn(const std::string& folder);

/// Was an error report, or another message of failure, among them?
bool TellOfFailure(const std::vector<Message>& messages);

/// Columns that a tool is to write, record by record, as worked out by hand.
struct ColumnsToCome {
  std::map<std::string, std::vector<double>> numbers;
  std::map<std::string, std::vector<std::string>> texts{};
};
/// A table edited in place is whole: shapes and columns as they were, and of those to come all
/// values, or where the user was told of a failure, values from the first record up to where the
/// run ended and from there on zeros and empty texts.
void ExpectEdited(const OgrDataset& before, const OgrDataset& after, const ColumnsToCome& columns,
                  bool isReported);

}  // namespace orlinths
