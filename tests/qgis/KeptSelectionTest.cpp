#include "qgis/KeptSelection.h"

#include "data/Workspace.h"
#include "qgis/LayerReload.h"
#include "qgis/ProviderFixture.h"
#include "qgis/Text.h"

namespace orlinths {
namespace {

class KeptSelectionTest : public ProviderFixture {
 protected:
  KeptSelectionTest() : sketch(AddMemory("Point?crs=EPSG:32632&field=K:integer")) {
    for (int i = 1; i <= 3; ++i) AddRow(*sketch, "Point(1 1)", {10 * i});
    sketch->selectByIds({1, 2});
  }
  static void AddColumn(ITable& table) {
    table.AddField({.name = "N", .type = FieldType::kInteger, .geometry = {}});
    CommitAllEdits();
  }

  QgsVectorLayer* sketch;
};

TEST_F(KeptSelectionTest, StaysWhenARunHasWrittenIntoALayerInMemory) {
  const FeatureClassPtr table = OpenProviderClass(*sketch);
  AddColumn(*table);
  EXPECT_EQ(sketch->selectedFeatureIds(), QgsFeatureIds({1, 2}));
  {
    const CursorPtr rows = table->Update();
    IRow* row = rows->Next();
    rows->DeleteRow(*row);
  }
  CommitAllEdits();
  EXPECT_EQ(sketch->selectedFeatureIds(), QgsFeatureIds({2})) << "of the rows that are there";
}

TEST_F(KeptSelectionTest, StaysWhenARunHasWrittenIntoADatabase) {
  WriteWithQgis(*sketch, folder / "a.sqlite");
  QgsVectorLayer* stored = AddStored(folder / "a.sqlite");
  stored->selectByIds({2, 3});
  AddColumn(*OpenProviderClass(*stored));
  EXPECT_EQ(stored->selectedFeatureIds(), QgsFeatureIds({2, 3}));
}

TEST_F(KeptSelectionTest, StaysWhenARunHasWrittenIntoAGeoPackage) {
  WriteWithQgis(*sketch, folder / "a.gpkg");
  const std::string path = folder / "a.gpkg|layername=sketch";
  QgsVectorLayer* stored = Add(ToQt(path), "ogr", "stored");
  stored->selectByIds({2, 3});
  LayerReload reload(project);
  reload.Remember();
  AddColumn(*OpenFeatureClassByPath(path));
  reload.ReloadChanged();
  EXPECT_GE(stored->fields().lookupField(QStringLiteral("N")), 0);
  EXPECT_EQ(stored->selectedFeatureIds(), QgsFeatureIds({2, 3}));
}

TEST_F(KeptSelectionTest, LetsALayerGo) {
  {
    const KeptSelection selection(*sketch);
    project.removeMapLayer(sketch);
  }
  EXPECT_TRUE(project.mapLayers().isEmpty());
}

}  // namespace
}  // namespace orlinths
