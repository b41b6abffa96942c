// What the modem writes to the character, and parts of it by themselves.
#include "FakeWorld.h"
#include "FaultRequest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace modem_sim;

namespace {

/// A modem and the computer in front of it.
struct Desk {
  explicit Desk(const ModemOptions& options = ModemOptions()) : modem(options, world) {}

  /// Sends the bytes and answers what came back.
  std::string Say(const std::string& bytes) {
    modem.Receive(bytes.data(), bytes.size());
    world.Advance(0);
    return world.TakeOutput();
  }

  CFakeWorld world;
  CSimulatedModem modem;
};

sms_pdu::Deliver MakeMessage() {
  sms_pdu::Deliver message;
  sms_pdu::MakeAddress("+491720000002", &message.originator);
  sms_pdu::SetText(&message.userData, u"a", 1);
  return message;
}

std::vector<std::string> CommandsOf(const std::string& body, bool* whole) {
  std::vector<std::string> commands;
  std::size_t position = 0;
  for (AtCommand command; NextCommand(body, &position, &command);) {
    static const char* const kForms[] = {"!", "?", "=?", "="};
    commands.push_back(command.name + kForms[static_cast<int>(command.form)] + command.values);
  }
  *whole = position == body.size();
  return commands;
}

}  // namespace

TEST(SimulatedModem, EchoesWhatIsTypedUntilToldNotTo) {
  Desk desk;
  EXPECT_EQ(desk.Say("AT\r"), "AT\r\r\nOK\r\n");
  EXPECT_EQ(desk.Say("ATE0\r"), "ATE0\r\r\nOK\r\n");
  EXPECT_EQ(desk.Say("AT\r"), "\r\nOK\r\n");
  EXPECT_EQ(desk.Say("ATE\r"), "\r\nOK\r\n");
  EXPECT_EQ(desk.Say("ATE2\r"), "\r\nERROR\r\n");
  EXPECT_EQ(desk.Say("ATE1\r"), "\r\nOK\r\n");
  EXPECT_EQ(desk.Say("a"), "a");
}

TEST(SimulatedModem, ListsTheCommandsThatItKnows) {
  for (const std::string& name : ProfileNames()) {
    ModemOptions options;
    options.profile = FindProfile(name);
    Desk desk(options);
    desk.Say("ATE0\r");
    const std::vector<std::string> lines = LinesOf(desk.Say("AT+CLAC\r"));
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(), "AT+CMGS"));
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(), "AT+CMGF"));
    EXPECT_EQ(name == "lte" ? 1 : 0, std::count(lines.begin(), lines.end(), "AT+CEREG"));
    for (const std::string& line : lines) {
      if (line.rfind("AT+C", 0) != 0) continue;
      EXPECT_NE("\r\nERROR\r\n", desk.Say(line + "=?\r")) << line;
    }
  }
}

TEST(SimulatedModem, AnswersInDigitsWithoutVerbosity) {
  Desk desk;
  desk.Say("ATE0\r");
  EXPECT_EQ(desk.Say("ATV0\r"), "0\r");
  EXPECT_EQ(desk.Say("AT+CSQ\r"), "+CSQ: 20,99\r\n0\r");
  EXPECT_EQ(desk.Say("AT+NONE\r"), "4\r");
  EXPECT_EQ(desk.Say("ATD1\r"), "3\r");
  EXPECT_EQ(desk.Say("ATV1\r"), "\r\nOK\r\n");
}

TEST(SimulatedModem, KeepsResultsToItselfWhenQuiet) {
  Desk desk;
  desk.Say("ATE0+CNMI=2,1\r");
  EXPECT_EQ(desk.Say("ATQ1\r"), "");
  EXPECT_EQ(desk.Say("AT+CSQ\r"), "\r\n+CSQ: 20,99\r\n");
  EXPECT_EQ(desk.Say("AT+NONE\r"), "");
  EXPECT_TRUE(desk.modem.Arrive(MakeMessage()));
  EXPECT_EQ(desk.world.TakeOutput(), "");
  EXPECT_EQ(desk.Say("ATQ0\r"), "\r\nOK\r\n");
}

TEST(SimulatedModem, UsesTheCharactersOfTheRegisters) {
  Desk desk;
  desk.Say("ATE0\r");
  EXPECT_EQ(desk.Say("ATS3=33\r"), "!\nOK!\n");
  EXPECT_EQ(desk.Say("AT+CPAS!"), "!\n+CPAS: 0!\n!\nOK!\n");
  EXPECT_EQ(desk.Say("ATS3=128!"), "!\nERROR!\n");
}

TEST(SimulatedModem, WritesThePromptAndTheReplyToTheLetter) {
  Desk desk;
  EXPECT_EQ(desk.Say("AT+CMGS=18\r"), "AT+CMGS=18\r\r\n> ");
  EXPECT_EQ(desk.Say("0001"), "0001");
  EXPECT_EQ(desk.Say("000C91947102000020000005E8329BFD06\x1A"),
            "000C91947102000020000005E8329BFD06\r\n+CMGS: 0\r\n\r\nOK\r\n");
}

TEST(SimulatedModem, WritesListsWithOneEmptyLineInFrontOnly) {
  Desk desk;
  desk.Say("ATE0\r");
  desk.modem.Arrive(MakeMessage());
  desk.modem.Arrive(MakeMessage());
  const std::string pdu =
      "0791947101670000040C91947102000020000000000000000000"
      "0161";
  EXPECT_EQ(desk.Say("AT+CMGL=4\r"),
            "\r\n+CMGL: 1,0,,20\r\n" + pdu + "\r\n+CMGL: 2,0,,20\r\n" + pdu + "\r\n\r\nOK\r\n");
}

TEST(SimulatedModem, WritesUnsolicitedLinesOnlyAfterTheFinalResult) {
  ModemOptions options;
  options.latencyMs = 10;
  Desk desk(options);
  desk.Say("ATE0+CNMI=2,1\r");
  desk.Say("AT+CMGS=18\r");
  desk.modem.Arrive(MakeMessage());
  EXPECT_EQ(desk.world.TakeOutput(), "");
  EXPECT_EQ(desk.Say("0001000C91947102000020000005E8329BFD06\x1A"), "");
  desk.world.Advance(10);
  EXPECT_EQ(desk.world.TakeOutput(), "\r\n+CMGS: 0\r\n\r\nOK\r\n\r\n+CMTI: \"SM\",1\r\n");
}

TEST(SimulatedModem, CountsReferencesRoundAfter255) {
  Desk desk;
  desk.Say("ATE0\r");
  for (int i = 0; i < 257; ++i) {
    desk.Say("AT+CMGS=18\r");
    ASSERT_EQ(desk.Say("0001000C91947102000020000005E8329BFD06\x1A"),
              "\r\n+CMGS: " + std::to_string(i % 256) + "\r\n\r\nOK\r\n");
  }
}

TEST(SimulatedModem, RefusesALineThatIsTooLongAndGoesOn) {
  Desk desk;
  desk.Say("ATE0\r");
  EXPECT_EQ(desk.Say("AT" + std::string(100000, 'X') + "\r"), "\r\nERROR\r\n");
  EXPECT_EQ(desk.Say("AT\r"), "\r\nOK\r\n");
}

TEST(SimulatedModem, RefusesAPduThatIsTooLongAndGoesOn) {
  Desk desk;
  desk.Say("ATE0\r");
  desk.Say("AT+CMGS=18\r");
  EXPECT_EQ(desk.Say(std::string(100000, '0') + "\x1A"), "\r\n+CMS ERROR: 304\r\n");
  EXPECT_EQ(desk.Say("AT\r"), "\r\nOK\r\n");
}

TEST(SimulatedModem, KeepsNoMoreThanItsLimitWhileNobodyCanTakeIt) {
  ModemOptions options;
  options.network = NetworkState::Searching;
  Desk desk(options);
  int accepted = 0;
  while (accepted < 5000 && desk.modem.Arrive(MakeMessage())) ++accepted;
  EXPECT_EQ(accepted, 1000);
  EXPECT_EQ(desk.modem.Waiting(), 1000U);
  desk.modem.SetNetwork(NetworkState::Home);
  EXPECT_EQ(desk.modem.Waiting(), 980U);  // the card has taken twenty
}

TEST(SimulatedModem, AnswersOneByteAtATimeAsInOnePiece) {
  const std::string typed =
      "ATE0\rAT+CMGS=18\r0001000C91947101000010000005E8329BFD06\x1A"
      "AT+CMGL=4;+CPMS?\r";
  Desk whole;
  Desk pieces;
  const std::string expected = whole.Say(typed);
  std::string got;
  for (const char c : typed) got += pieces.Say(std::string(1, c));
  EXPECT_EQ(LinesOf(got).size(), LinesOf(expected).size() + 2);  // between the pieces the message has come back
  EXPECT_NE(expected.find("+CMGS: 0"), std::string::npos);
}

TEST(SimulatedModem, ReadsAndWritesAtTheSpeedOfASlowLine) {
  ModemOptions options;
  options.baud = 300;  // thirty octets a second, three at a time
  Desk desk(options);
  EXPECT_EQ(desk.Say("AT\r"), "");
  desk.world.Advance(100 + 32);
  EXPECT_EQ(desk.world.TakeOutput(), "");
  desk.world.Advance(1);
  EXPECT_EQ(desk.world.TakeOutput(), "A");  // nothing else was there when it began
  desk.world.Advance(100);
  EXPECT_EQ(desk.world.TakeOutput(), "T\r\r");
  desk.world.Advance(1000);
  EXPECT_EQ(desk.world.TakeOutput(), "\nOK\r\n");
  desk.modem.SetBaud(0);
  EXPECT_EQ(desk.Say("AT\r"), "AT\r\r\nOK\r\n");
}

TEST(SimulatedModem, CarriesOutWhatWasOnASlowLineWhenThePortIsClosed) {
  ModemOptions options;
  options.baud = 300;
  Desk desk(options);
  desk.Say("ATE0\r");
  desk.modem.HangUp();
  desk.world.Advance(1000);
  desk.world.TakeOutput();
  desk.Say("AT\r");
  desk.world.Advance(1000);
  EXPECT_EQ(desk.world.TakeOutput(), "\r\nOK\r\n");
}

TEST(SimulatedModem, ForgetsWhatIsOnASlowLineWhenItIsUnplugged) {
  ModemOptions options;
  options.baud = 300;
  Desk desk(options);
  desk.Say("AT\r");
  desk.world.Advance(100);
  desk.Say("AT+CFUN=4\r");
  desk.modem.Unplug();
  std::string error;
  EXPECT_TRUE(desk.modem.Plug(&error));
  desk.world.Advance(60000);
  EXPECT_EQ(desk.world.TakeOutput(), "\r\n^SYSSTART\r\n");
  desk.modem.SetBaud(0);
  EXPECT_EQ(LinesOf(desk.Say("ATE0+CFUN?\r")).at(1), "+CFUN: 1");
}

TEST(SimulatedModem, SurvivesFaultsInAnyMixture) {
  const char* const kinds[] = {"refuse,every=3",         "late,every=4,ms=5",
                               "drop,every=5",           "garbage,every=7",
                               "hangup,every=11,ms=2",   "hangup,every=6,at=after-prompt,ms=1",
                               "restart,every=13,ms=1",  "hangup,every=5,at=after-octets,ms=1",
                               "refuse,every=9,code=42", "hangup,every=4,at=before-verdict,ms=3"};
  std::mt19937 random(2);
  for (int round = 0; round < 50; ++round) {
    ModemOptions options;
    options.latencyMs = round % 3;
    options.baud = round % 2 == 0 ? 0 : 9600;
    options.latencies["+CSQ"] = round % 4;
    for (const char* const kind : kinds) {
      Fault fault;
      std::string error;
      ASSERT_TRUE(ParseFault(kind, &fault, &error)) << error;
      if (random() % 2) options.faults.push_back(fault);
    }
    Desk desk(options);
    for (int i = 0; i < 200; ++i) {
      static const char* const kLines[] = {"AT+CSQ;+CREG?\r", "AT+CMGS=18\r", "AT+CMGL=4\r",
                                           "0001000C91947101000010000005E8329BFD06\x1A"};
      desk.Say(kLines[random() % 4]);
      desk.world.Advance(static_cast<int>(random() % 3));
    }
    desk.modem.Faults().Clear();
    desk.world.Advance(60000);
    desk.Say("\x1B\r");
    desk.world.Advance(1000);
    desk.Say("ATE0\r");
    desk.world.Advance(1000);
    desk.world.TakeOutput();
    std::string reply = desk.Say("AT\r");
    desk.world.Advance(1000);
    reply += desk.world.TakeOutput();
    EXPECT_EQ(LinesOf(reply), std::vector<std::string>{"OK"}) << round;
  }
}

TEST(SimulatedModem, SurvivesNoise) {
  std::mt19937 random(1);
  const std::string pool = "AT+CMGSRLWDNPIF=?;,\"0123456789\r\r\x1A\x1B\b\n ";
  ModemOptions options;
  options.simCapacity = 2;
  options.latencyMs = 3;
  Desk desk(options);
  for (int i = 0; i < 20000; ++i) {
    std::string bytes;
    for (std::size_t k = random() % 30; k-- > 0;) {
      bytes += random() % 10 ? pool[random() % pool.size()] : static_cast<char>(random());
    }
    if (random() % 3 == 0) bytes = "\x1B\rAT+CMG" + bytes;
    if (random() % 100 == 0) bytes = "\x1B\rAT+CMGF=" + std::to_string(random() % 2) + '\r';
    if (random() % 50 == 0) desk.modem.HangUp();
    if (random() % 20 == 0) desk.modem.Arrive(MakeMessage());
    desk.Say(bytes);
    desk.world.Advance(static_cast<int>(random() % 4));
  }
  desk.world.Advance(1000);
  desk.Say("\x1B\r");
  desk.world.Advance(1000);
  desk.Say("AT&F\r");
  EXPECT_EQ(desk.Say("ATE0V1Q0\r").substr(0, 9), "ATE0V1Q0\r");
  EXPECT_EQ(desk.Say("AT\r"), "\r\nOK\r\n");
}

TEST(AtCommand, ALineComesApartIntoCommands) {
  struct Row {
    const char* body;
    std::vector<std::string> commands;
    bool whole;
  };
  const Row rows[] = {
      {"", {}, true},
      {"E0", {"E=0"}, true},
      {"e0v1&f", {"E=0", "V=1", "&F="}, true},
      {"+csq", {"+CSQ!"}, true},
      {"+CSQ;", {"+CSQ!"}, true},
      {"+CPMS=\"SM\",\"a;b\";+CREG?", {"+CPMS=\"SM\",\"a;b\"", "+CREG?"}, true},
      {"+CMGL = 4", {"+CMGL=4"}, true},
      {"+CNMI=?", {"+CNMI=?"}, true},
      {"S3?S4=10", {"S3?", "S4=10"}, true},
      {"E0=", {"E=0"}, false},
      {"1", {}, false},
      {"+CSQ;;+CREG?", {"+CSQ!", "+CREG?"}, true},
      {"D*99#;", {"D=*99#;"}, true},
  };
  for (const Row& row : rows) {
    bool whole = false;
    EXPECT_EQ(CommandsOf(row.body, &whole), row.commands) << row.body;
    EXPECT_EQ(whole, row.whole) << row.body;
  }
}

TEST(AtCommand, ValuesAreNumbersTextOrNothing) {
  const CValues values("1,,\"a,b\",\"\",x", 5);
  EXPECT_TRUE(values.Valid());
  EXPECT_EQ(values.Count(), 5U);
  int number = 7;
  EXPECT_TRUE(values.Number(0, 0, 9, &number));
  EXPECT_EQ(number, 1);
  EXPECT_FALSE(values.Number(0, 2, 9, &number));
  EXPECT_TRUE(values.Number(1, 0, 9, &number));
  EXPECT_TRUE(values.Number(9, 0, 9, &number));
  EXPECT_EQ(number, 1);
  EXPECT_FALSE(values.Number(2, 0, 9, &number));
  EXPECT_FALSE(values.Number(4, 0, 9, &number));
  std::string text = "old";
  EXPECT_TRUE(values.Text(1, &text));
  EXPECT_EQ(text, "old");
  EXPECT_TRUE(values.Text(2, &text));
  EXPECT_EQ(text, "a,b");
  EXPECT_TRUE(values.Text(3, &text));
  EXPECT_EQ(text, "");
  EXPECT_FALSE(values.Text(0, &text));
  EXPECT_FALSE(CValues("99999999999999999999", 1).Number(0, 0, 9, &number));
  EXPECT_FALSE(CValues("\"a", 1).Valid());
  EXPECT_FALSE(CValues("\"a\"b", 1).Valid());
  EXPECT_FALSE(CValues("\"", 1).Valid());
  EXPECT_EQ(CValues("", 1).Count(), 0U);
  EXPECT_TRUE(CValues("1,2", 2).Valid());
  EXPECT_FALSE(CValues("1,2,", 2).Valid());
}

TEST(MessageStore, GivesTheLowestFreePlace) {
  CMessageStore store(2);
  StoredMessage message;
  EXPECT_EQ(store.Add(message), 0);  // nothing to keep
  message.pdu = {0};
  EXPECT_EQ(store.Add(message), 1);
  EXPECT_EQ(store.Add(message), 2);
  EXPECT_EQ(store.Add(message), 0);
  EXPECT_EQ(store.Used(), 2);
  store.Remove(1);
  store.Remove(1);
  store.Remove(-5);
  store.Remove(99);
  EXPECT_EQ(store.Used(), 1);
  EXPECT_EQ(store.At(1), nullptr);
  EXPECT_EQ(store.At(0), nullptr);
  EXPECT_EQ(store.At(3), nullptr);
  EXPECT_EQ(store.Add(message), 1);
  EXPECT_EQ(CMessageStore(-1).Capacity(), 0);
}
