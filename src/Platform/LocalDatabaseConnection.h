// A connection as several threads share it: who may write, whose transaction it is, what becomes of damage.
#pragma once

#include "LocalDatabaseFile.h"
#include "LocalDatabaseSession.h"
#include "LocalDatabaseTurn.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// Two sessions: one writes, and reads for the thread in whose transaction it is; the other reads for everybody else,
/// who so see what was committed and wait for no writer.
/// Threads: any; must not be cancelled inside. Lock order: m_openLock, m_turn, m_writeLock, m_readLock.
class CDatabaseConnection : public std::enable_shared_from_this<CDatabaseConnection> {
public:
  typedef CDatabaseSession::FieldType FieldType;
  typedef CDatabaseSession::Names Names;

  CDatabaseConnection();
  ~CDatabaseConnection() { Close(); }

  int Open(const char* pszName);
  int Close();

  bool HasTable(const char* pszTable);
  /// @param bMake  a missing table is made, not an error.
  int ShapeTable(const char* pszTable, const Names& names, bool bMake);

  int Add(const char* pszTable, const FieldType& fields, unsigned int& uIndex);
  int Update(const char* pszTable, unsigned int uIndex, const FieldType& fields);
  int Remove(const char* pszTable, unsigned int uIndex);
  int Read(const char* pszTable, unsigned int uIndex, FieldType& fields);
  int ReadIndexes(const char* pszTable, std::vector<int>& indexes);
  int Count(const char* pszTable, int& iCount);

  int Begin();
  int End();
  /// For a thread that ends inside its transaction: nobody else could end it.
  void RollBackOfThisThread();

private:
  bool OpenSessions(std::string& reason);
  CDatabaseSession::Opened OpenWriter(std::string& reason);
  CDatabaseSession::Opened Mend(std::string& reason);
  CDatabaseSession::Opened StartAnew(std::string& reason);
  int ShapeInTransaction(const std::string& table, const Names& names, bool bMake);
  int CloseLocked();
  int BeginOutermost();
  int BeginInner();
  int CommitLocked();
  void AbandonLocked();
  template <class Work>
  int Write(const char* pszWhat, Work&& work);
  template <class Work>
  int WriteLocked(Work&& work);
  template <class Work>
  int ReadWith(Work&& work);

  std::mutex m_openLock;
  std::string m_strName;  // guarded by m_openLock; empty while closed
  CDatabaseFile m_file;   // guarded by m_openLock
  CDatabaseTurn m_turn;   // taken for a write, kept for a transaction
  std::mutex m_writeLock;
  CDatabaseSession m_writer;  // guarded by m_writeLock; used by the thread whose turn it is, and by Close()
  int m_iDepth = 0;           // transactions begun and not ended; guarded by m_writeLock
  bool m_bLost = false;       // the engine gave the transaction up; guarded by m_writeLock
  std::mutex m_readLock;
  CDatabaseSession m_reader;  // guarded by m_readLock
};
