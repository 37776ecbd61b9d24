// The choice of files and folders.
#pragma once

#include <QString>

#include <string>

#include "host/Dialog.h"

class QWidget;

namespace orlinths {

/// What the file dialog offers for a kind of output, "ESRI Shapefiles (*.shp)".
QString FilterText(IDialogHost::Filter filter);
/// The choice that a path stands for: folder and name, and whether it replaces what is there. A
/// name to save under gets the extension of its kind.
IDialogHost::Choice ChoiceOf(const std::string& path, const IDialogHost::Question& question);

/// Asks the user; false when cancelled. Starts where the question says, else in the folder of the
/// last choice, else in the project's.
bool AskForFile(const IDialogHost::Question& question, IDialogHost::Choice& choice,
                QWidget* parent);
/// Asks for a file to keep a session in, `name` proposed; empty when cancelled. A name without
/// extension gets ".json".
QString AskForSession(const QString& title, const QString& name, QWidget* parent);

}  // namespace orlinths
