#include "apps/Trial.h"

#include <cstdlib>
#include <filesystem>

#include "host/Commands.h"
#include "host/Pickers.h"
#include "orlinths/CommandLine.h"
#include "support/TempFolder.h"

namespace orlinths {

std::function<void(Trial&)> Trial::run;
std::function<void(Trial&)> Trial::load;

Trial::Trial() : Dialog("frmAddLength", "Trial", "ADDLENGTH") {
  lblHint = Add<Label>("lblHint", "Try everything:");
  cmbLayer = Add<ComboBox>("cmbLayer", "Layer:");
  txtName = Add<TextBox>("txtName", "Name:", "plain");
  txtOut = Add<TextBox>("txtOut", "Output:");
  btnOut = Add<Button>("btnOut", "...");
  btnFolder = Add<Button>("btnFolder", "...");
  txtSR = Add<TextBox>("txtSR", "Projection definition:");
  btnProj = Add<Button>("btnProj", "...");
  lstFields = Add<ListBox>("lstFields", "Fields:");
  chkExtra = Add<CheckBox>("chkExtra", "Extra");
  chkHidden = Add<CheckBox>("chkHidden", "Not seen", Unchecked, Hidden);
  optOne = Add<OptionButton>("optOne", "One", Checked);
  optTwo = Add<OptionButton>("optTwo", "Two");
  spnCount = Add<UpDown>("spnCount", 1, 9, 3);
  calDay = Add<MonthView>("calDay");
  PBar = Add<ProgressBar>("PBar");
  txtStatus = AddStatusLine();
  btnOK = AddOkButton();
  btnExit = AddExitButton();
  txtOut->picker = btnOut;
  txtSR->picker = btnProj;
  txtSR->picks = Picks::kSpatialReference;
  btnProj->OnClick = [this] { PickSpatialReference(*this, reference, *txtSR); };
  for (const char* item : {"AREA", "COVER", "ÄRGER"}) lstFields->AddItem(item);
  const auto pick = [this](IDialogHost::Question question) {
    IDialogHost::Choice choice;
    if (!DialogHost().Pick(question, choice)) return;
    txtOut->text = choice.FullName();
    picked.push_back(choice.FullName() + (choice.replacing ? " replacing" : ""));
  };
  btnOut->OnClick = [pick] { pick({.title = "Save As...", .startFolder = {}}); };
  btnFolder->OnClick = [pick] {
    pick({.title = "Select...",
          .filter = IDialogHost::Filter::kFolders,
          .startFolder = {},
          .save = false});
  };
  chkExtra->OnClick = [this] { txtName->Enable(!chkExtra->value); };
  btnOK->OnClick = [this] {
    if (run) run(*this);
  };
}

void Trial::OnLoad() {
  picked.clear();
  reference = nullptr;
  cmbLayer->AddItem("zones");
  cmbLayer->AddItem("roads");
  if (load) load(*this);
}

TrialRig::TrialRig() {
  std::string pattern = (std::filesystem::temp_directory_path() / "orlinths-trial-XXXXXX").string();
  folder = ::mkdtemp(pattern.data());
  ForgetDialogs();
  RegisterDialog("frmAddLength", [] { return std::make_unique<Trial>(); });
  Trial::run = [](Trial& trial) { trial.Close(); };
  Trial::load = nullptr;
}

TrialRig::~TrialRig() {
  ForgetDialogs();
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

int TrialRig::Call(const std::vector<std::string>& arguments) {
  out.clear();
  error.clear();
  chatter.clear();
  events.clear();
  Output output;
  output.out = [this](std::string_view text) { out += text; };
  output.error = [this](std::string_view text) { error += text; };
  output.chatter = [this](std::string_view text) { chatter += text; };
  const int status = RunCommandLine(arguments, output);
  std::string line;
  for (const char c : out) {
    if (c != '\n') {
      line += c;
      continue;
    }
    auto event = nlohmann::json::parse(line, nullptr, false);
    if (event.is_object() && event.contains("event")) events.push_back(std::move(event));
    line.clear();
  }
  return status;
}

int TrialRig::Play(const std::string& session, const std::vector<std::string>& more) {
  WriteBytes(folder + "/s.json", session);
  std::vector<std::string> arguments = {"play", folder + "/s.json", "--json"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return Call(arguments);
}

std::vector<nlohmann::json> TrialRig::Events(const std::string& kind) const {
  std::vector<nlohmann::json> found;
  for (const auto& event : events)
    if (event.at("event") == kind) found.push_back(event);
  return found;
}

std::vector<std::string> TrialRig::EventNames() const {
  std::vector<std::string> names;
  for (const auto& event : events) names.push_back(event.at("event"));
  return names;
}

std::vector<std::string> TrialRig::Messages() const {
  std::vector<std::string> texts;
  for (const auto& event : Events("message")) texts.push_back(event.at("text"));
  return texts;
}

}  // namespace orlinths
