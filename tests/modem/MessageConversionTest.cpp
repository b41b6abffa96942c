// Transfer PDUs to records and back.
#include "MessageConversion.h"

#include "RecordingSink.h"
#include "Text.h"

#include <gtest/gtest.h>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

using namespace modem;

const char kCentre[] = "0791947101670000";

/// The only page.
CBSMessage PageOf(const std::string& hex) {
  const std::vector<CBSMessage> pages = ReadPages(hex);
  EXPECT_EQ(1u, pages.size());
  return pages.empty() ? CBSMessage() : pages[0];
}

/// A received message as a modem writes it.
std::string HexOf(const sms_pdu::Deliver& message) {
  BYTE octets[sms_pdu::kTpduOctets];
  std::size_t size = 0;
  EXPECT_EQ(sms_pdu::PduError::None, sms_pdu::EncodeDeliver(message, octets, sizeof octets, &size));
  char hex[2 * sms_pdu::kTpduOctets + 1];
  sms_pdu::OctetsToHex(octets, size, hex);
  return std::string(kCentre) + hex;
}

sms_pdu::Deliver Received(BYTE dcs, const VELK_wstring& text) {
  sms_pdu::Deliver message;
  sms_pdu::MakeAddress("+491710000002", &message.originator);
  message.time = sms_pdu::TimeStamp{2024, 5, 6, 7, 8, 9, 8};
  message.userData.dcs = dcs;
  sms_pdu::SetText(&message.userData, text.data(), text.size());
  return message;
}

VELK_wstring ContentOf(const SMReadRecord& record) { return VELK_wstring(record.wszContent, record.dwLength); }

SMS_PARAM Part(const VELK_wstring& text, char cDCS = 0) {
  SMS_PARAM part;
  std::strcpy(part.szAddress, "+491710000002");
  std::copy(text.begin(), text.end(), part.wszContent);
  part.iContentLen = static_cast<int>(text.size());
  part.cDCS = cDCS;
  return part;
}

WMSConfigurationType Config() {
  WMSConfigurationType config;
  config.dwValidity = 167;
  return config;
}

/// Decodes what MakeSubmit made, apart from the service centre.
sms_pdu::Submit Submitted(const SMS_PARAM& part, const WMSConfigurationType& config) {
  PduLine line;
  EXPECT_EQ(sms_pdu::PduError::None, MakeSubmit(part, config, line));
  BYTE octets[sms_pdu::kPduOctets];
  std::size_t size = 0;
  EXPECT_EQ(sms_pdu::PduError::None,
            sms_pdu::HexToOctets(line.hex.data(), line.hex.size(), octets, sizeof octets, &size));
  sms_pdu::Submit message;
  EXPECT_EQ(sms_pdu::PduError::None, sms_pdu::DecodeSubmit(octets + size - line.tpduOctets, line.tpduOctets, &message));
  return message;
}

class CZone {
public:
  explicit CZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  ~CZone() {
    unsetenv("TZ");
    tzset();
  }
};

std::string TextOf(const UTTime& time) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.wYear, time.btMonth, time.btDay, time.btHour,
                time.btMinute, time.btSecond);
  return text;
}

TEST(MessageConversion, ReadsAnOrdinaryMessage) {
  const CZone zone("UTC0");
  const SMReadRecord record = ReadPdu(HexOf(Received(0, u"Grüße {1} €")), SMS_STAT_UNREAD);
  EXPECT_EQ(u"Grüße {1} €", ContentOf(record));
  EXPECT_STREQ("+491710000002", record.szAddress);
  EXPECT_STREQ("+491710760000", record.szSCNum);
  EXPECT_EQ("2024-05-06 05:08:09", TextOf(record.stTime));
  EXPECT_EQ(SMS_IDENTIFYER_ORDINARILY, record.enType);
  EXPECT_EQ(SMS_STAT_UNREAD, record.enSMStat);
  EXPECT_EQ(SMS_CLASS_INVALID, record.enSmClass);
  EXPECT_EQ(0, record.stLongSMS_info.btTotalPack);
  EXPECT_EQ(0, record.wszContent[160]);
}

TEST(MessageConversion, ReadsUcs2AndTheFullLength) {
  EXPECT_EQ(u"日本 😀", ContentOf(ReadPdu(HexOf(Received(8, u"日本 😀")), SMS_STAT_READ)));
  const VELK_wstring full(160, u'x');
  EXPECT_EQ(full, ContentOf(ReadPdu(HexOf(Received(0, full)), SMS_STAT_READ)));
}

TEST(MessageConversion, ReadsOctetsAsOneUnitEach) {
  sms_pdu::Deliver message = Received(4, u"");
  BYTE octets[140];
  for (int i = 0; i < 140; ++i) {
    octets[i] = static_cast<BYTE>(i * 2);
  }
  sms_pdu::SetOctets(&message.userData, octets, sizeof octets);
  const SMReadRecord record = ReadPdu(HexOf(message), SMS_STAT_UNREAD);
  VELK_wstring expected(octets, octets + 140);
  std::replace(expected.begin(), expected.end(), u'\0', u'\u2400');  // readers would stop at a zero
  EXPECT_EQ(expected, ContentOf(record));
}

TEST(MessageConversion, ShowsCompressedTextAsItsOctets) {
  sms_pdu::Deliver message = Received(0x20, u"");
  const BYTE octets[] = {0x00, 0x41, 0xFF};
  sms_pdu::SetOctets(&message.userData, octets, sizeof octets);
  const SMReadRecord record = ReadPdu(HexOf(message), SMS_STAT_UNREAD);
  EXPECT_EQ(u"\u2400A\u00FF", ContentOf(record));
  EXPECT_STREQ("+491710000002", record.szAddress);
}

TEST(MessageConversion, ReadsReservedCodingsAsTheDefaultAlphabet) {
  for (const int dcs : {0x80, 0x90, 0xA5, 0xBF}) {
    const std::string hex = HexOf(Received(static_cast<BYTE>(dcs), u"Hello"));
    EXPECT_EQ(u"Hello", ContentOf(ReadPdu(hex, SMS_STAT_UNREAD))) << dcs;
  }
}

TEST(MessageConversion, ReadsAlphanumericAndNationalSenders) {
  for (const char* const sender : {"My Bank", "01711234567", "72345", "+491710000002"}) {
    sms_pdu::Deliver message = Received(0, u"x");
    ASSERT_EQ(sms_pdu::PduError::None, sms_pdu::MakeAddress(sender, &message.originator));
    EXPECT_STREQ(sender, ReadPdu(HexOf(message), SMS_STAT_UNREAD).szAddress);
  }
}

TEST(MessageConversion, ReadsThePlaceInALongMessage) {
  for (const bool wide : {false, true}) {
    sms_pdu::Deliver message = Received(0, u"");
    sms_pdu::Concatenation place;
    place.reference = wide ? 0x1234 : 0x34;
    place.total = 3;
    place.sequence = 2;
    place.wide = wide;
    ASSERT_TRUE(sms_pdu::AddConcatenation(&message.userData.header, place));
    sms_pdu::SetText(&message.userData, u"part", 4);
    const SMReadRecord record = ReadPdu(HexOf(message), SMS_STAT_UNREAD);
    EXPECT_EQ(0x34, record.stLongSMS_info.btMR);
    EXPECT_EQ(3, record.stLongSMS_info.btTotalPack);
    EXPECT_EQ(2, record.stLongSMS_info.btPack);
    EXPECT_EQ(u"part", ContentOf(record));
  }
}

TEST(MessageConversion, CountsAMessageOfOnePartAsNotDivided) {
  sms_pdu::Deliver message = Received(0, u"");
  ASSERT_TRUE(sms_pdu::AddConcatenation(&message.userData.header, {7, 1, 1, false}));
  sms_pdu::SetText(&message.userData, u"part", 4);
  const SMReadRecord record = ReadPdu(HexOf(message), SMS_STAT_UNREAD);
  EXPECT_EQ(0, record.stLongSMS_info.btTotalPack);
  EXPECT_EQ(0, record.stLongSMS_info.btPack);
  EXPECT_EQ(u"part", ContentOf(record));
}

TEST(MessageConversion, ReadsNationalTables) {
  sms_pdu::Deliver message = Received(0, u"");
  SMS_NLI tables;
  tables.enNLI_Lock = SMS_NLI_Turk_Lock;
  tables.enNLI_Single = SMS_NLI_Turk_Single;
  ASSERT_TRUE(sms_pdu::AddTables(&message.userData.header, tables));
  sms_pdu::SetText(&message.userData, u"ışğ Ş", 5);
  EXPECT_EQ(u"ışğ Ş", ContentOf(ReadPdu(HexOf(message), SMS_STAT_UNREAD)));
}

TEST(MessageConversion, TellsTheClassOfAMessage) {
  for (int messageClass = 0; messageClass < 4; ++messageClass) {
    const BYTE dcs = sms_pdu::MakeDataCoding(sms_pdu::Coding::Gsm7, messageClass);
    EXPECT_EQ(messageClass, ReadPdu(HexOf(Received(dcs, u"x")), SMS_STAT_UNREAD).enSmClass);
  }
}

TEST(MessageConversion, TellsVoiceMailWhileItWaits) {
  EXPECT_EQ(SMS_IDENTIFYER_VOICE_MAIL, ReadPdu(HexOf(Received(0xC8, u"2 calls")), SMS_STAT_UNREAD).enType);
  EXPECT_EQ(SMS_IDENTIFYER_ORDINARILY, ReadPdu(HexOf(Received(0xC0, u"none")), SMS_STAT_UNREAD).enType);
  EXPECT_EQ(SMS_IDENTIFYER_ORDINARILY, ReadPdu(HexOf(Received(0xC9, u"fax")), SMS_STAT_UNREAD).enType);
}

struct IndicationCase {
  const char* name;
  BYTE id;
  std::string data;
  SMS_IDENTIFYER expected;
};

TEST(MessageConversion, TellsVoiceMailByAHeaderElement) {
  const IndicationCase cases[] = {{"two wait", 1, {"\x00\x02", 2}, SMS_IDENTIFYER_VOICE_MAIL},
                                  {"stored", 1, {"\x80\x01", 2}, SMS_IDENTIFYER_VOICE_MAIL},
                                  {"of the second profile", 1, {"\x20\x01", 2}, SMS_IDENTIFYER_VOICE_MAIL},
                                  {"none waits", 1, {"\x00\x00", 2}, SMS_IDENTIFYER_ORDINARILY},
                                  {"fax", 1, {"\x01\x02", 2}, SMS_IDENTIFYER_ORDINARILY},
                                  {"video", 1, {"\x07\x02", 2}, SMS_IDENTIFYER_ORDINARILY},
                                  {"reserved", 1, {"\x10\x02", 2}, SMS_IDENTIFYER_ORDINARILY},
                                  {"cut", 1, {"\x00", 1}, SMS_IDENTIFYER_ORDINARILY},
                                  {"enhanced", 0x23, {"\x00\x05\x81\x21", 4}, SMS_IDENTIFYER_VOICE_MAIL},
                                  {"enhanced, deleted", 0x23, {"\x01\x05\x81\x21", 4}, SMS_IDENTIFYER_ORDINARILY},
                                  {"enhanced, empty", 0x23, "", SMS_IDENTIFYER_ORDINARILY}};
  for (const IndicationCase& row : cases) {
    sms_pdu::Deliver message = Received(0, u"");
    const auto* const data = reinterpret_cast<const BYTE*>(row.data.data());
    ASSERT_TRUE(sms_pdu::AddElement(&message.userData.header, row.id, data, row.data.size()));
    sms_pdu::SetText(&message.userData, u"call", 4);
    EXPECT_EQ(row.expected, ReadPdu(HexOf(message), SMS_STAT_UNREAD).enType) << row.name;
  }
}

TEST(MessageConversion, CountsAReturnCallMessageAsVoiceMail) {
  sms_pdu::Deliver message = Received(0, u"call back");
  message.protocolId = 0x5F;
  EXPECT_EQ(SMS_IDENTIFYER_VOICE_MAIL, ReadPdu(HexOf(message), SMS_STAT_UNREAD).enType);
}

// --- WAP push --------------------------------------------------------------------------------------------------------

/// @param total  0: not divided.
std::string PushOf(const VELK_wstring& octets, BYTE total = 0, BYTE sequence = 0, WORD reference = 9,
                   WORD port = kWapPushPort) {
  sms_pdu::Deliver message = Received(4, u"");
  sms_pdu::Ports ports;
  ports.destination = port;
  EXPECT_TRUE(sms_pdu::AddPorts(&message.userData.header, ports));
  if (total != 0) {
    EXPECT_TRUE(sms_pdu::AddConcatenation(&message.userData.header, {reference, total, sequence, reference > 0xFF}));
  }
  std::vector<BYTE> bytes(octets.begin(), octets.end());
  EXPECT_EQ(sms_pdu::PduError::None, sms_pdu::SetOctets(&message.userData, bytes.data(), bytes.size()));
  return HexOf(message);
}

std::string HeadOf(const SMReadRecord& record) {
  return std::string(record.stMMS_Notify_Data.szWSP, static_cast<std::size_t>(record.stMMS_Notify_Data.iWSPLen));
}

std::string BodyOf(const SMReadRecord& record) {
  return std::string(record.stMMS_Notify_Data.szDATA, static_cast<std::size_t>(record.stMMS_Notify_Data.iDATALen));
}

TEST(MmsPush, IsTakenApartIntoHeadAndBody) {
  const SMReadRecord record = ReadPdu(PushOf(u"\x01\x06\x03\xBE\xAF\x84"
                                             u"body"),
                                      SMS_STAT_UNREAD);
  ASSERT_EQ(SMS_IDENTIFYER_MMS_NOTIFY, record.enType);
  EXPECT_EQ("\x01\x06\x03\xBE\xAF\x84", HeadOf(record));
  EXPECT_EQ("body", BodyOf(record));
  EXPECT_EQ(0, record.stLongSMS_info.btTotalPack);
}

TEST(MmsPush, MayHaveAHeadWhoseLengthTakesTwoOctets) {
  const VELK_wstring head = u"\x01\x06\x81\x02\xBE" + VELK_wstring(128, u'x') + u'\0';
  const SMReadRecord record = ReadPdu(PushOf(head.substr(0, 132) + u"\x01"), SMS_STAT_UNREAD);
  ASSERT_EQ(SMS_IDENTIFYER_MMS_NOTIFY, record.enType);
  EXPECT_EQ(133, record.stMMS_Notify_Data.iWSPLen) << "the head goes on in the next part";
  EXPECT_EQ(0, record.stMMS_Notify_Data.iDATALen);
}

struct PushCase {
  const char* name;
  VELK_wstring octets;
  SMS_IDENTIFYER expected;
};

TEST(MmsPush, IsKnownByContentTypeAndApplication) {
  const SMS_IDENTIFYER mms = SMS_IDENTIFYER_MMS_NOTIFY;
  const SMS_IDENTIFYER other = SMS_IDENTIFYER_ORDINARILY;
  const VELK_wstring name = u"application/vnd.wap.mms-message";
  const VELK_wstring nul(1, u'\0');
  const PushCase cases[] = {{"number",
                             u"\x01\x06\x01\xBE"
                             u"b",
                             mms},
                            {"confirmed",
                             u"\x01\x07\x01\xBE"
                             u"b",
                             mms},
                            {"name", u"\x01\x06\x20" + name + nul + u"b", mms},
                            {"name in capitals",
                             u"\x01\x06\x20"
                             u"Application/vnd.WAP.mms-message" +
                                 nul + u"b",
                             mms},
                            {"general form",
                             u"\x01\x06\x04\x03\xBE\x81\xEA"
                             u"b",
                             mms},
                            {"general form, long number",
                             u"\x01\x06\x03\x02\x01\x3E"
                             u"b",
                             mms},
                            {"general form, long length",
                             u"\x01\x06\x03\x1F\x01\xBE"
                             u"b",
                             mms},
                            {"general form, name", u"\x01\x06\x22\x1F\x20" + name + nul + u"b", mms},
                            {"application by number",
                             u"\x01\x06\x03\xBE\xAF\x84"
                             u"b",
                             mms},
                            {"application by long number",
                             u"\x01\x06\x04\xBE\xAF\x01\x04"
                             u"b",
                             mms},
                            {"application by name", u"\x01\x06\x1B\xBE\xAFx-wap-application:mms.ua" + nul + u"b", mms},
                            {"application behind others",
                             u"\x01\x06\x09\xBE\x8D\x02\x01\x01\xB4\x87\xAF\x82"
                             u"b",
                             other},
                            {"another application",
                             u"\x01\x06\x03\xBE\xAF\x82"
                             u"b",
                             other},
                            {"service indication",
                             u"\x01\x06\x01\xAE"
                             u"b",
                             other},
                            {"another name",
                             u"\x01\x06\x0B"
                             u"text/plain" +
                                 nul + u"b",
                             other},
                            {"no push",
                             u"\x01\x04\x01\xBE"
                             u"b",
                             other},
                            {"no end of the length", u"\x01\x06\xFF\xFF\xFF\xFF\xFF\x01\xBE", other},
                            {"type cut",
                             u"\x01\x06\x20"
                             u"application/vnd.wap",
                             other},
                            {"nothing behind the length", u"\x01\x06\x05", other},
                            {"one octet", u"\x01", other}};
  for (const PushCase& row : cases) {
    EXPECT_EQ(row.expected, ReadPdu(PushOf(row.octets), SMS_STAT_UNREAD).enType) << row.name;
  }
  EXPECT_EQ(other, ReadPdu(PushOf(u"\x01\x06\x01\xBE"
                                  u"b",
                                  0, 0, 0, 9200),
                           SMS_STAT_UNREAD)
                       .enType);
}

TEST(MmsPush, OfSeveralPartsIsHandedOverPartByPart) {
  for (const WORD reference : {WORD(9), WORD(0x1209)}) {
    const SMReadRecord first = ReadPdu(PushOf(u"\x01\x06\x01\xBE"
                                              u"bo",
                                              2, 1, reference),
                                       SMS_STAT_UNREAD);
    const SMReadRecord second = ReadPdu(PushOf(u"dy", 2, 2, reference), SMS_STAT_UNREAD);
    for (const SMReadRecord* const part : {&first, &second}) {
      ASSERT_EQ(SMS_IDENTIFYER_MMS_NOTIFY, part->enType);
      EXPECT_EQ(9, part->stLongSMS_info.btMR);
      EXPECT_EQ(2, part->stLongSMS_info.btTotalPack);
    }
    EXPECT_EQ("\x01\x06\x01\xBE", HeadOf(first));
    EXPECT_EQ("bo", BodyOf(first));
    EXPECT_EQ("", HeadOf(second));
    EXPECT_EQ("dy", BodyOf(second));
  }
}

TEST(MmsPush, IsNotSeenInThePartsOfAnotherPush) {
  CWapPushes pushes;
  ReadRules rules;
  rules.pPushes = &pushes;
  const std::string indication = PushOf(
      u"\x01\x06\x01\xAE"
      u"h",
      2, 1);
  const std::string notification = PushOf(
      u"\x01\x06\x01\xBE"
      u"h",
      2, 1);
  const std::string second = PushOf(u"ref", 2, 2);
  EXPECT_EQ(SMS_IDENTIFYER_MMS_NOTIFY, ReadPdu(second, SMS_STAT_UNREAD, rules).enType) << "nothing is known yet";
  EXPECT_EQ(SMS_IDENTIFYER_ORDINARILY, ReadPdu(indication, SMS_STAT_UNREAD, rules).enType);
  const SMReadRecord record = ReadPdu(second, SMS_STAT_UNREAD, rules);
  EXPECT_EQ(SMS_IDENTIFYER_ORDINARILY, record.enType);
  EXPECT_EQ(u"ref", ContentOf(record));
  EXPECT_EQ(2, record.stLongSMS_info.btPack);
  EXPECT_EQ(SMS_IDENTIFYER_MMS_NOTIFY, ReadPdu(PushOf(u"x", 2, 2, 10), SMS_STAT_UNREAD, rules).enType);
  // the reference comes again
  EXPECT_EQ(SMS_IDENTIFYER_MMS_NOTIFY, ReadPdu(notification, SMS_STAT_UNREAD, rules).enType);
  EXPECT_EQ(SMS_IDENTIFYER_MMS_NOTIFY, ReadPdu(second, SMS_STAT_UNREAD, rules).enType);
}

TEST(MessageConversion, TellsAReportsOutcomeInTheFirstUnit) {
  for (int status = 0; status < 256; ++status) {
    sms_pdu::StatusReport report;
    sms_pdu::MakeAddress("+491710000002", &report.recipient);
    report.status = static_cast<BYTE>(status);
    BYTE octets[sms_pdu::kTpduOctets];
    std::size_t size = 0;
    ASSERT_EQ(sms_pdu::PduError::None, sms_pdu::EncodeStatusReport(report, octets, sizeof octets, &size));
    char hex[2 * sms_pdu::kTpduOctets + 1];
    sms_pdu::OctetsToHex(octets, size, hex);
    const SMReadRecord record = ReadPdu(std::string(kCentre) + hex, SMS_STAT_UNREAD);
    ASSERT_EQ(SMS_IDENTIFYER_REPORT, record.enType);
    EXPECT_EQ(status < 0x20 ? 0 : status, record.wszContent[0]) << status;
    EXPECT_STREQ("+491710000002", record.szAddress);
  }
}

TEST(MessageConversion, GivesAReportTheTimeOfItsOutcome) {
  const std::string report =
      "06070C91947101000020"
      "42506070809000"
      "42506081809000"
      "00";
  const SMReadRecord record = ReadPdu(kCentre + report, SMS_STAT_UNREAD, {true, nullptr});
  ASSERT_EQ(SMS_IDENTIFYER_REPORT, record.enType);
  EXPECT_EQ(18, record.stTime.btHour);
}

TEST(MessageConversion, ReadsWhatWasWrittenByThisDeviceAsSuch) {
  const std::string submit = "01070C91947101000020000005E8329BFD06";
  for (const SMS_STAT state : {SMS_STAT_UNSENT, SMS_STAT_SENT}) {
    const SMReadRecord record = ReadPdu(kCentre + submit, state);
    EXPECT_STREQ("+491710000002", record.szAddress);
    EXPECT_EQ(u"hello", ContentOf(record));
  }
  EXPECT_STREQ("", ReadPdu(kCentre + submit, SMS_STAT_READ).szAddress);
}

TEST(MessageConversion, TellsWhichServiceCentreAnAnswerGoesBy) {
  sms_pdu::Deliver message = Received(0, u"hello");
  EXPECT_EQ(SMS_REPLY_PATH_LOCAL_SM_CENTER_ADDR, ReadPdu(HexOf(message), SMS_STAT_UNREAD).enReplyPath);
  message.replyPath = true;
  EXPECT_EQ(SMS_REPLY_PATH_SOURCE_SM_CENTER_ADDR, ReadPdu(HexOf(message), SMS_STAT_UNREAD).enReplyPath);
}

TEST(MessageConversion, WritesALineBackUnlessThereIsNoMessageInIt) {
  const std::string message = HexOf(Received(0, u"hello"));
  PduLine line;
  ASSERT_TRUE(ToLine(message, line));
  EXPECT_EQ(message, line.hex);
  EXPECT_EQ((message.size() - std::strlen(kCentre)) / 2, line.tpduOctets);
  for (const std::string damaged : {"", "00", kCentre, "0791", "zz"}) EXPECT_FALSE(ToLine(damaged, line)) << damaged;
}

TEST(MessageConversion, KeepsWhatCannotBeDecodedAsText) {
  for (const std::string hex : {"", "0", "zz", "07919471", "00FF", "0791947101670000040C91"}) {
    const SMReadRecord record = ReadPdu(hex, SMS_STAT_UNREAD);
    EXPECT_EQ(VELK_wstring(hex.begin(), hex.end()), ContentOf(record));
    EXPECT_EQ(SMS_IDENTIFYER_ORDINARILY, record.enType);
    EXPECT_STREQ("", record.szAddress);
  }
  EXPECT_EQ(VELK_wstring(160, u'A'), ContentOf(ReadPdu(std::string(100000, 'A'), SMS_STAT_READ)));
}

TEST(MessageConversion, ReadsEveryCutOfAMessageWithoutHarm) {
  const std::string hex = HexOf(Received(0, u"Hello"));
  for (const SMS_STAT state : {SMS_STAT_UNREAD, SMS_STAT_SENT}) {
    for (std::size_t length = 0; length <= hex.size(); ++length) {
      EXPECT_GE(160u, ReadPdu(hex.substr(0, length), state).dwLength);
    }
  }
}

struct ZoneCase {
  const char* name;
  const char* zone;
  std::int8_t quarters;
  const char* expected;
};

TEST(MessageConversion, TurnsZonesToLocalTime) {
  const ZoneCase cases[] = {{"utc", "UTC0", 0, "2024-05-06 07:08:09"},
                            {"east", "UTC0", 8, "2024-05-06 05:08:09"},
                            {"west", "UTC0", -32, "2024-05-06 15:08:09"},
                            {"local summer", "CET-1CEST,M3.5.0,M10.5.0/3", 0, "2024-05-06 09:08:09"},
                            {"day before", "PST8PDT,M3.2.0,M11.1.0", 0, "2024-05-06 00:08:09"},
                            {"quarter", "<+0545>-5:45", 0, "2024-05-06 12:53:09"}};
  for (const ZoneCase& row : cases) {
    const CZone zone(row.zone);
    const sms_pdu::TimeStamp time{2024, 5, 6, 7, 8, 9, row.quarters};
    EXPECT_EQ(row.expected, TextOf(ToLocalTime(time))) << row.name;
  }
  EXPECT_EQ(0, ToLocalTime(sms_pdu::TimeStamp()).wYear);
}

TEST(MessageConversion, KeepsTheNetworksOwnTimeWhenAsked) {
  const CZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  ReadRules rules;
  rules.bNetworkTime = true;
  EXPECT_EQ("2024-05-06 07:08:09", TextOf(ReadPdu(HexOf(Received(0, u"x")), SMS_STAT_UNREAD, rules).stTime));
}

TEST(MessageConversion, ReadsAMessageWhoseTimeMakesNoSense) {
  std::string hex = HexOf(Received(0, u"Hello"));
  const std::size_t at = hex.find("42506070809080");
  ASSERT_NE(std::string::npos, at);
  for (const char* const digits : {"42F06070809080", "42316170809080", "00000000000000", "FFFFFFFFFFFFFF"}) {
    hex.replace(at, 14, digits);
    const SMReadRecord record = ReadPdu(hex, SMS_STAT_UNREAD);
    EXPECT_EQ("0000-00-00 00:00:00", TextOf(record.stTime)) << digits;
    EXPECT_EQ(u"Hello", ContentOf(record));
  }
}

TEST(MessageConversion, SavesAReceivedMessageWithItsTime) {
  for (const char* name : {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "<+0545>-5:45"}) {
    const CZone zone(name);
    SMS_PARAM part = Part(u"Hello");
    part.utTime.wYear = 2024;
    part.utTime.btMonth = 12;
    part.utTime.btDay = 31;
    part.utTime.btHour = 23;
    part.utTime.btMinute = 59;
    part.utTime.btSecond = 58;
    PduLine line;
    ASSERT_EQ(sms_pdu::PduError::None, MakeDeliver(part, line));
    const SMReadRecord record = ReadPdu(line.hex, SMS_STAT_READ);
    EXPECT_EQ("2024-12-31 23:59:58", TextOf(record.stTime)) << name;
    EXPECT_EQ(u"Hello", ContentOf(record));
    EXPECT_EQ(2 * line.tpduOctets + 2, line.hex.size());  // one octet for "no service centre"
  }
}

TEST(MessageConversion, SavesAMessageWithoutATime) {
  PduLine line;
  ASSERT_EQ(sms_pdu::PduError::None, MakeDeliver(Part(u"x"), line));
  EXPECT_EQ(0, ReadPdu(line.hex, SMS_STAT_READ).stTime.wYear);
}

TEST(MessageConversion, SubmitsWhatTheConfigurationAsksFor) {
  WMSConfigurationType config = Config();
  sms_pdu::Submit message = Submitted(Part(u"Hello"), config);
  EXPECT_FALSE(message.statusReportRequest);
  EXPECT_FALSE(message.replyPath);
  EXPECT_EQ(sms_pdu::ValidityFormat::Relative, message.validity.format);
  EXPECT_EQ(167, message.validity.relative);
  EXPECT_EQ(u"Hello", VELK_wstring(message.userData.text));
  config.bEnableStatusReport = config.bEnableReplyPath = true;
  config.dwValidity = 300;
  message = Submitted(Part(u"Hello"), config);
  EXPECT_TRUE(message.statusReportRequest);
  EXPECT_TRUE(message.replyPath);
  EXPECT_EQ(255, message.validity.relative);
}

TEST(MessageConversion, SubmitsInTheCodingOfThePart) {
  EXPECT_EQ(0, Submitted(Part(u"Hello", 0), Config()).userData.dcs);
  for (const char coding : {'\x08', '\x0C'}) {
    const sms_pdu::Submit message = Submitted(Part(u"日本", coding), Config());
    EXPECT_EQ(8, message.userData.dcs);
    EXPECT_EQ(u"日本", VELK_wstring(message.userData.text));
  }
  const sms_pdu::Submit octets = Submitted(Part(u"\x01\xFF", 4), Config());
  EXPECT_EQ(4, octets.userData.dcs);
  ASSERT_EQ(2, octets.userData.octetCount);
  EXPECT_EQ(0xFF, octets.userData.octets[1]);
  EXPECT_EQ(0, Submitted(Part(u"\u2400", 4), Config()).userData.octets[0]);
}

TEST(MessageConversion, SubmitsPartsWithPlaceAndTables) {
  SMS_PARAM part = Part(u"ışğ");
  part.bLongSms = true;
  part.stLongSMS_info.btMR = 7;
  part.stLongSMS_info.btTotalPack = 2;
  part.stLongSMS_info.btPack = 1;
  part.stSMS_NLI.enNLI_Lock = SMS_NLI_Turk_Lock;
  const sms_pdu::Submit message = Submitted(part, Config());
  sms_pdu::Concatenation place;
  ASSERT_TRUE(sms_pdu::FindConcatenation(message.userData.header, &place));
  EXPECT_EQ(7, place.reference);
  EXPECT_EQ(2, place.total);
  EXPECT_EQ(1, place.sequence);
  EXPECT_EQ(u"ışğ", VELK_wstring(message.userData.text));
}

TEST(MessageConversion, BeginsARunWithTheFirstOfSeveralParts) {
  SMS_PARAM part = Part(u"Hello");
  const auto begins = [&](bool longSms, BYTE total, BYTE number) {
    part.bLongSms = longSms;
    part.stLongSMS_info.btTotalPack = total;
    part.stLongSMS_info.btPack = number;
    PduLine line;
    EXPECT_EQ(sms_pdu::PduError::None, MakeSubmit(part, Config(), line));
    return line.bBeginsRun;
  };
  EXPECT_TRUE(begins(true, 2, 1));
  EXPECT_FALSE(begins(true, 2, 2));
  EXPECT_FALSE(begins(true, 1, 1));
  EXPECT_FALSE(begins(false, 2, 1));
}

TEST(MessageConversion, PutsAPartsOwnServiceCentreInFront) {
  SMS_PARAM part = Part(u"Hello");
  PduLine line;
  ASSERT_EQ(sms_pdu::PduError::None, MakeSubmit(part, Config(), line));
  EXPECT_EQ("00", line.hex.substr(0, 2));
  std::strcpy(part.szSCNum, "+491710760000");
  ASSERT_EQ(sms_pdu::PduError::None, MakeSubmit(part, Config(), line));
  EXPECT_EQ("0791947101670000", line.hex.substr(0, 16));
  EXPECT_EQ(16 + 2 * line.tpduOctets, line.hex.size());
}

TEST(MessageConversion, RefusesWhatOneMessageCannotCarry) {
  PduLine line;
  EXPECT_NE(sms_pdu::PduError::None, MakeSubmit(Part(VELK_wstring(71, u'日'), 8), Config(), line));
  EXPECT_NE(sms_pdu::PduError::None, MakeSubmit(Part(u"日", 0), Config(), line));
  EXPECT_NE(sms_pdu::PduError::None, MakeSubmit(Part(VELK_wstring(141, u'x'), 4), Config(), line));
  EXPECT_EQ(sms_pdu::PduError::UnencodableCharacter, MakeSubmit(Part(u"\u0100", 4), Config(), line));
  SMS_PARAM part = Part(u"x");
  std::memset(part.szAddress, '1', sizeof part.szAddress);  // no terminator
  EXPECT_NE(sms_pdu::PduError::None, MakeSubmit(part, Config(), line));
  part = Part(u"x");
  part.iContentLen = -1;
  EXPECT_EQ(sms_pdu::PduError::None, MakeSubmit(part, Config(), line));
  part.iContentLen = 0x7FFFFFFF;
  std::fill(std::begin(part.wszContent), std::end(part.wszContent), u'x');
  EXPECT_EQ(sms_pdu::PduError::None, MakeSubmit(part, Config(), line));
}

TEST(MessageConversion, ReadsABroadcastPage) {
  // 93 characters in 82 octets, packed
  std::string hex = "123400FF0F34";
  BYTE septets[93];
  std::fill(std::begin(septets), std::end(septets), BYTE('a'));
  BYTE octets[82];
  sms_pdu::PackSeptets(septets, 93, 0, octets);
  char digits[2 * sizeof octets + 1];
  sms_pdu::OctetsToHex(octets, sizeof octets, digits);
  const CBSMessage page = PageOf(hex + digits);
  EXPECT_EQ(0x1234u, page.SerialNumber);
  EXPECT_EQ(0xFFu, page.MessageId);
  EXPECT_EQ(3, page.Sequence);
  EXPECT_EQ(4, page.TotalNumber);
  EXPECT_EQ(VELK_wstring(93, u'a'), VELK_wstring(page.wszContent, 93));
  EXPECT_EQ(0, page.wszContent[93]);
}

TEST(MessageConversion, ReadsEveryCodingOfAPageWithoutHarm) {
  for (int dcs = 0; dcs < 256; ++dcs) {
    char head[16];
    std::snprintf(head, sizeof head, "00010002%02X11", static_cast<unsigned>(dcs));
    EXPECT_EQ(1u, ReadPages(std::string(head) + std::string(164, 'F')).size()) << dcs;
    EXPECT_EQ(0, PageOf(head).wszContent[0]) << dcs;
  }
}

TEST(MessageConversion, ReadsOctetsOfAPageUpToWhatFillsItUp) {
  EXPECT_EQ(u"A\u2400B", VELK_wstring(PageOf("00010002441141004200000000").wszContent));
}

TEST(MessageConversion, ReadsAllPagesOfAMessageOfUmts) {
  std::string hex = "01003212344802";  // type, channel, serial number, UCS-2, two pages
  for (const std::string content : {"00480069", "0021"}) {
    char used[3];
    std::snprintf(used, sizeof used, "%02X", static_cast<unsigned>(content.size() / 2));
    hex += content + std::string(164 - content.size(), '0') + used;
  }
  const std::vector<CBSMessage> pages = ReadPages(hex);
  ASSERT_EQ(2u, pages.size());
  for (std::size_t page = 0; page < 2; ++page) {
    EXPECT_EQ(0x1234u, pages[page].SerialNumber);
    EXPECT_EQ(0x32u, pages[page].MessageId);
    EXPECT_EQ(page + 1, pages[page].Sequence);
    EXPECT_EQ(2, pages[page].TotalNumber);
  }
  EXPECT_EQ(u"Hi", VELK_wstring(pages[0].wszContent));
  EXPECT_EQ(u"!", VELK_wstring(pages[1].wszContent));
}

TEST(MessageConversion, RefusesADamagedPage) {
  for (const std::string hex : {"", "00", "0001000200", "0001000200x1", "000100020011F"}) {
    EXPECT_TRUE(ReadPages(hex).empty()) << hex;
  }
  EXPECT_TRUE(ReadPages(std::string(2 * 89, '0')).empty());
}

}  // namespace
