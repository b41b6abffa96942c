// A device store on a fake device, with a service that has threads and registrations of its own switched off.
#pragma once

#include "DeviceSMSImpl.h"
#include "FakeClient.h"
#include "FakeServices.h"
#include "IBasePlugin.h"
#include "SMSFactory.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "SMSServiceImpl.h"
#include "StoreSupport.h"
#include "TempHome.h"
#include "TraceCapture.h"

#include <string>
#include <vector>

/// Keep new messages on the device; without it they are moved to the local store.
inline const char* const kKeepOnDevice = "[SMSSERVICE]\nReceviceMode=0\n";

class CDeviceHome {
public:
  explicit CDeviceHome(const std::string& settings = kKeepOnDevice) {
    home.WriteSettings(settings);
    device.OfferSms(false);  // the service stays without registrations: only the store under test asks the device
    device.OfferManager(false);
    m_pPlugin = CSMSFactory::CreatePluginInstance();
    m_pPlugin->SetPluginContainer(&device.container);
    m_pService = CSMSServiceImpl::instance();
    device.OfferSms(true);
    device.OfferManager(true);
  }
  ~CDeviceHome() {
    m_pPlugin->OnDestroy();
    CSMSFactory::ReleasePluginInstance();
  }
  CDeviceHome(const CDeviceHome&) = delete;
  CDeviceHome& operator=(const CDeviceHome&) = delete;

  CSMSServiceImpl* Service() { return m_pService; }
  /// Contents of the local store.
  std::vector<std::string> Local() {
    return Contents(*static_cast<CSMSRecordSetImpl*>(m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)));
  }
  std::vector<CSMSRecordImpl> LocalRecords() {
    return Records(*static_cast<CSMSRecordSetImpl*>(m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)));
  }

  CTempHome home;
  CFakeDevice device;

private:
  IBasePlugin* m_pPlugin = nullptr;
  CSMSServiceImpl* m_pService = nullptr;
};

/// Contents of a device store's mirror.
inline std::vector<std::string> Mirror(CDeviceSMSImpl& store) { return Contents(*store.GetReocrdList()); }

inline SMReadRecord MakeKind(SMS_IDENTIFYER enType, const VELK_wstring& content, SMS_STAT enStat = SMS_STAT_UNREAD) {
  SMReadRecord record = MakeReadRecord("+49171", content, enStat);
  record.enType = enType;
  return record;
}
