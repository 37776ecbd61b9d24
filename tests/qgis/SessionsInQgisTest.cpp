// Every session, played in QGIS itself through the plugin's windows, ends as on the command line:
// the same events, the same files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "QgisProcess.h"
#include "component/Component.h"
#include "runtime/Files.h"
#include "session/CommandLineText.h"
#include "session/SessionFile.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

const std::string kSessions = ORLINTHS_SESSIONS, kProgram = "orlinths";

/// The sessions in a copy of their folder.
class Copy {
 public:
  Copy() { fs::copy(kSessions, folder_.Path(), fs::copy_options::recursive); }
  const std::string& Path() const { return folder_.Path(); }

  /// As it was at first.
  void Restore() {
    for (const auto& entry : fs::directory_iterator(Path())) fs::remove_all(entry.path());
    fs::copy(kSessions, Path(), fs::copy_options::recursive);
  }

  /// All files by their path in the folder, but what QGIS keeps beside rasters that it shows.
  std::map<std::string, std::string> Files() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(Path())) {
      const std::string path = entry.path().string();
      if (entry.is_regular_file() && !path.ends_with(".aux.xml"))
        files[path.substr(Path().size())] = ReadBytes(path);
    }
    return files;
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

/// Plays sessions in QGIS as it starts.
QgisRun PlayInQgis(const std::vector<std::string>& sessions, const std::string& eventsFolder,
                   const TempFolder& profile) {
  MakeProfile(profile.Path());
  std::string list;
  for (const std::string& session : sessions) list += (list.empty() ? "" : ":") + session;
  std::string pictures;
  if (const char* folder = std::getenv("ORLINTHS_PICTURES"))
    pictures = " ORLINTHS_PICTURES=" + ForShell(folder);
  return RunQgis(profile.Path(), "ORLINTHS_SESSION=" + ForShell(list) +
                                     " ORLINTHS_EVENTS=" + ForShell(eventsFolder) + pictures);
}

/// Plays a session file by the command line; gives the events.
std::string Play(const std::string& folder, const std::string& session) {
  const TempFolder apart;
  const std::string output = apart / "output.txt";
  EXPECT_EQ(Shell("cd " + ForShell(folder) + " && " + ForShell(ORLINTHS_PROGRAM) + " play " +
                  ForShell(session) + " --json >" + ForShell(output)),
            0)
      << ReadBytes(output);
  return WithoutProgress(ReadBytes(output));
}

void ExpectSameFiles(const Copy& made, const Copy& expected) {
  const auto left = made.Files(), right = expected.Files();
  std::vector<std::string> leftNames, rightNames;
  for (const auto& [path, bytes] : left) leftNames.push_back(path);
  for (const auto& [path, bytes] : right) rightNames.push_back(path);
  ASSERT_EQ(leftNames, rightNames);
  for (const auto& [path, bytes] : right) EXPECT_TRUE(left.at(path) == bytes) << path << " differs";
}

/// The class that a session clicks, if it clicks once.
std::string OnlyClick(const std::string& path) {
  const std::string text = ReadBytes(path), sign = "\"click\":";
  const std::size_t at = text.find(sign);
  if (at == text.npos || text.find(sign, at + 1) != text.npos) return {};
  const std::size_t begin = text.find('"', at + sign.size()) + 1;
  return text.substr(begin, text.find('"', begin) - begin);
}

TEST(SessionsInQgis, EndAsOnTheCommandLineAndSoDoTheRunsInTheHistory) {
  Copy byQgis;
  const Copy byCommandLine;
  const TempFolder events, profile;
  std::vector<std::string> names, sessions;
  for (const std::string& name : files::NamesIn(kSessions)) {
    if (!name.ends_with(".json")) continue;
    names.push_back(StemOf(name));
    sessions.push_back(JoinPath(byQgis.Path(), name));
  }
  ASSERT_FALSE(names.empty());
  const QgisRun run = PlayInQgis(sessions, events.Path(), profile);
  EXPECT_EQ(run.status, 0) << run.said;
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    EXPECT_EQ(WithoutProgress(ReadBytes(events / (name + ".events"))),
              Play(byCommandLine.Path(), name + ".json"));
  }
  ExpectSameFiles(byQgis, byCommandLine);

  // What QGIS has kept of these runs, each from the start.
  std::map<std::string, std::vector<std::string>> sessionsOf, runsOf;
  for (const std::string& name : names)
    sessionsOf[OnlyClick(kSessions + '/' + name + ".json")].push_back(name);
  const std::string history = profile / "profiles/default/orlinths/history";
  ASSERT_TRUE(files::FolderExists(history));
  for (const std::string& name : files::NamesIn(history)) {
    runsOf[OnlyClick(JoinPath(history, name))].push_back(JoinPath(history, name));
    EXPECT_NE(name.find(" succeeded"), name.npos) << name;
  }
  RegisterTools();
  std::vector<std::string> clicked, replayed;
  for (const auto& [className, ofClass] : sessionsOf) {
    if (className.empty() || ofClass.size() != 1) continue;
    clicked.push_back(className);
    SCOPED_TRACE(className);
    const auto& runs = runsOf[className];
    ASSERT_EQ(runs.size(), 1U);
    const Copy expected;
    Play(expected.Path(), ofClass.front() + ".json");
    byQgis.Restore();
    Play(byQgis.Path(), runs.front());
    ExpectSameFiles(byQgis, expected);

    // And as the line that "Copy command line" gives, in a shell.
    byQgis.Restore();
    WrittenPaths written;
    const std::string line = CommandLineText(ReadSession(runs.front(), written), runs.front());
    ASSERT_EQ(line.compare(0, kProgram.size(), kProgram), 0) << line;
    EXPECT_EQ(Shell("cd " + ForShell(byQgis.Path()) + " && " + ForShell(ORLINTHS_PROGRAM) +
                    line.substr(kProgram.size()) + " >/dev/null 2>&1"),
              0)
        << line;
    ExpectSameFiles(byQgis, expected);
    replayed.push_back(className);
  }
  EXPECT_EQ(replayed, clicked);
  EXPECT_GT(clicked.size(), 10U);
}

}  // namespace
}  // namespace orlinths
