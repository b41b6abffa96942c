// The plug-in library as a container has it: opened, used through its interfaces, closed.
#pragma once

#include "IBasePlugin.h"
#include "IPluginContainer.h"
#include "ISMSService.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>

class CLoadedPlugin {
public:
  CLoadedPlugin() : m_pLibrary(dlopen(SMS_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL)) {
    if (m_pLibrary == nullptr) {
      ADD_FAILURE() << dlerror();
      return;
    }
    m_pfnCreate = reinterpret_cast<PFN_CREATE_PLUGIN>(dlsym(m_pLibrary, "CreatePlugin"));
    m_pfnRelease = reinterpret_cast<PFN_RELEASE_PLUGIN>(dlsym(m_pLibrary, "ReleasePlugin"));
  }
  ~CLoadedPlugin() {
    if (m_pLibrary != nullptr) {
      dlclose(m_pLibrary);
    }
  }
  CLoadedPlugin(const CLoadedPlugin&) = delete;
  CLoadedPlugin& operator=(const CLoadedPlugin&) = delete;

  bool IsLoaded() const { return m_pfnCreate != nullptr && m_pfnRelease != nullptr; }
  IBasePlugin* Create() { return m_pfnCreate(); }
  void Release() { m_pfnRelease(); }

  /// Creates the plug-in, gives it the container, initialises it and asks for the service.
  ISMSService* Start(IPluginContainer& container) {
    m_pPlugin = Create();
    if (m_pPlugin == nullptr) {
      return nullptr;
    }
    m_pPlugin->SetPluginContainer(&container);
    return m_pPlugin->Init() ? Service() : nullptr;
  }
  ISMSService* Service() {
    IBaseInterface* service = nullptr;
    m_pPlugin->QueryInterface(0x1001, &service);
    return static_cast<ISMSService*>(service);
  }
  IBasePlugin* Plugin() { return m_pPlugin; }
  void Destroy() { m_pPlugin->OnDestroy(); }
  void End() {
    Destroy();
    Release();
    m_pPlugin = nullptr;
  }

private:
  void* m_pLibrary;
  PFN_CREATE_PLUGIN m_pfnCreate = nullptr;
  PFN_RELEASE_PLUGIN m_pfnRelease = nullptr;
  IBasePlugin* m_pPlugin = nullptr;
};
