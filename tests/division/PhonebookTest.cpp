// Room that a phonebook text takes.
#include "DivisionSupport.h"
#include "SlowDivision.h"

#include "platform/Encode81.h"
#include "platform/Encode82.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>

namespace {

struct Encoded {
  int iLength;
  bool bUnicode;
};

Encoded Encode(const VELK_wstring& strText, bool bGsm) {
  Encoded encoded = {0, false};
  encoded.iLength = phonebook_content_encode(strText.c_str(), LengthOf(strText), bGsm, encoded.bUnicode);
  return encoded;
}

int Judge(const VELK_wstring& strText, bool bGsm, bool bAllCodings) {
  return CPhonebookCharJudge().phonebook_content_coding_judge(strText.c_str(), LengthOf(strText), bGsm, bAllCodings);
}

const VELK_wstring kAEuro = u"a\u20AC";
const VELK_wstring kThreeCyrillic = u"\u0416\u0414\u0431";

TEST(Phonebook, AnEmptyTextTakesNothing) {
  for (const bool bBefore : {false, true}) {
    bool bUnicode = bBefore;
    EXPECT_EQ(0, phonebook_content_encode(u"", 0, true, bUnicode));
    EXPECT_EQ(0, phonebook_content_encode(u"abc", -1, true, bUnicode));
    EXPECT_EQ(0, phonebook_content_encode(nullptr, 3, true, bUnicode));
    EXPECT_EQ(bBefore, bUnicode);
  }
  EXPECT_EQ(0, Judge(u"", true, true));
  EXPECT_EQ(0, CPhonebookCharJudge().phonebook_content_coding_judge(nullptr, 3, true, true));
}

TEST(Phonebook, CountsGsmCharacters) {
  EXPECT_EQ(3, Encode(u"abc", true).iLength);
  EXPECT_FALSE(Encode(u"abc", true).bUnicode);
  EXPECT_EQ(3, Judge(u"abc", true, true));
}

TEST(Phonebook, CountsAnExtensionCharacterTwice) {
  EXPECT_EQ(3, Encode(kAEuro, true).iLength);
  EXPECT_FALSE(Encode(kAEuro, true).bUnicode);
}

TEST(Phonebook, WithoutTheGsmAlphabetTheEuroSignNeedsUcs2) {
  EXPECT_EQ(2, Encode(kAEuro, false).iLength);
  EXPECT_TRUE(Encode(kAEuro, false).bUnicode);
  EXPECT_EQ(5, Judge(kAEuro, false, true));
  EXPECT_EQ(5, Judge(kAEuro, false, false));
}

TEST(Phonebook, WithoutTheGsmAlphabetLatinCharactersCountOnce) {
  EXPECT_EQ(3, Encode(u"\u00E1\u00FFa", false).iLength);
  EXPECT_FALSE(Encode(u"\u00E1\u00FFa", false).bUnicode);
  EXPECT_TRUE(Encode(u"\u00E1\u00FFa", true).bUnicode);
}

TEST(Phonebook, TakesTheFormWithAnEightBitBaseWhenItFits) {
  EXPECT_EQ(6, Judge(kThreeCyrillic, true, true));
  EXPECT_EQ(7, Judge(kThreeCyrillic, true, false));
  EXPECT_EQ(7, Judge(kThreeCyrillic, false, true));
}

TEST(Phonebook, TakesTheFormWithASixteenBitBaseWhenOnlyThatFits) {
  const VELK_wstring strText = u"\u047F\u0480\u0481";  // two half pages, within 128 characters
  ASSERT_EQ(7, Judge(strText, true, true));
  EXPECT_EQ(11, Judge(strText + u"\u0482\u0483", false, true));
  EXPECT_EQ(9, Judge(strText + u"\u0482\u0483", true, true));
}

TEST(Phonebook, KeepsTheFullFormWhenNoBaseFits) { EXPECT_EQ(7, Judge(u"\u0416\u4E2D\uAC00", true, true)); }

TEST(Phonebook, DoesNotLookBehindTheFirstUcs2Character) {
  EXPECT_EQ(4, Encode(u"\u20AC\u0416\u20ACa", true).iLength);
  EXPECT_TRUE(Encode(u"\u20AC\u0416\u20ACa", true).bUnicode);
}

TEST(Phonebook, AgreesWithCountingOneByOne) {
  std::mt19937 random(20232);
  const VELK_wstring strPool = u"aaaaaaaabcd \u20AC{\u00E9\u00E1\u0416\u0414\u4E2D";
  for (int iRound = 0; iRound < 5000; ++iRound) {
    VELK_wstring strText(random() % 40, u'a');
    const std::size_t nPool = iRound % 2 == 0 ? strPool.size() : strPool.size() - 4;
    for (VELK_wchar_t& ch : strText) {
      ch = strPool[random() % nPool];
    }
    for (const bool bGsm : {false, true}) {
      bool bUnicode = false;
      const int iLength = slow::PhonebookLength(strText, bGsm, bUnicode);
      ASSERT_EQ(iLength, Encode(strText, bGsm).iLength) << iRound;
      ASSERT_EQ(bUnicode, Encode(strText, bGsm).bUnicode) << iRound;
      BYTE btBase = 0;
      WORD wBase = 0;
      const bool b81 = CEncode81::is_encode81(strText.c_str(), LengthOf(strText), btBase);
      const bool b82 = CEncode82::is_encode82(strText.c_str(), LengthOf(strText), wBase);
      const int iFull = 2 * iLength + 1;
      ASSERT_EQ(bUnicode ? iFull : iLength, Judge(strText, bGsm, false)) << iRound;
      const int iShort = b81 ? iLength + 3 : b82 ? iLength + 4 : iFull;
      ASSERT_EQ(!bUnicode ? iLength : bGsm ? iShort : iFull, Judge(strText, bGsm, true)) << iRound;
    }
  }
}

}  // namespace
