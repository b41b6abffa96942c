// A plug-in library and its two entry points.
#pragma once

#include "IBasePlugin.h"

#include <memory>
#include <string>

namespace host {

/// Owns the mapping: the library is unmapped when the object ends, so end everything that came out of it before.
/// Threads: one.
class CPluginLibrary {
public:
  /// Maps the library and finds both entry points before either is called.
  /// @param error  out: the reason, when the result is null.
  static std::unique_ptr<CPluginLibrary> Open(const std::string& path, std::string& error);
  ~CPluginLibrary();
  CPluginLibrary(const CPluginLibrary&) = delete;
  CPluginLibrary& operator=(const CPluginLibrary&) = delete;

  IBasePlugin* CreatePlugin() const { return m_pfnCreate(); }
  void ReleasePlugin() const { m_pfnRelease(); }

private:
  CPluginLibrary(void* handle, PFN_CREATE_PLUGIN pfnCreate, PFN_RELEASE_PLUGIN pfnRelease);

  void* const m_handle;
  const PFN_CREATE_PLUGIN m_pfnCreate;
  const PFN_RELEASE_PLUGIN m_pfnRelease;
};

}  // namespace host
