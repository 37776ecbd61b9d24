#include "tables/AddLength.h"

#include "data/FieldsAndDatasets.h"
#include "data/MapAccess.h"
#include "host/MeasureField.h"
#include "runtime/Ports.h"

namespace orlinths {

frmAddLength::frmAddLength() : Dialog("frmAddLength", "Add/Update Length Field", "ADDLENGTH") {
  cmbL = Add<ComboBox>("cmbL", "Line feature layer:");
  optNew = Add<OptionButton>("optNew", "Add new field(s)", Checked);
  optUpdate = Add<OptionButton>("optUpdate", "Update existing field(s)");
  txtLength = Add<TextBox>("txtLength", "New field name:", "LENGTH");
  cmbLength = Add<ComboBox>("cmbLength", "Update field:", Disabled);
  chkLengthConst =
      Add<CheckBox>("chkLengthConst", "Convert length units (multiply by this constant):");
  txtLengthConst = Add<TextBox>("txtLengthConst", "", "0.001", Disabled);
  txtLengthConst->backColour = BackColour::kWindow;
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  cmbL->OnClick = [this] { ChooseLayer(); };
  optNew->OnClick = [this] { ShowState(); };
  optUpdate->OnClick = [this] { ShowState(); };
  chkLengthConst->OnClick = [this] {
    txtLengthConst->enabled = chkLengthConst->value;
    txtLengthConst->backColour = BackColour::kWindow;  // white even while it is off
  };
  btnOK->OnClick = [this] { AddLength(); };
}

void frmAddLength::ShowState() {
  txtLength->Enable(optNew->value);
  cmbLength->Enable(optUpdate->value);
}

void frmAddLength::OnLoad() {
  ShowState();
  txtLengthConst->enabled = false;
  if (ListLayers(kLineLayer, *cmbL) == 0) {
    MessageBox("Warning: no arc (line) layers present in map (nothing to work with).", kExclamation,
               "Warning");
    btnOK->enabled = false;
  }
}

void frmAddLength::ChooseLayer() {
  cmbLength->Clear();
  if (cmbL->text().empty()) return;
  ListFields(*GetFeatureLayerByName(cmbL->text), *cmbLength, kNumericFields);
}

void frmAddLength::AddLength() {
  Run("AddLength_OK: ", [this] {
    const auto refuse = [](const char* text) { MessageBox(text, kExclamation, "Error"); };
    if (cmbL->text().empty()) return refuse("Error: no line layer selected.");
    if (optNew->value && txtLength->text().empty())
      return refuse("Error: no new length field name provided.");
    if (optUpdate->value && cmbLength->text().empty())
      return refuse("Error: no update length field selected.");
    if (chkLengthConst->value && txtLengthConst->text().empty())
      return refuse("Error: no length constant (multiplier) provided.");

    // The name and the constant end here: the field is always called Length and holds map units.
    const auto layer = GetFeatureLayerByName(cmbL->text);
    if (TableAddLength(layer->FeatureClass(), true)) {
      MessageBox("Processing complete", kInformation, "Status");
    } else {
      WarnOfProblem("Warning: a problem was encountered while processing this request.");
    }
    Unload();
  });
}

bool TableAddLength(IFeatureClass& lines, bool showProgress) {
  static constexpr ShapeMeasure kLength = {
      .label = "TableAddLength: ",
      .progress = "Calculating length field...",
      .of = [](const IFeature& feature) { return feature.Line().Length(); }};
  return ReplaceByMeasure(lines, "Length", kLength, 1.0, showProgress);
}

}  // namespace orlinths
