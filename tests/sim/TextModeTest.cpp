// Messages in text mode, by themselves.
#include "TextMode.h"

#include <gtest/gtest.h>

#include <random>

using namespace modem_sim;

namespace {

sms_pdu::Address AddressOf(const char* number) {
  sms_pdu::Address address;
  EXPECT_EQ(sms_pdu::MakeAddress(number, &address), sms_pdu::PduError::None);
  return address;
}

sms_pdu::TimeStamp SomeTime() {
  sms_pdu::TimeStamp time;
  EXPECT_TRUE(ParseTime("24/05/06,07:08:09+08", &time));
  return time;
}

/// A stored SMS-SUBMIT of a typed text, which fits.
StoredMessage Typed(const std::string& typed, const TextParameters& parameters = TextParameters(),
                    CharacterSet set = CharacterSet::Ira) {
  StoredMessage message;
  message.status = MessageStatus::Unsent;
  EXPECT_TRUE(MakeSubmit(AddressOf("+491720000002"), parameters, set, typed, &message));
  return message;
}

StoredMessage Received(const std::string& typed, const TextParameters& parameters = TextParameters()) {
  StoredMessage message;
  EXPECT_TRUE(MakeDeliver(AddressOf("+491720000002"), SomeTime(), parameters, CharacterSet::Ira, typed, &message));
  return message;
}

StoredMessage Report() {
  sms_pdu::StatusReport report;
  report.reference = 7;
  report.recipient = AddressOf("+491720000002");
  report.time = report.dischargeTime = SomeTime();
  StoredMessage message;
  BYTE tpdu[sms_pdu::kTpduOctets];
  EXPECT_EQ(sms_pdu::EncodeStatusReport(report, tpdu, sizeof tpdu, &message.tpduLength), sms_pdu::PduError::None);
  message.pdu.assign(1, 0);
  message.pdu.insert(message.pdu.end(), tpdu, tpdu + message.tpduLength);
  return message;
}

TextParameters Coded(BYTE dcs, BYTE firstOctet = 17) {
  TextParameters parameters;
  parameters.dcs = dcs;
  parameters.firstOctet = firstOctet;
  return parameters;
}

const TextView kAll = {CharacterSet::Ira, true};

/// Takes the last octets of the TPDU away.
StoredMessage Cut(StoredMessage message, std::size_t octets) {
  message.pdu.resize(message.pdu.size() - octets);
  message.tpduLength -= octets;
  return message;
}

}  // namespace

TEST(TextMode, ATypedTextReadsTheSameInItsCharacterSet) {
  EXPECT_EQ(ReadText(Typed("Hello"), kAll).text, "Hello");
  EXPECT_EQ(ReadText(Received("Hello"), kAll).text, "Hello");
  for (const CharacterSet set : kCharacterSets) {
    const std::string typed = Encode(set, u"Hello \u00FC\u20AC");
    if (set == CharacterSet::Ira) continue;  // lacks two of them
    EXPECT_EQ(ReadText(Typed(typed, TextParameters(), set), {set, false}).text, typed) << CharacterSetName(set);
  }
}

TEST(TextMode, TypedOctetsReadTheSameInEveryCoding) {
  for (const BYTE dcs : {BYTE(4), BYTE(8), BYTE(0xF5), BYTE(0x18)}) {
    for (const std::string digits : {"00", "65E5672C", "0605040B8423F00102030405"}) {
      EXPECT_EQ(ReadText(Typed(digits, Coded(dcs)), kAll).text, digits);
      EXPECT_EQ(ReadText(Received(digits, Coded(dcs, 4)), kAll).text, digits);
    }
    EXPECT_EQ(ReadText(Typed("0605040B8423F00102", Coded(dcs, 81)), kAll).text, "0605040B8423F00102");
  }
}

TEST(TextMode, TakesWhatFitsIntoAMessageAndNoMore) {
  StoredMessage message;
  const sms_pdu::Address to = AddressOf("110");
  const auto takes = [&](const std::string& typed, BYTE dcs, BYTE firstOctet = 17) {
    return MakeSubmit(to, Coded(dcs, firstOctet), CharacterSet::Ira, typed, &message);
  };
  EXPECT_TRUE(takes(std::string(160, 'a'), 0));
  EXPECT_FALSE(takes(std::string(161, 'a'), 0));
  EXPECT_TRUE(takes(std::string(80, '{'), 0));
  EXPECT_FALSE(takes(std::string(81, '{'), 0));
  EXPECT_TRUE(takes(std::string(280, '0'), 4));
  EXPECT_FALSE(takes(std::string(282, '0'), 4));
  EXPECT_TRUE(takes("", 0));
  EXPECT_TRUE(takes("", 4));
  EXPECT_FALSE(takes("0", 4));
  EXPECT_FALSE(takes("", 4, 81)) << "no header where one is announced";
  EXPECT_FALSE(takes("01", 4, 81));
  EXPECT_TRUE(takes("0100", 4, 81)) << "a header of one octet";
}

TEST(TextMode, CarriesTheBitsOfTheFirstOctet) {
  const StoredMessage message = Typed("a", Coded(0, 0xB5));
  EXPECT_EQ(message.pdu[1], 0xB5);
  EXPECT_EQ(Typed("00", Coded(4, 0x51)).pdu[1], 0x51);
}

TEST(TextMode, ShowsNoMoreThanAskedFor) {
  const StoredMessage message = Received("Hello");
  EXPECT_EQ(ListedText(message, {CharacterSet::Ira, false}).values,
            "\"REC UNREAD\",\"+491720000002\",,\"24/05/06,07:08:09+08\"");
  EXPECT_EQ(ListedText(message, kAll).values, "\"REC UNREAD\",\"+491720000002\",,\"24/05/06,07:08:09+08\",145,5");
  EXPECT_FALSE(ReadText(Report(), kAll).hasText);
}

TEST(TextMode, ShowsWhatIsDamagedAsOctets) {
  for (const StoredMessage& whole : {Typed("Hello"), Received("Hello"), Report()}) {
    for (std::size_t cut = 1; cut <= whole.tpduLength; ++cut) {
      const StoredMessage message = Cut(whole, cut);
      for (const TextLines& lines : {ListedText(message, kAll), ReadText(message, kAll), ArrivingText(message, kAll)}) {
        EXPECT_FALSE(lines.values.empty()) << cut;
        EXPECT_EQ(lines.values.find('\r'), std::string::npos);
      }
    }
  }
  EXPECT_EQ(ReadText(Cut(Received("Hello"), 15), kAll).values, "\"REC UNREAD\",\"\",,");
}

TEST(TextMode, ShowsAnyOctetsAsAMessage) {
  std::mt19937 random(1);
  for (int i = 0; i < 100000; ++i) {
    StoredMessage message;
    message.status = static_cast<MessageStatus>(random() % 4);
    message.tpduLength = random() % sms_pdu::kTpduOctets;
    message.pdu.assign(1, 0);
    for (std::size_t k = 0; k < message.tpduLength; ++k) message.pdu.push_back(static_cast<BYTE>(random()));
    if (message.tpduLength > 2) message.pdu[2 + random() % 2] = static_cast<BYTE>(random() % 21);  // often an address
    const TextView view = {kCharacterSets[random() % 4], random() % 2 == 0};
    ASSERT_EQ(ListedText(message, view).values.rfind(std::string("\"") + TextOf(message.status) + "\",", 0), 0U);
    ASSERT_EQ(ReadText(message, view).values.rfind(std::string("\"") + TextOf(message.status) + "\",", 0), 0U);
  }
}

TEST(TextMode, ReadsTimesThatExist) {
  sms_pdu::TimeStamp time;
  for (const std::string text : {"24/02/29,23:59:59+00", "30/12/31,00:00:00-79", "00/01/01,12:00:00+48"}) {
    ASSERT_TRUE(ParseTime(text, &time)) << text;
    EXPECT_EQ(TextOf(time), text);
  }
  for (const std::string text : {"", "23/02/29,00:00:00+00", "24/05/06", "24/05/06,07:08:09", "24/05/06,24:00:00+00",
                                 "24/05/06,07:08:09+08 ", "24/13/01,00:00:00+00", "24/05/06,07:08:09+80", "now"}) {
    EXPECT_FALSE(ParseTime(text, &time)) << text;
  }
}

TEST(TextMode, ShowsAPageInItsCoding) {
  std::vector<BYTE> octets(sms_pdu::kPageOctets, 0);
  octets[0] = 0x12;
  octets[1] = 0x34;
  octets[3] = 50;
  octets[5] = 0x11;
  octets[6] = 0x41;
  const auto show = [&](int dcs) {
    sms_pdu::BroadcastPage page;
    octets[4] = static_cast<BYTE>(dcs);
    EXPECT_EQ(sms_pdu::DecodePage(octets.data(), octets.size(), &page), sms_pdu::PduError::None);
    return PageText(page, octets, kAll);
  };
  for (const int dcs : {0x00, 0x0F, 0x40, 0xF0, 0xF3}) EXPECT_EQ(show(dcs).text.substr(0, 2), "A@") << dcs;
  for (const int dcs : {0x11, 0x44, 0x48, 0x60, 0xF4}) EXPECT_EQ(show(dcs).text, "41" + std::string(162, '0')) << dcs;
  EXPECT_EQ(show(0xF4).values, "4660,50,244,1,1");
}
