// Looking up the other plug-ins' services through the container.
#include "AppSupport.h"
#include "utils.h"

#include <functional>
#include <memory>
#include <ostream>

namespace {

/// A service that is only asked for its address.
class CSomething : public IBaseInterface {
public:
  void Release() override {}
  int GetLastError() override { return 0; }
};

/// Notes what it is asked; answers nothing.
class CAskedContainer : public IPluginContainer {
public:
  std::string strCLSID;
  int iInterface = 0;
  IBaseInterface* pAnswer = nullptr;
  bool bSawNull = false;

  bool QueryPluginInterface(const char* pszCLSID, int iNumber, IBaseInterface** ppOut) override {
    strCLSID = pszCLSID;
    iInterface = iNumber;
    bSawNull = *ppOut == nullptr;
    if (pAnswer != nullptr) {
      *ppOut = pAnswer;
    }
    return false;  // nobody consults it
  }
};

struct LookUpRow {
  const char* pszName;
  std::function<IBaseInterface*()> fnLookUp;
  const char* pszCLSID;
  int iInterface;
};

void PrintTo(const LookUpRow& row, std::ostream* pOut) { *pOut << row.pszName; }

const LookUpRow kRows[] = {
    {"Notify", [] { return GetNotifyService(); }, "C986A689-A5F6-4215-84BD-39BA626F1F57", 0x6FFF0001},
    {"Sms", [] { return GetSmsService(); }, "DB948C02-A87F-4DB5-A5BA-F3E8A9CABF39", 0x1001},
    {"Device", [] { return GetDeviceService(); }, "7ABB8FE8-F864-4c1b-9E21-D636795BD72B", 0x5001},
    {"Net", [] { return GetNetService(); }, "385BDF98-9AA3-4121-9FBB-CACB1CD9608C", 5},
    {"DeviceMgr", [] { return GetDeviceMgr(); }, "5D31EE0B-DA93-4641-BD21-7DCE3DB15D15", 1},
};

class ServiceLookUp : public ::testing::TestWithParam<LookUpRow> {};

TEST_P(ServiceLookUp, AsksForItsPluginAndNumberAndIgnoresTheResult) {
  CAskedContainer container;
  CSomething service;
  container.pAnswer = &service;
  CSMSPluginImpl plugin;
  plugin.SetPluginContainer(&container);
  EXPECT_EQ(&service, GetParam().fnLookUp());
  EXPECT_EQ(GetParam().pszCLSID, container.strCLSID);
  EXPECT_EQ(GetParam().iInterface, container.iInterface);
}

TEST_P(ServiceLookUp, IsNullBeforeAContainerIsSet) {
  CFakeContainer container;
  CSMSPluginImpl plugin;
  EXPECT_EQ(nullptr, GetParam().fnLookUp());
  EXPECT_EQ(0, container.QueryCount());
}

TEST_P(ServiceLookUp, IsNullWhenTheContainerLeavesThePointerUntouched) {
  CAskedContainer container;
  CSomething service;
  CSMSPluginImpl plugin;
  plugin.SetPluginContainer(&container);
  container.pAnswer = &service;
  EXPECT_NE(nullptr, GetParam().fnLookUp());
  container.pAnswer = nullptr;
  EXPECT_EQ(nullptr, GetParam().fnLookUp());
  EXPECT_TRUE(container.bSawNull);
}

TEST_P(ServiceLookUp, IsNullWhenTheQueryThrows) {
  CFakeContainer container;
  container.ThrowOnQuery(true);
  CSMSPluginImpl plugin;
  plugin.SetPluginContainer(&container);
  EXPECT_EQ(nullptr, GetParam().fnLookUp());
  EXPECT_EQ(1, container.QueryCount());
}

TEST_P(ServiceLookUp, AsksAfreshAtEveryUse) {
  CFakeContainer container;
  CSMSPluginImpl plugin;
  plugin.SetPluginContainer(&container);
  CSomething service;
  EXPECT_EQ(nullptr, GetParam().fnLookUp());
  container.Offer(GetParam().pszCLSID, GetParam().iInterface, &service);
  EXPECT_EQ(&service, GetParam().fnLookUp());
  container.Offer(GetParam().pszCLSID, GetParam().iInterface, nullptr);
  EXPECT_EQ(nullptr, GetParam().fnLookUp());
  EXPECT_EQ(3, container.QueryCount());
}

INSTANTIATE_TEST_SUITE_P(Services, ServiceLookUp, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.pszName); });

}  // namespace
