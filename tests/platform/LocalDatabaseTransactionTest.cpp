// Transactions and threads at the local database: who waits, who sees what, what becomes of a thread that is gone.
#include "LocalDatabaseHome.h"
#include "platform/JClock.h"
#include "platform/JEvent.h"
#include "platform/JThread.h"

#include <atomic>
#include <filesystem>
#include <future>
#include <set>
#include <thread>

namespace {

constexpr int kLimitMs = 10000;

class LocalDatabaseTransaction : public CDatabaseTest {
protected:
  void SetUp() override { Open(m_database); }

  // Runs work on a thread of its own while the others go on.
  static std::future<int> Async(const std::function<int()>& work) { return std::async(std::launch::async, work); }
  int AddFrom(LocalDatabaseMgr& database) {
    unsigned int uIndex = 0;
    return database.AddRecord(kTable, Row(u"", u"from another thread"), uIndex);
  }
  std::string SeenByAnotherThread(unsigned int uIndex) {
    return std::async(std::launch::async, [&] { return Content(m_database, uIndex); }).get();
  }

  LocalDatabaseMgr m_database;
};

class LocalDatabaseThreads : public LocalDatabaseTransaction {};

// Begins a transaction, writes, and waits until it is killed.
class CDoomedThread : public JThread {
public:
  explicit CDoomedThread(LocalDatabaseMgr& database) : m_database(database) {}
  ~CDoomedThread() override { Kill(); }
  JEvent m_begun;

private:
  void* Thread() override {
    ThreadStarted();
    unsigned int uIndex = 0;
    m_database.BeginTransaction();
    m_database.AddRecord(kTable, Row(u"", u"never committed"), uIndex);
    m_begun.SetEvent();
    JEvent().WaitForSingleObject(0);
    return nullptr;
  }

  LocalDatabaseMgr& m_database;
};

}  // namespace

TEST_F(LocalDatabaseTransaction, IsSeenByOthersWhenItEnds) {
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  const unsigned int uIndex = Add(m_database, u"new");
  EXPECT_EQ("new", Content(m_database, uIndex));
  EXPECT_EQ("error 3", SeenByAnotherThread(uIndex));
  ASSERT_EQ(DB_ERROR_OK, m_database.EndTransaction());
  EXPECT_EQ("new", SeenByAnotherThread(uIndex));
}

TEST_F(LocalDatabaseTransaction, DoesNotHoldUpReaders) {
  const unsigned int uIndex = Add(m_database, u"before");
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  ASSERT_EQ(DB_ERROR_OK, m_database.UpdateRecord(kTable, uIndex, {{"CONTENT", u"after"}}));
  EXPECT_EQ("before", SeenByAnotherThread(uIndex));
  EXPECT_EQ(1u, std::async(std::launch::async, [&] { return Indexes(m_database); }).get().size());
  ASSERT_EQ(DB_ERROR_OK, m_database.EndTransaction());
}

TEST_F(LocalDatabaseTransaction, CommitsAtItsOutermostEnd) {
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  const unsigned int uIndex = Add(m_database, u"inner");
  ASSERT_EQ(DB_ERROR_OK, m_database.EndTransaction());
  EXPECT_EQ("error 3", SeenByAnotherThread(uIndex));
  ASSERT_EQ(DB_ERROR_OK, m_database.EndTransaction());
  EXPECT_EQ("inner", SeenByAnotherThread(uIndex));
  EXPECT_EQ(DB_ERROR_FAILURE, m_database.EndTransaction());
}

TEST_F(LocalDatabaseTransaction, CannotEndBeforeItBegan) { EXPECT_EQ(DB_ERROR_FAILURE, m_database.EndTransaction()); }

TEST_F(LocalDatabaseTransaction, CannotBeEndedByAnotherThread) {
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  EXPECT_EQ(DB_ERROR_FAILURE, Async([&] { return m_database.EndTransaction(); }).get());
  EXPECT_EQ(DB_ERROR_OK, m_database.EndTransaction());
}

TEST_F(LocalDatabaseTransaction, ReadsItsOwnWritesWhileLoading) {
  for (int i = 0; i < 5; ++i) {
    Add(m_database, u"old");
  }
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  EXPECT_EQ(5u, Indexes(m_database).size());
  EXPECT_EQ("old", Content(m_database, 1));
  ASSERT_EQ(DB_ERROR_OK, m_database.UpdateRecord(kTable, 2, {{"CONTENT", u"new"}}));
  ASSERT_EQ(DB_ERROR_OK, m_database.DeleteRecord(kTable, 3));
  EXPECT_EQ("new", Content(m_database, 2));
  EXPECT_EQ("error 3", Content(m_database, 3));
  EXPECT_EQ("old", Content(m_database, 4));
  ASSERT_EQ(DB_ERROR_OK, m_database.EndTransaction());
}

TEST_F(LocalDatabaseTransaction, MakesWritersWaitForItsEnd) {
  JManualClock clock;
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  std::future<int> other = Async([&] { return AddFrom(m_database); });
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, 5000));
  EXPECT_EQ(1u, Add(m_database, u"mine comes first"));
  ASSERT_EQ(DB_ERROR_OK, m_database.EndTransaction());
  EXPECT_EQ(DB_ERROR_OK, other.get());
  EXPECT_EQ("from another thread", Content(m_database, 2));
}

TEST_F(LocalDatabaseTransaction, LetsWritersGoWithAnErrorAfterTenSeconds) {
  JManualClock clock;
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  std::future<int> writer = Async([&] { return AddFrom(m_database); });
  std::future<int> beginner = Async([&] { return m_database.BeginTransaction(); });
  ASSERT_TRUE(clock.AwaitTimedWaiters(2, kLimitMs, 5000));
  clock.Advance(kLimitMs);
  EXPECT_EQ(DB_ERROR_FAILURE, writer.get());
  EXPECT_EQ(DB_ERROR_FAILURE, beginner.get());
  EXPECT_TRUE(m_trace.Contains("AddRecord: the transaction of another thread has not ended within 10 seconds"));
  Add(m_database, u"mine");
  EXPECT_EQ(DB_ERROR_OK, m_database.EndTransaction());
  EXPECT_EQ(std::vector<int>{1}, Indexes(m_database));
}

TEST_F(LocalDatabaseTransaction, IsUndoneWhenItsThreadEnds) {
  std::thread([&] {
    EXPECT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
    Add(m_database, u"never committed");
  }).join();
  EXPECT_TRUE(m_trace.Contains("a thread has ended inside its transaction; what it wrote there is undone"));
  EXPECT_EQ(DB_ERROR_OK, AddFrom(m_database));  // at once: nobody holds the turn
  EXPECT_EQ(1u, Indexes(m_database).size());
}

TEST_F(LocalDatabaseTransaction, IsUndoneWhenItsThreadIsKilled) {
  CDoomedThread doomed(m_database);
  ASSERT_EQ(0, doomed.Start());
  ASSERT_EQ(0, doomed.m_begun.WaitForSingleObject(5000));
  ASSERT_EQ(0, doomed.Kill());
  EXPECT_EQ(DB_ERROR_OK, AddFrom(m_database));
  EXPECT_EQ(1u, Indexes(m_database).size());
}

TEST_F(LocalDatabaseTransaction, IsUndoneWhenTheConnectionCloses) {
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  Add(m_database, u"never committed");
  ASSERT_EQ(DB_ERROR_OK, m_database.CloseConnection());
  EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, m_database.EndTransaction());
  Open(m_database);
  EXPECT_EQ(DB_ERROR_FAILURE, m_database.EndTransaction());
  EXPECT_TRUE(Indexes(m_database).empty());
  EXPECT_EQ(DB_ERROR_OK, Async([&] { return AddFrom(m_database); }).get());
}

TEST_F(LocalDatabaseTransaction, OfAThreadThatIsGoneDoesNotKeepTheConnectionOpen) {
  JEvent begun;
  JEvent closed;
  std::future<int> other = Async([&] {
    m_database.BeginTransaction();
    begun.SetEvent();
    closed.WaitForSingleObject(5000);
    return m_database.EndTransaction();
  });
  ASSERT_EQ(0, begun.WaitForSingleObject(5000));
  EXPECT_EQ(DB_ERROR_OK, m_database.CloseConnection());  // does not wait for the other thread
  closed.SetEvent();
  EXPECT_EQ(DB_ERROR_DATABASE_NOT_CONEECT, other.get());
}

TEST_F(LocalDatabaseTransaction, ShapesTablesToo) {
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  ASSERT_EQ(DB_ERROR_OK, m_database.GennerateTable("Second", TwoColumns()));
  ASSERT_EQ(DB_ERROR_OK, m_database.ConvertTable(kTable, {"TIME"}));
  EXPECT_TRUE(m_database.IsTableExsis("Second"));
  EXPECT_FALSE(std::async(std::launch::async, [&] { return m_database.IsTableExsis("Second"); }).get());
  ASSERT_EQ(DB_ERROR_OK, m_database.EndTransaction());
  EXPECT_TRUE(std::async(std::launch::async, [&] { return m_database.IsTableExsis("Second"); }).get());
}

// --- Several connections ---------------------------------------------------------------------------------------------

TEST_F(LocalDatabaseThreads, SeeEveryWriteOfAnotherConnectionWhileTheyLoad) {
  LocalDatabaseMgr other;
  Open(other);
  for (int i = 0; i < 6; ++i) {
    Add(m_database, u"old");
  }
  EXPECT_EQ(6u, Indexes(m_database).size());
  EXPECT_EQ("old", Content(m_database, 1));
  ASSERT_EQ(DB_ERROR_OK, other.UpdateRecord(kTable, 2, {{"CONTENT", u"new"}}));
  EXPECT_EQ("new", Content(m_database, 2));
  ASSERT_EQ(DB_ERROR_OK, other.DeleteRecord(kTable, 3));
  EXPECT_EQ("error 3", Content(m_database, 3));
  ASSERT_EQ(DB_ERROR_OK, m_database.UpdateRecord(kTable, 4, {{"CONTENT", u"own"}}));
  EXPECT_EQ("own", Content(m_database, 4));
  EXPECT_EQ("old", Content(m_database, 5));
  ASSERT_EQ(DB_ERROR_OK, Async([&] { return m_database.DeleteRecord(kTable, 6); }).get());
  EXPECT_EQ("error 3", Content(m_database, 6));
}

TEST_F(LocalDatabaseThreads, SeeEveryWriteOfAnotherThreadWhileTheyLoad) {
  constexpr unsigned int kRows = 200;
  for (unsigned int i = 0; i < kRows; ++i) {
    Add(m_database, u"old");
  }
  for (unsigned int uStart = 1; uStart <= kRows; uStart += 40) {
    Indexes(m_database);
    for (unsigned int u = uStart; u < uStart + 40; ++u) {
      if (u % 10 == 0) {
        ASSERT_EQ(DB_ERROR_OK, Async([&] { return m_database.UpdateRecord(kTable, u, {{"CONTENT", u"new"}}); }).get());
      }
      ASSERT_EQ(u % 10 == 0 ? "new" : "old", Content(m_database, u));
    }
  }
}

TEST_F(LocalDatabaseThreads, DoNotLetTheLogGrowWhenALoadIsBrokenOff) {
  for (int i = 0; i < 3; ++i) {
    Add(m_database, u"row");
  }
  Indexes(m_database);
  EXPECT_EQ("row", Content(m_database, 1));  // and nobody reads on
  const VELK_wstring page(2000, u'x');
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
    for (int k = 0; k < 600; ++k) {
      Add(m_database, page);
    }
    ASSERT_EQ(DB_ERROR_OK, m_database.EndTransaction());
  }
  EXPECT_LT(std::filesystem::file_size(m_home.DatabaseFile() + "-wal"), 12u << 20);
}

TEST_F(LocalDatabaseThreads, GiveUpAfterTenSecondsWhenAnotherConnectionWrites) {
  LocalDatabaseMgr other;
  Open(other);
  JManualClock clock;
  ASSERT_EQ(DB_ERROR_OK, other.BeginTransaction());
  std::future<int> writer = Async([&] { return AddFrom(m_database); });
  // the engine looks again and again: its wait may begin after a step of the clock, and then ends with the next
  for (int i = 0; i < 200 && writer.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready; ++i) {
    clock.Advance(kLimitMs);
  }
  EXPECT_EQ(DB_ERROR_FAILURE, writer.get());
  EXPECT_TRUE(m_trace.Contains("AddRecord \"Rows\": database is locked (5)"));
  EXPECT_EQ(DB_ERROR_OK, other.EndTransaction());
  EXPECT_EQ(DB_ERROR_OK, AddFrom(m_database));
}

TEST_F(LocalDatabaseThreads, WriteAtTheSameTimeWithoutLosingARow) {
  constexpr int kThreads = 4;
  constexpr int kRows = 25;
  LocalDatabaseMgr other;
  Open(other);
  std::vector<std::future<std::vector<unsigned int>>> writers;
  for (int i = 0; i < kThreads; ++i) {
    writers.push_back(std::async(std::launch::async, [&, i] {
      LocalDatabaseMgr& database = i % 2 == 0 ? m_database : other;
      std::vector<unsigned int> added;
      for (int k = 0; k < kRows; ++k) {
        const bool bGroup = k % 5 == 0;
        EXPECT_EQ(DB_ERROR_OK, bGroup ? database.BeginTransaction() : DB_ERROR_OK);
        added.push_back(Add(database, u"row"));
        EXPECT_EQ(DB_ERROR_OK, database.UpdateRecord(kTable, added.back(), {{"CONTENT", u"row again"}}));
        EXPECT_EQ(DB_ERROR_OK, bGroup ? database.EndTransaction() : DB_ERROR_OK);
        EXPECT_EQ("row again", Content(database, added.back()));
      }
      return added;
    }));
  }
  std::future<void> loader = std::async(std::launch::async, [&] {
    for (int i = 0; i < 10; ++i) {
      for (const int iIndex : Indexes(m_database)) {
        EXPECT_NE("error 1", Content(m_database, static_cast<unsigned int>(iIndex)));
      }
    }
  });
  std::set<int> all;
  for (auto& writer : writers) {
    for (const unsigned int uIndex : writer.get()) {
      EXPECT_TRUE(all.insert(static_cast<int>(uIndex)).second) << uIndex;
    }
  }
  loader.get();
  const std::vector<int> indexes = Indexes(m_database);
  EXPECT_EQ(all, std::set<int>(indexes.begin(), indexes.end()));
  EXPECT_EQ(static_cast<std::size_t>(kThreads * kRows), all.size());
}

TEST_F(LocalDatabaseThreads, MayCloseAndOpenWhileOthersWork) {
  std::atomic<bool> bStop{false};
  std::vector<std::future<void>> workers;
  for (int i = 0; i < 3; ++i) {
    workers.push_back(std::async(std::launch::async, [&] {
      while (!bStop) {
        unsigned int uIndex = 0;
        m_database.BeginTransaction();
        m_database.AddRecord(kTable, Row(u"", u"row"), uIndex);
        Content(m_database, uIndex);
        m_database.EndTransaction();
      }
    }));
  }
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(DB_ERROR_OK, m_database.CloseConnection());
    EXPECT_EQ(DB_ERROR_OK, m_database.OpenConnection(kDatabase));
  }
  bStop = true;
  for (auto& worker : workers) {
    worker.get();
  }
  for (const int iIndex : Indexes(m_database)) {
    ASSERT_EQ("row", Content(m_database, static_cast<unsigned int>(iIndex)));
  }
}
