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
#include "runtime/Files.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

const std::string kSessions = ORLINTHS_SESSIONS;

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
  int replayed = 0;
  for (const auto& [className, runs] : runsOf) {
    if (runs.size() != 1 || sessionsOf[className].size() != 1) continue;
    SCOPED_TRACE(runs.front());
    const Copy again;
    byQgis.Restore();
    Play(again.Path(), sessionsOf[className].front() + ".json");
    Play(byQgis.Path(), runs.front());
    ExpectSameFiles(byQgis, again);
    ++replayed;
  }
  EXPECT_GT(replayed, 4);
}

}  // namespace
}  // namespace orlinths
