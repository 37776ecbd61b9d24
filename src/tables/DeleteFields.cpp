#include "tables/DeleteFields.h"

#include <array>

#include "data/FieldsAndDatasets.h"
#include "data/MapAccess.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

/// Ends the name in a field's line.
constexpr const char* kNameEnd = "  (";

constexpr std::array<const char*, 9> kTypeWords = {
    "SMALL INTEGER", "INTEGER", "SINGLE", "DOUBLE", "STRING", "DATE", "OID", "GEOMETRY", "BLOB"};

}  // namespace

frmDeleteFlds::frmDeleteFlds() : Dialog("frmDeleteFlds", "Delete Fields", "DELETEFLDS") {
  InFrame("fraInput", "Input ",
          [this] { cmbFL = Add<ComboBox>("cmbFL", "Feature layer / table:"); });
  InFrame("fraFields", "Fields ", [this] {
    lstFlds = Add<ListBox>("lstFlds", "Select fields to delete, then press the Delete button:");
  });
  AddStatusLine();
  PBar = Add<ProgressBar>("PBar");
  btnDelete = Add<Button>("btnDelete", "Delete");
  AddExitButton();
  AddHelpButton();

  cmbFL->OnClick = [this] { ChooseLayer(); };
  btnDelete->OnClick = [this] { DeleteFields(); };
}

void frmDeleteFlds::OnLoad() {
  layer_.reset();
  if (ListLayers(kFeatureLayer, *cmbFL) == 0) {
    MessageBox("Warning: no feature layers present in map (nothing to work with).", kExclamation,
               "Warning");
    btnDelete->enabled = false;
  }
}

void frmDeleteFlds::ChooseLayer() {
  lstFlds->Clear();
  if (cmbFL->text().empty()) return;
  layer_ = GetFeatureLayerByName(cmbFL->text);
  const Fields& fields = layer_->FeatureClass().Fields();
  const std::vector<std::string> lines = FieldLines(fields);
  for (int i = 0; i < fields.FieldCount(); ++i)
    lstFlds->AddItem(lines[static_cast<std::size_t>(i)], KindOf(fields[i].type));
}

void frmDeleteFlds::DeleteFields() {
  std::string at = "A";
  Run("DeleteFields: ", at, [&] {
    if (cmbFL->text().empty()) {
      MessageBox("Error: no feature / table layer selected.", kExclamation, "Error");
      return;
    }
    at = "B";
    const std::vector<std::string> lines = lstFlds->SelectedItems();
    PBar->min = 0;
    PBar->max = static_cast<float>(lines.size());
    PBar->SetValue(0);
    Status("Processing...");
    at = "C";
    const auto layer = layer_;  // the run keeps to what it began with
    IFeatureClass& table = NotNothing(layer.get()).FeatureClass();
    double done = 0;
    for (const std::string& line : lines) {
      PBar->SetValue(++done);
      const int field = table.FindField(line.substr(0, line.find(kNameEnd)));
      const FieldType type = table.Fields()[field].type;
      if (type == FieldType::kOid || type == FieldType::kGeometry) {
        MessageBox(
            "Warning: as a safety precaution this tool will not delete OID or Geometry fields.\r"
            "Proceeding to the next selected field...",
            kExclamation, "Warning");
        continue;
      }
      table.DeleteField(field);
    }
    at = "D";
    CommitAllEdits();  // all of them in one new table, before anything is called complete
    layer_.reset();
    at = "E";
    MessageBox("Processing complete.");
    Unload();
  });
}

std::vector<std::string> FieldLines(const Fields& fields) {
  std::vector<std::string> lines;
  const char* word = "";
  for (const Field& field : fields) {
    if (const auto type = static_cast<std::size_t>(field.type); type < kTypeWords.size())
      word = kTypeWords[type];
    lines.push_back(field.name + kNameEnd + word + ", " + ToText(field.length) + ", " +
                    ToText(field.precision) + ")");
  }
  return lines;
}

}  // namespace orlinths
