// What becomes of a dataset's files as files: links, owners and permissions, companions, names.
#include <grp.h>
#include <gtest/gtest.h>
#include <ogrsf_frmts.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "ShapefileFixture.h"
#include "gdal/ShapefileStore.h"
#include "runtime/Files.h"
#include "runtime/Trap.h"
#include "support/Faults.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

constexpr int kNum = 2;
constexpr uid_t kNobody = 65534;
constexpr gid_t kRangers = 54321;  // a group that nobody is in

class ShapefileFilesTest : public ::testing::Test {
 protected:
  /// A value and a shape: all files of the dataset are replaced.
  static void Edit(const std::string& path, double value) {
    const auto store = ShapefileStore::At(path);
    const Geometry shape = PointAt(value, value);
    store->SetDouble(1, kNum, value);
    store->SetShape(1, shape);
    store->Commit();
  }
  void ExpectEdited(const std::string& path, double value) const {
    const PointRow row = ReadPoint(path, 1);
    EXPECT_EQ(row.num, value);
    EXPECT_EQ(row.x, value);
  }
  struct PointRow {
    double num, x;
  };
  static PointRow ReadPoint(const std::string& path, int row);

  static int InChild(const std::function<void()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
      const bool done = Quietly(body);
      ::_exit(done ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
  }
  static struct stat StatusOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status;
  }
  const TempFolder folder_;
};

ShapefileFilesTest::PointRow ShapefileFilesTest::ReadPoint(const std::string& path, int row) {
  const GDALDatasetUniquePtr dataset(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR));
  if (!dataset) return {-1, -1};
  const OGRFeatureUniquePtr feature(dataset->GetLayer(0)->GetFeature(row));
  return {feature->GetFieldAsDouble("NUM"), feature->GetGeometryRef()->toPoint()->getX()};
}

TEST_F(ShapefileFilesTest, ATableThatIsALinkStaysOneAndWhatItLeadsToIsReplaced) {
  fs::create_directory(folder_ / "tables");
  MakePoints(folder_ / "p.shp", 3);
  fs::rename(folder_ / "p.dbf", folder_ / "tables/kept elsewhere.dbf");
  fs::create_symlink("tables/kept elsewhere.dbf", folder_ / "p.dbf");
  Edit(folder_ / "p.shp", 77);
  EXPECT_TRUE(fs::is_symlink(folder_ / "p.dbf"));
  ExpectEdited(folder_ / "p.shp", 77);
  EXPECT_EQ(files::NamesIn(folder_ / "tables"), std::vector<std::string>{"kept elsewhere.dbf"});
  EXPECT_EQ(files::NamesIn(folder_.Path()),
            (std::vector<std::string>{"p.cpg", "p.dbf", "p.shp", "p.shx", "tables"}));
}

TEST_F(ShapefileFilesTest, ALinkedTableIsWholeAfterARunWasKilledAtAnyRename) {
  for (int nth = 1; nth <= 3; ++nth) {
    const std::string folder = folder_ / std::to_string(nth);
    fs::create_directories(folder + "/tables");
    MakePoints(folder + "/p.shp", 3);
    fs::rename(folder + "/p.dbf", folder + "/tables/p.dbf");
    fs::create_symlink("tables/p.dbf", folder + "/p.dbf");
    const int status = InChild([&] {
      const Fault kill(FaultKind::kRename, nth, FaultAction::kDieBefore);
      Edit(folder + "/p.shp", 77);
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    ShapefileStore::At(folder + "/p.shp");
    ExpectEdited(folder + "/p.shp", 77);
    EXPECT_TRUE(fs::is_symlink(folder + "/p.dbf"));
    EXPECT_EQ(files::NamesIn(folder + "/tables"), std::vector<std::string>{"p.dbf"});
    EXPECT_EQ(files::NamesIn(folder),
              (std::vector<std::string>{"p.cpg", "p.dbf", "p.shp", "p.shx", "tables"}));
  }
}

TEST_F(ShapefileFilesTest, AShapefileReachedThroughLinksIsEditedWhereItIs) {
  fs::create_directory(folder_ / "real");
  MakePoints(folder_ / "real/p.shp", 3);
  for (const char* end : {".shp", ".shx", ".dbf", ".cpg"})
    fs::create_symlink(folder_ / (std::string("real/p") + end),
                       folder_ / (std::string("link") + end));
  Edit(folder_ / "link.shp", 78);
  for (const char* end : {".shp", ".shx", ".dbf", ".cpg"})
    EXPECT_TRUE(fs::is_symlink(folder_ / (std::string("link") + end)));
  ExpectEdited(folder_ / "link.shp", 78);
  ExpectEdited(folder_ / "real/p.shp", 78);
}

TEST_F(ShapefileFilesTest, NamesWithLineEndsSurviveARunThatWasKilledBetweenItsRenames) {
  const std::string path = folder_ / "two\nlines\r %n 100%.shp";
  for (int nth = 1; nth <= 3; ++nth) {
    fs::remove_all(folder_.Path());
    fs::create_directory(folder_.Path());
    MakePoints(path, 3);
    const std::size_t files = files::NamesIn(folder_.Path()).size();
    const int status = InChild([&] {
      const Fault kill(FaultKind::kRename, nth, FaultAction::kDieBefore);
      Edit(path, 79);
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    ShapefileStore::At(path);
    ExpectEdited(path, 79);
    EXPECT_EQ(files::NamesIn(folder_.Path()).size(), files);
  }
}

// ---- Whose they are

TEST_F(ShapefileFilesTest, OwnersAndPermissionsStay) {
  MakePoints(folder_ / "p.shp", 3);
  const bool isRoot = ::geteuid() == 0;
  for (const char* end : {"p.shp", "p.shx", "p.dbf"}) {
    ASSERT_TRUE(!isRoot || ::chown((folder_ / end).c_str(), kNobody, kRangers) == 0);
    ASSERT_EQ(::chmod((folder_ / end).c_str(), 0664), 0);
  }
  const mode_t mask = ::umask(077);
  Edit(folder_ / "p.shp", 80);
  ::umask(mask);
  ExpectEdited(folder_ / "p.shp", 80);
  for (const char* end : {"p.shp", "p.shx", "p.dbf"}) {
    const struct stat status = StatusOf(folder_ / end);
    EXPECT_EQ(status.st_mode & 07777, 0664U) << end;
    EXPECT_EQ(status.st_uid, isRoot ? kNobody : ::geteuid());
    EXPECT_EQ(status.st_gid, isRoot ? kRangers : ::getegid());
  }
}

TEST_F(ShapefileFilesTest, WhoCannotKeepTheGroupGivesNoOtherGroupItsRights) {
  ASSERT_EQ(::geteuid(), 0u) << "gives files to others";
  MakePoints(folder_ / "p.shp", 3);
  for (const std::string& name : files::NamesIn(folder_.Path())) {
    ASSERT_EQ(::chown((folder_ / name).c_str(), kNobody, kRangers), 0);
    ASSERT_EQ(::chmod((folder_ / name).c_str(), 0664), 0);
  }
  ASSERT_EQ(::chmod(folder_.Path().c_str(), 0777), 0);
  const int status = InChild([&] {
    if (::setgroups(0, nullptr) != 0 || ::setegid(kNobody) != 0 || ::seteuid(kNobody) != 0)
      ::_exit(2);
    Edit(folder_ / "p.shp", 81);
  });
  EXPECT_EQ(status, 0);
  ExpectEdited(folder_ / "p.shp", 81);
  EXPECT_EQ(StatusOf(folder_ / "p.dbf").st_mode & 07777, 0644U);
}

TEST_F(ShapefileFilesTest, AccessListsStay) {
  constexpr const char* kList = "system.posix_acl_access";
  // Version 2; then tag, rights and id of each: the owner, user 1234, the group, the mask, others.
  const unsigned char list[] = {2,  0, 0, 0,                          //
                                1,  0, 6, 0, 0xff, 0xff, 0xff, 0xff,  //
                                2,  0, 6, 0, 0xd2, 0x04, 0,    0,     //
                                4,  0, 0, 0, 0xff, 0xff, 0xff, 0xff,  //
                                16, 0, 6, 0, 0xff, 0xff, 0xff, 0xff,  //
                                32, 0, 0, 0, 0xff, 0xff, 0xff, 0xff};
  MakePoints(folder_ / "p.shp", 3);
  const std::string table = folder_ / "p.dbf";
  // On a file system without access lists there is none before and none afterwards.
  ::setxattr(table.c_str(), kList, list, sizeof list, 0);
  const auto listOf = [&] {
    std::string bytes(200, '\0');
    const ssize_t size = ::getxattr(table.c_str(), kList, bytes.data(), bytes.size());
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return bytes;
  };
  const std::string before = listOf();
  const mode_t mode = StatusOf(table).st_mode;
  Edit(folder_ / "p.shp", 82);
  EXPECT_EQ(listOf(), before);
  EXPECT_EQ(StatusOf(table).st_mode, mode);
}

// ---- Indexes of other programs

TEST_F(ShapefileFilesTest, ATableForgetsTheIndexThatNoLongerFits) {
  for (const char* index : {"p.cdx", "p.MDX"}) {
    MakePoints(folder_ / "p.shp", 3);
    WriteBytes(folder_ / index, "an index");
    std::string table = ReadBytes(folder_ / "p.dbf");
    table[28] = 3;  // an index, and memos
    WriteBytes(folder_ / "p.dbf", table);
    Edit(folder_ / "p.shp", 83);
    EXPECT_FALSE(files::FileExists(folder_ / index));
    EXPECT_EQ(ReadBytes(folder_ / "p.dbf")[28], 2);
    ShapefileStore::At(folder_ / "p.shp")->Delete();
    EXPECT_TRUE(fs::is_empty(folder_.Path()));
  }
}

TEST_F(ShapefileFilesTest, RowsThatAreAppendedAreMissedByNoOldIndex) {
  MakePoints(folder_ / "p.shp", 3);
  for (const char* index : {"p.qix", "p.sbn", "p.sbx", "p.idm"})
    WriteBytes(folder_ / index, "an index");
  const auto store = ShapefileStore::At(folder_ / "p.shp");
  const Geometry shape = PointAt(1, 1);
  store->Append(&shape, {Value(1), Value("a"), Value(1.0)});
  store->FinishAppending();
  EXPECT_EQ(files::NamesIn(folder_.Path()),
            (std::vector<std::string>{"p.cpg", "p.dbf", "p.shp", "p.shx"}));
}

}  // namespace
}  // namespace orlinths
