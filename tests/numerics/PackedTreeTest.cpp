#include "numerics/PackedTree.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "support/Seeded.h"

namespace orlinths {
namespace {

std::vector<std::size_t> MeetingPlain(const std::vector<Envelope>& boxes, const Envelope& query) {
  std::vector<std::size_t> hits;
  for (std::size_t i = 0; i < boxes.size(); ++i)
    if (boxes[i].Intersects(query)) hits.push_back(i);
  return hits;
}

std::vector<std::size_t> Meeting(const PackedTree& tree, const Envelope& query) {
  std::vector<std::size_t> hits;
  tree.Meeting(query, [&](std::size_t i) { hits.push_back(i); });
  std::ranges::sort(hits);
  return hits;
}

TEST(PackedTree, OfNothingMeetsNothing) {
  EXPECT_TRUE(Meeting(PackedTree(), {-1, -1, 1, 1}).empty());
  EXPECT_TRUE(Meeting(PackedTree(std::vector<Envelope>(20)), {-1, -1, 1, 1}).empty());
}

TEST(PackedTree, MeetsWhatALoopMeetsAtEverySize) {
  Seeded random("PackedTree.MeetsWhatALoopMeetsAtEverySize");
  for (const int count : {1, 2, 15, 16, 17, 255, 256, 257, 258, 3000}) {
    std::vector<Envelope> boxes;
    for (int i = 0; i < count; ++i) {
      Envelope box;
      if (!random.Chance(0.05)) {  // some stay empty
        const double x = static_cast<double>(random.Whole(0, 100));
        const double y = static_cast<double>(random.Whole(0, 100));
        box = {x, y, x + static_cast<double>(random.Whole(0, 9)), y + random.Real(0, 9)};
      }
      boxes.push_back(box);
    }
    const PackedTree tree(boxes);
    for (int k = 0; k < 200; ++k) {
      const double x = static_cast<double>(random.Whole(-5, 105));
      const double y = static_cast<double>(random.Whole(-5, 105));
      const double side = random.Chance(0.5) ? 0 : random.Real(0, 30);
      const Envelope query{x, y, x + side, y + side};
      ASSERT_EQ(Meeting(tree, query), MeetingPlain(boxes, query)) << count;
    }
  }
}

TEST(PackedTree, AnEmptyOrNaNQueryMeetsNothing) {
  const std::vector<Envelope> boxes(40, {0, 0, 10, 10});
  const PackedTree tree(boxes);
  EXPECT_TRUE(Meeting(tree, Envelope{}).empty());
  const double nan = Point::kNone;
  EXPECT_TRUE(Meeting(tree, {nan, nan, nan, nan}).empty());
  EXPECT_EQ(Meeting(tree, {10, 10, 11, 11}).size(), 40u);
}

}  // namespace
}  // namespace orlinths
