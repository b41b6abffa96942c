#include "Interrupt.h"

#include "CommandLine.h"

#include <unistd.h>

namespace smsctl {

namespace {

const int kEndOfWatch = SIGUSR1;

[[noreturn]] void EndAtOnce(const sigset_t& signals) {
  int signal = 0;
  do {
    sigwait(&signals, &signal);
  } while (signal == kEndOfWatch);
  _exit(kCancelled);
}

}  // namespace

CInterrupt::CInterrupt() {
  sigemptyset(&m_signals);
  sigaddset(&m_signals, SIGINT);
  sigaddset(&m_signals, SIGTERM);
  sigaddset(&m_signals, kEndOfWatch);
  pthread_sigmask(SIG_BLOCK, &m_signals, &m_before);
}

CInterrupt::~CInterrupt() {
  Finish();
  pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

void CInterrupt::OnInterrupt(const std::function<void()>& action) {
  m_action = action;
  m_watcher = std::thread([this] { Watch(); });
}

void CInterrupt::AwaitInterrupt() {
  int signal = 0;
  do {
    sigwait(&m_signals, &signal);
  } while (signal == kEndOfWatch);
  m_interrupted = true;
}

void CInterrupt::Watch() {
  int signal = 0;
  sigwait(&m_signals, &signal);
  if (signal == kEndOfWatch) {
    return;
  }
  m_interrupted = true;
  const sigset_t signals = m_signals;
  std::thread([signals] { EndAtOnce(signals); }).detach();
  m_action();
}

bool CInterrupt::Finish() {
  if (m_watcher.joinable()) {
    if (!m_interrupted) {
      pthread_kill(m_watcher.native_handle(), kEndOfWatch);
    }
    m_watcher.join();
  }
  return m_interrupted;
}

}  // namespace smsctl
