// Plays the dialogues of dialogues/*.at and of tests/dialogues/*.at: the test is the modem, and the client of the
// driver.
//
//   # a comment
//   -> TEXT             the driver sends TEXT and a carriage return; none behind <1A> or <1B>
//   <- TEXT             the modem's next line; ">" is the prompt. Also behind "-> TEXT" and two blanks
//   <~ BYTES            the modem sends these bytes and nothing else
//   ? TEXT              what the modem answers to TEXT whenever it comes: the "<-" and "<~" lines behind, and below
//   with a blank
//                       before
//   once TEXT           the same for one time, before all other times
//   echo                the modem gives back what it gets, until it has answered ATE0
//   flood COUNT         the modem sends so many octets that make no line
//   play NAME           the lines of NAME.part
//   do OPERATION        a client asks for it; see CClient
//   result TEXT         what the operation answered
//   event TEXT | TEXT   the next events, those of one line in any order; see CRecordingSink
//   answer true|false   what the sink answers from now on
//   settings LINE       a line of section "ModemPlugin" in the settings file, which is written anew
//   kept LINE           the settings file has that line now
//   advance MS          somebody waits at least so long; time goes on
//   pass MS             time goes on, and nobody waits for it
//   patience            time goes on in small steps until the operation has its result
//   hang up             the modem is unplugged
//   block               the line takes no more octets
//   opened | closed     the driver opens the line anew, or has closed it
//   retried             the same, after a second
//
// <XX> stands for the character of that hexadecimal code. Everything that the driver sends and every event must be in
// the file.
#include "MessageService.h"
#include "RecordingSink.h"
#include "ScriptedStream.h"
#include "TempHome.h"
#include "platform/JClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <optional>
#include <set>
#include <sstream>

namespace {

std::vector<std::string> DialoguesOf(const char* folder) {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == ".at") {
      paths.push_back(entry.path());
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string Trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string Bytes(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '<' && i + 3 < text.size() && text[i + 3] == '>') {
      bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 3;
    } else {
      bytes += text[i];
    }
  }
  return bytes;
}

/// The operations of "do", and what they answer as text.
class CClient {
public:
  explicit CClient(modem::CModem& modem) : m_modem(modem), m_service(modem) {}

  std::string Do(const std::string& line) {
    std::istringstream words(line);
    std::string what;
    std::string first;
    words >> what >> first;
    std::string rest;
    std::getline(words, rest);
    rest = Trimmed(rest);
    DWORD status = 0;
    if (what == "start") {
      std::string error;
      return m_modem.Start(error) ? "started" : error;
    }
    if (what == "stop") {
      m_modem.Stop();
      return "stopped";
    }
    if (what == "facts") {
      return Facts();
    }
    if (what == "identity") {
      return Identity();
    }
    if (what == "send") {
      return Answer(m_service.SMSSendMsg(Part(first, rest), &status), status, "queued");
    }
    if (what == "part") {  // 1/3 NUMBER TEXT
      SMS_PARAM part = Part(rest.substr(0, rest.find(' ')), rest.substr(rest.find(' ') + 1));
      part.bLongSms = true;
      part.stLongSMS_info = {7, static_cast<BYTE>(first[2] - '0'), static_cast<BYTE>(first[0] - '0')};
      return Answer(m_service.SMSSendMsg(part, &status), status, "queued");
    }
    if (what == "bearer") {
      return Answer(m_service.SMSSetBearer(static_cast<SmsBear>(std::stoi(first)), &status), status, "done");
    }
    if (what == "centre") {
      WMSConfigurationType config;
      m_service.GetWMSConfig(&config, nullptr);
      std::fill(std::begin(config.szSCNum), std::end(config.szSCNum), '\0');
      first.copy(config.szSCNum, sizeof config.szSCNum - 1);
      return Answer(m_service.SetWMSConfig(&config, &status), status, "done");
    }
    if (what == "mode") {
      WMSConfigurationType config;
      m_service.GetWMSConfig(&config, nullptr);
      config.enRevMode = first == "direct" ? RECEIVE_NEWSMS_DIRECT : RECEIVE_NEWSMS_AFTER_STORED;
      return Answer(m_service.SetWMSConfig(&config, &status), status, "done");
    }
    return what == "cbs" ? Broadcast(first, rest) : Store(what, first == "SM" ? SMS_MEM_SM : SMS_MEM_ME, rest);
  }

private:
  static std::string Answer(bool bDone, const DWORD& dwStatus, const std::string& text) {
    return bDone ? text + (dwStatus == 0 ? "" : " status " + std::to_string(dwStatus))
                 : "failed " + std::to_string(dwStatus);
  }

  static SMS_PARAM Part(const std::string& number, const std::string& text) {
    SMS_PARAM part;
    number.copy(part.szAddress, sizeof part.szAddress - 1);
    std::copy(text.begin(), text.end(), part.wszContent);
    part.iContentLen = static_cast<int>(text.size());
    return part;
  }

  std::string Facts() const {
    const modem::ModemFacts facts = m_modem.Facts();
    std::string text = facts.model + ", sim " + std::to_string(facts.sim) + ", pin " + std::to_string(facts.pin) +
                       ", network " + std::to_string(facts.network) + ", operator " + facts.operatorCode + ", centre " +
                       facts.serviceCentre + ", acknowledges " + (facts.acknowledges ? "yes" : "no") + ", memories";
    for (const SMS_MEM memory : facts.memories) {
      text += memory == SMS_MEM_SM ? " SM" : " ME";
    }
    return text;
  }

  std::string Identity() const {
    const modem::ModemFacts facts = m_modem.Facts();
    std::string text = facts.model + " | " + facts.revision + " | imei " + facts.imei + " | iccid " + facts.iccid +
                       " | imsi " + facts.imsi + " | signal " + std::to_string(facts.signal) + " | new ones in " +
                       facts.received + " by";
    for (const int value : facts.indications) {
      text += " " + std::to_string(value);
    }
    return text;
  }

  std::string Store(const std::string& what, SMS_MEM enMem, const std::string& rest) {
    DWORD status = 0;
    if (what == "list") {
      SMS_LIST list;
      const bool done = m_service.SMSGetMsgList(enMem, &list, &status);
      std::string indexes = "listed";
      for (DWORD i = 0; i < list.dwCount; ++i) {
        indexes += " " + std::to_string(list.pList[i]);
      }
      m_service.SMSReleaseMsgList(&list);
      return Answer(done, status, indexes);
    }
    if (what == "read" || what == "mark") {
      MSG_HANDLE index = static_cast<MSG_HANDLE>(std::stoul(rest));
      SMReadRecord record;
      const int mode = what == "mark" ? UNREAD_SM_ALTER : UNREAD_SM_NOT_ALTER;
      const bool done = m_service.SMSReadMsg(enMem, &index, &record, mode, &status);
      return Answer(done, status, TextOf(record));
    }
    if (what == "delete") {
      return Answer(m_service.SMSDeleteMsg(enMem, static_cast<MSG_HANDLE>(std::stoul(rest)), &status), status, "done");
    }
    if (what == "save") {
      SMS_PARAM part = Part(rest.substr(0, rest.find(' ')), rest.substr(rest.find(' ') + 1));
      part.enSMSStat = SMS_STAT_UNSENT;
      MSG_HANDLE index = 0;
      const bool done = m_service.SMSSaveMsg(enMem, &part, &index, &status);
      return Answer(done, status, "saved at " + std::to_string(index));
    }
    if (what == "info") {
      DWORD total = 0;
      DWORD used = 0;
      const bool done = m_service.SMSGetMemInfo(enMem, &total, &used, &status);
      return Answer(done, status, std::to_string(used) + " of " + std::to_string(total));
    }
    return "no such operation: " + what;
  }

  std::string Broadcast(const std::string& what, const std::string& rest) {
    DWORD status = 0;
    if (what == "on" || what == "off") {
      return Answer(m_service.CBSSetService(what == "on" ? CBS_STAT_OPEN : CBS_STAT_CLOSE, &status), status, "done");
    }
    if (what == "add") {
      return Answer(m_service.CBSAddChannel(rest.c_str(), "", &status), status, "done");
    }
    if (what == "remove") {
      return Answer(m_service.CBSRemoveChannel(rest.c_str(), &status), status, "done");
    }
    CBSStat state = CBS_STAT_OPEN;
    CbsMidList channels;
    CbsDcsList codings;
    const bool done = m_service.CBSGetDetail(&state, &channels, &codings, &status);
    std::string text = state == CBS_STAT_OPEN ? "on" : "off";
    for (DWORD i = 0; i < channels.size; ++i) {
      text += " " + std::to_string(channels.pCbsMids[i].dwLeft) + "-" + std::to_string(channels.pCbsMids[i].dwRight);
    }
    for (DWORD i = 0; i < codings.size; ++i) {
      text += " coding " + std::to_string(codings.pCbsDcss[i]);
    }
    m_service.CBSReleaseDetail(&channels, &codings, nullptr);
    return Answer(done, status, text);
  }

  modem::CModem& m_modem;
  modem::CMessageService m_service;
};

class CPlayer {
public:
  CPlayer() {
    m_modem.Events().AddSink(modem::CEventRaiser::Source::kMessages, &m_sink);
    m_modem.Events().AddSink(modem::CEventRaiser::Source::kNetwork, &m_sink);
    m_modem.Events().AddSink(&m_sink);
  }
  ~CPlayer() {
    m_line->HangUp();
    m_modem.Stop();
  }

  void Drip() { m_line->Drip(); }

  void PlayFile(const std::filesystem::path& path) {
    std::ifstream file(path);
    ASSERT_TRUE(file) << path;
    m_folder = path.parent_path();
    int number = 0;
    for (std::string line; std::getline(file, line) && !testing::Test::HasFailure();) {
      SCOPED_TRACE(path.string() + ":" + std::to_string(++number) + " " + line);
      Play(line);
    }
  }

  void ExpectNothingMore() {
    m_modem.Stop();  // raises what is queued
    EXPECT_EQ("", m_line->Unread());
    for (const std::string& event : m_sink.Rest()) {
      ADD_FAILURE() << "not in the dialogue: " << event;
    }
    EXPECT_FALSE(m_result.valid()) << "nobody asked for the result";
  }

private:
  /// A line of the table of answers.
  struct Row {
    bool once;
    std::string command;
    std::string bytes;
  };

  void Play(const std::string& line) {
    std::istringstream words(line);
    std::string first;
    words >> first;
    const std::string rest = Trimmed(line.substr(std::min(line.size(), line.find(first) + first.size())));
    if (first.empty() || first[0] == '#') {
      return;
    }
    const std::size_t behind = line.find("  <- ");
    const std::string reply = behind == std::string::npos ? "" : Said(Trimmed(line.substr(behind + 5)));
    const std::string text = Bytes(Trimmed(line.substr(first.size(), behind - (reply.empty() ? 0 : first.size()))));
    if (m_row && line[0] == ' ' && (first == "<-" || first == "<~")) {
      m_row->bytes += first == "<-" ? Said(rest) : Bytes(rest);
      return;
    }
    FinishRow();
    if (first == "?" || first == "once") {
      m_row = Row{first == "once", text, reply};
    } else if (first == "->") {
      EXPECT_EQ(text, m_line->AwaitHost());
      if (!reply.empty()) {
        m_line->Say(reply);
      }
    } else if (first == "<-" || first == "<~") {
      m_line->Say(first == "<-" ? Said(rest) : Bytes(rest));
    } else {
      Happen(first, rest);
    }
  }

  void FinishRow() {
    if (m_row && m_row->once) {
      m_line->AnswerOnce(m_row->command, m_row->bytes);
    } else if (m_row) {
      m_line->Answer(m_row->command, m_row->bytes);
    }
    m_row.reset();
  }

  static std::string Said(const std::string& text) { return text == ">" ? "\r\n> " : "\r\n" + Bytes(text) + "\r\n"; }

  /// Events of different threads come in any order.
  void ExpectEvents(const std::string& text) {
    std::multiset<std::string> expected;
    std::multiset<std::string> actual;
    for (std::size_t begin = 0; begin <= text.size();) {
      const std::size_t end = std::min(text.find('|', begin), text.size());
      expected.insert(Trimmed(text.substr(begin, end - begin)));
      actual.insert(m_sink.Next());
      begin = end + 1;
    }
    EXPECT_EQ(expected, actual);
  }

  void ExpectSetting(const std::string& expected) {
    std::istringstream file(m_home.ReadFile("settings.ini"));
    bool found = false;
    for (std::string line; std::getline(file, line);) {
      found = found || Trimmed(line) == expected;
    }
    EXPECT_TRUE(found) << file.str();
  }

  void Happen(const std::string& what, const std::string& rest) {
    if (what == "play") {
      PlayFile(m_folder / (rest + ".part"));
    } else if (what == "echo") {
      m_line->Echo();
    } else if (what == "flood") {
      m_line->Say(std::string(std::stoul(rest), 'x'));
    } else if (what == "do") {
      ASSERT_FALSE(m_result.valid());
      m_result = std::async(std::launch::async, [this, rest] { return m_client.Do(rest); });
    } else if (what == "result") {
      ASSERT_EQ(std::future_status::ready, m_result.wait_for(std::chrono::seconds(5)));
      EXPECT_EQ(rest, Trimmed(m_result.get()));
    } else if (what == "event") {
      ExpectEvents(rest);
    } else if (what == "settings") {
      m_home.WriteSettings("[ModemPlugin]\n" + rest + "\n");
    } else if (what == "kept") {
      ExpectSetting(rest);
    } else if (what == "answer") {
      m_sink.Answer(rest == "true");
    } else if (what == "advance") {
      ASSERT_TRUE(m_clock.AwaitTimedWaiters(1, std::stoi(rest), 5000));
      m_clock.Advance(std::stoi(rest));
    } else if (what == "pass") {
      m_clock.Advance(std::stoi(rest));
    } else if (what == "patience") {
      for (int step = 0; step < 1000 && m_result.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready;
           ++step) {
        m_clock.Advance(100);
      }
    } else if (what == "hang") {
      m_line->HangUp();
    } else if (what == "block") {
      m_line->Block();
    } else if (what == "opened") {
      EXPECT_TRUE(m_line->AwaitOpen(++m_iOpened));
    } else if (what == "retried") {
      ++m_iOpened;
      for (int second = 0; second < 100 && !m_line->AwaitOpen(m_iOpened, 20); ++second) {
        m_clock.Advance(1000);
      }
    } else if (what == "closed") {
      EXPECT_TRUE(m_line->AwaitClosed());
    } else {
      FAIL() << "no such line";
    }
  }

  std::filesystem::path m_folder;  // of the file that is played
  std::optional<Row> m_row;        // the last line, if it was one
  CTempHome m_home;
  JManualClock m_clock;
  const std::shared_ptr<CScriptedLine> m_line = std::make_shared<CScriptedLine>();
  CRecordingSink m_sink;
  modem::CModem m_modem{[this](std::string&) { return CScriptedLine::Open(m_line); }};
  CClient m_client{m_modem};
  std::future<std::string> m_result;
  int m_iOpened = 0;
};

class Dialogue : public testing::TestWithParam<std::string> {};

TEST_P(Dialogue, GoesAsWritten) {
  CPlayer player;
  player.PlayFile(GetParam());
  if (!HasFailure()) {
    player.ExpectNothingMore();
  }
}

/// A reply may be cut anywhere.
class DrippedDialogue : public testing::TestWithParam<std::string> {};

TEST_P(DrippedDialogue, GoesAsWritten) {
  CPlayer player;
  player.Drip();
  player.PlayFile(GetParam());
  if (!HasFailure()) {
    player.ExpectNothingMore();
  }
}

std::string TestName(const testing::TestParamInfo<std::string>& info) {
  std::string name = std::filesystem::path(info.param).stem();
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Modem, Dialogue, testing::ValuesIn(DialoguesOf(MODEM_DIALOGUES)), TestName);
INSTANTIATE_TEST_SUITE_P(Maker, Dialogue, testing::ValuesIn(DialoguesOf(MAKER_DIALOGUES)), TestName);
INSTANTIATE_TEST_SUITE_P(Maker, DrippedDialogue, testing::ValuesIn(DialoguesOf(MAKER_DIALOGUES)), TestName);

}  // namespace
