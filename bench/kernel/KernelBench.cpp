// Kernel densities of twenty thousand fixes on four million cells, and of a thousand animals in one
// layer: our routines against the plain way, cell by cell and animal by animal.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "kernel/FixGroups.h"
#include "kernel/Kernel.h"
#include "kernel/KernelSurface.h"
#include "kernel/VolumeContours.h"
#include "runtime/Value.h"
#include "support/KernelPlain.h"

namespace orlinths {
namespace {

void Need(bool ok, const char* what) {
  if (ok) return;
  std::cerr << "KernelBench: " << what << '\n';
  std::exit(1);
}

constexpr int kSide = 2000;
constexpr double kCell = 100;
constexpr double kRadius = 50 * kCell;

/// Fixes about twenty centres of activity.
const PointArray& Fixes() {
  static const PointArray fixes = [] {
    std::mt19937_64 engine(20'000);
    std::normal_distribution<double> about(0, 8000);
    std::uniform_real_distribution<double> anywhere(20'000, kSide * kCell - 20'000);
    PointArray points({0, 19'999}, {0, 2});
    double x = 0, y = 0;
    const double least = kRadius + kCell, most = kSide * kCell - least;
    for (int i = 0; i < 20'000; ++i) {
      if (i % 1000 == 0) x = anywhere(engine), y = anywhere(engine);
      points(i, 0) = std::clamp(x + about(engine), least, most);
      points(i, 1) = std::clamp(y + about(engine), least, most);
      points(i, 2) = 1;
    }
    return points;
  }();
  return fixes;
}

DensityGrid Plain() { return SimpleKernel2Plain(Fixes(), kRadius, kCell, 0, 0, kSide, kSide, 1e6); }
DensityGrid Ours() {
  auto grid = SimpleKernel2(Fixes(), kRadius, kCell, 0, 0, kSide, kSide, 1e6);
  Need(grid.has_value(), "no surface");
  return std::move(*grid);
}

/// Cells within the squares about the points.
double Contributions() {
  const double side = 2 * kRadius / kCell + 1;
  return 20'000 * side * side;
}

void Kernel_Plain(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(Plain());
  state.SetItemsProcessed(static_cast<std::int64_t>(Contributions()) *
                          static_cast<std::int64_t>(state.iterations()));
}

void Kernel(benchmark::State& state) {
  const DensityGrid plain = Plain(), ours = Ours();
  Need(std::memcmp(plain.Data().data(), ours.Data().data(), plain.Data().size_bytes()) == 0,
       "the surfaces differ");
  for (auto _ : state) benchmark::DoNotOptimize(Ours());
  state.SetItemsProcessed(static_cast<std::int64_t>(Contributions()) *
                          static_cast<std::int64_t>(state.iterations()));
}

// ---- The histogram

void Histogram_Plain(benchmark::State& state) {
  const DensityGrid surface = Ours();
  const double maximum = *std::ranges::max_element(surface.Data());
  for (auto _ : state) {
    Array1<std::int32_t> counts(0, 100'000);
    for (std::int64_t column = 0; column < kSide; ++column)
      for (std::int64_t row = 0; row < kSide; ++row)
        ++counts(ToLong(Int((surface(column, row) - 0) * 100000 / maximum)));
    double total = 0;
    for (std::int64_t i = 1; i <= 100'000; ++i) total += counts(i) * static_cast<double>(i);
    VolumeHistogram ours(100'000, 0, maximum);
    state.PauseTiming();
    ours.Add(surface.Data());
    Need(ours.Total() == total, "the histograms differ");
    state.ResumeTiming();
  }
}

void Histogram(benchmark::State& state) {
  const DensityGrid surface = Ours();
  const double maximum = *std::ranges::max_element(surface.Data());
  for (auto _ : state) {
    VolumeHistogram histogram(100'000, 0, maximum);
    histogram.Add(surface.Data());
    benchmark::DoNotOptimize(histogram.Total());
  }
}

// ---- Points on disk

/// Fixes of a thousand animals, in the order in which collars report them: by time.
class Study {
 public:
  static constexpr int kAnimals = 1000, kFixesEach = 100;

  Study() : folder_(std::filesystem::temp_directory_path() / "orlinths_kernel_bench") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    SpatialReferencePtr reference;
    points = CreateShapefile(folder_, "fixes", GeometryType::kPoint, false, false, reference, true);
    const int id = AddNewField("ANIMAL", *points, FieldType::kInteger);
    const CursorPtr rows = points->Insert();
    const auto row = points->CreateFeatureBuffer();
    std::mt19937_64 engine(1000);
    std::uniform_real_distribution<double> anywhere(0, 20'000);
    for (int i = 0; i < kAnimals * kFixesEach; ++i) {
      row->SetShape(Point{anywhere(engine), anywhere(engine)});
      row->SetValue(id, Value(static_cast<std::int32_t>(i % kAnimals + 1)));
      rows->InsertRow(*row);
    }
    rows->Flush();
    for (int i = 1; i <= kAnimals; ++i) ids.push_back(i);
    what.onlyFields = {"ANIMAL"};
  }
  ~Study() { std::filesystem::remove_all(folder_); }
  std::string Folder() const { return folder_; }
  int IdField() const { return points->FindField("ANIMAL"); }

  FeatureClassPtr points;
  std::vector<std::int32_t> ids;
  QueryFilter what;

 private:
  std::filesystem::path folder_;
};

const Study& Collars() {
  static const Study study;
  return study;
}

PointArray OneAnimal(std::int32_t id) {
  QueryFilter of = Collars().what;
  of.where = "ANIMAL = " + ToText(id);
  return ReadPoints(*Collars().points->Search(of), Collars().points->FeatureCount(of),
                    std::nullopt);
}

/// Ten animals only: a search each, and a count each.
void Gather_SearchEach(benchmark::State& state) {
  for (auto _ : state)
    for (std::int32_t id = 1; id <= 10; ++id) benchmark::DoNotOptimize(OneAnimal(id));
  state.SetItemsProcessed(10 * static_cast<std::int64_t>(state.iterations()));
}

void Gather_OnePass(benchmark::State& state) {
  const Study& study = Collars();
  const auto groups = [&] {
    return FixGroups(*study.points->Search(study.what), study.IdField(), std::nullopt, study.ids);
  };
  FixGroups ours = groups();
  for (const std::size_t i : {0, 7, 999}) {
    const PointArray plain = OneAnimal(study.ids[i]), taken = ours.Take(i).points;
    Need(std::ranges::equal(plain.Data(), taken.Data()), "the groups differ");
  }
  for (auto _ : state) {
    FixGroups gathered = groups();
    for (std::size_t i = 0; i < study.ids.size(); ++i)
      benchmark::DoNotOptimize(gathered.Take(i).points);
  }
  state.SetItemsProcessed(Study::kAnimals * static_cast<std::int64_t>(state.iterations()));
}

// ---- The raster

void Write(benchmark::State& state, const DensityGrid& surface, int side) {
  const KernelGrid grid{0, 0, kCell, side, side};
  for (auto _ : state) {
    WriteSurface(Collars().Folder(), "kde", surface, grid, nullptr);
    state.PauseTiming();
    DeleteRaster(Collars().Folder(), "kde");
    state.ResumeTiming();
  }
}
void Write_FourMillionCells(benchmark::State& state) { Write(state, Ours(), kSide); }
void Write_SmallSurface(benchmark::State& state) {
  Write(state, DensityGrid({0, 99}, {0, 99}), 100);
}

BENCHMARK(Kernel_Plain)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Kernel)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Histogram_Plain)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Histogram)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Gather_SearchEach)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Gather_OnePass)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Write_FourMillionCells)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Write_SmallSurface)->Unit(benchmark::kMillisecond)->Iterations(20);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
