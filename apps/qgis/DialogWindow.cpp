#include "qgis/DialogWindow.h"

#include <QCloseEvent>

#include <algorithm>
#include <utility>

#include "qgis/DialogLayout.h"
#include "qgis/ScreenRoom.h"
#include "qgis/Text.h"

namespace orlinths {
DialogWindow::DialogWindow(Dialog& dialog, IWidgetHost& host, std::function<void()> onClose,
                           QWidget* parent)
    : QDialog(parent), model_(&dialog), onClose_(std::move(onClose)) {
  setObjectName(ToQt(dialog.Name()));
  setWindowFlag(Qt::WindowContextHelpButtonHint, false);
  setWindowModality(Qt::ApplicationModal);
  const WidgetOf widgetOf = [&](Control& control) -> ControlWidget& {
    auto& widget = widgets_[&control];
    if (!widget) {
      widget = MakeControlWidget(control, host, this);
      widget->Update();  // hidden ones take no room
    }
    return *widget;
  };
  panels_ = LayOut(dialog, widgetOf, *this, RoomFor(*this));
  ShowDialog();
  for (const auto& [control, widget] : widgets_) widget->Update();
  // Qt would leave a third of the screen free.
  resize(sizeHint().boundedTo(RoomFor(*this)).expandedTo(minimumSizeHint()));
}

ControlWidget& DialogWindow::Of(const Control& control) { return *widgets_.at(&control); }

void DialogWindow::Changed(Control& control) {
  if (std::find(changed_.begin(), changed_.end(), &control) == changed_.end())
    changed_.push_back(&control);
}

void DialogWindow::ShowChanges() {
  for (const Control* control : std::exchange(changed_, {}))
    if (const auto found = widgets_.find(control); found != widgets_.end()) found->second->Update();
}

void DialogWindow::ShowDialog() {
  if (model_ == nullptr) return;
  setWindowTitle(ToQt(model_->caption));
  // The window itself stays enabled, so that its close box works.
  for (QWidget* panel : panels_) panel->setEnabled(model_->IsEnabled());
}

void DialogWindow::Release() {
  model_ = nullptr;
  changed_.clear();
  for (QWidget* child : findChildren<QWidget*>()) child->blockSignals(true);
  hide();
}

void DialogWindow::closeEvent(QCloseEvent* event) {
  event->ignore();  // the dialog closes its window
  if (model_ != nullptr) onClose_();
}

void DialogWindow::reject() {
  if (model_ != nullptr) onClose_();
}

}  // namespace orlinths
