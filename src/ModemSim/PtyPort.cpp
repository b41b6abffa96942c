// Pseudo-terminal, timers and clock.
#include "PtyPort.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace modem_sim {
namespace {

namespace asio = boost::asio;

const std::size_t kOutputLimit = 256 * 1024;  // nobody reads: the rest is lost, as on a serial line

std::string Reason() { return std::strerror(errno); }

/// No echo and no line editing by the system: both are the modem's own.
bool MakeRaw(int descriptor) {
  termios settings;
  if (tcgetattr(descriptor, &settings) != 0) return false;
  cfmakeraw(&settings);
  cfsetspeed(&settings, B115200);
  return tcsetattr(descriptor, TCSANOW, &settings) == 0;
}

}  // namespace

CPtyPort::CPtyPort(asio::io_context& context) : CAsioWorld(context), m_master(context), m_watch(context) {}

CPtyPort::~CPtyPort() { Close(); }

void CPtyPort::RemoveLink() {
  char target[PATH_MAX];
  const ssize_t size = m_strLink.empty() ? -1 : readlink(m_strLink.c_str(), target, sizeof target);
  if (size > 0 && m_strPath == std::string(target, static_cast<std::size_t>(size))) unlink(m_strLink.c_str());
}

void CPtyPort::Close() {
  RemoveLink();
  ++m_uLife;
  boost::system::error_code ignored;
  m_watch.close(ignored);
  m_master.close(ignored);
  if (m_iSlave >= 0) close(m_iSlave);
  m_iSlave = -1;
  m_iOpened = 0;
  m_strOutput.clear();
}

void CPtyPort::Unplug() { Close(); }

bool CPtyPort::Plug(std::string* error) {
  if (m_master.is_open()) return true;
  if (!Open(error) || (!m_strLink.empty() && !Link(m_strLink, error))) {
    Close();
    return false;
  }
  Start(*m_pModem);
  return true;
}

bool CPtyPort::Open(std::string* error) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  char path[PATH_MAX];
  if (master < 0) {
    *error = "cannot make a pseudo-terminal: " + Reason();
    return false;
  }
  m_master.assign(master);
  if (grantpt(master) != 0 || unlockpt(master) != 0 || ptsname_r(master, path, sizeof path) != 0 ||
      (m_iSlave = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC)) < 0 || !MakeRaw(m_iSlave)) {
    *error = "cannot set the pseudo-terminal up: " + Reason();
    return false;
  }
  m_master.native_non_blocking(true);
  m_strPath = path;
  return true;
}

bool CPtyPort::Link(const std::string& link, std::string* error) {
  struct stat status;
  if (lstat(link.c_str(), &status) == 0) {
    if (!S_ISLNK(status.st_mode)) {
      *error = "cannot link " + link + ": there is a file that is no link. Remove it, or choose another path";
      return false;
    }
    unlink(link.c_str());
  }
  if (symlink(m_strPath.c_str(), link.c_str()) != 0) {
    *error = "cannot link " + link + " to " + m_strPath + ": " + Reason();
    return false;
  }
  m_strLink = link;
  return true;
}

void CPtyPort::Start(IPortUser& modem) {
  m_pModem = &modem;
  const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (watch >= 0) {
    m_watch.assign(watch);
    if (inotify_add_watch(watch, m_strPath.c_str(), IN_OPEN | IN_CLOSE) >= 0) WatchMore();
  }
  ReadMore();
}

void CPtyPort::ReadMore() {
  const auto take = [this, life = m_uLife](const boost::system::error_code& error, std::size_t count) {
    if (error || life != m_uLife) return;
    m_pModem->Receive(m_input.data(), count);
    if (life == m_uLife) ReadMore();  // a modem may pull its own line out
  };
  m_master.async_read_some(asio::buffer(m_input), take);
}

/// Everything the other side has written so far.
void CPtyPort::ReadAvailable() {
  char bytes[1024];
  for (ssize_t count; (count = read(m_master.native_handle(), bytes, sizeof bytes)) > 0;) {
    m_pModem->Receive(bytes, static_cast<std::size_t>(count));
  }
}

void CPtyPort::WatchMore() {
  const auto take = [this, life = m_uLife](const boost::system::error_code& error, std::size_t count) {
    if (error || life != m_uLife) return;
    OnOpenedOrClosed(count);
    if (life == m_uLife) WatchMore();
  };
  m_watch.async_read_some(asio::buffer(m_events), take);
}

void CPtyPort::OnOpenedOrClosed(std::size_t count) {
  bool closed = false;
  for (std::size_t position = 0; position + sizeof(inotify_event) <= count;) {
    inotify_event event;
    std::memcpy(&event, m_events.data() + position, sizeof event);
    position += sizeof event + event.len;
    if (event.mask & IN_OPEN) ++m_iOpened;
    if (!(event.mask & IN_CLOSE) || m_iOpened == 0) continue;
    if (--m_iOpened == 0) closed = true;
  }
  if (!closed) return;
  if (m_iOpened == 0) ReadAvailable();  // else what is there may already be the next one's
  m_pModem->HangUp();
  m_strOutput.clear();
  tcflush(m_iSlave, TCIFLUSH);
}

void CPtyPort::Write(const std::string& bytes) {
  if (!m_master.is_open() || m_strOutput.size() + bytes.size() > kOutputLimit) return;
  m_strOutput += bytes;
  if (m_strWriting.empty()) WriteMore();
}

void CPtyPort::WriteMore() {
  m_strWriting.swap(m_strOutput);
  if (m_strWriting.empty()) return;
  const auto next = [this, life = m_uLife](const boost::system::error_code& error, std::size_t) {
    m_strWriting.clear();
    if (!error || life != m_uLife) WriteMore();
  };
  asio::async_write(m_master, asio::buffer(m_strWriting), next);
}

}  // namespace modem_sim
