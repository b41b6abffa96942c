#include "PluginLibrary.h"

#include <dlfcn.h>

namespace host {

std::unique_ptr<CPluginLibrary> CPluginLibrary::Open(const std::string& path, std::string& error) {
  void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    error = dlerror();
    return nullptr;
  }
  const auto create = reinterpret_cast<PFN_CREATE_PLUGIN>(dlsym(handle, "CreatePlugin"));
  const auto release = reinterpret_cast<PFN_RELEASE_PLUGIN>(dlsym(handle, "ReleasePlugin"));
  if (create == nullptr || release == nullptr) {
    error = create == nullptr ? "it has no function CreatePlugin" : "it has no function ReleasePlugin";
    dlclose(handle);
    return nullptr;
  }
  return std::unique_ptr<CPluginLibrary>(new CPluginLibrary(handle, create, release));
}

CPluginLibrary::CPluginLibrary(void* handle, PFN_CREATE_PLUGIN pfnCreate, PFN_RELEASE_PLUGIN pfnRelease)
    : m_handle(handle), m_pfnCreate(pfnCreate), m_pfnRelease(pfnRelease) {}

CPluginLibrary::~CPluginLibrary() { dlclose(m_handle); }

}  // namespace host
