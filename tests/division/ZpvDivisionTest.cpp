// Division for the carrier ZPV.
#include "DivisionSupport.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

const VELK_wchar_t kEuro = u'\u20AC';
const VELK_wchar_t kHangul = u'\uD55C';

TEST(ZpvDivision, Keeps102SeptetsInOnePart) {
  EXPECT_EQ("102", Lengths(DivideZpv(Of(u'a', 102))));
  EXPECT_EQ("101", Lengths(DivideZpv(Of(u'a', 100) + kEuro)));
}

TEST(ZpvDivision, CutsAt102Septets) {
  const Parts parts = DivideZpv(Of(u'a', 103));
  ASSERT_EQ("102 1", Lengths(parts));
  EXPECT_EQ(0, parts[0].cDCS);
  EXPECT_EQ(SMS_STAT_SENT, parts[0].enSMSStat);
  EXPECT_EQ(SMS_STAT_UNREAD, parts[1].enSMSStat);
  EXPECT_EQ("101 1", Lengths(DivideZpv(Of(u'a', 101) + kEuro)));
}

TEST(ZpvDivision, Keeps45HangulCharactersInOnePart) {
  const Parts parts = DivideZpv(Of(kHangul, 45));
  ASSERT_EQ("45", Lengths(parts));
  EXPECT_EQ(12, parts[0].cDCS);
}

TEST(ZpvDivision, Cuts16BitTextAt45) {
  const Parts parts = DivideZpv(Of(kHangul, 46));
  ASSERT_EQ("45 1", Lengths(parts));
  EXPECT_EQ(12, parts[1].cDCS);
  EXPECT_EQ(0, parts[1].wszContent[1]);
  EXPECT_EQ(SMS_STAT_SENT, parts[1].enSMSStat);
}

TEST(ZpvDivision, GoesAs16BitTextFrom65ExtensionCharactersOn) {
  const Parts parts = DivideZpv(Of(kEuro, 70));
  ASSERT_EQ("45 25", Lengths(parts));
  EXPECT_EQ(12, parts[0].cDCS);
  EXPECT_EQ("45 20", Lengths(DivideZpv(Of(kEuro, 65))));
  EXPECT_EQ("51 13", Lengths(DivideZpv(Of(kEuro, 64))));
  EXPECT_EQ(0, DivideZpv(Of(kEuro, 64))[0].cDCS);
}

TEST(ZpvDivision, IgnoresItsFifthArgument) {
  for (const int iSize : {INT_MIN, -1, 0, 1, 102, INT_MAX}) {
    EXPECT_EQ("102 1", Lengths(DivideZpv(Of(u'a', 103), false, iSize))) << iSize;
  }
}

TEST(ZpvDivision, ConcatenatesOnRequest) {
  btMR = 7;
  const Parts parts = DivideZpv(Of(u'a', 103), true);
  ASSERT_EQ(2u, parts.size());
  EXPECT_TRUE(parts[1].bLongSms);
  EXPECT_EQ(8, parts[1].stLongSMS_info.btMR);
  EXPECT_EQ(2, parts[1].stLongSMS_info.btPack);
  EXPECT_FALSE(DivideZpv(Of(u'a', 103), false)[1].bLongSms);
}

TEST(ZpvDivision, HandsOutMoreThan255PartsWithoutConcatenation) {
  btMR = 7;
  const Parts parts = DivideZpv(Of(kHangul, 300 * 45), true);
  ASSERT_EQ(300u, parts.size());
  EXPECT_FALSE(parts[0].bLongSms);
  EXPECT_FALSE(parts[299].bLongSms);
  EXPECT_EQ(Of(kHangul, 45), Content(parts[299]));
  EXPECT_EQ(7, btMR);
}

TEST(ZpvDivision, AnswersZeroForNoText) {
  SMS_PARAM part;
  EXPECT_EQ(0, CDivideSmContent::DivideSmContentForZPV(u"", 0, &part, 1, 102, false));
  EXPECT_EQ(0, CDivideSmContent::DivideSmContentForZPV(u"abc", -1, &part, 1, 102, false));
  EXPECT_EQ(0, CDivideSmContent::DivideSmContentForZPV(nullptr, 3, &part, 1, 102, false));
  EXPECT_EQ(0, CDivideSmContent::DivideSmContentForZPV(u"abc", 3, nullptr, 1, 102, false));
  EXPECT_EQ(0, CDivideSmContent::DivideSmContentForZPV(u"abc", 3, &part, -1, 102, false));
}

}  // namespace
