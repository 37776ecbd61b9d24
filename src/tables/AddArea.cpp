#include "tables/AddArea.h"

#include "data/FieldsAndDatasets.h"
#include "data/MapAccess.h"
#include "host/MeasureField.h"
#include "runtime/Ports.h"
#include "runtime/Value.h"

#include <string_view>

namespace orlinths {
namespace {

double NumberIn(const TextBox& box) { return ToDouble(std::string_view(box.text())); }

}  // namespace

frmAddArea::frmAddArea() : Dialog("frmAddArea", "Add/Update Area & Perimeter Field", "ADDAREA") {
  InFrame("fraInput", "Input ", [this] {
    cmbPFL = Add<ComboBox>("cmbPFL", "Polygon feature layer:");
    optNew = Add<OptionButton>("optNew", "Add new field(s)", Checked);
    optUpdate = Add<OptionButton>("optUpdate", "Update existing field(s)");
  });
  InFrame("fraOptions", "Options ", [this] {
    chkArea = Add<CheckBox>("chkArea", "AREA", Checked);
    txtArea = Add<TextBox>("txtArea", "New field name:", "AREA");
    cmbArea = Add<ComboBox>("cmbArea", "Update field:", Disabled);
    chkAreaConst = Add<CheckBox>("chkAreaConst", "Convert area units (multiply by this constant):");
    txtAreaConst = Add<TextBox>("txtAreaConst", "", "0.000001", Disabled);
    chkPerim = Add<CheckBox>("chkPerim", "PERIMETER", Checked);
    txtPerim = Add<TextBox>("txtPerim", "New field name:", "PERIMETER");
    cmbPerim = Add<ComboBox>("cmbPerim", "Update field:", Disabled);
    chkPerimConst =
        Add<CheckBox>("chkPerimConst", "Convert perimeter units (multiply by this constant):");
    txtPerimConst = Add<TextBox>("txtPerimConst", "", "0.001", Disabled);
  });
  btnOK = AddOkButton();
  AddExitButton();
  AddHelpButton();

  cmbPFL->OnClick = [this] { ChooseLayer(); };
  chkArea->OnClick = [this] { ShowState(*chkArea, AreaGroup()); };
  chkPerim->OnClick = [this] { ShowState(*chkPerim, PerimGroup()); };
  const auto showBoth = [this] {
    ShowState(*chkArea, AreaGroup());
    ShowState(*chkPerim, PerimGroup());
  };
  optNew->OnClick = showBoth;
  optUpdate->OnClick = showBoth;
  chkAreaConst->OnClick = [this] { txtAreaConst->Enable(chkAreaConst->value); };
  chkPerimConst->OnClick = [this] { txtPerimConst->Enable(chkPerimConst->value); };
  btnOK->OnClick = [this] { AddAreaPerim(); };
}

void frmAddArea::Group::New() const {
  newName->Enable(true);
  update->Enable(false);
  On();
}

void frmAddArea::Group::Update() const {
  newName->Enable(false);
  update->Enable(true);
  On();
}

void frmAddArea::Group::On() const {
  convert->Enable(true);
  constant->Enable(convert->value);
}

void frmAddArea::Group::Off() const {
  newName->Enable(false);
  update->Enable(false);
  convert->Enable(false);
  constant->Enable(false);
}

void frmAddArea::ShowState(const CheckBox& measure, const Group& group) const {
  if (!measure.value) {
    group.Off();
  } else if (optNew->value) {
    group.New();
  } else {
    group.Update();
  }
}

void frmAddArea::OnLoad() {
  AreaGroup().New();
  PerimGroup().New();
  if (ListLayers(kPolygonLayer, *cmbPFL) == 0) {
    MessageBox("Warning: no polygon layers present in map (nothing to work with).", kExclamation,
               "Warning");
    btnOK->enabled = false;
  }
}

void frmAddArea::ChooseLayer() {
  cmbArea->Clear();
  cmbPerim->Clear();
  if (cmbPFL->text().empty()) return;
  layer_ = GetFeatureLayerByName(cmbPFL->text);
  ListFields(*layer_, *cmbArea, kNumericFields);
  ListFields(*layer_, *cmbPerim, kNumericFields);
}

void frmAddArea::AddAreaPerim() {
  Run("AddAreaPerim: ", [this] {
    const auto refuse = [](const char* text) { MessageBox(text, kExclamation, "Error"); };
    if (cmbPFL->text().empty()) return refuse("Error: no polygon layer selected.");
    if (optNew->value) {
      if (chkArea->value && txtArea->text().empty())
        return refuse("Error: no new area field name provided.");
      if (chkPerim->value && txtPerim->text().empty())
        return refuse("Error: no new perimeter field name provided.");
    } else {
      if (chkArea->value && cmbArea->text().empty())
        return refuse("Error: no update area field selected.");
      if (chkPerim->value && cmbPerim->text().empty())
        return refuse("Error: no update perimeter field selected.");
    }
    if (chkAreaConst->value && txtAreaConst->text().empty())
      return refuse("Error: no area constant (multiplier) provided.");
    if (chkPerimConst->value && txtPerimConst->text().empty())
      return refuse("Error: no perimeter constant (multiplier) provided.");

    // Whatever the user chooses in the meantime, the run keeps to what it began with.
    const auto layer = layer_;
    IFeatureClass& polygons = NotNothing(layer.get()).FeatureClass();
    if (chkArea->value) {
      const std::string name = optNew->value ? txtArea->text() : cmbArea->text();
      const double constant = chkAreaConst->value ? NumberIn(*txtAreaConst) : 1.0;
      if (!TableAddArea(polygons, name, constant, true))
        WarnOfProblem("Warning: a problem was encountered while processing AREA.");
    }
    if (chkPerim->value) {
      const std::string name = optNew->value ? txtPerim->text() : cmbPerim->text();
      const double constant = chkPerimConst->value ? NumberIn(*txtPerimConst) : 1.0;
      if (!TableAddPerim(polygons, name, constant, true))
        WarnOfProblem("Warning: a problem was encountered while processing PERIMETER.");
    }
    layer_.reset();
    MessageBox("Processing complete.", kInformation, "Status");
    Unload();
  });
}

}  // namespace orlinths
