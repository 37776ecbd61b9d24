// Every system call and every allocation of a creation, an edit and a deletion fails in turn.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "OgrView.h"
#include "ShapefileFixture.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "support/CapturedMessages.h"
#include "support/Faults.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

constexpr int kRows = 40;
using Files = std::map<std::string, std::string>;

void CreateAndAppend(const std::string& path) { MakePoints(path, kRows); }

void AddFieldAndFill(const std::string& path) {
  const auto store = ShapefileStore::At(path);
  store->AddField(MakeColumn("NEW", FieldType::kDouble));
  const int field = store->Fields().FindField("NEW");
  for (Oid oid = 0; oid < store->RecordCount(); ++oid)
    store->SetDouble(oid, field, static_cast<double>(oid) / 3);
  store->SetValue(1, store->Fields().FindField("NAME"), Value("changed"));
  store->Commit();
}

void DeleteRows(const std::string& path) {
  const auto store = ShapefileStore::At(path);
  for (Oid oid = 0; oid < store->RecordCount(); oid += 3) store->DeleteRow(oid);
  store->SetShape(1, PointAt(-1, -1));
  store->Commit();
}

void AppendMore(const std::string& path) {
  const auto store = ShapefileStore::At(path);
  for (int i = 0; i < 5; ++i) {
    const Geometry shape = PointAt(1000 + i, i);
    store->Append(&shape, {Value(1000 + i), Value("more"), Value(0.5)});
    store->FlushAppended();
  }
  store->Commit();
}

/// The files of the dataset that any program reads.
Files MainFiles(const Files& files) {
  Files main;
  for (const auto& [name, bytes] : files)
    if (name == "p.shp" || name == "p.shx" || name == "p.dbf") main[name] = bytes;
  return main;
}

class ShapefileFaultTest : public ::testing::TestWithParam<FaultKind> {
 protected:
  ShapefileFaultTest() {
    MakePoints(path, kRows);
    WriteBytes(folder / "p.qix", "an index");
    WriteBytes(folder / "p.idm", "another");
    original = Snapshot(folder.Path());
  }

  /// What the folder holds after `work` without a fault.
  Files After(void (*work)(const std::string&)) {
    Restore(folder.Path(), original);
    work(path);
    const Files after = Snapshot(folder.Path());
    Restore(folder.Path(), original);
    return after;
  }

  /// Runs `work` with every call of the kind failing in turn, alone and with all that follow.
  /// `check` sees how each run ended.
  template <class Check>
  void RunThrough(void (*work)(const std::string&), const Files& before, Check check) {
    for (const FaultAction action : {FaultAction::kFail, FaultAction::kFailFromOn}) {
      bool struck = true;
      for (std::int64_t nth = 1; struck; ++nth) {
        SCOPED_TRACE("call " + ToText(nth) +
                     (action == FaultAction::kFail ? "" : " and all that follow"));
        Restore(folder.Path(), before);
        const int open = OpenFileCount();
        int error = 0;
        {
          const Fault fault(GetParam(), nth, action);
          error = ErrorOf([&] { work(path); });
          struck = fault.HasStruck();
        }
        ASSERT_EQ(OpenFileCount(), open);
        if (!struck) {
          ASSERT_EQ(error, 0);
        }
        ASSERT_NO_FATAL_FAILURE(check(error, action));
        if (::testing::Test::HasFailure()) return;
      }
    }
  }

  TempFolder folder;
  const std::string path = folder / "p.shp";
  CapturedMessages fixedClock;
  Files original;
};

TEST_P(ShapefileFaultTest, AnEditIsDoneWholeOrNotAtAll) {
  for (const auto work : {AddFieldAndFill, DeleteRows}) {
    const Files after = After(work);
    ASSERT_NE(MainFiles(after), MainFiles(original));
    RunThrough(work, original, [&](int error, FaultAction action) {
      if (GetParam() == FaultKind::kRename && action == FaultAction::kFailFromOn && error != 0) {
        // With no rename back the journal is the way out: the next run finishes the job.
        ShapefileStore::At(path);
        const Files finished = MainFiles(Snapshot(folder.Path()));
        ASSERT_TRUE(finished == MainFiles(original) || finished == MainFiles(after));
        return;
      }
      const Files found = MainFiles(Snapshot(folder.Path()));
      // A fault while the old files are tidied away changes nothing any more.
      ASSERT_TRUE(found == MainFiles(original) || found == MainFiles(after));
      if (error != 0) {
        ASSERT_EQ(found, MainFiles(original));
      } else {
        ASSERT_EQ(found, MainFiles(after));
      }
      // Whatever was left behind does not disturb the next run.
      const bool isOld = found == MainFiles(original);
      ASSERT_EQ(ShapefileStore::At(path)->RecordCount(),
                isOld ? kRows : static_cast<int>(ViewOf(path).rows.size()));
      ASSERT_EQ(MainFiles(Snapshot(folder.Path())), found);
      if (!isOld) return;
      work(path);
      const Files again = Snapshot(folder.Path());
      ASSERT_EQ(MainFiles(again), MainFiles(after));
      for (const auto& [name, bytes] : again)
        ASSERT_EQ(name.find("orlinths"), std::string::npos) << name << " was left behind";
    });
  }
}

TEST_P(ShapefileFaultTest, ACreationThatFailsLeavesNothingOrReadableRows) {
  RunThrough(CreateAndAppend, {}, [&](int error, FaultAction) {
    if (!files::FileExists(path)) {
      ASSERT_NE(error, 0);
      return;
    }
    const std::int64_t rows = ShapefileStore::At(path)->RecordCount();
    if (error == 0) {
      ASSERT_EQ(rows, kRows);
    }
    const OgrView view = ViewOf(path);
    ASSERT_EQ(view.error, "");
    ASSERT_EQ(view.rows.size(), static_cast<std::size_t>(rows));
    ShapefileStore::At(path)->Delete();
    ASSERT_TRUE(files::NamesIn(folder.Path()).empty());
    CreateAndAppend(path);
    ASSERT_EQ(ShapefileStore::At(path)->RecordCount(), kRows);
  });
}

TEST_P(ShapefileFaultTest, AppendingThatFailsLeavesTheOldRows) {
  const OgrView before = ViewOf(path);
  RunThrough(AppendMore, original, [&](int error, FaultAction) {
    const OgrView view = ViewOf(path);
    ASSERT_EQ(view.error, "");
    ASSERT_GE(view.rows.size(), before.rows.size());
    if (error == 0) {
      ASSERT_EQ(view.rows.size(), before.rows.size() + 5);
    }
    for (std::size_t i = 0; i < before.rows.size(); ++i) ASSERT_EQ(view.rows[i], before.rows[i]);
  });
}

INSTANTIATE_TEST_SUITE_P(EveryCall, ShapefileFaultTest,
                         ::testing::Values(FaultKind::kOpen, FaultKind::kWrite, FaultKind::kSync,
                                           FaultKind::kRename, FaultKind::kClose,
                                           FaultKind::kAllocation));

/// Exit code of `work` in a process of its own; -1 when it was killed.
int InChild(const std::function<int()>& work) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(work());
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(ShapefileDeathTest, AProcessKilledAtAnySystemCallLeavesTheOldDatasetOrTheNewOne) {
  const CapturedMessages fixedClock;
  for (const auto work : {AddFieldAndFill, DeleteRows}) {
    const TempFolder folder;
    const std::string path = folder / "p.shp";
    MakePoints(path, kRows);
    WriteBytes(folder / "p.qix", "an index");
    const Files original = Snapshot(folder.Path());
    work(path);
    const Files after = Snapshot(folder.Path());
    for (const FaultAction action : {FaultAction::kDieBefore, FaultAction::kDieHalfway}) {
      bool wasKilled = true;
      int olds = 0, news = 0;
      for (std::int64_t nth = 1; wasKilled; ++nth) {
        SCOPED_TRACE("call " + ToText(nth));
        Restore(folder.Path(), original);
        wasKilled = InChild([&] {
                      const Fault fault(FaultKind::kAnyCall, nth, action);
                      work(path);
                      return 0;
                    }) == -1;
        ASSERT_LT(nth, 200);
        // The next one to open it carries it to its end or tidies up.
        ShapefileStore::At(path);
        const Files found = Snapshot(folder.Path());
        const bool isOld = found == original, isNew = found == after;
        ASSERT_TRUE(isOld || isNew);
        ++(isOld ? olds : news);
        ASSERT_EQ(ViewOf(path).error, "");
      }
      EXPECT_GT(olds, 3);
      EXPECT_GT(news, 1);
    }
  }
}

TEST(ShapefileDiskTest, AFileThatCannotGrowIsAFullDisk) {
  const TempFolder folder;
  const std::string path = folder / "p.shp";
  MakePoints(path, 2000);
  const Files original = Snapshot(folder.Path());
  EXPECT_EQ(InChild([&] {
              ::signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{50'000, 50'000};
              ::setrlimit(RLIMIT_FSIZE, &limit);
              return ErrorOf([&] { AddFieldAndFill(path); });
            }),
            61);
  ShapefileStore::At(path);
  EXPECT_EQ(Snapshot(folder.Path()), original);
}

}  // namespace
}  // namespace orlinths
