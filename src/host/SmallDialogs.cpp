#include "host/SmallDialogs.h"

#include "data/FieldsAndDatasets.h"
#include "host/WebHelp.h"
#include "runtime/Ports.h"
#include "runtime/Value.h"

namespace orlinths {

std::string gUserString;
frmDigXY* gDigXY = nullptr;
Point gDigPoint;

namespace {

Date Today() {
  constexpr std::int64_t kDay = 86'400'000;
  const std::int64_t now = ClockNanoseconds() / 1'000'000;
  return Date{now - now % kDay};
}

constexpr const char* kSimpleStrings =
    "A simple string is required to proceed. Allowable characters are:\r"
    "     abcdefghijklmnopqrstuvwxyz\r"
    "     ABCDEFGHIJKLMNOPQRSTUVWXYZ\r"
    "     123456789#_-\r"
    "A string with 8 letters or less is preferable. Although the string may contain\r"
    "numbers, it should not start with a number.\r";

constexpr const char* kNotes =
    "CONTACT\r"
    "Questions, faults and wishes are welcome through the website.\r"
    "\r"
    "DATA FORMATS\r"
    "The tools work on shapefiles, dBASE tables and raster datasets. They are not written for "
    "geodatabases and SDE data: please be careful with such datasets, and try a tool on a copy "
    "first.\r"
    "\r"
    "LICENCE\r"
    "The terms of use are in the file LICENSE that comes with the tools. There is no warranty: "
    "results "
    "should be checked before anything depends on them.\r"
    "\r"
    "THANKS\r"
    "To everyone who has reported a fault, lent a dataset or shared an idea.";

}  // namespace

// ---- frmGetString

frmGetString::frmGetString() : Dialog("frmGetString", "Information required...") {
  lblExplanation = Add<Label>("lblExplanation", "");
  Add<Label>("Label2", "Enter string:");
  txtUserStr = Add<TextBox>("txtUserStr", "Enter string:");
  btnOK = AddOkButton();
  btnHelp = Add<Button>("btnHelp", "Help");
  btnExit = AddExitButton();
  btnOK->OnClick = [this] {
    if (txtUserStr->text().empty()) {
      MessageBox("ERROR: you must enter a string in the textbox to continue.", kCritical);
      return;
    }
    gUserString = txtUserStr->text();
    Unload();
  };
  btnHelp->OnClick = [] { MessageBox(kSimpleStrings, kInformation, "Simple strings"); };
}

// ---- frmFieldsList

frmFieldsList::frmFieldsList() : Dialog("frmFieldsList", "Identify fields...") {
  Add<Label>("Label1", "Select fields to capture from layer:");
  lblLayerName = Add<Label>("lblLayerName", "");
  lstFields = Add<ListBox>("lstFields", "Select fields to capture from layer:");
  chkAllFields = Add<CheckBox>("chkAllFields", "Use all fields");
  btnOK = Add<Button>("btnOK", "Next >");
  chkAllFields->OnClick = [this] { lstFields->Enable(!chkAllFields->value); };
  btnOK->OnClick = [this] {
    Succeeded();
    Hide();
  };
}

// ---- frmResultsReport

frmResultsReport::frmResultsReport() : Dialog("frmResultsReport", "Processing results:") {
  txtResults = Add<TextBox>("txtResults", "");
  txtResults->multiLine = txtResults->readOnly = true;
  btnOK = Add<Button>("btnOK", "Close");
  btnOK->OnClick = [this] { Unload(); };
}

// ---- frmJulianDay

frmJulianDay::frmJulianDay() : Dialog("frmJulianDay", "Julian Day") {
  Add<Label>("Label1", "Julian Day:");
  txtJD = Add<TextBox>("txtJD", "Julian Day:");
  monthviewJD = Add<MonthView>("monthviewJD");
  btnExit = AddExitButton();
  monthviewJD->OnDateClick = [this] {
    txtJD->text = ToText(GetJulianDay(Value(monthviewJD->value())));
    btnExit->Focus();
  };
}

void frmJulianDay::OnLoad() {
  const Date today = Today();
  txtJD->text = ToText(GetJulianDay(Value(today)));
  monthviewJD->value = today;
}

// ---- frmDigXY

frmDigXY::frmDigXY() : Dialog("frmDigXY", "X, Y") {
  Add<Label>("Label1", "Coordinates:");
  txtCoords = Add<TextBox>("txtCoords", "Coordinates:");
  cmdExit = AddExitButton("cmdExit");
}

void frmDigXY::ProcessDigitisedPoint() {
  Load();
  txtCoords->text = ToText(gDigPoint.x) + ", " + ToText(gDigPoint.y);
  ShowModal();
}

// ---- frmAbout

frmAbout::frmAbout() : Dialog("frmAbout", "About...") {
  Add<Label>("lblTitle", "Orlinth's Analysis Tools");
  Add<Label>("lblYears", "2001-2026");
  Add<Label>("lblVersion", "Version 3.23");
  txtNotes = Add<TextBox>("txtNotes", "", kNotes);
  txtNotes->multiLine = txtNotes->readOnly = true;
  btnWebsite = Add<Button>("btnWebsite", "Website");
  btnExit = AddExitButton();
  btnWebsite->OnClick = [] { ShellOpen(kWebHelpBase); };
}

// ---- All

std::vector<std::pair<std::string, DialogMaker>> SmallDialogs() {
  return {
      {"frmGetString", [] { return std::make_unique<frmGetString>(); }},
      {"frmFieldsList", [] { return std::make_unique<frmFieldsList>(); }},
      {"frmResultsReport", [] { return std::make_unique<frmResultsReport>(); }},
      {"frmJulianDay", [] { return std::make_unique<frmJulianDay>(); }},
      {"frmDigXY", [] { return std::make_unique<frmDigXY>(); }},
      {"frmAbout", [] { return std::make_unique<frmAbout>(); }},
  };
}

}  // namespace orlinths
