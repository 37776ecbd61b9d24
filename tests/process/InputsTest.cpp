// Inputs as they come: not there, damaged, not writable, oddly named.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "process/Layers.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Call = std::vector<std::string>;

TEST(InputsTest, OddNamesAreNames) {
  for (const std::string name :
       {"with blank", "Größe", "a.b", "k=v", "cmbL=p", "it's", "-p", "p;q", "100%", "(p)", "*"}) {
    SCOPED_TRACE(name);
    const TempFolder folder;
    fs::create_directory(folder / name);
    WriteOgr(folder / (name + "/" + name + ".shp"), Points(3));
    const Ended ended =
        RunProgram(AddXYCall("./" + name + "/" + name + ".shp", name) +
                       Call{"--save", name + "/s.json", "--clock", "2026-03-01T12:00:00"},
                   folder.Path());
    EXPECT_EQ(ended.status, 0) << ended.out << ended.error;
    EXPECT_EQ(WrongPlaces(ReadOgr(folder / (name + "/" + name + ".shp"))), 0);
    WriteOgr(folder / (name + "/" + name + ".shp"), Points(3));
    const Ended again = RunProgram({"play", folder / (name + "/s.json")}, "/");
    EXPECT_EQ(again.status, 0) << again.out << again.error;
    EXPECT_EQ(WrongPlaces(ReadOgr(folder / (name + "/" + name + ".shp"))), 0);
  }
}

TEST(InputsTest, MissingAndDamagedFilesAreNamed) {
  const TempFolder folder;
  WriteOgr(folder / "p.shp", Points(20));
  const Files whole = FilesIn(folder.Path());
  const auto refused = [&](const std::string& input) {
    const Ended ended = RunProgram(AddXYCall(input, "p"), folder.Path());
    EXPECT_EQ(ended.status, 2) << ended.out;
    EXPECT_THAT(ended.error, StartsWith("orlinths: " + input + " does not open: "));
    EXPECT_EQ(std::ranges::count(ended.error, '\n'), 1) << ended.error;
  };
  refused("none.shp");
  refused("none/p.shp");
  WriteBytes(folder / "empty.shp", "");
  refused("empty.shp");
  WriteBytes(folder / "text.shp", "no shapes here");
  refused("text.shp");
  for (const std::string part : {"p.shp", "p.dbf"}) {
    SCOPED_TRACE(part);
    Restore(folder.Path(), whole);
    WriteBytes(folder / part, whole.at(part).substr(0, 20));
    const Files before = FilesIn(folder.Path());
    refused("p.shp");
    EXPECT_EQ(FilesIn(folder.Path()), before);
  }
}

/// Cut off anywhere: a wrong call, a reported failure, or success, and never an input that loses
/// what it had.
TEST(InputsTest, AFileCutOffAnywhereEndsInAStatus) {
  const TempFolder folder;
  WriteOgr(folder / "p.shp", Points(20));
  const Files whole = FilesIn(folder.Path());
  Seeded random("InputsTest.Cut");
  for (int i = 0; i < 30; ++i) {
    const std::string part = i % 3 == 0 ? "p.shp" : i % 3 == 1 ? "p.dbf" : "p.shx";
    const auto size = static_cast<std::int64_t>(whole.at(part).size());
    const auto kept = static_cast<std::size_t>(random.Whole(0, size - 1));
    SCOPED_TRACE(part + " of " + std::to_string(kept) + " bytes");
    Restore(folder.Path(), whole);
    WriteBytes(folder / part, whole.at(part).substr(0, kept));
    const Ended ended = RunProgram(AddXYCall("p.shp", "p"), folder.Path());
    EXPECT_THAT(ended.status, ::testing::AnyOf(0, 1, 2, 3)) << ended.out << ended.error;
    if (ended.status != 0) {
      EXPECT_EQ(ReadBytes(folder / "p.dbf"),
                part == "p.dbf" ? whole.at(part).substr(0, kept) : whole.at("p.dbf"));
    }
  }
}

class WithoutRights : public ::testing::Test {
 protected:
  WithoutRights() {
    OpenToAll(folder_.Path());
    WriteOgr(folder_ / "p.shp", Points(3));
    for (const auto& entry : fs::directory_iterator(folder_.Path()))
      fs::permissions(entry.path(), fs::perms{0666});
  }
  /// As nobody: error 70 by the ordinary report, and every file as it was.
  void ExpectRefused() {
    const Files before = FilesIn(folder_.Path());
    const Ended ended =
        RunProgram(AddXYCall("p.shp", "p"), folder_.Path(), {.isUnprivileged = true});
    EXPECT_EQ(ended.status, 3) << ended.out << ended.error;
    EXPECT_THAT(ended.out, StartsWith("TableAddXY: A\n70\nPermission denied\n"));
    EXPECT_THAT(ended.out, HasSubstr("Please check that the dataset is not in use"));
    EXPECT_EQ(FilesIn(folder_.Path()), before);
  }

  TempFolder folder_;
};

TEST_F(WithoutRights, WorkWhereFolderAndFilesAreOpen) {
  const Ended ended = RunProgram(AddXYCall("p.shp", "p"), folder_.Path(), {.isUnprivileged = true});
  EXPECT_EQ(ended.status, 0) << ended.out << ended.error;
  EXPECT_EQ(WrongPlaces(ReadOgr(folder_ / "p.shp")), 0);
}

TEST_F(WithoutRights, ATableThatIsReadOnlyIsRefused) {
  fs::permissions(folder_ / "p.dbf", fs::perms{0444});
  ExpectRefused();
}

TEST_F(WithoutRights, AFolderThatIsReadOnlyIsRefused) {
  fs::permissions(folder_.Path(), fs::perms{0555});
  ExpectRefused();
}

TEST_F(WithoutRights, AnInputThatCannotBeReadIsAWrongCall) {
  fs::permissions(folder_ / "p.shp", fs::perms::none);
  const Ended ended = RunProgram(AddXYCall("p.shp", "p"), folder_.Path(), {.isUnprivileged = true});
  EXPECT_EQ(ended.status, 2);
  EXPECT_THAT(ended.error, StartsWith("orlinths: p.shp does not open: "));
}

TEST_F(WithoutRights, ASessionIsNotSavedWhereItMayNot) {
  fs::permissions(folder_.Path(), fs::perms{0555});
  const Ended ended = RunProgram({"run", "clsXYAdd", "p.shp", "--save", "s.json"}, folder_.Path(),
                                 {.isUnprivileged = true});
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.error, "orlinths: s.json cannot be written: Permission denied\n");
}

}  // namespace
}  // namespace orlinths
