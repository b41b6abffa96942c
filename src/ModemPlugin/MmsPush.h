// WAP push in a short message: the session header in front of the content (WAP-230-WSP, 8.2.4.1 and 8.4.2).
#pragma once

#include "SmsPdu.h"
#include "VelkTypes.h"

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <tuple>

namespace modem {

/// The port of connectionless push (WAP-259-WDP, appendix B).
const WORD kWapPushPort = 2948;

struct WapPush {
  std::size_t headOctets = 0;     // transaction, type, length and headers, as far as they are there
  bool bMmsNotification = false;  // content type application/vnd.wap.mms-message, and for no other application
};

/// Reads the beginning of a push; the rest may follow in further messages.
/// @return false: these octets begin no push.
bool ReadWapPush(const BYTE* octets, std::size_t size, WapPush& out);

/// Only the first part of a divided push says what it is. Its other parts are taken for parts of an MMS notification
/// until a first part has said otherwise; the last few that did are remembered. Threads: any.
class CWapPushes {
public:
  /// @param place       total 0 for a push that is not divided.
  /// @param bFirstSays  what the content type of a first part says; of others it does not matter.
  bool IsMmsPart(const std::string& originator, const sms_pdu::Concatenation& place, bool bFirstSays);

private:
  typedef std::tuple<std::string, WORD, BYTE> Push;  // originator, reference, number of parts

  std::mutex m_lock;
  std::deque<Push> m_others;  // guarded by m_lock
};

}  // namespace modem
