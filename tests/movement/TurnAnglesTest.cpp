// The unsigned turns, path by path, that `TableAddTurnAnglePntsMulti` writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>

#include "movement/Fixes.h"
#include "movement/MovementParameters.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;

class TurnAnglesTest : public ToolTest {
 protected:
  bool AddTurns(const OgrDataset& data, const std::string& field = "ANIMAL") {
    InitMapGlobals();
    IFeatureClass& points = AddLayer("fixes.shp", data)->FeatureClass();
    return TableAddTurnAnglePntsMulti(points, points.FindField(field));
  }
  std::vector<double> Turns() { return Table("fixes").Numbers("TurnAngle"); }
  static Message Report(const std::string& text) {
    return {"TableAddTurnAnglePntsMulti: \r" + text, kCritical, "Error"};
  }
};

const std::vector<Location> kSquare{
    {5, {0, 0}}, {5, {0, 1}}, {5, {1, 1}}, {5, {1, 0}}, {5, {-3, 0}}};

TEST_F(TurnAnglesTest, AreUnsignedAndMissingAtBothEnds) {
  EXPECT_TRUE(AddTurns(FixesOf({{5, {0, 0}},
                                {5, {0, 1}},
                                {5, {-1, 1}},  // left
                                {5, {-1, 2}},  // right
                                {5, {-1, 9}},  // straight on
                                {5, {-1, 4}},  // back
                                {5, {4, -1}}})));
  EXPECT_TRUE(said().empty());
  EXPECT_THAT(Turns(), ElementsAre(-999, 90, 90, 0, 180, ::testing::DoubleNear(45, 1e-12), -999));
}

TEST_F(TurnAnglesTest, ThreePointsHaveNone) {
  EXPECT_TRUE(AddTurns(FixesOf({{1, {0, 0}}, {1, {0, 1}}, {1, {1, 1}}, {2, {0, 0}}})));
  EXPECT_THAT(Turns(), ElementsAre(-999, -999, -999, -999));
}

TEST_F(TurnAnglesTest, ARepeatedLocationHasNone) {
  EXPECT_TRUE(AddTurns(FixesOf({{1, {0, 0}}, {1, {0, 1}}, {1, {0, 1}}, {1, {1, 1}}, {1, {1, 2}}})));
  EXPECT_THAT(Turns(), ElementsAre(-999, -999, -999, 90, -999));
}

TEST_F(TurnAnglesTest, PathsMayLieThroughEachOther) {
  std::vector<Location> mixed;
  for (const Location& fix : kSquare) {
    mixed.push_back({9, {fix.at.x * 3, -fix.at.y}});
    mixed.push_back(fix);
    if (mixed.size() < 5) mixed.push_back({1, {7, 7}});
  }
  EXPECT_TRUE(AddTurns(FixesOf(mixed)));
  std::map<int, std::vector<double>> byPath;
  const auto turns = Turns();
  for (std::size_t i = 0; i < mixed.size(); ++i) byPath[mixed[i].animal].push_back(turns[i]);
  EXPECT_THAT(byPath[5], ElementsAre(-999, 90, 90, 90, -999));
  EXPECT_THAT(byPath[9], ElementsAre(-999, 90, 90, 90, -999));
  EXPECT_THAT(byPath[1], ElementsAre(-999));
}

TEST_F(TurnAnglesTest, ReplaceAFieldOfThatNameWithoutAsking) {
  OgrDataset data = FixesOf(kSquare);
  data.columns.insert(data.columns.begin(), {"TURNANGLE", "String", 5});
  for (OgrRecord& record : data.records) record.values.insert(record.values.begin(), "old");
  EXPECT_TRUE(AddTurns(data));
  EXPECT_TRUE(said().empty());
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("ANIMAL", "NAME", "TurnAngle"));
  EXPECT_THAT(Turns(), ElementsAre(-999, 90, 90, 90, -999));
}

TEST_F(TurnAnglesTest, TextsNameAPathWithQuotesAndInEitherCase) {
  OgrDataset data = FixesOf(kSquare);
  const Texts names{"O'Hara", "o'hara"};
  for (const std::string& name : names)
    for (const Location& fix : kSquare)
      data.records.push_back({AsWkt(Point{.x = fix.at.x, .y = fix.at.y}), {"1", name}});
  data.records.erase(data.records.begin(), data.records.begin() + 5);
  EXPECT_TRUE(AddTurns(data, "NAME"));
  EXPECT_THAT(Turns(), ElementsAre(-999, 90, 90, 90, -999, -999, 90, 90, 90, -999));
}

TEST_F(TurnAnglesTest, RecordsWithoutAPathAreLeftAlone) {
  OgrDataset data = FixesOf(kSquare);
  data.records.push_back({"POINT(3 3)", {}});
  IFeatureClass& points = AddLayer("fixes.gpkg", data)->FeatureClass();
  EXPECT_TRUE(TableAddTurnAnglePntsMulti(points, points.FindField("ANIMAL")));
  CommitAllEdits();
  EXPECT_THAT(ReadOgr(Path("fixes.gpkg")).Texts("TurnAngle"),
              ElementsAre("-999", "90", "90", "90", "-999", ""));
}

TEST_F(TurnAnglesTest, TellTheirProgressPathByPath) {
  EXPECT_TRUE(AddTurns(FixesOf({{1, {0, 0}}, {2, {0, 0}}, {3, {0, 0}}, {4, {0, 0}}})));
  EXPECT_THAT(LastProgressOf("Calculating turning angles..."), ElementsAre(3, 3));
}

TEST_F(TurnAnglesTest, OfAnEmptyClassAreAField) {
  EXPECT_TRUE(AddTurns(FixesOf({})));
  EXPECT_THAT(Table("fixes").ColumnNames(), ElementsAre("ANIMAL", "NAME", "TurnAngle"));
}

// ---- Failures

TEST_F(TurnAnglesTest, AFieldThatIsNotThereIsReportedBehindTheNewOne) {
  EXPECT_FALSE(AddTurns(FixesOf(kSquare), "HERD"));
  EXPECT_THAT(said(), ElementsAre(Report("9\rSubscript out of range")));
  host_.map.Clear();
  CommitAllEdits();
  EXPECT_THAT(Turns(), ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(TurnAnglesTest, TheirOwnFieldIsNoPath) {
  OgrDataset data = FixesOf(kSquare);
  data.columns[0].name = "TurnAngle";
  EXPECT_FALSE(AddTurns(data, "TurnAngle"));
  EXPECT_THAT(said(), ElementsAre(Report("9\rSubscript out of range")));
}

OgrDataset ThreePathsTheSecondWithout(std::size_t record, std::size_t length) {
  std::vector<Location> fixes;
  for (int path = 1; path <= 3; ++path)
    for (std::size_t i = 0; i < (path == 2 ? length : kSquare.size()); ++i)
      fixes.push_back({path, kSquare[i].at});
  OgrDataset data = FixesOf(fixes);
  data.records[kSquare.size() + record].wkt.clear();
  return data;
}

TEST_F(TurnAnglesTest, APathWithARecordWithoutShapeIsReportedAndThoseBeforeItAreWritten) {
  EXPECT_FALSE(AddTurns(ThreePathsTheSecondWithout(4, 5)));
  EXPECT_THAT(said(), ElementsAre(Report("91\rObject variable or With block variable not set")));
  EXPECT_THAT(Turns(), ElementsAre(-999, 90, 90, 90, -999, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(TurnAnglesTest, AShortPathDoesNotLookAtItsShapes) {
  EXPECT_TRUE(AddTurns(ThreePathsTheSecondWithout(1, 3)));
  EXPECT_THAT(Turns(),
              ElementsAre(-999, 90, 90, 90, -999, -999, -999, -999, -999, 90, 90, 90, -999));
}

TEST_F(TurnAnglesTest, ACoordinateThatIsNotFiniteIsAnOverflow) {
  std::vector<Location> fixes = kSquare;
  fixes[2].at.y = 77;
  WriteOgr(Path("fixes.shp"), FixesOf(fixes));
  ReplaceNumber("fixes.shp", 77, std::numeric_limits<double>::infinity());
  IFeatureClass& points = AddFile("fixes.shp")->FeatureClass();
  EXPECT_FALSE(TableAddTurnAnglePntsMulti(points, points.FindField("ANIMAL")));
  EXPECT_THAT(said(), ElementsAre(Report("6\rOverflow")));
}

TEST_F(TurnAnglesTest, AReadOnlyTableIsReported) {
  AddLayer("fixes.shp", FixesOf(kSquare));
  const std::string before = Bytes("fixes");
  AsUnprivileged([&] {
    IFeatureClass& points = AddFile("fixes.shp")->FeatureClass();
    EXPECT_FALSE(TableAddTurnAnglePntsMulti(points, points.FindField("ANIMAL")));
    ASSERT_EQ(said().size(), 2u);
    EXPECT_THAT(said()[0].text, ::testing::StartsWith("AddNewField: "));
    EXPECT_EQ(said()[1], Report("70\rPermission denied"));
  });
  EXPECT_EQ(Bytes("fixes"), before);
}

TEST_F(TurnAnglesTest, AgreeWithDotProductsOnRandomWalks) {
  Seeded random("TurnAnglesTest.AgreeWithDotProductsOnRandomWalks");
  std::vector<Location> fixes;
  for (int i = 0; i < 500; ++i)
    fixes.push_back(
        {static_cast<int>(random.Whole(-9, 9)), {random.Real(3e5, 4e5), random.Real(7e6, 8e6)}});
  EXPECT_TRUE(AddTurns(FixesOf(fixes)));
  const auto turns = Turns();
  for (int path = -9; path <= 9; ++path) {
    std::vector<std::size_t> of;
    for (std::size_t i = 0; i < fixes.size(); ++i)
      if (fixes[i].animal == path) of.push_back(i);
    for (std::size_t k = 0; k < of.size(); ++k) {
      double expected = -999;
      if (of.size() > 3 && k > 0 && k + 1 < of.size()) {
        const Coord a = fixes[of[k - 1]].at, b = fixes[of[k]].at, c = fixes[of[k + 1]].at;
        const double dot = (b.x - a.x) * (c.x - b.x) + (b.y - a.y) * (c.y - b.y);
        expected =
            std::acos(dot / std::hypot(b.x - a.x, b.y - a.y) / std::hypot(c.x - b.x, c.y - b.y)) *
            180 / M_PI;
      }
      EXPECT_NEAR(turns[of[k]], expected, 1e-5);
    }
  }
}

}  // namespace
}  // namespace orlinths
