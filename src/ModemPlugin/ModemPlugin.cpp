#include "ModemPlugin.h"

#include "Guarded.h"
#include "LineAddress.h"
#include "LineSettings.h"
#include "SerialPort.h"

namespace modem {

namespace {

std::unique_ptr<IByteStream> OpenPort(const std::string& path, std::string& error) {
  SerialSettings settings;
  return LoadSerialSettings(settings, error) ? CSerialPort::Open(path, error, settings) : nullptr;
}

PortAnswer Probe(const std::string& path) { return ProbePort(path, OpenPort); }

CModemPlugin* g_pPlugin = nullptr;

}  // namespace

CModemPlugin::CModemPlugin()
    : m_finder(m_bus, Probe),
      m_port({m_bus, Probe, OpenPort}),
      m_modem([this](std::string& error) { return OpenLine(error); }),
      m_messages(m_modem),
      m_device(m_modem),
      m_network(m_modem),
      m_manager(m_modem) {}

CModemPlugin::~CModemPlugin() noexcept = default;

std::unique_ptr<IByteStream> CModemPlugin::OpenLine(std::string& error) {
  LineAddress address;
  auto stream = ParseAddress(ConfiguredDevice(), address, error) ? m_port.Open(address, error) : nullptr;
  const std::string record = ConfiguredRecord();
  if (stream != nullptr && !record.empty()) {
    stream = m_recording.Begin(std::move(stream), record, !IsRecordUnmasked(), error);
  }
  m_bOpened = stream != nullptr;
  return stream;
}

bool CModemPlugin::Init() {
  m_strError = "out of memory";  // unless it is known better
  return Guarded([this] {
    if (m_modem.Start(m_strError)) {
      m_strError.clear();
      m_port.Watch([this](bool bPresent) { m_modem.SetPresent(bPresent); });
      return true;
    }
    if (m_bOpened) {
      m_strError = ConfiguredDevice() + " " + m_strError;  // what the modem did or did not do
    }
    m_recording = CRecording();
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
    case MODEM_FINDER_INTERFACE:
      *ppOut = static_cast<IModemFinder*>(&m_finder);
      return true;
    default:
      return false;
  }
}

void CModemPlugin::OnDestroy() {
  Guarded([this] {
    m_port.EndWatch();
    m_modem.Stop();
    m_recording = CRecording();
  });
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
