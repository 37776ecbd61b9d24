#include "qgis/BackColours.h"

#include <QPalette>
#include <QStyle>
#include <QVariant>
#include <QWidget>

#include <algorithm>
#include <cmath>

namespace orlinths {
namespace {

/// A channel of sRGB as light.
double Linear(double channel) {
  return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& colour) {
  return 0.2126 * Linear(colour.redF()) + 0.7152 * Linear(colour.greenF()) +
         0.0722 * Linear(colour.blueF());
}

/// The theme's text of that group, or a better one where it would be lost on `back`.
QColor TextOn(const QColor& back, QPalette::ColorGroup group, const QPalette& theme) {
  const double least = Contrast(theme.color(QPalette::Disabled, QPalette::WindowText),
                                theme.color(QPalette::Active, QPalette::Window));
  const QColor text = theme.color(group, QPalette::Text);
  const QColor dark = theme.color(QPalette::Active, QPalette::Text);
  const QColor light = theme.color(QPalette::Active, QPalette::Base);
  if (Contrast(text, back) >= least) return text;
  return Contrast(dark, back) >= Contrast(light, back) ? dark : light;
}

}  // namespace

QColor ColourOf(BackColour colour, const QPalette& theme) {
  switch (colour) {
    case BackColour::kWindow:
      return theme.color(QPalette::Active, QPalette::Base);
    case BackColour::kButtonFace:
      return theme.color(QPalette::Active, QPalette::Window);
    case BackColour::kWorkspace:
      return theme.color(QPalette::Active, QPalette::Dark);
  }
  return {};
}

double Contrast(const QColor& a, const QColor& b) {
  constexpr double kFlare = 0.05;
  const double first = Luminance(a) + kFlare, second = Luminance(b) + kFlare;
  return std::max(first, second) / std::min(first, second);
}

void PaintBack(QWidget& field, const Control& model) {
  constexpr const char* kPainted = "orlinthsPainted";
  const BackColour wanted = model.backColour;
  // A drop-down list is painted like a button; where it is to look like a window, the theme's own
  // button is what users know.
  const bool isButton = model.Kind() == ControlKind::kCombo;
  const bool isThemes = wanted == BackColour::kWindow && model.enabled();
  const bool paints = isButton ? wanted == BackColour::kWorkspace : !isThemes;
  if (!paints && !field.property(kPainted).toBool()) return;
  QPalette own;  // without a role of its own: the theme's
  if (paints) {
    const QPalette theme = field.parentWidget()->palette();
    const QColor back = ColourOf(wanted, theme);
    own.setColor(isButton ? QPalette::Button : QPalette::Base, back);
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
      own.setColor(group, QPalette::Text, TextOn(back, group, theme));
      own.setColor(group, QPalette::ButtonText, TextOn(back, group, theme));
    }
  }
  field.setProperty(kPainted, paints);
  // The colours of a style sheet stand in the palette too, and the sheet keeps what stood there
  // before, perhaps our paint: it is to let go first, and to paint again.
  const bool hasSheet = !paints && field.testAttribute(Qt::WA_StyleSheetTarget);
  if (hasSheet) field.style()->unpolish(&field);
  field.setPalette(own);
  if (hasSheet) field.style()->polish(&field);
}

}  // namespace orlinths
