// The different values of a field, listed in the dialog.
#pragma once

#include <string>
#include <vector>

#include "runtime/Value.h"
#include "tables/FieldResultDialog.h"

namespace orlinths {

/// The values one below the other, in their order: a carriage return and a line feed between them,
/// "<BLANK>" for an empty text and
/// "<SPACE>" for a single blank. Linear in the length of the text.
std::string ListingOf(const std::vector<Value>& values);

class frmUV : public FieldResultDialog {
 public:
  frmUV();

 private:
  void ListValues();

  TextBox *txtUVCnt, *txtResults;
};

}  // namespace orlinths
