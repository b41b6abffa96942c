// Plays the dialogues of dialogues/*.at.
//
//   # a comment
//   option NAME=VALUE        the program's option of that name, before the first line of the dialogue
//   -> TEXT                  the computer sends TEXT and a carriage return; none behind <1A>, <1B> or <END>
//   <- TEXT                  the modem's next line; ">" is the prompt. Also behind "-> TEXT" and two blanks.
//   advance MS               time goes on
//   arrive NUMBER DCS TEXT   a message reaches the service centre
//   page CHANNEL TEXT        a cell broadcasts the text, serial number 0010
//   call NUMBER              somebody calls
//   network on|off           the network comes or goes
//   hang up                  the computer closes the port
//   plug                     the line that the modem has pulled out comes back
//
// <XX> stands for the character of that hexadecimal code. Everything that the modem writes must be in the file. Echo is
// off at the start.
#include "FakeWorld.h"
#include "FaultRequest.h"
#include "Pages.h"
#include "Pieces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace {

using namespace modem_sim;

std::vector<std::string> Dialogues() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(SIM_DIALOGUES)) {
    if (entry.path().extension() == ".at") names.push_back(entry.path().stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string Trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

void SetOption(const std::string& text, ModemOptions* options) {
  const std::size_t sign = text.find('=');
  const std::string name = text.substr(0, sign);
  const std::string value = sign == std::string::npos ? "" : text.substr(sign + 1);
  if (name == "sim-capacity") {
    options->simCapacity = std::stoi(value);
  } else if (name == "me-capacity") {
    options->meCapacity = std::stoi(value);
  } else if (name == "latency") {
    options->latencyMs = std::stoi(value);
  } else if (name == "refuse") {
    options->refusals[value.substr(0, value.find('='))] = std::stoi(value.substr(value.find('=') + 1));
  } else if (name == "refuse-nth") {
    Fault fault;
    fault.every = std::stoi(value);
    fault.times = 1;
    options->faults.push_back(fault);
  } else if (name == "profile") {
    options->profile = FindProfile(value);
    ASSERT_NE(options->profile, nullptr) << value;
  } else if (name == "latency-of") {
    options->latencies[value.substr(0, value.find('='))] = std::stoi(value.substr(value.find('=') + 1));
  } else if (name == "fault") {
    Fault fault;
    std::string error;
    ASSERT_TRUE(ParseFault(value, &fault, &error)) << error;
    options->faults.push_back(fault);
  } else if (name == "baud") {
    options->baud = std::stoi(value);
  } else if (name == "sim-full") {
    options->simFull = true;
  } else if (name == "puk") {
    options->puk = value;
  } else if (name == "pin") {
    options->pin = value;
  } else if (name == "no-network") {
    options->network = NetworkState::Searching;
  } else if (name == "interrupt") {
    options->interrupt = true;
  } else {
    FAIL() << "no such option: " << name;
  }
}

class CPlayer {
public:
  void Play(const std::string& line) {
    std::istringstream words(line);
    std::string first;
    words >> first;
    if (first.empty() || first[0] == '#') return;
    if (first == "option") {
      SetOption(Trimmed(line.substr(6)), &m_options);
      return;
    }
    if (!m_pModem) Start();
    if (first == "->") {
      const std::size_t reply = line.find("  <- ");
      ExpectNothingMore();
      Send(Trimmed(line.substr(2, reply == std::string::npos ? reply : reply - 2)));
      if (reply != std::string::npos) Expect(Trimmed(line.substr(reply + 5)));
    } else if (first == "<-") {
      Expect(Trimmed(line.substr(line.find("<-") + 2)));
    } else {
      ExpectNothingMore();
      Happen(first, words);
    }
  }

  void ExpectNothingMore() {
    TakeLines();
    for (const std::string& line : m_lstLines) ADD_FAILURE() << "not in the dialogue: " << line;
    m_lstLines.clear();
  }

private:
  void Start() {
    m_pModem = std::make_unique<CSimulatedModem>(m_options, m_world);
    Send("ATE0");
    m_world.TakeOutput();
  }

  void Send(const std::string& text) {
    std::string bytes;
    bool ended = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text.compare(i, 5, "<END>") == 0) {
        ended = true;
        break;
      }
      if (text[i] == '<' && i + 3 < text.size() && text[i + 3] == '>') {
        bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
        i += 3;
      } else {
        bytes += text[i];
      }
    }
    ended = ended || (!bytes.empty() && (bytes.back() == '\x1A' || bytes.back() == '\x1B'));
    if (!ended) bytes += '\r';
    m_pModem->Receive(bytes.data(), bytes.size());
    m_world.Advance(0);
  }

  void Expect(const std::string& expected) {
    TakeLines();
    if (m_lstLines.empty()) {
      ADD_FAILURE() << "silence instead of: " << expected;
      return;
    }
    EXPECT_EQ(m_lstLines.front(), expected);
    m_lstLines.erase(m_lstLines.begin());
  }

  void Happen(const std::string& what, std::istringstream& words) {
    std::string value;
    words >> value;
    if (what == "advance") {
      m_world.Advance(std::stoi(value));
    } else if (what == "network") {
      m_pModem->SetNetwork(value == "on" ? NetworkState::Home : NetworkState::Searching);
    } else if (what == "plug") {
      std::string error;
      EXPECT_FALSE(m_world.plugged);
      EXPECT_TRUE(m_pModem->Plug(&error)) << error;
      Send("ATE0");
      m_world.TakeOutput();
    } else if (what == "hang") {
      m_pModem->HangUp();
    } else if (what == "arrive") {
      Arrive(value, words);
    } else if (what == "call") {
      m_pModem->Ring(value);
    } else if (what == "page") {
      Page(value, words);
    } else {
      FAIL() << "no such line: " << what;
    }
    m_world.Advance(0);
  }

  void Arrive(const std::string& number, std::istringstream& words) {
    std::string dcs;
    std::string text;
    words >> dcs;
    std::getline(words, text);
    text = Trimmed(text);
    sms_pdu::Deliver message;
    message.time = m_world.Now();
    message.userData.dcs = static_cast<BYTE>(std::stoi(dcs, nullptr, 16));
    sms_pdu::MakeAddress(number.c_str(), &message.originator);
    sms_pdu::SetText(&message.userData, VELK_wstring(text.begin(), text.end()).data(), text.size());
    EXPECT_TRUE(m_pModem->Arrive(message));
  }

  void Page(const std::string& channel, std::istringstream& words) {
    std::string text;
    std::getline(words, text);
    std::vector<sms_pdu::BroadcastPage> pages;
    ASSERT_TRUE(MakePages(0x0010, static_cast<WORD>(std::stoi(channel)), FromUtf8(Trimmed(text)), &pages));
    for (const sms_pdu::BroadcastPage& page : pages) EXPECT_EQ(m_pModem->Broadcast(page), PageFate::Shown);
  }

  void TakeLines() {
    for (const std::string& line : LinesOf(m_world.TakeOutput())) m_lstLines.push_back(line);
  }

  ModemOptions m_options;
  CFakeWorld m_world;
  std::unique_ptr<CSimulatedModem> m_pModem;
  std::vector<std::string> m_lstLines;
};

class Dialogue : public testing::TestWithParam<std::string> {};

TEST_P(Dialogue, GoesAsWritten) {
  const std::string path = SIM_DIALOGUES "/" + GetParam() + ".at";
  std::ifstream file(path);
  ASSERT_TRUE(file) << path;
  CPlayer player;
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    SCOPED_TRACE(path + ":" + std::to_string(++number) + " " + line);
    player.Play(line);
  }
  player.ExpectNothingMore();
}

std::string TestName(const testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Sim, Dialogue, testing::ValuesIn(Dialogues()), TestName);

}  // namespace
