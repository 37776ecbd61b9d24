#include "tables/UniqueValues.h"

#include "data/Table.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

std::string Shown(const Value& value) {
  std::string text = ToText(value);
  if (text.empty()) return "<BLANK>";
  if (text == " ") return "<SPACE>";
  return text;
}

}  // namespace

frmUV::frmUV()
    : FieldResultDialog("frmUV", "List Unique Values", "UV",
                        "List values for selected records only", kAttributeFields) {
  InFrame("fraResult", "Result ", [this] {
    txtUVCnt = AddResult("txtUVCnt");
    txtResults = AddResult("txtResults");
    txtResults->multiLine = true;
  });
  AddOkButton()->OnClick = [this] { ListValues(); };
  AddExitButton();
  AddHelpButton();
}

void frmUV::ListValues() {
  // Enabled again by a list at its end and by nothing else: after a refusal, a failure and a field
  // without values the dialog takes no further input.
  SetEnabled(false);
  Trap("ListUniqueValues: ", [this] {
    if (!IsFieldChosen()) {
      MessageBox("ERROR: you must specify a layer and a field.", kCritical, "Error");
      return;
    }
    const auto layer = Layer();
    const std::vector<Value> values = UniqueValues(*Rows(), FieldIndex());
    txtUVCnt->text = "Unique value count: " + ToText(std::ssize(values));
    Succeeded();
    if (values.empty()) {
      txtResults->text = "No values were present in the field.";
      return;
    }
    txtResults->text = ListingOf(values);
    txtResults->Enable(true);
    SetEnabled(true);
  });
}

std::string ListingOf(const std::vector<Value>& values) {
  std::string listing;
  for (const Value& value : values) {
    if (!listing.empty()) listing += "\r\n";
    listing += Shown(value);
  }
  return listing;
}

}  // namespace orlinths
