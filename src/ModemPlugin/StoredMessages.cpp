#include "StoredMessages.h"

#include "platform/JClock.h"

#include <functional>

namespace modem {

namespace {

const std::int64_t kListingHoldsMs = 10000;

std::size_t HashOf(const StoredPdu& message) { return std::hash<std::string>()(message.hex); }

}  // namespace

SMS_STAT StateOf(const std::string& parameter) {
  const bool known = parameter.size() == 1 && parameter[0] >= '0' && parameter[0] <= '3';
  return known ? static_cast<SMS_STAT>(parameter[0] - '0') : SMS_STAT_READ;
}

bool CStoredMessages::IsUnread(const Memory& memory, MSG_HANDLE hMsg, const StoredPdu& message) {
  const auto known = memory.unread.find(hMsg);
  return message.enStat == SMS_STAT_UNREAD ||
         (message.enStat == SMS_STAT_READ && known != memory.unread.end() && known->second == HashOf(message));
}

void CStoredMessages::Listed(SMS_MEM enMem, Listing messages) {
  const std::lock_guard<std::mutex> guard(m_lock);
  Memory& memory = m_memories[enMem];
  std::map<MSG_HANDLE, std::size_t> unread;
  for (const auto& message : messages) {
    if (IsUnread(memory, message.first, message.second)) {
      unread.emplace(message.first, HashOf(message.second));
    }
  }
  memory.unread.swap(unread);
  memory.listed.swap(messages);
  memory.listedAt = JClock::MonotonicMs();
}

bool CStoredMessages::TakeListed(SMS_MEM enMem, MSG_HANDLE hMsg, StoredPdu& out) {
  const std::lock_guard<std::mutex> guard(m_lock);
  Memory& memory = m_memories[enMem];
  if (JClock::MonotonicMs() - memory.listedAt > kListingHoldsMs) {
    memory.listed.clear();
  }
  const auto it = memory.listed.find(hMsg);
  if (it == memory.listed.end()) {
    return false;
  }
  out = std::move(it->second);
  memory.listed.erase(it);
  return true;
}

SMS_STAT CStoredMessages::Read(SMS_MEM enMem, MSG_HANDLE hMsg, const StoredPdu& message, bool bMarkRead) {
  const std::lock_guard<std::mutex> guard(m_lock);
  Memory& memory = m_memories[enMem];
  const bool unread = IsUnread(memory, hMsg, message);
  memory.unread.erase(hMsg);
  if (unread && !bMarkRead) {
    memory.unread.emplace(hMsg, HashOf(message));
  }
  return unread ? SMS_STAT_UNREAD : message.enStat;
}

void CStoredMessages::Forget(SMS_MEM enMem, MSG_HANDLE hMsg) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_memories[enMem].unread.erase(hMsg);
  m_memories[enMem].listed.erase(hMsg);
}

void CStoredMessages::ForgetListings() {
  const std::lock_guard<std::mutex> guard(m_lock);
  for (Memory& memory : m_memories) {
    memory.listed.clear();
  }
}

}  // namespace modem
