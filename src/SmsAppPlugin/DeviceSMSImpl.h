// The store of a device memory: the SIM's or the modem's own.
#pragma once

#include "SMSDef.h"
#include "SMSMgr.h"
#include "ThreadWrappers.h"

#include <atomic>
#include <vector>

class CSMSRecordImpl;
class CSMSServiceImpl;
class IDeviceMgr;
class IDeviceService;
class IShortMessage;

/// Life:    loads when StartThread is called; BackBeforeInit when the device goes. The mirror object lives as long as
///          the store; only its records come and go.
/// Threads: any. m_MutexReadSMS is held by a load and by whoever empties the mirror, never by GetReocrdList, GetRecord
///          and CheckIsFull: a client may call these while a load waits for it.
/// Identifiers are the device's own indexes.
class CDeviceSMSImpl : public CSMSMgr {
public:
  /// @param service  must outlive the store; without one nothing is moved and nothing saved.
  CDeviceSMSImpl(SMS_MEM enMem, CSMSServiceImpl* service);
  ~CDeviceSMSImpl() override;

  /// The mirror, made when there is none yet; the store's own.
  CSMSRecordSetImpl* GetReocrdList() override;
  /// Divides the message and writes every part for every number. Without a number nothing is written and 0 answered.
  /// What is written goes into the mirror, and a mirror that holds records is not loaded.
  /// @param id     array for `count` device indexes; null: none wanted.
  /// @param count  in: room in id; out: indexes written to it.
  /// @return -1 also when only some parts were written.
  long SaveRecord(ISMSRecord* record, long* id, long& count) override;
  /// An MMS notification is handed over and deleted from the device; the record is filled all the same.
  /// The callback lock is taken for that: a caller that holds a lock of a higher rank calls the two halves itself.
  long GetRecord(ISMSRecord* record) override;
  /// Marks the message read on the device and in the mirror. Always 0.
  long UpdateRecord(ISMSRecord* record) override;
  /// The same as RemoveRecord: a device has no recycle box.
  long DeleteRecord(long id) override;
  long RemoveRecord(long id) override;
  long GetRecordInfo(int& capacity, int& used) override;
  void StartThread() override;
  /// Ends a load (35 seconds at most) and empties the mirror.
  void BackBeforeInit() override;
  int CheckIsFull() override;

  // The two halves of GetRecord.
  /// Reads the message with the record's identifier.
  /// @param stMessage  out: as the device gave it.
  long ReadFromDevice(ISMSRecord* record, SMReadRecord& stMessage);
  /// Hands an MMS notification over and deletes it from the device; does nothing for any other message.
  void HandOverMms(const SMReadRecord& stMessage, long id);

  /// Adds a message that has come in since the load; does nothing before the load, or when it is there.
  void AddNewMessage(const ISMSRecord& record);

  /// The initial load has completed.
  bool GetInitFlag() const { return m_bInit; }
  /// Whether received messages are moved to the local store.
  bool GetIsSaveLocal();
  /// Moves every message to the local store, on the calling thread; see ISMSService::CutAllToLocal.
  /// The caller empties the mirror first (ClearDeviceData): a mirror that holds records is not read again.
  bool CutAllToLocal();
  /// @return false: there is no mirror yet.
  bool ClearDeviceData();
  void RetsetHasMemflag() { m_bHasMem = false; }
  /// Asks loads and saves to stop for good and ends the load thread (5 seconds at most). Before destruction.
  void StopForGood();

  /// Loads the mirror on the calling thread, unless it holds records.
  void ReadRecord();
  /// Body of the load thread: loads when the memory is present and usable.
  void Init();

private:
  /// The message service for the length of one operation; null when it is absent.
  class CServiceHold {
  public:
    explicit CServiceHold(CDeviceSMSImpl& store);
    ~CServiceHold() { m_store.m_pSmsSrv = nullptr; }
    CServiceHold(const CServiceHold&) = delete;
    CServiceHold& operator=(const CServiceHold&) = delete;
    IShortMessage* Get() const { return m_pService; }

  private:
    CDeviceSMSImpl& m_store;
    IShortMessage* const m_pService;
  };
  class CReadLockHold;
  struct LoadRun;
  struct SavePlan;

  static bool ToHandle(long id, MSG_HANDLE& hMsg);
  /// UNREAD_SM_ALTER only where the device itself keeps the unread state.
  static int CarefulReadMode(IShortMessage& service);

  // loading; m_MutexReadSMS and the service's read lock held
  bool IsQuitting() const { return m_bIsQuitThread || m_iStopRequests > 0; }
  static bool IsListed(IDeviceMgr& manager, SMS_MEM enMem);
  void InitSim(IDeviceMgr& manager, IDeviceService& device);
  void Load();
  void LoadAll(IShortMessage& service);
  static int LoadReadMode(IShortMessage& service, bool bSaveLocal);
  bool ListMemory(IShortMessage& service, std::vector<MSG_HANDLE>& handles);
  /// @return false: the load has to stop.
  bool LoadOne(const LoadRun& run, MSG_HANDLE hMsg);
  /// @return true: the message is on the device no longer.
  bool MoveAway(const LoadRun& run, const SMReadRecord& stMessage, MSG_HANDLE hMsg);
  void KeepInMirror(const LoadRun& run, const SMReadRecord& stMessage, MSG_HANDLE hMsg);
  void CutOne(const LoadRun& run, const SMReadRecord& stMessage, MSG_HANDLE hMsg);
  bool GiveToMmsSide(const SMReadRecord& stMessage);

  // saving
  SavePlan MakePlan(const ISMSRecord& record);
  long WriteAll(IShortMessage& service, const SavePlan& plan, std::vector<long>& ids);
  bool WriteOne(IShortMessage& service, SMS_PARAM& stPart, std::vector<long>& ids);

  // the mirror
  long PutIntoMirror(CSMSRecordImpl& record);
  /// Replaces what is there; adds nothing.
  void ReplaceInMirror(CSMSRecordImpl& record);
  void DropFromMirror(long id);
  void EmptyMirror();
  /// @return the identifiers that were in it.
  std::vector<long> TakeMirror();

  const SMS_MEM m_enMem;
  JMutex m_MutexReadSMS;                               // a load, and emptying the mirror
  std::atomic<CSMSRecordSetImpl*> m_pDeviceRecordSet;  // owned; made once
  std::atomic<bool> m_bInit;
  std::atomic<bool> m_bHasMem;
  std::atomic<bool> m_bIsQuitThread;  // cleared by the next load
  CSMSServiceImpl* const m_pSMSServiceImpl;
  JThreadT<CDeviceSMSImpl, void> m_InitThread;
  std::atomic<IShortMessage*> m_pSmsSrv;  // set while an operation runs
  const bool m_bHideDoubleModeCardNode;
  std::atomic<bool> m_bCutSMSToLocal;  // changed under m_MutexReadSMS only

  std::atomic<int> m_iStopRequests;  // BackBeforeInit calls under way, and the end; a load cannot clear them
  JMutex m_MutexMirror;              // looking at the mirror and changing it are one step
};
