// Where messages are kept: the base of the local and the device stores.
#pragma once

#include "ISMSRecord.h"

class CSMSRecordSetImpl;

/// Purpose:   what the service asks of a store; every default is harmless.
/// Life:      made by the service; loads its set on a thread of its own.
/// Threads:   any.
/// Ownership: records are the caller's; the set of a store is the store's.
/// Errors:    0 done, -1 not done; nothing throws. A null record is refused with -1, except where 0 is the only answer.
/// Identifiers mean something only within one store.
class CSMSMgr {
public:
  CSMSMgr() = default;
  virtual ~CSMSMgr();
  CSMSMgr(const CSMSMgr&) = delete;
  CSMSMgr& operator=(const CSMSMgr&) = delete;

  /// The set of all messages; the store's own and live. This default makes a new, empty one, which is the caller's.
  /// @return null: no memory.
  virtual CSMSRecordSetImpl* GetReocrdList();
  /// Stores a new message and adds it to the set.
  /// @param id     out: the identifier given.
  /// @param saved  out: how many identifiers were given.
  virtual long SaveRecord(ISMSRecord* record, long* id, long& saved);
  /// Fills the record from the message with its identifier.
  virtual long GetRecord(ISMSRecord* record);
  /// Rewrites the message with the record's identifier.
  virtual long UpdateRecord(ISMSRecord* record);
  /// As a user means it: into the recycle box where there is one.
  virtual long DeleteRecord(long id);
  /// For good.
  virtual long RemoveRecord(long id);
  virtual long GetRecordInfo(int& capacity, int& used);

  /// Starts loading, unless it is under way.
  virtual void StartThread();
  /// Back to the state before loading; the next load starts afresh.
  virtual void BackBeforeInit();
  /// @return 1 full, 0 not full, -1 unknown.
  virtual int CheckIsFull();
};
