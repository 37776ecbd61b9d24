#include "qgis/ProviderRaster.h"

#include <QPointer>

#include <qgsrasterblock.h>
#include <qgsrasterdataprovider.h>
#include <qgsrasterlayer.h>

#include <algorithm>
#include <cfloat>
#include <cstring>
#include <memory>
#include <vector>

#include "data/BandCells.h"
#include "qgis/ProviderSource.h"
#include "qgis/References.h"
#include "qgis/Text.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

std::optional<PixelType> PixelTypeFor(Qgis::DataType type) {
  switch (type) {
    case Qgis::DataType::Byte:
      return PixelType::kUInt8;
    case Qgis::DataType::UInt16:
      return PixelType::kUInt16;
    case Qgis::DataType::Int16:
      return PixelType::kInt16;
    case Qgis::DataType::UInt32:
      return PixelType::kUInt32;
    case Qgis::DataType::Int32:
      return PixelType::kInt32;
    case Qgis::DataType::Float32:
      return PixelType::kFloat;
    case Qgis::DataType::Float64:
      return PixelType::kDouble;
    default:
      return {};
  }
}

[[noreturn]] void OnlyForReading(const std::string& path) {
  throw RuntimeError::Platform("The raster is open for reading: " + path);
}

class ProviderBand final : public IRasterBand {
 public:
  /// `band` is from 0.
  ProviderBand(QgsRasterLayer& layer, int band)
      : layer_(&layer), band_(band + 1), path_(ProviderPath(layer)) {
    const QgsRasterDataProvider& provider = *layer.dataProvider();
    const QgsRectangle extent = provider.extent();
    props_.width = provider.xSize();
    props_.height = provider.ySize();
    props_.pixelType = *PixelTypeFor(provider.dataType(band_));
    if (provider.sourceHasNoDataValue(band_) && provider.useSourceNoDataValue(band_))
      props_.noDataValue = AsCell(provider.sourceNoDataValue(band_));
    else if (layer.providerType() == QStringLiteral("virtualraster"))
      props_.noDataValue = AsCell(-FLT_MAX);  // what formulas answer, and QGIS does not declare
    props_.meanCellSize = {extent.width() / props_.width, extent.height() / props_.height};
    props_.extent = {extent.xMinimum(), extent.yMinimum(), extent.xMaximum(), extent.yMaximum()};
    props_.spatialReference = ReferenceOf(layer.crs());
  }

  const IRasterProps& Props() const override { return props_; }
  void SetNoDataValue(double) override { OnlyForReading(path_); }
  void Write(CellPosition, const IPixelBlock&) override { OnlyForReading(path_); }
  void ComputeStatsAndHist() override { OnlyForReading(path_); }
  RasterStatistics Statistics(int skipX, int skipY) const override {
    return StatisticsOf(*this, skipX, skipY);
  }
  const RasterAttributeTable* AttributeTable() const override {
    CheckStop();
    if (!tableMade_) table_ = CountedTable(*this);
    tableMade_ = true;
    return table_.get();
  }

  void Read(CellPosition position, IPixelBlock& block) const override {
    CheckStop();
    const CellWindow window = WindowOf(props_, position, block);
    block.SetNoDataValue(0, props_.noDataValue);
    if (window.IsEmpty()) {
      block.MakeRoomForNoData(0);
      Edit(block, 0, [](auto plane) {
        for (int row = 0; row < plane.rows; ++row) std::ranges::fill(plane.Row(row), plane.noData);
      });
    } else if (window.Fills(block) && PlaneType(block.Type()) == PlaneType(props_.pixelType)) {
      ReadOwn(window, block);
    } else {
      IPixelBlock own = CreatePixelBlock(window.columns, window.rows);
      ReadOwn(window, own);
      PutCells(own, window, block);
    }
  }

 private:
  /// As the cells hold it.
  std::optional<double> AsCell(double value) const {
    const IPixelBlock cell(1, 1, props_.pixelType);
    return Visit(cell, 0, [&]<class T>(Plane<T>) -> std::optional<double> {
      if (!Holds<T>(value)) return {};
      return static_cast<double>(static_cast<T>(value));
    });
  }

  QgsRasterDataProvider& Provider() const {
    if (!layer_ || !layer_->isValid()) throw RuntimeError(ErrorNumber::kObjectNotSet);
    return *layer_->dataProvider();
  }

  std::unique_ptr<QgsRasterBlock> Fetch(const CellWindow& window, int first, int rows) const {
    const CellSize cell = props_.meanCellSize;
    const double left = props_.extent.xMin + window.column * cell.x;
    const double top = props_.extent.yMax - (window.row + first) * cell.y;
    const QgsRectangle place(left, top - rows * cell.y, left + window.columns * cell.x, top);
    std::unique_ptr<QgsRasterBlock> cells(Provider().block(band_, place, window.columns, rows));
    if (!cells || !cells->isValid() || cells->isEmpty()) {
      const QString said = Provider().lastError();
      throw RuntimeError::Platform(said.isEmpty() ? "The raster could not be read: " + path_
                                                  : FromQt(said));
    }
    return cells;
  }

  /// A block of the window's size and the band's own type.
  void ReadOwn(const CellWindow& window, IPixelBlock& own) const {
    const auto columns = static_cast<std::size_t>(window.columns);
    std::vector<bool> missing;  // of the whole window; made when a cell is
    const int step =
        static_cast<int>(std::clamp<std::int64_t>(kCellsPerStep / window.columns, 1, window.rows));
    for (int first = 0; first < window.rows; first += step) {
      CheckStop();
      const int rows = std::min(step, window.rows - first);
      const auto cells = Fetch(window, first, rows);
      const std::size_t count = columns * static_cast<std::size_t>(rows);
      const bool isOwnType = PixelTypeFor(cells->dataType()) == props_.pixelType;
      Edit(own, 0, [&]<class T>(EditablePlane<T> plane) {
        T* to = plane.Row(first).data();
        if (isOwnType) {
          std::memcpy(to, cells->bits(), count * sizeof(T));
        } else {
          for (std::size_t i = 0; i < count; ++i)
            to[i] = cells->isNoData(i) ? T{} : ToCell<T>(cells->value(i));
        }
      });
      if (!cells->hasNoData()) continue;
      for (std::size_t i = 0; i < count; ++i) {
        if (!cells->isNoData(i)) continue;
        missing.resize(columns * static_cast<std::size_t>(window.rows));
        missing[columns * static_cast<std::size_t>(first) + i] = true;
      }
    }
    if (missing.empty()) return;
    own.MakeRoomForNoData(0);
    Edit(own, 0, [&](auto plane) {
      for (std::size_t i = 0; i < missing.size(); ++i)
        if (missing[i]) plane.cells[i] = plane.noData;
    });
  }

  QPointer<QgsRasterLayer> layer_;
  int band_;  // from 1
  std::string path_;
  IRasterProps props_;
  mutable bool tableMade_ = false;
  mutable std::unique_ptr<RasterAttributeTable> table_;
};

class ProviderRasterDataset final : public IRasterDataset {
 public:
  explicit ProviderRasterDataset(QgsRasterLayer& layer)
      : layer_(&layer), name_(FromQt(layer.name())), path_(ProviderPath(layer)) {
    for (int band = 0; band < layer.bandCount(); ++band)
      bands_.push_back(std::make_unique<ProviderBand>(layer, band));
  }

  std::string Name() const override { return name_; }
  std::string PathName() const override { return layer_ ? FolderFor(*layer_) : std::string(); }
  std::string Path() const override { return path_; }
  bool Exists() const override { return layer_ && layer_->isValid(); }
  int BandCount() const override { return static_cast<int>(bands_.size()); }
  int Width() const override { return First().width; }
  int Height() const override { return First().height; }
  orlinths::PixelType PixelType() const override { return First().pixelType; }
  IRasterBand& Band(int i) const override {
    if (i < 0 || i >= BandCount()) throw RuntimeError(ErrorNumber::kSubscript);
    return *bands_[static_cast<std::size_t>(i)];
  }
  std::string Format() const override {
    return layer_ ? FromQt(layer_->providerType()) : std::string();
  }
  SpatialReferencePtr SpatialReference() const override { return First().spatialReference; }
  Envelope Extent() const override { return First().extent; }
  void Delete() override {
    throw RuntimeError::Platform("The layer " + name_ + " is no file and cannot be deleted.");
  }

 private:
  const IRasterProps& First() const { return Band(0).Props(); }

  QPointer<QgsRasterLayer> layer_;
  std::string name_, path_;
  std::vector<std::unique_ptr<ProviderBand>> bands_;
};

}  // namespace

std::string WhyNoCells(const QgsRasterLayer& layer) {
  const QgsRasterDataProvider& provider = *layer.dataProvider();
  bool hasCells = (provider.capabilities() & QgsRasterInterface::Size) != 0 &&
                  provider.xSize() > 0 && provider.ySize() > 0 && layer.bandCount() > 0;
  for (int band = 1; hasCells && band <= layer.bandCount(); ++band)
    hasCells = PixelTypeFor(provider.dataType(band)).has_value();
  if (hasCells) return {};
  return "the provider " + FromQt(layer.providerType()) + " gives a picture of it and no cells";
}

RasterDatasetPtr OpenProviderRaster(QgsRasterLayer& layer) {
  return std::make_shared<ProviderRasterDataset>(layer);
}

}  // namespace orlinths
