#include "runtime/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Text, CharactersAreCountedNotBytes) {
  EXPECT_EQ(FirstCharacters("stands", 6), "stands");
  EXPECT_EQ(FirstCharacters("stands", 5), "stand");
  EXPECT_EQ(FirstCharacters("st", 5), "st");
  EXPECT_EQ(FirstCharacters("", 5), "");
  EXPECT_EQ(FirstCharacters("äöü", 2), "äö");
  EXPECT_EQ(FirstCharacters("森林の", 1), "森");
}

TEST(Text, TrimmingTakesBlanksAtTheEndsAlone) {
  EXPECT_EQ(Trimmed("  a b "), "a b");
  EXPECT_EQ(Trimmed("ab"), "ab");
  EXPECT_EQ(Trimmed("   "), "");
  EXPECT_EQ(Trimmed(""), "");
  EXPECT_EQ(Trimmed("\tab "), "\tab");
}

TEST(Text, SplittingKeepsBlanksAndEmptyEntries) {
  EXPECT_THAT(SplitAt(',', "95, 90,50"), ElementsAre("95", " 90", "50"));
  EXPECT_THAT(SplitAt(',', ",95,,"), ElementsAre("", "95", "", ""));
  EXPECT_THAT(SplitAt(',', ","), ElementsAre("", ""));
  EXPECT_THAT(SplitAt(',', "95"), ElementsAre("95"));
  EXPECT_THAT(SplitAt(',', ""), IsEmpty());
}

}  // namespace
}  // namespace orlinths
