#include "overlay/IntersectPoints.h"

#include <cstdint>
#include <optional>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "data/MapAccess.h"
#include "host/SmallDialogs.h"
#include "overlay/PointsInPolygons.h"
#include "overlay/PointsInRaster.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

constexpr const char* kLabel = "ISectPnt: ";

/// From here on a spatial join is worth thinking of.
constexpr std::int64_t kManyPoints = 5000;

}  // namespace

frmISectPnt::frmISectPnt() : Dialog("frmISectPnt", "Intersect Point Tool", "ISECTPNT") {
  cmbInputLayer = Add<ComboBox>("cmbInputLayer", "Point file to intersect:");
  InFrame("fraLayers", "Select layers to intersect with:", [this] {
    lstVector = Add<ListBox>("lstVector", "POLYGON");
    lstRaster = Add<ListBox>("lstRaster", "RASTER");
  });
  chkSR = Add<CheckBox>("chkSR", "Ignore all spatial reference (projection) differences");
  chkLowMem = Add<CheckBox>("chkLowMem", "Force low memory (RAM) processing");
  chkNoMsgs = Add<CheckBox>("chkNoMsgs", "Suppress warnings (report at end)");
  txtProgress = Add<TextBox>("txtProgress", "");
  txtProgress->readOnly = true;
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  btnOK->OnClick = [this] { Intersect(); };
}

void frmISectPnt::OnLoad() {
  const auto refuse = [this](const char* text) {
    MessageBox(text, kExclamation, "Warning");
    btnOK->enabled = false;
  };
  if (ListLayers(kPointLayer, *cmbInputLayer) == 0)
    refuse("Warning: no point layers present in the map (nothing to work with).");
  const int polygons = ListLayersInListBox(kPolygonLayer, *lstVector);
  const int rasters = ListLayersInListBox(kRasterLayer, *lstRaster);
  if (polygons == 0 && rasters == 0)
    refuse("Warning: no polygon or raster layers present in the map (nothing to work with).");
}

void frmISectPnt::Intersect() {
  Run(kLabel, [this] {
    SetEnabled(false);  // until the run ends
    if (cmbInputLayer->text().empty()) {
      MessageBox("Error: no point layer selected.", kExclamation, "Error");
      return;
    }
    const auto points = GetFeatureLayerByName(cmbInputLayer->text);
    IntersectReport report;
    IntersectPolygons(*points, report);
    IntersectRasters(*points, report);
    if (StopRequested()) return;  // reported where it was seen

    frmResultsReport results;
    results.Load();
    results.txtResults->text = report.Text();
    results.ShowModal();
    Unload();
  });
  txtProgress->text = "";
}

void frmISectPnt::ShowProcessing(const std::string& layerName) {
  txtProgress->text = "Processing layer: " + layerName;
  Refresh();
}

// ---- Polygons

void frmISectPnt::IntersectPolygons(const IFeatureLayer& points, IntersectReport& report) {
  bool mayAsk = true, goOn = true;
  for (const std::string& name : lstVector->SelectedItems()) {
    // A layer that fails does not keep the others from their turn.
    Trap(kLabel, [&] {
      const auto polygons = GetFeatureLayerByName(name);
      ShowProcessing(name);
      goOn = MayProceed(points, mayAsk);
      if (goOn) IntersectPolygonLayer(points, *polygons, report);
    });
    if (!goOn || StopRequested()) return;
  }
}

/// Proposes a spatial join for many points, until the first Yes.
bool frmISectPnt::MayProceed(const IFeatureLayer& points, bool& mayAsk) {
  if (!mayAsk || points.FeatureClass().FeatureCount() <= kManyPoints) return true;
  const bool proceeds = Ask(
      "Warning: for large number of points it is likely to be faster to use a spatial join rather "
      "than this\r"
      "intersect tool. (Right click on the point layer, Joins and Relates, Joins...). Would you "
      "like\r"
      "to proceed anyway? (if you select No this tool will move on to the raster layers).",
      "Processing time");
  if (proceeds) mayAsk = false;
  return proceeds;
}

void frmISectPnt::IntersectPolygonLayer(const IFeatureLayer& points, const IFeatureLayer& polygons,
                                        IntersectReport& report) {
  frmFieldsList choice;
  choice.Load();
  choice.lblLayerName->caption = polygons.Name();
  if (ListFieldsInListBox(polygons, *choice.lstFields, kAttributeFields) == 0) return;
  choice.ShowModal();

  std::optional<std::vector<std::string>> names;
  if (!choice.chkAllFields->value) names = choice.lstFields->SelectedItems();
  if (names && names->empty()) {
    MessageBox(
        "ERROR: no fields were selected for layer " + points.Name() + ". Skipping to next layer.",
        kCritical, "Error");
  } else {
    ISectPntPoly(points.FeatureClass(), polygons, chkNoMsgs->value, names, report);
  }
  choice.Unload();
}

// ---- Rasters

void frmISectPnt::IntersectRasters(const IFeatureLayer& points, IntersectReport& report) {
  if (StopRequested()) return;
  const RasterIntersection how{.suppressWarnings = chkNoMsgs->value,
                               .ignoreProjections = chkSR->value,
                               .lowMemory = chkLowMem->value};
  for (const std::string& name : lstRaster->SelectedItems()) {
    bool isThrough = false;
    Trap(kLabel, [&] {
      const auto raster = GetRasterLayerByName(name);
      ShowProcessing(name);
      isThrough = ISectPntRaster(points.FeatureClass(), *raster, how, report);
    });
    if (StopRequested()) return;
    if (!isThrough)
      MessageBox("An error occured during the intersection of " + name + " and " + points.Name() +
                     ".\rProceeding to next layer.",
                 kExclamation, "Warning");
  }
}

}  // namespace orlinths
