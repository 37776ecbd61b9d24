#include <gdal_rat.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>

#include "RasterFixture.h"
#include "data/FieldsAndDatasets.h"
#include "data/Raster.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"
#include "support/CapturedMessages.h"
#include "support/Faults.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kPlatform = -2147467259;

const std::vector<std::pair<std::string, std::string>> kFormats = {
    {"TIFF", "r.tif"}, {"IMAGINE Image", "r.img"}, {"GRID", "r"}};

class RasterCreationTest : public ::testing::Test {
 protected:
  static NewRaster Like(const Rows& rows, const std::string& format, const std::string& name,
                        PixelType type = PixelType::kInt32) {
    NewRaster raster;
    raster.name = name;
    raster.format = format;
    raster.origin = {500, 4000};
    raster.columns = std::ssize(rows.front());
    raster.rows = std::ssize(rows);
    raster.cellSize = {30, 20};
    raster.pixelType = type;
    raster.spatialReference = SpatialReferenceFromText("EPSG:32612");
    return raster;
  }
  RasterDatasetPtr Create(const NewRaster& raster) {
    return CreateRasterDataset(folder_.Path(), raster);
  }
  /// The usual sequence of a writer.
  RasterDatasetPtr Write(const Rows& rows, const std::string& format, const std::string& name,
                         PixelType type, std::optional<double> noData = std::nullopt) {
    const RasterDatasetPtr raster = Create(Like(rows, format, name, type));
    IRasterBand& band = raster->Band(0);
    if (noData) band.SetNoDataValue(*noData);
    band.Write({0, 0}, BlockOf(rows, type));
    band.ComputeStatsAndHist();
    raster->Close();
    return raster;
  }
  std::vector<std::string> Names() const { return files::NamesIn(folder_.Path()); }
  TempFolder folder_;
};

TEST_F(RasterCreationTest, WritesEveryTypeInEveryFormat) {
  struct Case {
    PixelType type;
    std::vector<double> cells;
  };
  for (const auto& [format, name] : kFormats) {
    for (const Case& c :
         {Case{PixelType::k1Bit, {0, 1}}, Case{PixelType::k2Bit, {0, 3}},
          Case{PixelType::k4Bit, {0, 15}}, Case{PixelType::kUInt8, {0, 254}},
          Case{PixelType::kInt8, {-128, 127}}, Case{PixelType::kUInt16, {0, 65535}},
          Case{PixelType::kInt16, {-32767, 32767}}, Case{PixelType::kUInt32, {0, 2147483647}},
          Case{PixelType::kInt32, {-2147483648.0, 2147483647}},
          Case{PixelType::kFloat, {-0.5, 1e9F}}, Case{PixelType::kDouble, {-0.5, 0.25}}}) {
      if (format == "IMAGINE Image" && c.type == PixelType::kInt8)
        continue;  // the library stores bytes
      Write({c.cells, {1, 1}}, format, name, c.type)->Delete();
      const RasterDatasetPtr raster = Write({c.cells, {1, 1}}, format, name, c.type);
      EXPECT_EQ(GdalCells(folder_ / name)[0].size(), 2U);
      EXPECT_EQ(RowsOf(raster->Band(0).ReadAll()), (Rows{c.cells, {1, 1}}))
          << format << static_cast<int>(c.type);
      raster->Delete();
      EXPECT_EQ(Names(), Texts{}) << format;
    }
  }
}

TEST_F(RasterCreationTest, KeepsPlaceCellSizesAndReference) {
  for (const auto& [format, name] : kFormats) {
    const RasterDatasetPtr raster = Write({{1, 2, 3}, {4, 5, 6}}, format, name, PixelType::kInt32);
    for (const RasterDatasetPtr& each : {raster, OpenRasterDataset(folder_.Path(), name)}) {
      const IRasterProps& props = each->Band(0).Props();
      EXPECT_EQ(props.extent, (Envelope{500, 4000, 590, 4040})) << format;
      EXPECT_EQ(props.meanCellSize.x, 30);
      EXPECT_EQ(props.meanCellSize.y, 20);
      EXPECT_EQ(props.spatialReference->FactoryCode(), 32612) << format;
      EXPECT_EQ(each->Name(), name);
      EXPECT_EQ(each->Format(), format);
      EXPECT_EQ(each->BandCount(), 1);
    }
  }
}

TEST_F(RasterCreationTest, KeepsTheNoDataValue) {
  for (const auto& [format, name] : kFormats) {
    const RasterDatasetPtr raster =
        Write({{1, -9999}, {70000, 4}}, format, name, PixelType::kInt32, -9999);
    const IPixelBlock block = OpenRasterDataset(folder_.Path(), name)->Band(0).ReadAll();
    EXPECT_TRUE(block.IsNoData(0, 1, 0)) << format;
    EXPECT_EQ(block.GetDouble(0, 0, 1), 70000);
    EXPECT_EQ(raster->Band(0).Statistics().minimum, 1) << format;
  }
}

TEST_F(RasterCreationTest, KeepsStatisticsAndHistogram) {
  for (const auto& [format, name] : kFormats) {
    Write({{2, 4, 4, 4}, {5, 5, 7, 9}}, format, name, PixelType::kUInt8);
    const GDALDatasetUniquePtr dataset(OpenGdal(folder_ / name));
    double min = 0, max = 0, mean = 0, deviation = 0;
    if (format == "GRID") {  // the library reads the ends of a grid's statistics alone
      EXPECT_EQ(dataset->GetRasterBand(1)->GetMinimum(), 2);
      EXPECT_EQ(dataset->GetRasterBand(1)->GetMaximum(), 9);
    } else {
      ASSERT_EQ(
          dataset->GetRasterBand(1)->GetStatistics(false, false, &min, &max, &mean, &deviation),
          CE_None)
          << format;
      EXPECT_EQ(min, 2);
      EXPECT_EQ(max, 9);
      EXPECT_DOUBLE_EQ(mean, 5);
      EXPECT_DOUBLE_EQ(deviation, 2);
    }
    GUIntBig* counts = nullptr;
    int classes = 0;
    ASSERT_EQ(dataset->GetRasterBand(1)->GetDefaultHistogram(&min, &max, &classes, &counts, false,
                                                             nullptr, nullptr),
              CE_None)
        << format;
    ASSERT_EQ(classes, 256);
    std::uint64_t all = 0;
    for (int i = 0; i < classes; ++i) all += counts[i];
    EXPECT_EQ(all, 8U);
    if (format != "GRID") {  // its cells have 32 bits, and the classes lie between 2 and 9
      EXPECT_EQ(counts[4], 3U);
      EXPECT_EQ(counts[6], 0U);
    } else {
      EXPECT_EQ(counts[0], 1U);
      EXPECT_EQ(counts[255], 1U);
    }
    CPLFree(counts);
  }
}

TEST_F(RasterCreationTest, AppearsOnlyWhenItIsWhole) {
  for (const auto& [format, name] : kFormats) {
    const Rows rows = {{1, 2}, {3, 4}};
    const RasterDatasetPtr raster = Create(Like(rows, format, name));
    raster->Band(0).Write({0, 0}, BlockOf(rows));
    raster->Band(0).ComputeStatsAndHist();
    EXPECT_FALSE(std::filesystem::exists(folder_ / name)) << format;
    raster->Close();
    EXPECT_TRUE(std::filesystem::exists(folder_ / name)) << format;
    // And nothing hidden is left.
    for (const std::string& left : Names()) EXPECT_NE(left.front(), '.');
    // It can be read on, and closed again.
    raster->Close();
    EXPECT_EQ(RowsOf(raster->Band(0).ReadAll()), rows);
  }
}

TEST_F(RasterCreationTest, LeavesNothingBehindWhenItIsNotClosed) {
  for (const auto& [format, name] : kFormats) {
    Create(Like({{1}}, format, name))->Band(0).Write({0, 0}, BlockOf({{1}}));
    EXPECT_EQ(Names(), Texts{}) << format;
    Create(Like({{1}}, format, name))->Delete();
    EXPECT_EQ(Names(), Texts{}) << format;
  }
}

TEST_F(RasterCreationTest, IsWholeOrLeavesNothingHiddenWhenMemoryRunsOut) {
  for (const auto& [format, name] : kFormats)
    for (std::int64_t nth = 1, struck = true; struck; ++nth) {
      bool isWhole = false;
      const std::function<void()> write = [&] { Write({{1, 2}}, format, name, PixelType::kFloat); };
      {
        const Fault fault(FaultKind::kOwnAllocation, nth);
        isWhole = Quietly(std::cref(write));
        struck = fault.HasStruck();
      }
      for (const std::string& left : Names())
        EXPECT_TRUE(left.starts_with(name)) << left << " after allocation " << nth;
      DeleteRaster(folder_.Path(), name);
      ASSERT_TRUE(isWhole || struck);
    }
}

TEST_F(RasterCreationTest, RefusesATakenName) {
  for (const auto& [format, name] : kFormats) {
    Write({{1}}, format, name, PixelType::kInt32);
    EXPECT_EQ(ErrorFrom([&] { Create(Like({{1}}, format, name)); }), kPlatform) << format;
  }
  std::filesystem::create_directory(folder_ / "empty");
  EXPECT_EQ(ErrorFrom([&] { Create(Like({{1}}, "GRID", "empty")); }), kPlatform);
  // Also one that was taken in the meantime.
  const RasterDatasetPtr raster = Create(Like({{1}}, "TIFF", "late.tif"));
  WriteBytes(folder_ / "late.tif", "theirs");
  EXPECT_EQ(ErrorFrom([&] { raster->Close(); }), kPlatform);
  EXPECT_EQ(ReadBytes(folder_ / "late.tif"), "theirs");
}

TEST_F(RasterCreationTest, RefusesWhatCannotBe) {
  const NewRaster good = Like({{1}}, "TIFF", "x.tif");
  const auto with = [&](auto change) {
    NewRaster raster = good;
    change(raster);
    return ErrorFrom([&] { Create(raster); });
  };
  EXPECT_EQ(with([](NewRaster&) {}), 0);
  EXPECT_EQ(with([](NewRaster& r) { r.name = ""; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.name = "a/b.tif"; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.name = ".."; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.format = "PNG"; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.columns = 0; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.rows = -1; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.columns = std::int64_t{1} << 31; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.bandCount = 0; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.cellSize.x = 0; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.cellSize.y = kNaN; }), kPlatform);
  EXPECT_EQ(with([](NewRaster& r) { r.origin.x = kNaN; }), kPlatform);
  for (const char* format : {"TIFF", "GRID"})
    for (const PixelType type : {PixelType::kComplex, PixelType::kDoubleComplex})
      EXPECT_EQ(with([&](NewRaster& r) { r.format = format, r.pixelType = type; }), kPlatform);
  // A grid of floats beyond 4 GB, not a TIFF; and nothing is written before it is refused.
  for (const PixelType type : {PixelType::kFloat, PixelType::kDouble})
    EXPECT_EQ(with([&](NewRaster& r) {
                r.format = "GRID", r.name = "x", r.pixelType = type;
                r.columns = r.rows = 33'000;
              }),
              kPlatform);
  EXPECT_EQ(ErrorFrom([&] { CreateRasterDataset("", good); }), kPlatform);
  EXPECT_EQ(ErrorFrom([&] { CreateRasterDataset(folder_ / "none", good); }), kPlatform);
  EXPECT_EQ(Names(), Texts{});
}

TEST_F(RasterCreationTest, WritesByTheBlockWhereverItLies) {
  for (const auto& [format, name] : kFormats) {
    const RasterDatasetPtr raster = Create(Like({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, format, name));
    IRasterBand& band = raster->Band(0);
    band.Write({0, 0}, IPixelBlock(3, 3, PixelType::kInt32));
    band.Write({1.9, 1.9}, BlockOf({{5}}));
    band.Write({-1, -1}, BlockOf({{9, 9}, {9, 1}}));
    band.Write({2, 2}, BlockOf({{8, 9}, {9, 9}}));
    band.Write({7, 0}, BlockOf({{9}}));
    raster->Close();
    EXPECT_EQ(RowsOf(raster->Band(0).ReadAll()), (Rows{{1, 0, 0}, {0, 5, 0}, {0, 0, 8}})) << format;
  }
}

TEST_F(RasterCreationTest, ConvertsBlocksOfOtherTypes) {
  const RasterDatasetPtr raster = Create(Like({{0, 0, 0}}, "TIFF", "r.tif", PixelType::kUInt8));
  IRasterBand& band = raster->Band(0);
  band.SetNoDataValue(7);
  // Halves to even; NaN becomes NoData; the block's own NoData value is a number like others.
  band.Write({0, 0}, BlockOf({{2.5, kNaN, 3}}, PixelType::kDouble, 3));
  EXPECT_EQ(ErrorFrom([&] { band.Write({0, 0}, BlockOf({{256}})); }), 6);
  EXPECT_EQ(ErrorFrom([&] { band.Write({0, 0}, BlockOf({{-1}})); }), 6);
  raster->Close();
  EXPECT_EQ(RowsOf(raster->Band(0).ReadAll()), (Rows{{2, 7, 3}}));

  const RasterDatasetPtr without = Create(Like({{0}}, "TIFF", "w.tif", PixelType::kInt32));
  EXPECT_EQ(ErrorFrom([&] {
              without->Band(0).Write({0, 0}, BlockOf({{kNaN}}, PixelType::kFloat));
            }),
            6);
  // What only a widened block could say has no place here either.
  IPixelBlock widened = BlockOf({{0}}, PixelType::kUInt8);
  widened.MakeRoomForNoData(0);
  Edit(widened, 0, [](auto plane) { plane.cells[0] = plane.noData; });
  EXPECT_EQ(ErrorFrom([&] { without->Band(0).Write({0, 0}, widened); }), 6);
}

TEST_F(RasterCreationTest, TakesOnlyANoDataValueThatACellCanHold) {
  const auto with = [&](PixelType type, double noData) {
    const RasterDatasetPtr raster = Create(Like({{0}}, "TIFF", "r.tif", type));
    return ErrorFrom([&] { raster->Band(0).SetNoDataValue(noData); });
  };
  EXPECT_EQ(with(PixelType::kUInt8, -1), 6);
  EXPECT_EQ(with(PixelType::kInt16, 32768), 6);
  EXPECT_EQ(with(PixelType::kInt16, -32768), 0);
  EXPECT_EQ(with(PixelType::kInt32, kNaN), 6);
  EXPECT_EQ(with(PixelType::kFloat, kNaN), 0);
  EXPECT_EQ(with(PixelType::kFloat, 1e300), 6);
  EXPECT_EQ(with(PixelType::kDouble, 1e300), 0);
}

TEST_F(RasterCreationTest, MakesGridsOfTwoTypes) {
  for (int code = 0; code <= 10; ++code) {
    const auto type = static_cast<PixelType>(code);
    const RasterDatasetPtr raster = Create(Like({{0}}, "GRID", "g", type));
    EXPECT_EQ(raster->PixelType(), code < 9 ? PixelType::kInt32 : PixelType::kFloat);
  }
}

TEST_F(RasterCreationTest, StoresTheBandsNoDataAsTheGridsOwn) {
  Write({{1, -9999, 70000}}, "GRID", "whole", PixelType::kInt32, -9999);
  EXPECT_EQ(GdalCells(folder_ / "whole"), (Rows{{1, -2147483647, 70000}}));
  Write({{0.5, -9999, kNaN}}, "GRID", "float", PixelType::kDouble, -9999);
  const double no = -std::numeric_limits<float>::max();
  EXPECT_EQ(GdalCells(folder_ / "float"), (Rows{{0.5, no, no}}));
}

TEST_F(RasterCreationTest, RefusesTheNumberThatAGridReadsAsNoData) {
  const RasterDatasetPtr raster = Create(Like({{0}}, "GRID", "g"));
  raster->Band(0).SetNoDataValue(-9999);
  raster->Band(0).Write({0, 0}, BlockOf({{-2147483647}}));
  EXPECT_EQ(ErrorFrom([&] { raster->Close(); }), kPlatform);
  EXPECT_EQ(ErrorFrom([&] {
              Create(Like({{0}}, "GRID", "f", PixelType::kDouble))
                  ->Band(0)
                  .Write({0, 0}, BlockOf({{1e39}}, PixelType::kDouble));
            }),
            6);
}

// A pole that is not the earth's, which older forms of WKT cannot say; and a site's own square.
constexpr const char* kRotated =
    R"(GEOGCRS["rotated",BASEGEOGCRS["WGS 84",DATUM["World Geodetic System 1984",)"
    R"(ELLIPSOID["WGS 84",6378137,298.257223563]]],DERIVINGCONVERSION["Pole rotation",)"
    R"(METHOD["PROJ ob_tran o_proj=longlat"],)"
    R"(PARAMETER["o_lon_p",-162,ANGLEUNIT["degree",0.0174532925199433]],)"
    R"(PARAMETER["o_lat_p",39.25,ANGLEUNIT["degree",0.0174532925199433]],)"
    R"(PARAMETER["lon_0",180,ANGLEUNIT["degree",0.0174532925199433]]],CS[ellipsoidal,2],)"
    R"(AXIS["longitude",east,ORDER[1],ANGLEUNIT["degree",0.0174532925199433]],)"
    R"(AXIS["latitude",north,ORDER[2],ANGLEUNIT["degree",0.0174532925199433]]])";
constexpr const char* kSite =
    R"(ENGCRS["Quarry",EDATUM["Site corner"],CS[Cartesian,2],)"
    R"(AXIS["x",east,ORDER[1],LENGTHUNIT["metre",1]],AXIS["y",north,ORDER[2],LENGTHUNIT["metre",1]]])";

TEST_F(RasterCreationTest, NeverLosesItsReferenceWithoutAWord) {
  int refused = 0;
  for (const auto& [format, name] : kFormats) {
    for (const char* text : {kRotated, kSite, "EPSG:4326", "EPSG:3301", "EPSG:4978"}) {
      NewRaster raster = Like({{1, 2}}, format, name);
      raster.spatialReference = SpatialReferenceFromText(text);
      if (!Quietly([&] { Create(raster)->Close(); })) {
        EXPECT_EQ(Names(), Texts{}) << format << text;
        ++refused;
        continue;
      }
      const RasterDatasetPtr made = OpenRasterDataset(folder_.Path(), name);
      EXPECT_FALSE(made->SpatialReference()->IsUnknown()) << format << text;
      made->Delete();
    }
  }
  EXPECT_GT(refused, 0);
}

TEST_F(RasterCreationTest, AReferenceThatAFormatCannotSayIsRefusedBeforehand) {
  struct Case {
    const char *format, *reference, *complaint;
  };
  for (const Case& c :
       {Case{"GRID", kRotated, "DerivedGeographicCRS can only be exported to WKT2"},
        Case{"IMAGINE Image", kSite,
             "The format IMAGINE Image cannot keep the spatial reference Quarry."}}) {
    NewRaster raster = Like({{1, 2}}, c.format, "r");
    raster.spatialReference = SpatialReferenceFromText(c.reference);
    const auto failure = FailureOf([&] { Create(raster); });
    ASSERT_TRUE(failure) << c.format;
    EXPECT_NE(failure->Description().find(c.complaint), std::string::npos)
        << failure->Description();
    EXPECT_EQ(Names(), Texts{});
    raster.format = "TIFF";
    raster.name = "r.tif";
    Create(raster)->Close();
    EXPECT_EQ(OpenRasterDataset(folder_.Path(), "r.tif")->SpatialReference()->Name(),
              raster.spatialReference->Name());
    OpenRasterDataset(folder_.Path(), "r.tif")->Delete();
  }
}

TEST_F(RasterCreationTest, WritesAGridAsFilesThatReadersKnow) {
  Write({{1, 2}, {2, 3}}, "GRID", "landuse", PixelType::kUInt8);
  EXPECT_EQ(files::NamesIn(folder_ / "landuse"),
            (std::vector<std::string>{"dblbnd.adf", "hdr.adf", "prj.adf", "sta.adf", "vat.adf",
                                      "w001001.adf", "w001001x.adf"}));
  const GDALDatasetUniquePtr dataset(OpenGdal(folder_ / "landuse"));
  EXPECT_STREQ(dataset->GetDriver()->GetDescription(), "AIG");
  const GDALRasterAttributeTable* table = dataset->GetRasterBand(1)->GetDefaultRAT();
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->GetRowCount(), 3);
  EXPECT_EQ(table->GetValueAsInt(1, 1), 2);
  OpenRasterDataset(folder_.Path(), "landuse")->Delete();
  EXPECT_EQ(Names(), Texts{});
}

TEST_F(RasterCreationTest, WritesLongNamesOfGridsToo) {
  const std::string name(100, 'n');
  Write({{1}}, "GRID", name, PixelType::kInt32);
  EXPECT_EQ(GdalCells(folder_ / name), (Rows{{1}}));
  EXPECT_TRUE(OpenRasterDataset(folder_.Path(), name)->Band(0).HasTable());
}

TEST_F(RasterCreationTest, HoldsSeveralBands) {
  for (const auto& [format, name] : kFormats) {
    for (const PixelType type : {PixelType::kInt32, PixelType::kFloat}) {
      NewRaster made = Like({{0, 0}}, format, name, type);
      made.bandCount = 3;
      const RasterDatasetPtr raster = Create(made);
      // Values of a byte, of 16 and of 32 bits: a reader gives each grid a type of its own.
      const std::vector<Rows> bands = {{{1, -9999}}, {{-300, -9999}}, {{70000, -9999}}};
      for (int i = 0; i < 3; ++i) {
        raster->Band(i).SetNoDataValue(-9999);
        raster->Band(i).Write({0, 0}, BlockOf(bands[static_cast<std::size_t>(i)], type));
        raster->Band(i).ComputeStatsAndHist();
      }
      raster->Close();
      const RasterDatasetPtr opened = OpenRasterDataset(folder_.Path(), name);
      ASSERT_EQ(opened->BandCount(), 3) << format;
      EXPECT_EQ(opened->Name(), name);
      EXPECT_EQ(opened->Format(), format);
      EXPECT_EQ(opened->Extent(), (Envelope{500, 4000, 560, 4020}));
      EXPECT_EQ(opened->SpatialReference()->FactoryCode(), 32612);
      for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(opened->Band(i).Props().pixelType, type) << format << i;
        const IPixelBlock block = opened->Band(i).ReadAll();
        EXPECT_EQ(block.GetDouble(0, 0, 0), bands[static_cast<std::size_t>(i)][0][0])
            << format << i;
        EXPECT_TRUE(block.IsNoData(0, 1, 0)) << format << i;
      }
      if (format == "GRID") {
        EXPECT_EQ(GdalCells(folder_ / (name + "/" + name + "c3"))[0][0], 70000);
        EXPECT_EQ(GdalCells(folder_ / (name + "/" + name + ".vrt"), 2)[0][0], -300);
      }
      opened->Delete();
      EXPECT_EQ(Names(), Texts{}) << format;
    }
  }
}

TEST_F(RasterCreationTest, CanBeMovedAsAWhole) {
  NewRaster made = Like({{0, 0}}, "GRID", "g");
  made.bandCount = 2;
  const RasterDatasetPtr raster = Create(made);
  for (int i = 0; i < 2; ++i) raster->Band(i).Write({0, 0}, BlockOf({{3, 4}}));
  raster->Close();
  std::filesystem::create_directory(folder_ / "sub");
  std::filesystem::rename(folder_ / "g", folder_ / "sub/g");
  EXPECT_EQ(RowsOf(OpenRasterDataset(folder_ / "sub", "g")->Band(1).ReadAll()), (Rows{{3, 4}}));
}

TEST_F(RasterCreationTest, WritesTiledDeflatedTiffs) {
  const Rows rows(300, std::vector<double>(300, 5));
  Write(rows, "TIFF", "r.tif", PixelType::kInt16);
  const GDALDatasetUniquePtr dataset(OpenGdal(folder_ / "r.tif"));
  EXPECT_STREQ(dataset->GetMetadataItem("COMPRESSION", "IMAGE_STRUCTURE"), "DEFLATE");
  int width = 0, height = 0;
  dataset->GetRasterBand(1)->GetBlockSize(&width, &height);
  EXPECT_EQ(width, 256);
  EXPECT_EQ(height, 256);
}

TEST_F(RasterCreationTest, IsDeletedByName) {
  for (const auto& [format, name] : kFormats) {
    Write({{1}}, format, name, PixelType::kInt32);
    EXPECT_TRUE(DeleteRaster(folder_.Path(), name)) << format;
    EXPECT_FALSE(DeleteRaster(folder_.Path(), name)) << format;
    EXPECT_EQ(Names(), Texts{}) << format;
  }
}

TEST_F(RasterCreationTest, NeverDeletesAFolderThatIsNoGrid) {
  std::filesystem::create_directory(folder_ / "plain");
  WriteBytes(folder_ / "plain/notes.txt", "x");
  EXPECT_FALSE(DeleteRaster(folder_.Path(), "plain"));
  EXPECT_TRUE(files::FileExists(folder_ / "plain/notes.txt"));
}

TEST_F(RasterCreationTest, StopsOnRequestAndLeavesNothing) {
  CapturedMessages messages;
  for (const auto& [format, name] : kFormats) {
    {
      const RasterDatasetPtr raster = Create(Like({{1}}, format, name));
      RequestStop();
      EXPECT_EQ(ErrorFrom([&] { raster->Band(0).Write({0, 0}, BlockOf({{1}})); }), 18);
      EXPECT_EQ(ErrorFrom([&] { raster->Close(); }), 18);
    }
    EXPECT_EQ(ErrorFrom([&] { Create(Like({{1}}, format, name)); }), 18);
    ClearStop();
    EXPECT_EQ(Names(), Texts{}) << format;
  }
}

TEST_F(RasterCreationTest, HasThePermissionsOfAnyNewFile) {
  const mode_t before = ::umask(022);
  Write({{1}}, "GRID", "g", PixelType::kInt32);
  Write({{1}}, "TIFF", "r.tif", PixelType::kInt32);
  ::umask(before);
  struct stat info;
  ASSERT_EQ(::stat((folder_ / "g").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0755U);
  ASSERT_EQ(::stat((folder_ / "r.tif").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0644U);
}

}  // namespace
}  // namespace orlinths
