// What the computer's bus has: ports of modems, serial ones of USB devices and those of WWAN devices, and their coming
// and going.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace modem {

/// A port of a USB or PCI device. Maker, model and names are the device's own words, or the system's about it.
struct BusPort {
  std::string path;             // "/dev/ttyUSB2", "/dev/wwan0at0"
  std::string place;            // of the device: "1-2.3", "0000:08:00.0"
  std::string interfaceNumber;  // "02"; "at0" of a WWAN device
  std::string interfaceName;    // "Modem", often empty
  std::string vendorId;         // "12d1"
  std::string productId;
  std::string maker;
  std::string model;
  std::string driver;
};

struct BusChange {
  bool gone = false;  // else it has come
  std::string path;
};

/// Calls until it is destroyed; the destructor waits for a call under way.
class IBusWatch {
public:
  virtual ~IBusWatch() {}
};

/// Threads: any.
class IDeviceBus {
public:
  typedef std::function<void(const BusChange&)> ChangeHandler;

  virtual ~IDeviceBus() {}
  /// In the order of places and interfaces.
  virtual std::vector<BusPort> Ports() = 0;
  /// Tells of ports that come and go, on a thread of its own.
  /// @return null: the system does not tell.
  virtual std::unique_ptr<IBusWatch> Watch(const ChangeHandler& onChange) = 0;
};

}  // namespace modem
