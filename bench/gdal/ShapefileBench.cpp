// Adding a filled field to a million-point shapefile, and writing a million points: the store
// against OGR's own writer.
#include <benchmark/benchmark.h>
#include <ogrsf_frmts.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "gdal/ShapefileStore.h"

namespace orlinths {
namespace {

constexpr int kPoints = 1'000'000;

double X(int i) { return 500'000 + std::sin(i * 0.001) * 20'000 + i * 0.01; }
double Y(int i) { return 4'000'000 + std::cos(i * 0.0013) * 20'000; }
double Measure(int i) { return std::sqrt(static_cast<double>(i)) * 1.0625; }

class Folder {
 public:
  Folder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "orlinths-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

const Folder& TheFolder() {
  static const Folder folder;
  return folder;
}

Field MakeField(const char* name, FieldType type) {
  Field field;
  field.name = name;
  field.type = type;
  return field;
}

void Remove(const std::string& base) {
  for (const char* extension : {".shp", ".shx", ".dbf", ".cpg", ".prj"})
    std::filesystem::remove(base + extension);
}

void Copy(const std::string& from, const std::string& to) {
  for (const char* extension : {".shp", ".shx", ".dbf", ".cpg"})
    if (std::filesystem::exists(from + extension))
      std::filesystem::copy_file(from + extension, to + extension,
                                 std::filesystem::copy_options::overwrite_existing);
}

void WriteOurs(const std::string& base) {
  GeometryDef def;
  def.geometryType = GeometryType::kPoint;
  const auto store = ShapefileStore::CreateShapefile(
      base + ".shp", def,
      {MakeField("NUM", FieldType::kInteger), MakeField("VAL", FieldType::kDouble)});
  std::vector<Value> values(2);
  for (int i = 0; i < kPoints; ++i) {
    const Geometry shape = Point{X(i), Y(i)};
    values[0] = Value(i);
    values[1] = Value(Measure(i));
    store->Append(&shape, values);
  }
  store->Commit();
}

std::unique_ptr<GDALDataset> Open(const std::string& path, unsigned flags) {
  std::unique_ptr<GDALDataset> dataset(GDALDataset::Open(path.c_str(), flags | GDAL_OF_VECTOR));
  if (dataset == nullptr) std::abort();
  return dataset;
}

void WriteOgr(const std::string& base) {
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("ESRI Shapefile");
  const std::unique_ptr<GDALDataset> dataset(
      driver->Create((base + ".shp").c_str(), 0, 0, 0, GDT_Unknown, nullptr));
  OGRLayer* layer = dataset->CreateLayer("points", nullptr, wkbPoint, nullptr);
  OGRFieldDefn num("NUM", OFTInteger), val("VAL", OFTReal);
  num.SetWidth(11);
  val.SetWidth(24);
  val.SetPrecision(15);
  layer->CreateField(&num);
  layer->CreateField(&val);
  OGRFeature feature(layer->GetLayerDefn());
  OGRPoint point;
  for (int i = 0; i < kPoints; ++i) {
    feature.SetFID(OGRNullFID);
    feature.SetField(0, i);
    feature.SetField(1, Measure(i));
    point.setX(X(i));
    point.setY(Y(i));
    feature.SetGeometry(&point);
    if (layer->CreateFeature(&feature) != OGRERR_NONE) std::abort();
  }
}

void EditOurs(const std::string& base) {
  const auto store = ShapefileStore::At(base + ".shp");
  store->AddField(MakeField("NEW", FieldType::kDouble));
  const int field = store->Fields().FieldCount() - 1;
  for (int i = 0; i < kPoints; ++i) store->SetDouble(i, field, Measure(i) * 3);
  store->Commit();
}

void EditOgr(const std::string& base) {
  const auto dataset = Open(base + ".shp", GDAL_OF_UPDATE);
  OGRLayer* layer = dataset->GetLayer(0);
  OGRFieldDefn added("NEW", OFTReal);
  added.SetWidth(24);
  added.SetPrecision(15);
  layer->CreateField(&added);
  const int field = layer->GetLayerDefn()->GetFieldIndex("NEW");
  layer->ResetReading();
  while (const std::unique_ptr<OGRFeature> feature{layer->GetNextFeature()}) {
    feature->SetField(field, Measure(static_cast<int>(feature->GetFID())) * 3);
    if (layer->SetFeature(feature.get()) != OGRERR_NONE) std::abort();
  }
}

/// Both hold the same rows: points to the bit, numbers to what OGR's fixed decimals keep.
void CheckAgreement(const std::string& a, const std::string& b) {
  const auto first = Open(a + ".shp", GDAL_OF_READONLY),
             second = Open(b + ".shp", GDAL_OF_READONLY);
  OGRLayer *left = first->GetLayer(0), *right = second->GetLayer(0);
  std::int64_t rows = 0;
  for (;; ++rows) {
    const std::unique_ptr<OGRFeature> l(left->GetNextFeature()), r(right->GetNextFeature());
    if ((l == nullptr) != (r == nullptr)) std::abort();
    if (l == nullptr) break;
    bool same = l->GetGeometryRef()->Equals(r->GetGeometryRef()) &&
                l->GetFieldCount() == r->GetFieldCount();
    for (int i = 0; same && i < l->GetFieldCount(); ++i)
      same = std::abs(l->GetFieldAsDouble(i) - r->GetFieldAsDouble(i)) < 1e-9;
    if (!same) {
      std::fprintf(stderr, "%s and %s differ in row %lld.\n", a.c_str(), b.c_str(),
                   static_cast<long long>(rows));
      std::abort();
    }
  }
  if (rows != kPoints) std::abort();
}

void CheckOnce() {
  static const bool kChecked = [] {
    GDALAllRegister();
    const std::string ours = TheFolder() / "ours", ogr = TheFolder() / "ogr";
    WriteOurs(ours);
    WriteOgr(ogr);
    CheckAgreement(ours, ogr);
    Copy(ours, TheFolder() / "source");
    EditOurs(ours);
    EditOgr(ogr);
    CheckAgreement(ours, ogr);
    return true;
  }();
  benchmark::DoNotOptimize(kChecked);
}

void Write(benchmark::State& state, void (*write)(const std::string&)) {
  CheckOnce();
  const std::string base = TheFolder() / "written";
  for (auto _ : state) {
    state.PauseTiming();
    Remove(base);
    state.ResumeTiming();
    write(base);
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

void Edit(benchmark::State& state, void (*edit)(const std::string&)) {
  CheckOnce();
  const std::string base = TheFolder() / "edited";
  for (auto _ : state) {
    state.PauseTiming();
    Copy(TheFolder() / "source", base);
    state.ResumeTiming();
    edit(base);
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

constexpr const char* kEditOnly = "ORLINTHS_BENCH_EDIT_ONLY";

/// The only work of a process that the benchmark below starts.
[[maybe_unused]] const auto* const kEditOnce =
    std::getenv(kEditOnly) == nullptr
        ? nullptr
        : benchmark::RegisterBenchmark("OneEdit", [](benchmark::State& state) {
            for (auto _ : state) EditOurs(std::getenv(kEditOnly));
          }) -> Iterations(1);

/// The greatest resident size of a fresh process that edits the million points, in megabytes.
void PeakMemoryOfEdit(benchmark::State& state) {
  CheckOnce();
  const std::string base = TheFolder() / "edited";
  for (auto _ : state) {
    Copy(TheFolder() / "source", base);
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    const pid_t child = ::fork();
    if (child == 0) {
      ::setenv(kEditOnly, base.c_str(), 1);
      ::execl(self.c_str(), self.c_str(), "--benchmark_filter=OneEdit", nullptr);
      ::_exit(127);
    }
    int status = 0;
    rusage usage{};
    ::wait4(child, &status, 0, &usage);
    if (status != 0) std::abort();
    state.counters["peak_MB"] = static_cast<double>(usage.ru_maxrss) / 1024;
  }
}

BENCHMARK_CAPTURE(Edit, ours, EditOurs)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Edit, ogr, EditOgr)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Write, ours, WriteOurs)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Write, ogr, WriteOgr)->Unit(benchmark::kMillisecond);
BENCHMARK(PeakMemoryOfEdit)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
