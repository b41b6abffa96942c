// Finds modems on the bus: all of them, or the one that is wanted.
#pragma once

#include "DeviceBus.h"
#include "PortProbe.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace modem {

/// What the wanted modem is known by; empty fields do not matter.
struct ModemWish {
  std::string imei;
  std::string iccid;
  std::string place;  // on the bus
};

/// A port, and what its modem told of itself.
struct AskedPort {
  BusPort port;
  PortAnswer answer;
};

/// Threads: any.
class CModemFinder : public IModemFinder {
public:
  typedef std::function<PortAnswer(const std::string& path)> Probe;

  CModemFinder(IDeviceBus& bus, const Probe& probe) : m_bus(bus), m_probe(probe) {}

  void Release() override {}
  int GetLastError() override { return 0; }
  std::vector<FoundModem> FindModems() override;

  /// The command port of the one modem that fits; without a wish there must be one modem only.
  /// @param error  out: one line for a person, when there is no result: none fits, or several do.
  std::optional<AskedPort> Find(const ModemWish& wish, std::string& error) const;
  /// The same modem again: only ports that can be the one that served before are asked.
  std::optional<AskedPort> FindAgain(const ModemWish& wish, const BusPort& before, std::string& error) const;
  /// Whether there is a port that FindAgain would ask.
  bool MayBeThere(const ModemWish& wish, const BusPort& before) const;
  /// The port that a path leads to, asked; nothing when it is on no bus.
  std::optional<AskedPort> Identify(const std::string& path) const;

private:
  typedef std::function<bool(const BusPort&)> Filter;

  std::vector<FoundModem> List() const;
  std::vector<AskedPort> Ask(const Filter& isWanted, bool bAdapters) const;
  std::optional<AskedPort> Choose(const std::vector<AskedPort>& asked, const ModemWish& wish, std::string& error) const;

  IDeviceBus& m_bus;
  const Probe m_probe;
};

}  // namespace modem
