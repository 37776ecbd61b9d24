// Convex polygons of a million points in a thousand groups, against one filtered search of the
// class for each group and a walk over all of its points; and of single large sets.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "movement/PointGroups.h"
#include "numerics/ConvexHull.h"
#include "support/ConvexHullPlain.h"

namespace orlinths {
namespace {

constexpr int kGroups = 1000, kPoints = 1'000'000, kGroupsSearched = 5;

void Need(bool ok, const char* what) {
  if (ok) return;
  std::cerr << "ConvexPolygonsBench: " << what << '\n';
  std::exit(1);
}

class Draws {
 public:
  double Real() { return static_cast<double>(Next() >> 11) * 0x1p-53; }
  std::uint64_t Next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    return state_ ^= state_ << 17;
  }

 private:
  std::uint64_t state_ = 88172645463325252;
};

/// Nests of a thousand colonies, in no order, as a survey brings them home.
class Colonies {
 public:
  Colonies() : folder_(std::filesystem::temp_directory_path() / "orlinths_hull_bench") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    SpatialReferencePtr reference;
    nests = CreateShapefile(folder_, "nests", GeometryType::kPoint, false, false, reference, false);
    AddNewField("COLONY", *nests, FieldType::kInteger);
    AddNewField("KIND", *nests, FieldType::kText, 20);
    const auto rows = nests->Insert();
    const auto row = nests->CreateFeatureBuffer();
    row->SetValue(nests->FindField("KIND"), Value("Burrow"));
    Draws draws;
    for (int i = 0; i < kPoints; ++i) {
      const auto colony = static_cast<std::int32_t>(draws.Next() % kGroups);
      row->SetValue(nests->FindField("COLONY"), Value(colony));
      const double out = 500 * std::sqrt(draws.Real()), turn = 6.28318530717958 * draws.Real();
      row->SetShape(Point{.x = 4e5 + 2000 * (colony % 32) + out * std::cos(turn),
                          .y = 4e6 + 2000 * (colony / 32) + out * std::sin(turn)});
      rows->InsertRow(*row);
    }
    rows->Flush();
  }
  ~Colonies() {
    nests.reset();
    std::filesystem::remove_all(folder_);
  }
  FeatureClassPtr nests;

 private:
  std::filesystem::path folder_;
};

const IFeatureClass& Data() {
  static const Colonies colonies;
  return *colonies.nests;
}

using Vertices = std::vector<Coord>;

Vertices Fast(std::span<const Coord> points) {
  const auto polygon = CreateMCPPoly(points);
  Need(polygon.has_value(), "no polygon");
  return {polygon->Coords().begin(), polygon->Coords().end()};
}

Vertices SearchedAndWalked(int colony) {
  QueryFilter filter;
  filter.where = "COLONY = " + ToText(colony);
  std::vector<Coord> points;
  const auto rows = Data().Search(filter);
  while (const IFeature* row = rows->Next()) points.push_back({row->Point().x, row->Point().y});
  return *HullPlain(points);
}

void PerGroup(benchmark::State& state, int groups) {
  state.counters["per_group"] = benchmark::Counter(
      groups, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Groups_FilteredSearches(benchmark::State& state) {
  for (auto _ : state)
    for (int colony = 0; colony < kGroupsSearched; ++colony)
      benchmark::DoNotOptimize(SearchedAndWalked(colony));
  PerGroup(state, kGroupsSearched);
}
BENCHMARK(Groups_FilteredSearches)->Unit(benchmark::kMillisecond)->Iterations(1);

void Groups_Ours(benchmark::State& state) {
  const int field = Data().FindField("COLONY");
  {
    const PointGroups groups = PointGroups::ByValue(Data(), field);
    Need(groups.Count() == kGroups, "groups");
    for (std::size_t i = 0; i < kGroups; ++i) {
      const Vertices vertices = Fast(groups.PlacesOf(i));
      Need(vertices == *HullPlain(groups.PlacesOf(i)), "the walks differ");
      if (i < kGroupsSearched)
        Need(vertices == SearchedAndWalked(static_cast<int>(i)), "the searches differ");
    }
  }
  for (auto _ : state) {
    const PointGroups groups = PointGroups::ByValue(Data(), field);
    for (std::size_t i = 0; i < groups.Count(); ++i)
      benchmark::DoNotOptimize(Fast(groups.PlacesOf(i)));
  }
  PerGroup(state, kGroups);
}
BENCHMARK(Groups_Ours)->Unit(benchmark::kMillisecond)->Iterations(3);

/// The walks alone, the points in memory.
void Walks(benchmark::State& state, bool plain) {
  const PointGroups groups = PointGroups::ByValue(Data(), Data().FindField("COLONY"));
  for (auto _ : state)
    for (std::size_t i = 0; i < groups.Count(); ++i) {
      if (plain) {
        benchmark::DoNotOptimize(HullPlain(groups.PlacesOf(i)));
      } else {
        benchmark::DoNotOptimize(Fast(groups.PlacesOf(i)));
      }
    }
  PerGroup(state, kGroups);
}
void Walks_Plain(benchmark::State& state) { Walks(state, true); }
void Walks_Ours(benchmark::State& state) { Walks(state, false); }
BENCHMARK(Walks_Plain)->Unit(benchmark::kMillisecond);
BENCHMARK(Walks_Ours)->Unit(benchmark::kMillisecond);

// ---- One large set: in a square, and all of them on a circle, where every one is a vertex.

std::vector<Coord> Square(std::int64_t count) {
  Draws draws;
  std::vector<Coord> points;
  for (std::int64_t i = 0; i < count; ++i)
    points.push_back({4e5 + 1e5 * draws.Real(), 4e6 + 1e5 * draws.Real()});
  return points;
}

std::vector<Coord> Circle(std::int64_t count) {
  Draws draws;
  std::vector<Coord> points;
  for (std::int64_t i = 0; i < count; ++i) {
    const double turn = 6.28318530717958 * draws.Real();
    points.push_back({1e5 * std::cos(turn), 1e5 * std::sin(turn)});
  }
  return points;
}

void OneSet_Plain(benchmark::State& state, std::vector<Coord> (*make)(std::int64_t)) {
  const auto points = make(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(HullPlain(points));
}

void OneSet_Ours(benchmark::State& state, std::vector<Coord> (*make)(std::int64_t)) {
  const auto points = make(state.range(0));
  if (state.range(1) != 0) Need(Fast(points) == *HullPlain(points), "the walks differ");
  for (auto _ : state) benchmark::DoNotOptimize(Fast(points));
}

BENCHMARK_CAPTURE(OneSet_Plain, square, Square)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OneSet_Ours, square, Square)->Args({1'000'000, 1})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OneSet_Plain, circle, Circle)->Arg(10'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OneSet_Ours, circle, Circle)
    ->Args({10'000, 1})
    ->Args({1'000'000, 0})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
