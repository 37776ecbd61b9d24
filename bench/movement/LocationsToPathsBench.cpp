// A million fixes turned into lines, as they stand and sorted, against the plain ways: GDAL reading
// and writing by itself, and a search for each path.
#include <benchmark/benchmark.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "movement/LocationsToPaths.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

void Need(bool ok, const std::string& what) {
  if (ok) return;
  std::cerr << "LocationsToPathsBench: " << what << '\n';
  std::exit(1);
}

constexpr int kAnimals = 200;

/// Fixes of 200 animals, one animal after the other (`fixes`), and the same as they came in, turn
/// by turn (`mixed`).
class Input {
 public:
  Input() : folder_(std::filesystem::temp_directory_path() / "orlinths_paths_bench") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    GDALAllRegister();
  }
  ~Input() { std::filesystem::remove_all(folder_); }
  std::string Folder() const { return folder_; }
  std::string Path(const std::string& name) const { return folder_ / (name + ".shp"); }

  /// Made when it is first asked for.
  FeatureClassPtr Fixes(std::int64_t count, bool mixed) const {
    const std::string name = (mixed ? "mixed" : "fixes") + ToText(count);
    if (!std::filesystem::exists(Path(name))) Make(name, static_cast<int>(count), mixed);
    return OpenFeatureClassByPath(Path(name));
  }
  FeatureClassPtr Lines(const std::string& name, const Field& field) const {
    SpatialReferencePtr reference;
    const FeatureClassPtr lines =
        CreateShapefile(folder_, name, GeometryType::kPolyline, false, false, reference, true);
    lines->AddField(field);
    return lines;
  }

 private:
  void Make(const std::string& name, int count, bool mixed) const {
    SpatialReferencePtr reference;
    const FeatureClassPtr fixes =
        CreateShapefile(folder_, name, GeometryType::kPoint, false, false, reference, false);
    fixes->AddField(MakeField("ANIMAL", FieldType::kText, 12, false, true));
    fixes->AddField(MakeField("FIX", FieldType::kInteger, 0, false, true));
    const CursorPtr rows = fixes->Insert();
    const auto row = fixes->CreateFeatureBuffer();
    const int field = fixes->FindField("ANIMAL");
    const int each = count / kAnimals;
    for (int i = 0; i < count; ++i) {
      const int animal = mixed ? i % kAnimals : i / each, turn = mixed ? i / kAnimals : i % each;
      row->SetShape(Point{500000 + turn * 3.0 + animal, 4000000 + turn % 997 * 1.0});
      row->SetValue(field, Value("animal" + ToText(1000 + animal)));
      row->SetValue(field + 1, Value(std::int32_t{animal * each + turn}));
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

void Ours(const IFeatureClass& fixes, const PathOptions& options, const std::string& name) {
  const FeatureClassPtr lines =
      Data().Lines(name, MakeField("ANIMAL", FieldType::kText, 12, false, true));
  WritePaths(fixes, options, *lines, options.pathField ? lines->FindField("ANIMAL") : -1,
             [](std::int64_t) {});
}

GDALDatasetUniquePtr NewLines(const std::string& path) {
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("ESRI Shapefile");
  GDALDatasetUniquePtr file(driver->Create(path.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
  OGRLayer* layer = file->CreateLayer("gdal", nullptr, wkbLineString);
  OGRFieldDefn animal("ANIMAL", OFTString);
  animal.SetWidth(12);
  Need(layer->CreateField(&animal) == OGRERR_NONE, "CreateField");
  return file;
}

void Store(OGRLayer& layer, const OGRLineString& line, const std::string& animal) {
  if (line.getNumPoints() < 2) return;
  OGRFeature feature(layer.GetLayerDefn());
  feature.SetField(0, animal.c_str());
  feature.SetGeometry(&line);
  Need(layer.CreateFeature(&feature) == OGRERR_NONE, "CreateFeature");
}

/// One pass of GDAL's own, which counts on the animals' standing together.
void GdalLineAPath(const std::string& path) {
  const GDALDatasetUniquePtr from(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR));
  const GDALDatasetUniquePtr to = NewLines(Data().Path("gdal"));
  OGRLineString line;
  std::string current;
  for (auto& feature : *from->GetLayer(0)) {
    const std::string animal = feature->GetFieldAsString("ANIMAL");
    if (animal != current) {
      Store(*to->GetLayer(0), line, current);
      line.empty();
      current = animal;
    }
    line.addPoint(feature->GetGeometryRef()->toPoint());
  }
  Store(*to->GetLayer(0), line, current);
}

void GdalLineAStep(const std::string& path) {
  const GDALDatasetUniquePtr from(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR));
  const GDALDatasetUniquePtr to = NewLines(Data().Path("gdal"));
  std::string current;
  OGRPoint before;
  for (auto& feature : *from->GetLayer(0)) {
    const std::string animal = feature->GetFieldAsString("ANIMAL");
    const OGRPoint here = *feature->GetGeometryRef()->toPoint();
    if (animal == current) {
      OGRLineString step;
      step.addPoint(&before);
      step.addPoint(&here);
      Store(*to->GetLayer(0), step, animal);
    }
    current = animal;
    before = here;
  }
}

/// A search of the whole layer for each animal, its fixes sorted.
void GdalSearchAPath(const std::string& path, int animals) {
  const GDALDatasetUniquePtr from(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR));
  const GDALDatasetUniquePtr to = NewLines(Data().Path("gdal"));
  OGRLayer& fixes = *from->GetLayer(0);
  for (int i = 0; i < animals; ++i) {
    const std::string animal = "animal" + ToText(1000 + i);
    Need(fixes.SetAttributeFilter(("ANIMAL = '" + animal + "'").c_str()) == OGRERR_NONE, "filter");
    std::vector<std::pair<int, OGRPoint>> found;
    for (auto& feature : fixes)
      found.emplace_back(feature->GetFieldAsInteger("FIX"), *feature->GetGeometryRef()->toPoint());
    std::ranges::sort(found, {}, [](const auto& fix) { return fix.first; });
    OGRLineString line;
    for (const auto& [fix, point] : found) line.addPoint(&point);
    Store(*to->GetLayer(0), line, animal);
  }
}

/// The first `most` lines are the same, with the same animals.
void NeedSameLines(const std::string& name, std::int64_t most) {
  const GDALDatasetUniquePtr a(GDALDataset::Open(Data().Path(name).c_str(), GDAL_OF_VECTOR));
  const GDALDatasetUniquePtr b(GDALDataset::Open(Data().Path("gdal").c_str(), GDAL_OF_VECTOR));
  OGRLayer &ours = *a->GetLayer(0), &gdal = *b->GetLayer(0);
  Need(ours.GetFeatureCount() == gdal.GetFeatureCount() || most < ours.GetFeatureCount(), "lines");
  while (most-- > 0) {
    const OGRFeatureUniquePtr mine(ours.GetNextFeature()), other(gdal.GetNextFeature());
    if (!mine && !other) return;
    Need(mine && other && mine->GetGeometryRef()->Equals(other->GetGeometryRef()), "shapes");
    Need(std::string(mine->GetFieldAsString("ANIMAL")) == other->GetFieldAsString("ANIMAL"),
         "animals");
  }
}

const PathOptions kPath{.pathField = "ANIMAL"};
const PathOptions kStep{.pathField = "ANIMAL", .lineAStep = true};
const PathOptions kSorted{.pathField = "ANIMAL", .sortField = "FIX"};

void LineAPath_Ours(benchmark::State& state) {
  const FeatureClassPtr fixes = Data().Fixes(state.range(0), false);
  Ours(*fixes, kPath, "ours");
  GdalLineAPath(fixes->Path());
  NeedSameLines("ours", state.range(0));
  for (auto _ : state) Ours(*fixes, kPath, "run");
}
void LineAPath_Gdal(benchmark::State& state) {
  const FeatureClassPtr fixes = Data().Fixes(state.range(0), false);
  for (auto _ : state) GdalLineAPath(fixes->Path());
}
void LineAStep_Ours(benchmark::State& state) {
  const FeatureClassPtr fixes = Data().Fixes(state.range(0), false);
  Ours(*fixes, kStep, "ours");
  GdalLineAStep(fixes->Path());
  NeedSameLines("ours", state.range(0));
  for (auto _ : state) Ours(*fixes, kStep, "run");
}
void LineAStep_Gdal(benchmark::State& state) {
  const FeatureClassPtr fixes = Data().Fixes(state.range(0), false);
  for (auto _ : state) GdalLineAStep(fixes->Path());
}
void Sorted_Ours(benchmark::State& state) {
  const FeatureClassPtr fixes = Data().Fixes(state.range(0), true);
  Ours(*fixes, kSorted, "ours");
  GdalSearchAPath(fixes->Path(), 2);
  NeedSameLines("ours", 2);
  for (auto _ : state) Ours(*fixes, kSorted, "run");
}
/// Two of the two hundred animals.
void Sorted_GdalSearchesForAHundredthOfThePaths(benchmark::State& state) {
  const FeatureClassPtr fixes = Data().Fixes(state.range(0), true);
  for (auto _ : state) GdalSearchAPath(fixes->Path(), kAnimals / 100);
}
/// The floor: every fix read with its animal.
void ReadingOnly(benchmark::State& state) {
  const FeatureClassPtr fixes = Data().Fixes(state.range(0), false);
  QueryFilter what;
  what.onlyFields = {"ANIMAL"};
  for (auto _ : state) {
    double sum = 0;
    const CursorPtr rows = fixes->Search(what);
    while (const IRow* row = rows->Next()) sum += row->Point().x;
    benchmark::DoNotOptimize(sum);
  }
}

BENCHMARK(ReadingOnly)->Unit(benchmark::kMillisecond)->Iterations(2)->Arg(1'000'000);
BENCHMARK(LineAPath_Ours)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->Arg(250'000)
    ->Arg(1'000'000);
BENCHMARK(LineAPath_Gdal)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->Arg(250'000)
    ->Arg(1'000'000);
BENCHMARK(LineAStep_Ours)->Unit(benchmark::kMillisecond)->Iterations(2)->Arg(1'000'000);
BENCHMARK(LineAStep_Gdal)->Unit(benchmark::kMillisecond)->Iterations(2)->Arg(1'000'000);
BENCHMARK(Sorted_Ours)->Unit(benchmark::kMillisecond)->Iterations(2)->Arg(250'000)->Arg(1'000'000);
BENCHMARK(Sorted_GdalSearchesForAHundredthOfThePaths)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2)
    ->Arg(1'000'000);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
