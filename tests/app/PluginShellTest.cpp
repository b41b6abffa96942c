// The exported functions, the factory and the plug-in object.
#include "AppSupport.h"
#include "SMSFactory.h"
#include "SMSServiceImpl.h"
#include "ShortMemory.h"

#include <type_traits>

namespace {

const int kServiceInterface = 0x1001;

/// A plug-in whose destruction fails.
class CUnendingPlugin : public IBasePlugin {
public:
  ~CUnendingPlugin() noexcept(false) override { throw 42; }
  void Release() override {}
  int GetLastError() override { return 0; }
  void SetPluginContainer(IPluginContainer*) override {}
  bool Init() override { return true; }
  bool QueryInterface(int, IBaseInterface**) override { return false; }
  E_PLUGIN_TYPE GetPluginType() override { return OPERATION; }
  const char* GetCLSID() override { return ""; }
  unsigned long GetVersion() override { return 0; }
  const char* GetPluginName() override { return ""; }
  bool IsAllowRelease() override { return true; }
  void OnDestroy() override {}
};

class PluginShell : public CAppTest {
protected:
  ~PluginShell() override { m_plugin.OnDestroy(); }
};

TEST(PluginFactory, AnswersTheSamePluginAtEveryCall) {
  IBasePlugin* const pFirst = CreatePlugin();
  ASSERT_NE(nullptr, pFirst);
  EXPECT_EQ(pFirst, CreatePlugin());
  EXPECT_EQ(pFirst, CSMSFactory::CreatePluginInstance());
  ReleasePlugin();
}

TEST(PluginFactory, MakesANewPluginAfterARelease) {
  CFakeContainer container;
  CreatePlugin()->SetPluginContainer(&container);
  ReleasePlugin();
  EXPECT_EQ(nullptr, CSMSFactory::m_pPlugin);
  EXPECT_EQ(nullptr, CSMSPluginImpl::GetPluginContainer());
  {
    const CShortMemory shortage(0);
    EXPECT_EQ(nullptr, CreatePlugin());  // it is made, not kept
  }
  IBasePlugin* const pSecond = CreatePlugin();
  ASSERT_NE(nullptr, pSecond);
  EXPECT_EQ(pSecond, CSMSFactory::m_pPlugin);
  EXPECT_TRUE(pSecond->Init());
  ReleasePlugin();
}

TEST(PluginFactory, ReleaseWithoutAPluginDoesNothing) {
  ReleasePlugin();
  EXPECT_EQ(nullptr, CSMSFactory::m_pPlugin);
  ReleasePlugin();
  EXPECT_EQ(nullptr, CSMSFactory::m_pPlugin);
}

TEST(PluginFactory, AnswersNullWhenMemoryIsShort) {
  {
    const CShortMemory shortage(0);
    EXPECT_EQ(nullptr, CreatePlugin());
    EXPECT_TRUE(shortage.HasStruck());
  }
  EXPECT_EQ(nullptr, CSMSFactory::m_pPlugin);
  EXPECT_NE(nullptr, CreatePlugin());
  ReleasePlugin();
}

TEST(PluginFactory, KeepsThePointerWhenDestructionThrows) {
  IBasePlugin* const pPlugin = new CUnendingPlugin;
  CSMSFactory::m_pPlugin = pPlugin;
  ReleasePlugin();
  EXPECT_EQ(pPlugin, CSMSFactory::m_pPlugin);
  EXPECT_EQ(pPlugin, CreatePlugin());
  CSMSFactory::m_pPlugin = nullptr;
}

TEST(PluginFactory, TheRealPluginEndsWithoutThrowing) {
  EXPECT_TRUE(std::is_nothrow_destructible<CSMSPluginImpl>::value);
  EXPECT_FALSE(std::is_nothrow_destructible<IBasePlugin>::value);
}

TEST_F(PluginShell, TellsItsIdentity) {
  EXPECT_STREQ("SMSPlugin", m_plugin.GetPluginName());
  EXPECT_STREQ("AB349C02-A88F-4ef5-A44A-F178B9FAAF35", m_plugin.GetCLSID());
  EXPECT_EQ(0x101UL, m_plugin.GetVersion());
  EXPECT_EQ(IBasePlugin::OPERATION, m_plugin.GetPluginType());
  EXPECT_EQ(1, m_plugin.GetPluginType());
  EXPECT_TRUE(m_plugin.Init());
  EXPECT_TRUE(m_plugin.IsAllowRelease());
  EXPECT_EQ(0, m_plugin.GetLastError());
}

TEST_F(PluginShell, ReleaseLeavesThePluginAlive) {
  IBasePlugin* const pPlugin = CreatePlugin();
  pPlugin->Release();
  EXPECT_EQ(pPlugin, CreatePlugin());
  EXPECT_STREQ("SMSPlugin", pPlugin->GetPluginName());
  ReleasePlugin();
}

TEST_F(PluginShell, ANullContainerKeepsTheOneBefore) {
  m_plugin.SetPluginContainer(nullptr);
  EXPECT_EQ(&m_device.container, CSMSPluginImpl::GetPluginContainer());
}

TEST_F(PluginShell, ALaterContainerReplacesTheOneBefore) {
  CFakeContainer later;
  m_plugin.SetPluginContainer(&later);
  EXPECT_EQ(&later, CSMSPluginImpl::GetPluginContainer());
}

TEST(PluginLife, TheEndOfThePluginForgetsTheContainer) {
  CFakeContainer container;
  {
    CSMSPluginImpl plugin;
    plugin.SetPluginContainer(&container);
    EXPECT_EQ(&container, CSMSPluginImpl::GetPluginContainer());
  }
  EXPECT_EQ(nullptr, CSMSPluginImpl::GetPluginContainer());
}

TEST_F(PluginShell, RefusesEveryOtherInterfaceNumberAndLeavesThePointerAlone) {
  for (const int iInterface : {0x1000, 0x1002, 0, -1, 5, 0x7FFFFFFF}) {
    IBaseInterface* pOut = CreatePlugin();
    EXPECT_FALSE(m_plugin.QueryInterface(iInterface, &pOut)) << iInterface;
    EXPECT_EQ(CreatePlugin(), pOut);
  }
  EXPECT_EQ(nullptr, CSMSServiceImpl::GetInstance());
  ReleasePlugin();
}

TEST_F(PluginShell, RefusesANullPointerForTheInterface) {
  EXPECT_FALSE(m_plugin.QueryInterface(kServiceInterface, nullptr));
  EXPECT_FALSE(m_plugin.QueryInterface(0x1000, nullptr));
}

TEST_F(PluginShell, AnswersTheSameServiceTwice) {
  IBaseInterface* pFirst = nullptr;
  IBaseInterface* pSecond = nullptr;
  EXPECT_TRUE(m_plugin.QueryInterface(kServiceInterface, &pFirst));
  EXPECT_TRUE(m_plugin.QueryInterface(kServiceInterface, &pSecond));
  ASSERT_NE(nullptr, pFirst);
  EXPECT_EQ(pFirst, pSecond);
  EXPECT_EQ(static_cast<IBaseInterface*>(CSMSServiceImpl::GetInstance()), pFirst);
}

TEST_F(PluginShell, AnswersTrueWithNullWhenTheServiceCannotBeMade) {
  IBaseInterface* pOut = &m_plugin;
  {
    const CShortMemory shortage(0);
    EXPECT_TRUE(m_plugin.QueryInterface(kServiceInterface, &pOut));
    EXPECT_TRUE(shortage.HasStruck());
  }
  EXPECT_EQ(nullptr, pOut);
}

TEST_F(PluginShell, OnDestroyUnregistersTheSinksAndEndsServiceAndSettings) {
  IBaseInterface* pService = nullptr;
  ASSERT_TRUE(m_plugin.QueryInterface(kServiceInterface, &pService));
  EXPECT_EQ(1, m_device.sms.SinkCount());
  EXPECT_EQ(1, m_device.manager.SinkCount());
  EXPECT_EQ(1, m_device.net.SinkCount());
  m_plugin.OnDestroy();
  EXPECT_EQ(nullptr, CSMSServiceImpl::GetInstance());
  EXPECT_EQ(0, m_device.sms.SinkCount());
  EXPECT_EQ(0, m_device.manager.SinkCount());
  EXPECT_EQ(0, m_device.net.SinkCount());
}

TEST_F(PluginShell, OnDestroyBeforeAnyServiceEndsTheSettingsAlone) {
  CSMSSettingImpl* const pSettings = CSMSSettingImpl::instance();
  ASSERT_NE(nullptr, pSettings);
  const int iQueries = m_device.container.QueryCount();
  m_plugin.OnDestroy();
  EXPECT_EQ(nullptr, CSMSServiceImpl::GetInstance());
  EXPECT_EQ(iQueries, m_device.container.QueryCount());  // nothing was unregistered
  const CShortMemory shortage(0);                        // a settings object that still existed would not be made anew
  EXPECT_EQ(nullptr, CSMSSettingImpl::instance());
}

TEST_F(PluginShell, ASecondOnDestroyDoesNoHarm) {
  IBaseInterface* pService = nullptr;
  ASSERT_TRUE(m_plugin.QueryInterface(kServiceInterface, &pService));
  m_plugin.OnDestroy();
  m_plugin.OnDestroy();
  EXPECT_EQ(nullptr, CSMSServiceImpl::GetInstance());
}

TEST_F(PluginShell, LivesTwiceInOneProcess) {
  for (int iLife = 0; iLife < 2; ++iLife) {
    IBaseInterface* pService = nullptr;
    ASSERT_TRUE(m_plugin.QueryInterface(kServiceInterface, &pService));
    ASSERT_NE(nullptr, pService);
    ISMSSetting* pSettings = nullptr;
    EXPECT_EQ(0, CSMSServiceImpl::GetInstance()->GetSMSSetting(&pSettings));
    int iLimit = 0;
    EXPECT_EQ(0, pSettings->GetSMSGroupSendLimit(iLimit));
    EXPECT_EQ(20, iLimit);
    m_plugin.OnDestroy();
  }
}

TEST_F(PluginShell, OnDestroySurvivesAContainerThatThrows) {
  IBaseInterface* pService = nullptr;
  ASSERT_TRUE(m_plugin.QueryInterface(kServiceInterface, &pService));
  m_device.container.ThrowOnQuery(true);
  m_plugin.OnDestroy();
  EXPECT_EQ(nullptr, CSMSServiceImpl::GetInstance());
}

}  // namespace
