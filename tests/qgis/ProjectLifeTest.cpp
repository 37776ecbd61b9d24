// The tools' map while the project of QGIS changes under it.
#include <gmock/gmock.h>

#include <qgslayertree.h>
#include <qgsproject.h>
#include <qgsrulebasedlabeling.h>
#include <qgssinglesymbolrenderer.h>
#include <qgsvectorlayer.h>

#include <cctype>
#include <filesystem>
#include <memory>

#include "data/SpatialReference.h"
#include "data/Workspace.h"
#include "qgis/LayerReload.h"
#include "qgis/MapBridge.h"
#include "qgis/Text.h"
#include "runtime/Files.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ProjectLifeTest : public ::testing::Test {
 protected:
  ProjectLifeTest() {
    project.clear();
    fs::copy(std::string(ORLINTHS_SESSIONS) + "/data", folder.Path(), fs::copy_options::recursive);
  }
  ~ProjectLifeTest() override { project.clear(); }

  QgsVectorLayer* Add(const std::string& file, const char* name) {
    QgsVectorLayer::LayerOptions options;
    options.skipCrsValidation = true;
    auto* layer = new QgsVectorLayer(ToQt(folder / file), QString::fromUtf8(name),
                                     QStringLiteral("ogr"), options);
    project.addMapLayer(layer, false);
    project.layerTreeRoot()->addLayer(layer);
    return layer;
  }
  /// As a click on a command sees them.
  std::vector<std::string> Names() {
    map.Renew();
    std::vector<std::string> names;
    for (const LayerPtr& layer : map.Layers()) names.push_back(layer->Name());
    return names;
  }
  IFeatureLayer& Features(std::size_t i) const {
    return dynamic_cast<IFeatureLayer&>(*map.Layers().at(i));
  }
  void AddFieldTo(const std::string& file) {
    OpenFeatureClassByPath(folder / file)->AddField(Field("NEW", FieldType::kDouble));
    CommitAllEdits();
  }

  TempFolder folder;
  QgsProject& project = *QgsProject::instance();
  MapBridge map{project};
};

TEST_F(ProjectLifeTest, ALayerRemovedUnderAToolStaysGoodForItAndIsSelectedNowhere) {
  QgsVectorLayer* layer = Add("nests.shp", "nests");
  Names();
  const LayerPtr held = map.Layers().front();
  auto& features = dynamic_cast<IFeatureLayer&>(*held);
  project.removeMapLayer(layer);
  EXPECT_GT(features.FeatureClass().RowCount(), 0);
  features.SetSelectionSet(ISelectionSet({0}));
  map.SelectionChanged(features);
  AddFieldTo("nests.shp");
  map.WorkDone();
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(ProjectLifeTest, AnotherProjectIsAnotherMap) {
  Add("nests.shp", "nests");
  Names();
  const LayerPtr held = map.Layers().front();
  project.clear();
  map.WorkDone();
  EXPECT_THAT(Names(), IsEmpty());
  Add("collars.shp", "collars");
  EXPECT_THAT(Names(), ElementsAre("collars"));
  EXPECT_TRUE(held->Valid());
}

TEST_F(ProjectLifeTest, ANewNameIsSeenAtTheNextClick) {
  QgsVectorLayer* layer = Add("nests.shp", "nests");
  Names();
  layer->setName(QStringLiteral("Bäume am Weg"));
  EXPECT_THAT(Names(), ElementsAre("Bäume am Weg"));
}

TEST_F(ProjectLifeTest, OfTwoLayersOfOneNameTheRightOneIsSelected) {
  QgsVectorLayer* first = Add("nests.shp", "twins");
  QgsVectorLayer* second = Add("meadows.shp", "twins");
  EXPECT_THAT(Names(), ElementsAre("twins", "twins"));
  IFeatureLayer& lower = Features(1);
  lower.SetSelectionSet(ISelectionSet({1}));
  map.SelectionChanged(lower);
  EXPECT_EQ(first->selectedFeatureCount(), 0);
  EXPECT_EQ(second->selectedFeatureIds(), QgsFeatureIds({1}));
}

TEST_F(ProjectLifeTest, AHiddenGroupHidesNothingFromTheTools) {
  QgsVectorLayer* layer = Add("nests.shp", "nests");
  QgsLayerTreeGroup* group = project.layerTreeRoot()->addGroup(QStringLiteral("Hidden"));
  project.layerTreeRoot()->removeLayer(layer);
  group->addLayer(layer);
  group->setItemVisibilityChecked(false);
  EXPECT_THAT(Names(), ElementsAre("Hidden", "nests"));
}

TEST_F(ProjectLifeTest, AFileThatHasGoneMakesAnInvalidLayer) {
  Add("nests.shp", "nests");
  Add("nowhere.shp", "broken");
  EXPECT_THAT(Names(), ElementsAre("nests", "broken"));
  EXPECT_TRUE(map.Layers()[0]->Valid());
  EXPECT_FALSE(map.Layers()[1]->Valid());
  for (const char* ending : {".shp", ".shx", ".dbf", ".prj", ".cpg"})
    fs::remove(folder / (std::string("nests") + ending));
  EXPECT_THAT(Names(), ElementsAre("nests", "broken"));
  EXPECT_FALSE(map.Layers()[0]->Valid());
}

TEST_F(ProjectLifeTest, TheReferenceIsTheProjectsOfNow) {
  Add("nests.shp", "nests");
  Names();
  for (const long code : {32632L, 3035L}) {
    project.setCrs(QgsCoordinateReferenceSystem::fromEpsgId(code));
    EXPECT_EQ(map.SpatialReference()->FactoryCode(), code);
  }
}

TEST_F(ProjectLifeTest, ALayerIsDrawnAnewWhereItMayLookDifferent) {
  QgsVectorLayer* layer = Add("meadows.shp", "meadows");
  int drawn = 0;
  QObject::connect(layer, &QgsMapLayer::repaintRequested, layer, [&] { ++drawn; });
  Names();
  AddFieldTo("meadows.shp");
  map.WorkDone();
  EXPECT_GE(layer->fields().lookupField(QStringLiteral("NEW")), 0);
  EXPECT_EQ(drawn, 0) << "no colour and no label comes from the table";

  layer->setLabelsEnabled(true);
  layer->setLabeling(new QgsRuleBasedLabeling(new QgsRuleBasedLabeling::Rule(nullptr)));
  drawn = 0;
  Names();
  fs::last_write_time(folder / "meadows.dbf", fs::file_time_type::clock::now());
  map.WorkDone();
  EXPECT_EQ(drawn, 1);

  layer->setLabelsEnabled(false);
  drawn = 0;
  Names();
  fs::last_write_time(folder / "meadows.shp", fs::file_time_type::clock::now());
  map.WorkDone();
  EXPECT_EQ(drawn, 1) << "other shapes";
}

TEST_F(ProjectLifeTest, AShapefileAndItsTableAreReadAnewTogether) {
  const auto fieldOf = [](const QgsVectorLayer* layer, const char* name) {
    return layer->fields().lookupField(QString::fromUtf8(name));
  };
  const QgsVectorLayer* shapes = Add("nests.shp", "nests");
  const QgsVectorLayer* table = Add("nests.dbf", "nest list");
  const auto rows = shapes->featureCount();
  ASSERT_EQ(table->featureCount(), rows);
  Names();
  AddFieldTo("nests.shp");
  map.WorkDone();
  EXPECT_GE(fieldOf(shapes, "NEW"), 0);
  EXPECT_GE(fieldOf(table, "NEW"), 0);

  Names();
  {
    const TablePtr opened = OpenTableByPath(folder / "nests.dbf");
    opened->AddField(Field("LATER", FieldType::kDouble));
    const CursorPtr deleting = opened->Update();
    deleting->DeleteRow(*deleting->Next());
  }
  CommitAllEdits();
  map.WorkDone();
  for (const QgsVectorLayer* layer : {shapes, table}) {
    EXPECT_GE(fieldOf(layer, "LATER"), 0);
    EXPECT_EQ(layer->featureCount(), rows - 1);
  }
}

TEST_F(ProjectLifeTest, OtherShapesAreDrawnAnewInALayerOfTheTable) {
  QgsVectorLayer* table = Add("nests.dbf", "nest list");
  int drawn = 0;
  QObject::connect(table, &QgsMapLayer::repaintRequested, table, [&] { ++drawn; });
  Names();
  fs::last_write_time(folder / "nests.shp", fs::file_time_type::clock::now());
  map.WorkDone();
  EXPECT_EQ(drawn, 1) << "QGIS shows the shapes beside it";
}

TEST_F(ProjectLifeTest, TheTableIsFoundWhateverItsCase) {
  for (const char* ending : {".shp", ".shx", ".dbf"}) {
    std::string upper = ending;
    for (char& c : upper) c = static_cast<char>(std::toupper(c));
    fs::rename(folder / (std::string("nests") + ending), folder / ("NESTS" + upper));
  }
  const QgsVectorLayer* shapes = Add("NESTS.SHP", "nests");
  Names();
  AddFieldTo("NESTS.SHP");
  map.WorkDone();
  EXPECT_GE(shapes->fields().lookupField(QStringLiteral("NEW")), 0);
}

TEST_F(ProjectLifeTest, AFilterOrAColourByValueShowsAttributes) {
  QgsVectorLayer* layer = Add("meadows.shp", "meadows");
  EXPECT_FALSE(ShowsAttributes(*layer));
  layer->setSubsetString(QStringLiteral("FID >= 0"));
  EXPECT_TRUE(ShowsAttributes(*layer));
  layer->setSubsetString({});
  EXPECT_FALSE(ShowsAttributes(*layer));
  layer->renderer()->setOrderByEnabled(true);
  EXPECT_TRUE(ShowsAttributes(*layer));
}

}  // namespace
}  // namespace orlinths
