// The five look-ups: every use asks the container afresh.
#include "utils.h"

#include "CatchAll.h"
#include "IPluginContainer.h"
#include "SMSPluginImpl.h"
#include "services/IDeviceMgr.h"
#include "services/IDeviceService.h"
#include "services/INetSrv.h"
#include "services/INotifyService.h"
#include "services/IShortMessage.h"

namespace {

template <class Service>
Service* LookUp(const char* pszCLSID, int iInterface) {
  try {
    IPluginContainer* const pContainer = CSMSPluginImpl::GetPluginContainer();
    if (pContainer == nullptr) {
      return nullptr;
    }
    IBaseInterface* pInterface = nullptr;
    pContainer->QueryPluginInterface(pszCLSID, iInterface, &pInterface);
    return static_cast<Service*>(pInterface);
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return nullptr; }
}

}  // namespace

INotifyService* GetNotifyService() { return LookUp<INotifyService>(NOTIFY_SERVICE_CLSID, NOTIFY_SERVICE_INTERFACE); }

IShortMessage* GetSmsService() { return LookUp<IShortMessage>(SHORT_MESSAGE_CLSID, SHORT_MESSAGE_INTERFACE); }

IDeviceService* GetDeviceService() { return LookUp<IDeviceService>(DEVICE_SERVICE_CLSID, DEVICE_SERVICE_INTERFACE); }

INetSrv* GetNetService() { return LookUp<INetSrv>(NET_SERVICE_CLSID, NET_SERVICE_INTERFACE); }

IDeviceMgr* GetDeviceMgr() { return LookUp<IDeviceMgr>(DEVICE_MGR_CLSID, DEVICE_MGR_INTERFACE); }
