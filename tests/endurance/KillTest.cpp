// Nothing is lost: the host is killed at random moments while messages arrive.
#include "ChildProgram.h"
#include "ModemOnAPort.h"
#include "Post.h"
#include "RunProgram.h"
#include "TempHome.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>

namespace {

using std::chrono::milliseconds;

const int kCapacity = 40;
const int kRoom = 12;  // messages that wait at once: what the centre keeps fits on the card at any time
const milliseconds kLimit(60000);

std::size_t NumberFrom(const char* variable, std::size_t otherwise) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? otherwise : std::strtoul(text, nullptr, 10);
}

/// What stands in the database after a kill, read by another reader than the one that wrote it.
std::vector<std::string> ContentsInDatabase(const std::string& file) {
  std::vector<std::string> contents;
  sqlite3* database = nullptr;
  sqlite3_stmt* rows = nullptr;
  if (sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
      sqlite3_prepare_v2(database, "SELECT CONTENT FROM SmsLocalRecord", -1, &rows, nullptr) == SQLITE_OK) {
    while (sqlite3_step(rows) == SQLITE_ROW) {
      contents.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(rows, 0)));
    }
  }
  sqlite3_finalize(rows);
  sqlite3_close(database);
  return contents;
}

TokenCount TokensOf(const std::vector<std::string>& texts) {
  TokenCount count;
  for (const std::string& text : texts) {
    CountTokens(text, count);
  }
  return count;
}

modem_sim::ModemOptions Options(bool direct) {
  modem_sim::ModemOptions options;
  options.direct = direct;
  options.simCapacity = kCapacity;
  return options;
}

/// The parameter: messages come directly, not by way of the card.
class KilledHost : public ::testing::TestWithParam<bool> {
protected:
  KilledHost()
      : m_uSeed(static_cast<unsigned>(NumberFrom("SMS_SEED", std::random_device()()))),
        m_uKills(NumberFrom("SMS_KILLS", 40)),
        m_random(m_uSeed),
        m_modem(Options(GetParam())) {
    m_home.WriteSettings("");
    std::printf("SMS_SEED=%u SMS_KILLS=%zu\n", m_uSeed, m_uKills);
  }

  std::size_t Random(std::size_t from, std::size_t to) {
    return std::uniform_int_distribution<std::size_t>(from, to)(m_random);
  }

  std::vector<std::string> Command(const std::vector<std::string>& command) const {
    std::vector<std::string> arguments{BuiltProgram("smsctl")};
    arguments.insert(arguments.end(), command.begin(), command.end());
    for (const std::string& option :
         {std::string("--device"), m_modem.Path(), std::string("--config"), m_home.SettingsFile(),
          std::string("--data-dir"), m_home.DataDir(), std::string("--log-file"), m_home.LogFile()}) {
      arguments.push_back(option);
    }
    return arguments;
  }

  std::vector<std::string> Contents() const { return ContentsInDatabase(m_home.DatabaseFile()); }

  /// Lets the next letters come as long as there is room for them.
  void Feed(std::size_t& left) {
    while (left > 0 && m_uArrived < m_letters.size() && m_modem.Card().Used() < kRoom &&
           m_modem.Modem().Waiting() < kRoom) {
      ASSERT_TRUE(m_modem.Modem().Arrive(m_letters[m_uArrived++].message));
      --left;
    }
  }

  /// One life of the host, ended at a random octet of the dialogue or a random message it gets, and a random moment
  /// after it: the row is written, the copy deleted, the clients told then.
  void LiveAndDie(const std::vector<std::string>& command, std::size_t letters) {
    const std::size_t born = m_modem.Written();
    const bool byOctets = Random(0, 1) == 0;
    const std::size_t killAt = byOctets ? born + Random(1, 1600 + 700 * letters) : m_modem.Given() + Random(1, letters);
    CChildProgram host(Command(command));
    auto last = std::chrono::steady_clock::now();
    std::size_t written = born;
    const auto isTime = [&] {
      Feed(letters);
      const auto now = std::chrono::steady_clock::now();
      if (m_modem.Written() != written) {
        written = m_modem.Written();
        last = now;
      }
      const bool idle = written > born + kStartOctets && now - last > milliseconds(100);
      return (byOctets ? written : m_modem.Given()) >= killAt || idle || !host.IsRunning();
    };
    EXPECT_TRUE(m_modem.RunUntil(isTime, kLimit)) << "the host neither speaks nor ends";
    m_modem.RunFor(std::chrono::microseconds(Random(0, std::size_t(1) << Random(0, 13))));
    m_uKilled += host.Kill() ? 1 : 0;
    PutBackUnacknowledged();
  }

  /// What came directly and nobody has acknowledged is the centre's again, and goes to the card.
  void PutBackUnacknowledged() {
    if (GetParam()) {
      m_modem.Modem().PowerOff();
      m_modem.Modem().PowerOn();
    }
  }

  /// How many letters the next life gets.
  std::size_t Share() {
    const std::size_t share = (m_letters.size() - m_uArrived) / (m_uKills - m_uKilled);
    return Random(share / 2, share + share / 2 + 1) + 1;
  }

  /// Every letter that has arrived is in the database or on the card.
  void ExpectNothingLost() {
    const TokenCount stored = TokensOf(Contents());
    const TokenCount waiting = TokensOf(m_modem.ContentsOnCard());
    ASSERT_EQ(0U, m_modem.Modem().Waiting());
    for (std::size_t i = 0; i < m_uArrived; ++i) {
      const std::string& token = m_letters[i].token;
      const int rows = stored.count(token) == 0 ? 0 : stored.at(token);
      const bool onCard = waiting.count(token) != 0;
      ASSERT_TRUE(rows > 0 || onCard) << token << " is lost; SMS_SEED=" << m_uSeed << ", kill " << m_uKilled;
      if (rows > 0 && onCard) {
        m_inBoth.insert(token);
      }
      if (rows > 1) {
        m_twiceStored.insert(token);
      }
    }
  }

  /// Lets the rest arrive and moves everything, each time until the command ends by itself.
  void Drain() {
    for (std::size_t left = m_letters.size(); m_uArrived < m_letters.size() || m_modem.Card().Used() > 0;) {
      Feed(left);
      CChildProgram pull(Command({"pull", "sim"}));
      ASSERT_TRUE(m_modem.RunUntil([&] { return !pull.IsRunning(); }, kLimit));
      PutBackUnacknowledged();
    }
  }

  /// Every long message has been put together, and nothing is stored twice or besides.
  void ExpectEveryMessageOnce() {
    std::vector<std::string> contents = Contents();
    std::sort(contents.begin(), contents.end());
    std::sort(m_wholes.begin(), m_wholes.end());
    EXPECT_EQ(m_wholes, contents) << "SMS_SEED=" << m_uSeed;
  }

  static constexpr std::size_t kStartOctets = 400;  // fewer than the dialogue before the first message is read

  const unsigned m_uSeed;
  const std::size_t m_uKills;
  std::mt19937 m_random;
  CTempHome m_home;
  CModemOnAPort m_modem;
  std::vector<std::string> m_wholes;
  std::vector<Letter> m_letters;
  std::size_t m_uArrived = 0;
  std::size_t m_uKilled = 0;
  std::set<std::string> m_inBoth;  // after a kill
  std::set<std::string> m_twiceStored;
};

}  // namespace

TEST_P(KilledHost, LosesNoMessage) {
  m_letters = WritePost(m_uKills * 5, m_random, m_wholes);
  while (m_uKilled < m_uKills && !HasFatalFailure()) {
    const bool stuck = m_modem.Card().Used() > kRoom / 2;  // read in an earlier life: only "pull" moves them
    LiveAndDie(stuck ? std::vector<std::string>{"pull", "sim"} : std::vector<std::string>{"watch"}, Share());
    ExpectNothingLost();
  }
  if (HasFatalFailure()) {
    return;
  }
  Drain();
  ExpectNothingLost();
  std::printf(
      "%zu kills, %zu messages; after a kill %zu were in the store and on the card, %zu twice in the store meanwhile\n",
      m_uKilled, m_uArrived, m_inBoth.size(), m_twiceStored.size());
  ExpectEveryMessageOnce();
}

INSTANTIATE_TEST_SUITE_P(WhenTheyCome, KilledHost, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "Directly" : "ByWayOfTheCard"; });
