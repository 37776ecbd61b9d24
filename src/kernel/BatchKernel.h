// Fixed kernel density for each value of an identifier field: one raster for each animal, with
// contours of percentages of its volume.
#pragma once

#include <string>
#include <vector>

#include "kernel/KernelDialog.h"
#include "kernel/SurfaceNames.h"

namespace orlinths {

class frmBatchKernel : public KernelDialog {
 public:
  frmBatchKernel();

 private:
  void EstimateAll();
  std::string CleanPrefix();
  /// Nothing, after a report, when the values cannot be read.
  std::optional<std::vector<std::int32_t>> Identifiers(const IFeatureLayer& layer,
                                                       int idField) const;
  /// False when contours could not be made, which has been reported.
  bool DrawContours(const DensityGrid& surface, const IRasterDataset& raster,
                    const std::string& folder, const std::string& name) const;

  ComboBox* cmbUIDFLD;
  OptionButton *optSmall, *optFull;
  ProgressBar* PBar;
};

}  // namespace orlinths
