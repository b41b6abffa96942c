// What the service tells its clients.
#pragma once

#include "ISMSRecord.h"

/// Register with ISMSService::RegCallBack. Calls come from several threads of the service, one at a time.
/// [any-thread & callback-lock held] (OnServiceState codes 9 to 11: without the lock)
///
/// Inside a call: return soon; copy what you want to keep, records live during the call only. Do not call RegCallBack,
/// DeRegCallBack or CutAllToLocal and do not wait for a device event or for another message: hand such work to a
/// thread of your own. Record operations and CancelSendMsg are allowed; CancelSendMsg then does not wait and may answer
/// that the send has not stopped yet. After DeRegCallBack returns one call of codes 9 to 11 may still be under way.
class ISMSEvent {
public:
  /// State codes of OnServiceState.
  enum STATE_CODE {
    DEVICE_AVAILABLE = 0,
    SIM_OK = 1,
    DEVICE_FULL = 2,
    DEVICE_UNAVAILABLE = 3,
    SIM_FULL = 4,
    SIM_NOT_AVAILABLE = 5,
    CAN_SEND_SMS = 7,
    CANNOT_SEND_SMS = 8,
    CUT_TO_LOCAL_DONE = 9,
    CUT_TO_LOCAL_MOVED = 10,
    CUT_TO_LOCAL_DELETE_FAILED = 11
  };

  /// The result of a sent part is known; the record's send result is set, its number and content are the part's.
  virtual void OnSendReport(const ISMSRecord* pRecord) = 0;
  /// A message was received. Identifier -1: it is shown only and stored nowhere (class 0).
  virtual void OnNewMessage(const ISMSRecord* pRecord) = 0;
  virtual void OnServiceState(int iState) = 0;
  /// The send path has added a record to the send box, or tried to.
  virtual void OnRecordAdded(const ISMSRecord* pRecord) = 0;
  /// A store (NS_SMS::STORAGE_KIND) has finished its first load.
  virtual void OnStoreReady(int iStorage) = 0;
  /// Code RECORD_MERGED_INTO_LONG_SMS: this part is now inside a whole message and is about to be removed.
  virtual void OnRecordChanged(const ISMSRecord* pRecord, DWORD dwCode) = 0;
  virtual ~ISMSEvent() {}
};

const DWORD RECORD_MERGED_INTO_LONG_SMS = 20410;
