// A million points (shape and two attributes) and 200,000 polygons with names, read through a
// cursor against the same by OGR alone; the table of the points, with its shapes beside it and
// alone; and a column of a million rows filled through an update cursor.
#include <benchmark/benchmark.h>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <numbers>
#include <string>
#include <string_view>

#include "data/Workspace.h"
#include "runtime/Files.h"

namespace {

using namespace orlinths;

constexpr int kRows = 1'000'000;
constexpr int kPolygons = 200'000, kVertices = 24;

/// The input, made once a process and removed at its end.
class Input {
 public:
  Input() {
    GDALAllRegister();  // OGR alone reads before anything of ours does
    std::string pattern =
        (std::filesystem::temp_directory_path() / "orlinths-bench-XXXXXX").string();
    folder = ::mkdtemp(pattern.data());
    const FeatureClassPtr points = [&] {
      GeometryDef def;
      def.geometryType = GeometryType::kPoint;
      Fields all = {{.name = "OID", .type = FieldType::kOid},
                    {.name = "Shape", .type = FieldType::kGeometry, .geometry = def},
                    {.name = "A", .type = FieldType::kInteger},
                    {.name = "B", .type = FieldType::kDouble}};
      return CreateFeatureClass(folder, "points", all);
    }();
    const CursorPtr rows = points->Insert();
    const auto row = points->CreateFeatureBuffer();
    for (int i = 0; i < kRows; ++i) {
      row->SetShape(Point{500000 + i * 0.25, 5500000 - i * 0.5});
      row->SetValue(2, Value(static_cast<std::int32_t>(i)));
      row->SetValue(3, Value(i * 0.1));
      rows->InsertRow(*row);
    }
    rows->Flush();
    MakePolygons();
  }
  ~Input() { std::filesystem::remove_all(folder); }
  std::string Path() const { return folder + "/points.shp"; }
  std::string Polygons() const { return folder + "/polygons.shp"; }
  std::string folder;

 private:
  /// Rings of so many vertices side by side, each with a name.
  void MakePolygons() const {
    GeometryDef def;
    def.geometryType = GeometryType::kPolygon;
    Fields all = {{.name = "OID", .type = FieldType::kOid},
                  {.name = "Shape", .type = FieldType::kGeometry, .geometry = def},
                  {.name = "NAME", .type = FieldType::kText, .length = 20}};
    const FeatureClassPtr polygons = CreateFeatureClass(folder, "polygons", all);
    const CursorPtr rows = polygons->Insert();
    const auto row = polygons->CreateFeatureBuffer();
    for (int i = 0; i < kPolygons; ++i) {
      Polygon ring;
      for (int k = 0; k <= kVertices; ++k) {
        const double angle = -2 * std::numbers::pi * (k % kVertices) / kVertices;
        ring.AddPoint(10.0 * (i % 500) + 4 * std::cos(angle),
                      10.0 * (i / 500) + 4 * std::sin(angle));
      }
      row->SetShape(std::move(ring));
      row->SetValue(2, Value("stand " + std::to_string(i)));
      rows->InsertRow(*row);
    }
    rows->Flush();
  }
};

const Input& TheInput() {
  static const Input input;
  return input;
}

double SumByOgr() {
  const GDALDatasetUniquePtr dataset(GDALDataset::Open(TheInput().Path().c_str(), GDAL_OF_VECTOR));
  OGRLayer& layer = *dataset->GetLayer(0);
  double sum = 0;
  while (const OGRFeatureUniquePtr feature{layer.GetNextFeature()}) {
    const OGRPoint& point = *feature->GetGeometryRef()->toPoint();
    sum +=
        point.getX() + point.getY() + feature->GetFieldAsDouble(0) + feature->GetFieldAsDouble(1);
  }
  return sum;
}

double SumByCursor() {
  const FeatureClassPtr points = OpenFeatureClassByPath(TheInput().Path());
  double sum = 0;
  const CursorPtr rows = points->Search();
  while (const IRow* row = rows->Next()) {
    const Point& point = row->Point();
    sum += point.x + point.y + row->GetDouble(2) + row->GetDouble(3);
  }
  return sum;
}

/// Of the vertices and the lengths of the names.
double PolygonSumByOgr() {
  const GDALDatasetUniquePtr dataset(
      GDALDataset::Open(TheInput().Polygons().c_str(), GDAL_OF_VECTOR));
  OGRLayer& layer = *dataset->GetLayer(0);
  double sum = 0;
  while (const OGRFeatureUniquePtr feature{layer.GetNextFeature()}) {
    for (const OGRPoint& point : *feature->GetGeometryRef()->toPolygon()->getExteriorRing())
      sum += point.getX() + point.getY();
    sum += static_cast<double>(std::string_view(feature->GetFieldAsString(0)).size());
  }
  return sum;
}

double PolygonSumByCursor() {
  const FeatureClassPtr polygons = OpenFeatureClassByPath(TheInput().Polygons());
  double sum = 0;
  std::string name;
  const CursorPtr rows = polygons->Search();
  while (const IRow* row = rows->Next()) {
    for (const Coord& at : row->Polygon().Coords()) sum += at.x + at.y;
    row->GetText(2, name);
    sum += static_cast<double>(name.size());
  }
  return sum;
}

void RequireAgreement() {
  static const bool agree =
      SumByOgr() == SumByCursor() && PolygonSumByOgr() == PolygonSumByCursor();
  if (agree) return;
  std::cerr << "The cursor and OGR do not read the same.\n";
  std::exit(1);
}

void ReadMillionPointsByOgr(benchmark::State& state) {
  RequireAgreement();
  for (auto _ : state) benchmark::DoNotOptimize(SumByOgr());
}
BENCHMARK(ReadMillionPointsByOgr)->Unit(benchmark::kMillisecond);

void ReadMillionPointsByCursor(benchmark::State& state) {
  RequireAgreement();
  for (auto _ : state) benchmark::DoNotOptimize(SumByCursor());
}
BENCHMARK(ReadMillionPointsByCursor)->Unit(benchmark::kMillisecond);

void ReadPolygonsByOgr(benchmark::State& state) {
  RequireAgreement();
  for (auto _ : state) benchmark::DoNotOptimize(PolygonSumByOgr());
}
BENCHMARK(ReadPolygonsByOgr)->Unit(benchmark::kMillisecond);

void ReadPolygonsByCursor(benchmark::State& state) {
  RequireAgreement();
  for (auto _ : state) benchmark::DoNotOptimize(PolygonSumByCursor());
}
BENCHMARK(ReadPolygonsByCursor)->Unit(benchmark::kMillisecond);

/// Of the two columns of the points' table.
double TableSum(const std::string& path) {
  const TablePtr table = OpenTableByPath(path);
  double sum = 0;
  const CursorPtr rows = table->Search();
  while (const IRow* row = rows->Next()) sum += row->GetDouble(1) + row->GetDouble(2);
  return sum;
}

/// The same table without shapes beside it.
std::string TableAlone() {
  const std::string path = TheInput().folder + "/alone.dbf";
  static const bool made = std::filesystem::copy_file(TheInput().folder + "/points.dbf", path) &&
                           TableSum(path) == TableSum(TheInput().folder + "/points.dbf");
  if (made) return path;
  std::cerr << "A table alone and that of the shapefile do not read the same.\n";
  std::exit(1);
}

void ReadTableAlone(benchmark::State& state) {
  const std::string path = TableAlone();
  for (auto _ : state) benchmark::DoNotOptimize(TableSum(path));
}
BENCHMARK(ReadTableAlone)->Unit(benchmark::kMillisecond);

void ReadTableOfShapefile(benchmark::State& state) {
  TableAlone();
  for (auto _ : state) benchmark::DoNotOptimize(TableSum(TheInput().folder + "/points.dbf"));
}
BENCHMARK(ReadTableOfShapefile)->Unit(benchmark::kMillisecond);

void FillColumnOfMillionRows(benchmark::State& state) {
  const FeatureClassPtr points = OpenFeatureClassByPath(TheInput().Path());
  for (auto _ : state) {
    QueryFilter nothing;
    nothing.onlyFields.emplace();
    const CursorPtr rows = points->Update(nothing);
    while (IRow* row = rows->Next()) {
      row->SetDouble(3, row->Point().x);
      rows->UpdateRow(*row);
    }
    rows->Flush();
  }
}
BENCHMARK(FillColumnOfMillionRows)->Unit(benchmark::kMillisecond);

void FillColumnOfMillionRowsByOgr(benchmark::State& state) {
  for (auto _ : state) {
    const GDALDatasetUniquePtr dataset(
        GDALDataset::Open(TheInput().Path().c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE));
    OGRLayer& layer = *dataset->GetLayer(0);
    while (const OGRFeatureUniquePtr feature{layer.GetNextFeature()}) {
      feature->SetField(1, feature->GetGeometryRef()->toPoint()->getX());
      if (layer.SetFeature(feature.get()) != OGRERR_NONE) state.SkipWithError("OGR cannot write.");
    }
  }
}
BENCHMARK(FillColumnOfMillionRowsByOgr)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
