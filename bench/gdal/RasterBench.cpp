// The polygon scan fill against one GEOS intersection for each row, on polygons of 1,000 vertices
// over 1,000 rows; a sum over a block through its typed plane against a value of mixed type for
// each cell; and what writing and reading a raster of 4 million cells costs in each format.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <random>

#include "data/Raster.h"
#include "data/RasterAccess.h"
#include "support/PolygonFillPlain.h"

namespace orlinths {
namespace {

constexpr int kRows = 1000;
constexpr int kVertices = 1000;
constexpr int kSide = 2000;  // of the rasters that are written

double Unit(std::mt19937_64& engine) { return static_cast<double>(engine() >> 11) * 0x1p-53; }

void Demand(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "RasterBench: %s\n", what);
  std::abort();
}

IRasterProps Square(int side) {
  IRasterProps props;
  props.width = props.height = side;
  props.meanCellSize = {1, 1};
  props.extent = {0, 0, static_cast<double>(side), static_cast<double>(side)};
  return props;
}

/// A ragged star over nearly the whole raster, with a hole.
Polygon Zone() {
  std::mt19937_64 engine(7);
  Polygon polygon;
  const auto ring = [&](int vertices, double radius, int turn) {
    polygon.AddPart();
    const std::int64_t first = polygon.PointCount();
    for (int i = 0; i < vertices; ++i) {
      const double angle = turn * 2 * std::numbers::pi * i / vertices;
      const double r = radius * (0.8 + 0.2 * Unit(engine));
      polygon.AddPoint(kRows / 2.0 + r * std::cos(angle), kRows / 2.0 + r * std::sin(angle));
    }
    polygon.AddPoint(polygon.PointAt(first));
  };
  ring(kVertices * 4 / 5, kRows / 2.0, -1);
  ring(kVertices / 5, kRows / 5.0, 1);
  return polygon;
}

void AssertFillsAgree() {
  const Mask fast = GetPolyRasterArray2(Zone(), Square(kRows));
  const Mask plain = PolygonFillPlain(Zone(), Square(kRows));
  Demand(fast.Data().size() == plain.Data().size() &&
             std::equal(fast.Data().begin(), fast.Data().end(), plain.Data().begin()),
         "the fast fill differs from the plain one");
}

void FillFast(benchmark::State& state) {
  const Polygon zone = Zone();
  for (auto _ : state)
    benchmark::DoNotOptimize(GetPolyRasterArray2(zone, Square(kRows)).Data().data());
}
BENCHMARK(FillFast)->Unit(benchmark::kMillisecond);

void FillPlain(benchmark::State& state) {
  const Polygon zone = Zone();
  for (auto _ : state)
    benchmark::DoNotOptimize(PolygonFillPlain(zone, Square(kRows)).Data().data());
}
BENCHMARK(FillPlain)->Unit(benchmark::kMillisecond);

IPixelBlock Terrain() {
  std::mt19937_64 engine(11);
  IPixelBlock block(kSide, kSide, PixelType::kFloat, -9999);
  Edit(block, 0, [&]<class T>(EditablePlane<T> plane) {
    for (int row = 0; row < plane.rows; ++row)
      for (T& cell : plane.Row(row))
        cell = Unit(engine) < 0.01 ? T(-9999) : T(std::floor(1000 * Unit(engine)));
  });
  return block;
}

double SumTyped(const IPixelBlock& block) {
  return Visit(block, 0, []<class T>(Plane<T> plane) {
    double sum = 0;
    for (int row = 0; row < plane.rows; ++row)
      for (const T v : plane.Row(row))
        if (!plane.isNoData(v)) sum += static_cast<double>(v);
    return sum;
  });
}

double SumMixed(const IPixelBlock& block) {
  double sum = 0;
  const double noData = *block.NoDataValue();
  for (int row = 0; row < block.Rows(); ++row)
    for (int column = 0; column < block.Columns(); ++column) {
      const double v = ToDouble(block.GetVal(0, column, row));
      if (v != noData) sum += v;
    }
  return sum;
}

void SumByPlane(benchmark::State& state) {
  const IPixelBlock block = Terrain();
  Demand(SumTyped(block) == SumMixed(block), "the sums differ");
  for (auto _ : state) benchmark::DoNotOptimize(SumTyped(block));
}
BENCHMARK(SumByPlane)->Unit(benchmark::kMillisecond);

void SumByValue(benchmark::State& state) {
  const IPixelBlock block = Terrain();
  for (auto _ : state) benchmark::DoNotOptimize(SumMixed(block));
}
BENCHMARK(SumByValue)->Unit(benchmark::kMillisecond);

class Folder {
 public:
  Folder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "orlinths-bench-XXXXXX").string();
    Demand(::mkdtemp(pattern.data()) != nullptr, "no temporary folder");
    path_ = pattern;
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

const char* const kFormats[] = {"TIFF", "IMAGINE Image", "GRID"};
const char* const kNames[] = {"r.tif", "r.img", "r"};

RasterDatasetPtr WriteRaster(const std::string& folder, std::size_t format,
                             const IPixelBlock& block, PixelType type) {
  const RasterDatasetPtr raster = CreateRasterDataset(
      folder, {kNames[format], kFormats[format], {0, 0}, kSide, kSide, {1, 1}, 1, type, nullptr});
  raster->Band(0).SetNoDataValue(-9999);
  raster->Band(0).Write({0, 0}, block);
  raster->Band(0).ComputeStatsAndHist();
  raster->Close();
  return raster;
}

void Write(benchmark::State& state) {
  const auto format = static_cast<std::size_t>(state.range(0));
  const auto type = static_cast<PixelType>(state.range(1));
  state.SetLabel(kFormats[format]);
  const IPixelBlock block = Terrain();
  for (auto _ : state) {
    const Folder folder;
    WriteRaster(folder.Path(), format, block, type);
  }
}
BENCHMARK(Write)->ArgsProduct({{0, 1, 2}, {8, 9}})->Unit(benchmark::kMillisecond);

void Read(benchmark::State& state) {
  const auto format = static_cast<std::size_t>(state.range(0));
  state.SetLabel(kFormats[format]);
  const Folder folder;
  const IPixelBlock block = Terrain();
  const RasterDatasetPtr raster =
      WriteRaster(folder.Path(), format, block, static_cast<PixelType>(state.range(1)));
  Demand(SumTyped(raster->Band(0).ReadAll()) == SumTyped(block),
         "what was read differs from what was written");
  for (auto _ : state) {
    const RasterDatasetPtr again = OpenRasterDataset(folder.Path(), kNames[format]);
    benchmark::DoNotOptimize(SumTyped(again->Band(0).ReadAll()));
  }
}
BENCHMARK(Read)->ArgsProduct({{0, 1, 2}, {8, 9}})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace orlinths

int main(int argc, char** argv) {
  orlinths::AssertFillsAgree();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
