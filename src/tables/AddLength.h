// Length of lines as a field of their own table.
#pragma once

#include "data/Table.h"
#include "host/Dialog.h"

namespace orlinths {

/// Replaces the field `Length` by a new one with the length of every line, all its parts, in map
/// units. The name is fixed: other tools rely on it. True when every row was written; see
/// `ReplaceByMeasure` for failures and cost.
bool TableAddLength(IFeatureClass& lines, bool showProgress);

/// Asks for a field name and a constant as its sisters do; both are checked and have no effect on
/// the result.
class frmAddLength : public Dialog {
 public:
  frmAddLength();

 private:
  void OnLoad() override;
  void ChooseLayer();
  void ShowState();
  void AddLength();

  ComboBox* cmbL;
  OptionButton *optNew, *optUpdate;
  TextBox* txtLength;
  ComboBox* cmbLength;
  CheckBox* chkLengthConst;
  TextBox* txtLengthConst;
  Button* btnOK;
};

}  // namespace orlinths
