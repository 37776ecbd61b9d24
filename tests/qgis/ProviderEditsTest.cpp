// Edits of layers that are no files: seen at once by readers, written in lists, shown by QGIS.
#include <qgsvectordataprovider.h>

#include "qgis/LayerBridge.h"
#include "qgis/ProviderFixture.h"
#include "qgis/Text.h"
#include "support/ErrorNumberOf.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr int kPlatform = static_cast<int>(ErrorNumber::kPlatform);

Field Named(const char* name, FieldType type, int length = 0) {
  return {.name = name, .type = type, .length = length, .geometry = {}};
}

class ProviderEdits : public ProviderFixture {
 protected:
  ProviderEdits() {
    layer = AddMemory("LineString?crs=EPSG:32632&field=K:integer&field=NAME:string(5)");
    for (int i = 1; i <= 3; ++i)
      AddRow(*layer, "LineString(0 0, 1 1)", {10 * i, QStringLiteral("n%1").arg(i)});
    lines = OpenProviderClass(*layer);
  }
  /// What stands in the provider now.
  QVariant Held(Oid oid, const char* column) const {
    return layer->getFeature(oid).attribute(QString::fromUtf8(column));
  }
  int At(const char* field) const { return lines->FindField(field); }

  QgsVectorLayer* layer;
  FeatureClassPtr lines;
};

TEST_F(ProviderEdits, FieldsAreAddedAndDeletedAtOnce) {
  const std::uint64_t before = lines->ChangeCount();
  lines->AddField(Named("LENGTH", FieldType::kDouble));
  lines->AddField(Named("SMALL", FieldType::kSmallInteger));
  lines->AddField(Named("WORD", FieldType::kText, 8));
  lines->AddField(Named("TEXT", FieldType::kText));
  lines->AddField(Named("DAY", FieldType::kDate));
  lines->AddField(Named("ID", FieldType::kOid));
  lines->AddField(Named("ONE", FieldType::kSingle));
  EXPECT_THAT(FieldsOf(*lines), ElementsAre("K:1", "NAME:4", "LENGTH:3", "SMALL:0", "WORD:4",
                                            "TEXT:4", "DAY:5", "ID:1", "ONE:2"));
  EXPECT_EQ(lines->Fields()[At("WORD")].length, 8);
  EXPECT_EQ(lines->Fields()[At("TEXT")].length, 50);
  EXPECT_GT(lines->ChangeCount(), before);
  EXPECT_EQ(layer->fields().count(), 9) << "QGIS knows them";
  const CursorPtr rows = lines->Search();
  EXPECT_TRUE(rows->Next()->IsNull(At("LENGTH")));
  lines->DeleteField(At("NAME"));
  EXPECT_EQ(At("NAME"), -1);
  EXPECT_EQ(layer->fields().lookupField(QStringLiteral("NAME")), -1);
  EXPECT_EQ(rows->Next()->GetValue(At("K")), Value(20)) << "a reader goes on in the new columns";
}

TEST_F(ProviderEdits, OfTheSchemaThatCannotBeAreRefused) {
  EXPECT_EQ(ErrorNumberOf([&] { lines->AddField(Named("k", FieldType::kText)); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { lines->AddField(Named("fid", FieldType::kText)); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { lines->AddField(Named("", FieldType::kText)); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { lines->AddField(Named("G", FieldType::kGeometry)); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { lines->DeleteField(0); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { lines->DeleteField(1); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { lines->DeleteField(4); }), 9);
  EXPECT_EQ(ErrorNumberOf([&] { lines->Delete(); }), kPlatform);
  EXPECT_FALSE(lines->CanRename());
  EXPECT_EQ(ErrorNumberOf([&] { lines->Rename("other"); }), kPlatform);
  EXPECT_THAT(FieldsOf(*lines), ElementsAre("K:1", "NAME:4"));
}

TEST_F(ProviderEdits, OfRowsAreSeenByReadersBeforeTheyAreWritten) {
  const CursorPtr reader = lines->Search();
  ASSERT_EQ(reader->Next()->OID(), 1);
  const CursorPtr rows = lines->Update();
  while (IRow* row = rows->Next()) {
    row->SetValue(At("K"), Value(100 * static_cast<std::int32_t>(row->OID())));
    row->SetDouble(At("K"), row->GetDouble(At("K")) + 1);
    EXPECT_EQ(row->GetDouble(At("K")), 100.0 * static_cast<double>(row->OID()) + 1);
    row->SetShape(Wkt("LINESTRING(5 5, 6 6, 7 5)"));
    rows->UpdateRow(*row);
    if (row->OID() == 2) rows->DeleteRow(*row);
  }
  EXPECT_EQ(Held(1, "K").toInt(), 10) << "nothing is written row by row";
  const IRow* row = reader->Next();
  EXPECT_EQ(row->OID(), 3);
  EXPECT_EQ(row->GetValue(At("K")), Value(301));
  EXPECT_EQ(AsWkt(row->Shape()), "LINESTRING(5 5, 6 6, 7 5)");
  EXPECT_EQ(lines->RowCount(), 2);
  EXPECT_FALSE(lines->HasRow(2));
  EXPECT_EQ(lines->Extent(), (Envelope{5, 5, 7, 6}));
  rows->Flush();
  EXPECT_EQ(Held(1, "K").toInt(), 101);
  EXPECT_FALSE(layer->getFeature(2).isValid());
  EXPECT_THAT(RowsOf(*lines),
              ElementsAre("LINESTRING(5 5, 6 6, 7 5)|101|n1", "LINESTRING(5 5, 6 6, 7 5)|301|n3"));
}

TEST_F(ProviderEdits, AreWrittenBeforeAFilterLooksAtThem) {
  const CursorPtr rows = lines->Update();
  IRow* row = rows->Next();
  row->SetValue(At("K"), Value(77));
  rows->UpdateRow(*row);
  QueryFilter filter;
  filter.where = "K = 77";
  EXPECT_THAT(lines->Select(filter).Oids(), ElementsAre(1));
  // The cursor goes on behind it.
  EXPECT_EQ(rows->Next()->OID(), 2);
  EXPECT_EQ(rows->Next()->OID(), 3);
  EXPECT_EQ(rows->Next(), nullptr);
}

TEST_F(ProviderEdits, AreWrittenWhenTheCursorGoesAndShownWhenTheRunIsOver) {
  int changed = 0, repainted = 0;
  QObject::connect(layer, &QgsMapLayer::dataChanged, layer, [&] { ++changed; });
  QObject::connect(layer, &QgsMapLayer::repaintRequested, layer, [&] { ++repainted; });
  {
    const CursorPtr rows = lines->Update();
    IRow* row = rows->Next();
    row->SetValue(At("NAME"), Value("oak"));
    rows->UpdateRow(*row);
  }
  EXPECT_EQ(Held(1, "NAME").toString(), QStringLiteral("oak"));
  EXPECT_EQ(changed, 0);
  CommitAllEdits();
  EXPECT_EQ(changed, 1);
  EXPECT_GE(repainted, 1);
  CommitAllEdits();
  EXPECT_EQ(changed, 1) << "there was nothing more";
}

TEST_F(ProviderEdits, InsertRowsByTheList) {
  const CursorPtr rows = lines->Insert();
  const auto row = lines->CreateFeatureBuffer();
  EXPECT_EQ(row->OID(), -1);
  for (int i = 0; i < 3; ++i) {
    row->SetValue(At("K"), Value(i));
    row->SetShape(Wkt(i == 2 ? "MULTILINESTRING((0 0, 1 0), (2 0, 3 0))" : "LINESTRING(0 0, 9 9)"));
    rows->InsertRow(*row);
  }
  EXPECT_EQ(layer->featureCount(), 3);
  rows->Flush();
  EXPECT_EQ(layer->featureCount(), 6);
  EXPECT_EQ(lines->RowCount(), 6);
  EXPECT_THAT(RowsOf(*lines), ::testing::Contains("MULTILINESTRING((0 0, 1 0), (2 0, 3 0))|2|-"));
  EXPECT_EQ(lines->Extent(), (Envelope{0, 0, 9, 9}));
  EXPECT_EQ(ErrorNumberOf([&] { row->SetValue(0, Value(1)); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { rows->UpdateRow(*row); }), kPlatform);
}

TEST_F(ProviderEdits, OfAValueThatDoesNotFitLeaveTheRowAsItWas) {
  lines->AddField(Named("SMALL", FieldType::kSmallInteger));
  lines->AddField(Named("DAY", FieldType::kDate));
  const CursorPtr rows = lines->Update();
  IRow* row = rows->Next();
  const auto refusal = [&](const char* field, const Value& value) {
    row->SetValue(At("K"), Value(5));
    row->SetValue(At(field), value);
    const int number = ErrorNumberOf([&] { rows->UpdateRow(*row); });
    row = nullptr;
    const CursorPtr again = lines->Search();
    EXPECT_EQ(again->Next()->GetValue(At("K")), Value(10));
    return number;
  };
  EXPECT_EQ(refusal("NAME", Value("sixsix")), kPlatform);
  row = rows->Next();
  EXPECT_EQ(refusal("SMALL", Value(40000)), 6);
  row = rows->Next();
  EXPECT_EQ(refusal("DAY", Value("no day")), 13);
  const CursorPtr others = lines->Update();
  row = others->Next();
  row->SetValue(At("NAME"), Value("ÄÖÜäö"));  // five letters, ten bytes
  row->SetValue(At("DAY"), Value("2026-03-01"));
  row->SetValue(At("K"), Value(2.5));
  others->UpdateRow(*row);
  EXPECT_EQ(row->GetValue(At("NAME")), Value("ÄÖÜäö"));
  EXPECT_EQ(row->GetValue(At("DAY")), Value(*Date::Parse("2026-03-01")));
  EXPECT_EQ(row->GetValue(At("K")), Value(2)) << "halves to even";
  row->SetValue(At("K"), Null{});
  others->UpdateRow(*row);
  EXPECT_TRUE(row->IsNull(At("K")));
  row->SetValue(At("K"), Value(3e9));
  EXPECT_EQ(ErrorNumberOf([&] { others->UpdateRow(*row); }), 6);
  EXPECT_EQ(ErrorNumberOf([&] { row->SetValue(1, Value(1)); }), kPlatform);
  const CursorPtr reader = lines->Search();
  EXPECT_EQ(ErrorNumberOf([&] { reader->Next()->SetValue(At("K"), Value(1)); }), kPlatform);
}

TEST_F(ProviderEdits, AreRefusedWhileTheUserEditsTheLayer) {
  BridgedLayer before = Bridge(*layer);
  ASSERT_TRUE(layer->startEditing());
  const BridgedLayer during = Bridge(*layer);
  for (const BridgedLayer* bridged : {&std::as_const(before), &during}) {
    IFeatureClass& features =
        dynamic_cast<IFeatureLayer&>(*std::get<LayerPtr>(bridged->layer)).FeatureClass();
    EXPECT_EQ(features.FeatureCount(), 3);
    EXPECT_EQ(ErrorNumberOf([&] { features.AddField(Named("NEW", FieldType::kInteger)); }), 70);
    EXPECT_EQ(ErrorNumberOf([&] { features.DeleteField(2); }), 70);
    EXPECT_EQ(ErrorNumberOf([&] { features.Update(); }), 70);
    EXPECT_EQ(ErrorNumberOf([&] { features.Insert(); }), 70);
  }
  layer->rollBack();
  EXPECT_NO_THROW(lines->Update());
  layer->setReadOnly(true);
  EXPECT_EQ(ErrorNumberOf([&] { lines->Update(); }), 70);
}

TEST_F(ProviderEdits, OfOneLayerInMemoryDoNotLockAnother) {
  QgsVectorLayer* other = AddMemory("Point");
  ASSERT_TRUE(other->startEditing());
  const BridgedLayer bridged = Bridge(*layer);
  EXPECT_NO_THROW(
      dynamic_cast<IFeatureLayer&>(*std::get<LayerPtr>(bridged.layer)).FeatureClass().Update());
  other->rollBack();
}

TEST_F(ProviderEdits, OfTheUserAreSeenByTheNextLook) {
  const std::uint64_t before = lines->ChangeCount();
  EXPECT_EQ(lines->Extent(), (Envelope{0, 0, 1, 1}));
  ASSERT_TRUE(layer->startEditing());
  ASSERT_TRUE(layer->deleteFeature(3));
  QgsGeometry moved = QgsGeometry::fromWkt(QStringLiteral("LineString(0 0, 8 8)"));
  ASSERT_TRUE(layer->changeGeometry(1, moved));
  ASSERT_TRUE(layer->commitChanges());
  EXPECT_GT(lines->ChangeCount(), before);
  EXPECT_EQ(lines->RowCount(), 2);
  EXPECT_EQ(lines->Extent(), (Envelope{0, 0, 8, 8}));
  std::vector<Oid> at;
  lines->FeaturesAt(7, 7, at);
  EXPECT_THAT(at, ElementsAre(1));
}

TEST_F(ProviderEdits, PolygonsKeepTheirHolesAndTheirZ) {
  QgsVectorLayer* zones = AddMemory("MultiPolygonZ");
  const FeatureClassPtr polygons = OpenProviderClass(*zones);
  const CursorPtr rows = polygons->Insert();
  const auto row = polygons->CreateFeatureBuffer();
  const char* wkt =
      "POLYGON((0 0 1, 0 9 2, 9 9 3, 9 0 4, 0 0 1), (20 0 5, 20 5 5, 25 5 5, 20 0 5), "
      "(1 1 6, 2 2 7, 1 2 8, 1 1 6))";
  row->SetShape(Wkt(wkt));
  rows->InsertRow(*row);
  row->SetShape(Wkt("POLYGON EMPTY"));
  rows->InsertRow(*row);
  row->SetShape(Geometry());
  rows->InsertRow(*row);
  rows->Flush();
  EXPECT_TRUE(zones->getFeature(1).geometry().isGeosValid());
  EXPECT_NEAR(zones->getFeature(1).geometry().area(), 81 + 12.5 - 0.5, 1e-9);
  EXPECT_EQ(AsWkt(ShapeOf(*polygons, 1)),
            AsWkt(Wkt("POLYGON((0 0 1, 0 9 2, 9 9 3, 9 0 4, 0 0 1), (1 1 6, 2 2 7, 1 2 8, 1 1 6), "
                      "(20 0 5, 20 5 5, 25 5 5, 20 0 5))")))
      << "a hole stands behind its shell";
  EXPECT_TRUE(ShapeOf(*polygons, 2).IsEmpty());
  EXPECT_FALSE(ShapeOf(*polygons, 2).IsNull());
  EXPECT_TRUE(ShapeOf(*polygons, 3).IsNull());
}

TEST_F(ProviderEdits, SpatialiteTakesFieldsOfEveryType) {
  WriteWithQgis(*layer, folder / "a.sqlite");
  const FeatureClassPtr table = OpenProviderClass(*AddStored(folder / "a.sqlite"));
  const std::vector<std::pair<Field, Value>> cases = {
      {Named("SMALL", FieldType::kSmallInteger), Value(std::int16_t{-7})},
      {Named("WHOLE", FieldType::kInteger), Value(2147483647)},
      {Named("ONE", FieldType::kSingle), Value(0.5F)},
      {Named("TWO", FieldType::kDouble), Value(0.1)},
      {Named("WORD", FieldType::kText, 8), Value("oak")}};
  for (const auto& [field, value] : cases) table->AddField(field);
  const CursorPtr rows = table->Update();
  IRow* row = rows->Next();
  for (const auto& [field, value] : cases) row->SetValue(table->FindField(field.name), value);
  rows->UpdateRow(*row);
  rows->Flush();
  const CursorPtr written = table->Search();
  const IRow* first = written->Next();
  for (const auto& [field, value] : cases)
    EXPECT_EQ(ToText(first->GetValue(table->FindField(field.name))), ToText(value)) << field.name;
}

/// A provider of which a part fails says so once; the layer is whole.
TEST_F(ProviderEdits, ThatTheDatabaseRefusesAreTold) {
  WriteWithQgis(*layer, folder / "a.sqlite");
  QgsVectorLayer* stored = AddStored(folder / "a.sqlite");
  const FeatureClassPtr table = OpenProviderClass(*stored);
  const int name = table->FindField("NAME");
  const auto change = [&] {
    const CursorPtr rows = table->Update();
    while (IRow* row = rows->Next()) {
      row->SetValue(name, Value("x" + ToText(row->OID())));
      rows->UpdateRow(*row);
    }
  };
  change();
  EXPECT_EQ(stored->getFeature(2).attribute(QStringLiteral("name")).toString(),
            QStringLiteral("x2"));
  const CursorPtr rows = table->Insert();
  const auto row = table->CreateFeatureBuffer();
  row->SetValue(2, Value(1));  // a key that is taken
  row->SetShape(Wkt("LINESTRING(0 0, 1 1)"));
  rows->InsertRow(*row);
  EXPECT_THAT(ErrorTextOf([&] { rows->Flush(); }), HasSubstr("UNIQUE"));
  EXPECT_EQ(table->RowCount(), 3);
  EXPECT_NO_THROW(CommitAllEdits()) << "told once";
  rows->InsertRow(*row);
  EXPECT_THAT(ErrorTextOf([] { CommitAllEdits(); }), HasSubstr("UNIQUE"));
  row->SetValue(2, Value());
  rows->InsertRow(*row);
  rows->Flush();
  EXPECT_EQ(table->RowCount(), 4);
}

TEST_F(ProviderEdits, ThatOnlyTheEndOfACursorCouldTellAreToldWhenTheRunEnds) {
  WriteWithQgis(*layer, folder / "a.sqlite");
  QgsVectorLayer* stored = AddStored(folder / "a.sqlite");
  const FeatureClassPtr table = OpenProviderClass(*stored);
  {
    const CursorPtr rows = table->Insert();
    const auto row = table->CreateFeatureBuffer();
    row->SetValue(2, Value(1));
    row->SetShape(Wkt("LINESTRING(0 0, 1 1)"));
    rows->InsertRow(*row);
  }
  EXPECT_THAT(ErrorTextOf([] { CommitAllEdits(); }), HasSubstr("UNIQUE"));
  EXPECT_NO_THROW(CommitAllEdits());
}

}  // namespace
}  // namespace orlinths
