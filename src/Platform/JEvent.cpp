// Events, and the threads that wait for them.
#include "platform/JEvent.h"

#include "ClockState.h"
#include "EventWaits.h"
#include "MonotonicCondition.h"
#include "platform/JClock.h"

#include <pthread.h>
#include <mutex>

namespace {

std::mutex g_lock;  // all events and waits; held for a few instructions only

}  // namespace

class CEventWait;

/// The place of one wait in the queue of one event. It stays there until the waiting thread itself goes on.
struct JEvent::Link {
  CEventWait* pWait;
  JEvent* pEvent;  // null: the event is gone
  Link* pPrevious;
  Link* pNext;
};

/// One thread waiting, on its own stack. Whoever signals an event decides the wait and takes the signal on behalf of
/// the waiting thread, so that nobody else can snatch it and no thread is woken in vain.
class CEventWait {
public:
  CEventWait(int iCount, JEvent* const* ppEvents, bool bWaitAll, std::int64_t iLimitMs);
  ~CEventWait() = default;
  CEventWait(const CEventWait&) = delete;
  CEventWait& operator=(const CEventWait&) = delete;

  int Run();

  bool IsOpenLocked() const { return !m_bDecided; }
  bool TakeLocked();
  void DecideLocked();
  void LookAtTimeLocked();
  bool IsTimedLocked(std::int64_t iMinMs) const { return !m_bDecided && m_iLimitMs != 0 && m_iLimitMs >= iMinMs; }

  static CEventWait* s_pFirstTimed;  // guarded by g_lock; kept while a manual clock exists
  CEventWait* m_pNextTimed = nullptr;

private:
  class CEnrolment;

  void WaitLocked(std::unique_lock<std::mutex>& lock);
  void EnrolLocked();
  void LeaveLocked();
  void GiveBackLocked();

  const int m_iCount;
  const bool m_bWaitAll;
  const std::int64_t m_iLimitMs;  // 0: none
  std::int64_t m_iDeadlineMs = 0;
  std::int64_t m_iDeadlineNs = 0;
  bool m_bDecided = false;
  int m_iResult = JEVENT_WAIT_TIME_OUT;
  CMonotonicCondition m_decided;
  JEvent::Link m_links[JEVENT_WAIT_MAX];  // the first m_iCount of them
};

CEventWait* CEventWait::s_pFirstTimed = nullptr;

namespace {

CMonotonicCondition& TimedWaitsChanged() {
  static CMonotonicCondition* const pChanged = new CMonotonicCondition;  // threads may outlive static objects
  return *pChanged;
}

}  // namespace

/// In the queues of the events from construction to destruction, also when the thread is unwound.
class CEventWait::CEnrolment {
public:
  explicit CEnrolment(CEventWait& wait) : m_wait(wait) { m_wait.EnrolLocked(); }
  ~CEnrolment() {
    m_wait.LeaveLocked();
    if (!m_bReturns) {
      m_wait.GiveBackLocked();
    }
  }
  CEnrolment(const CEnrolment&) = delete;
  CEnrolment& operator=(const CEnrolment&) = delete;
  void Returns() { m_bReturns = true; }

private:
  CEventWait& m_wait;
  bool m_bReturns = false;
};

CEventWait::CEventWait(int iCount, JEvent* const* ppEvents, bool bWaitAll, std::int64_t iLimitMs)
    : m_iCount(iCount), m_bWaitAll(bWaitAll), m_iLimitMs(iLimitMs) {
  for (int i = 0; i < iCount; ++i) {
    m_links[i] = JEvent::Link{this, ppEvents[i], nullptr, nullptr};
  }
}

int CEventWait::Run() {
  std::unique_lock<std::mutex> lock(g_lock);
  pthread_testcancel();  // also where there is nothing to wait for
  if (TakeLocked()) {
    return m_iResult;
  }
  CEnrolment enrolment(*this);
  while (!m_bDecided) {
    WaitLocked(lock);
  }
  enrolment.Returns();
  return m_iResult;
}

void CEventWait::WaitLocked(std::unique_lock<std::mutex>& lock) {
  if (m_iLimitMs == 0 || platform_clock::IsManual()) {
    m_decided.Wait(lock);
  } else if (!m_decided.WaitUntil(lock, m_iDeadlineNs)) {
    m_bDecided = true;  // by a signal at the same moment, or by the time
  }
}

/// Takes the signals the wait is for, if they are there.
bool CEventWait::TakeLocked() {
  int iFirst = 0;
  int iEnd = m_iCount;
  if (m_bWaitAll) {
    for (int i = 0; i < m_iCount; ++i) {
      if (m_links[i].pEvent == nullptr || !m_links[i].pEvent->m_bSignalled) {
        return false;
      }
    }
  } else {
    while (iFirst < m_iCount && (m_links[iFirst].pEvent == nullptr || !m_links[iFirst].pEvent->m_bSignalled)) {
      ++iFirst;
    }
    if (iFirst == m_iCount) {
      return false;
    }
    iEnd = iFirst + 1;
  }
  for (int i = iFirst; i < iEnd; ++i) {
    m_links[i].pEvent->m_bSignalled = m_links[i].pEvent->m_bManualReset;
  }
  m_iResult = iFirst;
  return true;
}

void CEventWait::DecideLocked() {
  m_bDecided = true;
  m_decided.Signal();
}

void CEventWait::LookAtTimeLocked() {
  if (platform_clock::IsManual() && !m_bDecided && m_iDeadlineMs <= JClock::MonotonicMs()) {
    m_bDecided = true;
  }
  m_decided.Signal();
}

void CEventWait::EnrolLocked() {
  for (int i = 0; i < m_iCount; ++i) {
    JEvent& event = *m_links[i].pEvent;
    m_links[i].pPrevious = event.m_pLast;
    (event.m_pLast == nullptr ? event.m_pFirst : event.m_pLast->pNext) = &m_links[i];
    event.m_pLast = &m_links[i];
  }
  if (m_iLimitMs == 0) {
    return;
  }
  m_iDeadlineMs = JClock::MonotonicMs() + m_iLimitMs;
  m_iDeadlineNs = CMonotonicCondition::InMs(m_iLimitMs);
  if (platform_clock::IsManual()) {
    m_pNextTimed = s_pFirstTimed;
    s_pFirstTimed = this;
    TimedWaitsChanged().Broadcast();
  }
}

void CEventWait::LeaveLocked() {
  for (int i = 0; i < m_iCount; ++i) {
    const JEvent::Link& link = m_links[i];
    if (link.pEvent != nullptr) {
      (link.pPrevious == nullptr ? link.pEvent->m_pFirst : link.pPrevious->pNext) = link.pNext;
      (link.pNext == nullptr ? link.pEvent->m_pLast : link.pNext->pPrevious) = link.pPrevious;
    }
  }
  for (CEventWait** ppWait = &s_pFirstTimed; *ppWait != nullptr; ppWait = &(*ppWait)->m_pNextTimed) {
    if (*ppWait == this) {
      *ppWait = m_pNextTimed;
      break;
    }
  }
}

/// Gives signals to others that were taken for a thread that is killed before it could see them.
void CEventWait::GiveBackLocked() {
  if (m_iResult == JEVENT_WAIT_TIME_OUT) {
    return;
  }
  const int iEnd = m_bWaitAll ? m_iCount : m_iResult + 1;
  for (int i = m_iResult; i < iEnd; ++i) {
    if (m_links[i].pEvent != nullptr && !m_links[i].pEvent->m_bManualReset) {
      m_links[i].pEvent->SignalLocked();
    }
  }
}

void event_waits::ChangeTime(const std::function<void()>& fnChange) {
  const std::lock_guard<std::mutex> guard(g_lock);
  fnChange();
  for (CEventWait* pWait = CEventWait::s_pFirstTimed; pWait != nullptr; pWait = pWait->m_pNextTimed) {
    pWait->LookAtTimeLocked();
  }
}

bool event_waits::AwaitTimedWaiters(int iCount, std::int64_t iMinMs, int iRealMs) {
  const std::int64_t iDeadlineNs = CMonotonicCondition::InMs(iRealMs);
  std::unique_lock<std::mutex> lock(g_lock);
  bool bInTime = true;
  for (;;) {
    int iFound = 0;
    for (const CEventWait* pWait = CEventWait::s_pFirstTimed; pWait != nullptr; pWait = pWait->m_pNextTimed) {
      iFound += pWait->IsTimedLocked(iMinMs) ? 1 : 0;
    }
    if (iFound >= iCount || !bInTime) {
      return iFound >= iCount;
    }
    bInTime = TimedWaitsChanged().WaitUntil(lock, iDeadlineNs);
  }
}

JEvent::JEvent() : m_bManualReset(false), m_bSignalled(false), m_pFirst(nullptr), m_pLast(nullptr) {}

JEvent::~JEvent() {
  const std::lock_guard<std::mutex> guard(g_lock);
  for (Link* pLink = m_pFirst; pLink != nullptr; pLink = pLink->pNext) {
    pLink->pEvent = nullptr;
    if (pLink->pWait->IsOpenLocked()) {
      pLink->pWait->DecideLocked();  // nobody can signal it any more: over, as by time-out
    }
  }
}

bool JEvent::Init(bool bManualReset, bool bSignalled) {
  const std::lock_guard<std::mutex> guard(g_lock);
  m_bManualReset = bManualReset;
  m_bSignalled = false;
  if (bSignalled) {
    SignalLocked();
  }
  return true;
}

bool JEvent::SetEvent() {
  const std::lock_guard<std::mutex> guard(g_lock);
  SignalLocked();
  return true;
}

void JEvent::SignalLocked() {
  m_bSignalled = true;
  for (Link* pLink = m_pFirst; pLink != nullptr && m_bSignalled; pLink = pLink->pNext) {
    if (pLink->pWait->IsOpenLocked() && pLink->pWait->TakeLocked()) {
      pLink->pWait->DecideLocked();
    }
  }
}

bool JEvent::ResetEvent() {
  const std::lock_guard<std::mutex> guard(g_lock);
  m_bSignalled = false;
  return true;
}

bool JEvent::IsSignalled() const {
  const std::lock_guard<std::mutex> guard(g_lock);
  return m_bSignalled;
}

int JEvent::WaitForSingleObject(unsigned int uMilliseconds) {
  JEvent* const pThis = this;
  return CEventWait(1, &pThis, false, uMilliseconds).Run();
}

int JEvent::WaitForMultipleObjects(int iCount, JEvent* const* ppEvents, bool bWaitAll, unsigned int uMilliseconds) {
  if (iCount < 1 || iCount > JEVENT_WAIT_MAX || ppEvents == nullptr) {
    return JEVENT_WAIT_TIME_OUT;
  }
  for (int i = 0; i < iCount; ++i) {
    if (ppEvents[i] == nullptr) {
      return JEVENT_WAIT_TIME_OUT;
    }
  }
  return CEventWait(iCount, ppEvents, bWaitAll, uMilliseconds).Run();
}
