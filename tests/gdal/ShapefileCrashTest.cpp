// A process is killed while it edits a large table in place, again and again.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "OgrView.h"
#include "ShapefileFixture.h"
#include "runtime/Files.h"
#include "support/CapturedMessages.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using Files = std::map<std::string, std::string>;

// As large as a season of collars; the sanitizers, which find nothing more in more rows, take fewer.
#ifdef __SANITIZE_ADDRESS__
constexpr int kTableRows = 50'000;
#else
constexpr int kTableRows = 200'000;
#endif

void MakeTable(const std::string& path) {
  const auto store = ShapefileStore::CreateDbf(
      path, {MakeColumn("NUM", FieldType::kInteger), MakeColumn("NAME", FieldType::kText, 12)});
  for (int i = 0; i < kTableRows; ++i) store->Append(nullptr, {Value(i), Value("row")});
  store->Commit();
}

void MakeShapefile(const std::string& path) { MakePoints(path, 40'000); }

double Seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void EditTable(const std::string& path) {
  const auto store = ShapefileStore::At(path);
  store->AddField(MakeColumn("NEW", FieldType::kDouble));
  store->DeleteField(store->Fields().FindField("NUM"));
  const int name = store->Fields().FindField("NAME"), added = store->Fields().FindField("NEW");
  for (Oid oid = 0; oid < store->RecordCount(); ++oid) {
    store->SetDouble(oid, added, static_cast<double>(oid) / 3);
    if (oid % 10 == 0) store->SetValue(oid, name, Value("tenth"));
  }
  store->Commit();
}

void DeleteAndMove(const std::string& path) {
  const auto store = ShapefileStore::At(path);
  for (Oid oid = 0; oid < store->RecordCount(); oid += 3) store->DeleteRow(oid);
  for (Oid oid = 1; oid < store->RecordCount(); oid += 300) store->SetShape(oid, PointAt(-1, -1));
  store->Commit();
}

/// Runs `edit` in a process of its own and kills it after so many seconds, if it is still there.
/// True when it was.
bool KilledAfter(double seconds, const std::function<void()>& edit) {
  const pid_t child = ::fork();
  if (child == 0) {
    edit();
    ::_exit(0);
  }
  const auto handle = static_cast<int>(::syscall(SYS_pidfd_open, child, 0));
  EXPECT_GE(handle, 0);
  timespec timeout{};
  timeout.tv_nsec = static_cast<long>(seconds * 1e9);
  pollfd watched{handle, POLLIN, 0};
  ::ppoll(&watched, 1, &timeout, nullptr);
  ::kill(child, SIGKILL);
  int status = 0;
  ::waitpid(child, &status, 0);
  ::close(handle);
  return WIFSIGNALED(status);
}

/// Kills `edit` at `times` random instants: the dataset must be the old one or the new one each
/// time, to the byte.
void KillAgainAndAgain(const std::string& seed, const std::string& name, int times,
                       void (*make)(const std::string&), void (*edit)(const std::string&)) {
  const CapturedMessages fixedClock;
  const TempFolder folder;
  const std::string path = folder / name;
  make(path);
  const Files original = Snapshot(folder.Path());
  const double begin = Seconds();
  edit(path);
  double duration = Seconds() - begin;
  ASSERT_LT(duration, 30);
  const Files after = Snapshot(folder.Path());
  ASSERT_NE(after, original);

  Seeded random(seed);
  int killed = 0;
  bool isOriginal = false;
  for (int i = 0; i < times; ++i) {
    SCOPED_TRACE("kill " + ToText(i));
    if (!isOriginal) Restore(folder.Path(), original);
    // Two kills in three come in time, however busy the machine is and becomes.
    const bool wasInTime = KilledAfter(random.Real(0, duration), [&] { edit(path); });
    killed += wasInTime;
    duration *= wasInTime ? 1.05 : 0.9;
    // The table as any program finds it, before anything is tidied up: whole, whichever it is.
    const std::string table = ReadBytes(folder / "p.dbf");
    ASSERT_TRUE(table == original.at("p.dbf") || table == after.at("p.dbf"));
    ASSERT_TRUE(PlainTableOf(table).isWhole);

    const auto store = ShapefileStore::At(path);
    const Files found = Snapshot(folder.Path());
    isOriginal = found == original;
    ASSERT_TRUE(isOriginal || found == after) << "leftovers, or half an edit";
    ASSERT_EQ(store->RecordCount(), static_cast<std::int64_t>(OgrRowCount(path)));
  }
  EXPECT_GT(killed, times / 2);
}

TEST(ShapefileCrashTest, ATableKilledInItsEditIsTheOldOneOrTheNewOne) {
  KillAgainAndAgain("ShapefileCrashTest.Table", "p.dbf", 200, MakeTable, EditTable);
}

TEST(ShapefileCrashTest, AShapefileKilledInADeletionIsTheOldOneOrTheNewOne) {
  KillAgainAndAgain("ShapefileCrashTest.Deletion", "p.shp", 60, MakeShapefile, DeleteAndMove);
}

/// Two processes, one table.
TEST(ShapefileCrashTest, TheSecondProcessThatEditsIsRefusedUntilTheFirstIsGone) {
  const TempFolder folder;
  const std::string path = folder / "p.shp";
  MakePoints(path, 10);
  int ready[2], finish[2];
  ASSERT_EQ(::pipe(ready), 0);
  ASSERT_EQ(::pipe(finish), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const auto store = ShapefileStore::At(path);
    store->SetDouble(0, 4, 1);
    char c = 0;
    if (::write(ready[1], &c, 1) != 1 || ::read(finish[0], &c, 1) != 1) ::_exit(1);
    ::_exit(1);
  }
  char c = 0;
  ASSERT_EQ(::read(ready[0], &c, 1), 1);
  const auto store = ShapefileStore::At(path);
  EXPECT_EQ(store->RecordCount(), 10);
  EXPECT_EQ(ErrorOf([&] { store->CheckWritable(); }), 70);
  EXPECT_EQ(ErrorOf([&] { store->AddField(MakeColumn("NEW", FieldType::kDouble)); }), 70);
  EXPECT_EQ(ErrorOf([&] { store->SetDouble(0, 4, 2); }), 70);
  const Geometry shape = PointAt(0, 0);
  EXPECT_EQ(ErrorOf([&] { store->Append(&shape, {Value(1), Value("x"), Value(1)}); }), 70);
  EXPECT_FALSE(store->HasPendingEdits());
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  for (const int descriptor : {ready[0], ready[1], finish[0], finish[1]}) ::close(descriptor);
  // The dead one's lock holds nobody up.
  EXPECT_EQ(ErrorOf([&] { store->CheckWritable(); }), 0);
  store->SetDouble(0, 4, 2);
  store->Commit();
  EXPECT_EQ(ViewOf(path).Value(0, 2), "2");
  EXPECT_EQ(Snapshot(folder.Path()).size(), 4u);
}

}  // namespace
}  // namespace orlinths
