// Timers and the clock for a modem that lives in an event loop.
#pragma once

#include "SimulatedModem.h"

#include <boost/asio/io_context.hpp>

#include <functional>

namespace modem_sim {

/// Threads: the one that runs the io_context.
class CAsioWorld : public IModemWorld {
public:
  explicit CAsioWorld(boost::asio::io_context& context) : m_context(context) {}

  void After(int milliseconds, std::function<void()> call) override;
  /// The computer's time and zone.
  sms_pdu::TimeStamp Now() override;

protected:
  ~CAsioWorld() {}

  boost::asio::io_context& m_context;
};

}  // namespace modem_sim
