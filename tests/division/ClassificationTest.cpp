// Classification of characters.
#include "DivisionSupport.h"
#include "SlowDivision.h"

#include "platform/Gsm7bit.h"

#include <gtest/gtest.h>

#include <random>

namespace {

const int kUnits = 0x10000;

enCHAR_TYPE ClassOfUnit(int iUnit, enCHAR_TYPE enBefore) {
  const VELK_wchar_t ch = static_cast<VELK_wchar_t>(iUnit);
  return GetEncodeType(&ch, 0, enBefore);
}

/// Step by step over the whole text, as the rule is given.
TextClass ClassifyByStep(const VELK_wstring& strText) {
  enCHAR_TYPE enType = ctGSM7;
  bool bExtension = false;
  int iExCounter = 0;
  for (int i = 0; i < LengthOf(strText); ++i) {
    enType = GetEncodeType(strText.c_str(), i, enType);
    iExCounter += iCharTypeProperties[enType][ctcExtra];
    bExtension = bExtension || enType == ctGSM7EX;
  }
  return {enType != ctUCS2 && bExtension ? ctGSM7EX : enType, iExCounter};
}

TEST(Classification, AlternatesBetweenTheGsmTables) {
  const VELK_wchar_t szText[] = u"\u20ACa";
  EXPECT_EQ(ctGSM7EX, GetEncodeType(szText, 0, ctGSM7));
  EXPECT_EQ(ctGSM7, GetEncodeType(szText, 1, ctGSM7EX));
}

TEST(Classification, KeepsALatinCharacterOfTheDefaultAlphabetAsGsm) { EXPECT_EQ(ctGSM7, ClassOfUnit(0xE9, ctGSM7)); }

TEST(Classification, MakesALatinCharacterOutsideTheTablesUcs2) { EXPECT_EQ(ctUCS2, ClassOfUnit(0xE1, ctGSM7)); }

TEST(Classification, NeverLeavesUcs2) {
  for (int i = 0; i < kUnits; ++i) {
    ASSERT_EQ(ctUCS2, ClassOfUnit(i, ctUCS2)) << i;
  }
}

TEST(Classification, LeavesEightBitDataForUcs2Only) {
  for (int i = 0; i < kUnits; ++i) {
    ASSERT_EQ(i <= 0xFF ? ctGSM8 : ctUCS2, ClassOfUnit(i, ctGSM8)) << i;
  }
}

TEST(Classification, MatchesNoTextWithTheEscapeOrAnUnusedPosition) {
  EXPECT_EQ(ctUCS2, ClassOfUnit(0x0000, ctGSM7));
  EXPECT_EQ(ctUCS2, ClassOfUnit(0x001B, ctGSM7));
  EXPECT_EQ(ctUCS2, ClassOfUnit(0xFFFF, ctGSM7));
}

TEST(Classification, OfNoTextKeepsTheClass) {
  for (const enCHAR_TYPE enType : {ctGSM7, ctGSM7EX, ctGSM8, ctUCS2}) {
    EXPECT_EQ(enType, GetEncodeType(nullptr, 0, enType));
    EXPECT_EQ(enType, GetEncodeType_Ascii_Unicode(nullptr, 0, enType));
  }
}

TEST(Classification, IgnoresTheNationalTablesWhileTheyAreNotInForce) {
  CGsm7bit::m_stNLI_flag = {SMS_NLI_Turk_Lock, SMS_NLI_Turk_Single};
  EXPECT_EQ(ctUCS2, ClassOfUnit(0x011F, ctGSM7));
  CGsm7bit::m_bHaveCustomize = true;
  EXPECT_NE(ctUCS2, ClassOfUnit(0x011F, ctGSM7));
  CGsm7bit::m_bHaveCustomize = false;
  CGsm7bit::m_stNLI_flag = SMS_NLI();
}

class NationalClassification : public testing::TestWithParam<NationalRow> {};

TEST_P(NationalClassification, OfEveryUnitFollowsTheTables) {
  const CNationalChoice choice(GetParam().enLock, GetParam().enSingle);
  for (int i = 0; i < kUnits; ++i) {
    const int iExpected = slow::ClassOf(static_cast<VELK_wchar_t>(i));
    ASSERT_EQ(iExpected, ClassOfUnit(i, ctGSM7)) << i;
    ASSERT_EQ(iExpected, ClassOfUnit(i, ctGSM7EX)) << i;
    const VELK_wchar_t ch = static_cast<VELK_wchar_t>(i);
    ASSERT_EQ(iExpected, ClassifyText(&ch, 1).enType) << i;
  }
}

TEST_P(NationalClassification, OfAWholeTextIsThatOfItsSteps) {
  const CNationalChoice choice(GetParam().enLock, GetParam().enSingle);
  std::mt19937 random(20231);
  const VELK_wstring strPool = u"aaaaaaaaaaaaaaaa  \u00E9\u20AC{\u011F\u00E7\u00E1\u221E";
  for (int iRound = 0; iRound < 400; ++iRound) {
    VELK_wstring strText(random() % 1400, u'a');
    const std::size_t nPool = iRound % 2 == 0 ? strPool.size() : strPool.size() - 5;
    for (VELK_wchar_t& ch : strText) {
      ch = strPool[random() % nPool];
    }
    const TextClass expected = ClassifyByStep(strText);
    const TextClass actual = ClassifyText(strText.c_str(), LengthOf(strText));
    ASSERT_EQ(expected.enType, actual.enType) << iRound;
    if (expected.enType != ctUCS2) {
      ASSERT_EQ(expected.iExCounter, actual.iExCounter) << iRound;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, NationalClassification, testing::ValuesIn(AllNationalChoices()), NationalName);

TEST(PlainClassification, KeepsEightBitData) {
  const VELK_wchar_t szText[] = u"\u00E1a";
  EXPECT_EQ(ctGSM8, GetEncodeType_Ascii_Unicode(szText, 0, ctGSM7));
  EXPECT_EQ(ctGSM8, GetEncodeType_Ascii_Unicode(szText, 1, ctGSM8));
}

TEST(PlainClassification, OfEveryUnitGoesByItsValue) {
  for (int i = 0; i < kUnits; ++i) {
    const VELK_wchar_t ch = static_cast<VELK_wchar_t>(i);
    const enCHAR_TYPE enAlone = i > 0xFF ? ctUCS2 : i > 0x7F ? ctGSM8 : ctGSM7;
    ASSERT_EQ(enAlone, GetEncodeType_Ascii_Unicode(&ch, 0, ctGSM7)) << i;
    ASSERT_EQ(enAlone, GetEncodeType_Ascii_Unicode(&ch, 0, ctGSM7EX)) << i;
    ASSERT_EQ(i > 0xFF ? ctUCS2 : ctGSM8, GetEncodeType_Ascii_Unicode(&ch, 0, ctGSM8)) << i;
    ASSERT_EQ(ctUCS2, GetEncodeType_Ascii_Unicode(&ch, 0, ctUCS2)) << i;
    const VELK_wchar_t szText[] = {u'a', ch, u'b'};
    ASSERT_EQ(enAlone, ClassifyText_Ascii_Unicode(szText, 3)) << i;
  }
}

TEST(CharTypeTable, HoldsCodingExtraSeptetsAndBits) {
  const int aExpected[4][5] = {{0, 0, 0, 1, 7}, {1, 0, 1, 1, 7}, {2, 4, 0, 0, 8}, {3, 8, 0, 0, 16}};
  for (int iRow = 0; iRow < 4; ++iRow) {
    for (int iColumn = 0; iColumn < 5; ++iColumn) {
      EXPECT_EQ(aExpected[iRow][iColumn], iCharTypeProperties[iRow][iColumn]) << iRow << " " << iColumn;
    }
  }
}

}  // namespace
