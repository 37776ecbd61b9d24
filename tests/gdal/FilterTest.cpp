#include <gtest/gtest.h>

#include "data/Workspace.h"
#include "gdal/OgrFixture.h"
#include "runtime/RuntimeError.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using Oids = std::vector<Oid>;

class FilterTest : public ::testing::TestWithParam<const char*> {
 protected:
  /// Squares of side 2 side by side from (0, 0) on, the last one null.
  FeatureClassPtr Zones() {
    const std::string driver = GetParam();
    const std::string path = folder / (driver == "GPKG" ? "z.gpkg" : "z.shp");
    WriteOgr(
        driver, path, wkbPolygon,
        {{"K", OFTInteger, 6}, {"A", OFTReal, 20, 6}, {"NAME", OFTString, 20}, {"DAY", OFTDate}},
        {{"POLYGON((0 0,0 2,2 2,2 0,0 0))", {"10", "0.5", "north", "2020/01/31"}},
         {"POLYGON((2 0,2 2,4 2,4 0,2 0))", {"20", "1.5", "O'Hara", "2020/02/01"}},
         {"POLYGON((4 0,4 2,6 2,6 0,4 0))", {"30", "2.5", "# and \"x\"", "2019/12/31"}},
         {"", {"40", "3.5", "null", "2021/01/01"}}});
    first = driver == "GPKG" ? 1 : 0;  // a GeoPackage counts from 1
    return OpenFeatureClassByPath(path);
  }
  Oids Found(const IFeatureClass& zones, const std::string& where) {
    QueryFilter filter;
    filter.where = where;
    Oids oids;
    const CursorPtr rows = zones.Search(filter);
    while (const IRow* row = rows->Next()) oids.push_back(row->OID() - first);
    EXPECT_EQ(zones.RowCount(filter), static_cast<std::int64_t>(oids.size())) << where;
    EXPECT_EQ(zones.Select(filter).Count(), static_cast<std::int64_t>(oids.size())) << where;
    return oids;
  }
  Oids Met(const IFeatureClass& zones, const std::string& wkt, SpatialRelation relation,
           const std::string& where = {}) {
    QueryFilter filter;
    filter.shape = Wkt(wkt);
    filter.relation = relation;
    filter.where = where;
    Oids oids;
    const CursorPtr rows = zones.Search(filter);
    while (const IRow* row = rows->Next()) oids.push_back(row->OID() - first);
    EXPECT_EQ(zones.RowCount(filter), static_cast<std::int64_t>(oids.size()));
    return oids;
  }
  TempFolder folder;
  Oid first = 0;
};

TEST_P(FilterTest, TakesNumbersTextsAndLogic) {
  const FeatureClassPtr zones = Zones();
  EXPECT_EQ(Found(*zones, "K >= 20"), (Oids{1, 2, 3}));
  EXPECT_EQ(Found(*zones, "k >= 20 AND A < 3"), (Oids{1, 2}));
  EXPECT_EQ(Found(*zones, "NOT (K = 10 OR K = 20)"), (Oids{2, 3}));
  EXPECT_EQ(Found(*zones, "NAME = 'O''Hara'"), (Oids{1}));
  EXPECT_EQ(Found(*zones, "\"NAME\" = '# and \"x\"'"), (Oids{2}));
  EXPECT_EQ(Found(*zones, "NAME LIKE 'n%'"), (Oids{0, 3}));
  EXPECT_EQ(Found(*zones, "K IN (10, 40)"), (Oids{0, 3}));
  EXPECT_EQ(Found(*zones, "K > 1000"), Oids{});
}

TEST_P(FilterTest, TakesDatesBetweenHashes) {
  const FeatureClassPtr zones = Zones();
  EXPECT_EQ(Found(*zones, "DAY = #2020-01-31#"), (Oids{0}));
  EXPECT_EQ(Found(*zones, "DAY > #2020/01/31#"), (Oids{1, 3}));
  EXPECT_EQ(Found(*zones, "DAY <= #2020-01-31# AND K = 10"), (Oids{0}));
  EXPECT_EQ(Found(*zones, "DAY >= #2019-12-31# AND DAY < #2020-02-01#"), (Oids{0, 2}));
}

TEST_P(FilterTest, KnowsTheObjectIdByItsName) {
  const FeatureClassPtr zones = Zones();
  EXPECT_EQ(Found(*zones, "FID > " + std::to_string(first + 1)), (Oids{2, 3}));
  EXPECT_EQ(Found(*zones, "\"FID\" > " + std::to_string(first + 1)), (Oids{2, 3}));
}

TEST_P(FilterTest, SaysInTheLibrarysWordsWhatItCannotRead) {
  const FeatureClassPtr zones = Zones();
  ::testing::internal::CaptureStderr();
  for (const char* where :
       {"K >", "K = #2020-13-40#", "no such thing at all", "NOFIELD = 3", "K = 'a"}) {
    QueryFilter filter;
    filter.where = where;
    try {
      zones->Search(filter)->Next();
      ADD_FAILURE() << where;
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.Number(), -2147467259) << where;
      EXPECT_FALSE(error.Description().empty()) << where;
    }
    EXPECT_THROW(zones->RowCount(filter), RuntimeError) << where;
    EXPECT_THROW(zones->Select(filter), RuntimeError) << where;
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(zones->RowCount(), 4) << "and goes on afterwards";
}

TEST_P(FilterTest, IntersectingCountsContactAtTheBoundary) {
  const FeatureClassPtr zones = Zones();
  EXPECT_EQ(Met(*zones, "POLYGON((2 0,2 2,3 2,3 0,2 0))", SpatialRelation::kIntersects),
            (Oids{0, 1}));
  EXPECT_EQ(Met(*zones, "POINT(4 1)", SpatialRelation::kIntersects), (Oids{1, 2}));
  EXPECT_EQ(Met(*zones, "LINESTRING(-1 1,3 1)", SpatialRelation::kIntersects), (Oids{0, 1}));
  EXPECT_EQ(Met(*zones, "POINT(9 9)", SpatialRelation::kIntersects), Oids{});
  EXPECT_EQ(Met(*zones, "POINT(4 1)", SpatialRelation::kIntersects, "K = 30"), (Oids{2}));
}

TEST_P(FilterTest, ContainingIsAskedOfTheFiltersShape) {
  const FeatureClassPtr zones = Zones();
  EXPECT_EQ(Met(*zones, "POLYGON((0 0,0 2,4 2,4 0,0 0))", SpatialRelation::kContains),
            (Oids{0, 1}));
  EXPECT_EQ(Met(*zones, "POLYGON((1 0,1 2,5 2,5 0,1 0))", SpatialRelation::kContains), (Oids{1}));
  EXPECT_EQ(Met(*zones, "POLYGON((2.5 0.5,2.5 1,3 1,3 0.5,2.5 0.5))", SpatialRelation::kContains),
            Oids{});
}

TEST_P(FilterTest, FindsWhatIsAtAPoint) {
  const FeatureClassPtr zones = Zones();
  Oids oids;
  zones->FeaturesAt(2, 1, oids);
  EXPECT_EQ(oids, (Oids{first, first + 1}));
  zones->FeaturesAt(1, 1, oids);
  EXPECT_EQ(oids, (Oids{first}));
  zones->FeaturesAt(-1, 1, oids);
  EXPECT_EQ(oids, Oids{});
}

TEST_P(FilterTest, TheIndexFollowsTheShapes) {
  const FeatureClassPtr zones = Zones();
  EXPECT_EQ(Met(*zones, "POINT(100 100)", SpatialRelation::kIntersects), Oids{});
  {
    const CursorPtr rows = zones->Update();
    IRow* row = rows->Next();
    row->SetShape(Wkt("POLYGON((99 99,99 101,101 101,101 99,99 99))"));
    rows->UpdateRow(*row);
    EXPECT_EQ(Met(*zones, "POINT(100 100)", SpatialRelation::kIntersects), (Oids{0}))
        << "not written yet";
    EXPECT_EQ(Met(*zones, "POINT(1 1)", SpatialRelation::kIntersects), Oids{});
  }
  CommitAllEdits();
  EXPECT_EQ(Met(*zones, "POINT(100 100)", SpatialRelation::kIntersects), (Oids{0}));
  {
    const CursorPtr rows = zones->Insert();
    const auto row = zones->CreateFeatureBuffer();
    row->SetShape(Wkt("POLYGON((50 50,50 51,51 51,51 50,50 50))"));
    rows->InsertRow(*row);
    rows->Flush();
    EXPECT_EQ(Met(*zones, "POINT(50 50)", SpatialRelation::kIntersects), (Oids{4}));
  }
}

TEST_P(FilterTest, SeesPendingValuesAndNewColumns) {
  const FeatureClassPtr zones = Zones();
  Field field;
  field.name = "FRESH";
  field.type = FieldType::kDouble;
  zones->AddField(field);
  const int fresh = zones->FindField("FRESH");
  const CursorPtr rows = zones->Update();
  Oids visited;
  while (IRow* row = rows->Next()) {
    visited.push_back(row->OID() - first);
    row->SetDouble(fresh, static_cast<double>(row->OID() - first));
    row->SetDouble(2, 7);
    rows->UpdateRow(*row);
    QueryFilter filter;
    filter.where = "K = 7 AND FRESH >= 0";
    EXPECT_EQ(zones->RowCount(filter), static_cast<std::int64_t>(visited.size()));
  }
  EXPECT_EQ(visited, (Oids{0, 1, 2, 3}));
}

TEST_P(FilterTest, UpdatesWhatTheFilterGives) {
  const FeatureClassPtr zones = Zones();
  QueryFilter filter;
  filter.where = "K >= 20 AND K <= 30";
  {
    const CursorPtr rows = zones->Update(filter);
    int count = 0;
    while (IRow* row = rows->Next()) {
      row->SetDouble(2, 0);  // no longer fits the filter, and is walked on all the same
      rows->UpdateRow(*row);
      ++count;
    }
    EXPECT_EQ(count, 2);
  }
  CommitAllEdits();
  EXPECT_EQ(Found(*zones, "K = 0"), (Oids{1, 2}));
}

INSTANTIATE_TEST_SUITE_P(Formats, FilterTest, ::testing::Values("ESRI Shapefile", "GPKG"),
                         [](const auto& info) {
                           return std::string(info.param) == "GPKG" ? "GeoPackage" : "Shapefile";
                         });

TEST(Filter, KnowsTheObjectIdOfAPlainTable) {
  const TempFolder folder;
  WriteOgr("ESRI Shapefile", folder / "t.dbf", wkbNone, {{"A", OFTInteger, 4}},
           {{"", {"5"}}, {"", {"6"}}, {"", {"7"}}});
  const TablePtr table = OpenTableByPath(folder / "t.dbf");
  QueryFilter filter;
  filter.where = "oid >= 1 AND A < 7";
  EXPECT_EQ(table->Select(filter).Oids(), (Oids{1}));
}

TEST(Filter, DoesNotTakeAColumnForTheObjectId) {
  const TempFolder folder;
  WriteOgr("ESRI Shapefile", folder / "t.dbf", wkbNone, {{"FID", OFTInteger, 4}},
           {{"", {"1"}}, {"", {"0"}}});
  const TablePtr table = OpenTableByPath(folder / "t.dbf");
  QueryFilter filter;
  filter.where = "FID = 1";
  EXPECT_EQ(table->Select(filter).Oids(), (Oids{0})) << "the column";
  filter.where = "OID = 1";
  try {
    table->Select(filter);
    ADD_FAILURE() << "OGR would have looked into the column";
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.Description(),
              "The expression cannot be read: OID = 1: OID cannot be told from the column FID.");
  }
}

}  // namespace
}  // namespace orlinths
