#include "data/KeyColumn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "data/FakeData.h"
#include "support/ErrorNumberOf.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using Rows = std::vector<std::size_t>;

/// A row that holds one value.
struct OneValue : IRow {
  explicit OneValue(Value v) : value(std::move(v)) {}
  Oid OID() const override { return 0; }
  const orlinths::Fields& Fields() const override { return fields; }
  Value GetValue(int) const override { return value; }
  void SetValue(int, const Value&) override {}
  const Geometry& Shape() const override { return shape; }
  void SetShape(Geometry) override {}
  Value value;
  orlinths::Fields fields;
  Geometry shape;
};

FakeClass TableWith(FieldType type) {
  FakeClass table("fixes", GeometryType::kPoint);
  table.fields.AddField({.name = "KEY", .type = type});
  return table;
}

KeyColumn Column(FieldType type, const std::vector<Value>& values) {
  KeyColumn column(TableWith(type), "key");
  for (const Value& value : values) column.Add(OneValue(value));
  return column;
}

const double kNan = std::nan(""), kInf = std::numeric_limits<double>::infinity();
const Value kNull{Null{}};

TEST(KeyColumnTest, SortsNumbersByValueWithNullAndNoNumberFirst) {
  const auto column = Column(FieldType::kDouble, {2.5, kInf, kNull, -1.0, kNan, -kInf, 0.0, 1e-300,
                                                  -1e300, kNan, kNull, 1e300});
  EXPECT_EQ(column.Sorted(), (Rows{2, 10, 4, 9, 5, 8, 3, 6, 7, 0, 11, 1}));
  EXPECT_EQ(column.Order(2, 4), -1);
  EXPECT_EQ(column.Order(4, 9), 0);
  EXPECT_EQ(column.Order(0, 3), 1);
}

TEST(KeyColumnTest, SortsTextByCodePoint) {
  const auto column = Column(FieldType::kText, {"b", "ä", "B", "10", kNull, "9", "", "z"});
  EXPECT_EQ(column.Sorted(), (Rows{4, 6, 3, 5, 2, 0, 7, 1}));
}

TEST(KeyColumnTest, SortsDatesByTime) {
  const auto day = [](int d) { return Value(*Date::FromCivil(2026, 3, d)); };
  const auto column = Column(FieldType::kDate, {day(20), day(3), kNull, day(11), day(3)});
  EXPECT_EQ(column.Sorted(), (Rows{2, 1, 4, 3, 0}));
  EXPECT_TRUE(column.AreEqual(1, 4));
  EXPECT_FALSE(column.AreEqual(1, 3));
  EXPECT_EQ(column.At(3), day(11));
}

TEST(KeyColumnTest, TiesKeepTheirOrder) {
  EXPECT_EQ(Column(FieldType::kInteger, {1.0, 0.0, 1.0, -0.0, 0.0, 1.0}).Sorted(),
            (Rows{1, 3, 4, 0, 2, 5}));
  EXPECT_EQ(Column(FieldType::kText, {"b", "a", "b", "a"}).Sorted(), (Rows{1, 3, 0, 2}));
  EXPECT_EQ(Column(FieldType::kText, {}).Sorted(), Rows{});
}

TEST(KeyColumnTest, SortsAnyNumbersAsAPlainStableSortDoes) {
  Seeded random("KeyColumnTest.SortsAnyNumbersAsAPlainStableSortDoes");
  for (int round = 0; round < 200; ++round) {
    std::vector<Value> values;
    std::vector<double> plain;
    for (auto left = random.Whole(0, 60); left > 0; --left) {
      const double few = static_cast<double>(random.Whole(-4, 4));
      plain.push_back(random.Chance(0.5) ? few : random.Real(-1e6, 1e6));
      values.emplace_back(plain.back());
    }
    Rows expected(plain.size());
    std::iota(expected.begin(), expected.end(), std::size_t{0});
    std::ranges::stable_sort(expected, {}, [&](std::size_t i) { return plain[i]; });
    ASSERT_EQ(Column(FieldType::kDouble, values).Sorted(), expected);
  }
}

TEST(KeyColumnTest, NullAndWhatIsNoNumberEqualNothing) {
  const auto numbers = Column(FieldType::kDouble, {1.0, 1.0, 0.0, -0.0, kNull, kNull, kNan, kNan});
  EXPECT_TRUE(numbers.AreEqual(0, 1));
  EXPECT_TRUE(numbers.AreEqual(2, 3));
  EXPECT_FALSE(numbers.AreEqual(0, 2));
  EXPECT_FALSE(numbers.AreEqual(4, 5));
  EXPECT_FALSE(numbers.AreEqual(4, 4));
  EXPECT_FALSE(numbers.AreEqual(2, 4)) << "null is not 0";
  EXPECT_FALSE(numbers.AreEqual(6, 7));
  EXPECT_TRUE(numbers.IsNull(4));
  EXPECT_FALSE(numbers.IsNull(6));
  const auto texts = Column(FieldType::kText, {"a", "a", "A", "", kNull});
  EXPECT_TRUE(texts.AreEqual(0, 1));
  EXPECT_FALSE(texts.AreEqual(0, 2));
  EXPECT_FALSE(texts.AreEqual(3, 4)) << "null is not empty";
}

TEST(KeyColumnTest, GivesItsValuesBack) {
  const auto numbers = Column(FieldType::kSmallInteger, {Value(std::int16_t{7}), kNull});
  EXPECT_EQ(numbers.At(0), Value(7.0));
  EXPECT_EQ(numbers.At(1), kNull);
  EXPECT_EQ(Column(FieldType::kText, {"ä"}).At(0), Value("ä"));
  EXPECT_EQ(Column(FieldType::kOid, {Value(std::int32_t{3})}).At(0), Value(3.0));
}

TEST(KeyColumnTest, CanForgetAllButTheLastRow) {
  auto column = Column(FieldType::kText, {"a", kNull, "c"});
  column.KeepLast();
  ASSERT_EQ(column.Size(), 1U);
  EXPECT_EQ(column.At(0), Value("c"));
  column.Add(OneValue("c"));
  EXPECT_TRUE(column.AreEqual(0, 1));
  column.Add(OneValue(kNull));
  column.KeepLast();
  EXPECT_EQ(column.Size(), 1U);
  EXPECT_TRUE(column.IsNull(0));
  auto none = Column(FieldType::kDouble, {});
  none.KeepLast();
  EXPECT_EQ(none.Size(), 0U);
}

TEST(KeyColumnTest, RefusesAFieldWithoutOrder) {
  constexpr int kPlatform = -2147467259;
  for (const FieldType type : {FieldType::kGeometry, FieldType::kBlob})
    EXPECT_EQ(ErrorNumberOf([&] { KeyColumn(TableWith(type), "KEY"); }), kPlatform);
  EXPECT_EQ(ErrorNumberOf([&] { KeyColumn(TableWith(FieldType::kText), "OTHER"); }), kPlatform);
}

}  // namespace
}  // namespace orlinths
