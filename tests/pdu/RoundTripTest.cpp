// Random messages of every make encode, and what is encoded says the same.
#include "Equal.h"
#include "PduRows.h"
#include "platform/Gsm7bit.h"

#include <gtest/gtest.h>

#include <random>

using namespace sms_pdu;

namespace {

const int kMessages = 100000;

/// Messages as a client may make them: every flag, coding, address, header and length that a TPDU carries.
class CMessageSource {
public:
  explicit CMessageSource(unsigned seed) : m_random(seed) {}

  Submit NextSubmit() {
    Submit message;
    message.rejectDuplicates = Flip();
    message.statusReportRequest = Flip();
    message.replyPath = Flip();
    message.reference = Octet();
    message.protocolId = Octet();
    message.destination = NextAddress();
    message.validity = NextValidity();
    message.userData = NextUserData(Octet());
    return message;
  }

  Deliver NextDeliver() {
    Deliver message;
    message.moreMessages = Flip();
    message.loopPrevention = Flip();
    message.statusReportIndication = Flip();
    message.replyPath = Flip();
    message.protocolId = Octet();
    message.originator = NextAddress();
    message.time = NextTime();
    message.userData = NextUserData(Octet());
    return message;
  }

  StatusReport NextReport() {
    StatusReport message;
    message.moreMessages = Flip();
    message.loopPrevention = Flip();
    message.ofCommand = Flip();
    message.reference = Octet();
    message.recipient = NextAddress();
    message.time = NextTime();
    message.dischargeTime = NextTime();
    message.status = Octet();
    message.hasProtocolId = Flip();
    message.hasDataCoding = Flip();
    message.hasUserData = Flip();
    if (message.hasProtocolId) message.protocolId = Octet();
    const BYTE dcs = message.hasDataCoding ? Octet() : BYTE(0);
    message.userData.dcs = dcs;
    if (message.hasUserData) message.userData = NextUserData(dcs);
    return message;
  }

  std::size_t Below(std::size_t limit) { return m_random() % limit; }

private:
  bool Flip() { return Below(2) == 1; }
  BYTE Octet() { return static_cast<BYTE>(m_random()); }

  Address NextAddress() {
    Address address;
    address.numberingPlan = static_cast<BYTE>(Below(16));
    const bool name = Below(4) == 0;
    address.typeOfNumber = static_cast<BYTE>(name ? kTonAlphanumeric : Below(5));
    if (name) {
      const char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 .-!";
      address.length = static_cast<BYTE>(Below(12));
      for (std::size_t i = 0; i < address.length; ++i) address.text[i] = Of(kLetters);
      return address;
    }
    const std::size_t digits = Below(kAddressDigits + 1);
    if (address.typeOfNumber == kTonInternational && digits != 0) address.text[address.length++] = u'+';
    for (std::size_t i = 0; i < digits; ++i) address.text[address.length++] = Of("0123456789*#abc");
    return address;
  }

  template <std::size_t Size>
  VELK_wchar_t Of(const char (&characters)[Size]) {
    return static_cast<VELK_wchar_t>(characters[Below(Size - 1)]);
  }

  TimeStamp NextTime() {
    TimeStamp time;
    if (Below(10) == 0) return time;  // the time that does not exist
    time.year = static_cast<WORD>(1990 + Below(100));
    time.month = static_cast<BYTE>(1 + Below(12));
    time.day = static_cast<BYTE>(1 + Below(28));
    time.hour = static_cast<BYTE>(Below(24));
    time.minute = static_cast<BYTE>(Below(60));
    time.second = static_cast<BYTE>(Below(60));
    time.zoneQuarters = static_cast<std::int8_t>(static_cast<int>(Below(159)) - 79);
    return time;
  }

  Validity NextValidity() {
    Validity validity;
    validity.format = static_cast<ValidityFormat>(Below(4));
    if (validity.format == ValidityFormat::Relative) validity.relative = Octet();
    if (validity.format == ValidityFormat::Absolute) validity.absolute = NextTime();
    if (validity.format == ValidityFormat::Enhanced) {
      for (BYTE& octet : validity.enhanced) octet = Octet();
    }
    return validity;
  }

  UserDataHeader NextHeader() {
    UserDataHeader header;
    SMS_NLI tables;
    tables.enNLI_Lock = static_cast<SMS_NLI_LOCK>(Below(4));
    tables.enNLI_Single = static_cast<SMS_NLI_SIGNLE>(Below(4));
    if (Flip()) AddTables(&header, tables);
    const BYTE total = static_cast<BYTE>(1 + Below(255));
    const BYTE sequence = static_cast<BYTE>(1 + Below(total));
    const bool wide = Flip();
    const WORD reference = static_cast<WORD>(Below(wide ? 0x10000 : 0x100));
    if (Flip()) AddConcatenation(&header, {reference, total, sequence, wide});
    if (Below(4) == 0) AddPorts(&header, {WORD(Below(256)), WORD(Below(256)), Flip()});
    BYTE data[60];
    for (BYTE& octet : data) octet = Octet();
    if (Below(4) == 0) AddElement(&header, static_cast<BYTE>(0x70 + Below(16)), data, Below(sizeof data));
    return header;
  }

  UserData NextUserData(BYTE dcs) {
    UserData userData;
    userData.dcs = dcs;
    if (Flip()) userData.header = NextHeader();
    const std::size_t capacity = ContentCapacity(userData);
    const DataCoding coding = ParseDataCoding(dcs);
    if (coding.compressed || coding.coding == Coding::Octets) {
      userData.octetCount = static_cast<BYTE>(Below(capacity + 1));
      for (std::size_t i = 0; i < userData.octetCount; ++i) userData.octets[i] = Octet();
    } else if (coding.coding == Coding::Ucs2) {
      userData.textLength = static_cast<BYTE>(Below(capacity / 2 + 1));
      for (std::size_t i = 0; i < userData.textLength; ++i) userData.text[i] = static_cast<VELK_wchar_t>(m_random());
    } else {
      FillWithGsm7(&userData, Below(capacity + 1));
    }
    return userData;
  }

  /// Characters of the tables that the header names, so many septets of them.
  void FillWithGsm7(UserData* userData, std::size_t septets) {
    const SMS_NLI tables = FindTables(userData->header);
    for (std::size_t used = 0; used < septets;) {
      const bool shifted = Below(8) == 0;
      const VELK_wchar_t* const table = shifted ? Gsm7ExtTable(tables.enNLI_Single) : Gsm7Table(tables.enNLI_Lock);
      const VELK_wchar_t unit = table[Below(128)];
      const std::size_t cost = shifted && Gsm7CodeOf(unit, tables.enNLI_Lock) < 0 ? 2 : 1;
      if (unit == 0xFFFF || used + cost > septets) continue;
      userData->text[userData->textLength++] = unit;
      used += cost;
    }
  }

  std::mt19937 m_random;
};

template <class Message, class Encode, class Decode>
void ExpectBack(const Message& message, const Encode& encode, const Decode& decode, int number) {
  BYTE octets[kTpduOctets];
  std::size_t size = 0;
  ASSERT_EQ(encode(message, octets, sizeof octets, &size), PduError::None) << number;
  Message again;
  ASSERT_EQ(decode(octets, size, &again), PduError::None) << number << " " << Hex(octets, size);
  const unsigned damage = again.defects & ~unsigned(kDefectTimeStamp);  // a time that does not exist is one
  EXPECT_EQ(damage, unsigned(kDefectNone)) << number << " " << Hex(octets, size);
  ASSERT_TRUE(fuzz::Equal(message, again)) << number << " " << Hex(octets, size);
}

}  // namespace

TEST(RoundTrip, AHundredThousandRandomMessagesComeBack) {
  CMessageSource source(20240607);
  for (int i = 0; i < kMessages && !testing::Test::HasFailure(); ++i) {
    switch (source.Below(3)) {
      case 0:
        ExpectBack(source.NextSubmit(), EncodeSubmit, DecodeSubmit, i);
        break;
      case 1:
        ExpectBack(source.NextDeliver(), EncodeDeliver, DecodeDeliver, i);
        break;
      default:
        ExpectBack(source.NextReport(), EncodeStatusReport, DecodeStatusReport, i);
    }
  }
}
