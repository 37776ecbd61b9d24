#include "data/Table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <set>

#include "data/Workspace.h"
#include "support/Seeded.h"
#include "support/TempFolder.h"
#include "support/Wkt.h"

namespace orlinths {
namespace {

using Oids = std::vector<Oid>;

TEST(CommitAllEdits, TriesEveryoneAndRaisesTheFirstFailure) {
  std::vector<int> tried;
  const auto fails = [&](int who) {
    return [&tried, who] {
      tried.push_back(who);
      throw RuntimeError::Platform("party " + ToText(who));
    };
  };
  const EditKeeper first([&] { tried.push_back(1); });
  std::optional<EditKeeper> second(fails(2));
  const EditKeeper third(fails(3));
  std::string said;
  try {
    CommitAllEdits();
  } catch (const RuntimeError& failure) {
    said = failure.Description();
  }
  EXPECT_EQ(said, "party 2");
  EXPECT_EQ(tried, (std::vector{1, 2, 3}));
  second.reset();
  tried.clear();
  EXPECT_THROW(CommitAllEdits(), RuntimeError);
  EXPECT_EQ(tried, (std::vector{1, 3}));
}

TEST(SelectionSet, IsAscendingAndHoldsEachOnce) {
  ISelectionSet set({5, 1, 5, 3});
  EXPECT_EQ(set.Oids(), (Oids{1, 3, 5}));
  set.Add(4);
  set.Add(1);
  set.Add(9);
  EXPECT_EQ(set.Count(), 5);
  EXPECT_TRUE(set.Contains(4));
  EXPECT_FALSE(set.Contains(2));
  EXPECT_EQ(set, ISelectionSet({9, 5, 4, 3, 1}));
  set.Clear();
  EXPECT_EQ(set.Count(), 0);
  set.Add(2);
  EXPECT_EQ(set.Oids(), (Oids{2}));
}

TEST(SelectionSet, EqualsASetUnderRandomUse) {
  Seeded random("SelectionSet.EqualsASetUnderRandomUse");
  for (int round = 0; round < 100; ++round) {
    ISelectionSet set;
    std::set<Oid> plain;
    for (int i = 0; i < 60; ++i) {
      const Oid oid = random.Whole(0, 40);
      if (random.Chance(0.3)) {
        ASSERT_EQ(set.Contains(oid), plain.contains(oid));
      } else {
        set.Add(oid);
        plain.insert(oid);
      }
      if (random.Chance(0.1)) {
        ASSERT_EQ(set.Count(), static_cast<std::int64_t>(plain.size()));
      }
    }
    ASSERT_EQ(set.Oids(), Oids(plain.begin(), plain.end()));
  }
}

TEST(SelectionSet, Combines) {
  const ISelectionSet a({1, 2, 3}), b({2, 3, 4});
  using enum ISelectionSet::Operation;
  EXPECT_EQ(a.Combine(b, kUnion).Oids(), (Oids{1, 2, 3, 4}));
  EXPECT_EQ(a.Combine(b, kIntersection).Oids(), (Oids{2, 3}));
  EXPECT_EQ(a.Combine(b, kDifference).Oids(), (Oids{1}));
  EXPECT_EQ(a.Combine(b, kSymmetricDifference).Oids(), (Oids{1, 4}));
  EXPECT_EQ(a.Combine({}, kIntersection).Oids(), Oids{});
}

TEST(FieldsTest, AreFoundWithoutRegardToCase) {
  Fields fields{{.name = "FID"}, {.name = "Name"}};
  EXPECT_EQ(fields.FindField("nAME"), 1);
  EXPECT_EQ(fields.FindField("Nam"), -1);
  EXPECT_EQ(fields.FindField(""), -1);
  fields.AddField({.name = "X"});
  fields.Remove(0);
  EXPECT_EQ(fields.FieldCount(), 2);
  EXPECT_EQ(fields[0].name, "Name");
  EXPECT_EQ(fields[1].name, "X");
  EXPECT_THROW(fields.At(2), RuntimeError);
  EXPECT_THROW(fields.At(-1), RuntimeError);
  EXPECT_THROW(fields.Remove(2), RuntimeError);
}

/// Rows of one value each.
class Values : public ICursor {
 public:
  explicit Values(std::vector<Value> list) : row_{std::move(list)} {}
  IRow* Next() override {
    return ++row_.at < static_cast<int>(row_.values.size()) ? &row_ : nullptr;
  }

 private:
  struct Row : IRow {
    explicit Row(std::vector<Value> list) : values(std::move(list)) {}
    Oid OID() const override { return at; }
    const orlinths::Fields& Fields() const override { return fields; }
    Value GetValue(int) const override { return values[static_cast<std::size_t>(at)]; }
    void SetValue(int, const Value&) override {}
    const Geometry& Shape() const override { return shape; }
    void SetShape(Geometry newShape) override { shape = std::move(newShape); }
    std::vector<Value> values;
    int at = -1;
    orlinths::Fields fields;
    Geometry shape;
  };
  Row row_;
};

TEST(UniqueValuesTest, AscendWithoutNulls) {
  Values numbers({Value(3.0), Value(Null{}), Value(-1.5), Value(3.0), Value(0.0), Value(-1.5)});
  EXPECT_EQ(UniqueValues(numbers, 0), (std::vector<Value>{Value(-1.5), Value(0.0), Value(3.0)}));
  Values texts({Value("b"), Value(""), Value("B"), Value("ä"), Value("b"), Value("z")});
  EXPECT_EQ(UniqueValues(texts, 0),
            (std::vector<Value>{Value(""), Value("B"), Value("b"), Value("z"), Value("ä")}));
  Values whole(
      {Value(std::int32_t{10}), Value(std::int32_t{9}), Value(std::int32_t{10}), Value(3e9)});
  EXPECT_EQ(UniqueValues(whole, 0),
            (std::vector<Value>{Value(std::int32_t{9}), Value(std::int32_t{10}), Value(3e9)}));
  Values none({Value(Null{})});
  EXPECT_TRUE(UniqueValues(none, 0).empty());
  Values odd({Value(std::nan("")), Value(1.0), Value(std::nan("")), Value(-1.0)});
  const std::vector<Value> sorted = UniqueValues(odd, 0);
  ASSERT_EQ(sorted.size(), 3U);
  EXPECT_TRUE(std::isnan(*sorted[0].As<double>()));
}

TEST(RowShapes, AnswerAsTheirType) {
  Values rows({Value(1.0)});
  IRow* row = rows.Next();
  const auto numberOf = [](auto call) {
    try {
      call();
    } catch (const RuntimeError& error) {
      return error.Number();
    }
    return 0;
  };
  EXPECT_EQ(numberOf([&] { row->Polygon(); }), 91);
  row->SetShape(Polygon());
  EXPECT_EQ(numberOf([&] { row->Polygon(); }), 91);
  EXPECT_EQ(numberOf([&] { row->Line(); }), 91);
  row->SetShape(Wkt("POINT(1 2)"));
  EXPECT_EQ(row->Point().y, 2);
  EXPECT_EQ(numberOf([&] { row->Line(); }), 13);
  EXPECT_EQ(row->Extent(), (Envelope{1, 2, 1, 2}));
}

class SortTest : public ::testing::Test {
 protected:
  TablePtr Table(const std::vector<std::pair<int, std::string>>& rows) {
    const TablePtr table = CreateTable(folder.Path(), "t",
                                       {{.name = "N", .type = FieldType::kInteger},
                                        {.name = "T", .type = FieldType::kText, .length = 10}});
    const CursorPtr into = table->Insert();
    const auto row = table->CreateRowBuffer();
    for (const auto& [number, text] : rows) {
      row->SetValue(1, Value(std::int32_t{number}));
      row->SetValue(2, Value(text));
      into->InsertRow(*row);
    }
    into->Flush();
    return table;
  }
  TempFolder folder;
};

TEST_F(SortTest, UniqueValuesAreThoseOfASetOfValues) {
  Seeded random("SortTest.UniqueValuesAreThoseOfASetOfValues");
  std::vector<std::pair<int, std::string>> rows;
  std::set<int> numbers;
  std::set<std::string> texts;
  for (int i = 0; i < 2000; ++i) {
    const auto number = static_cast<int>(random.Whole(-40, 40));
    const std::string text(static_cast<std::size_t>(random.Whole(0, 3)),
                           static_cast<char>('a' + random.Whole(0, 5)));
    rows.emplace_back(number, text);
    numbers.insert(number);
    texts.insert(text);
  }
  const TablePtr table = Table(rows);
  std::vector<Value> expected;
  for (const int number : numbers) expected.emplace_back(std::int32_t{number});
  EXPECT_EQ(UniqueValues(*table->Search(), 1), expected);
  expected.clear();
  for (const std::string& text : texts) expected.emplace_back(text);
  EXPECT_EQ(UniqueValues(*table->Search(), 2), expected);
}

TEST_F(SortTest, UniqueValuesMayBeMoreThanAreRemembered) {
  constexpr int kCount = 70'000;
  std::vector<std::pair<int, std::string>> rows;
  for (int i = 0; i < 2 * kCount; ++i) rows.emplace_back(i * 11 % kCount, "");
  const std::vector<Value> values = UniqueValues(*Table(rows)->Search(), 1);
  ASSERT_EQ(values.size(), std::size_t{kCount});
  for (int i = 0; i < kCount; ++i)
    ASSERT_EQ(values[static_cast<std::size_t>(i)], Value(std::int32_t{i}));
}

TEST_F(SortTest, IsStableAscendingAndByCodePoint) {
  const TablePtr table = Table({{2, "b"}, {1, "ä"}, {2, "B"}, {1, "z"}, {-5, ""}, {2, "b"}});
  EXPECT_EQ(SortedOids(*table, {"N"}), (Oids{4, 1, 3, 0, 2, 5}));
  EXPECT_EQ(SortedOids(*table, {"T"}), (Oids{4, 2, 0, 5, 3, 1}));
  EXPECT_EQ(SortedOids(*table, {"n", "t"}), (Oids{4, 3, 1, 2, 0, 5}));
  const ISelectionSet among({0, 3, 4, 99});
  EXPECT_EQ(SortedOids(*table, {"N"}, &among), (Oids{4, 3, 0}));
  EXPECT_EQ(SortedOids(*table, {}), (Oids{0, 1, 2, 3, 4, 5}));
  EXPECT_THROW(SortedOids(*table, {"NONE"}), RuntimeError);
}

}  // namespace
}  // namespace orlinths
