#include "overlay/PointIntersection.h"

#include <gtest/gtest.h>

namespace orlinths {
namespace {

TEST(PointIntersection, TextEndsAtItsFirstPoint) {
  EXPECT_EQ(UpToFirstPoint("my name.a.b"), "my name");
  EXPECT_EQ(UpToFirstPoint("name"), "name");
  EXPECT_EQ(UpToFirstPoint(".name"), "");
}

}  // namespace
}  // namespace orlinths
