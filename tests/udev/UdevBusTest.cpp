// Ports of the bus, and their coming and going, as libudev tells them.
#include "Await.h"
#include "UdevBus.h"

#include <gtest/gtest.h>
#include <umockdev.h>

#include <chrono>
#include <deque>
#include <memory>
#include <string>

namespace {

const char kDevice[] = R"(P: /devices/usb1/1-2.3
E: DEVTYPE=usb_device
E: SUBSYSTEM=usb
A: idVendor=12d1
A: idProduct=1506
A: manufacturer=Maker
A: product=Mobile Stick
)";

const char kInterface[] = R"(P: /devices/usb1/1-2.3/1-2.3:1.2
E: DEVTYPE=usb_interface
E: SUBSYSTEM=usb
L: driver=../../../../bus/usb/drivers/option
A: bInterfaceNumber=02
A: interface=PC UI
)";

const char kPort[] = R"(P: /devices/usb1/1-2.3/1-2.3:1.2/ttyUSB2/tty/ttyUSB2
N: ttyUSB2
E: DEVNAME=/dev/ttyUSB2
E: SUBSYSTEM=tty
E: MAJOR=188
E: MINOR=2
A: dev=188:2
)";

const char kConsole[] = R"(P: /devices/platform/serial8250/tty/ttyS0
N: ttyS0
E: DEVNAME=/dev/ttyS0
E: SUBSYSTEM=tty
E: MAJOR=4
E: MINOR=64
A: dev=4:64
)";

const char kPciDevice[] = R"(P: /devices/pci0000:00/0000:00:1c.0/0000:08:00.0
E: SUBSYSTEM=pci
E: ID_VENDOR_FROM_DATABASE=Maker
E: ID_MODEL_FROM_DATABASE=Mobile Card
L: driver=../../../../bus/pci/drivers/mhi-pci-generic
A: vendor=0x17cb
A: device=0x0306
)";

const char kWwanDevice[] = R"(P: /devices/pci0000:00/0000:00:1c.0/0000:08:00.0/wwan/wwan0
E: DEVTYPE=wwan_dev
E: SUBSYSTEM=wwan
)";

const char kWwanAt[] = R"(P: /devices/pci0000:00/0000:00:1c.0/0000:08:00.0/wwan/wwan0/wwan0at0
N: wwan0at0
E: DEVNAME=/dev/wwan0at0
E: DEVTYPE=wwan_port
E: SUBSYSTEM=wwan
A: dev=510:0
A: type=AT
)";

const char kWwanMbim[] = R"(P: /devices/pci0000:00/0000:00:1c.0/0000:08:00.0/wwan/wwan0/wwan0mbim0
N: wwan0mbim0
E: DEVNAME=/dev/wwan0mbim0
E: DEVTYPE=wwan_port
E: SUBSYSTEM=wwan
A: dev=510:1
A: type=MBIM
)";

const char kWwanAtPath[] = "/sys/devices/pci0000:00/0000:00:1c.0/0000:08:00.0/wwan/wwan0/wwan0at0";
const char kPortPath[] = "/sys/devices/usb1/1-2.3/1-2.3:1.2/ttyUSB2/tty/ttyUSB2";

class UdevBus : public testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(umockdev_in_mock_environment()) << "run it with umockdev-wrapper"; }
  void Add(const char* device) {
    GError* error = nullptr;
    EXPECT_TRUE(umockdev_testbed_add_from_string(m_testbed.get(), device, &error));
    g_clear_error(&error);
  }
  void PlugAll() {
    for (const char* device : {kDevice, kInterface, kPort}) {
      Add(device);
    }
  }
  /// "came PATH" or "gone PATH"
  std::string NextChange() {
    std::string text = "nothing";
    m_monitor.Await([&] {
      if (m_changes.empty()) {
        return false;
      }
      text = (m_changes.front().gone ? "gone " : "came ") + m_changes.front().path;
      m_changes.pop_front();
      return true;
    });
    return text;
  }
  std::unique_ptr<modem::IBusWatch> Watch() {
    return m_bus.Watch(
        [this](const modem::BusChange& change) { m_monitor.Locked([&] { m_changes.push_back(change); }); });
  }

  struct Unref {
    void operator()(UMockdevTestbed* testbed) const { g_object_unref(testbed); }
  };
  const std::unique_ptr<UMockdevTestbed, Unref> m_testbed{umockdev_testbed_new()};
  modem::CUdevBus m_bus{"/"};  // umockdev speaks for the daemon
  CMonitor m_monitor;
  std::deque<modem::BusChange> m_changes;
};

TEST_F(UdevBus, DescribesThePortsOfUsbDevices) {
  PlugAll();
  Add(kConsole);
  const auto ports = m_bus.Ports();
  ASSERT_EQ(1u, ports.size());
  EXPECT_EQ("/dev/ttyUSB2", ports[0].path);
  EXPECT_EQ("1-2.3", ports[0].place);
  EXPECT_EQ("02", ports[0].interfaceNumber);
  EXPECT_EQ("PC UI", ports[0].interfaceName);
  EXPECT_EQ("12d1", ports[0].vendorId);
  EXPECT_EQ("1506", ports[0].productId);
  EXPECT_EQ("Maker", ports[0].maker);
  EXPECT_EQ("Mobile Stick", ports[0].model);
  EXPECT_EQ("option", ports[0].driver);
}

TEST_F(UdevBus, DescribesTheCommandPortsOfPciDevices) {
  for (const char* device : {kPciDevice, kWwanDevice, kWwanAt, kWwanMbim}) {
    Add(device);
  }
  const auto ports = m_bus.Ports();
  ASSERT_EQ(1u, ports.size());
  EXPECT_EQ("/dev/wwan0at0", ports[0].path);
  EXPECT_EQ("0000:08:00.0", ports[0].place);
  EXPECT_EQ("at0", ports[0].interfaceNumber);
  EXPECT_EQ("17cb", ports[0].vendorId);
  EXPECT_EQ("0306", ports[0].productId);
  EXPECT_EQ("Maker", ports[0].maker);
  EXPECT_EQ("Mobile Card", ports[0].model);
  EXPECT_EQ("mhi-pci-generic", ports[0].driver);
  const auto watch = Watch();
  ASSERT_TRUE(watch);
  umockdev_testbed_uevent(m_testbed.get(), kWwanAtPath, "remove");
  EXPECT_EQ("gone /dev/wwan0at0", NextChange());
}

TEST_F(UdevBus, IsEmptyWithoutDevices) { EXPECT_TRUE(m_bus.Ports().empty()); }

TEST_F(UdevBus, TellsOfPortsThatComeAndGoWithinASecond) {
  PlugAll();
  const auto watch = Watch();
  ASSERT_TRUE(watch);
  for (int turn = 0; turn < 3; ++turn) {
    const auto begun = std::chrono::steady_clock::now();
    umockdev_testbed_uevent(m_testbed.get(), kPortPath, "add");
    EXPECT_EQ("came /dev/ttyUSB2", NextChange());
    umockdev_testbed_uevent(m_testbed.get(), kPortPath, "remove");
    EXPECT_EQ("gone /dev/ttyUSB2", NextChange());
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(1));
  }
}

TEST_F(UdevBus, SaysThatNobodyTellsWithoutADaemon) {
  EXPECT_FALSE(modem::CUdevBus("/nowhere").Watch([](const modem::BusChange&) {}));
}

TEST_F(UdevBus, TellsNothingAfterTheWatchHasEnded) {
  PlugAll();
  auto watch = Watch();
  ASSERT_TRUE(watch);
  watch.reset();
  umockdev_testbed_uevent(m_testbed.get(), kPortPath, "remove");
  EXPECT_TRUE(m_monitor.Peek([this] { return m_changes.empty(); }));
}

}  // namespace
