// What a user's hand does to a dialog: fills its controls, so that their handlers fire.
#pragma once

#include <optional>
#include <string>

#include "host/Dialog.h"
#include "session/Session.h"

namespace orlinths {

/// The control of that name, compared without case, if a hand can reach it now; else nothing, and
/// `wrong` says why not.
Control* ReachableControl(const Dialog& dialog, const std::string& name, std::string& wrong);

/// Sets a control and fires its handlers. Gives what is wrong with the request, naming the control
/// and what would have been right; empty when the control was set.
std::string SetByHand(const Dialog& dialog, const std::string& name, const SetValue& to);

/// The button that runs nothing and closes the dialog; nothing for a dialog without one.
Button* ExitButton(const Dialog& dialog);
/// The box that the button fills through a choice; nothing for another button.
const TextBox* BoxFilledBy(const Dialog& dialog, const Control& button);

/// "yes", "true", "1" and "no", "false", "0", without regard to case; nothing for other words.
std::optional<bool> YesOrNo(const std::string& word);

}  // namespace orlinths
