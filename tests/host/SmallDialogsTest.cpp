#include "host/SmallDialogs.h"

#include <gmock/gmock.h>

#include "host/WebHelp.h"
#include "support/TestHost.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct SmallDialogsTest : ::testing::Test {
  TestHost host;
};

TEST_F(SmallDialogsTest, HaveTheirCaptionsAndControls) {
  const struct {
    const char* name;
    const char* caption;
    std::vector<std::string> controls;  // name=caption
  } cases[] = {
      {"frmGetString",
       "Information required...",
       {"lblExplanation=", "Label2=Enter string:", "txtUserStr=Enter string:", "btnOK=OK",
        "btnHelp=Help", "btnExit=Exit"}},
      {"frmFieldsList",
       "Identify fields...",
       {"Label1=Select fields to capture from layer:", "lblLayerName=",
        "lstFields=Select fields to capture from layer:", "chkAllFields=Use all fields",
        "btnOK=Next >"}},
      {"frmResultsReport", "Processing results:", {"txtResults=", "btnOK=Close"}},
      {"frmJulianDay",
       "Julian Day",
       {"Label1=Julian Day:", "txtJD=Julian Day:", "monthviewJD=", "btnExit=Exit"}},
      {"frmDigXY", "X, Y", {"Label1=Coordinates:", "txtCoords=Coordinates:", "cmdExit=Exit"}},
  };
  for (const auto& wanted : cases) {
    const auto dialog = NewDialog(wanted.name);
    EXPECT_EQ(dialog->Name(), wanted.name);
    EXPECT_EQ(dialog->caption, wanted.caption);
    std::vector<std::string> controls;
    for (const auto& control : dialog->Controls())
      controls.push_back(control->name + "=" + control->caption());
    EXPECT_EQ(controls, wanted.controls) << wanted.name;
  }
}

// ---- frmGetString

TEST_F(SmallDialogsTest, GetStringAsksForAString) {
  gUserString = "";
  Hand hand = host.Open<frmGetString>();
  hand.Press("btnOK");
  ASSERT_EQ(host.messages.All().size(), 1u);
  EXPECT_EQ(host.messages.All()[0],
            (Message{"ERROR: you must enter a string in the textbox to continue.", 16, ""}));
  EXPECT_TRUE(hand.IsOpen());
  hand.Set("txtUserStr", "any thing: 0%").Press("btnOK");
  EXPECT_EQ(gUserString, "any thing: 0%") << "no characters are checked here";
  EXPECT_FALSE(hand.IsOpen());
  EXPECT_EQ(host.messages.All().size(), 1u);
}

TEST_F(SmallDialogsTest, GetStringsExitLeavesTheStringAsItWas) {
  gUserString = "before";
  host.Open<frmGetString>().Set("txtUserStr", "typed").Press("btnExit");
  EXPECT_EQ(gUserString, "before");
}

TEST_F(SmallDialogsTest, GetStringsHelpLeavesOutTheZero) {
  Hand hand = host.Open<frmGetString>().Press("btnHelp");
  ASSERT_EQ(host.messages.All().size(), 1u);
  EXPECT_EQ(
      host.messages.All()[0],
      (Message{"A simple string is required to proceed. Allowable characters are:\r"
               "     abcdefghijklmnopqrstuvwxyz\r"
               "     ABCDEFGHIJKLMNOPQRSTUVWXYZ\r"
               "     123456789#_-\r"
               "A string with 8 letters or less is preferable. Although the string may contain\r"
               "numbers, it should not start with a number.\r",
               64, "Simple strings"}));
  EXPECT_TRUE(hand.IsOpen());
  EXPECT_THAT(host.messages.shellTargets, IsEmpty());
}

// ---- frmFieldsList

TEST_F(SmallDialogsTest, UsingAllFieldsPaintsTheListOut) {
  Hand hand = host.Open<frmFieldsList>();
  auto& list = *host.Last<frmFieldsList>().lstFields;
  EXPECT_TRUE(list.multiSelect);
  hand.Check("chkAllFields");
  EXPECT_FALSE(list.enabled);
  EXPECT_EQ(list.backColour(), BackColour::kButtonFace);
  hand.Check("chkAllFields", false);
  EXPECT_TRUE(list.enabled);
  EXPECT_EQ(list.backColour(), BackColour::kWindow);
}

TEST_F(SmallDialogsTest, NextHidesTheFieldsListForItsCallerToRead) {
  Hand hand = host.Open<frmFieldsList>();
  auto& dialog = host.Last<frmFieldsList>();
  for (const char* field : {"AREA", "COVER"}) dialog.lstFields->AddItem(field);
  hand.Select("lstFields", {"COVER"}).Press("btnOK");
  EXPECT_FALSE(dialog.IsVisible());
  EXPECT_TRUE(dialog.IsLoaded());
  EXPECT_TRUE(dialog.EndedInSuccess());
  EXPECT_THAT(dialog.lstFields->SelectedItems(), ElementsAre("COVER"));
  dialog.Unload();
  EXPECT_EQ(dialog.lstFields->Count(), 0);
}

// ---- frmResultsReport

TEST_F(SmallDialogsTest, AReportIsReadAndClosed) {
  Hand hand = host.Open<frmResultsReport>();
  const auto& box = *host.Last<frmResultsReport>().txtResults;
  EXPECT_TRUE(box.readOnly);
  EXPECT_TRUE(box.multiLine);
  EXPECT_TRUE(hand->IsReport());
  hand.Press("btnOK");
  EXPECT_FALSE(hand->IsLoaded());
}

// ---- frmJulianDay

TEST_F(SmallDialogsTest, JulianDayShowsTodayAndThePickedDay) {
  host.messages.clock = Date::FromCivil(2026, 3, 1, 23, 59)->milliseconds * 1'000'000;
  Hand hand = host.Click("clsJulianDay");
  EXPECT_EQ(hand.Text("txtJD"), "60");
  EXPECT_EQ(dynamic_cast<frmJulianDay&>(*hand).monthviewJD->value(), *Date::FromCivil(2026, 3, 1));
  hand.PickDate("monthviewJD", *Date::FromCivil(2024, 12, 31));
  EXPECT_EQ(hand.Text("txtJD"), "366");
  EXPECT_THAT(host.dialogs.focused, ElementsAre("btnExit"));
  hand.Press("btnExit");
  EXPECT_FALSE(hand->IsLoaded());
  EXPECT_EQ(host.Click("clsJulianDay").Text("txtJD"), "60") << "nothing is stored";
}

// ---- frmAbout

TEST_F(SmallDialogsTest, AboutTellsVersionAndDataFormats) {
  Hand hand = host.Click("clsAbout");
  EXPECT_EQ(hand.Text("lblTitle"), "Orlinth's Analysis Tools");
  EXPECT_EQ(hand.Text("lblVersion"), "Version 3.23");
  EXPECT_THAT(hand.Text("txtNotes"), HasSubstr("not written for geodatabases and SDE data"));
  EXPECT_THAT(hand.Text("txtNotes"), HasSubstr("careful with such datasets"));
  hand.Press("btnWebsite");
  EXPECT_EQ(host.messages.shellTargets, Texts{kWebHelpBase});
  hand.Press("btnExit");
  EXPECT_FALSE(hand->IsLoaded());
}

}  // namespace
}  // namespace orlinths
