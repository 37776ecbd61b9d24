#include "data/Workspace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <limits>

#include "data/FieldsAndDatasets.h"
#include "gdal/OgrFixture.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using Strings = std::vector<std::string>;
constexpr int kPlatform = -2147467259;

int NumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const RuntimeError& error) {
    EXPECT_FALSE(error.Description().empty());
    return error.Number();
  }
  return 0;
}

class WorkspaceTest : public ::testing::Test {
 protected:
  void WritePoint(const std::string& path, const std::string& driver = "ESRI Shapefile") {
    WriteOgr(driver, path, wkbPoint, {{"A", OFTInteger, 4}}, {{"POINT(1 2)", {"7"}}});
  }
  TempFolder folder;
};

TEST_F(WorkspaceTest, IsAFolderThatCanBeRead) {
  EXPECT_TRUE(IsWorkspace(folder.Path()));
  EXPECT_FALSE(IsWorkspace(folder / "nowhere"));
  EXPECT_FALSE(IsWorkspace(""));
  WriteBytes(folder / "file", "x");
  EXPECT_FALSE(IsWorkspace(folder / "file"));
}

TEST_F(WorkspaceTest, OpensOddNames) {
  for (const std::string name :
       {"with blank", "it's \"quoted\"", "Zürich", "a.b", "100%", "semi;colon"}) {
    WritePoint(folder / "plain.shp");
    for (const char* extension : {".shp", ".shx", ".dbf"})
      files::ReplaceFile(folder / (std::string("plain") + extension), folder / (name + extension));
    const FeatureClassPtr opened = OpenFeatureClass(folder.Path(), name);
    EXPECT_EQ(opened->Name(), name);
    EXPECT_EQ(opened->PathName(), folder.Path());
    EXPECT_EQ(opened->Search()->Next()->GetValue(2), Value(std::int16_t{7})) << name;
    EXPECT_EQ(OpenFeatureClassByPath(folder / (name + ".shp"))->RowCount(), 1);
  }
}

TEST_F(WorkspaceTest, OpensExtensionsInCapitals) {
  WritePoint(folder / "caps.shp");
  for (const char* extension : {"shp", "shx", "dbf"}) {
    std::string upper = extension;
    for (char& c : upper) c = static_cast<char>(c - 32);
    files::ReplaceFile(folder / (std::string("caps.") + extension), folder / ("caps." + upper));
  }
  EXPECT_EQ(OpenFeatureClass(folder.Path(), "caps")->RowCount(), 1);
  EXPECT_EQ(OpenFeatureClassByPath(folder / "caps.SHP")->Name(), "caps");
}

TEST_F(WorkspaceTest, ARelativePathHasAFolder) {
  WritePoint(folder / "here.shp");
  WritePoint(folder / "here.geojson", "GeoJSON");
  const std::unique_ptr<char, decltype(&::free)> before(::getcwd(nullptr, 0), ::free);
  ASSERT_EQ(::chdir(folder.Path().c_str()), 0);
  const AtScopeEnd back([&] { EXPECT_EQ(::chdir(before.get()), 0); });
  EXPECT_EQ(OpenFeatureClassByPath("here.shp")->PathName(), folder.Path());
  EXPECT_EQ(OpenFeatureClassByPath("here.geojson")->PathName(), folder.Path());
}

TEST_F(WorkspaceTest, WhatIsNotThereOrEmptyIsAnError) {
  EXPECT_NE(NumberOf([&] { OpenFeatureClass(folder.Path(), "none"); }), 0);
  EXPECT_EQ(NumberOf([&] { OpenFeatureClass("", "none"); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { OpenFeatureClass(folder.Path(), ""); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { OpenFeatureClassByPath(folder / "none.gpkg"); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { OpenTableByPath(""); }), kPlatform);
  EXPECT_EQ(NumberOf([&] {
              CreateFeatureClass("", "x",
                                 MakeShapeFields(GeometryType::kPoint, false, false, nullptr));
            }),
            kPlatform);
  EXPECT_EQ(NumberOf([&] { CreateTable(folder.Path(), "", {}); }), kPlatform);
  WritePoint(folder / "taken.shp");
  EXPECT_EQ(NumberOf([&] {
              CreateFeatureClass(folder.Path(), "taken",
                                 MakeShapeFields(GeometryType::kPoint, false, false, nullptr));
            }),
            kPlatform);
}

TEST_F(WorkspaceTest, RingsStandAsStored) {
  // Two islands first, the lake of the first one last.
  WriteOgr(
      "ESRI Shapefile", folder / "rings.shp", wkbPolygon, {},
      {{"MULTIPOLYGON(((0 0,0 9,9 9,9 0,0 0),(2 2,4 2,4 4,2 4,2 2)),((20 0,20 5,25 5,25 0,20 0)))",
        {}}});
  std::string bytes = ReadBytes(folder / "rings.shp");
  // Records: header 100, record header 8, type 4, box 32, counts 8, starts 12, then 5 + 5 + 5
  // points of 16 bytes. The second and the third ring change places.
  const std::size_t points = 100 + 8 + 4 + 32 + 8 + 12;
  const std::string hole = bytes.substr(points + 80, 80), island = bytes.substr(points + 160, 80);
  bytes.replace(points + 80, 160, island + hole);
  WriteBytes(folder / "rings.shp", bytes);
  const FeatureClassPtr rings = OpenFeatureClass(folder.Path(), "rings");
  const CursorPtr rows = rings->Search();
  const Polygon& shape = rows->Next()->Polygon();
  ASSERT_EQ(shape.PartCount(), 3);
  EXPECT_EQ(shape.Part(0)[2], (Coord{9, 9}));
  EXPECT_EQ(shape.Part(1)[2], (Coord{25, 5}));
  EXPECT_EQ(shape.Part(2)[2], (Coord{4, 4}));
  EXPECT_EQ(shape.Area(), 81 + 25 - 4);
  const CursorPtr byOid = rings->SearchOids({0});
  EXPECT_EQ(byOid->Next()->Polygon(), shape);
  EXPECT_STREQ(CPLGetThreadLocalConfigOption("OGR_ORGANIZE_POLYGONS", ""), "");
}

TEST_F(WorkspaceTest, ReadsHeightsAndMeasures) {
  WriteOgr("ESRI Shapefile", folder / "zm.shp", wkbLineStringZM, {},
           {{"LINESTRING ZM(0 0 1 10,3 4 2 20)", {}}});
  const FeatureClassPtr lines = OpenFeatureClass(folder.Path(), "zm");
  EXPECT_TRUE(lines->HasZ());
  EXPECT_TRUE(lines->HasM());
  const CursorPtr rows = lines->Search();
  const Polyline& line = rows->Next()->Line();
  EXPECT_EQ(line.PointAt(1).z, 2);
  EXPECT_EQ(line.PointAt(1).m, 20);
  EXPECT_EQ(line.Length(), 5);
}

// --- other formats

TEST_F(WorkspaceTest, ReadsAGeoPackageWithItsNulls) {
  WriteOgr("GPKG", folder / "g.gpkg", wkbMultiPolygon,
           {{"SMALL", OFTInteger, 0, 0, OFSTInt16},
            {"WHOLE", OFTInteger},
            {"LONG", OFTInteger64},
            {"SINGLE", OFTReal, 0, 0, OFSTFloat32},
            {"WIDE", OFTReal},
            {"TEXT", OFTString, 12},
            {"DAY", OFTDate},
            {"WHEN", OFTDateTime}},
           {{"MULTIPOLYGON(((0 0,0 1,1 1,0 0)))",
             {"5", "70000", "5000000000", "0.5", "0.1", "Zürich", "2020/01/31",
              "2020/01/31 12:30:15.5"}},
            {"", {}}},
           32632, "regions");
  const FeatureClassPtr regions = OpenFeatureClassByPath(folder / "g.gpkg");
  EXPECT_EQ(regions->Name(), "regions");
  EXPECT_EQ(regions->PathName(), folder.Path());
  EXPECT_EQ(regions->Path(), folder / "g.gpkg");
  EXPECT_EQ(regions->ShapeType(), GeometryType::kPolygon);
  EXPECT_EQ(regions->SpatialReference()->FactoryCode(), 32632);
  std::vector<int> types;
  for (const Field& field : regions->Fields()) types.push_back(static_cast<int>(field.type));
  EXPECT_EQ(types, (std::vector<int>{6, 7, 0, 1, 1, 2, 3, 4, 5, 5}));
  const CursorPtr rows = regions->Search();
  const IRow* row = rows->Next();
  EXPECT_EQ(row->OID(), 1);
  EXPECT_EQ(row->GetValue(2), Value(std::int16_t{5}));
  EXPECT_EQ(row->GetValue(3), Value(std::int32_t{70000}));
  EXPECT_EQ(row->GetValue(4), Value(5e9)) << "beyond 32 bits as a double";
  EXPECT_EQ(row->GetValue(5), Value(0.5F));
  EXPECT_EQ(row->GetValue(6), Value(0.1));
  EXPECT_EQ(row->GetValue(7), Value("Zürich"));
  EXPECT_EQ(row->GetValue(8), Value(*Date::FromCivil(2020, 1, 31)));
  EXPECT_EQ(row->GetValue(9), Value(*Date::FromCivil(2020, 1, 31, 12, 30, 15, 500)));
  EXPECT_EQ(row->Polygon().Area(), 0.5);
  row = rows->Next();
  for (int field = 2; field < 10; ++field) EXPECT_TRUE(row->GetValue(field).IsNull()) << field;
  EXPECT_EQ(NumberOf([&] { row->GetDouble(6); }), 94);
  EXPECT_TRUE(row->Shape().IsNull());
  EXPECT_EQ(NumberOf([&] { OpenFeatureClassByPath(folder / "g.gpkg|layername=none"); }), kPlatform);
  EXPECT_EQ(OpenFeatureClassByPath(folder / "g.gpkg|layername=regions")->RowCount(), 2);
}

class GeoPackageEdits : public WorkspaceTest {
 protected:
  FeatureClassPtr Points() {
    WriteOgr("GPKG", folder / "p.gpkg", wkbPoint, {{"V", OFTReal}, {"T", OFTString, 5}},
             {{"POINT(0 0)", {"1", "a"}}, {"POINT(1 1)", {"2", "b"}}, {"POINT(2 2)", {"3", "c"}}});
    return OpenFeatureClassByPath(folder / "p.gpkg");
  }
  std::vector<double> V(const IFeatureClass& points) {
    std::vector<double> values;
    const CursorPtr rows = points.Search();
    while (const IRow* row = rows->Next()) values.push_back(row->GetDouble(2));
    return values;
  }
};

TEST_F(GeoPackageEdits, AreSeenAtOnceAndWrittenAtTheEndOfTheRun) {
  const FeatureClassPtr points = Points();
  const CursorPtr reader = points->Search();
  reader->Next();  // stays open over the beginning and the end of the edits
  points->AddField({.name = "NEW", .type = FieldType::kDouble});
  {
    const CursorPtr rows = points->Update();
    while (IRow* row = rows->Next()) {
      row->SetDouble(2, row->GetDouble(2) * 10);
      row->SetDouble(4, 0.5);
      row->SetShape(Point{row->Point().x + 5, 9});
      rows->UpdateRow(*row);
      if (row->OID() == 1) {
        EXPECT_EQ(V(*points), (std::vector<double>{10, 2, 3}));
      }
      if (row->OID() == 3) rows->DeleteRow(*row);
    }
  }
  {
    const CursorPtr into = points->Insert();
    const auto row = points->CreateFeatureBuffer();
    row->SetValue(2, Value(99.0));
    row->SetValue(3, Value("new"));
    row->SetShape(Point{7, 7});
    EXPECT_EQ(into->InsertRow(*row), 4);
  }
  EXPECT_EQ(V(*points), (std::vector<double>{10, 20, 99}));
  EXPECT_EQ(points->RowCount(), 3);
  EXPECT_EQ(reader->Next()->GetDouble(2), 20);
  EXPECT_EQ(OgrColumnTexts(folder / "p.gpkg", "V"), (Strings{"1", "2", "3"}))
      << "one transaction a run";
  CommitAllEdits();
  EXPECT_EQ(OgrColumnTexts(folder / "p.gpkg", "V"), (Strings{"10", "20", "99"}));
  EXPECT_EQ(OgrColumnTexts(folder / "p.gpkg", "NEW"), (Strings{"0.5", "0.5", ""}));
  EXPECT_EQ(OgrShapeTexts(folder / "p.gpkg"),
            (Strings{"POINT (5 9)", "POINT (6 9)", "POINT (7 7)"}));
  EXPECT_EQ(V(*points), (std::vector<double>{10, 20, 99}));
  EXPECT_EQ(reader->Next()->GetDouble(2), 99);
  EXPECT_EQ(reader->Next(), nullptr);
  points->DeleteField(points->FindField("NEW"));
  EXPECT_EQ(points->FindField("NEW"), -1);
  CommitAllEdits();
  EXPECT_EQ(OgrColumnTexts(folder / "p.gpkg", "NEW")[0], "no such column");
}

TEST_F(GeoPackageEdits, AreWrittenWhenTheLastTableGoesAndGoneWhenKilled) {
  Points();
  const pid_t child = ::fork();
  if (child == 0) {
    const FeatureClassPtr points = OpenFeatureClassByPath(folder / "p.gpkg");
    const CursorPtr rows = points->Update();
    IRow* row = rows->Next();
    row->SetDouble(2, 77);
    rows->UpdateRow(*row);
    ::kill(::getpid(), SIGKILL);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(OgrColumnTexts(folder / "p.gpkg", "V"), (Strings{"1", "2", "3"}));
  FeatureClassPtr points = OpenFeatureClassByPath(folder / "p.gpkg");
  {
    const CursorPtr rows = points->Update();
    IRow* row = rows->Next();
    row->SetDouble(2, 77);
    rows->UpdateRow(*row);
  }
  points.reset();
  EXPECT_EQ(OgrColumnTexts(folder / "p.gpkg", "V"), (Strings{"77", "2", "3"}));
}

TEST_F(GeoPackageEdits, AreErrors70WhereTheFileIsReadOnly) {
  Points();
  ASSERT_EQ(::chmod(folder.Path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod((folder / "p.gpkg").c_str(), 0444), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    bool good = ::seteuid(65534) == 0;
    const FeatureClassPtr points = OpenFeatureClassByPath(folder / "p.gpkg");
    good = good &&
           NumberOf([&] { points->AddField({.name = "A", .type = FieldType::kDouble}); }) == 70;
    good = good && NumberOf([&] { points->Update(); }) == 70;
    good = good && NumberOf([&] { points->Insert(); }) == 70;
    ::_exit(good ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(GeoPackageEdits, DeleteRemovesTheFileOrTheLayer) {
  const FeatureClassPtr points = Points();
  EXPECT_FALSE(points->CanRename());
  EXPECT_EQ(NumberOf([&] { points->Rename("x"); }), kPlatform);
  points->Delete();
  EXPECT_FALSE(files::FileExists(folder / "p.gpkg"));
}

TEST_F(WorkspaceTest, RowsOfAFlatGeobufComeInOrderOfTheirIds) {
  // Its spatial index puts the rows into an order of its own, and their ids go by that.
  std::vector<OgrRow> rows;
  for (int i = 0; i < 500; ++i)
    rows.push_back(
        {"POINT(" + std::to_string(i * 7919 % 500) + " " + std::to_string(i * 104729 % 500) + ")",
         {std::to_string(i)}});
  WriteOgr("FlatGeobuf", folder / "f.fgb", wkbPoint, {{"V", OFTInteger}}, rows);
  const FeatureClassPtr points = OpenFeatureClassByPath(folder / "f.fgb");
  const Strings values = OgrColumnTexts(folder / "f.fgb", "V");
  const CursorPtr all = points->Search();
  for (Oid oid = 0; oid < 500; ++oid) {
    const IRow* row = all->Next();
    ASSERT_NE(row, nullptr);
    ASSERT_EQ(row->OID(), oid);
    ASSERT_EQ(ToText(row->GetDouble(2)), values[static_cast<std::size_t>(oid)]);
  }
  EXPECT_EQ(all->Next(), nullptr);
  QueryFilter filter;
  filter.where = "V > 250";
  const CursorPtr some = points->Search(filter);
  Oid last = -1;
  int count = 0;
  for (; const IRow* row = some->Next(); ++count) {
    ASSERT_GT(row->OID(), last);
    last = row->OID();
  }
  EXPECT_EQ(count, 249);
}

TEST_F(WorkspaceTest, RowsOfAnyFormatComeInOrderOfTheirIds) {
  WriteBytes(folder / "j.geojson",
             R"({"type":"FeatureCollection","features":[
      {"type":"Feature","id":7,"properties":{"a":1,"t":"x"},"geometry":{"type":"Point","coordinates":[7,0]}},
      {"type":"Feature","id":2,"properties":{"a":2,"t":null},"geometry":{"type":"Point","coordinates":[2,0]}},
      {"type":"Feature","id":5,"properties":{"a":3,"t":"z"},"geometry":null}]})");
  const FeatureClassPtr points = OpenFeatureClassByPath(folder / "j.geojson");
  EXPECT_EQ(points->Name(), "j");
  EXPECT_EQ(points->ShapeType(), GeometryType::kPoint);
  EXPECT_EQ(points->SpatialReference()->FactoryCode(), 4326);
  std::vector<Oid> oids;
  const CursorPtr rows = points->Search();
  while (const IRow* row = rows->Next()) oids.push_back(row->OID());
  EXPECT_EQ(oids, (std::vector<Oid>{2, 5, 7}));
  QueryFilter filter;
  filter.where = "a <> 2";
  EXPECT_EQ(points->Select(filter).Oids(), (std::vector<Oid>{5, 7}));
  EXPECT_TRUE(points->SearchOids({2})->Next()->GetValue(points->FindField("t")).IsNull());
}

TEST_F(WorkspaceTest, ATextTableHasTypedColumns) {
  WriteBytes(folder / "samples.csv", "id,x,name\n1,0.5,one\n2,1.5,\"two, three\"\n30,-2e3,\n");
  const TablePtr table = OpenTableByPath(folder / "samples.csv");
  EXPECT_FALSE(table->HasShape());
  EXPECT_EQ(table->Name(), "samples");
  EXPECT_EQ(table->Fields()[0].type, FieldType::kOid);
  EXPECT_EQ(table->Fields()[1].type, FieldType::kInteger);
  EXPECT_EQ(table->Fields()[2].type, FieldType::kDouble);
  EXPECT_EQ(table->Fields()[3].type, FieldType::kText);
  EXPECT_EQ(table->RowCount(), 3);
  const CursorPtr rows = table->SearchOids({2, 3});
  EXPECT_EQ(rows->Next()->GetValue(3), Value("two, three"));
  EXPECT_EQ(rows->Next()->GetDouble(2), -2000);
  EXPECT_EQ(rows->Next(), nullptr);
  EXPECT_EQ(NumberOf([&] { OpenFeatureClassByPath(folder / "samples.csv"); }), kPlatform)
      << "no geometry";
}

TEST_F(WorkspaceTest, TheTableOfAShapefileIsATableWithoutShapes) {
  WriteOgr("ESRI Shapefile", folder / "nests.shp", wkbPoint,
           {{"A", OFTInteger, 4}, {"B", OFTString, 8}},
           {{"POINT(1 2)", {"7", "oak"}}, {"POINT(3 4)", {"8", "elm"}}});
  const FeatureClassPtr points = OpenFeatureClassByPath(folder / "nests.shp");
  const TablePtr table = OpenTableByPath(folder / "nests.dbf");
  EXPECT_FALSE(table->HasShape());
  EXPECT_EQ(table->Name(), "nests");
  EXPECT_EQ(table->Path(), folder / "nests.dbf");
  EXPECT_EQ(table->RowCount(), points->RowCount());
  ASSERT_EQ(table->Fields().FieldCount(), points->Fields().FieldCount() - 1);
  EXPECT_EQ(table->Fields()[0].name, "OID");
  EXPECT_EQ(table->Fields()[1].name, points->Fields()[2].name);
  const auto rows = table->Search();
  const auto features = points->Search();
  while (const IRow* feature = features->Next()) {
    const IRow* row = rows->Next();
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->OID(), feature->OID());
    EXPECT_EQ(row->GetValue(1), feature->GetValue(2));
  }
  EXPECT_EQ(rows->Next(), nullptr);
}

// --- damaged input

class DamagedInput : public WorkspaceTest {
 protected:
  void SetUp() override { ::testing::internal::CaptureStderr(); }
  void TearDown() override {
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << "nothing goes past us";
  }
  /// Reads all there is; a failure is a run-time error with a description.
  void Read(const std::string& name) {
    const int number = NumberOf([&] {
      const FeatureClassPtr opened = OpenFeatureClass(folder.Path(), name);
      const CursorPtr rows = opened->Search();
      while (const IRow* row = rows->Next()) {
        row->Shape().Envelope();
        for (int i = 0; i < opened->Fields().FieldCount(); ++i) row->GetValue(i);
      }
      opened->Extent();
    });
    EXPECT_TRUE(number == 0 || number == kPlatform || number == 53 || number == 62) << number;
  }
};

TEST_F(DamagedInput, AMissingCompanionIsAnErrorOrDoesNotMatter) {
  WriteOgr("ESRI Shapefile", folder / "m.shp", wkbPoint, {{"A", OFTInteger, 4}},
           {{"POINT(1 2)", {"7"}}}, 32632);
  const std::string shx = ReadBytes(folder / "m.shx"), dbf = ReadBytes(folder / "m.dbf");
  files::DeleteFile(folder / "m.prj");
  EXPECT_TRUE(OpenFeatureClass(folder.Path(), "m")->SpatialReference()->IsUnknown());
  WriteBytes(folder / "m.prj", "no reference at all");
  EXPECT_TRUE(OpenFeatureClass(folder.Path(), "m")->SpatialReference()->IsUnknown());
  files::DeleteFile(folder / "m.shx");
  EXPECT_NE(NumberOf([&] { OpenFeatureClass(folder.Path(), "m"); }), 0);
  EXPECT_FALSE(files::FileExists(folder / "m.shx")) << "and nothing is made up";
  WriteBytes(folder / "m.shx", shx);
  files::DeleteFile(folder / "m.dbf");
  {
    const FeatureClassPtr shapes =
        OpenFeatureClass(folder.Path(), "m");  // readable, without columns
    EXPECT_EQ(shapes->Fields().FieldCount(), 2);
    EXPECT_EQ(shapes->Search()->Next()->Point().y, 2);
    EXPECT_NE(NumberOf([&] { shapes->AddField({.name = "X", .type = FieldType::kDouble}); }), 0);
  }
  WriteBytes(folder / "m.dbf", dbf);
  EXPECT_EQ(OpenFeatureClass(folder.Path(), "m")->RowCount(), 1);
}

TEST_F(DamagedInput, FilesCutAnywhereReadOrSayWhyNot) {
  std::vector<OgrRow> rows;
  for (int i = 0; i < 12; ++i) {
    const std::string n = std::to_string(i);
    rows.push_back({"POLYGON((" + n + " 0," + n + " 4,9 9," + n + " 0))", {n, "text " + n}});
  }
  WriteOgr("ESRI Shapefile", folder / "whole.shp", wkbPolygon,
           {{"A", OFTInteger, 9}, {"T", OFTString, 20}}, rows);
  for (const char* cut : {".shp", ".shx", ".dbf"}) {
    const std::string whole = ReadBytes(folder / (std::string("whole") + cut));
    for (std::size_t size = 0; size < whole.size(); size += 64) {
      for (const char* extension : {".shp", ".shx", ".dbf"})
        WriteBytes(folder / (std::string("cut") + extension),
                   ReadBytes(folder / (std::string("whole") + extension)));
      WriteBytes(folder / (std::string("cut") + cut), whole.substr(0, size));
      SCOPED_TRACE(std::string(cut) + " cut at " + std::to_string(size));
      Read("cut");
    }
  }
}

TEST_F(DamagedInput, NullAndOddCoordinatesReadCleanly) {
  WriteOgr("ESRI Shapefile", folder / "odd.shp", wkbPoint, {},
           {{"POINT(1 2)", {}}, {"", {}}, {"POINT(3 4)", {}}});
  std::string bytes = ReadBytes(folder / "odd.shp");
  const double nan = std::numeric_limits<double>::quiet_NaN();
  bytes.replace(100 + 12, 8, reinterpret_cast<const char*>(&nan), 8);
  WriteBytes(folder / "odd.shp", bytes);
  const FeatureClassPtr odd = OpenFeatureClass(folder.Path(), "odd");
  const CursorPtr rows = odd->Search();
  EXPECT_TRUE(rows->Next()->Shape().IsEmpty());
  EXPECT_TRUE(rows->Next()->Shape().IsEmpty());
  EXPECT_EQ(rows->Next()->Point().x, 3);
  QueryFilter filter;
  filter.shape = Wkt("POLYGON((0 0,0 9,9 9,9 0,0 0))");
  EXPECT_EQ(odd->Select(filter).Oids(), (std::vector<Oid>{2}));
}

}  // namespace
}  // namespace orlinths
