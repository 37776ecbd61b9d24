// What is read from the bytes of a shapefile, against OGR on the same files.
#include "gdal/StoredRows.h"

#include <cpl_conv.h>
#include <gdal_priv.h>
#include <gtest/gtest.h>
#include <ogrsf_frmts.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "data/Workspace.h"
#include "gdal/Library.h"
#include "gdal/OgrShapes.h"
#include "gdal/ShapefileFixture.h"
#include "gdal/ShpFormat.h"
#include "runtime/Files.h"
#include "runtime/RuntimeError.h"
#include "support/RandomShapes.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

/// A table made byte by byte.
struct RawTable {
  std::vector<DbfColumn> columns;
  std::vector<std::vector<std::string>> rows;  ///< cut or filled with blanks to the column's width
  std::uint8_t languageDriver = 0;

  void Add(char type, int width, int decimals = 0) {
    DbfColumn column;
    column.name = std::string(1, type) + std::to_string(columns.size());
    column.type = type;
    column.width = width;
    column.decimals = decimals;
    columns.push_back(column);
  }
  void Write(const std::string& path) const {
    DbfLayout layout;
    layout.columns = columns;
    layout.languageDriver = languageDriver;
    LayOut(layout, path);
    layout.records = static_cast<std::int64_t>(rows.size());
    std::string bytes = MakeDbfHeader(layout, *Date::FromCivil(2026, 3, 1));
    for (const auto& row : rows) {
      bytes += ' ';
      for (std::size_t i = 0; i < columns.size(); ++i) {
        std::string text = row.at(i);
        text.resize(static_cast<std::size_t>(columns[i].width), ' ');
        bytes += text;
      }
    }
    WriteBytes(path, bytes + '\x1a');
  }
};

/// The records of a .shp and its index, contents given; every row of the table empty.
void WriteRecords(const std::string& base, int type, const std::vector<std::string>& contents) {
  const std::string head = MakeShpHeader({type, 0, {}});
  std::string shp = head, shx = head, record(kShpRecordHead, '\0');
  for (std::size_t i = 0; i < contents.size(); ++i) {
    PutShxRecord(shp.size(), contents[i].size(), record.data());
    shx += record;
    PutShpRecordHead(static_cast<std::int64_t>(i), contents[i].size(), record.data());
    shp += record + contents[i];
  }
  const auto withLength = [&](std::string bytes) {
    const ShpBounds bounds{0, 0, 9, 9};
    return bytes.replace(0, kShpHeaderBytes, MakeShpHeader({type, bytes.size(), bounds}));
  };
  WriteBytes(base + ".shp", withLength(shp));
  WriteBytes(base + ".shx", withLength(shx));
  RawTable table;
  table.Add('N', 5);
  table.rows.assign(contents.size(), {""});
  table.Write(base + ".dbf");
}

/// A geometry without its measures: OGR 3.6 takes "no data" for a measure, and leaves all of them
/// out where the first shape has none.
Geometry WithoutMeasures(Geometry shape) {
  if (Point* point = shape.As<Point>()) point->m = Point::kNone;
  if (Multipart* parts = shape.AsMultipart(); parts != nullptr && parts->HasM()) {
    std::vector<std::int32_t> starts;
    for (int part = 0; part < parts->PartCount(); ++part)
      starts.push_back(static_cast<std::int32_t>(parts->PartStart(part)));
    const std::vector<Coord> coords(parts->Coords().begin(), parts->Coords().end());
    const std::vector<double> z(parts->Z().begin(), parts->Z().end());
    parts->Assign(coords, starts, z);
  }
  return shape;
}

class StoredRowsTest : public ::testing::Test {
 protected:
  /// Every row that OGR gives, with every value and the shape, is what a cursor gives; and there
  /// are no others. Where OGR calls a row corrupt, the cursor does so too.
  void ExpectAsOgr(const std::string& name) {
    SCOPED_TRACE(name);
    EnsureGdal();
    const QuietGdal quiet;
    const CPLConfigOptionSetter asStored("OGR_ORGANIZE_POLYGONS", "SKIP", false);
    const std::unique_ptr<GDALDataset> dataset(
        GDALDataset::Open((folder / name).c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
    ASSERT_NE(dataset, nullptr);
    OGRLayer& layer = *dataset->GetLayer(0);
    const bool hasShape = name.ends_with(".shp");
    const TablePtr table =
        hasShape ? OpenFeatureClassByPath(folder / name) : OpenTableByPath(folder / name);
    const CursorPtr rows = table->Search();
    std::size_t failures = quiet.Failures().size();
    while (const OGRFeatureUniquePtr feature{layer.GetNextFeature()}) {
      const IRow* row = rows->Next();
      ASSERT_NE(row, nullptr);
      SCOPED_TRACE("row " + std::to_string(feature->GetFID()));
      EXPECT_EQ(row->OID(), feature->GetFID());
      for (int i = 0; i < feature->GetFieldCount(); ++i)
        ExpectField(*row, hasShape ? i + 2 : i + 1, *feature, i);
      if (quiet.Failures().size() > failures) {
        failures = quiet.Failures().size();
        std::string said;
        EXPECT_EQ(ErrorOf([&] { row->Shape(); }, &said), static_cast<int>(ErrorNumber::kPlatform));
        EXPECT_EQ(said, folder / name + ": the shape of row " + std::to_string(row->OID()) +
                            " contradicts itself: the file is damaged.");
      } else if (hasShape) {
        const Geometry shape = ToPlain(feature->GetGeometryRef(), RingDirection::kAsStored);
        EXPECT_EQ(AsWkt(WithoutMeasures(row->Shape())),
                  AsWkt(shape.IsNull() ? EmptyShape(row->Fields()[1].geometry.geometryType)
                                       : WithoutMeasures(shape)));
      }
    }
    EXPECT_EQ(rows->Next(), nullptr);
  }

  TempFolder folder;

 private:
  static void ExpectField(const IRow& row, int field, const OGRFeature& feature, int column) {
    SCOPED_TRACE(feature.GetFieldDefnRef(column)->GetNameRef());
    const bool isNull = !feature.IsFieldSetAndNotNull(column);
    switch (feature.GetFieldDefnRef(column)->GetType()) {
      case OFTString: {
        // What the encoding does not know is left out by OGR.
        std::string text = ToText(row.GetValue(field)), ofOgr = feature.GetFieldAsString(column);
        if (text != ofOgr) std::erase(text, '?'), std::erase(ofOgr, '?');
        EXPECT_EQ(text, ofOgr);
        std::string again;
        row.GetText(field, again);
        EXPECT_EQ(Value(again), row.GetValue(field));
        break;
      }
      case OFTDate: {
        int year = 0, month = 0, day = 0, rest = 0;
        if (!isNull)
          feature.GetFieldAsDateTime(column, &year, &month, &day, &rest, &rest, &rest, &rest);
        const auto date = Date::FromCivil(year, month, day);
        EXPECT_EQ(row.GetValue(field), isNull || !date ? Value(Null{}) : Value(*date));
        break;
      }
      default: {
        const double number = isNull ? 0 : feature.GetFieldAsDouble(column);
        const bool isSingle = row.Fields()[field].type == FieldType::kSingle &&
                              std::abs(number) <= std::numeric_limits<float>::max();
        const double wanted = isSingle ? double{static_cast<float>(number)} : number;
        EXPECT_EQ(row.GetDouble(field) == wanted, !std::isnan(wanted)) << row.GetDouble(field);
        EXPECT_EQ(std::isnan(row.GetDouble(field)), std::isnan(wanted));
        EXPECT_EQ(std::isnan(wanted) ? 0 : ToDouble(row.GetValue(field)),
                  std::isnan(wanted) ? 0 : wanted);
      }
    }
  }
};

TEST_F(StoredRowsTest, NumbersHoweverTheyAreWritten) {
  RawTable table;
  for (const int width : {1, 4, 5, 9, 10, 11, 18, 19, 20, 24}) table.Add('N', width);
  for (const int width : {3, 9, 10, 16, 19, 24}) table.Add('N', width, 2);
  for (const int width : {5, 9, 13, 16, 20, 24}) table.Add('F', width);
  for (const int width : {13, 16, 19, 24}) table.Add('F', width, 11);
  for (const char* text : {"",
                           "0",
                           "-0",
                           "7",
                           "+7",
                           "-7",
                           "007",
                           "  42",
                           "42  ",
                           " 4 2",
                           "1.5",
                           "-1.5",
                           ".5",
                           "5.",
                           "-.25",
                           "1e3",
                           "1.25E-2",
                           "1e400",
                           "-1e400",
                           "1e-400",
                           "1,5",
                           "12abc",
                           "abc",
                           "*",
                           "*****",
                           "0x10",
                           "nan",
                           "inf",
                           "-inf",
                           "1d5",
                           "--5",
                           "+-5",
                           "+",
                           "-",
                           ".",
                           "e5",
                           "1.#INF",
                           "-1.#IND",
                           "9223372036854775807",
                           "99999999999999999999",
                           "123456789012345678",
                           "-99999999999999999",
                           "3.4028235e38",
                           "3.5e38",
                           "0.1",
                           "1.1000000238418579",
                           "\t5",
                           "4.9e-324",
                           "2.2250738585072011e-308",
                           "179769313486231570000",
                           "1\x01",
                           "1\n2"})
    table.rows.emplace_back(table.columns.size(), text);
  table.rows.emplace_back(table.columns.size(), std::string(24, '\0'));
  table.rows.emplace_back(table.columns.size(), std::string("12\0"
                                                            "34",
                                                            5));
  Seeded random("StoredRows.Numbers");
  for (int i = 0; i < 2000; ++i) {
    std::string text;
    const auto length = random.Whole(0, 24);
    constexpr std::string_view kSigns = "0123456789012345678901234567890123456789..-+eE *";
    for (std::int64_t k = 0; k < length; ++k)
      text += kSigns[static_cast<std::size_t>(
          random.Whole(0, static_cast<std::int64_t>(kSigns.size()) - 1))];
    table.rows.emplace_back(table.columns.size(), text);
  }
  table.Write(folder / "numbers.dbf");
  ExpectAsOgr("numbers.dbf");
}

TEST_F(StoredRowsTest, TextsInEveryEncoding) {
  std::vector<std::string> texts{
      "", "   ", "a", " a", "a ", "  a b  ", "\t a\t", std::string("a\0b", 3), "ASCII ~ \\ |"};
  for (int byte = 1; byte < 256; ++byte)
    texts.push_back("x" + std::string(1, static_cast<char>(byte)) + "y");
  texts.push_back("\xc3\xa4\xc3\xb6 \xe2\x82\xac");
  RawTable table;
  table.Add('C', 12);
  table.Add('C', 1);
  table.Add('L', 1);
  for (const std::string& text : texts) table.rows.push_back({text, text, text});
  for (int driver = 0; driver < 256; ++driver) {
    if (driver == 9) continue;  // OGR has no name for Dutch code page 437
    table.languageDriver = static_cast<std::uint8_t>(driver);
    const std::string name = "ldid" + std::to_string(driver) + ".dbf";
    table.Write(folder / name);
    ExpectAsOgr(name);
  }
  table.languageDriver = 87;
  int number = 0;
  for (const char* cpg :
       {"UTF-8", "utf8", "65001", "ISO-8859-1", "ISO 88591", "8859-15", "88592", "1252",
        "ANSI 1251", "CP932", "BIG5", "EUC-JP", "SHIFT_JIS", "LDID/87", "NONSENSE"}) {
    const std::string name = "cpg" + std::to_string(number++);
    WriteBytes(folder / (name + ".cpg"), cpg);
    SCOPED_TRACE(cpg);
    table.Write(folder / (name + ".dbf"));
    ExpectAsOgr(name + ".dbf");
  }
}

TEST_F(StoredRowsTest, AnExpressionComparesTextsAsTheyAreRead) {
  RawTable table;
  table.Add('C', 12);
  table.rows = {{"caf\x82"}, {"cafe"}};  // code page 437
  table.languageDriver = 9;
  table.Write(folder / "dutch.dbf");
  const TablePtr dutch = OpenTableByPath(folder / "dutch.dbf");
  QueryFilter filter;
  filter.where = "C0 = 'café'";
  EXPECT_EQ(dutch->Select(filter).Oids(), std::vector<Oid>{0});
  const CursorPtr rows = dutch->Search(filter);
  EXPECT_EQ(rows->Next()->GetValue(1), Value("café"));
}

TEST_F(StoredRowsTest, DatesThatAreOnesAndThatAreNone) {
  RawTable table;
  table.Add('D', 8);
  for (const char* text :
       {"20260301", "", "00000000", "00010101", "99991231", "20260229", "20240229", "20261301",
        "2026 301", " 2026301", "2026030", "2026-3-1", "12/31/99", "abcdefgh", "-2260301",
        "00000101", "+2026030", "2026030a", "********"})
    table.rows.push_back({text});
  table.Write(folder / "dates.dbf");
  ExpectAsOgr("dates.dbf");
}

TEST_F(StoredRowsTest, ColumnsOfOtherProgramsAreReadAsOgrReadsThem) {
  RawTable table;
  for (const char type : {'M', 'B', 'G', 'I', 'O', '@', 'T', 'Y', '+', 'P', '0'})
    table.Add(type, type == 'I' ? 4 : 8);
  table.Add('D', 10);
  table.Add('C', 5);
  for (const char* text : {"", "12345678", "12/31/2020", "\x01\x02\x03\x04", "abc"})
    table.rows.emplace_back(table.columns.size(), text);
  table.Write(folder / "others.dbf");
  ExpectAsOgr("others.dbf");
}

TEST_F(StoredRowsTest, ShapesOfEveryType) {
  Seeded random("StoredRows.Shapes");
  const auto pad = [&](const Geometry& flat, bool hasZ, bool hasM) {
    Geometry shape = flat;
    if (Point* p = shape.As<Point>()) {
      if (hasZ) p->z = random.Real(0, 9);
      if (hasM && random.Chance(0.7)) p->m = random.Real(0, 9);
    } else if (Multipart* parts = shape.AsMultipart()) {
      const std::vector<Coord> coords(parts->Coords().begin(), parts->Coords().end());
      std::vector<std::int32_t> starts;
      for (int part = 0; part < parts->PartCount(); ++part)
        starts.push_back(static_cast<std::int32_t>(parts->PartStart(part)));
      std::vector<double> z(hasZ ? coords.size() : 0),
          m(hasM && random.Chance(0.7) ? coords.size() : 0);
      for (double& v : z) v = random.Real(0, 9);
      for (double& v : m) v = random.Chance(0.2) ? Point::kNone : random.Real(0, 9);
      parts->Assign(coords, starts, z, m);
    }
    return shape;
  };
  for (const int plain : {1, 3, 5, 8})
    for (const int extra : {0, 10, 20})
      for (const bool hasM : {false, true}) {
        if (extra == 0 && hasM) continue;
        std::vector<std::string> contents;
        for (int i = 0; i < 60; ++i) {
          Geometry shape;
          if (i % 7 != 3) {
            if (plain == 1) shape = Point{random.Real(-9, 9), random.Real(-9, 9)};
            if (plain == 3)
              shape = RandomLine(random, static_cast<int>(random.Whole(1, 4)),
                                 static_cast<int>(random.Whole(2, 9)));
            if (plain == 5)
              shape = RandomPolygon(random, {.parts = static_cast<int>(random.Whole(1, 3)),
                                             .holes = static_cast<int>(random.Whole(0, 2))});
            if (plain == 8) {
              Multipoint points;
              for (std::int64_t k = random.Whole(1, 5); k > 0; --k)
                points.AddPoint(random.Real(-9, 9), random.Real(-9, 9));
              shape = points;
            }
            shape = pad(shape, extra == 10, extra == 20 || (extra == 10 && hasM));
          }
          std::string content;
          ShpBounds bounds;
          EncodeShape(shape, plain + extra, hasM, content, bounds);
          contents.push_back(content);
        }
        const std::string name = "shapes" + std::to_string(plain + extra) + (hasM ? "m" : "");
        WriteRecords(folder / name, plain + extra, contents);
        ExpectAsOgr(name + ".shp");
      }
}

/// The content of a record of lines or rings.
std::string Parts(int type, const std::vector<std::int32_t>& starts,
                  const std::vector<double>& coords) {
  std::string content;
  const auto put = [&](const auto& v) {
    content.append(reinterpret_cast<const char*>(&v), sizeof v);
  };
  put(type);
  for (const double side : {0.0, 0.0, 9.0, 9.0}) put(side);
  put(static_cast<std::int32_t>(starts.size()));
  put(static_cast<std::int32_t>(coords.size() / 2));
  for (const std::int32_t start : starts) put(start);
  for (const double v : coords) put(v);
  return content;
}

TEST_F(StoredRowsTest, CrookedShapes) {
  const double nan = std::numeric_limits<double>::quiet_NaN(),
               inf = std::numeric_limits<double>::infinity();
  const std::vector<std::pair<std::vector<std::int32_t>, std::vector<double>>> all{
      {{0}, {0, 0, 0, 4, 4, 4}},  // not closed
      {{0}, {0, 0, 0, 4, 4, 4, 0, 0}},
      {{0}, {0, 0}},
      {{0}, {0, 0, 0, 0}},
      {{0}, {0, 0, 1, 1, 0, 0}},
      {{0, 4}, {0, 0, 0, 4, 4, 4, 0, 0, 1, 1, 2, 2, 1, 1}},
      {{0, 4}, {0, 0, 0, 4, 4, 4, 0, 0, 1, 1, 2, 1, 2, 2}},  // the second one not closed
      {{0, 0}, {0, 0, 0, 4, 4, 4, 0, 0}},                    // an empty part
      {{0, 4}, {0, 0, 0, 4, 4, 4, 0, 0}},
      {{0, 4, 4}, {0, 0, 0, 4, 4, 4, 0, 0, 1, 1, 2, 2, 1, 1}},
      {{}, {}},
      {{0}, {}},
      {{0}, {nan, 0, 0, 4, 4, 4, nan, 0}},
      {{0}, {inf, 0, 0, 4, 4, 4, inf, 0}},
      {{0}, {0, 0, 0, 4, 4, -0.0, -0.0, 0}},
      {{0, 2, 1}, {0, 0, 0, 4, 4, 4, 0, 0}},
      {{0, 9}, {0, 0, 0, 4, 4, 4, 0, 0}},
      {{-1}, {0, 0, 0, 4, 4, 4, 0, 0}},
  };
  for (const int type : {3, 5}) {
    int i = 0;
    for (const auto& [starts, coords] : all) {
      const std::string name = "crooked" + std::to_string(type) + "_" + std::to_string(i++);
      WriteRecords(folder / name, type, {Parts(type, starts, coords)});
      ExpectAsOgr(name + ".shp");
    }
  }
  std::vector<std::string> points;
  for (const Point& p : {Point{1, 2}, Point{nan, 2}, Point{1, nan}, Point{nan, nan}, Point{inf, 2},
                         Point{1, -inf}, Point{-0.0, 0}}) {
    std::string content(20, '\0');
    content[0] = 1;
    std::memcpy(content.data() + 4, &p.x, 8);
    std::memcpy(content.data() + 12, &p.y, 8);
    points.push_back(content);
  }
  WriteRecords(folder / "points", 1, points);
  ExpectAsOgr("points.shp");

  // Points of no part: OGR leaves them out, and says nothing.
  for (const std::vector<std::int32_t>& starts : {std::vector<std::int32_t>{}, {1}}) {
    WriteRecords(folder / "loose", 5, {Parts(5, starts, {0, 0, 0, 4, 4, 4, 0, 0})});
    const FeatureClassPtr loose = OpenFeatureClassByPath(folder / "loose.shp");
    const CursorPtr rows = loose->Search();
    EXPECT_EQ(ErrorOf([&] { rows->Next()->Shape(); }), static_cast<int>(ErrorNumber::kPlatform));
  }
}

TEST_F(StoredRowsTest, RowsInAnyOrderAreTheRowsOfTheWalk) {
  constexpr int kRows = 30'000;  // some windows of every file
  MakePoints(folder / "many.shp", kRows);
  const FeatureClassPtr points = OpenFeatureClassByPath(folder / "many.shp");
  const ShapefileStore& store = *ShapefileStore::At(folder / "many.shp");
  const auto rows = store.OpenRows();
  Seeded random("StoredRows.AnyOrder");
  for (int i = 0; i < 3000; ++i) {
    const Oid row = i < 500 ? kRows - 1 - i : random.Whole(0, kRows - 1);
    ASSERT_EQ(rows->GetDouble(row, 0, FieldType::kInteger), static_cast<double>(row));
    ASSERT_EQ(rows->Get(row, 1, FieldType::kText), Value("row " + std::to_string(row)));
    const auto number = static_cast<double>(row);
    ASSERT_TRUE(rows->GetShape(row) == Geometry(Point{number, 2 * number}));
  }
  EXPECT_EQ(ErrorOf([&] { rows->GetShape(kRows); }), static_cast<int>(ErrorNumber::kPlatform));
  EXPECT_EQ(ErrorOf([&] { rows->GetDouble(kRows, 0, FieldType::kInteger); }),
            static_cast<int>(ErrorNumber::kPlatform));
}

}  // namespace
}  // namespace orlinths
