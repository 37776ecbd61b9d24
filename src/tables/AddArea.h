// Area and perimeter of polygons as fields of their own table.
#pragma once

#include <memory>
#include <string>

#include "data/Layers.h"
#include "host/Dialog.h"

namespace orlinths {

class frmAddArea : public Dialog {
 public:
  frmAddArea();

 private:
  /// What one of the two measures has on the dialog, and its three states.
  struct Group {
    TextBox* newName;
    ComboBox* update;
    CheckBox* convert;
    TextBox* constant;
    void New() const;
    void Update() const;
    void Off() const;

   private:
    void On() const;
  };
  Group AreaGroup() const { return {txtArea, cmbArea, chkAreaConst, txtAreaConst}; }
  Group PerimGroup() const { return {txtPerim, cmbPerim, chkPerimConst, txtPerimConst}; }
  void ShowState(const CheckBox& measure, const Group& group) const;

  void OnLoad() override;
  void ChooseLayer();
  void AddAreaPerim();

  ComboBox* cmbPFL;
  OptionButton *optNew, *optUpdate;
  CheckBox* chkArea;
  TextBox* txtArea;
  ComboBox* cmbArea;
  CheckBox* chkAreaConst;
  TextBox* txtAreaConst;
  CheckBox* chkPerim;
  TextBox* txtPerim;
  ComboBox* cmbPerim;
  CheckBox* chkPerimConst;
  TextBox* txtPerimConst;
  Button* btnOK;

  std::shared_ptr<IFeatureLayer> layer_;
};

}  // namespace orlinths
