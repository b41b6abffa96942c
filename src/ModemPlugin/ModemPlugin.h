// The plug-in object of the modem driver.
#pragma once

#include "DeviceServices.h"
#include "IBasePlugin.h"
#include "IPluginDetails.h"
#include "MessageService.h"
#include "ModemPort.h"
#include "RecordedStream.h"
#include "UdevBus.h"

#include <string>

namespace modem {

/// Drives the modem that the setting "ModemPlugin"/"Device" names, from Init until OnDestroy. Needs nothing of the
/// container.
class CModemPlugin : public IBasePlugin, public IPluginDetails {
public:
  CModemPlugin();
  ~CModemPlugin() noexcept override;

  void Release() override {}
  int GetLastError() override { return m_strError.empty() ? 0 : 1; }
  void SetPluginContainer(IPluginContainer* /*pContainer*/) override {}
  /// Opens the port and starts the modem; may take some seconds.
  bool Init() override;
  bool QueryInterface(int iInterface, IBaseInterface** ppOut) override;
  E_PLUGIN_TYPE GetPluginType() override { return OPERATION; }
  const char* GetCLSID() override { return SHORT_MESSAGE_CLSID; }
  unsigned long GetVersion() override { return 1; }
  const char* GetPluginName() override { return "ModemPlugin"; }
  bool IsAllowRelease() override { return true; }
  void OnDestroy() override;

  const char* GetFurtherCLSID(int iIndex) override;
  const char* GetErrorText() override { return m_strError.c_str(); }

private:
  std::unique_ptr<IByteStream> OpenLine(std::string& error);

  CUdevBus m_bus;
  CModemFinder m_finder;
  CModemPort m_port;
  CRecording m_recording;
  bool m_bOpened = false;  // the line, at the last try
  CModem m_modem;
  CMessageService m_messages;
  CDeviceService m_device;
  CNetworkService m_network;
  CDeviceManager m_manager;
  std::string m_strError;
};

}  // namespace modem
