// A simulated modem on a pseudo-terminal, run by the test's own thread: it outlives every program that uses it.
#pragma once

#include "PtyPort.h"
#include "SimulatedModem.h"

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

/// Threads: one. Nothing happens on the modem's side but inside RunUntil().
class CModemOnAPort : private modem_sim::IModemWorld {
public:
  explicit CModemOnAPort(const modem_sim::ModemOptions& options);

  const std::string& Path() const { return m_port.Path(); }
  modem_sim::CSimulatedModem& Modem() { return m_modem; }
  /// Octets that the modem has written so far.
  std::size_t Written() const { return m_uWritten; }
  /// Messages that the computer has read one by one so far, and those that came directly.
  std::size_t Given() const { return m_uGiven; }
  /// Serves the port until the condition holds; it is looked at after everything that happens, and every millisecond.
  /// @return false: not within the time.
  bool RunUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);
  /// Serves the port for a time.
  void RunFor(std::chrono::microseconds time) { m_context.run_for(time); }
  /// The contents of the messages on the card.
  const modem_sim::CMessageStore& Card() const { return m_modem.MemoryOf(modem_sim::Memory::Sim); }
  std::vector<std::string> ContentsOnCard() const;

private:
  void Write(const std::string& bytes) override;
  void After(int milliseconds, std::function<void()> call) override { m_port.After(milliseconds, call); }
  sms_pdu::TimeStamp Now() override { return m_port.Now(); }

  boost::asio::io_context m_context{1};
  modem_sim::CPtyPort m_port{m_context};
  modem_sim::CSimulatedModem m_modem;
  std::size_t m_uWritten = 0;
  std::size_t m_uGiven = 0;
};
