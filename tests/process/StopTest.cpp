// Ctrl-C and SIGKILL while the program edits large tables: each is the old one or the new one,
// whole, and the next run finds nothing in its way.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <csignal>

#include "process/Layers.h"
#include "runtime/Value.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::HasSubstr;

constexpr int kRows = 200'000;
const std::vector<std::string> kEvents = {"--json", "--clock", "2026-03-01T12:00:00"};

/// The table on the disk counts the rows that its header tells, and ends there: a dBASE file read
/// without any library.
bool IsWholeTable(const std::string& bytes) {
  const auto byte = [&](std::size_t at) {
    return std::uint64_t{static_cast<unsigned char>(bytes.at(at))};
  };
  if (bytes.size() < 32) return false;
  const std::uint64_t rows = byte(4) + (byte(5) << 8) + (byte(6) << 16) + (byte(7) << 24);
  const std::uint64_t head = byte(8) + (byte(9) << 8), row = byte(10) + (byte(11) << 8);
  return bytes.size() == head + rows * row + 1 && bytes.at(head - 1) == '\r' &&
         bytes.back() == '\x1a';
}

/// A layer to edit, before and after.
struct Job {
  std::string file;
  OgrDataset data;
  std::vector<std::string> call;
  std::int64_t (*wrongRows)(const OgrDataset&);
  std::vector<std::string> addedColumns;
};

Job XYJob(const std::string& file, int rows) {
  return {file, Points(rows), AddXYCall(file, "p") + kEvents, WrongPlaces, {"XX", "YY"}};
}
Job AreaJob(const std::string& file, int rows) {
  return {file, Squares(rows), AddAreaCall(file, "p") + kEvents, WrongAreas, {"AREA", "PERIMETER"}};
}

class StopTest : public ::testing::Test {
 protected:
  /// Makes the layer, and lets one run go to its end to know how that looks and how long it takes.
  void Prepare(const Job& job) {
    WriteOgr(folder_ / job.file, job.data);
    before_ = FilesIn(folder_.Path());
    const auto begin = std::chrono::steady_clock::now();
    const Ended ended = RunProgram(job.call, folder_.Path());
    seconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    ASSERT_EQ(ended.status, 0) << ended.out << ended.error;
    after_ = FilesIn(folder_.Path());
    ASSERT_NE(after_, before_);
    ASSERT_EQ(job.wrongRows(ReadOgr(folder_ / job.file)), 0);
  }

  /// Kills the run at `times` random instants. The files as any program finds them then are the old
  /// ones or the new ones, or those of a whole commit `between`, to the byte; the next program that
  /// opens the layer finds nothing in its way and leaves nothing behind.
  void KillTable(const Job& job, int times, const std::vector<Files>& between = {}) {
    std::vector<Files> whole = {before_, after_};
    whole.insert(whole.end(), between.begin(), between.end());
    Seeded random("StopTest." + job.file + job.call.at(1));
    int killed = 0, old = 0;
    Files found = FilesIn(folder_.Path());
    for (int i = 0; i < times; ++i) {
      SCOPED_TRACE("kill " + ToText(i));
      Restore(folder_.Path(), before_, found);
      const Ended ended =
          RunProgram(job.call, folder_.Path(), {.killedAfter = random.Real(0, 1.05 * seconds_)});
      if (ended.status == -SIGKILL) ++killed;
      found = FilesIn(folder_.Path());
      const std::string& table = found.at("p.dbf");
      ASSERT_TRUE(IsWholeTable(table));
      const auto state = std::ranges::find_if(
          whole, [&](const Files& files) { return files.at("p.dbf") == table; });
      ASSERT_NE(state, whole.end()) << "neither the old table nor a new one";
      if (state == whole.begin()) ++old;
      // A run that refuses opens the layer and does no more.
      EXPECT_EQ(RunProgram({"run", job.call.at(1), job.file}, folder_.Path()).status, 1);
      found = FilesIn(folder_.Path());
      ASSERT_TRUE(found == *state) << "left behind: " << NamesOf(found);
    }
    EXPECT_GT(killed, times / 2);
    EXPECT_GT(old, 0);
    RecordProperty("killed", killed);
    Restore(folder_.Path(), before_, found);
    EXPECT_EQ(RunProgram(job.call, folder_.Path()).status, 0);
    EXPECT_TRUE(FilesIn(folder_.Path()) == after_);
  }

  /// Files after the call on the old ones, which are put back.
  Files After(const std::vector<std::string>& call) {
    Restore(folder_.Path(), before_);
    EXPECT_EQ(RunProgram(call, folder_.Path()).status, 0);
    Files after = FilesIn(folder_.Path());
    Restore(folder_.Path(), before_, after);
    return after;
  }

  /// Ctrl-C in the middle of the work. A fast machine may be done before the signal comes: then
  /// the run has succeeded, and the next try is on the old files.
  void Interrupt(const Job& job, const std::string& label) {
    Prepare(job);
    if (HasFatalFailure()) return;
    Ended ended;
    for (int i = 0; i < 20 && ended.status != 130; ++i) {
      Restore(folder_.Path(), before_);
      ended =
          RunProgram(job.call, folder_.Path(), {.sign = "\"event\":\"progress\"", .interrupts = 1});
      if (ended.status == 0) {
        EXPECT_EQ(FilesIn(folder_.Path()), after_);
      }
    }
    ASSERT_EQ(ended.status, 130) << ended.out;
    EXPECT_THAT(ended.out, HasSubstr(label));
    EXPECT_THAT(ended.out, HasSubstr("\\r18\\rUser interrupt occurred"));
    EXPECT_THAT(ended.out, HasSubstr("{\"event\":\"end\",\"exit\":130,"));
    EXPECT_EQ(ended.error, "");
    const OgrDataset left = ReadOgr(folder_ / job.file);
    ASSERT_EQ(left.records.size(), job.data.records.size());
    EXPECT_EQ(left.Texts("NR"), job.data.Texts("NR"));
    for (const auto& [name, bytes] : FilesIn(folder_.Path()))
      EXPECT_TRUE(before_.contains(name)) << name;
    if (before_.contains("p.dbf")) {
      EXPECT_TRUE(IsWholeTable(ReadBytes(folder_ / "p.dbf")));
    }
  }

  TempFolder folder_;
  Files before_, after_;
  double seconds_ = 0;
};

TEST_F(StopTest, CtrlCInATableOf300000RowsIsReportedAndLeavesItWhole) {
  Interrupt(XYJob("p.shp", 300'000), "TableAddXY: C\\r18");
}

TEST_F(StopTest, CtrlCInAGeoPackageIsReportedAndLeavesItWhole) {
  Interrupt(XYJob("p.gpkg", 60'000), "TableAddXY: C\\r18");
}

TEST_F(StopTest, ATableKilledWhileItGetsCoordinatesIsOldOrNew) {
  const Job job = XYJob("p.shp", kRows);
  Prepare(job);
  ASSERT_FALSE(HasFatalFailure());
  KillTable(job, 50);
}

/// The areas are all written before the perimeters are begun, each in a commit of its own.
TEST_F(StopTest, ATableKilledWhileItGetsAreasIsOldOrNewOrHasAllAreas) {
  const Job job = AreaJob("p.shp", kRows);
  Prepare(job);
  ASSERT_FALSE(HasFatalFailure());
  const Files areas = After(job.call + std::vector<std::string>{"chkPerim=no"});
  KillTable(job, 50, {areas});
}

/// In a GeoPackage the run is one transaction; what a reader makes of the journal that is left is
/// SQLite's doing.
TEST_F(StopTest, AGeoPackageKilledWhileItGetsAreasIsOldOrNew) {
  const Job job = AreaJob("p.gpkg", 20'000);
  Prepare(job);
  ASSERT_FALSE(HasFatalFailure());
  Seeded random("StopTest.GeoPackage");
  int killed = 0;
  for (int i = 0; i < 30; ++i) {
    SCOPED_TRACE("kill " + ToText(i));
    Restore(folder_.Path(), before_);
    const Ended ended =
        RunProgram(job.call, folder_.Path(), {.killedAfter = random.Real(0, 1.05 * seconds_)});
    if (ended.status == -SIGKILL) ++killed;
    // Whoever opens it next takes back what was half done; a run that goes no further than that
    // will do.
    EXPECT_EQ(RunProgram({"run", "clsAddArea", job.file}, folder_.Path()).status, 1);
    const Files found = FilesIn(folder_.Path());
    if (const auto journal = found.find("p.gpkg-journal"); journal != found.end()) {
      // One that was not begun tells nobody anything; the next transaction takes its place.
      ASSERT_TRUE(journal->second.empty() || journal->second.front() == '\0');
      ASSERT_EQ(RunProgram(job.call, folder_.Path()).status, 0);
      ASSERT_EQ(WrongAreas(ReadOgr(folder_ / job.file)), 0);
      ASSERT_EQ(NamesOf(FilesIn(folder_.Path())), "p.gpkg");
      continue;
    }
    ASSERT_EQ(NamesOf(found), "p.gpkg");
    if (found == before_) continue;
    const OgrDataset left = ReadOgr(folder_ / job.file);
    ASSERT_EQ(left.records.size(), job.data.records.size());
    ASSERT_EQ(left.Texts("NR"), job.data.Texts("NR"));
    if (left.ColumnNames() != std::vector<std::string>{"NR"}) {
      ASSERT_EQ(WrongAreas(left), 0);
    }
  }
  EXPECT_GT(killed, 15);
  Restore(folder_.Path(), before_);
  EXPECT_EQ(RunProgram(job.call, folder_.Path()).status, 0);
  EXPECT_EQ(WrongAreas(ReadOgr(folder_ / job.file)), 0);
}

}  // namespace
}  // namespace orlinths
