#include "host/Controls.h"

#include <gmock/gmock.h>

#include "host/Dialog.h"
#include "runtime/RuntimeError.h"
#include "support/CapturedMessages.h"
#include "support/ScriptedDialogs.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Everything : Dialog {
  Everything() : Dialog("frmEverything", "Everything", "MCP") {
    cmb = Add<ComboBox>("cmb", "Layer:");
    lst = Add<ListBox>("lst", "Fields:");
    txt = Add<TextBox>("txt", "Name:", "start");
    chk = Add<CheckBox>("chk", "Add", Checked);
    InFrame("fra", "Which", [this] {
      optA = Add<OptionButton>("optA", "A", Checked);
      optB = Add<OptionButton>("optB", "B");
    });
    optC = Add<OptionButton>("optC", "C", Checked);
    optD = Add<OptionButton>("optD", "D");
    off = Add<TextBox>("off", "Off:", Disabled);
    hidden = Add<Label>("hidden", "Hidden", Hidden);
    bar = Add<ProgressBar>("PBar");
    box = Add<TextBox>("box", "Count:", "3");
    spin = Add<UpDown>("spin", 1, 10, 3);
    spin->buddy = box;
    month = Add<MonthView>("month");
    btnOK = AddOkButton();
  }
  ComboBox* cmb;
  ListBox* lst;
  TextBox *txt, *off, *box;
  CheckBox* chk;
  OptionButton *optA, *optB, *optC, *optD;
  Label* hidden;
  ProgressBar* bar;
  UpDown* spin;
  MonthView* month;
  Button* btnOK;
};

struct ControlsTest : ::testing::Test {
  ControlsTest() { dialog.ShowModal(); }
  CapturedMessages messages;
  ScriptedDialogs host;
  Everything dialog;
};

TEST_F(ControlsTest, ACombosTextIsOneOfItsItemsOrEmpty) {
  dialog.cmb->AddItem("roads");
  dialog.cmb->AddItem("rivers");
  dialog.cmb->AddItem("roads");
  EXPECT_EQ(dialog.cmb->ListIndex(), -1);
  EXPECT_TRUE(dialog.cmb->UserChoose("rivers"));
  EXPECT_EQ(dialog.cmb->ListIndex(), 1);
  EXPECT_FALSE(dialog.cmb->UserChoose("lakes"));
  EXPECT_EQ(dialog.cmb->text(), "rivers");
  EXPECT_TRUE(dialog.cmb->UserChoose("roads"));
  EXPECT_EQ(dialog.cmb->ListIndex(), 0);
  dialog.cmb->Clear();
  EXPECT_EQ(dialog.cmb->text(), "");
  EXPECT_THAT(dialog.cmb->Items(), IsEmpty());
}

TEST_F(ControlsTest, AComboFiresAlsoWhenTheSameItemIsChosenAgain) {
  int fired = 0;
  dialog.cmb->OnClick = [&] { ++fired; };
  dialog.cmb->AddItem("roads");
  dialog.cmb->text = "roads";
  EXPECT_EQ(fired, 0) << "code that fills a control fires nothing";
  dialog.cmb->UserChoose("roads");
  dialog.cmb->UserChoose("roads");
  dialog.cmb->UserChoose("rivers");
  EXPECT_EQ(fired, 2);
}

TEST_F(ControlsTest, AListSelectsExactlyWhatTheUserSays) {
  int fired = 0;
  dialog.lst->OnClick = [&] { ++fired; };
  for (const char* item : {"a", "b", "a", "c"}) dialog.lst->AddItem(item);
  dialog.lst->Select(3, true);
  EXPECT_EQ(fired, 0);
  EXPECT_TRUE(dialog.lst->UserSelect({"a", "b", "a"}));
  EXPECT_THAT(dialog.lst->SelectedItems(), ElementsAre("a", "b", "a"));
  EXPECT_TRUE(dialog.lst->UserSelect({"a"}));
  EXPECT_TRUE(dialog.lst->IsSelected(0));
  EXPECT_EQ(dialog.lst->SelectedCount(), 1);
  EXPECT_FALSE(dialog.lst->UserSelect({"b", "b"})) << "there is one b";
  EXPECT_THAT(dialog.lst->SelectedItems(), ElementsAre("a"));
  EXPECT_EQ(fired, 2);
}

TEST_F(ControlsTest, ASingleChoiceListHoldsOneSelection) {
  dialog.lst->multiSelect = false;
  for (const char* item : {"a", "b"}) dialog.lst->AddItem(item);
  EXPECT_FALSE(dialog.lst->UserSelect({"a", "b"}));
  dialog.lst->Select(0, true);
  dialog.lst->Select(1, true);
  EXPECT_THAT(dialog.lst->SelectedItems(), ElementsAre("b"));
}

TEST_F(ControlsTest, AListKeepsSelectionsInStepWithItsItems) {
  for (const char* item : {"a", "b", "c"}) dialog.lst->AddItem(item);
  dialog.lst->Select(2, true);
  dialog.lst->RemoveItem(0);
  EXPECT_THAT(dialog.lst->SelectedItems(), ElementsAre("c"));
  EXPECT_EQ(dialog.lst->Count(), 2);
  EXPECT_THROW(dialog.lst->IsSelected(2), RuntimeError);
  EXPECT_THROW(dialog.lst->RemoveItem(-1), RuntimeError);
  dialog.lst->Clear();
  EXPECT_EQ(dialog.lst->Count(), 0);
}

TEST_F(ControlsTest, ItemsKeepWhatTheyName) {
  using enum ItemKind;
  using Kinds = std::vector<ItemKind>;
  const Kinds atFirst = dialog.cmb->ItemKinds();
  EXPECT_EQ(atFirst.size(), dialog.cmb->Items().size());
  dialog.cmb->Clear();
  dialog.cmb->AddItem("roads", kLineLayer);
  dialog.cmb->AddItem("roads");
  EXPECT_EQ(dialog.cmb->ItemKinds(), (Kinds{kLineLayer, kValue}));
  dialog.lst->Clear();
  for (const auto kind : {kTextField, kDateField, kWholeField}) dialog.lst->AddItem("A", kind);
  dialog.lst->RemoveItem(1);
  EXPECT_EQ(dialog.lst->ItemKinds(), (Kinds{kTextField, kWholeField}));
  dialog.Unload();
  EXPECT_EQ(dialog.cmb->ItemKinds(), atFirst);
  EXPECT_EQ(dialog.lst->ItemKinds().size(), dialog.lst->Items().size());
}

TEST_F(ControlsTest, TextsAndBoxesFireWhenTheUserChangesThem) {
  int texts = 0, clicks = 0;
  dialog.txt->OnChange = [&] { ++texts; };
  dialog.chk->OnClick = [&] { ++clicks; };
  dialog.txt->text = "by code";
  dialog.chk->value = false;
  EXPECT_EQ(texts + clicks, 0);
  dialog.txt->UserSetText("by code");
  dialog.chk->UserSet(false);
  EXPECT_EQ(texts + clicks, 0) << "nothing has changed";
  dialog.txt->UserSetText("by hand");
  dialog.chk->UserSet(true);
  EXPECT_EQ(texts, 1);
  EXPECT_EQ(clicks, 1);
}

TEST_F(ControlsTest, OneOptionOfAFrameIsChosen) {
  int fired = 0;
  dialog.optB->OnClick = [&] { ++fired; };
  dialog.optB->UserChoose();
  EXPECT_FALSE(dialog.optA->value);
  EXPECT_TRUE(dialog.optB->value);
  EXPECT_TRUE(dialog.optC->value) << "another frame's options stand";
  dialog.optB->UserChoose();
  EXPECT_EQ(fired, 1);
  dialog.optD->value = true;
  EXPECT_FALSE(dialog.optC->value);
  EXPECT_TRUE(dialog.optB->value);
}

TEST_F(ControlsTest, AGroupOfItsOwnCutsAcrossFrames) {
  dialog.optB->group = dialog.optC->group = "mixed";
  dialog.optB->Choose();
  EXPECT_TRUE(dialog.optA->value) << "in the same frame, but not in the group";
  EXPECT_FALSE(dialog.optC->value);
}

TEST_F(ControlsTest, ASpinnerStaysWithinItsBoundsAndWritesIntoItsBox) {
  int fired = 0;
  dialog.spin->OnChange = [&] { ++fired; };
  EXPECT_FALSE(dialog.spin->UserSet(11));
  EXPECT_FALSE(dialog.spin->UserSet(0));
  EXPECT_EQ(dialog.box->text(), "3");
  EXPECT_TRUE(dialog.spin->UserSet(10));
  EXPECT_EQ(dialog.box->text(), "10");
  dialog.spin->value = 99;
  EXPECT_EQ(dialog.spin->value(), 10);
  dialog.spin->value = -5;
  EXPECT_EQ(dialog.spin->value(), 1);
  EXPECT_EQ(dialog.box->text(), "1");
  EXPECT_EQ(fired, 1);
}

TEST_F(ControlsTest, ACalendarTellsThePickedDay) {
  Date told;
  dialog.month->OnDateClick = [&] { told = dialog.month->value; };
  dialog.month->value = *Date::FromCivil(2026, 3, 1);
  EXPECT_EQ(told, Date{});
  dialog.month->UserPick(*Date::FromCivil(2026, 3, 2));
  EXPECT_EQ(told, *Date::FromCivil(2026, 3, 2));
}

TEST_F(ControlsTest, AssigningADifferentValueTellsTheHost) {
  host.changes.clear();
  dialog.txt->text = "new";
  dialog.txt->text = "new";
  dialog.chk->enabled = false;
  dialog.lst->AddItem("a");
  EXPECT_THAT(host.changes, ElementsAre("txt", "chk", "lst"));
}

TEST_F(ControlsTest, EnableAlsoPaints) {
  EXPECT_EQ(dialog.off->backColour(), BackColour::kButtonFace);
  dialog.off->Enable(true);
  EXPECT_TRUE(dialog.off->enabled);
  EXPECT_EQ(dialog.off->backColour(), BackColour::kWindow);
  dialog.off->Enable(false);
  EXPECT_FALSE(dialog.off->enabled);
  EXPECT_EQ(dialog.off->backColour(), BackColour::kButtonFace);
}

TEST_F(ControlsTest, AHandReachesWhatIsEnabledAndVisibleOnAnOpenDialog) {
  EXPECT_TRUE(dialog.txt->IsReachable());
  EXPECT_FALSE(dialog.off->IsReachable());
  EXPECT_FALSE(dialog.hidden->IsReachable());
  dialog.SetEnabled(false);
  EXPECT_FALSE(dialog.txt->IsReachable());
  dialog.SetEnabled(true);
  dialog.Hide();
  EXPECT_FALSE(dialog.txt->IsReachable());
}

TEST_F(ControlsTest, AFailingHandlerIsReportedUnderItsName) {
  dialog.cmb->AddItem("gone");
  dialog.cmb->OnClick = [] { throw RuntimeError(ErrorNumber::kObjectNotSet); };
  dialog.cmb->UserChoose("gone");
  EXPECT_EQ(messages.Text(),
            Texts{"cmb_Click: \r91\rObject variable or With block variable not set"});
}

TEST_F(ControlsTest, KindsHaveNames) {
  std::vector<std::string> kinds;
  for (const auto& control : dialog.Controls()) kinds.push_back(KindName(control->Kind()));
  EXPECT_THAT(kinds,
              ElementsAre("combo", "list", "text", "check", "option", "option", "option", "option",
                          "text", "label", "progress", "text", "updown", "calendar", "button"));
}

// ---- Progress

std::int64_t fakeMilliseconds = 0;

struct ProgressTest : ControlsTest {
  ProgressTest() {
    fakeMilliseconds = 0;
    Throttle::clock = [] { return fakeMilliseconds; };
  }
  ~ProgressTest() override { Throttle::clock = &Throttle::SteadyMilliseconds; }
};

TEST_F(ProgressTest, TheHostIsToldTwentyTimesASecondAndOfTheMaximum) {
  dialog.bar->max = 1000;
  for (int i = 1; i <= 1000; ++i) {
    fakeMilliseconds += 1;
    dialog.bar->SetValue(i);
  }
  ASSERT_FALSE(host.progress.empty());
  EXPECT_LE(host.progress.size(), 22u);
  EXPECT_GE(host.progress.size(), 10u);
  EXPECT_EQ(host.progress.back(), 1000);
}

TEST_F(ProgressTest, SlowStepsAreAllTold) {
  dialog.bar->max = 4;
  for (int i = 1; i <= 4; ++i) {
    fakeMilliseconds += 60;
    dialog.bar->SetValue(i);
  }
  EXPECT_THAT(host.progress, ElementsAre(1, 2, 3, 4));
}

TEST_F(ProgressTest, AMillionStepsInNoTimeAreToldOnceAndAtTheMaximum) {
  dialog.bar->max = 1'000'000;
  for (int i = 1; i <= 1'000'000; ++i) dialog.bar->SetValue(i);
  EXPECT_THAT(host.progress, ElementsAre(1, 1'000'000));
}

TEST_F(ProgressTest, ValuesAreSingles) {
  dialog.bar->SetValue(16'777'217);
  EXPECT_EQ(dialog.bar->Value(), 16'777'216.0f);
}

}  // namespace
}  // namespace orlinths
