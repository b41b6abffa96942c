// Doubles of the container and of the device plug-ins' services.
#pragma once

#include "Await.h"
#include "IPluginContainer.h"
#include "services/IDeviceMgr.h"
#include "services/IDeviceService.h"
#include "services/INetSrv.h"
#include "services/INotifyService.h"
#include "services/IShortMessage.h"

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// Answers look-ups from a table. Threads: any.
class CFakeContainer : public IPluginContainer {
public:
  bool QueryPluginInterface(const char* pszCLSID, int iInterface, IBaseInterface** ppOut) override;

  /// Null takes the service away.
  void Offer(const std::string& classId, int interfaceNumber, IBaseInterface* service);
  /// Every query throws an int.
  void ThrowOnQuery(bool bThrow) { m_bThrow = bThrow; }
  int QueryCount() const { return m_iQueries; }

private:
  CMonitor m_monitor;
  std::map<std::pair<std::string, int>, IBaseInterface*> m_services;
  std::atomic<bool> m_bThrow{false};
  std::atomic<int> m_iQueries{0};
};

/// Raises events from a thread of its own, in order, as a driver does.
class CFakeEventThread {
public:
  CFakeEventThread();
  ~CFakeEventThread();
  void Post(const std::function<void()>& task);
  /// Waits until everything posted so far has been done.
  bool Drain(int milliseconds = 5000);

private:
  void Run();

  CMonitor m_monitor;
  std::deque<std::function<void()>> m_tasks;
  bool m_bStop = false;
  bool m_bBusy = false;
  std::thread m_thread;
};

/// What the fake device does with a part.
enum class SendAnswer {
  kAccept,  // takes it, verdict: sent
  kFail,    // takes it, verdict: failed
  kRefuse,  // SMSSendMsg answers false
  kSilent,  // takes it, no verdict
  kThrow    // SMSSendMsg throws an int
};

/// The SMS device service with two memories. Everything is noted; operations named with FailNext fail. Threads: any.
class CFakeShortMessage : public IShortMessage {
public:
  // --- what the test says
  /// Decides per part; the default accepts. Called on the sending thread.
  void OnSend(const std::function<SendAnswer(const SMS_PARAM&)>& decide);
  /// The named operation ("SMSReadMsg", "SMSDeleteMsg", "SMSSaveMsg", "SMSGetMsgList", "SMSGetMemInfo", "GetWMSConfig",
  /// "SetWMSConfig", ...) answers false the next `times` times; -1: from now on; 0: no longer.
  void Fail(const std::string& operation, int times);
  /// The named operation throws an int, in the same way.
  void Throw(const std::string& operation, int times);
  /// Called at the start of the named operation, outside the fake's lock.
  void OnCall(const std::string& operation, const std::function<void()>& hook);
  void SetConfig(const WMSConfigurationType& config);
  void SetCapacity(SMS_MEM enMem, DWORD capacity);
  void SetAlterSupport(int iAnswer) { m_iAlterSupport = iAnswer; }
  /// Puts a message into a memory; answers its index.
  MSG_HANDLE Put(SMS_MEM enMem, const SMReadRecord& record);

  // --- what the test asks
  std::vector<SMS_PARAM> Sent() const;
  bool AwaitSent(int count, int milliseconds = 5000) const;
  std::vector<SMReadRecord> Held(SMS_MEM enMem) const;
  std::vector<MSG_HANDLE> HeldIndexes(SMS_MEM enMem) const;
  WMSConfigurationType Config() const;
  std::vector<SmsBear> Bearers() const;
  int Calls(const std::string& operation) const;
  bool AwaitCalls(const std::string& operation, int count, int milliseconds = 5000) const;
  /// Every call in order, as "SMSDeleteMsg 0 3"; sends as "SMSSendMsg number part/total text".
  std::vector<std::string> CallLines() const;
  int SinkCount() const;

  // --- events
  /// Raises an event on the calling thread.
  bool Raise(unsigned long dwEvent, void* pData);
  /// Raises an event with one 32-bit integer.
  bool RaiseNumber(unsigned long dwEvent, DWORD dwValue);
  /// Waits until every verdict that is due has been raised.
  bool DrainVerdicts(int milliseconds = 5000) { return m_events.Drain(milliseconds); }

  // --- IShortMessage
  void Release() override {}
  int GetLastError() override { return 0; }
  bool RegEventSink(IUniCommEvent* pSink) override;
  bool UnRegEventSink(IUniCommEvent* pSink) override;
  bool SMSSendMsg(const SMS_PARAM& stParam, DWORD* pdwResult) override;
  bool SMSSetBearer(SmsBear enBear, DWORD* pdwResult) override;
  bool GetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) override;
  bool SetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) override;
  bool SMSGetMsgList(SMS_MEM enMem, SMS_LIST* pstList, DWORD* pdwStatus) override;
  void SMSReleaseMsgList(SMS_LIST* pstList) override;
  using IShortMessage::SMSReadMsg;
  bool SMSReadMsg(SMS_MEM enMem, MSG_HANDLE* phMsg, SMReadRecord* pstRecord, int iAlterMode, DWORD* pdwStatus) override;
  bool SMSDeleteMsg(SMS_MEM enMem, MSG_HANDLE hMsg, DWORD* pdwStatus) override;
  bool SMSSaveMsg(SMS_MEM enMem, SMS_PARAM* pstParam, MSG_HANDLE* phMsg, DWORD* pdwStatus) override;
  bool SMSGetMemInfo(SMS_MEM enMem, DWORD* pdwTotal, DWORD* pdwUsed, DWORD* pdwStatus) override;
  int SMSGetAlterSupport(int iQuery, DWORD* pdwStatus) override;
  bool CBSSetService(CBSStat enStat, DWORD* pdwStatus) override;
  bool CBSGetDetail(CBSStat* penStat, CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) override;
  bool CBSReleaseDetail(CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) override;
  bool CBSAddChannel(const char* pszChannels, const char* pszCodings, DWORD* pdwStatus) override;
  bool CBSRemoveChannel(const char* pszChannels, DWORD* pdwStatus) override;

private:
  struct Memory {
    DWORD capacity = 20;
    MSG_HANDLE next = 1;
    std::map<MSG_HANDLE, SMReadRecord> messages;
  };
  /// Notes the call, runs its hook, throws when asked to. @return false: the operation shall fail.
  bool Enter(const std::string& operation, const std::string& arguments);
  static bool TakeOne(std::map<std::string, int>& counters, const std::string& operation);

  CMonitor m_monitor;
  std::vector<IUniCommEvent*> m_sinks;
  std::function<SendAnswer(const SMS_PARAM&)> m_decide;
  std::map<std::string, std::function<void()>> m_hooks;
  std::map<std::string, int> m_failures;
  std::map<std::string, int> m_throws;
  std::map<std::string, int> m_calls;
  std::vector<std::string> m_lines;
  std::vector<SMS_PARAM> m_sent;
  std::vector<SmsBear> m_bearers;
  WMSConfigurationType m_config;
  Memory m_memories[2];
  std::atomic<int> m_iAlterSupport{0};
  CFakeEventThread m_events;  // last: ends before what it uses
};

/// Facts about the device, settable at any time.
class CFakeDeviceService : public IDeviceService {
public:
  std::atomic<DevDataDef::PRODUCT_TYPE> m_enProduct{DevDataDef::PRODUCT_TYPE_WCDMA};
  std::atomic<int> m_iMode{0};
  std::atomic<DevDataDef::DEVICE_STATUS> m_enStatus{DevDataDef::DEVICE_STATUS_AVAILABLE};
  std::atomic<SimState> m_enSim{SIM_STATE_AVAILABLE};
  std::atomic<bool> m_bSimQueryFails{false};

  void Release() override {}
  int GetLastError() override { return 0; }
  DevDataDef::PRODUCT_TYPE GetProductType() override { return m_enProduct; }
  int GetDeviceMode() override { return m_iMode; }
  DevDataDef::DEVICE_STATUS GetDeviceStatus() override { return m_enStatus; }
  bool GetSimState(SimState* penState, DWORD* pdwExtra) override;
};

/// The network service.
class CFakeNetService : public INetSrv {
public:
  std::atomic<SysSrvStatus> m_enStatus{SYS_SRV_STATUS_SRV};
  std::atomic<bool> m_bStatusQueryFails{false};
  std::atomic<bool> m_bPlmnQueryFails{false};
  void SetPlmn(const std::string& code);
  bool Raise(unsigned long dwEvent, void* pData);
  bool RaiseNumber(unsigned long dwEvent, DWORD dwValue) { return Raise(dwEvent, &dwValue); }
  int SinkCount() const;

  void Release() override {}
  int GetLastError() override { return 0; }
  bool RegEventSink(IUniCommEvent* pSink) override;
  bool UnRegEventSink(IUniCommEvent* pSink) override;
  bool GetServerStatus(SysSrvStatus* penStatus, DWORD* pdwExtra) override;
  bool GetCurrentPLMN(NETSRV_DATA::PLMNType* pstPLMN, DWORD* pdwExtra) override;

private:
  CMonitor m_monitor;
  std::vector<IUniCommEvent*> m_sinks;
  std::string m_strPlmn = "26201";
};

/// The device manager.
class CFakeDeviceMgr : public IDeviceMgr {
public:
  std::atomic<int> m_iState{0};
  std::atomic<bool> m_bDoubleMode{false};
  std::atomic<bool> m_bHasSim{true};
  std::atomic<bool> m_bHasModemMemory{true};
  std::atomic<DevDataDef::PinStatus> m_enPin{DevDataDef::PIN_READY};
  bool Raise(unsigned long dwEvent, void* pData = nullptr);
  int SinkCount() const;

  void Release() override {}
  int GetLastError() override { return 0; }
  bool RegEventSink(IDeviceMgrEvent* pSink) override;
  bool UnRegEventSink(IDeviceMgrEvent* pSink) override;
  int GetDeviceMgrState() override { return m_iState; }
  bool GetDoubleModeCardState(bool* pbState, DWORD*, DWORD*, DWORD*) override;
  bool GetMemIterator(IDeviceMemIterator** ppIterator) override;
  bool GetPinStatus(DevDataDef::PinStatus* penStatus, DWORD* pdwPinTimes, DWORD* pdwPukTimes) override;

private:
  CMonitor m_monitor;
  std::vector<IDeviceMgrEvent*> m_sinks;
  std::vector<std::unique_ptr<IDeviceMemIterator>> m_iterators;
};

/// A whole device behind a container: all four services offered.
struct CFakeDevice {
  CFakeContainer container;
  CFakeShortMessage sms;
  CFakeDeviceService device;
  CFakeNetService net;
  CFakeDeviceMgr manager;

  CFakeDevice();
  void OfferSms(bool bThere);
  void OfferDevice(bool bThere);
  void OfferNet(bool bThere);
  void OfferManager(bool bThere);
};

/// A received message as a device would hold it.
SMReadRecord MakeReadRecord(const std::string& number, const VELK_wstring& content, SMS_STAT enStat = SMS_STAT_UNREAD);
/// One part of a long message.
SMReadRecord MakeReadPart(const std::string& number, const VELK_wstring& content, BYTE btMR, BYTE btTotal, BYTE btPack);
