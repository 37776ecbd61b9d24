// Which polygons hold a point: the index against OGR's spatial filter, one question per point, on
// 5,000 polygons of 100 vertices; and what building the index costs against reading the class; and
// one polygon of 200,000 vertices against the plain test.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <numbers>
#include <random>

#include <ogrsf_frmts.h>

#include "gdal/Library.h"
#include "data/SpatialIndex.h"
#include "numerics/PolygonLocator.h"

namespace orlinths {
namespace {

constexpr int kPolygons = 5000;
constexpr int kVertices = 100;
constexpr int kPoints = 500000;

double Unit(std::mt19937_64& engine) { return static_cast<double>(engine() >> 11) * 0x1p-53; }

/// A star-shaped ring round (x, y), clockwise, closed.
Polygon Star(std::mt19937_64& engine, double x, double y, double radius, int vertices) {
  Polygon polygon;
  for (int i = 0; i < vertices; ++i) {
    const double turn = -2 * std::numbers::pi * i / vertices;
    const double r = radius * (0.7 + 0.3 * Unit(engine));
    polygon.AddPoint(x + r * std::cos(turn), y + r * std::sin(turn));
  }
  polygon.Close();
  return polygon;
}

void Demand(bool condition, const char* what) {
  if (condition) return;
  std::fputs(what, stderr);
  std::abort();
}

struct Data {
  std::filesystem::path folder;
  std::vector<Geometry> shapes;
  std::vector<Coord> points;
  GDALDatasetUniquePtr dataset;
  OGRLayer* layer = nullptr;

  Data() {
    EnsureGdal();
    std::mt19937_64 engine(20240521);
    constexpr int kAcross = 71;  // neighbours overlap a little
    for (int i = 0; i < kPolygons; ++i)
      shapes.emplace_back(
          Star(engine, 1000.0 * (i % kAcross), 1000.0 * (i / kAcross), 600, kVertices));
    for (int i = 0; i < kPoints; ++i)
      points.push_back({1000.0 * kAcross * Unit(engine), 1000.0 * kAcross * Unit(engine)});
    Write();
  }
  ~Data() {
    dataset.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  std::vector<SpatialIndex::Entry> Entries() const {
    std::vector<SpatialIndex::Entry> entries;
    for (std::size_t i = 0; i < shapes.size(); ++i)
      entries.push_back({static_cast<Oid>(i), shapes[i]});
    return entries;
  }
  void OgrAt(const Coord& p, std::vector<Oid>& oids) const {
    oids.clear();
    OGRPoint point(p.x, p.y);
    layer->SetSpatialFilter(&point);
    while (const OGRFeatureUniquePtr feature{layer->GetNextFeature()})
      if (feature->GetGeometryRef()->Intersects(&point)) oids.push_back(feature->GetFID());
  }

 private:
  void Write() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "orlinths-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    folder = pattern;
    const std::string path = folder / "zones.shp";
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("ESRI Shapefile");
    dataset.reset(driver->Create(path.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    layer = dataset->CreateLayer("zones", nullptr, wkbPolygon);
    for (const Geometry& shape : shapes) {
      OGRLinearRing ring;
      for (const Coord& c : shape.AsPolygon().Coords()) ring.addPoint(c.x, c.y);
      OGRPolygon polygon;
      polygon.addRing(&ring);
      OGRFeature feature(layer->GetLayerDefn());
      feature.SetGeometry(&polygon);
      if (layer->CreateFeature(&feature) != OGRERR_NONE) std::abort();
    }
    dataset.reset();  // closed, so that the file is whole
    dataset.reset(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR));
    layer = dataset->GetLayer(0);
    Demand(layer->GetFeatureCount() == kPolygons, "The class was not written.\n");
  }
};

Data& TheData() {
  static Data data;
  return data;
}

/// Fast and plain answers must be the same before either is timed.
const SpatialIndex& CheckedIndex() {
  static const SpatialIndex index = [] {
    const Data& data = TheData();
    SpatialIndex made(data.Entries());
    std::vector<Oid> fast, plain;
    for (int i = 0; i < 2000; ++i) {
      // Every tenth point is a vertex.
      const auto at = static_cast<std::size_t>(i);
      const Coord p =
          i % 10 == 0 ? data.shapes[at].AsPolygon().Coords()[at % kVertices] : data.points[at];
      made.At(p.x, p.y, fast);
      data.OgrAt(p, plain);
      Demand(!fast.empty() || i % 10 != 0, "A vertex lies on no polygon.\n");
      Demand(fast == plain, "The index and OGR disagree.\n");
    }
    return made;
  }();
  return index;
}

void OgrFilter(benchmark::State& state) {
  const Data& data = TheData();
  CheckedIndex();
  std::vector<Oid> oids;
  std::size_t i = 0;
  for (auto _ : state) {
    data.OgrAt(data.points[i++ % kPoints], oids);
    benchmark::DoNotOptimize(oids.data());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(OgrFilter)->Unit(benchmark::kMicrosecond);

void IndexAt(benchmark::State& state) {
  const Data& data = TheData();
  const SpatialIndex& index = CheckedIndex();
  std::vector<Oid> oids;
  std::size_t i = 0;
  for (auto _ : state) {
    const Coord& p = data.points[i++ % kPoints];
    index.At(p.x, p.y, oids);
    benchmark::DoNotOptimize(oids.data());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(IndexAt)->Unit(benchmark::kMicrosecond);

/// Index and half a million questions, from nothing.
void BuildAndAskHalfAMillion(benchmark::State& state) {
  const Data& data = TheData();
  CheckedIndex();
  for (auto _ : state) {
    const SpatialIndex index(data.Entries());
    std::vector<Oid> oids;
    for (const Coord& p : data.points) {
      index.At(p.x, p.y, oids);
      benchmark::DoNotOptimize(oids.data());
    }
  }
}
BENCHMARK(BuildAndAskHalfAMillion)->Unit(benchmark::kMillisecond);

void ReadTheClass(benchmark::State& state) {
  const Data& data = TheData();
  data.layer->SetSpatialFilter(nullptr);
  for (auto _ : state) {
    data.layer->ResetReading();
    while (const OGRFeatureUniquePtr feature{data.layer->GetNextFeature()})
      benchmark::DoNotOptimize(feature->GetGeometryRef());
  }
}
BENCHMARK(ReadTheClass)->Unit(benchmark::kMillisecond);

void BuildTheIndex(benchmark::State& state) {
  const Data& data = TheData();
  for (auto _ : state) {
    state.PauseTiming();
    auto entries = data.Entries();
    state.ResumeTiming();
    const SpatialIndex index(std::move(entries));
    benchmark::DoNotOptimize(&index);
  }
}
BENCHMARK(BuildTheIndex)->Unit(benchmark::kMillisecond);

// --- one polygon of many vertices

struct Big {
  Polygon polygon;
  PolygonLocator locator;
  Big()
      : polygon([] {
          std::mt19937_64 engine(7);
          return Star(engine, 35000, 35000, 30000, 200000);
        }()),
        locator(polygon) {
    for (int i = 0; i < 500; ++i) {
      const Coord& p = i % 5 == 0 ? polygon.Coords()[static_cast<std::size_t>(i) * 399]
                                  : TheData().points[static_cast<std::size_t>(i)];
      Demand(locator.Locate(p.x, p.y) == SideOfPolygon(polygon, p.x, p.y),
             "The locator and the plain test disagree.\n");
    }
  }
};

Big& TheBig() {
  static Big big;
  return big;
}

void BigPolygonPlain(benchmark::State& state) {
  const Big& big = TheBig();
  std::size_t i = 0;
  for (auto _ : state) {
    const Coord& p = TheData().points[i++ % kPoints];
    benchmark::DoNotOptimize(SideOfPolygon(big.polygon, p.x, p.y));
  }
}
BENCHMARK(BigPolygonPlain)->Unit(benchmark::kMicrosecond);

void BigPolygonLocator(benchmark::State& state) {
  const Big& big = TheBig();
  std::size_t i = 0;
  for (auto _ : state) {
    const Coord& p = TheData().points[i++ % kPoints];
    benchmark::DoNotOptimize(big.locator.Locate(p.x, p.y));
  }
}
BENCHMARK(BigPolygonLocator)->Unit(benchmark::kMicrosecond);

void BigPolygonBuildLocator(benchmark::State& state) {
  const Big& big = TheBig();
  for (auto _ : state) {
    const PolygonLocator locator(big.polygon);
    benchmark::DoNotOptimize(&locator);
  }
}
BENCHMARK(BigPolygonBuildLocator)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
