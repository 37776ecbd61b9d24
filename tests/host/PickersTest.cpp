#include "host/Pickers.h"

#include <gmock/gmock.h>

#include "data/FakeData.h"
#include "runtime/Files.h"
#include "support/CapturedMessages.h"
#include "support/ScriptedDialogs.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::IsEmpty;

struct frmPicking : Dialog {
  frmPicking() : Dialog("frmPicking", "Picking") {
    txtOutput = Add<TextBox>("txtOutput", "Output:");
    txtFolder = Add<TextBox>("txtFolder", "Folder:");
    btnFile = Add<Button>("btnFile", "...");
    btnDbf = Add<Button>("btnDbf", "...");
    btnOutFolder = Add<Button>("btnOutFolder", "...");
    btnFile->OnClick = [this] {
      PickShapefile(*this, "Save Buffers As...", output, *txtOutput, startAtOutput);
    };
    btnDbf->OnClick = [this] { PickDbf(*this, "Save DBF File As...", output, *txtOutput); };
    btnOutFolder->OnClick = [this] { PickOutputFolder(*this, folder, *txtFolder); };
    txtSR = Add<TextBox>("txtSR", "Projection definition:");
    btnProj = Add<Button>("btnProj", "...");
    txtSR->picker = btnProj;
    txtSR->picks = Picks::kSpatialReference;
    btnProj->OnClick = [this] { PickSpatialReference(*this, reference, *txtSR); };
    AddExitButton();
  }
  TextBox *txtOutput, *txtFolder, *txtSR;
  Button *btnFile, *btnDbf, *btnOutFolder, *btnProj;
  SpatialReferencePtr reference;
  OutputChoice output;
  std::string folder;
  bool startAtOutput = false;
};

struct PickersTest : ::testing::Test {
  PickersTest() { dialog.ShowModal(); }
  CapturedMessages messages;
  ScriptedDialogs host;
  TempFolder temp;
  frmPicking dialog;
  Hand hand{host, dialog};
  void WriteShapefile(const std::string& name) {
    for (const char* extension : {".shp", ".shx", ".dbf"})
      WriteBytes(temp / (name + extension), "");
  }
};

TEST_F(PickersTest, ASavePickerFillsFolderNameAndBox) {
  hand.Pick("btnFile", temp / "rnd.shp");
  EXPECT_EQ(dialog.output.folder, temp.Path());
  EXPECT_EQ(dialog.output.name, "rnd");
  EXPECT_EQ(hand.Text("txtOutput"), temp / "rnd.shp");
  ASSERT_EQ(host.questions.size(), 1u);
  EXPECT_EQ(host.questions[0].title, "Save Buffers As...");
  EXPECT_EQ(host.questions[0].filter, IDialogHost::Filter::kShapefiles);
  EXPECT_TRUE(host.questions[0].save);
  EXPECT_EQ(host.questions[0].owner, &dialog);
  EXPECT_EQ(host.questions[0].startFolder, "");
}

TEST_F(PickersTest, TheExtensionIsCutInItsExactCaseOnly) {
  hand.Pick("btnFile", temp / "rnd");
  EXPECT_EQ(hand.Text("txtOutput"), temp / "rnd.shp");
  hand.Pick("btnFile", temp / "rnd.SHP");
  EXPECT_EQ(dialog.output.name, "rnd.SHP");
  EXPECT_EQ(hand.Text("txtOutput"), temp / "rnd.SHP.shp");
  hand.Pick("btnFile", temp / "a.shp.shp");
  EXPECT_EQ(dialog.output.name, "a.shp");
}

TEST_F(PickersTest, CancellingChangesNothing) {
  hand.Pick("btnFile", temp / "rnd.shp").CancelPick("btnFile");
  EXPECT_EQ(dialog.output.name, "rnd");
  EXPECT_EQ(hand.Text("txtOutput"), temp / "rnd.shp");
  hand.CancelPick("btnOutFolder");
  EXPECT_EQ(dialog.folder, "");
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(PickersTest, SomeStartAtTheFolderOfTheLastOutput) {
  dialog.startAtOutput = true;
  hand.Pick("btnFile", temp / "rnd.shp");
  EXPECT_EQ(host.questions[0].startFolder, "");
  dialog.Unload();
  dialog.ShowModal();
  EXPECT_EQ(hand.Text("txtOutput"), "") << "the box is fresh, the member lives on";
  hand.CancelPick("btnFile");
  EXPECT_EQ(host.questions[1].startFolder, temp.Path());
}

TEST_F(PickersTest, AChosenDatasetIsGoneEvenWhenTheUserLeaves) {
  WriteBytes(temp / "old.dbf", "");
  hand.Pick("btnDbf", temp / "old.dbf");
  EXPECT_FALSE(files::FileExists(temp / "old.dbf"));
  EXPECT_EQ(dialog.output.name, "old") << "cut for the member, put back for the deletion";
  EXPECT_EQ(hand.Text("txtOutput"), temp / "old.dbf");
  EXPECT_EQ(host.questions[0].filter, IDialogHost::Filter::kDbase);
  hand.Press("btnExit");
  EXPECT_FALSE(files::FileExists(temp / "old.dbf"));
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(PickersTest, WhatCannotBeDeletedLeavesTheBoxAndHasSetTheMembers) {
  hand.Pick("btnFile", temp / "first.shp");
  // The catalogue says that it replaces something, but there is nothing of that name to delete.
  host.picks.push_back(IDialogHost::Choice{temp.Path(), "second.shp", true});
  hand.Press("btnFile");
  ASSERT_EQ(messages.All().size(), 1u);
  EXPECT_EQ(
      messages.All()[0],
      (Message{"ERROR: could not delete file. Please define another output name and try again.", 16,
               "Error"}));
  EXPECT_EQ(hand.Text("txtOutput"), temp / "first.shp");
  EXPECT_EQ(dialog.output.name, "second");
}

TEST_F(PickersTest, TypingAPathLeavesTheMembersEmpty) {
  hand.Set("txtOutput", temp / "typed.shp");
  EXPECT_FALSE(dialog.output.IsSet());
  EXPECT_FALSE((OutputChoice{.folder = "/out", .name = ""}).IsSet());
  EXPECT_TRUE((OutputChoice{.folder = "/out", .name = "a"}).IsSet());
}

TEST_F(PickersTest, AFolderPickerGivesTheFullName) {
  files::CreateFolder(temp / "out");
  hand.Pick("btnOutFolder", temp / "out");
  EXPECT_EQ(dialog.folder, temp / "out");
  EXPECT_EQ(hand.Text("txtFolder"), temp / "out");
  EXPECT_EQ(host.questions[0].title, "Select output folder...");
  EXPECT_EQ(host.questions[0].filter, IDialogHost::Filter::kFolders);
  EXPECT_FALSE(host.questions[0].save);
}

TEST_F(PickersTest, ASpatialReferenceStartsWithTheMapsAndThenWithItself) {
  FocusedMap map;
  map.SetSpatialReference(SpatialReferenceFromText("EPSG:2169"));
  const auto utm = SpatialReferenceFromText("EPSG:32612");
  hand.PickReference("btnProj", utm);
  EXPECT_EQ(dialog.reference, utm);
  EXPECT_EQ(hand.Text("txtSR"), "WGS 84 / UTM zone 12N");
  hand.CancelReference("btnProj");
  EXPECT_EQ(dialog.reference, utm);
  EXPECT_EQ(hand.Text("txtSR"), "WGS 84 / UTM zone 12N");
  ASSERT_EQ(host.referenceQuestions.size(), 2u);
  EXPECT_EQ(host.referenceQuestions[0].title, "Projection definition");
  EXPECT_EQ(host.referenceQuestions[0].owner, &dialog);
  EXPECT_EQ(host.startReferences[0]->FactoryCode(), 2169);
  EXPECT_EQ(host.startReferences[1], utm);
}

TEST_F(PickersTest, NoSpatialReferenceIsAChoiceToo) {
  FocusedMap map;
  hand.CancelReference("btnProj");
  EXPECT_EQ(dialog.reference, nullptr);
  EXPECT_EQ(hand.Text("txtSR"), "");
  EXPECT_TRUE(host.startReferences[0]->IsUnknown());
  hand.PickReference("btnProj", UnknownCoordinateSystem());
  ASSERT_NE(dialog.reference, nullptr);
  EXPECT_TRUE(dialog.reference->IsUnknown());
  EXPECT_EQ(hand.Text("txtSR"), "Unknown Coordinate System");
}

TEST_F(PickersTest, PlainQuestionsHandTheChoiceOn) {
  host.picks.push_back(IDialogHost::Choice{"/data", "steps.csv", true});
  std::string path = "before";
  EXPECT_TRUE(PickOpen(dialog, "Open CSV File...", IDialogHost::Filter::kText, path));
  EXPECT_EQ(path, "/data/steps.csv");
  host.picks.push_back(std::nullopt);
  EXPECT_FALSE(PickOpen(dialog, "Open CSV File...", IDialogHost::Filter::kText, path));
  EXPECT_EQ(path, "/data/steps.csv");

  host.picks.push_back(IDialogHost::Choice{"/out", "grid", false});
  IDialogHost::Choice choice;
  EXPECT_TRUE(
      PickSave(dialog, "Save Raster As...", IDialogHost::Filter::kRasters, choice, "/start"));
  EXPECT_EQ(choice.FullName(), "/out/grid");
  EXPECT_EQ(host.questions.back().startFolder, "/start");
  EXPECT_TRUE(host.questions.back().save);
}

}  // namespace
}  // namespace orlinths
