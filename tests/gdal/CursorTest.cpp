#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <numeric>

#include "data/Workspace.h"
#include "gdal/OgrFixture.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "runtime/Trap.h"
#include "support/Faults.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using Strings = std::vector<std::string>;

Field Make(const std::string& name, FieldType type, int length = 0) {
  Field field;
  field.name = name;
  field.type = type;
  field.length = length;
  return field;
}

int NumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const RuntimeError& error) {
    return error.Number();
  }
  return 0;
}

constexpr int kPlatform = -2147467259;

std::vector<double> Column(const ITable& table, const std::string& name) {
  std::vector<double> values;
  const int field = table.FindField(name);
  const CursorPtr rows = table.Search();
  while (const IRow* row = rows->Next()) values.push_back(row->GetDouble(field));
  return values;
}

class CursorTest : public ::testing::Test {
 protected:
  /// Points (i, 2i) with V = i and NAME = "n<i>".
  FeatureClassPtr Points(int count, const std::string& name = "points") {
    std::vector<OgrRow> rows;
    for (int i = 0; i < count; ++i) {
      const std::string n = std::to_string(i);
      rows.push_back({"POINT(" + n + " " + std::to_string(2 * i) + ")", {n, "n" + n}});
    }
    WriteOgr("ESRI Shapefile", folder / (name + ".shp"), wkbPoint,
             {{"V", OFTInteger, 9}, {"NAME", OFTString, 10}}, rows);
    return OpenFeatureClass(folder.Path(), name);
  }
  TempFolder folder;
};

TEST_F(CursorTest, GoesWithoutAFailureWhateverAllocationFails) {
  bool struck = true;
  for (int nth = 1; struck; ++nth) {
    const FeatureClassPtr points = Points(3, "points" + std::to_string(nth));
    const Fault fault(FaultKind::kOwnAllocation, nth);
    Quietly([&] {
      const CursorPtr rows = points->Search();
      while (rows->Next() != nullptr) {
      }
    });
    struck = fault.HasStruck();
  }
}

// OGR opens shapes without a table that it cannot read, and may end a walk at what it cannot.
TEST_F(CursorTest, WhatCannotBeReadIsNeverTakenForSomethingElse) {
  constexpr int kRows = 20;
  for (const std::string ending : {".shp", ".gpkg"}) {
    const bool isShapefile = ending == ".shp";
    const std::string path = folder / ("points" + ending);
    std::vector<Oid> all(kRows);
    std::iota(all.begin(), all.end(), isShapefile ? 0 : 1);
    const auto make = [&] {
      std::vector<OgrRow> rows;
      for (int i = 0; i < kRows; ++i)
        rows.push_back({"POINT(" + std::to_string(i) + " 1)", {std::to_string(i), "a"}});
      std::filesystem::remove(path);
      WriteOgr(isShapefile ? "ESRI Shapefile" : "GPKG", path, wkbPoint,
               {{"V", OFTInteger, 9}, {"NAME", OFTString, 10}}, rows);
      return OpenFeatureClassByPath(path);
    };
    for (const FaultKind kind : {FaultKind::kOpen, FaultKind::kRead}) {
      for (const bool byOid : {false, true}) {
        SCOPED_TRACE(ending + (byOid ? " by OID, kind " : ", kind ") +
                     std::to_string(static_cast<int>(kind)));
        int strikes = 0;
        for (bool struck = true; struck; strikes += struck) {
          const FeatureClassPtr before = make();  // replaced, so that the walk opens it anew
          const FeatureClassPtr points = make();
          std::vector<double> values;
          const Fault fault(kind, strikes + 1);
          const bool isRead = Quietly([&] {
            const int field = points->FindField("V");
            const CursorPtr rows = byOid ? points->SearchOids(all) : points->Search();
            while (const IRow* row = rows->Next()) {
              values.push_back(row->GetDouble(field));
              if (row->Point().x != values.back()) values.back() = -1;
            }
          });
          struck = fault.HasStruck();
          ASSERT_TRUE(isRead || struck);
          ASSERT_TRUE(!isRead || values.size() == std::size_t{kRows});
          for (std::size_t i = 0; i < values.size(); ++i) ASSERT_EQ(values[i], double(i));
        }
        EXPECT_TRUE(strikes > 0 || !isShapefile);  // others keep what opening has opened
      }
    }
  }
}

TEST_F(CursorTest, SeveralWalkOneClassAtOnce) {
  const FeatureClassPtr points = Points(5);
  int pairs = 0;
  const CursorPtr outer = points->Search();
  while (const IRow* a = outer->Next()) {
    const CursorPtr inner = points->Search();
    Oid expected = 0;
    while (const IRow* b = inner->Next()) {
      EXPECT_EQ(b->OID(), expected++);
      ++pairs;
    }
    EXPECT_EQ(a->Point().y, 2 * a->Point().x);
  }
  EXPECT_EQ(pairs, 25);
}

/// Every way to read a value agrees with `GetValue`, in all rows and fields.
void ExpectOneAnswer(const ITable& table) {
  const CursorPtr rows = table.Search();
  std::string text = "what was there before";
  while (const IRow* row = rows->Next()) {
    for (int field = 0; field < table.Fields().FieldCount(); ++field) {
      SCOPED_TRACE(table.Name() + "." + table.Fields()[field].name);
      const Value value = row->GetValue(field);
      EXPECT_EQ(row->IsNull(field), value.IsNull());
      if (value.IsNull()) {
        EXPECT_EQ(NumberOf([&] { row->GetText(field, text); }), 94);
        EXPECT_EQ(NumberOf([&] { row->GetDouble(field); }), 94);
      } else {
        row->GetText(field, text);
        EXPECT_EQ(text, ToText(value));
        if (!value.IsText()) {
          EXPECT_EQ(row->GetDouble(field), ToDouble(value));
        }
      }
    }
  }
}

TEST_F(CursorTest, EveryWayToReadAValueGivesTheSame) {
  const std::vector<OgrColumn> columns = {{"SMALL", OFTInteger, 4},   {"WHOLE", OFTInteger, 9},
                                          {"SINGLE", OFTReal, 12, 3}, {"DOUBLE", OFTReal, 24, 10},
                                          {"NAME", OFTString, 20},    {"DAY", OFTDate}};
  const std::vector<OgrRow> rows = {
      {"POINT(0 0)", {"7", "70000", "0.5", "0.1", "Zürich", "2020/01/31"}},
      {"POINT(1 1)", {"", "", "", "", "", ""}},
      {"POINT(2 2)", {"-3", "0", "1e5", "-2.25", "longer than a buffer", ""}}};
  WriteOgr("ESRI Shapefile", folder / "s.shp", wkbPoint, columns, rows);
  WriteOgr("GPKG", folder / "g.gpkg", wkbPoint, columns, rows);
  for (const char* file : {"s.shp", "g.gpkg"}) {
    const FeatureClassPtr points = OpenFeatureClassByPath(folder / file);
    ExpectOneAnswer(*points);
    CursorPtr update = points->Update();
    IRow* row = update->Next();
    row->SetValue(6, Value("new"));
    row->SetValue(2, Value(std::int16_t{9}));
    std::string text;
    row->GetText(6, text);
    EXPECT_EQ(text, "new") << "not stored yet";
    row->GetText(2, text);
    EXPECT_EQ(text, "9");
    update->UpdateRow(*row);
    EXPECT_EQ(NumberOf([&] { row->GetText(99, text); }), 9);
    EXPECT_EQ(NumberOf([&] { row->IsNull(-1); }), 9);
    ExpectOneAnswer(*points);  // edits pending
    update.reset();
    points->AddField(Make("MORE", FieldType::kText, 10));
    ExpectOneAnswer(*points);
  }
}

TEST_F(CursorTest, ReadersSeePendingUpdatesAtOnceAndTheFileAtRelease) {
  const FeatureClassPtr points = Points(3);
  points->AddField(Make("LEN", FieldType::kDouble, 16));
  EXPECT_EQ(points->FindField("LEN"), 4);
  EXPECT_EQ(Column(*points, "LEN"), (std::vector<double>{0, 0, 0}));
  CursorPtr rows = points->Update();
  IRow* row = rows->Next();
  row->SetDouble(4, 0.1);
  EXPECT_EQ(row->GetDouble(4), 0.1);
  EXPECT_EQ(row->GetValue(4), Value(0.1));
  EXPECT_EQ(Column(*points, "LEN"), (std::vector<double>{0, 0, 0})) << "not stored yet";
  rows->UpdateRow(*row);
  EXPECT_EQ(Column(*points, "LEN"), (std::vector<double>{0.1, 0, 0}));
  row = rows->Next();
  row->SetValue(4, Value("2.5"));
  rows->UpdateRow(*row);
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "LEN"),
            (Strings{"no such column", "no such column", "no such column"}));
  rows.reset();
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "LEN"),
            (Strings{"0.1000000000000000", "2.5000000000000000", "0.0000000000000000"}));
  EXPECT_EQ(Column(*points, "LEN"), (std::vector<double>{0.1, 2.5, 0}));
}

TEST_F(CursorTest, AnOpenReaderGoesOnAfterTheFilesChanged) {
  const FeatureClassPtr points = Points(6);
  const CursorPtr reader = points->Search();
  for (int i = 0; i < 2; ++i) reader->Next();
  {
    const CursorPtr rows = points->Update();
    while (IRow* row = rows->Next()) {
      row->SetDouble(2, 100 + static_cast<double>(row->OID()));
      rows->UpdateRow(*row);
    }
  }
  for (int i = 2; i < 6; ++i) {
    const IRow* row = reader->Next();
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->OID(), i);
    EXPECT_EQ(row->GetValue(2), Value(std::int32_t{100 + i}));
  }
  EXPECT_EQ(reader->Next(), nullptr);
}

TEST_F(CursorTest, FlushInTheMiddleWritesAndGoesOn) {
  const FeatureClassPtr points = Points(4);
  const CursorPtr rows = points->Update();
  for (int i = 0; i < 4; ++i) {
    IRow* row = rows->Next();
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->OID(), i);
    row->SetDouble(2, 10 * i);
    rows->UpdateRow(*row);
    rows->Flush();
    EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "V")[static_cast<std::size_t>(i)],
              std::to_string(10 * i));
  }
  EXPECT_EQ(rows->Next(), nullptr);
}

TEST_F(CursorTest, AnErrorKeepsWhatWasUpdatedBeforeIt) {
  const FeatureClassPtr points = Points(4);
  const auto run = [&] {
    const CursorPtr rows = points->Update();
    for (int i = 0; i < 4; ++i) {
      IRow* row = rows->Next();
      row->SetValue(2, i == 2 ? Value("no number") : Value(std::int32_t{50 + i}));
      rows->UpdateRow(*row);
    }
  };
  EXPECT_NE(NumberOf(run), 0);
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "V"), (Strings{"50", "51", "2", "3"}));
}

TEST_F(CursorTest, AStopKeepsWhatWasUpdatedBeforeIt) {
  const FeatureClassPtr points = Points(4);
  const auto run = [&] {
    const CursorPtr rows = points->Update();
    while (IRow* row = rows->Next()) {
      row->SetDouble(2, 70);
      rows->UpdateRow(*row);
      if (row->OID() == 1) RequestStop();
    }
  };
  EXPECT_EQ(NumberOf(run), 18);
  ClearStop();
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "V"), (Strings{"70", "70", "2", "3"}));
}

TEST_F(CursorTest, EveryCallLooksForAStop) {
  const FeatureClassPtr points = Points(2);
  const CursorPtr rows = points->Search();
  const CursorPtr updates = points->Update();
  IRow* row = updates->Next();
  row->SetDouble(2, 1);
  RequestStop();
  const AtScopeEnd clear([] { ClearStop(); });
  EXPECT_EQ(NumberOf([&] { rows->Next(); }), 18);
  EXPECT_EQ(NumberOf([&] { updates->UpdateRow(*row); }), 18);
  EXPECT_EQ(NumberOf([&] { updates->DeleteRow(*row); }), 18);
  EXPECT_EQ(NumberOf([&] { points->Search(); }), 18);
  EXPECT_EQ(NumberOf([&] { points->Update(); }), 18);
  EXPECT_EQ(NumberOf([&] { points->Insert(); }), 18);
  EXPECT_EQ(NumberOf([&] { points->RowCount(); }), 18);
  EXPECT_EQ(NumberOf([&] { points->AddField(Make("A", FieldType::kDouble)); }), 18);
  EXPECT_EQ(NumberOf([&] { points->DeleteField(2); }), 18);
  EXPECT_EQ(NumberOf([&] { points->Delete(); }), 18);
  EXPECT_EQ(NumberOf([&] { OpenFeatureClass(folder.Path(), "points"); }), 18);
}

TEST_F(CursorTest, UpdatesShapes) {
  const FeatureClassPtr points = Points(3);
  {
    const CursorPtr rows = points->Update();
    while (IRow* row = rows->Next()) {
      Point p = row->Point();
      p.x += 10;
      row->SetShape(p);
      EXPECT_EQ(row->Point().x, p.x);
      rows->UpdateRow(*row);
      EXPECT_EQ(row->Point().x, p.x);
    }
    EXPECT_EQ(points->Extent(), (Envelope{10, 0, 12, 4})) << "before it is written";
  }
  EXPECT_EQ(OgrShapeTexts(folder / "points.shp"),
            (Strings{"POINT (10 0)", "POINT (11 2)", "POINT (12 4)"}));
  EXPECT_EQ(points->Extent(), (Envelope{10, 0, 12, 4}));
}

TEST_F(CursorTest, DeletesRowsAndRenumbersAtTheRelease) {
  const FeatureClassPtr points = Points(6);
  const CursorPtr reader = points->Search();
  for (int i = 0; i < 4; ++i) reader->Next();  // OID 3 is current
  {
    const CursorPtr rows = points->Update();
    while (IRow* row = rows->Next())
      if (row->OID() % 2 == 0) rows->DeleteRow(*row);
    EXPECT_EQ(points->RowCount(), 3);
    EXPECT_FALSE(points->HasRow(2));
    EXPECT_EQ(Column(*points, "V"), (std::vector<double>{1, 3, 5}));
    EXPECT_EQ(points->Select().Oids(), (std::vector<Oid>{1, 3, 5}));
  }
  EXPECT_EQ(points->RowCount(), 3);
  EXPECT_EQ(Column(*points, "V"), (std::vector<double>{1, 3, 5}));
  EXPECT_EQ(points->Select().Oids(), (std::vector<Oid>{0, 1, 2}));
  const IRow* row = reader->Next();  // neither twice nor skipped
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->GetDouble(2), 5);
  EXPECT_EQ(reader->Next(), nullptr);
}

TEST_F(CursorTest, ARowThatOthersMoveUpStaysItself) {
  const FeatureClassPtr points = Points(6);
  const CursorPtr reader = points->Search(), writer = points->Update(), gone = points->Search();
  const IRow* read = nullptr;
  IRow* written = nullptr;
  for (int i = 0; i < 4; ++i) read = reader->Next(), written = writer->Next();  // OID 3
  const IRow* deleted = gone->Next();
  {
    const CursorPtr rows = points->Update();
    while (IRow* row = rows->Next())
      if (row->OID() % 2 == 0) rows->DeleteRow(*row);
  }
  EXPECT_EQ(read->OID(), 1);
  EXPECT_EQ(read->GetDouble(2), 3);
  EXPECT_EQ(read->GetValue(3), Value("n3"));
  EXPECT_EQ(AsWkt(read->Shape()), "POINT(3 6)");
  written->SetDouble(2, 77);
  writer->UpdateRow(*written);
  writer->Flush();
  EXPECT_EQ(Column(*points, "V"), (std::vector<double>{1, 77, 5}));
  EXPECT_EQ(NumberOf([&] { deleted->GetDouble(2); }), 91) << "a row that is no more";
  EXPECT_EQ(NumberOf([&] { deleted->Shape(); }), 91);
  EXPECT_EQ(gone->Next()->GetDouble(2), 1);
}

TEST_F(CursorTest, AListOfOidsFollowsTheRenumbering) {
  const FeatureClassPtr points = Points(6);
  const CursorPtr reader = points->SearchOids({5, 1, 4, 2});
  EXPECT_EQ(reader->Next()->OID(), 1);
  {
    const CursorPtr rows = points->Update();
    while (IRow* row = rows->Next())
      if (row->OID() == 0 || row->OID() == 4) rows->DeleteRow(*row);
  }
  EXPECT_EQ(reader->Next()->GetDouble(2), 2);
  EXPECT_EQ(reader->Next()->GetDouble(2), 5);
  EXPECT_EQ(reader->Next(), nullptr);
}

TEST_F(CursorTest, InsertsAndFlushesForOthersToRead) {
  const FeatureClassPtr points = Points(1);
  CursorPtr rows = points->Insert();
  const std::unique_ptr<IRow> buffer = points->CreateFeatureBuffer();
  buffer->SetShape(Point{7, 8});
  buffer->SetValue(2, Value(std::int32_t{42}));
  EXPECT_EQ(rows->InsertRow(*buffer), 1);
  buffer->SetShape(Point{9, 10});  // V keeps its value
  buffer->SetValue(3, Value("last"));
  EXPECT_EQ(rows->InsertRow(*buffer), 2);
  rows->Flush();
  EXPECT_EQ(points->RowCount(), 3);
  EXPECT_EQ(Column(*points, "V"), (std::vector<double>{0, 42, 42}));
  rows.reset();
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "NAME"), (Strings{"n0", "", "last"}));
  EXPECT_EQ(OgrShapeTexts(folder / "points.shp"),
            (Strings{"POINT (0 0)", "POINT (7 8)", "POINT (9 10)"}));
}

TEST_F(CursorTest, AClassThatWasInsertedIntoIsFreeForOthersToEdit) {
  const FeatureClassPtr points = Points(1);
  const Strings before = files::NamesIn(folder.Path());
  const std::unique_ptr<IRow> buffer = points->CreateFeatureBuffer();
  CursorPtr rows = points->Insert(), more = points->Insert();
  for (CursorPtr* cursor : {&rows, &more}) {
    buffer->SetShape(Point{7, 8});
    (*cursor)->InsertRow(*buffer);
    (*cursor)->Flush();
    EXPECT_NE(files::NamesIn(folder.Path()), before) << "the lock is a file";
    cursor->reset();
    EXPECT_EQ(files::NamesIn(folder.Path()), before);
  }
  EXPECT_EQ(points->RowCount(), 3);
}

TEST_F(CursorTest, InsertTakesARowOfAnotherTable) {
  const FeatureClassPtr from = Points(2, "from");
  const FeatureClassPtr to = Points(0, "to");
  {
    const CursorPtr rows = from->Search();
    const CursorPtr into = to->Insert();
    while (IRow* row = rows->Next()) into->InsertRow(*row);
  }
  EXPECT_EQ(OgrColumnTexts(folder / "to.shp", "NAME"), (Strings{"n0", "n1"}));
}

TEST_F(CursorTest, CommitAllEditsWritesASchemaEditWithoutAnyCursor) {
  const FeatureClassPtr points = Points(2);
  points->AddField(Make("NEW", FieldType::kInteger));
  points->DeleteField(points->FindField("NAME"));
  EXPECT_EQ(points->FindField("NAME"), -1);
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "NAME"), (Strings{"n0", "n1"}));
  CommitAllEdits();
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "NAME"),
            (Strings{"no such column", "no such column"}));
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "NEW"), (Strings{"0", "0"}));
}

TEST_F(CursorTest, TheLastTableOfTheDatasetWritesWhatIsPending) {
  FeatureClassPtr points = Points(1);
  FeatureClassPtr other = OpenFeatureClassByPath(folder / "points.shp");
  points->AddField(Make("NEW", FieldType::kInteger));
  EXPECT_GE(other->FindField("NEW"), 0) << "two of one dataset share their edits";
  points.reset();
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "NEW"), (Strings{"no such column"}));
  other.reset();
  EXPECT_EQ(OgrColumnTexts(folder / "points.shp", "NEW"), (Strings{"0"}));
}

TEST_F(CursorTest, ASecondSpellingOfThePathSharesTheEdits) {
  const FeatureClassPtr points = Points(1);
  const FeatureClassPtr other = OpenFeatureClassByPath(
      folder.Path() + "/../" + folder.Path().substr(folder.Path().rfind('/') + 1) + "/points.shp");
  points->AddField(Make("NEW", FieldType::kInteger));
  EXPECT_GE(other->FindField("NEW"), 0);
  EXPECT_EQ(other->Path(), points->Path());
}

TEST_F(CursorTest, FieldsZeroAndOneAreNotEditable) {
  const FeatureClassPtr points = Points(1);
  const CursorPtr rows = points->Update();
  IRow* row = rows->Next();
  EXPECT_EQ(NumberOf([&] { row->SetValue(0, Value(std::int32_t{4})); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { row->SetDouble(1, 4); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { row->SetValue(4, Value(1.0)); }), 9);
  EXPECT_EQ(NumberOf([&] { row->GetValue(-1); }), 9);
  EXPECT_EQ(NumberOf([&] { row->GetDouble(4); }), 9);
  const auto buffer = points->CreateFeatureBuffer();
  EXPECT_EQ(NumberOf([&] { buffer->SetValue(0, Value(1.0)); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { buffer->SetValue(9, Value(1.0)); }), 9);
}

TEST_F(CursorTest, OnlyUpdateCursorsUpdate) {
  const FeatureClassPtr points = Points(2);
  const CursorPtr rows = points->Search();
  IRow* row = rows->Next();
  EXPECT_EQ(NumberOf([&] { row->SetDouble(2, 4); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { row->SetShape(Point{1, 1}); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { rows->UpdateRow(*row); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { rows->DeleteRow(*row); }), kPlatform);
  EXPECT_EQ(NumberOf([&] { rows->InsertRow(*row); }), kPlatform);
  const CursorPtr updates = points->Update();
  updates->Next();
  EXPECT_EQ(NumberOf([&] { updates->UpdateRow(*row); }), kPlatform) << "a row of another cursor";
}

TEST_F(CursorTest, OidsThatDoNotExistArePassedOver) {
  const FeatureClassPtr points = Points(5);
  const CursorPtr rows = points->SearchOids({4, 99, -3, 1, 1});
  EXPECT_EQ(rows->Next()->OID(), 1);
  EXPECT_EQ(rows->Next()->OID(), 4);
  EXPECT_EQ(rows->Next(), nullptr);
  EXPECT_TRUE(points->HasRow(0));
  EXPECT_FALSE(points->HasRow(5));
  EXPECT_FALSE(points->HasRow(-1));
}

TEST_F(CursorTest, ColumnsLeftOutAreEmptyAndNamedOnesWhole) {
  const FeatureClassPtr points = Points(3);
  QueryFilter filter;
  filter.onlyFields = {"name"};
  filter.withShape = false;
  filter.where = "V = 2";  // a column that is not read for the caller, but for the filter
  const CursorPtr rows = points->Search(filter);
  const IRow* row = rows->Next();
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->GetValue(3), Value("n2"));
  EXPECT_TRUE(row->GetValue(2).IsNull());
  EXPECT_TRUE(row->Shape().IsEmpty());
  EXPECT_EQ(rows->Next(), nullptr);
  const CursorPtr whole = points->Search();  // the reader is used again
  row = whole->Next();
  EXPECT_EQ(row->GetValue(2), Value(std::int32_t{0}));
  EXPECT_FALSE(row->Shape().IsEmpty());
}

TEST_F(CursorTest, PlainTablesHaveNoShape) {
  WriteOgr("ESRI Shapefile", folder / "t.dbf", wkbNone, {{"A", OFTInteger, 4}},
           {{"", {"5"}}, {"", {"6"}}});
  const TablePtr table = OpenTableByPath(folder / "t.dbf");
  EXPECT_FALSE(table->HasShape());
  EXPECT_EQ(table->Fields().FieldCount(), 2);
  EXPECT_EQ(table->Fields()[0].name, "OID");
  EXPECT_EQ(table->Name(), "t");
  const CursorPtr rows = table->Update();
  IRow* row = rows->Next();
  EXPECT_EQ(row->GetValue(1), Value(std::int16_t{5}));
  EXPECT_EQ(NumberOf([&] { row->Shape(); }), 91);
  EXPECT_EQ(NumberOf([&] { row->SetShape(Point{1, 2}); }), 91);
  EXPECT_EQ(NumberOf([&] { table->CreateRowBuffer()->Shape(); }), 91);
}

TEST_F(CursorTest, AClassThatCannotBeWrittenAnswersEditsWithError70) {
  Points(1);
  ASSERT_EQ(::chmod(folder.Path().c_str(), 0755), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    // Root may write anything: ask as somebody else.
    bool good = ::seteuid(65534) == 0;
    const FeatureClassPtr points = OpenFeatureClass(folder.Path(), "points");
    good = good && NumberOf([&] { points->AddField(Make("A", FieldType::kDouble)); }) == 70;
    good = good && NumberOf([&] { points->DeleteField(2); }) == 70;
    good = good && NumberOf([&] { points->Update(); }) == 70;
    good = good && NumberOf([&] { points->Insert(); }) == 70;
    good = good && points->Search()->Next() != nullptr;
    ::_exit(good ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(CursorTest, ADeletedClassAnswersNothing) {
  const FeatureClassPtr points = Points(2);
  const CursorPtr rows = points->Search();
  rows->Next();
  points->Delete();
  EXPECT_EQ(NumberOf([&] { rows->Next(); }), 91);
  EXPECT_EQ(NumberOf([&] { points->Search(); }), 91);
  EXPECT_EQ(NumberOf([&] { points->Fields(); }), 91);
  EXPECT_EQ(NumberOf([&] { points->Delete(); }), 91);
  EXPECT_EQ(files::NamesIn(folder.Path()), Strings{});
}

TEST_F(CursorTest, RenamesAllFiles) {
  const FeatureClassPtr points = Points(2);
  ASSERT_TRUE(points->CanRename());
  points->Rename("better");
  EXPECT_EQ(points->Name(), "better");
  EXPECT_EQ(points->Path(), folder / "better.shp");
  EXPECT_EQ(Column(*points, "V"), (std::vector<double>{0, 1}));
  EXPECT_EQ(OgrColumnTexts(folder / "better.shp", "V"), (Strings{"0", "1"}));
  EXPECT_NE(NumberOf([&] { OpenFeatureClass(folder.Path(), "points"); }), 0);
  EXPECT_EQ(OpenFeatureClass(folder.Path(), "better")->RowCount(), 2);
}

TEST_F(CursorTest, ChangeCountGrowsWithEveryEdit) {
  const FeatureClassPtr points = Points(2);
  std::uint64_t last = points->ChangeCount();
  const auto grew = [&] {
    const std::uint64_t now = points->ChangeCount();
    const bool bigger = now > last;
    last = now;
    return bigger;
  };
  points->AddField(Make("NEW", FieldType::kDouble));
  EXPECT_TRUE(grew());
  {
    const CursorPtr rows = points->Update();
    IRow* row = rows->Next();
    EXPECT_FALSE(grew());
    row->SetDouble(2, 1);
    rows->UpdateRow(*row);
    EXPECT_TRUE(grew());
    rows->DeleteRow(*rows->Next());
    EXPECT_TRUE(grew());
  }
  EXPECT_TRUE(grew());
  points->Insert()->InsertRow(*points->CreateRowBuffer());
  EXPECT_TRUE(grew());
}

TEST_F(CursorTest, RandomUpdatesEqualAPlainList) {
  Seeded random("CursorTest.RandomUpdatesEqualAPlainList");
  for (int round = 0; round < 6; ++round) {
    const int count = static_cast<int>(random.Whole(1, 40));
    const FeatureClassPtr points = Points(count, "r" + std::to_string(round));
    std::vector<double> plain;
    for (int i = 0; i < count; ++i) plain.push_back(i);
    for (int pass = 0; pass < 4; ++pass) {
      std::vector<double> kept;
      std::size_t at = 0;
      const CursorPtr rows = points->Update();
      while (IRow* row = rows->Next()) {
        const double was = plain[at++];
        ASSERT_EQ(row->GetDouble(2), was);
        if (random.Chance(0.1)) {
          rows->DeleteRow(*row);
          continue;
        }
        kept.push_back(was);
        if (random.Chance(0.5)) {
          kept.back() = static_cast<double>(random.Whole(-1000, 1000));
          row->SetDouble(2, kept.back());
          rows->UpdateRow(*row);
        }
        if (random.Chance(0.05)) rows->Flush();
      }
      plain = kept;
    }
    ASSERT_EQ(Column(*points, "V"), plain);
  }
}

}  // namespace
}  // namespace orlinths
