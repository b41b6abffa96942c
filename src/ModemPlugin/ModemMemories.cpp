// The memories of the modem, one of which is the chosen one, and what was listed of them.
#include "Modem.h"

#include <algorithm>
#include <cstring>
#include <tuple>

namespace modem {

namespace {

const unsigned int kLimitMs = 5000;

const char* NameOf(SMS_MEM enMem) { return enMem == SMS_MEM_SM ? "SM" : "ME"; }

auto FieldsOf(const UTTime& time) {
  return std::tie(time.wYear, time.btMonth, time.btDay, time.btHour, time.btMinute, time.btSecond);
}

bool IsSameMessage(const SMReadRecord& left, const SMReadRecord& right) {
  return left.dwLength == right.dwLength && left.enType == right.enType &&
         std::equal(left.wszContent, left.wszContent + left.dwLength, right.wszContent) &&
         std::strcmp(left.szAddress, right.szAddress) == 0 && FieldsOf(left.stTime) == FieldsOf(right.stTime) &&
         std::memcmp(&left.stLongSMS_info, &right.stLongSMS_info, sizeof left.stLongSMS_info) == 0;
}

}  // namespace

CModem::CMemoryHold::CMemoryHold(CModem& modem, SMS_MEM enMem)
    : m_hold(modem.m_memory), m_bOk((enMem == SMS_MEM_SM || enMem == SMS_MEM_ME) && Choose(modem, enMem)) {}

bool CModem::CMemoryHold::Choose(CModem& modem, SMS_MEM enMem) {
  if (modem.m_enChosen == enMem) {
    return true;
  }
  const char* const name = NameOf(enMem);
  CAtCommand command("+CPMS=");
  command.Quoted(name).Quoted(name);
  if (!modem.Execute(command, "+CPMS:", kLimitMs).IsOk()) {
    // some insist on the memory for new messages too; it stays what it is
    const std::string received = modem.Facts().received;
    command.Quoted(received.empty() ? name : received);
    if (!modem.Execute(command, "+CPMS:", kLimitMs).IsOk()) {
      return false;
    }
  }
  modem.m_enChosen = enMem;
  return true;
}

/// Being listed has made unread messages read on the modem, not here.
void CModem::RememberListing(SMS_MEM enMem, const MessageCache& messages) {
  MessageCache fresh = messages;
  const std::lock_guard<std::mutex> guard(m_cacheLock);
  for (auto& message : fresh) {
    const auto known = m_listed[enMem].find(message.first);
    if (known != m_listed[enMem].end() && IsSameMessage(known->second, message.second)) {
      message.second.enSMStat = known->second.enSMStat;
    }
  }
  m_listed[enMem].swap(fresh);
}

void CModem::RememberRead(SMS_MEM enMem, MSG_HANDLE hMsg, const SMReadRecord& record) {
  const std::lock_guard<std::mutex> guard(m_cacheLock);
  m_listed[enMem].emplace(hMsg, record);
}

bool CModem::FindListed(SMS_MEM enMem, MSG_HANDLE hMsg, bool bMarkRead, SMReadRecord& record) {
  const std::lock_guard<std::mutex> guard(m_cacheLock);
  const auto it = m_listed[enMem].find(hMsg);
  if (it == m_listed[enMem].end()) {
    return false;
  }
  record = it->second;
  if (bMarkRead && it->second.enSMStat == SMS_STAT_UNREAD) {
    it->second.enSMStat = SMS_STAT_READ;
  }
  return true;
}

void CModem::ForgetListed(SMS_MEM enMem, MSG_HANDLE hMsg) {
  const std::lock_guard<std::mutex> guard(m_cacheLock);
  m_listed[enMem].erase(hMsg);
}

}  // namespace modem
