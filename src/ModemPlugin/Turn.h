// A lock whose holder may take long, so that waiting for it can be cancelled.
#pragma once

#include "platform/JEvent.h"

namespace modem {

/// Whoever waits gets it in the order of coming. Not recursive.
class CTurnstile {
public:
  CTurnstile() { m_hFree.Init(false, true); }
  CTurnstile(const CTurnstile&) = delete;
  CTurnstile& operator=(const CTurnstile&) = delete;

private:
  friend class CTurn;
  JEvent m_hFree;
};

class CTurn {
public:
  explicit CTurn(CTurnstile& turnstile) : m_turnstile(turnstile) { m_turnstile.m_hFree.WaitForSingleObject(0); }
  ~CTurn() { m_turnstile.m_hFree.SetEvent(); }
  CTurn(const CTurn&) = delete;
  CTurn& operator=(const CTurn&) = delete;

private:
  CTurnstile& m_turnstile;
};

}  // namespace modem
