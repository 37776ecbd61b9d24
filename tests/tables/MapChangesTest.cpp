// The map and the dialog change while a tool is at work: it ends with what it began with.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AtYield.h"
#include "support/ToolTest.h"
#include "tables/AddArea.h"
#include "tables/AddLength.h"
#include "tables/AddXY.h"
#include "tables/SumValues.h"
#include "tables/UniqueValues.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MapChangesTest : public ToolTest {
 protected:
  /// The first of the two is worked on; on the way the user chooses the other and takes both away.
  void AddTwo(const std::string& type, const std::vector<std::string>& shapes) {
    OgrDataset data{.type = type, .reference = "EPSG:32631", .columns = {{"N", "Integer", 4}}};
    for (const std::string& wkt : shapes) data.records.push_back({wkt, {"3"}});
    AddLayer("data.shp", data);
    AddLayer("other.shp", data);
    otherBefore_ = Bytes("other");
  }
  void ChangeAtProgressOf(const std::string& message, const std::string& combo) {
    AtProgressOf(message, [this, combo] {
      Set(combo, "other");
      host_.map.Clear();
      isChanged_ = true;
    });
  }
  void ExpectTheOtherLeftAlone() {
    EXPECT_TRUE(isChanged_);
    EXPECT_EQ(Bytes("other"), otherBefore_);
  }

  std::string otherBefore_;
  bool isChanged_ = false;
};

TEST_F(MapChangesTest, AreasAndPerimetersGoWhereTheyBegan) {
  AddTwo("Polygon", {"POLYGON((0 0, 0 2, 3 2, 3 0, 0 0))", "POLYGON((0 0, 0 1, 1 1, 1 0, 0 0))"});
  Open<frmAddArea>();
  Set("cmbPFL", "data");
  ChangeAtProgressOf("Calculating areas...", "cmbPFL");
  Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("Processing complete."));
  EXPECT_THAT(Table("data").Numbers("AREA"), ElementsAre(6, 1));
  EXPECT_THAT(Table("data").Numbers("PERIMETER"), ElementsAre(10, 4));
  ExpectTheOtherLeftAlone();
}

TEST_F(MapChangesTest, LengthsGoWhereTheyBegan) {
  AddTwo("Line String", {"LINESTRING(0 0, 3 4)", "LINESTRING(0 0, 0 1)"});
  Open<frmAddLength>();
  Set("cmbL", "data");
  ChangeAtProgressOf("Calculating length field...", "cmbL");
  Press("btnOK");
  EXPECT_THAT(Table("data").Numbers("Length"), ElementsAre(5, 1));
  ExpectTheOtherLeftAlone();
}

TEST_F(MapChangesTest, PlacesGoWhereTheyBegan) {
  AddTwo("Point", {"POINT(500000 1)", "POINT(500001 2)"});
  Open<frmAddXY>();
  Set("cmbL", "data");
  Set("txtXFldName", "X");
  Set("txtYFldName", "Y");
  ChangeAtProgressOf("Calculating XY locations...", "cmbL");
  Press("btnOK");
  EXPECT_THAT(TextsOf(said()), ElementsAre("Processing complete."));
  EXPECT_THAT(Table("data").Numbers("X"), ElementsAre(500000, 500001));
  EXPECT_THAT(Table("data").Numbers("Y"), ElementsAre(1, 2));
  ExpectTheOtherLeftAlone();
}

TEST_F(MapChangesTest, SumsAndListsAreOfAllRows) {
  AddTwo("Point", std::vector<std::string>(5000, "POINT(1 1)"));
  const auto takeAway = [this] {
    host_.map.Clear();
    isChanged_ = true;
  };
  Open<frmSumValues>();
  Set("cmbLayers", "data");
  Set("cmbFldS", "N");
  {
    const AtYield inTheMiddle(1, takeAway);
    Press("btnOK");
  }
  EXPECT_EQ(dynamic_cast<TextBox&>(At("txtResults")).text(), "15000");
  AddFile("data.shp");
  Open<frmUV>();
  Set("cmbLayers", "data");
  Set("cmbFldS", "N");
  {
    const AtYield inTheMiddle(1, takeAway);
    Press("btnOK");
  }
  EXPECT_EQ(dynamic_cast<TextBox&>(At("txtResults")).text(), "3");
  EXPECT_THAT(said(), IsEmpty());
  ExpectTheOtherLeftAlone();
}

}  // namespace
}  // namespace orlinths
