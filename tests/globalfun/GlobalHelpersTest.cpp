// Global helpers: text, settings, quoting, comparing, copying.
#include "FailingMemory.h"
#include "MyGlobalFunc.h"
#include "TempHome.h"
#include "Text.h"
#include "platform/GlobalFunction.h"
#include "platform/PlatformPaths.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>

namespace {

std::string LongText(std::size_t nLength) { return std::string(nLength, 'x'); }

// --- ToVelk_wchar

TEST(ToVelkWchar, CopiesValuesOfTheFirstPlane) {
  EXPECT_EQ(u"a\u00E9\u20AC\uFFFD", ToVelk_wchar(L"a\u00E9\u20AC\uFFFD"));
}

TEST(ToVelkWchar, TurnsAValueAboveTheFirstPlaneIntoASurrogatePair) {
  EXPECT_EQ(VELK_wstring({0xD83D, 0xDE00}), ToVelk_wchar(L"\U0001F600"));
  EXPECT_EQ(VELK_wstring({0xD800, 0xDC00}), ToVelk_wchar(L"\U00010000"));
  EXPECT_EQ(VELK_wstring({0xDBFF, 0xDFFF}), ToVelk_wchar(L"\U0010FFFF"));
}

TEST(ToVelkWchar, CopiesHalfASurrogatePairAsItIs) {
  const wchar_t szHalf[] = {static_cast<wchar_t>(0xD83D), 0};
  EXPECT_EQ(VELK_wstring({0xD83D}), ToVelk_wchar(szHalf));
}

TEST(ToVelkWchar, GivesTwoUnitsForAValueBeyondUnicode) {
  const wchar_t szBeyond[] = {static_cast<wchar_t>(0x7FFFFFFF), static_cast<wchar_t>(0xFFFFFFFF), 0};
  EXPECT_EQ(4u, ToVelk_wchar(szBeyond).size());
}

TEST(ToVelkWchar, GivesNothingForNullOrEmptyText) {
  EXPECT_EQ(VELK_wstring(), ToVelk_wchar(nullptr));
  EXPECT_EQ(VELK_wstring(), ToVelk_wchar(L""));
}

TEST(ToVelkWchar, GivesNothingWhenMemoryIsShort) {
  const std::wstring strText(4096, L'a');
  const CFailingMemory failing(4096);
  EXPECT_TRUE(ToVelk_wchar(strText.c_str()).empty());
}

TEST(ToVelkWchar, ConvertsALongText) {
  std::wstring strText;
  VELK_wstring strExpected;
  for (int i = 0; i < 100000; ++i) {
    strText += L"a\U0001F600";
    strExpected += u"a\U0001F600";
  }
  EXPECT_EQ(strExpected, ToVelk_wchar(strText.c_str()));
}

// --- settings and directories

TEST(Settings, ReadsAValueOfTheStore) {
  const CTempHome home;
  home.WriteSettings("[customize]\noperator=ZPV_C148\n");
  EXPECT_EQ(u"ZPV_C148", MyGetSetting(u"customize", u"operator"));
}

TEST(Settings, AnAbsentKeyIsEmpty) {
  const CTempHome home;
  home.WriteSettings("[customize]\noperator=ZPV_C148\n");
  EXPECT_EQ(u"", MyGetSetting(u"customize", u"smscharmap"));
  EXPECT_EQ(u"", MyGetSetting(u"nothing", u"operator"));
}

TEST(Settings, AreEmptyWithoutAFile) {
  const CTempHome home;
  EXPECT_EQ(u"", MyGetSetting(u"customize", u"operator"));
}

TEST(Settings, NullNamesReadNothing) {
  const CTempHome home;
  EXPECT_EQ(u"", MyGetSetting(nullptr, u"operator"));
  EXPECT_EQ(u"", MyGetSetting(u"customize", nullptr));
}

TEST(Settings, ReadsBackWhatItStored) {
  const CTempHome home;
  EXPECT_EQ(0, SetSetting(u"SMSSERVICE", u"ReceviceMode", u"2"));
  EXPECT_EQ(u"2", MyGetSetting(u"SMSSERVICE", u"ReceviceMode"));
}

TEST(Settings, KeepsALongValueWhole) {
  const CTempHome home;
  const VELK_wstring strLong = Utf16(LongText(5000)) + u"\u20AC";
  EXPECT_EQ(0, SetSetting(u"customize", u"long", strLong.c_str()));
  EXPECT_EQ(strLong, MyGetSetting(u"customize", u"long"));
}

TEST(Settings, SeesAValueOfTheCommandLine) {
  const CTempHome home;
  home.WriteSettings("[CBS]\nenable=false\n");
  CGlobalFunction::OverrideSetting(u"CBS", u"enable", u"true");
  EXPECT_EQ(u"true", MyGetSetting(u"CBS", u"enable"));
  CGlobalFunction::OverrideSetting(u"CBS", u"enable", nullptr);
  EXPECT_EQ(u"false", MyGetSetting(u"CBS", u"enable"));
}

TEST(UserDataPath, IsTheUsersDataDirectory) {
  const CTempHome home;
  EXPECT_EQ(Utf16(home.DataDir()), MyGetUserDataPath());
}

TEST(UserDataPath, KeepsAtMost259Units) {
  PlatformPaths paths;
  paths.strUserDataDir = "/" + LongText(400);
  SetPlatformPaths(paths);
  EXPECT_EQ(Utf16("/" + LongText(258)), MyGetUserDataPath());
}

// --- code pages

TEST(CodePages, ConvertBothWaysInTheSystemsDefault) {
  EXPECT_EQ(u"a\u20AC\U0001F600", MyMultiByteToWideChar("a\u20AC\U0001F600", 0));
  EXPECT_EQ("a\u20AC\U0001F600", MyWideCharToMultiByte(u"a\u20AC\U0001F600", 0));
}

TEST(CodePages, ConvertBothWaysInANamedOne) {
  EXPECT_EQ(u"\u20AC", MyMultiByteToWideChar("\x80", 1252));
  EXPECT_EQ("\x80", MyWideCharToMultiByte(u"\u20AC", 1252));
}

TEST(CodePages, ReplaceDamagedInput) {
  EXPECT_EQ(u"a\uFFFDb", MyMultiByteToWideChar("a\xFF"
                                               "b",
                                               0));
  const VELK_wchar_t szHalf[] = {u'a', 0xD83D, 0};
  EXPECT_EQ("a\uFFFD", MyWideCharToMultiByte(szHalf, 0));
}

TEST(CodePages, NullAndEmptyTextGiveNothing) {
  EXPECT_EQ(u"", MyMultiByteToWideChar(nullptr, 0));
  EXPECT_EQ(u"", MyMultiByteToWideChar("", 0));
  EXPECT_EQ("", MyWideCharToMultiByte(nullptr, 0));
  EXPECT_EQ("", MyWideCharToMultiByte(u"", 0));
}

TEST(CodePages, ConvertALongText) {
  const std::string strLong = LongText(1000000);
  EXPECT_EQ(strLong, MyWideCharToMultiByte(MyMultiByteToWideChar(strLong.c_str(), 0).c_str(), 0));
}

// --- quotation marks and case

TEST(QuotationMarks, AreTakenOffAQuotedText) { EXPECT_EQ("abc", TakeOutDoubleQuotationMarks("\"abc\"")); }

TEST(QuotationMarks, StayWhenOnlyOneSideIsQuoted) {
  EXPECT_EQ("\"abc", TakeOutDoubleQuotationMarks("\"abc"));
  EXPECT_EQ("abc\"", TakeOutDoubleQuotationMarks("abc\""));
  EXPECT_EQ("abc", TakeOutDoubleQuotationMarks("abc"));
}

TEST(QuotationMarks, AloneLeaveNothing) { EXPECT_EQ("", TakeOutDoubleQuotationMarks("\"\"")); }

TEST(QuotationMarks, OfAnEmptyTextLeaveNothing) { EXPECT_EQ("", TakeOutDoubleQuotationMarks("")); }

TEST(QuotationMarks, ASingleOneIsNotQuoted) { EXPECT_EQ("\"", TakeOutDoubleQuotationMarks("\"")); }

TEST(QuotationMarks, OnlyTheOutermostPairIsTakenOff) { EXPECT_EQ("\"a\"", TakeOutDoubleQuotationMarks("\"\"a\"\"")); }

TEST(QuotationMarks, AreAddedAroundAText) {
  EXPECT_EQ("\"abc\"", AddDoubleQuotationMarks("abc"));
  EXPECT_EQ("\"\"", AddDoubleQuotationMarks(""));
}

TEST(QuotationMarks, AreNotAddedAroundNull) { EXPECT_EQ("", AddDoubleQuotationMarks(nullptr)); }

TEST(Case, ChangesInPlaceAndLeavesWhatHasNone) {
  std::string strText = "Az 09_\xC4\xE4\xFF";
  ToLowerString(strText);
  EXPECT_EQ("az 09_\xC4\xE4\xFF", strText);
  ToUpperString(strText);
  EXPECT_EQ("AZ 09_\xC4\xE4\xFF", strText);
}

TEST(Case, AnEmptyTextStaysEmpty) {
  std::string strText;
  ToLowerString(strText);
  ToUpperString(strText);
  EXPECT_EQ("", strText);
}

// --- comparing

TEST(WideCompare, IsTrueForEqualTextsOnly) {
  EXPECT_TRUE(VELK_wcscmp(u"abc", u"abc"));
  EXPECT_TRUE(VELK_wcscmp(u"", u""));
  EXPECT_FALSE(VELK_wcscmp(u"abc", u"abd"));
  EXPECT_FALSE(VELK_wcscmp(u"abc", u"ab"));
  EXPECT_FALSE(VELK_wcscmp(VELK_wstring(u"a\0b", 3), VELK_wstring(u"a\0c", 3)));
}

TEST(WideCompare, WithoutCaseIsAlwaysTrue) {
  EXPECT_TRUE(VELK_wcscmp_nos(u"abc", u"xyz"));
  EXPECT_TRUE(VELK_wcscmp_nos(u"", u"xyz"));
}

struct PrefixRow {
  const char* pszName;
  VELK_wstring strFirst;
  VELK_wstring strSecond;
  std::size_t nCount;
  bool bEqual;
};

void PrintTo(const PrefixRow& row, std::ostream* pOut) { *pOut << row.pszName; }

class WidePrefixCompare : public testing::TestWithParam<PrefixRow> {};

TEST_P(WidePrefixCompare, FollowsTheLengths) {
  const PrefixRow& row = GetParam();
  EXPECT_EQ(row.bEqual, VELK_wcsncmp(row.strFirst, row.strSecond, row.nCount));
  EXPECT_EQ(row.bEqual, VELK_wcsncmp(row.strSecond, row.strFirst, row.nCount));
}

INSTANTIATE_TEST_SUITE_P(Rows, WidePrefixCompare,
                         testing::Values(PrefixRow{"EqualBeginning", u"abc", u"abd", 2, true},
                                         PrefixRow{"DifferenceWithinTheCount", u"abc", u"abd", 3, false},
                                         PrefixRow{"OneShorterThanTheCount", u"ab", u"abc", 3, false},
                                         PrefixRow{"BothShorterAndEqual", u"ab", u"ab", 5, true},
                                         PrefixRow{"BothShorterAndDifferent", u"ab", u"ac", 5, false},
                                         PrefixRow{"BothShorterOfUnequalLength", u"ab", u"abc", 5, false},
                                         PrefixRow{"BothAsLongAsTheCount", u"abc", u"abc", 3, true},
                                         PrefixRow{"CountZero", u"abc", u"xyz", 0, true},
                                         PrefixRow{"BothEmpty", u"", u"", 1, true},
                                         PrefixRow{"OneEmpty", u"", u"a", 1, false}),
                         [](const auto& row) { return std::string(row.param.pszName); });

// --- VELK_strcpy

TEST(BoundedCopy, CutsAndTerminates) {
  char szTarget[4];
  std::memset(szTarget, 'x', sizeof szTarget);
  VELK_strcpy(szTarget, "abcdef", 4);
  EXPECT_STREQ("abc", szTarget);
}

TEST(BoundedCopy, ClearsTheRest) {
  char szTarget[8];
  std::memset(szTarget, 'x', sizeof szTarget);
  VELK_strcpy(szTarget, "ab", 7);
  EXPECT_EQ(0, std::memcmp(szTarget, "ab\0\0\0\0\0x", 8));
}

TEST(BoundedCopy, OfOneByteLeavesTheTerminator) {
  char szTarget[2] = {'x', 'x'};
  VELK_strcpy(szTarget, "ab", 1);
  EXPECT_EQ('\0', szTarget[0]);
  EXPECT_EQ('x', szTarget[1]);
}

TEST(BoundedCopy, DoesNothingWithoutTargetSourceOrLength) {
  char szTarget[4] = "xyz";
  VELK_strcpy(nullptr, "ab", 4);
  VELK_strcpy(szTarget, nullptr, 4);
  VELK_strcpy(szTarget, "ab", 0);
  VELK_strcpy(szTarget, "ab", -1);
  EXPECT_STREQ("xyz", szTarget);
}

}  // namespace
