// Threads over pthreads with deferred cancellation.
#include "platform/JThread.h"

#include "MonotonicCondition.h"
#include "NoCancel.h"
#include "platform/TraceSrv.h"

#include <cxxabi.h>
#include <pthread.h>
#include <exception>
#include <memory>
#include <mutex>

namespace {

const std::int64_t kKillMs = 2000;
const int kDone = 0;
const int kRefused = -1;

/// An exception that leaves Thread() ends the thread, not the process.
void TraceEscaped(const char* pszWhat) {
  TraceSrv_Trace(Tracelevel::TL_CRIT, "PLATFORM", "a thread was ended by an exception that nobody caught:");
  TraceSrv_Trace(Tracelevel::TL_CRIT, "PLATFORM", pszWhat);
}

}  // namespace

/// Shared by the object and its run, so that a run which outlives the object still ends on valid memory.
struct JThread::State {
  enum Phase {
    kIdle,      // no thread
    kStarting,  // somebody is making one
    kRunning,   // it is in Thread(), or on its way there
    kEnded,     // it has left Thread() and waits to be joined
    kJoining    // somebody joins it
  };
  struct Birth {
    JThread* pOwner;
    std::shared_ptr<State> pState;
  };
  class CRun;
  class CStart;

  bool IsRunningLocked() const { return phase == kStarting || phase == kRunning; }
  bool IsSelfLocked() const {
    return (phase == kRunning || phase == kEnded) && pthread_equal(thread, pthread_self()) != 0;
  }
  bool HasResisted() {
    const std::lock_guard<std::mutex> guard(mutex);
    return phase == kRunning && bResists;
  }
  void ChangeLocked(Phase enPhase) {
    phase = enPhase;
    changed.Broadcast();
  }
  int CreateLocked(std::unique_lock<std::mutex>& lock, std::unique_ptr<Birth> pBirth);
  void JoinLocked(std::unique_lock<std::mutex>& lock);
  bool AwaitEndLocked(std::unique_lock<std::mutex>& lock, std::int64_t iMilliseconds);

  static void* Main(void* pArgument);

  std::mutex mutex;
  // guarded by mutex
  CMonotonicCondition changed;
  Phase phase = kIdle;
  unsigned int uRun = 0;  // counts the runs
  bool bStarted = false;  // this run has called ThreadStarted()
  bool bResists = false;  // this run has outlived a Kill()
  pthread_t thread{};     // valid while kRunning, kEnded or kJoining
};

/// Says that the run is over, however Thread() is left. From then on the thread cannot be cancelled any more.
class JThread::State::CRun {
public:
  explicit CRun(State& state) : m_state(state) {}
  ~CRun() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    const std::lock_guard<std::mutex> guard(m_state.mutex);
    m_state.ChangeLocked(kEnded);
  }
  CRun(const CRun&) = delete;
  CRun& operator=(const CRun&) = delete;

private:
  State& m_state;
};

/// Keeps other starts away while one is prepared, and gives up when that fails.
class JThread::State::CStart {
public:
  CStart(State& state, std::unique_lock<std::mutex>& lock) : m_state(state), m_lock(lock) {
    m_state.ChangeLocked(kStarting);
    m_lock.unlock();
  }
  ~CStart() {
    if (!m_lock.owns_lock()) {
      m_lock.lock();
    }
    if (m_state.phase == kStarting) {
      m_state.ChangeLocked(kIdle);
    }
  }
  CStart(const CStart&) = delete;
  CStart& operator=(const CStart&) = delete;

private:
  State& m_state;
  std::unique_lock<std::mutex>& m_lock;
};

void* JThread::State::Main(void* pArgument) {
  std::unique_ptr<Birth> pBirth(static_cast<Birth*>(pArgument));
  JThread* const pOwner = pBirth->pOwner;
  const std::shared_ptr<State> pState = pBirth->pState;
  pBirth.reset();
  const CRun run(*pState);
  try {
    pOwner->Thread();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (const std::exception& error) {
    TraceEscaped(error.what());
  } catch (...) {
    TraceEscaped("of unknown type");
  }
  return nullptr;
}

/// The new thread cannot get past its first look at the state before this returns or waits.
int JThread::State::CreateLocked(std::unique_lock<std::mutex>& lock, std::unique_ptr<Birth> pBirth) {
  bStarted = false;
  bResists = false;
  if (pthread_create(&thread, nullptr, &State::Main, pBirth.get()) != 0) {
    return kRefused;
  }
  pBirth.release();
  ChangeLocked(kRunning);
  const unsigned int uThisRun = ++uRun;
  while (uRun == uThisRun && phase == kRunning && !bStarted) {
    changed.Wait(lock);
  }
  return kDone;
}

/// After an end nothing of the thread is left, not even the destructors of its thread-local objects.
void JThread::State::JoinLocked(std::unique_lock<std::mutex>& lock) {
  while (phase == kJoining) {
    changed.Wait(lock);
  }
  if (phase != kEnded || IsSelfLocked()) {
    return;
  }
  ChangeLocked(kJoining);
  lock.unlock();
  pthread_join(thread, nullptr);
  lock.lock();
  ChangeLocked(kIdle);
}

/// @return false: the run that was under way goes on.
bool JThread::State::AwaitEndLocked(std::unique_lock<std::mutex>& lock, std::int64_t iMilliseconds) {
  const std::int64_t iDeadlineNs = CMonotonicCondition::InMs(iMilliseconds);
  const unsigned int uThisRun = uRun;
  bool bInTime = true;
  while (IsRunningLocked() && uRun == uThisRun && bInTime) {
    bInTime = changed.WaitUntil(lock, iDeadlineNs);
  }
  if (IsRunningLocked()) {
    return uRun != uThisRun;
  }
  JoinLocked(lock);
  return true;
}

JThread::JThread() : m_pState(std::make_shared<State>()) {}

JThread::~JThread() {
  const bool bEnded = m_pState->HasResisted() ? WaitForEnd(0) : Kill() == kDone;
  if (!bEnded) {
    const std::lock_guard<std::mutex> guard(m_pState->mutex);
    pthread_detach(m_pState->thread);  // beyond our reach; its state stays with it
  }
}

int JThread::Start() {
  return StartPrepared([] {});
}

int JThread::StartPrepared(const std::function<void()>& fnPrepare) {
  const CNoCancel noCancel;
  State& state = *m_pState;
  std::unique_lock<std::mutex> lock(state.mutex);
  state.JoinLocked(lock);
  if (state.phase != State::kIdle) {
    return kRefused;
  }
  const State::CStart start(state, lock);
  fnPrepare();
  std::unique_ptr<State::Birth> pBirth(new State::Birth{this, m_pState});
  lock.lock();
  return state.CreateLocked(lock, std::move(pBirth));
}

int JThread::Kill() {
  const CNoCancel noCancel;
  State& state = *m_pState;
  std::unique_lock<std::mutex> lock(state.mutex);
  while (state.phase == State::kStarting) {
    state.changed.Wait(lock);
  }
  if (state.IsSelfLocked()) {
    return kRefused;
  }
  if (state.phase == State::kRunning) {
    pthread_cancel(state.thread);
  }
  if (!state.AwaitEndLocked(lock, kKillMs)) {
    state.bResists = true;
    return kRefused;
  }
  return kDone;
}

bool JThread::IsRunning() const {
  const std::lock_guard<std::mutex> guard(m_pState->mutex);
  return m_pState->IsRunningLocked();
}

bool JThread::WaitForEnd(unsigned int uMilliseconds) const {
  const CNoCancel noCancel;
  std::unique_lock<std::mutex> lock(m_pState->mutex);
  return !m_pState->IsSelfLocked() && m_pState->AwaitEndLocked(lock, uMilliseconds);
}

void JThread::ThreadStarted() {
  const std::lock_guard<std::mutex> guard(m_pState->mutex);
  m_pState->bStarted = true;
  m_pState->changed.Broadcast();
}
