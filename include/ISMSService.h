// The SMS service: what the plug-in gives its clients.
#pragma once

#include "IBaseInterface.h"
#include "ISMSEvent.h"
#include "ISMSRecordSet.h"
#include "ISMSSetting.h"

/// Takes the address of an SMReadRecord that carries an MMS notification; the record lives until the hook returns.
typedef void (*pfnOnMmsCommEvent)(void*);

/// Purpose:  send, receive and keep short messages over the modem that the device plug-ins drive.
/// Life:     one object per process, from the plug-in's QueryInterface(0x1001) until its OnDestroy; Release() does
///           nothing. It exists also without a modem: then sending fails and the local boxes work.
/// Threads:  every operation may be called from any thread. Do not call CutAllToLocal, RegCallBack or DeRegCallBack
///           from inside an ISMSEvent call.
/// Ownership: records and sets that are created belong to the caller; sets that are looked up belong to the service.
/// Errors:   ERROR_CODE, or the store's own 0 / -1. Nothing throws.
/// Text:     UTF-16, zero-terminated. Null texts are refused with FAILURE, null records and pointers too.
class ISMSService : public IBaseInterface {
public:
  enum ERROR_CODE {
    SUCCESS = 0,
    FAILURE = -1,
    SIM_SERVICE_BUSY = -2,
    SIM_SERVICE_UNUSABLE = -3,
    LOCAL_SERVICE_UNUSABLE = -4
  };

  // --- Sending -------------------------------------------------------------------------------------------------------

  /// Hands a text to the send thread and returns. Verdicts arrive as OnSendReport, one per part and number; at the end
  /// one send-box record for the numbers that succeeded and one for those that failed, each with OnRecordAdded.
  /// A request made while another is under way is dropped and still answers SUCCESS: wait for OnRecordAdded of every
  /// recipient first; a request that comes after it, but not from inside it, is taken.
  /// @param pszNumber  recipients, separated by "," or ";".
  virtual long SendMsg(const VELK_wchar_t* pszNumber, const VELK_wchar_t* pszContent) = 0;
  /// Stops the send under way after the part in flight and waits until it has stopped.
  /// @param lCount  out: parts not sent; exact while the first number is being sent, and may be negative later.
  /// @return FAILURE, lCount untouched: no message service, or (inside a callback) not stopped yet.
  virtual long CancelSendMsg(long& lCount) = 0;

  // --- Records -------------------------------------------------------------------------------------------------------
  // The store is chosen by iStorage (NS_SMS::STORAGE_KIND) or by the record's position. An identifier means something
  // only within one store: a record whose position says another store than the one its identifier comes from acts on
  // that other store's message of the same number, or fails.

  /// The store's live set, cursor on the first record; null for an unknown or missing store. Waits for a first load of
  /// the local store. Valid until the service ends; device sets are emptied when the device goes away.
  virtual ISMSRecordSet* GetSMSRecordSet(int iStorage) = 0;
  /// Fills the record from the store, by its identifier.
  virtual long GetMsg(ISMSRecord* pRecord, int iStorage) = 0;
  /// Stores a new message.
  /// @param plID    out: identifier of the stored message; a device store writes up to lCount of them, one per part
  ///                and number. Untouched for a received class-0 message, which is not stored (result 0).
  /// @param lCount  in: room in plID. out: identifiers written.
  virtual long SaveMsg(ISMSRecord* pRecord, long* plID, long& lCount) = 0;
  virtual long UpdateMsg(ISMSRecord* pRecord) = 0;
  /// Local store: into the recycle box (reports and recycled messages are refused). Device stores: for good.
  virtual long DeleteMsg(long lID, int iStorage) = 0;
  /// Removes for good.
  virtual long RemoveRecord(long lID, int iStorage) = 0;

  /// How many messages a text costs.
  /// @param lCount  out: number of parts; untouched for an empty or null text.
  virtual long GetMsgSplitCount(const VELK_wchar_t* pszContent, long& lCount) = 0;

  // --- Clients -------------------------------------------------------------------------------------------------------

  /// Adds a client (once) and tells all clients the present SIM and network state. The client stays the caller's and
  /// must outlive its registration.
  virtual long RegCallBack(ISMSEvent* pEvent) = 0;
  virtual long DeRegCallBack(ISMSEvent* pEvent) = 0;

  /// Capacity and messages held.
  virtual long GetRecordInfo(int& iCapacity, int& iUsed, int iStorage) = 0;

  // --- Objects -------------------------------------------------------------------------------------------------------

  /// The settings; owned by the plug-in.
  virtual long GetSMSSetting(ISMSSetting** ppSetting) = 0;
  /// An empty set; owned by the caller.
  virtual long CreateSMSRecordSet(ISMSRecordSet** ppSet) = 0;
  /// A record with that identifier; owned by the caller.
  virtual long CreateSMSRecord(ISMSRecord** ppRecord, long lID) = 0;
  /// Frees the record and sets the pointer to null.
  virtual long ReleaseSMSRecord(ISMSRecord** ppRecord) = 0;

  // --- Phonebook names on the SIM (3GPP TS 51.011, Annex B) ----------------------------------------------------------

  /// @return storage units; bUnicode: 16-bit coding is needed.
  virtual int Phonebook_Content_Encode(const VELK_wchar_t* pszText, int iLength, bool bSupportGsm7, bool& bUnicode) = 0;
  /// @return octets.
  virtual int Phonebook_Content_Coding_Judge(const VELK_wchar_t* pszText, int iLength, bool bSupportGsm7,
                                             bool bAllCodings) = 0;

  // --- Transactions of the local store -------------------------------------------------------------------------------
  // One belongs to the thread that began it; changes by others wait for its end, ten seconds at most. Inside a callback
  // a change answers FAILURE when the transaction in turn needs that callback to end.

  virtual long BeginTransaction() = 0;
  virtual long EndTransaction() = 0;

  /// Moves every message of a device memory (SMS_SIM or SMS_NV) to the local store; OnServiceState codes 9 to 11 tell
  /// the progress. Works on the calling thread; may take minutes on a slow device.
  virtual long CutAllToLocal(int iStorage) = 0;

  /// One hook for MMS notifications; a later registration wins. Without a hook they wait in memory.
  virtual long RegisterCallBackForMms(pfnOnMmsCommEvent pfnHook) = 0;
  virtual long UnRegisterCallBackForMms(pfnOnMmsCommEvent pfnHook) = 0;

  virtual ~ISMSService() {}
};
