#include "qgis/WindowHost.h"

#include <QApplication>
#include <QDesktopServices>
#include <QEventLoop>
#include <QKeyEvent>
#include <QUrl>

#include <algorithm>
#include <utility>

#include "qgis/FilePickers.h"
#include "qgis/MessageBoxes.h"
#include "qgis/ReferencePicker.h"
#include "qgis/Text.h"
#include "qgis/VectorRegisters.h"
#include "runtime/Trap.h"
#include "session/References.h"

namespace orlinths {
namespace {

/// No busy cursor while a user is asked something.
class CursorAtRest {
 public:
  CursorAtRest() : wasBusy_(QApplication::overrideCursor() != nullptr) {
    if (wasBusy_) QApplication::restoreOverrideCursor();
  }
  ~CursorAtRest() {
    if (wasBusy_) QApplication::setOverrideCursor(Qt::BusyCursor);
  }
  CursorAtRest(const CursorAtRest&) = delete;
  CursorAtRest& operator=(const CursorAtRest&) = delete;

 private:
  bool wasBusy_;
};

bool IsInput(QEvent::Type type) {
  switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::ContextMenu:
    case QEvent::Drop:
      return true;
    default:
      return false;
  }
}

}  // namespace

WindowHost::WindowHost(QWidget* mainWindow) : mainWindow_(mainWindow) {
  qApp->installEventFilter(this);
}

WindowHost::~WindowHost() {
  qApp->removeEventFilter(this);
  for (const auto& [dialog, window] : windows_)
    if (window) window->Release();
}

Ports WindowHost::MakePorts() {
  Ports ports;
  ports.messageBox = [this](const std::string& text, int flags, const std::string& title) {
    ShowAllChanges();
    const CursorAtRest atRest;
    const Reply reply = ShowMessageBox(text, flags, title, Parent());
    EventsTaken();
    if (reply != Reply::kOk && onAnswer) onAnswer(text, reply == Reply::kYes);
    return reply;
  };
  ports.yield = [this] { Yield(); };
  ports.shellOpen = [](const std::string& target) {
    QDesktopServices::openUrl(QUrl::fromUserInput(ToQt(target)));
  };
  return ports;
}

DialogWindow* WindowHost::WindowOf(const Dialog& dialog) const {
  const auto found = windows_.find(&dialog);
  return found == windows_.end() ? nullptr : found->second.data();
}

QWidget* WindowHost::Parent() const {
  for (auto dialog = shown_.rbegin(); dialog != shown_.rend(); ++dialog)
    if (DialogWindow* window = WindowOf(**dialog)) return window;
  return mainWindow_;
}

// ---- Dialogs

void WindowHost::DialogShown(Dialog& dialog) {
  DialogWindow* window = WindowOf(dialog);
  if (window == nullptr) {
    window = new DialogWindow(
        dialog, *this, [this, &dialog] { CloseBox(dialog); }, Parent());
    windows_[&dialog] = window;
  }
  shown_.push_back(&dialog);
  window->show();
}

void WindowHost::RunModal(Dialog& dialog) {
  ShowAllChanges();
  if (StopRequested()) {
    dialog.Unload();
    CheckStop();
  }
  if (dialog.IsVisible()) {
    const CursorAtRest atRest;
    if (const auto ready = std::exchange(onNextReady, nullptr))
      QMetaObject::invokeMethod(
          this,
          [this, ready, &dialog] {
            if (WindowOf(dialog) != nullptr) ready(dialog);
          },
          Qt::QueuedConnection);
    QEventLoop loop;
    loops_[&dialog] = &loop;
    loop.exec();
    loops_.erase(&dialog);
    EventsTaken();
  }
  // An application that is closing leaves every loop.
  if (dialog.IsVisible()) dialog.Unload();
}

void WindowHost::DialogHidden(Dialog& dialog) {
  std::erase(shown_, &dialog);
  DialogWindow* window = WindowOf(dialog);
  if (window == nullptr) return;
  window->hide();
  const auto loop = loops_.find(&dialog);
  if (loop == loops_.end()) return;
  loop->second->quit();
  loops_.erase(loop);
}

void WindowHost::DialogUnloaded(Dialog& dialog) {
  DialogHidden(dialog);
  DialogWindow* window = WindowOf(dialog);
  windows_.erase(&dialog);
  if (window == nullptr) return;
  window->Release();
  window->deleteLater();
}

void WindowHost::DialogChanged(Dialog& dialog) {
  if (DialogWindow* window = WindowOf(dialog)) window->ShowDialog();
}

void WindowHost::ControlChanged(Control& control) {
  DialogWindow* window = WindowOf(control.Dialog());
  if (window == nullptr) return;
  window->Changed(control);
  if (IsAtWork() && control.Kind() == ControlKind::kProgress)
    RepaintNow();  // the bar itself comes at most twenty times a second
  else
    ShowChangesSoon();
}

void WindowHost::ControlFocused(Control& control) {
  if (DialogWindow* window = WindowOf(control.Dialog()))
    window->Of(control).Widget()->setFocus(Qt::OtherFocusReason);
}

void WindowHost::Repaint(Dialog&) { RepaintNow(); }

// ---- Repainting

void WindowHost::ShowChangesSoon() {
  if (std::exchange(changesPending_, true)) return;
  QMetaObject::invokeMethod(
      this, [this] { ShowAllChanges(); }, Qt::QueuedConnection);
}

void WindowHost::ShowAllChanges() {
  changesPending_ = false;
  for (const auto& [dialog, window] : windows_)
    if (window) window->ShowChanges();
}

void WindowHost::RepaintNow() {
  ShowAllChanges();
  QCoreApplication::processEvents();
  EventsTaken();
}

void WindowHost::EventsTaken() {
  ClearUpperVectorRegisters();
  // An application that is left ends every loop, and those that wait for work to return would wait
  // until it is done.
  const auto isEnded = [](const auto& open) { return !open.second->isRunning(); };
  if (IsAtWork() && std::ranges::any_of(loops_, isEnded)) RequestStop();
}

void WindowHost::Yield() {
  if (throttle_.Due()) RepaintNow();
}

// ---- Users

void WindowHost::Act(Step step, const std::function<void()>& act) {
  if (shown_.empty()) return;
  Dialog& dialog = *shown_.back();
  if (onStep) onStep(dialog, step);
  const bool isOutermost = atWork_.empty();
  const bool isPress = std::holds_alternative<steps::Press>(step.what);
  atWork_.push_back(&dialog);
  if (isPress) QApplication::setOverrideCursor(Qt::BusyCursor);
  ClearUpperVectorRegisters();
  act();
  if (isPress) QApplication::restoreOverrideCursor();
  atWork_.pop_back();
  if (onStepDone) onStepDone(dialog, step);
  ShowAllChanges();
  if (!isOutermost) return;
  ClearStop();
  if (isPress && onWorkDone) onWorkDone();
}

void WindowHost::CloseBox(Dialog& dialog) {
  if (std::find(atWork_.begin(), atWork_.end(), &dialog) != atWork_.end()) {
    RequestStop();
    return;
  }
  // A question that a run asks may come again and again: closing it is the way out of the run. A
  // report is only closed.
  if (IsAtWork() && !dialog.IsReport()) RequestStop();
  dialog.Unload();
}

bool WindowHost::eventFilter(QObject* receiver, QEvent* event) {
  if (atWork_.empty() || !IsInput(event->type())) return false;
  auto* widget = qobject_cast<QWidget*>(receiver);
  auto* window = widget == nullptr ? nullptr : dynamic_cast<DialogWindow*>(widget->window());
  if (window == nullptr || window->Model() == nullptr) return false;
  if (std::find(atWork_.begin(), atWork_.end(), window->Model()) == atWork_.end()) return false;
  // A dialog at work takes nothing but the wish to stop: a second run must not begin inside the
  // first.
  if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
    RequestStop();
  return true;
}

bool WindowHost::Pick(const Question& question, Choice& choice) {
  ShowAllChanges();
  const CursorAtRest atRest;
  bool isChosen = true;
  if (const auto answer = std::exchange(answerNextPick, {})) {
    choice = ChoiceOf(answer->pick.Path(), question);
    isChosen = answer->holds(question, choice);
  } else {
    isChosen = AskForFile(question, choice, Parent());
    EventsTaken();
  }
  if (onPick) onPick(isChosen ? steps::Pick{choice.FullName()} : steps::Pick{});
  return isChosen;
}

bool WindowHost::PickSpatialReference(const ReferenceQuestion& question,
                                      SpatialReferencePtr& reference) {
  ShowAllChanges();
  const CursorAtRest atRest;
  bool isChosen = true;
  if (const auto answer = std::exchange(answerNextPick, {}))
    reference = ReferenceNamed(answer->pick.text.value_or(""));
  else
    isChosen = AskForReference(question, reference, Parent());
  EventsTaken();
  if (!onPick) return isChosen;
  steps::Pick pick;
  pick.isReference = true;
  if (isChosen) pick.text = WordsFor(*reference);
  onPick(pick);
  return isChosen;
}

}  // namespace orlinths
