// A hand that uses the windows themselves: keys, clicks and choices on the widgets.
#pragma once

#include <functional>

#include "qgis/WindowHost.h"
#include "session/Stage.h"

namespace orlinths {

class WidgetHand : public IPlayedWindows {
 public:
  explicit WidgetHand(WindowHost& host) : host_(host) {}
  /// Clicks a command where its user finds it.
  std::function<void(const CommandInfo&)> onClick;
  /// The widget that shows the map; nothing where there is none.
  QWidget* map = nullptr;
  /// Keeps a picture of every window and message from now on, its name beginning with `prefix`; an
  /// empty folder keeps none.
  void KeepPicturesIn(const std::string& folder, const std::string& prefix);

  IDialogHost& Host() override { return host_; }
  void Click(const CommandInfo& command) override { onClick(command); }
  void UseMouse(const steps::Mouse& mouse) override;
  std::string Set(Dialog& dialog, const std::string& control, const SetValue& to) override;
  void Press(Dialog& dialog, Button& button) override;
  void Close(Dialog& dialog) override { host_.CloseBox(dialog); }
  void Picked(const steps::Pick& pick) override;
  void ShowMessage(const std::string& text, int flags, const std::string& title,
                   Reply reply) override;
  void Yield() override { host_.Yield(); }

 private:
  void Settle();
  void KeepPicture(QWidget& window, const QString& name);

  WindowHost& host_;
  std::string pictureFolder_, prefix_;
  int pictures_ = 0;
};

}  // namespace orlinths
