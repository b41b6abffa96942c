// The serial port of a simulated modem: a pseudo-terminal.
#pragma once

#include "AsioWorld.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include <array>
#include <string>

namespace modem_sim {

/// Threads: the one that runs the io_context. Life: the modem given to Start() must outlive the running of the
/// io_context. The other side may close and open the port again at any time; what it has not read by then is gone, as
/// on a serial line.
class CPtyPort : public CAsioWorld {
public:
  explicit CPtyPort(boost::asio::io_context& context);
  ~CPtyPort();
  CPtyPort(const CPtyPort&) = delete;
  CPtyPort& operator=(const CPtyPort&) = delete;

  /// Makes the pseudo-terminal.
  /// @return false: *error says why.
  bool Open(std::string* error);
  /// The device that the computer opens, "/dev/pts/3".
  const std::string& Path() const { return m_strPath; }
  /// Makes a symbolic link to Path(), in place of one that is there; it goes with the device.
  /// @return false: *error says why.
  bool Link(const std::string& link, std::string* error);
  void Start(IPortUser& modem);
  /// The device and the link vanish, and come back: another device, the same link.
  void Unplug() override;
  bool Plug(std::string* error) override;

  void Write(const std::string& bytes) override;

private:
  void Close();
  void RemoveLink();
  void ReadMore();
  void ReadAvailable();
  void WriteMore();
  void WatchMore();
  void OnOpenedOrClosed(std::size_t count);

  boost::asio::posix::stream_descriptor m_master;
  boost::asio::posix::stream_descriptor m_watch;  // inotify on the device
  int m_iSlave = -1;                              // kept open, so that the other side's closing is no end of file here
  std::uint64_t m_uLife = 0;                      // tells late completions from those of the current device
  int m_iOpened = 0;                              // times that the other side has the device open
  std::string m_strPath;
  std::string m_strLink;
  IPortUser* m_pModem = nullptr;
  std::array<char, 1024> m_input{};
  alignas(8) std::array<char, 4096> m_events{};
  std::string m_strOutput;   // not yet handed to the system
  std::string m_strWriting;  // being handed to it
};

}  // namespace modem_sim
