// A plug-in that notes every step in the journal file and fails at the step that STEP_FAULT names.

#include "IBasePlugin.h"
#include "IPluginContainer.h"
#include "IPluginDetails.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#ifndef STEP_CLSID
#define STEP_CLSID "11111111-0000-0000-0000-000000000001"
#endif

namespace {

const std::string kFault = STEP_FAULT;

void Step(const std::string& step) {
  if (const char* path = std::getenv("SMS_TEST_JOURNAL")) {
    if (std::FILE* file = std::fopen(path, "a")) {
      std::fprintf(file, "%s %s\n", STEP_NAME, step.c_str());
      std::fclose(file);
    }
  }
  if (kFault == step + " throws") {
    throw std::runtime_error("thrown in " + step);
  }
  if (kFault == step + " throws a number") {
    throw 42;
  }
}

class CStepPlugin : public IBasePlugin, public IPluginDetails {
public:
  void Release() override {}
  int GetLastError() override { return 7; }
  void SetPluginContainer(IPluginContainer* pContainer) override {
    m_pContainer = pContainer;
    Step("SetPluginContainer");
  }
  bool Init() override {
    Step("Init");
    return kFault != "Init false" && kFault != "Init false with reason";
  }
  bool QueryInterface(int iInterface, IBaseInterface** ppOut) override {
    if (iInterface == PLUGIN_DETAILS_INTERFACE && kFault == "Init false with reason") {
      *ppOut = static_cast<IPluginDetails*>(this);
      return true;
    }
    if (iInterface == 1) {
      *ppOut = static_cast<IBasePlugin*>(this);
      return true;
    }
    return false;
  }
  E_PLUGIN_TYPE GetPluginType() override { return OPERATION; }
  const char* GetCLSID() override {
    Step("GetCLSID");
    return STEP_CLSID;
  }
  unsigned long GetVersion() override { return 1; }
  const char* GetPluginName() override { return STEP_NAME; }
  bool IsAllowRelease() override { return true; }
  void OnDestroy() override {
    IBaseInterface* self = nullptr;
    m_pContainer->QueryPluginInterface(STEP_CLSID, 1, &self);
    Step(self == nullptr ? "OnDestroy without look-up" : "OnDestroy");
  }
  const char* GetFurtherCLSID(int) override { return nullptr; }
  const char* GetErrorText() override { return "the port is busy. Close the other program."; }

private:
  IPluginContainer* m_pContainer = nullptr;
};

CStepPlugin* g_pPlugin = nullptr;

}  // namespace

extern "C" __attribute__((visibility("default"))) IBasePlugin* CreatePlugin() {
  Step("CreatePlugin");
  if (kFault == "CreatePlugin null") {
    return nullptr;
  }
  if (g_pPlugin == nullptr) {
    g_pPlugin = new CStepPlugin;
  }
  return g_pPlugin;
}

#ifndef STEP_NO_RELEASE
extern "C" __attribute__((visibility("default"))) void ReleasePlugin() {
  delete g_pPlugin;
  g_pPlugin = nullptr;
  Step("ReleasePlugin");
}
#endif
