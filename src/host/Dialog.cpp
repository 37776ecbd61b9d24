#include "host/Dialog.h"

#include <algorithm>
#include <utility>

#include "data/Table.h"
#include "host/WebHelp.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

IDialogHost* hostInForce = nullptr;
int pressesAtWork = 0;

}  // namespace

IDialogHost& DialogHost() { return NotNothing(hostInForce); }
IDialogHost* DialogHostIfAny() { return hostInForce; }
IDialogHost* SetDialogHost(IDialogHost* host) { return std::exchange(hostInForce, host); }
std::string IDialogHost::Choice::FullName() const { return JoinPath(folder, name); }

Dialog::Dialog(std::string name, std::string dialogCaption, std::string helpTag)
    : caption(std::move(dialogCaption)), name_(std::move(name)), helpTag_(std::move(helpTag)) {}

Dialog::~Dialog() {
  if (!loaded_) return;
  loaded_ = visible_ = false;
  if (hostInForce != nullptr) hostInForce->DialogUnloaded(*this);
}

// ---- Life

void Dialog::KeepDesign() {
  if (std::exchange(designKept_, true)) return;
  designCaption_ = caption;
  for (const auto& control : controls_) control->KeepDesign();
}

void Dialog::Load() {
  if (loaded_) return;
  KeepDesign();
  loaded_ = true;
  bool isThrough = false;
  // A load that fails leaves nothing half-filled behind.
  const AtScopeEnd undo([&] {
    if (!isThrough) Unload();
  });
  OnLoad();
  isThrough = true;
}

void Dialog::ShowModal() {
  IDialogHost& host = DialogHost();
  Load();
  if (!loaded_) return;
  if (!visible_) {
    visible_ = true;
    host.DialogShown(*this);
  }
  host.RunModal(*this);
}

void Dialog::Hide() {
  if (!std::exchange(visible_, false)) return;
  if (hostInForce != nullptr) hostInForce->DialogHidden(*this);
}

void Dialog::Unload() {
  if (!loaded_) return;
  loaded_ = visible_ = false;
  enabled_ = true;
  if (mainPresses_ > 0) endedInSuccess_ = true;
  caption = designCaption_;
  for (const auto& control : controls_) control->RestoreDesign();
  if (hostInForce != nullptr) hostInForce->DialogUnloaded(*this);
}

void Dialog::Refresh() {
  if (hostInForce != nullptr) hostInForce->Repaint(*this);
}

void Dialog::SetEnabled(bool on) {
  if (std::exchange(enabled_, on) == on) return;
  if (loaded_ && hostInForce != nullptr) hostInForce->DialogChanged(*this);
}

// ---- Controls

Control* Dialog::FindControl(const std::string& name) const {
  const auto found = std::find_if(controls_.begin(), controls_.end(), [&](const auto& control) {
    return EqualNoCase(control->name, name);
  });
  return found == controls_.end() ? nullptr : found->get();
}

Button* Dialog::MainButton() const { return dynamic_cast<Button*>(FindControl("btnOK")); }

orlinths::Frame* Dialog::InFrame(std::string frameName, std::string frameCaption,
                                 const std::function<void()>& body) {
  frames_.push_back(
      std::make_unique<orlinths::Frame>(std::move(frameName), std::move(frameCaption)));
  orlinths::Frame* frame = frames_.back().get();
  orlinths::Frame* outer = std::exchange(currentFrame_, frame);
  const AtScopeEnd back([&] { currentFrame_ = outer; });
  body();
  return frame;
}

Button* Dialog::AddOkButton() { return Add<Button>("btnOK", "OK"); }

Button* Dialog::AddExitButton(std::string buttonName) {
  Button* exit = Add<Button>(std::move(buttonName), "Exit");
  exit->OnClick = [this] { Unload(); };
  return exit;
}

Button* Dialog::AddHelpButton(std::string buttonName) {
  Button* help = Add<Button>(std::move(buttonName), "Web Help");
  help->OnClick = [this] { ShowWebHelp(helpTag_); };
  return help;
}

TextBox* Dialog::AddStatusLine() {
  status_ = Add<TextBox>("txtStatus", "");
  status_->readOnly = true;
  return status_;
}

CheckBox* Dialog::AddUseSelected() {
  return Add<CheckBox>("chkUseSelected", "Use selected features only", Unchecked, Disabled);
}

CheckBox* Dialog::AddAddLayer(Check check) {
  return Add<CheckBox>("chkAddLayer", "Add output layer to ArcMap after processing", check);
}

void Dialog::Status(const std::string& text) {
  if (status_ != nullptr) status_->text = text;
  Refresh();
}

// ---- Presses and runs

bool Dialog::Press(Button& button) {
  if (!button.IsReachable()) return false;
  const bool isMain = &button == MainButton();
  if (isMain) endedInSuccess_ = false;
  mainPresses_ += isMain;
  ++pressesAtWork;
  const AtScopeEnd released([&] {
    --pressesAtWork;
    mainPresses_ -= isMain;
  });
  button.Fire(button.OnClick, "Click");
  // Edits are written once, when the outermost press is over: a press inside another leaves them to
  // it.
  if (pressesAtWork == 1 && !Trap("CommitAllEdits: ", CommitAllEdits)) endedInSuccess_ = false;
  return true;
}

bool Dialog::Run(std::string_view label, const std::string& letter,
                 const std::function<void()>& body) {
  const AtScopeEnd enableAgain([this] { SetEnabled(true); });
  if (Trap(label, letter, body)) return true;
  Status("");
  return false;
}

bool Dialog::Run(std::string_view label, const std::function<void()>& body) {
  return Run(label, "", body);
}

}  // namespace orlinths
