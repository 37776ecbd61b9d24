#include "qgis/Refill.h"

#include <gmock/gmock.h>

#include <string>

#include "qgis/Text.h"
#include "qgis/WindowHost.h"
#include "runtime/Files.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class frmTrial : public Dialog {
 public:
  frmTrial() : Dialog("frmTrial", "Trial") {
    txtName = Add<TextBox>("txtName", "Name:");
    cmbL = Add<ComboBox>("cmbL", "Point layer:");
    txtOut = Add<TextBox>("txtOut", "Output:");
    btnOut = Add<Button>("btnOut", "...");
    txtOut->picker = btnOut;
    txtIn = Add<TextBox>("txtIn", "Input:");
    btnIn = Add<Button>("btnIn", "...");
    txtIn->picker = btnIn;
    AddOkButton()->OnClick = [this] { ++runs; };
    btnOut->OnClick = [this] {
      IDialogHost::Question question;
      IDialogHost::Choice choice;
      if (DialogHost().Pick(question, choice)) txtOut->text = choice.FullName();
    };
    btnIn->OnClick = [this] {
      IDialogHost::Question question;
      question.save = false;
      question.filter = asksForFolder ? IDialogHost::Filter::kFolders : IDialogHost::Filter::kAny;
      IDialogHost::Choice choice;
      if (DialogHost().Pick(question, choice)) txtIn->text = choice.FullName();
    };
  }
  TextBox *txtName, *txtOut, *txtIn;
  ComboBox* cmbL;
  Button *btnOut, *btnIn;
  bool asksForFolder = false;
  int runs = 0;
};

class RefillTest : public ::testing::Test {
 protected:
  RefillTest() : before_(SetDialogHost(&host)) {
    WriteBytes(folder / "old.shp", "x");
    session.steps = {{steps::Click{"clsRndPnt"}, 0},
                     {steps::Set{"txtName", "oak"}, 0},
                     {steps::Set{"cmbGone", "x"}, 0},
                     {steps::Press{"btnOut", steps::Pick{folder / "old.shp"}}, 0},
                     {steps::Press{"btnOK", {}}, 0},
                     {steps::Set{"txtName", "later"}, 0}};
  }
  ~RefillTest() override { SetDialogHost(before_); }
  QStringList RefillWith(bool mayReplace) {
    QStringList wrongs;
    host.onNextReady = [&](Dialog& ready) {
      wrongs = Refill(ready, session, host, [&](const std::string& path) {
        EXPECT_EQ(path, folder / "old.shp");
        return mayReplace;
      });
      name = dialog.txtName->text();
      output = dialog.txtOut->text();
      input = dialog.txtIn->text();
      ready.Unload();
    };
    dialog.ShowModal();
    return wrongs;
  }

  WindowHost host{nullptr};
  TempFolder folder;
  frmTrial dialog;
  Session session;
  std::string name, output, input;

 private:
  IDialogHost* before_;
};

TEST_F(RefillTest, FillsInWhatWasSetAndLeavesTheRunToTheUser) {
  const QStringList wrongs = RefillWith(true);
  EXPECT_EQ(name, "oak");
  EXPECT_EQ(output, folder / "old.shp");
  EXPECT_EQ(dialog.runs, 0);
  ASSERT_EQ(wrongs.size(), 1);
  EXPECT_THAT(FromQt(wrongs[0]), HasSubstr("cmbGone"));
}

TEST_F(RefillTest, TakesNoOutputThatIsToStay) {
  RefillWith(false);
  EXPECT_EQ(name, "oak");
  EXPECT_EQ(output, "");
  EXPECT_TRUE(files::FileExists(folder / "old.shp"));
}

TEST_F(RefillTest, ReplacesNothingWhereAFolderOrAFileIsToBeRead) {
  for (const bool asksForFolder : {true, false}) {
    dialog.asksForFolder = asksForFolder;
    const std::string path = asksForFolder ? folder.Path() : folder / "old.shp";
    session.steps = {{steps::Click{"clsRndPnt"}, 0}, {steps::Press{"btnIn", steps::Pick{path}}, 0}};
    host.onNextReady = [&](Dialog& ready) {
      EXPECT_THAT(Refill(ready, session, host,
                         [](const std::string&) {
                           ADD_FAILURE() << "nothing is to be replaced";
                           return false;
                         }),
                  IsEmpty());
      EXPECT_EQ(dialog.txtIn->text(), path);
      ready.Unload();
    };
    dialog.ShowModal();
  }
}

TEST_F(RefillTest, SaysInTheWordsOfTheWindowWhatIsNoLongerThere) {
  const std::string gone = folder / "gone";
  session.steps = {{steps::Click{"clsRndPnt"}, 0},
                   {steps::Set{"cmbL", "nests"}, 0},
                   {steps::Press{"btnOut", steps::Pick{gone + "/new.shp"}}, 0},
                   {steps::Press{"btnIn", steps::Pick{gone}}, 0}};
  for (const bool asksForFolder : {true, false}) {
    dialog.asksForFolder = asksForFolder;
    const std::string kind = asksForFolder ? "folder " : "file ";
    EXPECT_THAT(
        RefillWith(true),
        ElementsAre(QStringLiteral("\"Point layer\" has no item \"nests\"; it has: nothing"),
                    ToQt("there is no folder " + gone), ToQt("there is no " + kind + gone)));
    EXPECT_EQ(output + input, "");
  }
}

TEST_F(RefillTest, EndsWhereItsUserClosesTheDialog) {
  dialog.txtName->OnChange = [this] { dialog.Unload(); };
  host.onNextReady = [&](Dialog& ready) {
    EXPECT_THAT(Refill(ready, session, host, [](const std::string&) { return true; }), IsEmpty());
  };
  dialog.ShowModal();
  EXPECT_EQ(dialog.runs, 0);
}

}  // namespace
}  // namespace orlinths
