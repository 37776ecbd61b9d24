// The five movement parameters of a million fixes, against the least that a table of five new
// columns costs (five constants), one rewrite a field, and GDAL's CreateField and SetFeature.
#include <benchmark/benchmark.h>
#include <ogrsf_frmts.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "movement/MovementParameters.h"
#include "numerics/Bearings.h"
#include "numerics/Constants.h"
#include "numerics/PathGeometry.h"

namespace orlinths {
namespace {

constexpr int kAnimals = 500, kFixesEach = 2000;
constexpr const char* kNames[] = {"STEPLENGTH", "TURNANGLE", "BEARING", "BRGPREV", "NETDISP"};

void Need(bool ok, const char* what) {
  if (ok) return;
  std::cerr << "MovementParametersBench: " << what << '\n';
  std::exit(1);
}

/// Tracks of collared animals, sorted, with an identifier and a time. Made once, copied for each
/// run.
class Tracks {
 public:
  Tracks() : folder_(std::filesystem::temp_directory_path() / "orlinths_movement_bench") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    SpatialReferencePtr reference;
    const FeatureClassPtr fixes =
        CreateShapefile(folder_, "tracks", GeometryType::kPoint, false, false, reference, false);
    AddNewField("ANIMAL", *fixes, FieldType::kInteger);
    AddNewField("SEEN", *fixes, FieldType::kText, 19);
    const auto rows = fixes->Insert();
    const auto row = fixes->CreateFeatureBuffer();
    row->SetValue(fixes->FindField("SEEN"), Value("2026-03-01T12:00:00"));
    std::uint32_t state = 1;
    const auto draw = [&] {
      return static_cast<double>(state = state * 1664525U + 1013904223U) / 0x1p32;
    };
    for (int animal = 0; animal < kAnimals; ++animal) {
      row->SetValue(fixes->FindField("ANIMAL"), Value(std::int32_t{animal}));
      Coord at{4e5 + 1e5 * draw(), 4e6 + 1e5 * draw()};
      for (int i = 0; i < kFixesEach; ++i) {
        row->SetShape(Point{.x = at.x, .y = at.y});
        rows->InsertRow(*row);
        at.x += 400 * draw() - 200;
        at.y += 400 * draw() - 200;
      }
    }
    rows->Flush();
  }
  ~Tracks() { std::filesystem::remove_all(folder_); }

  std::string Path(const std::string& name) const { return folder_ / (name + ".shp"); }
  std::string Copy(const std::string& name) const {
    for (const char* part : {".shp", ".shx", ".dbf"})
      std::filesystem::copy_file(folder_ / (std::string("tracks") + part), folder_ / (name + part),
                                 std::filesystem::copy_options::overwrite_existing);
    return Path(name);
  }

 private:
  std::filesystem::path folder_;
};

const Tracks& Data() {
  static const Tracks tracks;
  return tracks;
}

void AddFields(IFeatureClass& fixes) {
  for (const char* name : kNames) AddNewField(name, fixes, FieldType::kDouble, 16, 0);
}

void Ours(const std::string& path) {
  const FeatureClassPtr fixes = OpenFeatureClassByPath(path);
  AddFields(*fixes);
  const int first = fixes->FindField(kNames[0]);
  Need(TableAddSLTABRGNSD(*fixes, fixes->FindField("ANIMAL"),
                          {first, first + 1, first + 2, first + 3, first + 4}),
       "TableAddSLTABRGNSD");
}

void FiveConstants(const std::string& path) {
  const FeatureClassPtr fixes = OpenFeatureClassByPath(path);
  AddFields(*fixes);
  const int first = fixes->FindField(kNames[0]);
  QueryFilter nothing = ShapesOnly();
  nothing.withShape = false;
  const auto rows = fixes->Update(nothing);
  while (IFeature* row = rows->Next()) {
    for (int i = 0; i < 5; ++i) row->SetDouble(first + i, 1.25);
    rows->UpdateRow(*row);
  }
  rows->Flush();
}

// ---- The plain way: everything is read as it comes, and each field is a walk of its own.

struct Plain {
  std::vector<Point> at;
  std::vector<std::int32_t> animal;
  std::vector<std::size_t> start;

  bool Same(std::size_t i, std::size_t j) const { return animal[i] == animal[j]; }
  bool IsFirst(std::size_t i) const { return i == 0 || !Same(i, i - 1); }
  bool IsLast(std::size_t i) const { return i + 1 == at.size() || !Same(i, i + 1); }
  double Value(int field, std::size_t i) const {
    switch (field) {
      case 0:
        return IsLast(i) ? kMissing : DistPoints(at[i], at[i + 1]);
      case 1:
        return IsFirst(i) || IsLast(i) ? kMissing : GetRLTurnAngle(at[i - 1], at[i], at[i + 1]);
      case 2:
        return IsLast(i) ? kMissing : BearingFromPoints(at[i], at[i + 1]);
      case 3:
        if (i + 1 == at.size()) return 0;
        return IsFirst(i) ? kMissing : BearingFromPoints(at[i - 1], at[i]);
      default:
        return DistPoints(at[i], at[start[i]]);
    }
  }
};

Plain ReadPlain(const IFeatureClass& fixes) {
  Plain plain;
  const int animal = fixes.FindField("ANIMAL");
  const auto rows = fixes.Search();
  while (const IFeature* row = rows->Next()) {
    plain.at.push_back(row->Point());
    plain.animal.push_back(ToLong(row->GetValue(animal)));
    const std::size_t i = plain.at.size() - 1;
    plain.start.push_back(plain.IsFirst(i) ? i : plain.start.back());
  }
  return plain;
}

void FieldByField(const std::string& path) {
  const FeatureClassPtr fixes = OpenFeatureClassByPath(path);
  for (int field = 0; field < 5; ++field) {
    const int at = AddNewField(kNames[field], *fixes, FieldType::kDouble, 16, 0);
    const Plain plain = ReadPlain(*fixes);
    const auto rows = fixes->Update();
    for (std::size_t i = 0; IFeature* row = rows->Next(); ++i) {
      row->SetValue(at, Value(plain.Value(field, i)));
      rows->UpdateRow(*row);
    }
    rows->Flush();
  }
}

void Gdal(const std::string& path) {
  const Plain plain = ReadPlain(*OpenFeatureClassByPath(path));
  const GDALDatasetUniquePtr file(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE));
  Need(file != nullptr, "open");
  OGRLayer& layer = *file->GetLayer(0);
  for (const char* name : kNames) {
    OGRFieldDefn field(name, OFTReal);
    Need(layer.CreateField(&field) == OGRERR_NONE, "CreateField");
  }
  const int first = layer.GetLayerDefn()->GetFieldIndex(kNames[0]);
  std::size_t i = 0;
  for (auto& feature : layer) {
    for (int field = 0; field < 5; ++field) feature->SetField(first + field, plain.Value(field, i));
    Need(layer.SetFeature(feature.get()) == OGRERR_NONE, "SetFeature");
    ++i;
  }
}

/// Bit for bit.
void NeedAgreement(const std::string& a, const std::string& b) {
  const FeatureClassPtr mine = OpenFeatureClassByPath(a), theirs = OpenFeatureClassByPath(b);
  const auto left = mine->Search(), right = theirs->Search();
  while (const IFeature* row = left->Next()) {
    const IFeature* other = right->Next();
    for (const char* name : kNames)
      Need(row->GetDouble(mine->FindField(name)) == other->GetDouble(theirs->FindField(name)),
           name);
  }
}

void Time(benchmark::State& state, void (*run)(const std::string&), const std::string& name) {
  for (auto _ : state) {
    state.PauseTiming();
    const std::string path = Data().Copy(name);
    state.ResumeTiming();
    run(path);
  }
}

void Parameters_FieldByField(benchmark::State& state) { Time(state, FieldByField, "plain"); }
void Parameters_Gdal(benchmark::State& state) { Time(state, Gdal, "gdal"); }
void Parameters_FiveConstants(benchmark::State& state) { Time(state, FiveConstants, "constants"); }
void Parameters_Ours(benchmark::State& state) {
  Time(state, Ours, "ours");
  NeedAgreement(Data().Path("ours"), Data().Path("plain"));
}

BENCHMARK(Parameters_FieldByField)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(Parameters_Gdal)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(Parameters_FiveConstants)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Parameters_Ours)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
