#include "kernel/KernelEstimator.h"

#include "data/FieldsAndDatasets.h"
#include "runtime/Ports.h"

namespace orlinths {
namespace {

constexpr std::int32_t kTopBin = 100'000;

}  // namespace

frmKernel::frmKernel() : KernelDialog("frmKernel", "Fixed Kernel Density Estimator", "KDE") {
  AddInput();
  chkUseSelected = AddUseSelected();
  AddWeights();
  AddNumbers();
  AddOutput();
  AddRasterName("Raster name:", 14, "Warning: raster name cannot be longer than 14 characters.");
  AddContours();
  AddEnd();

  cmbPntL->OnClick = [this] {
    chkUseSelected->value = false;
    chkUseSelected->Enable(false);
    if (ChooseLayer()) chkUseSelected->Enable(layer_->SelectionSet().Count() >= 1);
  };
  btnOK->OnClick = [this] { Estimate(); };
}

/// The selected points, or all that the layer's filter lets through.
PointArray frmKernel::Points(const IFeatureLayer& layer, std::optional<int> weightField) const {
  const QueryFilter what = PointsOnly();
  if (chkUseSelected->value)
    return ReadPoints(*layer.SearchSelected(what), layer.SelectionSet().Count(), weightField);
  return ReadPoints(*layer.Search(what), layer.FeatureClass().FeatureCount(layer.Shown()),
                    weightField);
}

void frmKernel::Estimate() {
  Run("Kernel: ", [this] {
    const auto refuse = [](const std::string& text) { MessageBox(text, kExclamation, "Error"); };
    if (cmbPntL->text().empty()) return refuse("Error: input point layer has not been defined.");
    if (const auto missing = MissingSetting()) return refuse(*missing);
    std::string name = CleanFileName(txtR->text);
    if (name.empty()) name = "kde";
    txtR->text = name;
    // Copies: while the run yields, the user can choose another layer or folder.
    const std::shared_ptr<IFeatureLayer> layer = layer_;
    const std::string folder = folder_;
    if (IsGridName(folder, name))
      return refuse(
          "Error: a name conflict has been found. Please define a new, unique raster name.");

    const IFeatureClass& features = NotNothing(layer.get()).FeatureClass();
    const auto [h, cellSize, scaling, weightField] = ReadSettings(features);
    const KernelGrid grid = KernelGridOver(layer->Extent(), h, cellSize);
    const PointArray points = Points(*layer, weightField);

    // What SimpleKernel2 and ContourGrid cannot do they have reported: the run is over.
    Status("Calculating kernel...");
    auto surface = SimpleKernel2(points, h, cellSize, grid.originX, grid.originY, grid.columns,
                                 grid.rows, scaling);
    if (!surface) return Status("");
    Status("Writing raster output...");
    const RasterDatasetPtr raster =
        WriteSurface(folder, name, *surface, grid, features.SpatialReference());
    if (chkBnds->value) {
      Status("Calculating percent volume contours...");
      const VolumeHistogram histogram = HistogramOf(*surface, *raster, kTopBin);
      surface.reset();
      if (!DrawVolumeContours(histogram, txtBnds->text, {folder, folder, name})) return Status("");
    }

    Status("");
    layer_.reset();
    MessageBox("Processing complete.");
    Unload();
  });
}

}  // namespace orlinths
