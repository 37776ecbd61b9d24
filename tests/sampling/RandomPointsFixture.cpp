#include "RandomPointsFixture.h"

#include <cmath>

#include "data/GeometryOperators.h"
#include "data/Raster.h"
#include "data/Workspace.h"
#include "numerics/PathGeometry.h"
#include "numerics/Random.h"
#include "runtime/Files.h"
#include "runtime/Value.h"

namespace orlinths {

const Message kGaveUpMessage{
    "Warning: unable to generate random points in a reasonable number of iterations. This could be "
    "due to 1) widely separated multi-part polygons, b) very long, thin polygon shape, c) geometry "
    "errors, d) the minimum distance between points options. Please check the output of this tool "
    "carefully!",
    kExclamation, "Warning"};

// ---- The plain sampler

Coord PlainSampler::Draw(const Envelope& area) {
  ++candidates;
  const double width = area.IsEmpty() ? 0 : area.xMax - area.xMin;
  const double height = area.IsEmpty() ? 0 : area.yMax - area.yMin;
  const float first = UniformDraw();
  const float second = UniformDraw();
  return {static_cast<double>(first) * width + area.xMin,
          static_cast<double>(second) * height + area.yMin};
}

bool PlainSampler::IsFarEnough(const Coord& at) const {
  for (const Coord& kept : stored_)
    if (DistPoints({kept.x, kept.y}, {at.x, at.y}) < *minimum) return false;
  return true;
}

bool PlainSampler::IsAllowed(const Coord& at) const {
  for (const Polygon& polygon : excluded)
    if (Intersects(Geometry(Point{at.x, at.y}), Geometry(polygon))) return false;
  return true;
}

void PlainSampler::Store(const Coord& at) {
  points.push_back(at);
  if (minimum) stored_.push_back(at);
}

void PlainSampler::InRaster(const Band& band, int count, bool keepOffNoData, bool weighted) {
  const double noData = band.noData.value_or(-1e308);
  double maximum = -HUGE_VAL;
  for (const auto& row : band.cells)
    for (const double v : row)
      if (v == v && v != noData && v > maximum) maximum = v;
  const double top = std::nearbyint(band.extent.yMax);
  int failures = 0;
  for (int i = 0; i != count;) {
    const Coord at = Draw(band.extent);
    bool stored = false;
    if (!keepOffNoData) {
      stored = IsFarEnough(at);
      ++i;
    } else {
      const double column = std::floor((at.x - band.extent.xMin) / band.cell);
      const double row = std::trunc((top - at.y) / band.cell);
      if (column >= 0 && column < static_cast<double>(band.cells.front().size()) && row >= 0 &&
          row < static_cast<double>(band.cells.size())) {
        const double v =
            band.cells[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
        stored = v == v && v != noData;
        if (stored && weighted) stored = v > static_cast<double>(UniformDraw()) * maximum;
        stored = stored && IsAllowed(at) && IsFarEnough(at);
      }
      i += stored;
    }
    if (stored) {
      Store(at);
      failures = 0;
    }
    if (++failures == 100001) {
      gaveUp = true;
      return;
    }
  }
}

void PlainSampler::InPolygon(const Polygon& polygon, const Envelope& area, int count) {
  const Geometry shape(polygon);
  int failures = 0;
  for (int i = 0; i != count;) {
    const Coord at = Draw(area);
    if (IsFarEnough(at) && Within(Geometry(Point{at.x, at.y}), shape) && IsAllowed(at)) {
      Store(at);
      ++i;
      failures = 0;
    }
    if (++failures == 100001) {
      gaveUp = true;
      return;
    }
  }
}

void PlainSampler::InPolygons(const std::vector<Polygon>& polygons, const Envelope& area, int count,
                              const std::optional<std::set<std::size_t>>& selected) {
  int failures = 0;
  for (int i = 0; i != count;) {
    const Coord at = Draw(area);
    bool passes = IsFarEnough(at);
    std::optional<std::size_t> first;
    for (std::size_t k = 0; k < polygons.size() && !first; ++k)
      if (Intersects(Geometry(Point{at.x, at.y}), Geometry(polygons[k]))) first = k;
    passes = passes && first && (!selected || selected->contains(*first)) && IsAllowed(at);
    if (passes) {
      Store(at);
      ++i;
      failures = 0;
    }
    if (++failures == 100001) {
      gaveUp = true;
      return;
    }
  }
}

void PlainSampler::InEach(const std::vector<Polygon>& polygons, const std::vector<int>& counts) {
  for (std::size_t k = 0; k < polygons.size(); ++k) {
    const Geometry shape(polygons[k]);
    bool failed = false;
    for (int i = 1; i <= counts[k] && !failed; ++i) {
      int attempts = 0;
      bool found = false;
      Coord at{};
      while (!found && !failed) {
        at = Draw(polygons[k].Envelope());
        found = IsFarEnough(at) && Within(Geometry(Point{at.x, at.y}), shape) && IsAllowed(at);
        failed = ++attempts > 100000;
      }
      if (found) {
        Store(at);
        zones.push_back(k);
      }
    }
    gaveUp = gaveUp || failed;
    if (minimum && !amongAll) stored_.clear();
  }
}

// ---- The fixture

RandomPointsTest::RandomPointsTest() { host_.messages.clock = 1'772'366'400'000'000'000; }

std::shared_ptr<IFeatureLayer> RandomPointsTest::AddPolygons(
    const std::string& name, const std::vector<std::string>& shapes,
    const std::vector<std::string>& numbers) {
  OgrDataset data{"Polygon", "EPSG:32631", {{"NUM", "Real", 12, 3}, {"NAME", "String", 20}}};
  for (std::size_t i = 0; i < shapes.size(); ++i)
    data.records.push_back({shapes[i],
                            {i < numbers.size() ? numbers[i] : "1",
                             std::string("zone ") + static_cast<char>('a' + i)}});
  WriteOgr(Path(name + ".shp"), data);
  return host_.AddLayer(Path(name + ".shp"));
}

std::shared_ptr<IRasterLayer> RandomPointsTest::AddRaster(const std::string& name,
                                                          const PlainSampler::Band& band,
                                                          PixelType type, double cellY) {
  NewRaster made;
  made.name = name;
  made.format = "TIFF";
  made.origin = {band.extent.xMin, band.extent.yMin};
  made.columns = std::ssize(band.cells.front());
  made.rows = std::ssize(band.cells);
  made.cellSize = {band.cell, cellY > 0 ? cellY : band.cell};
  made.pixelType = type;
  const RasterDatasetPtr dataset = CreateRasterDataset(folder_.Path(), made);
  if (band.noData) dataset->Band(0).SetNoDataValue(*band.noData);
  dataset->Band(0).Write({0, 0}, BlockOf(band.cells, type, band.noData));
  dataset->Close();
  return AddRasterFile(name);
}

std::shared_ptr<IRasterLayer> RandomPointsTest::AddRasterFile(const std::string& file) {
  auto layer = std::make_shared<IRasterLayer>(OpenRasterDataset(folder_.Path(), file));
  host_.map.Append(layer);
  return layer;
}

Hand& RandomPointsTest::Open() {
  hand_.emplace(host_.Open<frmRandomPoints>());
  return *hand_;
}

Hand& RandomPointsTest::OpenOn(const std::string& layer, bool isRaster) {
  Open();
  if (isRaster && !hand_->IsChecked("optRaster")) hand_->Choose("optRaster");
  hand_->Choose("cmbLayers", layer);
  return hand_->Pick("btnFolder", Path("out.shp"));
}

void RandomPointsTest::Rewind() {
  ResetGenerator();
  SeedGenerator();
}

void RandomPointsTest::Run() {
  ResetGenerator();
  host_.messages.Clear();
  hand_->Press("btnOK");
  drawAfterRun_ = UniformDraw();
}

std::vector<Coord> RandomPointsTest::Points(const std::string& name) const {
  std::vector<Coord> points;
  const FeatureClassPtr read = OpenFeatureClass(folder_.Path(), name);
  const CursorPtr rows = read->Search();
  while (const IRow* row = rows->Next()) points.push_back({row->Point().x, row->Point().y});
  return points;
}

std::vector<Polygon> RandomPointsTest::Shapes(const IFeatureLayer& layer) const {
  std::vector<Polygon> shapes;
  const CursorPtr rows = layer.FeatureClass().Search();
  while (const IRow* row = rows->Next()) shapes.push_back(row->Polygon());
  return shapes;
}

void RandomPointsTest::ExpectAs(const PlainSampler& plain) {
  EXPECT_EQ(UniformDraw(), drawAfterRun_) << "not as many draws";
  EXPECT_EQ(Points(), plain.points);
  ASSERT_FALSE(Said().empty());
  EXPECT_EQ(Said().back(), plain.gaveUp ? kGaveUpMessage : kComplete);
  EXPECT_FALSE(IsOpen());
  EXPECT_TRUE((**hand_).EndedInSuccess());
  EXPECT_EQ(host_.addedLayers, std::vector<std::string>{"out"});
}

void RandomPointsTest::ExpectRefusal(const std::string& text) {
  Run();
  EXPECT_EQ(Said(), std::vector<Message>({{text, kCritical, "Error"}}));
  EXPECT_TRUE(IsOpen());
  EXPECT_TRUE((**hand_).IsEnabled());
  EXPECT_FALSE((**hand_).EndedInSuccess());
  EXPECT_FALSE(files::FileExists(Path("out.shp")));
}

}  // namespace orlinths
