// What is read through a data provider of QGIS is what the same data are in a file.
#include <qgsvectordataprovider.h>

#include <QDate>
#include <QDateTime>

#include "data/Layers.h"
#include "data/Workspace.h"
#include "qgis/ProviderFixture.h"
#include "qgis/Text.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "support/ErrorNumberOf.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ProviderReading : public ProviderFixture {};

constexpr int kPlatform = static_cast<int>(ErrorNumber::kPlatform);

QueryFilter Where(const char* where) {
  QueryFilter filter;
  filter.where = where;
  return filter;
}

TEST_F(ProviderReading, OfMemoryEqualsTheFileThatItWasCopiedFrom) {
  for (const char* file : {"nests.shp", "meadows.shp", "streams.shp", "fixes.shp", "forest.shp"}) {
    SCOPED_TRACE(file);
    const FeatureClassPtr original =
        OpenFeatureClassByPath(std::string(ORLINTHS_SESSIONS) + "/data/" + file);
    const FeatureClassPtr copy = OpenProviderClass(*AddCopy(file));
    EXPECT_EQ(RowsOf(*copy), RowsOf(*original));
    EXPECT_EQ(copy->ShapeType(), original->ShapeType());
    EXPECT_EQ(copy->Extent(), original->Extent());
    EXPECT_EQ(copy->RowCount(), original->RowCount());
    EXPECT_EQ(copy->SpatialReference()->FactoryCode(), original->SpatialReference()->FactoryCode());
    EXPECT_EQ(copy->Fields()[0].name, "FID");
    EXPECT_EQ(copy->Fields()[0].type, FieldType::kOid);
    EXPECT_EQ(copy->Fields()[1].name, "Shape");
    EXPECT_EQ(copy->Fields()[1].type, FieldType::kGeometry);
    const int last = copy->Fields().FieldCount() - 1;
    EXPECT_EQ(copy->FindField(LowerCase(copy->Fields()[last].name)), last);
  }
}

TEST_F(ProviderReading, OfSpatialiteAndAVirtualLayerEqualsTheFile) {
  QgsVectorLayer* copy = AddCopy("meadows.shp");
  const std::vector<std::string> expected = RowsOf(*OpenProviderClass(*copy));
  ASSERT_THAT(expected, Not(IsEmpty()));
  WriteWithQgis(*copy, folder / "a.sqlite");
  QgsVectorLayer* spatialite = AddStored(folder / "a.sqlite");
  const FeatureClassPtr stored = OpenProviderClass(*spatialite);
  EXPECT_EQ(stored->PathName(), folder.Path()) << "there is a file behind it";
  std::vector<std::string> names = FieldsOf(*stored);
  ASSERT_THAT(names, SizeIs(copy->fields().size() + 1)) << "its key is a column";
  EXPECT_TRUE(stored->Fields()[2].required);
  std::size_t i = 0;
  const CursorPtr rows = stored->Search();
  while (const IRow* row = rows->Next())
    EXPECT_EQ(expected.at(i++).find(AsWkt(row->Shape()) + '|'), 0U);
  EXPECT_EQ(i, expected.size());

  QgsVectorLayer* made = Add(QStringLiteral("?query=SELECT * FROM copy"), "virtual", "made");
  const FeatureClassPtr query = OpenProviderClass(*made);
  EXPECT_EQ(RowsOf(*query), expected);
  EXPECT_EQ(ErrorNumberOf([&] { query->Update(); }), 70);
  EXPECT_EQ(ErrorNumberOf([&] { query->AddField({.name = "NEW", .geometry = {}}); }), 70);
}

TEST_F(ProviderReading, OfDelimitedTextGivesPointsAndTables) {
  WriteBytes(folder / "posts.csv", "ID,X,Y,NOTE\n1,2.5,3,oak\n2,4,5,\n3,6,7,\"a, b\"\n");
  const QString file = QStringLiteral("file://") + ToQt(folder / "posts.csv");
  QgsVectorLayer* posts =
      Add(file + QStringLiteral("?type=csv&detectTypes=yes&xField=X&yField=Y&crs=EPSG:32632"),
          "delimitedtext", "posts");
  const FeatureClassPtr points = OpenProviderClass(*posts);
  EXPECT_EQ(points->ShapeType(), GeometryType::kPoint);
  EXPECT_EQ(points->PathName(), folder.Path());
  EXPECT_EQ(points->SpatialReference()->FactoryCode(), 32632);
  EXPECT_THAT(FieldsOf(*points), ElementsAre("ID:1", "X:3", "Y:1", "NOTE:4"));
  EXPECT_THAT(RowsOf(*points), ElementsAre("POINT(2.5 3)|1|2.5|3|oak", "POINT(4 5)|2|4|5|-",
                                           "POINT(6 7)|3|6|7|a, b"));
  EXPECT_THAT(RowsOf(*points, Where("ID >= 2 AND NOT NOTE IS NULL")), SizeIs(1));
  EXPECT_EQ(ErrorNumberOf([&] { points->Update(); }), 70);
  EXPECT_EQ(ErrorNumberOf([&] { points->Insert(); }), 70);
}

TEST_F(ProviderReading, KnowsEveryKindOfShape) {
  struct Case {
    const char *source, *wkt, *expected;
    GeometryType type;
  };
  const Case cases[] = {
      {"PointZM", "PointZM(1 2 3 4)", "POINT(1 2 3 4)", GeometryType::kPoint},
      {"MultiPoint", "MultiPoint((1 2),(3 4))", "MULTIPOINT(1 2, 3 4)", GeometryType::kMultipoint},
      {"LineStringZ", "LineStringZ(0 0 5, 1 1 6)", "LINESTRING(0 0 5, 1 1 6)",
       GeometryType::kPolyline},
      {"MultiLineString", "MultiLineString((5 5, 6 6),(0 0, 1 1, 2 0))",
       "MULTILINESTRING((5 5, 6 6), (0 0, 1 1, 2 0))", GeometryType::kPolyline},
      // Shells clockwise and holes the other way, whichever way they were drawn.
      {"Polygon", "Polygon((0 0, 9 0, 9 9, 0 9, 0 0),(1 1, 1 2, 2 2, 1 1))",
       "POLYGON((0 0, 0 9, 9 9, 9 0, 0 0), (1 1, 2 2, 1 2, 1 1))", GeometryType::kPolygon},
      {"MultiPolygonZ",
       "MultiPolygonZ(((0 0 1, 0 1 2, 1 1 3, 0 0 1)),((5 5 4, 6 6 5, 5 6 6, 5 5 4)))",
       "POLYGON((0 0 1, 0 1 2, 1 1 3, 0 0 1), (5 5 4, 5 6 6, 6 6 5, 5 5 4))",
       GeometryType::kPolygon},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.source);
    QgsVectorLayer* layer = AddMemory(c.source);
    AddRow(*layer, c.wkt);
    AddRow(*layer, "");
    const FeatureClassPtr shapes = OpenProviderClass(*layer);
    EXPECT_EQ(shapes->ShapeType(), c.type);
    EXPECT_EQ(shapes->HasZ(), std::string(c.source).find('Z') != std::string::npos);
    EXPECT_EQ(shapes->HasM(), std::string(c.source).find('M', 1) != std::string::npos);
    EXPECT_EQ(AsWkt(ShapeOf(*shapes, 1)), AsWkt(Wkt(c.expected)));
    EXPECT_TRUE(ShapeOf(*shapes, 2).IsNull());
  }
  QgsVectorLayer* curves = AddMemory("CompoundCurve");
  AddRow(*curves, "CompoundCurve(CircularString(0 0, 1 1, 2 0),(2 0, 3 0))");
  const Geometry arc = ShapeOf(*OpenProviderClass(*curves), 1);
  EXPECT_GT(arc.AsPolyline().PointCount(), 20);
  EXPECT_NEAR(arc.AsPolyline().Length(), M_PI + 1, 1e-3);
  QgsVectorLayer* empties = AddMemory("Polygon");
  AddRow(*empties, "Polygon EMPTY");
  const FeatureClassPtr empty = OpenProviderClass(*empties);
  EXPECT_TRUE(ShapeOf(*empty, 1).IsEmpty());
  EXPECT_TRUE(empty->Extent().IsEmpty());
}

TEST_F(ProviderReading, KnowsEveryKindOfValue) {
  QgsVectorLayer* layer = AddMemory(
      "NoGeometry?field=flag:boolean&field=small:integer(4,0)&field=whole:integer&field=long:int8&"
      "field=real:double&field=word:string(20)&field=day:date&field=moment:datetime&"
      "field=hour:time&field=raw:binary&field=words:string[]");
  AddRow(*layer, "",
         {true, 7, 70000, 5000000000LL, 0.1, QStringLiteral("Höhe"), QDate(2026, 3, 1),
          QDateTime(QDate(2026, 3, 1), QTime(12, 30)), QTime(6, 15), QByteArray("x"),
          QStringList{QStringLiteral("a"), QStringLiteral("b")}});
  AddRow(*layer, "");
  const TablePtr table = OpenProviderTable(*layer);
  EXPECT_EQ(table->Fields()[0].name, "OID");
  EXPECT_FALSE(table->HasShape());
  EXPECT_THAT(FieldsOf(*table),
              ElementsAre("flag:0", "small:0", "whole:1", "long:1", "real:3", "word:4", "day:5",
                          "moment:5", "hour:4", "raw:8", "words:4"));
  EXPECT_EQ(table->Fields()[6].length, 20);
  const CursorPtr rows = table->Search();
  const IRow* row = rows->Next();
  EXPECT_EQ(row->GetValue(0), Value(1));
  EXPECT_EQ(row->GetValue(1), Value(std::int16_t{1}));
  EXPECT_EQ(row->GetValue(2), Value(std::int16_t{7}));
  EXPECT_EQ(row->GetValue(3), Value(70000));
  EXPECT_EQ(row->GetValue(4), Value(5e9));
  EXPECT_EQ(row->GetValue(5), Value(0.1));
  EXPECT_EQ(row->GetDouble(5), 0.1);
  EXPECT_EQ(row->GetValue(6), Value("Höhe"));
  EXPECT_EQ(row->GetValue(7), Value(*Date::Parse("2026-03-01")));
  EXPECT_EQ(row->GetValue(8), Value(*Date::Parse("2026-03-01T12:30")));
  EXPECT_EQ(row->GetValue(9), Value("06:15:00"));
  EXPECT_TRUE(row->IsNull(10));
  EXPECT_EQ(row->GetValue(11), Value("[\"a\",\"b\"]"));
  EXPECT_EQ(ErrorNumberOf([&] { row->GetValue(12); }), 9);
  EXPECT_EQ(ErrorNumberOf([&] { row->Shape(); }), 91);
  row = rows->Next();
  for (int i = 1; i < table->Fields().FieldCount(); ++i) EXPECT_TRUE(row->IsNull(i)) << i;
  EXPECT_EQ(ErrorNumberOf([&] { row->GetDouble(5); }), 94);
  EXPECT_EQ(rows->Next(), nullptr);
  EXPECT_EQ(rows->Next(), nullptr);
}

TEST_F(ProviderReading, AColumnOfTheNameOfTheObjectIdIsFoundByIt) {
  QgsVectorLayer* layer = AddMemory("Point?field=fid:integer&field=shape:string(9)");
  AddRow(*layer, "Point(1 1)", {40, QStringLiteral("round")});
  const FeatureClassPtr points = OpenProviderClass(*layer);
  EXPECT_EQ(points->Fields()[0].name, "FID_1");
  EXPECT_EQ(points->ShapeFieldName(), "Shape_1");
  EXPECT_EQ(points->FindField("FID"), 2);
  EXPECT_EQ(points->FindField("Shape"), 3);
  EXPECT_THAT(points->Select(Where("FID = 40")).Oids(), ElementsAre(1));
  EXPECT_THAT(points->Select(Where("FID_1 = 1")).Oids(), ElementsAre(1));
}

class ProviderFilters : public ProviderFixture {
 protected:
  ProviderFilters() {
    layer = AddMemory("Polygon?field=K:integer&field=NAME:string(20)&field=DAY:datetime");
    for (int i = 0; i < 4; ++i) {
      const QString wkt = QStringLiteral("Polygon((%1 0, %1 2, %2 2, %2 0, %1 0))");
      AddRow(*layer, wkt.arg(2 * i).arg(2 * i + 2).toUtf8().constData(),
             {10 * i, QStringLiteral("it's %1").arg(i),
              QDateTime(QDate(2026, 3, 1 + i), QTime(9, 0))});
    }
    zones = OpenProviderClass(*layer);
  }
  std::vector<Oid> Selected(const char* where) { return zones->Select(Where(where)).Oids(); }
  QgsVectorLayer* layer;
  FeatureClassPtr zones;
};

TEST_F(ProviderFilters, TakeThePlatformsWords) {
  EXPECT_THAT(Selected("k > 10"), ElementsAre(3, 4));
  EXPECT_THAT(Selected("\"K\" >= 10 AND NOT (K = 20)"), ElementsAre(2, 4));
  EXPECT_THAT(Selected("NAME = 'it''s 2' OR K <> 30 AND K < 5"), ElementsAre(1, 3));
  EXPECT_THAT(Selected("DAY < #2026-03-02#"), ElementsAre(1));
  EXPECT_THAT(Selected("DAY > #2026-03-03#"), ElementsAre(3, 4)) << "at nine in the morning";
  EXPECT_THAT(Selected("\"day\" > #2026-03-03T09:00:00#"), ElementsAre(4));
  EXPECT_THAT(Selected("DAY >= #2026-03-03T09:00:00#"), ElementsAre(3, 4));
  EXPECT_THAT(Selected("FID IN (1, 4)"), ElementsAre(1, 4));
  EXPECT_THAT(Selected("NAME LIKE '%3'"), ElementsAre(4));
  EXPECT_THAT(Selected("K IS NULL"), IsEmpty());
  EXPECT_EQ(zones->FeatureCount(Where("K > 10")), 2);
  EXPECT_THAT(OidsOf(*zones->SearchOids({1, 3, 9}, Where("K > 10"))), ElementsAre(3));
  for (const char* wrong : {"K >", "K > (1", "NOWHERE = 1"}) {
    SCOPED_TRACE(wrong);
    EXPECT_EQ(ErrorNumberOf([&] { Selected(wrong); }), kPlatform);
    EXPECT_EQ(ErrorNumberOf([&] { zones->Search(Where(wrong)); }), kPlatform);
    EXPECT_NE(ErrorTextOf([&] { zones->Update(Where(wrong)); }), "");
  }
}

TEST_F(ProviderFilters, CompareDaysAndMoments) {
  QgsVectorLayer* days = AddMemory("NoGeometry?field=DAY:date&field=MOMENT:datetime");
  for (const int day : {5, 6, 7})
    AddRow(*days, "", {QDate(2026, 3, day), QDateTime(QDate(2026, 3, day), QTime(0, 0))});
  const TablePtr table = OpenProviderTable(*days);
  for (const char* field : {"DAY", "MOMENT", "\"MOMENT\"", "\"day\""}) {
    SCOPED_TRACE(field);
    const auto count = [&](const char* rest) {
      return table->RowCount(Where((std::string(field) + rest).c_str()));
    };
    EXPECT_EQ(count(" > #2026-03-06#"), 1);
    EXPECT_EQ(count(" >= #2026-03-06#"), 2);
    EXPECT_EQ(count(" = #2026-03-06#"), 1);
    EXPECT_EQ(count(" <> #2026-03-06#"), 2);
    EXPECT_EQ(count(" < #2026-03-06T00:00:01#"), 2);
  }
}

TEST_F(ProviderFilters, TakeShapes) {
  QueryFilter filter;
  filter.shape = Wkt("POLYGON((1 0, 1 2, 4 2, 4 0, 1 0))");
  EXPECT_THAT(zones->Select(filter).Oids(), ElementsAre(1, 2, 3));
  filter.relation = SpatialRelation::kContains;
  EXPECT_THAT(zones->Select(filter).Oids(), ElementsAre(2));
  EXPECT_THAT(OidsOf(*zones->Search(filter)), ElementsAre(2));
  filter.relation = SpatialRelation::kIntersects;
  filter.where = "K <> 10";
  EXPECT_THAT(OidsOf(*zones->Search(filter)), ElementsAre(1, 3));
  EXPECT_EQ(zones->FeatureCount(filter), 2);
  std::vector<Oid> at;
  zones->FeaturesAt(2, 1, at);
  EXPECT_THAT(at, ElementsAre(1, 2));
}

TEST_F(ProviderFilters, ReadNoMoreThanIsAskedFor) {
  QueryFilter what;
  what.onlyFields = {"K"};
  what.withShape = false;
  const CursorPtr rows = zones->Search(what);
  const IRow* row = rows->Next();
  EXPECT_EQ(row->GetValue(2), Value(0));
  row = rows->Next();
  EXPECT_EQ(row->GetValue(2), Value(10));
}

/// The layer's filter is the provider's own; edits see the whole class.
TEST_F(ProviderFilters, OfTheLayerHideRowsFromReadersAndNotFromEdits) {
  ASSERT_TRUE(layer->setSubsetString(QStringLiteral("K > 10")));
  IFeatureLayer shown(zones);
  shown.SetSourceQuery("K > 10");
  EXPECT_THAT(OidsOf(*shown.Search()), ElementsAre(3, 4));
  EXPECT_THAT(OidsOf(*shown.Search(Where("K < 30"))), ElementsAre(3));
  shown.SelectFeatures({});
  EXPECT_THAT(shown.SelectionSet().Oids(), ElementsAre(3, 4));
  EXPECT_THAT(shown.Identify(1, 1), IsEmpty());
  EXPECT_THAT(shown.Identify(5, 1), ElementsAre(3));
  EXPECT_EQ(zones->RowCount(), 4);
  EXPECT_EQ(zones->FeatureCount(shown.Shown()), 2);
  EXPECT_TRUE(zones->HasRow(1));
  {
    const CursorPtr rows = zones->Update();
    while (IRow* row = rows->Next()) {
      row->SetValue(2, Value(ToLong(row->GetValue(2)) + 1));
      rows->UpdateRow(*row);
    }
    rows->Flush();
  }
  EXPECT_EQ(layer->subsetString(), QStringLiteral("K > 10"));
  EXPECT_EQ(layer->featureCount(), 3) << "QGIS still shows what the filter gives: 11, 21 and 31";
  EXPECT_THAT(Selected("K = 1 OR K = 11"), ElementsAre(1, 2));
  ASSERT_TRUE(layer->setSubsetString({}));
  EXPECT_EQ(ErrorNumberOf([&] { shown.Search(); }), kPlatform) << "the filter is another one now";
}

TEST_F(ProviderFilters, OfALayerInADatabaseLeaveTheRestToEdits) {
  WriteWithQgis(*layer, folder / "a.sqlite");
  QgsVectorLayer* stored = AddStored(folder / "a.sqlite");
  const QString filter = QStringLiteral("\"k\" > 10");
  ASSERT_TRUE(stored->setSubsetString(filter));
  const FeatureClassPtr whole = OpenProviderClass(*stored);
  EXPECT_EQ(whole->RowCount(), 4);
  IFeatureLayer shown(whole);
  shown.SetSourceQuery(FromQt(filter));
  EXPECT_THAT(OidsOf(*shown.Search()), ElementsAre(3, 4));
  whole->AddField({.name = "extra", .type = FieldType::kDouble, .geometry = {}});
  const int extra = whole->FindField("extra");
  ASSERT_GT(extra, 0);
  {
    const CursorPtr rows = whole->Update();
    while (IRow* row = rows->Next()) {
      row->SetDouble(extra, 0.5 * static_cast<double>(row->OID()));
      rows->UpdateRow(*row);
    }
    rows->Flush();
  }
  CommitAllEdits();
  EXPECT_EQ(stored->featureCount(), 2);
  EXPECT_EQ(stored->getFeature(4).attribute(QStringLiteral("extra")).toDouble(), 2.0);
  EXPECT_THAT(OidsOf(*shown.Search(Where("extra >= 2"))), ElementsAre(4));
  EXPECT_EQ(whole->FeatureCount(Where("extra <= 1")), 2);
}

TEST_F(ProviderFilters, ALayerThatHasGoneAnswersNothing) {
  const CursorPtr rows = zones->Search();
  rows->Next();
  const auto row = zones->CreateFeatureBuffer();
  project.removeMapLayer(layer);
  EXPECT_FALSE(zones->Exists());
  EXPECT_EQ(ErrorNumberOf([&] { rows->Next(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { zones->RowCount(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { zones->Search(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { zones->Update(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { zones->Fields(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { zones->Extent(); }), 91);
  EXPECT_EQ(zones->Path(), "host:memory/sketch");
  CommitAllEdits();
}

TEST_F(ProviderFilters, AStopIsSeenInEveryCall) {
  const CursorPtr rows = zones->Search();
  RequestStop();
  EXPECT_EQ(ErrorNumberOf([&] { rows->Next(); }), 18);
  EXPECT_EQ(ErrorNumberOf([&] { zones->Search(); }), 18);
  EXPECT_EQ(ErrorNumberOf([&] { zones->Select(); }), 18);
  EXPECT_EQ(ErrorNumberOf([&] { zones->RowCount(); }), 18);
  EXPECT_EQ(ErrorNumberOf([&] { zones->Update(); }), 18);
  EXPECT_EQ(ErrorNumberOf([&] { zones->AddField({.name = "A", .geometry = {}}); }), 18);
  ClearStop();
  EXPECT_NE(rows->Next(), nullptr);
}

}  // namespace
}  // namespace orlinths
