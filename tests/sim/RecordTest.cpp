// Kept dialogues: what is in them, what is masked, how they are played again.
#include "FakeWorld.h"
#include "Recorder.h"
#include "Replay.h"
#include "SimProgram.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

using namespace modem_sim;

namespace {

const char kText[] = "0001000C91947102000020000005E8329BFD06";

/// Takes nothing.
class FullDisk : public std::streambuf {};

/// A modem whose dialogue is kept.
struct Desk {
  explicit Desk(bool masked)
      : recorder(
            world, file, masked, [this] { return now; }, [this] { ++ended; }),
        modem(ModemOptions(), recorder) {
    recorder.Start(modem);
  }

  void Say(const std::string& bytes) {
    recorder.Receive(bytes.data(), bytes.size());
    world.Advance(0);
    now += 10;
  }

  DWORD now = 5000;
  int ended = 0;
  CFakeWorld world;
  std::ostringstream file;
  CRecorder recorder;
  CSimulatedModem modem;
};

std::string Conversation(bool masked) {
  Desk desk(masked);
  desk.Say("ATE0\r");
  desk.Say("AT+CSQ\r");
  desk.Say("AT+CMGS=18\r");
  desk.Say(std::string(kText) + "\x1A");
  return desk.file.str();
}

/// Plays a record against these lines of a computer.
std::string Replayed(const std::string& record, const std::vector<std::string>& lines, std::string* output = nullptr) {
  CFakeWorld world;
  std::string end = "not ended";
  CReplay replay(world, [&](const std::string& difference) { end = difference; });
  std::istringstream file(record);
  std::string error;
  EXPECT_TRUE(replay.Load(file, &error)) << error;
  replay.Start();
  for (const std::string& line : lines) {
    world.Advance(1000);
    replay.Receive(line.data(), line.size());
  }
  world.Advance(1000);
  if (output) *output = world.TakeOutput();
  return end;
}

std::string MaskedBy(const std::vector<std::string>& lines) {
  sms_pdu::CDialogueMask mask;
  std::string last;
  for (const std::string& line : lines) last = mask.Masked(line.substr(1), line[0] == '<');
  return last;
}

}  // namespace

TEST(Recorder, SaysOnceThatTheFileTakesNoMore) {
  Desk desk(false);
  desk.Say("ATE0\r");
  desk.world.TakeOutput();
  FullDisk disk;
  static_cast<std::ios&>(desk.file).rdbuf(&disk);
  desk.Say("AT\rAT\r");
  EXPECT_EQ(LinesOf(desk.world.TakeOutput()), (std::vector<std::string>{"OK", "OK"}));
  EXPECT_EQ(desk.ended, 1);
}

TEST(Recorder, TakesALineWithoutEndApart) {
  Desk desk(false);
  desk.Say("ATE0\r");
  desk.Say(std::string(sms_pdu::kRecordLineLimit, 'x'));
  EXPECT_NE(desk.file.str().find(std::string(sms_pdu::kRecordLineLimit, 'x') + "\n"), std::string::npos);
}

TEST(RecordLine, ReadsBackWhatItWrites) {
  std::string all;
  for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
  for (const bool fromModem : {false, true}) {
    const sms_pdu::RecordLine line{123456, fromModem, all};
    const std::string text = sms_pdu::FormatRecordLine(line);
    EXPECT_EQ(text.find('\n'), std::string::npos);
    sms_pdu::RecordLine back;
    ASSERT_TRUE(sms_pdu::ParseRecordLine(text, &back));
    EXPECT_EQ(back.bytes, all);
    EXPECT_EQ(back.milliseconds, 123456U);
    EXPECT_EQ(back.fromModem, fromModem);
  }
  EXPECT_EQ(sms_pdu::FormatRecordLine({1250, false, "AT\r"}), "1.250 > AT<0D>");
}

TEST(RecordLine, RefusesWhatIsNone) {
  sms_pdu::RecordLine line;
  for (const char* const text :
       {"", "x", "1.250", "1.250 >", "1.250 = AT", "1.25 > AT", ".250 > AT", "1.2500 > AT", "99999999.000 > AT",
        "1.250 > AT<0", "1.250 > AT<XY>", "1.250 > AT<", "-1.250 > AT", "1.250 > A\tT", "1,250 > AT"}) {
    EXPECT_FALSE(sms_pdu::ParseRecordLine(text, &line)) << text;
  }
  EXPECT_TRUE(sms_pdu::ParseRecordLine("0.000 > ", &line));
}

TEST(DialogueMask, KeepsAPduAPduOfTheSameLength) {
  const std::string masked = MaskedBy({">" + std::string(kText) + "\x1A"});
  EXPECT_EQ(masked.size(), sizeof kText);
  EXPECT_EQ(masked.substr(0, 12), "0001000C9100");
  EXPECT_EQ(masked.find("947102"), std::string::npos);
  EXPECT_EQ(masked.find("E8329BFD06"), std::string::npos);
  const std::string received = "0791947101670000040C919471020000200000425060708090800161";
  EXPECT_EQ(MaskedBy({"<+CMT: ,20\r\n", "<" + received + "\r\n"}),
            "0791000000000000040C910000000000000000425060708090800178\r\n");
  const std::string bracket = "0004089194710000000042506070809000021B1E";  // two septets
  EXPECT_EQ(MaskedBy({"<+CMT: ,19\r\n", "<" + bracket + "\r\n"}), "0004089100000000000042506070809000029B32\r\n");
}

TEST(DialogueMask, CountsWhatIsBeyondAsciiAsLetters) {
  EXPECT_EQ(MaskedBy({"<> ", ">\xC3\xA9t\xE9!\x1A"}), "xxxx!\x1A");
}

TEST(DialogueMask, LeavesNoNumberTextOrSecretIn) {
  const std::vector<std::vector<std::string>> dialogues = {
      {">AT+CPIN=7391\r"},
      {">AT+CPIN=\"7391\"\r"},
      {">AT+CPIN=73911234,7391\r"},
      {">AT+CLCK=\"SC\",1,\"7391\"\r"},
      {">AT+CPWD=\"SC\",\"7391\",\"7391\"\r"},
      {">AT+CMGS=\"+4917391\"\r"},
      {"<> ", ">Secret7391\x1A"},
      {"<> ", ">Secret\r"},
      {"<> ", ">first\r", ">Secret\x1A"},
      {"<> Secret\r\n"},
      {"<> ", ">x\x1A", "<Secret\r\n"},
      {"<> ", ">001122334455667391" + std::string("\x1A")},
      {"<+CMT: \"+4917391\",,\"24/05/06,07:08:09+08\"\r\n"},
      {"<+CMT: \"Secret\",,\"24/05/06,07:08:09+08\"\r\n"},
      {"<+CMT: ,20\r\n", "<Secret\r\n"},
      {"<+CMGR: \"REC READ\",\"+4917391\"\r\n", "<one\r\n", "<Secret\r\n"},
      {"<+CMGL: 1,\"REC READ\",\"1\"\r\n", "<Secret 7391\r\n"},
      {"<+CNUM: \"Secret\",\"+4917391\",145\r\n"},
      {"<+CUSD: 0,\"Secret 7391\",15\r\n"},
      {"<+CUSD: 0,\"Secret\",15\r\n"},
      {"<+CLIP: \"7391\",129\r\n"},
      {"<+CLIP: \"1\",129,,,\"Secret\"\r\n"},
      {"<+CMGL: 1,\"REC READ\",\"Secret\"\r\n"},
      {">AT+CPWD=\"SC\",\"Secret\",\"x\"\r"},
      {"<+CDS: 6,7,\"1\"\r\n", "<Secret\r\n"},
      {"<+CDS: 25\r\n", "<000607089194739100425060708090004250608180900000\r\n"},
      {"<+CMGR: 0,,30\r\n", "<0006070891940000004250607080900042506081809000000604027391\r\n"},
      {"<+CMT: ,19\r\n", "<0004089194000000000442506070809000027391\r\n"},
      {"<001010123457391\r\n"},
      {"<+CCID: 8949001000000007391\r\n"},
      {"<AT+CPIN=7391\r\r\n"},
      {"<+CSCA: \"+4917391\",145\r\n"},
      {">ATD+4917391;\r"},
      {">atd*7391#\r"},
      {"<ATD+4917391;\r\r\n"},
      {">AT+CPBW=1,+4917391,145\r"},
  };
  for (const std::vector<std::string>& dialogue : dialogues) {
    const std::string masked = MaskedBy(dialogue);
    EXPECT_EQ(masked.find("7391"), std::string::npos) << masked;
    EXPECT_EQ(masked.find("Secret"), std::string::npos) << masked;
    EXPECT_EQ(masked.size(), dialogue.back().size() - 1) << masked;
  }
}

TEST(DialogueMask, KnowsAPromptThatNobodyWaitedFor) {
  const std::string list = "AT+CMGL=\"ALL\"\r";
  EXPECT_EQ(MaskedBy({"<> ", ">one\r", ">two\x1A", "<> \r\n", "<+CMGS: 1\r\n", "<OK\r\n", ">" + list}), list);
}

TEST(DialogueMask, LeavesTheRestReadable) {
  for (const std::string line :
       {"<OK\r\n", "<+CSQ: 20,99\r\n", "<+CPMS: \"SM\",1,20,\"ME\",0,100\r\n", "<SmsApp\r\n", "<+CMS ERROR: 322\r\n",
        ">AT+CNMI=2,1,0,1,0\r", ">AT+CSCS=\"GSM\"\r", "<> ", ">\x1B"}) {
    EXPECT_EQ(MaskedBy({line}), line.substr(1));
  }
  EXPECT_EQ(MaskedBy({"<+CMGR: 1,,20\r\n", "<OK\r\n", "<SmsApp\r\n"}), "SmsApp\r\n");
  EXPECT_EQ(MaskedBy({"<+CBM: 88\r\n", "<00100032\r\n"}), "00100032\r\n");
}

TEST(Recorder, KeepsADialogueAsItWas) {
  const std::string pdu(kText);
  EXPECT_EQ(Conversation(false),
            "# AT dialogue, unmasked\n"
            "0.000 > ATE0<0D>\n0.000 < ATE0<0D><0D><0A>\n0.000 < OK<0D><0A>\n"
            "0.010 > AT+CSQ<0D>\n0.010 < <0D><0A>\n0.010 < +CSQ: 20,99<0D><0A>\n0.010 < <0D><0A>\n0.010 < OK<0D><0A>\n"
            "0.020 > AT+CMGS=18<0D>\n0.020 < <0D><0A>\n0.020 < > \n"
            "0.030 > " +
                pdu +
                "<1A>\n0.030 < <0D><0A>\n0.030 < +CMGS: 0<0D><0A>\n0.030 < <0D><0A>\n"
                "0.030 < OK<0D><0A>\n");
}

TEST(Recorder, MasksWhatIsTypedOneCharacterAtATime) {
  Desk desk(true);
  for (const char c : std::string("AT+CPIN=7391\rAT+CMGF=1\rAT+CMGS=\"+4917391\"\rSecret\rSecret\x1A")) {
    desk.Say(std::string(1, c));
  }
  EXPECT_EQ(desk.file.str().find("7391"), std::string::npos) << desk.file.str();
  EXPECT_EQ(desk.file.str().find("Secret"), std::string::npos) << desk.file.str();
  EXPECT_NE(desk.file.str().find("+CMGS: 0"), std::string::npos) << desk.file.str();
}

TEST(Replay, PlaysTheModemsSideToTheEnd) {
  for (const bool masked : {false, true}) {
    std::string output;
    EXPECT_EQ(
        Replayed(Conversation(masked), {"ATE0\r", "AT+CSQ\r", "AT+CMGS=18\r", std::string(kText) + "\x1A"}, &output),
        "");
    EXPECT_EQ(output, "ATE0\r\r\nOK\r\n\r\n+CSQ: 20,99\r\n\r\nOK\r\n\r\n> \r\n+CMGS: 0\r\n\r\nOK\r\n");
  }
}

TEST(Replay, SaysWhereTheComputerDiffers) {
  EXPECT_EQ(Replayed(Conversation(false), {"ATE0\r", "AT+COPS?\r"}),
            "line 5: the computer wrote \"AT+COPS?<0D>\", the record has \"AT+CSQ<0D>\"");
  EXPECT_EQ(Replayed(Conversation(false), {"ATE0\r"}), "not ended");
}

TEST(Replay, TakesCommandsInTheOrderInWhichTheyCome) {
  std::string output;
  EXPECT_EQ(Replayed(Conversation(false), {"AT+CMGS=18\r", "ATE0\r", std::string(kText) + "\x1A", "AT+CSQ\r"}, &output),
            "");
  EXPECT_EQ(output, "\r\n> ATE0\r\r\nOK\r\n\r\n+CMGS: 0\r\n\r\nOK\r\n\r\n+CSQ: 20,99\r\n\r\nOK\r\n");
  EXPECT_EQ(Replayed(Conversation(false), {"AT+CSQ\r", "ATE0\r", "AT+CSQ\r"}),
            "line 10: the computer wrote \"AT+CSQ<0D>\", the record has \"AT+CMGS=18<0D>\"");
}

TEST(Replay, TakesWhatComesTooEarlyInItsTurn) {
  EXPECT_EQ(Replayed(Conversation(false), {"ATE0\rAT+CSQ\rAT+CMGS=18\r" + std::string(kText) + "\x1A"}), "");
}

TEST(Replay, NamesTheLineThatIsNoneOfARecord) {
  CFakeWorld world;
  for (const auto& [text, words] : {std::pair("0.000 > AT<0D>\nlunch\n", "line 2"), std::pair("", "nothing in it"),
                                    std::pair("\x1B]0;title\x07", "<1B>]0;title<07>")}) {
    CReplay replay(world, [](const std::string&) {});
    std::istringstream file(text);
    std::string error;
    EXPECT_FALSE(replay.Load(file, &error));
    EXPECT_NE(error.find(words), std::string::npos) << error;
  }
}

TEST(ModemSimRecord, ARecordedDialogueIsPlayedAgain) {
  const std::string folder = TemporaryFolder();
  const std::string path = folder + "/dialogue";
  for (const std::string option : {"--record", "--replay"}) {
    CSimProgram program({option, path});
    const int port = OpenPort(program.Path());
    Send(port, "AT+CSQ\r");
    EXPECT_EQ(ReadUntil(port, "OK\r\n"), "AT+CSQ\r\r\n+CSQ: 20,99\r\n\r\nOK\r\n");
    close(port);
    if (option == "--record") program.Signal(SIGTERM);
    EXPECT_EQ(program.AwaitEnd(), 0) << option;
  }
  CSimProgram program({"--replay", path});
  const int port = OpenPort(program.Path());
  Send(port, "AT+COPS?\r");
  EXPECT_EQ(program.AwaitEnd(), 1);
  close(port);
  unlink(path.c_str());
  rmdir(folder.c_str());
}

TEST(ModemSimRecord, GoesOnWhenTheDiskIsFull) {
  CSimProgram program({"--record", "/dev/full"});
  const int port = OpenPort(program.Path());
  Send(port, "AT+CSQ\r");
  EXPECT_EQ(ReadUntil(port, "OK\r\n"), "AT+CSQ\r\r\n+CSQ: 20,99\r\n\r\nOK\r\n");
  close(port);
  program.Signal(SIGTERM);
  EXPECT_EQ(program.AwaitEnd(), 0);
}

TEST(ModemSimRecord, SaysWhyAFileCannotBeUsed) {
  for (const std::string option : {"--record", "--replay"}) {
    CSimProgram program({option, "/nowhere/dialogue"});
    EXPECT_EQ(program.AwaitEnd(), 1);
    CSimProgram folder({option, "/tmp"});
    EXPECT_EQ(folder.AwaitEnd(), 1);
  }
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"--record", "/tmp/a", "--replay", "/tmp/b"},
                                             {"--unmasked"},
                                             {"--replay", "/tmp/a", "--control", "/tmp/c"}}) {
    CSimProgram program(arguments);
    EXPECT_EQ(program.AwaitEnd(), 2);
  }
}
