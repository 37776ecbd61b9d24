// Every session, played in QGIS itself through the plugin's windows, ends as on the command line:
// the same events, the same files. So do the runs that the history keeps of them, by each of its
// buttons.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "QgisProcess.h"
#include "component/Component.h"
#include "host/Commands.h"
#include "runtime/Files.h"
#include "session/SessionFile.h"
#include "session/UserHand.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

const std::string kSessions = ORLINTHS_SESSIONS, kProgram = "orlinths ";

using Bytes = std::map<std::string, std::string>;

/// All files by their path in the folder, but what QGIS keeps beside rasters that it shows.
Bytes BytesIn(const std::string& folder) {
  Bytes bytes;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string path = entry.path().string();
    if (entry.is_regular_file() && !path.ends_with(".aux.xml"))
      bytes[path.substr(folder.size())] = ReadBytes(path);
  }
  return bytes;
}

/// Without the day of their last change in the headers of dBASE tables.
Bytes WithoutDays(Bytes files) {
  for (auto& [path, bytes] : files)
    if (path.ends_with(".dbf")) bytes.replace(1, 3, 3, '\0');
  return files;
}

std::vector<std::string> NamesOf(const Bytes& files) {
  std::vector<std::string> names;
  for (const auto& [path, bytes] : files) names.push_back(path);
  return names;
}

void ExpectSame(const Bytes& made, const Bytes& expected) {
  ASSERT_EQ(NamesOf(made), NamesOf(expected));
  for (const auto& [path, bytes] : expected)
    EXPECT_TRUE(made.at(path) == bytes) << path << " differs";
}

/// The sessions in a copy of their folder.
class Copy {
 public:
  Copy() { fs::copy(kSessions, folder_.Path(), fs::copy_options::recursive); }
  const std::string& Path() const { return folder_.Path(); }
  Bytes Files() const { return BytesIn(Path()); }

  /// As it was at first.
  void Restore() const {
    for (const auto& entry : fs::directory_iterator(Path())) fs::remove_all(entry.path());
    fs::copy(kSessions, Path(), fs::copy_options::recursive);
  }

 private:
  TempFolder folder_;
};

/// Progress comes by the clock on the wall, at most twenty times a second: it is left out.
std::string WithoutProgress(const std::string& events) {
  std::string kept;
  for (std::size_t at = 0; at < events.size();) {
    const std::size_t end = std::min(events.find('\n', at), events.size());
    const std::string line = events.substr(at, end - at);
    if (line.find("\"event\":\"progress\"") == std::string::npos) kept += line + '\n';
    at = end + 1;
  }
  return kept;
}

/// The class that a session clicks, if it clicks once.
std::string OnlyClick(const std::string& path) {
  const std::string text = ReadBytes(path), sign = "\"click\":";
  const std::size_t at = text.find(sign);
  if (at == text.npos || text.find(sign, at + 1) != text.npos) return {};
  const std::size_t begin = text.find('"', at + sign.size()) + 1;
  return text.substr(begin, text.find('"', begin) - begin);
}

/// Whether pressing the main button of a command's dialog runs something, rather than closing it.
bool Runs(const std::string& className) {
  const CommandInfo* command = FindCommand(className);
  if (command == nullptr || !HasDialog(command->dialog)) return false;
  const auto dialog = NewDialog(command->dialog);
  return dialog->MainButton() != nullptr && dialog->MainButton() != ExitButton(*dialog);
}

Session SessionIn(const std::string& path) {
  WrittenPaths written;
  return ReadSession(path, written);
}

/// All sessions, played in one QGIS.
class SessionsInQgis : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    RegisterTools();
    played_ = new Played;
    MakeProfile(played_->profile.Path());
    std::string list;
    for (const std::string& name : files::NamesIn(kSessions)) {
      if (!name.ends_with(".json")) continue;
      played_->names.push_back(StemOf(name));
      list += (list.empty() ? "" : ":") + JoinPath(played_->place.Path(), name);
    }
    std::string pictures;
    if (const char* folder = std::getenv("ORLINTHS_PICTURES"))
      pictures = " ORLINTHS_PICTURES=" + ForShell(folder);
    played_->run = RunQgis(played_->profile.Path(),
                           "ORLINTHS_SESSION=" + ForShell(list) +
                               " ORLINTHS_EVENTS=" + ForShell(played_->events.Path()) + pictures);
    played_->made = played_->place.Files();
  }
  static void TearDownTestSuite() {
    delete played_;
    played_ = nullptr;
  }

  const std::vector<std::string>& Names() const { return played_->names; }
  const QgisRun& Run() const { return played_->run; }
  const Bytes& Made() const { return played_->made; }
  const Copy& Place() const { return played_->place; }
  std::string Profile() const { return played_->profile.Path(); }
  std::string Events(const std::string& name) const {
    return WithoutProgress(ReadBytes(played_->events / (name + ".events")));
  }
  /// By class; the sessions that click one command once.
  std::map<std::string, std::string> SessionOfEachTool() const {
    std::map<std::string, std::string> sessions;
    for (const std::string& name : Names())
      if (const std::string tool = OnlyClick(kSessions + '/' + name + ".json"); Runs(tool)) {
        EXPECT_FALSE(sessions.contains(tool)) << tool << " has two sessions";
        sessions[tool] = name + ".json";
      }
    return sessions;
  }
  /// By class; the files in the history.
  std::map<std::string, std::string> KeptRuns() const {
    const std::string history = Profile() + "/profiles/default/orlinths/history";
    std::map<std::string, std::string> runs;
    for (const std::string& name : files::NamesIn(history)) {
      EXPECT_NE(name.find(" succeeded"), name.npos) << name;
      const std::string path = JoinPath(history, name);
      EXPECT_TRUE(runs.emplace(OnlyClick(path), path).second) << name << " is a second run";
    }
    return runs;
  }

  /// What a line of the command line makes of fresh data in the folder where QGIS has played.
  Bytes MadeBy(const std::string& words) const {
    Place().Restore();
    const TempFolder apart;
    const std::string said = apart / "said.txt";
    const int status =
        Shell("cd " + ForShell(Place().Path()) + " && " + ForShell(ORLINTHS_PROGRAM) + ' ' + words +
              " >" + ForShell(said) + " 2>&1");
    EXPECT_EQ(status, 0) << words << '\n' << ReadBytes(said);
    return Place().Files();
  }

 private:
  struct Played {
    Copy place;
    TempFolder events, profile;
    std::vector<std::string> names;
    QgisRun run;
    Bytes made;
  };
  static Played* played_;
};
SessionsInQgis::Played* SessionsInQgis::played_ = nullptr;

TEST_F(SessionsInQgis, EndAsOnTheCommandLine) {
  ASSERT_FALSE(Names().empty());
  EXPECT_EQ(Run().status, 0) << Run().said;
  const Copy byCommandLine;
  const TempFolder apart;
  const std::string events = apart / "events.txt";
  for (const std::string& name : Names()) {
    SCOPED_TRACE(name);
    EXPECT_EQ(Shell("cd " + ForShell(byCommandLine.Path()) + " && " + ForShell(ORLINTHS_PROGRAM) +
                    " play " + ForShell(name + ".json") + " --json >" + ForShell(events)),
              0);
    EXPECT_EQ(Events(name), WithoutProgress(ReadBytes(events)));
  }
  ExpectSame(Made(), byCommandLine.Files());
}

TEST_F(SessionsInQgis, TheHistoryDoesEveryRunAgainAndSavesAndCopiesIt) {
  const auto sessions = SessionOfEachTool();
  const auto keptRuns = KeptRuns();
  EXPECT_GT(sessions.size(), 10U);
  ASSERT_EQ(keptRuns.size(), sessions.size());
  const TempFolder results;
  const QgisRun run = RunQgis(
      Profile(),
      "ORLINTHS_LIFE=panel_shown,every_run,layers_are_added,data_are_gone ORLINTHS_SESSIONS=" +
          ForShell(kSessions) + " ORLINTHS_WORK=" + ForShell(Place().Path()) +
          " ORLINTHS_RESULTS=" + ForShell(results.Path()),
      "--code " + ForShell(ORLINTHS_SCRIPTS "/history.py"));
  ASSERT_EQ(run.status, 0) << run.said;
  ASSERT_NE(run.said.find("life: done"), std::string::npos) << run.said;

  const std::set<std::string> kDraw = {"clsRndPnt"};  // other points each time
  for (const auto& [tool, sessionName] : sessions) {
    SCOPED_TRACE(tool);
    const std::string folder = results / tool;
    const Bytes expected = MadeBy("play " + ForShell(sessionName));
    ExpectSame(MadeBy("play " + ForShell(JoinPath(folder, "saved.json"))), expected);
    const std::string line = ReadBytes(JoinPath(folder, "line.txt"));
    ASSERT_EQ(line.compare(0, kProgram.size(), kProgram), 0) << line;
    ExpectSame(MadeBy(line.substr(kProgram.size())), expected);

    // Run again: the same but for the time, also in the history.
    const Bytes again = BytesIn(JoinPath(folder, "again"));
    const std::string keptAgain = ReadBytes(JoinPath(folder, "again.txt"));
    ExpectSame(again, MadeBy("play " + ForShell(keptAgain)));
    Session then = SessionIn(keptRuns.at(tool)), now = SessionIn(keptAgain);
    EXPECT_NE(now.clock, then.clock);
    now.clock = then.clock;
    EXPECT_EQ(SessionText(now, "/"), SessionText(then, "/"));
    if (kDraw.contains(tool))
      EXPECT_EQ(NamesOf(again), NamesOf(expected));
    else
      ExpectSame(WithoutDays(again), WithoutDays(expected));
  }
}

}  // namespace
}  // namespace orlinths
