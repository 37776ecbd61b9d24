#include "kernel/PercentVolumeContours.h"

#include "data/MapAccess.h"
#include "host/Pickers.h"
#include "kernel/VolumeContours.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

constexpr std::int32_t kTopBin = 1000;

VolumeHistogram HistogramOf(const IRasterBand& band) {
  const RasterStatistics heights = band.Statistics(1, 1);
  VolumeHistogram histogram(kTopBin, heights.minimum, heights.maximum);
  histogram.Add(band.ReadAll(), 0);
  return histogram;
}

}  // namespace

frmPctVolContour::frmPctVolContour()
    : Dialog("frmPctVolContour", "Percent Volume Contours", "PCTVOLCONTOUR") {
  cmbL = Add<ComboBox>("cmbL", "Raster layer:");
  txtBnds = Add<TextBox>("txtBnds", "Percent volume contours:", "95, 90, 50");
  txtOutFolder =
      Add<TextBox>("txtOutFolder", "Output folder (a new, empty folder is strongly recommended):");
  btnFolder = Add<Button>("btnFolder", "...");
  txtOutFolder->picker = btnFolder;
  AddStatusLine();
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  cmbL->OnClick = [this] { ChooseRaster(); };
  btnFolder->OnClick = [this] { PickOutputFolder(*this, folder_, *txtOutFolder); };
  btnOK->OnClick = [this] { Draw(); };
}

void frmPctVolContour::OnLoad() {
  layer_.reset();
  if (ListLayers(kRasterLayer, *cmbL) == 0) {
    MessageBox("Warning: no raster layers are present in map (nothing to work with).", kExclamation,
               "Warning");
    btnOK->enabled = false;
  }
}

void frmPctVolContour::ChooseRaster() {
  layer_.reset();
  if (cmbL->text().empty()) return;
  layer_ = GetRasterLayerByName(cmbL->text);
}

void frmPctVolContour::Draw() {
  Run("PctVolContour: ", [this] {
    const auto refuse = [](const char* text) { MessageBox(text, kExclamation, "Error"); };
    if (cmbL->text().empty()) return refuse("Error: input raster layer has not been defined.");
    if (txtBnds->text().empty())
      return refuse("Error: precent volume contours have not been defined.");
    if (txtOutFolder->text().empty()) return refuse("Error: output folder has not been defined.");

    Status("Calculating percent volume contours...");
    // A copy: while the run yields, the user can choose another layer.
    const std::shared_ptr<IRasterLayer> layer = layer_;
    const IRasterDataset& raster = NotNothing(layer.get()).Dataset();
    // The layer's name in the map stands for the dataset's: of a renamed layer there is no raster.
    const ContourPlaces places = {folder_, raster.PathName(), layer->Name()};
    if (!DrawVolumeContours(HistogramOf(raster.Band(0)), txtBnds->text, places))
      return Status("");  // what ContourGrid cannot do it has reported

    Status("");
    layer_.reset();
    MessageBox("Processing complete.");
    Unload();
  });
}

}  // namespace orlinths
