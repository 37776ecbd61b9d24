// Zonal statistics of 10,000 zones over 4000 by 4000 float cells: our gatherers against cells taken
// one by one as values of mixed type over the same fill, and what reading the band alone takes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <limits>
#include <optional>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "data/Raster.h"
#include "data/RasterAccess.h"
#include "data/Workspace.h"
#include "numerics/ArrayStats.h"
#include "numerics/Constants.h"
#include "raster/PolygonCells.h"
#include "raster/ZonalStats.h"

namespace orlinths {
namespace {

void Need(bool ok, const char* what) {
  if (ok) return;
  std::cerr << "ZonalBench: " << what << '\n';
  std::exit(1);
}

constexpr int kSide = 4000;
constexpr double kCell = 30;
constexpr int kZonesASide = 100;

/// Ten thousand home ranges of 24 vertices, side by side, over a wavy surface with gaps.
class Region {
 public:
  Region() : folder_(std::filesystem::temp_directory_path() / "orlinths_zonal_bench") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    MakeRaster();
    MakeZones();
    raster = OpenRasterDataset(folder_.string(), "surface.tif");
    layer.emplace(OpenFeatureClass(folder_.string(), "zones"));
  }
  ~Region() {
    layer.reset();
    raster.reset();
    std::filesystem::remove_all(folder_);
  }
  const IRasterBand& Band() const { return raster->Band(0); }
  TablePtr NewTable() const {
    std::optional<Fields> fields;
    return createDBF("out.dbf", folder_.string(), true, fields);
  }

  RasterDatasetPtr raster;
  std::optional<IFeatureLayer> layer;
  std::vector<Polygon> zones;

 private:
  void MakeRaster() const {
    const RasterDatasetPtr made = CreateRasterDataset(folder_.string(), {"surface.tif",
                                                                         "TIFF",
                                                                         {0, 0},
                                                                         kSide,
                                                                         kSide,
                                                                         {kCell, kCell},
                                                                         1,
                                                                         PixelType::kFloat,
                                                                         nullptr});
    IRasterBand& band = made->Band(0);
    band.SetNoDataValue(-9999);
    IPixelBlock block = band.CreatePixelBlock(kSide, kSide);
    Edit(block, 0, [](auto plane) {
      for (int row = 0; row < kSide; ++row)
        for (int column = 0; column < kSide; ++column) {
          const double height = 1000 + 300 * std::sin(row * 0.011) * std::cos(column * 0.007);
          using Cell = typename decltype(plane)::Cell;
          plane.Row(row)[static_cast<std::size_t>(column)] =
              static_cast<Cell>((row * 31 + column * 17) % 23 == 0 ? -9999 : std::round(height));
        }
    });
    band.Write({0, 0}, block);
    made->Close();
  }
  void MakeZones() {
    SpatialReferencePtr reference;
    const FeatureClassPtr made = CreateShapefile(folder_.string(), "zones", GeometryType::kPolygon,
                                                 false, false, reference, true);
    const CursorPtr rows = made->Insert();
    const auto row = made->CreateFeatureBuffer();
    constexpr double step = kSide * kCell / kZonesASide;
    for (int i = 0; i < kZonesASide * kZonesASide; ++i) {
      const double x = (i % kZonesASide + 0.5) * step, y = (i / kZonesASide + 0.5) * step;
      std::vector<Coord> ring;
      for (int v = 0; v <= 24; ++v) {
        const double turn = -2 * kPi * (v % 24) / 24;
        const double radius = step * (0.36 + 0.1 * ((v % 24 * 7 + i) % 5) / 4);
        ring.push_back({x + radius * std::cos(turn), y + radius * std::sin(turn)});
      }
      Polygon zone;
      zone.AddPart(ring);
      zones.push_back(zone);
      row->SetShape(zone);
      rows->InsertRow(*row);
    }
    rows->Flush();
  }
  std::filesystem::path folder_;
};

const Region& Data() {
  static const Region region;
  return region;
}

/// The same cells by `GetVal` and a grown array of mixed values.
std::vector<double> GatherPlain(const Polygon& zone, const IPixelBlock& block, const Mask& noData,
                                const IRasterProps& props) {
  const Mask fill = GetPolyRasterArray2(zone, props);
  std::vector<Value> values;
  for (auto row = fill.First().lower; row <= fill.First().upper; ++row)
    for (auto column = fill.Second().lower; column <= fill.Second().upper; ++column)
      if (fill(row, column))
        values.push_back(noData(row, column) ? Value(double{kMissing})
                                             : block.GetVal(0, column, row));
  std::vector<double> numbers;
  for (const Value& value : values) numbers.push_back(ToDouble(value));
  return numbers;
}

void Gather_Plain(benchmark::State& state) {
  const Region& data = Data();
  const IPixelBlock block = data.Band().ReadAll();
  const Mask noData = GetNoDataArr2(block);
  std::int64_t cells = 0;
  for (auto _ : state)
    for (const Polygon& zone : data.zones)
      cells += std::ssize(GatherPlain(zone, block, noData, data.Band().Props()));
  state.SetItemsProcessed(cells);
}

void Gather_InMemory(benchmark::State& state) {
  const Region& data = Data();
  const IRasterProps& props = data.Band().Props();
  const IPixelBlock block = data.Band().ReadAll();
  const Mask noData = GetNoDataArr2(block);
  std::vector<double> values;
  for (const Polygon& zone : data.zones) {
    Need(ISectArrPolyRaster(zone, block, props, true, &noData, values), "gathering");
    Need(values == GatherPlain(zone, block, noData, props), "the ways differ");
  }
  std::int64_t cells = 0;
  for (auto _ : state)
    for (const Polygon& zone : data.zones) {
      ISectArrPolyRaster(zone, block, props, true, &noData, values);
      cells += std::ssize(values);
    }
  state.SetItemsProcessed(cells);
}

void Gather_ByParts(benchmark::State& state) {
  const Region& data = Data();
  std::vector<double> values;
  std::int64_t cells = 0;
  for (auto _ : state)
    for (const Polygon& zone : data.zones) {
      bool keepNoData = true;
      Need(ISectArrPolyLargeRaster(zone, data.Band(), data.Band().Props(), keepNoData, values),
           "gathering");
      cells += std::ssize(values);
    }
  state.SetItemsProcessed(cells);
}

void ReadingTheBandAlone(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(Data().Band().ReadAll());
}

double Seconds(std::clock_t ticks) { return static_cast<double>(ticks) / CLOCKS_PER_SEC; }

/// Processor time of the quickest of three reads.
double SecondsOfReading() {
  double least = std::numeric_limits<double>::infinity();
  for (int i = 0; i < 3; ++i) {
    const std::clock_t begin = std::clock();
    benchmark::DoNotOptimize(Data().Band().ReadAll());
    least = std::min(least, Seconds(std::clock() - begin));
  }
  return least;
}

/// How many cells lie in the zones.
std::int64_t CellsCovered() {
  const Region& data = Data();
  const IPixelBlock block = data.Band().ReadAll();
  std::vector<double> values;
  std::int64_t cells = 0;
  for (const Polygon& zone : data.zones) {
    Need(ISectArrPolyRaster(zone, block, data.Band().Props(), true, nullptr, values), "gathering");
    cells += std::ssize(values);
  }
  return cells;
}

/// The whole run, from the band on disk to the table; and what it takes for each cell covered, in
/// processor time, when the reading of the band is left out.
void WholeRun(benchmark::State& state) {
  const Region& data = Data();
  const double reading = SecondsOfReading();
  const std::clock_t begin = std::clock();
  for (auto _ : state) {
    const TablePtr table = data.NewTable();
    ZoneCells cells(data.Band(), state.range(0) != 0);
    WriteZonalStats(
        *data.layer, cells, {}, *table, [](std::int64_t) {}, [](std::int64_t) {});
    Need(table->RowCount() == std::ssize(data.zones), "records");
  }
  const double run = Seconds(std::clock() - begin) / static_cast<double>(state.iterations());
  state.counters["ns_a_cell_beyond_reading"] =
      (run - reading) * 1e9 / static_cast<double>(CellsCovered());
}

BENCHMARK(Gather_Plain)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Gather_InMemory)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Gather_ByParts)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(ReadingTheBandAlone)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(WholeRun)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace orlinths

BENCHMARK_MAIN();
