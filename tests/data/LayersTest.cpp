#include "data/Layers.h"

#include <gtest/gtest.h>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using Oids = std::vector<Oid>;

class LayersTest : public ::testing::Test {
 protected:
  /// Four squares side by side; K is 0, 10, 20, 30.
  FeatureClassPtr Zones() {
    SpatialReferencePtr reference;
    const FeatureClassPtr zones = CreateShapefile(folder.Path(), "zones", GeometryType::kPolygon,
                                                  false, false, reference, false);
    const int k = AddNewField("K", *zones, FieldType::kInteger);
    const CursorPtr rows = zones->Insert();
    const auto row = zones->CreateFeatureBuffer();
    for (int i = 0; i < 4; ++i) {
      Polygon square;
      for (const auto& [x, y] : {std::pair{0, 0}, {0, 2}, {2, 2}, {2, 0}, {0, 0}})
        square.AddPoint(2 * i + x, y);
      row->SetShape(square);
      row->SetValue(k, Value(std::int32_t{10 * i}));
      rows->InsertRow(*row);
    }
    return zones;
  }
  static Oids OidsOf(const CursorPtr& rows) {
    Oids oids;
    while (const IRow* row = rows->Next()) oids.push_back(row->OID());
    return oids;
  }
  TempFolder folder;
};

TEST_F(LayersTest, TakesItsNameFromTheClassUntilNamed) {
  IFeatureLayer layer(Zones());
  EXPECT_EQ(layer.Name(), "zones");
  EXPECT_EQ(layer.SourcePath(), folder / "zones.shp");
  EXPECT_TRUE(layer.Valid());
  EXPECT_EQ(layer.ShapeType(), GeometryType::kPolygon);
  EXPECT_EQ(layer.Extent(), (Envelope{0, 0, 8, 2}));
  layer.SetName("Mine");
  EXPECT_EQ(layer.Name(), "Mine");
  EXPECT_THROW(IFeatureLayer{nullptr}, RuntimeError);
}

TEST_F(LayersTest, ABrokenLayerIsInvalidAndAnswersWithError91) {
  IFeatureLayer layer("broken", "/not/there.shp");
  EXPECT_FALSE(layer.Valid());
  EXPECT_EQ(layer.ShapeType(), GeometryType::kNull);
  EXPECT_TRUE(layer.Extent().IsEmpty());
  EXPECT_EQ(layer.SourcePath(), "/not/there.shp");
  EXPECT_THROW(layer.FeatureClass(), RuntimeError);
  EXPECT_THROW(layer.Search(), RuntimeError);
  EXPECT_THROW(layer.AddToSelection(1), RuntimeError);
  const IRasterLayer raster("broken", "/not/there.tif");
  EXPECT_FALSE(raster.Valid());
  EXPECT_EQ(raster.BandCount(), 0);
  EXPECT_THROW(raster.Dataset(), RuntimeError);
  const IStandaloneTable table("broken", "/not/there.dbf");
  EXPECT_FALSE(table.Valid());
  EXPECT_THROW(table.Table(), RuntimeError);
}

TEST_F(LayersTest, TheDefinitionQueryHoldsForTheLayerAndNotForTheClass) {
  const FeatureClassPtr zones = Zones();
  IFeatureLayer layer(zones);
  layer.SetDefinitionQuery("K > 5 OR K < 0");
  EXPECT_EQ(layer.DefinitionQuery(), "K > 5 OR K < 0");
  EXPECT_EQ(OidsOf(layer.Search()), (Oids{1, 2, 3}));
  EXPECT_EQ(zones->FeatureCount(), 4);
  QueryFilter filter;
  filter.where = "K < 15 OR K = 30";
  EXPECT_EQ(OidsOf(layer.Search(filter)), (Oids{1, 3}));
  filter.shape = Wkt("POINT(2 1)");
  EXPECT_EQ(OidsOf(layer.Search(filter)), (Oids{1}));
  EXPECT_EQ(OidsOf(zones->Update()), (Oids{0, 1, 2, 3}));
  EXPECT_THROW(layer.SetDefinitionQuery("K >"), RuntimeError);
  EXPECT_EQ(layer.DefinitionQuery(), "K > 5 OR K < 0") << "the old one stands";
  layer.SetDefinitionQuery("");
  EXPECT_EQ(OidsOf(layer.Search()), (Oids{0, 1, 2, 3}));
}

TEST_F(LayersTest, IdentifiesWithinTheDefinitionQuery) {
  const FeatureClassPtr zones = Zones();
  IFeatureLayer layer(zones);
  EXPECT_EQ(layer.Identify(2, 1), (Oids{0, 1}));
  EXPECT_EQ(layer.Identify(3, 1), (Oids{1}));
  EXPECT_EQ(layer.Identify(-3, 1), Oids{});
  layer.SetDefinitionQuery("K = 10");
  EXPECT_EQ(layer.Identify(2, 1), (Oids{1}));
  {
    const CursorPtr rows = zones->Update();
    IRow* row = rows->Next();
    row->SetDouble(zones->FindField("K"), 10);
    rows->UpdateRow(*row);
  }
  EXPECT_EQ(layer.Identify(2, 1), (Oids{0, 1})) << "the query is asked anew after an edit";
}

TEST_F(LayersTest, SelectsWhatExists) {
  IFeatureLayer layer(Zones());
  layer.AddToSelection(2);
  layer.AddToSelection(0);
  layer.AddToSelection(77);
  layer.AddToSelection(-1);
  EXPECT_EQ(layer.SelectionSet().Oids(), (Oids{0, 2}));
  EXPECT_EQ(OidsOf(layer.SearchSelected()), (Oids{0, 2}));
  layer.SetSelectionSet(ISelectionSet({3, 9, 1}));
  EXPECT_EQ(OidsOf(layer.SearchSelected()), (Oids{1, 3}));
  layer.ClearSelection();
  EXPECT_EQ(layer.SelectionSet().Count(), 0);
  EXPECT_EQ(OidsOf(layer.SearchSelected()), Oids{});
}

TEST_F(LayersTest, SelectFeaturesReplacesAndRespectsTheQuery) {
  IFeatureLayer layer(Zones());
  layer.AddToSelection(0);
  layer.SetDefinitionQuery("K >= 10");
  QueryFilter filter;
  filter.where = "K <= 20";
  layer.SelectFeatures(filter);
  EXPECT_EQ(layer.SelectionSet().Oids(), (Oids{1, 2}));
  filter.where.clear();
  filter.shape = Wkt("LINESTRING(0.5 1,2.5 1)");
  layer.SelectFeatures(filter);
  EXPECT_EQ(layer.SelectionSet().Oids(), (Oids{1}));
}

TEST_F(LayersTest, TablesAreNamedAfterTheirFile) {
  std::optional<Fields> fields;
  IStandaloneTable table(createDBF("field notes.dbf", folder.Path(), false, fields));
  EXPECT_EQ(table.Name(), "field notes");
  EXPECT_EQ(table.SourcePath(), folder / "field notes.dbf");
  table.SetName("Notes");
  EXPECT_EQ(table.Name(), "Notes");
}

}  // namespace
}  // namespace orlinths
