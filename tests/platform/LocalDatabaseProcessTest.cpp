// The local database and the system around it: rights, full disks, killed and competing processes.
#include "LocalDatabaseHome.h"
#include "Text.h"
#include "platform/PlatformPaths.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

namespace {

class LocalDatabaseFiles : public CDatabaseTest {
protected:
  mode_t ModeOf(const std::string& name) const {
    struct stat status;
    return stat(m_home.Path(name).c_str(), &status) == 0 ? status.st_mode & 0777u : 0;
  }
  void ExpectRefusal(const std::string& reason) {
    LocalDatabaseMgr database;
    EXPECT_EQ(DB_ERROR_FAILURE, database.OpenConnection(kDatabase));
    unsigned int uIndex = 0;
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.AddRecord(kTable, Row(u"", u""), uIndex));
    const std::vector<std::string> lines = TraceOf(1);
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ("cannot open the database \"" + m_home.DatabaseFile() + "\": " + reason +
                  ". Nothing can be stored: mend that and start the program anew.",
              lines[0]);
  }
};

class LocalDatabaseProcess : public CDatabaseTest {
protected:
  // For child processes: says why when it fails.
  int OpenTable(LocalDatabaseMgr& database) const {
    const bool bOpen = database.OpenConnection(kDatabase) == DB_ERROR_OK &&
                       database.GennerateTable(kTable, TwoColumns()) == DB_ERROR_OK;
    for (const std::string& line : bOpen ? std::vector<std::string>() : m_trace.FullLines()) {
      std::fprintf(stderr, "%s\n", line.c_str());
    }
    return bOpen ? 0 : 1;
  }
};

void LimitFiles(rlim_t nOctets) {
  std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = nOctets;
  setrlimit(RLIMIT_FSIZE, &limit);
}

// Both work at once.
int InTwoChildren(const std::function<int()>& work) {
  return InChild([&] {
    const pid_t second = fork();
    const int iOwn = work();
    if (second == 0) {
      _exit(iOwn);
    }
    int iStatus = 1;
    waitpid(second, &iStatus, 0);
    return iOwn + (iStatus == 0 ? 0 : 1);
  });
}

int CountIn(LocalDatabaseMgr& database) {
  int iCount = -1;
  database.GetRecordCount(kTable, iCount);
  return iCount;
}

}  // namespace

// --- Files and rights ------------------------------------------------------------------------------------------------

TEST_F(LocalDatabaseFiles, LieWhereTheNameOfTheConnectionSays) {
  LocalDatabaseMgr messages;
  LocalDatabaseMgr others;
  ASSERT_EQ(DB_ERROR_OK, messages.OpenConnection(kDatabase));
  ASSERT_EQ(DB_ERROR_OK, others.OpenConnection("Outbox-2"));
  EXPECT_TRUE(fs::exists(m_home.DatabaseFile()));
  EXPECT_TRUE(fs::exists(m_home.Path("data/userdata/Outbox-2.DTC")));
}

TEST_F(LocalDatabaseFiles, StayInTheirFolderWhateverTheName) {
  LocalDatabaseMgr database;
  for (const char* pszName : {"../../escape", "/etc/passwd", ".", "SMS", "two words", "\xC3\xA9"}) {
    ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(pszName)) << pszName;
  }
  ASSERT_EQ(DB_ERROR_OK, database.CloseConnection());
  EXPECT_TRUE(FilesLike("%2E%2E%2F%2E%2E%2Fescape.DTC").size() >= 1);
  EXPECT_TRUE(FilesLike("SMS.DTC").empty());  // the messages' own file has one name only
  EXPECT_EQ(6u, FilesLike("").size() / 2);    // with the file that says who uses it
}

TEST_F(LocalDatabaseFiles, NeedAName) {
  LocalDatabaseMgr database;
  EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.OpenConnection(nullptr));
  EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.OpenConnection(""));
  EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.OpenConnection(std::string(300, 'n').c_str()));
}

TEST_F(LocalDatabaseFiles, ArePrivateWhateverTheMask) {
  const mode_t mask = umask(0);
  LocalDatabaseMgr database;
  Open(database);
  umask(mask);
  EXPECT_EQ(0700u, ModeOf("data"));
  EXPECT_EQ(0700u, ModeOf("data/userdata"));
  for (const char* pszName : {"SMS.DTC", "SMS.DTC-wal", "SMS.DTC-shm", "SMS.DTC-lock"}) {
    EXPECT_EQ(0600u, ModeOf(std::string("data/userdata/") + pszName)) << pszName;
  }
}

TEST_F(LocalDatabaseFiles, AreClosedToOthersWhenTheyWereOpen) {
  WriteFile("SMS.DTC", "");
  fs::permissions(m_home.DatabaseFile(), fs::perms(0666));
  LocalDatabaseMgr database;
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  EXPECT_EQ(0600u, ModeOf("data/userdata/SMS.DTC"));
}

TEST_F(LocalDatabaseFiles, AreNotMadeOfAFolder) {
  fs::create_directories(m_home.DatabaseFile());
  ExpectRefusal("something that is no file has its name");
}

TEST_F(LocalDatabaseFiles, AreNotMadeInsideAFile) {
  m_home.WriteFile("data", "in the way");
  ExpectRefusal("cannot make the folder \"" + m_home.Path("data") + "\": File exists");
}

TEST_F(LocalDatabaseFiles, AnswerThatThereIsNoConnectionBeforeAndAfterIt) {
  LocalDatabaseMgr database;
  const auto expectClosed = [&] {
    unsigned int uIndex = 0;
    DatabaseRow row = Row(u"", u"left");
    std::vector<int> indexes = {1};
    int iCount = 0;
    EXPECT_FALSE(database.IsTableExsis(kTable));
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.GennerateTable(kTable, TwoColumns()));
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.ConvertTable(kTable, TwoColumns()));
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.AddRecord(kTable, Row(u"", u""), uIndex));
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.UpdateRecord(kTable, 1, Row(u"", u"")));
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.DeleteRecord(kTable, 1));
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.GetOneRecord(kTable, 1, row));
    EXPECT_TRUE(row.empty());
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.GetAllRecordIndex(kTable, indexes));
    EXPECT_TRUE(indexes.empty());
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.GetRecordCount(kTable, iCount));
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.BeginTransaction());
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.EndTransaction());
    EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, database.CloseConnection());
  };
  expectClosed();
  Open(database);
  EXPECT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));  // twice is once
  EXPECT_EQ(1u, Add(database, u"row"));
  EXPECT_EQ(DB_ERROR_OK, database.CloseConnection());
  expectClosed();
}

TEST_F(LocalDatabaseFiles, AreRefusedInAFolderThatMayNotBeWritten) {
  fs::create_directories(m_home.Path("data"));
  ASSERT_EQ(0, chmod(m_home.Path("data").c_str(), 0555));
  ASSERT_EQ(0, chmod(m_home.Path().c_str(), 0755));
  EXPECT_EQ(0, InChild([&] {
              BecomeNobody();
              ExpectRefusal("cannot make the folder \"" + m_home.Path("data/userdata") + "\": Permission denied");
              return HasFailure() ? 1 : 0;
            }));
}

TEST_F(LocalDatabaseFiles, AreRefusedWhenTheyMayNotBeWritten) {
  WriteFile("SMS.DTC", "");
  ASSERT_EQ(0, chmod(m_home.DatabaseFile().c_str(), 0444));
  ASSERT_EQ(0, chmod(m_home.Path("data/userdata").c_str(), 0777));
  ASSERT_EQ(0, chmod(m_home.Path().c_str(), 0755));
  EXPECT_EQ(0, InChild([&] {
              BecomeNobody();
              ExpectRefusal("it may not be written");
              return HasFailure() ? 1 : 0;
            }));
}

// --- Full disks ------------------------------------------------------------------------------------------------------

TEST_F(LocalDatabaseProcess, RefusesToOpenOnAFullDisk) {
  EXPECT_EQ(0, InChild([&] {
              LimitFiles(0);
              LocalDatabaseMgr database;
              CHILD_EXPECT(database.OpenConnection(kDatabase) == DB_ERROR_FAILURE);
              CHILD_EXPECT(TraceOf(1).size() == 1);
              LimitFiles(RLIM_INFINITY);
              CHILD_EXPECT(OpenTable(database) == 0);
              return 0;
            }));
}

TEST_F(LocalDatabaseProcess, ReportsARowThatFoundNoRoomAndGoesOnWhenThereIsSome) {
  EXPECT_EQ(0, InChild([&] {
              LocalDatabaseMgr database;
              CHILD_EXPECT(OpenTable(database) == 0);
              unsigned int uIndex = 0;
              LimitFiles(100 * 1024);
              int iSaved = 0;
              while (database.AddRecord(kTable, Row(u"", LongText(iSaved)), uIndex) == DB_ERROR_OK) {
                ++iSaved;
                CHILD_EXPECT(iSaved < 1000);
              }
              CHILD_EXPECT(CountIn(database) == iSaved);
              LimitFiles(RLIM_INFINITY);
              CHILD_EXPECT(database.AddRecord(kTable, Row(u"", u"room again"), uIndex) == DB_ERROR_OK);
              CHILD_EXPECT(CountIn(database) == iSaved + 1);
              CHILD_EXPECT(Content(database, uIndex) == "room again");
              return 0;
            }));
}

TEST_F(LocalDatabaseProcess, UndoesATransactionThatCannotBeCommitted) {
  EXPECT_EQ(0, InChild([&] {
              LocalDatabaseMgr database;
              CHILD_EXPECT(OpenTable(database) == 0);
              unsigned int uIndex = 0;
              CHILD_EXPECT(database.AddRecord(kTable, Row(u"", u"before"), uIndex) == DB_ERROR_OK);
              LimitFiles(fs::file_size(m_home.DatabaseFile() + "-wal"));
              CHILD_EXPECT(database.BeginTransaction() == DB_ERROR_OK);
              CHILD_EXPECT(database.AddRecord(kTable, Row(u"", u"lost"), uIndex) == DB_ERROR_OK);
              CHILD_EXPECT(database.AddRecord(kTable, Row(u"", u"lost"), uIndex) == DB_ERROR_OK);
              CHILD_EXPECT(database.EndTransaction() == DB_ERROR_FAILURE);
              CHILD_EXPECT(CountIn(database) == 1);
              LimitFiles(RLIM_INFINITY);
              CHILD_EXPECT(database.BeginTransaction() == DB_ERROR_OK);
              CHILD_EXPECT(database.AddRecord(kTable, Row(u"", u"after"), uIndex) == DB_ERROR_OK);
              CHILD_EXPECT(database.EndTransaction() == DB_ERROR_OK);
              CHILD_EXPECT(CountIn(database) == 2);
              return 0;
            }));
}

TEST_F(LocalDatabaseProcess, WritesNoPartOfATransactionThatRanOutOfRoom) {
  EXPECT_EQ(0, InChild([&] {
              LocalDatabaseMgr database;
              CHILD_EXPECT(OpenTable(database) == 0);
              LimitFiles(200 * 1024);  // less than the pages that the engine keeps in memory
              CHILD_EXPECT(database.BeginTransaction() == DB_ERROR_OK);
              unsigned int uIndex = 0;
              int iAdded = 0;
              while (database.AddRecord(kTable, Row(u"", LongText(iAdded)), uIndex) == DB_ERROR_OK) {
                CHILD_EXPECT(++iAdded < 10000);
              }
              LimitFiles(RLIM_INFINITY);
              CHILD_EXPECT(database.AddRecord(kTable, Row(u"", u"too late"), uIndex) == DB_ERROR_FAILURE);
              CHILD_EXPECT(database.EndTransaction() == DB_ERROR_FAILURE);
              CHILD_EXPECT(CountIn(database) == 0);
              CHILD_EXPECT(database.AddRecord(kTable, Row(u"", u"alone"), uIndex) == DB_ERROR_OK);
              CHILD_EXPECT(CountIn(database) == 1);
              return 0;
            }));
}

// --- Other processes -------------------------------------------------------------------------------------------------

TEST_F(LocalDatabaseProcess, KeepsEveryRowWhoseAdditionReturnedBeforeItWasKilled) {
  constexpr int kRows = 30;
  int pipeEnds[2];
  ASSERT_EQ(0, pipe(pipeEnds));
  const int iResult = InChild([&] {
    LocalDatabaseMgr database;
    CHILD_EXPECT(OpenTable(database) == 0);
    for (int i = 0; i < kRows; ++i) {
      unsigned int uIndex = 0;
      CHILD_EXPECT(database.AddRecord(kTable, Row(u"", LongText(i)), uIndex) == DB_ERROR_OK);
      CHILD_EXPECT(write(pipeEnds[1], &uIndex, sizeof uIndex) == sizeof uIndex);
    }
    database.BeginTransaction();
    unsigned int uIndex = 0;
    database.AddRecord(kTable, Row(u"", u"not committed"), uIndex);
    kill(getpid(), SIGKILL);
    return 0;
  });
  ASSERT_EQ(1000 + SIGKILL, iResult);
  close(pipeEnds[1]);
  LocalDatabaseMgr database;
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  int iSeen = 0;
  for (unsigned int uIndex = 0; read(pipeEnds[0], &uIndex, sizeof uIndex) == sizeof uIndex; ++iSeen) {
    EXPECT_EQ(Utf8(LongText(iSeen)), Content(database, uIndex));
  }
  close(pipeEnds[0]);
  EXPECT_EQ(kRows, iSeen);
  EXPECT_EQ(static_cast<std::size_t>(kRows), Indexes(database).size());
  EXPECT_TRUE(TraceOf(1).empty());
}

TEST_F(LocalDatabaseProcess, SharesTheFileWithASecondOne) {
  constexpr int kRows = 40;
  const auto addRows = [&] {
    LocalDatabaseMgr database;
    CHILD_EXPECT(OpenTable(database) == 0);
    for (int i = 0; i < kRows; ++i) {
      unsigned int uIndex = 0;
      CHILD_EXPECT(database.AddRecord(kTable, Row(u"", u"row"), uIndex) == DB_ERROR_OK);
      CHILD_EXPECT(database.UpdateRecord(kTable, uIndex, {{"CONTENT", u"row again"}}) == DB_ERROR_OK);
    }
    return 0;
  };
  EXPECT_EQ(0, InTwoChildren(addRows));
  LocalDatabaseMgr database;
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  const std::vector<int> indexes = Indexes(database);
  EXPECT_EQ(static_cast<std::size_t>(2 * kRows), indexes.size());
  for (const int iIndex : indexes) {
    EXPECT_EQ("row again", Content(database, static_cast<unsigned int>(iIndex)));
  }
  EXPECT_TRUE(FilesLike("SMS.DTC.damaged-").empty());
}

TEST_F(LocalDatabaseProcess, SetsADamagedFileAsideOnceWhenTwoFindIt) {
  WriteFile("SMS.DTC", "this is no database");
  EXPECT_EQ(0, InTwoChildren([&] {
              LocalDatabaseMgr database;
              CHILD_EXPECT(OpenTable(database) == 0);
              unsigned int uIndex = 0;
              CHILD_EXPECT(database.AddRecord(kTable, Row(u"", u"row"), uIndex) == DB_ERROR_OK);
              return 0;
            }));
  EXPECT_EQ(1u, FilesLike("SMS.DTC.damaged-").size());
  LocalDatabaseMgr database;
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  EXPECT_EQ((std::vector<int>{1, 2}), Indexes(database));
}

TEST_F(LocalDatabaseProcess, SeesWhatASecondOneWroteWhileItLoads) {
  int toChild[2];
  int toParent[2];
  ASSERT_EQ(0, pipe(toChild));
  ASSERT_EQ(0, pipe(toParent));
  const pid_t child = fork();
  if (child == 0) {
    char c = 0;
    const bool bAsked = read(toChild[0], &c, 1) == 1;
    LocalDatabaseMgr other;
    const bool bDone = bAsked && other.OpenConnection(kDatabase) == DB_ERROR_OK &&
                       other.UpdateRecord(kTable, 2, {{"CONTENT", u"new"}}) == DB_ERROR_OK &&
                       other.DeleteRecord(kTable, 3) == DB_ERROR_OK && write(toParent[1], "d", 1) == 1;
    _exit(bDone ? 0 : 1);
  }
  LocalDatabaseMgr database;
  Open(database);
  for (int i = 0; i < 4; ++i) {
    Add(database, u"old");
  }
  EXPECT_EQ(4u, Indexes(database).size());
  EXPECT_EQ("old", Content(database, 1));
  char c = 0;
  ASSERT_EQ(1, write(toChild[1], "g", 1));
  ASSERT_EQ(1, read(toParent[0], &c, 1));
  EXPECT_EQ("new", Content(database, 2));
  EXPECT_EQ("error 3", Content(database, 3));
  EXPECT_EQ("old", Content(database, 4));
  int iStatus = 1;
  waitpid(child, &iStatus, 0);
  EXPECT_EQ(0, iStatus);
  for (const int iEnd : {toChild[0], toChild[1], toParent[0], toParent[1]}) {
    close(iEnd);
  }
}
