// The requests of the control socket, without the socket.
#include "Control.h"
#include "FakeWorld.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace modem_sim;
using nlohmann::json;

namespace {

/// A modem with somebody at its computer and somebody at its control socket.
class Control : public testing::Test {
protected:
  Control() { Say("ATE0"); }

  /// Sends a line and answers the lines that came back.
  std::vector<std::string> Say(const std::string& line, const std::string& end = "\r") {
    const std::string bytes = line + end;
    modem.Receive(bytes.data(), bytes.size());
    return Heard();
  }

  std::vector<std::string> Heard() {
    world.Advance(0);
    return LinesOf(world.TakeOutput());
  }

  json Ask(const std::string& request) { return json::parse(control.Answer(request)); }

  json Do(const std::string& request) {
    const json answer = Ask(request);
    EXPECT_EQ(answer["ok"], true) << request << " -> " << answer;
    return answer;
  }

  std::string ErrorOf(const std::string& request) {
    const json answer = Ask(request);
    EXPECT_EQ(answer["ok"], false) << request << " -> " << answer;
    return answer.value("error", "");
  }

  void Send(const std::string& number, const VELK_wstring& text) {
    sms_pdu::Submit submit;
    sms_pdu::MakeAddress(number.c_str(), &submit.destination);
    sms_pdu::SetText(&submit.userData, text.data(), text.size());
    BYTE tpdu[sms_pdu::kTpduOctets];
    std::size_t size = 0;
    ASSERT_EQ(sms_pdu::EncodeSubmit(submit, tpdu, sizeof tpdu, &size), sms_pdu::PduError::None);
    std::string hex(2 * size + 1, '\0');
    sms_pdu::OctetsToHex(tpdu, size, hex.data());
    hex.pop_back();
    Say("AT+CMGS=" + std::to_string(size));
    ASSERT_EQ(Say("00" + hex, "\x1A").back(), "OK");
  }

  /// Messages of a memory.
  json Messages(const std::string& name = "SM") { return Do(R"({"do":"memory","name":")" + name + "\"}")["messages"]; }

  CFakeWorld world;
  CSimulatedModem modem{ModemOptions(), world};
  CControl control{modem, world};
};

typedef std::vector<std::string> Lines;

}  // namespace

TEST_F(Control, DeliversAShortText) {
  Say("AT+CNMI=2,1");
  Do(R"({"do":"deliver","from":"+491720000002","text":"hällo €"})");
  EXPECT_EQ(Heard(), Lines{"+CMTI: \"SM\",1"});
  const json message = Messages().at(0);
  EXPECT_EQ(message["number"], "+491720000002");
  EXPECT_EQ(message["text"], "hällo €");
  EXPECT_EQ(message["dcs"], 0);
  EXPECT_EQ(message["status"], "unread");
}

TEST_F(Control, ChoosesUcs2WhereTheGsmAlphabetEnds) {
  Do(R"({"do":"deliver","from":"Bank","text":"привет 😀"})");
  const json message = Messages().at(0);
  EXPECT_EQ(message["number"], "Bank");
  EXPECT_EQ(message["text"], "привет 😀");
  EXPECT_EQ(message["dcs"], 8);
}

TEST_F(Control, DeliversByAlphabetClassProtocolAndTime) {
  Do(R"({"do":"deliver","from":"1","text":"a","alphabet":"ucs2","class":2,"protocol":65,
         "time":"2023-12-31 23:59:58-01:30"})");
  const json message = Messages().at(0);
  EXPECT_EQ(message["class"], 2);
  EXPECT_EQ(message["pdu"], "040181F1411A32211332958568020061");
}

TEST_F(Control, DeliversOctets) {
  Do(R"({"do":"deliver","from":"1","alphabet":"8bit","data":"00ff10"})");
  EXPECT_EQ(Messages().at(0)["data"], "00FF10");
}

TEST_F(Control, DeliversThePartsOfALongTextInTheOrderAsked) {
  const std::string text(400, 'x');
  const json answer = Do(R"({"do":"deliver","from":"1","parts":[3,1,2],"reference":7,"text":")" + text + "\"}");
  EXPECT_EQ(answer["parts"], 3);
  const json messages = Messages();
  ASSERT_EQ(messages.size(), 3U);
  EXPECT_EQ(messages[0]["part"], 3);
  EXPECT_EQ(messages[1]["part"], 1);
  EXPECT_EQ(messages[2]["part"], 2);
  std::string joined;
  for (const std::size_t i : {1U, 2U, 0U}) {
    joined += messages[i]["text"];
    EXPECT_EQ(messages[i]["parts"], 3);
    EXPECT_EQ(messages[i]["partReference"], 7);
  }
  EXPECT_EQ(joined, text);
  EXPECT_EQ(messages[1]["text"].get<std::string>().size(), 153U);
}

TEST_F(Control, LeavesPartsOutAndSendsThemTwice) {
  const std::string text(200, 'x');
  const json answer = Do(R"({"do":"deliver","from":"1","parts":[2,2],"text":")" + text + "\"}");
  EXPECT_EQ(answer["taken"], 2);
  EXPECT_EQ(Messages().at(1)["part"], 2);
}

TEST_F(Control, DividesNoCharacter) {
  std::string gsm(152, 'a');
  gsm += "€" + std::string(20, 'b');
  Do(R"({"do":"deliver","from":"1","text":")" + gsm + "\"}");
  std::string pairs;
  for (int i = 0; i < 40; ++i) pairs += "😀";
  Do(R"({"do":"deliver","from":"1","reference":300,"text":"é)" + pairs + "\"}");
  const json messages = Messages();
  ASSERT_EQ(messages.size(), 4U);
  EXPECT_EQ(messages[0]["text"], std::string(152, 'a'));
  EXPECT_EQ(messages[1]["text"], "€" + std::string(20, 'b'));
  EXPECT_EQ(messages[2]["text"].get<std::string>().substr(0, 6), "é😀");
  EXPECT_EQ(messages[2]["text"].get<std::string>() + messages[3]["text"].get<std::string>(), "é" + pairs);
  EXPECT_EQ(messages[2]["partReference"], 300);
}

TEST_F(Control, DeliversRawOctetsDamagedOnesToo) {
  Say("AT+CNMI=2,1");
  Do(R"({"do":"pdu","hex":"0401"})");
  EXPECT_EQ(Heard(), Lines{"+CMTI: \"SM\",1"});
  EXPECT_EQ(Messages().at(0)["pdu"], "0401");
  EXPECT_NE(ErrorOf(R"({"do":"pdu","hex":""})").find("\"hex\" is empty"), std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"pdu","hex":"0"})").find("\"hex\""), std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"pdu","hex":")" + std::string(354, '0') + "\"}").find("176 octets"), std::string::npos);
}

TEST_F(Control, ReportsOnAMessage) {
  Say("AT+CNMI=2,1,0,1");
  Do(R"({"do":"report","to":"+491720000002","reference":9,"status":70,"time":"2024-05-06T07:08:09Z"})");
  const Lines heard = Heard();
  ASSERT_EQ(heard.size(), 2U);
  EXPECT_EQ(heard[0].substr(0, 6), "+CDS: ");
  EXPECT_EQ(heard[1].substr(16),
            "0609"
            "0C91947102000020"
            "42506070809000"
            "42506070809080"
            "46");
}

TEST_F(Control, BroadcastsAPageToWhoSelectedItsChannel) {
  const std::string page = R"({"do":"page","serial":4660,"channel":50,"text":"storm","page":1,"pages":2})";
  EXPECT_EQ(Do(page)["fate"], "not selected by +CSCB");
  Say("AT+CSCB=0,\"40-60\"");
  EXPECT_EQ(Do(page)["fate"], "not wanted by +CNMI");
  Say("AT+CNMI=2,1,2");
  EXPECT_EQ(Do(page)["shown"], true);
  const Lines heard = Heard();
  ASSERT_EQ(heard.size(), 2U);
  EXPECT_EQ(heard[0], "+CBM: 88");
  EXPECT_EQ(heard[1].substr(0, 12), "123400320F12");
  EXPECT_EQ(heard[1].size(), 176U);
  Say("AT+CSCB=1,\"50\"");
  EXPECT_EQ(Do(page)["shown"], false);
  EXPECT_EQ(Do(R"({"do":"page","channel":51,"text":"storm"})")["shown"], true);
  Say("AT+CSCB=0,\"\",\"1-3\"");
  EXPECT_EQ(Do(R"({"do":"page","channel":51,"text":"storm"})")["shown"], false);
  EXPECT_EQ(Do(R"({"do":"page","channel":51,"text":"storm","dcs":1})")["shown"], true);
  Do(R"({"do":"network","state":"none"})");
  EXPECT_EQ(Do(R"({"do":"page","channel":51,"text":"storm","dcs":1})")["fate"], "no network");
}

TEST_F(Control, DividesABroadcastIntoPages) {
  Say("AT+CSCB=0,\"50\"");
  Say("AT+CNMI=2,1,2");
  EXPECT_EQ(Do(R"({"do":"page","text":")" + std::string(94, 'x') + "\"}")["pages"], 2);
  Lines heard = Heard();
  ASSERT_EQ(heard.size(), 4U);
  EXPECT_EQ(heard[1].substr(8, 4), "0F12");
  EXPECT_EQ(heard[3].substr(8, 4), "0F22");
  EXPECT_EQ(Do(R"({"do":"page","text":"ж"})")["pages"], 1);
  heard = Heard();
  EXPECT_EQ(heard.at(1).substr(8, 12), "48110436000D");
  EXPECT_NE(ErrorOf(R"({"do":"page","page":1,"text":")" + std::string(94, 'x') + "\"}").find("2 pages"),
            std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"page","text":")" + std::string(93 * 15 + 1, 'x') + "\"}").find("15 pages"),
            std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"page","page":3,"pages":2,"text":"x"})").find("\"page\""), std::string::npos);
}

TEST_F(Control, PushesAnMmsNotificationToItsPort) {
  Do(R"({"do":"push","from":"+491720000002",
         "mms":{"from":"+491720000003","subject":"Hi","url":"http://m/1","size":300}})");
  const json message = Messages().at(0);
  EXPECT_EQ(message["dcs"], 4);
  EXPECT_EQ(message["data"],
            "0106"
            "03BEAF84"
            "8C82"
            "98543100"
            "8D90"
            "8919802B3439313732303030303030332F545950453D504C4D4E00"
            "9604EA486900"
            "8A80"
            "8E02012C"
            "8805810303F480"
            "83687474703A2F2F6D2F3100");
  EXPECT_NE(message["pdu"].get<std::string>().find("0605040B840B84"), std::string::npos);
}

TEST_F(Control, PushesWhatIsLongerInParts) {
  std::string hex;
  for (int i = 0; i < 200; ++i) hex += "AB";
  EXPECT_EQ(Do(R"({"do":"push","from":"1","data":")" + hex + "\"}")["parts"], 2);
  const json messages = Messages();
  EXPECT_EQ(messages.at(0)["data"].get<std::string>() + messages.at(1)["data"].get<std::string>(), hex);
  EXPECT_NE(ErrorOf(R"({"do":"push","from":"1"})").find("either"), std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"push","from":"1","mms":{"url":"a\u0000b"}})").find("zero"), std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"push","from":"1","mms":{}})").find("\"url\" is missing"), std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"push","from":"1","mms":7})").find("\"mms\" must be an object"), std::string::npos);
}

TEST_F(Control, TellsWhatWasSentInOrder) {
  Send("+491720000002", u"one €");
  Send("4711", u"two");
  const json answer = Do(R"({"do":"sent"})");
  EXPECT_EQ(answer["count"], 2);
  EXPECT_EQ(answer["messages"][0]["number"], "+491720000002");
  EXPECT_EQ(answer["messages"][0]["text"], "one €");
  EXPECT_EQ(answer["messages"][0]["reference"], 0);
  EXPECT_EQ(answer["messages"][1]["number"], "4711");
  EXPECT_EQ(answer["messages"][1]["reference"], 1);
  EXPECT_EQ(answer["messages"][1]["pdu"],
            "0100048174110000"
            "03F4FB1B");
  EXPECT_EQ(Do(R"({"do":"sent","from":1})")["messages"].size(), 1U);
  EXPECT_EQ(Do(R"({"do":"sent","from":9,"forget":true})")["messages"].size(), 0U);
  EXPECT_EQ(Do(R"({"do":"sent"})")["count"], 0);
}

TEST_F(Control, TellsAndFillsAMemory) {
  Do(R"({"do":"deliver","from":"1","text":"a"})");
  EXPECT_EQ(Do(R"({"do":"fill","name":"SM"})")["filled"], 19);
  const json memory = Do(R"({"do":"memory","name":"SM"})");
  EXPECT_EQ(memory["capacity"], 20);
  EXPECT_EQ(memory["used"], 20);
  EXPECT_EQ(memory["messages"][0]["text"], "a");
  EXPECT_EQ(Do(R"({"do":"memory","name":"ME"})")["used"], 0);
  EXPECT_EQ(Do(R"({"do":"deliver","from":"1","text":"b"})")["waiting"], 1);
  EXPECT_NE(ErrorOf(R"({"do":"fill","name":"XX"})").find("\"SM\", \"ME\""), std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"memory"})").find("\"name\" is missing"), std::string::npos);
}

TEST_F(Control, MovesTheNetworkThroughItsStates) {
  Say("AT+CREG=1");
  const std::pair<const char*, const char*> rows[] = {
      {"roaming", "5"}, {"searching", "2"}, {"denied", "3"}, {"none", "0"}, {"home", "1"}};
  for (const auto& [state, number] : rows) {
    Do(std::string(R"({"do":"network","state":")") + state + "\"}");
    EXPECT_EQ(Heard(), Lines{std::string("+CREG: ") + number}) << state;
  }
  EXPECT_NE(ErrorOf(R"({"do":"network","state":"lost"})").find("\"roaming\""), std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"network"})").find("\"state\""), std::string::npos);
}

TEST_F(Control, SetsTheSignal) {
  Do(R"({"do":"signal","value":7})");
  EXPECT_EQ(Say("AT+CSQ").at(0), "+CSQ: 7,99");
  Do(R"({"do":"signal","value":99})");
  EXPECT_EQ(Say("AT+CSQ").at(0), "+CSQ: 99,99");
  for (const char* const value : {"32", "-1", "100", "1.5", "\"7\"", "18446744073709551615"}) {
    EXPECT_NE(ErrorOf(std::string(R"({"do":"signal","value":)") + value + "}").find("\"value\""), std::string::npos);
  }
  EXPECT_NE(ErrorOf(R"({"do":"signal"})").find("\"value\" is missing"), std::string::npos);
}

TEST_F(Control, MovesTheCardThroughItsStates) {
  Say("AT+CMEE=2");
  const std::pair<const char*, const char*> rows[] = {{"pin", "+CPIN: SIM PIN"},
                                                      {"puk", "+CPIN: SIM PUK"},
                                                      {"absent", "+CME ERROR: SIM not inserted"},
                                                      {"busy", "+CME ERROR: SIM busy"},
                                                      {"ready", "+CPIN: READY"}};
  for (const auto& [state, line] : rows) {
    Do(std::string(R"({"do":"sim","state":")") + state + "\"}");
    EXPECT_EQ(Say("AT+CPIN?").at(0), line);
    if (std::string(state) == "absent") {
      EXPECT_EQ(Say("AT+CMGL=4").at(0), "+CMS ERROR: 310");
    }
    if (std::string(state) == "busy") {
      EXPECT_EQ(Say("AT+CMGL=4").at(0), "+CMS ERROR: 314");
    }
  }
  Do(R"({"do":"sim","state":"pin","pin":"4321"})");
  EXPECT_EQ(Say("AT+CPIN=\"1234\"").at(0), "+CME ERROR: incorrect password");
  EXPECT_EQ(Say("AT+CPIN=\"4321\"").at(0), "OK");
  EXPECT_EQ(Say("AT+CPIN?").at(0), "+CPIN: READY");
  EXPECT_NE(ErrorOf(R"({"do":"sim","state":"pin","pin":"12x4"})").find("4 to 8 digits"), std::string::npos);
}

TEST_F(Control, RingsUntilTheCallerGivesUp) {
  Do(R"({"do":"call","from":"+491720000002"})");
  EXPECT_EQ(Heard(), Lines{"RING"});
  world.Advance(5000);
  EXPECT_EQ(Heard(), Lines{"RING"});
  Do(R"({"do":"call","state":"ended"})");
  EXPECT_EQ(Heard(), Lines{"NO CARRIER"});
  world.Advance(60000);
  EXPECT_EQ(Heard(), Lines{});
}

TEST_F(Control, RingsUntilTheComputerHangsUp) {
  Do(R"({"do":"call"})");
  Heard();
  EXPECT_EQ(Say("ATH"), Lines{"OK"});
  world.Advance(60000);
  EXPECT_EQ(Heard(), Lines{});
}

TEST_F(Control, RestartsByItselfAndForgetsTheSettings) {
  Say("AT+CNMI=2,1;+CREG=1");
  Say("AT+CMGS=18");
  Do(R"({"do":"restart","ms":3000})");
  EXPECT_EQ(Say("AT"), Lines{});
  Do(R"({"do":"deliver","from":"1","text":"meanwhile"})");
  EXPECT_EQ(Do(R"({"do":"state"})")["powered"], false);
  world.Advance(3000);
  EXPECT_EQ(Heard(), Lines{"^SYSSTART"});
  EXPECT_EQ(Say("AT+CNMI?"), (Lines{"AT+CNMI?", "+CNMI: 0,0,0,0,0", "OK"}));
  EXPECT_EQ(Messages().at(0)["text"], "meanwhile");
}

TEST_F(Control, LosesTheMessageThatARestartOvertakes) {
  ModemOptions options;
  options.latencyMs = 100;
  CSimulatedModem slow(options, world);
  const std::string typed = "ATE0\rAT+CMGS=18\r0001000C91947101000010000005E8329BFD06\x1A";
  slow.Receive(typed.data(), typed.size());
  world.TakeOutput();
  slow.Restart(0);
  world.Advance(1000);
  EXPECT_EQ(LinesOf(world.TakeOutput()), Lines{"^SYSSTART"});
  EXPECT_EQ(slow.Sent().size(), 0U);
  slow.Receive("AT\r", 3);
  EXPECT_EQ(LinesOf(world.TakeOutput()), (Lines{"AT", "OK"}));
}

TEST_F(Control, KeepsTheUnacknowledgedMessageOverARestart) {
  Say("AT+CSMS=1;+CNMI=2,2");
  Do(R"({"do":"deliver","from":"1","text":"precious"})");
  EXPECT_EQ(Heard().size(), 2U);
  Do(R"({"do":"restart"})");
  world.Advance(0);
  EXPECT_EQ(Messages().at(0)["text"], "precious");
}

TEST_F(Control, UnplugsAndPlugsTheLine) {
  Do(R"({"do":"unplug"})");
  EXPECT_FALSE(world.plugged);
  Do(R"({"do":"deliver","from":"1","text":"later"})");
  EXPECT_EQ(Messages().size(), 0U);
  EXPECT_NE(ErrorOf(R"({"do":"restart"})").find("\"plug\""), std::string::npos);
  world.plugFault = "cannot link /x";
  EXPECT_EQ(ErrorOf(R"({"do":"plug"})"), "cannot link /x");
  world.plugFault.clear();
  Do(R"({"do":"plug"})");
  EXPECT_TRUE(world.plugged);
  EXPECT_EQ(Messages().at(0)["text"], "later");
}

TEST_F(Control, SetsFaultsAndTakesThemBack) {
  EXPECT_EQ(Do(R"({"do":"fault","kind":"drop","command":"+csq"})")["rules"], 1);
  EXPECT_EQ(Do(R"({"do":"fault","kind":"garbage","octets":"7E0D"})")["rules"], 2);
  EXPECT_EQ(Say("AT+CSQ"), Lines{"~"});
  EXPECT_EQ(Do(R"({"do":"fault","kind":"none"})")["rules"], 0);
  EXPECT_EQ(Say("AT+CSQ").back(), "OK");
  const std::pair<const char*, const char*> rows[] = {
      {R"({"do":"fault"})", "\"kind\" must be one of"},
      {R"({"do":"fault","kind":"drop","ms":5})", "\"ms\" is no field"},
      {R"({"do":"fault","kind":"drop","every":0})", "\"every\""},
      {R"({"do":"fault","kind":"hangup","at":"lunch"})", "\"after-prompt\""},
      {R"({"do":"fault","kind":"garbage","octets":"7"})", "\"octets\" must be hexadecimal"},
      {R"({"do":"fault","kind":"none","at":1})", "\"at\" is no field"},
  };
  for (const auto& [request, words] : rows) {
    EXPECT_NE(ErrorOf(request).find(words), std::string::npos) << request << " -> " << ErrorOf(request);
  }
  EXPECT_EQ(Do(R"({"do":"state"})")["faults"], 0);
}

TEST_F(Control, TellsOfTheCardWhoeverAskedForNotices) {
  Do(R"({"do":"sim","state":"absent"})");
  EXPECT_EQ(Heard(), Lines{});
  Do(R"({"do":"sim","state":"ready"})");
  Say("AT^CURC=1");
  Do(R"({"do":"sim","state":"absent"})");
  EXPECT_EQ(Heard(), Lines{"^SIMST: 255"});
  Do(R"({"do":"sim","state":"absent"})");
  EXPECT_EQ(Heard(), Lines{});
  Do(R"({"do":"sim","state":"pin","pin":"1234"})");
  EXPECT_EQ(Heard(), Lines{"^SIMST: 0"});
  EXPECT_EQ(Say("AT+CPIN=1234"), (Lines{"OK", "^SIMST: 1"}));
}

TEST_F(Control, SlowsTheLineDown) {
  Do(R"({"do":"line","baud":300})");
  EXPECT_EQ(Say("AT"), Lines{});
  Do(R"({"do":"line","baud":0})");
  world.Advance(1000);
  EXPECT_EQ(Heard(), Lines{"OK"});
  EXPECT_NE(ErrorOf(R"({"do":"line"})").find("\"baud\" is missing"), std::string::npos);
  EXPECT_NE(ErrorOf(R"({"do":"line","baud":-1})").find("\"baud\""), std::string::npos);
}

TEST_F(Control, NamesWhatIsWrongWithARequest) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "no JSON"},
      {"{", "no JSON"},
      {"\xff", "no JSON"},
      {"[1]", "one JSON object"},
      {"7", "one JSON object"},
      {"{}", "\"do\" is missing"},
      {R"({"do":7})", "\"do\" must be a text"},
      {R"({"do":"dance"})", "\"dance\" is no request"},
      {R"({"do":"sent","form":1})", "\"form\" is no field"},
      {R"({"do":"deliver","text":"a"})", "\"from\" is missing"},
      {R"({"do":"deliver","from":"1"})", "\"text\" is missing"},
      {R"({"do":"deliver","from":"1","text":"a","txet":"b"})", "\"txet\" is no field"},
      {R"({"do":"deliver","from":"123456789012345678901","text":"a"})", "\"from\" is no sender"},
      {R"({"do":"deliver","from":"1","text":"ж","alphabet":"gsm"})", "GSM alphabet lacks"},
      {R"({"do":"deliver","from":"1","text":"a","alphabet":"utf8"})", "\"alphabet\" must be one of"},
      {R"({"do":"deliver","from":"1","text":"a","alphabet":"8bit"})", "\"data\" goes with"},
      {R"({"do":"deliver","from":"1","data":"zz"})", "\"data\" must be hexadecimal"},
      {R"({"do":"deliver","from":"1","text":"a","data":"00"})", "exclude each other"},
      {R"({"do":"deliver","from":"1","text":"a","class":4})", "\"class\" must be a whole number from 0 to 3"},
      {R"({"do":"deliver","from":"1","text":"a","parts":[2]})", "names part 2"},
      {R"({"do":"deliver","from":"1","text":"a","parts":[]})", "\"parts\" must be a list"},
      {R"({"do":"deliver","from":"1","text":"a","parts":"1"})", "\"parts\" must be a list"},
      {R"({"do":"deliver","from":"1","text":"a","reference":300,"wide":false})", "\"reference\""},
      {R"({"do":"deliver","from":"1","text":"a","wide":1})", "\"wide\" must be true or false"},
      {R"({"do":"deliver","from":"1","text":"a","time":"2023-02-29 00:00:00"})", "\"time\" must be"},
      {R"({"do":"deliver","from":"1","text":"a","time":"2024-02-29 00:00:00+99:00"})", "\"time\" must be"},
      {R"({"do":"deliver","from":"1","text":"a","time":"now"})", "\"time\" must be"},
      {R"({"do":"call","from":""})", "\"from\" is empty"},
  };
  for (const auto& [request, words] : rows) {
    EXPECT_NE(ErrorOf(request).find(words), std::string::npos) << request << " -> " << ErrorOf(request);
  }
  EXPECT_EQ(Messages().size(), 0U);
}

TEST_F(Control, RefusesATextOfMoreThan255Parts) {
  EXPECT_NE(ErrorOf(R"({"do":"deliver","from":"1","text":")" + std::string(153 * 255 + 1, 'x') + "\"}").find("255"),
            std::string::npos);
  EXPECT_EQ(Do(R"({"do":"deliver","from":"1","text":")" + std::string(153 * 255, 'x') + "\"}")["taken"], 255);
}

TEST_F(Control, SaysWhenTheCentreKeepsTooMuch) {
  Do(R"({"do":"network","state":"none"})");
  const std::string text(153 * 255, 'x');
  for (int i = 0; i < 3; ++i) Do(R"({"do":"deliver","from":"1","text":")" + text + "\"}");
  EXPECT_NE(ErrorOf(R"({"do":"deliver","from":"1","text":")" + text + "\"}").find("235 of this one have been taken"),
            std::string::npos);
}

TEST_F(Control, SurvivesNestingAndNoise) {
  EXPECT_NE(ErrorOf(std::string(100000, '[')).find("no JSON"), std::string::npos);
  const std::string good = R"({"do":"deliver","from":"+491","text":"aé","parts":[1],"time":"2024-05-06 07:08:09"})";
  for (std::size_t i = 0; i < good.size(); ++i) {
    for (const char c : {'\0', '"', '}', 'x', '\xff'}) {
      std::string damaged = good;
      damaged[i] = c;
      const json answer = Ask(damaged);
      EXPECT_TRUE(answer["ok"].is_boolean());
      EXPECT_EQ(control.Answer(damaged).find('\n'), std::string::npos);
    }
  }
}
