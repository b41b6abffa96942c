// The host of one modem: the plug-ins loaded and the SMS service found.
#pragma once

#include "GsmFacts.h"
#include "ISMSService.h"
#include "PluginContainer.h"
#include "services/IDeviceMgr.h"
#include "services/IDeviceService.h"
#include "services/INetSrv.h"
#include "services/IShortMessage.h"

#include <string>

namespace host {

/// Whether the host drives the configured modem or works on the local boxes alone.
enum class Modem { kConfigured, kNone };

/// Life:    Start, use, Stop; may be started again. The destructor stops.
/// Threads: Start and Stop on one thread; the services as they say themselves.
class CHostSession {
public:
  /// @param bSettingsNamed  a person named the settings file, so it must exist.
  CHostSession(Modem enModem, bool bSettingsNamed);
  ~CHostSession();
  CHostSession(const CHostSession&) = delete;
  CHostSession& operator=(const CHostSession&) = delete;

  /// Checks the files that the settings name, then loads the plug-ins from the module folder.
  /// @param error  out: one line for a person, when the result is false; then nothing is loaded.
  bool Start(std::string& error);
  void Stop();

  /// The SMS service; never null after a successful Start().
  ISMSService& Service() { return *m_pService; }
  // Services of the modem; null without one.
  IShortMessage* ShortMessage() { return m_pShortMessage; }
  IDeviceService* Device() { return m_pDevice; }
  INetSrv* Network() { return m_pNetwork; }
  IDeviceMgr* DeviceManager() { return m_pDeviceManager; }

private:
  /// Answers the device facts itself when there is no modem.
  class CContainer : public CPluginContainer {
  public:
    explicit CContainer(Modem enModem) : m_enModem(enModem) {}
    bool QueryPluginInterface(const char* pszCLSID, int iInterface, IBaseInterface** ppOut) override;

  private:
    const Modem m_enModem;
    CGsmFacts m_facts;
  };

  bool LoadPlugins(std::string& error);
  bool FindServices(std::string& error);
  template <class Interface>
  Interface* Find(const char* pszCLSID, int iInterface);

  const Modem m_enModem;
  const bool m_bSettingsNamed;
  CContainer m_container;
  ISMSService* m_pService = nullptr;
  IShortMessage* m_pShortMessage = nullptr;
  IDeviceService* m_pDevice = nullptr;
  INetSrv* m_pNetwork = nullptr;
  IDeviceMgr* m_pDeviceManager = nullptr;
};

/// kConfigured when the settings or the command line name a modem's port, else kNone.
Modem ModemIfConfigured();

/// Looks at the files that the settings name.
/// @return empty, or one line for a person that names the file, the cause and what to do.
std::string CheckSettingsAndFiles(bool bSettingsNamed);

}  // namespace host
