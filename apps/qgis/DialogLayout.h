// Lays the widgets of a dialog out, from nothing but the order of its controls and the frames that
// they stand in.
#pragma once

#include <QSize>

#include <functional>
#include <vector>

#include "host/Dialog.h"
#include "qgis/ControlWidgets.h"

class QDialog;

namespace orlinths {

/// Gives the widget of a control, made at the first question.
using WidgetOf = std::function<ControlWidget&(Control&)>;

/// Fills `window` with the dialog's widgets, made as children of the window in the order in which
/// Tab is to visit them. One that is too tall for `screen` is set closer, then in two columns;
/// one that is still too tall scrolls. Gives the parts that a disabled dialog greys out: all but
/// its status line and progress bars.
std::vector<QWidget*> LayOut(const Dialog& dialog, const WidgetOf& widgetOf, QDialog& window,
                             QSize screen);

}  // namespace orlinths
