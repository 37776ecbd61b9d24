#include "host/Dialog.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "host/WebHelp.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "support/CapturedMessages.h"
#include "support/ScriptedDialogs.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct frmSample : Dialog {
  explicit frmSample(const std::string& name = "frmSample") : Dialog(name, "Sample", "MCP") {
    cmbL = Add<ComboBox>("cmbL", "Layer:");
    lst = Add<ListBox>("lst", "Fields:");
    lst->AddItem("designed");
    lst->Select(0, true);
    txtName = Add<TextBox>("txtName", "Name:", "LENGTH");
    chkOwn = Add<CheckBox>("chkOwn", "Own name", Checked);
    InFrame("fraMode", "Mode", [this] {
      optNew = Add<OptionButton>("optNew", "New", Checked);
      optOld = Add<OptionButton>("optOld", "Old");
    });
    bar = Add<ProgressBar>("PBar");
    box = Add<TextBox>("txtN", "N:", "2");
    spin = Add<UpDown>("UpDown1", 1, 9, 2);
    spin->buddy = box;
    chkUseSelected = AddUseSelected();
    chkAddLayer = AddAddLayer();
    AddStatusLine();
    btnOK = AddOkButton();
    btnHelp = AddHelpButton();
    btnExit = AddExitButton();
    btnOK->OnClick = [this] {
      if (onOk) onOk();
    };
  }
  void OnLoad() override {
    ++loads;
    if (onLoad) onLoad();
  }
  using Dialog::Run;
  using Dialog::Status;
  using Dialog::Succeeded;

  ComboBox* cmbL;
  ListBox* lst;
  TextBox *txtName, *box;
  CheckBox *chkOwn, *chkUseSelected, *chkAddLayer;
  OptionButton *optNew, *optOld;
  ProgressBar* bar;
  UpDown* spin;
  Button *btnOK, *btnHelp, *btnExit;
  std::function<void()> onOk, onLoad;
  std::string folder;  // a member: survives unloading
  int loads = 0;
};

struct DialogTest : ::testing::Test {
  CapturedMessages messages;
  ScriptedDialogs host;
  frmSample dialog;
  Hand hand{host, dialog};
};

// ---- Load, show, hide, unload

TEST_F(DialogTest, ShowsAfterLoading) {
  dialog.onLoad = [&] {
    EXPECT_FALSE(dialog.IsVisible());
    EXPECT_THAT(host.events, IsEmpty());
    dialog.cmbL->AddItem("roads");
  };
  dialog.ShowModal();
  EXPECT_TRUE(dialog.IsVisible());
  EXPECT_TRUE(dialog.IsLoaded());
  EXPECT_THAT(host.events, ElementsAre("shown frmSample"));
  EXPECT_EQ(dialog.cmbL->text(), "") << "the user must pick";
}

TEST_F(DialogTest, LoadsOnceUntilItIsUnloaded) {
  dialog.Load();
  dialog.Load();
  dialog.ShowModal();
  EXPECT_EQ(dialog.loads, 1);
  dialog.Hide();
  dialog.ShowModal();
  EXPECT_EQ(dialog.loads, 1);
  dialog.Unload();
  dialog.ShowModal();
  EXPECT_EQ(dialog.loads, 2);
}

TEST_F(DialogTest, ThatUnloadsItselfInItsLoadShowsNothing) {
  dialog.onLoad = [&] {
    MessageBox("Warning: nothing to work with.", kExclamation, "Warning");
    dialog.Unload();
  };
  dialog.ShowModal();
  EXPECT_FALSE(dialog.IsVisible());
  EXPECT_FALSE(dialog.IsLoaded());
  EXPECT_THAT(host.events, ElementsAre("unloaded frmSample"));
}

TEST_F(DialogTest, WhoseLoadFailsIsNotLoadedAndPassesTheFailureOn) {
  dialog.onLoad = [&] {
    dialog.cmbL->AddItem("half");
    throw RuntimeError(ErrorNumber::kObjectNotSet);
  };
  EXPECT_THROW(dialog.ShowModal(), RuntimeError);
  EXPECT_FALSE(dialog.IsLoaded());
  EXPECT_THAT(dialog.cmbL->Items(), IsEmpty());
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(DialogTest, GoesBackToItsDesignWhenUnloadedAndKeepsItsMembers) {
  dialog.ShowModal();
  hand.Set("txtName", "OTHER").Check("chkOwn", false).Choose("optOld").Set("UpDown1", 5);
  dialog.cmbL->AddItem("roads");
  hand.Choose("cmbL", "roads");
  dialog.lst->Clear();
  dialog.caption = "Other";
  dialog.btnOK->caption = "Go";
  dialog.btnOK->enabled = false;
  dialog.btnHelp->visible = false;
  dialog.chkUseSelected->Enable(true);
  dialog.bar->min = 5;
  dialog.bar->max = 7;
  dialog.bar->SetValue(6);
  dialog.folder = "/data/out";
  dialog.SetEnabled(false);
  dialog.Unload();

  EXPECT_EQ(dialog.caption, "Sample");
  EXPECT_TRUE(dialog.IsEnabled());
  EXPECT_EQ(dialog.txtName->text(), "LENGTH");
  EXPECT_TRUE(dialog.chkOwn->value);
  EXPECT_TRUE(dialog.optNew->value);
  EXPECT_FALSE(dialog.optOld->value);
  EXPECT_EQ(dialog.spin->value(), 2);
  EXPECT_EQ(dialog.box->text(), "2");
  EXPECT_THAT(dialog.cmbL->Items(), IsEmpty());
  EXPECT_EQ(dialog.cmbL->text(), "");
  EXPECT_THAT(dialog.lst->SelectedItems(), ElementsAre("designed"));
  EXPECT_EQ(dialog.btnOK->caption(), "OK");
  EXPECT_TRUE(dialog.btnOK->enabled);
  EXPECT_TRUE(dialog.btnHelp->visible);
  EXPECT_FALSE(dialog.chkUseSelected->enabled);
  EXPECT_EQ(dialog.chkUseSelected->backColour(), BackColour::kButtonFace);
  EXPECT_EQ(dialog.bar->min, 0);
  EXPECT_EQ(dialog.bar->max, 100);
  EXPECT_EQ(dialog.bar->Value(), 0);
  EXPECT_EQ(dialog.folder, "/data/out") << "members live on";
}

TEST_F(DialogTest, IsSilentWhileItGoesBackToItsDesign) {
  dialog.ShowModal();
  hand.Set("txtName", "OTHER");
  host.changes.clear();
  dialog.Unload();
  EXPECT_THAT(host.changes, IsEmpty());
  EXPECT_THAT(host.events, ElementsAre("shown frmSample", "unloaded frmSample"));
}

TEST_F(DialogTest, KeepsItsStateWhileHidden) {
  dialog.ShowModal();
  hand.Set("txtName", "OTHER");
  dialog.Hide();
  EXPECT_EQ(dialog.txtName->text(), "OTHER");
  EXPECT_TRUE(dialog.IsLoaded());
  dialog.Hide();
  EXPECT_THAT(host.events, ElementsAre("shown frmSample", "hidden frmSample"));
}

TEST_F(DialogTest, KeepsTheDesignOfTheFirstCall) {
  dialog.KeepDesign();
  dialog.txtName->text = "touched before load";
  dialog.ShowModal();
  EXPECT_EQ(dialog.txtName->text(), "touched before load");
  dialog.Unload();
  EXPECT_EQ(dialog.txtName->text(), "LENGTH");
}

TEST_F(DialogTest, ThatGoesWhileOpenTellsItsHost) {
  {
    frmSample brief("frmBrief");
    brief.ShowModal();
  }
  EXPECT_THAT(host.events, ElementsAre("shown frmBrief", "unloaded frmBrief"));
}

TEST(DialogWithoutHost, RaisesErrorAndDoesNotLoad) {
  frmSample dialog;
  EXPECT_THROW(dialog.ShowModal(), RuntimeError);
  EXPECT_EQ(dialog.loads, 0);
  dialog.Load();
  dialog.txtName->text = "no one is told";
  dialog.Unload();
  EXPECT_EQ(dialog.txtName->text(), "LENGTH");
}

// ---- Controls

TEST_F(DialogTest, HoldsItsControlsInOrder) {
  std::vector<std::string> names;
  for (const auto& control : dialog.Controls()) names.push_back(control->name);
  EXPECT_THAT(names, ElementsAre("cmbL", "lst", "txtName", "chkOwn", "optNew", "optOld", "PBar",
                                 "txtN", "UpDown1", "chkUseSelected", "chkAddLayer", "txtStatus",
                                 "btnOK", "btnHelp", "btnExit"));
  EXPECT_EQ(dialog.optOld->frame, dialog.Frames().at(0).get());
  EXPECT_EQ(dialog.optOld->frame->caption, "Mode");
  EXPECT_EQ(dialog.bar->frame, nullptr);
}

TEST_F(DialogTest, FindsControlsWithoutRegardToCase) {
  EXPECT_EQ(dialog.FindControl("BTNok"), dialog.btnOK);
  EXPECT_EQ(dialog.FindControl("btnOther"), nullptr);
  EXPECT_EQ(dialog.MainButton(), dialog.btnOK);
}

TEST_F(DialogTest, DeclaresTheCommonControlsWithTheirWords) {
  EXPECT_EQ(hand.Text("btnOK"), "OK");
  EXPECT_EQ(hand.Text("btnExit"), "Exit");
  EXPECT_EQ(hand.Text("btnHelp"), "Web Help");
  EXPECT_EQ(hand.Text("chkUseSelected"), "Use selected features only");
  EXPECT_EQ(hand.Text("chkAddLayer"), "Add output layer to ArcMap after processing");
  EXPECT_FALSE(hand.IsEnabled("chkUseSelected"));
  EXPECT_FALSE(hand.IsChecked("chkAddLayer"));
  EXPECT_TRUE(dynamic_cast<TextBox*>(dialog.FindControl("txtStatus"))->readOnly);
  EXPECT_EQ(hand.Text("txtStatus"), "");
}

TEST_F(DialogTest, ExitUnloadsAndHelpOpensItsPage) {
  dialog.ShowModal();
  hand.Press("btnHelp");
  EXPECT_EQ(messages.shellTargets, Texts{std::string(kWebHelpBase) + "createmcp.php"});
  EXPECT_TRUE(hand.IsOpen());
  hand.Press("btnExit");
  EXPECT_FALSE(dialog.IsLoaded());
}

TEST_F(DialogTest, StatusIsSetAndPaintedAtOnce) {
  dialog.ShowModal();
  dialog.Status("Processing features...");
  EXPECT_THAT(host.statuses, ElementsAre("Processing features..."));
  EXPECT_EQ(host.repaints, 1);
}

// ---- Presses

TEST_F(DialogTest, APressOutOfReachDoesNothing) {
  int presses = 0;
  dialog.onOk = [&] { ++presses; };
  EXPECT_FALSE(dialog.Press(*dialog.btnOK)) << "not shown";
  dialog.ShowModal();
  EXPECT_TRUE(dialog.Press(*dialog.btnOK));
  dialog.btnOK->enabled = false;
  EXPECT_FALSE(dialog.Press(*dialog.btnOK));
  EXPECT_EQ(presses, 1);
}

TEST_F(DialogTest, TellsHowTheLastPressOfItsMainButtonEnded) {
  dialog.ShowModal();
  EXPECT_FALSE(dialog.EndedInSuccess());
  hand.Press("btnOK");
  EXPECT_FALSE(dialog.EndedInSuccess()) << "it refused";
  dialog.onOk = [&] { dialog.Succeeded(); };
  hand.Press("btnOK");
  EXPECT_TRUE(dialog.EndedInSuccess());
  hand.Press("btnHelp");
  EXPECT_TRUE(dialog.EndedInSuccess()) << "another button's press does not count";
  dialog.onOk = nullptr;
  hand.Press("btnOK");
  EXPECT_FALSE(dialog.EndedInSuccess());
  hand.Press("btnExit");
  EXPECT_FALSE(dialog.EndedInSuccess()) << "leaving does not make a refusal a success";
  dialog.ShowModal();
  dialog.onOk = [&] { dialog.Unload(); };
  hand.Press("btnOK");
  EXPECT_TRUE(dialog.EndedInSuccess());
}

TEST_F(DialogTest, AFailureThatAHandlerLetsOutIsReported) {
  dialog.ShowModal();
  dialog.onOk = [] { throw RuntimeError(ErrorNumber::kTypeMismatch); };
  hand.Press("btnOK");
  EXPECT_EQ(messages.Text(), Texts{"btnOK_Click: \r13\rType mismatch"});
  EXPECT_FALSE(dialog.EndedInSuccess());
  EXPECT_TRUE(hand.IsOpen());
}

TEST_F(DialogTest, ASecondPressCanEnterARunningOne) {
  dialog.ShowModal();
  int depth = 0;
  dialog.onOk = [&] {
    if (++depth < 3) Yield();
  };
  Ports ports;
  ports.yield = [&] { dialog.Press(*dialog.btnOK); };
  const Ports before = SetPorts(ports);
  dialog.Press(*dialog.btnOK);
  SetPorts(before);
  EXPECT_EQ(depth, 3);
}

TEST_F(DialogTest, DialogsNest) {
  frmSample inner("frmInner");
  dialog.ShowModal();
  std::string answer;
  dialog.onOk = [&] {
    inner.ShowModal();
    answer = inner.txtName->text();
    inner.Unload();
    dialog.Succeeded();
  };
  inner.onOk = [&] { inner.Hide(); };
  host.WhenOpened("frmInner", [](Hand it) { it.Set("txtName", "told").Press("btnOK"); });
  hand.Press("btnOK");
  EXPECT_EQ(answer, "told") << "a hidden dialog can be read";
  EXPECT_TRUE(dialog.EndedInSuccess());
  EXPECT_THAT(host.events, ElementsAre("shown frmSample", "shown frmInner", "hidden frmInner",
                                       "unloaded frmInner"));
}

// ---- Runs

TEST_F(DialogTest, AFailedRunReportsEmptiesTheStatusAndStaysOpen) {
  dialog.ShowModal();
  std::string statusAtReport;
  Ports ports;
  ports.messageBox = [&](const std::string& text, int flags, const std::string& title) {
    EXPECT_EQ(text, "RndSel: B\r11\rDivision by zero");
    EXPECT_EQ(flags, kCritical);
    EXPECT_EQ(title, "Error");
    statusAtReport = hand.Text("txtStatus");
    return Reply::kOk;
  };
  const Ports before = SetPorts(ports);
  std::string at = "A";
  EXPECT_FALSE(dialog.Run("RndSel: ", at, [&] {
    dialog.SetEnabled(false);
    dialog.Status("Processing...");
    at = "B";
    throw RuntimeError(ErrorNumber::kDivisionByZero);
  }));
  SetPorts(before);
  EXPECT_EQ(statusAtReport, "Processing...") << "the report comes first";
  EXPECT_EQ(hand.Text("txtStatus"), "");
  EXPECT_TRUE(dialog.IsEnabled());
  EXPECT_TRUE(hand.IsOpen());
}

TEST_F(DialogTest, ARunThatReturnsEarlyLeavesTheDialogEnabled) {
  dialog.ShowModal();
  EXPECT_TRUE(dialog.Run("X: ", [&] { dialog.SetEnabled(false); }));
  EXPECT_TRUE(dialog.IsEnabled());
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(DialogTest, ARunThatUnloadsLeavesNoTrace) {
  dialog.ShowModal();
  EXPECT_TRUE(dialog.Run("X: ", [&] {
    dialog.SetEnabled(false);
    dialog.Unload();
  }));
  EXPECT_TRUE(dialog.IsEnabled());
  EXPECT_FALSE(dialog.IsLoaded());
}

TEST_F(DialogTest, AFailureInARoutineGivesItsReportAndThenTheHandlersWarning) {
  dialog.ShowModal();
  dialog.onOk = [&] {
    dialog.Run("AddArea: ", [&] {
      if (!Trap("TableAddArea: ", "C", [] { throw RuntimeError(ErrorNumber::kPermissionDenied); }))
        MessageBox("Warning: a problem was encountered while processing AREA.", kExclamation,
                   "Warning");
      MessageBox("Processing complete.", kInformation, "Status");
      dialog.Unload();
    });
  };
  hand.Press("btnOK");
  EXPECT_EQ(messages.Text(), (Texts{"TableAddArea: C\r70\rPermission denied",
                                    "Warning: a problem was encountered while processing AREA.",
                                    "Processing complete."}));
}

// ---- The hand itself

TEST_F(DialogTest, AHandDoesOnlyWhatAUserCould) {
  EXPECT_THROW(hand.Press("btnOK"), std::logic_error) << "not shown";
  dialog.ShowModal();
  EXPECT_THROW(hand.Press("btnNone"), std::logic_error);
  EXPECT_THROW(hand.Set("chkOwn", "yes"), std::logic_error);
  EXPECT_THROW(hand.Check("chkUseSelected"), std::logic_error);
  EXPECT_THROW(hand.Choose("cmbL", "nowhere"), std::logic_error);
  EXPECT_THROW(hand.Set("txtStatus", "typed"), std::logic_error);
  EXPECT_THROW(hand.Set("UpDown1", 10), std::logic_error);
  EXPECT_THROW(hand.Select("lst", {"unknown"}), std::logic_error);
  dialog.SetEnabled(false);
  EXPECT_THROW(hand.Press("btnExit"), std::logic_error);
}

}  // namespace
}  // namespace orlinths
