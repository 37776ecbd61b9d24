#include "gdal/DbfFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "ShapefileFixture.h"
#include "data/ColumnValue.h"
#include "gdal/DbfText.h"
#include "runtime/RuntimeError.h"
#include "support/Seeded.h"

namespace orlinths {
namespace {

using ::testing::HasSubstr;
constexpr int kPlatform = static_cast<int>(ErrorNumber::kPlatform);

std::string Encoded(double v, NumberForm form, int width, int decimals = 0) {
  std::string text(static_cast<std::size_t>(width), '?');
  return EncodeNumber(v, form, width, decimals, text.data()) ? text : "too large";
}

/// Any bit pattern that is a finite number.
template <class Float, class Bits>
Float AnyFinite(Seeded& random) {
  for (;;) {
    const auto bits = static_cast<Bits>(random.Whole(std::numeric_limits<std::int64_t>::min() / 2,
                                                     std::numeric_limits<std::int64_t>::max() / 2) *
                                            2 +
                                        random.Whole(0, 1));
    const auto v = std::bit_cast<Float>(bits);
    if (std::isfinite(v)) return v;
  }
}

double Decoded(const std::string& text, int decimals) {
  DbfColumn column;
  column.type = 'N';
  column.width = static_cast<int>(text.size());
  column.decimals = decimals;
  return DecodeNumber(text, column);
}

TEST(DbfNumber, EveryDoubleFitsItsColumnAndComesBackToTheBit) {
  Seeded random("DbfNumber.EveryDouble");
  std::vector<double> numbers{0,
                              1,
                              -1,
                              0.1,
                              1e308,
                              std::numeric_limits<double>::max(),
                              std::numeric_limits<double>::lowest(),
                              std::numeric_limits<double>::min(),
                              -std::numeric_limits<double>::denorm_min(),
                              -1.7976931348623157e-308};
  for (int i = 0; i < 20000; ++i) numbers.push_back(AnyFinite<double, std::uint64_t>(random));
  for (const double v : numbers) {
    const std::string text = Encoded(v, NumberForm::kExponent, 24, 16);
    ASSERT_EQ(Decoded(text, 16), v) << text;
    ASSERT_NE(text.find('e'), std::string::npos) << text;
  }
}

TEST(DbfNumber, EverySingleFitsItsColumnAndComesBackToTheBit) {
  Seeded random("DbfNumber.EverySingle");
  for (int i = 0; i < 20000; ++i) {
    const auto v = AnyFinite<float, std::uint32_t>(random);
    const std::string text = Encoded(v, NumberForm::kExponentSingle, 16, 8);
    ASSERT_EQ(static_cast<float>(Decoded(text, 8)), v) << text;
  }
}

TEST(DbfNumber, IsWrittenAsItsColumnSays) {
  struct Case {
    double v;
    NumberForm form;
    int width, decimals;
    const char* text;
  };
  for (const Case& c : std::initializer_list<Case>{
           {7, NumberForm::kWhole, 4, 0, "   7"},
           {-999, NumberForm::kWhole, 4, 0, "-999"},
           {-1000, NumberForm::kWhole, 4, 0, "too large"},
           {1e15, NumberForm::kWhole, 18, 0, "  1000000000000000"},
           {1e20, NumberForm::kWhole, 21, 0, "100000000000000000000"},
           {3.14159, NumberForm::kFixed, 8, 3, "   3.142"},
           {-1234.5, NumberForm::kFixed, 8, 3,
            "-1234.50"},  // three decimals have no room, two have
           {123456.75, NumberForm::kFixed, 6, 3, "123457"},    // none has room
           {999999.5, NumberForm::kFixed, 6, 3, "too large"},  // rounds to a seventh digit
           {9.9996, NumberForm::kFixed, 5, 3, "10.00"},
           {0, NumberForm::kExponent, 24, 16, "                   0e+00"},
           {-0.0, NumberForm::kExponent, 24, 16, "                   0e+00"},
           {1.0 / 3, NumberForm::kExponent, 12, 11,
            "3.333333e-01"},  // a narrow column of another program
           {1e-300, NumberForm::kExponent, 6, 2, "1e-300"},
           {-1e-300, NumberForm::kExponent, 6, 2, "too large"},
       })
    EXPECT_EQ(Encoded(c.v, c.form, c.width, c.decimals), c.text) << c.v;
}

TEST(DbfNumber, BlankStarredAndUnreadableOnesAreZero) {
  for (const char* text : {"", "    ", "****", "  **", "abc", "-"})
    for (const int decimals : {0, 2}) EXPECT_EQ(Decoded(text, decimals), 0) << text;
  EXPECT_EQ(Decoded("  12", 0), 12);
  EXPECT_EQ(Decoded("+12 ", 0), 12);
  EXPECT_EQ(Decoded("12.7", 0), 12) << "a column of whole numbers";
  EXPECT_EQ(Decoded("12.7", 1), 12.7);
  EXPECT_EQ(Decoded(" -1.5E+003", 2), -1500);
  EXPECT_EQ(Decoded("12,5", 2), 12);
  EXPECT_TRUE(std::isnan(Decoded("nan", 2))) << "what is not finite is for whoever uses it";
  EXPECT_TRUE(std::isinf(Decoded("1e999", 2)));
}

TEST(DbfDate, IsEightDigitsAndAnythingElseIsNone) {
  std::array<char, 8> text;
  EncodeDate(*Date::FromCivil(987, 6, 5, 23, 59), text.data());
  EXPECT_EQ(std::string(text.data(), 8), "09870605");
  EXPECT_EQ(DecodeDate("20240229"), Date::FromCivil(2024, 2, 29));
  for (const char* bad : {"        ", "20230229", "00000000", "2024-1-1", "2024", ""})
    EXPECT_FALSE(DecodeDate(bad)) << bad;
}

TEST(DbfColumn, OfEveryFieldTypeIsWhatReadsBackAsThatType) {
  struct Case {
    FieldType type;
    char letter;
    int width, decimals;
    FieldType readsAs;
  };
  for (const Case& c : {Case{FieldType::kSmallInteger, 'N', 4, 0, FieldType::kSmallInteger},
                        Case{FieldType::kInteger, 'N', 11, 0, FieldType::kInteger},
                        Case{FieldType::kSingle, 'F', 16, 8, FieldType::kSingle},
                        Case{FieldType::kDouble, 'F', 24, 16, FieldType::kDouble},
                        Case{FieldType::kText, 'C', 50, 0, FieldType::kText},
                        Case{FieldType::kDate, 'D', 8, 0, FieldType::kDate},
                        Case{FieldType::kOid, 'N', 11, 0, FieldType::kInteger}}) {
    const DbfColumn column = ColumnFor(MakeColumn("A", c.type));
    EXPECT_EQ(column.type, c.letter);
    EXPECT_EQ(column.width, c.width);
    EXPECT_EQ(column.decimals, c.decimals);
    EXPECT_EQ(FieldFor(column).type, c.readsAs);
    // A number's length is display only.
    if (c.type != FieldType::kText) {
      EXPECT_EQ(ColumnFor(MakeColumn("A", c.type, 6)).width, c.width);
    }
  }
  EXPECT_EQ(ColumnFor(MakeColumn("A", FieldType::kText, 254)).width, 254);
  EXPECT_EQ(ErrorOf([] { ColumnFor(MakeColumn("A", FieldType::kText, 255)); }), kPlatform);
  EXPECT_EQ(ErrorOf([] { ColumnFor(MakeColumn("A", FieldType::kBlob)); }), kPlatform);
}

TEST(DbfColumn, ReadsAsThePlatformSays) {
  const auto typeOf = [](char type, int width, int decimals) {
    return FieldFor(DbfColumn{"A", type, width, decimals, 1, ""}).type;
  };
  EXPECT_EQ(typeOf('N', 1, 0), FieldType::kSmallInteger);
  EXPECT_EQ(typeOf('N', 4, 0), FieldType::kSmallInteger);
  EXPECT_EQ(typeOf('N', 5, 0), FieldType::kInteger);
  EXPECT_EQ(typeOf('N', 11, 0), FieldType::kInteger);
  EXPECT_EQ(typeOf('N', 12, 0), FieldType::kDouble);
  EXPECT_EQ(typeOf('N', 3, 1), FieldType::kDouble);
  EXPECT_EQ(typeOf('F', 16, 0), FieldType::kSingle);
  EXPECT_EQ(typeOf('F', 13, 11), FieldType::kSingle);
  EXPECT_EQ(typeOf('F', 17, 8), FieldType::kDouble);
  EXPECT_EQ(typeOf('L', 1, 0), FieldType::kText);
  EXPECT_EQ(typeOf('D', 8, 0), FieldType::kDate);
  const Field read = FieldFor(DbfColumn{"A", 'N', 14, 3, 1, ""});
  EXPECT_EQ(read.length, 14);
  EXPECT_EQ(read.precision, 14);
  EXPECT_EQ(read.scale, 3);
  const Field text = FieldFor(DbfColumn{"T", 'C', 20, 0, 1, ""});
  EXPECT_EQ(text.length, 20);
  EXPECT_EQ(text.precision, 20);
  EXPECT_EQ(text.scale, 0);
  // Beyond 32 bits an integer column answers with doubles.
  EXPECT_EQ(NumberValue(2147483647, FieldType::kInteger), Value(2147483647));
  EXPECT_EQ(NumberValue(2147483648, FieldType::kInteger), Value(2147483648.0));
  EXPECT_EQ(NumberValue(9999, FieldType::kSmallInteger), Value(std::int16_t{9999}));
}

TEST(DbfColumn, NamesThatDbaseCannotHoldAreRefused) {
  for (const std::string name : {"", "ELEVENBYTES",
                                 "\xC3\x84\xC3\x84\xC3\x84\xC3\x84\xC3\x84"
                                 "A",
                                 "A\nB", " A", "A "})
    EXPECT_EQ(ErrorOf([&] { ColumnFor(MakeColumn(name, FieldType::kInteger)); }), kPlatform)
        << name;
  EXPECT_EQ(ErrorOf([] { ColumnFor(MakeColumn(std::string("A\0B", 3), FieldType::kInteger)); }),
            kPlatform);
  EXPECT_EQ(ColumnFor(MakeColumn("TENBYTES10", FieldType::kInteger)).name, "TENBYTES10");
}

TEST(DbfHeader, ReadsWhatItWrote) {
  DbfLayout layout;
  layout.columns = {ColumnFor(MakeColumn("A", FieldType::kDouble)),
                    ColumnFor(MakeColumn("B", FieldType::kText, 20))};
  layout.records = 70'000;
  LayOut(layout, "t.dbf");
  EXPECT_EQ(layout.headerBytes, 97);
  EXPECT_EQ(layout.recordBytes, 45);
  const std::string bytes = MakeDbfHeader(layout, *Date::FromCivil(2026, 11, 21));
  ASSERT_EQ(bytes.size(), 97u);
  EXPECT_EQ(bytes.substr(0, 12),
            std::string("\x03\x7e\x0b\x15\x70\x11\x01\x00\x61\x00\x2d\x00", 12));
  const DbfLayout read = ParseDbfHeader(bytes, 97 + 70'000 * 45, "t.dbf");
  EXPECT_EQ(read.records, 70'000);
  ASSERT_EQ(read.columns.size(), 2u);
  EXPECT_EQ(read.columns[1].name, "B");
  EXPECT_EQ(read.columns[1].offset, 25);
  EXPECT_EQ(read.RowPosition(2), 97u + 90);
}

TEST(DbfText, TakesTheEncodingFromCpgOrLanguageDriver) {
  EXPECT_EQ(DbfEncoding("UTF-8\r\n", 0x57), "UTF-8");
  EXPECT_EQ(DbfEncoding("1252", 0), "CP1252");
  EXPECT_EQ(DbfEncoding("ANSI 1251", 0), "CP1251");
  EXPECT_EQ(DbfEncoding("OEM 437", 0), "CP437");
  EXPECT_EQ(DbfEncoding("88591", 0), "ISO-8859-1");
  EXPECT_EQ(DbfEncoding("ISO-8859-15", 0), "ISO-8859-15");
  EXPECT_EQ(DbfEncoding("ISO 8859-2", 0), "ISO-8859-2");
  EXPECT_EQ(DbfEncoding("LDID/201", 0), "CP1251");
  EXPECT_EQ(DbfEncoding(std::nullopt, 0x57), "ISO-8859-1");
  EXPECT_EQ(DbfEncoding("", 3), "CP1252");
  EXPECT_EQ(DbfEncoding(std::nullopt, 0), "");
}

TEST(DbfText, ConvertsBothWaysAndRefusesWhatTheEncodingLacks) {
  const DbfText latin("ISO-8859-1");
  EXPECT_EQ(latin.Encode("Z\xC3\xBCrich"), "Z\xFCrich");
  EXPECT_EQ(latin.Decode("Z\xFCrich"), "Z\xC3\xBCrich");
  EXPECT_EQ(ErrorOf([&] { latin.Encode("\xE2\x82\xAC"); }), kPlatform);
  EXPECT_EQ(DbfText("CP932").Decode("a\x81"), "a?");
  EXPECT_EQ(DbfText("").Encode("\xE2\x82\xAC"), "\xE2\x82\xAC");
  EXPECT_EQ(ErrorOf([] { DbfText("no such thing"); }), kPlatform);
  const std::string longText(2000, '\xFC');
  EXPECT_EQ(latin.Encode(latin.Decode(longText)), longText);
}

}  // namespace
}  // namespace orlinths
