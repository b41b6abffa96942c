// The port of the configured modem: found by what names it, and found again by what it is.
#pragma once

#include "LineAddress.h"
#include "ModemFinder.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace modem {

/// Life:    Open as often as the line is lost; Watch once, EndWatch.
/// Threads: Open on one thread at a time; the rest on the owner's.
class CModemPort {
public:
  /// How the world outside is reached; tests give another one.
  struct World {
    IDeviceBus& bus;
    CModemFinder::Probe probe;
    PortOpener openPort;
  };
  /// Told on a thread of the bus whether the modem can be there now.
  typedef std::function<void(bool bPresent)> PresenceHandler;

  explicit CModemPort(const World& world) : m_world(world), m_finder(world.bus, world.probe) {}
  CModemPort(const CModemPort&) = delete;
  CModemPort& operator=(const CModemPort&) = delete;

  /// Opens the line to the modem that the address names. Once a modem on a bus has been opened, only that one is opened
  /// again: by its IMEI, SIM or place, whatever the address says, under whatever name its port has now.
  /// @param error  out: one line for a person, when the result is null.
  std::unique_ptr<IByteStream> Open(const LineAddress& address, std::string& error);
  /// Tells when the modem goes and comes, if it is on a bus and the system tells.
  void Watch(const PresenceHandler& onPresence);
  void EndWatch() { m_watch.reset(); }

private:
  std::unique_ptr<IByteStream> OpenNamed(const LineAddress& address, std::string& error);
  std::unique_ptr<IByteStream> OpenFound(const ModemWish& wish, const std::optional<AskedPort>& found,
                                         std::string& error);
  void OnChange(const BusChange& change, const PresenceHandler& onPresence);
  void Remember(const ModemWish& wish, const BusPort& port);

  World m_world;
  const CModemFinder m_finder;
  std::unique_ptr<IBusWatch> m_watch;

  std::mutex m_lock;  // the next two
  ModemWish m_wish;
  std::optional<BusPort> m_port;  // that was opened last; none: the modem is on no bus
};

}  // namespace modem
