// The back colours of fields, told to the theme in force through the palette.
#pragma once

#include <QColor>

#include "host/Controls.h"

class QPalette;
class QWidget;

namespace orlinths {

/// A system colour in a theme.
QColor ColourOf(BackColour colour, const QPalette& theme);
/// How well one colour is read on the other, from 1 (not at all) to 21 (black on white): the ratio
/// of WCAG 2.
double Contrast(const QColor& a, const QColor& b);
/// Paints a field (a box, a drop-down list, a list) as its model says, whether it is enabled or
/// not. What it shows is read there no worse than the theme's own disabled text on a window. A
/// theme with a style sheet has the last word.
void PaintBack(QWidget& field, const Control& model);

}  // namespace orlinths
