// The widget of each kind of control: shows the model, and hands on what its user does.
#pragma once

#include <QWidget>

#include <functional>
#include <memory>
#include <string>

#include "host/Controls.h"
#include "session/Session.h"

namespace orlinths {

/// What widgets need of their window.
class IWidgetHost {
 public:
  virtual ~IWidgetHost() = default;
  /// The user has acted: `act` tells the model, `step` is how a session says the same.
  virtual void Act(Step step, const std::function<void()>& act) = 0;
};

/// One control on a window. It owns no widget: the window does.
class ControlWidget {
 public:
  virtual ~ControlWidget() = default;
  ControlWidget(const ControlWidget&) = delete;
  ControlWidget& operator=(const ControlWidget&) = delete;

  virtual Control& Model() const = 0;
  virtual QWidget* Widget() const = 0;
  /// Shows the model as it is now. Fires nothing.
  void Update();

  /// The caption beside the widget, if there is one: enabled and visible with it.
  QWidget* caption = nullptr;

 protected:
  ControlWidget() = default;
  virtual void ShowModel() = 0;
};

/// Makes the widget of a control, child of `parent`, connected both ways.
std::unique_ptr<ControlWidget> MakeControlWidget(Control& control, IWidgetHost& host,
                                                 QWidget* parent);

}  // namespace orlinths
