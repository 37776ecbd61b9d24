#include "gdal/ShapefileStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>

#include "OgrView.h"
#include "ShapefileFixture.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr int kPlatform = static_cast<int>(ErrorNumber::kPlatform);

class ShapefileStoreTest : public ::testing::Test {
 protected:
  std::shared_ptr<ShapefileStore> Points(const std::string& name, int rows) {
    MakePoints(folder / name, rows);
    return ShapefileStore::At(folder / name);
  }

  std::string CanonicalName(const std::string& name) const {
    return std::filesystem::canonical(folder.Path()).string() + "/" + name;
  }
  using Files = std::map<std::string, std::string>;
  TempFolder folder;
};

TEST_F(ShapefileStoreTest, AppendsRowsThatOgrReads) {
  MakePoints(folder / "p.shp", 3);
  const OgrView view = ViewOf(folder / "p.shp");
  EXPECT_EQ(view.error, "");
  EXPECT_THAT(view.fields,
              ElementsAre("NUM:Integer64(11.0)", "NAME:String(12.0)", "VAL:Real(24.16)"));
  ASSERT_EQ(view.rows.size(), 3u);
  EXPECT_EQ(view.rows[2].wkt, "POINT (2 4)");
  EXPECT_THAT(view.rows[2].values, ElementsAre("2", "row 2", "0.2857142857142857"));
  EXPECT_EQ(ReadBytes(folder / "p.cpg"), "UTF-8");
  EXPECT_FALSE(files::FileExists(folder / "p.prj"));
  EXPECT_TRUE(PlainTableOf(ReadBytes(folder / "p.dbf")).isWhole);
}

TEST_F(ShapefileStoreTest, AddsFillsAndDeletesFieldsInOneCommit) {
  auto store = Points("p.shp", 10);
  store->AddField(MakeColumn("AREA", FieldType::kDouble, 16));
  const int area = store->Fields().FindField("area");
  ASSERT_EQ(area, 5);
  for (Oid oid = 0; oid < 10; oid += 2) store->SetDouble(oid, area, static_cast<double>(oid) / 3);
  store->DeleteField(store->Fields().FindField("NUM"));
  store->Commit();
  EXPECT_FALSE(store->HasPendingEdits());
  const OgrView view = ViewOf(folder / "p.shp");
  EXPECT_EQ(view.error, "");
  EXPECT_THAT(view.fields, ElementsAre("NAME:String(12.0)", "VAL:Real(24.16)", "AREA:Real(24.16)"));
  ASSERT_EQ(view.rows.size(), 10u);
  EXPECT_EQ(view.Value(4, 2), "1.3333333333333333");
  EXPECT_EQ(view.Value(5, 2), "0");
  EXPECT_EQ(view.Value(5, 0), "row 5");
  EXPECT_THAT(files::NamesIn(folder.Path()), ElementsAre("p.cpg", "p.dbf", "p.shp", "p.shx"));
}

TEST_F(ShapefileStoreTest, DeletesRowsOfAllThreeFilesTogether) {
  auto store = Points("p.shp", 10);
  for (Oid oid = 1; oid < 10; oid += 2) store->DeleteRow(oid);
  store->SetShape(4, PointAt(100, 200));
  store->Commit();
  EXPECT_EQ(store->RecordCount(), 5);
  const OgrView view = ViewOf(folder / "p.shp");
  EXPECT_EQ(view.error, "");
  ASSERT_EQ(view.rows.size(), 5u);
  EXPECT_EQ(view.rows[1].wkt, "POINT (2 4)");
  EXPECT_EQ(view.rows[2].wkt, "POINT (100 200)");
  EXPECT_THAT(view.rows[4].values, ElementsAre("8", "row 8", "1.1428571428571428"));
  EXPECT_THAT(files::NamesIn(folder.Path()), ElementsAre("p.cpg", "p.dbf", "p.shp", "p.shx"));
}

TEST_F(ShapefileStoreTest, OpensOneObjectForEverySpellingOfThePath) {
  auto store = Points("p.shp", 1);
  EXPECT_EQ(ShapefileStore::At(folder / "./p.shp"), store);
  store.reset();
  EXPECT_EQ(ShapefileStore::At(folder / "p.shp")->RecordCount(), 1);
  EXPECT_EQ(ErrorOf([&] { ShapefileStore::At(folder / "none.shp"); }), 53);
  EXPECT_EQ(ErrorOf([&] { ShapefileStore::At(folder / "none/p.shp"); }), 76);
  EXPECT_EQ(ErrorOf([&] { MakePoints(folder / "p.shp", 1); }), kPlatform);
}

TEST_F(ShapefileStoreTest,
       AClassMadeWithoutFieldsHasTheDefaultColumnWhichMayBeRedefinedWhileItIsEmpty) {
  auto store =
      ShapefileStore::CreateShapefile(folder / "d.shp", GeometryOf(GeometryType::kPoint), {});
  ASSERT_EQ(store->Fields().FieldCount(), 3);
  EXPECT_EQ(store->Fields()[0].name, "FID");
  EXPECT_EQ(store->Fields()[0].type, FieldType::kOid);
  EXPECT_EQ(store->Fields()[1].name, "Shape");
  EXPECT_EQ(store->Fields()[2].name, "Id");
  EXPECT_EQ(store->Fields()[2].type, FieldType::kInteger);
  store->AddField(MakeColumn("A", FieldType::kDouble));
  store->AddField(MakeColumn("ID", FieldType::kText, 7));
  EXPECT_EQ(store->Fields()[2].name, "ID");
  EXPECT_EQ(store->Fields()[2].type, FieldType::kText);
  EXPECT_EQ(ErrorOf([&] { store->AddField(MakeColumn("id", FieldType::kInteger)); }), kPlatform);
  const Geometry shape = PointAt(1, 2);
  store->Append(&shape, {Value("x7"), Value(2.5)});
  store->Commit();
  EXPECT_THAT(ViewOf(folder / "d.shp").fields, ElementsAre("ID:String(7.0)", "A:Real(24.16)"));

  auto filled = ShapefileStore::CreateDbf(folder / "e.dbf", {});
  EXPECT_EQ(filled->Fields()[0].name, "OID");
  EXPECT_EQ(filled->Fields()[1].name, "Id");
  filled->Append(nullptr, {Value(1)});
  EXPECT_EQ(ErrorOf([&] { filled->AddField(MakeColumn("ID", FieldType::kText)); }), kPlatform);
}

TEST_F(ShapefileStoreTest, RefusesWhatATableCannotTake) {
  auto store = Points("p.shp", 5);
  const int num = 2, name = 3, val = 4;
  EXPECT_EQ(ErrorOf([&] { store->SetValue(0, 0, Value(1)); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->SetValue(0, 1, Value(1)); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->DeleteField(0); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->DeleteField(1); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->AddField(MakeColumn("num", FieldType::kDouble)); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->AddField(MakeColumn("shape", FieldType::kDouble)); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->AddField(MakeColumn("elevenbytes", FieldType::kDouble)); }),
            kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->SetDouble(0, num, 1e12); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->SetDouble(0, val, std::nan("")); }), 6);
  EXPECT_EQ(ErrorOf([&] { store->SetDouble(0, val, std::numeric_limits<double>::infinity()); }), 6);
  EXPECT_EQ(ErrorOf([&] { store->SetValue(0, num, Value("abc")); }), 13);
  EXPECT_EQ(ErrorOf([&] { store->SetValue(0, name, Value("thirteen long")); }), kPlatform);
  // Thirteen bytes of seven characters: never cut within one, nor at all.
  EXPECT_EQ(ErrorOf([&] {
              store->SetValue(0, name, Value("\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4x"));
            }),
            kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->SetValue(0, name, Value(std::string("a\0b", 3))); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->SetValue(5, name, Value("x")); }), 9);
  EXPECT_EQ(ErrorOf([&] { store->SetValue(0, 9, Value("x")); }), 9);
  EXPECT_EQ(ErrorOf([&] { store->SetShape(0, Polygon{}); }), 0);  // empty: a null shape
  store->Abandon();
  store->DeleteField(num);
  store->DeleteField(num);
  EXPECT_EQ(ErrorOf([&] { store->DeleteField(num); }), kPlatform);
  store->Abandon();
  EXPECT_EQ(store->Fields().FieldCount(), 5);
  EXPECT_EQ(Snapshot(folder.Path()).size(), 4u);
}

TEST_F(ShapefileStoreTest, APendingEditIsSeenBeforeItIsWrittenAndGoneAfterAbandon) {
  auto store = Points("p.shp", 5);
  const std::string before = ReadBytes(folder / "p.dbf");
  Value value;
  EXPECT_FALSE(store->PendingValue(3, 2, value));
  store->SetValue(3, 2, Value("7.5"));
  store->SetValue(3, 3, Value("neu"));
  ASSERT_TRUE(store->PendingValue(3, 2, value));
  EXPECT_EQ(value, Value(8));  // halves to even
  ASSERT_TRUE(store->PendingValue(3, 3, value));
  EXPECT_EQ(value, Value("neu"));
  EXPECT_FALSE(store->PendingValue(2, 2, value));
  store->AddField(MakeColumn("D", FieldType::kDate));
  store->AddField(MakeColumn("S", FieldType::kSmallInteger));
  EXPECT_EQ(store->FileColumn(4), 2);
  EXPECT_EQ(store->FileColumn(5), -1);
  ASSERT_TRUE(store->PendingValue(0, 5, value));
  EXPECT_TRUE(value.IsNull());
  ASSERT_TRUE(store->PendingValue(0, 6, value));
  EXPECT_EQ(value, Value(std::int16_t{0}));
  store->SetShape(1, PointAt(9, 9));
  ASSERT_NE(store->PendingShape(1), nullptr);
  EXPECT_EQ(store->PendingShape(1)->AsPoint().x, 9);
  EXPECT_EQ(store->PendingShape(0), nullptr);
  store->DeleteRow(4);
  EXPECT_TRUE(store->IsDeleted(4));
  EXPECT_EQ(store->RecordCount(), 5);
  store->Abandon();
  EXPECT_FALSE(store->HasPendingEdits());
  EXPECT_FALSE(store->IsDeleted(4));
  EXPECT_FALSE(store->PendingValue(3, 2, value));
  EXPECT_EQ(ReadBytes(folder / "p.dbf"), before);
}

TEST_F(ShapefileStoreTest, ASmallIntegerColumnWidensWhenAValueNeedsIt) {
  auto store = ShapefileStore::CreateDbf(
      folder / "s.dbf",
      {MakeColumn("S", FieldType::kSmallInteger), MakeColumn("T", FieldType::kSmallInteger)});
  store->Append(nullptr, {Value(9999), Value(-999)});
  EXPECT_EQ(ErrorOf([&] { store->Append(nullptr, {Value(40000), Value(1)}); }), 6);
  store->Append(nullptr, {Value(-32768), Value(5)});
  store->Commit();
  EXPECT_EQ(store->Fields()[1].type, FieldType::kInteger);
  EXPECT_EQ(store->Fields()[2].type, FieldType::kSmallInteger);
  store->SetValue(0, 2, Value(-1000));
  store->Commit();
  const PlainTable table = PlainTableOf(ReadBytes(folder / "s.dbf"));
  EXPECT_THAT(table.rows,
              ElementsAre(ElementsAre("  9999", " -1000"), ElementsAre("-32768", "     5")));
}

TEST_F(ShapefileStoreTest, DatesSinglesAndNullsAreWrittenAsColumnsHoldThem) {
  auto store = ShapefileStore::CreateDbf(
      folder / "t.dbf",
      {MakeColumn("D", FieldType::kDate), MakeColumn("F", FieldType::kSingle),
       MakeColumn("N", FieldType::kInteger), MakeColumn("C", FieldType::kText, 5)});
  store->Append(nullptr, {Value("2024-02-29"), Value(0.1f), Value("12"), Value(7)});
  store->Append(nullptr, {Value(Null{}), Value(Null{}), Value(Null{}), Value(Null{})});
  store->Append(nullptr, {Value(45351.75), Value(), Value(), Value()});
  EXPECT_EQ(ErrorOf([&] {
              store->Append(nullptr, {Value("soon"), Value(0), Value(0), Value("")});
            }),
            13);
  EXPECT_EQ(ErrorOf([&] {
              store->Append(nullptr, {Value(), Value(1e39), Value(0), Value("")});
            }),
            6);
  EXPECT_EQ(store->RecordCount(), 3);
  store->Commit();
  const PlainTable table = PlainTableOf(ReadBytes(folder / "t.dbf"));
  EXPECT_THAT(table.rows,
              ElementsAre(ElementsAre("20240229", "           1e-01", "         12", "7    "),
                          ElementsAre("        ", "           0e+00", "          0", "     "),
                          ElementsAre("20240229", "           0e+00", "          0", "     ")));
}

TEST_F(ShapefileStoreTest, TextOfAnotherEncodingStaysAndNewTextJoinsIt) {
  {
    auto store =
        ShapefileStore::CreateDbf(folder / "l.dbf", {MakeColumn("C", FieldType::kText, 6)});
    store->Append(nullptr, {Value("aaaaaa")});
    store->Append(nullptr, {Value("bbbbbb")});
  }
  std::string bytes = ReadBytes(folder / "l.dbf");
  bytes.replace(bytes.find("aaaaaa"), 6, "Z\xFCrich");
  WriteBytes(folder / "l.dbf", bytes);
  WriteBytes(folder / "l.cpg", "ISO-8859-1");
  auto store = ShapefileStore::At(folder / "l.dbf");
  store->SetValue(1, 1, Value("Gen\xC3\xA8ve"));
  EXPECT_EQ(ErrorOf([&] { store->SetValue(1, 1, Value("\xE2\x82\xAC")); }), kPlatform);
  store->Commit();
  EXPECT_THAT(PlainTableOf(ReadBytes(folder / "l.dbf")).rows,
              ElementsAre(ElementsAre("Z\xFCrich"), ElementsAre("Gen\xE8ve")));
  EXPECT_EQ(ViewOf(folder / "l.dbf").Value(1, 0), "Gen\xC3\xA8ve");
  EXPECT_EQ(ReadBytes(folder / "l.cpg"), "ISO-8859-1");
}

TEST_F(ShapefileStoreTest, AnEncodingOfTwoByteLettersIsNoneOfATable) {
  for (const char* encoding : {"UTF-16", "UCS-2", "UTF-32", "EBCDIC-US"}) {
    MakePoints(folder / "p.shp", 3);
    WriteBytes(folder / "p.cpg", encoding);
    const Files before = Snapshot(folder.Path());
    {
      auto store = ShapefileStore::At(folder / "p.shp");
      EXPECT_EQ(ErrorOf([&] { store->AddField(MakeColumn("NEW", FieldType::kDouble)); }), kPlatform)
          << encoding;
    }
    EXPECT_EQ(Snapshot(folder.Path()), before);
    for (const auto& [name, bytes] : before) files::DeleteFile(folder / name);
  }
}

TEST_F(ShapefileStoreTest, OtherProgramsColumnsStayAsTheyAre) {
  const Files before = [&] {
    MakePoints(folder / "p.shp", 3);
    WriteBytes(folder / "p.qix", "index");
    WriteBytes(folder / "p.idm", "index");
    WriteBytes(folder / "p.shp.xml", "<metadata/>");
    return Snapshot(folder.Path());
  }();
  auto store = ShapefileStore::At(folder / "p.shp");
  store->SetDouble(0, 4, 0.25);
  store->Commit();
  EXPECT_EQ(ReadBytes(folder / "p.shp"), before.at("p.shp"));
  EXPECT_TRUE(files::FileExists(folder / "p.qix"));
  EXPECT_FALSE(files::FileExists(folder / "p.idm"));
  store->SetShape(0, PointAt(5, 5));
  store->Commit();
  EXPECT_FALSE(files::FileExists(folder / "p.qix"));
  EXPECT_TRUE(files::FileExists(folder / "p.shp.xml"));
}

TEST_F(ShapefileStoreTest, AppendsToADatasetThatWasThereBefore) {
  MakePoints(folder / "p.shp", 3);
  auto store = ShapefileStore::At(folder / "p.shp");
  const std::uint64_t version = store->FileVersion();
  const Geometry shape = PointAt(-50, 60);
  EXPECT_EQ(store->Append(&shape, {Value(3), Value("fourth"), Value(1.5)}), 3);
  EXPECT_EQ(store->RecordCount(), 4);
  EXPECT_EQ(ViewOf(folder / "p.shp").rows.size(), 3u);
  store->FlushAppended();
  EXPECT_GT(store->FileVersion(), version);
  EXPECT_EQ(ViewOf(folder / "p.shp").rows.at(3).wkt, "POINT (-50 60)");
  store->SetValue(3, 3, Value("edited"));
  store->Commit();
  EXPECT_EQ(ViewOf(folder / "p.shp").Value(3, 1), "edited");
}

TEST_F(ShapefileStoreTest, AnEditAfterAnotherProgramsChangeIsRefused) {
  auto store = Points("p.shp", 3);
  store->SetDouble(0, 4, 1);
  std::string bytes = ReadBytes(folder / "p.dbf");
  WriteBytes(folder / "p.dbf", bytes + "  ");
  EXPECT_EQ(ErrorOf([&] { store->Commit(); }), kPlatform);
  EXPECT_EQ(ReadBytes(folder / "p.dbf"), bytes + "  ");
  // Opened anew, it is taken as it is now.
  ShapefileStore::At(folder / "p.shp")->SetDouble(0, 4, 1);
  EXPECT_EQ(ErrorOf([&] { store->Commit(); }), 0);
}

TEST_F(ShapefileStoreTest, AReadOnlyTableAnswersWithError70) {
  MakePoints(folder / "p.shp", 3);
  ASSERT_EQ(::chmod((folder / "p.dbf").c_str(), 0444), 0);
  ASSERT_EQ(::chmod(folder.Path().c_str(), 0777), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    // Root ignores permissions; nobody does not.
    if (::geteuid() == 0 && ::seteuid(65534) != 0) ::_exit(1);
    auto store = ShapefileStore::At(folder / "p.shp");
    const bool refused =
        ErrorOf([&] { store->CheckWritable(); }) == 70 &&
        ErrorOf([&] { store->AddField(MakeColumn("A", FieldType::kDouble)); }) == 70 &&
        ErrorOf([&] { store->SetDouble(0, 4, 1); }) == 70;
    ::_exit(refused && store->RecordCount() == 3 ? 0 : 2);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(ShapefileStoreTest, DeletesAndRenamesAllFilesOfADatasetAndNoOthers) {
  auto store = Points("p.shp", 3);
  MakePoints(folder / "p2.shp", 1);
  WriteBytes(folder / "p.prj", "");
  WriteBytes(folder / "p.shp.xml", "");
  WriteBytes(folder / "p.txt", "");
  store->Rename("q");
  EXPECT_EQ(store->Path(), CanonicalName("q.shp"));
  EXPECT_THAT(files::NamesIn(folder.Path()),
              ElementsAre("p.txt", "p2.cpg", "p2.dbf", "p2.shp", "p2.shx", "q.cpg", "q.dbf",
                          "q.prj", "q.shp", "q.shp.xml", "q.shx"));
  EXPECT_EQ(ErrorOf([&] { store->Rename("p2"); }), kPlatform);
  EXPECT_EQ(ErrorOf([&] { store->Rename(""); }), kPlatform);
  store->Delete();
  EXPECT_THAT(files::NamesIn(folder.Path()),
              ElementsAre("p.txt", "p2.cpg", "p2.dbf", "p2.shp", "p2.shx"));
  EXPECT_EQ(ErrorOf([&] { ShapefileStore::At(folder / "q.shp"); }), 53);
}

TEST_F(ShapefileStoreTest, ANewClassTakesItsReferenceAndNoOneElses) {
  WriteBytes(folder / "a.prj", "stale");
  ShapefileStore::CreateShapefile(folder / "a.shp", GeometryOf(GeometryType::kPolygon), {});
  EXPECT_FALSE(files::FileExists(folder / "a.prj"));
  GeometryDef def = GeometryOf(GeometryType::kPolygon);
  def.spatialReference = SpatialReferenceFromText("EPSG:32736");
  ShapefileStore::CreateShapefile(folder / "b.shp", def, {});
  EXPECT_THAT(ReadBytes(folder / "b.prj"), HasSubstr("PROJCS[\"WGS_1984_UTM_Zone_36S\""));
  for (const std::string& bad : {std::string("x.shp"), folder / ".shp", folder / "x.txt"})
    EXPECT_EQ(ErrorOf([&] { ShapefileStore::CreateShapefile(bad, def, {}); }), kPlatform) << bad;
  EXPECT_EQ(ErrorOf([&] { ShapefileStore::CreateShapefile(folder / "none/x.shp", def, {}); }), 76);
  EXPECT_EQ(ErrorOf([&] {
              ShapefileStore::CreateDbf(folder / "x.dbf", {MakeColumn("A", FieldType::kDouble),
                                                           MakeColumn("a", FieldType::kText)});
            }),
            kPlatform);
}

}  // namespace
}  // namespace orlinths
