// The project of QGIS as the tools' map, on the datasets of the sessions.
#include "qgis/MapBridge.h"

#include <gmock/gmock.h>

#include <qgslayertree.h>
#include <qgsproject.h>
#include <qgsrasterlayer.h>
#include <qgsvectorlayer.h>

#include <filesystem>
#include <memory>

#include "data/SpatialReference.h"
#include "data/Workspace.h"
#include "qgis/LayerBridge.h"
#include "qgis/Text.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "session/MapBuilder.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MapBridgeTest : public ::testing::Test {
 protected:
  MapBridgeTest() {
    project.clear();
    fs::copy(std::string(ORLINTHS_SESSIONS) + "/data", folder.Path(), fs::copy_options::recursive);
  }
  ~MapBridgeTest() override { project.clear(); }

  QgsVectorLayer* AddVector(const std::string& file, const char* name,
                            QgsLayerTreeGroup* group = nullptr,
                            const QString& provider = QStringLiteral("ogr")) {
    QgsVectorLayer::LayerOptions options;
    options.skipCrsValidation = true;
    return Add(new QgsVectorLayer(ToQt(folder / file), QString::fromUtf8(name), provider, options),
               group);
  }
  QgsRasterLayer* AddRaster(const std::string& file, const char* name) {
    return Add(new QgsRasterLayer(ToQt(folder / file), QString::fromUtf8(name)), nullptr);
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const LayerPtr& layer : map.Layers()) names.push_back(layer->Name());
    return names;
  }
  IFeatureLayer& Features(std::size_t i) const {
    return dynamic_cast<IFeatureLayer&>(*map.Layers().at(i));
  }
  /// As the next click sees it.
  void Click() { map.Renew(); }

  TempFolder folder;
  QgsProject& project = *QgsProject::instance();
  MapBridge map{project};

 protected:
  template <class Layer>
  Layer* Add(Layer* layer, QgsLayerTreeGroup* group) {
    project.addMapLayer(layer, false);
    (group == nullptr ? project.layerTreeRoot() : group)->addLayer(layer);
    return layer;
  }
};

int ErrorOf(const std::function<void()>& body) {
  const auto failure = FailureOf(body);
  return failure ? failure->Number() : 0;
}

TEST_F(MapBridgeTest, LayersAndGroupsStandInTheOrderOfTheTreeUnderTheirNames) {
  AddVector("nests.shp", "my nests");
  QgsLayerTreeGroup* group = project.layerTreeRoot()->addGroup(QStringLiteral("Land"));
  AddVector("meadows.shp", "meadows", group);
  AddVector("forest.shp", "forest", group);
  AddVector("streams.shp", "streams");
  EXPECT_THAT(Names(), ElementsAre("my nests", "Land", "meadows", "forest", "streams"));
  EXPECT_EQ(map.LayerCount(), 3);
  EXPECT_EQ(Features(2).ShapeType(), GeometryType::kPolygon);
  EXPECT_EQ(Features(2).SourcePath(), folder / "meadows.shp");
}

TEST_F(MapBridgeTest, ARasterOfItsDefaultNameIsNamedAsItsFile) {
  AddRaster("elevation.tif", "elevation");
  AddRaster("elevation.asc", "heights");
  EXPECT_THAT(Names(), ElementsAre("elevation.tif", "heights"));
  EXPECT_EQ(dynamic_cast<IRasterLayer&>(*map.Layers()[0]).BandCount(), 1);
}

TEST_F(MapBridgeTest, AFilterAndASelectionAreTakenOver) {
  QgsVectorLayer* layer = AddVector("meadows.shp", "meadows");
  const std::int64_t all = Features(0).FeatureClass().FeatureCount();
  ASSERT_GT(all, 2);
  ASSERT_TRUE(layer->setSubsetString(QStringLiteral("FID > 0")));
  layer->selectByIds({1, 2});
  Click();
  EXPECT_EQ(Features(0).DefinitionQuery(), "FID > 0");
  EXPECT_THAT(Features(0).SelectionSet().Oids(), ElementsAre(1, 2));
  const auto rows = Features(0).Search();
  std::int64_t seen = 0;
  while (rows->Next() != nullptr) ++seen;
  EXPECT_EQ(seen, all - 1);
}

TEST_F(MapBridgeTest, ALayerWhoseDataAreGoneIsInvalid) {
  AddVector("gone.shp", "gone");
  AddRaster("gone.tif", "gone");
  ASSERT_THAT(Names(), ElementsAre("gone", "gone.tif"));
  for (const LayerPtr& layer : map.Layers()) EXPECT_FALSE(layer->Valid());
}

TEST_F(MapBridgeTest, ALayerInEditModeIsReadAndRefusesEdits) {
  QgsVectorLayer* layer = AddVector("meadows.shp", "meadows");
  AddVector("meadows.shp", "again");
  ASSERT_TRUE(layer->startEditing());
  Click();
  for (const std::size_t i : {0U, 1U}) {
    IFeatureClass& features = Features(i).FeatureClass();
    EXPECT_GT(features.FeatureCount(), 0);
    EXPECT_EQ(ErrorOf([&] { features.AddField(Field("NEW", FieldType::kInteger)); }), 70);
    EXPECT_EQ(ErrorOf([&] { features.Update(); }), 70);
    EXPECT_EQ(ErrorOf([&] { features.Insert(); }), 70);
  }
  layer->rollBack();
  Click();
  EXPECT_EQ(ErrorOf([&] { Features(0).FeatureClass().Update(); }), 0);
}

TEST_F(MapBridgeTest, AShapefileAndItsTableAreLockedTogether) {
  QgsVectorLayer* table = AddVector("nests.dbf", "nest list");
  QgsVectorLayer* shapes = AddVector("nests.shp", "nests");
  QgsVectorLayer* ofFolder = AddVector("|layername=nests", "of the folder");
  fs::create_directory_symlink(folder.Path(), folder / "link");
  QgsVectorLayer* linked = AddVector("link/nests.shp", "linked");
  for (QgsVectorLayer* edited : {table, shapes, ofFolder, linked}) {
    SCOPED_TRACE(FromQt(edited->name()));
    ASSERT_TRUE(edited->startEditing());
    Click();
    ASSERT_EQ(map.StandaloneTables().size(), 1U);
    ITable& rows = map.StandaloneTables()[0]->Table();
    EXPECT_GT(rows.RowCount(), 0);
    EXPECT_EQ(ErrorOf([&] { rows.Update(); }), 70);
    EXPECT_EQ(ErrorOf([&] { rows.AddField(Field("NEW", FieldType::kInteger)); }), 70);
    for (const std::size_t i : {0U, 1U, 2U})
      EXPECT_EQ(ErrorOf([&] { Features(i).FeatureClass().Update(); }), 70);
    edited->rollBack();
  }
  Click();
  EXPECT_EQ(ErrorOf([&] { map.StandaloneTables()[0]->Table().Update(); }), 0);
  EXPECT_EQ(ErrorOf([&] { Features(0).FeatureClass().Update(); }), 0);
}

TEST_F(MapBridgeTest, ALayerOfAFolderIsItsFile) {
  EXPECT_EQ(FileBehind(*AddVector("|layername=nests", "nests")), folder / "nests.shp");
  EXPECT_EQ(FileBehind(*AddVector("nests.shp|layername=nests", "nests")), folder / "nests.shp");
  EXPECT_EQ(FileBehind(*AddVector("none.gpkg|layername=nests", "nests")),
            folder / "none.gpkg|layername=nests");
}

TEST_F(MapBridgeTest, TheTableOfAShapefileStandsAloneAndHasNoShapes) {
  const QgsVectorLayer* shown = AddVector("nests.dbf", "nest list");
  AddVector("nests.shp", "nests");
  AddVector("gone.dbf", "gone");
  ASSERT_TRUE(shown->isValid());
  EXPECT_THAT(Names(), ElementsAre("nests"));
  ASSERT_EQ(map.StandaloneTables().size(), 2U);
  const IStandaloneTable& table = *map.StandaloneTables()[0];
  EXPECT_EQ(table.Name(), "nest list");
  EXPECT_EQ(table.SourcePath(), folder / "nests.dbf");
  EXPECT_FALSE(table.Table().HasShape());
  EXPECT_EQ(table.Table().Fields()[0].type, FieldType::kOid);
  EXPECT_EQ(table.Table().RowCount(), Features(0).FeatureClass().RowCount());
  EXPECT_FALSE(map.StandaloneTables()[1]->Valid());
}

TEST_F(MapBridgeTest, ATableWithoutShapesStandsAlone) {
  WriteBytes(folder / "samples.csv", "ID,DEPTH\n1,2.5\n2,3.5\n");
  AddVector("samples.csv", "samples");
  EXPECT_THAT(Names(), IsEmpty());
  ASSERT_EQ(map.StandaloneTables().size(), 1U);
  EXPECT_EQ(map.StandaloneTables()[0]->Name(), "samples");
  EXPECT_EQ(map.StandaloneTables()[0]->Table().RowCount(), 2);
}

TEST_F(MapBridgeTest, PicturesOfServersAreLeftOutAndTold) {
  QStringList told;
  map.onLeftOut = [&](const QStringList& layers) { told = layers; };
  const QString tiles =
      QStringLiteral("type=xyz&url=http://localhost:1/%7Bz%7D/%7Bx%7D/%7By%7D.png&zmax=3&zmin=0");
  project.addMapLayer(new QgsRasterLayer(tiles, QStringLiteral("tiles"), QStringLiteral("wms")));
  AddVector("nests.shp", "nests");
  EXPECT_THAT(Names(), ElementsAre("nests"));
  ASSERT_EQ(told.size(), 1);
  EXPECT_TRUE(told[0].startsWith(QStringLiteral("tiles: ")));
  told.clear();
  Click();
  Names();
  EXPECT_THAT(told, IsEmpty()) << "told once is enough";
}

TEST_F(MapBridgeTest, LayersThatAreNoFilesComeThroughTheirProvider) {
  auto* sketch = Add(new QgsVectorLayer(QStringLiteral("Point?crs=EPSG:2169&field=K:integer"),
                                        QStringLiteral("sketch"), QStringLiteral("memory")),
                     nullptr);
  Add(new QgsVectorLayer(QStringLiteral("NoGeometry?field=K:integer"), QStringLiteral("notes"),
                         QStringLiteral("memory")),
      nullptr);
  QgsFeatureList rows;
  for (int i = 0; i < 3; ++i) {
    QgsFeature row(sketch->fields());
    row.setAttribute(0, i);
    row.setGeometry(QgsGeometry::fromPointXY({1.0 * i, 2}));
    rows += row;
  }
  ASSERT_TRUE(sketch->dataProvider()->addFeatures(rows));
  ASSERT_TRUE(sketch->setSubsetString(QStringLiteral("K > 0")));
  sketch->selectByIds({2});
  project.setFileName(ToQt(folder / "project.qgz"));
  EXPECT_THAT(Names(), ElementsAre("sketch"));
  EXPECT_EQ(Features(0).FeatureClass().PathName(), folder.Path());
  EXPECT_EQ(Features(0).SourcePath(), "host:memory/sketch");
  EXPECT_THAT(Features(0).SelectionSet().Oids(), ElementsAre(2));
  EXPECT_EQ(Features(0).FeatureClass().FeatureCount(), 3);
  EXPECT_EQ(Features(0).FeatureClass().FeatureCount(Features(0).Shown()), 2);
  ASSERT_EQ(map.StandaloneTables().size(), 1U);
  map.Select("sketch", {3});
  EXPECT_EQ(sketch->selectedFeatureIds(), QgsFeatureIds({3}));

  const MapContents contents = ContentsOf(map);
  ASSERT_EQ(contents.layers.size(), 1U);
  EXPECT_EQ(contents.layers[0].path, "host:memory/sketch");
  EXPECT_EQ(contents.layers[0].name, "sketch");
  EXPECT_EQ(contents.layers[0].where, "K > 0");
  EXPECT_EQ(contents.tables[0].path, "host:memory/notes");
  EXPECT_NE(ErrorOf([&] { CheckAllAreFiles(contents); }), 0);
}

TEST_F(MapBridgeTest, NothingOfALostConnectionIsTold) {
  auto* lost = Add(new QgsVectorLayer(QStringLiteral("dbname='none' password='secret' table=\"a\""),
                                      QStringLiteral("lost"), QStringLiteral("spatialite")),
                   nullptr);
  ASSERT_FALSE(lost->isValid());
  EXPECT_THAT(Names(), ElementsAre("lost"));
  EXPECT_FALSE(map.Layers()[0]->Valid());
  EXPECT_EQ(ContentsOf(map).layers[0].path, "host:spatialite/lost");
}

TEST_F(MapBridgeTest, ASelectionMadeByAToolIsSeenInQgisAtOnce) {
  QgsVectorLayer* layer = AddVector("meadows.shp", "meadows");
  IFeatureLayer& features = Features(0);
  features.SetSelectionSet(ISelectionSet({0, 2}));
  map.SelectionChanged(features);
  EXPECT_EQ(layer->selectedFeatureIds(), QgsFeatureIds({0, 2}));
  map.Select("meadows", {1});
  EXPECT_EQ(layer->selectedFeatureIds(), QgsFeatureIds({1}));
  EXPECT_NE(ErrorOf([&] { map.Select("none", {1}); }), 0);
}

TEST_F(MapBridgeTest, AnOutputComesOnTopUnderItsName) {
  AddVector("nests.shp", "nests");
  Names();
  auto output = std::make_shared<IFeatureLayer>(OpenFeatureClassByPath(folder / "streams.shp"));
  output->SetName("new streams");
  map.AddLayer(output);
  EXPECT_THAT(Names(), ElementsAre("new streams", "nests"));
  const auto order = project.layerTreeRoot()->layerOrder();
  ASSERT_EQ(order.size(), 2);
  EXPECT_EQ(order[0]->name(), QStringLiteral("new streams"));
  EXPECT_TRUE(order[0]->isValid());
  Click();
  EXPECT_THAT(Names(), ElementsAre("new streams", "nests"));
}

TEST_F(MapBridgeTest, NewFieldsAndRecordsAreSeenWhenTheWorkIsDone) {
  QgsVectorLayer* layer = AddVector("meadows.shp", "meadows");
  QgsVectorLayer* untouched = AddVector("nests.shp", "nests");
  int reloads = 0;
  QObject::connect(untouched, &QgsMapLayer::repaintRequested, untouched, [&] { ++reloads; });
  IFeatureClass& features = Features(0).FeatureClass();
  const auto before = layer->featureCount();
  features.AddField(Field("NEW", FieldType::kDouble));
  const auto rows = features.Insert();
  const auto row = features.CreateFeatureBuffer();
  row->SetDouble(features.FindField("NEW"), 4.5);
  rows->InsertRow(*row);
  rows->Flush();
  CommitAllEdits();
  map.WorkDone();
  const int field = layer->fields().lookupField(QStringLiteral("NEW"));
  ASSERT_GE(field, 0);
  EXPECT_EQ(layer->featureCount(), before + 1);
  EXPECT_EQ(layer->getFeature(before).attribute(field).toDouble(), 4.5);
  EXPECT_EQ(reloads, 0);
}

TEST_F(MapBridgeTest, WhatIsSelectedStaysSoWhenColumnsCome) {
  QgsVectorLayer* layer = AddVector("meadows.shp", "meadows");
  layer->selectByIds({1, 2});
  Features(0).FeatureClass().AddField(Field("NEW", FieldType::kDouble));
  CommitAllEdits();
  map.WorkDone();
  EXPECT_GE(layer->fields().lookupField(QStringLiteral("NEW")), 0);
  EXPECT_EQ(layer->selectedFeatureIds(), QgsFeatureIds({1, 2}));
}

TEST_F(MapBridgeTest, WhatWasSelectedIsNotWhereAnotherFileHasTakenTheName) {
  QgsVectorLayer* layer = AddVector("meadows.shp", "meadows");
  layer->selectByIds({1, 2});
  map.TopLayers();
  const std::string path = FileBehind(*layer);
  const std::string other = std::string(ORLINTHS_SESSIONS) + "/data/";
  for (const char* ending : {".shp", ".shx", ".dbf"})
    std::filesystem::copy_file(other + "forest" + ending, path.substr(0, path.size() - 4) + ending,
                               std::filesystem::copy_options::overwrite_existing);
  map.WorkDone();
  EXPECT_EQ(layer->selectedFeatureIds(), QgsFeatureIds());
}

TEST_F(MapBridgeTest, TheProjectsReferenceIsTheMaps) {
  AddVector("nests.shp", "nests");
  project.setCrs(QgsCoordinateReferenceSystem(QStringLiteral("EPSG:32632")));
  EXPECT_EQ(map.SpatialReference()->FactoryCode(), 32632);
  project.setCrs(QgsCoordinateReferenceSystem());
  EXPECT_EQ(map.SpatialReference()->FactoryCode(),
            Features(0).FeatureClass().SpatialReference()->FactoryCode());
}

}  // namespace
}  // namespace orlinths
