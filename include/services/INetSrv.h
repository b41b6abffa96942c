// The network service.
#pragma once

#include "IBaseInterface.h"
#include "VelkTypes.h"
#include "services/IUniCommEvent.h"

namespace NETSRV_DATA {

/// Events of the network service, with what pData points to.
enum _VELK_EN_NETSRV_EVENTID {
  EVENT_NET_SERVER_STATUS = 4,  ///< DWORD: SysSrvStatus
  EVENT_SRV_SIM_STATE = 6,      ///< DWORD: SimState
  EVENT_SRV_MS_AVAILABLE = 8,   ///< none: the device can be used
  EVENT_SRV_MS_UNAVAILABLE = 9  ///< none: the device is gone
};

struct PLMNType {
  char szPLMN[8] = {};  // operator code, five or six ASCII digits
};

}  // namespace NETSRV_DATA

/// Service that the network grants.
enum SysSrvStatus : DWORD { SYS_SRV_STATUS_NONE = 0, SYS_SRV_STATUS_LIMITED = 1, SYS_SRV_STATUS_SRV = 2 };

/// Threads: any. No call raises an event from inside itself.
class INetSrv : public IBaseInterface {
public:
  virtual bool RegEventSink(IUniCommEvent* pSink) = 0;
  virtual bool UnRegEventSink(IUniCommEvent* pSink) = 0;
  /// @return false: the state could not be asked.
  virtual bool GetServerStatus(SysSrvStatus* penStatus, DWORD* pdwExtra) = 0;
  /// Operator code of the present network.
  virtual bool GetCurrentPLMN(NETSRV_DATA::PLMNType* pstPLMN, DWORD* pdwExtra) = 0;

protected:
  ~INetSrv() {}
};

const char* const NET_SERVICE_CLSID = "385BDF98-9AA3-4121-9FBB-CACB1CD9608C";
const int NET_SERVICE_INTERFACE = 5;
