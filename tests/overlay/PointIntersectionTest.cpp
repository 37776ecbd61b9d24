#include "overlay/PointIntersection.h"

#include <gtest/gtest.h>

namespace orlinths {
namespace {

TEST(PointIntersection, CharactersAreCountedNotBytes) {
  EXPECT_EQ(FirstCharacters("stands", 6), "stands");
  EXPECT_EQ(FirstCharacters("stands", 5), "stand");
  EXPECT_EQ(FirstCharacters("st", 5), "st");
  EXPECT_EQ(FirstCharacters("", 5), "");
  EXPECT_EQ(FirstCharacters("äöü", 2), "äö");
  EXPECT_EQ(FirstCharacters("森林の", 1), "森");
}

TEST(PointIntersection, TextEndsAtItsFirstPoint) {
  EXPECT_EQ(UpToFirstPoint("my name.a.b"), "my name");
  EXPECT_EQ(UpToFirstPoint("name"), "name");
  EXPECT_EQ(UpToFirstPoint(".name"), "");
}

}  // namespace
}  // namespace orlinths
