// Dialogs and their controls as JSON and as a table for people.
#pragma once

#include <string>

#include "host/Dialog.h"
#include "session/Json.h"

namespace orlinths {

/// The dialog's controls in order, and the dialog itself behind them under its own name.
/// `withPickers` adds the name of the button that fills a box.
Json ControlsJson(const Dialog& dialog, bool withPickers);

/// One line a control, in columns: name, kind, label, value, choices.
std::string ControlsTable(const Dialog& dialog);

/// What the dialog's labels and text boxes say, one after the other, each ending in a line break.
std::string ReportText(const Dialog& dialog);
/// What the boxes say that a run fills and nobody types into, in the same way; the status line is
/// none of them.
std::string AnswerText(const Dialog& dialog);
/// Does the dialog only show something, with no button that runs anything?
bool IsOnlyRead(const Dialog& dialog);

/// `text` with every carriage return made a line break.
std::string WithLineBreaks(const std::string& text);

}  // namespace orlinths
