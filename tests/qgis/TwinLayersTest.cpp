#include "qgis/TwinLayers.h"

#include <qgscategorizedsymbolrenderer.h>

#include "qgis/ProviderFixture.h"
#include "qgis/Text.h"

namespace orlinths {
namespace {

class TwinLayers : public ProviderFixture {
 protected:
  TwinLayers() {
    QgsVectorLayer* sketch = AddMemory("Point?crs=EPSG:32632&field=K:integer");
    for (int i = 1; i <= 4; ++i) AddRow(*sketch, "Point(1 1)", {10 * i});
    WriteWithQgis(*sketch, folder / "a.sqlite");
    stored = AddStored(folder / "a.sqlite");
  }
  /// As tools do.
  void AddColumn() {
    const FeatureClassPtr table = OpenProviderClass(*stored);
    table->AddField({.name = "N", .type = FieldType::kInteger, .geometry = {}});
    const int field = table->FindField("N");
    {
      const CursorPtr rows = table->Update();
      while (IRow* row = rows->Next()) {
        row->SetValue(field, Value(static_cast<std::int32_t>(row->OID())));
        rows->UpdateRow(*row);
      }
    }
    CommitAllEdits();
  }
  static int Shown(QgsVectorLayer& layer, QgsFeatureId id) {
    return layer.getFeature(id).attribute(QStringLiteral("n")).toInt();
  }

  QgsVectorLayer* stored;
};

TEST_F(TwinLayers, ShowWhatARunHasWritten) {
  QgsVectorLayer* twin = AddStored(folder / "a.sqlite", "twin");
  int repainted = 0;
  QObject::connect(twin, &QgsMapLayer::repaintRequested, twin, [&] { ++repainted; });
  AddColumn();
  EXPECT_EQ(twin->fields().lookupField(QStringLiteral("n")), 2);
  EXPECT_EQ(Shown(*twin, 3), 3);
  EXPECT_GE(repainted, 1);
}

TEST_F(TwinLayers, KeepTheirFilterTheirSelectionTheirNameAndTheirLooks) {
  QgsVectorLayer* twin = AddStored(folder / "a.sqlite", "twin", "\"k\" > 15");
  twin->selectByIds({3, 4});
  auto* looks = new QgsCategorizedSymbolRenderer(QStringLiteral("k"));
  twin->setRenderer(looks);
  AddColumn();
  EXPECT_EQ(Shown(*twin, 3), 3);
  EXPECT_EQ(twin->featureCount(), 3);
  EXPECT_EQ(FromQt(twin->subsetString()), "\"k\" > 15");
  EXPECT_EQ(twin->selectedFeatureIds(), QgsFeatureIds({3, 4}));
  EXPECT_EQ(FromQt(twin->name()), "twin");
  EXPECT_EQ(twin->renderer(), looks);
}

TEST_F(TwinLayers, ThatTheirUserEditsAreLeftAlone) {
  QgsVectorLayer* twin = AddStored(folder / "a.sqlite", "twin");
  ASSERT_TRUE(twin->startEditing());
  ASSERT_TRUE(twin->changeAttributeValue(1, 1, 99));
  ShowInTwins(*stored);
  EXPECT_TRUE(twin->isEditable());
  EXPECT_EQ(twin->getFeature(1).attribute(1).toInt(), 99);
  EXPECT_TRUE(twin->rollBack());
}

TEST_F(TwinLayers, AreThoseOfOneTable) {
  const auto behind = [this](const char* provider, const char* source) {
    QgsVectorLayer layer(QString::fromUtf8(source), QStringLiteral("x"),
                         QString::fromUtf8(provider));
    return TableBehind(layer);
  };
  const QString one = behind("postgres", "dbname='d' host=h port=5432 table=\"s\".\"t\" (g)");
  EXPECT_NE(one, QString());
  EXPECT_EQ(one, behind("postgres",
                        "dbname='d' host=h port=5432 key='id' estimatedmetadata=true "
                        "srid=4326 table=\"s\".\"t\" (g2) sql=\"k\" > 1"));
  EXPECT_NE(one, behind("postgres", "dbname='d' host=h port=5432 table=\"s\".\"u\" (g)"));
  EXPECT_NE(one, behind("postgres", "dbname='d' host=h port=5432 table=\"r\".\"t\" (g)"));
  EXPECT_NE(one, behind("postgres", "dbname='e' host=h port=5432 table=\"s\".\"t\" (g)"));
  EXPECT_NE(one, behind("postgres", "dbname='d' host=i port=5432 table=\"s\".\"t\" (g)"));
  EXPECT_EQ(TableBehind(*stored), TableBehind(*AddStored(folder / "a.sqlite", "b", "\"k\" > 1")));
  EXPECT_EQ(TableBehind(*AddMemory("Point?field=K:integer")), QString()) << "nobody else's";
}

}  // namespace
}  // namespace orlinths
