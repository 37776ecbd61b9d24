#include "qgis/Refill.h"

#include <QFileInfo>

#include "qgis/Text.h"
#include "qgis/WidgetHand.h"
#include "runtime/Trap.h"
#include "session/References.h"
#include "session/UserHand.h"

namespace orlinths {
namespace {

/// Is there a choice, and does it hold today?
bool CanBeTaken(const steps::Pick& pick,
                const std::function<bool(const std::string& path)>& mayReplace,
                std::string& wrong) {
  if (!pick.text) return false;
  if (!pick.isReference) return !QFileInfo::exists(ToQt(pick.Path())) || mayReplace(pick.Path());
  const auto failure = FailureOf([&] { ReferenceNamed(*pick.text); });
  if (failure) wrong = failure->Description();
  return !failure;
}

}  // namespace

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
      if (button != nullptr && (!press->pick || CanBeTaken(*press->pick, mayReplace, wrong))) {
        windows.answerNextPick = press->pick;
        hand.Press(dialog, *button);
        windows.answerNextPick.reset();
      }
    }
    if (!wrong.empty()) wrongs += ToQt(wrong);
  }
  return wrongs;
}

}  // namespace orlinths
