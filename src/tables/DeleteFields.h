// Removes several fields of a table at once.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "data/Layers.h"
#include "host/Dialog.h"

namespace orlinths {

/// One line a field, in field order: "NAME  (TYPE, length, precision)". A type without a word of
/// its own takes that of the field before it.
std::vector<std::string> FieldLines(const Fields& fields);

class frmDeleteFlds : public Dialog {
 public:
  frmDeleteFlds();
  Button* MainButton() const override { return btnDelete; }

 private:
  void OnLoad() override;
  void ChooseLayer();
  void DeleteFields();

  ComboBox* cmbFL;
  ListBox* lstFlds;
  ProgressBar* PBar;
  Button* btnDelete;
  std::shared_ptr<IFeatureLayer> layer_;
};

}  // namespace orlinths
