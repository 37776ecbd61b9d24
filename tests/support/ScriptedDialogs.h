// A user's hand for tests: opens no windows, sets controls and presses buttons as a user could,
// answers file choices.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/Dialog.h"

namespace orlinths {

class ScriptedDialogs;

/// A hand on one dialog. What a user could not do (a control out of reach, an item that a list does
/// not hold, a name that the dialog does not have) throws std::logic_error.
class Hand {
 public:
  Hand(ScriptedDialogs& host, Dialog& dialog) : host_(&host), dialog_(&dialog) {}

  Hand& Set(const std::string& box, const std::string& text);
  Hand& Set(const std::string& upDown, int value);
  Hand& Choose(const std::string& combo, const std::string& item);
  Hand& Choose(const std::string& option);
  Hand& Check(const std::string& box, bool on = true);
  Hand& Select(const std::string& list, const std::vector<std::string>& items);
  Hand& PickDate(const std::string& calendar, Date date);
  Hand& Press(const std::string& button);
  /// Presses a button that asks for a file or folder, and answers with `path`. A path that exists
  /// counts as replacing.
  Hand& Pick(const std::string& button, const std::string& path);
  Hand& CancelPick(const std::string& button);
  /// Presses a button that asks for a spatial reference, and answers with this one.
  Hand& PickReference(const std::string& button, SpatialReferencePtr reference);
  Hand& CancelReference(const std::string& button);

  /// For looking, not for touching: any control, reachable or not.
  std::string Text(const std::string& control) const;  ///< of a box, combo or label
  bool IsChecked(const std::string& control) const;    ///< of a check box or option
  bool IsEnabled(const std::string& control) const;
  bool IsVisible(const std::string& control) const;
  std::vector<std::string> Items(const std::string& list) const;
  bool IsOpen() const { return dialog_->IsVisible(); }
  Dialog& operator*() const { return *dialog_; }
  Dialog* operator->() const { return dialog_; }

 private:
  template <class T>
  T& Find(const std::string& name) const;
  template <class T>
  T& Reach(const std::string& name) const;

  ScriptedDialogs* host_;
  Dialog* dialog_;
};

/// The dialog host of a test. A dialog that opens while no press is at work stays open for the test
/// to go on with; one that opens inside a press gets the script waiting for it, and is a failure of
/// the test without one.
class ScriptedDialogs : public IDialogHost {
 public:
  ScriptedDialogs();
  ~ScriptedDialogs() override;
  ScriptedDialogs(const ScriptedDialogs&) = delete;
  ScriptedDialogs& operator=(const ScriptedDialogs&) = delete;

  /// What to do with the next dialog of that name. Scripts are used up in order; one must close its
  /// dialog.
  void WhenOpened(const std::string& dialogName, std::function<void(Hand)> script);
  /// A hand on the dialog that was shown last and is still open; throws when there is none.
  Hand Top();

  /// Answers to file choices, in order; nothing is a cancel. A choice without an answer is a
  /// failure of the test.
  std::deque<std::optional<Choice>> picks;
  /// The same for spatial references; null is a cancel.
  std::deque<SpatialReferencePtr> references;

  std::vector<std::string> events;    ///< "shown frmX", "hidden frmX", "unloaded frmX", in order
  std::vector<std::string> statuses;  ///< every text that `txtStatus` has had
  std::vector<std::string> changes;   ///< names of the controls that changed, in order
  std::vector<std::string> focused;
  std::vector<float> progress;      ///< values of progress bars as the host was told
  std::vector<Question> questions;  ///< file choices asked for
  std::vector<ReferenceQuestion> referenceQuestions;
  std::vector<SpatialReferencePtr> startReferences;  ///< what each of them began with
  int repaints = 0;

  void RunModal(Dialog& dialog) override;
  void DialogShown(Dialog& dialog) override;
  void DialogHidden(Dialog& dialog) override;
  void DialogUnloaded(Dialog& dialog) override;
  void ControlChanged(Control& control) override;
  void ControlFocused(Control& control) override { focused.push_back(control.name); }
  void Repaint(Dialog&) override { ++repaints; }
  bool Pick(const Question& question, Choice& choice) override;
  bool PickSpatialReference(const ReferenceQuestion& question,
                            SpatialReferencePtr& reference) override;

 private:
  friend class Hand;
  struct Script {
    std::string dialogName;
    std::function<void(Hand)> run;
  };
  IDialogHost* before_;
  std::deque<Script> scripts_;
  std::vector<Dialog*> open_;
  int presses_ = 0;
};

}  // namespace orlinths
