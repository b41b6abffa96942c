// The bus as the system's device manager knows it.
#pragma once

#include "DeviceBus.h"

namespace modem {

/// Ports come from the kernel's device tree, also where no udev daemon runs (containers); changes need the daemon.
class CUdevBus : public IDeviceBus {
public:
  std::vector<BusPort> Ports() override;
  std::unique_ptr<IBusWatch> Watch(const ChangeHandler& onChange) override;
};

}  // namespace modem
