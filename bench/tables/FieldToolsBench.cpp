// Tables of a million rows: ten of twenty fields deleted, the different values of a field listed, a
// field summed, each against the plain way.
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
#include "runtime/Value.h"
#include "tables/SumValues.h"
#include "tables/UniqueValues.h"

namespace orlinths {
namespace {

constexpr int kRows = 1'000'000;
constexpr int kColumns = 20;

void Need(bool ok, const std::string& what) {
  if (ok) return;
  std::cerr << "FieldToolsBench: " << what << '\n';
  std::exit(1);
}

std::string ColumnName(int i) { return "C" + ToText(i); }

/// Plots with codes, counts and measures, made once, copied for each run.
class Input {
 public:
  Input() : folder_(std::filesystem::temp_directory_path() / "orlinths_fields_bench") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    GDALAllRegister();
    SpatialReferencePtr reference;
    const FeatureClassPtr plots =
        CreateShapefile(folder_, "plots", GeometryType::kPoint, false, false, reference, false);
    for (int i = 0; i < kColumns; ++i) {
      const FieldType type = i % 4 == 0   ? FieldType::kText
                             : i % 4 == 1 ? FieldType::kDouble
                                          : FieldType::kInteger;
      plots->AddField(MakeField(ColumnName(i), type, 10, false, true));
    }
    const int first = plots->FindField(ColumnName(0));
    const CursorPtr rows = plots->Insert();
    const auto row = plots->CreateFeatureBuffer();
    for (int r = 0; r < kRows; ++r) {
      row->SetShape(Point{r % 1000 * 10.0, r / 1000 * 10.0});
      for (int i = 0; i < kColumns; ++i) {
        const auto number = static_cast<std::int32_t>((std::int64_t{7919} * r + 104729 * i) % 1000);
        row->SetValue(first + i, i % 4 == 0   ? Value("plot" + ToText(number))
                                 : i % 4 == 1 ? Value(r * 0.37 + i)
                                              : Value(number));
      }
      rows->InsertRow(*row);
    }
    rows->Flush();
  }
  ~Input() { std::filesystem::remove_all(folder_); }
  std::string Path(const std::string& name) const { return folder_ / (name + ".shp"); }
  std::string Copy(const std::string& name) const {
    for (const char* part : {".shp", ".shx", ".dbf", ".cpg"})
      std::filesystem::copy_file(folder_ / (std::string("plots") + part), folder_ / (name + part),
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

// ---- Deleting every other field

void DeleteGdal(const std::string& path) {
  const GDALDatasetUniquePtr file(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE));
  OGRLayer& layer = *file->GetLayer(0);
  for (int i = 0; i < kColumns; i += 2)
    Need(layer.DeleteField(layer.GetLayerDefn()->GetFieldIndex(ColumnName(i).c_str())) ==
             OGRERR_NONE,
         "DeleteField");
}

void DeleteOurs(const std::string& path, bool oneByOne) {
  const FeatureClassPtr plots = OpenFeatureClassByPath(path);
  for (int i = 0; i < kColumns; i += 2) {
    plots->DeleteField(plots->FindField(ColumnName(i)));
    if (oneByOne) CommitAllEdits();
  }
  CommitAllEdits();
}

void NeedSameTable(const std::string& a, const std::string& b) {
  const GDALDatasetUniquePtr fileA(GDALDataset::Open(a.c_str(), GDAL_OF_VECTOR));
  const GDALDatasetUniquePtr fileB(GDALDataset::Open(b.c_str(), GDAL_OF_VECTOR));
  Need(fileA->GetLayer(0)->GetFeatureCount() == kRows, "rows");
  for (auto& feature : *fileA->GetLayer(0)) {
    const OGRFeatureUniquePtr other(fileB->GetLayer(0)->GetNextFeature());
    Need(other && feature->GetFieldCount() == other->GetFieldCount(), "columns");
    for (int i = 0; i < feature->GetFieldCount(); ++i)
      Need(std::string(feature->GetFieldAsString(i)) == other->GetFieldAsString(i), "values");
  }
}

template <class Delete>
void TimeDelete(benchmark::State& state, Delete way) {
  static const bool agree = [] {
    DeleteOurs(Data().Copy("ours"), false);
    DeleteGdal(Data().Copy("gdal"));
    NeedSameTable(Data().Path("ours"), Data().Path("gdal"));
    return true;
  }();
  Need(agree, "the tables differ");
  for (auto _ : state) {
    state.PauseTiming();
    const std::string path = Data().Copy("run");
    state.ResumeTiming();
    way(path);
  }
}

void Delete10Of20_Ours(benchmark::State& state) {
  TimeDelete(state, [](const std::string& path) { DeleteOurs(path, false); });
}
void Delete10Of20_OneByOne(benchmark::State& state) {
  TimeDelete(state, [](const std::string& path) { DeleteOurs(path, true); });
}
void Delete10Of20_Gdal(benchmark::State& state) { TimeDelete(state, DeleteGdal); }

// ---- Values of a field

CursorPtr RowsOf(const IFeatureClass& plots, const std::string& field) {
  QueryFilter what;
  what.onlyFields = {field};
  what.withShape = false;
  return plots.Search(what);
}

/// A value a row, all of them sorted.
std::vector<Value> UniqueValuesPlain(ICursor& rows, int field) {
  std::vector<Value> values;
  while (const IRow* row = rows.Next()) values.push_back(row->GetValue(field));
  std::sort(values.begin(), values.end(),
            [](const Value& a, const Value& b) { return Compare(a, b) < 0; });
  values.erase(std::unique(values.begin(), values.end()), values.end());
  return values;
}

template <class Way>
void TimeValues(benchmark::State& state, const char* field, Way way) {
  const FeatureClassPtr plots = OpenFeatureClassByPath(Data().Path("plots"));
  const int index = plots->FindField(field);
  Need(UniqueValues(*RowsOf(*plots, field), index) ==
           UniqueValuesPlain(*RowsOf(*plots, field), index),
       "the values differ");
  for (auto _ : state) benchmark::DoNotOptimize(way(*RowsOf(*plots, field), index));
}

void UniqueTexts_Ours(benchmark::State& state) { TimeValues(state, "C0", UniqueValues); }
void UniqueTexts_Plain(benchmark::State& state) { TimeValues(state, "C0", UniqueValuesPlain); }
void UniqueNumbers_Ours(benchmark::State& state) { TimeValues(state, "C2", UniqueValues); }
void UniqueNumbers_Plain(benchmark::State& state) { TimeValues(state, "C2", UniqueValuesPlain); }
void AllDifferent_Ours(benchmark::State& state) { TimeValues(state, "C1", UniqueValues); }
void AllDifferent_Plain(benchmark::State& state) { TimeValues(state, "C1", UniqueValuesPlain); }

/// Values in memory, without the reading: a column of a million rows.
class Column : public ICursor {
 public:
  Column(FieldType type, const std::vector<Value>& values) : row_(values) {
    row_.fields.AddField({.name = "V", .type = type});
  }
  IRow* Next() override { return ++row_.at < std::ssize(row_.values) ? &row_ : nullptr; }

 private:
  struct Row : IRow {
    explicit Row(const std::vector<Value>& list) : values(list) {}
    Oid OID() const override { return at; }
    const orlinths::Fields& Fields() const override { return fields; }
    Value GetValue(int) const override { return values[static_cast<std::size_t>(at)]; }
    void SetValue(int, const Value&) override {}
    const Geometry& Shape() const override { return shape; }
    void SetShape(Geometry) override {}
    const std::vector<Value>& values;
    std::int64_t at = -1;
    orlinths::Fields fields;
    Geometry shape;
  };
  Row row_;
};

enum class Kind { kNumber, kText, kDate };

/// So many different values; 0: all, in order.
std::vector<Value> ColumnOf(Kind kind, std::int64_t different) {
  std::vector<Value> values;
  for (std::int64_t i = 0; i < kRows; ++i) {
    const std::int64_t number = different == 0 ? i : i * 7919 % different;
    values.push_back(kind == Kind::kNumber ? Value(static_cast<double>(number) * 0.37)
                     : kind == Kind::kText ? Value("nest number " + ToText(number + 10'000'000))
                                           : Value(Date{number * 60'000}));
  }
  return values;
}

template <class Way>
void TimeColumn(benchmark::State& state, Kind kind, Way way) {
  const std::vector<Value> values = ColumnOf(kind, state.range(0));
  const FieldType type = kind == Kind::kNumber ? FieldType::kDouble
                         : kind == Kind::kText ? FieldType::kText
                                               : FieldType::kDate;
  const auto run = [&](auto how) {
    Column column(type, values);
    return how(column, 0);
  };
  Need(run(UniqueValues) == run(UniqueValuesPlain), "the values differ");
  for (auto _ : state) benchmark::DoNotOptimize(run(way));
}

void InMemory_Ours(benchmark::State& state, Kind kind) { TimeColumn(state, kind, UniqueValues); }
void InMemory_Plain(benchmark::State& state, Kind kind) {
  TimeColumn(state, kind, UniqueValuesPlain);
}

/// The floor of all of these: the rows read, nothing done.
void ReadingOnly(benchmark::State& state) {
  const FeatureClassPtr plots = OpenFeatureClassByPath(Data().Path("plots"));
  for (auto _ : state) {
    const CursorPtr rows = RowsOf(*plots, "C1");
    while (rows->Next()) {
    }
  }
}

// ---- The listing

/// The text as it is after each value, as a box shows it that is written value by value.
std::string ListingPlain(const std::vector<Value>& values) {
  std::string shown;
  for (const Value& value : values)
    shown = shown.empty() ? ToText(value) : std::string(shown) + "\r\n" + ToText(value);
  return shown;
}

std::vector<Value> Numbers(std::int64_t count) {
  std::vector<Value> values;
  for (std::int64_t i = 0; i < count; ++i) values.emplace_back(static_cast<double>(i) + 0.5);
  Need(ListingOf(values) == ListingPlain(values), "the listings differ");
  return values;
}

void Listing_Ours(benchmark::State& state) {
  const auto values = Numbers(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(ListingOf(values));
}
void Listing_ValueByValue(benchmark::State& state) {
  const auto values = Numbers(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(ListingPlain(values));
}

// ---- Sums

double SumGdal() {
  const GDALDatasetUniquePtr file(GDALDataset::Open(Data().Path("plots").c_str(), GDAL_OF_VECTOR));
  double sum = 0;
  for (auto& feature : *file->GetLayer(0)) sum += feature->GetFieldAsDouble("C1");
  return sum;
}

void Sum_Ours(benchmark::State& state) {
  const FeatureClassPtr plots = OpenFeatureClassByPath(Data().Path("plots"));
  const int index = plots->FindField("C1");
  Need(SumOf(*RowsOf(*plots, "C1"), index).sum == SumGdal(), "the sums differ");
  for (auto _ : state) benchmark::DoNotOptimize(SumOf(*RowsOf(*plots, "C1"), index));
}
void Sum_Gdal(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(SumGdal());
}

BENCHMARK(Delete10Of20_Ours)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(Delete10Of20_OneByOne)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(Delete10Of20_Gdal)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(ReadingOnly)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(UniqueTexts_Ours)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(UniqueTexts_Plain)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(UniqueNumbers_Ours)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(UniqueNumbers_Plain)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(AllDifferent_Ours)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(AllDifferent_Plain)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(InMemory_Ours, numbers, Kind::kNumber)
    ->Arg(7)
    ->Arg(50'000)
    ->Arg(999'983)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(InMemory_Plain, numbers, Kind::kNumber)
    ->Arg(7)
    ->Arg(50'000)
    ->Arg(999'983)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(InMemory_Ours, texts, Kind::kText)
    ->Arg(7)
    ->Arg(50'000)
    ->Arg(999'983)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(InMemory_Plain, texts, Kind::kText)
    ->Arg(7)
    ->Arg(50'000)
    ->Arg(999'983)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(InMemory_Ours, dates, Kind::kDate)
    ->Arg(7)
    ->Arg(50'000)
    ->Arg(999'983)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK_CAPTURE(InMemory_Plain, dates, Kind::kDate)
    ->Arg(7)
    ->Arg(50'000)
    ->Arg(999'983)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK(Listing_Ours)->Unit(benchmark::kMillisecond)->Arg(10'000)->Arg(40'000);
BENCHMARK(Listing_ValueByValue)->Unit(benchmark::kMillisecond)->Arg(10'000)->Arg(40'000);
BENCHMARK(Sum_Ours)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Sum_Gdal)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
