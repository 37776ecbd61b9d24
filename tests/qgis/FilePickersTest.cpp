#include "qgis/FilePickers.h"

#include <gtest/gtest.h>

#include "support/TempFolder.h"

namespace orlinths {
namespace {

IDialogHost::Question Save(IDialogHost::Filter filter) {
  IDialogHost::Question question;
  question.filter = filter;
  return question;
}

TEST(FilePickers, ANameToSaveUnderGetsTheExtensionOfItsKind) {
  using Filter = IDialogHost::Filter;
  EXPECT_EQ(ChoiceOf("/a/b", Save(Filter::kShapefiles)).name, "b.shp");
  EXPECT_EQ(ChoiceOf("/a/b.SHP", Save(Filter::kShapefiles)).name, "b.SHP");
  EXPECT_EQ(ChoiceOf("/a/b", Save(Filter::kDbase)).name, "b.dbf");
  EXPECT_EQ(ChoiceOf("/a/b", Save(Filter::kText)).name, "b.csv");
  // A raster without extension is a grid, a folder is a folder.
  EXPECT_EQ(ChoiceOf("/a/b", Save(Filter::kRasters)).name, "b");
  EXPECT_EQ(ChoiceOf("/a/b", Save(Filter::kFolders)).FullName(), "/a/b");
}

TEST(FilePickers, ReplacesWhatIsThereOnlyWhenItSaves) {
  const TempFolder folder;
  WriteBytes(folder / "old.shp", "x");
  auto question = Save(IDialogHost::Filter::kShapefiles);
  EXPECT_TRUE(ChoiceOf(folder / "old.shp", question).replacing);
  EXPECT_TRUE(ChoiceOf(folder / "old", question).replacing);
  EXPECT_FALSE(ChoiceOf(folder / "new.shp", question).replacing);
  question.save = false;
  EXPECT_FALSE(ChoiceOf(folder / "old.shp", question).replacing);
}

TEST(FilePickers, OffersWhatThePickerIsFor) {
  using Filter = IDialogHost::Filter;
  EXPECT_TRUE(FilterText(Filter::kShapefiles).contains(QStringLiteral("*.shp")));
  EXPECT_TRUE(FilterText(Filter::kDbase).contains(QStringLiteral("*.dbf")));
  EXPECT_TRUE(FilterText(Filter::kText).contains(QStringLiteral("*.csv")));
  EXPECT_TRUE(FilterText(Filter::kRasters).contains(QStringLiteral("*.tif")));
  EXPECT_EQ(FilterText(Filter::kAny), QStringLiteral("All files (*)"));
}

}  // namespace
}  // namespace orlinths
