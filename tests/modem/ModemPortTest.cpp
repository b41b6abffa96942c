// A modem that goes and comes back, told by the bus.
#include "Await.h"
#include "FakeBus.h"
#include "Modem.h"
#include "ModemPort.h"
#include "RecordingSink.h"
#include "ScriptedModem.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace {

using modem::LineAddress;
using testing::ElementsAre;
using testing::HasSubstr;

const char kImei[] = "350000000000017";
const char kOther[] = "350000000000025";

LineAddress AddressOf(const std::string& text) {
  LineAddress address;
  std::string error;
  EXPECT_TRUE(ParseAddress(text, address, error)) << error;
  return address;
}

class ModemPort : public testing::Test {
protected:
  ModemPort() { m_driver.Events().AddSink(modem::CEventRaiser::Source::kNetwork, &m_sink); }
  ~ModemPort() override {
    m_port.EndWatch();
    m_driver.Stop();
  }
  bool Start(const std::string& device) {
    m_address = AddressOf(device);
    const bool started = m_driver.Start(m_strError);
    if (started) {
      m_port.Watch([this](bool bPresent) { m_driver.SetPresent(bPresent); });
    }
    return started;
  }
  std::unique_ptr<modem::IByteStream> OpenPort(const std::string& path, std::string& error) {
    auto stream = m_modem.Open();
    m_opened.Locked([&] { m_paths.push_back(path); });
    if (!stream) {
      error = "not there";
    }
    return stream;
  }
  std::vector<std::string> Opened() const {
    return m_opened.Peek([this] { return m_paths; });
  }
  void ExpectBack() {
    for (const char* event : {"available", "sim 1", "network 2"}) {
      EXPECT_EQ(event, m_sink.Next());
    }
  }

  CFakeBus m_bus;
  CScriptedModem m_modem;
  CMonitor m_opened;
  std::vector<std::string> m_paths;
  CRecordingSink m_sink;
  LineAddress m_address;
  modem::CModemPort m_port{{m_bus, [this](const std::string& path) { return m_bus.Probe(path); },
                            [this](const std::string& path, std::string& error) { return OpenPort(path, error); }}};
  modem::CModem m_driver{[this](std::string& error) { return m_port.Open(m_address, error); }};
  std::string m_strError;
};

TEST_F(ModemPort, IsFoundAgainByTheImeiThoughItWasNamedByItsPath) {
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kImei);
  ASSERT_TRUE(Start("/dev/ttyUSB2")) << m_strError;
  m_bus.Unplug("/dev/ttyUSB2");
  EXPECT_EQ("unavailable", m_sink.Next());
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kOther);  // not the same modem
  m_bus.Plug("/dev/ttyUSB5", "3-1.4", "02", kImei);
  ExpectBack();
  EXPECT_THAT(Opened(), ElementsAre("/dev/ttyUSB2", "/dev/ttyUSB5"));
}

TEST_F(ModemPort, IsFoundAgainOnThePciBus) {
  m_bus.Plug("/dev/wwan0at0", "0000:08:00.0", "at0", kImei);
  ASSERT_TRUE(Start("pci:0000:08:00.0")) << m_strError;
  m_bus.Unplug("/dev/wwan0at0");
  EXPECT_EQ("unavailable", m_sink.Next());
  m_bus.Plug("/dev/wwan1at1", "0000:08:00.0", "at1", kImei);  // another of its ports
  m_bus.Plug("/dev/wwan1at0", "0000:08:00.0", "at0", kImei);
  ExpectBack();
  EXPECT_THAT(Opened(), ElementsAre("/dev/wwan0at0", "/dev/wwan1at0"));
}

TEST_F(ModemPort, IsFoundAgainHoweverItWasNamed) {
  for (const char* device : {"auto", "imei:350000000000017", "usb:1-2"}) {
    m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kImei);
    CFakeBus& bus = m_bus;
    CScriptedModem scripted;
    CRecordingSink sink;
    std::vector<std::string> paths;
    modem::CModemPort port{{bus, [&](const std::string& path) { return bus.Probe(path); },
                            [&](const std::string& path, std::string&) {
                              paths.push_back(path);
                              return scripted.Open();
                            }}};
    modem::CModem driver([&](std::string& error) { return port.Open(AddressOf(device), error); });
    driver.Events().AddSink(modem::CEventRaiser::Source::kNetwork, &sink);
    ASSERT_TRUE(driver.Start(m_strError)) << device << m_strError;
    port.Watch([&](bool bPresent) { driver.SetPresent(bPresent); });
    bus.Unplug("/dev/ttyUSB2");
    EXPECT_EQ("unavailable", sink.Next()) << device;
    bus.Plug("/dev/ttyUSB9", "1-2", "02", kImei);
    EXPECT_EQ("available", sink.Next()) << device;
    port.EndWatch();
    driver.Stop();
    EXPECT_THAT(paths, ElementsAre("/dev/ttyUSB2", "/dev/ttyUSB9")) << device;
    bus.Unplug("/dev/ttyUSB9");
  }
}

TEST_F(ModemPort, IsLostAndBackWithinASecondEach) {
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kImei);
  ASSERT_TRUE(Start("auto")) << m_strError;
  for (int turn = 0; turn < 5; ++turn) {
    const auto begun = std::chrono::steady_clock::now();
    m_bus.Unplug("/dev/ttyUSB2");
    EXPECT_EQ("unavailable", m_sink.Next());
    const auto lost = std::chrono::steady_clock::now();
    m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kImei);
    ExpectBack();
    EXPECT_LT(lost - begun, std::chrono::seconds(1));
    EXPECT_LT(std::chrono::steady_clock::now() - lost, std::chrono::seconds(1));
  }
}

TEST_F(ModemPort, IsNotTriedWhileTheBusSaysThatItIsNotThere) {
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kImei);
  ASSERT_TRUE(Start("/dev/ttyUSB2")) << m_strError;
  m_bus.Unplug("/dev/ttyUSB2");
  EXPECT_EQ("unavailable", m_sink.Next());
  m_bus.TakeAsked();
  m_bus.Plug("/dev/ttyUSB3", "1-2", "00", kImei);  // its first port only, and somebody else's
  m_bus.Plug("/dev/ttyUSB4", "1-3", "01", kOther);
  m_bus.Plug("/dev/ttyUSB5", "1-2", "02", kImei);
  ExpectBack();
  EXPECT_THAT(m_bus.TakeAsked(), ElementsAre("/dev/ttyUSB5"));
}

TEST_F(ModemPort, IsTriedAgainWhileTheModemStartsUp) {
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kImei);
  ASSERT_TRUE(Start("/dev/ttyUSB2")) << m_strError;
  m_bus.Unplug("/dev/ttyUSB2");
  EXPECT_EQ("unavailable", m_sink.Next());
  const modem::PortAnswer answer = m_bus.Probe("/dev/ttyUSB2");
  m_bus.TakeAsked();
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", "");
  EXPECT_TRUE(m_bus.AwaitAsked("/dev/ttyUSB2"));
  m_bus.Answer("/dev/ttyUSB2", answer);
  ExpectBack();
}

TEST_F(ModemPort, IsLookedForByTheClockWithoutAnyoneWhoTells) {
  const CTraceCapture trace;
  m_bus.TellNothing();
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kImei);
  ASSERT_TRUE(Start("/dev/ttyUSB2")) << m_strError;
  EXPECT_TRUE(trace.AwaitLine("no udev daemon tells of devices: an unplugged modem is looked for once a second"));
  m_bus.Unplug("/dev/ttyUSB2");
  m_modem.HangUp();
  EXPECT_EQ("unavailable", m_sink.Next());
  m_bus.Plug("/dev/ttyUSB5", "1-2", "02", kImei);
  ExpectBack();
  EXPECT_THAT(Opened(), ElementsAre("/dev/ttyUSB2", "/dev/ttyUSB5"));
}

TEST_F(ModemPort, IsSaidOnceToBeAwayAndWhy) {
  const CTraceCapture trace;
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kImei);
  ASSERT_TRUE(Start("/dev/ttyUSB2")) << m_strError;
  m_bus.Unplug("/dev/ttyUSB2");
  EXPECT_EQ("unavailable", m_sink.Next());
  m_bus.TakeAsked();
  for (int turn = 0; turn < 2; ++turn) {
    m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kOther);
    EXPECT_TRUE(m_bus.AwaitAsked("/dev/ttyUSB2"));
    m_bus.Unplug("/dev/ttyUSB2");
    m_bus.TakeAsked();
  }
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kImei);
  ExpectBack();
  EXPECT_EQ(1, trace.Count("the modem is not back: the modem imei:350000000000017 was not found. Plug it in, or choose "
                           "another one with --device (\"smsctl modems\" lists them)."));
}

TEST_F(ModemPort, IsOpenedByItsPathAgainWhenItIsOnNoBus) {
  ASSERT_TRUE(Start("/dev/pts/7")) << m_strError;
  m_modem.HangUp();
  EXPECT_EQ("unavailable", m_sink.Next());
  ExpectBack();
  EXPECT_THAT(Opened(), ElementsAre("/dev/pts/7", "/dev/pts/7"));
}

TEST_F(ModemPort, FailsWithOneLineWhenTheNamedModemIsNotThere) {
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kOther);
  EXPECT_FALSE(Start("imei:350000000000017"));
  EXPECT_THAT(m_strError, HasSubstr("imei:350000000000017 was not found"));
  EXPECT_THAT(Opened(), ElementsAre());
}

}  // namespace
