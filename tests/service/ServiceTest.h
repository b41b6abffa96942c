// A service on a fake device, for the tests of the service.
#pragma once

#include "FakeClient.h"
#include "FakeServices.h"
#include "SMSPluginImpl.h"
#include "SMSSettingImpl.h"
#include "ServiceAccess.h"
#include "TempHome.h"
#include "Text.h"
#include "TraceCapture.h"

#include <gtest/gtest.h>

/// Offers all four device services; a test takes some away before it calls Start().
class CServiceTest : public ::testing::Test {
protected:
  CServiceTest() { m_plugin.SetPluginContainer(&m_device.container); }
  ~CServiceTest() override { Stop(); }

  void Start() { m_pService = CSMSServiceImpl::instance(); }
  /// Starts and waits until the local store is loaded.
  void StartLocal() {
    Start();
    EXPECT_TRUE(CServiceAccess::AwaitLocalLoad(*m_pService));
  }
  /// Then registers the client.
  void StartWithClient() {
    StartLocal();
    m_pService->RegCallBack(&m_client);
    m_client.Clear();
  }
  void Stop() {
    if (m_pService != nullptr) {
      m_pService->OnDestroy();
      CSMSServiceImpl::Destroy();
      CSMSSettingImpl::Destroy();
      m_pService = nullptr;
    }
  }
  /// The boxes of a store as lines "position number content result", in order.
  std::vector<std::string> Stored(int iStorage = NS_SMS::SMS_LOCAL) {
    std::vector<std::string> lines;
    ISMSRecordSet* const set = m_pService->GetSMSRecordSet(iStorage);
    for (long state = set->MoveFirst(); state == 0; state = set->MoveNext()) {
      lines.push_back(std::to_string(set->GetPosition()) + " " + Utf8(set->GetNumber()) + " " +
                      Utf8(set->GetContent()) + " " + std::to_string(set->GetSendResult()));
    }
    return lines;
  }

  CTempHome m_home;
  CTraceCapture m_trace;
  CFakeDevice m_device;
  CFakeClient m_client;
  CSMSPluginImpl m_plugin;
  CSMSServiceImpl* m_pService = nullptr;
};
