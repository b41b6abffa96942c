// What tests see of the service from inside.
#pragma once

#include "Await.h"
#include "DeviceSMSImpl.h"
#include "FileSMSImpl.h"
#include "SendRun.h"

#include <vector>

class CServiceAccess {
public:
  /// Hands parts to the send path, also such as no division yields.
  static void SendParts(CSMSServiceImpl& service, const std::vector<SMS_PARAM>& parts,
                        const std::vector<VELK_wstring>& numbers) {
    CSMSServiceImpl::SendRun run;
    run.parts = parts;
    run.numbers = numbers;
    run.failed.resize(numbers.size());
    service.SendAll(run);
  }

  static void SetReport(CSMSServiceImpl& service, const VELK_wchar_t* number, const VELK_wchar_t* content) {
    SMS_PARAM part;
    VELK_wstring(content).copy(part.wszContent, 160);
    service.SetReportRecord(part, number);
  }
  static bool HasReport(CSMSServiceImpl& service) {
    const CISAPUGuard<JMutex> guard(service.m_MutexCallback);
    return service.m_pSMSRecordReport != nullptr;
  }
  static bool IsSendOk(const CSMSServiceImpl& service) { return service.m_hEventSendOK.IsSignalled(); }
  static bool IsSendFailed(const CSMSServiceImpl& service) { return service.m_hEventSendFail.IsSignalled(); }

  static bool IsDeviceUsable(const CSMSServiceImpl& service) { return service.m_bDeviceStatus; }
  static bool IsRegistered(const CSMSServiceImpl& service) { return service.m_bRegister; }
  static bool HasBroadcasts(const CSMSServiceImpl& service) { return service.m_bExistCBS; }
  static bool HidesDoubleModeCard(const CSMSServiceImpl& service) { return service.m_bHideDoubleModeCardNode; }
  static bool IsSimFullReported(const CSMSServiceImpl& service) { return service.m_bSIMIsFull; }
  static bool IsCheckRunning(const CSMSServiceImpl& service) { return service.m_CheckFileAndDeviceInit.IsRunning(); }
  static bool AreLoaded(const CSMSServiceImpl& service) {
    return service.m_pSimSMS->GetInitFlag() && service.m_pNVSMS->GetInitFlag();
  }
  static bool IsReceiving(const CSMSServiceImpl& service) { return service.m_receiver.IsRunning(); }

  static std::size_t Notices(CSMSServiceImpl& service) {
    const CISAPUGuard<JMutex> guard(service.m_MutexNewMsgHandle);
    return service.m_lstNewMsgHandle.size();
  }
  static std::vector<SMReadRecord> Direct(CSMSServiceImpl& service) {
    const CISAPUGuard<JMutex> guard(service.m_MutexNewMsg);
    return std::vector<SMReadRecord>(service.m_lstNewMsg.begin(), service.m_lstNewMsg.end());
  }
  static std::size_t KeptMms(CSMSServiceImpl& service) {
    const CISAPUGuard<JMutex> guard(service.m_MutexQueues);
    return service.m_lstKeptMms.size();
  }

  /// Waits until the load thread of the local store has done all it does; call it before anything needs the set.
  static bool AwaitLocalLoad(CSMSServiceImpl& service) {
    CMonitor pace;
    int looksLeft = 20000;
    while (!service.m_pLocalSMS->GetInitFlag() && looksLeft-- > 0) {
      pace.Await([] { return false; }, 1);
    }
    // its turn at the database is over when another one comes
    return service.m_pLocalSMS->BeginTransaction() == 0 && service.m_pLocalSMS->EndTransaction() == 0;
  }

  static CFileSMSImpl* Local(CSMSServiceImpl& service) { return service.m_pLocalSMS; }
  static CDeviceSMSImpl* Sim(CSMSServiceImpl& service) { return service.m_pSimSMS; }
  static CDeviceSMSImpl* Modem(CSMSServiceImpl& service) { return service.m_pNVSMS; }
  /// Nobody may be using the store.
  static void DropModemStore(CSMSServiceImpl& service) {
    delete service.m_pNVSMS;
    service.m_pNVSMS = nullptr;
  }
  static void DropLocalStore(CSMSServiceImpl& service) {
    delete service.m_pLocalSMS;
    service.m_pLocalSMS = nullptr;
  }
};
