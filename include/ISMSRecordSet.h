// A list of records with one cursor.
#pragma once

#include "ISMSRecord.h"

namespace NS_SMS {
/// Cursor result: no record to move to.
const long RECORD_EOF = -1;
}  // namespace NS_SMS

/// Ownership: the set from ISMSService::GetSMSRecordSet is the store's live set; never Release() it. A set from
///   CreateSMSRecordSet belongs to the caller.
/// Threads: every operation may be called from any thread, but the cursor is one for all users of the set, and any
///   push or removal, by anyone, puts it on the first record. To keep a record, use GetSMSRecordCopy().
class ISMSRecordSet : public IBaseInterface {
public:
  /// @return 0, or NS_SMS::RECORD_EOF when there is no record there.
  virtual long MoveFirst() = 0;
  virtual long MoveNext() = 0;

  // Fields of the current record; at the end texts are null, numbers 0 and GetMSGInfo leaves its arguments alone.
  // Texts are valid until the cursor moves or any record is pushed or removed, by anyone.
  virtual const VELK_wchar_t* GetNumber() = 0;
  virtual const VELK_wchar_t* GetContent() = 0;
  virtual const VELK_wchar_t* GetTime() = 0;
  virtual int GetIsRead() = 0;
  virtual int GetPosition() = 0;
  virtual int GetSendResult() = 0;
  virtual int GetSMSClass() = 0;
  virtual int GetMSGType() = 0;
  virtual long GetMSGID() = 0;
  virtual void GetMSGInfo(int& iMR, int& iTotalPack, int& iCurrentPack) = 0;
  virtual int GetSMSPriority() = 0;
  /// The current record, null at the end; valid as long as the texts above.
  virtual const ISMSRecord* GetCurSMSRecord() = 0;

  virtual long GetRecordCount() = 0;
  virtual long GetUnReadSMSCount() = 0;

  /// First record with that identifier, or null; valid only while it is in the set.
  virtual const ISMSRecord* GetSMSRecord(long lID) = 0;
  /// A copy the caller ends with Release(); null when there is no such record.
  virtual ISMSRecord* GetSMSRecordCopy(long lID) = 0;
  virtual ~ISMSRecordSet() {}
};
