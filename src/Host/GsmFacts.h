// Facts of a device of the GSM family, for work without a modem.
#pragma once

#include "services/IDeviceService.h"

namespace host {

/// Lets texts be divided and counted as for a GSM modem; says that no device and no SIM are there. Threads: any.
class CGsmFacts : public IDeviceService {
public:
  void Release() override {}
  int GetLastError() override { return 0; }
  DevDataDef::PRODUCT_TYPE GetProductType() override { return DevDataDef::PRODUCT_TYPE_WCDMA; }
  int GetDeviceMode() override { return DEVICE_MODE_WCDMA; }
  DevDataDef::DEVICE_STATUS GetDeviceStatus() override { return DevDataDef::DEVICE_STATUS_UNKNOW; }
  bool GetSimState(SimState* penState, DWORD* /*pdwExtra*/) override {
    *penState = SIM_STATE_NONE;
    return true;
  }
};

}  // namespace host
