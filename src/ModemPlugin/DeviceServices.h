// Device, network and device-manager services: facts that the modem told.
#pragma once

#include "Modem.h"

namespace modem {

class CDeviceService : public IDeviceService {
public:
  explicit CDeviceService(CModem& modem) : m_modem(modem) {}
  void Release() override {}
  int GetLastError() override { return 0; }
  DevDataDef::PRODUCT_TYPE GetProductType() override { return DevDataDef::PRODUCT_TYPE_WCDMA; }
  int GetDeviceMode() override { return DEVICE_MODE_WCDMA; }
  DevDataDef::DEVICE_STATUS GetDeviceStatus() override;
  bool GetSimState(SimState* penState, DWORD* pdwExtra) override;

private:
  CModem& m_modem;
};

class CNetworkService : public INetSrv {
public:
  explicit CNetworkService(CModem& modem) : m_modem(modem) {}
  void Release() override {}
  int GetLastError() override { return 0; }
  bool RegEventSink(IUniCommEvent* pSink) override;
  bool UnRegEventSink(IUniCommEvent* pSink) override;
  bool GetServerStatus(SysSrvStatus* penStatus, DWORD* pdwExtra) override;
  bool GetCurrentPLMN(NETSRV_DATA::PLMNType* pstPLMN, DWORD* pdwExtra) override;

private:
  CModem& m_modem;
};

/// Tells what becomes of the modem beside its loss and return, which the network service tells
/// (EVENT_SRV_MS_UNAVAILABLE, EVENT_SRV_MS_AVAILABLE): everybody does on EVENT_DEVICE_REJECT what was done for the
/// loss, so that is raised only when a modem is there and cannot be used.
class CDeviceManager : public IDeviceMgr {
public:
  explicit CDeviceManager(CModem& modem) : m_modem(modem) {}
  void Release() override {}
  int GetLastError() override { return 0; }
  bool RegEventSink(IDeviceMgrEvent* pSink) override;
  bool UnRegEventSink(IDeviceMgrEvent* pSink) override;
  int GetDeviceMgrState() override { return 0; }
  bool GetDoubleModeCardState(bool* pbState, DWORD* pdwExtra1, DWORD* pdwExtra2, DWORD* pdwExtra3) override;
  bool GetMemIterator(IDeviceMemIterator** ppIterator) override;
  bool GetPinStatus(DevDataDef::PinStatus* penStatus, DWORD* pdwPinTimes, DWORD* pdwPukTimes) override;

private:
  CModem& m_modem;
  std::mutex m_lock;
  std::map<unsigned long, std::unique_ptr<IDeviceMemIterator>> m_iterators;  // by thread; guarded by m_lock
};

}  // namespace modem
