#include "ModemPlugin.h"

#include "Guarded.h"
#include "SerialPort.h"
#include "platform/GlobalFunction.h"

namespace modem {

namespace {

std::string ConfiguredDevice() {
  const VELK_wchar_t* const module = u"ModemPlugin";
  const VELK_wchar_t* const item = u"Device";
  const int length = CGlobalFunction::GetSetting(module, item, nullptr, 0);
  VELK_wstring wide(static_cast<std::size_t>(length) + 1, 0);
  CGlobalFunction::GetSetting(module, item, &wide[0], length);
  const int octets = CGlobalFunction::WideCharToMultiByte(wide.c_str(), nullptr, 0, 0);
  std::string path(static_cast<std::size_t>(octets), '\0');
  CGlobalFunction::WideCharToMultiByte(wide.c_str(), &path[0], octets, 0);
  return path;
}

std::unique_ptr<IByteStream> OpenConfigured(std::string& error) {
  const std::string path = ConfiguredDevice();
  if (path.empty()) {
    error = "no modem is named. Name its port with --device, e.g. --device /dev/ttyUSB2.";
    return nullptr;
  }
  return CSerialPort::Open(path, error);
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
