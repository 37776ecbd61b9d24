// The ground of the dialogs that ask for a field of a layer and show beside it what its values come
// to.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "data/FieldsAndDatasets.h"
#include "host/Dialog.h"

namespace orlinths {

/// A result never stands beside inputs that it does not belong to: any change of layer, field or
/// box empties it. The dialog stays open after a run, so that the user can ask again.
class FieldResultDialog : public Dialog {
 protected:
  /// Declares the inputs; `listed` are the fields to choose from.
  FieldResultDialog(std::string name, std::string caption, std::string helpTag,
                    const std::string& useSelectedCaption, FieldFilter listed);
  /// Declares a box that shows part of the result; off while there is none.
  TextBox* AddResult(const std::string& name);

  bool IsFieldChosen() const { return !cmbLayers->text().empty() && !cmbFldS->text().empty(); }
  /// Of the chosen field in its table.
  int FieldIndex() const;
  /// The selected rows, or all that the layer's definition query leaves; of each only the chosen
  /// field.
  CursorPtr Rows() const;
  /// To be kept while its rows are read: the map may lose it meanwhile.
  std::shared_ptr<IFeatureLayer> Layer() const { return layer_; }

 private:
  void OnLoad() override;
  void ChooseLayer();
  void ForgetResults();

  ComboBox *cmbLayers, *cmbFldS;
  CheckBox* chkUseSelected;
  const FieldFilter listed_;
  std::vector<TextBox*> results_;
  std::shared_ptr<IFeatureLayer> layer_;
};

}  // namespace orlinths
