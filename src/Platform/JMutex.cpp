// Recursive mutexes and the check of their order.
#include "platform/JMutex.h"

#include <cerrno>

#ifdef SMS_CHECK_LOCK_ORDER
#include <cstdio>
#include <cstdlib>
#endif

namespace {

unsigned long ThisThread() { return static_cast<unsigned long>(pthread_self()); }

}  // namespace

#ifdef SMS_CHECK_LOCK_ORDER

namespace {

struct HeldMutex {
  const JMutex* pMutex;
  int iRank;
  const char* pszName;
};

const int kMaxHeld = 64;

// Plain data, so that it needs no clean-up when a thread is killed.
thread_local HeldMutex t_held[kMaxHeld];
thread_local int t_iHeld = 0;

[[noreturn]] void Stop(const char* pszWhat, const char* pszName, int iRank, const char* pszHeld, int iHeldRank) {
  std::fprintf(stderr, "lock order: %s %s (%d) while holding %s (%d)\n", pszWhat, pszName, iRank, pszHeld, iHeldRank);
  std::abort();
}

void CheckOrder(int iRank, const char* pszName) {
  for (int i = 0; i < t_iHeld; ++i) {
    if (t_held[i].iRank > iRank) {
      Stop("taking", pszName, iRank, t_held[i].pszName, t_held[i].iRank);
    }
  }
}

void NoteHeld(const JMutex* pMutex, int iRank, const char* pszName) {
  if (t_iHeld == kMaxHeld) {
    Stop("too many mutexes: taking", pszName, iRank, t_held[kMaxHeld - 1].pszName, t_held[kMaxHeld - 1].iRank);
  }
  t_held[t_iHeld++] = HeldMutex{pMutex, iRank, pszName};
}

void NoteReleased(const JMutex* pMutex) {
  for (int i = t_iHeld - 1; i >= 0; --i) {
    if (t_held[i].pMutex == pMutex) {
      for (int iNext = i + 1; iNext < t_iHeld; ++iNext) {
        t_held[iNext - 1] = t_held[iNext];
      }
      --t_iHeld;
      return;
    }
  }
}

}  // namespace

#else

namespace {

void CheckOrder(int, const char*) {}
void NoteHeld(const JMutex*, int, const char*) {}
void NoteReleased(const JMutex*) {}

}  // namespace

#endif

JMutex::JMutex() : JMutex(0, "") {}

JMutex::JMutex(int iRank, const char* pszName)
    : m_mutex(), m_ulOwner(0), m_iDepth(0), m_iRank(iRank), m_pszName(pszName == nullptr ? "" : pszName) {
  pthread_mutex_init(&m_mutex, nullptr);
}

JMutex::~JMutex() { pthread_mutex_destroy(&m_mutex); }

int JMutex::Init() { return 0; }

bool JMutex::IsInitialized() const { return true; }

int JMutex::Lock() {
  if (IsHeldByThisThread()) {
    ++m_iDepth;
    return 0;
  }
  if (m_iRank != 0) {
    CheckOrder(m_iRank, m_pszName);
  }
  const int iError = pthread_mutex_lock(&m_mutex);
  if (iError != 0) {
    return iError;
  }
  m_ulOwner.store(ThisThread(), std::memory_order_relaxed);
  m_iDepth = 1;
  if (m_iRank != 0) {
    NoteHeld(this, m_iRank, m_pszName);
  }
  return 0;
}

int JMutex::Unlock() {
  if (!IsHeldByThisThread()) {
    return EPERM;
  }
  if (--m_iDepth > 0) {
    return 0;
  }
  if (m_iRank != 0) {
    NoteReleased(this);
  }
  m_ulOwner.store(0, std::memory_order_relaxed);
  return pthread_mutex_unlock(&m_mutex);
}

// Only the owner itself writes its own identity here, so an unordered read is exact about the calling thread.
bool JMutex::IsHeldByThisThread() const { return m_ulOwner.load(std::memory_order_relaxed) == ThisThread(); }
