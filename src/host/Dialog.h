// A tool's dialog as a model: its controls in order, its life from load to unload. Hosts render it;
// tools derive from it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "data/SpatialReference.h"
#include "host/Controls.h"

namespace orlinths {

class Dialog {
 public:
  /// `helpTag` is what its help button sends; empty for a dialog without help.
  Dialog(std::string name, std::string caption, std::string helpTag = {});
  virtual ~Dialog();
  Dialog(const Dialog&) = delete;
  Dialog& operator=(const Dialog&) = delete;

  const std::string& Name() const { return name_; }
  const std::string& HelpTag() const { return helpTag_; }
  std::string caption;
  /// A tool may disable its whole dialog for a run.
  bool IsEnabled() const { return enabled_; }
  void SetEnabled(bool on);
  bool IsVisible() const { return visible_; }
  bool IsLoaded() const { return loaded_; }

  /// Loads if not loaded, shows, and blocks until the dialog is hidden or unloaded. A load that
  /// unloads shows nothing.
  void ShowModal();
  /// Fires the load without showing: what a first touch of an unloaded dialog does.
  void Load();
  /// Hides it: the controls keep their state and can be read.
  void Hide();
  /// Closes it: the controls go back to their design; members of the derived class stay.
  void Unload();
  /// Repaints at once.
  void Refresh();

  /// Controls in their order on the dialog.
  const std::vector<std::unique_ptr<Control>>& Controls() const { return controls_; }
  const std::vector<std::unique_ptr<orlinths::Frame>>& Frames() const { return frames_; }
  /// Without regard to case; nothing when there is none.
  Control* FindControl(const std::string& name) const;
  /// The button that runs the tool: `btnOK` unless the dialog says otherwise.
  virtual Button* MainButton() const;
  /// A report that only wants to be read and closed.
  virtual bool IsReport() const { return false; }

  /// A user's hand on a button: its handler runs and pending table edits are written, once the
  /// outermost press is over. A press may come while another is at work (at a yield, in a further
  /// dialog). False, and nothing happens, for a button that is out of reach.
  bool Press(Button& button);
  /// How the last press of the main button ended: true when it called `Succeeded()` or unloaded the
  /// dialog.
  bool EndedInSuccess() const { return endedInSuccess_; }

  /// Keeps the controls as they are now as the design that unloading goes back to. The first call
  /// counts; loading makes it at the latest.
  void KeepDesign();

 protected:
  /// Declares a control; order of declaration is order on the dialog. Inside `InFrame` it stands in
  /// that frame.
  template <class T, class... Args>
  T* Add(std::string controlName, Args&&... args) {
    auto control = std::make_unique<T>(*this, std::move(controlName), std::forward<Args>(args)...);
    T* added = control.get();
    added->frame = currentFrame_;
    controls_.push_back(std::move(control));
    return added;
  }
  /// Opens a frame: the controls declared in `body` stand in it.
  orlinths::Frame* InFrame(std::string frameName, std::string frameCaption,
                           const std::function<void()>& body);

  /// Runs when the dialog is loaded: lists are filled, defaults set. Members of the derived class
  /// survive unloading, so a load sets what must start anew.
  virtual void OnLoad() {}
  /// Marks a run that ends well but leaves the dialog open.
  void Succeeded() { endedInSuccess_ = true; }

  /// The tool's run: straight code. Its failure becomes the shared error report under `label`, then
  /// `txtStatus` is emptied; the dialog stays open. A dialog that the run has disabled is enabled
  /// again however the run ends.
  bool Run(std::string_view label, const std::string& letter, const std::function<void()>& body);
  bool Run(std::string_view label, const std::function<void()>& body);

  /// The common controls, declared as in every dialog; a tool adds those it has.
  Button* AddOkButton();
  Button* AddExitButton(std::string buttonName = "btnExit");  ///< "Exit"; unloads the dialog
  Button* AddHelpButton(
      std::string buttonName = "btnHelp");  ///< "Web Help"; opens the page of `helpTag`
  TextBox* AddStatusLine();                 ///< `txtStatus`, read only
  CheckBox* AddUseSelected();
  CheckBox* AddAddLayer(Check check = Unchecked);

  /// Sets `txtStatus` and repaints.
  void Status(const std::string& text);

 private:
  friend class Control;
  std::string name_, helpTag_;
  std::string designCaption_;
  bool enabled_ = true, visible_ = false, loaded_ = false, endedInSuccess_ = false;
  bool designKept_ = false;
  int mainPresses_ = 0;  ///< presses of the main button that are at work
  std::vector<std::unique_ptr<Control>> controls_;
  std::vector<std::unique_ptr<orlinths::Frame>> frames_;
  orlinths::Frame* currentFrame_ = nullptr;
  TextBox* status_ = nullptr;
};

/// What a host does for dialogs: windows in a desktop, steps of a session on the command line, a
/// script in a test.
class IDialogHost {
 public:
  virtual ~IDialogHost() = default;
  /// Shows the dialog and returns when it is no longer visible. Dialogs nest.
  virtual void RunModal(Dialog& dialog) = 0;
  virtual void DialogShown(Dialog&) {}  ///< before `RunModal`
  virtual void DialogHidden(Dialog&) {}
  virtual void DialogUnloaded(Dialog&) {}
  virtual void DialogChanged(Dialog&) {}    ///< caption or enabled state
  virtual void ControlChanged(Control&) {}  ///< repaint soon
  virtual void ControlFocused(Control&) {}
  virtual void Repaint(Dialog&) {}  ///< repaint now

  /// The catalogue dialog: nothing when the user cancels.
  struct Choice {
    std::string folder;  ///< of a file; of a folder choice the parent
    std::string name;    ///< with extension as chosen
    bool replacing = false;
    std::string FullName() const;
  };
  enum class Filter { kShapefiles, kRasters, kDbase, kText, kFolders, kTables, kAny };
  struct Question {
    std::string title;
    Filter filter = Filter::kShapefiles;
    std::string startFolder;
    bool save = true;
    Dialog* owner = nullptr;
  };
  virtual bool Pick(const Question& question, Choice& choice) = 0;

  /// The choice of a spatial reference, beginning with `reference`, never null; the unknown
  /// coordinate system can be chosen like any other. False, and nothing changed, when the user
  /// cancels.
  struct ReferenceQuestion {
    std::string title;
    Dialog* owner = nullptr;
  };
  virtual bool PickSpatialReference(const ReferenceQuestion& question,
                                    SpatialReferencePtr& reference) = 0;
};

/// The host in force; error 91 before one is set.
IDialogHost& DialogHost();
/// Nothing before one is set. For what is only told.
IDialogHost* DialogHostIfAny();
/// Returns the one that was there.
IDialogHost* SetDialogHost(IDialogHost* host);

}  // namespace orlinths
