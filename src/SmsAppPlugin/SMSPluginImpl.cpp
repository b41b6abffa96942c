// Identity of the plug-in, its one service, and the tear-down.
#include "SMSPluginImpl.h"

#include "CatchAll.h"
#include "SMSServiceImpl.h"
#include "SMSSettingImpl.h"
#include "platform/TraceSrv.h"

namespace {

const char PLUGIN_NAME[] = "SMSPlugin";
const char MYCLSID[] = "AB349C02-A88F-4ef5-A44A-F178B9FAAF35";
const unsigned long VERSION = 257;

const int kServiceInterface = 0x1001;

/// A step of the tear-down that fails must not keep the next ones from their work.
template <class Step>
void RunStep(Step&& step) {
  try {
    step();
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    TraceSrv_Trace(Tracelevel::TL_ERRO, "SMSSERVICE", "CSMSPluginImpl::OnDestroy exception");
  }
}

}  // namespace

IPluginContainer* CSMSPluginImpl::m_pIPluginContainer = nullptr;

CSMSPluginImpl::CSMSPluginImpl() : m_iError(0) {}

CSMSPluginImpl::~CSMSPluginImpl() noexcept { m_pIPluginContainer = nullptr; }

void CSMSPluginImpl::Release() {}

int CSMSPluginImpl::GetLastError() { return m_iError; }

void CSMSPluginImpl::SetPluginContainer(IPluginContainer* pContainer) {
  if (pContainer != nullptr) {
    m_pIPluginContainer = pContainer;
  }
}

bool CSMSPluginImpl::Init() {
  m_iError = 0;
  return true;
}

bool CSMSPluginImpl::QueryInterface(int iInterface, IBaseInterface** ppOut) {
  if (iInterface != kServiceInterface || ppOut == nullptr) {
    return false;
  }
  *ppOut = CSMSServiceImpl::instance();
  return true;
}

IBasePlugin::E_PLUGIN_TYPE CSMSPluginImpl::GetPluginType() {
  m_iError = 0;
  return OPERATION;
}

const char* CSMSPluginImpl::GetCLSID() {
  m_iError = 0;
  return MYCLSID;
}

unsigned long CSMSPluginImpl::GetVersion() {
  m_iError = 0;
  return VERSION;
}

const char* CSMSPluginImpl::GetPluginName() {
  m_iError = 0;
  return PLUGIN_NAME;
}

bool CSMSPluginImpl::IsAllowRelease() { return true; }

void CSMSPluginImpl::OnDestroy() {
  RunStep([] {
    if (CSMSServiceImpl* const pService = CSMSServiceImpl::GetInstance()) {
      pService->OnDestroy();
    }
  });
  RunStep(CSMSServiceImpl::Destroy);
  RunStep(CSMSSettingImpl::Destroy);
}

IPluginContainer* CSMSPluginImpl::GetPluginContainer() { return m_pIPluginContainer; }
