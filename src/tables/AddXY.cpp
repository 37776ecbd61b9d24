#include "tables/AddXY.h"

#include <cstdint>

#include "data/FieldsAndDatasets.h"
#include "data/MapAccess.h"
#include "host/MeasureField.h"
#include "host/Steps.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {

frmAddXY::frmAddXY() : Dialog("frmAddXY", "Add/Update X, Y Fields", "ADDXY") {
  InFrame("fraInput", "Input ", [this] {
    cmbL = Add<ComboBox>("cmbL", "Point layer:");
    optNew = Add<OptionButton>("optNew", "Add new fields:", Checked);
    txtXFldName = Add<TextBox>("txtXFldName", "X Field:");
    txtYFldName = Add<TextBox>("txtYFldName", "Y Field:");
    optUpdate = Add<OptionButton>("optUpdate", "Update existing fields:");
    cmbXFld = Add<ComboBox>("cmbXFld", "X Field:", Disabled);
    cmbYFld = Add<ComboBox>("cmbYFld", "Y Field:", Disabled);
  });
  InFrame("fraProjection", "Projection ", [this] {
    optFrame =
        Add<OptionButton>("optFrame", "Use the same Coordinate System as the data frame:", Checked);
    lblSRDF = Add<Label>("lblSRDF", "");
    optData =
        Add<OptionButton>("optData", "Use the same Coordinate System as this layer's source data:");
    lblSR = Add<Label>("lblSR", "");
  });
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  cmbL->OnClick = [this] { ChooseLayer(); };
  optNew->OnClick = [this] { ShowState(); };
  optUpdate->OnClick = [this] { ShowState(); };
  btnOK->OnClick = [this] { AddXY(); };
}

void frmAddXY::ShowState() {
  txtXFldName->Enable(optNew->value);
  txtYFldName->Enable(optNew->value);
  cmbXFld->Enable(optUpdate->value);
  cmbYFld->Enable(optUpdate->value);
}

void frmAddXY::OnLoad() {
  ShowState();
  if (ListLayers(kPointLayer, *cmbL) == 0) {
    MessageBox("Warning: no point layers present in map (nothing to work with).", kExclamation,
               "Warning");
    btnOK->enabled = false;
    return;
  }
  mapReference_ = NotNothing(gMap).SpatialReference();
  lblSRDF->caption = mapReference_->Name();
  if (mapReference_->Name() == "Unknown Coordinate System") {
    optFrame->enabled = false;
    optData->Choose();
    lblSRDF->visible = false;
  }
}

void frmAddXY::ChooseLayer() {
  layer_.reset();
  lblSR->caption = "";
  cmbXFld->Clear();
  cmbYFld->Clear();
  if (cmbL->text().empty()) return;
  layer_ = GetFeatureLayerByName(cmbL->text);
  lblSR->caption = layer_->FeatureClass().SpatialReference()->Name();
  ListFields(*layer_, *cmbXFld, kNumericFields);
  ListFields(*layer_, *cmbYFld, kNumericFields);
}

void frmAddXY::AddXY() {
  Run("AddXY: ", [this] {
    const auto refuse = [](const std::string& text) { MessageBox(text, kExclamation, "Error"); };
    if (cmbL->text().empty()) return refuse("ERROR: no point layer defined.");
    // Whatever the user chooses in the meantime, the run keeps to what it began with.
    const auto layer = layer_;
    const SpatialReferencePtr mapReference = mapReference_;
    IFeatureClass& points = NotNothing(layer.get()).FeatureClass();
    const std::string x = optNew->value ? txtXFldName->text() : cmbXFld->text();
    const std::string y = optNew->value ? txtYFldName->text() : cmbYFld->text();
    if (optNew->value) {
      if (x.empty()) return refuse("ERROR: no new X field name defined.");
      if (y.empty()) return refuse("ERROR: no new Y field name defined.");
      if (points.FindField(x) != -1)
        return refuse("ERROR: an X field called " + x +
                      " already exists. Please type a new name or switch to the update option.");
      if (points.FindField(y) != -1)
        return refuse("ERROR: a Y field called " + y +
                      " already exists. Please type a new name or switch to the update option.");
    } else {
      if (x.empty()) return refuse("ERROR: no X field name selected for update.");
      if (y.empty()) return refuse("ERROR: no Y field name selected for update.");
    }

    // In the map's reference whichever of optFrame and optData is chosen.
    if (TableAddXY(points, x, y, true, true, mapReference)) {
      MessageBox("Processing complete.", kInformation, "Status");
    } else {
      WarnOfProblem("Warning: a problem was encountered while processing this request.");
    }
    Unload();
  });
}

bool TableAddXY(IFeatureClass& points, const std::string& xName, const std::string& yName,
                bool showProgress, bool project, const SpatialReferencePtr& target) {
  std::string at = "A";
  bool located = false;
  const bool ended = Trap("TableAddXY: ", at, [&] {
    const auto locate = [&](const std::string& name) {
      if (points.FindField(name) == -1)
        points.AddField(MakeField(name, FieldType::kDouble, 16, false, true, 0));
      return points.FindField(name);
    };
    const int x = locate(xName);
    const int y = locate(yName);
    located = x != -1 && y != -1;
    if (!located) {
      MessageBox(
          "An error was encountered while adding/locating the specified X/Y field(s).\r"
          "The layer may be in use by another application.",
          kCritical, "Error");
      return;
    }
    const SpatialReferencePtr source = points.SpatialReference();
    const std::int64_t count = points.FeatureCount();
    if (count == 0) return;

    at = "B";
    Steps steps(count, "Calculating XY locations...", showProgress);
    const auto rows = points.Update(ShapesOnly());
    at = showProgress ? "C" : "D";
    std::unique_ptr<IProjection> projection;  // made when the first point needs it
    while (IFeature* feature = rows->Next()) {
      steps.Next();
      if (feature->Shape().IsEmpty()) {
        feature->SetValue(x, Value(std::int32_t{-999}));
        feature->SetValue(y, Value(std::int32_t{-999}));
      } else {
        const Point& point = feature->Point();
        Coord place{point.x, point.y};
        const bool asItIs = showProgress && place.x == 0 && place.y != 0;
        if (project && !asItIs) {
          if (!projection) projection = MakeProjection(*source, NotNothing(target.get()));
          projection->Apply({&place, 1});
        }
        feature->SetDouble(x, place.x);
        feature->SetDouble(y, place.y);
      }
      rows->UpdateRow(*feature);
    }
    rows->Flush();
  });
  return ended && located;
}

}  // namespace orlinths
