// The local store: messages in a database on this computer.
#pragma once

#include "SMSMgr.h"
#include "ThreadWrappers.h"
#include "platform/LocalDatabaseMgr.h"

#include <pthread.h>
#include <atomic>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

class CStoreTurn;
class CSMSRecordImpl;
class CSMSServiceImpl;

/// Life:    opens the database and starts loading at once; every operation works before the load has ended.
/// Threads: any. A change waits for a load under way before it touches the set, so that row and set agree.
///          Order: the turn at the database, m_MutexCombine, m_MutexReadSMS, the set. Clients are called with none.
/// Durable: a save has reached the disk when it answers 0, except inside a transaction of the calling thread.
class CFileSMSImpl : public CSMSMgr {
public:
  /// @param service  told of merged parts; may be null; must outlive the store.
  explicit CFileSMSImpl(CSMSServiceImpl* service);
  ~CFileSMSImpl() override;

  /// Waits for a load under way and loads when nothing is loaded. The set lives until BackBeforeInit or destruction.
  CSMSRecordSetImpl* GetReocrdList() override;
  /// A received class-0 message is not stored: 0, id and saved untouched. The last part of a long message becomes, in
  /// place, the whole message; its parts are removed, each with RECORD_MERGED_INTO_LONG_SMS to the clients before.
  long SaveRecord(ISMSRecord* record, long* id, long& saved) override;
  long GetRecord(ISMSRecord* record) override;
  long UpdateRecord(ISMSRecord* record) override;
  /// Into the recycle box, marked read; -1 for what is there already, and for reports.
  long DeleteRecord(long id) override;
  /// -1 also when nothing is loaded, although the row is gone then: kept so.
  long RemoveRecord(long id) override;
  long GetRecordInfo(int& capacity, int& used) override;
  void StartThread() override;
  void BackBeforeInit() override;
  int CheckIsFull() override;

  /// A load has been attempted.
  bool GetInitFlag() const { return m_bInit; }
  /// Waits for the end of the load that construction or StartThread began. @return false: it takes longer.
  bool AwaitLoadThread(unsigned int uTimeoutMs) const { return m_InitThread.WaitForEnd(uTimeoutMs); }

  /// A transaction belongs to the calling thread; changes of other threads wait for its end.
  long BeginTransaction();
  long EndTransaction();
  /// Another thread's transaction is open: a change of this one may have failed for that alone.
  bool IsInTransactionOfAnother();

  /// Completes a long message when the record is its last missing part.
  /// @return 0: the whole message is stored, the record stands for it; -1: nothing was changed.
  long CombinationLongMsg(ISMSRecord* record);
  /// Recognises a message on the device that an earlier run of the program has stored: it ended before it deleted it
  /// there. Sender, time, text and part have to be the same; what this run stores is never taken for it. Parts that
  /// the earlier run has left beside the whole message are removed now.
  /// @return true: the record stands for the stored message.
  bool RecogniseCopy(CSMSRecordImpl& record);
  /// Removes a broadcast older than the clean-up age in days, counted from the midnight that starts its day.
  /// @return true: it was old enough.
  bool AutoCleanupCBS(const ISMSRecord* record);

  /// Appends the twelve values to an empty row; leaves any other row alone.
  static void GetFileRecord(const ISMSRecord* record, LocalDatabaseMgr::FieldType& fields);
  /// Sets what the row has values for, and the identifier.
  static void GetSMSRecord(long id, const LocalDatabaseMgr::FieldType& fields, ISMSRecord* record);

private:
  /// Body of m_InitThread.
  void Init();
  void OpenDatabase();

  // loading; m_MutexReadSMS held
  void ReadCleanupAge();
  CSMSRecordSetImpl* LoadSet(CStoreTurn& turn);
  void ReadAllRows(CSMSRecordSetImpl& set);
  bool IsOutdated(const ISMSRecord& record) const;
  static void EndLoad(CStoreTurn& turn);

  // rows
  static bool ToRow(long id, unsigned int& uIndex);
  /// @param fields  out: filled when the result is true; its room is used again.
  bool ReadRow(long id, LocalDatabaseMgr::FieldType& fields);
  bool ReadRow(long id, CSMSRecordImpl& record);
  bool AddRow(const LocalDatabaseMgr::FieldType& fields, CStoreTurn& turn, long& id);
  bool RewriteRow(long id, const LocalDatabaseMgr::FieldType& fields);

  // the set, changed within a turn
  bool HasSet();
  void PutIntoSet(CSMSRecordImpl& record);
  /// @return false: there is no set.
  bool DropFromSet(long id);
  /// Ends a turn in which one message was changed; when that fails, makes the set agree with the row again.
  bool EndChange(CStoreTurn& turn, long id);
  void AgreeWithRow(long id);
  void NotePending(long id);
  void AgreeWithRows(const std::vector<long>& ids);

  // saving; with a turn: it is open and m_MutexCombine held
  bool Store(ISMSRecord& record, std::vector<long>& mergedIds);
  bool StoreAlone(ISMSRecord& record, CStoreTurn& turn);
  bool StoreWhole(ISMSRecord& incoming, const VELK_wstring& strContent, CStoreTurn& turn, long& id);
  bool MoveToRecycleBox(CSMSRecordImpl& record, CStoreTurn& turn);

  // combining
  /// @param mergedIds  out: the parts to give to RemoveMergedParts once the locks are released.
  /// @return false: nothing was changed.
  bool Combine(ISMSRecord& record, CStoreTurn& turn, std::vector<long>& mergedIds);
  std::vector<CSMSRecordImpl> CollectParts(const ISMSRecord& record, std::time_t t0);
  void RemoveMergedParts(const std::vector<long>& mergedIds);
  void AnnounceMergedPart(long id);
  void ForgetMerging(const std::vector<long>& ids);

  // recognising
  void NoteEarlierRow(const ISMSRecord& record);
  /// @return null: there is none. The copy is the caller's.
  ISMSRecord* TakeEarlierRow(const ISMSRecord& found);
  std::vector<long> PartsLeftBeside(const ISMSRecord& whole, const ISMSRecord& found);

  LocalDatabaseMgr m_AddrDataBaseMgr;
  std::string m_strFileName;  // empty, not used
  std::atomic<bool> m_bInit;
  JMutex m_MutexLongInfo;                // not taken
  JMutex m_MutexReadSMS;                 // a load; the pointer to the set
  JMutex m_MutexFileManagerOpen;         // not taken
  CSMSRecordSetImpl* m_pLocalRecordSet;  // owned; guarded by m_MutexReadSMS
  JThreadT<CFileSMSImpl, void> m_InitThread;
  int m_iCBSAutoCleanup;  // days, 0: off; guarded by m_MutexReadSMS
  CSMSServiceImpl* m_pSMSServiceImpl;

  std::atomic<bool> m_bQuit;       // asks a load to stop, once and for all
  JMutex m_MutexCombine;           // looking for the other parts and storing one are one step
  std::vector<long> m_vctMerging;  // parts that are inside a whole message already; guarded by m_MutexCombine
  std::vector<std::pair<std::size_t, long>> m_vctEarlier;  // received rows of earlier runs: hash of number and time,
                                                           // identifier; guarded by m_MutexReadSMS
  JMutex m_MutexPending;                                   // the rest
  int m_iTransactions;                                     // transactions that a client has begun and not ended
  pthread_t m_transactionThread;                           // whose they are
  std::vector<long> m_vctPending;  // changed within them: the set has to be set right when they fail
};
