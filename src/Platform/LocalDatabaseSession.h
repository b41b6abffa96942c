// One session with the database engine: its statements, its rows, its errors.
#pragma once

#include "platform/LocalDatabaseMgr.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/// Results are those of __DB_ERROR_CODE; what went wrong goes to the trace.
/// Threads: one at a time. Ownership: statements belong to the session and end with it.
class CDatabaseSession {
public:
  typedef LocalDatabaseMgr::FieldType FieldType;
  typedef std::vector<std::string> Names;
  enum class Opened { kOk, kDamaged, kFailed };
  enum class Use {
    kReading,  // each read stands alone: it sees whatever anybody has committed
    kWriting   // reads happen inside a transaction of its own, which keeps everybody else from committing
  };

  explicit CDatabaseSession(Use enUse) : m_enUse(enUse) {}
  ~CDatabaseSession() { Close(); }
  CDatabaseSession(const CDatabaseSession&) = delete;
  CDatabaseSession& operator=(const CDatabaseSession&) = delete;

  /// @param bCheck  look through the whole file for damage.
  Opened Open(const std::string& path, bool bCheck, std::string& reason);
  void Close();
  bool IsOpen() const { return m_pDb != nullptr; }

  bool HasTable(const std::string& table);
  /// Columns that come first when rows are read, in this order.
  void SetOrder(const std::string& table, const Names& names);
  int MakeTable(const std::string& table, const Names& names);
  int AddColumns(const std::string& table, const Names& names);

  int Insert(const std::string& table, const FieldType& fields, unsigned int& uIndex);
  int Update(const std::string& table, unsigned int uIndex, const FieldType& fields);
  int Remove(const std::string& table, unsigned int uIndex);
  /// Rows asked for in ascending order after ReadIndexes() come from one statement that moves forward.
  int Read(std::string_view table, unsigned int uIndex, FieldType& fields);
  int ReadIndexes(const std::string& table, std::vector<int>& indexes);
  int Count(const std::string& table, int& iCount);
  /// Gives back what the forward-moving statement holds; it is taken up again at the next row.
  void Pause();

  int Begin();
  int Commit();  ///< failed: everything is rolled back
  void RollBack();
  bool InTransaction() const;

private:
  struct StatementEnd {
    void operator()(sqlite3_stmt* pStatement) const;
  };
  typedef std::unique_ptr<sqlite3_stmt, StatementEnd> Statement;
  struct Change {
    Names names;
    Statement statement;
  };
  struct Table {
    std::string name;
    Names columns;
    Change insert, update;
    Statement remove, one, forward, indexes, count;
  };
  // First copy of the header of the write-ahead log's index: every commit by anybody changes it.
  typedef std::array<std::uint64_t, 6> CommitStamp;
  struct Forward {
    Table* pTable = nullptr;  // null: no indexes were read, or all rows have been
    unsigned int uServed = 0;
    unsigned int uLast = 0;
    long long llAt = 0;  // key of the row the statement stands on
    bool bRunning = false;
    CommitStamp stamp{};
  };

  static int WaitWhileBusy(void* pSession, int iTimes);
  bool SetUp(std::string& reason);
  bool StartLog(std::string& mode);
  Opened Check(bool bWhole, std::string& reason);
  Opened Verdict(std::string& reason) const;
  std::string Reason() const;
  int Fail(const char* pszWhat, std::string_view table) const;

  Statement Prepare(const std::string& sql) const;
  bool Execute(const char* pszSql);
  bool Ask(const char* pszSql, std::string& answer);
  Names ColumnsOf(const std::string& table);
  Table* Find(const char* pszWhat, std::string_view table);
  void Forget();

  static bool HasColumns(const Table& table, const Names& names);
  int PrepareChange(const char* pszWhat, const Table& table, const FieldType& fields, Change& change,
                    std::string (*pfnText)(const std::string&, const Names&));
  int Run(const char* pszWhat, const Table& table, sqlite3_stmt* pStatement);

  int ReadSingle(Table& table, unsigned int uIndex, FieldType& fields);
  int ReadForward(Table& table, unsigned int uIndex, FieldType& fields);
  bool Advance(Table& table, unsigned int uIndex);
  bool StartAt(Table& table, unsigned int uIndex);
  bool StepForward(Table& table);
  void EndForward();
  bool GetCommitStamp(CommitStamp& stamp) const;

  const Use m_enUse;
  sqlite3* m_pDb = nullptr;
  std::map<std::string, Table, std::less<>> m_tables;
  std::map<std::string, Names> m_orders;
  Forward m_forward;
  long long m_llBusySince = 0;  // JClock milliseconds
};
