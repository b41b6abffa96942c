// What becomes of a damaged database file.
#include "LocalDatabaseHome.h"
#include "Text.h"
#include "platform/JClock.h"

#include <sys/stat.h>
#include <filesystem>
#include <fstream>
#include <future>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPage = 4096;
constexpr int kRows = 3000;
constexpr char kFile[] = "SMS.DTC";

class LocalDatabaseDamage : public CDatabaseTest {
protected:
  // A closed file of some hundred pages; the log is written back.
  std::string MakeSoundFile() const {
    LocalDatabaseMgr database;
    Open(database);
    database.BeginTransaction();
    for (int i = 0; i < kRows; ++i) {
      Add(database, LongText(i));
    }
    database.EndTransaction();
    database.CloseConnection();
    return ReadFile(kFile);
  }

  void ExpectToStartEmpty() const {
    LocalDatabaseMgr database;
    ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
    EXPECT_FALSE(database.IsTableExsis(kTable));
    EXPECT_EQ(DB_ERROR_OK, database.GennerateTable(kTable, TwoColumns()));
    EXPECT_EQ(1u, Add(database, u"new"));
    EXPECT_EQ("new", Content(database, 1));
  }

  std::string PathOf(const std::string& name) const { return m_home.Path("data/userdata/" + name); }
};

struct Damage {
  const char* pszName;
  std::function<std::string(std::string)> change;
};

void PrintTo(const Damage& damage, std::ostream* pOut) { *pOut << damage.pszName; }

std::string Overwritten(std::string file, std::size_t nStart, std::size_t nLength, char c) {
  return file.replace(nStart, nLength, nLength, c);
}

class LocalDatabaseDamageOf : public LocalDatabaseDamage, public ::testing::WithParamInterface<Damage> {};

}  // namespace

TEST_P(LocalDatabaseDamageOf, SetsTheFileAsideAndStartsEmpty) {
  const std::string damaged = GetParam().change(MakeSoundFile());
  WriteFile(kFile, damaged);
  ExpectToStartEmpty();
  const std::vector<std::string> kept = FilesLike("SMS.DTC.damaged-");
  ASSERT_EQ(1u, kept.size());
  EXPECT_EQ(damaged, ReadFile(kept[0]));
  const std::vector<std::string> lines = TraceOf(1);
  ASSERT_EQ(1u, lines.size());
  EXPECT_NE(std::string::npos, lines[0].find("\"" + PathOf(kFile) + "\" is damaged ("));
  EXPECT_NE(std::string::npos, lines[0].find("kept as \"" + PathOf(kept[0]) + "\""));
  EXPECT_NE(std::string::npos, lines[0].find("sqlite3 \"" + PathOf(kept[0]) + "\" .recover"));
  struct stat status;
  ASSERT_EQ(0, stat(PathOf(kept[0]).c_str(), &status));
  EXPECT_EQ(0600u, status.st_mode & 0777u);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, LocalDatabaseDamageOf,
    ::testing::Values(
        Damage{"OneOctet", [](const std::string&) { return std::string("S"); }},
        Damage{"ShortText", [](const std::string&) { return std::string("this is no database\n"); }},
        Damage{"LongText", [](const std::string&) { return std::string(100000, 'x'); }},
        Damage{"Zeros", [](const std::string&) { return std::string(100000, '\0'); }},
        Damage{"HeaderLost", [](std::string file) { return Overwritten(std::move(file), 0, 16, '?'); }},
        Damage{"TablesPageLost", [](std::string file) { return Overwritten(std::move(file), 100, kPage - 100, 'Q'); }},
        Damage{"CutToHalf", [](const std::string& file) { return file.substr(0, file.size() / kPage / 2 * kPage); }},
        Damage{"CutWithinAPage", [](const std::string& file) { return file.substr(0, file.size() - 100); }},
        Damage{"CutToOnePage", [](const std::string& file) { return file.substr(0, kPage); }},
        Damage{"CutWithinTheHeader", [](const std::string& file) { return file.substr(0, 60); }},
        Damage{"APageOfRowsLost",
               [](std::string file) {
                 const std::size_t nStart = file.size() / kPage / 2 * kPage;
                 return Overwritten(std::move(file), nStart, kPage, '\xA5');
               }},
        Damage{"TheRootOfTheTableLost",
               [](std::string file) { return Overwritten(std::move(file), kPage, kPage, '\0'); }},
        Damage{"ManyPagesLost",
               [](std::string file) { return Overwritten(std::move(file), 10 * kPage, 90 * kPage, '\xFF'); }}),
    [](const auto& row) { return std::string(row.param.pszName); });

TEST_F(LocalDatabaseDamage, DoesNotIncludeAnEmptyFile) {
  WriteFile(kFile, "");
  ExpectToStartEmpty();
  EXPECT_TRUE(FilesLike("SMS.DTC.damaged-").empty());
  EXPECT_TRUE(TraceOf(1).empty());
}

TEST_F(LocalDatabaseDamage, KeepsTheLogOfAFileThatWasEmptied) {
  WriteFile(kFile, "");
  WriteFile("SMS.DTC-wal", "rows that were not written back");
  ExpectToStartEmpty();
  const std::vector<std::string> kept = FilesLike("SMS.DTC.damaged-");
  ASSERT_EQ(2u, kept.size());
  EXPECT_EQ(kept[0] + "-wal", kept[1]);
  EXPECT_EQ("rows that were not written back", ReadFile(kept[1]));
}

TEST_F(LocalDatabaseDamage, KeepsTheLogBesideADamagedFile) {
  MakeSoundFile();
  WriteFile(kFile, "no database at all");
  WriteFile("SMS.DTC-wal", std::string(5000, 'w'));
  ExpectToStartEmpty();
  const std::vector<std::string> kept = FilesLike("SMS.DTC.damaged-");
  ASSERT_EQ(2u, kept.size());
  EXPECT_EQ("no database at all", ReadFile(kept[0]));
  EXPECT_EQ(std::string(5000, 'w'), ReadFile(kept[1]));
}

TEST_F(LocalDatabaseDamage, NeverReplacesAFileKeptEarlier) {
  JManualClock clock(1709200000);  // all within one second
  for (const char* pszText : {"first damage", "second damage", "third damage"}) {
    WriteFile(kFile, pszText);
    LocalDatabaseMgr database;
    ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  }
  const std::vector<std::string> kept = FilesLike("SMS.DTC.damaged-");
  ASSERT_EQ(3u, kept.size());
  EXPECT_EQ("first damage", ReadFile(kept[0]));
  EXPECT_EQ(kept[0] + "-2", kept[1]);
  EXPECT_EQ("second damage", ReadFile(kept[1]));
  EXPECT_EQ(kept[0] + "-3", kept[2]);
  EXPECT_EQ("third damage", ReadFile(kept[2]));
}

TEST_F(LocalDatabaseDamage, IsNotSetAsideWhileSomebodyElseUsesTheFile) {
  MakeSoundFile();
  LocalDatabaseMgr user;
  ASSERT_EQ(DB_ERROR_OK, user.OpenConnection(kDatabase));
  std::fstream(PathOf(kFile), std::ios::in | std::ios::out | std::ios::binary) << std::string(kPage, '?');
  JManualClock clock;
  LocalDatabaseMgr second;
  std::future<int> opening = std::async(std::launch::async, [&] { return second.OpenConnection(kDatabase); });
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, 1, 5000));
  clock.Advance(10000);
  EXPECT_EQ(DB_ERROR_FAILURE, opening.get());
  EXPECT_TRUE(FilesLike("SMS.DTC.damaged-").empty());
  ASSERT_EQ(1u, TraceOf(1).size());
  EXPECT_NE(std::string::npos, TraceOf(1)[0].find("another program uses it"));
}

TEST_F(LocalDatabaseDamage, ThatComesLaterIsAnErrorAndSparesTheOtherRows) {
  MakeSoundFile();
  LocalDatabaseMgr database;
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  const std::vector<int> all = Indexes(database);
  ASSERT_EQ(static_cast<std::size_t>(kRows), all.size());
  const std::streamoff nMiddle = static_cast<std::streamoff>(fs::file_size(PathOf(kFile)) / kPage / 2 * kPage);
  std::fstream(PathOf(kFile), std::ios::in | std::ios::out | std::ios::binary).seekp(nMiddle)
      << std::string(kPage, '\xA5');

  int iLost = 0;
  for (const int iIndex : all) {
    const std::string content = Content(database, static_cast<unsigned int>(iIndex));
    if (content == "error 1") {
      ++iLost;
    } else {
      ASSERT_EQ(Utf8(LongText(iIndex - 1)), content);
    }
  }
  EXPECT_GT(iLost, 0);
  EXPECT_LT(iLost, 40);  // one page
  EXPECT_TRUE(m_trace.Contains("GetOneRecord \"Rows\": database disk image is malformed (11)"));

  std::vector<int> indexes;
  EXPECT_EQ(DB_ERROR_FAILURE, database.GetAllRecordIndex(kTable, indexes));
  EXPECT_GT(indexes.size(), 100u);  // those before the damage
  EXPECT_EQ(static_cast<unsigned int>(kRows) + 1, Add(database, u"still saved"));
}
