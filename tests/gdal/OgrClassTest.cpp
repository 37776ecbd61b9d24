#include <gtest/gtest.h>

#include "data/Workspace.h"
#include "gdal/OgrFixture.h"
#include "runtime/RuntimeError.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using Strings = std::vector<std::string>;

Strings FieldNames(const ITable& table) {
  Strings names;
  for (const Field& field : table.Fields()) names.push_back(field.name);
  return names;
}

std::vector<int> FieldTypes(const ITable& table) {
  std::vector<int> types;
  for (const Field& field : table.Fields()) types.push_back(static_cast<int>(field.type));
  return types;
}

class OgrClass : public ::testing::Test {
 protected:
  FeatureClassPtr Zones() {
    WriteOgr("ESRI Shapefile", folder / "zones.shp", wkbPolygon,
             {{"ID", OFTInteger, 4},
              {"BIG", OFTInteger, 9},
              {"AREA", OFTReal, 24, 10},
              {"NAME", OFTString, 20},
              {"DAY", OFTDate}},
             {{"POLYGON((0 0,0 4,4 4,4 0,0 0))", {"1", "100000", "16.5", "north", "2020/01/31"}},
              {"POLYGON((4 0,4 4,8 4,8 0,4 0))", {"2", "-7", "", "", ""}},
              {"", {"3", "0", "0.125", "Zürich", "1999/12/31"}}},
             32632);
    return OpenFeatureClass(folder.Path(), "zones");
  }
  TempFolder folder;
};

TEST_F(OgrClass, HasFidAndShapeBeforeTheColumns) {
  const FeatureClassPtr zones = Zones();
  EXPECT_EQ(FieldNames(*zones), (Strings{"FID", "Shape", "ID", "BIG", "AREA", "NAME", "DAY"}));
  EXPECT_EQ(FieldTypes(*zones), (std::vector<int>{6, 7, 0, 1, 3, 4, 5}));
  EXPECT_EQ(zones->FindField("area"), 4);
  EXPECT_EQ(zones->FindField("nothing"), -1);
  EXPECT_EQ(zones->Name(), "zones");
  EXPECT_EQ(zones->PathName(), folder.Path());
  EXPECT_EQ(zones->Path(), folder / "zones.shp");
  EXPECT_EQ(zones->ShapeType(), GeometryType::kPolygon);
  EXPECT_EQ(zones->SpatialReference()->FactoryCode(), 32632);
  EXPECT_EQ(zones->Extent(), (Envelope{0, 0, 8, 4}));
}

TEST_F(OgrClass, GivesValuesAndShapesRowByRow) {
  const FeatureClassPtr zones = Zones();
  const CursorPtr rows = zones->Search();
  const IRow* row = rows->Next();
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->OID(), 0);
  EXPECT_EQ(row->GetValue(0), Value(std::int32_t{0}));
  EXPECT_EQ(row->GetValue(2), Value(std::int16_t{1}));
  EXPECT_EQ(row->GetValue(3), Value(std::int32_t{100000}));
  EXPECT_EQ(row->GetValue(4), Value(16.5));
  EXPECT_EQ(row->GetDouble(4), 16.5);
  EXPECT_EQ(row->GetValue(5), Value("north"));
  EXPECT_EQ(row->GetValue(6), Value(*Date::FromCivil(2020, 1, 31)));
  EXPECT_EQ(row->Shape(), Wkt("POLYGON((0 0,0 4,4 4,4 0,0 0))"));
  row = rows->Next();
  EXPECT_EQ(row->GetValue(4), Value(0.0));
  EXPECT_EQ(row->GetDouble(4), 0.0);
  EXPECT_EQ(row->GetValue(5), Value(""));
  EXPECT_TRUE(row->GetValue(6).IsNull());
  row = rows->Next();
  EXPECT_EQ(row->GetValue(5), Value("Zürich"));
  EXPECT_TRUE(row->Shape().IsEmpty());
  EXPECT_FALSE(row->Shape().IsNull());
  EXPECT_THROW(row->Polygon(), RuntimeError);
  EXPECT_EQ(rows->Next(), nullptr);
  EXPECT_EQ(rows->Next(), nullptr);
}

}  // namespace
}  // namespace orlinths
