#include "kernel/KernelDialog.h"

#include "data/FieldsAndDatasets.h"
#include "data/MapAccess.h"
#include "host/Pickers.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Text.h"
#include "runtime/Value.h"

namespace orlinths {

// ---- Controls

void KernelDialog::AddInput() { cmbPntL = Add<ComboBox>("cmbPntL", "Point layer:"); }

void KernelDialog::AddWeights() {
  chkWeights = Add<CheckBox>("chkWeights", "Use weights in this field:");
  cmbWeightFld = Add<ComboBox>("cmbWeightFld", "", Disabled);
  chkWeights->OnClick = [this] { cmbWeightFld->Enable(chkWeights->value); };
}

void KernelDialog::AddNumbers() {
  txtH = Add<TextBox>("txtH", "Smoothing factor (h): ", "1000");
  txtScaling = Add<TextBox>("txtScaling", "Scaling factor:", "1000000");
}

void KernelDialog::AddOutput() {
  txtOutFolder =
      Add<TextBox>("txtOutFolder", "Output folder (a new, empty folder is strongly recommended):");
  btnFolder = Add<Button>("btnFolder", "...");
  txtOutFolder->picker = btnFolder;
  btnFolder->OnClick = [this] { PickOutputFolder(*this, folder_, *txtOutFolder); };
  txtCellSize = Add<TextBox>("txtCellSize", "Raster cell size:", "100");
}

void KernelDialog::AddRasterName(const std::string& label, int most, const std::string& warning) {
  txtR = Add<TextBox>("txtR", label, "kde");
  txtR->OnChange = [this, most, warning] {
    const std::string kept = FirstCharacters(txtR->text, most);
    if (kept == txtR->text()) return;
    txtR->text = kept;
    MessageBox(warning, kExclamation, "Warning");
  };
}

void KernelDialog::AddContours() {
  chkBnds = Add<CheckBox>("chkBnds", "Percent volume contours:");
  txtBnds = Add<TextBox>("txtBnds", "", "95, 90, 50");
}

void KernelDialog::AddEnd() {
  AddStatusLine();
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();
}

// ---- Handlers

void KernelDialog::OnLoad() {
  layer_.reset();
  cmbWeightFld->Enable(false);
  if (ListLayers(kPointLayer, *cmbPntL) == 0) {
    MessageBox("Warning: no point layers are present in map (nothing to work with).", kExclamation,
               "Warning");
    btnOK->enabled = false;
  }
}

bool KernelDialog::ChooseLayer() {
  cmbWeightFld->Clear();
  layer_.reset();
  if (cmbPntL->text().empty()) return false;
  layer_ = GetFeatureLayerByName(cmbPntL->text);
  ListFields(*layer_, *cmbWeightFld, kNumericFields);
  return true;
}

// ---- What the runs share

std::optional<std::string> KernelDialog::MissingSetting() const {
  if (txtH->text().empty()) return "Error: smoothing factor (h) has not been defined.";
  // A ticked box has the value 1. It is compared with -1, deliberately: weights without a field go
  // on, and end when the field is looked up.
  const int weights = chkWeights->value ? 1 : 0;
  if (weights == -1 && cmbWeightFld->text().empty())
    return "Error: weight field option has been selected but no weight field has not been defined.";
  if (txtCellSize->text().empty()) return "Error: output raster cell size has not been defined.";
  if (txtOutFolder->text().empty()) return "Error: output folder has not been defined.";
  return std::nullopt;
}

KernelDialog::Settings KernelDialog::ReadSettings(const IFeatureClass& points) const {
  Settings settings{.h = ToDouble(txtH->text()),
                    .cellSize = ToDouble(txtCellSize->text()),
                    .scaling = ToDouble(txtScaling->text()),
                    .weightField = std::nullopt};
  if (chkWeights->value) settings.weightField = IndexOfField(points, cmbWeightFld->text);
  return settings;
}

QueryFilter KernelDialog::PointsOnly() const {
  QueryFilter what;
  what.onlyFields.emplace();
  if (chkWeights->value) what.onlyFields->push_back(cmbWeightFld->text);
  return what;
}

int IndexOfField(const IFeatureClass& points, const std::string& name) {
  const int index = points.FindField(name);
  if (index < 0) throw RuntimeError(ErrorNumber::kSubscript);
  return index;
}

}  // namespace orlinths
