// C string functions for 16-bit text.
#include "platform/VelkString.h"

#include <gtest/gtest.h>
#include <climits>
#include <cstdio>
#include <ostream>
#include <string>

namespace {

TEST(VelkString, CopiesWithTheTerminator) {
  VELK_wchar_t buffer[] = u"xxxxxx";
  EXPECT_EQ(buffer, VELK_wcscpy(buffer, u"abc"));
  EXPECT_EQ(VELK_wstring(u"abc\0xx", 6), VELK_wstring(buffer, 6));
}

TEST(VelkString, TakesNullForEmptyText) {
  VELK_wchar_t buffer[] = u"xx";
  VELK_wcscpy(buffer, nullptr);
  EXPECT_EQ(VELK_wstring(u"\0x", 2), VELK_wstring(buffer, 2));
  EXPECT_EQ(0U, VELK_wcslen(nullptr));
  EXPECT_EQ(0, VELK_wtoi(nullptr));
  EXPECT_EQ(0, VELK_wtol(nullptr));
}

TEST(VelkString, LeavesANullDestinationAlone) {
  EXPECT_EQ(nullptr, VELK_wcscpy(nullptr, u"a"));
  EXPECT_EQ(nullptr, VELK_wcsncpy(nullptr, u"a", 1));
  EXPECT_EQ(nullptr, VELK_itow(1, nullptr, 10));
}

TEST(VelkString, CountsUnitsNotCharacters) {
  EXPECT_EQ(0U, VELK_wcslen(u""));
  EXPECT_EQ(2U, VELK_wcslen(u"\U0001F600"));
}

TEST(VelkString, BoundedCopyFillsExactlyTheCount) {
  VELK_wchar_t buffer[] = u"xxxxxx";
  EXPECT_EQ(buffer, VELK_wcsncpy(buffer, u"ab", 5));
  EXPECT_EQ(VELK_wstring(u"ab\0\0\0x", 6), VELK_wstring(buffer, 6));
}

TEST(VelkString, BoundedCopyHasNoTerminatorWhenFull) {
  VELK_wchar_t buffer[] = u"xxxxxx";
  VELK_wcsncpy(buffer, u"abcdef", 3);
  EXPECT_EQ(VELK_wstring(u"abcxxx"), buffer);
}

TEST(VelkString, BoundedCopyOfNullOrNothing) {
  VELK_wchar_t buffer[] = u"xxx";
  VELK_wcsncpy(buffer, u"abc", 0);
  EXPECT_EQ(VELK_wstring(u"xxx"), buffer);
  VELK_wcsncpy(buffer, nullptr, 2);
  EXPECT_EQ(VELK_wstring(u"\0\0x", 3), VELK_wstring(buffer, 3));
}

struct NumberRow {
  const char* name;
  const VELK_wchar_t* text;
  int value;
};

void PrintTo(const NumberRow& row, std::ostream* out) { *out << row.name; }

class Numbers : public testing::TestWithParam<NumberRow> {};

TEST_P(Numbers, AreReadAlikeByBothFunctions) {
  EXPECT_EQ(GetParam().value, VELK_wtoi(GetParam().text));
  EXPECT_EQ(GetParam().value, VELK_wtol(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    VelkString, Numbers,
    testing::Values(NumberRow{"Empty", u"", 0}, NumberRow{"Zero", u"0", 0}, NumberRow{"LeadingZeros", u"007", 7},
                    NumberRow{"Signs", u"-12", -12}, NumberRow{"Plus", u"+12", 12}, NumberRow{"TwoSigns", u"+-1", 0},
                    NumberRow{"Blanks", u" \t\r\n 5", 5}, NumberRow{"BlankAfterSign", u"- 5", 0},
                    NumberRow{"StopsAtALetter", u"12ab3", 12}, NumberRow{"NoDigits", u"abc", 0},
                    NumberRow{"OtherDigits", u"\uFF11\uFF12", 0}, NumberRow{"Largest", u"2147483647", INT_MAX},
                    NumberRow{"Smallest", u"-2147483648", INT_MIN}, NumberRow{"OneTooLarge", u"2147483648", INT_MAX},
                    NumberRow{"OneTooSmall", u"-2147483649", INT_MIN},
                    NumberRow{"Endless", u"99999999999999999999999999999999999999", INT_MAX},
                    NumberRow{"EndlessNegative", u"-99999999999999999999999999999999999999", INT_MIN}),
    [](const testing::TestParamInfo<NumberRow>& row) { return row.param.name; });

std::string Narrow(const VELK_wchar_t* text) {
  std::string result;
  for (; *text != 0; ++text) {
    result += static_cast<char>(*text);
  }
  return result;
}

TEST(VelkString, WritesNumbersAsTheCLibraryDoes) {
  for (const int value : {0, 1, -1, 9, 10, 99, 12345, -12345, INT_MAX, INT_MIN, INT_MIN + 1}) {
    VELK_wchar_t buffer[33];
    char expected[33];
    std::snprintf(expected, sizeof(expected), "%d", value);
    EXPECT_EQ(buffer, VELK_itow(value, buffer, 10));
    EXPECT_EQ(expected, Narrow(buffer));
    std::snprintf(expected, sizeof(expected), "%x", static_cast<unsigned int>(value));
    EXPECT_EQ(expected, Narrow(VELK_itow(value, buffer, 16)));
    std::snprintf(expected, sizeof(expected), "%o", static_cast<unsigned int>(value));
    EXPECT_EQ(expected, Narrow(VELK_itow(value, buffer, 8)));
  }
}

TEST(VelkString, FillsTheLargestBuffersExactly) {
  VELK_wchar_t buffer[34];
  EXPECT_EQ(std::string(32, '1'), Narrow(VELK_itow(-1, buffer, 2)));
  EXPECT_EQ(11U, VELK_wcslen(VELK_itow(INT_MIN, buffer, 10)));
  EXPECT_EQ("zik0zj", Narrow(VELK_itow(INT_MAX, buffer, 36)));
}

TEST(VelkString, WritesNothingForOtherRadixes) {
  for (const int radix : {INT_MIN, -10, 0, 1, 37, INT_MAX}) {
    VELK_wchar_t buffer[] = u"xx";
    EXPECT_EQ(buffer, VELK_itow(5, buffer, radix));
    EXPECT_EQ(VELK_wstring(u"\0x", 2), VELK_wstring(buffer, 2)) << radix;
  }
}

}  // namespace
