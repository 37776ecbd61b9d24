// Random points against the plain way: every distance measured, every vertex walked, every cell
// read by itself, each polygon asked in turn. Both ways must give the same points.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "data/Raster.h"
#include "numerics/PathGeometry.h"
#include "numerics/PolygonLocator.h"
#include "numerics/Random.h"
#include "runtime/Ports.h"
#include "sampling/RandomPointSampler.h"

namespace orlinths {
namespace {

/// Gone with all it holds when the benchmark ends.
struct TempFolder {
  std::string path = (std::filesystem::temp_directory_path() / "orlinths_bench_XXXXXX").string();
  TempFolder() {
    if (mkdtemp(path.data()) == nullptr) std::abort();
  }
  ~TempFolder() { std::filesystem::remove_all(path); }
  std::string Path() const { return path; }
  std::string operator/(const std::string& name) const { return path + "/" + name; }
};

void SeedAnew() {
  Ports ports;
  ports.clock = [] { return std::int64_t{0}; };
  SetPorts(ports);
  ResetGenerator();
  SeedGenerator();
}

void Require(bool agrees) {
  if (!agrees) std::abort();
}

struct Collected : PointSink {
  std::vector<Coord> points;
  void Store(double x, double y) override { points.push_back({x, y}); }
};

/// Into a shapefile as the tool writes it.
struct Written : PointSink {
  explicit Written(IFeatureClass& points)
      : cursor(points.Insert()), buffer(points.CreateFeatureBuffer()) {}
  void Store(double x, double y) override {
    buffer->SetShape(Point{x, y});
    cursor->InsertRow(*buffer);
    if (++stored % 500 == 0) cursor->Flush();
  }
  CursorPtr cursor;
  std::unique_ptr<IFeature> buffer;
  int stored = 0;
};

/// A shore of 5,000 vertices, ten kilometres across.
Polygon Shore(int vertices, double x = 0, double y = 0, double radius = 5000) {
  Polygon polygon;
  for (int i = 0; i <= vertices; ++i) {
    const double turn = -2 * 3.14159265358979 * (i % vertices) / vertices;
    const double out = radius * (0.8 + 0.1 * std::sin(9 * turn) + 0.05 * std::cos(211 * turn));
    polygon.AddPoint(x + out * std::cos(turn), y + out * std::sin(turn));
  }
  return polygon;
}

FeatureClassPtr Create(const TempFolder& folder, const std::string& name, GeometryType type) {
  for (const char* end : {".shp", ".shx", ".dbf", ".prj", ".cpg"})
    std::filesystem::remove(folder / (name + end));
  SpatialReferencePtr reference;
  return CreateShapefile(folder.Path(), name, type, false, false, reference, false);
}

std::shared_ptr<IFeatureLayer> LayerOf(const TempFolder& folder,
                                       const std::vector<Polygon>& polygons) {
  const FeatureClassPtr zones = Create(folder, "zones", GeometryType::kPolygon);
  const CursorPtr rows = zones->Insert();
  const auto buffer = zones->CreateFeatureBuffer();
  for (const Polygon& polygon : polygons) {
    buffer->SetShape(polygon);
    rows->InsertRow(*buffer);
  }
  rows->Flush();
  return std::make_shared<IFeatureLayer>(zones);
}

Coord Draw(const Envelope& area) {
  const double x = UniformDraw() * (area.xMax - area.xMin) + area.xMin;
  const double y = UniformDraw() * (area.yMax - area.yMin) + area.yMin;
  return {x, y};
}

void PerCandidate(benchmark::State& state, std::int64_t candidates) {
  state.counters["per_candidate"] = benchmark::Counter(
      static_cast<double>(candidates),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// ---- One polygon

std::vector<Coord> InPolygonPlain(const Polygon& polygon, std::size_t count,
                                  std::int64_t& candidates) {
  const Envelope area = polygon.Envelope();
  std::vector<Coord> points;
  for (candidates = 0; points.size() < count; ++candidates) {
    const Coord at = Draw(area);
    if (SideOfPolygon(polygon, at.x, at.y) == Side::kInside) points.push_back(at);
  }
  return points;
}

void OnePolygonPlain(benchmark::State& state) {
  const Polygon shore = Shore(5000);
  std::int64_t candidates = 0;
  for (auto _ : state) {
    SeedAnew();
    benchmark::DoNotOptimize(
        InPolygonPlain(shore, static_cast<std::size_t>(state.range(0)), candidates));
  }
  PerCandidate(state, candidates);
}
BENCHMARK(OnePolygonPlain)->Arg(20'000)->Unit(benchmark::kMillisecond);

void OnePolygonFast(benchmark::State& state) {
  const TempFolder folder;
  const auto count = static_cast<std::int32_t>(state.range(0));
  const auto layer = LayerOf(folder, {Shore(5000)});
  std::int64_t candidates = 0;
  {
    const CursorPtr rows = layer->FeatureClass().Search();
    const Polygon shore = rows->Next()->Polygon();
    SeedAnew();
    const auto expected = InPolygonPlain(shore, 20'000, candidates);
    candidates = candidates * count / 20'000;
    SeedAnew();
    Collected collected;
    PointRules rules;
    SampleLayer(*layer, false, 20'000, rules, collected);
    Require(collected.points == expected);
  }
  for (auto _ : state) {
    const FeatureClassPtr out = Create(folder, "out", GeometryType::kPoint);
    SeedAnew();
    Written written(*out);
    PointRules rules;
    SampleLayer(*layer, false, count, rules, written);
    written.cursor->Flush();
  }
  PerCandidate(state, candidates);
}
BENCHMARK(OnePolygonFast)->Arg(20'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

// ---- Distance: 200,000 points in a square, each with about 3 % of its surroundings taken.

Polygon Square(double size) {
  Polygon square;
  square.AddPart(std::vector<Coord>{{0, 0}, {0, size}, {size, size}, {size, 0}, {0, 0}});
  return square;
}
constexpr double kSquare = 100'000;
double MinimumFor(std::int64_t count) {
  return std::sqrt(0.03 * kSquare * kSquare / (3.14159265 * static_cast<double>(count)));
}

std::vector<Coord> WithDistancePlain(std::int64_t count) {
  const double minimum = MinimumFor(count);
  std::vector<Coord> kept;
  while (std::ssize(kept) < count) {
    const Coord at = Draw({0, 0, kSquare, kSquare});
    bool isFar = at.x > 0 && at.x < kSquare && at.y > 0 && at.y < kSquare;
    for (std::size_t i = 0; i < kept.size() && isFar; ++i)
      isFar = !(DistCoords(kept[i].x, kept[i].y, at.x, at.y) < minimum);
    if (isFar) kept.push_back(at);
  }
  return kept;
}

void DistancePlain(benchmark::State& state) {
  for (auto _ : state) {
    SeedAnew();
    benchmark::DoNotOptimize(WithDistancePlain(state.range(0)));
  }
}
BENCHMARK(DistancePlain)->Arg(2'000)->Arg(20'000)->Unit(benchmark::kMillisecond);

void Distance(benchmark::State& state, bool isKept) {
  const TempFolder folder;
  const auto count = static_cast<std::int32_t>(state.range(0));
  const auto layer = LayerOf(folder, {Square(kSquare)});
  if (isKept && count <= 20'000) {
    SeedAnew();
    const auto expected = WithDistancePlain(count);
    SeedAnew();
    Collected collected;
    PointRules rules;
    rules.spacing.emplace(MinimumFor(count));
    SampleLayer(*layer, false, count, rules, collected);
    Require(collected.points == expected);
  }
  for (auto _ : state) {
    const FeatureClassPtr out = Create(folder, "out", GeometryType::kPoint);
    SeedAnew();
    Written written(*out);
    PointRules rules;
    if (isKept) rules.spacing.emplace(MinimumFor(count));
    SampleLayer(*layer, false, count, rules, written);
    written.cursor->Flush();
  }
}
void DistanceFast(benchmark::State& state) { Distance(state, true); }
void DistanceNone(benchmark::State& state) { Distance(state, false); }
BENCHMARK(DistanceFast)->Arg(2'000)->Arg(20'000)->Arg(200'000)->Unit(benchmark::kMillisecond);
BENCHMARK(DistanceNone)->Arg(200'000)->Unit(benchmark::kMillisecond);

// ---- Many polygons: 60 by 60 of 40 vertices each, half of them selected.

std::vector<Polygon> ManyZones() {
  std::vector<Polygon> zones;
  for (int i = 0; i < 3600; ++i) zones.push_back(Shore(40, 1000 * (i % 60), 1000 * (i / 60), 600));
  return zones;
}

std::vector<Coord> InManyPlain(const std::vector<Polygon>& zones, std::int64_t count,
                               std::int64_t& candidates) {
  Envelope area;
  for (const Polygon& zone : zones) area.Add(zone.Envelope());
  std::vector<Coord> points;
  for (candidates = 0; std::ssize(points) < count; ++candidates) {
    const Coord at = Draw(area);
    for (const Polygon& zone : zones) {
      if (SideOfPolygon(zone, at.x, at.y) == Side::kOutside) continue;
      points.push_back(at);
      break;
    }
  }
  return points;
}

void ManyPolygonsPlain(benchmark::State& state) {
  const std::vector<Polygon> zones = ManyZones();
  std::int64_t candidates = 0;
  for (auto _ : state) {
    SeedAnew();
    benchmark::DoNotOptimize(InManyPlain(zones, state.range(0), candidates));
  }
  PerCandidate(state, candidates);
}
BENCHMARK(ManyPolygonsPlain)->Arg(1000)->Unit(benchmark::kMillisecond);

void ManyPolygonsFast(benchmark::State& state) {
  const TempFolder folder;
  const auto layer = LayerOf(folder, ManyZones());
  std::vector<Oid> half;
  for (Oid oid = 0; oid < 3600; oid += 2) half.push_back(oid);
  layer->SetSelectionSet(ISelectionSet(half));
  {
    std::int64_t candidates = 0;
    SeedAnew();
    const auto expected = InManyPlain(ManyZones(), 1000, candidates);
    SeedAnew();
    Collected collected;
    PointRules rules;
    SampleLayer(*layer, false, 1000, rules, collected);
    Require(collected.points == expected);
  }
  const bool useSelected = state.range(1) != 0;
  for (auto _ : state) {
    SeedAnew();
    Collected collected;
    PointRules rules;
    SampleLayer(*layer, useSelected, static_cast<std::int32_t>(state.range(0)), rules, collected);
  }
}
BENCHMARK(ManyPolygonsFast)
    ->Args({1000, 0})
    ->Args({200'000, 0})
    ->Args({200'000, 1})
    ->Unit(benchmark::kMillisecond);

// ---- A raster of 2000 by 2000 cells as weights

std::shared_ptr<IRasterDataset> Relief(const TempFolder& folder) {
  NewRaster made;
  made.name = "relief.tif";
  made.format = "TIFF";
  made.columns = made.rows = 2000;
  made.cellSize = {30, 30};
  made.pixelType = PixelType::kFloat;
  const auto relief = CreateRasterDataset(folder.Path(), made);
  relief->Band(0).SetNoDataValue(-9999);
  IPixelBlock block = relief->Band(0).CreatePixelBlock(2000, 2000);
  Edit(block, 0, [](auto plane) {
    for (int row = 0; row < plane.rows; ++row) {
      int column = 0;
      for (auto& cell : plane.Row(row)) {
        const double height = 500 + 400 * std::sin(row / 90.0) * std::cos(column++ / 70.0);
        cell = static_cast<typename decltype(plane)::Cell>(height < 150 ? -9999 : height);
      }
    }
  });
  relief->Band(0).Write({0, 0}, block);
  relief->Close();
  return OpenRasterDataset(folder.Path(), made.name);
}

std::vector<Coord> InRasterPlain(const IRasterBand& band, std::size_t count) {
  const IRasterProps& props = band.Props();
  const double maximum = band.Statistics().maximum;
  std::vector<Coord> points;
  IPixelBlock one = band.CreatePixelBlock(1, 1);
  while (points.size() < count) {
    const Coord at = Draw(props.extent);
    band.Read({std::floor((at.x - props.extent.xMin) / 30), (props.extent.yMax - at.y) / 30}, one);
    const double v = ToDouble(one.GetVal(0, 0, 0));
    if (v != -9999 && v > UniformDraw() * maximum) points.push_back(at);
  }
  return points;
}

void RasterPlain(benchmark::State& state) {
  const TempFolder folder;
  const auto relief = Relief(folder);
  for (auto _ : state) {
    SeedAnew();
    benchmark::DoNotOptimize(
        InRasterPlain(relief->Band(0), static_cast<std::size_t>(state.range(0))));
  }
}
BENCHMARK(RasterPlain)->Arg(20'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

void RasterFast(benchmark::State& state) {
  const TempFolder folder;
  const auto relief = Relief(folder);
  const RasterDesign design{.keepOffNoData = true, .weighted = true};
  {
    SeedAnew();
    const auto expected = InRasterPlain(relief->Band(0), 20'000);
    SeedAnew();
    Collected collected;
    PointRules rules;
    SampleRaster(relief->Band(0), design, 20'000, rules, collected);
    Require(collected.points == expected);
  }
  for (auto _ : state) {
    SeedAnew();
    Collected collected;
    PointRules rules;
    SampleRaster(relief->Band(0), design, static_cast<std::int32_t>(state.range(0)), rules,
                 collected);
  }
}
BENCHMARK(RasterFast)->Arg(20'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
