// Division for GSM devices.
#include "DivisionSupport.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

const VELK_wchar_t kEuro = u'\u20AC';
const VELK_wchar_t kCyrillic = u'\u0416';

TEST(GsmDivision, Keeps160CharactersInOnePart) {
  const Parts parts = DivideGsm(Of(u'a', 160));
  ASSERT_EQ("160", Lengths(parts));
  EXPECT_EQ(0, parts[0].cDCS);
  EXPECT_FALSE(parts[0].bLongSms);
  EXPECT_EQ(0, parts[0].stLongSMS_info.btTotalPack);
  EXPECT_EQ(0, parts[0].stLongSMS_info.btPack);
}

TEST(GsmDivision, Joins161CharactersToAConcatenatedMessage) {
  btMR = 0;
  const Parts parts = DivideGsm(Of(u'a', 161));
  ASSERT_EQ("153 8", Lengths(parts));
  for (int i = 0; i < 2; ++i) {
    const SMS_PARAM& part = parts[static_cast<std::size_t>(i)];
    EXPECT_TRUE(part.bLongSms);
    EXPECT_EQ(2, part.stLongSMS_info.btTotalPack);
    EXPECT_EQ(i + 1, part.stLongSMS_info.btPack);
    EXPECT_EQ(1, part.stLongSMS_info.btMR);
  }
  EXPECT_EQ(2, DivideGsm(Of(u'a', 161))[0].stLongSMS_info.btMR);
}

TEST(GsmDivision, CutsIndependentMessagesAtTheirFullSize) {
  const Parts parts = DivideGsm(Of(u'a', 161), false);
  ASSERT_EQ("160 1", Lengths(parts));
  for (const SMS_PARAM& part : parts) {
    EXPECT_FALSE(part.bLongSms);
    EXPECT_EQ(0, part.stLongSMS_info.btTotalPack);
    EXPECT_EQ(0, part.stLongSMS_info.btPack);
    EXPECT_EQ(0, part.stLongSMS_info.btMR);
  }
}

TEST(GsmDivision, CountsAnExtensionCharacterAsTwoSeptets) {
  EXPECT_EQ("153 7", Lengths(DivideGsm(Of(u'a', 159) + kEuro)));
  const Parts parts = DivideGsm(Of(u'a', 158) + kEuro);
  ASSERT_EQ("159", Lengths(parts));
  EXPECT_EQ(Of(u'a', 158) + kEuro, Content(parts[0]));
}

TEST(GsmDivision, StartsNextPartWithTheEuroSign) {
  const Parts parts = DivideGsm(Of(u'a', 152) + kEuro + Of(u'b', 100));
  ASSERT_EQ("152 101", Lengths(parts));
  EXPECT_EQ(kEuro, parts[1].wszContent[0]);
}

TEST(GsmDivision, ClassifiesEveryPartAnew) {
  const Parts parts = DivideGsm(Of(kEuro, 10) + Of(u'a', 200));
  EXPECT_EQ("143 67", Lengths(parts));
}

TEST(GsmDivision, Keeps70Ucs2CharactersInOnePart) {
  const Parts parts = DivideGsm(Of(kCyrillic, 70));
  ASSERT_EQ("70", Lengths(parts));
  EXPECT_EQ(8, parts[0].cDCS);
}

TEST(GsmDivision, CutsUcs2At67) {
  EXPECT_EQ("67 4", Lengths(DivideGsm(Of(kCyrillic, 71))));
  EXPECT_EQ("67 67", Lengths(DivideGsm(Of(kCyrillic, 134))));
}

TEST(GsmDivision, CutsIndependentUcs2MessagesAt67Too) {
  EXPECT_EQ("67 4", Lengths(DivideGsm(Of(kCyrillic, 71), false)));
}

TEST(GsmDivision, LeavesNoTextBehindTheLastContent) {
  const Parts parts = DivideGsm(Of(kCyrillic, 71));
  for (int i = 4; i < 161; ++i) {
    ASSERT_EQ(0, parts[1].wszContent[i]) << i;
  }
}

TEST(GsmDivision, MakesTheWholeTextUcs2ForOneCharacter) {
  const Parts parts = DivideGsm(Of(u'a', 200) + kCyrillic);
  EXPECT_EQ("67 67 67", Lengths(parts));
  EXPECT_EQ(8, parts[0].cDCS);
}

TEST(GsmDivision, CutsASurrogatePairWhenItFallsOnTheBorder) {
  const VELK_wstring strText = Of(kCyrillic, 66) + u"\U0001F600" + Of(kCyrillic, 10);
  const Parts parts = DivideGsm(strText);
  ASSERT_EQ("67 11", Lengths(parts));
  EXPECT_EQ(0xD83D, parts[0].wszContent[66]);
  EXPECT_EQ(strText, Joined(parts));
}

TEST(GsmDivision, FailsAbove255Parts) {
  EXPECT_EQ("255", std::to_string(DivideGsm(Of(kCyrillic, 255 * 67)).size()));
  EXPECT_TRUE(DivideGsm(Of(kCyrillic, 255 * 67 + 1)).empty());
  EXPECT_TRUE(DivideGsm(Of(kCyrillic, 256 * 67)).empty());
  EXPECT_EQ(255u, DivideGsm(Of(u'a', 255 * 153)).size());
  EXPECT_TRUE(DivideGsm(Of(u'a', 255 * 153 + 1)).empty());
  EXPECT_EQ(255u, DivideGsm(Of(u'a', 255 * 160), false).size());
  EXPECT_TRUE(DivideGsm(Of(u'a', 255 * 160 + 1), false).empty());
}

TEST(GsmDivision, AFailedDivisionTakesNoReference) {
  btMR = 7;
  EXPECT_TRUE(DivideGsm(Of(kCyrillic, 256 * 67)).empty());
  EXPECT_EQ(7, btMR);
}

TEST(GsmDivision, OnlyCountsWithoutRoom) {
  EXPECT_EQ(3, CDivideSmContent::DivideSmContent(Of(u'a', 400).c_str(), 400, nullptr, 0, true));
}

TEST(GsmDivision, AnswersZeroWhenTheRoomIsTooSmall) {
  Parts parts(2);
  EXPECT_EQ(0, CDivideSmContent::DivideSmContent(Of(u'a', 400).c_str(), 400, parts.data(), 2, true));
  EXPECT_EQ(0, CDivideSmContent::DivideSmContent(Of(u'a', 400).c_str(), 400, parts.data(), -1, true));
}

TEST(GsmDivision, AnswersZeroForNoText) {
  SMS_PARAM part;
  EXPECT_EQ(0, CDivideSmContent::DivideSmContent(u"", 0, &part, 1, true));
  EXPECT_EQ(0, CDivideSmContent::DivideSmContent(u"abc", -3, &part, 1, true));
  EXPECT_EQ(0, CDivideSmContent::DivideSmContent(nullptr, 3, &part, 1, true));
  EXPECT_EQ(0, CDivideSmContent::DivideSmContent(nullptr, 0, nullptr, 0, true));
}

TEST(GsmDivision, AnswersZeroForRoomWithoutParts) {
  btMR = 7;
  EXPECT_EQ(0, CDivideSmContent::DivideSmContent(Of(u'a', 200).c_str(), 200, nullptr, 2, true));
  EXPECT_EQ(7, btMR);
}

TEST(GsmDivision, RefusesAHugeLengthWithoutLookingAtTheText) {
  EXPECT_EQ(0, CDivideSmContent::DivideSmContent(u"abc", INT_MAX, nullptr, 0, true));
}

TEST(GsmDivision, MarksOnlyTheFirstPartOfTheFillAsSent) {
  const Parts parts = DivideGsm(Of(u'a', 400));
  ASSERT_EQ(3u, parts.size());
  EXPECT_EQ(SMS_STAT_SENT, parts[0].enSMSStat);
  EXPECT_EQ(SMS_STAT_UNREAD, parts[1].enSMSStat);
  EXPECT_EQ(SMS_STAT_UNREAD, parts[2].enSMSStat);
}

TEST(GsmDivision, MarksEveryUcs2PartAsSent) {
  for (const SMS_PARAM& part : DivideGsm(Of(kCyrillic, 200))) {
    EXPECT_EQ(SMS_STAT_SENT, part.enSMSStat);
  }
}

TEST(GsmDivision, CountingTakesAReferenceToo) {
  btMR = 0;
  const VELK_wstring strText = Of(u'a', 161);
  EXPECT_EQ(2, CDivideSmContent::DivideSmContent(strText.c_str(), 161, nullptr, 0, true));
  EXPECT_EQ(1, btMR);
  EXPECT_EQ(2, CDivideSmContent::DivideSmContent(strText.c_str(), 161, nullptr, 0, false));
  EXPECT_EQ(1, CDivideSmContent::DivideSmContent(strText.c_str(), 160, nullptr, 0, true));
  EXPECT_EQ(1, btMR);
}

TEST(GsmDivision, TheReferenceGoesFrom255To0) {
  btMR = 254;
  EXPECT_EQ(255, DivideGsm(Of(u'a', 161))[0].stLongSMS_info.btMR);
  EXPECT_EQ(0, DivideGsm(Of(u'a', 161))[1].stLongSMS_info.btMR);
  EXPECT_EQ(1, DivideGsm(Of(u'a', 161))[1].stLongSMS_info.btMR);
}

TEST(GsmDivision, KeepsZerosInsideTheText) {
  const VELK_wstring strText(u"a\0b", 3);
  const Parts parts = DivideGsm(strText);
  ASSERT_EQ("3", Lengths(parts));
  EXPECT_EQ(strText, Content(parts[0]));
}

// --- national languages

class NationalDivision : public testing::Test {
protected:
  const CNationalChoice m_choice{SMS_NLI_Turk_Lock, SMS_NLI_Turk_Single};
  static bool Carries(const SMS_PARAM& part) {
    return part.stSMS_NLI.enNLI_Lock == SMS_NLI_Turk_Lock && part.stSMS_NLI.enNLI_Single == SMS_NLI_Turk_Single;
  }
};

TEST_F(NationalDivision, Keeps155SeptetsWithAnExtensionInOnePart) {
  const Parts parts = DivideGsm(Of(u'a', 153) + u"{");
  ASSERT_EQ("154", Lengths(parts));
  EXPECT_TRUE(Carries(parts[0]));
}

TEST_F(NationalDivision, Divides156SeptetsWithAnExtension) {
  const Parts parts = DivideGsm(Of(u'a', 154) + u"{");
  ASSERT_EQ("149 6", Lengths(parts));
  EXPECT_TRUE(Carries(parts[0]));
  EXPECT_TRUE(Carries(parts[1]));
  EXPECT_EQ("154 1", Lengths(DivideGsm(Of(u'a', 154) + u"{", false)));
}

TEST_F(NationalDivision, IgnoresTheChoiceForATextWithoutExtensions) {
  const Parts parts = DivideGsm(Of(u'a', 160));
  ASSERT_EQ("160", Lengths(parts));
  EXPECT_FALSE(Carries(parts[0]));
  const Parts longParts = DivideGsm(Of(u'a', 161));
  ASSERT_EQ("153 8", Lengths(longParts));
  EXPECT_FALSE(Carries(longParts[0]));
}

TEST_F(NationalDivision, SendsACharacterOfTheSelectedTableAsGsm) {
  const Parts parts = DivideGsm(u"\u011F");
  ASSERT_EQ(1u, parts.size());
  EXPECT_EQ(0, parts[0].cDCS);
}

TEST_F(NationalDivision, IgnoresTheChoiceForUcs2) {
  const Parts parts = DivideGsm(Of(kCyrillic, 71));
  ASSERT_EQ("67 4", Lengths(parts));
  EXPECT_FALSE(Carries(parts[0]));
}

// --- the steps by themselves

TEST(DivisionSteps, FailWithoutText) {
  CSmsPackSequence sequence;
  EXPECT_FALSE(DivideContent(u"", 0, sequence, true));
  EXPECT_FALSE(DivideContent(nullptr, 3, sequence, true));
  EXPECT_FALSE(DivideContent_ZL(u"", 0, sequence, true));
  EXPECT_FALSE(DivideContent_ZL(nullptr, 3, sequence, true));
  EXPECT_FALSE(DivideContent_ZL_Ex(u"", 0, sequence, true, SMS_NLI()));
  EXPECT_FALSE(DivideContent_ZL_Ex(nullptr, 3, sequence, true, SMS_NLI()));
  DivideContent_Customize(nullptr, 3, sequence);
  DivideContent_Algorithm(u"", 0, sequence, 1120, 1072);
  EXPECT_EQ(0, sequence.Count());
}

TEST(DivisionSteps, TheNationalStepSetsTheTablesOfEveryPart) {
  CSmsPackSequence sequence;
  const SMS_NLI stNLI = {SMS_NLI_Port_Lock, SMS_NLI_Span_Single};
  const VELK_wstring strText = Of(u'a', 200);
  ASSERT_TRUE(DivideContent_ZL_Ex(strText.c_str(), 200, sequence, true, stNLI));
  ASSERT_EQ(2, sequence.Count());
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(SMS_NLI_Port_Lock, sequence.At(i).stSMS_NLI.enNLI_Lock);
    EXPECT_EQ(SMS_NLI_Span_Single, sequence.At(i).stSMS_NLI.enNLI_Single);
  }
  EXPECT_EQ(149, sequence.At(0).iContentLen);
}

TEST(DivisionSteps, AppendBehindWhatIsThere) {
  CSmsPackSequence sequence;
  DivideContent_Customize(u"abc", 3, sequence);
  DivideContent_Customize(u"de", 2, sequence);
  ASSERT_EQ(2, sequence.Count());
  EXPECT_EQ(u"abc", Content(sequence.At(0)));
  EXPECT_EQ(u"de", Content(sequence.At(1)));
}

TEST(DivisionSteps, KeepWhatIsThereWhenTheTextTurnsOutUcs2) {
  for (const int iBefore : {1, 254, 300}) {
    CSmsPackSequence sequence;
    for (int i = 0; i < iBefore; ++i) {
      sequence.Append(u"x", 1, 0);
    }
    const VELK_wstring strText = Of(u'a', 160 * 3) + kCyrillic;
    DivideContent(strText.c_str(), LengthOf(strText), sequence, true);
    ASSERT_EQ(iBefore + 8, sequence.Count());
    EXPECT_EQ(u"x", Content(sequence.At(iBefore - 1)));
    EXPECT_EQ(67, sequence.At(iBefore).iContentLen);
    EXPECT_EQ(8, sequence.At(iBefore).cDCS);
    EXPECT_EQ(12, sequence.At(iBefore + 7).iContentLen);
  }
}

TEST(DivisionSteps, TheFillGivesEveryPartItsOwnCoding) {
  const VELK_wstring strText = Of(u'a', 150) + Of(kCyrillic, 60) + Of(u'b', 160);
  CSmsPackSequence sequence;
  DivideContent_Algorithm(strText.c_str(), LengthOf(strText), sequence, 1120, 1072);
  ASSERT_EQ(3, sequence.Count());
  EXPECT_EQ(150, sequence.At(0).iContentLen);
  EXPECT_EQ(0, sequence.At(0).cDCS);
  EXPECT_EQ(67, sequence.At(1).iContentLen);
  EXPECT_EQ(8, sequence.At(1).cDCS);
  EXPECT_EQ(153, sequence.At(2).iContentLen);
  EXPECT_EQ(0, sequence.At(2).cDCS);
}

TEST(DivisionSteps, TheFillNeverMakesAPartLongerThanItsRecord) {
  const VELK_wstring strText = Of(u'a', 1000);
  CSmsPackSequence sequence;
  DivideContent_Algorithm(strText.c_str(), 1000, sequence, 7, INT_MAX);
  ASSERT_EQ(7, sequence.Count());
  EXPECT_EQ(160, sequence.At(0).iContentLen);
  EXPECT_EQ(40, sequence.At(6).iContentLen);
}

TEST(DivisionSteps, TheFillStopsWhenNothingFits) {
  for (const int iBits : {6, 0, -1, INT_MIN}) {
    CSmsPackSequence sequence;
    DivideContent_Algorithm(u"abc", 3, sequence, iBits, iBits);
    EXPECT_EQ(0, sequence.Count()) << iBits;
  }
}

TEST(DivisionSteps, JoiningMoreThan255PartsFailsAndChangesNothing) {
  CSmsPackSequence sequence;
  for (int i = 0; i < 256; ++i) {
    sequence.Append(u"a", 1, 0);
  }
  btMR = 7;
  EXPECT_FALSE(LongSms(sequence, true));
  EXPECT_EQ(7, btMR);
  EXPECT_FALSE(sequence.At(255).bLongSms);
  EXPECT_EQ(1, sequence.At(255).iContentLen);
}

TEST(DivisionSteps, PartingKeepsTheReference) {
  CSmsPackSequence sequence;
  sequence.Append(u"a", 1, 0);
  sequence.Append(u"b", 1, 0);
  btMR = 7;
  ASSERT_TRUE(LongSms(sequence, true));
  ASSERT_TRUE(LongSms(sequence, false));
  EXPECT_EQ(8, sequence.At(1).stLongSMS_info.btMR);
  EXPECT_EQ(0, sequence.At(1).stLongSMS_info.btPack);
  EXPECT_FALSE(sequence.At(1).bLongSms);
}

}  // namespace
