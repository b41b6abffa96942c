// The messages of a store, or an empty set for a client.
#pragma once

#include "ISMSRecordSet.h"
#include "SMSRecordImpl.h"
#include "SMSRecordIndex.h"
#include "ThreadWrappers.h"

#include <atomic>
#include <ctime>
#include <list>
#include <vector>

/// Matches a record by its identifier.
class CFindSMSRecord {
public:
  explicit CFindSMSRecord(long lID) : m_lID(lID) {}
  bool operator()(const ISMSRecord& record) const { return record.GetMSGID() == m_lID; }

private:
  long m_lID;
};

/// Threads: any. The non-const pointers of GetCurRecord and GetRecord are for owners that keep others away meanwhile.
/// Cost:    pushing, finding and removing by identifier do not grow with the number of records; GetUnReadSMSCount and
///          ClearSMSRecord walk; GetLongSMSRecord walks for totals below 2 only. A record whose identifier, number or
///          long-message information is changed through its pointer costs one walk at the next look-up.
class CSMSRecordSetImpl : public ISMSRecordSet {
public:
  CSMSRecordSetImpl();
  ~CSMSRecordSetImpl() override;
  CSMSRecordSetImpl(const CSMSRecordSetImpl&) = delete;
  CSMSRecordSetImpl& operator=(const CSMSRecordSetImpl&) = delete;

  /// Destroys the set.
  void Release() override;
  /// Always 0.
  int GetLastError() override;

  long MoveFirst() override;
  long MoveNext() override;
  const VELK_wchar_t* GetNumber() override;
  const VELK_wchar_t* GetContent() override;
  const VELK_wchar_t* GetTime() override;
  int GetIsRead() override;
  int GetPosition() override;
  int GetSendResult() override;
  int GetSMSClass() override;
  int GetMSGType() override;
  long GetMSGID() override;
  void GetMSGInfo(int& iMR, int& iTotalPack, int& iCurrentPack) override;
  int GetSMSPriority() override;
  const ISMSRecord* GetCurSMSRecord() override;
  long GetRecordCount() override;
  long GetUnReadSMSCount() override;
  const ISMSRecord* GetSMSRecord(long lID) override;
  ISMSRecord* GetSMSRecordCopy(long lID) override;

  /// Appends a copy, or overwrites the first record with the same identifier in its place; cursor to the first record.
  /// @return -1: the identifier is -1, or memory is short; nothing was changed.
  virtual long PushSMSRecord(CSMSRecordImpl& record);
  /// Removes the first record with that identifier, if there is one; cursor to the first record.
  virtual void RemoveSMSRecord(long lID);

  CSMSRecordImpl* GetCurRecord();
  /// In the order of the records; the cursor stays.
  std::vector<long> GetIdentifiers();
  CSMSRecordImpl* GetRecord(long lID);
  /// Removes every record; the cursor is at the end.
  void ClearSMSRecord();
  /// Where the user would be told of the unread count: looks the notification service up and does nothing more, on
  /// purpose.
  void NotifyMissMsg();
  /// Appends copies of the stored parts of a long message, in the order of the list: outside the recycle box, with
  /// exactly this number, reference and total, at most one day (86400 s) away from the time. Cursor to the first
  /// record.
  void GetLongSMSRecord(int iMR, int iTotalPack, const VELK_wstring& strNumber, std::time_t tTime,
                        std::vector<CSMSRecordImpl>& vctRecord);

  /// Unread messages of all sets, as far as they were pushed and removed; a read tag changed through a pointer is not
  /// noticed.
  static std::atomic<int> m_iMissCount;

private:
  typedef CSMSRecordIndex::RecordList RecordList;

  // m_Lock held
  RecordList::iterator FindLocked(long lID);
  /// Makes the index agree with the list. @return false: memory is short, walk instead.
  bool HasIndexLocked();
  void StoreLocked(CSMSRecordImpl& record);
  void ReplaceLocked(RecordList::iterator it, CSMSRecordImpl& fresh);
  void AppendLocked(RecordList& fresh);
  void AddToIndexLocked(RecordList::iterator it);
  template <class Value>
  Value ReadAtCursor(Value (CSMSRecordImpl::*pfnGet)() const);

  RecordList m_lstRecord;     // guarded by m_Lock
  RecordList::iterator m_it;  // the cursor; guarded by m_Lock
  JMutex m_Lock;              // recursive
  CSMSRecordIndex m_index;    // guarded by m_Lock
  std::uint64_t m_ullOrder;   // of the last record appended; guarded by m_Lock
  // the index is out of date; set by records of the list on any thread
  std::atomic<bool> m_bKeysChanged;
};
