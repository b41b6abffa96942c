// The commands about stored messages and settings.

#include "CtlSupport.h"

namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

class StoredMessages : public CSmsCtlTest {
protected:
  std::string Save(const std::string& box, const std::string& text) {
    return Out({"save", "--box", box, "--to", "+4917012345", text});
  }
};

TEST_F(StoredMessages, SavesListsAndShowsAMessage) {
  EXPECT_EQ("1\n", Save("draft", "A draft with \u20AC and \U0001F600"));
  EXPECT_THAT(Out({"list"}), ContainsRegex("draft box\n +1 .*\\+4917012345: \"A draft with \u20AC and \U0001F600\"\n"));
  const std::string shown = Out({"show", "1"});
  EXPECT_THAT(shown, HasSubstr("draft box"));
  EXPECT_THAT(shown, HasSubstr("\nA draft with \u20AC and \U0001F600\n"));
}

TEST_F(StoredMessages, SavesATextOfSeveralLinesFromStandardInput) {
  EXPECT_EQ("1\n", Run({"save", "--box", "draft", "-"}, "first\nsecond\n").out);
  EXPECT_THAT(Out({"show", "1"}), HasSubstr("\nfirst\nsecond\n"));
  EXPECT_THAT(Out({"list"}), HasSubstr("first second"));
}

TEST_F(StoredMessages, ListsOneBoxOnly) {
  Save("draft", "a draft");
  Save("favourite", "a favourite");
  const std::string listed = Out({"list", "--box", "favourite"});
  EXPECT_THAT(listed, HasSubstr("a favourite"));
  EXPECT_THAT(listed, Not(HasSubstr("a draft")));
  EXPECT_THAT(Out({"list", "--box", "timing"}), HasSubstr("empty"));
}

TEST_F(StoredMessages, MovesAMessageToAnotherBox) {
  Save("draft", "to keep");
  Out({"move", "1", "--box", "favourite"});
  EXPECT_THAT(Out({"list", "--box", "favourite"}), HasSubstr("to keep"));
  EXPECT_THAT(Out({"list", "--box", "draft"}), HasSubstr("empty"));
}

TEST_F(StoredMessages, DeletesIntoTheRecycleBoxOnceAndRemovesForGood) {
  Save("draft", "to go");
  Out({"delete", "1"});
  EXPECT_THAT(Out({"list"}), HasSubstr("recycle box"));
  const ProgramResult again = Run({"delete", "1"});
  EXPECT_EQ(1, again.status);
  EXPECT_THAT(again.err, HasSubstr("smsctl remove"));
  Out({"remove", "1"});
  EXPECT_THAT(Out({"list"}), HasSubstr("no messages"));
}

TEST_F(StoredMessages, SaysWhichMessageIsNotThere) {
  for (const char* command : {"show", "read", "delete", "remove"}) {
    const ProgramResult result = Run({command, "7"});
    EXPECT_EQ(1, result.status) << command;
    EXPECT_THAT(result.err, HasSubstr("no message 7 in the local store"));
  }
}

TEST_F(StoredMessages, FailsWithOneLineWhenTheDatabaseCannotBeUsed) {
  m_home.WriteFile("plain", "somebody's file");
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"list"}, {"show", "1"}, {"save", "--box", "draft", "text"}}) {
    std::vector<std::string> arguments = command;
    arguments.insert(arguments.end(), {"--data-dir", m_home.Path("plain")});
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(1, CountLines(result.err)) << result.err;
    EXPECT_THAT(result.err, HasSubstr(m_home.Path("plain")));
    EXPECT_EQ("", result.out);
  }
  EXPECT_EQ("somebody's file", m_home.ReadFile("plain"));
}

TEST_F(StoredMessages, RefusesIdentifiersBoxesAndStoresThatDoNotExist) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"show", "abc"},
                                                    {"show", "99999999999999999999"},
                                                    {"show"},
                                                    {"list", "--box", "nowhere"},
                                                    {"list", "--store", "moon"},
                                                    {"move", "1"},
                                                    {"pull", "local"},
                                                    {"settings"},
                                                    {"channels", "dance"}}) {
    EXPECT_EQ(2, Run(arguments).status) << arguments[0];
  }
}

TEST_F(StoredMessages, ReceivesWhatIsSentToTheOwnNumberAndMarksItRead) {
  const std::string port = StartSimulator({"--number", "+491700000001"});
  Out({"send", "--device", port, "--to", "+491700000001", "To myself"});
  m_home.WriteFile("config/smsapp/settings.ini", "[SMSSERVICE]\nReceviceMode=1\n");
  // the message waits on the SIM: moving it is what the load of the SIM does in this mode
  const std::string pulled = Out({"pull", "sim", "--device", port});
  EXPECT_THAT(pulled, HasSubstr("all messages are moved"));
  const std::string listed = Out({"list", "--box", "receive"});
  EXPECT_THAT(listed, ContainsRegex("new +\\+491700000001: \"To myself\"|read +\\+491700000001: \"To myself\""));
}

TEST_F(StoredMessages, KeepsTheReceiveModeInTheSettingsFile) {
  m_home.WriteFile("config/smsapp/settings.ini", "# mine\n[SMSSERVICE]\n# the mode\nReceviceMode=1\n");
  Out({"settings", "set", "receive-mode", "0"});
  EXPECT_EQ("0\n", Out({"settings", "get", "receive-mode"}));
  EXPECT_THAT(m_home.ReadFile("config/smsapp/settings.ini"), HasSubstr("# mine\n[SMSSERVICE]\n# the mode\n"));
}

TEST_F(StoredMessages, RefusesSettingsThatDoNotExistOrMakeNoSense) {
  EXPECT_THAT(Run({"settings", "get", "colour"}).err, HasSubstr("there is no setting \"colour\""));
  EXPECT_EQ(1, Run({"settings", "set", "receive-mode", "often"}).status);
  EXPECT_EQ(1, Run({"settings", "set", "group-limit", "50"}).status);
  for (const std::vector<std::string>& pair : {std::vector<std::string>{"validity", "256"},
                                               {"report", "2"},
                                               {"priority", "4"},
                                               {"receive-mode", "3"},
                                               {"centre", "nobody"},
                                               {"broadcast-cleanup", "99999999999999999999"}}) {
    const ProgramResult result = Run({"settings", "set", pair[0], pair[1]});
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, HasSubstr("\"" + pair[1] + "\" is no value for " + pair[0]));
  }
}

TEST_F(StoredMessages, RefusesWhatAreNoChannelsWithoutAModem) {
  for (const std::string channels : {"50-40", "65536", "1,,2", "1,", ",1", "-", "1-", "-1", "1-2-3", "a", "1 2"}) {
    const ProgramResult result = Run({"channels", "add", "--device", "/dev/null", "--", channels});
    EXPECT_EQ(1, result.status) << channels;
    EXPECT_THAT(result.err, HasSubstr("\"" + channels + "\" are no channels"));
  }
}

TEST_F(StoredMessages, SaysThatASettingOfTheModemNeedsOne) {
  const ProgramResult result = Run({"settings", "set", "validity", "255"});
  EXPECT_EQ(1, result.status);
  EXPECT_EQ("smsctl: validity cannot be written: settings of the modem need one; name its port with --device\n",
            result.err);
}

TEST_F(StoredMessages, ReadsAndWritesTheServiceCentreOfTheModem) {
  const std::string port = StartSimulator();
  Out({"settings", "set", "centre", "+491710000099", "--device", port});
  EXPECT_EQ("+491710000099\n", Out({"settings", "get", "centre", "--device", port}));
}

TEST_F(StoredMessages, AsksForReportsFromTheNextProgramOn) {
  const std::string port = StartSimulator();
  Out({"settings", "set", "report", "1", "--device", port});
  EXPECT_EQ("1\n", Out({"settings", "get", "report", "--device", port}));
}

TEST_F(StoredMessages, AddsAndListsBroadcastChannels) {
  const std::string port = StartSimulator();
  Out({"channels", "add", "50,4352-4359", "--device", port});
  EXPECT_EQ("50\n4352-4359\n", Out({"channels", "list", "--device", port}));
  EXPECT_EQ(1, Run({"channels", "add", "fifty", "--device", port}).status);
}

TEST_F(StoredMessages, TellsHowMuchRoomANameTakesOnTheSim) {
  EXPECT_EQ("3 octets, GSM alphabet\n", Out({"phonebook-size", "abc"}));
  EXPECT_EQ("6 octets, 16-bit coding\n", Out({"phonebook-size", "\u0410\u0411\u0412"}));
}

TEST_F(StoredMessages, TellsTheUseOfTheStores) {
  Save("draft", "one");
  EXPECT_THAT(Out({"info"}), ContainsRegex("Local store +1 of 10000 messages\n"));
  EXPECT_THAT(Out({"info", "--device", StartSimulator()}), ContainsRegex("SIM memory +0 of [0-9]+ messages\n"));
}

}  // namespace
