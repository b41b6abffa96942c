// A host for the length of one command, with the store that the command is about loaded.
#pragma once

#include "Commands.h"
#include "HostSession.h"

#include <string>

namespace smsctl {

/// Life: Open, use Service(), end.
class CCommandSession {
public:
  /// The modem is started only for a store on it.
  CCommandSession(const host::HostOptions& options, int iStorage);

  /// Starts the host and waits until the store is loaded; says itself what went wrong.
  bool Open();
  ISMSService& Service() { return m_session.Service(); }
  host::CHostSession& Host() { return m_session; }

private:
  bool HasLocalStore();
  bool AwaitStore();

  const int m_iStorage;
  host::CHostSession m_session;
};

}  // namespace smsctl
