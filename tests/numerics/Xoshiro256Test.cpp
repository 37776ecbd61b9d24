#include "numerics/Xoshiro256.h"

#include <gtest/gtest.h>

#include <vector>

namespace orlinths {
namespace {

using Words = std::vector<std::uint64_t>;

template <class Source>
Words Draw(Source source, int count) {
  Words words;
  while (count-- > 0) words.push_back(source.Next());
  return words;
}

// The expected words were computed with whole numbers of any size, modulo 2^64.
TEST(Xoshiro256, GivesThePublishedSequence) {
  EXPECT_EQ(Draw(Xoshiro256({1, 2, 3, 4}), 10),
            (Words{41943041u, 58720359u, 3588806011781223u, 3591011842654386u, 9228616714210784205u,
                   9973669472204895162u, 14011001112246962877u, 12406186145184390807u,
                   15849039046786891736u, 10450023813501588000u}));
}

TEST(Xoshiro256, LeavesAnAlmostEmptyState) {
  EXPECT_EQ(Draw(Xoshiro256({0, 0, 0, 1}), 10),
            (Words{0x0000000000800000, 0x0000000000800011, 0x0002200000800011, 0x0002200044000020,
                   0x00022000448008A1, 0x01102100802208A0, 0x0114002284200880, 0x0402896644A64095,
                   0x8A14A0A244ACC891, 0x8C88BA4680B20495}));
}

TEST(SplitMix64, GivesThePublishedSequence) {
  EXPECT_EQ(Draw(SplitMix64(1234567), 5),
            (Words{6457827717110365317u, 3203168211198807973u, 9817491932198370423u,
                   4593380528125082431u, 16408922859458223821u}));
  EXPECT_EQ(Draw(SplitMix64(0), 2), (Words{0xe220a8397b1dcdaf, 0x6e789e6aa1b965f4}));
}

TEST(Xoshiro256, TakesItsStateFromFourWordsOfSplitMix64) {
  SplitMix64 words(99);
  const Xoshiro256::State state{words.Next(), words.Next(), words.Next(), words.Next()};
  EXPECT_EQ(Draw(Xoshiro256(SplitMix64(99)), 8), Draw(Xoshiro256(state), 8));
}

}  // namespace
}  // namespace orlinths
