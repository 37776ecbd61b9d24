// The .dbf of a shapefile as a table: one dataset under two names. OGR is the witness of the files.
#include "gdal/ShapelessSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "OgrView.h"
#include "ShapefileFixture.h"
#include "data/FieldsAndDatasets.h"
#include "data/Workspace.h"
#include "gdal/OgrFixture.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Oids = std::vector<Oid>;
using Strings = std::vector<std::string>;
constexpr int kPlatform = static_cast<int>(ErrorNumber::kPlatform);

/// Points (i, 2i) with NUM = i, NAME = "row i" and VAL = i / 7.
class ShapelessSourceTest : public ::testing::Test {
 protected:
  ShapelessSourceTest() { MakePoints(path, 6); }

  static QueryFilter Where(const std::string& where) {
    QueryFilter filter;
    filter.where = where;
    return filter;
  }
  static Strings Column(const ITable& table, const std::string& name) {
    Strings values;
    const int field = table.FindField(name);
    const CursorPtr rows = table.Search();
    std::string text;
    while (const IRow* row = rows->Next()) {
      row->GetText(field, text);
      values.push_back(text);
    }
    return values;
  }
  static void Set(ITable& table, const std::string& field, const Value& value,
                  const QueryFilter& filter = {}) {
    const CursorPtr rows = table.Update(filter);
    const int index = table.FindField(field);
    while (IRow* row = rows->Next()) {
      row->SetValue(index, value);
      rows->UpdateRow(*row);
    }
  }
  static void DeleteRows(ITable& table, const QueryFilter& filter) {
    const CursorPtr rows = table.Update(filter);
    while (IRow* row = rows->Next()) rows->DeleteRow(*row);
  }
  static Oid InsertRow(ITable& table, std::int32_t number) {
    const CursorPtr into = table.Insert();
    const auto row = table.CreateRowBuffer();
    row->SetValue(table.FindField("NUM"), Value(number));
    return into->InsertRow(*row);
  }
  /// OGR's number of shapes and the table's number of rows as its bytes tell, which is one number.
  std::size_t RowsOnDisk() const {
    const std::size_t rows = ViewOf(path).rows.size();
    EXPECT_EQ(PlainTableOf(ReadBytes(dbf)).rows.size(), rows);
    return rows;
  }

  TempFolder folder;
  const std::string path = folder / "p.shp", dbf = folder / "p.dbf";
};

TEST_F(ShapelessSourceTest, HasTheColumnsBehindAnObjectIdOfItsOwnName) {
  const TablePtr table = OpenTableByPath(dbf);
  Strings names;
  for (const Field& field : table->Fields()) names.push_back(field.name);
  EXPECT_EQ(names, (Strings{"OID", "NUM", "NAME", "VAL"}));
  const Field& oid = table->Fields()[0];
  EXPECT_EQ(oid.type, FieldType::kOid);
  EXPECT_TRUE(oid.required);
  EXPECT_FALSE(oid.editable);
  EXPECT_FALSE(oid.isNullable);
  EXPECT_EQ(table->FindField("Shape"), -1);

  const CursorPtr rows = table->SearchOids({4, 2, 99});
  const IRow* row = rows->Next();
  EXPECT_EQ(row->OID(), 2);
  EXPECT_EQ(row->GetValue(0), Value(std::int32_t{2}));
  EXPECT_EQ(row->GetValue(1), Value(std::int32_t{2}));
  EXPECT_EQ(row->GetValue(2), Value("row 2"));
  EXPECT_EQ(row->GetDouble(3), 2 / 7.0);
  EXPECT_FALSE(row->IsNull(1));
  EXPECT_EQ(ErrorOf([&] { row->GetValue(4); }), 9);
  EXPECT_EQ(ErrorOf([&] { row->GetValue(-1); }), 9);
  EXPECT_EQ(rows->Next()->OID(), 4);
  EXPECT_EQ(rows->Next(), nullptr);
  EXPECT_TRUE(table->HasRow(5));
  EXPECT_FALSE(table->HasRow(6));
}

TEST_F(ShapelessSourceTest, KnowsNoShape) {
  const TablePtr table = OpenTableByPath(dbf);
  EXPECT_FALSE(table->HasShape());
  EXPECT_EQ(std::dynamic_pointer_cast<IFeatureClass>(table), nullptr);
  const CursorPtr rows = table->Update();
  IRow* row = rows->Next();
  EXPECT_EQ(ErrorOf([&] { row->Shape(); }), 91);
  EXPECT_EQ(ErrorOf([&] { row->Extent(); }), 91);
  EXPECT_EQ(ErrorOf([&] { row->Point(); }), 91);
  EXPECT_EQ(ErrorOf([&] { row->SetShape(Point{1, 2}); }), 91);
  EXPECT_EQ(ErrorOf([&] { table->CreateRowBuffer()->Shape(); }), 91);
  QueryFilter here;
  here.shape = Wkt("POINT(1 2)");
  EXPECT_EQ(ErrorOf([&] { table->Search(here); }), 91);
  EXPECT_EQ(ErrorOf([&] { table->SearchOids({1}, here); }), 91);
  EXPECT_EQ(ErrorOf([&] { table->Update(here); }), 91);
  EXPECT_EQ(ErrorOf([&] { table->Select(here); }), 91);
  EXPECT_EQ(ErrorOf([&] { table->RowCount(here); }), 91);
}

TEST_F(ShapelessSourceTest, IsNamedAsItsFileIs) {
  TablePtr table = OpenTableByPath(folder / "./p.dbf");
  EXPECT_EQ(table->Name(), "p");
  EXPECT_EQ(table->PathName(), folder.Path());
  EXPECT_EQ(table->Path(), dbf);
  table.reset();
  for (const auto& [from, to] : {std::pair("p.dbf", "p.DBF"), std::pair("p.shx", "p.SHX")})
    fs::rename(folder / from, folder / to);
  const TablePtr upper = OpenTableByPath(folder / "p.DBF");
  EXPECT_EQ(upper->Path(), folder / "p.DBF");
  DeleteRows(*upper, Where("NUM < 2"));
  EXPECT_EQ(OpenFeatureClassByPath(path)->RowCount(), 4);
}

TEST_F(ShapelessSourceTest, SharesPendingEditsWithTheShapefile) {
  const FeatureClassPtr points = OpenFeatureClassByPath(path);
  const TablePtr table = OpenTableByPath(dbf), again = OpenTableByPath(dbf);
  const Fields& held = table->Fields();
  const std::uint64_t before = table->ChangeCount();
  {
    const CursorPtr ofTable = table->Update(), ofPoints = points->Update();
    IRow* row = ofTable->Next();
    row->SetDouble(3, 10);
    ofTable->UpdateRow(*row);
    IRow* feature = ofPoints->Next();
    EXPECT_EQ(feature->GetDouble(4), 10) << "pending, of the table";
    feature = ofPoints->Next();
    feature->SetValue(3, Value("from points"));
    ofPoints->UpdateRow(*feature);
    row = ofTable->Next();
    EXPECT_EQ(row->GetValue(2), Value("from points")) << "pending, of the shapefile";
    EXPECT_EQ(Column(*again, "NAME")[1], "from points");
    EXPECT_EQ(ViewOf(path).Value(1, 1), "row 1") << "nothing is written yet";
  }
  EXPECT_GT(table->ChangeCount(), before);

  table->AddField(MakeColumn("NEW", FieldType::kInteger));
  EXPECT_EQ(held.FieldCount(), 5);
  EXPECT_EQ(points->FindField("NEW"), 5);
  points->DeleteField(points->FindField("VAL"));
  EXPECT_EQ(table->FindField("VAL"), -1);
  EXPECT_EQ(again->FindField("NEW"), 3);
  Set(*table, "NEW", Value(std::int32_t{7}), Where("NUM >= 4"));
  EXPECT_EQ(Column(*points, "NEW"), (Strings{"0", "0", "0", "0", "7", "7"}));
  CommitAllEdits();
  const OgrView view = ViewOf(path);
  EXPECT_EQ(view.fields.size(), 3U);
  EXPECT_EQ(view.Value(1, 1), "from points");
  EXPECT_EQ(view.Value(5, 2), "7");
  EXPECT_EQ(view.rows[3].wkt, "POINT (3 6)");
  table->DeleteField(3);
  EXPECT_EQ(held.FieldCount(), 3);
  EXPECT_EQ(points->FindField("NEW"), -1);
}

TEST_F(ShapelessSourceTest, KeepsTheEditsOfAShapefileThatNobodyElseHolds) {
  {
    const TablePtr table = OpenTableByPath(dbf);
    table->AddField(MakeColumn("NEW", FieldType::kInteger));
  }
  EXPECT_EQ(ViewOf(path).fields.size(), 4U);
}

TEST_F(ShapelessSourceTest, ADeletedRowTakesItsShapeWithItAndOpenCursorsFollow) {
  const FeatureClassPtr points = OpenFeatureClassByPath(path);
  const TablePtr table = OpenTableByPath(dbf);
  const CursorPtr ofPoints = points->Search(), ofTable = table->Search();
  for (int i = 0; i < 4; ++i) ofPoints->Next(), ofTable->Next();
  DeleteRows(*table, Where("NUM = 1 OR NUM = 4"));
  EXPECT_EQ(RowsOnDisk(), 4U);
  const OgrView view = ViewOf(path);
  EXPECT_EQ(view.rows[1].wkt, "POINT (2 4)");
  EXPECT_EQ(view.Value(1, 0), "2");
  EXPECT_EQ(view.rows[3].wkt, "POINT (5 10)");

  const IRow* feature = ofPoints->Next();
  EXPECT_EQ(feature->OID(), 3);
  EXPECT_EQ(feature->Point().x, 5);
  const IRow* row = ofTable->Next();
  EXPECT_EQ(row->OID(), 3);
  EXPECT_EQ(row->GetValue(1), Value(std::int32_t{5}));
  EXPECT_EQ(ofPoints->Next(), nullptr);
  EXPECT_EQ(ofTable->Next(), nullptr);

  // And the other way round, while it is not written yet.
  const CursorPtr deleting = points->Update();
  deleting->DeleteRow(*deleting->Next());
  EXPECT_EQ(table->RowCount(), 3);
  EXPECT_EQ(Column(*table, "NUM"), (Strings{"2", "3", "5"}));
  EXPECT_FALSE(table->HasRow(0));
  deleting->Flush();
  EXPECT_TRUE(table->HasRow(0));
  EXPECT_EQ(RowsOnDisk(), 3U);
}

TEST_F(ShapelessSourceTest, AnInsertedRowHasANullShape) {
  const FeatureClassPtr points = OpenFeatureClassByPath(path);
  const TablePtr table = OpenTableByPath(dbf);
  {
    const CursorPtr into = table->Insert();
    const auto row = table->CreateRowBuffer();
    row->SetValue(1, Value(std::int32_t{60}));
    row->SetValue(2, Value("new"));
    EXPECT_EQ(into->InsertRow(*row), 6);
    const Field& held = table->Fields()[1];
    into->Flush();
    EXPECT_EQ(points->RowCount(), 7);
    EXPECT_EQ(&table->Fields()[1], &held) << "columns that are the same stay where they are";
    // A row of a table of the same columns.
    const CursorPtr rows = table->Search(Where("NUM = 5"));
    EXPECT_EQ(into->InsertRow(*rows->Next()), 7);
  }
  EXPECT_EQ(RowsOnDisk(), 8U);
  const OgrView view = ViewOf(path);
  EXPECT_EQ(view.rows[6].wkt, "");
  EXPECT_EQ(view.rows[6].values, (Strings{"60", "new", "0"}));
  EXPECT_EQ(view.rows[7].wkt, "");
  EXPECT_EQ(view.rows[7].values, view.rows[5].values);
  const CursorPtr rows = points->SearchOids({6});
  EXPECT_TRUE(rows->Next()->Shape().IsEmpty());
  EXPECT_EQ(points->Extent(), Envelope(0, 0, 5, 10));
}

TEST_F(ShapelessSourceTest, ExpressionsNameTheObjectIdAsTheTableDoes) {
  const TablePtr table = OpenTableByPath(dbf);
  EXPECT_EQ(table->Select(Where("oid >= 1 AND NUM < 4")).Oids(), (Oids{1, 2, 3}));
  EXPECT_EQ(table->Select(Where("FID = 5")).Oids(), (Oids{5})) << "as on any dBASE table";
  EXPECT_EQ(table->Select(Where("NAME = 'OID' OR OID = 2")).Oids(), (Oids{2}));
  EXPECT_EQ(table->RowCount(Where("OID > 3")), 2);
  const CursorPtr rows = table->Search(Where("OID = 4"));
  EXPECT_EQ(rows->Next()->OID(), 4);
  EXPECT_EQ(rows->Next(), nullptr);
  EXPECT_EQ(table->SearchOids({1, 4}, Where("OID > 1"))->Next()->OID(), 4);
  std::string said;
  EXPECT_EQ(ErrorOf([&] { table->Search(Where("OID >")); }, &said), kPlatform);
  EXPECT_FALSE(said.empty());
}

TEST_F(ShapelessSourceTest, DatesBesideTheObjectIdStayDates) {
  WriteOgr("ESRI Shapefile", folder / "d.shp", wkbPoint, {{"DAY", OFTDate}},
           {{"POINT(0 0)", {"2020/01/31"}}, {"POINT(1 1)", {"2021/01/31"}}, {"", {"2022/01/31"}}});
  const TablePtr table = OpenTableByPath(folder / "d.dbf");
  EXPECT_EQ(table->Select(Where("DAY > #2020-06-01# AND OID < 2")).Oids(), (Oids{1}));
}

TEST_F(ShapelessSourceTest, AColumnIsFoundByTheNameThatTheObjectIdHas) {
  const std::vector<OgrRow> rows = {{"POINT(0 0)", {"20"}}, {"POINT(1 1)", {"21"}}};
  WriteOgr("ESRI Shapefile", folder / "fid.shp", wkbPoint, {{"FID", OFTInteger, 4}}, rows);
  const TablePtr fid = OpenTableByPath(folder / "fid.dbf");
  EXPECT_EQ(fid->FindField("FID"), 1);
  EXPECT_EQ(Column(*fid, "FID"), (Strings{"20", "21"}));
  EXPECT_EQ(fid->Select(Where("FID = 21")).Oids(), (Oids{1}));
  // OGR knows the object id by that name alone.
  std::string said;
  EXPECT_EQ(ErrorOf([&] { fid->Select(Where("OID = 1")); }, &said), kPlatform);
  EXPECT_EQ(said,
            "The expression cannot be read: OID = 1: OID cannot be told from the column FID.");

  WriteOgr("ESRI Shapefile", folder / "oid.shp", wkbPoint, {{"OID", OFTInteger, 4}}, rows);
  const TablePtr oid = OpenTableByPath(folder / "oid.dbf");
  EXPECT_EQ(oid->Select(Where("OID = 21")).Oids(), (Oids{1}));
  EXPECT_EQ(oid->Select(Where("FID = 0")).Oids(), (Oids{0}));
}

TEST_F(ShapelessSourceTest, ReadsOnlyWhatIsAskedFor) {
  QueryFilter filter = Where("OID = 2");
  filter.onlyFields = {"name"};
  const TablePtr table = OpenTableByPath(dbf);
  const CursorPtr rows = table->Search(filter);
  const IRow* row = rows->Next();
  EXPECT_EQ(row->GetValue(2), Value("row 2"));
  EXPECT_TRUE(row->GetValue(1).IsNull());
}

TEST_F(ShapelessSourceTest, KeepsTheNamesThatBothHaveOfTheirOwn) {
  const TablePtr table = OpenTableByPath(dbf);
  std::string said;
  EXPECT_EQ(ErrorOf([&] { table->AddField(MakeColumn("oid", FieldType::kInteger)); }, &said),
            kPlatform);
  EXPECT_EQ(said, "There is a field oid already.");
  for (const char* name : {"FID", "Shape", "NUM"})
    EXPECT_EQ(ErrorOf([&] { table->AddField(MakeColumn(name, FieldType::kInteger)); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { table->DeleteField(0); }, &said), kPlatform);
  EXPECT_EQ(said, "The field OID cannot be edited.");
  EXPECT_EQ(ErrorOf([&] { table->DeleteField(-1); }), 9);
  EXPECT_EQ(ErrorOf([&] { table->DeleteField(4); }), 9);
  const CursorPtr rows = table->Update();
  IRow* row = rows->Next();
  EXPECT_EQ(ErrorOf([&] { row->SetValue(0, Value(1)); }, &said), kPlatform);
  EXPECT_EQ(said, "The field OID cannot be edited.");
  EXPECT_EQ(ErrorOf([&] { row->SetDouble(0, 1); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { row->SetValue(4, Value(1)); }), 9);
  const CursorPtr reading = table->Search();
  EXPECT_EQ(ErrorOf([&] { reading->Next()->SetValue(1, Value(1)); }, &said), kPlatform);
  EXPECT_EQ(said, "The field NUM cannot be edited.");
}

TEST_F(ShapelessSourceTest, ACursorChangesItsOwnCurrentRowAlone) {
  const TablePtr table = OpenTableByPath(dbf);
  const FeatureClassPtr points = OpenFeatureClassByPath(path);
  const CursorPtr rows = table->Update(), others = table->Update(), features = points->Update();
  IRow* foreign = others->Next();
  IRow* feature = features->Next();
  const auto buffer = table->CreateRowBuffer();
  for (const bool hasRow : {false, true}) {
    if (hasRow) rows->Next();
    for (IRow* row : {foreign, feature, static_cast<IRow*>(buffer.get())}) {
      EXPECT_EQ(ErrorOf([&] { rows->UpdateRow(*row); }), kPlatform);
      EXPECT_EQ(ErrorOf([&] { rows->DeleteRow(*row); }), kPlatform);
    }
  }
  const CursorPtr reading = table->Search();
  IRow* row = reading->Next();
  EXPECT_EQ(ErrorOf([&] { reading->DeleteRow(*row); }), kPlatform);
  EXPECT_EQ(table->RowCount(), 6);
}

TEST_F(ShapelessSourceTest, IsNeitherDeletedNorRenamedWithoutTheShapes) {
  const auto before = Snapshot(folder.Path());
  const TablePtr table = OpenTableByPath(dbf);
  EXPECT_FALSE(table->CanRename());
  std::string said;
  EXPECT_EQ(ErrorOf([&] { table->Delete(); }, &said), kPlatform);
  EXPECT_EQ(said, dbf + " is the table of the shapefile p.shp and cannot be deleted without it.");
  EXPECT_EQ(ErrorOf([&] { table->Rename("q"); }, &said), kPlatform);
  EXPECT_EQ(said, dbf + " is the table of the shapefile p.shp and cannot be renamed without it.");
  EXPECT_EQ(Snapshot(folder.Path()), before);
  EXPECT_EQ(table->RowCount(), 6);
}

TEST_F(ShapelessSourceTest, FollowsARenamedShapefile) {
  const TablePtr table = OpenTableByPath(dbf);
  OpenFeatureClassByPath(path)->Rename("q");
  EXPECT_EQ(table->Name(), "q");
  EXPECT_EQ(table->Path(), folder / "q.dbf");
  EXPECT_TRUE(table->Exists());
  EXPECT_EQ(table->RowCount(), 6);
  EXPECT_EQ(ErrorOf([&] { OpenTableByPath(dbf); }), kPlatform);
}

TEST_F(ShapelessSourceTest, GoesWithADeletedOrOverwrittenShapefile) {
  const TablePtr table = OpenTableByPath(dbf);
  const CursorPtr rows = table->Search();
  rows->Next();
  OpenFeatureClassByPath(path)->Delete();
  EXPECT_FALSE(table->Exists());
  EXPECT_EQ(ErrorOf([&] { table->RowCount(); }), 91);
  EXPECT_EQ(ErrorOf([&] { rows->Next(); }), 91);
  EXPECT_THAT(Snapshot(folder.Path()), IsEmpty());

  MakePoints(path, 3);
  const TablePtr later = OpenTableByPath(dbf);
  SpatialReferencePtr reference;
  const FeatureClassPtr next =
      CreateShapefile(folder.Path(), "p", GeometryType::kPolygon, false, false, reference, true);
  EXPECT_FALSE(later->Exists());
  EXPECT_EQ(ErrorOf([&] { later->AddField(MakeColumn("LATE", FieldType::kInteger)); }), 91);
  EXPECT_EQ(OpenTableByPath(dbf)->RowCount(), 0);
  EXPECT_EQ(OpenTableByPath(dbf)->FindField("LATE"), -1);
}

TEST_F(ShapelessSourceTest, IsGoneWhenItsOwnFileIs) {
  const TablePtr table = OpenTableByPath(dbf);
  EXPECT_TRUE(table->Exists());
  files::DeleteFile(dbf);
  EXPECT_FALSE(table->Exists());
}

TEST_F(ShapelessSourceTest, TheTableOfADamagedShapefileKeepsItsRows) {
  const auto whole = Snapshot(folder.Path());
  const auto damages =
      std::vector<std::function<void()>>{[&] { files::DeleteFile(folder / "p.shx"); },
                                         [&] { WriteBytes(path, ReadBytes(path).substr(0, 130)); },
                                         [&] { WriteBytes(path, "no shapefile"); },
                                         [&] {  // one row less than shapes
                                           std::string bytes = ReadBytes(dbf);
                                           bytes[4] = 5;
                                           WriteBytes(dbf, bytes);
                                         }};
  for (std::size_t i = 0; i < damages.size(); ++i) {
    SCOPED_TRACE(i);
    Restore(folder.Path(), whole);
    damages[i]();
    auto expected = Snapshot(folder.Path());
    const TablePtr table = OpenTableByPath(dbf);
    const std::int64_t count = i == 3 ? 5 : 6;
    EXPECT_EQ(table->RowCount(), count);
    EXPECT_EQ(table->Fields()[0].name, "OID");
    EXPECT_EQ(table->RowCount(Where("OID >= 2 AND NAME <> ''")), count - 2);
    const CursorPtr rows = table->Update();
    std::string said;
    IRow* row = rows->Next();
    EXPECT_EQ(ErrorOf([&] { rows->DeleteRow(*row); }, &said), kPlatform);
    EXPECT_EQ(said, dbf + " is the table of p.shp: its rows cannot be deleted without the shapes.");
    EXPECT_EQ(ErrorOf([&] { InsertRow(*table, 1); }, &said), kPlatform);
    EXPECT_EQ(said, dbf + " is the table of p.shp: rows cannot be added without the shapes.");
    EXPECT_EQ(ErrorOf([&] { table->Delete(); }, &said), kPlatform);
    EXPECT_EQ(said, dbf + " is the table of p.shp: it cannot be deleted without the shapes.");
    EXPECT_EQ(ErrorOf([&] { table->Rename("q"); }, &said), kPlatform);
    EXPECT_EQ(said, dbf + " is the table of p.shp: it cannot be renamed without the shapes.");
    EXPECT_EQ(Snapshot(folder.Path()), expected);

    row->SetValue(2, Value("changed"));
    rows->UpdateRow(*row);
    rows->Flush();
    EXPECT_EQ(PlainTableOf(ReadBytes(dbf)).rows.size(), static_cast<std::size_t>(count));
    EXPECT_THAT(PlainTableOf(ReadBytes(dbf)).rows[0][1], HasSubstr("changed"));
    expected.erase("p.dbf");
    auto after = Snapshot(folder.Path());
    after.erase("p.dbf");
    EXPECT_EQ(after, expected);
  }
}

TEST_F(ShapelessSourceTest, ATableBesideAnotherOnesShapesStandsAlone) {
  WriteBytes(folder / "p.DBF", ReadBytes(dbf));
  const TablePtr other = OpenTableByPath(folder / "p.DBF");
  DeleteRows(*other, Where("NUM > 0"));
  EXPECT_EQ(other->RowCount(), 1);
  EXPECT_EQ(OpenTableByPath(dbf)->RowCount(), 6);
  EXPECT_EQ(RowsOnDisk(), 6U);
  other->Delete();
  EXPECT_FALSE(files::FileExists(folder / "p.DBF"));
  EXPECT_TRUE(files::FileExists(dbf));
}

TEST_F(ShapelessSourceTest, IsReachedThroughLinks) {
  // To the table alone; the whole folder; and a table that lies elsewhere than its shapes.
  fs::create_symlink(dbf, folder / "link.dbf");
  TempFolder elsewhere;
  fs::create_directory_symlink(folder.Path(), elsewhere / "folder");
  for (const char* ending : {".shp", ".shx", ".dbf", ".cpg"})
    fs::copy_file(folder / ("p" + std::string(ending)), elsewhere / ("e" + std::string(ending)));
  fs::create_directory(elsewhere / "tables");
  fs::rename(elsewhere / "e.dbf", elsewhere / "tables/other.dbf");
  fs::create_symlink(elsewhere / "tables/other.dbf", elsewhere / "e.dbf");

  const FeatureClassPtr points = OpenFeatureClassByPath(path);
  for (const std::string& table : {folder / "link.dbf", elsewhere / "folder/p.dbf"}) {
    Set(*OpenTableByPath(table), "NUM", Value(std::int32_t{50}), Where("OID = 5"));
    EXPECT_EQ(OpenTableByPath(table)->Path(), table);
    EXPECT_EQ(DatasetOf(table), path);
  }
  DeleteRows(*OpenTableByPath(folder / "link.dbf"), Where("OID = 0"));
  EXPECT_EQ(points->RowCount(), 5);
  EXPECT_EQ(RowsOnDisk(), 5U);
  DeleteRows(*OpenTableByPath(elsewhere / "e.dbf"), Where("OID < 2"));
  EXPECT_EQ(ViewOf(elsewhere / "e.shp").rows.size(), 4U);
  EXPECT_TRUE(fs::is_symlink(elsewhere / "e.dbf"));
}

TEST_F(ShapelessSourceTest, ANewTableDoesNotBecomeTheTableOfShapes) {
  files::DeleteFile(dbf);
  std::string said;
  EXPECT_EQ(ErrorOf([&] { CreateTable(folder.Path(), "p", {}); }, &said), kPlatform);
  EXPECT_EQ(said, dbf + " would be taken for the table of p.shp.");
  EXPECT_FALSE(files::FileExists(dbf));
}

TEST_F(ShapelessSourceTest, IsWhatADatasetIsKnownBy) {
  EXPECT_EQ(DatasetOf(dbf), path);
  EXPECT_EQ(DatasetOf(folder / "./p.shp"), path);
  EXPECT_EQ(DatasetOf(folder / "none.dbf"), folder / "none.dbf");
  EXPECT_EQ(DatasetOf(""), "");
  files::DeleteFile(path);
  EXPECT_EQ(DatasetOf(dbf), dbf);
}

/// Edits at random, half of them through either name, against a plain list of what the rows should
/// be.
TEST_F(ShapelessSourceTest, StaysOneDatasetHoweverItIsEdited) {
  struct Row {
    double x;  ///< -1 for a null shape
    std::int32_t number;
    bool operator==(const Row&) const = default;
  };
  Seeded random("ShapelessSource.StaysOneDatasetHoweverItIsEdited");
  std::vector<Row> expected;
  for (int i = 0; i < 6; ++i) expected.push_back({static_cast<double>(i), i});
  const FeatureClassPtr points = OpenFeatureClassByPath(path);
  const TablePtr table = OpenTableByPath(dbf);
  for (std::int32_t i = 0; i < 300; ++i) {
    const bool byTable = random.Chance(0.5);
    ITable& edited = byTable ? *table : *points;
    const auto last = static_cast<std::int64_t>(expected.size()) - 1;
    const auto at = static_cast<std::ptrdiff_t>(random.Whole(0, std::max<std::int64_t>(last, 0)));
    const std::int64_t what = random.Whole(0, 9);
    if (what < 4 || expected.empty()) {
      InsertRow(edited, i);
      expected.push_back({-1, i});
    } else {
      const CursorPtr rows = edited.Update();
      IRow* row = nullptr;
      for (std::ptrdiff_t k = 0; k <= at; ++k) row = rows->Next();
      ASSERT_NE(row, nullptr);
      if (what < 7) {
        rows->DeleteRow(*row);
        expected.erase(expected.begin() + at);
      } else {
        row->SetDouble(edited.FindField("NUM"), i);
        rows->UpdateRow(*row);
        expected[static_cast<std::size_t>(at)].number = i;
      }
    }
    const ITable& asked = byTable ? static_cast<const ITable&>(*points) : *table;
    ASSERT_EQ(asked.RowCount(), static_cast<std::int64_t>(expected.size()));
    Strings numbers;
    for (const Row& row : expected) numbers.push_back(ToText(row.number));
    ASSERT_EQ(Column(asked, "NUM"), numbers);
  }
  CommitAllEdits();
  std::vector<Row> found;
  for (const OgrView::Row& row : ViewOf(path).rows) {
    const double x = row.wkt.empty() ? -1 : Wkt(row.wkt).As<Point>()->x;
    found.push_back({x, static_cast<std::int32_t>(std::stoi(row.values[0]))});
  }
  EXPECT_EQ(found, expected);
  EXPECT_EQ(RowsOnDisk(), expected.size());
}

}  // namespace
}  // namespace orlinths
