// From a text to the octets on the air and back: classified, divided, packed into messages, unpacked and joined.
#include "DivisionSupport.h"
#include "SlowDivision.h"
#include "SmsPdu.h"

#include "platform/Gsm7bit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

namespace {

const int kUnits = 0x10000;
const char kUcs2ByCarrier = 12;  // travels as UCS-2

/// The part as the network sees it. Fails the test when it is no message.
sms_pdu::UserData OverTheAir(const sms_pdu::UserData& userData) {
  sms_pdu::Submit message;
  message.userData = userData;
  BYTE octets[sms_pdu::kTpduOctets];
  std::size_t size = 0;
  EXPECT_EQ(sms_pdu::PduError::None, sms_pdu::EncodeSubmit(message, octets, sizeof octets, &size));
  sms_pdu::Submit again;
  EXPECT_EQ(sms_pdu::PduError::None, sms_pdu::DecodeSubmit(octets, size, &again));
  EXPECT_EQ(unsigned(sms_pdu::kDefectNone), again.defects);
  return again.userData;
}

sms_pdu::UserData UserDataOf(const SMS_PARAM& part) {
  sms_pdu::UserData userData;
  const bool ucs2 = part.cDCS == 8 || part.cDCS == kUcs2ByCarrier;
  userData.dcs = ucs2 ? BYTE(8) : part.cDCS == 4 ? BYTE(4) : BYTE(0);
  if (part.bLongSms) {
    const auto& place = part.stLongSMS_info;
    sms_pdu::AddConcatenation(&userData.header, {place.btMR, place.btTotalPack, place.btPack, false});
  }
  const std::size_t length = static_cast<std::size_t>(part.iContentLen);
  if (userData.dcs == 0) {
    sms_pdu::SetNationalText(&userData, part.wszContent, length, part.stSMS_NLI);
    return userData;
  }
  if (userData.dcs != 4) {
    sms_pdu::SetText(&userData, part.wszContent, length);
    return userData;
  }
  userData.octetCount = static_cast<BYTE>(length);
  std::copy_n(part.wszContent, length, userData.octets);  // one octet a unit
  return userData;
}

VELK_wstring TextOf(const sms_pdu::UserData& userData) {
  return userData.dcs == 4 ? VELK_wstring(userData.octets, userData.octets + userData.octetCount)
                           : VELK_wstring(userData.text, userData.textLength);
}

VELK_wstring ThroughTheAir(const Parts& parts) {
  VELK_wstring joined;
  for (const SMS_PARAM& part : parts) {
    joined += TextOf(OverTheAir(UserDataOf(part)));
  }
  return joined;
}

VELK_wstring Repeated(const VELK_wstring& strUnit, std::size_t nLength) {
  VELK_wstring strText;
  while (strText.size() < nLength) {
    strText += strUnit;
  }
  strText.resize(nLength);
  return strText;
}

// --- every unit

class NationalPacking : public testing::TestWithParam<NationalRow> {};

TEST_P(NationalPacking, GivesEveryUnitBackByItsClass) {
  const CNationalChoice choice(GetParam().enLock, GetParam().enSingle);
  for (int i = 0; i < kUnits && !HasFailure(); ++i) {
    const VELK_wchar_t ch = static_cast<VELK_wchar_t>(i);
    const enCHAR_TYPE enType = ClassifyText(&ch, 1).enType;
    sms_pdu::UserData userData;
    userData.dcs = enType == ctUCS2 ? 8 : 0;
    sms_pdu::AddTables(&userData.header, CGsm7bit::m_stNLI_flag);
    sms_pdu::SetText(&userData, &ch, 1);
    EXPECT_EQ(VELK_wstring(1, ch), TextOf(OverTheAir(userData))) << i;
  }
}

TEST_P(NationalPacking, TakesTheSeptetsThatTheClassCounts) {
  const CNationalChoice choice(GetParam().enLock, GetParam().enSingle);
  for (int i = 0; i < kUnits; ++i) {
    const VELK_wchar_t ch = static_cast<VELK_wchar_t>(i);
    const enCHAR_TYPE enType = ClassifyText(&ch, 1).enType;
    BYTE septets[2];
    std::size_t count = 0;
    const sms_pdu::PduError error =
        sms_pdu::TextToSeptets(&ch, 1, CGsm7bit::m_stNLI_flag, septets, sizeof septets, &count);
    ASSERT_EQ(enType == ctUCS2 ? sms_pdu::PduError::UnencodableCharacter : sms_pdu::PduError::None, error) << i;
    ASSERT_EQ(enType == ctUCS2 ? 0U : enType == ctGSM7EX ? 2U : 1U, count) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, NationalPacking, testing::ValuesIn(AllNationalChoices()), NationalName);

// The division names no tables for a text without extension characters; a table is found for it all the same.
TEST(NationalText, OfALockingTableAloneGoesOut) {
  const CNationalChoice choice(SMS_NLI_Turk_Lock, SMS_NLI_Single_Reverse);
  for (std::size_t nLength = 1; nLength <= 155; ++nLength) {
    const VELK_wstring strText = Repeated(u"k\u0131\u011F\u015E", nLength);
    EXPECT_EQ(strText, ThroughTheAir(DivideGsm(strText))) << nLength;
  }
}

// --- every length

struct TextRow {
  const char* pszName;
  VELK_wstring strUnit;
};

void PrintTo(const TextRow& row, std::ostream* pOut) { *pOut << row.pszName; }

class PackedParts : public testing::TestWithParam<TextRow> {};

TEST_P(PackedParts, OfEveryLengthFitAndJoin) {
  for (std::size_t nLength = 1; nLength <= 1000 && !HasFailure(); ++nLength) {
    const VELK_wstring strText = Repeated(GetParam().strUnit, nLength);
    EXPECT_EQ(strText, ThroughTheAir(DivideGsm(strText, true))) << nLength;
    EXPECT_EQ(strText, ThroughTheAir(DivideGsm(strText, false))) << nLength;
    EXPECT_EQ(strText, ThroughTheAir(DivideZpv(strText, true))) << nLength;
    EXPECT_EQ(strText, ThroughTheAir(DivideZpv(strText, false))) << nLength;
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, PackedParts,
                         testing::Values(TextRow{"Plain", u"The quick brown fox "},
                                         TextRow{"ExtensionsOnly", u"\u20AC"},
                                         TextRow{"SomeExtensions", u"abcdef\u20ACghijk{"},
                                         TextRow{"Latin", u"caf\u00E9 \u00E1 "}, TextRow{"Cyrillic", u"\u0416\u0414 "},
                                         TextRow{"SurrogatePairs", u"a\U0001F600"}),
                         [](const auto& row) { return std::string(row.param.pszName); });

/// One table besides the default ones: the room that the division leaves is for one element.
class NationalParts : public testing::TestWithParam<NationalRow> {};

TEST_P(NationalParts, OfEveryLengthFitAndJoin) {
  const CNationalChoice choice(GetParam().enLock, GetParam().enSingle);
  for (std::size_t nLength = 1; nLength <= 1000 && !HasFailure(); ++nLength) {
    const VELK_wstring strText = Repeated(u"{abc \u00E9\u00E7 \u20ACxyz", nLength);
    EXPECT_EQ(strText, ThroughTheAir(DivideGsm(strText, true))) << nLength;
    EXPECT_EQ(strText, ThroughTheAir(DivideGsm(strText, false))) << nLength;
  }
}

std::vector<NationalRow> ChoicesOfOneTable() {
  std::vector<NationalRow> rows = AllNationalChoices();
  rows.erase(std::remove_if(rows.begin(), rows.end(),
                            [](const NationalRow& row) {
                              return row.enLock != SMS_NLI_Lock_Reverse && row.enSingle != SMS_NLI_Single_Reverse;
                            }),
             rows.end());
  return rows;
}

INSTANTIATE_TEST_SUITE_P(Tables, NationalParts, testing::ValuesIn(ChoicesOfOneTable()), NationalName);

}  // namespace
