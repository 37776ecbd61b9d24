// The ground of the tests of random points: a map with layers, a hand on the dialog, and a second,
// slow sampler that says which points must come out.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "data/Layers.h"
#include "runtime/Ports.h"
#include "sampling/RandomPoints.h"
#include "support/Cells.h"
#include "support/OgrDataset.h"
#include "support/TempFolder.h"
#include "support/TestHost.h"

namespace orlinths {

/// The rules, one candidate after the other: every distance measured, every polygon asked of GEOS,
/// each cell looked up in the rows that the test wrote.
class PlainSampler {
 public:
  std::optional<double> minimum{};
  bool amongAll = true;
  std::vector<Polygon> excluded{};

  std::vector<Coord> points{};
  std::vector<std::size_t> zones{};  ///< of each point of a stratified design, its polygon
  bool gaveUp = false;
  int candidates = 0;

  struct Band {
    Rows cells;
    Envelope extent;
    double cell = 1;
    std::optional<double> noData{};
  };
  void InRaster(const Band& band, int count, bool keepOffNoData, bool weighted);
  void InPolygon(const Polygon& polygon, const Envelope& area, int count);
  /// `selected` holds places in `polygons`; nothing for all.
  void InPolygons(const std::vector<Polygon>& polygons, const Envelope& area, int count,
                  const std::optional<std::set<std::size_t>>& selected = {});
  void InEach(const std::vector<Polygon>& polygons, const std::vector<int>& counts);

 private:
  Coord Draw(const Envelope& area);
  bool IsFarEnough(const Coord& at) const;
  bool IsAllowed(const Coord& at) const;
  void Store(const Coord& at);

  std::vector<Coord> stored_;
};

class RandomPointsTest : public ::testing::Test {
 protected:
  RandomPointsTest();

  std::string Path(const std::string& file) const { return folder_ / file; }
  /// Polygons from text, each with its number in the column NUM and a name.
  std::shared_ptr<IFeatureLayer> AddPolygons(const std::string& name,
                                             const std::vector<std::string>& shapes,
                                             const std::vector<std::string>& numbers = {});
  std::shared_ptr<IRasterLayer> AddRaster(const std::string& name, const PlainSampler::Band& band,
                                          PixelType type = PixelType::kDouble, double cellY = 0);
  std::shared_ptr<IRasterLayer> AddRasterFile(const std::string& file);

  Hand& Open();
  /// Chooses the layer and the output file `out.shp`.
  Hand& OpenOn(const std::string& layer, bool isRaster = false);
  /// Presses OK with the generator of a new process; all messages before are forgotten.
  void Run();
  /// The same generator once more, for the plain sampler.
  void Rewind();

  /// The points of a shapefile in the folder, to the bit.
  std::vector<Coord> Points(const std::string& name = "out") const;
  std::vector<std::string> Column(const std::string& column) const {
    return ReadOgr(Path("out.shp")).Texts(column);
  }
  std::vector<Polygon> Shapes(const IFeatureLayer& layer) const;
  /// The run ended as the plain one did, which came after `Rewind`: points, number of draws,
  /// message.
  void ExpectAs(const PlainSampler& plain);
  void ExpectRefusal(const std::string& text);
  const std::vector<Message>& Said() const { return host_.messages.All(); }
  bool IsOpen() { return hand_->IsOpen(); }

  TempFolder folder_;
  TestHost host_;
  std::optional<Hand> hand_;

 private:
  float drawAfterRun_ = 0;
};

inline const Message kComplete{"Processing complete", kInformation, "Status"};
extern const Message kGaveUpMessage;

}  // namespace orlinths
