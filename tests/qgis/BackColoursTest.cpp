// Back colours by the palette that a field's widget has, in QGIS's themes.
#include "qgis/BackColours.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QStyleFactory>

#include <memory>

#include "host/Dialog.h"
#include "qgis/ControlWidgets.h"

namespace orlinths {
namespace {

class NoHost : public IWidgetHost {
 public:
  void Act(Step, const std::function<void()>&) override {}
};

struct frmFields : Dialog {
  frmFields() : Dialog("frmFields", "Fields") {
    txt = Add<TextBox>("txt", "Text:", "0.001");
    cmb = Add<ComboBox>("cmb", "Choice:");
    lst = Add<ListBox>("lst", "List:");
    chk = Add<CheckBox>("chk", "Check");
  }
  TextBox* txt;
  ComboBox* cmb;
  ListBox* lst;
  CheckBox* chk;
};

QPalette Dark() {
  QPalette dark(QColor(0x53, 0x53, 0x53), QColor(0x32, 0x32, 0x32));
  dark.setColor(QPalette::Base, QColor(0x22, 0x22, 0x22));
  dark.setColor(QPalette::Text, QColor(0xaa, 0xaa, 0xaa));
  dark.setColor(QPalette::Dark, QColor(0x11, 0x11, 0x11));
  dark.setColor(QPalette::Disabled, QPalette::Text, QColor(0x53, 0x53, 0x53));
  dark.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x6b, 0x6b, 0x6b));
  return dark;
}

/// Of every kind of field, in every test: Qt remembers of a widget without rules, by its address,
/// that it has none, and another one may come to stand there.
const QString kSheet = QStringLiteral("QLineEdit, QComboBox, QListWidget { color: #123456; }");

class BackColours : public ::testing::TestWithParam<bool> {
 protected:
  BackColours() {
    if (GetParam()) QApplication::setPalette(Dark());  // as a theme of QGIS does
    for (const auto& control : dialog.Controls())
      widgets.push_back(MakeControlWidget(*control, host, &window));
    Update();
  }
  ~BackColours() override { QApplication::setPalette(before_); }
  void Update() {
    for (const auto& widget : widgets) widget->Update();
  }
  QPalette PaletteOf(const Control& control) const {
    for (const auto& widget : widgets)
      if (&widget->Model() == &control) return widget->Widget()->palette();
    return {};
  }
  QColor BackOf(const Control& control, QPalette::ColorGroup group) const {
    const bool isButton = control.Kind() == ControlKind::kCombo;
    return PaletteOf(control).color(group, isButton ? QPalette::Button : QPalette::Base);
  }
  double TextContrast(const Control& control, QPalette::ColorGroup group) const {
    const bool isButton = control.Kind() == ControlKind::kCombo;
    const auto role = isButton ? QPalette::ButtonText : QPalette::Text;
    return Contrast(PaletteOf(control).color(group, role), BackOf(control, group));
  }
  QColor Theme(QPalette::ColorGroup group, QPalette::ColorRole role) const {
    return window.palette().color(group, role);
  }

  QWidget window;
  NoHost host;
  frmFields dialog;
  std::vector<std::unique_ptr<ControlWidget>> widgets;

 private:
  const QPalette before_ = QApplication::palette();
};

INSTANTIATE_TEST_SUITE_P(Themes, BackColours, ::testing::Bool(), [](const auto& info) {
  return std::string(info.param ? "dark" : "light");
});

TEST_P(BackColours, AFieldAtRestIsTheThemesOwn) {
  for (const Control* control :
       {static_cast<const Control*>(dialog.txt), static_cast<const Control*>(dialog.cmb),
        static_cast<const Control*>(dialog.lst)}) {
    EXPECT_EQ(PaletteOf(*control).color(QPalette::Active, QPalette::Base),
              Theme(QPalette::Active, QPalette::Base));
    EXPECT_EQ(PaletteOf(*control).color(QPalette::Active, QPalette::Button),
              Theme(QPalette::Active, QPalette::Button));
  }
}

TEST_P(BackColours, ADisabledFieldHasTheColourOfAButtonsFace) {
  dialog.txt->Enable(false);
  dialog.lst->Enable(false);
  Update();
  const QColor face = Theme(QPalette::Active, QPalette::Window);
  EXPECT_EQ(BackOf(*dialog.txt, QPalette::Disabled), face);
  EXPECT_EQ(BackOf(*dialog.lst, QPalette::Disabled), face);
  dialog.txt->Enable(true);
  Update();
  EXPECT_EQ(BackOf(*dialog.txt, QPalette::Active), Theme(QPalette::Active, QPalette::Base));
}

TEST_P(BackColours, ADisabledFieldMayKeepTheColourOfAWindow) {
  dialog.txt->enabled = false;
  Update();
  EXPECT_EQ(BackOf(*dialog.txt, QPalette::Disabled), Theme(QPalette::Active, QPalette::Base));
}

TEST_P(BackColours, TheColourOfAWorkspaceIsTheDarkest) {
  dialog.cmb->enabled = false;
  dialog.cmb->backColour = BackColour::kWorkspace;
  dialog.txt->backColour = BackColour::kWorkspace;
  Update();
  const QColor dark = Theme(QPalette::Active, QPalette::Dark);
  EXPECT_EQ(BackOf(*dialog.cmb, QPalette::Disabled), dark);
  EXPECT_EQ(BackOf(*dialog.txt, QPalette::Active), dark);
  EXPECT_LT(dark.lightness(), Theme(QPalette::Active, QPalette::Window).lightness());
}

TEST_P(BackColours, WhatIsNoFieldKeepsItsGround) {
  const QPalette before = PaletteOf(*dialog.chk);
  dialog.chk->Enable(false);
  Update();
  EXPECT_EQ(PaletteOf(*dialog.chk), before);
}

TEST_P(BackColours, TextIsReadNoWorseThanTheThemesDisabledText) {
  const double least = Contrast(Theme(QPalette::Disabled, QPalette::WindowText),
                                Theme(QPalette::Active, QPalette::Window));
  for (Control* control : {static_cast<Control*>(dialog.txt), static_cast<Control*>(dialog.cmb),
                           static_cast<Control*>(dialog.lst)})
    for (const auto colour : {BackColour::kWindow, BackColour::kButtonFace, BackColour::kWorkspace})
      for (const bool on : {true, false}) {
        control->enabled = on;
        control->backColour = colour;
        Update();
        if (control->Kind() == ControlKind::kCombo && colour != BackColour::kWorkspace)
          continue;  // the theme's own button
        EXPECT_GE(TextContrast(*control, on ? QPalette::Active : QPalette::Disabled), least)
            << control->name << ' ' << static_cast<int>(colour) << ' ' << on;
      }
}

TEST_P(BackColours, LeavesTheColoursOfAStyleSheetAlone) {
  window.setStyleSheet(kSheet);
  const auto text = [&] { return PaletteOf(*dialog.lst).color(QPalette::Active, QPalette::Text); };
  for (const auto& widget : widgets) widget->Widget()->ensurePolished();
  Update();
  EXPECT_EQ(text(), QColor(0x12, 0x34, 0x56));
  for (const bool on : {false, true}) {
    dialog.lst->Enable(on);
    Update();
  }
  EXPECT_EQ(text(), QColor(0x12, 0x34, 0x56));
}

TEST_P(BackColours, AFieldThatIsOfUseAgainIsTheThemesOwnWhateverAStyleSheetRemembers) {
  window.setStyleSheet(kSheet);
  for (int i = 0; i < 2; ++i) {  // also the second time
    dialog.txt->Enable(false);
    Update();
    for (const auto& widget : widgets) widget->Widget()->ensurePolished();  // it is shown so
    dialog.txt->Enable(true);
    Update();
    EXPECT_EQ(BackOf(*dialog.txt, QPalette::Active), Theme(QPalette::Active, QPalette::Base));
    EXPECT_EQ(PaletteOf(*dialog.txt).color(QPalette::Active, QPalette::Text),
              QColor(0x12, 0x34, 0x56));
  }
}

TEST(Contrast, IsTheRatioOfWcag) {
  EXPECT_DOUBLE_EQ(Contrast(Qt::black, Qt::white), 21);
  EXPECT_DOUBLE_EQ(Contrast(Qt::red, Qt::red), 1);
  EXPECT_NEAR(Contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.005);
}

}  // namespace
}  // namespace orlinths
