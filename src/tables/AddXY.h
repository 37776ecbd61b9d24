// X and Y of points as two fields of their own table.
#pragma once

#include <memory>
#include <string>

#include "data/Layers.h"
#include "host/Dialog.h"

namespace orlinths {

/// Writes the coordinates of every point into the fields `xName` and `yName`, with `project` in the
/// reference `target`. Missing fields are added as doubles; existing ones are kept where they stand
/// and overwritten, whatever their type. An empty point gets -999 in both. Selections and
/// definition queries do not count. An unknown reference on either side leaves coordinates as they
/// are. With progress, a point whose X is exactly 0 and whose Y is not is written unprojected. True
/// when every row was written; otherwise the failure has been reported and rows before it keep what
/// was written. One pass.
bool TableAddXY(IFeatureClass& points, const std::string& xName, const std::string& yName,
                bool showProgress, bool project, const SpatialReferencePtr& target);

/// Its projection options are shown and set, and have no effect: coordinates are always those of
/// the map's reference.
class frmAddXY : public Dialog {
 public:
  frmAddXY();

 private:
  void OnLoad() override;
  void ChooseLayer();
  void ShowState();
  void AddXY();

  ComboBox* cmbL;
  OptionButton* optNew;
  TextBox *txtXFldName, *txtYFldName;
  OptionButton* optUpdate;
  ComboBox *cmbXFld, *cmbYFld;
  OptionButton* optFrame;
  Label* lblSRDF;
  OptionButton* optData;
  Label* lblSR;
  Button* btnOK;

  SpatialReferencePtr mapReference_;
  std::shared_ptr<IFeatureLayer> layer_;
};

}  // namespace orlinths
