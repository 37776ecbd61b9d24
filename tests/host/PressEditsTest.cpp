// Table edits that a press leaves pending are written when it is over.
#include <gmock/gmock.h>

#include <filesystem>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "support/TempFolder.h"
#include "support/TestHost.h"

namespace orlinths {
namespace {

struct frmEdit : Dialog {
  explicit frmEdit(const std::string& name = "frmEdit") : Dialog(name, "Edit") {
    btnOK = AddOkButton();
    btnOK->OnClick = [this] { onOk(); };
  }
  Button* btnOK;
  std::function<void()> onOk = [] {};
};

struct PressEditsTest : ::testing::Test {
  PressEditsTest() {
    SpatialReferencePtr reference;
    points = CreateShapefile(temp.Path(), "points", GeometryType::kPoint, false, false, reference,
                             false);
    CommitAllEdits();
  }
  /// The table as it is on the disk.
  std::string OnDisk() const { return ReadBytes(temp / "points.dbf"); }
  void AddColumn(const char* name) const {
    points->AddField({.name = name, .type = FieldType::kDouble, .geometry = {}});
  }
  TestHost host;
  TempFolder temp;
  FeatureClassPtr points;
};

TEST_F(PressEditsTest, AreOnTheDiskAfterThePress) {
  Hand hand = host.Open<frmEdit>();
  host.Last<frmEdit>().onOk = [&] { AddColumn("LENGTH"); };
  const std::string before = OnDisk();
  hand.Press("btnOK");
  EXPECT_NE(OnDisk(), before);
  EXPECT_NE(OnDisk().find("LENGTH"), std::string::npos);
  EXPECT_TRUE(host.Messages().empty());
}

TEST_F(PressEditsTest, WaitForTheOutermostPress) {
  frmEdit inner("frmInner");
  std::string afterInner;
  Hand hand = host.Open<frmEdit>();
  const std::string before = OnDisk();
  host.Last<frmEdit>().onOk = [&] {
    AddColumn("LENGTH");
    inner.ShowModal();
    afterInner = OnDisk();
  };
  inner.onOk = [&] { inner.Unload(); };
  host.dialogs.WhenOpened("frmInner", [](Hand it) { it.Press("btnOK"); });
  hand.Press("btnOK");
  EXPECT_EQ(afterInner, before);
  EXPECT_NE(OnDisk(), before);
}

TEST_F(PressEditsTest, ThatCannotBeWrittenMakeAnErrorReportOfASuccess) {
  Hand hand = host.Open<frmEdit>();
  auto& dialog = host.Last<frmEdit>();
  dialog.onOk = [&] {
    AddColumn("LENGTH");
    std::filesystem::remove_all(temp.Path());
    dialog.Unload();
  };
  hand.Press("btnOK");
  ASSERT_EQ(host.Messages().size(), 1u);
  EXPECT_THAT(host.Messages()[0], ::testing::StartsWith("CommitAllEdits: \r"));
  EXPECT_FALSE(dialog.EndedInSuccess());
}

}  // namespace
}  // namespace orlinths
