#include "kernel/BatchKernel.h"

#include "data/FieldsAndDatasets.h"
#include "data/RasterAccess.h"
#include "kernel/FixGroups.h"
#include "runtime/Ports.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

/// Coarser than that of the single estimator, by design.
constexpr std::int32_t kTopBin = 1000;
constexpr std::int64_t kHighestIndex = 9999;

}  // namespace

frmBatchKernel::frmBatchKernel()
    : KernelDialog("frmBatchKernel", "Batch Fixed Kernel Density Estimator", "BKDE") {
  AddInput();
  cmbUIDFLD = Add<ComboBox>("cmbUIDFLD", "Unique ID field (integer):");
  AddWeights();
  AddNumbers();
  InFrame("fraExtents", "Extents ", [this] {
    optSmall = Add<OptionButton>(
        "optSmall",
        "Minimize the extent of each kernel to the extent of the input data for that kernel");
    optFull =
        Add<OptionButton>("optFull", "Every kernel is calculated at the full extent", Checked);
  });
  AddOutput();
  AddRasterName("Raster name prefix:", 9,
                "Warning: raster name prefix cannot be longer than 9 characters.");
  AddContours();
  PBar = Add<ProgressBar>("PBar");
  AddEnd();

  cmbPntL->OnClick = [this] {
    // The identifier fields of a layer chosen before stay in the list.
    if (ChooseLayer()) ListFields(*layer_, *cmbUIDFLD, kIntegerFields);
  };
  btnOK->OnClick = [this] { EstimateAll(); };
}

std::string frmBatchKernel::CleanPrefix() {
  std::string prefix = CleanFileName(txtR->text);
  if (prefix.empty()) prefix = "kde_";
  if (!prefix.ends_with('_')) prefix += '_';
  txtR->text = prefix;
  return prefix;
}

std::optional<std::vector<std::int32_t>> frmBatchKernel::Identifiers(const IFeatureLayer& layer,
                                                                     int idField) const {
  QueryFilter what;
  what.onlyFields = {cmbUIDFLD->text()};
  what.withShape = false;
  const auto values = GetUniqueValues(*layer.Search(what), idField);
  if (!values) return std::nullopt;
  std::vector<std::int32_t> ids;
  for (const Value& value : *values) ids.push_back(ToLong(value));
  return ids;
}

bool frmBatchKernel::DrawContours(const DensityGrid& surface, const IRasterDataset& raster,
                                  const std::string& folder, const std::string& name) const {
  const auto isFree = [&](const std::string& entry) {
    const std::string file = ContourName(name, entry) + ".shp";
    if (!files::FileExists(JoinPath(folder, file))) return true;
    MessageBox(
        "Warning: a naming conflict was detected and this layer could not be created:\rPVC_" +
            name + entry + ".shp",
        kExclamation, "Warning");
    return false;
  };
  return DrawVolumeContours(HistogramOf(surface, raster, kTopBin), txtBnds->text,
                            {folder, folder, name}, isFree);
}

void frmBatchKernel::EstimateAll() {
  Run("BatchKernel: ", [this] {
    const auto refuse = [](const std::string& text) { MessageBox(text, kExclamation, "Error"); };
    if (cmbPntL->text().empty()) return refuse("Error: input point layer has not been defined.");
    if (cmbUIDFLD->text().empty()) return refuse("Error: unique ID field has not been defined.");
    if (const auto missing = MissingSetting()) return refuse(*missing);
    const std::string prefix = CleanPrefix();

    // Copies: while the run yields, the user can choose another layer or folder.
    const std::shared_ptr<IFeatureLayer> layer = layer_;
    const std::string folder = folder_;
    const IFeatureClass& features = NotNothing(layer.get()).FeatureClass();
    const SpatialReferencePtr reference = features.SpatialReference();
    const auto [h, cellSize, scaling, weightField] = ReadSettings(features);
    const int idField = IndexOfField(features, cmbUIDFLD->text);
    OpenRasterWorkspace(folder);  // a folder that is not there ends the run here
    KernelGrid grid;
    if (optFull->value) grid = KernelGridOver(layer->Extent(), h, cellSize);
    const auto ids = Identifiers(*layer, idField);
    if (!ids) return Status("");
    if (std::ssize(*ids) - 1 > kHighestIndex) {
      MessageBox(
          "Error: more than 10,000 unique values encountered. See WebHelp for further details.",
          kCritical, "Error");
      return;
    }

    SurfaceNames names(folder, prefix, *ids);
    QueryFilter what = PointsOnly();
    what.onlyFields->push_back(cmbUIDFLD->text);
    FixGroups groups(*layer->Search(what), idField, weightField, *ids);
    PBar->min = 0;
    PBar->max = static_cast<float>(ids->size());
    PBar->SetValue(0);
    for (std::size_t i = 0; i < ids->size(); ++i) {
      Yield();
      PBar->SetValue(static_cast<double>(i + 1));
      Status("Calculating...");
      const std::string name = names.Next((*ids)[i], layer->Name());
      const FixGroups::Group group = groups.Take(i);
      if (optSmall->value) grid = KernelGridOver(group.extent, h, cellSize);
      // What SimpleKernel2 and ContourGrid cannot do they have reported: the run is over.
      const auto surface = SimpleKernel2(group.points, h, cellSize, grid.originX, grid.originY,
                                         grid.columns, grid.rows, scaling);
      if (!surface) return Status("");
      Status("Writing...");
      const RasterDatasetPtr raster = WriteSurface(folder, name, *surface, grid, reference);
      if (!chkBnds->value) continue;
      Status("Contours...");
      if (!DrawContours(*surface, *raster, folder, name)) return Status("");
    }
    names.Close();

    Status("");
    layer_.reset();
    MessageBox("Processing complete.");
    Unload();
  });
}

}  // namespace orlinths
