#include "session/SessionPlayer.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "session/MapBuilder.h"
#include "session/References.h"
#include "session/UserHand.h"
#include "session/Words.h"
#include "numerics/Random.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "runtime/Value.h"

namespace orlinths {
namespace {

constexpr const char* kFileChoice = "a file dialog";
constexpr const char* kReferenceChoice = "a choice of spatial references";
constexpr int kButtons = 0xF;  // the part of a message's flags that names its buttons

bool Exists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
}

/// The extension that a file dialog adds to a name without one.
const char* ExtensionOf(IDialogHost::Filter filter) {
  switch (filter) {
    case IDialogHost::Filter::kShapefiles:
      return ".shp";
    case IDialogHost::Filter::kDbase:
      return ".dbf";
    case IDialogHost::Filter::kText:
      return ".csv";
    default:
      return "";
  }
}

}  // namespace

void PlayedApplication::SetCurrentTool(const std::string& caption) {
  toolChosen_ = true;
  HeadlessApplication::SetCurrentTool(caption);
}

void PlayedApplication::Listen(ApplicationListener listener) {
  map.onLayerAdded = std::move(listener.layerAdded);
  map.onSelectionChanged = std::move(listener.selectionChanged);
  onStatusBar = std::move(listener.statusBar);
  onProgress = std::move(listener.progress);
}

void PlayedApplication::Select(const std::string& layer, const std::vector<Oid>& oids) {
  FeatureLayerNamed(map, layer).SetSelectionSet(ISelectionSet(oids));
}

// ---- Life

SessionPlayer::SessionPlayer(IPlayedApplication& application, EventWriter& events, Replies& replies,
                             StepSource& source, Settings settings)
    : application_(application),
      events_(events),
      replies_(replies),
      source_(source),
      settings_(settings),
      hostBefore_(SetDialogHost(this)),
      applicationBefore_(RunningApplication()),
      reportsBefore_(ErrorReportCount()) {
  SetApplication(&application_.Application());
  ConnectPorts();
  ListenToApplication();
  ResetGenerator();  // draws as in a new process, whatever this one has drawn before
}

SessionPlayer::~SessionPlayer() {
  application_.Listen({});
  SetPorts(portsBefore_);
  SetApplication(applicationBefore_);
  SetDialogHost(hostBefore_);
  if (isFinished_) ClearStop();
}

void SessionPlayer::ConnectPorts() {
  Ports ports;
  ports.messageBox = [this](const std::string& text, int flags, const std::string& title) {
    return Answer(text, flags, title);
  };
  ports.clock = [this] { return settings_.clock; };
  ports.shellOpen = [this](const std::string& target) {
    if (!isFinished_) events_.Shell(target);
  };
  if (settings_.windows != nullptr) ports.yield = [this] { settings_.windows->Yield(); };
  portsBefore_ = SetPorts(std::move(ports));
}

void SessionPlayer::ListenToApplication() {
  ApplicationListener listener;
  listener.layerAdded = [this](const ILayer& layer) {
    if (isFinished_) return;
    const std::string path = layer.SourcePath();
    events_.LayerAdded(layer.Name(),
                       settings_.paths == nullptr ? path : settings_.paths->Shown(path));
  };
  listener.selectionChanged = [this](const IFeatureLayer& layer) {
    if (!isFinished_) events_.SelectionChanged(layer.Name(), layer.SelectionSet().Oids());
  };
  listener.statusBar = [this](const std::string& text) {
    if (!isFinished_) events_.StatusBar(text);
  };
  listener.progress = [this](std::int64_t position, std::int64_t max, const std::string& message) {
    if (!isFinished_)
      events_.Progressed({static_cast<double>(position), static_cast<double>(max), message});
  };
  application_.Listen(std::move(listener));
}

IDialogHost* SessionPlayer::Windows() const {
  return settings_.windows == nullptr ? nullptr : &settings_.windows->Host();
}

int SessionPlayer::Play() {
  events_.Start(settings_.clock);
  while (const auto action = Next()) Do(*action);
  Finish({});
  std::vector<std::string> layers;
  for (const LayerPtr& layer : application_.PlayedMap().Layers()) layers.push_back(layer->Name());
  events_.End(Status(), openAtEnd_, layers);
  return Status();
}

void SessionPlayer::Finish(std::optional<int> status, const std::string& trouble) {
  if (std::exchange(isFinished_, true)) return;
  endStatus_ = status;
  trouble_ = trouble;
  reportsAtEnd_ = ErrorReportCount();
  isStoppedByUser_ = StopRequested();
  endedAtWork_ = stepsAtWork_ > 0;
  for (const Dialog* dialog : open_)
    if (dialog->IsVisible()) openAtEnd_.push_back(dialog->Name());
  // What is still at work must do nothing more: its next platform call ends it, as a stop request
  // does.
  RequestStop();
}

int SessionPlayer::Status() const {
  if (isStoppedByUser_) return exit_status::kStopped;
  if (reportsAtEnd_ > reportsBefore_) return exit_status::kFailed;
  if (endStatus_) return *endStatus_;
  const bool succeeded = lastPressSucceeded_.value_or(true) && !endedAtWork_;
  return succeeded ? exit_status::kSuccess : exit_status::kRefused;
}

// ---- What dialogs and tools ask of their host

void SessionPlayer::RunModal(Dialog& dialog) {
  CheckStop();
  open_.push_back(&dialog);
  const AtScopeEnd close([this] { open_.pop_back(); });
  source_.Opened(dialog);
  while (dialog.IsVisible()) {
    const auto action = Next();
    if (!action) break;
    Do(*action);
  }
  source_.Closed(dialog);
  if (!isFinished_ && dialog.IsVisible()) Finish({});
  // Whoever waits for this dialog's answer inside a step must not take its absence for one.
  if (isFinished_ && stepsAtWork_ > 0) CheckStop();
}

void SessionPlayer::DialogShown(Dialog& dialog) {
  events_.DialogState(dialog, "shown");
  if (IDialogHost* windows = Windows()) windows->DialogShown(dialog);
}

void SessionPlayer::DialogHidden(Dialog& dialog) {
  if (!isFinished_) events_.DialogState(dialog, "hidden");
  if (IDialogHost* windows = Windows()) windows->DialogHidden(dialog);
}

void SessionPlayer::DialogUnloaded(Dialog& dialog) {
  statusTexts_.erase(&dialog);
  if (!isFinished_) events_.DialogState(dialog, "unloaded");
  if (IDialogHost* windows = Windows()) windows->DialogUnloaded(dialog);
}

void SessionPlayer::DialogChanged(Dialog& dialog) {
  if (IDialogHost* windows = Windows()) windows->DialogChanged(dialog);
}

void SessionPlayer::ControlFocused(Control& control) {
  if (IDialogHost* windows = Windows()) windows->ControlFocused(control);
}

void SessionPlayer::Repaint(Dialog& dialog) {
  if (IDialogHost* windows = Windows()) windows->Repaint(dialog);
}

void SessionPlayer::ControlChanged(Control& control) {
  if (IDialogHost* windows = Windows()) windows->ControlChanged(control);
  if (isFinished_) return;
  if (control.Kind() == ControlKind::kProgress) TellProgress(static_cast<ProgressBar&>(control));
  if (control.Kind() != ControlKind::kText || !EqualNoCase(control.name, "txtStatus")) return;
  const std::string text = static_cast<TextBox&>(control).text();
  if (std::string& last = statusTexts_[&control.Dialog()]; last != text) {
    last = text;
    events_.Status(text);
  }
}

void SessionPlayer::TellProgress(const ProgressBar& bar) {
  Progress progress{bar.Value(), bar.max, {}};
  if (const auto status = statusTexts_.find(&bar.Dialog()); status != statusTexts_.end())
    progress.message = status->second;
  if (lastProgress_ == progress) return;
  lastProgress_ = progress;
  events_.Progressed(progress);
}

void SessionPlayer::TellLastProgress(const Dialog& dialog) {
  if (isFinished_ || !lastProgress_ || !dialog.IsVisible()) return;
  for (const auto& control : dialog.Controls())
    if (control->Kind() == ControlKind::kProgress)
      TellProgress(static_cast<ProgressBar&>(*control));
}

Reply SessionPlayer::Answer(const std::string& text, int flags, const std::string& title) {
  if (isFinished_) return AnswerAfterTheEnd(flags);
  std::optional<Reply> reply = Reply::kOk;
  if ((flags & kButtons) == kYesNo) {
    const auto yes = replies_.Answer(text);
    reply.reset();
    if (yes) reply = *yes ? Reply::kYes : Reply::kNo;
    if (!yes && StopRequested()) reply = Reply::kNo;
  }
  events_.Message(text, title, flags, reply);
  if (reply && settings_.windows != nullptr)
    settings_.windows->ShowMessage(text, flags, title, *reply);
  if (reply) return *reply;
  std::string question = text;
  std::replace(question.begin(), question.end(), '\r', ' ');
  Finish(exit_status::kUnanswered, "no reply is left for the question " + Quoted(question));
  return Reply::kNo;
}

Reply SessionPlayer::AnswerAfterTheEnd(int flags) {
  // A loop that asks until it likes the answer would never end otherwise.
  constexpr int kPatience = 1000;
  if (++refusals_ > kPatience) CheckStop();
  return (flags & kButtons) == kYesNo ? Reply::kNo : Reply::kOk;
}

const steps::Pick* SessionPlayer::UsePick(const char* opened, const std::string& title) {
  const steps::Pick* pick = std::exchange(pick_, nullptr);
  if (pick == nullptr)
    WrongStep(std::string(opened) + " (" + Quoted(title) +
              ") opens, and the step has no \"pick\" for it");
  else if (settings_.windows != nullptr)
    settings_.windows->Picked(*pick);
  return pick;
}

bool SessionPlayer::PickSpatialReference(const ReferenceQuestion& question,
                                         SpatialReferencePtr& reference) {
  if (isFinished_) return false;
  const steps::Pick* pick = UsePick(kReferenceChoice, question.title);
  if (pick == nullptr || !pick->text) return false;
  const auto failure = FailureOf([&] { reference = ReferenceNamed(*pick->text); });
  if (failure) WrongStep(failure->Description());
  return !failure;
}

bool SessionPlayer::Pick(const Question& question, Choice& choice) {
  if (isFinished_) return false;
  const steps::Pick* pick = UsePick(kFileChoice, question.title);
  if (pick == nullptr || !pick->text) return false;
  const std::string path = pick->Path();
  if (question.filter == Filter::kFolders && !files::FolderExists(path)) {
    WrongStep("there is no folder " + path);
    return false;
  }
  const std::string extension = ExtensionOf(question.filter);
  choice = {FolderOf(path), NameOf(path), false};
  choice.replacing =
      question.save && (Exists(path) || (!extension.empty() && Exists(path + extension)));
  if (choice.replacing && !settings_.mayReplace) {
    WrongStep(path + " exists: say --overwrite to replace it");
    return false;
  }
  return true;
}

// ---- Steps

std::optional<NextAction> SessionPlayer::Next() {
  if (!isFinished_ && StopRequested()) Finish({});
  if (isFinished_) return {};
  Dialog* top = open_.empty() ? nullptr : open_.back();
  NextAction action = source_.Next(top);
  if (action.kind == NextAction::Kind::kEnd) {
    Finish({});
    return {};
  }
  if (action.kind == NextAction::Kind::kGiveUp) {
    Finish(exit_status::kRefused, action.why);
    return {};
  }
  return action;
}

void SessionPlayer::Do(const NextAction& action) {
  if (action.kind == NextAction::Kind::kClose) {
    if (!open_.empty()) Close(*open_.back());
    return;
  }
  const Step* outerStep = std::exchange(step_, &action.step);
  const steps::Pick* outerPick = std::exchange(pick_, nullptr);
  const AtScopeEnd back([&] {
    step_ = outerStep;
    pick_ = outerPick;
  });
  std::visit([this](const auto& what) { Take(what); }, action.step.what);
}

void SessionPlayer::Keep() { taken_.push_back(*step_); }

void SessionPlayer::AtWork(const std::function<void()>& work) {
  ++stepsAtWork_;
  const AtScopeEnd done([this] { --stepsAtWork_; });
  work();
}

void SessionPlayer::Close(Dialog& dialog) {
  if (settings_.windows != nullptr)
    settings_.windows->Close(dialog);
  else
    dialog.Unload();
}

void SessionPlayer::WrongStep(const std::string& what) {
  const int number = step_ == nullptr ? 0 : step_->number;
  Finish(exit_status::kWrongCall, number == 0 ? what : "step " + ToText(number) + ": " + what);
}

Dialog* SessionPlayer::Top(const char* verb) {
  if (!open_.empty()) return open_.back();
  WrongStep(std::string("no dialog is open to ") + verb);
  return nullptr;
}

void SessionPlayer::Take(const steps::Click& click) {
  const CommandInfo* info = FindCommand(click.className);
  if (info == nullptr) {
    std::vector<std::string> classes;
    for (const CommandInfo& known : AllCommands()) classes.push_back(known.className);
    return WrongStep("there is no command " + click.className +
                     "; the nearest: " + Listed(Nearest(click.className, classes)));
  }
  for (const Dialog* dialog : open_)
    if (dialog->Name() == info->dialog) return WrongStep(dialog->Name() + " is open already");
  Keep();
  if (settings_.windows != nullptr) return settings_.windows->Click(*info);
  auto& command = commands_[info->className];
  application_.TookToolChoice();
  const auto failure = FailureOf([&] {
    if (!command) {
      command = CreateCommand(ProgId(info->className));
      NotNothing(command.get()).OnCreate(&application_.Application());
    }
    command->OnClick();
  });
  TellFailure(info->className, failure);
  const bool isTool = dynamic_cast<ITool*>(command.get()) != nullptr;
  if (isTool && !application_.TookToolChoice()) application_.TakeInHand(command->Caption());
}

void SessionPlayer::TellFailure(const std::string& className,
                                const std::optional<RuntimeError>& failure) {
  if (failure && !isFinished_)
    ReportError(className + ": ", failure->Number(), failure->Description());
}

void SessionPlayer::Take(const steps::Set& set) {
  Dialog* dialog = Top("set a control of");
  if (dialog == nullptr) return;
  const std::size_t place = taken_.size();
  Keep();
  std::string wrong;
  AtWork([&] {
    wrong = settings_.windows == nullptr ? SetByHand(*dialog, set.control, set.to)
                                         : settings_.windows->Set(*dialog, set.control, set.to);
  });
  if (wrong.empty()) return;
  taken_.erase(taken_.begin() + static_cast<std::ptrdiff_t>(place));
  WrongStep(wrong);
}

void SessionPlayer::Take(const steps::Press& press) {
  Dialog* dialog = Top("press a button of");
  if (dialog == nullptr) return;
  std::string wrong;
  auto* control = ReachableControl(*dialog, press.control, wrong);
  if (control == nullptr) return WrongStep(wrong);
  auto* button = dynamic_cast<Button*>(control);
  if (button == nullptr) return WrongStep(control->name + " is no button");
  if (const TextBox* box = BoxFilledBy(*dialog, *button); box != nullptr && !press.pick)
    return WrongStep(button->name + " opens " +
                     (box->picks == Picks::kSpatialReference ? kReferenceChoice : kFileChoice) +
                     ": the step needs a \"pick\"");
  Keep();
  if (press.pick) pick_ = &*press.pick;
  const bool isMain = button == dialog->MainButton();
  AtWork([&] {
    if (settings_.windows == nullptr)
      dialog->Press(*button);
    else
      settings_.windows->Press(*dialog, *button);
  });
  TellLastProgress(*dialog);
  if (isMain && !isFinished_)
    lastPressSucceeded_ = dialog->EndedInSuccess() || !dialog->IsVisible();
}

void SessionPlayer::Take(const steps::Show& show) {
  const Dialog* dialog = Top("show");
  if (dialog == nullptr) return;
  Keep();
  if (show.onlyAnswer) {
    events_.Answer(*dialog);
  } else {
    events_.Controls(*dialog);
  }
}

void SessionPlayer::Take(const steps::Select& select) {
  const auto failure = FailureOf([&] { application_.Select(select.layer, select.oids); });
  if (failure) return WrongStep(failure->Description());
  Keep();
}

void SessionPlayer::Take(const steps::Mouse& mouse) {
  Keep();
  if (!open_.empty()) return;  // a dialog keeps the mouse from the map
  if (settings_.windows != nullptr) return settings_.windows->UseMouse(mouse);
  for (const auto& [name, command] : commands_) {
    auto* tool = dynamic_cast<ITool*>(command.get());
    if (tool == nullptr || command->Caption() != application_.Application().CurrentTool()) continue;
    const auto failure = FailureOf([&] {
      switch (mouse.action) {
        case steps::MouseAction::kDown:
          tool->OnMouseDown(mouse.button, mouse.shift, mouse.x, mouse.y);
          break;
        case steps::MouseAction::kMove:
          tool->OnMouseMove(mouse.button, mouse.shift, mouse.x, mouse.y);
          break;
        case steps::MouseAction::kUp:
          tool->OnMouseUp(mouse.button, mouse.shift, mouse.x, mouse.y);
          break;
        case steps::MouseAction::kDouble:
          tool->OnDblClick();
          break;
      }
    });
    TellFailure(name, failure);
    return;
  }
}

}  // namespace orlinths
