#include "qgis/Refill.h"

#include <QFileInfo>

#include "qgis/Text.h"
#include "qgis/WidgetHand.h"
#include "session/UserHand.h"

namespace orlinths {

QStringList Refill(Dialog& dialog, const Session& session, WindowHost& windows,
                   const std::function<bool(const std::string& path)>& mayReplace) {
  QStringList wrongs;
  WidgetHand hand(windows);
  for (const Step& step : session.steps) {
    if (!dialog.IsVisible()) break;
    std::string wrong;
    if (const auto* set = std::get_if<steps::Set>(&step.what)) {
      wrong = hand.Set(dialog, set->control, set->to);
    } else if (const auto* press = std::get_if<steps::Press>(&step.what)) {
      auto* button = dynamic_cast<Button*>(ReachableControl(dialog, press->control, wrong));
      if (button == dialog.MainButton() && button != nullptr) break;
      const bool isChoice = press->pick && press->pick->path;
      const bool isTaken = isChoice && (!QFileInfo::exists(ToQt(*press->pick->path)) ||
                                        mayReplace(*press->pick->path));
      if (button != nullptr && (isTaken || !press->pick)) {
        if (isTaken) windows.answerNextPick = *press->pick->path;
        hand.Press(dialog, *button);
        windows.answerNextPick.clear();
      }
    }
    if (!wrong.empty()) wrongs += ToQt(wrong);
  }
  return wrongs;
}

}  // namespace orlinths
