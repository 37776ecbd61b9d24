// Dialogs in windows: shows, repaints and closes them, runs what their users do, and lets a user
// stop it.
#pragma once

#include <QObject>
#include <QPointer>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/Dialog.h"
#include "host/Throttle.h"
#include "qgis/DialogWindow.h"
#include "runtime/Ports.h"
#include "session/Session.h"

class QEventLoop;

namespace orlinths {

/// An answer to a choice that is known beforehand.
struct PickAnswer {
  steps::Pick pick;
  /// Whether the answer can be given to what is asked for; otherwise the choice is cancelled. Of
  /// files and folders only.
  std::function<bool(const IDialogHost::Question&, const IDialogHost::Choice&)> holds;
};

class WindowHost : public QObject, public IDialogHost, private IWidgetHost {
 public:
  explicit WindowHost(QWidget* mainWindow);
  ~WindowHost() override;

  /// The work that a user set off is over, and everything is on the disk.
  std::function<void()> onWorkDone;
  /// A user has done this in the dialog on top.
  std::function<void(const Dialog& dialog, const Step& step)> onStep;
  /// What that did is over; a wish to stop it is still known.
  std::function<void(const Dialog& dialog, const Step& step)> onStepDone;
  /// A choice that a press opened gave this.
  std::function<void(const steps::Pick& pick)> onPick;
  /// The user has answered a question.
  std::function<void(const std::string& question, bool yes)> onAnswer;
  /// A dialog stands ready for its user, who has not touched it yet. Used up by the first one.
  std::function<void(Dialog& dialog)> onNextReady;
  /// What the next choice gives without being shown; nothing: the user is asked.
  std::optional<PickAnswer> answerNextPick;

  /// Message box, yield and shell for the tools, in windows.
  Ports MakePorts();

  /// The window of a dialog that is shown; nothing for another.
  DialogWindow* WindowOf(const Dialog& dialog) const;
  /// Closes a window as its close box does: a run is asked to stop, also by closing a dialog that
  /// it has opened; a dialog at rest is closed.
  void CloseBox(Dialog& dialog);
  bool IsOpen() const { return !shown_.empty(); }  ///< any dialog
  bool IsAtWork() const { return !atWork_.empty(); }
  /// Where a new window or box belongs.
  QWidget* Parent() const;

  void RunModal(Dialog& dialog) override;
  void DialogShown(Dialog& dialog) override;
  void DialogHidden(Dialog& dialog) override;
  void DialogUnloaded(Dialog& dialog) override;
  void DialogChanged(Dialog& dialog) override;
  void ControlChanged(Control& control) override;
  void ControlFocused(Control& control) override;
  void Repaint(Dialog& dialog) override;
  bool Pick(const Question& question, Choice& choice) override;
  bool PickSpatialReference(const ReferenceQuestion& question,
                            SpatialReferencePtr& reference) override;

  /// Repaints, and hears a wish to stop; at most twenty times a second.
  void Yield();

 private:
  void Act(Step step, const std::function<void()>& act) override;
  bool eventFilter(QObject* receiver, QEvent* event) override;
  void ShowChangesSoon();
  void ShowAllChanges();
  void RepaintNow();
  /// Comes after every time in which users could do what they like.
  void EventsTaken();

  QWidget* mainWindow_;
  std::map<const Dialog*, QPointer<DialogWindow>> windows_;
  std::map<const Dialog*, QEventLoop*> loops_;  ///< of those that have not been closed
  std::vector<Dialog*> shown_;                  ///< the one on top last
  std::vector<const Dialog*> atWork_;           ///< whose handlers are running
  bool changesPending_ = false;
  Throttle throttle_;
};

}  // namespace orlinths
