// The plug-in library's life as its container sees it.

#include "FakeClient.h"
#include "FakeServices.h"
#include "LoadedPlugin.h"
#include "TempHome.h"
#include "Text.h"
#include "TraceCapture.h"
#include "platform/JClock.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

std::string MappedFiles() {
  std::ifstream maps("/proc/self/maps");
  std::ostringstream text;
  text << maps.rdbuf();
  return text.str();
}

bool IsMapped() { return MappedFiles().find("SmsAppPlugin.so") != std::string::npos; }

std::ptrdiff_t EntriesOf(const char* folder) {
  return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

class PluginLibrary : public ::testing::Test {
protected:
  /// Sends one message and waits until it is in the send box; answers its identifier.
  long SendOne(ISMSService& service, const VELK_wstring& text) {
    m_client.Clear();
    service.RegCallBack(&m_client);
    EXPECT_EQ(0, service.SendMsg(u"111", text.c_str()));
    EXPECT_TRUE(m_client.Await("OnRecordAdded", 1, 20000));
    EXPECT_TRUE(m_device.sms.DrainVerdicts(20000)) << "the driver's thread must have left the library";
    ISMSRecordSet* const set = service.GetSMSRecordSet(NS_SMS::SMS_LOCAL);
    long id = -1;
    for (long state = set->MoveFirst(); state == 0; state = set->MoveNext()) {
      id = set->GetMSGID();
    }
    return id;
  }

  CTempHome m_home;
  CTraceCapture m_trace;
  CFakeDevice m_device;
  CFakeClient m_client;
};

TEST_F(PluginLibrary, GivesOneObjectWithItsIdentity) {
  CLoadedPlugin library;
  ASSERT_TRUE(library.IsLoaded());
  IBasePlugin* const plugin = library.Create();
  ASSERT_NE(nullptr, plugin);
  EXPECT_EQ(plugin, library.Create());
  EXPECT_STREQ("AB349C02-A88F-4ef5-A44A-F178B9FAAF35", plugin->GetCLSID());
  EXPECT_STREQ("SMSPlugin", plugin->GetPluginName());
  EXPECT_EQ(257u, plugin->GetVersion());
  EXPECT_EQ(IBasePlugin::OPERATION, plugin->GetPluginType());
  EXPECT_TRUE(plugin->IsAllowRelease());
  library.Release();
  library.Release();
}

TEST_F(PluginLibrary, LivesTwiceInOneProcess) {
  CLoadedPlugin library;
  ASSERT_TRUE(library.IsLoaded());
  for (long life = 1; life <= 2; ++life) {
    ISMSService* const service = library.Start(m_device.container);
    ASSERT_NE(nullptr, service);
    EXPECT_EQ(service, library.Service());
    EXPECT_EQ(life, SendOne(*service, u"life")) << "the first life's message is still there";
    ISMSSetting* setting = nullptr;
    EXPECT_EQ(0, service->GetSMSSetting(&setting));
    int limit = 0;
    setting->GetSMSGroupSendLimit(limit);
    EXPECT_EQ(20, limit);
    library.Destroy();
    EXPECT_EQ(0, m_device.sms.SinkCount());
    EXPECT_EQ(0, m_device.net.SinkCount());
    EXPECT_EQ(0, m_device.manager.SinkCount());
    library.End();  // a second OnDestroy does no harm
  }
}

TEST_F(PluginLibrary, MayBeDestroyedWithoutEverBeingUsed) {
  CLoadedPlugin library;
  ASSERT_NE(nullptr, library.Create());
  library.Create()->OnDestroy();
  library.Release();
}

TEST_F(PluginLibrary, IsGoneAfterEachOfAHundredLives) {
  std::ptrdiff_t threads = 0;
  std::ptrdiff_t descriptors = 0;
  for (int life = 1; life <= 100; ++life) {
    {
      CLoadedPlugin library;
      ASSERT_TRUE(library.IsLoaded());
      ASSERT_TRUE(IsMapped());
      ISMSService* const service = library.Start(m_device.container);
      ASSERT_NE(nullptr, service);
      if (life % 10 == 1) {
        ASSERT_EQ(life / 10 + 1, SendOne(*service, Repeat(u"text of two parts ", 200)));
      }
      library.End();
    }
    ASSERT_FALSE(IsMapped()) << "life " << life << "\n" << MappedFiles();
    if (life == 1) {
      threads = EntriesOf("/proc/self/task");  // the platform's own stay
      descriptors = EntriesOf("/proc/self/fd");
    }
    ASSERT_EQ(threads, EntriesOf("/proc/self/task")) << "life " << life;
    ASSERT_EQ(descriptors, EntriesOf("/proc/self/fd")) << "life " << life;
  }
}

// --- events while the plug-in ends -----------------------------------------------------------------------------------

/// Raises events until it is told to leave; once Leave() has returned, none is under way.
class CStorm {
public:
  explicit CStorm(CFakeDevice& device) : m_device(device), m_thread([this] { Run(); }) {}
  ~CStorm() { m_thread.join(); }
  void Leave() {
    m_bLeave = true;
    m_monitor.Await([this] { return m_bGone; }, 60000);
  }
  bool AwaitEvents(int count) const {
    return m_monitor.Await([&] { return m_iRounds >= count; }, 20000);
  }

private:
  void Run() {
    SMReadRecord record = MakeReadRecord("111", u"text");
    while (!m_bLeave) {
      m_device.sms.Raise(WMS_NEW_SMS_DIRECT_NOTIFY, &record);
      m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE, nullptr);
      m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE, nullptr);
      m_device.sms.Raise(WMS_EVENT_READY, nullptr);
      m_device.sms.RaiseNumber(WMS_MO_SMS_STATUS, 0);
      m_device.manager.Raise(IDeviceMgrEvent::EVENT_DEVICE_SYSMODE_CHANGED);
      m_monitor.Locked([this] { ++m_iRounds; });
    }
    m_monitor.Locked([this] { m_bGone = true; });
  }

  CFakeDevice& m_device;
  CMonitor m_monitor;
  int m_iRounds = 0;
  bool m_bGone = false;
  std::atomic<bool> m_bLeave{false};
  std::thread m_thread;
};

TEST_F(PluginLibrary, EndsUnderAStormOfEvents) {
  for (int life = 0; life < 20; ++life) {
    CLoadedPlugin library;
    ISMSService* const service = library.Start(m_device.container);
    ASSERT_NE(nullptr, service);
    service->RegCallBack(&m_client);
    CStorm storm(m_device);
    m_device.sms.OnCall("UnRegEventSink", [&] { storm.Leave(); });  // the first thing that OnDestroy does
    EXPECT_TRUE(storm.AwaitEvents(3));
    library.End();
    m_device.sms.OnCall("UnRegEventSink", nullptr);
  }
}

TEST_F(PluginLibrary, WaitsForAnEventThatIsStillInAClient) {
  CLoadedPlugin library;
  ISMSService* const service = library.Start(m_device.container);
  ASSERT_NE(nullptr, service);
  service->RegCallBack(&m_client);
  m_client.Clear();
  CMonitor monitor;
  bool inside = false;
  m_client.SetHook([&](const std::string& line) {
    if (line == "OnServiceState 3") {
      monitor.Locked([&] { inside = true; });
      m_device.sms.AwaitCalls("UnRegEventSink", 1, 20000);  // the end has begun
    }
  });
  std::thread driver([&] { m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE, nullptr); });
  EXPECT_TRUE(monitor.Await([&] { return inside; }, 20000));
  library.End();
  EXPECT_EQ(1, m_client.Count("OnServiceState 3"));
  driver.join();
}

TEST_F(PluginLibrary, EndsWhileAMessageIsInFlight) {
  JManualClock clock(1790000000);
  CLoadedPlugin library;
  ISMSService* const service = library.Start(m_device.container);
  ASSERT_NE(nullptr, service);
  service->RegCallBack(&m_client);
  m_device.sms.OnSend([](const SMS_PARAM&) { return SendAnswer::kSilent; });
  ASSERT_EQ(0, service->SendMsg(u"111;222", u"text"));
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, 70000, 20000));
  std::thread time([&] {
    EXPECT_TRUE(m_trace.AwaitLine("CSMSServiceImpl::Send() send cancel", 20000));
    clock.Advance(5000);  // no verdict comes any more: after five seconds the send thread is killed
  });
  library.End();
  time.join();
  EXPECT_EQ(1u, m_device.sms.Sent().size());
}

}  // namespace
