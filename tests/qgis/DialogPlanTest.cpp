#include "qgis/DialogPlan.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "component/Component.h"
#include "host/Commands.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Kind = PlannedRow::Kind;

/// A dialog declared in place.
class Declared : public Dialog {
 public:
  explicit Declared(const std::function<void(Declared&)>& declare) : Dialog("frmX", "X") {
    declare(*this);
  }
  using Dialog::Add;
  using Dialog::AddExitButton;
  using Dialog::AddHelpButton;
  using Dialog::AddOkButton;
  using Dialog::AddStatusLine;
  using Dialog::InFrame;
};

std::vector<std::string> NamesOf(const PlannedRow& row) {
  std::vector<std::string> names;
  for (const Control* control : row.controls) names.push_back(control->name);
  return names;
}

TEST(DialogPlan, PutsAPickerAndArrowsBehindTheirBox) {
  Declared dialog([](Declared& d) {
    auto* box = d.Add<TextBox>("txtOut", "Output:");
    box->picker = d.Add<Button>("btnFile", "...");
    auto* count = d.Add<TextBox>("txtCount", "Count:");
    d.Add<UpDown>("udCount", 1, 9, 3)->buddy = count;
  });
  const DialogPlan plan = PlanOf(dialog);
  ASSERT_EQ(plan.sections.size(), 1U);
  const auto& rows = plan.sections[0].rows;
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].kind, Kind::kField);
  EXPECT_EQ(rows[0].caption, "Output:");
  EXPECT_EQ(rows[0].picker, dialog.FindControl("btnFile"));
  EXPECT_EQ(rows[1].arrows, dialog.FindControl("udCount"));
  EXPECT_THAT(plan.buttons, IsEmpty());
}

TEST(DialogPlan, PutsABoxWithoutWordsBehindTheChoiceBeforeIt) {
  Declared dialog([](Declared& d) {
    d.Add<CheckBox>("chkMin", "At least:");
    d.Add<TextBox>("txtMin", "");
    d.Add<OptionButton>("optAll", "All");
    d.Add<ComboBox>("cmbL", "Layer:");
  });
  const auto rows = PlanOf(dialog).sections.at(0).rows;
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_THAT(NamesOf(rows[0]), ElementsAre("chkMin", "txtMin"));
  EXPECT_THAT(NamesOf(rows[1]), ElementsAre("optAll"));
  EXPECT_THAT(NamesOf(rows[2]), ElementsAre("cmbL"));
}

TEST(DialogPlan, SaysNoWordsTwice) {
  Declared dialog([](Declared& d) {
    d.Add<Label>("Label1", "Choose fields of:");
    d.Add<Label>("lblName", "");
    d.Add<ListBox>("lst", "Choose fields of:");
    d.Add<Label>("Label2", "Enter string:");
    d.Add<TextBox>("txt", "Enter string:");
  });
  const auto rows = PlanOf(dialog).sections.at(0).rows;
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(rows[2].caption, "");
  EXPECT_EQ(rows[3].label, dialog.FindControl("Label2"));
  EXPECT_EQ(rows[3].caption, "");
}

TEST(DialogPlan, PutsStatusProgressAndTheLastButtonsAtTheFoot) {
  Declared dialog([](Declared& d) {
    d.InFrame("fra", "Frame", [&] {
      d.Add<Button>("btnAll", "All");
      d.Add<Button>("btnNone", "None");
    });
    d.AddStatusLine();
    d.Add<ProgressBar>("PBar");
    d.AddOkButton();
    d.AddExitButton();
    d.AddHelpButton();
  });
  const DialogPlan plan = PlanOf(dialog);
  EXPECT_EQ(plan.status, dialog.FindControl("txtStatus"));
  EXPECT_EQ(plan.progress.size(), 1U);
  EXPECT_EQ(plan.buttons.size(), 3U);
  ASSERT_EQ(plan.sections.size(), 1U);
  EXPECT_EQ(plan.sections[0].frame, dialog.Frames().front().get());
  ASSERT_EQ(plan.sections[0].rows.size(), 1U);
  EXPECT_EQ(plan.sections[0].rows[0].kind, Kind::kButtons);
  EXPECT_THAT(NamesOf(plan.sections[0].rows[0]), ElementsAre("btnAll", "btnNone"));
}

TEST(DialogPlan, PutsListsThatFollowEachOtherSideBySide) {
  Declared dialog([](Declared& d) {
    d.Add<ListBox>("lstA", "A");
    d.Add<ListBox>("lstB", "B");
  });
  const auto rows = PlanOf(dialog).sections.at(0).rows;
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_THAT(NamesOf(rows[0]), ElementsAre("lstA", "lstB"));
}

TEST(DialogPlan, HoldsEveryControlOfEveryDialogOnce) {
  RegisterTools();
  int dialogs = 0;
  for (const CommandInfo& command : AllCommands()) {
    if (!HasDialog(command.dialog)) continue;
    SCOPED_TRACE(command.dialog);
    ++dialogs;
    const auto dialog = NewDialog(command.dialog);
    const DialogPlan plan = PlanOf(*dialog);
    std::vector<const Control*> planned;
    if (plan.status != nullptr) planned.push_back(plan.status);
    planned.insert(planned.end(), plan.progress.begin(), plan.progress.end());
    planned.insert(planned.end(), plan.buttons.begin(), plan.buttons.end());
    for (const auto& section : plan.sections)
      for (const auto& row : section.rows) {
        planned.insert(planned.end(), row.controls.begin(), row.controls.end());
        for (const Control* companion :
             {static_cast<const Control*>(row.label), static_cast<const Control*>(row.picker),
              static_cast<const Control*>(row.arrows)})
          if (companion != nullptr) planned.push_back(companion);
      }
    std::vector<const Control*> all;
    for (const auto& control : dialog->Controls()) all.push_back(control.get());
    EXPECT_THAT(planned, ::testing::UnorderedElementsAreArray(all));
  }
  EXPECT_GT(dialogs, 5);
}

}  // namespace
}  // namespace orlinths
