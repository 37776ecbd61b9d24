#include "overlay/PointsInPolygons.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/FieldsAndDatasets.h"
#include "overlay/IntersectTest.h"
#include "support/RandomShapes.h"
#include "support/Seeded.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Names = std::optional<std::vector<std::string>>;

class PointsInPolygonsTest : public IntersectTest {
 protected:
  PointsInPolygonsTest() { InitMapGlobals(); }

  bool Intersect(const std::shared_ptr<IFeatureLayer>& points,
                 const std::shared_ptr<IFeatureLayer>& polygons, const Names& names,
                 bool suppress = false) {
    IntersectReport report;
    const bool result = ISectPntPoly(points->FeatureClass(), *polygons, suppress, names, report);
    reportText_ = report.Text();
    CommitAllEdits();
    return result;
  }
  std::string reportText_;
};

const std::string kWarningOf1 =
    "WARNING: 1 points were detected that fell outside the bounds of stands\r"
    "Care should be taken when using the data attached to the point layer.";

// ---- Which polygon

TEST_F(PointsInPolygonsTest, TheFirstPolygonAtAPointWins) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)",    // the first square alone
                                                     "POINT(12 3)",   // the second and the third
                                                     "POINT(12 15)",  // the third alone
                                                     "POINT(10 3)",   // an edge of both squares
                                                     "POINT(20 10)",  // a corner
                                                     "POINT(20.001 10)", ""}));
  const auto stands = AddLayer("stands.shp", Stands());
  EXPECT_TRUE(Intersect(fixes, stands, Names({"AGE", "SPECIES"})));
  EXPECT_THAT(Table("fixes").Numbers("AGE"), ElementsAre(80, 120, 7, 80, 120, 0, 0));
  EXPECT_THAT(Table("fixes").Texts("SPECIES"),
              ElementsAre("pine", "fir", "", "pine", "fir", "", ""));
  EXPECT_EQ(reportText_,
            "Intersect Point Tool"
            "\r"
            "\rPolygon intersect layer: stands"
            "\rAdded field AGE"
            "\rAdded field SPECIES"
            "\r7 points processed"
            "\r2 points detected that fell outside the bounds of stands"
            "\rProcessing of layer completed successfully");
  ASSERT_EQ(said().size(), 1u);
  EXPECT_EQ(said()[0],
            (Message{"WARNING: 2 points were detected that fell outside the bounds of stands\r"
                     "Care should be taken when using the data attached to the point layer.",
                     kExclamation, "Warning"}));
}

TEST_F(PointsInPolygonsTest, APointOutsideKeepsItsNulls) {
  const auto fixes = AddLayer("fixes.gpkg", PointsAt({"POINT(2 3)", "POINT(50 50)"}));
  const auto stands = AddLayer("stands.shp", Stands());
  EXPECT_TRUE(Intersect(fixes, stands, Names({"AGE", "SPECIES", "FELLED"}), true));
  const OgrDataset table = ReadOgr(Path("fixes.gpkg"));
  EXPECT_THAT(table.records[0].values, ElementsAre("p0", "80", "pine", "2019/05/04 00:00:00"));
  EXPECT_THAT(table.records[1].values, ElementsAre("p1", "", "", ""));
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(PointsInPolygonsTest, NullsAreCopiedAsNulls) {
  OgrDataset stands = Stands();
  stands.columns = {{"N", "Integer"}, {"R", "Real"}, {"T", "String"}, {"D", "Date"}};
  for (OgrRecord& record : stands.records) record.values = {};
  const auto layer = AddLayer("stands.gpkg", stands);
  const auto fixes = AddLayer("fixes.gpkg", PointsAt({"POINT(2 3)"}));
  EXPECT_TRUE(Intersect(fixes, layer, Names({"N", "R", "T", "D"})));
  EXPECT_THAT(ReadOgr(Path("fixes.gpkg")).records[0].values, ElementsAre("p0", "", "", "", ""));
}

TEST_F(PointsInPolygonsTest, ADefinitionQueryLetsTheNextPolygonWin) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(7 3)", "POINT(2 3)"}));
  const auto stands = AddLayer("stands.shp", Stands());
  stands->SetDefinitionQuery("AGE <> 80");
  stands->AddToSelection(0);  // selections do not count
  EXPECT_TRUE(Intersect(fixes, stands, Names({"AGE"})));
  EXPECT_THAT(Table("fixes").Numbers("AGE"), ElementsAre(7, 0));
  EXPECT_THAT(TextsOf(said()), ElementsAre(kWarningOf1));
}

TEST_F(PointsInPolygonsTest, SelectionsAndQueriesOfThePointsDoNotCount) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)", "POINT(12 3)"}));
  fixes->SetDefinitionQuery("NAME = 'p0'");
  fixes->AddToSelection(0);
  EXPECT_TRUE(Intersect(fixes, AddLayer("stands.shp", Stands()), Names({"AGE"})));
  EXPECT_THAT(Table("fixes").Numbers("AGE"), ElementsAre(80, 120));
}

TEST_F(PointsInPolygonsTest, AgreesWithALinearSearchOnRandomPolygons) {
  Seeded random("PointsInPolygonsTest.AgreesWithALinearSearchOnRandomPolygons");
  for (int i = 0; i < 12; ++i) {
    OgrDataset zones{.type = "Polygon", .reference = kUtm, .columns = {{"CODE", "Integer", 9}}};
    std::vector<Polygon> plain;
    for (int zone = 0; zone < 30; ++zone) {
      plain.push_back(RandomPolygon(random, {.holes = 1, .vertices = 20, .size = 100}));
      const std::string wkt = AsWkt(plain.back());
      zones.records.push_back({wkt, {std::to_string(1000 + zone)}});
    }
    std::vector<Coord> places;
    std::vector<double> expected;
    for (int point = 0; point < 300; ++point) {
      const Coord at{random.Real(-10, 110), random.Real(-10, 110)};
      places.push_back(at);
      double code = 0;
      for (std::size_t zone = 0; zone < plain.size() && code == 0; ++zone) {
        // Crossings of a ray to the east, ring by ring.
        bool inside = false;
        for (int ring = 0; ring < plain[zone].PartCount(); ++ring) {
          const auto run = plain[zone].Part(ring);
          for (std::size_t v = 1; v < run.size(); ++v) {
            const Coord &a = run[v - 1], &b = run[v];
            if ((a.y > at.y) != (b.y > at.y) &&
                at.x < a.x + (at.y - a.y) / (b.y - a.y) * (b.x - a.x))
              inside = !inside;
          }
        }
        if (inside) code = 1000 + static_cast<double>(zone);
      }
      expected.push_back(code);
    }
    const std::string name = "run" + std::to_string(i);
    const auto fixes = AddLayer(name + ".shp", PointsOn(places));
    const auto layer = AddLayer(name + "_zones.shp", zones);
    ASSERT_TRUE(Intersect(fixes, layer, Names({"CODE"}), true));
    ASSERT_THAT(Table(name).Numbers("CODE"), ElementsAreArray(expected));
  }
}

// ---- Fields

TEST_F(PointsInPolygonsTest, ThreeNamesTakeTheBeginningOfTheLayers) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  const auto stands = AddLayer("stands.shp", Stands());
  stands->SetName("Forest stands");  // as it stands, uncleaned
  EXPECT_TRUE(Intersect(fixes, stands, {}));
  stands->SetName("a b");
  EXPECT_TRUE(Intersect(fixes, stands, Names({"FID", "AREA", "PERIMETER"})));
  EXPECT_THAT(Table("fixes").ColumnNames(),
              ElementsAre("NAME", "Forest_FID", "Fores_AREA", "Forest_PER", "SPECIES", "AGE",
                          "FELLED", "a b_FID", "a b_AREA", "a b_PER"));
}

TEST_F(PointsInPolygonsTest, TheCaseOfThoseNamesCounts) {
  OgrDataset stands = Stands();
  stands.columns[0].name = "Area";
  stands.columns[1].name = "perimeter";
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  EXPECT_TRUE(Intersect(fixes, AddLayer("stands.shp", stands), Names({"Area", "perimeter"})));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "Area", "perimeter"));
}

TEST_F(PointsInPolygonsTest, CharactersAreNotCutInTwo) {
  const auto fixes = AddLayer("fixes.gpkg", PointsAt({"POINT(2 3)"}));
  const auto stands = AddLayer("stands.shp", Stands());
  stands->SetName("Grünwälder");
  EXPECT_TRUE(Intersect(fixes, stands, Names({"FID"})));
  EXPECT_THAT(ReadOgr(Path("fixes.gpkg")).ColumnNames(), ElementsAre("NAME", "Grünwä_FID"));
}

TEST_F(PointsInPolygonsTest, FieldsKeepTheirTypesAndTheFidBecomesAWholeNumber) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(12 3)"}));
  EXPECT_TRUE(Intersect(fixes, AddLayer("stands.shp", Stands()), {}));
  std::vector<FieldType> types;
  for (const Field& field : fixes->FeatureClass().Fields()) types.push_back(field.type);
  EXPECT_THAT(types, ElementsAre(FieldType::kOid, FieldType::kGeometry, FieldType::kText,
                                 FieldType::kInteger, FieldType::kDouble, FieldType::kDouble,
                                 FieldType::kText, FieldType::kSmallInteger, FieldType::kDate));
  const Fields& fields = fixes->FeatureClass().Fields();
  EXPECT_EQ(fields[fields.FindField("SPECIES")].length, 12);
  EXPECT_THAT(Table("fixes").records[0].values,
              ElementsAre("p0", "1", "100.5", "41", "fir", "120", "2021/10/31"));
}

TEST_F(PointsInPolygonsTest, TextThatNeedsMoreBytesThanItsColumnGetsThem) {
  // 12 characters of a GeoPackage may be 24 bytes in a dBASE table; no length at all is 50.
  const std::string umlauts = "ÄÖÜäöüÄÖÜäöü", sentence(120, 'x');
  OgrDataset stands = Stands();
  stands.columns = {{"SPECIES", "String", 12}, {"NOTE", "String"}, {"SHORT", "String"}};
  for (OgrRecord& record : stands.records) record.values = {umlauts, sentence, "ok"};
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  EXPECT_TRUE(
      Intersect(fixes, AddLayer("stands.gpkg", stands), Names({"SPECIES", "NOTE", "SHORT"})));
  EXPECT_THAT(said(), IsEmpty());
  EXPECT_THAT(Table("fixes").records[0].values, ElementsAre("p0", umlauts, sentence, "ok"));
  const Fields& fields = fixes->FeatureClass().Fields();
  EXPECT_EQ(fields[fields.FindField("SHORT")].length, 50);
}

TEST_F(PointsInPolygonsTest, ATakenNameIsAskedForOnce) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  fixes->FeatureClass().AddField(MakeField("age", FieldType::kInteger, 16, false, true));
  const auto stands = AddLayer("stands.shp", Stands());
  host_.dialogs.WhenOpened("frmGetString", [](Hand hand) {
    EXPECT_EQ(hand.Text("lblExplanation"),
              "A valid field name could not be automatically generated, or the field already "
              "exists. Please supply a name for the field to hold the attributes for layer: "
              "stands.");
    hand.Set("txtUserStr", "my age.old").Press("btnOK");
  });
  EXPECT_TRUE(Intersect(fixes, stands, Names({"AGE", "SPECIES"})));
  // The cleaned text, "myage", is tested; the text up to its first point is used.
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "age", "my age", "SPECIES"));
  EXPECT_THAT(Table("fixes").Numbers("my age"), ElementsAre(80));
  EXPECT_THAT(reportText_, HasSubstr("\rAdded field my age\rAdded field SPECIES\r"));
}

TEST_F(PointsInPolygonsTest, ASecondClashLeavesOutThatFieldAndAllBehindIt) {
  for (const std::string answer : {"", "Name", "na$me", ".x"}) {
    SCOPED_TRACE(answer);
    const std::string file = "fixes" + std::to_string(answer.size());
    const auto fixes = AddLayer(file + ".shp", PointsAt({"POINT(2 3)"}));
    fixes->FeatureClass().AddField(MakeField("SPECIES", FieldType::kInteger, 16, false, true));
    const auto stands = AddLayer("s" + file + ".shp", Stands());
    AnswerName(answer);
    EXPECT_TRUE(Intersect(fixes, stands, Names({"PERIMETER", "SPECIES", "AGE"})));
    const OgrDataset table = Table(file);
    EXPECT_EQ(table.columns.size(), 3u);  // NAME, SPECIES and the perimeter
    EXPECT_EQ(table.records[0].values.back(), "40");
    EXPECT_THAT(reportText_, HasSubstr("_PER\r1 points processed"));
  }
}

TEST_F(PointsInPolygonsTest, WithoutAnyTargetThePointsAreStillCounted) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)", "POINT(50 50)"}));
  fixes->FeatureClass().AddField(MakeField("AGE", FieldType::kInteger, 16, false, true));
  AnswerName("");
  EXPECT_TRUE(Intersect(fixes, AddLayer("stands.shp", Stands()), Names({"AGE", "SPECIES"})));
  EXPECT_THAT(TextsOf(said()), ElementsAre(kWarningOf1));
  EXPECT_THAT(Table("fixes").Numbers("AGE"), ElementsAre(0, 0));
  EXPECT_THAT(reportText_, HasSubstr("stands\r2 points processed\r1 points detected"));
}

// ---- Bad input and failures

TEST_F(PointsInPolygonsTest, ACoverageTakesNoFields) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  const auto stands = AddLayer("stands.shp", Stands());
  EXPECT_FALSE(IsCoverage(fixes->FeatureClass()));
  for (const bool suppress : {false, true}) {
    IntersectReport report;
    EXPECT_FALSE(ISectPntPoly(fixes->FeatureClass(), *stands, suppress, Names({"AGE"}), report,
                              [](const IFeatureClass&) { return true; }));
    EXPECT_EQ(report.Text(),
              "Intersect Point Tool\r\rPolygon intersect layer: stands"
              "\r!!! Unable to directly modify ArcInfo coverages. The coverage must be converted "
              "to a shape file in order to use the Point Intersect Tool. Skipping layer...");
  }
  EXPECT_THAT(said(), ElementsAre(Message{
                          "Warning: unable to directly modify ArcInfo coverages. The coverage must "
                          "be converted to\ra shape file in order to use the Point Intersect Tool. "
                          "Skipping layer...",
                          kCritical, "Warning"}));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME"));
}

TEST_F(PointsInPolygonsTest, AFieldThatTheTableRefusesDropsTheRestOfTheLayer) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  OgrDataset stands = Stands();
  stands.columns[3].name = "age_in_years";  // too long for dBASE
  EXPECT_FALSE(Intersect(fixes, AddLayer("stands.gpkg", stands),
                         Names({"SPECIES", "age_in_years", "AREA"})));
  ASSERT_EQ(said().size(), 1u);
  EXPECT_THAT(said()[0].text, StartsWith("ISectPntPoly: \r-2147467259\r"));
  EXPECT_EQ(said()[0].title, "Error");
  EXPECT_EQ(said()[0].flags, kCritical);
  // What was added stays, unfilled.
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("NAME", "SPECIES"));
  EXPECT_THAT(Table("fixes").Texts("SPECIES"), ElementsAre(""));
}

TEST_F(PointsInPolygonsTest, AFieldThatThePolygonsDoNotHaveIsAFailure) {
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  EXPECT_FALSE(Intersect(fixes, AddLayer("stands.shp", Stands()), Names({"NONE"})));
  EXPECT_THAT(TextsOf(said()), ElementsAre("ISectPntPoly: \r9\rSubscript out of range"));
}

TEST_F(PointsInPolygonsTest, PolygonsWithoutShapesHoldNoPoint) {
  OgrDataset stands = Stands();
  for (OgrRecord& record : stands.records) record.wkt = "";
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)"}));
  EXPECT_TRUE(Intersect(fixes, AddLayer("stands.gpkg", stands), Names({"AGE"})));
  EXPECT_THAT(TextsOf(said()), ElementsAre(kWarningOf1));
}

TEST_F(PointsInPolygonsTest, RecordsAreFoundByTheirNumberInEveryFormat) {
  // A GeoPackage counts from 1, and a deleted record leaves a gap.
  OgrDataset stands = Stands();
  const auto layer = AddLayer("stands.gpkg", stands);
  {
    QueryFilter oldest;
    oldest.where = "AGE = 80";
    const CursorPtr rows = layer->FeatureClass().Update(oldest);
    rows->DeleteRow(*rows->Next());
    rows->Flush();
    CommitAllEdits();
  }
  const auto fixes = AddLayer("fixes.shp", PointsAt({"POINT(2 3)", "POINT(18 3)", "POINT(7 15)"}));
  EXPECT_TRUE(Intersect(fixes, layer, Names({"FID", "AGE"}), true));
  EXPECT_THAT(Table("fixes").Numbers("stands_FID"), ElementsAre(0, 2, 3));
  EXPECT_THAT(Table("fixes").Numbers("AGE"), ElementsAre(0, 120, 7));
}

}  // namespace
}  // namespace orlinths
