#include "HostSession.h"

#include "platform/GlobalFunction.h"
#include "platform/PlatformPaths.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace host {

namespace {

const char kSmsPluginClassId[] = "AB349C02-A88F-4ef5-A44A-F178B9FAAF35";
const int kSmsServiceInterface = 0x1001;
const char kModemPlugin[] = "ModemPlugin.so";
const char kSmsPlugin[] = "SmsAppPlugin.so";

std::string SettingUtf8(const VELK_wchar_t* section, const VELK_wchar_t* key) {
  const int length = CGlobalFunction::GetSetting(section, key, nullptr, 0);
  VELK_wstring value(static_cast<std::size_t>(length) + 1, 0);
  CGlobalFunction::GetSetting(section, key, &value[0], length + 1);
  const int octets = CGlobalFunction::WideCharToMultiByte(value.c_str(), nullptr, 0, 0);
  std::string text(static_cast<std::size_t>(octets), '\0');
  CGlobalFunction::WideCharToMultiByte(value.c_str(), &text[0], octets, 0);
  return text;
}

std::string ModuleDirectory() { return GetPlatformPaths().strModuleDir + "/"; }

/// Empty when the file can be read, else the cause.
std::string WhyUnreadable(const std::string& path) {
  struct stat facts;
  if (stat(path.c_str(), &facts) != 0) {
    return std::strerror(errno);
  }
  if (!S_ISREG(facts.st_mode)) {
    return "not a file";
  }
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    return std::strerror(errno);
  }
  close(descriptor);
  return std::string();
}

std::string CheckCharacterMap() {
  const std::string name = SettingUtf8(u"customize", u"smscharmap");
  if (name.empty()) {
    return std::string();
  }
  const std::string path = ModuleDirectory() + "config/" + name;
  const std::string cause = WhyUnreadable(path);
  if (cause.empty()) {
    return std::string();
  }
  return "cannot read the character map " + path + ": " + cause +
         ". Put the file there, or remove \"smscharmap\" from "
         "section [customize] of " +
         GetPlatformPaths().strSettingsFile + ".";
}

}  // namespace

Modem ModemIfConfigured() { return SettingUtf8(u"ModemPlugin", u"Device").empty() ? Modem::kNone : Modem::kConfigured; }

std::string CheckSettingsAndFiles(bool bSettingsNamed) {
  const std::string settings = CGlobalFunction::CheckSettings(bSettingsNamed);
  return settings.empty() ? CheckCharacterMap() : settings;
}

bool CHostSession::CContainer::QueryPluginInterface(const char* pszCLSID, int iInterface, IBaseInterface** ppOut) {
  const bool facts = m_enModem == Modem::kNone && pszCLSID != nullptr && ppOut != nullptr &&
                     iInterface == DEVICE_SERVICE_INTERFACE && std::strcmp(pszCLSID, DEVICE_SERVICE_CLSID) == 0;
  if (facts) {
    *ppOut = &m_facts;
    return true;
  }
  return CPluginContainer::QueryPluginInterface(pszCLSID, iInterface, ppOut);
}

CHostSession::CHostSession(Modem enModem, bool bSettingsNamed)
    : m_enModem(enModem), m_bSettingsNamed(bSettingsNamed), m_container(enModem) {}

CHostSession::~CHostSession() { Stop(); }

bool CHostSession::Start(std::string& error) {
  error = CheckSettingsAndFiles(m_bSettingsNamed);
  if (error.empty() && LoadPlugins(error) && FindServices(error)) {
    return true;
  }
  Stop();
  return false;
}

bool CHostSession::LoadPlugins(std::string& error) {
  if (m_enModem == Modem::kConfigured && !m_container.Load(ModuleDirectory() + kModemPlugin, error)) {
    return false;
  }
  return m_container.Load(ModuleDirectory() + kSmsPlugin, error);
}

template <class Interface>
Interface* CHostSession::Find(const char* pszCLSID, int iInterface) {
  IBaseInterface* found = nullptr;
  m_container.QueryPluginInterface(pszCLSID, iInterface, &found);
  return static_cast<Interface*>(found);
}

bool CHostSession::FindServices(std::string& error) {
  m_pService = Find<ISMSService>(kSmsPluginClassId, kSmsServiceInterface);
  if (m_pService == nullptr) {
    error = std::string(kSmsPlugin) + ": QueryInterface gave no SMS service; see " + GetPlatformPaths().strLogFile;
    return false;
  }
  if (m_enModem == Modem::kConfigured) {
    m_pShortMessage = Find<IShortMessage>(SHORT_MESSAGE_CLSID, SHORT_MESSAGE_INTERFACE);
    m_pDevice = Find<IDeviceService>(DEVICE_SERVICE_CLSID, DEVICE_SERVICE_INTERFACE);
    m_pNetwork = Find<INetSrv>(NET_SERVICE_CLSID, NET_SERVICE_INTERFACE);
    m_pDeviceManager = Find<IDeviceMgr>(DEVICE_MGR_CLSID, DEVICE_MGR_INTERFACE);
  }
  return true;
}

void CHostSession::Stop() {
  m_pService = nullptr;
  m_pShortMessage = nullptr;
  m_pDevice = nullptr;
  m_pNetwork = nullptr;
  m_pDeviceManager = nullptr;
  m_container.UnloadAll();
}

}  // namespace host
