// A bus whose devices a test plugs in and out, with modems that answer as it says.
#pragma once

#include "Await.h"
#include "DeviceBus.h"
#include "ModemFinder.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Threads: any; changes are told on the thread that makes them.
class CFakeBus : public modem::IDeviceBus {
public:
  std::vector<modem::BusPort> Ports() override {
    return m_monitor.Peek([this] { return m_ports; });
  }
  std::unique_ptr<modem::IBusWatch> Watch(const ChangeHandler& onChange) override {
    if (!m_bTells) {
      return nullptr;
    }
    m_monitor.Locked([&] { m_onChange = onChange; });
    return std::make_unique<CWatch>(*this);
  }
  /// No udev daemon.
  void TellNothing() { m_bTells = false; }

  /// One port of a modem; it answers with the IMEI, or not at all when that is empty.
  void Plug(const std::string& path, const std::string& place, const std::string& interfaceNumber,
            const std::string& imei, const std::string& interfaceName = std::string()) {
    modem::BusPort port;
    port.path = path;
    port.place = place;
    port.interfaceNumber = interfaceNumber;
    port.interfaceName = interfaceName;
    port.vendorId = "12d1";
    port.productId = "1506";
    port.maker = "Maker";
    port.model = "Stick";
    Plug(port, imei);
  }
  void Plug(const modem::BusPort& port, const std::string& imei) {
    modem::PortAnswer answer;
    if (!imei.empty()) {
      answer.state = FoundPort::State::kAnswers;
      answer.model = "Model";
      answer.imei = imei;
    }
    m_monitor.Locked([&] {
      m_ports.push_back(port);
      m_answers[port.path] = answer;
    });
    Tell({false, port.path});
  }
  void Unplug(const std::string& path) {
    const auto isGone = [&](const modem::BusPort& port) { return port.path == path; };
    m_monitor.Locked([&] { m_ports.erase(std::remove_if(m_ports.begin(), m_ports.end(), isGone), m_ports.end()); });
    Tell({true, path});
  }
  void Answer(const std::string& path, const modem::PortAnswer& answer) {
    m_monitor.Locked([&] { m_answers[path] = answer; });
  }
  /// For a finder.
  modem::PortAnswer Probe(const std::string& path) {
    return m_monitor.Locked([&] {
      m_asked.insert(path);
      return m_answers[path];
    });
  }
  /// The ports that were asked since the last call.
  std::set<std::string> TakeAsked() {
    return m_monitor.Locked([&] { return std::exchange(m_asked, {}); });
  }
  bool AwaitAsked(const std::string& path) const {
    return m_monitor.Await([&] { return m_asked.count(path) != 0; });
  }

private:
  class CWatch : public modem::IBusWatch {
  public:
    explicit CWatch(CFakeBus& bus) : m_bus(bus) {}
    ~CWatch() override {
      m_bus.m_monitor.Locked([this] { m_bus.m_onChange = nullptr; });
    }

  private:
    CFakeBus& m_bus;
  };
  void Tell(const modem::BusChange& change) {
    if (const ChangeHandler handler = m_monitor.Peek([this] { return m_onChange; })) {
      handler(change);
    }
  }

  CMonitor m_monitor;
  bool m_bTells = true;
  std::vector<modem::BusPort> m_ports;
  std::map<std::string, modem::PortAnswer> m_answers;
  std::set<std::string> m_asked;
  ChangeHandler m_onChange;
};
