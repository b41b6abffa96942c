// The bus as the system's device manager knows it.
#pragma once

#include "DeviceBus.h"

#include <string>

namespace modem {

/// Ports come from the kernel's device tree, also where no udev daemon runs (containers); changes need the daemon.
class CUdevBus : public IDeviceBus {
public:
  /// @param daemonSocket  is there while the daemon runs.
  explicit CUdevBus(const std::string& daemonSocket = "/run/udev/control") : m_strDaemonSocket(daemonSocket) {}
  std::vector<BusPort> Ports() override;
  std::unique_ptr<IBusWatch> Watch(const ChangeHandler& onChange) override;

private:
  const std::string m_strDaemonSocket;
};

}  // namespace modem
