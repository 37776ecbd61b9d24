#include "data/FieldsAndDatasets.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "data/FakeData.h"
#include "data/Workspace.h"
#include "runtime/Files.h"
#include "runtime/Ports.h"
#include "runtime/Trap.h"
#include "support/CapturedMessages.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

int NumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const RuntimeError& error) {
    return error.Number();
  }
  return 0;
}
constexpr int kPlatform = -2147467259;

class FieldLists : public ::testing::Test {
 protected:
  FieldLists() {
    for (int type = 0; type <= 8; ++type)
      zones->fields.AddField(
          MakeField("F" + std::to_string(type), static_cast<FieldType>(type), 0, false, true));
  }
  std::shared_ptr<FakeClass> zones = std::make_shared<FakeClass>("zones", GeometryType::kPolygon);
  IFeatureLayer layer{zones};
  ListedItems list;
  CapturedMessages messages;
};

TEST_F(FieldLists, FiltersByTypeAndGivesTheNumberOfAllFields) {
  const std::vector<std::pair<int, Texts>> cases = {
      {0, {"F0", "F1", "F2", "F3", "F4", "F5", "F6", "F7", "F8"}},
      {11, {"F0", "F1", "F2", "F3"}},
      {12, {"F0", "F1"}},
      {13, {"F0", "F1", "F4", "F6"}},
      {14, {"F0", "F1", "F2", "F3", "F4", "F5", "F6"}},
      {15, {"F5"}},
      {16, {"F6"}},
      {1, {}},
      {10, {}},
      {17, {}},
  };
  for (const auto& [filter, expected] : cases) {
    ListedItems fields, tableFields;
    EXPECT_EQ(ListFields(layer, fields, filter), 9) << filter;
    EXPECT_EQ(fields.items, expected) << filter;
    EXPECT_EQ(ListTableFields(*zones, tableFields, filter), 9) << filter;
    EXPECT_EQ(tableFields.items, expected) << filter;
    ListedItems boxed;
    const bool offered = filter != 15 && filter != 16;
    EXPECT_EQ(ListFieldsInListBox(layer, boxed, filter),
              offered ? static_cast<int>(expected.size()) : 0)
        << filter;
    EXPECT_EQ(boxed.items, offered ? expected : Texts{}) << filter;
  }
}

TEST_F(FieldLists, SayWhatEachFieldHolds) {
  ListedItems boxed;
  ListFields(layer, list, 0);
  ListFieldsInListBox(layer, boxed, 0);
  using enum ItemKind;
  const std::vector<ItemKind> expected = {kWholeField,  kWholeField, kNumberField,
                                          kNumberField, kTextField,  kDateField,
                                          kWholeField,  kOtherField, kOtherField};
  EXPECT_EQ(list.kinds, expected);
  EXPECT_EQ(boxed.kinds, expected);
}

TEST_F(FieldLists, AddBehindWhatStandsThere) {
  list.AddItem("first");
  ListFields(layer, list, 15);
  EXPECT_EQ(list.items, (Texts{"first", "F5"}));
}

TEST_F(FieldLists, ALayerWithoutAClassRaisesError91) {
  const IFeatureLayer broken("broken", "/not/there.shp");
  EXPECT_EQ(NumberOf([&] { ListFields(broken, list, 0); }), 91);
}

TEST_F(FieldLists, FieldExistsIgnoresCase) {
  EXPECT_TRUE(FieldExists("f3", zones->Fields()));
  EXPECT_FALSE(FieldExists("f", zones->Fields()));
}

TEST_F(FieldLists, AddNewFieldSetsLengthAndPrecisionOnlyWhereGiven) {
  EXPECT_EQ(AddNewField("A", *zones, FieldType::kDouble, 16, 5), 9);
  EXPECT_EQ(zones->fields[9].length, 16);
  EXPECT_EQ(zones->fields[9].precision, 5);
  EXPECT_EQ(AddNewField("B", *zones, FieldType::kInteger, 6, 5), 10);
  EXPECT_EQ(zones->fields[10].length, 6);
  EXPECT_EQ(zones->fields[10].precision, 0) << "of a double alone";
  EXPECT_EQ(AddNewField("C", *zones, FieldType::kDouble, std::nullopt, 5), 11);
  EXPECT_EQ(zones->fields[11].length, 0);
  EXPECT_EQ(zones->fields[11].precision, 0);
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(FieldLists, AddNewFieldReportsNameAndType) {
  zones->refusal = ErrorNumber::kPermissionDenied;
  EXPECT_EQ(AddNewField("AREA", *zones, FieldType::kDouble, 16), -1);
  EXPECT_EQ(messages.All(),
            (std::vector<Message>{
                {"AddNewField: BName: AREA, Type: 3\r70\rPermission denied", kCritical, "Error"}}));
}

TEST(MakeFieldTest, SetsWhatItIsGiven) {
  const Field field = MakeField("RNDSEL", FieldType::kInteger, 6, true, false, 4);
  EXPECT_EQ(field.name, "RNDSEL");
  EXPECT_EQ(field.type, FieldType::kInteger);
  EXPECT_EQ(field.length, 6);
  EXPECT_TRUE(field.required);
  EXPECT_FALSE(field.editable);
  EXPECT_EQ(field.precision, 4);
  EXPECT_EQ(MakeField("X", FieldType::kDouble, 16, false, true).precision, 0);
}

TEST(LengthToHoldTest, IsTheSourcesOwnWhereThatIsEnough) {
  const Field name{.name = "N", .type = FieldType::kText, .length = 12};
  EXPECT_EQ(LengthToHold(name, 0), 12);
  EXPECT_EQ(LengthToHold(name, 12), 12);
  EXPECT_EQ(LengthToHold(name, 13), 13);
  EXPECT_EQ(LengthToHold(name, 300), 254);
  const Field unlimited{.name = "U", .type = FieldType::kText, .length = 0};
  EXPECT_EQ(LengthToHold(unlimited, 50), 0);
  EXPECT_EQ(LengthToHold(unlimited, 51), 51);
  EXPECT_EQ(LengthToHold({.name = "I", .type = FieldType::kInteger, .length = 9}, 99), 9);
}

TEST(MakeShapeFieldsTest, GivesObjectIdAndShape) {
  const auto reference = std::make_shared<NamedReference>(2169);
  const Fields fields = MakeShapeFields(GeometryType::kPolyline, true, false, reference);
  ASSERT_EQ(fields.FieldCount(), 2);
  EXPECT_EQ(fields[0].name, "OID");
  EXPECT_EQ(fields[0].type, FieldType::kOid);
  EXPECT_EQ(fields[1].name, "Shape");
  EXPECT_EQ(fields[1].type, FieldType::kGeometry);
  EXPECT_TRUE(fields[1].isNullable);
  EXPECT_EQ(fields[1].geometry.geometryType, GeometryType::kPolyline);
  EXPECT_TRUE(fields[1].geometry.hasM);
  EXPECT_FALSE(fields[1].geometry.hasZ);
  EXPECT_EQ(fields[1].geometry.spatialReference, reference);
}

class Datasets : public ::testing::Test {
 protected:
  FeatureClassPtr NewShapefile(const std::string& name, bool overwrite = false) {
    return CreateShapefile(folder.Path(), name, GeometryType::kPoint, false, false, reference,
                           overwrite);
  }
  Texts Files() { return files::NamesIn(folder.Path()); }
  TempFolder folder;
  SpatialReferencePtr reference;
  CapturedMessages messages;
};

class UniqueValuesOfAField : public Datasets {
 protected:
  UniqueValuesOfAField() {
    table = CreateTable(folder.Path(), "t",
                        {{.name = "N", .type = FieldType::kInteger},
                         {.name = "T", .type = FieldType::kText, .length = 10}});
    const CursorPtr into = table->Insert();
    const auto row = table->CreateRowBuffer();
    for (const auto& [number, text] :
         {std::pair{10, "b"}, {9, ""}, {10, "B"}, {-2, " "}, {9, "b"}}) {
      row->SetValue(1, Value(std::int32_t{number}));
      row->SetValue(2, Value(text));
      into->InsertRow(*row);
    }
    into->Flush();
  }
  TablePtr table;
};

TEST_F(UniqueValuesOfAField, AscendEachOnce) {
  using std::int32_t;
  EXPECT_EQ(GetUniqueValues(*table->Search(), 1),
            (std::vector{Value(int32_t{-2}), Value(int32_t{9}), Value(int32_t{10})}));
  EXPECT_EQ(GetUniqueValues(*table->SearchOids({1, 4}), 1), (std::vector{Value(int32_t{9})}));
  EXPECT_EQ(GetUniqueValues(*table->SearchOids({}), 1), std::vector<Value>());
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(UniqueValuesOfAField, AreNoneAfterAReportOfAFieldThatIsNotThere) {
  const Message report{"GetUniqueValues: A\r9\rSubscript out of range", kCritical, "Error"};
  EXPECT_EQ(GetUniqueValues(*table->Search(), 3), std::nullopt);
  EXPECT_EQ(GetUniqueValues(*table->Search(), -1), std::nullopt);
  EXPECT_EQ(GetUniqueValues(*table->SearchOids({}), -1), std::nullopt);
  EXPECT_EQ(messages.All(), (std::vector<Message>(3, report)));
}

TEST_F(Datasets, CreateShapefileMakesTheUnknownReferenceAndHandsItBack) {
  const FeatureClassPtr made = NewShapefile("new");
  ASSERT_NE(made, nullptr);
  ASSERT_NE(reference, nullptr);
  EXPECT_TRUE(reference->IsUnknown());
  EXPECT_EQ(Files(), (Texts{"new.cpg", "new.dbf", "new.shp", "new.shx"}));
  EXPECT_EQ(made->Fields().FieldCount(), 3);
  EXPECT_EQ(made->Fields()[0].name, "FID");
  EXPECT_EQ(made->Fields()[1].name, "Shape");
  EXPECT_EQ(made->Fields()[2].name, "Id");
  EXPECT_EQ(made->ShapeType(), GeometryType::kPoint);
  EXPECT_EQ(made->RowCount(), 0);
  EXPECT_TRUE(made->Extent().IsEmpty());
}

TEST_F(Datasets, CreateShapefileKeepsTheReferenceGiven) {
  reference = SpatialReferenceFromText("EPSG:32632");
  const FeatureClassPtr made = NewShapefile("new");
  EXPECT_EQ(made->SpatialReference()->FactoryCode(), 32632);
  EXPECT_TRUE(files::FileExists(folder / "new.prj"));
}

TEST_F(Datasets, CreateShapefileRefusesWhatIsThere) {
  WriteBytes(folder / "old.shp", "whatever");
  EXPECT_EQ(NewShapefile("old"), nullptr);
  EXPECT_EQ(messages.All(),
            (std::vector<Message>{{"ERROR: file already exists. Cannot create output file.",
                                   kCritical, "File Error"}}));
  EXPECT_EQ(reference, nullptr);
  EXPECT_EQ(ReadBytes(folder / "old.shp"), "whatever");
}

TEST_F(Datasets, CreateShapefileWithOverwriteRemovesEveryFileOfThatBaseName) {
  for (const char* name :
       {"old.shp", "old.sbn", "old.shp.xml", "old.txt", "older.shp", "OLD.dbf", "old"})
    WriteBytes(folder / name, "whatever");
  ASSERT_NE(NewShapefile("old", true), nullptr);
  EXPECT_EQ(Files(),
            (Texts{"OLD.dbf", "old", "old.cpg", "old.dbf", "old.shp", "old.shx", "older.shp"}));
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(Datasets, DeleteAllOfBaseNameLeavesLongerNamesAlone) {
  for (const char* name : {"a.shp", "a.shp.xml", "a.anything", "ab.shp", "a"})
    WriteBytes(folder / name, "x");
  DeleteAllOfBaseName(folder.Path(), "a");
  EXPECT_EQ(Files(), (Texts{"a", "ab.shp"}));
  DeleteAllOfBaseName(folder.Path(), "a");
}

TEST_F(Datasets, CreateShapefileReplacesOneThatIsOpen) {
  const FeatureClassPtr before = NewShapefile("same");
  before->Insert()->InsertRow(*before->CreateRowBuffer());
  const FeatureClassPtr after = NewShapefile("same", true);
  EXPECT_EQ(after->RowCount(), 0);
  EXPECT_EQ(OpenShapefile(folder.Path(), "same")->RowCount(), 0);
}

TEST_F(Datasets, CreateShapefileRaisesItsFailures) {
  EXPECT_EQ(NumberOf([&] { NewShapefile(""); }), kPlatform);
  SpatialReferencePtr none;
  EXPECT_EQ(
      NumberOf([&] { CreateShapefile("", "x", GeometryType::kPoint, false, false, none, true); }),
      kPlatform);
  EXPECT_NE(NumberOf([&] {
              CreateShapefile(folder / "nowhere", "x", GeometryType::kPoint, false, false, none,
                              false);
            }),
            0);
  EXPECT_FALSE(files::FileExists("/x.shp"));
  EXPECT_FALSE(files::FileExists("x.shp"));
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(Datasets, CreateDbfMakesAFieldWhereNoneAreGiven) {
  std::optional<Fields> fields;
  const TablePtr table = createDBF("t.dbf", folder.Path(), false, fields);
  ASSERT_NE(table, nullptr);
  ASSERT_TRUE(fields);
  ASSERT_EQ(fields->FieldCount(), 1);
  EXPECT_EQ((*fields)[0].name, "ID");
  EXPECT_EQ((*fields)[0].type, FieldType::kInteger);
  EXPECT_EQ((*fields)[0].length, 8);
  EXPECT_EQ(table->Fields()[1].name, "ID");
  EXPECT_TRUE(files::FileExists(folder / "t.dbf"));
  fields = Fields{MakeField("A", FieldType::kText, 5, false, true)};
  const TablePtr other = createDBF("u", folder.Path(), false, fields);
  EXPECT_EQ(other->Fields()[1].name, "A");
  EXPECT_TRUE(files::FileExists(folder / "u.dbf"))
      << "the extension is put behind a name without one";
}

TEST_F(Datasets, CreateDbfSaysWhyNot) {
  std::optional<Fields> fields;
  EXPECT_EQ(createDBF("t.dbf", "/not/there", false, fields), nullptr);
  EXPECT_EQ(createDBF("t.dbf", "", false, fields), nullptr);
  WriteBytes(folder / "t.dbf", "whatever");
  EXPECT_EQ(createDBF("t.dbf", folder.Path(), false, fields), nullptr);
  EXPECT_EQ(
      messages.All(),
      (std::vector<Message>{
          {"Error: folder does not exist: /not/there. Cannot create DBF.", kCritical, "Error"},
          {"Error: folder does not exist: . Cannot create DBF.", kCritical, "Error"},
          {"Error: DBF file already exists. Please select a different name and try again.",
           kCritical, "Error"}}));
  EXPECT_FALSE(fields);
  messages.Clear();
  EXPECT_EQ(createDBF("", folder.Path(), false, fields), nullptr);
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_TRUE(messages.Text()[0].starts_with("createDBF\r-2147467259\r")) << messages.Text()[0];
}

TEST_F(Datasets, CreateDbfReplacesWithoutForce) {
  std::optional<Fields> fields;
  WriteBytes(folder / "t.dbf", "whatever");
  const TablePtr table = createDBF("t.dbf", folder.Path(), true, fields);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->RowCount(), 0);
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(Datasets, TheTableOfAShapefileIsNotDeletedWithoutTheShapes) {
  SpatialReferencePtr reference;
  CreateShapefile(folder.Path(), "t", GeometryType::kPoint, false, false, reference, false);
  const std::string before = ReadBytes(folder / "t.dbf");
  std::optional<Fields> fields;
  EXPECT_EQ(createDBF("t.dbf", folder.Path(), true, fields), nullptr);
  EXPECT_FALSE(DeleteFile(folder.Path(), "t.dbf"));
  const std::string why = "\r-2147467259\r" + (folder / "t.dbf") +
                          " is the table of the shapefile t.shp and cannot be deleted without it.";
  EXPECT_EQ(messages.Text(),
            (Texts{"createDBF" + why, "DeleteFile\rDetected regular file." + why}));
  EXPECT_EQ(ReadBytes(folder / "t.dbf"), before);
}

TEST_F(Datasets, WhatIsProtectedIsNotDeletedWithoutForce) {
  WriteBytes(folder / "t.dbf", "whatever");
  ASSERT_EQ(::chmod((folder / "t.dbf").c_str(), 0444), 0);
  ASSERT_EQ(::chmod(folder.Path().c_str(), 0777), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const bool other = ::seteuid(65534) == 0;  // root may delete anything
    std::optional<Fields> fields;
    const bool refused = createDBF("t.dbf", folder.Path(), true, fields) == nullptr &&
                         !DeleteFile(folder.Path(), "t.dbf");
    const bool said =
        messages.Text() == Texts{"createDBF\r70\rPermission denied",
                                 "DeleteFile\rDetected regular file.\r70\rPermission denied"};
    ::_exit(other && refused && said ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(Datasets, OpenShapefileIsSilentAboutWhatIsNotThere) {
  EXPECT_EQ(OpenShapefile(folder.Path(), "none"), nullptr);
  EXPECT_EQ(OpenShapefile("/not/there", "none"), nullptr);
  EXPECT_EQ(OpenShapefile("", ""), nullptr);
  WriteBytes(folder / "bad.shp", "no shapefile");
  EXPECT_EQ(OpenShapefile(folder.Path(), "bad"), nullptr);
  NewShapefile("good");
  EXPECT_NE(OpenShapefile(folder.Path(), "good"), nullptr);
  EXPECT_EQ(messages.Text(), Texts{});
}

void MakeTin(const std::string& path) {
  files::CreateFolder(path);
  for (const char* name : {"tnod.adf", "TNXY.ADF", "tnz.adf", "tedg.adf"})
    WriteBytes(path + "/" + name, "x");
}

TEST_F(Datasets, OpenTinKnowsAFolderOfNodes) {
  MakeTin(folder / "hills");
  files::CreateFolder(folder / "plain");
  WriteBytes(folder / "plain" + "/tnod.adf", "x");
  EXPECT_NE(OpenTin(folder.Path(), "hills"), nullptr);
  EXPECT_EQ(OpenTin(folder.Path(), "plain"), nullptr);
  EXPECT_EQ(OpenTin(folder.Path(), "none"), nullptr);
  EXPECT_EQ(OpenTin("/not/there", "hills"), nullptr);
  EXPECT_EQ(OpenTin(folder / "hills", ""), nullptr) << "a folder has to have a name";
}

/// A raster of one cell.
void MakeRaster(const std::string& path) {
  WriteBytes(path, "ncols 1\nnrows 1\nxllcorner 0\nyllcorner 0\ncellsize 1\n7\n");
}

TEST_F(Datasets, DeleteFileTakesTheFirstThatOpens) {
  NewShapefile("both");
  MakeRaster(folder / "both");
  EXPECT_TRUE(DeleteFile(folder.Path(), "both"));
  EXPECT_EQ(Files(), (Texts{"both"})) << "the shapefile alone";
  EXPECT_TRUE(DeleteFile(folder.Path(), "both"));
  EXPECT_EQ(Files(), Texts{});
  EXPECT_FALSE(DeleteFile(folder.Path(), "both"));
  MakeTin(folder / "hills");
  EXPECT_TRUE(DeleteFile(folder.Path(), "hills"));
  EXPECT_EQ(Files(), Texts{});
  WriteBytes(folder / "notes.txt", "x");
  EXPECT_TRUE(DeleteFile(folder.Path(), "notes.txt"));
  EXPECT_EQ(Files(), Texts{});
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(Datasets, DeleteFileLeavesWhatOpensAsNothing) {
  WriteBytes(folder / "bad.shp", "no shapefile");
  EXPECT_FALSE(DeleteFile(folder.Path(), "bad"));
  EXPECT_EQ(Files(), (Texts{"bad.shp"}));
  files::CreateFolder(folder / "plain");
  EXPECT_FALSE(DeleteFile(folder.Path(), "plain"));
  EXPECT_FALSE(DeleteFile(folder.Path(), ""));
  EXPECT_FALSE(DeleteFile("", "bad.shp"));
  EXPECT_FALSE(DeleteFile("/not/there", "bad.shp"));
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST_F(Datasets, DeleteFileReportsWhatItHadFound) {
  MakeTin(folder / "hills");
  files::CreateFolder(folder / "hills/inner");
  EXPECT_FALSE(DeleteFile(folder.Path(), "hills"));
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_TRUE(messages.Text()[0].starts_with("DeleteFile\rDetected tin.\r")) << messages.Text()[0];
  EXPECT_EQ(messages.All()[0].title, "Error");
  EXPECT_EQ(messages.All()[0].flags, kCritical);
}

TEST_F(Datasets, DeleteRasterIsSilent) {
  MakeRaster(folder / "dem.asc");
  EXPECT_TRUE(DeleteRaster(folder.Path(), "dem.asc"));
  EXPECT_EQ(Files(), Texts{});
  EXPECT_FALSE(DeleteRaster(folder.Path(), "dem.asc"));
  EXPECT_FALSE(DeleteRaster("", ""));
  EXPECT_EQ(messages.Text(), Texts{});
}

TEST(CleanFileNameTest, CutsAtTheFirstPointAndKeepsAFewCharacters) {
  EXPECT_EQ(CleanFileName("my.layer.shp"), "my");
  EXPECT_EQ(CleanFileName("a b-c/d_e#f(9)Z!"), "ab-c/d_e#f9Z");
  EXPECT_EQ(CleanFileName(""), "");
  EXPECT_EQ(CleanFileName(".shp"), "");
  EXPECT_EQ(CleanFileName("Z\xC3\xBCrich"), "Zrich");
  EXPECT_EQ(CleanFileName("@[`{\\:"), "");
}

TEST(GetJulianDayTest, IsTheDayOfTheYear) {
  EXPECT_EQ(GetJulianDay(Value(*Date::FromCivil(2026, 1, 1))), 1);
  EXPECT_EQ(GetJulianDay(Value(*Date::FromCivil(2024, 12, 31, 23, 59))), 366);
  EXPECT_EQ(GetJulianDay(Value(*Date::FromCivil(1900, 12, 31))), 365);
  EXPECT_EQ(GetJulianDay(Value("2026-03-01")), 60);
  EXPECT_EQ(GetJulianDay(Value("no date")), -1);
  EXPECT_EQ(GetJulianDay(Value("2026-02-30")), -1);
  EXPECT_EQ(GetJulianDay(Value(12.0)), -1);
  EXPECT_EQ(GetJulianDay(Value(Null{})), -1);
  EXPECT_EQ(GetJulianDay(Value()), -1);
}

}  // namespace
}  // namespace orlinths
