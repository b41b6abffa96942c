#include "UdevBus.h"

#include "Descriptor.h"
#include "Guarded.h"

#include <libudev.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <thread>
#include <tuple>

namespace modem {

namespace {

struct Unref {
  void operator()(udev* object) const { udev_unref(object); }
  void operator()(udev_device* object) const { udev_device_unref(object); }
  void operator()(udev_enumerate* object) const { udev_enumerate_unref(object); }
  void operator()(udev_monitor* object) const { udev_monitor_unref(object); }
};
template <class Object>
using Ref = std::unique_ptr<Object, Unref>;

std::string Text(const char* text) { return text == nullptr ? std::string() : text; }

std::string Attribute(udev_device* device, const char* name) {
  return device == nullptr ? std::string() : Text(udev_device_get_sysattr_value(device, name));
}

/// "0x17cb", as PCI devices write it.
std::string WithoutBase(const std::string& number) { return number.rfind("0x", 0) == 0 ? number.substr(2) : number; }

bool IsWwan(udev_device* port) { return Text(udev_device_get_subsystem(port)) == "wwan"; }

/// A WWAN device has ports for other languages than AT commands too. Which one it is stands in the name in older
/// kernels.
bool SpeaksAt(udev_device* port) {
  const std::string type = Attribute(port, "type");
  return type.empty() ? Text(udev_device_get_sysname(port)).find("at") != std::string::npos : type == "AT";
}

/// What tells the ports of one WWAN device apart: "at0" of "wwan0at0".
std::string WwanPortName(udev_device* port) {
  const std::string name = Text(udev_device_get_sysname(port));
  return name.substr(std::min(name.find("at"), name.size()));
}

/// @return false: no port of a PCI device.
bool DescribePci(udev_device* port, BusPort& found) {
  udev_device* const device =
      udev_device_get_parent_with_subsystem_devtype(port, "pci", nullptr);  // belongs to the port
  if (device == nullptr) {
    return false;
  }
  found.place = Text(udev_device_get_sysname(device));
  found.vendorId = WithoutBase(Attribute(device, "vendor"));
  found.productId = WithoutBase(Attribute(device, "device"));
  found.maker = Text(udev_device_get_property_value(device, "ID_VENDOR_FROM_DATABASE"));
  found.model = Text(udev_device_get_property_value(device, "ID_MODEL_FROM_DATABASE"));
  found.driver = Text(udev_device_get_driver(device));
  return true;
}

/// @return false: no port of a USB device.
bool DescribeUsb(udev_device* port, BusPort& found) {
  // both belong to the port
  udev_device* const device = udev_device_get_parent_with_subsystem_devtype(port, "usb", "usb_device");
  udev_device* const interface = udev_device_get_parent_with_subsystem_devtype(port, "usb", "usb_interface");
  if (device == nullptr) {
    return false;
  }
  found.place = Text(udev_device_get_sysname(device));
  found.vendorId = Attribute(device, "idVendor");
  found.productId = Attribute(device, "idProduct");
  found.maker = Attribute(device, "manufacturer");
  found.model = Attribute(device, "product");
  found.interfaceNumber = Attribute(interface, "bInterfaceNumber");
  found.interfaceName = Attribute(interface, "interface");
  found.driver = interface == nullptr ? std::string() : Text(udev_device_get_driver(interface));
  return true;
}

/// @return false: no port that a modem could answer at.
bool Describe(udev_device* port, BusPort& found) {
  found.path = Text(udev_device_get_devnode(port));
  const bool wwan = IsWwan(port);
  if (found.path.empty() || (wwan && !SpeaksAt(port))) {
    return false;
  }
  const bool described = DescribeUsb(port, found) || (wwan && DescribePci(port, found));
  found.interfaceNumber = wwan ? WwanPortName(port) : found.interfaceNumber;
  return described;
}

bool IsBefore(const BusPort& left, const BusPort& right) {
  return std::tie(left.place, left.interfaceNumber, left.path) <
         std::tie(right.place, right.interfaceNumber, right.path);
}

/// Reads the monitor on a thread of its own.
class CUdevWatch : public IBusWatch {
public:
  CUdevWatch(Ref<udev> system, Ref<udev_monitor> monitor, const IDeviceBus::ChangeHandler& onChange)
      : m_system(std::move(system)),
        m_monitor(std::move(monitor)),
        m_onChange(onChange),
        m_end(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
        m_thread([this] { Run(); }) {}
  ~CUdevWatch() override {
    eventfd_write(m_end.Get(), 1);
    m_thread.join();
  }

private:
  void Run() {
    pollfd descriptors[] = {{udev_monitor_get_fd(m_monitor.get()), POLLIN, 0}, {m_end.Get(), POLLIN, 0}};
    while (poll(descriptors, 2, -1) > 0 || errno == EINTR) {
      if (descriptors[1].revents != 0) {
        return;
      }
      if (const Ref<udev_device> device{udev_monitor_receive_device(m_monitor.get())}) {
        Guarded([&] { Tell(*device); });
      }
    }
  }
  void Tell(udev_device& device) const {
    const std::string action = Text(udev_device_get_action(&device));
    const BusChange change{action == "remove", Text(udev_device_get_devnode(&device))};
    if (!change.path.empty() && (change.gone || action == "add" || action == "change")) {
      m_onChange(change);
    }
  }

  const Ref<udev> m_system;
  const Ref<udev_monitor> m_monitor;
  const IDeviceBus::ChangeHandler m_onChange;
  const CDescriptor m_end;
  std::thread m_thread;
};

}  // namespace

std::vector<BusPort> CUdevBus::Ports() {
  std::vector<BusPort> ports;
  const Ref<udev> system(udev_new());
  const Ref<udev_enumerate> all(system ? udev_enumerate_new(system.get()) : nullptr);
  if (!all || udev_enumerate_add_match_subsystem(all.get(), "tty") < 0 ||
      udev_enumerate_add_match_subsystem(all.get(), "wwan") < 0 || udev_enumerate_scan_devices(all.get()) < 0) {
    return ports;
  }
  for (udev_list_entry* entry = udev_enumerate_get_list_entry(all.get()); entry != nullptr;
       entry = udev_list_entry_get_next(entry)) {
    const Ref<udev_device> device(udev_device_new_from_syspath(system.get(), udev_list_entry_get_name(entry)));
    BusPort port;
    if (device && Describe(device.get(), port)) {
      ports.push_back(port);
    }
  }
  std::sort(ports.begin(), ports.end(), IsBefore);
  return ports;
}

std::unique_ptr<IBusWatch> CUdevBus::Watch(const ChangeHandler& onChange) {
  if (access(m_strDaemonSocket.c_str(), F_OK) != 0) {
    return nullptr;  // a monitor could be made, but nobody would speak
  }
  Ref<udev> system(udev_new());
  Ref<udev_monitor> monitor(system ? udev_monitor_new_from_netlink(system.get(), "udev") : nullptr);
  if (!monitor || udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), "tty", nullptr) < 0 ||
      udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), "wwan", nullptr) < 0 ||
      udev_monitor_enable_receiving(monitor.get()) < 0) {
    return nullptr;
  }
  return std::make_unique<CUdevWatch>(std::move(system), std::move(monitor), onChange);
}

}  // namespace modem
