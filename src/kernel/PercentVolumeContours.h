// Contours of percentages of a raster's volume, of any raster in the map.
#pragma once

#include <memory>
#include <string>

#include "data/Layers.h"
#include "host/Dialog.h"

namespace orlinths {

class frmPctVolContour : public Dialog {
 public:
  frmPctVolContour();

 private:
  void OnLoad() override;
  void ChooseRaster();
  void Draw();

  ComboBox* cmbL;
  TextBox *txtBnds, *txtOutFolder;
  Button *btnFolder, *btnOK;

  std::shared_ptr<IRasterLayer> layer_;
  std::string folder_;
};

}  // namespace orlinths
