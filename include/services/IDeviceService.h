// Facts about the device.
#pragma once

#include "IBaseInterface.h"
#include "SMSDef.h"

/// State of the SIM; travels as one 32-bit integer with EVENT_SRV_SIM_STATE.
enum SimState : DWORD {
  SIM_STATE_INVALID = 0,
  SIM_STATE_AVAILABLE = 1,
  SIM_STATE_CS_INVALID = 2,
  SIM_STATE_ROMSIM = 240,
  SIM_STATE_NONE = 255
};

namespace DevDataDef {
enum DEVICE_STATUS { DEVICE_STATUS_UNKNOW = 0, DEVICE_STATUS_AVAILABLE = 3 };
}  // namespace DevDataDef

/// Device modes that GetDeviceMode() answers; the service tells only 0 and 2 (GSM family) from all others.
enum DEVICE_MODE { DEVICE_MODE_WCDMA = 0, DEVICE_MODE_CDMA = 1, DEVICE_MODE_GSM = 2 };

/// Threads: any.
class IDeviceService : public IBaseInterface {
public:
  virtual DevDataDef::PRODUCT_TYPE GetProductType() = 0;
  /// 0 or 2: GSM family; any other value: CDMA.
  virtual int GetDeviceMode() = 0;
  virtual DevDataDef::DEVICE_STATUS GetDeviceStatus() = 0;
  /// @return false: the state could not be asked.
  virtual bool GetSimState(SimState* penState, DWORD* pdwExtra) = 0;

protected:
  ~IDeviceService() {}
};

const char* const DEVICE_SERVICE_CLSID = "7ABB8FE8-F864-4c1b-9E21-D636795BD72B";
const int DEVICE_SERVICE_INTERFACE = 0x5001;
