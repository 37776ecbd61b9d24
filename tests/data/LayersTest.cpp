#include "data/Layers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "support/ErrorNumberOf.h"
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

TEST_F(LayersTest, AFileKnowsNoWordsButThePlatforms) {
  IFeatureLayer layer(Zones());
  layer.SetDefinitionQuery("K > 10");
  EXPECT_EQ(ErrorNumberOf([&] { layer.SetSourceQuery("K > 20"); }),
            static_cast<int>(ErrorNumber::kPlatform));
  EXPECT_EQ(layer.DefinitionQuery(), "K > 10");
  EXPECT_EQ(layer.Shown().where, "K > 10");
  EXPECT_EQ(layer.FeatureClass().FeatureCount(layer.Shown()), 2);
  QueryFilter filter;
  filter.sourceWhere = "K > 20";
  IFeatureClass& zones = layer.FeatureClass();
  for (const auto& ask : std::initializer_list<std::function<void()>>{
           [&] { zones.Search(filter); }, [&] { zones.Update(filter); },
           [&] { zones.Select(filter); }, [&] { zones.FeatureCount(filter); },
           [&] { zones.SearchOids({0}, filter); }})
    EXPECT_EQ(ErrorNumberOf(ask), static_cast<int>(ErrorNumber::kPlatform));
}

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

TEST_F(LayersTest, ALayerWhoseDatasetIsDeletedIsInvalid) {
  IFeatureLayer layer(Zones());
  layer.AddToSelection(1);
  const IFeatureLayer other(OpenFeatureClass(folder.Path(), "zones"));
  IStandaloneTable table(OpenTableByPath(folder / "zones.dbf"));
  EXPECT_TRUE(table.Valid());
  EXPECT_TRUE(DeleteFile(folder.Path(), "zones"));
  for (const IFeatureLayer* each : {&std::as_const(layer), &other}) {
    EXPECT_FALSE(each->Valid());
    EXPECT_EQ(each->ShapeType(), GeometryType::kNull);
    EXPECT_TRUE(each->Extent().IsEmpty());
    EXPECT_EQ(each->Name(), "zones");
    EXPECT_EQ(each->SourcePath(), folder / "zones.shp");
    EXPECT_EQ(ErrorNumberOf([&] { each->Search(); }), 91);
  }
  EXPECT_FALSE(table.Valid()) << "its file went with the shapes";
}

TEST_F(LayersTest, ALayerWhoseDatasetIsOverwrittenIsInvalidAndTheNewOneIsNot) {
  IFeatureLayer layer(Zones());
  IStandaloneTable table(OpenTableByPath(folder / "zones.dbf"));
  SpatialReferencePtr reference;
  const IFeatureLayer next(
      CreateShapefile(folder.Path(), "zones", GeometryType::kPoint, false, false, reference, true));
  EXPECT_FALSE(layer.Valid());
  EXPECT_EQ(layer.ShapeType(), GeometryType::kNull);
  EXPECT_FALSE(table.Valid());
  EXPECT_TRUE(next.Valid());
  EXPECT_EQ(next.ShapeType(), GeometryType::kPoint);
}

/// An edit that waits when its table is overwritten must not find its way into the new one.
TEST_F(LayersTest, EditsOfAnOverwrittenDatasetGoWithIt) {
  std::optional<IFeatureLayer> layer(Zones());
  AddNewField("LATE", layer->FeatureClass(), FieldType::kInteger);
  SpatialReferencePtr reference;
  const FeatureClassPtr next =
      CreateShapefile(folder.Path(), "zones", GeometryType::kPoint, false, false, reference, true);
  const int kept = AddNewField("KEPT", *next, FieldType::kInteger);
  EXPECT_GE(kept, 0);
  layer.reset();
  CommitAllEdits();
  EXPECT_EQ(OpenTableByPath(folder / "zones.shp")->FindField("LATE"), -1);
  EXPECT_EQ(OpenTableByPath(folder / "zones.shp")->FindField("KEPT"), kept);
}

TEST_F(LayersTest, ARenamedDatasetOutlivesANewOneOfItsOldName) {
  IFeatureLayer layer(Zones());
  layer.FeatureClass().Rename("before");
  EXPECT_TRUE(layer.Valid());
  const FeatureClassPtr next = Zones();
  EXPECT_TRUE(layer.Valid());
  EXPECT_EQ(layer.FeatureClass().Path(), folder / "before.shp");
  EXPECT_NE(OpenFeatureClass(folder.Path(), "zones"), nullptr);
}

TEST_F(LayersTest, ALayerWhoseFileIsGoneIsInvalidUntilItIsBack) {
  IFeatureLayer layer(Zones());
  CommitAllEdits();
  EXPECT_EQ(layer.FeatureClass().FeatureCount(), 4);
  std::filesystem::rename(folder / "zones.shp", folder / "elsewhere");
  EXPECT_FALSE(layer.Valid());
  std::filesystem::rename(folder / "elsewhere", folder / "zones.shp");
  EXPECT_TRUE(layer.Valid());
  EXPECT_EQ(layer.ShapeType(), GeometryType::kPolygon);
}

TEST_F(LayersTest, ATableThatIsOverwrittenIsInvalid) {
  std::optional<Fields> fields;
  const IStandaloneTable table(createDBF("notes.dbf", folder.Path(), false, fields));
  EXPECT_TRUE(table.Valid());
  const IStandaloneTable next(createDBF("notes.dbf", folder.Path(), true, fields));
  EXPECT_FALSE(table.Valid());
  EXPECT_TRUE(next.Valid());
}

TEST_F(LayersTest, ARasterThatIsDeletedOrOverwrittenIsInvalid) {
  for (const std::string format : {"TIFF", "GRID"}) {
    const std::string name = format == "TIFF" ? "cells.tif" : "cells";
    const NewRaster raster{.name = name,
                           .format = format,
                           .columns = 3,
                           .rows = 2,
                           .cellSize = {1, 1},
                           .pixelType = PixelType::kInt32,
                           .spatialReference = nullptr};
    const RasterDatasetPtr made = CreateRasterDataset(folder.Path(), raster);
    made->Close();
    const IRasterLayer first(made), second(OpenRasterDataset(folder.Path(), name));
    EXPECT_TRUE(first.Valid() && second.Valid()) << format;
    EXPECT_EQ(second.BandCount(), 1);
    EXPECT_TRUE(DeleteRaster(folder.Path(), name));
    EXPECT_FALSE(first.Valid() || second.Valid()) << format;
    EXPECT_EQ(second.BandCount(), 0);
    EXPECT_TRUE(second.Extent().IsEmpty());
    CreateRasterDataset(folder.Path(), raster)->Close();
    EXPECT_FALSE(first.Valid() || second.Valid()) << "another one of that name";
    const IRasterLayer third(OpenRasterDataset(folder.Path(), name));
    EXPECT_TRUE(third.Valid());
    EXPECT_TRUE(DeleteRaster(folder.Path(), name));
  }
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
