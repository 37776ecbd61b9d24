// Two columns of a GeoPackage of points filled through an update cursor, against OGR row by row
// (SetFeature writes a row whole), and against the floor: one UPDATE by the database itself.
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

constexpr int kRows = 200'000;

void Need(bool ok, const char* what) {
  if (ok) return;
  std::cerr << "GeoPackageBench: " << what << '\n';
  std::exit(1);
}

GDALDatasetUniquePtr Open(const std::string& path) {
  GDALDatasetUniquePtr dataset(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE));
  Need(dataset != nullptr, path.c_str());
  return dataset;
}

/// Fixes with an animal, a name and a temperature. Made once, copied for each run.
class Input {
 public:
  Input() : folder_(std::filesystem::temp_directory_path() / "orlinths_geopackage_bench") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    GDALAllRegister();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GPKG");
    const GDALDatasetUniquePtr file(
        driver->Create(Path("fixes").c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    OGRLayer& layer = *file->CreateLayer("fixes", nullptr, wkbPoint);
    OGRFieldDefn animal("ANIMAL", OFTInteger), name("NAME", OFTString), heat("HEAT", OFTReal);
    for (OGRFieldDefn* field : {&animal, &name, &heat}) layer.CreateField(field);
    file->StartTransaction();
    for (int i = 0; i < kRows; ++i) {
      OGRFeature feature(layer.GetLayerDefn());
      feature.SetField(0, i / 1000);
      feature.SetField(1, ("fix " + std::to_string(i)).c_str());
      feature.SetField(2, i * 0.1);
      OGRPoint place(500000 + i * 7919 % 100000, 4000000 + i * 1.5);
      feature.SetGeometry(&place);
      Need(layer.CreateFeature(&feature) == OGRERR_NONE, "CreateFeature");
    }
    file->CommitTransaction();
  }
  ~Input() { std::filesystem::remove_all(folder_); }
  std::string Path(const std::string& name) const { return folder_ / (name + ".gpkg"); }
  std::string Copy(const std::string& name) const {
    std::filesystem::copy_file(Path("fixes"), Path(name),
                               std::filesystem::copy_options::overwrite_existing);
    return Path(name);
  }

 private:
  std::filesystem::path folder_;
};

const Input& Data() {
  static const Input input;
  return input;
}

void FillOurs(const std::string& path) {
  const FeatureClassPtr fixes = OpenFeatureClassByPath(path);
  for (const char* name : {"X", "Y"}) fixes->AddField({.name = name, .type = FieldType::kDouble});
  const int x = fixes->FindField("X"), y = fixes->FindField("Y");
  const CursorPtr rows = fixes->Update(ShapesOnly());
  while (IRow* row = rows->Next()) {
    row->SetDouble(x, row->Point().x);
    row->SetDouble(y, row->Point().y);
    rows->UpdateRow(*row);
  }
  CommitAllEdits();
}

void FillOgr(const std::string& path) {
  const auto dataset = Open(path);
  OGRLayer& layer = *dataset->GetLayer(0);
  dataset->StartTransaction();
  for (const char* name : {"X", "Y"}) {
    OGRFieldDefn field(name, OFTReal);
    Need(layer.CreateField(&field) == OGRERR_NONE, "CreateField");
  }
  for (auto& feature : layer) {
    const OGRPoint& place = *feature->GetGeometryRef()->toPoint();
    feature->SetField("X", place.getX());
    feature->SetField("Y", place.getY());
    Need(layer.SetFeature(feature.get()) == OGRERR_NONE, "SetFeature");
  }
  Need(dataset->CommitTransaction() == OGRERR_NONE, "CommitTransaction");
}

void FillSql(const std::string& path) {
  const auto dataset = Open(path);
  dataset->StartTransaction();
  for (const char* statement :
       {"ALTER TABLE fixes ADD COLUMN X DOUBLE", "ALTER TABLE fixes ADD COLUMN Y DOUBLE",
        "UPDATE fixes SET X = ST_MinX(geom), Y = ST_MinY(geom)"})
    dataset->ExecuteSQL(statement, nullptr, nullptr);
  Need(dataset->CommitTransaction() == OGRERR_NONE, "CommitTransaction");
}

void NeedSameTable(const std::string& a, const std::string& b) {
  const auto fileA = Open(a), fileB = Open(b);
  Need(fileA->GetLayer(0)->GetFeatureCount() == kRows, "rows");
  for (auto& feature : *fileA->GetLayer(0)) {
    const OGRFeatureUniquePtr other(fileB->GetLayer(0)->GetNextFeature());
    Need(other && feature->GetGeometryRef()->Equals(other->GetGeometryRef()), "the shapes differ");
    for (int i = 0; i < feature->GetFieldCount(); ++i)
      Need(feature->GetFieldAsDouble(i) == other->GetFieldAsDouble(i) &&
               std::string(feature->GetFieldAsString(i)) == other->GetFieldAsString(i),
           "the values differ");
  }
}

void Time(benchmark::State& state, void (*fill)(const std::string&)) {
  static const bool agree = [] {
    FillOurs(Data().Copy("ours"));
    FillOgr(Data().Copy("ogr"));
    FillSql(Data().Copy("sql"));
    NeedSameTable(Data().Path("ours"), Data().Path("ogr"));
    NeedSameTable(Data().Path("ours"), Data().Path("sql"));
    return true;
  }();
  Need(agree, "the tables differ");
  for (auto _ : state) {
    state.PauseTiming();
    const std::string path = Data().Copy("run");
    state.ResumeTiming();
    fill(path);
  }
  state.SetItemsProcessed(state.iterations() * kRows);
}

void TwoColumns_Ours(benchmark::State& state) { Time(state, FillOurs); }
void TwoColumns_OgrSetFeature(benchmark::State& state) { Time(state, FillOgr); }
void TwoColumns_OneUpdateBySqlite(benchmark::State& state) { Time(state, FillSql); }

BENCHMARK(TwoColumns_Ours)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(TwoColumns_OgrSetFeature)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(TwoColumns_OneUpdateBySqlite)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
