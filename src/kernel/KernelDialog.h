// What the dialogs of the single and the batch kernel estimator have in common.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "data/Layers.h"
#include "host/Dialog.h"
#include "kernel/KernelSurface.h"

namespace orlinths {

class KernelDialog : public Dialog {
 protected:
  using Dialog::Dialog;

  /// The common controls, group by group, for the constructors to put in their order.
  void AddInput();
  void AddWeights();
  void AddNumbers();
  void AddOutput();
  /// The box keeps `most` characters; a longer text is cut, with `warning`.
  void AddRasterName(const std::string& label, int most, const std::string& warning);
  void AddContours();
  void AddEnd();

  void OnLoad() override;
  /// Clears what hangs on the layer, then takes the one that was chosen. False without one.
  bool ChooseLayer();

  /// The message for the first of the settings below the layer that is missing; nothing when all
  /// are there.
  std::optional<std::string> MissingSetting() const;

  struct Settings {
    double h, cellSize, scaling;
    std::optional<int> weightField;
  };
  /// Error 13 for a text that is no number, 9 for weights without a field.
  Settings ReadSettings(const IFeatureClass& points) const;
  /// What is read of a feature: its shape and its weight.
  QueryFilter PointsOnly() const;

  ComboBox* cmbPntL;
  CheckBox* chkWeights;
  ComboBox* cmbWeightFld;
  TextBox *txtH, *txtScaling;
  TextBox* txtOutFolder;
  Button* btnFolder;
  TextBox *txtCellSize, *txtR;
  CheckBox* chkBnds;
  TextBox* txtBnds;
  Button* btnOK;

  std::shared_ptr<IFeatureLayer> layer_;
  std::string folder_;  ///< the output's; the box is for display
};

/// The index of a class's field; error 9 for one that it does not have.
int IndexOfField(const IFeatureClass& points, const std::string& name);

}  // namespace orlinths
