// Division for CDMA devices.
#include "DivisionSupport.h"
#include "SlowDivision.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

const VELK_wchar_t kCyrillic = u'\u0416';
const VELK_wchar_t kLatin = u'\u00E1';

/// Beginnings of the parts, for the prefixes.
VELK_wstring Head(const SMS_PARAM& stPart, std::size_t nUnits) { return VELK_wstring(stPart.wszContent, nUnits); }

TEST(CdmaDivision, Keeps160CharactersInOnePartWithoutPrefix) {
  const Parts parts = DivideCdma(Of(u'a', 160));
  ASSERT_EQ("160", Lengths(parts));
  EXPECT_EQ(Of(u'a', 160), Content(parts[0]));
  EXPECT_EQ(0, parts[0].cDCS);
}

TEST(CdmaDivision, Numbers161CharactersInTwoParts) {
  const Parts parts = DivideCdma(Of(u'a', 155) + Of(u'b', 6));
  ASSERT_EQ("160 11", Lengths(parts));
  EXPECT_EQ(u"[1/2]" + Of(u'a', 155), Content(parts[0]));
  EXPECT_EQ(u"[2/2]bbbbbb", Content(parts[1]));
}

TEST(CdmaDivision, WidensThePrefixFromTenPartsOn) {
  EXPECT_EQ(u"[9/9]", Head(DivideCdma(Of(u'a', 155 * 9)).back(), 5));
  const Parts parts = DivideCdma(Of(u'a', 155 * 10));
  ASSERT_EQ(11u, parts.size());
  EXPECT_EQ(u"[01/11]a", Head(parts[0], 8));
  EXPECT_EQ(160, parts[0].iContentLen);
  EXPECT_EQ(u"[11/11]", Head(parts[10], 7));
  EXPECT_EQ(7 + 1550 - 10 * 153, parts[10].iContentLen);
}

TEST(CdmaDivision, WidensThePrefixFromAHundredPartsOn) {
  EXPECT_EQ(u"[99/99]", Head(DivideCdma(Of(u'a', 153 * 99)).back(), 7));
  const Parts parts = DivideCdma(Of(u'a', 153 * 99 + 1));
  ASSERT_EQ(101u, parts.size());
  EXPECT_EQ(u"[001/101]a", Head(parts[0], 10));
  EXPECT_EQ(u"[101/101]", Head(parts[100], 9));
}

TEST(CdmaDivision, BeyondAThousandPartsThePrefixIsOnlyABracket) {
  EXPECT_EQ(u"[999/999]", Head(DivideCdma(Of(u'a', 151 * 999)).back(), 9));
  const Parts parts = DivideCdma(Of(u'a', 151 * 999 + 1));
  ASSERT_EQ(1013u, parts.size());
  EXPECT_EQ(u'[', parts[0].wszContent[0]);
  EXPECT_EQ(VELK_wstring(10, u'\0'), VELK_wstring(parts[0].wszContent + 1, 10));
  EXPECT_EQ(u'a', parts[0].wszContent[11]);
  EXPECT_EQ(160, parts[0].iContentLen);
}

TEST(CdmaDivision, GoesAs16BitTextForOneCharacter) {
  EXPECT_EQ("70", Lengths(DivideCdma(Of(u'a', 69) + kCyrillic)));
  const Parts parts = DivideCdma(Of(u'a', 70) + kCyrillic);
  ASSERT_EQ("70 11", Lengths(parts));
  EXPECT_EQ(8, parts[0].cDCS);
  EXPECT_EQ(u"[1/2]a", Head(parts[0], 6));
}

TEST(CdmaDivision, GoesAs8BitDataForALatinCharacter) {
  EXPECT_EQ("140", Lengths(DivideCdma(Of(u'a', 139) + kLatin)));
  const Parts parts = DivideCdma(Of(u'a', 140) + kLatin);
  ASSERT_EQ("140 11", Lengths(parts));
  EXPECT_EQ(4, parts[0].cDCS);
}

TEST(CdmaDivision, NeverConcatenates) {
  btMR = 7;
  for (const SMS_PARAM& part : DivideCdma(Of(u'a', 500))) {
    EXPECT_FALSE(part.bLongSms);
    EXPECT_EQ(0, part.stLongSMS_info.btMR);
    EXPECT_EQ(0, part.stLongSMS_info.btTotalPack);
    EXPECT_EQ(SMS_STAT_SENT, part.enSMSStat);
  }
  EXPECT_EQ(7, btMR);
}

TEST(CdmaDivision, AnEmptyTextIsOneEmptyPart) {
  for (const int iSize : {160, 5, 0, -5, INT_MIN}) {
    EXPECT_EQ("0", Lengths(DivideCdma(u"", iSize))) << iSize;
  }
}

TEST(CdmaDivision, AnswersZeroForNoText) {
  SMS_PARAM part;
  EXPECT_EQ(0, CDivideSmContent::DivideCdmaSmContent(nullptr, 3, &part, 1, 160));
  EXPECT_EQ(0, CDivideSmContent::DivideCdmaSmContent(u"abc", -1, &part, 1, 160));
  EXPECT_EQ(0, CDivideSmContent::DivideCdmaSmContent(u"abc", 3, nullptr, 1, 160));
  EXPECT_EQ(0, CDivideSmContent::DivideCdmaSmContent(u"abc", 3, &part, -1, 160));
}

TEST(CdmaDivision, WithoutRoomForTextBesideThePrefixAnswersZero) {
  for (const int iSize : {1, 3, 5, INT_MIN, -5, 0}) {
    EXPECT_TRUE(DivideCdma(Of(u'a', 30), iSize).empty()) << iSize;
  }
  EXPECT_TRUE(DivideCdma(Of(u'a', 30), 7).empty());     // 15 parts need a prefix as long as the message
  EXPECT_TRUE(DivideCdma(Of(u'a', 1500), 10).empty());  // 300 at width 5, 500 at 7, 1500 at 9
  EXPECT_EQ(8u, DivideCdma(Of(u'a', 8), 6).size());     // one character a part
}

TEST(CdmaDivision, ALargerLimitThanAPartHoldsCountsAs160) {
  for (const int iSize : {161, 400, 1000000, INT_MAX}) {
    EXPECT_EQ("160 11", Lengths(DivideCdma(Of(u'a', 161), iSize))) << iSize;
  }
  EXPECT_EQ("160 11", Lengths(DivideCdma(Of(kLatin, 161), INT_MAX)));
  EXPECT_EQ("160 11", Lengths(DivideCdma(Of(kCyrillic, 161), INT_MAX)));
}

/// Limits as a settings file may name them, against the second opinion.
class CdmaLimits : public testing::TestWithParam<VELK_wchar_t> {};

TEST_P(CdmaLimits, NeverOverrunAPart) {
  std::vector<int> vctLimits = {INT_MIN, -1000, 1000, 100000, INT_MAX};
  for (int iLimit = -5; iLimit <= 400; ++iLimit) {
    vctLimits.push_back(iLimit);
  }
  for (const std::size_t nLength : {0u, 1u, 6u, 30u, 139u, 160u, 161u, 400u, 1500u, 5000u}) {
    const VELK_wstring strText = Of(GetParam(), nLength);
    for (const int iLimit : vctLimits) {
      ASSERT_TRUE(SameParts(slow::DivideCdma(strText, iLimit), DivideCdma(strText, iLimit)))
          << nLength << " units, limit " << iLimit;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, CdmaLimits, testing::Values(u'a', kLatin, kCyrillic), [](const auto& row) {
  return row.param == u'a' ? "SevenBit" : row.param == kLatin ? "EightBit" : "SixteenBit";
});

// --- the prefix by itself

TEST(CdmaPrefix, ChoosesTheWidthByTheNumberOfParts) {
  int nTotal = 0, nPacks = 0, nRemain = 0, nRoom = 0;
  EXPECT_EQ(5, MinInterspace(5, 161, 160, nTotal, nPacks, nRemain, nRoom));
  EXPECT_EQ(2, nTotal);
  EXPECT_EQ(1, nPacks);
  EXPECT_EQ(6, nRemain);
  EXPECT_EQ(155, nRoom);
  EXPECT_EQ(7, MinInterspace(5, 1550, 160, nTotal, nPacks, nRemain, nRoom));
  EXPECT_EQ(11, nTotal);
  EXPECT_EQ(10, nPacks);
  EXPECT_EQ(20, nRemain);
  EXPECT_EQ(153, nRoom);
}

TEST(CdmaPrefix, HasNoWidthWithoutRoom) {
  int nTotal = 1, nPacks = 1, nRemain = 1, nRoom = 1;
  for (const int iLimit : {5, 0, -1, INT_MIN}) {
    EXPECT_EQ(0, MinInterspace(5, 30, iLimit, nTotal, nPacks, nRemain, nRoom)) << iLimit;
    EXPECT_EQ(0, nTotal + nPacks + nRemain + nRoom);
  }
  EXPECT_EQ(0, MinInterspace(5, 30, 7, nTotal, nPacks, nRemain, nRoom));
}

TEST(CdmaPrefix, CountsAnyTextWithoutOverflow) {
  int nTotal = 0, nPacks = 0, nRemain = 0, nRoom = 0;
  EXPECT_EQ(21, MinInterspace(5, INT_MAX, 24, nTotal, nPacks, nRemain, nRoom));
  EXPECT_EQ(715827883, nTotal);
  EXPECT_EQ(23, MinInterspace(23, INT_MAX, 24, nTotal, nPacks, nRemain, nRoom));
  EXPECT_EQ(INT_MAX, nTotal);
  EXPECT_EQ(5, MinInterspace(5, INT_MAX, INT_MAX, nTotal, nPacks, nRemain, nRoom));
  EXPECT_EQ(2, nTotal);
}

struct PrefixRow {
  int iWidth;
  int iTotal;
  int iSequence;
  VELK_wstring strPrefix;
};

TEST(CdmaPrefix, IsWrittenByWidth) {
  const PrefixRow rows[] = {
      {5, 5, 1, u"[2/5]"},
      {7, 11, 0, u"[01/11]"},
      {7, 99, 98, u"[99/99]"},
      {9, 999, 41, u"[042/999]"},
      {11, 1234, 41, VELK_wstring(u"[") + VELK_wstring(10, u'\0')},
      {6, 5, 1, VELK_wstring(u"[") + VELK_wstring(5, u'\0')},
  };
  for (const PrefixRow& row : rows) {
    VELK_wstring strBuffer(row.strPrefix.size(), u'\0');
    InitCdmaSmInterspace(row.iWidth, row.iTotal, &strBuffer[0]);
    CdmaSmSequenceNumber(row.iWidth, row.iSequence, &strBuffer[0]);
    EXPECT_EQ(row.strPrefix, strBuffer) << row.iWidth;
  }
}

TEST(CdmaPrefix, WritesNothingWithoutABuffer) {
  InitCdmaSmInterspace(5, 2, nullptr);
  CdmaSmSequenceNumber(5, 1, nullptr);
}

}  // namespace
