// The sum of a numeric field, shown in the dialog.
#pragma once

#include <cstdint>

#include "data/Table.h"
#include "tables/FieldResultDialog.h"

namespace orlinths {

struct FieldSum {
  double sum = 0;
  std::int64_t records = 0;
};

/// Adds up a field over the rows of a cursor, in their order. Error 94 at the first null, 6 when
/// the sum is not finite.
FieldSum SumOf(ICursor& rows, int field);

class frmSumValues : public FieldResultDialog {
 public:
  frmSumValues();

 private:
  void Sum();

  TextBox *txtResults, *txtSumCnt;
};

}  // namespace orlinths
