#include "runtime/Trap.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <vector>

#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "support/CapturedMessages.h"

namespace orlinths {
namespace {

TEST(Trap, OfABodyThatReachesItsEndIsTrueAndSilent) {
  CapturedMessages messages;
  bool ran = false;
  EXPECT_TRUE(Trap("ListLayers: ", [&] { ran = true; }));
  EXPECT_TRUE(ran);
  EXPECT_TRUE(messages.All().empty());
}

TEST(Trap, ReportsLabelLetterNumberAndDescription) {
  CapturedMessages messages;
  std::string at = "A";
  EXPECT_FALSE(Trap("ListLayers: ", at, [&] {
    at = "B";
    throw RuntimeError(ErrorNumber::kObjectNotSet);
  }));
  ASSERT_EQ(messages.All().size(), 1u);
  EXPECT_EQ(
      messages.All()[0],
      (Message{"ListLayers: B\r91\rObject variable or With block variable not set", 16, "Error"}));
}

TEST(Trap, TakesTheLetterAsItStandsAtTheFailure) {
  CapturedMessages messages;
  std::string at = "A";
  Trap("X: ", at, [&] { throw RuntimeError(ErrorNumber::kOverflow); });
  Trap("X: ", at, [&] {
    at = "B";
    at = "C";
    throw RuntimeError(ErrorNumber::kOverflow);
    at = "D";
  });
  EXPECT_EQ(messages.Text(), (Texts{"X: A\r6\rOverflow", "X: C\r6\rOverflow"}));
}

TEST(Trap, WithoutALetterReportsTheLabelAlone) {
  CapturedMessages messages;
  EXPECT_FALSE(Trap("CreateMCPPoly; ", [] { throw RuntimeError(ErrorNumber::kDivisionByZero); }));
  EXPECT_EQ(messages.Text(), Texts{"CreateMCPPoly; \r11\rDivision by zero"});
}

TEST(Trap, ReportsAPlatformFailureInTheLibrarysWords) {
  CapturedMessages messages;
  Trap("X: ", [] { throw RuntimeError::Platform("not recognized as a supported file format"); });
  EXPECT_EQ(messages.Text(), Texts{"X: \r-2147467259\rnot recognized as a supported file format"});
}

TEST(Trap, TakesAFailedAllocationForOutOfMemory) {
  CapturedMessages messages;
  Trap("X: ", [] { throw std::bad_alloc(); });
  Trap("X: ", [] { throw std::length_error("vector"); });
  EXPECT_EQ(messages.Text(), (Texts{"X: \r7\rOut of memory", "X: \r7\rOut of memory"}));
}

TEST(Trap, TakesAnyOtherExceptionForAPlatformFailure) {
  CapturedMessages messages;
  Trap("X: ", [] { throw std::logic_error("broken"); });
  EXPECT_EQ(messages.Text(), Texts{"X: \r-2147467259\rbroken"});
}

TEST(Trap, InsideATrapReportsOnceAndLetsTheOuterGoOn) {
  CapturedMessages messages;
  bool wentOn = false;
  EXPECT_TRUE(Trap("Outer: ", [&] {
    EXPECT_FALSE(Trap("Inner: ", [] { throw RuntimeError(ErrorNumber::kTypeMismatch); }));
    wentOn = true;
  }));
  EXPECT_TRUE(wentOn);
  EXPECT_EQ(messages.Text(), Texts{"Inner: \r13\rType mismatch"});
}

TEST(Trap, UnwindsWhatTheBodyHeldBeforeItReports) {
  std::vector<std::string> order;
  Ports ports;
  ports.messageBox = [&](const std::string&, int, const std::string&) {
    order.push_back("report");
    return Reply::kOk;
  };
  const Ports before = SetPorts(ports);
  Trap("X: ", [&] {
    const AtScopeEnd undo([&] { order.push_back("undone"); });
    throw RuntimeError(ErrorNumber::kOverflow);
  });
  SetPorts(before);
  EXPECT_EQ(order, (std::vector<std::string>{"undone", "report"}));
}

TEST(TrapWithHead, FormsItsHeadWhenItFails) {
  CapturedMessages messages;
  int row = 0;
  EXPECT_TRUE(TrapWithHead([&] { return "row " + std::to_string(row); }, [] {}));
  EXPECT_FALSE(TrapWithHead([&] { return "row " + std::to_string(row); },
                            [&] {
                              row = 7;
                              throw RuntimeError(ErrorNumber::kPermissionDenied);
                            }));
  EXPECT_EQ(messages.Text(), Texts{"row 7\r70\rPermission denied"});
}

TEST(Quietly, SwallowsTheFailure) {
  CapturedMessages messages;
  const int before = ErrorReportCount();
  EXPECT_FALSE(Quietly([] { throw RuntimeError(ErrorNumber::kOverflow); }));
  EXPECT_TRUE(Quietly([] {}));
  EXPECT_TRUE(messages.All().empty());
  EXPECT_EQ(ErrorReportCount(), before);
}

TEST(ErrorReportCount, CountsReportsAndNothingElse) {
  CapturedMessages messages;
  const int before = ErrorReportCount();
  Trap("X: ", [] { throw RuntimeError(ErrorNumber::kOverflow); });
  ReportError("Y: ", 91, "no object");
  MessageBox("plain", kCritical, "Error");
  EXPECT_EQ(ErrorReportCount(), before + 2);
  EXPECT_EQ(messages.Text().at(1), "Y: \r91\rno object");
}

TEST(AtScopeEnd, ActsHoweverTheScopeEnds) {
  int acts = 0;
  {
    const AtScopeEnd act([&] { ++acts; });
  }
  EXPECT_FALSE(Quietly([&] {
    const AtScopeEnd act([&] { ++acts; });
    throw RuntimeError(ErrorNumber::kOverflow);
  }));
  EXPECT_EQ(acts, 2);
}

}  // namespace
}  // namespace orlinths
