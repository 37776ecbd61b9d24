// Dialogs in real windows, under a hand that uses the widgets.
#include "qgis/WindowHost.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QRadioButton>
#include <QTimer>
#include <QToolButton>

#include <qgsfields.h>
#include <qgsiconutils.h>

#include "component/Component.h"
#include "host/Commands.h"
#include "host/SmallDialogs.h"
#include "qgis/Text.h"
#include "qgis/WidgetHand.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class frmTrial : public Dialog {
 public:
  frmTrial() : Dialog("frmTrial", "Trial & error") {
    InFrame("fra", "Frame & more", [this] {
      txtName = Add<TextBox>("txtName", "Name:");
      cmbLayer = Add<ComboBox>("cmbLayer", "Layer:");
      lstFields = Add<ListBox>("lstFields", "Fields:");
    });
    chkExtra = Add<CheckBox>("chkExtra", "Extra");
    optOne = Add<OptionButton>("optOne", "One", Checked);
    optTwo = Add<OptionButton>("optTwo", "Two");
    txtCount = Add<TextBox>("txtCount", "Count:", "3");
    udCount = Add<UpDown>("udCount", 1, 9, 3);
    udCount->buddy = txtCount;
    calDay = Add<MonthView>("calDay");
    txtNotes = Add<TextBox>("txtNotes", "");
    txtNotes->multiLine = true;
    AddStatusLine();
    PBar = Add<ProgressBar>("PBar");
    btnOK = AddOkButton();
    btnExit = AddExitButton();
    for (const char* item : {"roads", "lakes"}) {
      cmbLayer->AddItem(item);
      lstFields->AddItem(item);
    }
    const auto note = [this](const char* name) { return [this, name] { fired.push_back(name); }; };
    txtName->OnChange = note("txtName");
    cmbLayer->OnClick = note("cmbLayer");
    lstFields->OnClick = note("lstFields");
    chkExtra->OnClick = note("chkExtra");
    optOne->OnClick = note("optOne");
    optTwo->OnClick = note("optTwo");
    udCount->OnChange = note("udCount");
    calDay->OnDateClick = note("calDay");
    btnOK->OnClick = [this] {
      fired.push_back("btnOK");
      if (onRun) onRun();
    };
  }
  bool Try(const std::function<void()>& body) { return Run("Trial: ", body); }
  void Say(const std::string& text) { Status(text); }

  TextBox *txtName, *txtCount, *txtNotes;
  ComboBox* cmbLayer;
  ListBox* lstFields;
  CheckBox* chkExtra;
  OptionButton *optOne, *optTwo;
  UpDown* udCount;
  MonthView* calDay;
  ProgressBar* PBar;
  Button *btnOK, *btnExit;
  std::vector<std::string> fired;
  std::function<void()> onRun;
};

class WindowTest : public ::testing::Test {
 protected:
  WindowTest() : host(nullptr), before_(SetDialogHost(&host)) {
    Ports ports;
    ports.messageBox = [this](const std::string& text, int, const std::string&) {
      messages.push_back(text);
      return Reply::kOk;
    };
    ports.yield = [this] { host.Yield(); };
    portsBefore_ = SetPorts(std::move(ports));
    host.onStep = [this](const Dialog&, const Step& step) { stepsTold.push_back(step); };
    host.onWorkDone = [this] { ++worksDone; };
  }
  ~WindowTest() override {
    SetPorts(portsBefore_);
    SetDialogHost(before_);
  }
  /// Shows the dialog until `user` has closed it.
  void While(Dialog& dialog, const std::function<void()>& user) {
    QTimer::singleShot(0, &host, [&] {
      user();
      if (dialog.IsVisible()) dialog.Unload();
    });
    dialog.ShowModal();
    EXPECT_FALSE(dialog.IsLoaded());
  }
  template <class W>
  W& Of(Control& control) {
    return dynamic_cast<W&>(*host.WindowOf(control.Dialog())->Of(control).Widget());
  }
  static void Key(QWidget& widget, int key, const QString& text = {}) {
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(&widget, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
    QApplication::sendEvent(&widget, &release);
  }

  WindowHost host;
  frmTrial dialog;
  std::vector<std::string> messages;
  std::vector<Step> stepsTold;
  int worksDone = 0;

 private:
  IDialogHost* before_;
  Ports portsBefore_;
};

TEST_F(WindowTest, AHandOnAWidgetChangesTheModelAndFiresItsHandlerOnce) {
  WidgetHand hand(host);
  While(dialog, [&] {
    EXPECT_EQ(hand.Set(dialog, "txtName", "pines"), "");
    EXPECT_EQ(hand.Set(dialog, "cmbLayer", "lakes"), "");
    EXPECT_EQ(hand.Set(dialog, "lstFields", std::vector<std::string>{"roads", "lakes"}), "");
    EXPECT_EQ(hand.Set(dialog, "chkExtra", true), "");
    EXPECT_EQ(hand.Set(dialog, "optTwo", true), "");
    EXPECT_EQ(hand.Set(dialog, "udCount", "7"), "");
    EXPECT_EQ(hand.Set(dialog, "calDay", "2026-03-02"), "");
    EXPECT_THAT(dialog.fired, ElementsAre("txtName", "cmbLayer", "lstFields", "chkExtra", "optTwo",
                                          "udCount", "calDay"));
    EXPECT_EQ(dialog.txtName->text(), "pines");
    EXPECT_EQ(dialog.cmbLayer->text(), "lakes");
    EXPECT_THAT(dialog.lstFields->SelectedItems(), ElementsAre("roads", "lakes"));
    EXPECT_TRUE(dialog.chkExtra->value());
    EXPECT_FALSE(dialog.optOne->value());
    EXPECT_EQ(dialog.txtCount->text(), "7");
    EXPECT_EQ(Of<QLineEdit>(*dialog.txtCount).text(), QStringLiteral("7"));
    EXPECT_FALSE(Of<QRadioButton>(*dialog.optOne).isChecked());
    EXPECT_EQ(Of<QCalendarWidget>(*dialog.calDay).selectedDate(), QDate(2026, 3, 2));
  });
}

TEST_F(WindowTest, CodeThatChangesAControlRepaintsItsWidgetAndFiresNothing) {
  While(dialog, [&] {
    dialog.txtName->text = "oaks";
    dialog.cmbLayer->text = "roads";
    dialog.lstFields->Select(1, true);
    dialog.chkExtra->value = true;
    dialog.optTwo->Choose();
    dialog.txtNotes->text = "one\rtwo";
    dialog.PBar->max = 4;
    dialog.PBar->SetValue(1);
    dialog.cmbLayer->AddItem("rivers");
    QCoreApplication::processEvents();
    EXPECT_EQ(Of<QLineEdit>(*dialog.txtName).text(), QStringLiteral("oaks"));
    EXPECT_EQ(Of<QComboBox>(*dialog.cmbLayer).currentText(), QStringLiteral("roads"));
    EXPECT_EQ(Of<QComboBox>(*dialog.cmbLayer).count(), 3);
    EXPECT_TRUE(Of<QListWidget>(*dialog.lstFields).item(1)->isSelected());
    EXPECT_TRUE(Of<QCheckBox>(*dialog.chkExtra).isChecked());
    EXPECT_TRUE(Of<QRadioButton>(*dialog.optTwo).isChecked());
    EXPECT_EQ(Of<QPlainTextEdit>(*dialog.txtNotes).toPlainText(), QStringLiteral("one\ntwo"));
    const auto& bar = Of<QProgressBar>(*dialog.PBar);
    EXPECT_EQ(4 * (bar.value() - bar.minimum()), bar.maximum() - bar.minimum());
    EXPECT_THAT(dialog.fired, IsEmpty());
  });
}

TEST_F(WindowTest, LayersAndFieldsHaveQgissOwnPicturesAndValuesNone) {
  const auto picture = [](const QIcon& icon) { return icon.pixmap(16, 16).toImage(); };
  dialog.cmbLayer->Clear();
  dialog.lstFields->Clear();
  dialog.cmbLayer->AddItem("roads", ItemKind::kLineLayer);
  dialog.cmbLayer->AddItem("roads");  // a value that is written like the layer
  dialog.lstFields->AddItem("AREA", ItemKind::kNumberField);
  dialog.lstFields->AddItem("NAME", ItemKind::kTextField);
  While(dialog, [&] {
    auto& combo = Of<QComboBox>(*dialog.cmbLayer);
    EXPECT_EQ(picture(combo.itemIcon(0)), picture(QgsIconUtils::iconLine()));
    EXPECT_TRUE(combo.itemIcon(1).isNull());
    auto& list = Of<QListWidget>(*dialog.lstFields);
    EXPECT_EQ(picture(list.item(0)->icon()),
              picture(QgsFields::iconForFieldType(QVariant::Double)));
    EXPECT_EQ(picture(list.item(1)->icon()),
              picture(QgsFields::iconForFieldType(QVariant::String)));
    // The same words for something else.
    dialog.cmbLayer->Clear();
    dialog.cmbLayer->AddItem("roads");
    dialog.cmbLayer->AddItem("roads", ItemKind::kPolygonLayer);
    QCoreApplication::processEvents();
    EXPECT_TRUE(combo.itemIcon(0).isNull());
    EXPECT_EQ(picture(combo.itemIcon(1)), picture(QgsIconUtils::iconPolygon()));
  });
}

TEST_F(WindowTest, AnAmpersandIsShownAndMarksNoShortcut) {
  dialog.txtName->caption = "This & that:";
  While(dialog, [&] {
    const QWidget* caption = host.WindowOf(dialog)->Of(*dialog.txtName).caption;
    EXPECT_EQ(dynamic_cast<const QLabel&>(*caption).text(), QStringLiteral("This && that:"));
  });
}

TEST_F(WindowTest, WhatIsDisabledOrHiddenInTheModelIsSoInTheWindow) {
  While(dialog, [&] {
    dialog.txtName->Enable(false);
    dialog.cmbLayer->visible = false;
    QCoreApplication::processEvents();
    ControlWidget& name = host.WindowOf(dialog)->Of(*dialog.txtName);
    EXPECT_FALSE(name.Widget()->isEnabled());
    ASSERT_NE(name.caption, nullptr);
    EXPECT_FALSE(name.caption->isEnabled());
    ControlWidget& layer = host.WindowOf(dialog)->Of(*dialog.cmbLayer);
    EXPECT_FALSE(layer.Widget()->isVisible());
    EXPECT_FALSE(layer.caption->isVisible());
    WidgetHand hand(host);
    EXPECT_THAT(hand.Set(dialog, "txtName", "x"), HasSubstr("disabled"));
    EXPECT_THAT(hand.Set(dialog, "cmbLayer", "x"), HasSubstr("not visible"));
  });
}

TEST_F(WindowTest, ALetterTypedIsOneChange) {
  While(dialog, [&] {
    auto& box = Of<QLineEdit>(*dialog.txtName);
    Key(box, Qt::Key_A, QStringLiteral("a"));
    Key(box, Qt::Key_B, QStringLiteral("b"));
    EXPECT_EQ(dialog.txtName->text(), "ab");
    EXPECT_THAT(dialog.fired, ElementsAre("txtName", "txtName"));
    EXPECT_THAT(stepsTold, ElementsAre(Step{steps::Set{"txtName", "a"}, 0},
                                       Step{steps::Set{"txtName", "ab"}, 0}));
  });
}

TEST_F(WindowTest, TheArrowsStayWithinTheirBounds) {
  While(dialog, [&] {
    const auto arrows = Of<QWidget>(*dialog.udCount).findChildren<QToolButton*>();
    ASSERT_EQ(arrows.size(), 2);
    for (int i = 0; i < 12; ++i) arrows[0]->click();
    EXPECT_EQ(dialog.udCount->value(), 9);
    EXPECT_FALSE(arrows[0]->isEnabled());
    arrows[1]->click();
    EXPECT_EQ(dialog.txtCount->text(), "8");
    EXPECT_TRUE(arrows[0]->isEnabled());
  });
}

TEST_F(WindowTest, EnterPressesTheMainButtonAndEscClosesTheDialog) {
  While(dialog, [&] {
    Key(Of<QLineEdit>(*dialog.txtName), Qt::Key_Return);
    EXPECT_THAT(dialog.fired, ElementsAre("btnOK"));
    EXPECT_EQ(worksDone, 1);
    Key(*host.WindowOf(dialog), Qt::Key_Escape);
    EXPECT_FALSE(dialog.IsLoaded());
  });
}

TEST_F(WindowTest, TheCloseBoxGetsAUserOutOfADisabledDialog) {
  While(dialog, [&] {
    dialog.SetEnabled(false);
    EXPECT_FALSE(Of<QLineEdit>(*dialog.txtName).isEnabled());
    host.WindowOf(dialog)->close();
    EXPECT_FALSE(dialog.IsLoaded());
  });
}

TEST_F(WindowTest, EscDuringARunStopsItAndLeavesTheDialogOpen) {
  dialog.onRun = [&] {
    dialog.Try([&] {
      Key(Of<QLineEdit>(*dialog.txtName), Qt::Key_Escape);
      Yield();
      FAIL() << "the run went on";
    });
  };
  std::vector<bool> stopKnown;
  host.onStepDone = [&](const Dialog&, const Step&) { stopKnown.push_back(StopRequested()); };
  While(dialog, [&] {
    Of<QAbstractButton>(*dialog.btnOK).click();
    EXPECT_THAT(messages, ElementsAre("Trial: \r18\rUser interrupt occurred"));
    EXPECT_TRUE(dialog.IsVisible());
    EXPECT_FALSE(StopRequested());
    EXPECT_THAT(stopKnown, ElementsAre(true));
  });
}

TEST_F(WindowTest, TheCloseBoxDuringARunStopsIt) {
  dialog.onRun = [&] {
    dialog.Try([&] {
      host.WindowOf(dialog)->close();
      Yield();
      FAIL() << "the run went on";
    });
  };
  While(dialog, [&] {
    Of<QAbstractButton>(*dialog.btnOK).click();
    EXPECT_EQ(messages.size(), 1U);
    EXPECT_TRUE(dialog.IsVisible());
  });
}

TEST_F(WindowTest, ARunTakesNoSecondOne) {
  int runs = 0;
  dialog.onRun = [&] {
    ++runs;
    Key(Of<QAbstractButton>(*dialog.btnOK), Qt::Key_Space, QStringLiteral(" "));
    Key(Of<QLineEdit>(*dialog.txtName), Qt::Key_A, QStringLiteral("a"));
  };
  While(dialog, [&] {
    Of<QAbstractButton>(*dialog.btnOK).click();
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(dialog.txtName->text(), "");
    Key(Of<QLineEdit>(*dialog.txtName), Qt::Key_A, QStringLiteral("a"));
    EXPECT_EQ(dialog.txtName->text(), "a");
  });
}

TEST_F(WindowTest, StatusAndProgressAreSeenWhileARunIsOn) {
  QString status;
  int done = -1;
  dialog.onRun = [&] {
    dialog.Say("Half way");
    dialog.PBar->max = 2;
    dialog.PBar->SetValue(1);
    Yield();
    status = Of<QLineEdit>(*dialog.FindControl("txtStatus")).text();
    done = Of<QProgressBar>(*dialog.PBar).value();
  };
  While(dialog, [&] {
    Of<QAbstractButton>(*dialog.btnOK).click();
    EXPECT_EQ(status, QStringLiteral("Half way"));
    EXPECT_GT(done, 0);
  });
}

TEST_F(WindowTest, ADialogInsideAnotherComesFirst) {
  frmGetString inner;
  std::string seen;
  dialog.onRun = [&] {
    QTimer::singleShot(0, &host, [&] {
      EXPECT_EQ(host.Parent(), host.WindowOf(inner));
      WidgetHand hand(host);
      EXPECT_EQ(hand.Set(inner, "txtUserStr", "elk"), "");
      hand.Press(inner, *inner.btnOK);
    });
    gUserString.clear();
    inner.ShowModal();
    seen = gUserString;
  };
  While(dialog, [&] {
    Of<QAbstractButton>(*dialog.btnOK).click();
    EXPECT_EQ(seen, "elk");
    EXPECT_EQ(host.Parent(), host.WindowOf(dialog));
  });
}

TEST_F(WindowTest, ClosingAQuestionThatRepeatsStopsTheRun) {
  int asked = 0;
  dialog.onRun = [&] {
    dialog.Try([&] {
      for (gUserString.clear(); gUserString.empty(); CheckStop()) {
        frmGetString inner;
        ++asked;
        QTimer::singleShot(0, &host, [&] { Key(*host.WindowOf(inner), Qt::Key_Escape); });
        inner.ShowModal();
      }
    });
  };
  While(dialog, [&] {
    Of<QAbstractButton>(*dialog.btnOK).click();
    EXPECT_EQ(asked, 1);
    EXPECT_THAT(messages, ElementsAre("Trial: \r18\rUser interrupt occurred"));
    EXPECT_TRUE(dialog.IsVisible());
    EXPECT_FALSE(StopRequested());
  });
}

TEST_F(WindowTest, ClosingAReportStopsNothing) {
  bool isThrough = false;
  dialog.onRun = [&] {
    dialog.Try([&] {
      frmResultsReport report;
      QTimer::singleShot(0, &host, [&] { Key(*host.WindowOf(report), Qt::Key_Escape); });
      report.ShowModal();
      CheckStop();
      isThrough = true;
    });
  };
  While(dialog, [&] {
    Of<QAbstractButton>(*dialog.btnOK).click();
    EXPECT_TRUE(isThrough);
  });
}

TEST_F(WindowTest, EveryDialogFitsOnASmallScreen) {
  constexpr int kWidth = 1024, kHeight = 768, kTitleBar = 32;
  RegisterTools();
  std::vector<std::string> names;
  for (const CommandInfo& command : AllCommands())
    if (HasDialog(command.dialog)) names.push_back(command.dialog);
  ASSERT_GT(names.size(), 5U);
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    const auto made = NewDialog(name);
    DialogWindow* window = nullptr;
    host.DialogShown(*made);
    window = host.WindowOf(*made);
    ASSERT_NE(window, nullptr);
    // Somebody may want to look at them.
    if (const QString folder = qEnvironmentVariable("ORLINTHS_PICTURES"); !folder.isEmpty())
      window->grab().save(folder + QLatin1Char('/') + ToQt(name) + QStringLiteral(".png"));
    EXPECT_LE(window->sizeHint().width(), kWidth);
    EXPECT_LE(window->sizeHint().height(), kHeight - kTitleBar);
    host.DialogUnloaded(*made);
  }
}

TEST_F(WindowTest, TabGoesThroughTheControlsInTheirOrder) {
  While(dialog, [&] {
    const std::vector<Control*> expected = {dialog.txtName,  dialog.cmbLayer, dialog.lstFields,
                                            dialog.chkExtra, dialog.optOne,   dialog.optTwo,
                                            dialog.txtCount};
    QWidget* widget = &Of<QWidget>(*expected[0]);
    for (std::size_t i = 1; i < expected.size(); ++i) {
      QWidget* wanted = &Of<QWidget>(*expected[i]);
      int hops = 0;
      do {
        widget = widget->nextInFocusChain();
      } while (widget != wanted && !(widget->focusPolicy() & Qt::TabFocus) && ++hops < 50);
      EXPECT_EQ(widget, wanted) << expected[i]->name;
    }
  });
}

}  // namespace
}  // namespace orlinths
