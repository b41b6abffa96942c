// The plug-in object that the container sees.
#pragma once

#include "IBasePlugin.h"

/// Answers the container; the services behind it are singletons of their own.
/// Threads: as IBasePlugin. The container pointer is a plain one: set before the first service is asked for.
class CSMSPluginImpl : public IBasePlugin {
public:
  CSMSPluginImpl();
  /// Forgets the container: no look-up reaches it afterwards.
  ~CSMSPluginImpl() noexcept override;
  CSMSPluginImpl(const CSMSPluginImpl&) = delete;
  CSMSPluginImpl& operator=(const CSMSPluginImpl&) = delete;

  /// Does nothing: the object lives until ReleasePlugin.
  void Release() override;
  int GetLastError() override;

  void SetPluginContainer(IPluginContainer* pContainer) override;
  bool Init() override;
  /// Answers 0x1001, the message service, and nothing else; makes the service on first use.
  /// Result true with a null interface: the service could not be made.
  bool QueryInterface(int iInterface, IBaseInterface** ppOut) override;
  E_PLUGIN_TYPE GetPluginType() override;
  const char* GetCLSID() override;
  unsigned long GetVersion() override;
  const char* GetPluginName() override;
  bool IsAllowRelease() override;
  /// Ends the service, then the settings.
  void OnDestroy() override;

  /// The container given by the host, for the whole library; null before that.
  static IPluginContainer* GetPluginContainer();

private:
  int m_iError;
  static IPluginContainer* m_pIPluginContainer;
};
