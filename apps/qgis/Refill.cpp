#include "qgis/Refill.h"

#include <QFileInfo>

#include "qgis/Text.h"
#include "qgis/WidgetHand.h"
#include "runtime/Trap.h"
#include "session/References.h"
#include "session/UserHand.h"

namespace orlinths {
namespace {

/// Can a file or folder that was chosen then be chosen today? An output that exists is somebody's
/// to keep.
bool Holds(const IDialogHost::Question& question, const IDialogHost::Choice& choice,
           const std::function<bool(const std::string& path)>& mayReplace, std::string& wrong) {
  const std::string path = choice.FullName();
  if (question.save && QFileInfo::exists(ToQt(choice.folder)))
    return !choice.replacing || mayReplace(path);
  if (!question.save && QFileInfo::exists(ToQt(path))) return true;
  const bool isFolder = question.save || question.filter == IDialogHost::Filter::kFolders;
  wrong = (isFolder ? "there is no folder " : "there is no file ") +
          (question.save ? choice.folder : path);
  return false;
}

/// A reference that is known by these words today, or any path.
bool IsKnown(const steps::Pick& pick, std::string& wrong) {
  if (!pick.isReference) return true;
  const auto failure = FailureOf([&] { ReferenceNamed(*pick.text); });
  if (failure) wrong = failure->Description();
  return !failure;
}

/// With the words that stand in the window for the control's own name.
QString InWordsOfTheWindow(const std::string& wrong, const Dialog& dialog,
                           const std::string& control) {
  const Control* named = dialog.FindControl(control);
  if (named == nullptr || !wrong.starts_with(named->name)) return ToQt(wrong);
  QString caption = ToQtLines(named->caption()).simplified();
  if (caption.endsWith(QLatin1Char(':'))) caption.chop(1);
  if (caption.isEmpty()) return ToQt(wrong);
  return QStringLiteral("\"%1\"%2").arg(caption, ToQt(wrong.substr(named->name.size())));
}

}  // namespace

QStringList Refill(Dialog& dialog, const Session& session, WindowHost& windows,
                   const std::function<bool(const std::string& path)>& mayReplace) {
  QStringList wrongs;
  WidgetHand hand(windows);
  for (const Step& step : session.steps) {
    std::string wrong, control;
    if (const auto* set = std::get_if<steps::Set>(&step.what)) {
      control = set->control;
      wrong = hand.Set(dialog, control, set->to);
    } else if (const auto* press = std::get_if<steps::Press>(&step.what)) {
      control = press->control;
      auto* button = dynamic_cast<Button*>(ReachableControl(dialog, control, wrong));
      if (button == dialog.MainButton() && button != nullptr) break;
      const bool isCancelled = press->pick && !press->pick->text;
      if (button != nullptr && !isCancelled && (!press->pick || IsKnown(*press->pick, wrong))) {
        if (press->pick)
          windows.answerNextPick = {*press->pick, [&](const auto& question, const auto& choice) {
                                      return Holds(question, choice, mayReplace, wrong);
                                    }};
        hand.Press(dialog, *button);
        windows.answerNextPick.reset();
      }
    }
    if (!dialog.IsVisible()) break;  // its user has closed it
    if (!wrong.empty()) wrongs += InWordsOfTheWindow(wrong, dialog, control);
  }
  return wrongs;
}

}  // namespace orlinths
