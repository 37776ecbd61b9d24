// What a player plays on: an application that tells what happens in it and, in a desktop, the
// windows of its dialogs.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "data/Application.h"
#include "host/Commands.h"
#include "host/Dialog.h"
#include "runtime/Ports.h"
#include "session/Session.h"

namespace orlinths {

/// Told what happens in an application; an empty member hears nothing.
struct ApplicationListener {
  std::function<void(const ILayer&)> layerAdded;
  std::function<void(const IFeatureLayer&)> selectionChanged;
  std::function<void(const std::string& text)> statusBar;
  std::function<void(std::int64_t position, std::int64_t max, const std::string& message)> progress;
};

class IPlayedApplication {
 public:
  virtual ~IPlayedApplication() = default;
  virtual IApplication& Application() = 0;
  virtual IMap& PlayedMap() = 0;
  /// Replaces the one that was there.
  virtual void Listen(ApplicationListener listener) = 0;
  /// True when a command has chosen the current tool itself since the last question.
  virtual bool TookToolChoice() = 0;
  /// The user takes the map tool of that caption.
  virtual void TakeInHand(const std::string& caption) = 0;
  /// The user selects these rows of the first feature layer of that name; a wrong call when there
  /// is none.
  virtual void Select(const std::string& layer, const std::vector<Oid>& oids) = 0;
};

/// The windows of a desktop, used as a user's hand uses them.
class IPlayedWindows {
 public:
  virtual ~IPlayedWindows() = default;
  /// Shows, repaints and closes them. It is never asked to wait for a user or for a file choice.
  virtual IDialogHost& Host() = 0;
  /// Clicks a command as from its menu; a map tool is in the user's hand then.
  virtual void Click(const CommandInfo& command) = 0;
  /// The mouse on the map.
  virtual void UseMouse(const steps::Mouse& mouse) = 0;
  /// Sets a control through its widget. Gives what is wrong with the request, as `SetByHand` does;
  /// empty when the control was set.
  virtual std::string Set(Dialog& dialog, const std::string& control, const SetValue& to) = 0;
  /// Presses the widget of a button that can be reached.
  virtual void Press(Dialog& dialog, Button& button) = 0;
  /// Closes the window as its close box does.
  virtual void Close(Dialog& dialog) = 0;
  /// A file dialog would have given this.
  virtual void Picked(const steps::Pick& pick) = 0;
  /// Shows a message and answers it.
  virtual void ShowMessage(const std::string& text, int flags, const std::string& title,
                           Reply reply) = 0;
  /// Lets the windows repaint.
  virtual void Yield() = 0;
};

}  // namespace orlinths
