// What must be known of the messages in the modem's memories beside what the modem knows.
#pragma once

#include "SMSDef.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace modem {

/// A message as the modem gives it.
struct StoredPdu {
  std::string hex;
  SMS_STAT enStat = SMS_STAT_READ;
};

/// "0" to "3" as SMS_STAT counts them, which is as AT+CMGL does in PDU mode; else read.
SMS_STAT StateOf(const std::string& parameter);

/// Unread state: a modem marks a message read when it lists or reads it. Here it stays unread until somebody wants it
/// marked, or another message stands in its place.
/// Listings: who lists reads what is listed; a listing answers the first read of each of its messages, for a few
/// seconds. Everything later is asked of the modem, where others may have changed it.
/// Threads: any.
class CStoredMessages {
public:
  typedef std::map<MSG_HANDLE, StoredPdu> Listing;

  /// The memory holds these and no others; their states become those that hold here.
  void Listed(SMS_MEM enMem, Listing messages);
  /// @return false: the modem must be asked.
  bool TakeListed(SMS_MEM enMem, MSG_HANDLE hMsg, StoredPdu& out);
  /// A message as the modem has just given it.
  /// @return the state that holds here; marks the message read here when asked to.
  SMS_STAT Read(SMS_MEM enMem, MSG_HANDLE hMsg, const StoredPdu& message, bool bMarkRead);
  /// Deleted, written anew or arrived: nothing is known of this place any more.
  void Forget(SMS_MEM enMem, MSG_HANDLE hMsg);
  /// The modem was away: it may hold other messages.
  void ForgetListings();

private:
  struct Memory {
    std::map<MSG_HANDLE, std::size_t> unread;  // hash of the message
    Listing listed;                            // with the states of the modem
    std::int64_t listedAt = 0;
  };

  static bool IsUnread(const Memory& memory, MSG_HANDLE hMsg, const StoredPdu& message);

  std::mutex m_lock;
  Memory m_memories[2];  // guarded by m_lock; SIM, modem
};

}  // namespace modem
