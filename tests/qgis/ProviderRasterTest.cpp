// Rasters that come through a data provider of QGIS: cells as in the file that they are made of.
#include "qgis/ProviderRaster.h"

#include <qgsrasterdataprovider.h>
#include <qgsrasterlayer.h>

#include <filesystem>

#include "qgis/LayerBridge.h"
#include "qgis/ProviderFixture.h"
#include "qgis/Text.h"
#include "support/ErrorNumberOf.h"

namespace orlinths {
namespace {

using ::testing::HasSubstr;

constexpr int kPlatform = static_cast<int>(ErrorNumber::kPlatform);

class ProviderRaster : public ProviderFixture {
 protected:
  ProviderRaster() {
    // QGIS keeps statistics beside what it shows.
    const std::string data = std::string(ORLINTHS_SESSIONS) + "/data/";
    for (const char* name : {"elevation.tif", "elevation.prj"})
      std::filesystem::copy(data + name, folder / name);
    file = OpenRasterDataset(folder.Path(), "elevation.tif");
    const QString path = ToQt(file->Path());
    auto* elevation = new QgsRasterLayer(path, QStringLiteral("elevation"));
    project.addMapLayer(elevation);
    QgsRasterDataProvider::VirtualRasterParameters made;
    made.crs = elevation->crs();
    made.extent = elevation->extent();
    made.width = elevation->width();
    made.height = elevation->height();
    made.formula = QStringLiteral("\"elevation@1\" + 0");
    QgsRasterDataProvider::VirtualRasterInputLayers input;
    input.name = QStringLiteral("elevation");
    input.uri = path;
    input.provider = QStringLiteral("gdal");
    made.rInputLayers = {input};
    layer = new QgsRasterLayer(QgsRasterDataProvider::encodeVirtualRasterProviderUri(made),
                               QStringLiteral("made"), QStringLiteral("virtualraster"));
    EXPECT_TRUE(layer->isValid()) << FromQt(layer->source());
    project.addMapLayer(layer);
  }
  /// All cells as doubles, NaN for NoData.
  static std::vector<double> CellsOf(const IPixelBlock& block) {
    std::vector<double> cells;
    for (int row = 0; row < block.Rows(); ++row)
      for (int column = 0; column < block.Columns(); ++column)
        cells.push_back(block.IsNoData(0, column, row) ? -1e30 : block.GetDouble(0, column, row));
    return cells;
  }

  RasterDatasetPtr file;
  QgsRasterLayer* layer;
};

TEST_F(ProviderRaster, HasTheCellsOfTheFileThatItIsMadeOf) {
  const RasterDatasetPtr made = OpenProviderRaster(*layer);
  const IRasterBand &own = made->Band(0), &original = file->Band(0);
  EXPECT_EQ(made->BandCount(), 1);
  EXPECT_EQ(made->Width(), file->Width());
  EXPECT_EQ(made->Height(), file->Height());
  EXPECT_EQ(made->Name(), "made");
  EXPECT_EQ(made->Path(), "host:virtualraster/made");
  EXPECT_EQ(made->SpatialReference()->FactoryCode(), file->SpatialReference()->FactoryCode());
  EXPECT_NEAR(own.Props().meanCellSize.x, original.Props().meanCellSize.x, 1e-9);
  EXPECT_NEAR(own.Props().extent.yMax, original.Props().extent.yMax, 1e-9);
  const auto cells = CellsOf(original.ReadAll());
  EXPECT_EQ(CellsOf(own.ReadAll()), cells);
  const RasterStatistics a = own.Statistics(), b = original.Statistics();
  EXPECT_EQ(a.count, b.count);
  EXPECT_EQ(a.minimum, b.minimum);
  EXPECT_EQ(a.maximum, b.maximum);
  EXPECT_NEAR(a.mean, b.mean, 1e-9);
  EXPECT_EQ(own.AttributeTable() == nullptr, !own.Props().IsInteger());
}

TEST_F(ProviderRaster, IsReadPastItsEdgeAndIntoOtherTypes) {
  const RasterDatasetPtr made = OpenProviderRaster(*layer);
  const IRasterBand &own = made->Band(0), &original = file->Band(0);
  for (const CellPosition at :
       {CellPosition{-2, -3}, CellPosition{3.9, 2.2},
        CellPosition{made->Width() - 2.0, made->Height() - 1.0}, CellPosition{1e6, 0}}) {
    SCOPED_TRACE(at.column);
    IPixelBlock left = own.CreatePixelBlock(7, 5), right = original.CreatePixelBlock(7, 5);
    own.Read(at, left);
    original.Read(at, right);
    EXPECT_EQ(CellsOf(left), CellsOf(right));
    left.SetPixelType(0, PixelType::kDouble);
    right.SetPixelType(0, PixelType::kDouble);
    own.Read(at, left);
    original.Read(at, right);
    EXPECT_EQ(CellsOf(left), CellsOf(right));
  }
}

TEST_F(ProviderRaster, IsReadAlone) {
  const RasterDatasetPtr made = OpenProviderRaster(*layer);
  IRasterBand& band = made->Band(0);
  EXPECT_EQ(ErrorNumberOf([&] { band.Write({0, 0}, band.CreatePixelBlock(1, 1)); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { band.SetNoDataValue(1); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { made->Delete(); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { made->Band(1); }), 9);
  project.removeMapLayer(layer);
  EXPECT_FALSE(made->Exists());
  EXPECT_EQ(ErrorNumberOf([&] { band.ReadAll(); }), 91);
}

TEST_F(ProviderRaster, ThatIsAPictureIsLeftOutWithTheReason) {
  QgsRasterLayer picture(
      QStringLiteral("type=xyz&url=http://localhost:1/%7Bz%7D/%7Bx%7D/%7By%7D.png&zmax=3&zmin=0"),
      QStringLiteral("tiles"), QStringLiteral("wms"));
  ASSERT_TRUE(picture.isValid());
  const BridgedLayer bridged = Bridge(picture);
  EXPECT_TRUE(std::holds_alternative<std::monostate>(bridged.layer));
  EXPECT_THAT(bridged.whyLeftOut, HasSubstr("wms gives a picture"));
  EXPECT_TRUE(std::holds_alternative<LayerPtr>(Bridge(*layer).layer));
}

}  // namespace
}  // namespace orlinths
