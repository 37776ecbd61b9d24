// A length field for a million lines: our tool's routine against GDAL's CreateField and SetFeature.
#include <benchmark/benchmark.h>
#include <cpl_conv.h>
#include <ogrsf_frmts.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "data/Workspace.h"
#include "tables/AddLength.h"

namespace orlinths {
namespace {

void Need(bool ok, const char* what) {
  if (ok) return;
  std::cerr << "GeometryAttributesBench: " << what << '\n';
  std::exit(1);
}

OGRLayer& OnlyLayer(const GDALDatasetUniquePtr& file) { return *file->GetLayer(0); }

GDALDatasetUniquePtr Open(const std::string& path, unsigned mode) {
  GDALDatasetUniquePtr file(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | mode));
  Need(file != nullptr, path.c_str());
  return file;
}

/// Stream reaches of 2 to 21 vertices with an id, a name and a number, as a hydrography layer has
/// them. Made once, copied for each run.
class Reaches {
 public:
  Reaches() : folder_(std::filesystem::temp_directory_path() / "orlinths_geometry_bench") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    GDALAllRegister();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("ESRI Shapefile");
    const GDALDatasetUniquePtr file(
        driver->Create(Path("reaches").c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    OGRLayer& layer = *file->CreateLayer("reaches", nullptr, wkbLineString);
    OGRFieldDefn id("REACHCODE", OFTString), name("NAME", OFTString), flow("FLOW", OFTReal);
    id.SetWidth(14), name.SetWidth(30), flow.SetWidth(12), flow.SetPrecision(3);
    for (OGRFieldDefn* field : {&id, &name, &flow}) layer.CreateField(field);
    for (int i = 0; i < kCount; ++i) {
      OGRFeature feature(layer.GetLayerDefn());
      feature.SetField(0, i);
      feature.SetField(1, "Unnamed tributary");
      feature.SetField(2, i * 0.25);
      OGRLineString line;
      for (int v = 0; v < 2 + i % 20; ++v)
        line.addPoint(500000 + i + 7.5 * v, 5700000 + 11.25 * v + (v % 3));
      feature.SetGeometry(&line);
      Need(layer.CreateFeature(&feature) == OGRERR_NONE, "CreateFeature");
    }
  }
  ~Reaches() { std::filesystem::remove_all(folder_); }

  std::string Path(const std::string& name) const { return folder_ / (name + ".shp"); }
  std::string Copy(const std::string& name) const {
    for (const char* part : {".shp", ".shx", ".dbf"})
      std::filesystem::copy_file(folder_ / (std::string("reaches") + part), folder_ / (name + part),
                                 std::filesystem::copy_options::overwrite_existing);
    return Path(name);
  }
  static constexpr int kCount = 1'000'000;

 private:
  std::filesystem::path folder_;
};

const Reaches& Data() {
  static const Reaches reaches;
  return reaches;
}

void AddLengthPlain(const std::string& path) {
  const auto file = Open(path, GDAL_OF_UPDATE);
  OGRLayer& layer = OnlyLayer(file);
  OGRFieldDefn length("Length", OFTReal);
  Need(layer.CreateField(&length) == OGRERR_NONE, "CreateField");
  const int at = layer.GetLayerDefn()->GetFieldIndex("Length");
  for (auto& feature : layer) {
    feature->SetField(at, feature->GetGeometryRef()->toLineString()->get_Length());
    Need(layer.SetFeature(feature.get()) == OGRERR_NONE, "SetFeature");
  }
}

void AddLengthOurs(const std::string& path) {
  const FeatureClassPtr lines = OpenFeatureClassByPath(path);
  Need(TableAddLength(*lines, false), "TableAddLength");
}

/// GDAL's column has 15 decimals, ours 17 digits.
void NeedAgreement(const std::string& ours, const std::string& plain) {
  const auto a = Open(ours, GDAL_OF_READONLY), b = Open(plain, GDAL_OF_READONLY);
  Need(OnlyLayer(a).GetFeatureCount() == Reaches::kCount, "rows");
  for (auto& mine : OnlyLayer(a)) {
    const OGRFeatureUniquePtr theirs(OnlyLayer(b).GetNextFeature());
    const double x = mine->GetFieldAsDouble("Length"), y = theirs->GetFieldAsDouble("Length");
    Need(std::abs(x - y) <= 1e-12 * y, "lengths differ");
    Need(mine->GetFieldAsDouble("FLOW") == theirs->GetFieldAsDouble("FLOW"),
         "other columns differ");
  }
}

void AddLength_Gdal(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    const std::string path = Data().Copy("plain");
    state.ResumeTiming();
    AddLengthPlain(path);
  }
}

void AddLength_Ours(benchmark::State& state) {
  AddLengthPlain(Data().Copy("plain"));
  AddLengthOurs(Data().Copy("ours"));
  NeedAgreement(Data().Path("ours"), Data().Path("plain"));
  for (auto _ : state) {
    state.PauseTiming();
    const std::string path = Data().Copy("ours");
    state.ResumeTiming();
    AddLengthOurs(path);
  }
}

/// The floor: every line read and measured, nothing written.
void AddLength_GdalReadingOnly(benchmark::State& state) {
  for (auto _ : state) {
    const auto file = Open(Data().Path("reaches"), GDAL_OF_READONLY);
    double sum = 0;
    for (auto& feature : OnlyLayer(file))
      sum += feature->GetGeometryRef()->toLineString()->get_Length();
    benchmark::DoNotOptimize(sum);
  }
}

BENCHMARK(AddLength_Gdal)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(AddLength_GdalReadingOnly)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(AddLength_Ours)->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
