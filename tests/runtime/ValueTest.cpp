#include "runtime/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "runtime/ErrorOf.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Value, KnowsWhatItHolds) {
  EXPECT_TRUE(Value().IsEmpty());
  EXPECT_TRUE(Value(Null{}).IsNull());
  EXPECT_TRUE(Value("1").IsText());
  EXPECT_FALSE(Value("1").IsNumber());
  EXPECT_TRUE(Value(Date{}).IsDate());
  EXPECT_FALSE(Value(Date{}).IsNumber());
  for (const Value& number :
       {Value(std::int16_t{1}), Value(std::int32_t{1}), Value(1.0f), Value(1.0)})
    EXPECT_TRUE(number.IsNumber());
  EXPECT_FALSE(Value().IsNumber());
  EXPECT_FALSE(Value(Null{}).IsNumber());
}

TEST(Value, EqualsByTypeAndContent) {
  EXPECT_EQ(Value(1.0), Value(1.0));
  EXPECT_NE(Value(1.0), Value(1.0f));
  EXPECT_NE(Value(std::int16_t{1}), Value(std::int32_t{1}));
  EXPECT_EQ(Value(0.0), Value(-0.0));
  EXPECT_EQ(Value(Null{}), Value(Null{}));
  EXPECT_NE(Value(), Value(""));
}

TEST(Value, ATrueFlagIsMinusOne) {
  EXPECT_EQ(*Flag(true).As<std::int16_t>(), -1);
  EXPECT_EQ(*Flag(false).As<std::int16_t>(), 0);
}

TEST(ToLong, RoundsHalvesToEven) {
  const struct {
    double from;
    std::int32_t to;
  } cases[] = {{0.5, 0},
               {1.5, 2},
               {2.5, 2},
               {3.5, 4},
               {-0.5, 0},
               {-1.5, -2},
               {-2.5, -2},
               {-3.5, -4},
               {2.4999999999, 2},
               {2.5000000001, 3},
               {-2.4999, -2},
               {-2.50001, -3},
               {0.49999999999999994, 0},
               {7, 7}};
  for (const auto& c : cases) {
    EXPECT_EQ(ToLong(c.from), c.to) << c.from;
    EXPECT_EQ(ToInteger(c.from), c.to) << c.from;
    EXPECT_EQ(ToLong(Value(c.from)), c.to) << c.from;
  }
  EXPECT_EQ(ToLong(Value("2.5")), 2);
  EXPECT_EQ(ToInteger(Value("3.5")), 4);
  EXPECT_EQ(ToLong(Value(2.5f)), 2);
}

TEST(ToLong, RaisesOverflowOutsideItsType) {
  EXPECT_EQ(ToLong(2147483647.4), 2147483647);
  EXPECT_EQ(ToLong(-2147483648.5), -2147483648LL) << "a half goes to the even neighbour";
  EXPECT_EQ(ErrorOf([] { ToLong(2147483647.5); }), 6) << "its even neighbour is outside";
  EXPECT_EQ(ErrorOf([] { ToLong(-2147483649.0); }), 6);
  EXPECT_EQ(ToInteger(32767.4), 32767);
  EXPECT_EQ(ErrorOf([] { ToInteger(32767.5); }), 6);
  EXPECT_EQ(ToInteger(-32768.5), -32768);
  EXPECT_EQ(ErrorOf([] { ToInteger(-32769.0); }), 6);
  EXPECT_EQ(ErrorOf([] { ToInteger(Value(std::int32_t{40000})); }), 6);
  for (const double bad : {kInf, -kInf, kNaN}) {
    EXPECT_EQ(ErrorOf([&] { ToLong(bad); }), 6);
    EXPECT_EQ(ErrorOf([&] { ToInteger(bad); }), 6);
  }
}

TEST(ToLong, AgreesWithTheProcessorsOwnRounding) {
  Seeded random("ToLong.AgreesWithTheProcessorsOwnRounding");
  for (int i = 0; i < 20000; ++i) {
    const double v = static_cast<double>(random.Whole(-40000, 40000)) / 4;
    ASSERT_EQ(ToLong(v), static_cast<std::int32_t>(std::nearbyint(v))) << v;
  }
}

TEST(ToSingle, RaisesOverflowBeyondASingle) {
  EXPECT_EQ(ToSingle(Value(0.1)), 0.1f);
  EXPECT_EQ(ToSingle(Value(3.4028234663852886e38)), std::numeric_limits<float>::max());
  EXPECT_EQ(ErrorOf([] { ToSingle(Value(3.5e38)); }), 6);
  EXPECT_EQ(ErrorOf([] { ToSingle(Value(-1e300)); }), 6);
  EXPECT_EQ(ErrorOf([] { ToSingle(Value("1e39")); }), 6);
  EXPECT_EQ(ErrorOf([] { ToSingle(Value(kNaN)); }), 6);
}

TEST(Conversions, OfEmptyGiveZero) {
  EXPECT_EQ(ToDouble(Value()), 0);
  EXPECT_EQ(ToSingle(Value()), 0);
  EXPECT_EQ(ToLong(Value()), 0);
  EXPECT_EQ(ToInteger(Value()), 0);
  EXPECT_EQ(ToText(Value()), "");
}

TEST(Conversions, OfNullRaiseInvalidUseOfNull) {
  const Value null{Null{}};
  EXPECT_EQ(ErrorOf([&] { ToDouble(null); }), 94);
  EXPECT_EQ(ErrorOf([&] { ToSingle(null); }), 94);
  EXPECT_EQ(ErrorOf([&] { ToLong(null); }), 94);
  EXPECT_EQ(ErrorOf([&] { ToInteger(null); }), 94);
  EXPECT_EQ(ErrorOf([&] { ToText(null); }), 94);
}

TEST(Conversions, OfADateGiveItsSerialNumber) {
  EXPECT_EQ(ToDouble(Value(*Date::FromCivil(1899, 12, 30))), 0);
  EXPECT_EQ(ToDouble(Value(*Date::FromCivil(2026, 3, 1, 12))), 46082.5);
  EXPECT_EQ(ToLong(Value(*Date::FromCivil(1900, 1, 1))), 2);
}

TEST(NumberText, ReadsBlanksSignPointAndExponent) {
  const struct {
    const char* text;
    double number;
  } cases[] = {{"0", 0},
               {"12", 12},
               {"-12", -12},
               {"+12", 12},
               {"1.5", 1.5},
               {".5", 0.5},
               {"-.5", -0.5},
               {"5.", 5},
               {"  7\t", 7},
               {"\r\n7 ", 7},
               {"1e3", 1000},
               {"1E3", 1000},
               {"1e+3", 1000},
               {"25E-2", 0.25},
               {"007", 7},
               {"1e-400", 0},
               {"0.1", 0.1},
               {"0e99999", 0},
               {"4.9e-324", 4.9406564584124654e-324},
               {"1.7976931348623157e308", std::numeric_limits<double>::max()}};
  for (const auto& c : cases) {
    EXPECT_EQ(ToDouble(std::string_view(c.text)), c.number) << c.text;
    EXPECT_EQ(ToDouble(Value(c.text)), c.number) << c.text;
    EXPECT_TRUE(IsNumeric(std::string_view(c.text))) << c.text;
    EXPECT_TRUE(IsNumeric(Value(c.text))) << c.text;
  }
}

TEST(NumberText, OfWhatIsNoNumberRaisesTypeMismatch) {
  for (const char* text : {"",
                           " ",
                           ".",
                           "-",
                           "+-1",
                           "--1",
                           "1 2",
                           "1,5",
                           "1.2.3",
                           "1e",
                           "1e+",
                           "e5",
                           "abc",
                           "1x",
                           "0x10",
                           "inf",
                           "-inf",
                           "nan",
                           "1e5.5",
                           "- 5",
                           "\xC2\xA0"
                           "5"}) {
    EXPECT_EQ(ErrorOf([&] { ToDouble(std::string_view(text)); }), 13) << text;
    EXPECT_EQ(ErrorOf([&] { ToLong(Value(text)); }), 13) << text;
    EXPECT_FALSE(IsNumeric(std::string_view(text))) << text;
  }
}

TEST(NumberText, BeyondADoubleRaisesOverflowAndIsNotNumeric) {
  const std::string manyDigits(400, '9');
  const std::string zeros(400, '0');
  for (const std::string& text :
       {std::string("1e309"), std::string("-1e999"), manyDigits, manyDigits + "e-1",
        std::string("0.00001e400"), std::string("1e99999999999999999999")}) {
    EXPECT_EQ(ErrorOf([&] { ToDouble(std::string_view(text)); }), 6) << text;
    EXPECT_FALSE(IsNumeric(std::string_view(text))) << text;
  }
  EXPECT_EQ(ToDouble(std::string_view("0." + zeros + "1")), 0);
  EXPECT_EQ(ToDouble(std::string_view("1" + zeros + "e-800")), 0);
  EXPECT_EQ(ToDouble(std::string_view("1" + zeros + "e-400")), 1);
}

TEST(IsNumeric, OfValuesIsTrueForNumbersAndEmpty) {
  EXPECT_TRUE(IsNumeric(Value()));
  EXPECT_TRUE(IsNumeric(Value(1.5)));
  EXPECT_TRUE(IsNumeric(Value(std::int16_t{1})));
  EXPECT_FALSE(IsNumeric(Value(Null{})));
  EXPECT_FALSE(IsNumeric(Value(Date{})));
  EXPECT_FALSE(IsNumeric(Value("")));
}

TEST(ToText, HasFifteenDigitsInShortestForm) {
  const struct {
    double number;
    const char* text;
  } cases[] = {{0, "0"},
               {-0.0, "0"},
               {1, "1"},
               {-1.5, "-1.5"},
               {0.1, "0.1"},
               {1.0 / 3, "0.333333333333333"},
               {2.0 / 3, "0.666666666666667"},
               {0.1 + 0.2, "0.3"},
               {100, "100"},
               {123456789012345, "123456789012345"},
               {999999999999999, "999999999999999"},
               {1e15, "1E+15"},
               {1234567890123456, "1.23456789012346E+15"},
               {0.0001, "0.0001"},
               {0.00001, "1E-05"},
               {0.000012345, "1.2345E-05"},
               {1e100, "1E+100"},
               {-2.5e-300, "-2.5E-300"},
               {500000.25, "500000.25"}};
  for (const auto& c : cases) {
    EXPECT_EQ(ToText(c.number), c.text);
    EXPECT_EQ(ToText(Value(c.number)), c.text);
  }
}

TEST(ToText, OfASingleHasSevenDigits) {
  EXPECT_EQ(ToText(0.1f), "0.1");
  EXPECT_EQ(ToText(1.0f / 3), "0.3333333");
  EXPECT_EQ(ToText(Value(9999999.0f)), "9999999");
  EXPECT_EQ(ToText(16777216.0f), "1.677722E+07");
}

TEST(ToText, OfWholeNumbersTextAndDates) {
  EXPECT_EQ(ToText(Value(std::int16_t{-32768})), "-32768");
  EXPECT_EQ(ToText(Value(std::numeric_limits<std::int32_t>::min())), "-2147483648");
  EXPECT_EQ(ToText(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
  EXPECT_EQ(ToText(Value(" a b ")), " a b ");
  EXPECT_EQ(ToText(Value(*Date::FromCivil(2026, 3, 1))), "2026-03-01");
}

TEST(ToText, ReadsBackToFifteenDigits) {
  Seeded random("ToText.ReadsBackToFifteenDigits");
  for (int i = 0; i < 5000; ++i) {
    const double v =
        random.Real(-1, 1) * std::pow(10.0, static_cast<double>(random.Whole(-30, 30)));
    ASSERT_NEAR(ToDouble(ToText(v)), v, std::abs(v) * 5.1e-15);
  }
}

TEST(Compare, OrdersNumbersByValueWhateverTheirType) {
  EXPECT_EQ(Compare(Value(std::int16_t{2}), Value(2.0)), 0);
  EXPECT_EQ(Compare(Value(1.5f), Value(std::int32_t{2})), -1);
  EXPECT_EQ(Compare(Value(10.0), Value(9.0)), 1);
}

TEST(Compare, OrdersTextByCodePoint) {
  EXPECT_EQ(Compare(Value("10"), Value("9")), -1) << "as text, not as number";
  EXPECT_EQ(Compare(Value("B"), Value("a")), -1);
  EXPECT_EQ(Compare(Value("a"), Value("ab")), -1);
  EXPECT_EQ(Compare(Value("z"), Value("\xC3\xA4")), -1) << "a-umlaut comes after z";
  EXPECT_EQ(Compare(Value("x"), Value("x")), 0);
}

TEST(Compare, PutsNumbersBeforeTextAndDatesAmongNumbers) {
  EXPECT_EQ(Compare(Value(1e300), Value("")), -1);
  EXPECT_EQ(Compare(Value("0"), Value(1.0)), 1);
  EXPECT_EQ(Compare(Value(*Date::FromCivil(1900, 1, 1)), Value(2.0)), 0);
  EXPECT_EQ(Compare(Value(*Date::FromCivil(2026, 1, 2)), Value(*Date::FromCivil(2026, 1, 1))), 1);
  EXPECT_EQ(Compare(Value(*Date::FromCivil(2026, 1, 2)), Value("2026-01-02")), -1);
}

TEST(Compare, TakesEmptyForZeroOrEmptyText) {
  EXPECT_EQ(Compare(Value(), Value(0.0)), 0);
  EXPECT_EQ(Compare(Value(), Value(-1.0)), 1);
  EXPECT_EQ(Compare(Value(), Value("")), 0);
  EXPECT_EQ(Compare(Value("a"), Value()), 1);
  EXPECT_EQ(Compare(Value(), Value()), 0);
}

TEST(Compare, OfNullRaisesInvalidUseOfNull) {
  EXPECT_EQ(ErrorOf([] { Compare(Value(Null{}), Value(1.0)); }), 94);
  EXPECT_EQ(ErrorOf([] { Compare(Value("a"), Value(Null{})); }), 94);
}

TEST(IntAndFix, RoundDownAndTowardsZero) {
  EXPECT_EQ(Int(2.9), 2);
  EXPECT_EQ(Int(-2.1), -3);
  EXPECT_EQ(Int(-2.0), -2);
  EXPECT_EQ(Fix(2.9), 2);
  EXPECT_EQ(Fix(-2.9), -2);
}

}  // namespace
}  // namespace orlinths
