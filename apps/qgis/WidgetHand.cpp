#include "qgis/WidgetHand.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCalendarWidget>
#include <QComboBox>
#include <QDir>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPlainTextEdit>

#include <algorithm>

#include "qgis/MessageBoxes.h"
#include "qgis/SpinArrows.h"
#include "qgis/Text.h"
#include "runtime/Date.h"
#include "runtime/Files.h"
#include "runtime/Value.h"
#include "session/UserHand.h"

namespace orlinths {
namespace {

/// One stroke that types a whole text, or clears the box.
void Type(QWidget& box, const QString& text) {
  const int key = text.isEmpty() ? Qt::Key_Delete : Qt::Key_unknown;
  QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier, text);
  QApplication::sendEvent(&box, &down);
}

bool TypeInto(QWidget& widget, const std::string& text) {
  if (auto* line = qobject_cast<QLineEdit*>(&widget)) {
    if (FromQt(line->text()) == text) return true;
    line->selectAll();
    Type(*line, ToQt(text));
    return FromQt(line->text()) == text;
  }
  if (auto* page = qobject_cast<QPlainTextEdit*>(&widget)) {
    page->selectAll();
    page->insertPlainText(ToQtLines(text));
    return true;
  }
  return false;
}

bool ChooseIn(QComboBox& combo, const std::string& item) {
  const int index = combo.findText(ToQt(item), Qt::MatchExactly | Qt::MatchCaseSensitive);
  if (index < 0) return false;
  combo.setCurrentIndex(index);
  Q_EMIT combo.activated(index);
  return true;
}

/// False where the model must be asked instead: an item that is not there, or a choice that changes
/// nothing and so gives no sign.
bool SelectIn(QListWidget& list, const SetValue& to) {
  std::vector<std::string> items;
  if (const auto* several = std::get_if<std::vector<std::string>>(&to))
    items = *several;
  else if (const auto* one = std::get_if<std::string>(&to))
    items = {*one};
  if (list.selectionMode() == QAbstractItemView::SingleSelection && items.size() > 1) return false;
  QItemSelection wanted;
  std::vector<bool> taken(static_cast<std::size_t>(list.count()), false);
  for (const std::string& item : items) {
    int row = 0;
    while (row < list.count() &&
           (taken[static_cast<std::size_t>(row)] || list.item(row)->text() != ToQt(item)))
      ++row;
    if (row == list.count()) return false;
    taken[static_cast<std::size_t>(row)] = true;
    const QModelIndex index = list.model()->index(row, 0);
    wanted.select(index, index);
  }
  bool isChange = false;
  for (int row = 0; row < list.count(); ++row)
    isChange = isChange || list.item(row)->isSelected() != taken[static_cast<std::size_t>(row)];
  if (!isChange) return false;
  list.selectionModel()->select(wanted, QItemSelectionModel::ClearAndSelect);
  return true;
}

std::optional<bool> FlagOf(const SetValue& to) {
  if (const bool* flag = std::get_if<bool>(&to)) return *flag;
  if (const auto* word = std::get_if<std::string>(&to)) return YesOrNo(*word);
  return {};
}

/// True when the widget has been used; otherwise the model is to judge the request.
bool Use(const Control& control, QWidget& widget, const SetValue& to) {
  const auto* text = std::get_if<std::string>(&to);
  switch (control.Kind()) {
    case ControlKind::kText:
      return text != nullptr && !static_cast<const TextBox&>(control).readOnly &&
             TypeInto(widget, *text);
    case ControlKind::kCombo:
      return text != nullptr && ChooseIn(static_cast<QComboBox&>(widget), *text);
    case ControlKind::kList:
      return SelectIn(static_cast<QListWidget&>(widget), to);
    case ControlKind::kCheck: {
      const auto on = FlagOf(to);
      auto& box = static_cast<QAbstractButton&>(widget);
      if (on && box.isChecked() != *on) box.click();
      return on.has_value();
    }
    case ControlKind::kOption: {
      const auto on = FlagOf(to);
      if (!on || !*on) return false;
      auto& option = static_cast<QAbstractButton&>(widget);
      if (!option.isChecked()) option.click();
      return true;
    }
    default:
      return false;
  }
}

}  // namespace

std::string WidgetHand::Set(Dialog& dialog, const std::string& name, const SetValue& to) {
  Settle();
  std::string wrong;
  Control* control = ReachableControl(dialog, name, wrong);
  if (control == nullptr) return wrong;
  DialogWindow* window = host_.WindowOf(dialog);
  if (window == nullptr) return dialog.Name() + " has no window";
  QWidget* widget = window->Of(*control).Widget();
  if (!widget->isVisible() || !widget->isEnabled())
    return control->name + " cannot be reached in its window";
  widget->setFocus(Qt::TabFocusReason);
  if (!Use(*control, *widget, to)) wrong = SetByHand(dialog, name, to);
  Settle();
  return wrong;
}

void WidgetHand::Press(Dialog& dialog, Button& button) {
  Settle();
  DialogWindow* window = host_.WindowOf(dialog);
  if (window == nullptr) return;
  KeepPicture(*window, window->objectName());
  auto* widget = qobject_cast<QAbstractButton*>(window->Of(button).Widget());
  if (widget != nullptr) widget->click();
  Settle();
}

void WidgetHand::ShowMessage(const std::string& text, int flags, const std::string& title,
                             Reply reply) {
  const auto box = MakeMessageBox(text, flags, title, host_.Parent());
  box->show();
  Settle();
  KeepPicture(*box, QStringLiteral("message"));
  if (QAbstractButton* button = ButtonOf(*box, reply)) button->click();
  if (reply != Reply::kOk && host_.onAnswer) host_.onAnswer(text, reply == Reply::kYes);
}

void WidgetHand::Picked(const steps::Pick& pick) {
  if (host_.onPick) host_.onPick(pick);
}

void WidgetHand::UseMouse(const steps::Mouse& mouse) {
  if (map == nullptr) return;
  const auto button = mouse.button == 2   ? Qt::RightButton
                      : mouse.button == 4 ? Qt::MiddleButton
                      : mouse.button == 1 ? Qt::LeftButton
                                          : Qt::NoButton;
  Qt::KeyboardModifiers keys;
  keys.setFlag(Qt::ShiftModifier, (mouse.shift & 1) != 0);
  keys.setFlag(Qt::ControlModifier, (mouse.shift & 2) != 0);
  keys.setFlag(Qt::AltModifier, (mouse.shift & 4) != 0);
  const QPointF place(mouse.x, mouse.y);
  const QEvent::Type type = mouse.action == steps::MouseAction::kDown ? QEvent::MouseButtonPress
                            : mouse.action == steps::MouseAction::kUp ? QEvent::MouseButtonRelease
                            : mouse.action == steps::MouseAction::kMove
                                ? QEvent::MouseMove
                                : QEvent::MouseButtonDblClick;
  const bool isMove = mouse.action == steps::MouseAction::kMove;
  const Qt::MouseButtons held =
      mouse.action == steps::MouseAction::kUp ? Qt::MouseButtons() : Qt::MouseButtons(button);
  QMouseEvent event(type, place, map->mapToGlobal(place.toPoint()), isMove ? Qt::NoButton : button,
                    held, keys);
  QApplication::sendEvent(map, &event);
}

void WidgetHand::Settle() { QCoreApplication::processEvents(); }

void WidgetHand::KeepPicturesIn(const std::string& folder, const std::string& prefix) {
  pictureFolder_ = folder;
  prefix_ = prefix;
  pictures_ = 0;
}

void WidgetHand::KeepPicture(QWidget& window, const QString& name) {
  if (pictureFolder_.empty()) return;
  Settle();
  const QString file = QStringLiteral("%1-%2-%3.png").arg(ToQt(prefix_)).arg(++pictures_).arg(name);
  window.grab().save(QDir(ToQt(pictureFolder_)).filePath(file));
}

}  // namespace orlinths
