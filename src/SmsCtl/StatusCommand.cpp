#include "Commands.h"

#include "HostSession.h"
#include "Text.h"
#include "platform/PlatformPaths.h"

#include <cstdio>

namespace smsctl {

namespace {

void Line(const char* what, const std::string& value) { std::printf("%-16s %s\n", what, value.c_str()); }

const char* SimText(IDeviceService& device, IDeviceMgr* manager) {
  SimState state = SIM_STATE_NONE;
  DevDataDef::PinStatus pin = DevDataDef::PIN_UNKNOWN;
  if (manager != nullptr && manager->GetPinStatus(&pin, nullptr, nullptr)) {
    if (pin == DevDataDef::PIN_ENABLED_NOT_VERIFIED) {
      return "waits for its PIN";
    }
    if (pin == DevDataDef::PIN_BLOCKED) {
      return "blocked, waits for its PUK";
    }
  }
  if (!device.GetSimState(&state, nullptr)) {
    return "cannot be asked";
  }
  return state == SIM_STATE_AVAILABLE || state == SIM_STATE_ROMSIM ? "ready" : "missing or not usable";
}

std::string NetworkText(INetSrv& network) {
  SysSrvStatus status = SYS_SRV_STATUS_NONE;
  if (!network.GetServerStatus(&status, nullptr)) {
    return "cannot be asked";
  }
  if (status != SYS_SRV_STATUS_SRV) {
    return status == SYS_SRV_STATUS_LIMITED ? "emergency calls only" : "no service";
  }
  NETSRV_DATA::PLMNType operatorCode;
  const bool known = network.GetCurrentPLMN(&operatorCode, nullptr);
  return known ? std::string("registered, operator ") + operatorCode.szPLMN : "registered";
}

std::string StoreText(ISMSService& service, int iStorage) {
  int capacity = 0;
  int used = 0;
  if (service.GetRecordInfo(capacity, used, iStorage) != ISMSService::SUCCESS) {
    return "cannot be read";
  }
  return std::to_string(used) + " of " + std::to_string(capacity) + " messages";
}

std::string CentreText(ISMSService& service) {
  ISMSSetting* setting = nullptr;
  VELK_wchar_t number[32] = {};
  if (service.GetSMSSetting(&setting) != ISMSService::SUCCESS || setting == nullptr ||
      setting->GetSMSCentreNumber(number, 31) < 0) {
    return "cannot be read";
  }
  return number[0] == 0 ? "not set" : ToUtf8(number);
}

void PrintStores(ISMSService& service, host::Modem modem) {
  if (modem == host::Modem::kConfigured) {
    Line("SIM memory", StoreText(service, NS_SMS::SMS_SIM));
    Line("Modem memory", StoreText(service, NS_SMS::SMS_NV));
  }
  Line("Local store", StoreText(service, NS_SMS::SMS_LOCAL));
}

}  // namespace

int Info(const host::HostOptions& options) {
  const host::Modem modem = host::ModemIfConfigured();
  host::CHostSession session(modem, !options.settingsFile.empty());
  std::string error;
  if (!session.Start(error)) {
    return Fail(error);
  }
  PrintStores(session.Service(), modem);
  return kDone;
}

int Status(const host::HostOptions& options) {
  host::CHostSession session(host::Modem::kConfigured, !options.settingsFile.empty());
  std::string error;
  if (!session.Start(error)) {
    return Fail(error);
  }
  ISMSService& service = session.Service();
  if (session.Device() != nullptr) {
    Line("SIM", SimText(*session.Device(), session.DeviceManager()));
  }
  if (session.Network() != nullptr) {
    Line("Network", NetworkText(*session.Network()));
  }
  Line("Service centre", CentreText(service));
  PrintStores(service, host::Modem::kConfigured);
  Line("Settings", GetPlatformPaths().strSettingsFile);
  Line("Trace", GetPlatformPaths().strLogFile);
  return kDone;
}

}  // namespace smsctl
