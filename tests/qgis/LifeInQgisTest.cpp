// The plugin's life in QGIS itself: switched off and on in the Plugin Manager, with projects that
// come and go, until QGIS is left.
#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "QgisProcess.h"
#include "data/Workspace.h"
#include "qgis/HistoryFiles.h"
#include "runtime/Files.h"
#include "session/SessionFile.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

/// As life.py makes them.
constexpr std::int64_t kFixes = 60'000, kFixesOfAPath = 100;

class LifeInQgis : public ::testing::Test {
 protected:
  LifeInQgis() {
    fs::copy(std::string(ORLINTHS_SESSIONS) + "/data", folder / "data",
             fs::copy_options::recursive);
    MakeProfile(folder / "profile");
  }
  /// Each of `tried` is a routine of life.py, which ends with a traceback where something is not as
  /// it should be.
  void Live(const std::string& tried, int copies = 1) {
    const QgisRun run =
        RunQgis(folder / "profile",
                "ORLINTHS_DATA=" + ForShell(folder / "data") + " ORLINTHS_LIFE=" + ForShell(tried),
                "--code " + ForShell(ORLINTHS_SCRIPTS "/life.py"), copies);
    EXPECT_EQ(run.status, 0) << run.said;
    EXPECT_THAT(run.said, HasSubstr("life: done")) << run.said;
    EXPECT_EQ(run.said.find("Traceback"), std::string::npos) << run.said;
  }
  std::vector<std::string> History() const {
    const std::string history = folder / "profile/profiles/default/orlinths/history";
    std::vector<std::string> paths;
    if (!files::FolderExists(history)) return paths;
    for (const std::string& name : files::NamesIn(history))
      paths.push_back(JoinPath(history, name));
    return paths;
  }
  /// How the runs since the last call ended, the first one first.
  std::vector<RunOutcome> TakeOutcomes() {
    std::vector<RunOutcome> outcomes;
    for (const std::string& run : History()) {
      outcomes.push_back(KeptRunOf(run).outcome.value());
      fs::remove(run);
    }
    return outcomes;
  }
  /// Every row that life.py made is there, and nothing lies beside its files.
  void ExpectWholeFixes() {
    std::vector<std::string> names;
    for (const std::string& name : files::NamesIn(folder / "data"))
      if (name.starts_with("many")) names.push_back(name);
    EXPECT_THAT(names,
                UnorderedElementsAre("many.cpg", "many.dbf", "many.prj", "many.shp", "many.shx"));
    const auto fixes = OpenFeatureClassByPath(folder / "data/many.shp");
    ASSERT_NE(fixes, nullptr);
    const int path = fixes->FindField("PATH");
    ASSERT_GE(path, 0);
    std::int64_t count = 0, wrong = 0;
    const auto rows = fixes->Search();
    for (; const IFeature* fix = rows->Next(); ++count)
      if (ToLong(fix->GetValue(path)) != count / kFixesOfAPath) ++wrong;
    EXPECT_EQ(count, kFixes);
    EXPECT_EQ(wrong, 0);
  }

  TempFolder folder;
};

TEST_F(LifeInQgis, SwitchedOffItLeavesNothingAndSwitchedOnItIsAsBefore) {
  Live(
      "in_the_language_of_its_user,a_run,switched_off_and_on,shortcuts_stay,digitiser_in_hand,"
      "history_shown,projects_come_and_"
      "go,"
      "a_layer_goes_under_a_dialog,left_with_the_digitiser_in_hand");
  EXPECT_FALSE(History().empty());
}

TEST_F(LifeInQgis, QgisCanBeLeftWithADialogOpen) { Live("left_with_a_dialog_open"); }

TEST_F(LifeInQgis, QgisCanBeLeftWhileARunIsAtWork) {
  Live("left_at_work");
  EXPECT_EQ(History().size(), 1U);
}

TEST_F(LifeInQgis, ARunStopsWhenQgisIsLeftAmidIt) {
  for (const std::string how : {"left_by_its_menu_amid_a_run", "ended_amid_a_run"}) {
    SCOPED_TRACE(how);
    Live(how);
    EXPECT_THAT(TakeOutcomes(), ElementsAre(RunOutcome::kStopped));
    ExpectWholeFixes();
    for (const char* ending : {"shp", "shx", "dbf", "prj", "cpg"})
      fs::remove(folder / "data/many." + ending);
  }
  Live("left_by_its_window_amid_a_run_on_memory");
  EXPECT_THAT(TakeOutcomes(), ElementsAre(RunOutcome::kStopped));
}

TEST_F(LifeInQgis, WindowsThatAreToCloseAmidARunStopItFirst) {
  Live("every_window_closed_amid_a_run");
  EXPECT_THAT(TakeOutcomes(), ElementsAre(RunOutcome::kStopped));
  ExpectWholeFixes();
}

TEST_F(LifeInQgis, ALayerCanGoAmidItsRun) {
  Live("a_layer_goes_amid_its_run");
  // A file stays where it is; what was only in memory is no more.
  EXPECT_THAT(TakeOutcomes(), ElementsAre(RunOutcome::kSucceeded, RunOutcome::kFailed));
  ExpectWholeFixes();
}

TEST_F(LifeInQgis, QgisCanBeLeftWithThePluginSwitchedOff) { Live("a_run,left_switched_off"); }

TEST_F(LifeInQgis, TwoWindowsShareAHistory) {
  Live("a_run_of_its_own", 2);
  const auto runs = History();
  EXPECT_EQ(runs.size(), 2U);
  for (const std::string& run : runs) {
    WrittenPaths written;
    EXPECT_FALSE(ReadSession(run, written).steps.empty()) << run;
  }
}

TEST_F(LifeInQgis, AProfileThatKeepsNoHistoryDisturbsNoRun) {
  fs::create_directories(folder / "profile/profiles/default/orlinths");
  WriteBytes(folder / "profile/profiles/default/orlinths/history", "taken");
  Live("a_run,switched_off_and_on");
}

}  // namespace
}  // namespace orlinths
