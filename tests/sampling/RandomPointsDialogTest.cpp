// The dialog of random points: what it shows, when it refuses.
#include <gtest/gtest.h>

#include "RandomPointsFixture.h"
#include "host/WebHelp.h"
#include "runtime/Files.h"

namespace orlinths {
namespace {

const char* const kSquare = "POLYGON((0 0, 0 10, 10 10, 10 0, 0 0))";
const PlainSampler::Band kTwoByTwo{{{1, 2}, {3, 4}}, {0, 0, 20, 20}, 10, -9.0};

class RandomPointsDialogTest : public RandomPointsTest {
 protected:
  bool Shown(const std::string& name) {
    const Control& control = *(**hand_).FindControl(name);
    EXPECT_EQ(control.backColour == BackColour::kWindow, control.enabled()) << name;
    return control.enabled;
  }
};

TEST_F(RandomPointsDialogTest, HasItsControls) {
  const frmRandomPoints form;
  EXPECT_EQ(form.Name(), "frmRandomPoints");
  EXPECT_EQ(form.caption, "Random Point Generation");
  EXPECT_EQ(form.HelpTag(), "RANDOMPNTS");
  Texts lines;
  for (const auto& control : form.Controls())
    lines.push_back(std::string(KindName(control->Kind())) + " " + control->name + " [" +
                    control->caption() + "]" + (control->enabled ? "" : " off") +
                    (control->visible ? "" : " hidden"));
  EXPECT_EQ(
      lines,
      (Texts{"option optPolygon [Polygon layers (points generated within all/selected polygons)]",
             "option optRaster [Raster layers (points generated within extent of layer)]",
             "combo cmbLayers [Select layer:]",
             "check chkUseSelected [Use selected features only] off",
             "check chkPreventNoData [Prevent points from being located in NODATA cells] hidden",
             "check chkWeighted [Use raster as probability distribution] hidden",
             "check chkPrevent [Prevent points from occuring in the polygons of this layer:]",
             "combo cmbPreventL [] off",
             "option optTotal [Generate this number of random points:]",
             "text txtNPnts []",
             "option optPoly [Generate this number of points per polygon:]",
             "text txtExactCnt [] off",
             "option optDens [Generate this density of points per polygon:]",
             "text txtDens [] off",
             "option optFld [Generate number of points per polygon specified in this field:]",
             "combo cmbFld [] off",
             "combo cmbUID [Polygon unique ID field:] off",
             "check chkMinDist [Enforce minimum distance between points:]",
             "text txtMinDist [] off",
             "option optMinDistAll [Enforce minimum distance between ALL points] off",
             "option optMinDistWithin [Enforce minimum distance only within each polygon] off",
             "text txtOutput [Output shapefile:]",
             "button btnFolder [...]",
             "text txtStatus []",
             "progress PBar []",
             "button btnOK [OK]",
             "button btnExit [Exit]",
             "button btnHelp [Web Help]"}));
  EXPECT_EQ(dynamic_cast<TextBox*>(form.FindControl("txtOutput"))->picker,
            form.FindControl("btnFolder"));
}

TEST_F(RandomPointsDialogTest, WithoutLayersThereIsNothingToDo) {
  Open();
  EXPECT_EQ(Said(), std::vector<Message>({{"Error: no raster or polygon reference layers to work "
                                           "with.",
                                           kExclamation, "Error"}}));
  EXPECT_TRUE(IsOpen());
  EXPECT_FALSE(hand_->IsEnabled("btnOK"));
  EXPECT_FALSE(hand_->IsEnabled("optPoly"));
  EXPECT_FALSE(hand_->IsEnabled("optRaster"));
  EXPECT_TRUE(hand_->IsEnabled("optPolygon"));
  host_.messages.Clear();
  hand_->Choose("optPolygon");
  EXPECT_EQ(Said(), std::vector<Message>({{"ERROR: there are no polygon layers present in the map "
                                           "(nothing to work with).",
                                           kExclamation, "Warning"}}));
  hand_->Press("btnExit");
  EXPECT_FALSE(IsOpen());
}

TEST_F(RandomPointsDialogTest, StartsWithPolygonsWhereThereAreAny) {
  AddPolygons("zones", {kSquare});
  AddRaster("dem.tif", kTwoByTwo);
  AddPolygons("lakes", {kSquare});
  Open();
  EXPECT_TRUE(Said().empty());
  EXPECT_TRUE(hand_->IsChecked("optPolygon"));
  EXPECT_TRUE(hand_->IsChecked("optTotal"));
  EXPECT_TRUE(hand_->IsChecked("optMinDistAll"));
  EXPECT_EQ(hand_->Items("cmbLayers"), (Texts{"zones", "lakes"}));
  EXPECT_EQ(hand_->Items("cmbPreventL"), (Texts{"zones", "lakes"}));
  EXPECT_EQ(hand_->Text("cmbLayers"), "");
  EXPECT_TRUE(hand_->IsVisible("chkUseSelected"));
  EXPECT_FALSE(hand_->IsVisible("chkPreventNoData"));
  EXPECT_FALSE(hand_->IsVisible("chkWeighted"));
  for (const char* stratified : {"optPoly", "optDens", "optFld"})
    EXPECT_TRUE(hand_->IsEnabled(stratified));
  EXPECT_TRUE(Shown("txtNPnts"));
  for (const char* off :
       {"txtExactCnt", "txtDens", "cmbFld", "cmbUID", "txtMinDist", "cmbPreventL"})
    EXPECT_FALSE(Shown(off)) << off;
}

TEST_F(RandomPointsDialogTest, StartsWithRastersWhereThereAreNoPolygons) {
  AddRaster("dem.tif", kTwoByTwo);
  Open();
  EXPECT_TRUE(Said().empty());
  EXPECT_TRUE(hand_->IsChecked("optRaster"));
  EXPECT_FALSE(hand_->IsChecked("optPolygon"));
  EXPECT_EQ(hand_->Items("cmbLayers"), Texts{"dem.tif"});
  EXPECT_TRUE(hand_->Items("cmbPreventL").empty());
  EXPECT_FALSE(hand_->IsVisible("chkUseSelected"));
  EXPECT_TRUE(hand_->IsVisible("chkPreventNoData"));
  EXPECT_TRUE(hand_->IsVisible("chkWeighted"));
  for (const char* stratified : {"optPoly", "optDens", "optFld"})
    EXPECT_FALSE(hand_->IsEnabled(stratified));
  hand_->Choose("optPolygon");
  EXPECT_EQ(host_.Messages(), Texts{"ERROR: there are no polygon layers present in the map "
                                    "(nothing to work with)."});
}

TEST_F(RandomPointsDialogTest, WarnsWhenThereIsNoRaster) {
  AddPolygons("zones", {kSquare});
  Open().Choose("optRaster");
  EXPECT_EQ(Said(), std::vector<Message>({{"ERROR: there are no raster layers present in the map "
                                           "(nothing to work with).",
                                           kExclamation, "Warning"}}));
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(hand_->Items("cmbPreventL"), Texts{"zones"});
}

TEST_F(RandomPointsDialogTest, ClosesWhenThereIsNoLayerLeft) {
  AddPolygons("zones", {kSquare});
  Open();
  host_.map.Clear();
  hand_->Choose("optRaster");
  EXPECT_EQ(Said(),
            std::vector<Message>({{"ERROR: there are no polygon or raster layers present in "
                                   "the map (nothing to work with).",
                                   kExclamation, "Warning"}}));
  EXPECT_FALSE(IsOpen());
}

TEST_F(RandomPointsDialogTest, AChangeOfModeStartsAnew) {
  AddPolygons("zones", {kSquare})->SetSelectionSet(ISelectionSet({0}));
  AddRaster("dem.tif", kTwoByTwo);
  OpenOn("zones");
  hand_->Check("chkUseSelected").Check("chkPrevent").Choose("cmbPreventL", "zones");
  hand_->Choose("optFld").Choose("cmbFld", "NUM").Choose("cmbUID", "NAME");
  hand_->Check("chkMinDist").Choose("optMinDistWithin");
  hand_->Choose("optRaster");
  EXPECT_EQ(hand_->Items("cmbLayers"), Texts{"dem.tif"});
  EXPECT_EQ(hand_->Items("cmbPreventL"), Texts{"zones"});
  EXPECT_EQ(hand_->Text("cmbPreventL"), "");
  EXPECT_TRUE(Shown("cmbPreventL"));
  EXPECT_TRUE(hand_->Items("cmbFld").empty());
  EXPECT_EQ(hand_->Text("txtOutput"), "");
  EXPECT_TRUE(hand_->IsChecked("optTotal"));
  EXPECT_TRUE(hand_->IsChecked("optMinDistAll"));
  EXPECT_FALSE(hand_->IsEnabled("optMinDistWithin"));
  EXPECT_FALSE(Shown("cmbFld"));
  EXPECT_FALSE(Shown("cmbUID"));
  EXPECT_TRUE(Shown("txtNPnts"));
  EXPECT_FALSE(hand_->IsVisible("chkUseSelected"));
  EXPECT_FALSE(hand_->IsChecked("chkUseSelected"));
  hand_->Choose("optPolygon");
  EXPECT_EQ(hand_->Items("cmbLayers"), Texts{"zones"});
  EXPECT_TRUE(hand_->IsVisible("chkUseSelected"));
  EXPECT_FALSE(hand_->IsEnabled("chkUseSelected"));
  EXPECT_FALSE(hand_->IsVisible("chkWeighted"));
  EXPECT_TRUE(hand_->IsEnabled("optDens"));
}

TEST_F(RandomPointsDialogTest, ALayerBringsItsFieldsAndItsSelection) {
  WriteOgr(
      Path("all.shp"),
      {"Polygon",
       "",
       {{"SMALL", "Integer", 4}, {"NAME", "String", 9}, {"DAY", "Date"}, {"HA", "Real", 12, 3}},
       {{kSquare, {"1", "x", "2026/01/02", "0.5"}}}});
  const auto all = host_.AddLayer(Path("all.shp"));
  AddPolygons("zones", {kSquare, kSquare})->SetSelectionSet(ISelectionSet({1}));
  Open().Choose("cmbLayers", "all");
  EXPECT_EQ(hand_->Items("cmbFld"), (Texts{"SMALL", "HA"}));
  EXPECT_EQ(hand_->Items("cmbUID"), (Texts{"FID", "SMALL", "NAME", "DAY", "HA"}));
  EXPECT_FALSE(hand_->IsEnabled("chkUseSelected"));
  hand_->Choose("cmbLayers", "zones");
  EXPECT_EQ(hand_->Items("cmbFld"), Texts{"NUM"});
  EXPECT_EQ(hand_->Items("cmbUID"), (Texts{"FID", "NUM", "NAME"}));
  EXPECT_TRUE(hand_->IsEnabled("chkUseSelected"));
  hand_->Check("chkUseSelected").Choose("cmbLayers", "zones");
  EXPECT_TRUE(hand_->IsChecked("chkUseSelected"));
  hand_->Choose("cmbLayers", "all");
  EXPECT_FALSE(hand_->IsChecked("chkUseSelected"));
  EXPECT_FALSE(hand_->IsEnabled("chkUseSelected"));
}

TEST_F(RandomPointsDialogTest, EachDesignHasItsOwnInput) {
  AddPolygons("zones", {kSquare});
  Open();
  const std::vector<std::pair<const char*, const char*>> designs = {{"optPoly", "txtExactCnt"},
                                                                    {"optDens", "txtDens"},
                                                                    {"optFld", "cmbFld"},
                                                                    {"optTotal", "txtNPnts"}};
  for (const auto& [option, own] : designs) {
    hand_->Choose(option);
    for (const auto& [other, input] : designs)
      EXPECT_EQ(Shown(input), std::string(input) == own) << option << ' ' << input;
    EXPECT_EQ(Shown("cmbUID"), std::string(option) != "optTotal");
  }
}

TEST_F(RandomPointsDialogTest, DistanceWithinPolygonsNeedsAStratifiedDesign) {
  AddPolygons("zones", {kSquare});
  Open().Check("chkMinDist");
  EXPECT_TRUE(Shown("txtMinDist"));
  EXPECT_TRUE(hand_->IsEnabled("optMinDistAll"));
  EXPECT_FALSE(hand_->IsEnabled("optMinDistWithin"));
  hand_->Choose("optDens");
  EXPECT_TRUE(hand_->IsEnabled("optMinDistWithin"));
  hand_->Choose("optMinDistWithin").Choose("optFld");
  EXPECT_TRUE(hand_->IsChecked("optMinDistWithin"));
  hand_->Choose("optTotal");
  EXPECT_TRUE(hand_->IsChecked("optMinDistAll"));
  EXPECT_FALSE(hand_->IsChecked("optMinDistWithin"));
  EXPECT_FALSE(hand_->IsEnabled("optMinDistWithin"));
  hand_->Choose("optPoly").Check("chkMinDist", false);
  EXPECT_FALSE(Shown("txtMinDist"));
  EXPECT_FALSE(hand_->IsEnabled("optMinDistAll"));
  EXPECT_FALSE(hand_->IsEnabled("optMinDistWithin"));
}

TEST_F(RandomPointsDialogTest, WeightsKeepPointsOffNoData) {
  AddRaster("dem.tif", kTwoByTwo);
  Open().Check("chkWeighted");
  EXPECT_TRUE(hand_->IsChecked("chkPreventNoData"));
  hand_->Check("chkWeighted", false);
  EXPECT_TRUE(hand_->IsChecked("chkPreventNoData"));
  hand_->Check("chkWeighted").Check("chkPreventNoData", false);
  EXPECT_TRUE(hand_->IsChecked("chkWeighted"));
}

TEST_F(RandomPointsDialogTest, TheExclusionListFollowsItsBox) {
  AddPolygons("zones", {kSquare});
  Open().Check("chkPrevent");
  EXPECT_TRUE(Shown("cmbPreventL"));
  hand_->Check("chkPrevent", false);
  EXPECT_FALSE(Shown("cmbPreventL"));
}

TEST_F(RandomPointsDialogTest, TheNumberIsCheckedAsItIsTyped) {
  AddPolygons("zones", {kSquare});
  Open();
  for (const char* good : {"12", " 7 ", "-3", "", "1e3", "+5"}) hand_->Set("txtNPnts", good);
  EXPECT_TRUE(Said().empty());
  for (const char* bad : {"2.5", "x", "12a", ".", "1.0", " "}) {
    host_.messages.Clear();
    hand_->Set("txtNPnts", bad);
    EXPECT_EQ(Said(), std::vector<Message>(
                          {{"ERROR: value must be an integer.", kCritical, "Invalid Entry"}}))
        << bad;
    EXPECT_EQ(hand_->Text("txtNPnts"), bad);
  }
}

TEST_F(RandomPointsDialogTest, RefusesInOrder) {
  AddPolygons("zones", {kSquare});
  Open().Check("chkMinDist");
  ExpectRefusal("ERROR: no layer selected.");
  hand_->Choose("cmbLayers", "zones");
  ExpectRefusal("ERROR: number of points to generate not defined.");
  hand_->Choose("optPoly");
  ExpectRefusal("ERROR: number of points to generate not defined.");
  hand_->Choose("optDens");
  ExpectRefusal("ERROR: density of points to generate not defined.");
  hand_->Choose("optFld");
  ExpectRefusal("ERROR: attribute field (number of points to generate) not defined.");
  hand_->Choose("cmbFld", "NUM");
  const char* const noId =
      "ERROR: a unique ID field for the polygon layer must be specified for any of the stratified "
      "sampling options. Use the FID field if you have no other appropriate ID field.";
  ExpectRefusal(noId);
  hand_->Choose("optPoly").Set("txtExactCnt", "3");
  ExpectRefusal(noId);
  hand_->Choose("optDens").Set("txtDens", "3");
  ExpectRefusal(noId);
  hand_->Choose("cmbUID", "FID");
  ExpectRefusal("ERROR: a minimum distance between points has not been specified.");
  hand_->Choose("optTotal").Set("txtNPnts", "3");
  ExpectRefusal("ERROR: a minimum distance between points has not been specified.");
  hand_->Set("txtMinDist", "1");
  ExpectRefusal("ERROR: output shapefile not defined.");
}

TEST_F(RandomPointsDialogTest, PicksAShapefile) {
  AddPolygons("zones", {kSquare});
  Open().CancelPick("btnFolder");
  EXPECT_EQ(hand_->Text("txtOutput"), "");
  hand_->Pick("btnFolder", Path("out.shp"));
  EXPECT_EQ(hand_->Text("txtOutput"), Path("out.shp"));
  EXPECT_EQ(host_.dialogs.questions.back().title, "Save Shapefile As...");
  EXPECT_EQ(host_.dialogs.questions.back().filter, IDialogHost::Filter::kShapefiles);
  EXPECT_EQ(host_.dialogs.questions.back().startFolder, "");
  EXPECT_TRUE(host_.dialogs.questions.back().save);
}

TEST_F(RandomPointsDialogTest, OpensItsHelpPage) {
  AddPolygons("zones", {kSquare});
  Open().Press("btnHelp");
  ASSERT_EQ(host_.messages.shellTargets.size(), 1u);
  EXPECT_TRUE(host_.messages.shellTargets[0].ends_with("otools/rndpnts.php"));
}

TEST_F(RandomPointsDialogTest, OpensFromItsCommand) {
  RegisterDialog("frmRandomPoints", [] { return std::make_unique<frmRandomPoints>(); });
  AddPolygons("zones", {kSquare});
  Hand hand = host_.Click("clsRndPnt");
  EXPECT_EQ(hand->Name(), "frmRandomPoints");
  hand.Press("btnExit");
}

}  // namespace
}  // namespace orlinths
