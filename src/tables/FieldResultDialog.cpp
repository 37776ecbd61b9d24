#include "tables/FieldResultDialog.h"

#include <utility>

#include "data/MapAccess.h"
#include "runtime/Ports.h"

namespace orlinths {

FieldResultDialog::FieldResultDialog(std::string name, std::string caption, std::string helpTag,
                                     const std::string& useSelectedCaption, FieldFilter listed)
    : Dialog(std::move(name), std::move(caption), std::move(helpTag)), listed_(listed) {
  InFrame("fraInput", "Input ", [&] {
    cmbLayers = Add<ComboBox>("cmbLayers", "Select a layer:");
    cmbFldS = Add<ComboBox>("cmbFldS", "Select a field:", Disabled);
    chkUseSelected = Add<CheckBox>("chkUseSelected", useSelectedCaption, Unchecked, Disabled);
  });
  cmbLayers->OnClick = [this] { ChooseLayer(); };
  cmbFldS->OnClick = [this] { ForgetResults(); };
  chkUseSelected->OnClick = [this] { ForgetResults(); };
}

TextBox* FieldResultDialog::AddResult(const std::string& name) {
  TextBox* box = Add<TextBox>(name, "", Disabled);
  box->readOnly = true;
  results_.push_back(box);
  return box;
}

void FieldResultDialog::OnLoad() {
  layer_.reset();
  if (ListLayers(kFeatureLayer, *cmbLayers) == 0) {
    MessageBox("ERROR: no feature layers present in map. (Nothing to work with.)", kCritical,
               "Error");
    return Unload();
  }
  chkUseSelected->enabled = false;
  cmbFldS->enabled = false;
  cmbFldS->backColour = BackColour::kWorkspace;
}

void FieldResultDialog::ChooseLayer() {
  chkUseSelected->Enable(false);
  chkUseSelected->value = false;
  ForgetResults();
  cmbFldS->Clear();
  if (cmbLayers->text().empty()) return;
  layer_ = GetFeatureLayerByName(cmbLayers->text);
  chkUseSelected->Enable(layer_->SelectionSet().Count() >= 1);
  ListFields(*layer_, *cmbFldS, listed_);
  cmbFldS->Enable(true);
}

void FieldResultDialog::ForgetResults() {
  for (TextBox* box : results_) {
    box->Enable(false);
    box->text = "";
  }
}

int FieldResultDialog::FieldIndex() const {
  return NotNothing(layer_.get()).FeatureClass().FindField(cmbFldS->text());
}

CursorPtr FieldResultDialog::Rows() const {
  QueryFilter what;
  what.onlyFields = {cmbFldS->text()};
  what.withShape = false;
  return chkUseSelected->value ? layer_->SearchSelected(what) : layer_->Search(what);
}

}  // namespace orlinths
