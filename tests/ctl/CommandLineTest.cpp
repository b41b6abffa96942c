// smsctl as a person uses it: the built program, its exit status and its words.

#include "CtlSupport.h"

#include <filesystem>
#include <fstream>
#include <ostream>

namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

class SmsCtl : public CSmsCtlTest {};

TEST_F(SmsCtl, NamesItsVersion) {
  const ProgramResult result = Run({"--version"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, ContainsRegex("^SmsAppPlugin [0-9]+\\.[0-9]+\\.[0-9]+\n$"));
}

TEST_F(SmsCtl, ListsItsCommandsInTheHelp) {
  const ProgramResult result = Run({"--help"});
  EXPECT_EQ(0, result.status);
  for (const char* command :
       {"demo",   "send",   "count",    "phonebook-size", "list",     "show",     "save",
        "read",   "delete", "remove",   "move",           "info",     "pull",     "watch",
        "status", "modems", "settings", "channels",       "--device", "--config", "Exit status"}) {
    EXPECT_THAT(result.out, HasSubstr(command));
  }
}

TEST_F(SmsCtl, RefusesACommandLineWithoutSenseWithStatus2) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"unknown"}, {"send"}, {"send", "text only"}, {"count"}, {"count", "a", "b"}}) {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(2, result.status);
    EXPECT_NE("", result.err);
  }
}

TEST_F(SmsCtl, NamesATraceFileThatCannotBeWritten) {
  const ProgramResult result = Run({"count", "Hello", "--log-file", "/dev/null/sms.log"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(1, CountLines(result.err)) << result.err;
  EXPECT_THAT(result.err, HasSubstr("cannot write the trace file /dev/null/sms.log: Not a directory"));
  EXPECT_EQ("", Run({"count", "Hello", "--log-file", m_home.Path("deep/er/sms.log")}).err);
}

TEST(SmsHost, RefusesABadCommandLineWithStatus2) {
  EXPECT_EQ(2, RunProgram({BuiltProgram("sms-host"), "extra"}).status);
  EXPECT_EQ(2, RunProgram({BuiltProgram("sms-host"), "--unmasked"}).status);
  EXPECT_EQ(0, RunProgram({BuiltProgram("sms-host"), "--help"}).status);
}

struct CountRow {
  const char* name;
  std::string text;
  const char* says;
};

void PrintTo(const CountRow& row, std::ostream* out) { *out << row.name; }

class SmsCtlCount : public SmsCtl, public ::testing::WithParamInterface<CountRow> {};

TEST_P(SmsCtlCount, SaysPartsCodingAndCharactersLeft) {
  const ProgramResult result = Run({"count", GetParam().text});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_EQ(GetParam().says + std::string("\n"), result.out);
  EXPECT_EQ("", result.err);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, SmsCtlCount,
    ::testing::Values(CountRow{"Short", "Hello", "1 part, GSM 7-bit, 155 characters left"},
                      CountRow{"Full", std::string(160, 'x'), "1 part, GSM 7-bit, 0 characters left"},
                      CountRow{"JustTwoParts", std::string(161, 'x'), "2 parts, GSM 7-bit, 145 characters left"},
                      CountRow{"EuroTakesTwo", "\u20AC", "1 part, GSM 7-bit, 158 characters left"},
                      CountRow{"EurosOnly",
                               [] {
                                 std::string euros;
                                 for (int i = 0; i < 80; ++i) {
                                   euros += "\u20AC";
                                 }
                                 return euros;
                               }(),
                               "1 part, GSM 7-bit, 0 characters left"},
                      CountRow{"Cyrillic", "\u041F\u0440\u0438\u0432\u0435\u0442", "1 part, UCS-2, 64 characters left"},
                      CountRow{"EmojiTakesTwo", "\U0001F600", "1 part, UCS-2, 68 characters left"},
                      CountRow{"Ucs2InTwo", std::string(70, 'x') + "\u0416", "2 parts, UCS-2, 63 characters left"},
                      CountRow{"Empty", "", "0 parts, the text is empty"}),
    [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST_F(SmsCtl, CountsATextFromStandardInputWithoutItsLastLineEnd) {
  EXPECT_EQ("1 part, GSM 7-bit, 155 characters left\n", Run({"count", "-"}, "Hello\n").out);
}

TEST_F(SmsCtl, RefusesATextOfMoreThan255Parts) {
  const ProgramResult result = Run({"count", std::string(255 * 153 + 1, 'x')});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.err, HasSubstr("255 parts"));
}

TEST_F(SmsCtl, SaysWhatToDoWithoutADevice) {
  const ProgramResult result = Run({"send", "--to", "123", "Hello"});
  EXPECT_EQ(1, result.status);
  EXPECT_EQ(1, CountLines(result.err)) << result.err;
  EXPECT_THAT(result.err, HasSubstr("--device"));
}

TEST_F(SmsCtl, NamesADevicePathThatIsNotThere) {
  const std::string path = m_home.Path("ttyNone");
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"send", "--to", "123", "Hello"}, std::vector<std::string>{"status"}}) {
    std::vector<std::string> arguments = command;
    arguments.insert(arguments.end(), {"--device", path});
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(1, CountLines(result.err)) << result.err;
    EXPECT_THAT(result.err, HasSubstr(path));
    EXPECT_THAT(result.err, HasSubstr("--device"));
    EXPECT_EQ("", result.out);
  }
}

TEST_F(SmsCtl, NamesADevicePathThatIsAPlainFile) {
  m_home.WriteFile("plain", "no modem");
  const ProgramResult result = Run({"status", "--device", m_home.Path("plain")});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.err, HasSubstr(m_home.Path("plain")));
  EXPECT_EQ("no modem", m_home.ReadFile("plain"));
}

TEST_F(SmsCtl, NamesASettingsFileThatIsMissing) {
  const std::string file = m_home.Path("missing.ini");
  const ProgramResult result = Run({"count", "Hello", "--config", file});
  EXPECT_EQ(1, result.status);
  EXPECT_EQ(1, CountLines(result.err)) << result.err;
  EXPECT_THAT(result.err, HasSubstr(file));
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(SmsCtl, NamesASettingsFileThatCannotBeRead) {
  const std::string folder = m_home.Path("config/smsapp/settings.ini");
  std::filesystem::create_directories(folder);
  const ProgramResult result = Run({"count", "Hello"});
  EXPECT_EQ(1, result.status);
  EXPECT_EQ(1, CountLines(result.err)) << result.err;
  EXPECT_THAT(result.err, HasSubstr(folder));
}

TEST_F(SmsCtl, WorksWithoutASettingsFile) { EXPECT_EQ(0, Run({"count", "Hello"}).status); }

TEST_F(SmsCtl, NamesACharacterMapThatIsMissing) {
  m_home.WriteFile("config/smsapp/settings.ini", "[customize]\nsmscharmap=site.map\n");
  const ProgramResult result = Run({"count", "Hello"});
  EXPECT_EQ(1, result.status);
  EXPECT_EQ(1, CountLines(result.err)) << result.err;
  EXPECT_THAT(result.err, HasSubstr("config/site.map"));
  EXPECT_THAT(result.err, HasSubstr("smscharmap"));
}

TEST_F(SmsCtl, KeepsADamagedDatabaseAsideAndStartsEmpty) {
  m_home.WriteFile("data/smsapp/userdata/SMS.DTC", "this is no database, but somebody's messages were in it");
  const ProgramResult result = Run({"count", "Hello"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(1, CountLines(result.err)) << result.err;
  EXPECT_THAT(result.err, HasSubstr(DatabaseFile()));
  int aside = 0;
  for (const auto& entry : std::filesystem::directory_iterator(m_home.Path("data/smsapp/userdata"))) {
    const std::string name = entry.path().filename().string();
    if (name.find("damaged") != std::string::npos) {
      ++aside;
      EXPECT_THAT(name, ContainsRegex("[0-9]{8}"));
      EXPECT_EQ("this is no database, but somebody's messages were in it",
                m_home.ReadFile("data/smsapp/userdata/" + name));
    }
  }
  EXPECT_EQ(1, aside);
}

TEST_F(SmsCtl, RefusesATextThatIsNotUtf8) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"count", "caf\xE9"},
                                                    {"save", "--box", "draft", "caf\xE9"},
                                                    {"phonebook-size", "\xFF"}}) {
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(1, result.status) << arguments[0];
    EXPECT_THAT(result.err, HasSubstr("not in UTF-8"));
  }
  EXPECT_EQ(1, Run({"count", "-"}, "caf\xE9\n").status);
  EXPECT_EQ(0, Run({"count", "caf\xC3\xA9 \xF0\x9F\x98\x80"}).status);
}

TEST_F(SmsCtl, RefusesANumberThatNoNetworkTakes) {
  const std::string port = StartSimulator();
  EXPECT_EQ("", Run({"send", "--device", port, "--to", "+12345678901234567890", "x"}).err);
  const ProgramResult result = Run({"send", "--device", port, "--to", "123456789012345678901", "x"});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.err, HasSubstr("more than 20 digits"));
}

TEST_F(SmsCtl, SaysWhatALockedCardNeeds) {
  const std::string port = StartSimulator({"--pin", "1234"});
  EXPECT_THAT(Run({"status", "--device", port}).err, HasSubstr("the card waits for its PIN: write it"));
  m_home.WriteFile("config/smsapp/settings.ini", "[ModemPlugin]\nPin=9999\n");
  EXPECT_THAT(Run({"status", "--device", port}).err, HasSubstr("did not accept the PIN of the settings: "));
  EXPECT_THAT(Run({"status", "--device", port}).err, HasSubstr("the card waits for its PIN: "));
  m_home.WriteFile("config/smsapp/settings.ini", "[ModemPlugin]\nPin=1234\n");
  EXPECT_EQ("", Run({"status", "--device", port}).err);
}

TEST_F(SmsCtl, SaysThatTheRecordOfTheDialogueEndsEarly) {
  const ProgramResult result = Run({"status", "--device", StartSimulator(), "--record", "/dev/full"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(1, CountLines(result.err)) << result.err;
  EXPECT_THAT(result.err, HasSubstr("the record of the dialogue ends early: No space left on device"));
}

TEST_F(SmsCtl, SendsAndShowsEveryPart) {
  const std::string port = StartSimulator();
  const ProgramResult result =
      Run({"send", "--device", port, "--to", "+491700000002,+491700000003", std::string(161, 'x')});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_EQ(
      "part 1 of 2 to +491700000002: sent\npart 2 of 2 to +491700000002: sent\n"
      "part 1 of 2 to +491700000003: sent\npart 2 of 2 to +491700000003: sent\n"
      "+491700000002: sent\n+491700000003: sent\n",
      result.out);
  EXPECT_EQ("", result.err);
}

TEST_F(SmsCtl, SaysWhichRecipientWasNotReachedAndTriesTheOthers) {
  const std::string port = StartSimulator({"--refuse", "+491700000009=38"});
  const ProgramResult result = Run({"send", "--device", port, "--to", "+491700000009;+491700000003", "Hello"});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("+491700000009: not sent\n"));
  EXPECT_THAT(result.out, HasSubstr("+491700000003: sent\n"));
  EXPECT_THAT(result.err, HasSubstr("1 of 2 recipients not reached"));
  EXPECT_THAT(result.err, HasSubstr(m_home.Path("state/smsapp/sms.log")));
}

TEST_F(SmsCtl, RefusesRecipientsThatAreNoNumbers) {
  const std::string port = StartSimulator();
  for (const char* recipients : {"", ",;", "Anna", "+49170,12x4", "123456789012345678901234567890123"}) {
    const ProgramResult result = Run({"send", "--device", port, "--to", recipients, "Hello"});
    EXPECT_NE(0, result.status) << recipients;
    EXPECT_EQ("", result.out);
    EXPECT_NE("", result.err);
  }
}

TEST_F(SmsCtl, RefusesMoreRecipientsThanAGroupMayHave) {
  std::string recipients = "1";
  for (int number = 2; number <= 21; ++number) {
    recipients += "," + std::to_string(number);
  }
  const ProgramResult result = Run({"send", "--device", StartSimulator(), "--to", recipients, "Hello"});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.err, HasSubstr("21 recipients are too many, 20"));
}

TEST_F(SmsCtl, ShowsWhatModemAndStoresSay) {
  const ProgramResult result = Run({"status", "--device", StartSimulator()});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, ContainsRegex("SIM +ready\n"));
  EXPECT_THAT(result.out, ContainsRegex("Network +registered"));
  EXPECT_THAT(result.out, ContainsRegex("Local store +0 of 10000 messages\n"));
}

TEST_F(SmsCtl, RecordsTheDialogueWithNumbersAndTextsMaskedUnlessAsked) {
  const std::string port = StartSimulator();
  const std::string number = "7191999999";  // as the message has it: pairs of digits swapped
  ASSERT_EQ(0,
            Run({"send", "--device", port, "--record", m_home.Path("masked"), "--to", "+491719999999", "Hi"}).status);
  EXPECT_THAT(m_home.ReadFile("masked"), ContainsRegex("> AT\\+CMGS=[0-9]+<0D>\n"));
  EXPECT_THAT(m_home.ReadFile("masked"), Not(HasSubstr(number)));
  ASSERT_EQ(
      0, Run({"send", "--device", port, "--record", m_home.Path("plain"), "--unmasked", "--to", "+491719999999", "Hi"})
             .status);
  EXPECT_THAT(m_home.ReadFile("plain"), HasSubstr(number));
}

TEST_F(SmsCtl, NamesARecordThatCannotBeWritten) {
  const std::string file = m_home.Path("nowhere/record");
  const ProgramResult result = Run({"status", "--device", StartSimulator(), "--record", file});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.err, HasSubstr("cannot be recorded in \"" + file + "\": No such file or directory\n"));
}

TEST_F(SmsCtl, ShowsTheDemoToItsEnd) {
  const ProgramResult result = Run({"demo"});
  EXPECT_EQ(0, result.status) << result.out << result.err;
  EXPECT_EQ("", result.err);
  for (const char* line :
       {"1 part, GSM 7-bit\n", "3 parts, UCS-2\n", "part 3 of 3 to +491700000003: sent\n",
        "part 1 of 1 to +491700000009: not sent\n", "of 5 parts\n", "received the whole text: message ",
        "report: delivered to +491700000001\n", "received part 3 of 3: message ", "is now inside a whole one\n",
        "flash message, shown and not stored: ", "received broadcast page: message ", "2 messages moved",
        "the modem is gone\n", "the modem is back\n", "read from the database on disk"}) {
    EXPECT_THAT(result.out, HasSubstr(line));
  }
  EXPECT_THAT(result.out, ContainsRegex("cancelled: [1-9] parts not sent\n"));
  EXPECT_THAT(result.out, HasSubstr("./run.sh send --device"));
}

TEST_F(SmsCtl, LeavesNothingBehindAfterTheDemo) {
  const ProgramResult result = Run({"demo"});
  ASSERT_EQ(0, result.status);
  EXPECT_FALSE(std::filesystem::exists(m_home.Path("data/smsapp")));
  EXPECT_FALSE(std::filesystem::exists(m_home.Path("config/smsapp")));
}

}  // namespace
