// Draws without replacement and frequency counts, each against the plain way.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "numerics/Frequency.h"
#include "numerics/Random.h"
#include "runtime/Ports.h"
#include "support/PlainNumerics.h"

namespace orlinths {
namespace {

/// The generator as it stands after the one seeding of a process at clock 0.
void SeedAnew() {
  Ports ports;
  ports.clock = [] { return std::int64_t{0}; };
  SetPorts(ports);
  ResetGenerator();
}

void Require(bool agrees) {
  if (!agrees) std::abort();
}

// Half of the features of a layer, the most that a random selection draws.

void RandomSequencePlain(benchmark::State& state) {
  const auto size = static_cast<std::int32_t>(state.range(0));
  for (auto _ : state) {
    SeedAnew();
    SeedGenerator();
    benchmark::DoNotOptimize(plain::RandomSequence(size - 1, size / 2, UniformDraw));
  }
}
BENCHMARK(RandomSequencePlain)->Arg(1000)->Arg(20'000)->Arg(200'000)->Unit(benchmark::kMillisecond);

void RandomSequenceFast(benchmark::State& state) {
  const auto size = static_cast<std::int32_t>(state.range(0));
  SeedAnew();
  SeedGenerator();
  const auto expected = plain::RandomSequence(size - 1, size / 2, UniformDraw);
  SeedAnew();
  Require(RandomSequence(size - 1, size / 2) == expected);
  for (auto _ : state) {
    SeedAnew();
    benchmark::DoNotOptimize(RandomSequence(size - 1, size / 2));
  }
}
BENCHMARK(RandomSequenceFast)->Arg(1000)->Arg(20'000)->Arg(200'000)->Unit(benchmark::kMillisecond);

// The cells of a zone in the classes of a land-cover raster.

struct Zone {
  std::vector<std::int32_t> cells, classes;
  explicit Zone(std::int64_t classCount) {
    for (std::int32_t c = 0; c < classCount; ++c) classes.push_back(10 * c + 11);
    SeedAnew();
    for (int i = 0; i < 100'000; ++i)
      cells.push_back(
          classes[static_cast<std::size_t>(UniformDraw() * static_cast<float>(classCount))]);
  }
};

void FrequenciesPlain(benchmark::State& state) {
  const Zone zone(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(plain::Frequencies<std::int32_t>(zone.cells, zone.classes));
}
BENCHMARK(FrequenciesPlain)->Arg(4)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);

void FrequenciesFast(benchmark::State& state) {
  const Zone zone(state.range(0));
  const auto expected = plain::Frequencies<std::int32_t>(zone.cells, zone.classes);
  const auto lines = GetFreqDistribArr(zone.cells, zone.classes);
  for (std::size_t i = 0; i < lines.size(); ++i)
    Require(lines[i] == Frequency{expected[i].first, expected[i].second});
  for (auto _ : state) benchmark::DoNotOptimize(GetFreqDistribArr(zone.cells, zone.classes));
}
BENCHMARK(FrequenciesFast)->Arg(4)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);

void UniformDraws(benchmark::State& state) {
  SeedAnew();
  for (auto _ : state) benchmark::DoNotOptimize(UniformDraw());
}
BENCHMARK(UniformDraws);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
