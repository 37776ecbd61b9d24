// The folder `info` that all grids of a folder share: what comes and goes in it.
#include <gdal_rat.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <optional>

#include "RasterFixture.h"
#include "data/Raster.h"
#include "gdal/GridWriter.h"
#include "runtime/Files.h"
#include "runtime/Trap.h"
#include "support/Faults.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;

using FileBytes = std::map<std::string, std::string>;

class GridTablesTest : public ::testing::Test {
 protected:
  FileBytes Info() const {
    FileBytes files;
    if (!fs::exists(folder_ / "info")) return files;
    for (const auto& file : fs::directory_iterator(folder_ / "info"))
      files[file.path().filename()] = ReadBytes(file.path());
    return files;
  }
  /// A listing as other programs write it.
  static std::string Record(const std::string& table, const std::string& file) {
    return table + std::string(32 - table.size(), ' ') + file + std::string(8 - file.size(), ' ') +
           std::string(340, '\1');
  }
  void WriteInfo(const FileBytes& files) const {
    fs::create_directory(folder_ / "info");
    for (const auto& [name, bytes] : files) WriteBytes(folder_ / ("info/" + name), bytes);
  }
  RasterDatasetPtr Make(const std::string& name, std::int32_t value,
                        PixelType type = PixelType::kInt32) const {
    NewRaster raster;
    raster.name = name;
    raster.format = "GRID";
    raster.columns = raster.rows = 2;
    raster.cellSize = {1, 1};
    raster.pixelType = type;
    const RasterDatasetPtr made = CreateRasterDataset(folder_.Path(), raster);
    const double v = value;
    made->Band(0).Write({0, 0}, BlockOf({{v, v}, {v, v}}, type));
    made->Close();
    return made;
  }
  /// The only value in a grid's table as GDAL reads it; nothing without a table.
  std::optional<int> TableValue(const std::string& name) const {
    const GDALDatasetUniquePtr dataset(OpenGdal(folder_ / name));
    const GDALRasterAttributeTable* table = dataset->GetRasterBand(1)->GetDefaultRAT();
    if (table == nullptr || table->GetRowCount() != 1) return std::nullopt;
    return table->GetValueAsInt(0, 0);
  }
  const TempFolder folder_;
};

TEST_F(GridTablesTest, AListingThatFailsLeavesTheFolderAsItWas) {
  const FileBytes others{{"arc.dir", Record("OTHER.VAT", "ARC0000")}, {"arc0000.dat", "theirs"}};
  for (const bool isShared : {false, true}) {
    if (isShared) WriteInfo(others);
    for (const FaultKind kind : {FaultKind::kOpen, FaultKind::kRead, FaultKind::kWrite,
                                 FaultKind::kSync, FaultKind::kRename, FaultKind::kOwnAllocation}) {
      SCOPED_TRACE(std::to_string(static_cast<int>(kind)) + (isShared ? " shared" : ""));
      int failures = 0;
      for (int nth = 1;; ++nth) {
        bool isListed;
        {
          const Fault fault(kind, nth);
          isListed = Quietly([&] { ListGridTable(folder_.Path(), "ours", 1); });
          if (!fault.HasStruck()) break;
        }
        if (isListed) {
          UnlistGridTables(folder_.Path(), "ours");
          continue;
        }
        ++failures;
        ASSERT_EQ(Info(), isShared ? others : FileBytes{}) << nth;
        ASSERT_EQ(fs::exists(folder_ / "info"), isShared);
      }
      EXPECT_TRUE(failures > 0 || (kind == FaultKind::kRead && !isShared));
      UnlistGridTables(folder_.Path(), "ours");
    }
  }
}

TEST_F(GridTablesTest, GridsOfOneFolderComeAndGoOneByOne) {
  const RasterDatasetPtr first = Make("first", 4), second = Make("second", 5);
  EXPECT_EQ(TableValue("first"), 4);
  EXPECT_EQ(TableValue("second"), 5);
  first->Delete();
  EXPECT_EQ(TableValue("second"), 5);
  Make("first", 6);
  EXPECT_EQ(TableValue("first"), 6);
  EXPECT_EQ(TableValue("second"), 5);
  second->Delete();
  OpenRasterDataset(folder_.Path(), "first")->Delete();
  EXPECT_TRUE(fs::is_empty(folder_.Path()));
}

TEST_F(GridTablesTest, AGridWithoutATableDropsTheListingOfItsName) {
  Make("g", 4);
  fs::remove_all(folder_ / "g");  // by hand, which leaves the listing
  Make("g", 5, PixelType::kFloat);
  EXPECT_FALSE(fs::exists(folder_ / "info"));
}

TEST_F(GridTablesTest, AGridGoesWithAllThatOthersListOfIt) {
  Make("land", 4);
  FileBytes info = Info();
  ASSERT_EQ(info.size(), 3u);
  info["arc.dir"] += Record("LAND.BND", "ARC0001") + Record("land.sta", "ARC0002") +
                     Record("LANDUSE.VAT", "ARC0003") + Record("LAND", "ARC0004");
  for (const char* file : {"arc0001.dat", "arc0001.nit", "arc0002.dat", "arc0003.dat"})
    info[file] = "theirs";
  WriteInfo(info);
  OpenRasterDataset(folder_.Path(), "land")->Delete();
  EXPECT_EQ(Info(),
            (FileBytes{{"arc.dir", Record("LANDUSE.VAT", "ARC0003") + Record("LAND", "ARC0004")},
                       {"arc0003.dat", "theirs"}}));
}

TEST_F(GridTablesTest, AListingThatLeadsOutOfItsFolderIsNotFollowed) {
  WriteBytes(folder_ / "mine.dat", "mine");
  WriteBytes(folder_ / "mine.nit", "mine");
  for (const bool listFirst : {false, true}) {
    WriteInfo({{"arc.dir", Record("G.VAT", "../mine")}});
    if (listFirst) ListGridTable(folder_.Path(), "g", 1);
    UnlistGridTables(folder_.Path(), "g");
    EXPECT_FALSE(fs::exists(folder_ / "info"));
    EXPECT_EQ(ReadBytes(folder_ / "mine.dat"), "mine");
    EXPECT_EQ(ReadBytes(folder_ / "mine.nit"), "mine");
  }
}

TEST_F(GridTablesTest, ProcessesThatListAtOnceLoseNothing) {
  constexpr int kProcesses = 4, kEach = 25;
  fs::create_directory(folder_ / "info");
  std::vector<pid_t> children;
  for (int i = 0; i < kProcesses; ++i) {
    const pid_t child = ::fork();
    if (child == 0) {
      for (int n = 0; n < kEach; ++n)
        if (!Quietly([&] {
              ListGridTable(folder_.Path(), "g" + std::to_string(i) + "x" + std::to_string(n), 1);
            }))
          ::_exit(1);
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  const FileBytes info = Info();
  EXPECT_EQ(info.at("arc.dir").size(), std::size_t{kProcesses * kEach * 380});
  EXPECT_EQ(info.size(), std::size_t{1 + 2 * kProcesses * kEach});
}

}  // namespace
}  // namespace orlinths
