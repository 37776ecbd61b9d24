// Plays steps on the dialogs of the commands, with or without windows, and tells what happens as
// events.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/Commands.h"
#include "host/Dialog.h"
#include "host/HeadlessApplication.h"
#include "session/EventWriter.h"
#include "session/Replies.h"
#include "session/Stage.h"
#include "session/StepSource.h"
#include "session/WrittenPaths.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"

namespace orlinths {

namespace exit_status {
inline constexpr int kSuccess = 0;
inline constexpr int kRefused = 1;
inline constexpr int kWrongCall = 2;
inline constexpr int kFailed = 3;
inline constexpr int kUnanswered = 4;
inline constexpr int kStopped = 130;
}  // namespace exit_status

/// The application of a run without windows: it tells which tool is in the user's hand, and who put
/// it there.
class PlayedApplication : public HeadlessApplication, public IPlayedApplication {
 public:
  void SetCurrentTool(const std::string& caption) override;

  IApplication& Application() override { return *this; }
  IMap& PlayedMap() override { return map; }
  void Listen(ApplicationListener listener) override;
  bool TookToolChoice() override { return std::exchange(toolChosen_, false); }
  void TakeInHand(const std::string& caption) override {
    HeadlessApplication::SetCurrentTool(caption);
  }
  void Select(const std::string& layer, const std::vector<Oid>& oids) override;

 private:
  bool toolChosen_ = false;
};

class SessionPlayer : private IDialogHost {
 public:
  struct Settings {
    std::int64_t clock = 0;  ///< nanoseconds; stands still during the run
    bool mayReplace = true;  ///< a save picker may be given a path that exists
    const WrittenPaths* paths = nullptr;
    IPlayedWindows* windows = nullptr;  ///< nothing: dialogs are played without any
  };
  /// `application` holds the map, filled. All of them must outlive the player.
  SessionPlayer(IPlayedApplication& application, EventWriter& events, Replies& replies,
                StepSource& source, Settings settings);
  ~SessionPlayer() override;

  /// Takes the steps until none is left or the run ends otherwise. Gives the exit status. Once
  /// only.
  int Play();

  /// What is wrong with a step, or why the run ended early; empty otherwise. One line.
  const std::string& Trouble() const { return trouble_; }
  /// The steps taken, as a session would hold them.
  const std::vector<Step>& Taken() const { return taken_; }

 private:
  void RunModal(Dialog& dialog) override;
  void DialogShown(Dialog& dialog) override;
  void DialogHidden(Dialog& dialog) override;
  void DialogUnloaded(Dialog& dialog) override;
  void DialogChanged(Dialog& dialog) override;
  void ControlChanged(Control& control) override;
  void ControlFocused(Control& control) override;
  void Repaint(Dialog& dialog) override;
  bool Pick(const Question& question, Choice& choice) override;
  bool PickSpatialReference(const ReferenceQuestion& question,
                            SpatialReferencePtr& reference) override;
  /// What the step at work gives to a choice, once; nothing, and the step is wrong, where it gives
  /// nothing.
  const steps::Pick* UsePick(const char* opened, const std::string& title);

  void ConnectPorts();
  void ListenToApplication();
  /// The windows' own host; nothing without windows.
  IDialogHost* Windows() const;
  Reply Answer(const std::string& text, int flags, const std::string& title);
  Reply AnswerAfterTheEnd(int flags);

  /// The next thing to do, if the run goes on.
  std::optional<NextAction> Next();
  void Do(const NextAction& action);
  void Take(const steps::Click& click);
  void Take(const steps::Set& set);
  void Take(const steps::Press& press);
  void Take(const steps::Show& show);
  void Take(const steps::Select& select);
  void Take(const steps::Mouse& mouse);
  void Close(Dialog& dialog);
  /// The dialog on top; a step that finds none is wrong.
  Dialog* Top(const char* verb);
  void Keep();
  /// Runs what a step sets off. Steps nest: a press opens a dialog, whose steps come meanwhile.
  void AtWork(const std::function<void()>& work);
  void TellProgress(const ProgressBar& bar);
  /// A bar whose work has failed stands where its host was not told: tells it now.
  void TellLastProgress(const Dialog& dialog);
  /// A failed call that comes back to the host, which shows it.
  void TellFailure(const std::string& className, const std::optional<RuntimeError>& failure);

  /// Ends the run: no step, event or interaction comes after it. Work that is going on is stopped
  /// on the road of a stop request.
  void Finish(std::optional<int> status, const std::string& trouble = {});
  void WrongStep(const std::string& what);
  int Status() const;

  IPlayedApplication& application_;
  EventWriter& events_;
  Replies& replies_;
  StepSource& source_;
  Settings settings_;

  Ports portsBefore_;
  IDialogHost* hostBefore_ = nullptr;
  IApplication* applicationBefore_ = nullptr;

  std::vector<Dialog*> open_;  ///< dialogs being shown, the one on top last
  std::map<std::string, std::unique_ptr<ICommand>> commands_;
  std::map<const Dialog*, std::string> statusTexts_;
  std::optional<Progress> lastProgress_;
  const Step* step_ = nullptr;         ///< the innermost step at work
  const steps::Pick* pick_ = nullptr;  ///< what its choice gives back, until it is used
  int stepsAtWork_ = 0;
  std::vector<Step> taken_;

  bool isFinished_ = false;
  bool isStoppedByUser_ = false;
  int refusals_ = 0;
  int reportsBefore_ = 0;
  int reportsAtEnd_ = 0;
  std::optional<int> endStatus_;
  std::optional<bool> lastPressSucceeded_;
  bool endedAtWork_ = false;
  std::vector<std::string> openAtEnd_;
  std::string trouble_;
};

}  // namespace orlinths
