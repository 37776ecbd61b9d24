#include "runtime/Arrays.h"

#include <gtest/gtest.h>

#include "runtime/ErrorOf.h"

namespace orlinths {
namespace {

TEST(Array1, HasAnyLowerBoundAndStartsAtZero) {
  Array1<int> cells(-2, 3);
  EXPECT_EQ(cells.LBound(), -2);
  EXPECT_EQ(cells.UBound(), 3);
  EXPECT_EQ(cells.Data().size(), 6u);
  EXPECT_EQ(cells(0), 0);
  cells(-2) = 7;
  cells(3) = 9;
  EXPECT_EQ(cells.Data().front(), 7);
  EXPECT_EQ(cells.Data().back(), 9);
}

TEST(Array1, RaisesSubscriptOutOfRange) {
  Array1<int> cells(1, 3);
  EXPECT_EQ(ErrorOf([&] { cells(0) = 1; }), 9);
  EXPECT_EQ(ErrorOf([&] { cells(4) = 1; }), 9);
  EXPECT_EQ(ErrorOf([&] { static_cast<void>(std::as_const(cells)(4)); }), 9);
  EXPECT_EQ(ErrorOf([&] { cells(1) = cells(3) = 1; }), 0);
}

TEST(Array1, WithoutCellsHasNoValidSubscript) {
  Array1<double> none;
  EXPECT_EQ(none.UBound(), -1);
  EXPECT_EQ(ErrorOf([&] { none(0) = 1; }), 9);
  const Array1<double> alsoNone(5, 4);
  EXPECT_EQ(alsoNone.Data().size(), 0u);
  EXPECT_EQ(ErrorOf([] { Array1<int>(5, 3); }), 9) << "a negative count";
}

TEST(Array1, RedimKeepsWhatIsWithinBothBounds) {
  Array1<int> cells(1, 2);
  cells(1) = 10;
  cells(2) = 20;
  cells.Redim(4);
  EXPECT_EQ(cells(2), 20);
  EXPECT_EQ(cells(4), 0);
  cells.Redim(1);
  EXPECT_EQ(cells.UBound(), 1);
  EXPECT_EQ(cells(1), 10);
  EXPECT_EQ(ErrorOf([&] { cells(2) = 1; }), 9);
  cells.Redim(2);
  EXPECT_EQ(cells(2), 0) << "what was cut off is gone";
  EXPECT_EQ(ErrorOf([&] { cells.Redim(-1); }), 9);
  EXPECT_EQ(cells.UBound(), 2);
}

TEST(Array2, IsRowMajorAndChecksEachSubscript) {
  Array2<int> cells({1, 2}, {0, 2});
  int next = 0;
  for (std::int64_t i = 1; i <= 2; ++i)
    for (std::int64_t j = 0; j <= 2; ++j) cells(i, j) = next++;
  EXPECT_EQ(cells.Data()[4], cells(2, 1));
  EXPECT_EQ(cells(2, 1), 4);
  EXPECT_EQ(cells.First().Count(), 2);
  EXPECT_EQ(cells.Second().upper, 2);
  // (1, 3) lies inside the memory, but outside its dimension.
  EXPECT_EQ(ErrorOf([&] { cells(1, 3) = 1; }), 9);
  EXPECT_EQ(ErrorOf([&] { cells(2, -1) = 1; }), 9);
  EXPECT_EQ(ErrorOf([&] { cells(0, 0) = 1; }), 9);
  EXPECT_EQ(ErrorOf([&] { cells(3, 0) = 1; }), 9);
}

TEST(Array3, IsRowMajorAndChecksEachSubscript) {
  Array3<int> cells({0, 1}, {-1, 1}, {5, 8});
  EXPECT_EQ(cells.Data().size(), 24u);
  cells(1, 0, 6) = 42;
  EXPECT_EQ(cells.Data()[(1 * 3 + 1) * 4 + 1], 42);
  EXPECT_EQ(ErrorOf([&] { cells(2, 0, 5) = 1; }), 9);
  EXPECT_EQ(ErrorOf([&] { cells(0, 2, 5) = 1; }), 9);
  EXPECT_EQ(ErrorOf([&] { cells(0, 0, 4) = 1; }), 9);
  EXPECT_EQ(ErrorOf([&] { cells(0, 0, 9) = 1; }), 9);
}

TEST(Arrays, WhoseCellsNoMemoryHoldsRaiseOutOfMemory) {
  constexpr std::int64_t kHuge = std::int64_t{1} << 40;
  EXPECT_EQ(ErrorOf([] { Array2<double>({1, kHuge}, {1, kHuge}); }), 7);
  EXPECT_EQ(ErrorOf([] { Array3<char>({1, kHuge}, {1, kHuge}, {1, 2}); }), 7);
  EXPECT_EQ(ErrorOf([] { Array1<double>(1, std::int64_t{1} << 61); }), 7);
}

}  // namespace
}  // namespace orlinths
