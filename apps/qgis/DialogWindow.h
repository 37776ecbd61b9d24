// The window of one dialog, from its showing to its closing.
#pragma once

#include <QDialog>

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "host/Dialog.h"
#include "qgis/ControlWidgets.h"

namespace orlinths {

class DialogWindow : public QDialog {
 public:
  /// `onClose` is what the close box and the Esc key ask for.
  DialogWindow(Dialog& dialog, IWidgetHost& host, std::function<void()> onClose, QWidget* parent);

  /// Nothing once the dialog has been closed.
  Dialog* Model() const { return model_; }
  /// The widget of a control of this dialog.
  ControlWidget& Of(const Control& control);

  /// Shows the control as it is, at the next `ShowChanges`.
  void Changed(Control& control);
  void ShowChanges();
  /// Caption and enabled state of the dialog itself.
  void ShowDialog();

  /// The dialog is no more: hides, and forgets it.
  void Release();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void reject() override;

 private:
  Dialog* model_;
  std::function<void()> onClose_;
  std::map<const Control*, std::unique_ptr<ControlWidget>> widgets_;
  std::vector<QWidget*> panels_;  ///< what a disabled dialog greys out
  std::vector<Control*> changed_;
};

}  // namespace orlinths
