// Ctrl-C as a request to a running command.
#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace smsctl {

/// Takes SIGINT and SIGTERM from its construction on; make it before any other thread. The first one runs the action;
/// another one while the action runs ends the process at once with status 130.
class CInterrupt {
public:
  CInterrupt();
  ~CInterrupt();
  CInterrupt(const CInterrupt&) = delete;
  CInterrupt& operator=(const CInterrupt&) = delete;

  /// From now on an interrupt, also one that came before, runs the action on a thread of its own.
  void OnInterrupt(const std::function<void()>& action);
  /// Waits for an interrupt; instead of OnInterrupt.
  void AwaitInterrupt();
  /// Waits for an action that runs; further interrupts are ignored.
  /// @return true: it was interrupted.
  bool Finish();

private:
  void Watch();

  sigset_t m_signals;
  sigset_t m_before;
  std::function<void()> m_action;
  std::atomic<bool> m_interrupted{false};
  std::thread m_watcher;
};

}  // namespace smsctl
