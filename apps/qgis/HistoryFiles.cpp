#include "qgis/HistoryFiles.h"

#include <QDir>

#include <algorithm>
#include <array>
#include <string_view>

#include "qgis/Text.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"
#include "session/ClockText.h"
#include "session/SessionFile.h"

namespace orlinths {
namespace {

constexpr const char* kEnding = ".json";

struct OutcomeWord {
  RunOutcome outcome;
  std::string_view word;
};
constexpr std::array kOutcomes{
    OutcomeWord{RunOutcome::kSucceeded, "succeeded"}, OutcomeWord{RunOutcome::kRefused, "refused"},
    OutcomeWord{RunOutcome::kFailed, "failed"}, OutcomeWord{RunOutcome::kStopped, "stopped"}};

/// The clock without signs that a file's name cannot hold; such names sort as their times do.
std::string TimeFor(std::int64_t clock) {
  std::string name = ClockText(clock);
  std::replace(name.begin(), name.end(), ':', '-');
  return name;
}

/// "2026-03-01T12-00-00.000000000 clsRndPnt succeeded".
std::string NameFor(const Session& session, RunOutcome outcome) {
  std::string name = TimeFor(session.clock.value_or(0));
  const auto* click =
      session.steps.empty() ? nullptr : std::get_if<steps::Click>(&session.steps.front().what);
  if (click != nullptr) name += ' ' + click->className;
  for (const OutcomeWord& known : kOutcomes)
    if (known.outcome == outcome) name.append(" ").append(known.word);
  return name;
}

/// An empty file of that name, or of the next one that nobody has: two windows of QGIS may share a
/// profile.
std::string Reserve(const std::string& stem) {
  std::string path = stem + kEnding;
  for (std::int64_t i = 2;; ++i) {
    const auto failure = FailureOf([&] { OutputFile(path, OutputFile::Mode::kCreateNew).Close(); });
    if (!failure) return path;
    if (!files::FileExists(path)) throw RuntimeError(*failure);
    path = stem + " (" + ToText(i) + ')' + kEnding;
  }
}

/// The words of a file's name, without its ending.
std::vector<std::string> WordsOf(const std::string& path) {
  std::vector<std::string> words(1);
  for (const char letter : StemOf(path)) {
    if (letter == ' ')
      words.emplace_back();
    else
      words.back() += letter;
  }
  return words;
}

}  // namespace

void HistoryFiles::Keep(const Session& session, RunOutcome outcome) {
  if (!QDir().mkpath(ToQt(folder_))) throw RuntimeError(ErrorNumber::kPathNotFound);
  const std::string path = Reserve(JoinPath(folder_, NameFor(session, outcome)));
  const auto failure = FailureOf([&] { WriteSession(session, path); });
  if (failure) {
    Quietly([&] { files::DeleteFile(path); });
    throw RuntimeError(*failure);
  }
  const auto paths = Newest();
  for (std::size_t i = kMost; i < paths.size(); ++i)
    Quietly([&] { files::DeleteFile(paths[i]); });  // one that stays keeps no other
}

std::vector<std::string> HistoryFiles::Newest() const {
  std::vector<std::string> paths;
  if (!files::FolderExists(folder_)) return paths;
  for (const std::string& name : files::NamesIn(folder_))
    if (name.ends_with(kEnding)) paths.push_back(JoinPath(folder_, name));
  std::sort(paths.rbegin(), paths.rend());
  // Runs of a clock that went wrong must not push out those of the right one for years.
  const std::string now = JoinPath(folder_, TimeFor(ClockNanoseconds()));
  std::stable_partition(paths.begin(), paths.end(), [&](const std::string& path) {
    return path.compare(0, now.size(), now) <= 0;
  });
  return paths;
}

KeptRun KeptRunOf(const std::string& path) {
  constexpr std::size_t kSeconds = 19, kDay = 10;  // "2026-03-01T12-00-00"
  const std::vector<std::string> words = WordsOf(path);
  KeptRun run;
  run.when = words[0].substr(0, kSeconds);
  if (run.when.size() == kSeconds) {
    run.when[kDay] = ' ';
    run.when[kDay + 3] = run.when[kDay + 6] = ':';
  }
  if (words.size() > 1) run.className = words[1];
  for (const OutcomeWord& known : kOutcomes)
    if (words.size() > 2 && words[2] == known.word) run.outcome = known.outcome;
  return run;
}

}  // namespace orlinths
