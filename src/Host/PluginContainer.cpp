#include "PluginContainer.h"

#include "IPluginDetails.h"

#include <cxxabi.h>
#include <exception>

namespace host {

namespace {

std::string FileNameOf(const std::string& path) { return path.substr(path.find_last_of('/') + 1); }

IPluginDetails* DetailsOf(IBasePlugin& plugin) {
  IBaseInterface* details = nullptr;
  if (!plugin.QueryInterface(PLUGIN_DETAILS_INTERFACE, &details)) {
    return nullptr;
  }
  return static_cast<IPluginDetails*>(details);
}

}  // namespace

CPluginContainer::CPluginContainer() : m_pDirectory(std::make_shared<Directory>()) {}

CPluginContainer::~CPluginContainer() { UnloadAll(); }

template <class Step>
bool CPluginContainer::Run(const Plugin& plugin, const char* stepName, Step&& step, std::string& error) {
  try {
    return step();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (const std::exception& exception) {
    error = plugin.name + ": " + stepName + " failed: " + exception.what();
  } catch (...) {
    error = plugin.name + ": " + stepName + " failed with an unknown exception";
  }
  return false;
}

bool CPluginContainer::Load(const std::string& path, std::string& error, Begin enBegin) {
  Plugin plugin;
  plugin.name = FileNameOf(path);
  std::string reason;
  plugin.pLibrary = CPluginLibrary::Open(path, reason);
  if (!plugin.pLibrary) {
    error = plugin.name + ": cannot be loaded: " + reason;
    return false;
  }
  if (!Create(plugin, enBegin, error) || !Enter(plugin, error)) {
    Release(plugin);
    return false;
  }
  m_plugins.push_back(std::move(plugin));
  return true;
}

bool CPluginContainer::Create(Plugin& plugin, Begin enBegin, std::string& error) {
  const auto fail = [&](const std::string& text) {
    error = plugin.name + ": " + text;
    return false;
  };
  if (!Run(
          plugin, "CreatePlugin", [&] { return plugin.pObject = plugin.pLibrary->CreatePlugin(), true; }, error)) {
    return false;
  }
  if (plugin.pObject == nullptr) {
    return fail("CreatePlugin made no plug-in");
  }
  const auto setContainer = [&] { return plugin.pObject->SetPluginContainer(this), true; };
  if (!Run(plugin, "SetPluginContainer", setContainer, error)) {
    return false;
  }
  error.clear();
  if (enBegin == Begin::kNothing) {
    return true;
  }
  if (Run(
          plugin, "Init", [&] { return plugin.pObject->Init(); }, error)) {
    return true;
  }
  if (!error.empty()) {
    return false;
  }
  std::string reason;
  Run(
      plugin, "Init", [&] { return reason = ReasonOf(*plugin.pObject), true; }, reason);
  return fail("Init failed: " + reason);
}

bool CPluginContainer::Enter(const Plugin& plugin, std::string& error) {
  const auto enter = [&] {
    const std::lock_guard<std::mutex> guard(m_lock);
    auto directory = std::make_shared<Directory>(*m_pDirectory);
    for (const std::string& classId : ClassIdentifiersOf(*plugin.pObject)) {
      if (!directory->emplace(classId, plugin.pObject).second) {
        error = plugin.name + ": its class identifier " + classId + " is taken by a plug-in that is loaded already";
        return false;
      }
    }
    m_pDirectory = directory;
    return true;
  };
  return Run(plugin, "GetCLSID", enter, error);
}

std::vector<std::string> CPluginContainer::ClassIdentifiersOf(IBasePlugin& plugin) {
  std::vector<std::string> identifiers;
  if (const char* own = plugin.GetCLSID()) {
    identifiers.push_back(own);
  }
  if (IPluginDetails* const details = DetailsOf(plugin)) {
    for (int index = 0; const char* further = details->GetFurtherCLSID(index); ++index) {
      identifiers.push_back(further);
    }
  }
  return identifiers;
}

std::string CPluginContainer::ReasonOf(IBasePlugin& plugin) {
  IPluginDetails* const details = DetailsOf(plugin);
  const std::string text = details == nullptr ? std::string() : details->GetErrorText();
  return text.empty() ? "error " + std::to_string(plugin.GetLastError()) : text;
}

void CPluginContainer::Forget(const Plugin& plugin) {
  const std::lock_guard<std::mutex> guard(m_lock);
  auto directory = std::make_shared<Directory>(*m_pDirectory);
  for (auto it = directory->begin(); it != directory->end();) {
    it = it->second == plugin.pObject ? directory->erase(it) : std::next(it);
  }
  m_pDirectory = directory;
}

void CPluginContainer::Release(Plugin& plugin) {
  std::string ignored;  // a plug-in that fails to end cannot be helped; the library goes all the same
  if (plugin.pObject != nullptr) {
    Run(
        plugin, "ReleasePlugin", [&] { return plugin.pLibrary->ReleasePlugin(), true; }, ignored);
    plugin.pObject = nullptr;
  }
  plugin.pLibrary.reset();
}

void CPluginContainer::UnloadAll() {
  std::string ignored;
  for (auto it = m_plugins.rbegin(); it != m_plugins.rend(); ++it) {
    Run(
        *it, "OnDestroy", [&] { return it->pObject->OnDestroy(), true; }, ignored);
  }
  while (!m_plugins.empty()) {
    Forget(m_plugins.back());
    Release(m_plugins.back());
    m_plugins.pop_back();
  }
}

std::shared_ptr<const CPluginContainer::Directory> CPluginContainer::CurrentDirectory() const {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_pDirectory;
}

bool CPluginContainer::QueryPluginInterface(const char* pszCLSID, int iInterface, IBaseInterface** ppOut) {
  if (pszCLSID == nullptr || ppOut == nullptr) {
    return false;
  }
  const auto directory = CurrentDirectory();
  const auto it = directory->find(pszCLSID);
  return it != directory->end() && it->second->QueryInterface(iInterface, ppOut);
}

}  // namespace host
