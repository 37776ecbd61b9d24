// Damaged files: a clear error that names the file, or a clean read; never a crash, never a changed
// input.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OgrView.h"
#include "ShapefileFixture.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::HasSubstr;
using Files = std::map<std::string, std::string>;
constexpr int kPlatform = static_cast<int>(ErrorNumber::kPlatform);

class ShapefileDamageTest : public ::testing::Test {
 protected:
  ShapefileDamageTest() {
    MakePoints(path, 30);
    original = Snapshot(folder.Path());
  }

  void PutByte(const std::string& name, std::size_t at, int v) {
    std::string bytes = ReadBytes(folder / name);
    bytes.at(at) = static_cast<char>(v);
    WriteBytes(folder / name, bytes);
  }

  /// Opens the damaged dataset, asks it everything, tries to edit it and drops the edit. Gives the
  /// error's text.
  std::string Try(const std::string& file) {
    const Files damaged = Snapshot(folder.Path());
    std::string description;
    bool isOpen = false;
    const int error = ErrorOf(
        [&] {
          const auto store = ShapefileStore::At(file);
          isOpen = true;
          for (Oid oid = 0; oid < store->RecordCount(); oid += 7) store->IsDeleted(oid);
          const int first = store->HasShape() ? 2 : 1;
          store->AddField(MakeColumn("NEW", FieldType::kDouble));
          for (Oid oid = 0; oid < store->RecordCount(); ++oid) store->SetDouble(oid, first, 1);
          store->Abandon();
        },
        &description);
    EXPECT_EQ(Snapshot(folder.Path()), damaged);
    EXPECT_TRUE(error == 0 || error == kPlatform) << error;
    if (!isOpen) {
      EXPECT_THAT(description, HasSubstr(folder / "p.")) << description;
    }
    return description;
  }

  TempFolder folder;
  const std::string path = folder / "p.shp", table = folder / "p.dbf";
  Files original;
};

TEST_F(ShapefileDamageTest, FilesCutOffAnywhereAreNamed) {
  for (const std::string name : {"p.dbf", "p.shp", "p.shx"}) {
    const std::string whole = original.at(name);
    for (std::size_t length = 0; length < whole.size() - 1; length += 64) {
      SCOPED_TRACE(name + " cut off at " + ToText(static_cast<std::int64_t>(length)));
      WriteBytes(folder / name, whole.substr(0, length));
      EXPECT_THAT(Try(path), HasSubstr(folder / name));
    }
    WriteBytes(folder / name, whole);
  }
  EXPECT_EQ(Try(path), "");
}

TEST_F(ShapefileDamageTest, AMissingIndexIsAnErrorAndAMissingTableCannotBeEdited) {
  files::DeleteFile(folder / "p.shx");
  EXPECT_THAT(Try(path), HasSubstr("p.shx is missing"));
  Restore(folder.Path(), original);
  files::DeleteFile(table);
  EXPECT_THAT(Try(path), HasSubstr("p.dbf is missing"));
  const auto store = ShapefileStore::At(path);
  EXPECT_EQ(store->RecordCount(), 30);
  EXPECT_EQ(store->Fields().FieldCount(), 2);
}

TEST_F(ShapefileDamageTest, RowsAndShapesThatDifferInNumberAreReadAndNotEdited) {
  PutByte("p.dbf", 4, 20);
  EXPECT_THAT(Try(path), HasSubstr("20 and 30"));
  const auto store = ShapefileStore::At(path);
  EXPECT_EQ(store->RecordCount(), 30);
  EXPECT_EQ(ErrorOf([&] { store->SetDouble(25, 2, 1); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->DeleteRow(0); }), kPlatform);
  const Geometry shape = PointAt(0, 0);
  EXPECT_EQ(ErrorOf([&] { store->Append(&shape, {Value(1), Value("x"), Value(1)}); }), kPlatform);
}

TEST_F(ShapefileDamageTest, HeadersThatLieAreNamed) {
  PutByte("p.dbf", 10, 0);
  EXPECT_THAT(Try(path), HasSubstr("rows have no length"));
  Restore(folder.Path(), original);
  PutByte("p.dbf", 10, 40);
  EXPECT_THAT(Try(path), HasSubstr("columns do not fit"));
  Restore(folder.Path(), original);
  PutByte("p.dbf", 7, 0x7f);
  EXPECT_THAT(Try(path), HasSubstr("rows"));
  Restore(folder.Path(), original);
  PutByte("p.dbf", 9, 0xff);
  EXPECT_THAT(Try(path), HasSubstr("within its header"));
  Restore(folder.Path(), original);
  PutByte("p.dbf", 8, 16);
  EXPECT_THAT(Try(path), HasSubstr("16 bytes"));
  Restore(folder.Path(), original);
  PutByte("p.shp", 0, 1);
  EXPECT_THAT(Try(path), HasSubstr("not a shapefile"));
  Restore(folder.Path(), original);
  PutByte("p.shp", 32, 77);
  EXPECT_THAT(Try(path), HasSubstr("shape type 77"));
}

TEST_F(ShapefileDamageTest, ATableWithoutColumnsIsReadAndTakesAColumn) {
  std::string bytes(33, '\0');
  bytes[0] = 3, bytes[1] = 100, bytes[2] = bytes[3] = 1, bytes[4] = 2, bytes[8] = 33, bytes[10] = 1,
  bytes[32] = '\r';
  WriteBytes(folder / "p.dbf", bytes + "  \x1a");
  for (const char* name : {"p.shp", "p.shx"}) files::DeleteFile(folder / name);
  const auto store = ShapefileStore::At(table);
  EXPECT_EQ(store->RecordCount(), 2);
  EXPECT_EQ(store->Fields().FieldCount(), 1);
  store->AddField(MakeColumn("A", FieldType::kInteger));
  store->Commit();
  EXPECT_EQ(PlainTableOf(ReadBytes(table)).rows.at(1).at(0), "          0");
}

TEST_F(ShapefileDamageTest, TenThousandColumnsDoNotFitAndTwoThousandDo) {
  Fields fields;
  for (int i = 0; i < 2000; ++i)
    fields.AddField(MakeColumn("F" + ToText(i), FieldType::kSmallInteger));
  const auto store = ShapefileStore::CreateDbf(folder / "many.dbf", fields);
  store->Append(nullptr, std::vector<Value>(2000, Value(7)));
  store->Commit();
  EXPECT_EQ(ViewOf(folder / "many.dbf").rows.at(0).values.at(1999), "7");
  for (int i = 2000; i < 10000; ++i)
    fields.AddField(MakeColumn("F" + ToText(i), FieldType::kSmallInteger));
  std::string description;
  EXPECT_EQ(ErrorOf([&] { ShapefileStore::CreateDbf(folder / "more.dbf", fields); }, &description),
            kPlatform);
  EXPECT_THAT(description, HasSubstr("too many columns"));
  EXPECT_FALSE(files::FileExists(folder / "more.dbf"));
  // A header whose descriptors never end.
  std::string bytes = ReadBytes(folder / "many.dbf");
  for (std::size_t at = 32 + 2000 * 32; at < bytes.size(); ++at) bytes[at] = 'x';
  bytes[8] = bytes[9] = '\xff';
  bytes.resize(70000, 'x');
  WriteBytes(table, bytes);
  Try(table);
}

TEST_F(ShapefileDamageTest, AnIndexThatPointsElsewhereStopsADeletion) {
  PutByte("p.shx", 100 + 8 * 5, 0x7f);
  const Files damaged = Snapshot(folder.Path());
  std::string description;
  EXPECT_EQ(ErrorOf(
                [&] {
                  const auto store = ShapefileStore::At(path);
                  store->DeleteRow(2);
                  store->Commit();
                },
                &description),
            kPlatform);
  EXPECT_THAT(description, HasSubstr("points outside"));
  EXPECT_EQ(Snapshot(folder.Path()), damaged);
}

TEST_F(ShapefileDamageTest, RandomBytesNeverCrashAndNeverChangeTheFiles) {
  Seeded random("ShapefileDamageTest.RandomBytes");
  for (int i = 0; i < 400; ++i) {
    Restore(folder.Path(), original);
    for (const char* name : {"p.dbf", "p.shp", "p.shx"}) {
      const auto size = static_cast<std::int64_t>(original.at(name).size());
      for (int n = 0; n < 3; ++n)
        PutByte(name,
                static_cast<std::size_t>(random.Whole(0, std::min<std::int64_t>(size, 200) - 1)),
                static_cast<int>(random.Whole(0, 255)));
    }
    Try(path);
    if (HasFailure()) break;
    const Files damaged = Snapshot(folder.Path());
    const int error = ErrorOf([&] {
      const auto store = ShapefileStore::At(path);
      if (store->RecordCount() > 0) store->DeleteRow(0);
      store->Commit();
    });
    if (error != 0) {
      ASSERT_EQ(Snapshot(folder.Path()), damaged);
    }
  }
}

}  // namespace
}  // namespace orlinths
