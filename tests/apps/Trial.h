// A tool made for tests of the command line: every kind of control, and a run that the test
// supplies.
#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

#include "host/Dialog.h"

namespace orlinths {

/// Stands in for `frmAddLength`, the dialog of `clsAddLength`.
class Trial : public Dialog {
 public:
  Trial();
  void Close() { Unload(); }
  void StayInSuccess() { Succeeded(); }
  void Say(const std::string& text) { Status(text); }

  Label* lblHint;
  ComboBox* cmbLayer;
  TextBox *txtName, *txtOut, *txtSR, *txtStatus;
  Button *btnOut, *btnFolder, *btnProj, *btnOK, *btnExit;
  ListBox* lstFields;
  CheckBox *chkExtra, *chkHidden;
  OptionButton *optOne, *optTwo;
  UpDown* spnCount;
  MonthView* calDay;
  ProgressBar* PBar;
  SpatialReferencePtr reference;    ///< what btnProj gave
  std::vector<std::string> picked;  ///< what the pickers gave, "replacing" behind a replaced one

  /// What the main button and the load do; reset by `TrialRig`.
  static std::function<void(Trial&)> run, load;

 private:
  void OnLoad() override;
};

/// Registers the trial in the place of its command, and calls the command line.
class TrialRig {
 public:
  TrialRig();
  ~TrialRig();
  TrialRig(const TrialRig&) = delete;
  TrialRig& operator=(const TrialRig&) = delete;

  /// Gives the exit status; `out`, `error` and `events` are then those of this call.
  int Call(const std::vector<std::string>& arguments);
  /// Plays a session whose text is given; `--json`, and `more` behind it.
  int Play(const std::string& session, const std::vector<std::string>& more = {});

  std::string folder;  ///< of the test's own
  std::string out, error, chatter;
  std::vector<nlohmann::json> events;
  /// Those of one kind, in order.
  std::vector<nlohmann::json> Events(const std::string& kind) const;
  std::vector<std::string> EventNames() const;
  std::vector<std::string> Messages() const;
};

}  // namespace orlinths
