// Reading a record's time text.
#include "MsgTime.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace {

TEST(MsgTime, ReadsFourteenDigitsByPosition) {
  MsgTime time;
  ASSERT_TRUE(ReadMsgTime(u"20091231235958", time));
  EXPECT_EQ(2009, time.year);
  EXPECT_EQ(12, time.month);
  EXPECT_EQ(31, time.day);
  EXPECT_EQ(23, time.hour);
  EXPECT_EQ(59, time.minute);
  EXPECT_EQ(58, time.second);
  EXPECT_TRUE(time.IsDateValid());
}

TEST(MsgTime, LooksAtNothingBeyondTheFourteenth) {
  MsgTime time;
  ASSERT_TRUE(ReadMsgTime(u"20091231235958 and more", time));
  EXPECT_EQ(58, time.second);
}

TEST(MsgTime, RefusesNullAndShorterTextsAndLeavesTheTimeAlone) {
  MsgTime time;
  time.year = 5;
  EXPECT_FALSE(ReadMsgTime(nullptr, time));
  EXPECT_FALSE(ReadMsgTime(u"", time));
  EXPECT_FALSE(ReadMsgTime(u"2009123123595", time));
  EXPECT_EQ(5, time.year);
}

struct DateRow {
  const char* name;
  const VELK_wchar_t* text;
  bool valid;
};

void PrintTo(const DateRow& row, std::ostream* out) { *out << row.name; }

class MsgTimeDate : public testing::TestWithParam<DateRow> {};

TEST_P(MsgTimeDate, IsCheckedForYearMonthAndDayOnly) {
  MsgTime time;
  ASSERT_TRUE(ReadMsgTime(GetParam().text, time));
  EXPECT_EQ(GetParam().valid, time.IsDateValid());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MsgTimeDate,
    testing::Values(DateRow{"FirstYear", u"19000101000000", true}, DateRow{"YearBefore", u"18991231000000", false},
                    DateRow{"MonthZero", u"20260001000000", false}, DateRow{"MonthThirteen", u"20261301000000", false},
                    DateRow{"DayZero", u"20260100000000", false}, DateRow{"DayThirtyTwo", u"20260132000000", false},
                    DateRow{"ThirtiethOfFebruary", u"20260230000000", true},
                    DateRow{"HourNinetyNine", u"20260130999999", true}, DateRow{"AllZero", u"00000000000000", false},
                    DateRow{"Letters", u"abcdefghijklmn", false}),
    [](const testing::TestParamInfo<DateRow>& row) { return std::string(row.param.name); });

TEST(MsgTime, CountsSecondsOfLocalTime) {
  MsgTime early;
  MsgTime late;
  ASSERT_TRUE(ReadMsgTime(u"20260115120000", early));
  ASSERT_TRUE(ReadMsgTime(u"20260116120001", late));
  EXPECT_EQ(86401, late.Seconds() - early.Seconds());
}

}  // namespace
