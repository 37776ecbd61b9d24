// A million points intersected with a raster and with polygons: our routines against the plain way
// (GDAL cell by cell, a scan of all envelopes, a query a point), and against the floor of reading
// the points and rewriting their table.
#include <benchmark/benchmark.h>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "data/Raster.h"
#include "data/Workspace.h"
#include "overlay/PointsInPolygons.h"
#include "overlay/PointsInRaster.h"

namespace orlinths {
namespace {

constexpr int kPoints = 1'000'000;
constexpr int kSide = 5000;  // cells a side: the largest raster that is read whole
constexpr int kZones = 100;  // a side

void Need(bool ok, const std::string& what) {
  if (ok) return;
  std::cerr << "IntersectPointsBench: " << what << '\n';
  std::exit(1);
}

/// Coordinates that fill the square evenly and in no order.
double Spread(int i, double step) { return std::fmod(i * step, 1.0) * kSide; }

/// Fixes, a height model and a mesh of zones, made once and removed at the end.
class Input {
 public:
  Input() : folder_(std::filesystem::temp_directory_path() / "orlinths_intersect_bench") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    GDALAllRegister();
    MakePoints();
    MakeRaster();
    MakeZones();
  }
  ~Input() { std::filesystem::remove_all(folder_); }

  std::string Folder() const { return folder_; }
  std::string Path(const std::string& name) const { return folder_ / (name + ".shp"); }
  FeatureClassPtr Copy(const std::string& name) const {
    for (const char* part : {".shp", ".shx", ".dbf"})
      std::filesystem::copy_file(folder_ / (std::string("fixes") + part), folder_ / (name + part),
                                 std::filesystem::copy_options::overwrite_existing);
    return OpenFeatureClassByPath(Path(name));
  }

 private:
  FeatureClassPtr Create(const std::string& name, GeometryType type, const Field& field) {
    GeometryDef def;
    def.geometryType = type;
    return CreateFeatureClass(folder_, name,
                              {{.name = "OID", .type = FieldType::kOid},
                               {.name = "Shape", .type = FieldType::kGeometry, .geometry = def},
                               field});
  }
  void MakePoints() {
    const auto fixes =
        Create("fixes", GeometryType::kPoint, {.name = "ANIMAL", .type = FieldType::kInteger});
    const CursorPtr rows = fixes->Insert();
    const auto row = fixes->CreateFeatureBuffer();
    for (int i = 0; i < kPoints; ++i) {
      row->SetShape(Point{Spread(i, 0.6180339887498949), Spread(i, 0.7548776662466927)});
      row->SetDouble(2, i % 50);
      rows->InsertRow(*row);
    }
    rows->Flush();
  }
  void MakeRaster() {
    const auto raster = CreateRasterDataset(folder_, {.name = "dem.tif",
                                                      .format = "TIFF",
                                                      .origin = {0, 0},
                                                      .columns = kSide,
                                                      .rows = kSide,
                                                      .cellSize = {1, 1},
                                                      .pixelType = PixelType::kFloat,
                                                      .spatialReference = nullptr});
    raster->Band(0).SetNoDataValue(-9999);
    IPixelBlock block = raster->Band(0).CreatePixelBlock(kSide, kSide);
    Edit(block, 0, []<class T>(EditablePlane<T> plane) {
      for (int row = 0; row < plane.rows; ++row)
        for (int column = 0; column < plane.columns; ++column)
          plane.Row(row)[static_cast<std::size_t>(column)] =
              static_cast<T>(500 + 100 * std::sin(row * 0.003) * std::cos(column * 0.002));
    });
    raster->Band(0).Write({0, 0}, block);
    raster->Close();
  }
  void MakeZones() {
    const auto zones =
        Create("zones", GeometryType::kPolygon, {.name = "CODE", .type = FieldType::kInteger});
    const CursorPtr rows = zones->Insert();
    const auto row = zones->CreateFeatureBuffer();
    const double size = static_cast<double>(kSide) / kZones;
    for (int i = 0; i < kZones * kZones; ++i) {
      // Rounded corners, so that an envelope alone says nothing.
      const double x = (i % kZones + 0.5) * size, y = (i / kZones + 0.5) * size;
      std::vector<Coord> ring;
      for (int corner = 0; corner <= 64; ++corner) {
        const double turn = -2 * 3.14159265358979 * (corner % 64) / 64;
        ring.push_back({x + std::cos(turn) * size * 0.5, y + std::sin(turn) * size * 0.5});
      }
      Polygon zone;
      zone.AddPart(ring);
      row->SetShape(zone);
      row->SetDouble(2, i + 1);
      rows->InsertRow(*row);
    }
    rows->Flush();
  }

  std::filesystem::path folder_;
};

const Input& Data() {
  static const Input input;
  return input;
}

std::vector<double> Column(const std::string& name, const std::string& column) {
  std::vector<double> values;
  const FeatureClassPtr fixes = OpenFeatureClassByPath(Data().Path(name));
  const int field = fixes->FindField(column);
  Need(field >= 0, "no field " + column);
  const CursorPtr rows = fixes->Search();
  while (const IRow* row = rows->Next()) values.push_back(row->GetDouble(field));
  return values;
}

// ---- The floor: every point read, one column filled

void RewriteTable(IFeatureClass& fixes) {
  const int field = AddNewField("X", fixes, FieldType::kDouble, 16);
  const CursorPtr rows = fixes.Update(ShapesOnly());
  while (IRow* row = rows->Next()) {
    row->SetDouble(field, row->Point().x);
    rows->UpdateRow(*row);
  }
  rows->Flush();
  CommitAllEdits();
}

// ---- Rasters

void InRaster(IFeatureClass& fixes, bool lowMemory) {
  const IRasterLayer layer(OpenRasterDataset(Data().Folder(), "dem.tif"));
  IntersectReport report;
  Need(ISectPntRaster(fixes, layer,
                      {.suppressWarnings = true, .ignoreProjections = true, .lowMemory = lowMemory},
                      report),
       "ISectPntRaster");
  CommitAllEdits();
}

/// A read of one cell a point, values of mixed type.
void InRasterPlain(IFeatureClass& fixes) {
  const RasterDatasetPtr raster = OpenRasterDataset(Data().Folder(), "dem.tif");
  const IRasterBand& band = raster->Band(0);
  const IRasterProps& props = band.Props();
  fixes.AddField(MakeField("dem", FieldType::kDouble, 16, false, true));
  const int field = fixes.FindField("dem");
  const CursorPtr rows = fixes.Update();
  while (IRow* row = rows->Next()) {
    const Cell cell = props.CellAt(row->Point().x, row->Point().y);
    IPixelBlock block = band.CreatePixelBlock(1, 1);
    band.Read({static_cast<double>(cell.column), static_cast<double>(cell.row)}, block);
    row->SetValue(field, Value(ToDouble(block.GetVal(0, 0, 0))));
    rows->UpdateRow(*row);
  }
  rows->Flush();
  CommitAllEdits();
}

// ---- Polygons

void InPolygons(IFeatureClass& fixes) {
  const IFeatureLayer zones(OpenFeatureClassByPath(Data().Path("zones")));
  IntersectReport report;
  Need(ISectPntPoly(fixes, zones, true, std::vector<std::string>{"CODE"}, report), "ISectPntPoly");
  CommitAllEdits();
}

/// GDAL alone: a spatial filter a point, an exact test of what it gives.
void InPolygonsPlain(IFeatureClass& fixes) {
  const GDALDatasetUniquePtr file(GDALDataset::Open(Data().Path("zones").c_str(), GDAL_OF_VECTOR));
  OGRLayer& zones = *file->GetLayer(0);
  fixes.AddField(MakeField("CODE", FieldType::kInteger, 16, false, true));
  const int field = fixes.FindField("CODE");
  const CursorPtr rows = fixes.Update();
  int left = kPoints / 100;  // a linear search: a hundredth of the points is plenty
  while (IRow* row = rows->Next()) {
    if (left-- == 0) break;
    const OGRPoint point(row->Point().x, row->Point().y);
    zones.SetSpatialFilterRect(point.getX(), point.getY(), point.getX(), point.getY());
    for (auto& zone : zones) {
      if (!zone->GetGeometryRef()->Intersects(&point)) continue;
      row->SetValue(field, Value(static_cast<std::int32_t>(zone->GetFieldAsInteger(0))));
      rows->UpdateRow(*row);
      break;
    }
  }
  rows->Flush();
  CommitAllEdits();
}

void Time(benchmark::State& state, const std::function<void(IFeatureClass&)>& way) {
  for (auto _ : state) {
    state.PauseTiming();
    const FeatureClassPtr fixes = Data().Copy("run");
    state.ResumeTiming();
    way(*fixes);
  }
}

/// Both modes and the plain way write the same numbers; so do the first points of the polygons.
void NeedAgreement() {
  static const bool agree = [] {
    InRaster(*Data().Copy("whole"), false);
    InRaster(*Data().Copy("low"), true);
    InRasterPlain(*Data().Copy("plain"));
    const auto plain = Column("plain", "dem");
    if (Column("whole", "dem") != plain || Column("low", "dem") != plain) return false;
    InPolygons(*Data().Copy("ours"));
    InPolygonsPlain(*Data().Copy("gdal"));
    auto ours = Column("ours", "CODE"), gdal = Column("gdal", "CODE");
    ours.resize(kPoints / 100), gdal.resize(kPoints / 100);
    return ours == gdal;
  }();
  Need(agree, "the ways do not agree");
}

void Floor_ReadPointsRewriteTable(benchmark::State& state) {
  NeedAgreement();
  Time(state, RewriteTable);
}
void Raster_WholeBand(benchmark::State& state) {
  NeedAgreement();
  Time(state, [](IFeatureClass& fixes) { InRaster(fixes, false); });
}
void Raster_LowMemory(benchmark::State& state) {
  NeedAgreement();
  Time(state, [](IFeatureClass& fixes) { InRaster(fixes, true); });
}
void Raster_Plain(benchmark::State& state) {
  NeedAgreement();
  Time(state, InRasterPlain);
}
void Polygons_Ours(benchmark::State& state) {
  NeedAgreement();
  Time(state, InPolygons);
}
void Polygons_GdalHundredthOfThePoints(benchmark::State& state) {
  NeedAgreement();
  Time(state, InPolygonsPlain);
}

BENCHMARK(Floor_ReadPointsRewriteTable)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(Raster_WholeBand)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(Raster_LowMemory)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(Raster_Plain)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(Polygons_Ours)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(Polygons_GdalHundredthOfThePoints)->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
