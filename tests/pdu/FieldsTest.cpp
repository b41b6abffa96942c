// Addresses, times, data coding schemes, hexadecimal digits: the fields by themselves.
#include "SmsPdu.h"

#include "PduRows.h"
#include "Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

using namespace sms_pdu;

namespace {

std::string TextOf(const Address& address) { return Utf8(VELK_wstring(address.text, address.length)); }

/// The octets of the service-centre form of an address, "" when refused.
std::string CentreHex(const Address& address) {
  BYTE octets[kAddressMaxOctets];
  std::size_t written = 0;
  return EncodeServiceCentre(address, octets, sizeof octets, &written) == PduError::None ? Hex(octets, written) : "";
}

TimeStamp Decoded(const std::string& hex, bool expectValid) {
  BYTE octets[kTimeStampOctets];
  const std::vector<BYTE> taken = Octets(hex);
  std::copy_n(taken.begin(), kTimeStampOctets, octets);
  TimeStamp time;
  EXPECT_EQ(DecodeTimeStamp(octets, &time), expectValid) << hex;
  return time;
}

std::string Encoded(const TimeStamp& time) {
  BYTE octets[kTimeStampOctets];
  EncodeTimeStamp(time, octets);
  return Hex(octets, sizeof octets);
}

}  // namespace

TEST(Address, IsMadeOfWhatAPersonWrites) {
  struct Row {
    const char* text;
    const char* expected;
    int typeOfNumber;
    PduError error;
  };
  const Row rows[] = {
      {"+491721234567", "+491721234567", kTonInternational, PduError::None},
      {"01721234567", "01721234567", kTonUnknown, PduError::None},
      {"*100#", "*100#", kTonUnknown, PduError::None},
      {"+49 (172) 123-45.67", "+491721234567", kTonInternational, PduError::None},
      {"0172/1234567", "01721234567", kTonUnknown, PduError::None},
      {"12345678901234567890", "12345678901234567890", kTonUnknown, PduError::None},
      {"+12345678901234567890", "+12345678901234567890", kTonInternational, PduError::None},
      {"123456789012345678901", "", kTonUnknown, PduError::TooLong},
      {"Bank", "Bank", kTonAlphanumeric, PduError::None},
      {"ElevenChars", "ElevenChars", kTonAlphanumeric, PduError::None},
      {"TwelveChars!", "", kTonUnknown, PduError::TooLong},
      {"+", "", kTonUnknown, PduError::UnencodableAddress},
      {"`", "", kTonUnknown, PduError::UnencodableAddress},
      {"", "", kTonUnknown, PduError::None},
      {nullptr, "", kTonUnknown, PduError::None},
  };
  for (const Row& row : rows) {
    Address address;
    EXPECT_EQ(MakeAddress(row.text, &address), row.error) << (row.text ? row.text : "null");
    EXPECT_EQ(TextOf(address), row.expected);
    EXPECT_EQ(address.typeOfNumber, row.typeOfNumber) << row.expected;
  }
}

TEST(Address, LongTextIsRefused) {
  Address address;
  EXPECT_EQ(MakeAddress(std::string(5000, '1').c_str(), &address), PduError::TooLong);
  EXPECT_EQ(MakeAddress(std::string(5000, 'x').c_str(), &address), PduError::TooLong);
  EXPECT_EQ(address.length, 0);
}

TEST(Address, ServiceCentreCountsOctetsAndItsType) {
  Address address;
  MakeAddress("+491710760000", &address);
  EXPECT_EQ(CentreHex(address), "0791947101670000");
  EXPECT_EQ(CentreHex(Address()), "00");
}

TEST(Address, MoreThanTwentyDigitsAreRefused) {
  const std::string digits = "12345678901234567890";
  const auto ofCentre = [](const std::string& hex) {
    const std::vector<BYTE> octets = Octets(hex);
    Address address;
    std::size_t consumed = 0;
    unsigned defects = 0;
    return DecodeServiceCentre(octets.data(), octets.size(), &address, &consumed, &defects);
  };
  EXPECT_EQ(ofCentre("0B91" + digits), PduError::None);
  EXPECT_EQ(ofCentre("0C91" + digits + "12"), PduError::TooLong);
  const auto ofSender = [](const std::string& hex) {
    const std::vector<BYTE> octets = Octets("04" + hex + "0000" + "42202121436500" + "00");
    Deliver message;
    return DecodeDeliver(octets.data(), octets.size(), &message);
  };
  EXPECT_EQ(ofSender("1491" + digits), PduError::None);
  EXPECT_EQ(ofSender("1591" + digits + "12"), PduError::TooLong);
}

TEST(Address, EveryDigitComesBack) {
  Address address;
  address.typeOfNumber = kTonNational;
  address.numberingPlan = kNpiTelephone;
  const VELK_wstring digits = u"0123456789*#abc";
  address.length = static_cast<BYTE>(digits.size());
  std::copy(digits.begin(), digits.end(), address.text);
  const std::vector<BYTE> octets = Octets(CentreHex(address));
  Address again;
  std::size_t consumed = 0;
  unsigned defects = 0;
  ASSERT_EQ(DecodeServiceCentre(octets.data(), octets.size(), &again, &consumed, &defects), PduError::None);
  EXPECT_EQ(TextOf(again), "0123456789*#abc");
  EXPECT_EQ(again.typeOfNumber, kTonNational);
}

TEST(Address, AnEndMarkAmongTheDigitsEndsTheNumberAndIsSaid) {
  const std::vector<BYTE> octets = Octets("05912143F587");
  Address address;
  std::size_t consumed = 0;
  unsigned defects = 0;
  ASSERT_EQ(DecodeServiceCentre(octets.data(), octets.size(), &address, &consumed, &defects), PduError::None);
  EXPECT_EQ(TextOf(address), "+12345");
  EXPECT_EQ(defects, kDefectAddress);
}

TEST(Address, SevenCharactersInFourteenHalfOctetsHaveNoEighth) {
  Deliver message;
  std::vector<BYTE> tpdu = Octets("040ED0F334FC1CA697010000803121702240000131");
  ASSERT_EQ(DecodeDeliver(tpdu.data(), tpdu.size(), &message), PduError::None);
  EXPECT_EQ(TextOf(message.originator), "sipgate");
}

TEST(Address, AsciiIsCutAndTerminated) {
  Address address;
  MakeAddress(u"Caf\u00E9", 4, &address);
  char text[33];
  AddressToAscii(address, text, sizeof text);
  EXPECT_STREQ(text, "Caf?");
  AddressToAscii(address, text, 3);
  EXPECT_STREQ(text, "Ca");
  AddressToAscii(address, text, 0);
  AddressToAscii(address, nullptr, 3);
  EXPECT_STREQ(text, "Ca");
}

TEST(Address, AsciiHasPrintableCharactersOnly) {
  Address address;
  for (const VELK_wchar_t unit : {VELK_wchar_t(0x1F), VELK_wchar_t(0x20), VELK_wchar_t(0x7E), VELK_wchar_t(0x7F)}) {
    address.text[address.length++] = unit;
  }
  char text[33];
  AddressToAscii(address, text, sizeof text);
  EXPECT_STREQ(text, "? ~?");
}

TEST(TimeStamp, EveryFieldAndTheZoneComeBack) {
  const TimeStamp time = Decoded("1120821105050A", true);
  EXPECT_EQ(time.year, 2011);
  EXPECT_EQ(time.month, 2);
  EXPECT_EQ(time.day, 28);
  EXPECT_EQ(time.hour, 11);
  EXPECT_EQ(time.minute, 50);
  EXPECT_EQ(time.second, 50);
  EXPECT_EQ(time.zoneQuarters, -20);
  EXPECT_EQ(Encoded(time), "1120821105050A");
}

TEST(TimeStamp, EveryOctetInEveryPlaceIsATimeOrAllZero) {
  for (std::size_t place = 0; place < kTimeStampOctets; ++place) {
    for (unsigned octet = 0; octet < 256; ++octet) {
      BYTE octets[kTimeStampOctets] = {0x42, 0x20, 0x92, 0x21, 0x43, 0x65, 0x40};
      octets[place] = static_cast<BYTE>(octet);
      TimeStamp time;
      const bool valid = DecodeTimeStamp(octets, &time);
      const unsigned sign = place == 6 ? 0x08U : 0U;
      const bool digits = (octet & 0x0F & ~sign) <= 9 && octet >> 4 <= 9;
      if (!digits) {
        EXPECT_FALSE(valid) << place << " " << octet;
      }
      if (valid) {
        EXPECT_EQ(Encoded(time), octet == 0x08 && place == 6 ? "42209221436500" : Hex(octets, sizeof octets));
      } else if (place < 6) {
        EXPECT_EQ(time.year + time.month + time.day + time.hour + time.minute + time.second + time.zoneQuarters, 0);
      }
    }
  }
}

TEST(TimeStamp, AMonthHasItsOwnDays) {
  EXPECT_EQ(Decoded("42209200000000", true).day, 29);  // 2024
  EXPECT_EQ(Decoded("32209200000000", false).day, 0);  // 2023
  EXPECT_EQ(Decoded("42401300000000", false).day, 0);  // 31 April
}

TEST(TimeStamp, ADayEndsBefore24AndAnHourBefore60) {
  EXPECT_EQ(Decoded("42209232959500", true).second, 59);
  EXPECT_EQ(Decoded("42209242000000", false).day, 0);
  EXPECT_EQ(Decoded("42209232069500", false).day, 0);
  EXPECT_EQ(Decoded("42209232950600", false).day, 0);
}

TEST(TimeStamp, ADamagedZoneLeavesTheLocalTime) {
  const TimeStamp time = Decoded("019012413064A0", false);
  EXPECT_EQ(time.year, 2010);
  EXPECT_EQ(time.second, 46);
  EXPECT_EQ(time.zoneQuarters, 0);
}

TEST(TimeStamp, TwoDigitYearsFrom90AreOfTheLastCentury) {
  EXPECT_EQ(Decoded("09101000000000", true).year, 1990);
  EXPECT_EQ(Decoded("98101000000000", true).year, 2089);
}

TEST(TimeStamp, ATimeThatDoesNotExistIsWrittenAsZeros) { EXPECT_EQ(Encoded(TimeStamp()), "00000000000000"); }

TEST(Validity, RelativeStepsAreThoseOfTheStandard) {
  EXPECT_EQ(RelativeValiditySeconds(0), 5U * 60);
  EXPECT_EQ(RelativeValiditySeconds(143), 12U * 3600);
  EXPECT_EQ(RelativeValiditySeconds(144), 12U * 3600 + 30 * 60);
  EXPECT_EQ(RelativeValiditySeconds(167), 24U * 3600);
  EXPECT_EQ(RelativeValiditySeconds(168), 2U * 86400);
  EXPECT_EQ(RelativeValiditySeconds(196), 30U * 86400);
  EXPECT_EQ(RelativeValiditySeconds(197), 5U * 7 * 86400);
  EXPECT_EQ(RelativeValiditySeconds(255), 63U * 7 * 86400);
}

TEST(Validity, TheShortestThatIsNotShorterIsChosen) {
  for (unsigned value = 0; value < 256; ++value) {
    const DWORD seconds = RelativeValiditySeconds(static_cast<BYTE>(value));
    EXPECT_EQ(RelativeValidityFor(seconds), value);
    EXPECT_EQ(RelativeValidityFor(seconds - 1), value);
  }
  EXPECT_EQ(RelativeValidityFor(0), 0);
  EXPECT_EQ(RelativeValidityFor(0xFFFFFFFF), 255);
}

TEST(Validity, EnhancedFormsSayTheirSeconds) {
  struct Row {
    const char* hex;
    bool known;
    DWORD seconds;
  };
  const Row rows[] = {
      {"00000000000000", false, 0},
      {"01A70000000000", true, 86400},
      {"021E0000000000", true, 30},
      {"02000000000000", false, 0},
      {"03214365000000", true, 12 * 3600 + 34 * 60 + 56},
      {"03FF0000000000", false, 0},
      {"04000000000000", false, 0},
      {"82000500000000", true, 5},
  };
  for (const Row& row : rows) {
    Validity validity;
    validity.format = ValidityFormat::Enhanced;
    const std::vector<BYTE> octets = Octets(row.hex);
    std::copy_n(octets.begin(), kTimeStampOctets, validity.enhanced);
    DWORD seconds = 7;
    EXPECT_EQ(ValiditySeconds(validity, &seconds), row.known) << row.hex;
    if (row.known) {
      EXPECT_EQ(seconds, row.seconds) << row.hex;
    }
  }
}

TEST(DataCoding, EveryValueReadsAsTheStandardsTable) {
  for (unsigned value = 0; value < 256; ++value) {
    const DataCoding coding = ParseDataCoding(static_cast<BYTE>(value));
    const unsigned group = value >> 4;
    const unsigned bits = value >> 2 & 3;
    const bool general = group < 8;
    const Coding alphabet = general && bits == 1              ? Coding::Octets
                            : general && bits == 2            ? Coding::Ucs2
                            : group == 14                     ? Coding::Ucs2
                            : group == 15 && (value & 4) != 0 ? Coding::Octets
                                                              : Coding::Gsm7;
    EXPECT_EQ(coding.coding, alphabet) << value;
    EXPECT_EQ(coding.reserved, (general && bits == 3) || (group >= 8 && group < 12)) << value;
    EXPECT_EQ(coding.compressed, general && (value & 0x20)) << value;
    EXPECT_EQ(coding.autoDelete, general && (value & 0x40)) << value;
    const bool hasClass = group == 15 || (general && (value & 0x10));
    EXPECT_EQ(coding.messageClass, hasClass ? static_cast<int>(value & 3) : -1) << value;
    EXPECT_EQ(coding.indication, group >= 12 && group < 15) << value;
    EXPECT_EQ(coding.indicationActive, coding.indication && (value & 8)) << value;
    EXPECT_EQ(coding.indicationDiscard, group == 12) << value;
    EXPECT_EQ(static_cast<unsigned>(coding.waiting), coding.indication ? value & 3 : 0) << value;
  }
}

TEST(DataCoding, WhatIsMadeReadsBack) {
  for (const Coding coding : {Coding::Gsm7, Coding::Octets, Coding::Ucs2}) {
    for (int messageClass = -1; messageClass <= 3; ++messageClass) {
      const DataCoding again = ParseDataCoding(MakeDataCoding(coding, messageClass));
      EXPECT_EQ(again.coding, coding);
      EXPECT_EQ(again.messageClass, messageClass);
    }
  }
  EXPECT_EQ(MakeDataCoding(Coding::Ucs2, 4), 0x08);
}

TEST(Hex, DigitsOfBothCasesAreOctets) {
  BYTE out[3];
  std::size_t written = 0;
  EXPECT_EQ(HexToOctets("0aFf7E", 6, out, 3, &written), PduError::None);
  EXPECT_EQ(Hex(out, written), "0AFF7E");
}

TEST(Hex, EveryOtherCharacterIsRefused) {
  for (int c = -128; c < 128; ++c) {
    const char text[] = {'0', static_cast<char>(c)};
    BYTE out[1];
    std::size_t written = 9;
    const bool digit = std::strchr("0123456789abcdefABCDEF", c) != nullptr && c != 0;
    EXPECT_EQ(HexToOctets(text, 2, out, 1, &written), digit ? PduError::None : PduError::NotHex) << c;
    EXPECT_EQ(written, digit ? 1U : 0U);
  }
}

TEST(Hex, HalfAnOctetAndAFullBufferAreSaid) {
  BYTE out[2];
  std::size_t written = 0;
  EXPECT_EQ(HexToOctets("012", 3, out, 2, &written), PduError::OddHexDigits);
  EXPECT_EQ(written, 1U);
  EXPECT_EQ(HexToOctets("010203", 6, out, 2, &written), PduError::BufferTooSmall);
  EXPECT_EQ(written, 2U);
  EXPECT_EQ(HexToOctets("", 0, out, 0, &written), PduError::None);
}

TEST(PduError, EveryReasonHasWordsOfItsOwn) {
  std::set<std::string> words;
  int reasons = 0;
  for (int i = 0; i <= static_cast<int>(PduError::BufferTooSmall); ++i, ++reasons) {
    words.insert(ErrorText(static_cast<PduError>(i)));
  }
  EXPECT_EQ(words.size(), static_cast<std::size_t>(reasons));
  EXPECT_STREQ(ErrorText(static_cast<PduError>(99)), "unknown error");
}
