// Headers, content and whole messages, and the limits of each.
#include "Equal.h"
#include "PduRows.h"
#include "Text.h"

#include <gtest/gtest.h>

#include <random>

using namespace sms_pdu;

namespace {

Submit MakeSubmit(const VELK_wstring& text, BYTE dcs, const UserDataHeader& header = UserDataHeader()) {
  Submit message;
  message.userData.dcs = dcs;
  message.userData.header = header;
  EXPECT_EQ(MakeAddress("+491721234567", &message.destination), PduError::None);
  EXPECT_EQ(SetText(&message.userData, text.data(), text.size()), PduError::None);
  return message;
}

PduError TryEncode(const Submit& message, std::string* hex = nullptr) {
  BYTE out[kTpduOctets];
  std::size_t written = 0;
  const PduError error = EncodeSubmit(message, out, sizeof out, &written);
  if (error != PduError::None) {
    EXPECT_EQ(written, 0U);
  }
  if (hex) *hex = Hex(out, written);
  return error;
}

/// Encodes and decodes.
Submit Again(const Submit& message) {
  std::string hex;
  EXPECT_EQ(TryEncode(message, &hex), PduError::None);
  const std::vector<BYTE> octets = Octets(hex);
  Submit again;
  EXPECT_EQ(DecodeSubmit(octets.data(), octets.size(), &again), PduError::None) << hex;
  EXPECT_EQ(again.defects, kDefectNone) << hex;
  return again;
}

VELK_wstring TextOf(const UserData& userData) { return VELK_wstring(userData.text, userData.textLength); }

/// A message with this first octet, decoded: what stands behind it is an element without data, or three octets.
template <class Message, class Decode>
Message WithFirstOctet(unsigned first, const std::string& middle, const Decode& decode) {
  const BYTE octet = static_cast<BYTE>(first);
  const std::vector<BYTE> tpdu = Octets(Hex(&octet, 1) + middle + "03027000");
  Message message;
  EXPECT_EQ(decode(tpdu.data(), tpdu.size(), &message), PduError::None) << first;
  EXPECT_EQ(message.userData.header.length, first & 0x40 ? 2 : 0) << first;
  return message;
}

UserDataHeader PartHeader(bool wide, const SMS_NLI& tables = SMS_NLI()) {
  UserDataHeader header;
  Concatenation part;
  part.reference = wide ? 0xABCD : 0xCD;
  part.total = 3;
  part.sequence = 2;
  part.wide = wide;
  EXPECT_TRUE(AddConcatenation(&header, part));
  EXPECT_TRUE(AddTables(&header, tables));
  return header;
}

}  // namespace

TEST(UserDataHeader, ElementsComeBackInOrder) {
  UserDataHeader header = PartHeader(true);
  const BYTE unknown[] = {1, 2, 3};
  ASSERT_TRUE(AddElement(&header, 0x70, unknown, sizeof unknown));
  Ports ports;
  ports.destination = 2948;
  ports.source = 9200;
  ASSERT_TRUE(AddPorts(&header, ports));
  std::vector<int> ids;
  HeaderElement element;
  for (std::size_t position = 0; NextElement(header, &position, &element);) ids.push_back(element.id);
  EXPECT_EQ(ids, (std::vector<int>{kIeConcatenation16, 0x70, kIePorts16}));
  Ports again;
  ASSERT_TRUE(FindPorts(header, &again));
  EXPECT_EQ(again.destination, 2948);
  EXPECT_EQ(again.source, 9200);
}

TEST(UserDataHeader, EveryElementIsThatOfTheStandard) {
  struct Row {
    const char* hex;
    Ports ports;
    SMS_NLI tables;
  };
  const Row rows[] = {
      {"0402C80A", {200, 10, false}, SMS_NLI()},
      {"05040B8423F0", {2948, 9200, true}, SMS_NLI()},
      {"240102", {0, 0, true}, {SMS_NLI_Lock_Reverse, SMS_NLI_Span_Single}},
      {"250103", {0, 0, true}, {SMS_NLI_Port_Lock, SMS_NLI_Single_Reverse}},
      {"240101250101", {0, 0, true}, {SMS_NLI_Turk_Lock, SMS_NLI_Turk_Single}},
  };
  for (const Row& row : rows) {
    const std::vector<BYTE> octets = Octets(row.hex);
    UserDataHeader header;
    header.length = static_cast<BYTE>(octets.size());
    std::copy(octets.begin(), octets.end(), header.octets);
    Ports ports;
    EXPECT_EQ(FindPorts(header, &ports), row.ports.destination != 0) << row.hex;
    EXPECT_EQ(ports.destination, row.ports.destination) << row.hex;
    EXPECT_EQ(ports.source, row.ports.source) << row.hex;
    EXPECT_EQ(ports.wide, row.ports.wide) << row.hex;
    EXPECT_EQ(FindTables(header).enNLI_Lock, row.tables.enNLI_Lock) << row.hex;
    EXPECT_EQ(FindTables(header).enNLI_Single, row.tables.enNLI_Single) << row.hex;
    UserDataHeader made;
    EXPECT_TRUE(AddTables(&made, row.tables));
    if (row.ports.destination != 0) {
      EXPECT_TRUE(AddPorts(&made, row.ports));
    }
    EXPECT_EQ(Hex(made.octets, made.length), row.hex);
  }
}

TEST(UserDataHeader, TheLastElementOfAKindCounts) {
  UserDataHeader header = PartHeader(false);
  Concatenation second;
  second.reference = 9;
  second.total = 5;
  second.sequence = 5;
  AddConcatenation(&header, second);
  Concatenation found;
  ASSERT_TRUE(FindConcatenation(header, &found));
  EXPECT_EQ(found.reference, 9);
  EXPECT_EQ(found.total, 5);
  AddPorts(&header, {2948, 9200, true});
  AddPorts(&header, {1, 2, false});
  Ports ports;
  ASSERT_TRUE(FindPorts(header, &ports));
  EXPECT_EQ(ports.destination, 1);
}

TEST(UserDataHeader, AConcatenationThatMakesNoSenseIsNone) {
  const BYTE rows[][3] = {{1, 0, 1}, {1, 1, 0}, {1, 2, 3}, {1, 0, 0}};
  for (const BYTE(&row)[3] : rows) {
    UserDataHeader header;
    AddElement(&header, kIeConcatenation8, row, 3);
    Concatenation found;
    EXPECT_FALSE(FindConcatenation(header, &found));
  }
  UserDataHeader shortOne;
  AddElement(&shortOne, kIeConcatenation8, rows[0], 2);
  Concatenation found;
  EXPECT_FALSE(FindConcatenation(shortOne, &found));
}

TEST(UserDataHeader, ALanguageWithoutATableReadsAsTheDefault) {
  for (unsigned language = 0; language < 256; ++language) {
    const BYTE data = static_cast<BYTE>(language);
    UserDataHeader header;
    AddElement(&header, kIeSingleShift, &data, 1);
    AddElement(&header, kIeLockingShift, &data, 1);
    EXPECT_EQ(FindTables(header).enNLI_Single, language <= 3 ? static_cast<int>(language) : 0);
    EXPECT_EQ(FindTables(header).enNLI_Lock, language == 1 || language == 3 ? static_cast<int>(language) : 0);
  }
}

TEST(UserDataHeader, AFullHeaderTakesNoMore) {
  UserDataHeader header;
  const BYTE data[kHeaderOctets] = {};
  EXPECT_FALSE(AddElement(&header, 1, data, kHeaderOctets - 1));
  EXPECT_EQ(header.length, 0);
  EXPECT_TRUE(AddElement(&header, 1, data, kHeaderOctets - 2));
  EXPECT_FALSE(AddElement(&header, 1, nullptr, 0));
  EXPECT_EQ(header.length, kHeaderOctets);
}

TEST(UserDataHeader, EveryLengthOctetStaysInsideTheHeader) {
  for (unsigned length = 0; length <= kHeaderOctets; ++length) {
    for (unsigned announced = 0; announced < 256; ++announced) {
      UserDataHeader header;
      header.length = static_cast<BYTE>(length);
      header.octets[1] = static_cast<BYTE>(announced);
      std::size_t position = 0;
      HeaderElement element;
      while (NextElement(header, &position, &element)) ASSERT_LE(element.data + element.length, header.octets + length);
      ASSERT_LE(position, length);
    }
  }
}

TEST(UserData, CapacityIsThatOfTheStandard) {
  UserData userData;
  EXPECT_EQ(ContentCapacity(userData), 160U);
  userData.header = PartHeader(false);
  EXPECT_EQ(ContentCapacity(userData), 153U);
  userData.header = PartHeader(true);
  EXPECT_EQ(ContentCapacity(userData), 152U);
  userData.dcs = 8;
  EXPECT_EQ(ContentCapacity(userData), 133U);
  userData.dcs = 4;
  userData.header = UserDataHeader();
  EXPECT_EQ(ContentCapacity(userData), 140U);
  userData.header.length = 255;
  EXPECT_EQ(ContentCapacity(userData), 0U);
}

TEST(Submit, EveryLengthOfGsmTextComesBackBehindEveryHeader) {
  for (std::size_t headerLength = 0; headerLength <= 16; ++headerLength) {
    UserDataHeader header;
    const BYTE data[16] = {};
    if (headerLength == 1) continue;  // an element has two octets
    if (headerLength) {
      ASSERT_TRUE(AddElement(&header, 0x70, data, headerLength - 2));
    }
    UserData probe;
    probe.header = header;
    const std::size_t capacity = ContentCapacity(probe);
    for (std::size_t length = 0; length <= capacity; ++length) {
      const VELK_wstring text = Repeat(u"@z\u00E4", length);
      const Submit again = Again(MakeSubmit(text, 0, header));
      ASSERT_EQ(TextOf(again.userData), text) << headerLength << " " << length;
      ASSERT_EQ(again.userData.header.length, headerLength);
    }
    if (capacity < kTextUnits) {
      EXPECT_EQ(TryEncode(MakeSubmit(Repeat(u"x", capacity + 1), 0, header)), PduError::TooLong);
    }
  }
}

TEST(Submit, RandomTextComesBackUnderEveryNationalChoice) {
  std::mt19937 random(11);
  const VELK_wstring letters = u"\u0130\u0131\u011F\u015E\u00E7\u00C1\u00E2\u00AA\u221E\u20AC[]{}|^~\\abcXYZ 019";
  int encoded = 0;
  for (const int lock : {0, 1, 3}) {
    for (const int single : {0, 1, 2, 3}) {
      SMS_NLI tables;
      tables.enNLI_Lock = static_cast<SMS_NLI_LOCK>(lock);
      tables.enNLI_Single = static_cast<SMS_NLI_SIGNLE>(single);
      for (int i = 0; i < 300; ++i) {
        VELK_wstring text(random() % 60, u' ');
        for (VELK_wchar_t& unit : text) unit = letters[random() % letters.size()];
        const Submit message = MakeSubmit(text, 0, PartHeader(i % 2 == 0, tables));
        if (TryEncode(message) == PduError::UnencodableCharacter) continue;
        EXPECT_EQ(TextOf(Again(message).userData), text);
        ++encoded;
      }
    }
  }
  EXPECT_GT(encoded, 50);
}

TEST(Submit, SeventyUnitsOfUcs2FitAndOneMoreDoesNot) {
  const VELK_wstring text = Repeat(u"\u4F60\U0001F600", 70);
  EXPECT_EQ(TextOf(Again(MakeSubmit(text, 8)).userData), text);
  EXPECT_EQ(TryEncode(MakeSubmit(text + u"a", 8)), PduError::TooLong);
  EXPECT_EQ(TextOf(Again(MakeSubmit(Repeat(u"\u4F60", 67), 8, PartHeader(false))).userData), Repeat(u"\u4F60", 67));
  EXPECT_EQ(TryEncode(MakeSubmit(Repeat(u"\u4F60", 68), 8, PartHeader(false))), PduError::TooLong);
}

TEST(Submit, HalfASurrogatePairSurvives) {
  const VELK_wstring text = {u'a', VELK_wchar_t(0xD83D), VELK_wchar_t(0), u'b'};
  EXPECT_EQ(TextOf(Again(MakeSubmit(text, 8)).userData), text);
}

TEST(Submit, OctetsAreTakenAsTheyAre) {
  for (const BYTE dcs : {BYTE(0x04), BYTE(0xF5), BYTE(0x20), BYTE(0x28)}) {  // 8-bit twice, compressed text twice
    Submit message = MakeSubmit(u"", dcs);
    BYTE data[kUserDataOctets];
    for (std::size_t i = 0; i < sizeof data; ++i) data[i] = static_cast<BYTE>(i * 37);
    EXPECT_EQ(SetOctets(&message.userData, data, sizeof data), PduError::None);
    const Submit again = Again(message);
    EXPECT_EQ(Hex(again.userData.octets, again.userData.octetCount), Hex(data, sizeof data));
    message.userData.header = PartHeader(false);
    EXPECT_EQ(TryEncode(message), PduError::TooLong);
  }
}

TEST(Submit, WhatCannotBeWrittenSaysWhy) {
  EXPECT_EQ(TryEncode(MakeSubmit(u"\u0416", 0)), PduError::UnencodableCharacter);
  EXPECT_EQ(TryEncode(MakeSubmit(Repeat(u"\u20AC", 81), 0)), PduError::TooLong);
  Submit message = MakeSubmit(u"x", 0);
  message.destination.text[0] = u'%';
  EXPECT_EQ(TryEncode(message), PduError::UnencodableAddress);
  message.destination.length = 200;
  EXPECT_EQ(TryEncode(message), PduError::TooLong);
  message = MakeSubmit(u"x", 0);
  message.userData.textLength = 200;
  EXPECT_EQ(TryEncode(message), PduError::TooLong);
  message = MakeSubmit(u"x", 0);
  message.userData.header.length = 140;
  EXPECT_EQ(TryEncode(message), PduError::TooLong);
  UserData userData;
  EXPECT_EQ(SetText(&userData, Repeat(u"x", 161).data(), 161), PduError::TooLong);
  EXPECT_EQ(SetOctets(&userData, userData.octets, 141), PduError::TooLong);
}

TEST(Submit, EveryBufferThatIsTooSmallIsLeftWithinItsBounds) {
  const Submit message = MakeSubmit(Repeat(u"hello", 160), 0);
  std::string hex;
  ASSERT_EQ(TryEncode(message, &hex), PduError::None);
  const std::size_t needed = hex.size() / 2;
  for (std::size_t capacity = 0; capacity < needed; ++capacity) {
    std::vector<BYTE> out(capacity);
    std::size_t written = 9;
    EXPECT_EQ(EncodeSubmit(message, out.data(), capacity, &written), PduError::BufferTooSmall);
    EXPECT_EQ(written, 0U);
  }
}

TEST(Submit, FlagsAndValidityComeBack) {
  for (unsigned bits = 0; bits < 8; ++bits) {
    for (unsigned format = 0; format < 4; ++format) {
      Submit message = MakeSubmit(u"x", 0);
      message.rejectDuplicates = bits & 1;
      message.statusReportRequest = bits & 2;
      message.replyPath = bits & 4;
      message.reference = 200;
      message.validity.format = static_cast<ValidityFormat>(format);
      message.validity.relative = 167;
      message.validity.enhanced[0] = 0x43;
      message.validity.absolute.year = 2024;
      message.validity.absolute.month = message.validity.absolute.day = 2;
      const Submit again = Again(message);
      EXPECT_EQ(again.rejectDuplicates, message.rejectDuplicates);
      EXPECT_EQ(again.statusReportRequest, message.statusReportRequest);
      EXPECT_EQ(again.replyPath, message.replyPath);
      EXPECT_EQ(again.reference, 200);
      EXPECT_EQ(static_cast<unsigned>(again.validity.format), format);
      EXPECT_EQ(again.validity.relative, format == 2 ? 167 : 0);
      EXPECT_EQ(again.validity.enhanced[0], format == 1 ? 0x43 : 0);
      EXPECT_EQ(again.validity.absolute.year, format == 3 ? 2024 : 0);
    }
  }
}

TEST(Deliver, ADamagedTimeNeverLosesTheMessage) {
  std::vector<BYTE> tpdu = Octets(
      "040B919471214365F70000"
      "FFFFFFFFFFFFFF"
      "05E8329BFD06");
  Deliver message;
  ASSERT_EQ(DecodeDeliver(tpdu.data(), tpdu.size(), &message), PduError::None);
  EXPECT_EQ(message.defects, kDefectTimeStamp);
  EXPECT_EQ(message.time.year + message.time.month + message.time.day, 0);
  EXPECT_EQ(Utf8(TextOf(message.userData)), "hello");
}

TEST(Deliver, AHeaderBeyondTheUserDataReadsAsContent) {
  std::vector<BYTE> tpdu = Octets(
      "440B919471214365F70004"
      "42202121436500"
      "0309AA55");
  Deliver message;
  ASSERT_EQ(DecodeDeliver(tpdu.data(), tpdu.size(), &message), PduError::None);
  EXPECT_EQ(message.defects, kDefectHeader);
  EXPECT_EQ(Hex(message.userData.octets, message.userData.octetCount), "09AA55");
  EXPECT_EQ(message.userData.header.length, 0);
}

TEST(Deliver, AnElementBeyondTheHeaderLeavesTheOnesBeforeIt) {
  std::vector<BYTE> tpdu = Octets(
      "440B919471214365F70004"
      "42202121436500"
      "09070003050201"
      "2409"
      "AA");
  tpdu[18] = 10;
  Deliver message;
  ASSERT_EQ(DecodeDeliver(tpdu.data(), tpdu.size(), &message), PduError::None);
  EXPECT_EQ(message.defects, unsigned(kDefectHeader | kDefectUserDataCut));
  Concatenation part;
  EXPECT_TRUE(FindConcatenation(message.userData.header, &part));
  EXPECT_EQ(Hex(message.userData.octets, message.userData.octetCount), "AA");
}

TEST(Deliver, AReservedTypeIsReadAndSaid) {
  std::vector<BYTE> tpdu = Octets(
      "070B919471214365F70000"
      "42202121436500"
      "0131");
  Deliver message;
  ASSERT_EQ(DecodeDeliver(tpdu.data(), tpdu.size(), &message), PduError::None);
  EXPECT_EQ(message.defects, kDefectReservedType);
  EXPECT_EQ(TypeTowardsDevice(tpdu[0]), TpduType::Deliver);
}

TEST(Deliver, EveryBitOfTheFirstOctetIsThatOfTheStandard) {
  for (unsigned first = 0; first < 256; first += 4) {
    const auto message = WithFirstOctet<Deliver>(first, "0B919471214365F7000442202121436500", DecodeDeliver);
    EXPECT_EQ(message.moreMessages, (first & 0x04) == 0) << first;
    EXPECT_EQ(message.loopPrevention, (first & 0x08) != 0) << first;
    EXPECT_EQ(message.statusReportIndication, (first & 0x20) != 0) << first;
    EXPECT_EQ(message.replyPath, (first & 0x80) != 0) << first;
  }
}

TEST(Submit, EveryBitOfTheFirstOctetIsThatOfTheStandard) {
  const std::string periods[] = {"", "01A70000000000", "A7", "42202121436500"};  // by TP-VPF
  for (unsigned first = 1; first < 256; first += 4) {
    const unsigned format = first >> 3 & 3;
    const auto message = WithFirstOctet<Submit>(first, "070B919471214365F70004" + periods[format], DecodeSubmit);
    EXPECT_EQ(message.rejectDuplicates, (first & 0x04) != 0) << first;
    EXPECT_EQ(static_cast<unsigned>(message.validity.format), format) << first;
    EXPECT_EQ(message.statusReportRequest, (first & 0x20) != 0) << first;
    EXPECT_EQ(message.replyPath, (first & 0x80) != 0) << first;
  }
}

TEST(StatusReport, EveryBitOfTheFirstOctetIsThatOfTheStandard) {
  const std::string middle =
      "070B919471214365F7422021214365004220212143650000"
      "0604";  // TP-PI: TP-DCS and TP-UD
  for (unsigned first = 2; first < 256; first += 4) {
    const auto message = WithFirstOctet<StatusReport>(first, middle, DecodeStatusReport);
    EXPECT_EQ(message.moreMessages, (first & 0x04) == 0) << first;
    EXPECT_EQ(message.loopPrevention, (first & 0x08) != 0) << first;
    EXPECT_EQ(message.ofCommand, (first & 0x20) != 0) << first;
  }
}

TEST(Deliver, FlagsComeBack) {
  for (unsigned bits = 0; bits < 16; ++bits) {
    Deliver message;
    message.moreMessages = bits & 1;
    message.loopPrevention = bits & 2;
    message.statusReportIndication = bits & 4;
    message.replyPath = bits & 8;
    BYTE out[kTpduOctets];
    std::size_t written = 0;
    ASSERT_EQ(EncodeDeliver(message, out, sizeof out, &written), PduError::None);
    Deliver again;
    ASSERT_EQ(DecodeDeliver(out, written, &again), PduError::None);
    EXPECT_EQ(again.moreMessages, message.moreMessages);
    EXPECT_EQ(again.loopPrevention, message.loopPrevention);
    EXPECT_EQ(again.statusReportIndication, message.statusReportIndication);
    EXPECT_EQ(again.replyPath, message.replyPath);
  }
}

TEST(StatusReport, EveryChoiceOfOptionalFieldsComesBack) {
  for (unsigned bits = 0; bits < 8; ++bits) {
    StatusReport message;
    message.ofCommand = bits & 1;
    message.hasProtocolId = bits & 1;
    message.hasDataCoding = bits & 2;
    message.hasUserData = bits & 4;
    message.protocolId = 0x55;
    message.userData.dcs = 8;
    message.status = 0x41;
    message.reference = 77;
    SetText(&message.userData, u"ok", 2);
    BYTE out[kTpduOctets];
    std::size_t written = 0;
    ASSERT_EQ(EncodeStatusReport(message, out, sizeof out, &written), PduError::None);
    StatusReport again;
    ASSERT_EQ(DecodeStatusReport(out, written, &again), PduError::None);
    EXPECT_EQ(again.hasProtocolId, message.hasProtocolId);
    EXPECT_EQ(again.hasDataCoding, message.hasDataCoding);
    EXPECT_EQ(again.hasUserData, message.hasUserData);
    EXPECT_EQ(again.reference, 77);
    EXPECT_EQ(again.status, 0x41);
    if (bits & 4) {
      EXPECT_EQ(Utf8(TextOf(again.userData)), "ok");
    }
  }
}

TEST(StatusReport, EveryExtensionOfTheIndicatorIsSteppedOver) {
  std::vector<BYTE> tpdu = Octets(
      "0605"
      "05810531F1"
      "42202121436500"
      "42202121436500"
      "00"
      "81"
      "80"
      "01"
      "42");
  StatusReport message;
  ASSERT_EQ(DecodeStatusReport(tpdu.data(), tpdu.size(), &message), PduError::None);
  EXPECT_EQ(message.defects, kDefectNone);
  EXPECT_TRUE(message.hasProtocolId);
  EXPECT_EQ(message.protocolId, 0x42);
}

TEST(StatusReport, EveryStatusHasAnOutcome) {
  for (unsigned status = 0; status < 256; ++status) {
    const Outcome expected = status < 0x20 ? Outcome::Delivered : status < 0x40 ? Outcome::StillTried : Outcome::Failed;
    EXPECT_EQ(OutcomeOf(static_cast<BYTE>(status)), expected);
  }
}

TEST(Tpdu, ItsTypeDependsOnItsDirection) {
  const TpduType towards[] = {TpduType::Deliver, TpduType::Other, TpduType::StatusReport, TpduType::Deliver};
  for (unsigned octet = 0; octet < 256; ++octet) {
    EXPECT_EQ(TypeTowardsDevice(static_cast<BYTE>(octet)), towards[octet & 3]);
    EXPECT_EQ(TypeFromDevice(static_cast<BYTE>(octet)), (octet & 3) == 1 ? TpduType::Submit : TpduType::Other);
  }
}

TEST(Tpdu, NothingAtAllIsRefused) {
  Deliver deliver;
  Submit submit;
  StatusReport report;
  EXPECT_EQ(DecodeDeliver(nullptr, 0, &deliver), PduError::Truncated);
  EXPECT_EQ(DecodeSubmit(nullptr, 0, &submit), PduError::Truncated);
  EXPECT_EQ(DecodeStatusReport(nullptr, 0, &report), PduError::Truncated);
  Address address;
  std::size_t consumed = 9;
  unsigned defects = 0;
  EXPECT_EQ(DecodeServiceCentre(nullptr, 0, &address, &consumed, &defects), PduError::Truncated);
  EXPECT_EQ(consumed, 0U);
}

TEST(Tpdu, ARefusedOneLeavesAFreshValue) {
  const std::vector<BYTE> deliver = Octets("040B919471214365F70000422021");
  const std::vector<BYTE> submit = Octets("11070B919471214365F7");
  const std::vector<BYTE> report = Octets("26070B919471214365F7");
  Deliver delivered;
  Submit submitted;
  StatusReport reported;
  EXPECT_EQ(DecodeDeliver(deliver.data(), deliver.size(), &delivered), PduError::Truncated);
  EXPECT_EQ(DecodeSubmit(submit.data(), submit.size(), &submitted), PduError::Truncated);
  EXPECT_EQ(DecodeStatusReport(report.data(), report.size(), &reported), PduError::Truncated);
  EXPECT_TRUE(fuzz::Equal(delivered, Deliver()));
  EXPECT_TRUE(fuzz::Equal(submitted, Submit()));
  EXPECT_TRUE(fuzz::Equal(reported, StatusReport()));
}

TEST(Tpdu, HugeInputIsReadAsFarAsAMessageGoes) {
  std::vector<BYTE> tpdu = Octets(
      "040B919471214365F70000"
      "42202121436500"
      "FF");
  tpdu.resize(1 << 20, 0x55);
  Deliver message;
  ASSERT_EQ(DecodeDeliver(tpdu.data(), tpdu.size(), &message), PduError::None);
  EXPECT_EQ(message.defects, unsigned(kDefectUserDataCut | kDefectTrailing));
  EXPECT_EQ(message.userData.textLength, 160);
}
