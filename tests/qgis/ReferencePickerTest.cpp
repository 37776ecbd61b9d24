// The choice of a spatial reference in QGIS's own window.
#include "qgis/ReferencePicker.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTimer>

#include <qgsprojectionselectiondialog.h>

#include "host/Pickers.h"
#include "qgis/Refill.h"
#include "qgis/WindowHost.h"
#include "session/References.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class frmTrial : public Dialog {
 public:
  frmTrial() : Dialog("frmTrial", "Trial") {
    txtSR = Add<TextBox>("txtSR", "Projection definition:");
    btnProj = Add<Button>("btnProj", "...");
    txtSR->picker = btnProj;
    txtSR->picks = Picks::kSpatialReference;
    btnProj->OnClick = [this] { PickSpatialReference(*this, reference, *txtSR); };
    AddOkButton();
  }
  TextBox* txtSR;
  Button* btnProj;
  SpatialReferencePtr reference;
};

class ReferencePicker : public ::testing::Test {
 protected:
  ReferencePicker() : host(nullptr), before_(SetDialogHost(&host)) {
    dialog.reference = UnknownCoordinateSystem();
    host.onPick = [this](const steps::Pick& pick) { picks.push_back(pick); };
  }
  ~ReferencePicker() override { SetDialogHost(before_); }

  void While(const std::function<void()>& user) {
    QTimer::singleShot(0, &host, [&] {
      user();
      if (dialog.IsVisible()) dialog.Unload();
    });
    dialog.ShowModal();
  }
  /// Presses the picker, and uses QGIS's window once it is there.
  void Press(const std::function<void(QgsProjectionSelectionDialog&)>& user) {
    bool wasSeen = false;
    QTimer::singleShot(0, &host, [&] {
      auto* window = dynamic_cast<QgsProjectionSelectionDialog*>(QApplication::activeModalWidget());
      ASSERT_NE(window, nullptr);
      wasSeen = true;
      user(*window);
    });
    auto* button =
        dynamic_cast<QAbstractButton*>(host.WindowOf(dialog)->Of(*dialog.btnProj).Widget());
    ASSERT_NE(button, nullptr);
    button->click();
    EXPECT_TRUE(wasSeen);
  }
  static void Accept(QgsProjectionSelectionDialog& window) {
    auto* buttons = window.findChild<QDialogButtonBox*>();
    ASSERT_NE(buttons, nullptr);
    ASSERT_TRUE(buttons->button(QDialogButtonBox::Ok)->isEnabled());
    buttons->button(QDialogButtonBox::Ok)->click();
  }
  static QgsCoordinateReferenceSystem Crs(const char* code) {
    return QgsCoordinateReferenceSystem(QString::fromLatin1(code));
  }

  WindowHost host;
  frmTrial dialog;
  std::vector<steps::Pick> picks;

 private:
  IDialogHost* before_;
};

TEST_F(ReferencePicker, GivesWhatTheUserChooses) {
  dialog.reference = SpatialReferenceFromText("EPSG:2169");
  While([&] {
    Press([&](QgsProjectionSelectionDialog& window) {
      EXPECT_EQ(window.windowTitle(), QStringLiteral("Projection definition"));
      EXPECT_EQ(window.crs().authid(), QStringLiteral("EPSG:2169"));
      window.setCrs(Crs("EPSG:32612"));
      Accept(window);
    });
    EXPECT_EQ(dialog.reference->FactoryCode(), 32612);
    EXPECT_EQ(dialog.txtSR->text(), "WGS 84 / UTM zone 12N");
    EXPECT_THAT(picks, ElementsAre(steps::Pick{"EPSG:32612", "", true}));
  });
}

TEST_F(ReferencePicker, ChangesNothingWhenCancelled) {
  const auto before = dialog.reference = SpatialReferenceFromText("EPSG:2169");
  While([&] {
    Press([&](QgsProjectionSelectionDialog& window) {
      window.setCrs(Crs("EPSG:32612"));
      window.reject();
    });
    EXPECT_EQ(dialog.reference, before);
    EXPECT_EQ(dialog.txtSR->text(), "");
    ASSERT_EQ(picks.size(), 1U);
    EXPECT_FALSE(picks[0].text);
    EXPECT_TRUE(picks[0].isReference);
  });
}

TEST_F(ReferencePicker, LeavesTheReferenceThatIsLeftAsItIs) {
  // The words of a shapefile that another program has written.
  const auto own = dialog.reference = SpatialReferenceFromText(
      R"(PROJCS["My grid",GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",)"
      R"(SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],)"
      R"(UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],)"
      R"(PARAMETER["False_Easting",510000.0],PARAMETER["False_Northing",0.0],)"
      R"(PARAMETER["Central_Meridian",-111.0],PARAMETER["Scale_Factor",0.9996],)"
      R"(PARAMETER["Latitude_Of_Origin",0.0],UNIT["Meter",1.0]])");
  While([&] {
    Press([&](QgsProjectionSelectionDialog& window) { Accept(window); });
    EXPECT_EQ(dialog.reference, own);
    EXPECT_EQ(dialog.txtSR->text(), "My grid");
    ASSERT_EQ(picks.size(), 1U);
    EXPECT_EQ(ReferenceNamed(*picks[0].text)->Wkt(), own->Wkt());
  });
}

TEST_F(ReferencePicker, OffersNoReferenceToo) {
  dialog.reference = SpatialReferenceFromText("EPSG:2169");
  While([&] {
    Press([&](QgsProjectionSelectionDialog& window) {
      window.setCrs(QgsCoordinateReferenceSystem());
      EXPECT_TRUE(window.showNoProjection());
      Accept(window);
    });
    EXPECT_TRUE(dialog.reference->IsUnknown());
    EXPECT_EQ(dialog.txtSR->text(), "Unknown Coordinate System");
    EXPECT_THAT(picks, ElementsAre(steps::Pick{"Unknown Coordinate System", "", true}));
  });
}

TEST_F(ReferencePicker, FillsInARunOfBefore) {
  Session session;
  session.steps = {
      {steps::Press{"btnProj", steps::Pick{"EPSG:32612", "", true}}, 0},
      {steps::Press{"btnProj", steps::Pick{"EPSG:99999999", "", true}}, 0},
      {steps::Press{"btnOK", {}}, 0},
  };
  While([&] {
    const QStringList wrongs =
        Refill(dialog, session, host, [](const std::string&) { return true; });
    EXPECT_EQ(dialog.txtSR->text(), "WGS 84 / UTM zone 12N");
    ASSERT_EQ(wrongs.size(), 1);
    EXPECT_TRUE(wrongs[0].contains(QStringLiteral("EPSG:99999999")));
    EXPECT_THAT(picks, ElementsAre(steps::Pick{"EPSG:32612", "", true}));
  });
}

}  // namespace
}  // namespace orlinths
