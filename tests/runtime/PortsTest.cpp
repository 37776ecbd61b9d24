#include "runtime/Ports.h"

#include <gtest/gtest.h>

#include "runtime/ErrorOf.h"
#include "runtime/Trap.h"
#include "support/CapturedMessages.h"

namespace orlinths {
namespace {

TEST(Ports, WithoutAHostAreHarmless) {
  const Ports before = SetPorts({});
  EXPECT_EQ(MessageBox("text"), Reply::kOk);
  EXPECT_FALSE(Ask("question?", "title"));
  EXPECT_EQ(ErrorOf([] { Yield(); }), 0);
  ShellOpen("target");
  constexpr std::int64_t kYear2020 = 1'577'836'800'000'000'000;
  EXPECT_GT(ClockNanoseconds(), kYear2020);
  SetPorts(before);
}

TEST(Ports, SetPortsGivesBackWhatWasThere) {
  Ports mine;
  mine.clock = [] { return std::int64_t{42}; };
  const Ports before = SetPorts(mine);
  EXPECT_EQ(ClockNanoseconds(), 42);
  const Ports returned = SetPorts(before);
  EXPECT_EQ(returned.clock(), 42);
  EXPECT_NE(ClockNanoseconds(), 42);
}

TEST(Ports, PassTextFlagsAndTitle) {
  CapturedMessages messages;
  MessageBox("line\rline", kExclamation, "Warning");
  MessageBox("plain");
  ShellOpen("https://example.org/");
  EXPECT_EQ(messages.All(),
            (std::vector<Message>{{"line\rline", 48, "Warning"}, {"plain", 0, ""}}));
  EXPECT_EQ(messages.shellTargets, Texts{"https://example.org/"});
}

TEST(Ports, AskAddsYesAndNoAndIsTrueForYes) {
  CapturedMessages messages;
  messages.answers = {true, false};
  EXPECT_TRUE(Ask("replace?", "File Error"));
  EXPECT_FALSE(Ask("replace?", "Warning", kExclamation));
  EXPECT_EQ(messages.All()[0].flags, 4);
  EXPECT_EQ(messages.All()[1].flags, 52);
}

TEST(Ports, FlagsAndRepliesHaveTheirNumbers) {
  EXPECT_EQ(kPlain, 0);
  EXPECT_EQ(kYesNo, 4);
  EXPECT_EQ(kCritical, 16);
  EXPECT_EQ(kExclamation, 48);
  EXPECT_EQ(kInformation, 64);
  EXPECT_EQ(static_cast<int>(Reply::kYes), 6);
  EXPECT_EQ(static_cast<int>(Reply::kNo), 7);
}

TEST(Stop, StandsUntilItIsCleared) {
  CapturedMessages messages;
  EXPECT_FALSE(StopRequested());
  RequestStop();
  EXPECT_TRUE(StopRequested());
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(ErrorOf([] { Yield(); }), 18);
    EXPECT_EQ(ErrorOf([] { CheckStop(); }), 18);
  }
  ClearStop();
  EXPECT_FALSE(StopRequested());
  EXPECT_EQ(ErrorOf([] { Yield(); }), 0);
  EXPECT_EQ(ErrorOf([] { CheckStop(); }), 0);
}

TEST(Stop, IsTakenAtTheYieldThatHearsOfIt) {
  Ports ports;
  ports.yield = [] { RequestStop(); };
  const Ports before = SetPorts(ports);
  EXPECT_EQ(ErrorOf([] { CheckStop(); }), 0);
  EXPECT_EQ(ErrorOf([] { Yield(); }), 18);
  SetPorts(before);
  ClearStop();
}

TEST(Stop, TakesTheOrdinaryRoadOfAFailure) {
  CapturedMessages messages;
  RequestStop();
  EXPECT_FALSE(Trap("RndSel: ", "C", [] { Yield(); }));
  EXPECT_EQ(messages.Text(), Texts{"RndSel: C\r18\rUser interrupt occurred"});
  EXPECT_TRUE(StopRequested()) << "the report does not clear it";
}

}  // namespace
}  // namespace orlinths
