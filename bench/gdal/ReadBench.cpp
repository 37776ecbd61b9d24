// A million points read through a cursor (shape and two attributes) against the same by OGR alone,
// and a column of a million rows filled through an update cursor.
#include <benchmark/benchmark.h>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "data/Workspace.h"
#include "runtime/Files.h"

namespace {

using namespace orlinths;

constexpr int kRows = 1'000'000;

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
  }
  ~Input() { std::filesystem::remove_all(folder); }
  std::string Path() const { return folder + "/points.shp"; }
  std::string folder;
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

void RequireAgreement() {
  static const bool agree = SumByOgr() == SumByCursor();
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
