// Fixed kernel density of a point layer as a raster, with contours of percentages of its volume.
#pragma once

#include "kernel/KernelDialog.h"

namespace orlinths {

class frmKernel : public KernelDialog {
 public:
  frmKernel();

 private:
  void Estimate();
  PointArray Points(const IFeatureLayer& layer, std::optional<int> weightField) const;

  CheckBox* chkUseSelected;
};

}  // namespace orlinths
