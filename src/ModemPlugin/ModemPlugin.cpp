#include "ModemPlugin.h"

#include "Guarded.h"
#include "LineAddress.h"
#include "LineSettings.h"
#include "SerialPort.h"
#include "TcpPort.h"

namespace modem {

namespace {

std::unique_ptr<IByteStream> OpenConfigured(std::string& error) {
  LineAddress address;
  SerialSettings serial;
  if (!ParseAddress(ConfiguredDevice(), address, error) || !LoadSerialSettings(serial, error)) {
    return nullptr;
  }
  if (address.kind == LineAddress::Kind::kTcp) {
    return CTcpPort::Open(address.host, address.port, error);
  }
  return CSerialPort::Open(address.text, error, serial);
}

CModemPlugin* g_pPlugin = nullptr;

}  // namespace

CModemPlugin::CModemPlugin()
    : m_modem(OpenConfigured), m_messages(m_modem), m_device(m_modem), m_network(m_modem), m_manager(m_modem) {}

CModemPlugin::~CModemPlugin() noexcept = default;

bool CModemPlugin::Init() {
  m_strError = "out of memory";  // unless it is known better
  return Guarded([this] {
    if (m_modem.Start(m_strError)) {
      m_strError.clear();
      return true;
    }
    const std::string path = ConfiguredDevice();
    if (m_strError.find(path) == std::string::npos) {
      m_strError = path + " " + m_strError;  // what the modem did or did not do
    }
    return false;
  });
}

bool CModemPlugin::QueryInterface(int iInterface, IBaseInterface** ppOut) {
  if (ppOut == nullptr) {
    return false;
  }
  switch (iInterface) {
    case SHORT_MESSAGE_INTERFACE:
      *ppOut = static_cast<IShortMessage*>(&m_messages);
      return true;
    case DEVICE_SERVICE_INTERFACE:
      *ppOut = static_cast<IDeviceService*>(&m_device);
      return true;
    case NET_SERVICE_INTERFACE:
      *ppOut = static_cast<INetSrv*>(&m_network);
      return true;
    case DEVICE_MGR_INTERFACE:
      *ppOut = static_cast<IDeviceMgr*>(&m_manager);
      return true;
    case PLUGIN_DETAILS_INTERFACE:
      *ppOut = static_cast<IPluginDetails*>(this);
      return true;
    default:
      return false;
  }
}

void CModemPlugin::OnDestroy() {
  Guarded([this] { m_modem.Stop(); });
}

const char* CModemPlugin::GetFurtherCLSID(int iIndex) {
  switch (iIndex) {
    case 0:
      return DEVICE_SERVICE_CLSID;
    case 1:
      return NET_SERVICE_CLSID;
    case 2:
      return DEVICE_MGR_CLSID;
    default:
      return nullptr;
  }
}

}  // namespace modem

extern "C" __attribute__((visibility("default"))) IBasePlugin* CreatePlugin() {
  return modem::Guarded([]() -> IBasePlugin* {
    if (modem::g_pPlugin == nullptr) {
      modem::g_pPlugin = new modem::CModemPlugin;
    }
    return modem::g_pPlugin;
  });
}

extern "C" __attribute__((visibility("default"))) void ReleasePlugin() {
  delete modem::g_pPlugin;
  modem::g_pPlugin = nullptr;
}
