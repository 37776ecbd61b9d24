#include "tables/SumValues.h"

#include <cmath>

#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {

frmSumValues::frmSumValues()
    : FieldResultDialog("frmSumValues", "Sum values", "SUMVALUES", "Use selected features only",
                        kNumericFields) {
  InFrame("fraResult", "Result ", [this] {
    txtResults = AddResult("txtResults");
    txtSumCnt = AddResult("txtSumCnt");
  });
  Add<Button>("btnOK", "Sum")->OnClick = [this] { Sum(); };
  AddExitButton();
  AddHelpButton();
}

void frmSumValues::Sum() {
  Trap("SumValues: ", [this] {
    if (!IsFieldChosen()) {
      MessageBox("ERROR: a layer and a field must be specified.", kCritical, "Error");
      return;
    }
    SetEnabled(false);  // and so it stays after a failure
    const auto layer = Layer();
    const FieldSum result = SumOf(*Rows(), FieldIndex());
    txtResults->text = ToText(result.sum);
    txtSumCnt->text = ToText(result.records) + " records processed";
    txtResults->Enable(true);
    txtSumCnt->Enable(true);
    SetEnabled(true);
    Succeeded();
  });
}

FieldSum SumOf(ICursor& rows, int field) {
  FieldSum result;
  while (const IRow* row = rows.Next()) {
    result.sum += row->GetDouble(field);
    if (++result.records % 4096 == 0) Yield();
  }
  // Once it is not finite it stays so.
  if (!std::isfinite(result.sum)) throw RuntimeError(ErrorNumber::kOverflow);
  return result;
}

}  // namespace orlinths
