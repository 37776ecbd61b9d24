// Minimum convex polygons of animal locations: of a whole layer, or of each group of points.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "data/Layers.h"
#include "data/Table.h"
#include "host/Dialog.h"
#include "host/Pickers.h"

namespace orlinths {

class frmMCP : public Dialog {
 public:
  frmMCP();

 private:
  void OnLoad() override;
  void ChooseLayer();

  void CreatePolygons();
  bool IsRefused() const;
  /// Copies the points that count to a temporary class.
  FeatureClassPtr CopyPoints(std::string& at) const;
  int AddGroupField(IFeatureClass& target, std::size_t longestText) const;
  /// False when the run is over: too few points.
  bool MakeOne(const IFeatureClass& points, IFeatureClass& polygons);
  /// `input` is what the points come from, `folder` that of the polygons.
  void MakeMany(const IFeatureClass& points, const IFeatureClass& input, const std::string& folder,
                IFeatureClass& polygons);

  ComboBox* cmbPL;
  CheckBox *chkUseSelected, *chkMany;
  ComboBox* cmbUV;
  CheckBox* chkZero;
  TextBox* txtOutput;
  Button* btnFolder;
  ProgressBar* PBar;
  Button* btnOK;

  std::shared_ptr<IFeatureLayer> layer_;
  OutputChoice output_;
};

}  // namespace orlinths
