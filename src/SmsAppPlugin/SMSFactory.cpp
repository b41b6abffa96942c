// The one plug-in object.
#include "SMSFactory.h"

#include "CatchAll.h"
#include "SMSPluginImpl.h"

IBasePlugin* CSMSFactory::m_pPlugin = nullptr;

IBasePlugin* CSMSFactory::CreatePluginInstance() {
  try {
    if (m_pPlugin == nullptr) {
      m_pPlugin = new CSMSPluginImpl;
    }
    return m_pPlugin;
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return nullptr; }
}

void CSMSFactory::ReleasePluginInstance() {
  try {
    delete m_pPlugin;
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return; }
  m_pPlugin = nullptr;
}

IBasePlugin* CreatePlugin() { return CSMSFactory::CreatePluginInstance(); }

void ReleasePlugin() { CSMSFactory::ReleasePluginInstance(); }
