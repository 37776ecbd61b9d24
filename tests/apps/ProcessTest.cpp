// The program as a process: what its users and their scripts see.
#include <gmock/gmock.h>

#include <cstdio>

#include "apps/Trial.h"
#include "orlinths/CommandLine.h"
#include "orlinths/Interrupt.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "support/Process.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(Process, TellsItsVersion) {
  const TempFolder folder;
  const Ended ended = RunProgram({"--version"}, folder.Path());
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.out, "orlinths 3.23\n");
  EXPECT_EQ(ended.error, "");
}

TEST(Process, AnswersAWrongCallOnStandardError) {
  const TempFolder folder;
  const Ended ended = RunProgram({"run", "clsNothing"}, folder.Path());
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.out, "");
  EXPECT_THAT(ended.error, StartsWith("orlinths: there is no tool \"clsNothing\""));
}

TEST(Process, ListsAllTools) {
  const TempFolder folder;
  const Ended ended = RunProgram({"list", "--json"}, folder.Path());
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(json::parse(ended.out).size(), 56u);
}

TEST(Process, DescribesEveryToolThatIsThere) {
  const TempFolder folder;
  for (const json& tool : json::parse(RunProgram({"list", "--json"}, folder.Path()).out)) {
    if (!tool.at("available").get<bool>()) continue;
    const std::string name = tool.at("class");
    const Ended described = RunProgram({"describe", name, "--json"}, folder.Path());
    ASSERT_EQ(described.status, 0) << name;
    const json description = json::parse(described.out);
    EXPECT_EQ(description.at("class"), name);
    EXPECT_EQ(RunProgram({name, "--help"}, folder.Path()).status, 0) << name;
    if (tool.at("dialog") == "") continue;
    EXPECT_EQ(description.at("dialog").at("name"), tool.at("dialog"));
    EXPECT_FALSE(description.at("controls").empty()) << name;
  }
}

TEST(Process, PlaysASessionWithPathsRelativeToIt) {
  const TempFolder folder;
  WriteBytes(folder / "s.json", R"({"clock": "2026-03-01T00:00:00",
      "map": {"layers": [{"path": "moved.shp"}, {"path": "moved.tif"}]},
      "steps": [{"click": "clsJulianDay"}, {"show": "controls"}, {"press": "btnExit"}]})");
  const Ended ended = RunProgram({"play", folder / "s.json", "--json"}, "/");
  EXPECT_EQ(ended.status, 0) << ended.error;
  EXPECT_THAT(ended.out,
              StartsWith("{\"event\":\"start\",\"clock\":\"2026-03-01T00:00:00.000000000\""));
  EXPECT_THAT(ended.out, HasSubstr(R"("value":"60")"));
  EXPECT_THAT(ended.out,
              HasSubstr(R"({"event":"end","exit":0,"open":[],"layers":["moved","moved.tif"]})"));
  EXPECT_EQ(ended.error, "");
}

/// A run that goes on until it is stopped, in the process at hand.
int RunForEver() {
  const TrialRig rig;
  Trial::run = [](Trial& trial) {
    Trap("Trial: ", [&] {
      trial.Say("running");
      for (;;) Yield();
    });
  };
  CatchInterrupts();
  Output output;
  output.out = [](std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
  };
  output.error = output.out;
  return RunCommandLine({"run", "clsAddLength", "--json"}, output);
}

TEST(Process, StopsAtAnInterruptOnTheRoadOfAFailure) {
  const Ended ended = RunRoutine(RunForEver, {.sign = "running", .interrupts = 1});
  EXPECT_EQ(ended.status, 130);
  EXPECT_THAT(ended.out, HasSubstr("18\\rUser interrupt occurred"));
  EXPECT_THAT(ended.out,
              HasSubstr(R"({"event":"end","exit":130,"open":["frmAddLength"],"layers":[]})"));
}

}  // namespace
}  // namespace orlinths
