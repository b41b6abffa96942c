// A connection as several threads share it: who may write, whose transaction it is, what becomes of damage.
#include "LocalDatabaseConnection.h"

#include "LocalDatabaseNames.h"
#include "NoCancel.h"
#include "platform/JClock.h"
#include "platform/JEvent.h"
#include "platform/TraceSrv.h"

#include <algorithm>
#include <chrono>

namespace {

// Never quite the same, so that two programs do not go on looking in step.
unsigned int MendPauseMs() {
  constexpr unsigned int kLeastMs = 20;
  constexpr long kSpreadMs = 50;
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return kLeastMs + static_cast<unsigned int>(std::chrono::nanoseconds(now).count() / 1000 % kSpreadMs);
}

void Trace(Tracelevel::TraceLevel enLevel, const std::string& text) {
  TraceSrv_Trace(enLevel, "DATABASE", text.c_str());
}

// The transactions that this thread has begun and not ended. Its end, killed or not, ends them.
class CThreadTransactions {
public:
  ~CThreadTransactions() {
    const CNoCancel noCancel;
    for (const auto& begun : m_begun) {
      if (const auto pConnection = begun.lock()) {
        pConnection->RollBackOfThisThread();
      }
    }
  }
  void Add(const std::shared_ptr<CDatabaseConnection>& pConnection) { m_begun.push_back(pConnection); }
  void Remove(const CDatabaseConnection* pConnection) {
    m_begun.erase(std::remove_if(m_begun.begin(), m_begun.end(),
                                 [&](const auto& begun) {
                                   const auto pBegun = begun.lock();
                                   return pBegun == nullptr || pBegun.get() == pConnection;
                                 }),
                  m_begun.end());
  }

private:
  std::vector<std::weak_ptr<CDatabaseConnection>> m_begun;
};

thread_local CThreadTransactions t_transactions;

bool IsTable(const char* pszTable) { return pszTable != nullptr && database_names::IsTableName(pszTable); }

}  // namespace

CDatabaseConnection::CDatabaseConnection()
    : m_writer(CDatabaseSession::Use::kWriting), m_reader(CDatabaseSession::Use::kReading) {}

// --- Opening and closing ---------------------------------------------------------------------------------------------

int CDatabaseConnection::Open(const char* pszName) {
  const std::string path = pszName == nullptr || *pszName == '\0' ? std::string() : DatabasePath(pszName);
  if (path.empty()) {
    return DB_ERROR_INVALID_PARAM;
  }
  const std::lock_guard<std::mutex> guard(m_openLock);
  if (m_strName == pszName) {
    return DB_ERROR_OK;
  }
  CloseLocked();
  std::string reason;
  if (!m_file.Claim(path, reason) || !OpenSessions(reason)) {
    m_file.Release();
    Trace(Tracelevel::TL_CRIT, "cannot open the database \"" + path + "\": " + reason +
                                   ". Nothing can be stored: mend that and start the program anew.");
    return DB_ERROR_FAILURE;
  }
  m_strName = pszName;
  return DB_ERROR_OK;
}

bool CDatabaseConnection::OpenSessions(std::string& reason) {
  const std::lock_guard<std::mutex> writeGuard(m_writeLock);
  CDatabaseSession::Opened enOpened = OpenWriter(reason);
  if (enOpened == CDatabaseSession::Opened::kDamaged) {
    enOpened = Mend(reason);
  }
  const std::lock_guard<std::mutex> readGuard(m_readLock);
  if (enOpened == CDatabaseSession::Opened::kOk &&
      m_reader.Open(m_file.Path(), false, reason) == CDatabaseSession::Opened::kOk) {
    return true;
  }
  m_writer.Close();
  return false;
}

CDatabaseSession::Opened CDatabaseConnection::OpenWriter(std::string& reason) {
  return m_file.IsCut(reason) ? CDatabaseSession::Opened::kDamaged : m_writer.Open(m_file.Path(), true, reason);
}

// Another program may see the damage at the same time. The first one to be alone with the file sets it aside; for the
// others it is whole when they look again, and what was made anew is not set aside in its turn.
CDatabaseSession::Opened CDatabaseConnection::Mend(std::string& reason) {
  const std::int64_t deadline = JClock::MonotonicMs() + kDatabaseWaitMs;
  for (;;) {
    const bool bAlone = m_file.TryClaimAlone();
    if (!bAlone) {
      m_file.ClaimShared();
    }
    CDatabaseSession::Opened enOpened = OpenWriter(reason);
    if (bAlone) {
      enOpened = enOpened == CDatabaseSession::Opened::kDamaged ? StartAnew(reason) : enOpened;
      m_file.ClaimShared();
    }
    if (bAlone || enOpened != CDatabaseSession::Opened::kDamaged) {
      return enOpened;
    }
    if (JClock::MonotonicMs() >= deadline) {
      reason += ", and another program uses it";
      return enOpened;
    }
    m_file.Unclaim();  // two that wait must not keep each other from being alone
    JEvent pause;
    pause.WaitForSingleObject(MendPauseMs());
  }
}

CDatabaseSession::Opened CDatabaseConnection::StartAnew(std::string& reason) {
  std::string kept;
  if (!m_file.SetAside(kept, reason)) {
    return CDatabaseSession::Opened::kFailed;
  }
  Trace(Tracelevel::TL_CRIT, "the database \"" + m_file.Path() + "\" is damaged (" + reason + ") and is kept as \"" +
                                 kept + "\"; an empty one takes its place. To get back what can be read, stop the " +
                                 "program and run: sqlite3 \"" + kept + "\" .recover");
  return m_writer.Open(m_file.Path(), true, reason);
}

int CDatabaseConnection::Close() {
  const std::lock_guard<std::mutex> guard(m_openLock);
  return CloseLocked();
}

// Does not wait for a transaction: its thread may be gone for good.
int CDatabaseConnection::CloseLocked() {
  if (m_strName.empty()) {
    return DB_ERROR_DATABASE_NOT_CONEECT;
  }
  {
    const std::lock_guard<std::mutex> writeGuard(m_writeLock);
    const std::lock_guard<std::mutex> readGuard(m_readLock);
    AbandonLocked();
    m_reader.Close();
    m_writer.Close();  // the last session of all programs writes the log back
  }
  m_file.Release();
  m_strName.clear();
  return DB_ERROR_OK;
}

void CDatabaseConnection::AbandonLocked() {
  if (m_iDepth > 0) {
    m_writer.RollBack();
    m_iDepth = 0;
    m_bLost = false;
    m_turn.Revoke();
  }
}

// --- Whose turn it is ------------------------------------------------------------------------------------------------

template <class Work>
int CDatabaseConnection::Write(const char* pszWhat, Work&& work) {
  const CDatabaseTurnHold turn(m_turn, kDatabaseWaitMs);
  if (!turn.IsTaken()) {
    Trace(Tracelevel::TL_ERRO, std::string(pszWhat) + ": the transaction of another thread has not ended within " +
                                   std::to_string(kDatabaseWaitMs / 1000) + " seconds");
    return DB_ERROR_FAILURE;
  }
  const int iResult = WriteLocked(work);
  // a reader between two rows must not keep the log from being written back; one that reads just now sees to itself
  const std::unique_lock<std::mutex> readGuard(m_readLock, std::try_to_lock);
  if (readGuard.owns_lock()) {
    m_reader.Pause();
  }
  return iResult;
}

template <class Work>
int CDatabaseConnection::WriteLocked(Work&& work) {
  const std::lock_guard<std::mutex> guard(m_writeLock);
  if (!m_writer.IsOpen() || !m_turn.IsMine()) {
    return DB_ERROR_DATABASE_NOT_CONEECT;  // closed while this thread came here
  }
  if (m_bLost) {
    return DB_ERROR_FAILURE;
  }
  const int iResult = work();
  m_bLost = m_iDepth > 0 && !m_writer.InTransaction();  // the engine undoes it all when it cannot undo one step
  return iResult;
}

template <class Work>
int CDatabaseConnection::ReadWith(Work&& work) {
  const bool bOwn = m_turn.IsMine();
  const std::lock_guard<std::mutex> guard(bOwn ? m_writeLock : m_readLock);
  CDatabaseSession& session = bOwn ? m_writer : m_reader;
  return session.IsOpen() ? work(session) : static_cast<int>(DB_ERROR_DATABASE_NOT_CONEECT);
}

// --- Tables ----------------------------------------------------------------------------------------------------------

bool CDatabaseConnection::HasTable(const char* pszTable) {
  bool bThere = false;
  if (IsTable(pszTable)) {
    ReadWith([&](CDatabaseSession& session) {
      bThere = session.HasTable(pszTable);
      return static_cast<int>(DB_ERROR_OK);
    });
  }
  return bThere;
}

int CDatabaseConnection::ShapeTable(const char* pszTable, const Names& names, bool bMake) {
  if (!IsTable(pszTable) || !database_names::AreColumnNames(names)) {
    return DB_ERROR_INVALID_PARAM;
  }
  const int iResult = Write("ConvertTable", [&] { return ShapeInTransaction(pszTable, names, bMake); });
  if (iResult == DB_ERROR_OK) {
    const std::lock_guard<std::mutex> guard(m_readLock);
    m_reader.SetOrder(pszTable, names);
  }
  return iResult;
}

// Looking and making are one step: a second program may be about to make the same table.
int CDatabaseConnection::ShapeInTransaction(const std::string& table, const Names& names, bool bMake) {
  const bool bOutermost = m_iDepth == 0;
  if (bOutermost && m_writer.Begin() != DB_ERROR_OK) {
    return DB_ERROR_FAILURE;
  }
  const bool bThere = m_writer.HasTable(table);
  int iResult = bThere || !bMake ? m_writer.AddColumns(table, names) : m_writer.MakeTable(table, names);
  m_writer.SetOrder(table, names);
  if (bOutermost && iResult == DB_ERROR_OK) {
    iResult = m_writer.Commit();
  } else if (bOutermost) {
    m_writer.RollBack();
  }
  return iResult;
}

// --- Rows ------------------------------------------------------------------------------------------------------------

int CDatabaseConnection::Add(const char* pszTable, const FieldType& fields, unsigned int& uIndex) {
  return IsTable(pszTable) ? Write("AddRecord", [&] { return m_writer.Insert(pszTable, fields, uIndex); })
                           : static_cast<int>(DB_ERROR_INVALID_PARAM);
}

int CDatabaseConnection::Update(const char* pszTable, unsigned int uIndex, const FieldType& fields) {
  return IsTable(pszTable) ? Write("UpdateRecord", [&] { return m_writer.Update(pszTable, uIndex, fields); })
                           : static_cast<int>(DB_ERROR_INVALID_PARAM);
}

int CDatabaseConnection::Remove(const char* pszTable, unsigned int uIndex) {
  return IsTable(pszTable) ? Write("DeleteRecord", [&] { return m_writer.Remove(pszTable, uIndex); })
                           : static_cast<int>(DB_ERROR_INVALID_PARAM);
}

int CDatabaseConnection::Read(const char* pszTable, unsigned int uIndex, FieldType& fields) {
  const int iResult = IsTable(pszTable)
                          ? ReadWith([&](CDatabaseSession& session) { return session.Read(pszTable, uIndex, fields); })
                          : static_cast<int>(DB_ERROR_INVALID_PARAM);
  if (iResult != DB_ERROR_OK) {
    fields.clear();
  }
  return iResult;
}

int CDatabaseConnection::ReadIndexes(const char* pszTable, std::vector<int>& indexes) {
  indexes.clear();
  return IsTable(pszTable) ? ReadWith([&](CDatabaseSession& session) { return session.ReadIndexes(pszTable, indexes); })
                           : static_cast<int>(DB_ERROR_INVALID_PARAM);
}

int CDatabaseConnection::Count(const char* pszTable, int& iCount) {
  return IsTable(pszTable) ? ReadWith([&](CDatabaseSession& session) { return session.Count(pszTable, iCount); })
                           : static_cast<int>(DB_ERROR_INVALID_PARAM);
}

// --- Transactions ----------------------------------------------------------------------------------------------------

int CDatabaseConnection::Begin() {
  return Write("BeginTransaction", [&] { return m_iDepth == 0 ? BeginOutermost() : BeginInner(); });
}

int CDatabaseConnection::BeginOutermost() {
  t_transactions.Add(shared_from_this());
  const int iResult = m_writer.Begin();
  if (iResult != DB_ERROR_OK) {
    t_transactions.Remove(this);
    return iResult;
  }
  return BeginInner();
}

// The turn outlives the call.
int CDatabaseConnection::BeginInner() {
  ++m_iDepth;
  m_turn.Take(0);
  return DB_ERROR_OK;
}

int CDatabaseConnection::End() {
  const std::lock_guard<std::mutex> guard(m_writeLock);
  if (!m_writer.IsOpen()) {
    return DB_ERROR_DATABASE_NOT_CONEECT;
  }
  if (!m_turn.IsMine() || m_iDepth == 0) {
    return DB_ERROR_FAILURE;
  }
  const int iResult = --m_iDepth > 0 ? static_cast<int>(DB_ERROR_OK) : CommitLocked();
  m_turn.Give();
  return iResult;
}

int CDatabaseConnection::CommitLocked() {
  t_transactions.Remove(this);
  const bool bLost = m_bLost;
  m_bLost = false;
  if (bLost) {
    m_writer.RollBack();  // nothing is left to be undone, but what the session knows of tables
  }
  return bLost ? static_cast<int>(DB_ERROR_FAILURE) : m_writer.Commit();
}

void CDatabaseConnection::RollBackOfThisThread() {
  const std::lock_guard<std::mutex> guard(m_writeLock);
  if (m_turn.IsMine() && m_iDepth > 0) {
    Trace(Tracelevel::TL_ERRO, "a thread has ended inside its transaction; what it wrote there is undone");
    AbandonLocked();
  }
}
