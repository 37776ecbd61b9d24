// The small dialogs that tools share: a string prompt, a field chooser, a report, the Julian day
// lookup, coordinates, and About.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/Commands.h"
#include "host/Dialog.h"

namespace orlinths {

/// Asks for a string. The caller empties `gUserString`, sets `lblExplanation` and shows the dialog.
class frmGetString : public Dialog {
 public:
  frmGetString();
  Label* lblExplanation;
  TextBox* txtUserStr;
  Button *btnOK, *btnHelp, *btnExit;
};
/// What the last `frmGetString` returned.
extern std::string gUserString;

/// Chooses fields. "Next >" hides the dialog: the caller reads `chkAllFields` and `lstFields`, then
/// unloads it.
class frmFieldsList : public Dialog {
 public:
  frmFieldsList();
  Label* lblLayerName;
  ListBox* lstFields;
  CheckBox* chkAllFields;
  Button* btnOK;
};

/// A report to read and close.
class frmResultsReport : public Dialog {
 public:
  frmResultsReport();
  bool IsReport() const override { return true; }
  TextBox* txtResults;
  Button* btnOK;
};

/// The day of the year of today or of the day picked on the calendar.
class frmJulianDay : public Dialog {
 public:
  frmJulianDay();
  Button* MainButton() const override { return btnExit; }
  TextBox* txtJD;
  MonthView* monthviewJD;
  Button* btnExit;

 protected:
  void OnLoad() override;
};

/// Shows the coordinates of the last digitised point.
class frmDigXY : public Dialog {
 public:
  frmDigXY();
  Button* MainButton() const override { return cmdExit; }
  /// Writes the coordinates of `gDigPoint` and shows itself until the user closes it.
  void ProcessDigitisedPoint();
  TextBox* txtCoords;
  Button* cmdExit;
};
/// The open coordinate dialog, or nothing before the first click of a command; and the last
/// digitised point in map units.
extern frmDigXY* gDigXY;
extern Point gDigPoint;

class frmAbout : public Dialog {
 public:
  frmAbout();
  Button* MainButton() const override { return btnExit; }
  TextBox* txtNotes;
  Button *btnWebsite, *btnExit;
};

/// Names and makers of all of them, for the registry.
std::vector<std::pair<std::string, DialogMaker>> SmallDialogs();

}  // namespace orlinths
