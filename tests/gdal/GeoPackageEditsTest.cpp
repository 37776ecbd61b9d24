// Edits of GeoPackages: what is written, what is left alone, and what cursors see of each other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "data/Workspace.h"
#include "gdal/OgrFixture.h"
#include "runtime/RuntimeError.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using Strings = std::vector<std::string>;
constexpr int kPlatform = -2147467259;

GDALDatasetUniquePtr Open(const std::string& path) {
  GDALAllRegister();
  return GDALDatasetUniquePtr(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE));
}

/// The first column of the first row that the database answers; empty for none.
std::string Sql(const std::string& path, const std::string& statement) {
  const auto dataset = Open(path);
  OGRLayer* answer = dataset->ExecuteSQL(statement.c_str(), nullptr, nullptr);
  std::string text;
  if (answer != nullptr) {
    if (const OGRFeatureUniquePtr row{answer->GetNextFeature()}) text = row->GetFieldAsString(0);
    dataset->ReleaseResultSet(answer);
  }
  return text;
}

/// All that OGR reads, row by row.
std::string Dump(const std::string& path) {
  std::string text;
  const auto dataset = Open(path);
  for (const auto& row : dataset->GetLayer(0)) {
    text += std::to_string(row->GetFID());
    for (int i = 0; i < row->GetFieldCount(); ++i)
      text +=
          std::string(row->IsFieldSetAndNotNull(i) ? "|=" : "|null ") + row->GetFieldAsString(i);
    const OGRGeometry* shape = row->GetGeometryRef();
    text += "|" + (shape != nullptr ? shape->exportToWkt() : std::string("no shape")) + "\n";
  }
  return text;
}

class GeoPackageRows : public ::testing::Test {
 protected:
  /// Rows 1 to `count`; a table and columns with names that have to be quoted.
  std::string Write(int count, const std::string& name = "p") {
    std::vector<OgrRow> rows;
    for (int i = 1; i <= count; ++i)
      rows.push_back({"POINT(" + std::to_string(i) + " 5)",
                      {std::to_string(i), std::to_string(i * 0.125), "n" + std::to_string(i),
                       "2020/01/31", "", "7", std::to_string(i) + "000000000000"}});
    const std::string path = folder / (name + ".gpkg");
    WriteOgr("GPKG", path, wkbPoint,
             {{"V", OFTInteger},
              {"a \"b\"", OFTReal},
              {"NAME", OFTString},
              {"DAY", OFTDate},
              {"WHEN", OFTDateTime},
              {"SMALL", OFTInteger, 0, 0, OFSTInt16},
              {"BIG", OFTInteger64}},
             rows, 32632, "ta\"ble");
    return path;
  }
  /// How often a row has been written with its shape.
  void CountShapes(const std::string& path) {
    Sql(path, "CREATE TABLE written(fid INTEGER)");
    Sql(path,
        "CREATE TRIGGER count_shapes AFTER UPDATE OF geom ON \"ta\"\"ble\" BEGIN INSERT INTO "
        "written VALUES (NEW.fid); END");
  }
  int ErrorOf(const std::function<void()>& call, std::string* said = nullptr) {
    try {
      call();
    } catch (const RuntimeError& error) {
      if (said != nullptr) *said = error.Description();
      return error.Number();
    }
    return 0;
  }
  TempFolder folder;
};

enum { kV = 2, kReal, kName, kDay, kWhen, kSmall, kBig };

TEST_F(GeoPackageRows, ColumnsAreWrittenWithoutTheShape) {
  const std::string path = Write(200);
  CountShapes(path);
  {
    const FeatureClassPtr points = OpenFeatureClassByPath(path);
    const CursorPtr rows = points->Update();
    while (IRow* row = rows->Next()) {
      row->SetDouble(kReal, row->GetDouble(kV) * 2);
      rows->UpdateRow(*row);
    }
  }
  EXPECT_EQ(Sql(path, "SELECT count(*) FROM written"), "1") << "one for OGR to know of the change";
  EXPECT_EQ(Sql(path, "SELECT count(*) FROM \"ta\"\"ble\" WHERE \"a \"\"b\"\"\" = 2 * V"), "200");
}

TEST_F(GeoPackageRows, TheTableSaysWhenItWasLastChanged) {
  const std::string path = Write(3);
  Sql(path, "UPDATE gpkg_contents SET last_change = '2001-01-01T00:00:00.000Z'");
  {
    const FeatureClassPtr points = OpenFeatureClassByPath(path);
    const CursorPtr rows = points->Update();
    IRow* row = rows->Next();
    row->SetDouble(kReal, 5);
    rows->UpdateRow(*row);
  }
  EXPECT_GT(Sql(path, "SELECT last_change FROM gpkg_contents"), "2020");
}

TEST_F(GeoPackageRows, WhatWasNotReadStaysAsItIs) {
  // Of each row nothing but one column is asked for; dates are written by OGR, row by row.
  for (const int field : {static_cast<int>(kV), static_cast<int>(kDay)}) {
    const std::string path = Write(100, "p" + std::to_string(field));
    {
      const FeatureClassPtr points = OpenFeatureClassByPath(path);
      QueryFilter nothing = ShapesOnly();
      nothing.withShape = false;
      const CursorPtr rows = points->Update(nothing);
      while (IRow* row = rows->Next()) {
        row->SetValue(field, field == kV ? Value(1.0) : Value("2021-03-04"));
        rows->UpdateRow(*row);
      }
    }
    const auto dataset = Open(path);
    int i = 0;
    for (const auto& row : dataset->GetLayer(0)) {
      ++i;
      EXPECT_EQ(row->GetFieldAsInteger(0), field == kV ? 1 : i);
      EXPECT_EQ(row->GetFieldAsDouble(1), i * 0.125);
      EXPECT_EQ(row->GetFieldAsString(2), "n" + std::to_string(i));
      EXPECT_STREQ(row->GetFieldAsString(3), field == kV ? "2020/01/31" : "2021/03/04");
      ASSERT_NE(row->GetGeometryRef(), nullptr);
      EXPECT_EQ(row->GetGeometryRef()->toPoint()->getX(), i);
    }
    EXPECT_EQ(i, 100);
  }
}

Value RandomValue(Seeded& random, int field) {
  if (random.Chance(0.15)) return Null{};
  switch (field) {
    case kName:
      return random.Chance(0.5) ? Value("Zürich 'x' \"y\"") : Value(ToText(random.Real(0, 1)));
    case kDay:
    case kWhen:
      return *Date::FromCivil(static_cast<int>(random.Whole(1900, 2100)), 2,
                              static_cast<int>(random.Whole(1, 28)));
    case kReal:
      return random.Chance(0.1) ? 1e308 * random.Real(-1, 1) : random.Real(-1, 1);
    case kBig:
      return std::floor(random.Real(-1e15, 1e15));
    default:
      return static_cast<double>(random.Whole(-30000, 30000));
  }
}

/// OGR alone, each row whole.
void StoreByOgr(OGRLayer& layer, Oid oid, const std::vector<std::pair<int, Value>>& changes,
                const Point* place) {
  const OGRFeatureUniquePtr row(layer.GetFeature(oid));
  for (const auto& [field, value] : changes) {
    const int column = field - 2;
    if (value.IsNull()) {
      row->SetFieldNull(column);
    } else if (const Date* date = value.As<Date>()) {
      row->SetField(column, date->Year(), date->Month(), date->Day(), 0, 0, 0.0F, 0);
    } else if (value.IsText()) {
      row->SetField(column, value.As<std::string>()->c_str());
    } else if (field == kReal) {
      row->SetField(column, *value.As<double>());
    } else {
      row->SetField(column, static_cast<GIntBig>(*value.As<double>()));
    }
  }
  if (place != nullptr) {
    OGRPoint point(place->x, place->y);
    row->SetGeometry(&point);
  }
  ASSERT_EQ(layer.SetFeature(row.get()), OGRERR_NONE);
}

TEST_F(GeoPackageRows, AnyEditsGiveTheTableThatOgrMakesRowByRow) {
  Seeded random("GeoPackageRows.AnyEditsGiveTheTableThatOgrMakesRowByRow");
  for (int round = 0; round < 12; ++round) {
    const int count = static_cast<int>(random.Whole(1, 150));
    const std::string ours = Write(count, "ours" + std::to_string(round));
    const std::string plain = Write(count, "plain" + std::to_string(round));
    {
      const auto dataset = Open(plain);
      OGRLayer& layer = *dataset->GetLayer(0);
      ASSERT_EQ(dataset->StartTransaction(), OGRERR_NONE);
      const FeatureClassPtr points = OpenFeatureClassByPath(ours);
      QueryFilter what;
      if (random.Chance(0.5)) what = ShapesOnly();
      if (random.Chance(0.3)) what.where = "FID > 20";
      const CursorPtr rows = points->Update(what);
      while (IRow* row = rows->Next()) {
        if (random.Chance(0.2)) continue;
        if (random.Chance(0.1)) {
          ASSERT_EQ(layer.DeleteFeature(row->OID()), OGRERR_NONE);
          rows->DeleteRow(*row);
          continue;
        }
        std::vector<std::pair<int, Value>> changes;
        for (int field = kV; field <= kBig; ++field)
          if (random.Chance(0.3)) changes.emplace_back(field, RandomValue(random, field));
        const Point place{.x = random.Real(0, 9), .y = 1};
        const bool moves = random.Chance(0.2);
        if (moves) row->SetShape(place);
        for (const auto& [field, value] : changes) row->SetValue(field, value);
        rows->UpdateRow(*row);
        if (!moves && changes.empty()) continue;
        ASSERT_NO_FATAL_FAILURE(StoreByOgr(layer, row->OID(), changes, moves ? &place : nullptr));
      }
      ASSERT_EQ(dataset->CommitTransaction(), OGRERR_NONE);
    }
    ASSERT_EQ(Dump(ours), Dump(plain));
    ASSERT_EQ(Sql(ours,
                  "SELECT group_concat(typeof(V) || typeof(\"a \"\"b\"\"\") || typeof(NAME) || "
                  "typeof(DAY) || typeof(\"WHEN\") || typeof(BIG)) FROM \"ta\"\"ble\""),
              Sql(plain,
                  "SELECT group_concat(typeof(V) || typeof(\"a \"\"b\"\"\") || typeof(NAME) || "
                  "typeof(DAY) || typeof(\"WHEN\") || typeof(BIG)) FROM \"ta\"\"ble\""));
    ASSERT_EQ(Sql(ours, "SELECT sum(minx) || ' ' || count(*) FROM \"rtree_ta\"\"ble_geom\""),
              Sql(plain, "SELECT sum(minx) || ' ' || count(*) FROM \"rtree_ta\"\"ble_geom\""));
  }
}

TEST_F(GeoPackageRows, ListsOfIdsGiveTheirRowsWhileTheTableIsEdited) {
  Seeded random("GeoPackageRows.ListsOfIdsGiveTheirRowsWhileTheTableIsEdited");
  const std::string path = Write(300);
  const FeatureClassPtr points = OpenFeatureClassByPath(path);
  points->AddField({.name = "NEW", .type = FieldType::kDouble});
  for (int round = 0; round < 60; ++round) {
    const double share = random.Chance(0.3) ? 0.01 : random.Real(0, 1);
    std::vector<Oid> wanted, there;
    for (Oid oid = -5; oid <= 310; ++oid) {
      if (!random.Chance(share)) continue;
      wanted.push_back(oid);
      if (oid >= 1 && oid <= 300) there.push_back(oid);
    }
    std::vector<Oid> got;
    const CursorPtr rows = points->SearchOids(wanted);
    while (const IRow* row = rows->Next()) {
      got.push_back(row->OID());
      ASSERT_EQ(row->GetDouble(kV), static_cast<double>(row->OID()));
      ASSERT_EQ(row->Point().x, static_cast<double>(row->OID()));
    }
    ASSERT_EQ(got, there);
  }
}

TEST_F(GeoPackageRows, ACursorSeesWhatAnotherHasJustStoredAhead) {
  const FeatureClassPtr points = OpenFeatureClassByPath(Write(200));
  const CursorPtr first = points->Update();
  for (int i = 0; i < 100; ++i) ASSERT_NE(first->Next(), nullptr);  // rows are read ahead by now
  {
    const CursorPtr second = points->Update();
    while (IRow* row = second->Next()) {
      row->SetDouble(kReal, -static_cast<double>(row->OID()));
      second->UpdateRow(*row);
      if (row->OID() == 110) second->DeleteRow(*row);
    }
  }
  std::vector<Oid> left;
  while (IRow* row = first->Next()) {
    left.push_back(row->OID());
    ASSERT_EQ(row->GetDouble(kReal), -static_cast<double>(row->OID()));
    row->SetDouble(kV, 5);
    first->UpdateRow(*row);
  }
  EXPECT_EQ(left.size(), 99u);
  EXPECT_EQ(left.front(), 101);
  EXPECT_EQ(std::ranges::count(left, 110), 0);
}

TEST_F(GeoPackageRows, TwoCursorsTakeTurns) {
  const std::string path = Write(120);
  {
    const FeatureClassPtr points = OpenFeatureClassByPath(path);
    const CursorPtr a = points->Update(), b = points->Update();
    for (int i = 0; i < 120; ++i) {
      for (const CursorPtr* rows : {&a, &b}) {
        IRow* row = (*rows)->Next();
        ASSERT_NE(row, nullptr);
        ASSERT_EQ(row->OID(), i + 1);
        row->SetDouble(kReal, (rows == &b ? row->GetDouble(kReal) : 0) + 1);
        (*rows)->UpdateRow(*row);
      }
    }
    EXPECT_EQ(a->Next(), nullptr);
  }
  EXPECT_EQ(Sql(path, "SELECT count(*) FROM \"ta\"\"ble\" WHERE \"a \"\"b\"\"\" = 2"), "120");
}

TEST_F(GeoPackageRows, AColumnThatComesOrGoesOnTheWayIsMinded) {
  const std::string path = Write(90);
  {
    const FeatureClassPtr points = OpenFeatureClassByPath(path);
    const CursorPtr rows = points->Update();
    int name = kName, fresh = -1;
    while (IRow* row = rows->Next()) {
      row->SetValue(name, Value("x" + ToText(static_cast<double>(row->OID()))));
      if (fresh >= 0) row->SetDouble(fresh, 3);
      rows->UpdateRow(*row);
      if (row->OID() == 40) {
        points->AddField({.name = "FRESH", .type = FieldType::kDouble});
        points->DeleteField(kReal);
        name = points->FindField("NAME");
        fresh = points->FindField("FRESH");
        EXPECT_EQ(name, kName - 1);
        EXPECT_EQ(row->GetValue(name), Value("x40")) << "the row in hand is still good";
        EXPECT_TRUE(row->IsNull(fresh));
      }
    }
  }
  EXPECT_EQ(Sql(path, "SELECT count(*) FROM \"ta\"\"ble\" WHERE NAME = 'x' || fid"), "90");
  EXPECT_EQ(Sql(path, "SELECT count(*) FROM \"ta\"\"ble\" WHERE FRESH = 3"), "50");
}

TEST_F(GeoPackageRows, WhatTheDatabaseRefusesIsSaidInItsWords) {
  const std::string path = Write(3);
  Sql(path,
      "CREATE TRIGGER refuse BEFORE UPDATE ON \"ta\"\"ble\" WHEN NEW.V > 100 BEGIN SELECT "
      "RAISE(ABORT, 'no more than a hundred'); END");
  const FeatureClassPtr points = OpenFeatureClassByPath(path);
  const CursorPtr rows = points->Update();
  IRow* row = rows->Next();
  row->SetDouble(kV, 1);
  rows->UpdateRow(*row);
  row = rows->Next();
  row->SetDouble(kV, 101);
  std::string said;
  EXPECT_EQ(ErrorOf([&] { rows->UpdateRow(*row); }, &said), kPlatform);
  EXPECT_EQ(said, "The row cannot be updated: no more than a hundred");
  row = rows->Next();
  row->SetDouble(kV, 99);
  rows->UpdateRow(*row);  // the statement can be used again
}

TEST_F(GeoPackageRows, ARowThatHasGoneIsAnError) {
  const FeatureClassPtr points = OpenFeatureClassByPath(Write(3));
  const CursorPtr rows = points->Update(), others = points->Update();
  for (int i = 0; i < 2; ++i) {
    IRow* row = rows->Next();
    others->DeleteRow(*others->Next());
    row->SetDouble(kV, 1);
    EXPECT_EQ(ErrorOf([&] { rows->UpdateRow(*row); }), kPlatform) << i;
  }
  IRow* row = rows->Next();
  row->SetDouble(kV, 1);
  rows->UpdateRow(*row);
  others->DeleteRow(*others->Next());
  row->SetDouble(kV, 2);
  EXPECT_EQ(ErrorOf([&] { rows->UpdateRow(*row); }), kPlatform);
}

}  // namespace
}  // namespace orlinths
