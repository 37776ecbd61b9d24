// Zonal statistics: one record for each polygon, with statistics of the raster cells in it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "data/Layers.h"
#include "data/Mask.h"
#include "data/PixelBlock.h"
#include "data/RasterBand.h"
#include "host/Dialog.h"
#include "host/Pickers.h"

namespace orlinths {

/// A raster of more cells is read polygon by polygon, unless the user wants otherwise.
inline constexpr std::int64_t kMostCellsInMemory = 25'000'000;

/// Where the cells of zones come from: the whole band in memory, or one read for each zone. The
/// band must live as long.
class ZoneCells {
 public:
  /// Reads the whole band unless `largeRaster`. Error 7 when memory does not hold it.
  ZoneCells(const IRasterBand& band, bool largeRaster);
  /// Marks the NoData cells of a band in memory: once, before the first zone.
  void MarkNoData();
  const IRasterBand& Band() const { return band_; }

  /// The zone's cells, NoData as kMissing; a single kMissing where there are none. Error 9, after
  /// the report of what went wrong, when they cannot be had.
  template <class Number>
  void Gather(const Polygon& zone, std::vector<Number>& values) const;

 private:
  const IRasterBand& band_;
  std::optional<IPixelBlock> whole_;
  Mask noData_;
};

struct ZonalOptions {
  bool useSelected = false;    ///< the layer's selection alone
  bool recordOutside = false;  ///< a record of kMissing for a zone wholly beyond the raster
  bool centreOfSmall = false;  ///< a zone without a cell centre takes the cell under the centre of
                               ///< its envelope
};

/// Adds "PolyFID" and the statistics' fields to `output`, which has a field "ID", and a record for
/// each polygon of the layer in the layer's order. `begin(count)` is called before the first
/// polygon and `step(done)` after each. A failure is raised; the records before it are in the
/// table. Cost: what `ZoneCells` says for each polygon, and two passes over its cells.
void WriteZonalStats(const IFeatureLayer& polygons, ZoneCells& cells, const ZonalOptions& options,
                     ITable& output, const std::function<void(std::int64_t count)>& begin,
                     const std::function<void(std::int64_t done)>& step);

class frmZonalStats : public Dialog {
 public:
  frmZonalStats();

 private:
  void OnLoad() override;
  void ChoosePolygons();
  void ChooseRaster();
  void CompareReferences();
  void ShowNote();
  void ZonalStats();

  ComboBox* cmbPolyL;
  CheckBox* chkUseSelected;
  ComboBox* cmbRL;
  CheckBox *chkMode, *chkSR;
  TextBox* txtNote;
  CheckBox *chkOverlap, *chkSmall;
  TextBox* txtOutFile;
  Button *btnOpen, *btnOK;
  ProgressBar* PBar;

  std::shared_ptr<IFeatureLayer> polygons_;
  std::shared_ptr<IRasterLayer> raster_;
  /// What `CheckSpatialReferenceSame` said; nothing before both layers are chosen.
  std::optional<int> referencesSame_;
  OutputChoice output_;
};

}  // namespace orlinths
