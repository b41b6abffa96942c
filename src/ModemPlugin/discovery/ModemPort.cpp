#include "ModemPort.h"

#include "TcpPort.h"
#include "platform/TraceSrv.h"

namespace modem {

namespace {

ModemWish WishOf(const LineAddress& address) {
  ModemWish wish;
  (address.kind == LineAddress::Kind::kImei    ? wish.imei
   : address.kind == LineAddress::Kind::kIccid ? wish.iccid
                                               : wish.place) = address.value;
  return wish;
}

/// What a modem is found again by that was not named by what it is.
ModemWish WishFor(const AskedPort& found) {
  ModemWish wish;
  (found.answer.imei.empty() ? wish.place : wish.imei) =
      found.answer.imei.empty() ? found.port.place : found.answer.imei;
  return wish;
}

}  // namespace

std::unique_ptr<IByteStream> CModemPort::Open(const LineAddress& address, std::string& error) {
  std::optional<BusPort> before;
  ModemWish wish;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    before = m_port;
    wish = m_wish;
  }
  return before ? OpenFound(wish, m_finder.FindAgain(wish, *before, error), error) : OpenNamed(address, error);
}

std::unique_ptr<IByteStream> CModemPort::OpenNamed(const LineAddress& address, std::string& error) {
  switch (address.kind) {
    case LineAddress::Kind::kTcp:
      return CTcpPort::Open(address.host, address.port, error);
    case LineAddress::Kind::kPath: {
      const auto found = m_finder.Identify(address.text);
      auto stream = m_world.openPort(address.text, error);
      if (stream && found) {
        Remember(WishFor(*found), found->port);
      }
      return stream;
    }
    case LineAddress::Kind::kAuto: {
      const auto found = m_finder.Find(ModemWish(), error);
      return OpenFound(found ? WishFor(*found) : ModemWish(), found, error);
    }
    default:
      return OpenFound(WishOf(address), m_finder.Find(WishOf(address), error), error);
  }
}

std::unique_ptr<IByteStream> CModemPort::OpenFound(const ModemWish& wish, const std::optional<AskedPort>& found,
                                                   std::string& error) {
  if (!found) {
    return nullptr;
  }
  Remember(wish, found->port);
  return m_world.openPort(found->port.path, error);
}

void CModemPort::Remember(const ModemWish& wish, const BusPort& port) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_wish = wish;
  m_port = port;
}

void CModemPort::Watch(const PresenceHandler& onPresence) {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_port) {
      return;  // nobody tells of the other end of a TCP connection or a pseudo-terminal
    }
  }
  m_watch = m_world.bus.Watch([this, onPresence](const BusChange& change) { OnChange(change, onPresence); });
  if (!m_watch) {
    TraceSrv_Trace(Tracelevel::TL_WARN, "MODEM",
                   "no udev daemon tells of devices: an unplugged modem is looked for once a second");
  }
}

void CModemPort::OnChange(const BusChange& change, const PresenceHandler& onPresence) {
  ModemWish wish;
  BusPort before;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    wish = m_wish;
    before = *m_port;
  }
  if (change.gone && change.path == before.path) {
    onPresence(false);
  }
  onPresence(m_finder.MayBeThere(wish, before));
}

}  // namespace modem
