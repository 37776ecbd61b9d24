#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "data/Table.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using Values = std::vector<Value>;

/// Rows of one value each, in a field of a type.
class Column : public ICursor {
 public:
  Column(FieldType type, const Values& values) : row_(values) {
    row_.fields.AddField({.name = "V", .type = type});
  }
  IRow* Next() override {
    return ++row_.at < static_cast<int>(row_.values.size()) ? &row_ : nullptr;
  }

 private:
  struct Row : IRow {
    explicit Row(const Values& list) : values(list) {}
    Oid OID() const override { return at; }
    const orlinths::Fields& Fields() const override { return fields; }
    Value GetValue(int) const override { return values[static_cast<std::size_t>(at)]; }
    void SetValue(int, const Value&) override {}
    const Geometry& Shape() const override { return shape; }
    void SetShape(Geometry) override {}
    const Values& values;
    int at = -1;
    orlinths::Fields fields;
    Geometry shape;
  };
  Row row_;
};

/// A value a row, all of them sorted.
Values Plain(Values values) {
  std::erase_if(values, [](const Value& v) { return v.IsNull(); });
  std::sort(values.begin(), values.end(),
            [](const Value& a, const Value& b) { return Compare(a, b) < 0; });
  values.erase(std::unique(values.begin(), values.end(),
                           [](const Value& a, const Value& b) { return Compare(a, b) == 0; }),
               values.end());
  return values;
}

enum class Arrangement { kRandom, kAscending, kDescending };

Value Draw(Seeded& random, FieldType type, double different) {
  if (random.Chance(0.02)) return Null{};
  const double number = std::floor(random.Real(-different, different));
  switch (type) {
    case FieldType::kInteger:
      return static_cast<std::int32_t>(number);
    case FieldType::kSingle:
      return static_cast<float>(number) / 3;
    case FieldType::kDouble:
      return number * std::pow(10, number / different * 300);
    case FieldType::kDate:
      return Date{static_cast<std::int64_t>(number) * 1001};
    default: {
      // Short, long, alike for more than eight bytes, with a zero byte, beyond ASCII.
      const char* const before[] = {"",          "a",        "the same beginning ",
                                    "z\xC3\xBC", "12345678", "1234567"};
      if (random.Chance(0.1))  // alike for longer than is looked at in pieces
        return std::string(static_cast<std::size_t>(random.Whole(60, 70)), 'x') + ToText(number);
      std::string text = before[random.Whole(0, 5)] + ToText(number);
      if (random.Chance(0.1)) text.insert(text.begin() + random.Whole(0, std::ssize(text)), '\0');
      return text;
    }
  }
}

class UniqueValuesOf : public ::testing::TestWithParam<FieldType> {};

TEST_P(UniqueValuesOf, AnyShapeOfColumnAreThoseSortedPlainly) {
  Seeded random("UniqueValuesOf." + std::to_string(static_cast<int>(GetParam())));
  // Few and many different ones among few and many rows, on both sides of what is remembered.
  for (const auto& [rows, different] : {std::pair{0, 1.0},
                                        {1, 1.0},
                                        {500, 3.0},
                                        {500, 1e6},
                                        {100'000, 40.0},
                                        {100'000, 3e4},
                                        {100'000, 5e8}}) {
    for (const auto arrangement :
         {Arrangement::kRandom, Arrangement::kAscending, Arrangement::kDescending}) {
      Values values;
      for (int i = 0; i < rows; ++i) values.push_back(Draw(random, GetParam(), different));
      if (arrangement != Arrangement::kRandom) {
        values = Plain(values);
        if (arrangement == Arrangement::kDescending) std::ranges::reverse(values);
      }
      Column column(GetParam(), values);
      ASSERT_EQ(UniqueValues(column, 0), Plain(values)) << rows << ' ' << different;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Types, UniqueValuesOf,
                         ::testing::Values(FieldType::kInteger, FieldType::kSingle,
                                           FieldType::kDouble, FieldType::kText, FieldType::kDate));

TEST(UniqueValuesTest, OfMixedTypesNumbersComeBeforeTexts) {
  const Values values{Value("b"),  Value(2.0),          Value("10"),
                      Value(-1.0), Value(std::nan("")), Value("b"),
                      Value(2.0),  Value(Null{}),       Value(std::nan(""))};
  Column column(FieldType::kBlob, values);
  const Values unique = UniqueValues(column, 0);
  ASSERT_EQ(unique.size(), 5U);
  EXPECT_TRUE(std::isnan(*unique[0].As<double>()));
  EXPECT_EQ(Values(unique.begin() + 1, unique.end()),
            (Values{Value(-1.0), Value(2.0), Value("10"), Value("b")}));
}

TEST(UniqueValuesTest, InfinityIsAValueLikeOthers) {
  const double infinity = std::numeric_limits<double>::infinity();
  const Values values{Value(infinity), Value(0.0), Value(-infinity), Value(-0.0)};
  Column column(FieldType::kDouble, values);
  EXPECT_EQ(UniqueValues(column, 0), (Values{Value(-infinity), Value(0.0), Value(infinity)}));
}

}  // namespace
}  // namespace orlinths
