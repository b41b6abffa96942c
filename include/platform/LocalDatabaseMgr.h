// Tables of named text columns in a local database file.
#pragma once

#include "VelkTypes.h"
#include "platform/PlatformExport.h"

#include <memory>
#include <string>
#include <vector>

enum __DB_ERROR_CODE {
  DB_ERROR_OK = 0,
  DB_ERROR_FAILURE = 1,
  DB_ERROR_INVALID_PARAM = 2,
  DB_ERROR_RECORD_NOT_EXSIST = 3,
  DB_ERROR_DATABASE_NOT_CONEECT = 4
};

/// One value of a row.
struct __ST_FIELD_TYPE {
  std::string strFieldName;
  VELK_wstring strValue;
};

/// Purpose: one connection; rows are addressed by an index that counts from 1 and is never used twice.
/// Threads: any. A transaction belongs to the thread that began it; writes of other threads wait for its end (ten
///          seconds, then DB_ERROR_FAILURE), reads do not and see what was committed. Its thread's end and
///          CloseConnection undo it. Not a cancellation point.
/// Errors:  __DB_ERROR_CODE; what went wrong goes to the trace.
/// Durable: a write outside a transaction, and EndTransaction, return when the data is on the disk.
/// Text:    any sequence of 16-bit units comes back unchanged, also half a surrogate pair.
/// Names:   of tables and columns: a letter or '_', then letters, digits and '_'; else DB_ERROR_INVALID_PARAM.
class PLATFORM_API LocalDatabaseMgr {
public:
  typedef std::vector<__ST_FIELD_TYPE> FieldType;

  LocalDatabaseMgr();
  ~LocalDatabaseMgr();
  LocalDatabaseMgr(const LocalDatabaseMgr&) = delete;
  LocalDatabaseMgr& operator=(const LocalDatabaseMgr&) = delete;

  /// Opens or makes the database of that name: "SmsDBConnection" is "userdata/SMS.DTC" in the user's data folder.
  /// A damaged file is set aside under a name with the date, an empty one takes its place, and one TL_CRIT line says
  /// so.
  int OpenConnection(const char* pszName);
  int CloseConnection();

  bool IsTableExsis(const char* pszTable);
  int GennerateTable(const char* pszTable, const std::vector<std::string>& vctNames);
  /// Adds the columns that are missing; keeps rows and further columns.
  int ConvertTable(const char* pszTable, const std::vector<std::string>& vctNames);

  /// @param uIndex  out: index of the new row.
  int AddRecord(const char* pszTable, const FieldType& vctFields, unsigned int& uIndex);
  /// Rewrites the named values; DB_ERROR_RECORD_NOT_EXSIST when there is no such row.
  int UpdateRecord(const char* pszTable, unsigned int uIndex, const FieldType& vctFields);
  int DeleteRecord(const char* pszTable, unsigned int uIndex);
  /// Cheapest in ascending order right after GetAllRecordIndex.
  /// @param vctFields  out: the values in the order of the names given to GennerateTable or ConvertTable, further
  ///                   columns behind them; empty when there is no such row. Its room is used again.
  int GetOneRecord(const char* pszTable, unsigned int uIndex, FieldType& vctFields);
  /// All indexes, ascending: the order of insertion. On failure those that could be read.
  int GetAllRecordIndex(const char* pszTable, std::vector<int>& vctIndex);
  /// Number of rows, without reading them.
  int GetRecordCount(const char* pszTable, int& iCount);

  /// Transactions of one thread nest; the outermost EndTransaction commits.
  int BeginTransaction();
  int EndTransaction();

private:
  class Connection;
  std::shared_ptr<Connection> m_pConnection;
};
