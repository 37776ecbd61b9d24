#include "runtime/Date.h"

#include <gtest/gtest.h>

namespace orlinths {
namespace {

constexpr std::int64_t kDay = 86'400'000;

TEST(Date, DefaultIsTheFirstInstantOf1970) {
  EXPECT_EQ(Date{}, *Date::FromCivil(1970, 1, 1));
  EXPECT_EQ(Date::FromCivil(1970, 1, 2)->milliseconds, kDay);
  EXPECT_EQ(Date::FromCivil(1969, 12, 31)->milliseconds, -kDay);
}

TEST(Date, RefusesDaysAndTimesThatDoNotExist) {
  EXPECT_FALSE(Date::FromCivil(2026, 2, 30));
  EXPECT_FALSE(Date::FromCivil(2026, 2, 29));
  EXPECT_FALSE(Date::FromCivil(1900, 2, 29));
  EXPECT_TRUE(Date::FromCivil(2000, 2, 29));
  EXPECT_TRUE(Date::FromCivil(2024, 2, 29));
  for (const int month : {0, 13, -1}) EXPECT_FALSE(Date::FromCivil(2026, month, 1));
  for (const int day : {0, 32, -1}) EXPECT_FALSE(Date::FromCivil(2026, 1, day));
  for (const int year : {0, -1, 10000}) EXPECT_FALSE(Date::FromCivil(year, 1, 1));
  EXPECT_TRUE(Date::FromCivil(1, 1, 1));
  EXPECT_TRUE(Date::FromCivil(9999, 12, 31, 23, 59, 59, 999));
  EXPECT_FALSE(Date::FromCivil(2026, 1, 1, 24));
  EXPECT_FALSE(Date::FromCivil(2026, 1, 1, 0, 60));
  EXPECT_FALSE(Date::FromCivil(2026, 1, 1, 0, 0, 60));
  EXPECT_FALSE(Date::FromCivil(2026, 1, 1, 0, 0, 0, 1000));
  EXPECT_FALSE(Date::FromCivil(2026, 1, 1, -1));
}

TEST(Date, GivesItsPartsBackAlsoBefore1970) {
  for (const auto& [year, month, day] : {std::tuple(2026, 3, 1), std::tuple(1969, 12, 31),
                                         std::tuple(1600, 2, 29), std::tuple(1, 1, 1)}) {
    const Date date = *Date::FromCivil(year, month, day, 23, 59, 59, 999);
    EXPECT_EQ(date.Year(), year);
    EXPECT_EQ(date.Month(), month);
    EXPECT_EQ(date.Day(), day);
  }
}

TEST(Date, CountsTheDaysOfTheYear) {
  EXPECT_EQ(Date::FromCivil(2026, 1, 1)->DayOfYear(), 1);
  EXPECT_EQ(Date::FromCivil(2026, 3, 1)->DayOfYear(), 60);
  EXPECT_EQ(Date::FromCivil(2024, 3, 1)->DayOfYear(), 61);
  EXPECT_EQ(Date::FromCivil(2026, 12, 31, 23, 59)->DayOfYear(), 365);
  EXPECT_EQ(Date::FromCivil(2024, 12, 31)->DayOfYear(), 366);
}

TEST(Date, SerialCountsDaysSinceTheEndOf1899) {
  EXPECT_EQ(Date::FromCivil(1899, 12, 30)->Serial(), 0);
  EXPECT_EQ(Date::FromCivil(1899, 12, 31)->Serial(), 1);
  EXPECT_EQ(Date::FromCivil(1970, 1, 1)->Serial(), 25569);
  EXPECT_EQ(Date::FromCivil(2000, 1, 1, 6)->Serial(), 36526.25);
}

TEST(DateParse, ReadsItsForms) {
  const Date day = *Date::FromCivil(2026, 3, 1);
  const Date time = *Date::FromCivil(2026, 3, 1, 14, 5, 9);
  for (const char* text : {"2026-03-01", "2026/03/01", "20260301", " 2026-03-01 ",
                           "2026-03-01T00:00", "2026-03-01 00:00:00"})
    EXPECT_EQ(Date::Parse(text), day) << text;
  for (const char* text : {"2026-03-01T14:05:09", "2026/03/01 14:05:09", "20260301T14:05:09",
                           "2026-03-01 14:05:09.000"})
    EXPECT_EQ(Date::Parse(text), time) << text;
  EXPECT_EQ(Date::Parse("2026-03-01T00:00:00.5"), (Date{day.milliseconds + 500}));
  EXPECT_EQ(Date::Parse("2026-03-01T00:00:00.25"), (Date{day.milliseconds + 250}));
  EXPECT_EQ(Date::Parse("2026-03-01T00:00:00.1239"), (Date{day.milliseconds + 123}));
}

TEST(DateParse, RefusesEverythingElse) {
  for (const char* text : {"",
                           "2026",
                           "2026-3-1",
                           "2026-03",
                           "2026-03-0",
                           "2026-0301",
                           "202603-01",
                           "2026-02-30",
                           "01.03.2026",
                           "2026-03-01T",
                           "2026-03-01T14",
                           "2026-03-01T14:5",
                           "2026-03-01T24:00",
                           "2026-03-01T14:05:",
                           "2026-03-01T14:05.5",
                           "2026-03-01T14:05:09.",
                           "2026-03-01T14:05:09x",
                           "2026-03-01T14:05:09.5x",
                           "2026-03-01Z",
                           "-2026-03-01",
                           "March 1",
                           "2026-03-01 14:05 pm"})
    EXPECT_FALSE(Date::Parse(text)) << text;
}

TEST(DateText, IsTheIsoForm) {
  EXPECT_EQ(ToText(*Date::FromCivil(2026, 3, 1)), "2026-03-01");
  EXPECT_EQ(ToText(*Date::FromCivil(2026, 3, 1, 12)), "2026-03-01T12:00:00");
  EXPECT_EQ(ToText(*Date::FromCivil(2026, 3, 1, 0, 0, 0, 250)), "2026-03-01T00:00:00.250");
  EXPECT_EQ(ToText(*Date::FromCivil(2026, 3, 1, 9, 8, 7, 5)), "2026-03-01T09:08:07.005");
  EXPECT_EQ(ToText(*Date::FromCivil(33, 4, 3)), "0033-04-03");
  EXPECT_EQ(ToText(*Date::FromCivil(1969, 12, 31, 23, 59, 59)), "1969-12-31T23:59:59");
}

TEST(DateText, ReadsBack) {
  for (std::int64_t at = -60'000 * kDay; at < 60'000 * kDay; at += 97 * kDay + 12'345'678)
    ASSERT_EQ(Date::Parse(ToText(Date{at})), Date{at});
}

TEST(Date, IsOrderedInTime) {
  EXPECT_LT(*Date::FromCivil(2026, 3, 1), *Date::FromCivil(2026, 3, 1, 0, 0, 0, 1));
  EXPECT_LT(*Date::FromCivil(1969, 1, 1), Date{});
}

}  // namespace
}  // namespace orlinths
