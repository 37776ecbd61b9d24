#include "overlay/PointIntersection.h"

#include "host/SmallDialogs.h"
#include "runtime/Ports.h"
#include "runtime/Value.h"

namespace orlinths {

void TellTally(IntersectReport& report, const PointTally& tally, const std::string& layerName,
               const char* what) {
  report.Line(ToText(tally.processed) + " points processed");
  report.Line(ToText(tally.outside) + " points detected that fell outside the bounds of " +
              layerName);
  report.Line(std::string("Processing of ") + what + " completed successfully");
}

void WarnOfPointsOutside(std::int64_t outside, const std::string& layerName) {
  if (outside == 0) return;
  MessageBox("WARNING: " + ToText(outside) +
                 " points were detected that fell outside the bounds of " + layerName +
                 "\rCare should be taken when using the data attached to the point layer.",
             kExclamation, "Warning");
}

std::string AskForFieldName(const std::string& layerName) {
  CheckStop();  // the one way out of a question that repeats
  gUserString.clear();
  frmGetString question;
  question.Load();
  question.lblExplanation->caption =
      "A valid field name could not be automatically generated, or the field already exists. "
      "Please supply a name for the field to hold the attributes for layer: " +
      layerName + ".";
  question.ShowModal();
  return gUserString;
}

std::string UpToFirstPoint(const std::string& text) { return text.substr(0, text.find('.')); }

}  // namespace orlinths
