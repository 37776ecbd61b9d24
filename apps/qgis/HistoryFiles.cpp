#include "qgis/HistoryFiles.h"

#include <QDir>

#include <algorithm>

#include "qgis/Text.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"
#include "session/ClockText.h"
#include "session/SessionFile.h"

namespace orlinths {
namespace {

constexpr const char* kEnding = ".json";

/// The clock without signs that a file's name cannot hold: names sort as their times do.
std::string NameFor(const Session& session) {
  std::string name = ClockText(session.clock.value_or(0));
  std::replace(name.begin(), name.end(), ':', '-');
  for (const Step& step : session.steps)
    if (const auto* click = std::get_if<steps::Click>(&step.what))
      return name + ' ' + click->className;
  return name;
}

}  // namespace

void HistoryFiles::Keep(const Session& session) {
  if (!QDir().mkpath(ToQt(folder_))) throw RuntimeError(ErrorNumber::kPathNotFound);
  const std::string stem = JoinPath(folder_, NameFor(session));
  std::string path = stem + kEnding;
  for (std::int64_t i = 2; files::FileExists(path); ++i)
    path = stem + " (" + ToText(i) + ')' + kEnding;
  WriteSession(session, path);
  const auto paths = Newest();
  for (std::size_t i = kMost; i < paths.size(); ++i) files::DeleteFile(paths[i]);
}

std::vector<std::string> HistoryFiles::Newest() const {
  std::vector<std::string> paths;
  if (!files::FolderExists(folder_)) return paths;
  for (const std::string& name : files::NamesIn(folder_))
    if (name.ends_with(kEnding)) paths.push_back(JoinPath(folder_, name));
  std::sort(paths.rbegin(), paths.rend());
  return paths;
}

KeptRun KeptRunOf(const std::string& path) {
  constexpr std::size_t kSeconds = 19, kDay = 10;  // "2026-03-01T12-00-00"
  const std::string name = NameOf(path);
  const std::size_t gap = std::min(name.find(' '), name.size());
  KeptRun run;
  run.when = name.substr(0, std::min(gap, kSeconds));
  if (run.when.size() == kSeconds) {
    run.when[kDay] = ' ';
    run.when[kDay + 3] = run.when[kDay + 6] = ':';
  }
  if (gap < name.size()) {
    run.className = name.substr(gap + 1);
    run.className.resize(run.className.find_first_of(" ."));
  }
  return run;
}

}  // namespace orlinths
