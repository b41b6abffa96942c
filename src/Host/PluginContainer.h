// The container: loads plug-ins, lets them find each other, ends them.
#pragma once

#include "IPluginContainer.h"
#include "PluginLibrary.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace host {

/// Threads: Load and UnloadAll on one thread; QueryPluginInterface on any.
/// Errors:  a plug-in that fails at any step, throws or stands for an identifier that is taken is undone completely and
///          costs nobody else anything; one line for a person says which plug-in, which step and why.
class CPluginContainer : public IPluginContainer {
public:
  CPluginContainer();
  ~CPluginContainer() override;
  CPluginContainer(const CPluginContainer&) = delete;
  CPluginContainer& operator=(const CPluginContainer&) = delete;

  /// Whether a plug-in is made to work, or loaded for the services that work before Init too.
  enum class Begin { kInit, kNothing };

  /// Maps the library, then CreatePlugin, SetPluginContainer, Init; from then on look-ups find it.
  /// @param error  out: one line, when the result is false.
  bool Load(const std::string& path, std::string& error, Begin enBegin = Begin::kInit);
  /// In the reverse order of loading: OnDestroy for all while look-ups still work, then ReleasePlugin and unmapping.
  void UnloadAll();

  bool QueryPluginInterface(const char* pszCLSID, int iInterface, IBaseInterface** ppOut) override;

private:
  struct Plugin {
    std::string name;  // file name, for messages
    std::unique_ptr<CPluginLibrary> pLibrary;
    IBasePlugin* pObject = nullptr;
  };
  typedef std::map<std::string, IBasePlugin*> Directory;

  /// Runs one step; an exception becomes the error.
  template <class Step>
  static bool Run(const Plugin& plugin, const char* stepName, Step&& step, std::string& error);
  static std::vector<std::string> ClassIdentifiersOf(IBasePlugin& plugin);
  static std::string ReasonOf(IBasePlugin& plugin);
  bool Create(Plugin& plugin, Begin enBegin, std::string& error);
  bool Enter(const Plugin& plugin, std::string& error);
  void Forget(const Plugin& plugin);
  void Release(Plugin& plugin);
  std::shared_ptr<const Directory> CurrentDirectory() const;

  std::vector<Plugin> m_plugins;  // owner's thread only
  mutable std::mutex m_lock;
  std::shared_ptr<const Directory> m_pDirectory;  // guarded by m_lock; a new one is made for every change
};

}  // namespace host
