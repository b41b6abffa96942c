// The SMS service: one object behind ISMSService, and the sink of the device services' events.
#pragma once

#include "ISMSService.h"
#include "SMSRecordImpl.h"
#include "ThreadWrappers.h"
#include "platform/JEvent.h"
#include "services/IDeviceMgrEvent.h"
#include "services/IUniCommEvent.h"

#include <sys/types.h>
#include <atomic>
#include <list>
#include <memory>
#include <string>
#include <vector>

class CDeviceSMSImpl;
class CFileSMSImpl;
class CSMSMgr;
class IDeviceService;
class INetSrv;

/// Life:    made by the first instance(), ended by Destroy(). When the message service or the device manager is missing
///          the object exists all the same, with its stores but without events.
/// Threads: as ISMSService; destruction not on one of its own threads. Locks: docs/threads.md.
class CSMSServiceImpl : public ISMSService, public IDeviceMgrEvent, public IUniCommEvent {
public:
  /// One send request; the send thread owns it.
  struct STSendThreadData {
    VELK_wstring strContent;
    VELK_wstring strNumber;
    void* pThread = nullptr;
    bool bPrepared = false;  // the events of the run are reset already
  };

  /// Makes the service on first use; null when that fails. [any-thread]
  static CSMSServiceImpl* instance();
  /// Never makes it. [any-thread]
  static CSMSServiceImpl* GetInstance();
  /// Ends the threads and the stores. [owner-thread]
  static void Destroy();
  /// Takes the sinks out of the device services and forgets the clients. [owner-thread]
  void OnDestroy();

  // --- ISMSService
  void Release() override {}
  int GetLastError() override { return 0; }
  long SendMsg(const VELK_wchar_t* pszNumber, const VELK_wchar_t* pszContent) override;
  long CancelSendMsg(long& lCount) override;
  ISMSRecordSet* GetSMSRecordSet(int iStorage) override;
  long GetMsg(ISMSRecord* pRecord, int iStorage) override;
  long SaveMsg(ISMSRecord* pRecord, long* plID, long& lCount) override;
  long UpdateMsg(ISMSRecord* pRecord) override;
  long DeleteMsg(long lID, int iStorage) override;
  long RemoveRecord(long lID, int iStorage) override;
  long GetMsgSplitCount(const VELK_wchar_t* pszContent, long& lCount) override;
  long RegCallBack(ISMSEvent* pEvent) override;
  long DeRegCallBack(ISMSEvent* pEvent) override;
  long GetRecordInfo(int& iCapacity, int& iUsed, int iStorage) override;
  long GetSMSSetting(ISMSSetting** ppSetting) override;
  long CreateSMSRecordSet(ISMSRecordSet** ppSet) override;
  long CreateSMSRecord(ISMSRecord** ppRecord, long lID) override;
  long ReleaseSMSRecord(ISMSRecord** ppRecord) override;
  int Phonebook_Content_Encode(const VELK_wchar_t* pszText, int iLength, bool bSupportGsm7, bool& bUnicode) override;
  int Phonebook_Content_Coding_Judge(const VELK_wchar_t* pszText, int iLength, bool bSupportGsm7,
                                     bool bAllCodings) override;
  long BeginTransaction() override;
  long EndTransaction() override;
  long CutAllToLocal(int iStorage) override;
  long RegisterCallBackForMms(pfnOnMmsCommEvent pfnHook) override;
  long UnRegisterCallBackForMms(pfnOnMmsCommEvent pfnHook) override;

  // --- events of the device services; one handler serves both  [driver]
  bool OnDeviceMgrEvent(unsigned long dwEvent, void* pData) override;
  bool OnUniCommEvent(unsigned long dwEvent, void* pData) override;

  // --- start-up checks
  /// Once, from the constructor: starts loads and the receive thread when the device is there already.
  void CheckSimAndDevice();
  /// Body of m_CheckFileAndDeviceInit: tells clients of each store's first load.
  void CheckFileAndDeviceInit();

  // --- thread bodies
  void Send(STSendThreadData* pData);
  void Receive();

  // --- for the stores
  /// Divides a text as it is sent; an empty text is one empty part, no parts: it cannot be sent.
  void SplitContent(const VELK_wchar_t* pszContent, std::vector<SMS_PARAM>& vctParts);
  /// Appends the numbers of a list; null appends nothing.
  void SplitNumber(const VELK_wchar_t* pszNumbers, std::vector<VELK_wstring>& vctNumbers);
  /// @param nSize  0: count only.  @return number of parts.
  int SplitSmContent(const VELK_wchar_t* pszText, int nLength, SMS_PARAM* pstParts, int nSize);
  /// Looks at all characters but the last, on purpose.
  bool IsNumberValid(const VELK_wchar_t* pszNumber);
  VELK_wstring getModulePath();

  /// OnRecordChanged to all clients, under m_MutexCallback.
  void CallBackToUI(const ISMSRecord* pRecord, DWORD dwCode);
  /// OnServiceState to all clients, without m_MutexCallback, from a copy of the list.
  void CallBackParamFunc(int iState);
  /// Queues the address of a record with an MMS notification for the hook; always true. A derived class may refuse.
  virtual bool SendMMSNotify(const SMReadRecord& stRecord);
  /// Delivers at most one queued notification.
  void SendNotifyToMmsUiPlugin();
  /// A copy that lives until the hook has had it, or GiveBackMms; what SendMMSNotify is given.
  const SMReadRecord& KeepForMms(const SMReadRecord& stRecord);
  void GiveBackMms(const SMReadRecord& stKept);

  /// Whoever reads a message from the device holds this. Use CReadNewMsgHold.
  void ReadNewMsgLock();
  void ReadNewMsgUnlock();
  /// Waits until the message of a notice that is being moved is on the device no longer: who lists a memory while it
  /// holds the read lock does this first, or the message would be moved twice.
  void AwaitMoveInHand();
  /// Stores a message found while loading, unread, and queues it for OnNewMessage.
  bool Device2Local(const SMReadRecord& stRecord);
  /// Stores a message of a move; false for a class-0 message, which no store keeps.
  bool Save2Local(const SMReadRecord& stRecord);

protected:
  CSMSServiceImpl();
  ~CSMSServiceImpl() override;

private:
  friend class CServiceAccess;  // tests look inside, and hand parts to the send path that no division yields
  typedef std::list<ISMSEvent*> ClientList;
  struct SendRun;
  class CSendRequestOwner;
  enum class PartVerdict { kSent, kFailed };
  enum class NoticeEnd { kGoOn, kNextPass };
  class CMovedMessages;

  // life
  void Construct();
  void ReadBroadcastSetting();
  void EndThreads();
  void DeleteStores();

  // sending  [send]
  void ResetSendEvents();
  void AwaitEndOfFinishedRun();
  void ChooseBearer();
  void SendAll(SendRun& run);
  void SendToNumber(SendRun& run);
  /// @return false: stop this number.
  bool SendPart(SendRun& run, std::size_t part);
  bool HandPartToDevice(SendRun& run, const SMS_PARAM& stPart);
  PartVerdict AwaitVerdict(SendRun& run);
  void NoteCancel(SendRun& run);
  void ResetCancel(SendRun& run);
  void NoteTimeOut(SendRun& run);
  void SetReportRecord(const SMS_PARAM& stPart, const VELK_wstring& strNumber);
  void ReportFailure();
  void FreeReportRecordLocked();
  void SaveSent(const SendRun& run);
  void SaveGroup(CSMSRecordImpl& record, const VELK_wstring& strNumbers, int iResult);
  void SetSendPriority(CSMSRecordImpl& record);

  // events
  /// Until the receive thread has stored what was queued so far; gives up when nothing is stored for ten seconds. The
  /// driver acknowledges a direct message to the network when its event returns.
  void AwaitDirectStored();
  bool HandleEventAlone(unsigned long dwEvent, void* pData);
  // all with m_OnDeviceMgrEvent held
  /// @return false: the number is unknown.
  bool HandleEvent(unsigned long dwEvent, void* pData);
  void OnSysmodeChanged();
  void OnMemoryFull(const void* pData);
  void QueueDirect(const SMReadRecord& stRecord);
  void QueueNotice(const void* pData);
  void OnBroadcast(const void* pData);
  void OnReady();
  void OnSendStatus(const void* pData);
  void OnAvailable();
  void OnUnavailable();
  void OnNetworkStatus(const void* pData);
  void OnSimState(const void* pData);
  void StartReceiver();
  void TellState(int iState);
  void ReportVerdictLocked(bool bSent);
  /// @return false: stop looking for this pass.
  bool ReportStoreReady(bool bReady, int iStorage, bool& bReported);

  // receiving  [receive]
  class CReadNewMsgHold;
  /// @return milliseconds to sleep before the next pass; 0 when something is waiting.
  unsigned int ReceivePass(int& iIdle);
  NoticeEnd TakeNotice();
  NoticeEnd HandleNotice(const SNewSmsNotifyType& stNotice);
  NoticeEnd KeepOnDevice(const SNewSmsNotifyType& stNotice, CSMSRecordImpl& record, bool& bNotify);
  NoticeEnd MoveToLocal(const SNewSmsNotifyType& stNotice, CSMSRecordImpl& record, bool& bNotify,
                        CReadNewMsgHold& hold);
  bool ReadStored(const SNewSmsNotifyType& stNotice, SMReadRecord& stRecord);
  bool StoreAndDelete(const SNewSmsNotifyType& stNotice, CSMSRecordImpl& record);
  bool HandOverMms(const SMReadRecord& stRecord);
  void TakeDirect();
  void StoreLeftDirect();
  void HandleDirect(const SMReadRecord& stRecord);
  void AnnounceMoved();
  void WatchFullness(int& iIdle);
  void WatchMemory(CDeviceSMSImpl* pStore, std::atomic<bool>& bFull, const char* pszLog, int iState);
  bool QueuesAreEmpty();
  bool SaveLocally(CSMSRecordImpl& record, long& lID);
  /// Waits for the end of a client's transaction, however long it takes.
  bool SaveDirect(CSMSRecordImpl& record, long& lID);
  /// An earlier run has stored the message and could not delete it on the device; the record then stands for its row.
  bool IsStoredAlready(CSMSRecordImpl& record);
  void Announce(const CSMSRecordImpl& record);
  bool DeleteOnDevice(SMS_MEM enMem, MSG_HANDLE hMsg);

  // clients
  void AddClient(ISMSEvent* pEvent);
  void TellPresentState();
  void PublishClientsLocked();
  void TellSimState(IDeviceService& device);
  void TellNetworkState(INetSrv& network);
  long CutFullMemories();
  long CutMemory(int iStorage);

  // records
  class CRecordHold;
  /// A transaction is open, and this thread's own, or another's.
  bool InTransaction(bool bOwn);
  /// @return false: its owner waits for the lock of the callback that the calling thread is inside of.
  bool AwaitTransactionEnd(bool bInsideCallback);
  void ForgetTransaction();
  CSMSMgr* StoreOf(int iStorage) const;
  CSMSMgr* StoreOfPosition(int iPosition) const;
  long GetDeviceMsg(CDeviceSMSImpl& store, ISMSRecord* pRecord);
  /// Gives the texts back and frees the storage; the destructor is not run, on purpose. Null: nothing.
  static void FreeRecordStorage(ISMSRecord* pRecord);

  // in the order of their declaration; flags are written by any thread and read once a pass
  ClientList m_lstEventHandle;                     // guarded by m_MutexCallback
  std::list<SNewSmsNotifyType> m_lstNewMsgHandle;  // guarded by m_MutexNewMsgHandle
  std::list<SMReadRecord> m_lstNewMsg;             // guarded by m_MutexNewMsg
  std::list<CSMSRecordImpl> m_lstReadSIMNewMsg;    // guarded by m_MutexQueues
  std::list<const SMReadRecord*> m_lstMmsNewMsg;   // addresses only; guarded by m_MutexCallback
  JMutex m_MutexNewMsgHandle;
  JMutex m_MutexNewMsg;
  JMutex m_MutexCallback;
  JMutex m_MutexSendThread;
  JMutex m_MutexInterface;
  JMutex m_MutexReadNewMsg;
  JMutex m_OnDeviceMgrEvent;
  CFileSMSImpl* m_pLocalSMS;
  CDeviceSMSImpl* m_pSimSMS;
  CDeviceSMSImpl* m_pNVSMS;
  std::atomic<bool> m_bExitReceving;
  JThreadT<CSMSServiceImpl, void> m_receiver;
  JThreadT<CSMSServiceImpl, void> m_CheckFileAndDeviceInit;
  JThreadTP<CSMSServiceImpl, STSendThreadData*, void>* m_pSendSMSThread;  // guarded by m_MutexSendStart
  JEvent m_hEventSendOK;
  JEvent m_hEventSendFail;
  JEvent m_hEventCancelMsg;
  JEvent m_hEventCanceled;
  std::atomic<long> m_lCancelCount;
  ISMSRecord* m_pSMSRecordReport;  // guarded by m_MutexCallback
  std::atomic<bool> m_bSIMIsRead;
  std::atomic<bool> m_bDeviceStatus;
  std::atomic<bool> m_bSIMIsFull;
  std::atomic<bool> m_bDeviceIsFull;
  std::atomic<bool> m_bQueryServer;
  std::atomic<bool> m_bExistCBS;
  std::atomic<bool> m_bStopCheckFileAndDeviceInit;
  std::atomic<bool> m_bRegister;
  pfnOnMmsCommEvent m_pfnOnMmsCommEvent;  // guarded by m_MutexCallback
  std::atomic<bool> m_bHideDoubleModeCardNode;

  JMutex m_MutexAwaitDirect;                   // one event waits at a time
  std::atomic<unsigned long> m_uDirectQueued;  // direct messages ever queued
  std::atomic<unsigned long> m_uDirectDone;    // and handled
  JEvent m_hEventDirectDone;                   // one has been handled, or the receive thread shall end
  JMutex m_MutexMoveNewMsg;         // one message of a notice, from its reading to the end of the device copy
  JMutex m_MutexSendStart;          // taking a request or a cancel
  std::atomic<bool> m_bSendEnding;  // the parts of the run are over, its thread is about to end
  JMutex m_MutexQueues;             // the next five and m_lstReadSIMNewMsg
  std::shared_ptr<const ClientList> m_pPublishedClients;
  std::list<SMReadRecord> m_lstKeptMms;
  const SMReadRecord* m_pDeliveredMms;  // the hook has had it; given back with the next delivery
  int m_iTransactions;                  // open transactions of one client
  pid_t m_transactionThread;            // whose they are; the system does not use a number again at once
  JEvent m_hEventNoTransaction;
  JEvent m_hEventOwnerWaits;  // a transaction cannot go on without m_MutexCallback
  JEvent m_hEventReceive;     // something is queued, or the receive thread shall end
  JEvent m_hEventStopCheck;   // the start-up check shall end
};
