// The device manager.
#pragma once

#include "IBaseInterface.h"
#include "SMSDef.h"
#include "services/IDeviceMgrEvent.h"

namespace DevDataDef {
enum PinStatus {
  PIN_UNKNOWN = 0,
  PIN_DISABLED = 1,
  PIN_ENABLED_NOT_VERIFIED = 2,  ///< the SIM waits for its PIN
  PIN_BLOCKED = 3,               ///< the SIM waits for its PUK
  PIN_READY = 8
};
}  // namespace DevDataDef

/// Walk over the message memories that the device has.
class IDeviceMemIterator {
public:
  /// @return false: there is no such memory, CurrentMem() is not to be asked.
  virtual bool First() = 0;
  virtual bool Next() = 0;
  virtual SMS_MEM CurrentMem() = 0;
  virtual ~IDeviceMemIterator() {}
};

/// Threads: any. No call raises an event from inside itself.
class IDeviceMgr : public IBaseInterface {
public:
  virtual bool RegEventSink(IDeviceMgrEvent* pSink) = 0;
  virtual bool UnRegEventSink(IDeviceMgrEvent* pSink) = 0;
  /// 1: busy, leave the device alone; 0 otherwise.
  virtual int GetDeviceMgrState() = 0;
  virtual bool GetDoubleModeCardState(bool* pbState, DWORD* pdwExtra1 = nullptr, DWORD* pdwExtra2 = nullptr,
                                      DWORD* pdwExtra3 = nullptr) = 0;
  /// @param ppIterator  out: owned by the device manager, valid until the next call of the same thread.
  virtual bool GetMemIterator(IDeviceMemIterator** ppIterator) = 0;
  /// @param pdwPinTimes, pdwPukTimes  out: tries left while the card waits for a code, 0 when unknown; each may be null.
  virtual bool GetPinStatus(DevDataDef::PinStatus* penStatus, DWORD* pdwPinTimes, DWORD* pdwPukTimes) = 0;

protected:
  ~IDeviceMgr() {}
};

const char* const DEVICE_MGR_CLSID = "5D31EE0B-DA93-4641-BD21-7DCE3DB15D15";
const int DEVICE_MGR_INTERFACE = 1;
