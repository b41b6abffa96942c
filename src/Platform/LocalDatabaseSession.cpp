// One session with the database engine, SQLite: the only source that knows it.
#include "LocalDatabaseSession.h"

#include "LocalDatabaseFile.h"
#include "LocalDatabaseNames.h"
#include "platform/JClock.h"
#include "platform/TraceSrv.h"

#include <sqlite3.h>
#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <thread>

using namespace database_names;

namespace {

constexpr std::chrono::milliseconds kBusyPoll{20};
constexpr int kOk = DB_ERROR_OK;
constexpr int kNoRow = DB_ERROR_RECORD_NOT_EXSIST;

// Makes a statement ready for its next use, whatever happened in this one.
class CStatementUse {
public:
  explicit CStatementUse(sqlite3_stmt* pStatement) : m_pStatement(pStatement) {}
  ~CStatementUse() {
    if (m_pStatement != nullptr) {  // it could not be prepared: the table is gone, perhaps
      sqlite3_reset(m_pStatement);
      sqlite3_clear_bindings(m_pStatement);
    }
  }
  CStatementUse(const CStatementUse&) = delete;
  CStatementUse& operator=(const CStatementUse&) = delete;

private:
  sqlite3_stmt* m_pStatement;
};

// The text must stay until the statement is done with.
bool BindText(sqlite3_stmt* pStatement, int iPlace, const VELK_wstring& text) {
  const bool bLooksMarked = !text.empty() && (text[0] == 0xFEFF || text[0] == 0xFFFE);
  if (bLooksMarked) {
    // the engine takes off one byte-order mark: give it one of its own, so that the text's own stays
    const VELK_wstring marked = VELK_wstring(1, 0xFEFF) + text;
    return sqlite3_bind_text64(pStatement, iPlace, reinterpret_cast<const char*>(marked.data()),
                               marked.size() * sizeof(VELK_wchar_t), SQLITE_TRANSIENT, SQLITE_UTF16) == SQLITE_OK;
  }
  return sqlite3_bind_text64(pStatement, iPlace, reinterpret_cast<const char*>(text.data()),
                             text.size() * sizeof(VELK_wchar_t), SQLITE_STATIC, SQLITE_UTF16) == SQLITE_OK;
}

bool BindTexts(sqlite3_stmt* pStatement, const LocalDatabaseMgr::FieldType& fields) {
  int iPlace = 0;
  return std::all_of(fields.begin(), fields.end(),
                     [&](const __ST_FIELD_TYPE& field) { return BindText(pStatement, ++iPlace, field.strValue); });
}

// Columns 1 and on of the row the statement stands on. Keeps the room that the fields have from an earlier row.
void FillFields(sqlite3_stmt* pStatement, const std::vector<std::string>& names, LocalDatabaseMgr::FieldType& fields) {
  fields.resize(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    __ST_FIELD_TYPE& field = fields[i];
    if (field.strFieldName != names[i]) {
      field.strFieldName = names[i];
    }
    const int iColumn = static_cast<int>(i) + 1;
    const void* pText = sqlite3_column_text16(pStatement, iColumn);
    if (pText == nullptr) {
      field.strValue.clear();  // the row is older than the column
    } else {
      const int iBytes = sqlite3_column_bytes16(pStatement, iColumn);
      field.strValue.assign(static_cast<const VELK_wchar_t*>(pText),
                            static_cast<std::size_t>(iBytes) / sizeof(VELK_wchar_t));
    }
  }
}

}  // namespace

void CDatabaseSession::StatementEnd::operator()(sqlite3_stmt* pStatement) const { sqlite3_finalize(pStatement); }

// --- Opening and closing ---------------------------------------------------------------------------------------------

CDatabaseSession::Opened CDatabaseSession::Open(const std::string& path, bool bCheck, std::string& reason) {
  Close();
  reason.clear();
  const int iFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE;
  const bool bUsable = sqlite3_open_v2(path.c_str(), &m_pDb, iFlags, nullptr) == SQLITE_OK && SetUp(reason);
  const Opened enOpened = bUsable ? Check(bCheck, reason) : Verdict(reason);
  if (enOpened != Opened::kOk && m_pDb != nullptr) {
    // a damaged log stays as it is, for whoever mends the file
    sqlite3_db_config(m_pDb, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    Close();
  }
  return enOpened;
}

// The encoding comes first: it holds for a database without tables only, and keeps half a surrogate pair alive.
bool CDatabaseSession::SetUp(std::string& reason) {
  sqlite3_extended_result_codes(m_pDb, 1);
  sqlite3_busy_handler(m_pDb, &CDatabaseSession::WaitWhileBusy, this);
  sqlite3_db_config(m_pDb, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(m_pDb, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  if (sqlite3_db_readonly(m_pDb, "main") != 0) {
    reason = "it may not be written";
    return false;
  }
  std::string mode;
  const bool bSet = Execute("PRAGMA encoding='UTF-16'") && Execute("PRAGMA cache_size=-256") &&
                    Execute("PRAGMA temp_store=MEMORY") && Execute("PRAGMA synchronous=FULL") && StartLog(mode) &&
                    Execute("PRAGMA journal_size_limit=4194304");
  if (bSet && mode != "wal") {
    reason = "its file system cannot keep a write-ahead log";
  }
  return bSet && mode == "wal";
}

// When two programs make a new file at once, the engine tells one of them at once that it is busy: waiting with its
// hold on the file could last for ever.
bool CDatabaseSession::StartLog(std::string& mode) {
  const std::int64_t deadline = JClock::MonotonicMs() + kDatabaseWaitMs;
  while (!Ask("PRAGMA journal_mode=WAL", mode)) {
    if ((sqlite3_errcode(m_pDb) & 0xFF) != SQLITE_BUSY || JClock::MonotonicMs() >= deadline) {
      return false;
    }
    std::this_thread::sleep_for(kBusyPoll);  // another program cannot wake us
  }
  return true;
}

// All pages are looked at: even for a million messages that takes less time than loading them afterwards.
CDatabaseSession::Opened CDatabaseSession::Check(bool bWhole, std::string& reason) {
  std::string answer;
  if (!Ask(bWhole ? "PRAGMA quick_check(1)" : "SELECT 'ok' FROM (SELECT count(*) FROM sqlite_schema)", answer)) {
    return Verdict(reason);
  }
  if (answer != "ok") {
    reason = answer;
    return Opened::kDamaged;
  }
  if (bWhole && Ask("PRAGMA encoding", answer) && answer.compare(0, 6, "UTF-16") != 0) {
    TraceSrv_Trace(Tracelevel::TL_ERRO, "DATABASE",
                   "the database keeps text in UTF-8: half a surrogate pair will not come back as it was");
  }
  return Opened::kOk;
}

CDatabaseSession::Opened CDatabaseSession::Verdict(std::string& reason) const {
  const int iCode = sqlite3_errcode(m_pDb) & 0xFF;
  if (reason.empty()) {
    reason = Reason();
  }
  return iCode == SQLITE_CORRUPT || iCode == SQLITE_NOTADB ? Opened::kDamaged : Opened::kFailed;
}

void CDatabaseSession::Close() {
  Forget();
  m_orders.clear();
  sqlite3_close(m_pDb);
  m_pDb = nullptr;
}

// Another program or session writes. Follows JClock, so the engine's own time-out does not serve.
int CDatabaseSession::WaitWhileBusy(void* pSession, int iTimes) {
  CDatabaseSession* pSelf = static_cast<CDatabaseSession*>(pSession);
  if (iTimes == 0) {
    pSelf->m_llBusySince = JClock::MonotonicMs();
  } else if (JClock::MonotonicMs() - pSelf->m_llBusySince >= kDatabaseWaitMs) {
    return 0;
  }
  std::this_thread::sleep_for(kBusyPoll);
  return 1;
}

std::string CDatabaseSession::Reason() const {
  const int iCode = sqlite3_errcode(m_pDb) & 0xFF;
  if (iCode == SQLITE_OK) {
    return "no such table";  // the one failure that the engine does not count as such
  }
  std::string reason = sqlite3_errmsg(m_pDb);
  const int iSystem = sqlite3_system_errno(m_pDb);
  if (iSystem != 0 && (iCode == SQLITE_IOERR || iCode == SQLITE_CANTOPEN || iCode == SQLITE_FULL)) {
    reason += std::string(": ") + std::strerror(iSystem);
  }
  return reason;
}

int CDatabaseSession::Fail(const char* pszWhat, std::string_view table) const {
  const std::string line = std::string(pszWhat) + " \"" + std::string(table) + "\": " + Reason() + " (" +
                           std::to_string(sqlite3_extended_errcode(m_pDb)) + ")";
  TraceSrv_Trace(Tracelevel::TL_ERRO, "DATABASE", line.c_str());
  return DB_ERROR_FAILURE;
}

// --- Statements ------------------------------------------------------------------------------------------------------

CDatabaseSession::Statement CDatabaseSession::Prepare(const std::string& sql) const {
  sqlite3_stmt* pStatement = nullptr;
  sqlite3_prepare_v3(m_pDb, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &pStatement, nullptr);
  return Statement(pStatement);
}

bool CDatabaseSession::Execute(const char* pszSql) {
  return sqlite3_exec(m_pDb, pszSql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool CDatabaseSession::Ask(const char* pszSql, std::string& answer) {
  const Statement statement = Prepare(pszSql);
  if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) {
    return false;
  }
  const unsigned char* pText = sqlite3_column_text(statement.get(), 0);
  answer = pText == nullptr ? "" : reinterpret_cast<const char*>(pText);
  return true;
}

CDatabaseSession::Names CDatabaseSession::ColumnsOf(const std::string& table) {
  Pause();
  Names names;
  const Statement statement = Prepare("SELECT name FROM pragma_table_info(?1) ORDER BY cid");
  if (statement && sqlite3_bind_text(statement.get(), 1, table.c_str(), -1, SQLITE_STATIC) == SQLITE_OK) {
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
      names.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0)));
    }
  }
  return names;
}

// Null, and a line in the trace: there is no such table, or it is not one of ours.
CDatabaseSession::Table* CDatabaseSession::Find(const char* pszWhat, std::string_view table) {
  const auto known = m_tables.find(table);
  if (known != m_tables.end()) {
    return &known->second;
  }
  Table found;
  found.name = table;
  const Names present = ColumnsOf(found.name);
  if (!Contains(present, kKey)) {
    Fail(pszWhat, table);
    return nullptr;
  }
  const auto order = m_orders.find(found.name);
  if (order != m_orders.end()) {
    std::copy_if(order->second.begin(), order->second.end(), std::back_inserter(found.columns),
                 [&](const std::string& name) { return Contains(present, name); });
  }
  std::copy_if(present.begin(), present.end(), std::back_inserter(found.columns),
               [&](const std::string& name) { return IsColumnName(name) && !Contains(found.columns, name); });
  return &m_tables.emplace(found.name, std::move(found)).first->second;
}

void CDatabaseSession::Forget() {
  m_forward = Forward();
  m_tables.clear();
}

// --- Tables ----------------------------------------------------------------------------------------------------------

bool CDatabaseSession::HasTable(const std::string& table) { return !ColumnsOf(table).empty(); }

void CDatabaseSession::SetOrder(const std::string& table, const Names& names) {
  Forget();
  m_orders[table] = names;
}

int CDatabaseSession::MakeTable(const std::string& table, const Names& names) {
  return Execute(CreateText(table, names).c_str()) ? kOk : Fail("GennerateTable", table);
}

int CDatabaseSession::AddColumns(const std::string& table, const Names& names) {
  if (Find("ConvertTable", table) == nullptr) {
    return DB_ERROR_FAILURE;
  }
  const Names present = ColumnsOf(table);
  for (const std::string& name : names) {
    if (!Contains(present, name) && !Execute(AddColumnText(table, name).c_str())) {
      return Fail("ConvertTable", table);
    }
  }
  return kOk;
}

// --- Changing rows ---------------------------------------------------------------------------------------------------

bool CDatabaseSession::HasColumns(const Table& table, const Names& names) {
  return AreColumnNames(names) && std::all_of(names.begin(), names.end(),
                                              [&](const std::string& name) { return Contains(table.columns, name); });
}

// The statement of an earlier call serves as long as the same columns are written.
int CDatabaseSession::PrepareChange(const char* pszWhat, const Table& table, const FieldType& fields, Change& change,
                                    std::string (*pfnText)(const std::string&, const Names&)) {
  if (change.statement && AreThoseOf(change.names, fields)) {
    return kOk;
  }
  change.names = NamesOf(fields);
  if (!HasColumns(table, change.names)) {
    change.statement.reset();
    return DB_ERROR_INVALID_PARAM;
  }
  change.statement = Prepare(pfnText(table.name, change.names));
  return change.statement ? kOk : Fail(pszWhat, table.name);
}

int CDatabaseSession::Run(const char* pszWhat, const Table& table, sqlite3_stmt* pStatement) {
  Pause();
  return sqlite3_step(pStatement) == SQLITE_DONE ? kOk : Fail(pszWhat, table.name);
}

int CDatabaseSession::Insert(const std::string& table, const FieldType& fields, unsigned int& uIndex) {
  Table* const pTable = Find("AddRecord", table);
  if (pTable == nullptr) {
    return DB_ERROR_FAILURE;
  }
  const int iPrepared = PrepareChange("AddRecord", *pTable, fields, pTable->insert, &InsertText);
  if (iPrepared != kOk) {
    return iPrepared;
  }
  sqlite3_stmt* const pInsert = pTable->insert.statement.get();
  const CStatementUse use(pInsert);
  const int iResult = BindTexts(pInsert, fields) ? Run("AddRecord", *pTable, pInsert) : Fail("AddRecord", table);
  if (iResult == kOk) {
    uIndex = static_cast<unsigned int>(sqlite3_last_insert_rowid(m_pDb));
  }
  return iResult;
}

int CDatabaseSession::Update(const std::string& table, unsigned int uIndex, const FieldType& fields) {
  Table* const pTable = Find("UpdateRecord", table);
  if (pTable == nullptr) {
    return DB_ERROR_FAILURE;
  }
  const int iPrepared = PrepareChange("UpdateRecord", *pTable, fields, pTable->update, &UpdateText);
  if (iPrepared != kOk) {
    return iPrepared;
  }
  sqlite3_stmt* const pUpdate = pTable->update.statement.get();
  const CStatementUse use(pUpdate);
  const bool bBound = BindTexts(pUpdate, fields) &&
                      sqlite3_bind_int64(pUpdate, static_cast<int>(fields.size()) + 1, uIndex) == SQLITE_OK;
  const int iResult = bBound ? Run("UpdateRecord", *pTable, pUpdate) : Fail("UpdateRecord", table);
  return iResult == kOk && sqlite3_changes(m_pDb) == 0 ? kNoRow : iResult;
}

int CDatabaseSession::Remove(const std::string& table, unsigned int uIndex) {
  Table* const pTable = Find("DeleteRecord", table);
  if (pTable == nullptr) {
    return DB_ERROR_FAILURE;
  }
  if (!pTable->remove) {
    pTable->remove = Prepare(DeleteText(table));
  }
  const CStatementUse use(pTable->remove.get());
  const bool bBound = sqlite3_bind_int64(pTable->remove.get(), 1, uIndex) == SQLITE_OK;
  const int iResult = bBound ? Run("DeleteRecord", *pTable, pTable->remove.get()) : Fail("DeleteRecord", table);
  return iResult == kOk && sqlite3_changes(m_pDb) == 0 ? kNoRow : iResult;
}

// --- Reading rows ----------------------------------------------------------------------------------------------------

int CDatabaseSession::Count(const std::string& table, int& iCount) {
  Table* const pTable = Find("GetRecordCount", table);
  if (pTable == nullptr) {
    return DB_ERROR_FAILURE;
  }
  if (!pTable->count) {
    pTable->count = Prepare("SELECT count(*) FROM \"" + table + '"');
  }
  Pause();
  const CStatementUse use(pTable->count.get());
  if (sqlite3_step(pTable->count.get()) != SQLITE_ROW) {
    return Fail("GetRecordCount", table);
  }
  iCount = sqlite3_column_int(pTable->count.get(), 0);
  return kOk;
}

// On failure the indexes read before it stay: what can be read of a damaged table is still shown.
int CDatabaseSession::ReadIndexes(const std::string& table, std::vector<int>& indexes) {
  EndForward();
  Table* const pTable = Find("GetAllRecordIndex", table);
  if (pTable == nullptr) {
    return DB_ERROR_FAILURE;
  }
  if (!pTable->indexes) {
    pTable->indexes = Prepare(SelectText(table, {}, " WHERE ROWINDEX BETWEEN 1 AND 2147483647 ORDER BY ROWINDEX"));
  }
  const CStatementUse use(pTable->indexes.get());
  int iStep = sqlite3_step(pTable->indexes.get());
  for (; iStep == SQLITE_ROW; iStep = sqlite3_step(pTable->indexes.get())) {
    indexes.push_back(sqlite3_column_int(pTable->indexes.get(), 0));
  }
  if (!indexes.empty()) {
    m_forward.pTable = pTable;
    m_forward.uLast = static_cast<unsigned int>(indexes.back());
  }
  return iStep == SQLITE_DONE ? kOk : Fail("GetAllRecordIndex", table);
}

int CDatabaseSession::Read(std::string_view table, unsigned int uIndex, FieldType& fields) {
  Table* const pTable = Find("GetOneRecord", table);
  if (pTable == nullptr) {
    fields.clear();
    return DB_ERROR_FAILURE;
  }
  const bool bNext = m_forward.pTable == pTable && uIndex > m_forward.uServed && uIndex <= m_forward.uLast;
  const int iResult = bNext ? ReadForward(*pTable, uIndex, fields) : ReadSingle(*pTable, uIndex, fields);
  if (iResult != kOk) {
    fields.clear();
  }
  return iResult;
}

int CDatabaseSession::ReadSingle(Table& table, unsigned int uIndex, FieldType& fields) {
  if (!table.one) {
    table.one = Prepare(SelectText(table.name, table.columns, " WHERE ROWINDEX = ?1"));
  }
  Pause();
  const CStatementUse use(table.one.get());
  sqlite3_bind_int64(table.one.get(), 1, uIndex);
  const int iStep = sqlite3_step(table.one.get());
  if (iStep == SQLITE_ROW) {
    FillFields(table.one.get(), table.columns, fields);
    return kOk;
  }
  return iStep == SQLITE_DONE ? kNoRow : Fail("GetOneRecord", table.name);
}

int CDatabaseSession::ReadForward(Table& table, unsigned int uIndex, FieldType& fields) {
  if (!Advance(table, uIndex)) {
    Fail("GetOneRecord", table.name);
    EndForward();
    return DB_ERROR_FAILURE;
  }
  m_forward.uServed = uIndex;
  const bool bThere = m_forward.llAt == uIndex;
  if (bThere) {
    FillFields(table.forward.get(), table.columns, fields);
  }
  if (uIndex == m_forward.uLast) {
    EndForward();
  }
  return bThere ? kOk : kNoRow;
}

// Moves the statement to the first row with that key or a higher one.
bool CDatabaseSession::Advance(Table& table, unsigned int uIndex) {
  CommitStamp stamp;
  if (!m_forward.bRunning || (m_enUse == Use::kReading && !(GetCommitStamp(stamp) && stamp == m_forward.stamp))) {
    return StartAt(table, uIndex);
  }
  if (m_forward.llAt < uIndex && !StepForward(table)) {
    return false;
  }
  return m_forward.llAt >= uIndex || StartAt(table, uIndex);
}

bool CDatabaseSession::StartAt(Table& table, unsigned int uIndex) {
  if (!table.forward) {
    table.forward = Prepare(SelectText(table.name, table.columns, " WHERE ROWINDEX >= ?1 ORDER BY ROWINDEX"));
  }
  sqlite3_reset(table.forward.get());
  sqlite3_bind_int64(table.forward.get(), 1, uIndex);
  // taken before the first row is read: a commit in between makes the statement start again, never miss it
  m_forward.bRunning = m_enUse == Use::kWriting || GetCommitStamp(m_forward.stamp);
  return StepForward(table);
}

bool CDatabaseSession::StepForward(Table& table) {
  const int iStep = sqlite3_step(table.forward.get());
  m_forward.llAt =
      iStep == SQLITE_ROW ? sqlite3_column_int64(table.forward.get(), 0) : std::numeric_limits<long long>::max();
  return iStep == SQLITE_ROW || iStep == SQLITE_DONE;
}

// While a statement stands on a row, all others of the session see the file as it was when that one started, and the
// log cannot be written back and cut.
void CDatabaseSession::Pause() {
  if (m_forward.pTable != nullptr) {
    sqlite3_reset(m_forward.pTable->forward.get());
    m_forward.bRunning = false;
  }
}

void CDatabaseSession::EndForward() {
  Pause();
  m_forward = Forward();
}

// A running statement sees the file as it was when it started. Whether anybody, in this program or another, has
// committed since stands in the header of the log's index (https://sqlite.org/walformat.html, section 2.1), which lies
// in shared memory: looking there costs nanoseconds, asking the engine as much as reading the row anew.
bool CDatabaseSession::GetCommitStamp(CommitStamp& stamp) const {
  constexpr int kRegionSize = 32768;
  sqlite3_file* pFile = nullptr;
  volatile void* pRegion = nullptr;
  if (sqlite3_file_control(m_pDb, "main", SQLITE_FCNTL_FILE_POINTER, &pFile) != SQLITE_OK || pFile == nullptr ||
      pFile->pMethods == nullptr || pFile->pMethods->iVersion < 2 ||
      pFile->pMethods->xShmMap(pFile, 0, kRegionSize, 0, &pRegion) != SQLITE_OK || pRegion == nullptr) {
    return false;
  }
  const volatile std::uint64_t* const pHeader = static_cast<const volatile std::uint64_t*>(pRegion);
  for (std::size_t i = 0; i < stamp.size(); ++i) {
    stamp[i] = pHeader[i];
  }
  return true;
}

// --- Transactions ----------------------------------------------------------------------------------------------------

int CDatabaseSession::Begin() {
  Pause();
  return Execute("BEGIN IMMEDIATE") ? kOk : Fail("BeginTransaction", "");
}

int CDatabaseSession::Commit() {
  Pause();
  if (Execute("COMMIT")) {
    return kOk;
  }
  Fail("EndTransaction", "");
  RollBack();
  return DB_ERROR_FAILURE;
}

// Tables made or changed in the transaction are no longer what the statements know.
void CDatabaseSession::RollBack() {
  Forget();
  if (InTransaction()) {
    Execute("ROLLBACK");
  }
}

bool CDatabaseSession::InTransaction() const { return m_pDb != nullptr && sqlite3_get_autocommit(m_pDb) == 0; }
