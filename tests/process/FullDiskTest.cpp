// A disk that fills up: in-place edits and new datasets end in error 61, the input is as it was,
// and nothing stands in the way of the next run. The disk is a small file system where mounting
// is allowed, and otherwise a limit on the size of files, which the system reports the same way.
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <csignal>
#include <iostream>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "process/Layers.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::HasSubstr;

constexpr int kRows = 20'000;  // 200 kB of table grow by 960 kB
constexpr std::uint64_t kDiskBytes = 1'600'000;
constexpr std::uint64_t kMostFileBytes = 700'000;

/// A folder that holds little.
class SmallDisk {
 public:
  SmallDisk() {
    const std::string size = "mode=755,size=" + ToText(static_cast<std::int64_t>(kDiskBytes));
    isMounted_ = ::mount("none", folder_.Path().c_str(), "tmpfs", 0, size.c_str()) == 0;
    std::cout << (isMounted_ ? "a file system of " + size : "a limit on file sizes") << '\n';
  }
  ~SmallDisk() {
    if (isMounted_) ::umount2(folder_.Path().c_str(), MNT_DETACH);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  std::string Path() const { return folder_.Path(); }
  std::string operator/(const std::string& name) const { return folder_ / name; }
  Circumstances Limit() const {
    if (isMounted_) return {};
    return {.mostFileBytes = kMostFileBytes};
  }

 private:
  TempFolder folder_;
  bool isMounted_ = false;
};

void ExpectDiskFull(const SmallDisk& disk, const Circumstances& circumstances,
                    const OgrDataset& data, const std::vector<std::string>& call,
                    const std::string& label) {
  WriteOgr(disk / "p.shp", data);
  const Files before = FilesIn(disk.Path());
  const Ended ended =
      RunProgram(call + std::vector<std::string>{"--json"}, disk.Path(), circumstances);
  EXPECT_EQ(ended.status, 3) << ended.out << ended.error;
  EXPECT_THAT(ended.out, HasSubstr(label));
  EXPECT_THAT(ended.out, HasSubstr("\\r61\\rDisk full"));
  EXPECT_EQ(FilesIn(disk.Path()), before);
}

TEST(FullDiskTest, AnEditInPlaceIsReportedAndLeavesTheInputAsItWas) {
  const SmallDisk disk;
  ExpectDiskFull(disk, disk.Limit(), Points(kRows), AddXYCall("p.shp", "p"), "TableAddXY: ");
  // Three rows of the same table fit: nothing of the failed run is in the way.
  WriteOgr(disk / "few.shp", Points(3));
  EXPECT_EQ(RunProgram(AddXYCall("few.shp", "few"), disk.Path()).status, 0);
  EXPECT_EQ(WrongPlaces(ReadOgr(disk / "few.shp")), 0);
}

/// The limit is always there to be tried, and a file system only where mounting is allowed.
TEST(FullDiskTest, ALimitOnFileSizesIsAFullDiskToo) {
  const TempFolder folder;
  WriteOgr(folder / "p.shp", Points(kRows));
  const Files before = FilesIn(folder.Path());
  const Circumstances limit{.mostFileBytes = kMostFileBytes};
  const Ended ended = RunProgram(AddXYCall("p.shp", "p"), folder.Path(), limit);
  EXPECT_EQ(ended.status, 3);
  EXPECT_THAT(ended.out, HasSubstr("61\nDisk full"));
  EXPECT_EQ(FilesIn(folder.Path()), before);
  EXPECT_EQ(RunProgram(AddXYCall("p.shp", "p"), folder.Path()).status, 0);
  EXPECT_EQ(WrongPlaces(ReadOgr(folder / "p.shp")), 0);
}

TEST(FullDiskTest, AFailedEditOfAGeoPackageIsReportedAndRolledBack) {
  const TempFolder folder;
  const OgrDataset data = Points(kRows);
  WriteOgr(folder / "p.gpkg", data);
  const std::uint64_t size = ReadBytes(folder / "p.gpkg").size();
  const Circumstances limit{.mostFileBytes = size + 20'000};
  const Ended ended = RunProgram(AddXYCall("p.gpkg", "p"), folder.Path(), limit);
  EXPECT_EQ(ended.status, 3) << ended.out;
  EXPECT_THAT(ended.out, HasSubstr("-2147467259"));  // in the database's own words
  const OgrDataset left = ReadOgr(folder / "p.gpkg");
  EXPECT_EQ(left.records.size(), data.records.size());
  EXPECT_EQ(left.Texts("NR"), data.Texts("NR"));
  const Ended again = RunProgram(AddXYCall("p.gpkg", "p"), folder.Path());
  EXPECT_EQ(again.status, left.ColumnNames().size() == 1 ? 0 : 1) << again.out;
}

/// Writes points until the disk is full. Gives the number of the error.
int FillWithPoints(const std::string& folder) {
  std::signal(SIGXFSZ, SIG_IGN);
  const auto failure = FailureOf([&] {
    const auto points = CreateFeatureClass(
        folder, "new", MakeShapeFields(GeometryType::kPoint, false, false, nullptr));
    const auto cursor = points->Insert();
    const auto row = points->CreateFeatureBuffer();
    for (int i = 0; i < 10 * kRows; ++i) {
      row->SetShape(Point{1.0 * i, 2.0 * i});
      cursor->InsertRow(*row);
    }
    cursor->Flush();
  });
  return failure ? failure->Number() : 0;
}

TEST(FullDiskTest, ANewShapefileThatDoesNotFitIsNoneAtAll) {
  const SmallDisk disk;
  WriteOgr(disk / "input.shp", Points(10));
  const Files before = FilesIn(disk.Path());
  EXPECT_EQ(RunRoutine([&] { return FillWithPoints(disk.Path()); }, disk.Limit()).status, 61);
  // The name is free, or it names a shapefile that opens; the input is untouched either way.
  for (const auto& [name, bytes] : before) EXPECT_EQ(ReadBytes(disk / name), bytes) << name;
}

TEST(FullDiskTest, ASessionThatDoesNotFitIsTold) {
  const TempFolder folder;
  WriteOgr(folder / "p.shp", Points(3));
  const Ended ended = RunProgram({"run", "clsXYAdd", "p.shp", "--save", "s.json"}, folder.Path(),
                                 {.mostFileBytes = 20});
  EXPECT_EQ(ended.error, "orlinths: s.json cannot be written: Disk full\n");
  EXPECT_EQ(ended.status, 1);
  EXPECT_FALSE(FilesIn(folder.Path()).contains("s.json"));
}

}  // namespace
}  // namespace orlinths
